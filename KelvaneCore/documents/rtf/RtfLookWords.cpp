#include "documents/rtf/RtfLookWords.h"

#include "documents/TableLines.h"
#include "documents/Units.h"
#include "documents/rtf/RtfRuns.h"

#include <QTextTable>

#include <cmath>

namespace kelvane::Rtf {
namespace {

QByteArray twips(double pixels) {
    return QByteArray::number(std::lround(Units::twipsFromPoints(Units::pointsFromPixels(pixels))));
}

// The word of each line style, the first of those read as it.
QByteArray styleWord(QTextFrameFormat::BorderStyle style) {
    switch (style) {
    case QTextFrameFormat::BorderStyle_Double:
        return "\\brdrdb";
    case QTextFrameFormat::BorderStyle_Dotted:
        return "\\brdrdot";
    case QTextFrameFormat::BorderStyle_Dashed:
        return "\\brdrdash";
    case QTextFrameFormat::BorderStyle_DotDash:
        return "\\brdrdashd";
    case QTextFrameFormat::BorderStyle_DotDotDash:
        return "\\brdrdashdd";
    case QTextFrameFormat::BorderStyle_Groove:
        return "\\brdrengrave";
    case QTextFrameFormat::BorderStyle_Ridge:
        return "\\brdremboss";
    case QTextFrameFormat::BorderStyle_Inset:
        return "\\brdrinset";
    case QTextFrameFormat::BorderStyle_Outset:
        return "\\brdroutset";
    default:
        return "\\brdrs";
    }
}

QByteArray sideWords(const char* side, const TableLines::Line& line, const StyleTables& tables) {
    const double twips = Units::twipsFromPoints(line.points);
    return QByteArray("\\clbrdr") + side + styleWord(line.style) + "\\brdrw" +
           QByteArray::number(std::lround(twips)) + "\\brdrcf" +
           QByteArray::number(tables.color(line.color));
}

} // namespace

QByteArray spacingWords(const QTextBlockFormat& format) {
    QByteArray words;
    if (format.topMargin() > 0)
        words += "\\sb" + twips(format.topMargin());
    if (format.bottomMargin() > 0)
        words += "\\sa" + twips(format.bottomMargin());
    if (format.lineHeight() <= 0)
        return words;
    switch (format.lineHeightType()) {
    case QTextBlockFormat::ProportionalHeight:
        words +=
            "\\sl" + QByteArray::number(std::lround(format.lineHeight() * 240 / 100)) + "\\slmult1";
        break;
    case QTextBlockFormat::FixedHeight:
        words += "\\sl-" + twips(format.lineHeight()) + "\\slmult0";
        break;
    case QTextBlockFormat::MinimumHeight:
        words += "\\sl" + twips(format.lineHeight()) + "\\slmult0";
        break;
    default:
        break;
    }
    return words;
}

QByteArray cellLookWords(const QTextTable& table, const QTextTableCell& cell,
                         const StyleTables& tables) {
    static const char* const sideNames[] = {"t", "l", "b", "r"};
    QByteArray words;
    if (!cell.isValid())
        return words;
    TableLines::CellSides sides = TableLines::sidesOf(cell.format().toTableCellFormat());
    if (table.format().border() > 0)
        sides.fill(TableLines::thinLine());
    for (std::size_t side = 0; side < sides.size(); ++side) {
        if (sides[side])
            words += sideWords(sideNames[side], *sides[side], tables);
    }
    if (const QBrush shading = cell.format().background(); shading.style() != Qt::NoBrush)
        words += "\\clcbpat" + QByteArray::number(tables.color(shading));
    return words;
}

} // namespace kelvane::Rtf

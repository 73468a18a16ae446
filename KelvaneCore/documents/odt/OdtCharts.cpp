#include "documents/odt/OdtCharts.h"

#include "documents/odt/OdtStyles.h"

#include <QRegularExpression>
#include <QStringList>
#include <QXmlStreamReader>

#include <map>
#include <optional>
#include <utility>

namespace kelvane::Odt {
namespace {

const QString chartNs = QStringLiteral("urn:oasis:names:tc:opendocument:xmlns:chart:1.0");
constexpr int maxCells = 1000; // rows and columns of the chart's table looked at
constexpr qsizetype maxSeries = 64;

using Cell = std::pair<int, int>; // row, column

// "local-table.$B$1" (or a range starting there): its row and column from 0.
std::optional<Cell> cellOf(const QString& address) {
    static const QRegularExpression reference(QStringLiteral(R"(\.\$?([A-Z]{1,3})\$?(\d{1,6}))"));
    const auto match = reference.match(address);
    if (!match.hasMatch())
        return std::nullopt;
    int column = 0;
    for (const QChar letter : match.capturedView(1))
        column = column * 26 + (letter.unicode() - u'A' + 1);
    return Cell{match.capturedView(2).toInt() - 1, column - 1};
}

struct ChartReading {
    QString title;
    QStringList labelAddresses;
    std::map<Cell, QString> cells;
};

void readTable(QXmlStreamReader& xml, ChartReading& chart) {
    int row = -1;
    int column = 0;
    int depth = 1;
    QString* cell = nullptr;
    while (depth > 0 && !xml.atEnd() && !xml.hasError()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            ++depth;
            if (isElement(xml, ns::table, u"table-row")) {
                ++row;
                column = 0;
            } else if (isElement(xml, ns::table, u"table-cell")) {
                const int repeated =
                    boundedCount(xml, ns::table, "number-columns-repeated", maxCells);
                cell = row >= 0 && row < maxCells && column < maxCells ? &chart.cells[{row, column}]
                                                                       : nullptr;
                column += repeated;
            }
        } else if (token == QXmlStreamReader::EndElement) {
            --depth;
            if (xml.name() == u"table-cell")
                cell = nullptr;
        } else if (token == QXmlStreamReader::Characters && cell != nullptr && cell->size() < 400) {
            cell->append(xml.text());
        }
    }
}

} // namespace

QString chartText(const QByteArray& chartContent) {
    QXmlStreamReader xml(chartContent);
    ChartReading chart;
    int titleDepth = 0;
    int depth = 0;
    while (!xml.atEnd() && !xml.hasError()) {
        const auto token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            ++depth;
            if (isElement(xml, chartNs, u"title") && titleDepth == 0) {
                titleDepth = depth;
            } else if (isElement(xml, chartNs, u"series") &&
                       chart.labelAddresses.size() < maxSeries) {
                chart.labelAddresses.append(attribute(xml, chartNs, "label-cell-address"));
            } else if (isElement(xml, ns::table, u"table")) {
                readTable(xml, chart);
                --depth;
            }
        } else if (token == QXmlStreamReader::EndElement) {
            if (depth == titleDepth)
                titleDepth = 0;
            --depth;
        } else if (token == QXmlStreamReader::Characters && titleDepth > 0 &&
                   chart.title.size() < 400) {
            chart.title.append(xml.text());
        }
    }
    QStringList names;
    for (const QString& address : std::as_const(chart.labelAddresses)) {
        const auto cell = cellOf(address);
        const auto found = cell ? chart.cells.find(*cell) : chart.cells.end();
        if (found != chart.cells.end() && !found->second.simplified().isEmpty())
            names.append(found->second.simplified());
    }
    const QString title = chart.title.simplified();
    const QString series = names.join(QStringLiteral(", "));
    if (title.isEmpty() || series.isEmpty())
        return title + series;
    return title + QStringLiteral(": ") + series;
}

} // namespace kelvane::Odt

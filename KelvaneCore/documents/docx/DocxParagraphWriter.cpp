#include "documents/Units.h"
#include "documents/docx/DocxBodyWriter.h"
#include "documents/docx/Ooxml.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextList>

#include <algorithm>
#include <cmath>
#include <optional>

// Paragraphs of the body writer: their properties, and the list each item belongs to.
namespace kelvane::Docx {
namespace {

namespace ns = Ooxml::ns;

constexpr int maxListLevel = 8;

// Space around a paragraph and between its lines, as far as the paragraph sets them.
void writeSpacing(QXmlStreamWriter& xml, const QTextBlockFormat& format) {
    const bool margins = format.hasProperty(QTextFormat::BlockTopMargin) ||
                         format.hasProperty(QTextFormat::BlockBottomMargin);
    const int type = format.lineHeightType();
    const bool lines = format.lineHeight() > 0 && (type == QTextBlockFormat::ProportionalHeight ||
                                                   type == QTextBlockFormat::FixedHeight ||
                                                   type == QTextBlockFormat::MinimumHeight);
    if (!margins && !lines)
        return;
    const auto attribute = [&xml](const char* name, const QString& value) {
        xml.writeAttribute(ns::w, QString::fromLatin1(name), value);
    };
    xml.writeStartElement(ns::w, QStringLiteral("spacing"));
    if (margins) {
        attribute("before", twipsOf(std::max(0.0, format.topMargin())));
        attribute("after", twipsOf(std::max(0.0, format.bottomMargin())));
    }
    if (type == QTextBlockFormat::ProportionalHeight && lines) {
        attribute("line", QString::number(std::lround(format.lineHeight() * 240 / 100)));
        attribute("lineRule", QStringLiteral("auto"));
    } else if (lines) {
        attribute("line", twipsOf(format.lineHeight()));
        attribute("lineRule", type == QTextBlockFormat::FixedHeight ? QStringLiteral("exact")
                                                                    : QStringLiteral("atLeast"));
    }
    xml.writeEndElement();
}

std::optional<QString> alignmentOf(Qt::Alignment alignment) {
    if (alignment & Qt::AlignHCenter)
        return QStringLiteral("center");
    if (alignment & Qt::AlignJustify)
        return QStringLiteral("both");
    if (alignment & (Qt::AlignRight | Qt::AlignTrailing))
        return QStringLiteral("right");
    return std::nullopt;
}

} // namespace

QString twipsOf(double pixels) {
    return QString::number(std::lround(Units::twipsFromPoints(Units::pointsFromPixels(pixels))));
}

void BodyWriter::writeBlock(const QTextBlock& block) {
    const auto note = DocumentNotes::bodyOf(block.blockFormat());
    if (note && !writingNotes_) {
        noteBlocks_.emplace_back(*note, block);
        return;
    }
    xml_->writeStartElement(ns::w, QStringLiteral("p"));
    writeParagraphProperties(block);
    QString openLink;
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextFragment fragment = it.fragment();
        if (!fragment.isValid())
            continue;
        const QTextCharFormat format = fragment.charFormat();
        const QString href = format.isAnchor() ? format.anchorHref() : QString();
        if (href != openLink) {
            if (!openLink.isEmpty())
                xml_->writeEndElement();
            if (!href.isEmpty())
                startLink(href);
            openLink = href;
        }
        writeFragment(fragment, block.blockFormat().headingLevel() > 0);
    }
    if (!openLink.isEmpty())
        xml_->writeEndElement();
    xml_->writeEndElement();
}

void BodyWriter::writeParagraphProperties(const QTextBlock& block) {
    const QTextBlockFormat format = block.blockFormat();
    xml_->writeStartElement(ns::w, QStringLiteral("pPr"));
    if (const int level = format.headingLevel(); level >= 1 && level <= 6)
        writeEmpty(*xml_, "pStyle", {{"val", QStringLiteral("Heading%1").arg(level)}});
    if (format.pageBreakPolicy() & QTextFormat::PageBreak_AlwaysBefore)
        writeEmpty(*xml_, "pageBreakBefore");
    const QTextList* list = block.textList();
    if (list != nullptr) {
        xml_->writeStartElement(ns::w, QStringLiteral("numPr"));
        const int level = std::clamp(list->format().indent() - 1, 0, maxListLevel);
        writeEmpty(*xml_, "ilvl", {{"val", QString::number(level)}});
        writeEmpty(*xml_, "numId", {{"val", QString::number(numIdOf(*list))}});
        xml_->writeEndElement();
    }
    writeSpacing(*xml_, format);
    const double left = format.leftMargin() + format.indent() * document_.indentWidth();
    const double first = format.textIndent();
    if (list == nullptr && (left != 0 || first != 0)) {
        if (first < 0)
            writeEmpty(*xml_, "ind", {{"left", twipsOf(left)}, {"hanging", twipsOf(-first)}});
        else
            writeEmpty(*xml_, "ind", {{"left", twipsOf(left)}, {"firstLine", twipsOf(first)}});
    }
    if (const auto alignment = alignmentOf(format.alignment()))
        writeEmpty(*xml_, "jc", {{"val", *alignment}});
    if (sectionEnding_ != nullptr) {
        writeSectionProperties(*sectionEnding_);
        sectionEnding_ = nullptr;
    }
    xml_->writeEndElement();
}

int BodyWriter::numIdOf(const QTextList& list) {
    int& id = numIds_[&list];
    if (id == 0) {
        lists.push_back(
            {list.format().style(), std::clamp(list.format().indent() - 1, 0, maxListLevel)});
        id = static_cast<int>(lists.size());
    }
    return id;
}

} // namespace kelvane::Docx

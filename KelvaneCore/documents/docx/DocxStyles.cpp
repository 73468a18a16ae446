#include "documents/docx/DocxStyles.h"

#include "documents/Units.h"
#include "documents/docx/Ooxml.h"

#include <QColor>
#include <QFont>
#include <QXmlStreamReader>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace kelvane::Docx {
namespace {

using Ooxml::isW;
using Ooxml::nextChild;
using Ooxml::numericValue;
using Ooxml::wAttribute;

constexpr std::size_t maxStyles = 10000;
constexpr int maxInheritance = 32;
constexpr int maxListLevel = 8;
constexpr double maxIndentTwips = 31680; // 22 inches, the widest page the format allows
constexpr double linesPerTwoHundredForty = 240;
constexpr double maxLinePercent = 1000;
constexpr std::array<double, 6> headingPointSizes = {20, 16, 14, 13, 12, 12};

struct Highlight {
    const char16_t* name;
    const char* colour;
};
constexpr Highlight highlights[] = {
    {u"yellow", "#ffff00"},      {u"green", "#00ff00"},     {u"cyan", "#00ffff"},
    {u"magenta", "#ff00ff"},     {u"blue", "#0000ff"},      {u"red", "#ff0000"},
    {u"darkBlue", "#000080"},    {u"darkCyan", "#008080"},  {u"darkGreen", "#008000"},
    {u"darkMagenta", "#800080"}, {u"darkRed", "#800000"},   {u"darkYellow", "#808000"},
    {u"darkGray", "#808080"},    {u"lightGray", "#c0c0c0"}, {u"black", "#000000"},
    {u"white", "#ffffff"},
};

// "FF0000"; "auto" and anything malformed give none.
std::optional<QColor> hexColour(const QString& value) {
    if (value.size() != 6)
        return std::nullopt;
    const QColor colour(QChar(u'#') + value);
    return colour.isValid() ? std::optional(colour) : std::nullopt;
}

std::optional<QColor> highlightColour(const QString& name) {
    for (const Highlight& highlight : highlights) {
        if (name == QStringView(highlight.name))
            return QColor(highlight.colour);
    }
    return std::nullopt;
}

double pixelsFromTwips(double twips) {
    return Units::pixelsFromPoints(
        Units::pointsFromTwips(std::clamp(twips, -maxIndentTwips, maxIndentTwips)));
}

std::optional<int> intValue(const QXmlStreamReader& xml, int low, int high) {
    const std::optional<double> value = numericValue(xml);
    if (!value || *value < low || *value > high)
        return std::nullopt;
    return static_cast<int>(*value);
}

// The font of Latin text: named, or a theme's (minorHAnsi…). East Asian and complex-script
// fonts stand in only when the run names nothing else.
void readFonts(const QXmlStreamReader& xml, QTextCharFormat& format, const Styles* styles) {
    bool themed = false;
    for (const auto& [name, themeName] :
         {std::pair{u"ascii", u"asciiTheme"}, std::pair{u"hAnsi", u"hAnsiTheme"}}) {
        QString family = wAttribute(xml, name);
        const QString theme = wAttribute(xml, themeName);
        if (family.isEmpty() && !theme.isEmpty() && styles != nullptr)
            family = styles->themeFont(theme);
        themed = themed || !theme.isEmpty();
        if (!family.isEmpty()) {
            format.setFontFamilies(QStringList{family});
            return;
        }
    }
    if (themed)
        return;
    for (const char16_t* name : {u"cs", u"eastAsia"}) {
        const QString family = wAttribute(xml, name);
        if (!family.isEmpty()) {
            format.setFontFamilies(QStringList{family});
            return;
        }
    }
}

void readUnderline(const QXmlStreamReader& xml, QTextCharFormat& format) {
    const QString value = wAttribute(xml, u"val");
    format.setFontUnderline(value != u"none" && value != u"0" && value != u"false");
}

void readVerticalAlignment(const QXmlStreamReader& xml, QTextCharFormat& format) {
    const QString value = wAttribute(xml, u"val");
    if (value == u"superscript")
        format.setVerticalAlignment(QTextCharFormat::AlignSuperScript);
    else if (value == u"subscript")
        format.setVerticalAlignment(QTextCharFormat::AlignSubScript);
    else
        format.setVerticalAlignment(QTextCharFormat::AlignNormal);
}

void readIndent(const QXmlStreamReader& xml, QTextBlockFormat& block) {
    for (const char16_t* name : {u"start", u"left"}) {
        if (const auto twips = numericValue(xml, name)) {
            block.setLeftMargin(pixelsFromTwips(*twips));
            break;
        }
    }
    if (const auto hanging = numericValue(xml, u"hanging"))
        block.setTextIndent(-pixelsFromTwips(*hanging));
    else if (const auto firstLine = numericValue(xml, u"firstLine"))
        block.setTextIndent(pixelsFromTwips(*firstLine));
}

// Line spacing in 240ths of a line ("auto"), or an exact or least line height in twips.
void readLineSpacing(const QXmlStreamReader& xml, QTextBlockFormat& block) {
    const auto line = numericValue(xml, u"line");
    if (!line || *line <= 0)
        return;
    const QString rule = wAttribute(xml, u"lineRule");
    if (rule == u"exact")
        block.setLineHeight(pixelsFromTwips(*line), QTextBlockFormat::FixedHeight);
    else if (rule == u"atLeast")
        block.setLineHeight(pixelsFromTwips(*line), QTextBlockFormat::MinimumHeight);
    else
        block.setLineHeight(std::min(*line / linesPerTwoHundredForty * 100, maxLinePercent),
                            QTextBlockFormat::ProportionalHeight);
}

void readSpacing(const QXmlStreamReader& xml, QTextBlockFormat& block) {
    if (const auto before = numericValue(xml, u"before"))
        block.setTopMargin(std::max(0.0, pixelsFromTwips(*before)));
    if (const auto after = numericValue(xml, u"after"))
        block.setBottomMargin(std::max(0.0, pixelsFromTwips(*after)));
    readLineSpacing(xml, block);
}

std::optional<Qt::Alignment> alignmentOf(const QString& value) {
    if (value == u"left" || value == u"start")
        return Qt::AlignLeft;
    if (value == u"center")
        return Qt::AlignHCenter;
    if (value == u"right" || value == u"end")
        return Qt::AlignRight;
    if (value == u"both" || value == u"justify" || value == u"distribute")
        return Qt::AlignJustify;
    return std::nullopt;
}

void readNumberingProperties(QXmlStreamReader& xml, ParagraphProperties& properties) {
    while (nextChild(xml)) {
        if (isW(xml, u"numId"))
            properties.numId = intValue(xml, 0, 1 << 30);
        else if (isW(xml, u"ilvl"))
            properties.level = intValue(xml, 0, maxListLevel);
        xml.skipCurrentElement();
    }
}

// "heading 2" as a style name, or "Heading2" as the id of a built-in style that a producer
// used without defining it.
int headingLevelOfName(const QString& name) {
    const QString lower = name.toLower();
    if (lower == u"title")
        return 1;
    const QString suffix = lower.startsWith(u"heading") ? lower.mid(7).trimmed() : QString();
    const int level = suffix.size() == 1 ? suffix.toInt() : 0;
    return level >= 1 && level <= 6 ? level : 0;
}

// The look of a heading whose style the document names without defining.
QTextCharFormat headingCharFormat(int level) {
    QTextCharFormat format;
    format.setFontWeight(QFont::Bold);
    format.setFontPointSize(headingPointSizes.at(static_cast<std::size_t>(level - 1)));
    return format;
}

} // namespace

void readRunProperties(QXmlStreamReader& xml, QTextCharFormat& format, const Styles* styles) {
    std::optional<QColor> highlight;
    while (nextChild(xml)) {
        if (isW(xml, u"rStyle") && styles != nullptr)
            format.merge(styles->character(wAttribute(xml, u"val")));
        else if (isW(xml, u"rFonts"))
            readFonts(xml, format, styles);
        else if (isW(xml, u"b"))
            format.setFontWeight(Ooxml::isOn(xml) ? QFont::Bold : QFont::Normal);
        else if (isW(xml, u"i"))
            format.setFontItalic(Ooxml::isOn(xml));
        else if (isW(xml, u"vanish"))
            format.setProperty(hiddenProperty, Ooxml::isOn(xml));
        else if (isW(xml, u"strike") || isW(xml, u"dstrike"))
            format.setFontStrikeOut(Ooxml::isOn(xml));
        else if (isW(xml, u"u"))
            readUnderline(xml, format);
        else if (isW(xml, u"sz")) {
            if (const auto size = intValue(xml, 2, 3276))
                format.setFontPointSize(Units::pointsFromHalfPoints(*size));
        } else if (isW(xml, u"color")) {
            if (const auto colour = hexColour(wAttribute(xml, u"val")))
                format.setForeground(*colour);
        } else if (isW(xml, u"highlight"))
            highlight = highlightColour(wAttribute(xml, u"val"));
        else if (isW(xml, u"shd")) {
            if (const auto colour = hexColour(wAttribute(xml, u"fill")))
                format.setBackground(*colour);
        } else if (isW(xml, u"vertAlign"))
            readVerticalAlignment(xml, format);
        xml.skipCurrentElement();
    }
    // Highlighting paints over shading in the word processors that show both.
    if (highlight)
        format.setBackground(*highlight);
}

ParagraphProperties readParagraphProperties(QXmlStreamReader& xml) {
    ParagraphProperties properties;
    while (nextChild(xml)) {
        if (isW(xml, u"pStyle"))
            properties.style = wAttribute(xml, u"val");
        else if (isW(xml, u"jc")) {
            if (const auto alignment = alignmentOf(wAttribute(xml, u"val")))
                properties.block.setAlignment(*alignment);
        } else if (isW(xml, u"ind"))
            readIndent(xml, properties.block);
        else if (isW(xml, u"spacing"))
            readSpacing(xml, properties.block);
        else if (isW(xml, u"outlineLvl"))
            properties.outlineLevel = intValue(xml, 0, 9);
        else if (isW(xml, u"pageBreakBefore") && Ooxml::isOn(xml))
            properties.block.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
        else if (isW(xml, u"numPr")) {
            readNumberingProperties(xml, properties);
            continue;
        } else if (isW(xml, u"sectPr")) {
            properties.section = readSection(xml);
            continue;
        }
        xml.skipCurrentElement();
    }
    return properties;
}

int headingLevelOfOutline(int outlineLevel) {
    return outlineLevel >= 0 && outlineLevel < 6 ? outlineLevel + 1 : 0;
}

void Styles::readTheme(const QByteArray& bytes) {
    QXmlStreamReader xml(bytes);
    QString* font = nullptr;
    try {
        while (!xml.atEnd()) {
            Ooxml::readNext(xml);
            if (!xml.isStartElement())
                continue;
            if (xml.name() == u"majorFont")
                font = &majorFont_;
            else if (xml.name() == u"minorFont")
                font = &minorFont_;
            else if (xml.name() == u"latin" && font != nullptr && font->isEmpty())
                *font = xml.attributes().value(QStringLiteral("typeface")).toString();
        }
    } catch (const std::exception&) {
        // A damaged theme leaves the fonts it named so far; the text does not depend on it.
    }
}

QString Styles::themeFont(const QString& name) const {
    return name.startsWith(u"major") ? majorFont_ : minorFont_;
}

void Styles::read(const QByteArray& bytes) {
    QXmlStreamReader xml(bytes);
    if (!nextChild(xml))
        return;
    while (nextChild(xml)) {
        if (isW(xml, u"docDefaults"))
            readDefaults(xml);
        else if (isW(xml, u"style") && styles_.size() < maxStyles)
            readStyle(xml);
        else
            xml.skipCurrentElement();
    }
}

void Styles::readDefaults(QXmlStreamReader& xml) {
    while (nextChild(xml)) {
        const bool run = isW(xml, u"rPrDefault");
        if (!run && !isW(xml, u"pPrDefault")) {
            xml.skipCurrentElement();
            continue;
        }
        while (nextChild(xml)) {
            if (run && isW(xml, u"rPr"))
                readRunProperties(xml, defaultChars_, this);
            else if (!run && isW(xml, u"pPr"))
                defaultBlock_ = readParagraphProperties(xml).block;
            else
                xml.skipCurrentElement();
        }
    }
}

void Styles::readStyle(QXmlStreamReader& xml) {
    const QString id = wAttribute(xml, u"styleId");
    const QString type = wAttribute(xml, u"type");
    const bool paragraph = type == u"paragraph";
    const QString isDefault = wAttribute(xml, u"default");
    if (isDefault == u"1" || isDefault == u"true" || isDefault == u"on") {
        if (paragraph)
            defaultParagraph_ = id;
        else if (type == u"table")
            defaultTable_ = id;
    }
    Style style;
    while (nextChild(xml)) {
        if (isW(xml, u"basedOn"))
            style.basedOn = wAttribute(xml, u"val");
        else if (isW(xml, u"name") && paragraph)
            style.headingLevel = headingLevelOfName(wAttribute(xml, u"val"));
        else if (isW(xml, u"rPr")) {
            readRunProperties(xml, style.chars, this);
            continue;
        } else if (isW(xml, u"pPr")) {
            style.paragraph = readParagraphProperties(xml);
            continue;
        } else if (isW(xml, u"tblPr")) {
            while (nextChild(xml)) {
                if (isW(xml, u"tblBorders"))
                    style.table.table.merge(readBorders(xml));
                else if (isW(xml, u"tblCellMar"))
                    style.table.margins.merge(readCellMargins(xml));
                else
                    xml.skipCurrentElement();
            }
            continue;
        } else if (isW(xml, u"tblStylePr")) {
            readConditionalLook(xml, style.table);
            continue;
        } else if (isW(xml, u"tcPr")) {
            while (nextChild(xml)) {
                if (isW(xml, u"shd"))
                    style.table.region(Region::wholeTable).shading = shadingOf(xml);
                xml.skipCurrentElement();
            }
            continue;
        }
        xml.skipCurrentElement();
    }
    if (!id.isEmpty())
        styles_.insert_or_assign(id, std::move(style));
}

std::vector<const Styles::Style*> Styles::chain(const QString& id) const {
    std::vector<const Style*> styles;
    QString next = id;
    while (static_cast<int>(styles.size()) < maxInheritance) {
        const auto found = styles_.find(next);
        if (found == styles_.end() ||
            std::find(styles.begin(), styles.end(), &found->second) != styles.end())
            break;
        styles.push_back(&found->second);
        next = found->second.basedOn;
    }
    std::reverse(styles.begin(), styles.end());
    return styles;
}

ParagraphStyle Styles::paragraph(const QString& id, const CellParagraphs& cell) const {
    ParagraphStyle resolved{defaultBlock_, {}, 0, {}, {}};
    resolved.block.merge(cell.block);
    auto styles = chain(id);
    const bool undefined = styles.empty();
    if (undefined) {
        styles = chain(defaultParagraph_);
        resolved.headingLevel = headingLevelOfName(id);
    }
    QTextCharFormat chars;
    for (const Style* style : styles) {
        resolved.block.merge(style->paragraph.block);
        chars.merge(style->chars);
        if (style->headingLevel > 0)
            resolved.headingLevel = style->headingLevel;
        else if (style->paragraph.outlineLevel)
            resolved.headingLevel = headingLevelOfOutline(*style->paragraph.outlineLevel);
        if (style->paragraph.numId)
            resolved.numId = style->paragraph.numId;
        if (style->paragraph.level)
            resolved.level = style->paragraph.level;
    }
    resolved.chars = defaultChars_;
    resolved.chars.merge(cell.chars);
    // A heading style the document defines looks as it says; one it only names is given the
    // look of a heading.
    if (resolved.headingLevel > 0 && undefined)
        resolved.chars.merge(headingCharFormat(resolved.headingLevel));
    resolved.chars.merge(chars);
    return resolved;
}

QTextCharFormat Styles::character(const QString& id) const {
    QTextCharFormat chars;
    for (const Style* style : chain(id))
        chars.merge(style->chars);
    return chars;
}

std::optional<TableStyle> Styles::tableStyle(const QString& id) const {
    const auto styles = chain(id.isEmpty() ? defaultTable_ : id);
    if (styles.empty())
        return std::nullopt;
    TableStyle look;
    for (const Style* style : styles) {
        look.merge(style->table);
        look.region(Region::wholeTable).chars.merge(style->chars);
        look.paragraphs.merge(style->paragraph.block);
    }
    return look;
}

} // namespace kelvane::Docx

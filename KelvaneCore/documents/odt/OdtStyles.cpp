#include "documents/odt/OdtStyles.h"

#include "documents/HiddenText.h"
#include "documents/Units.h"

#include <QColor>
#include <QXmlStreamReader>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace kelvane::Odt {
namespace {

constexpr int maxInheritance = 32; // parent chains are short; a longer one is a loop
constexpr double defaultPointSize = 12.0;
constexpr double maxLinePoints = 1584; // 22 inches, a line as tall as the tallest page
constexpr int maxPageNumber = 100000;
constexpr double maxPaddingPoints = 144;

QString styleKey(QStringView family, const QString& name) {
    return family.toString() + u'/' + name;
}

std::optional<double> percentage(QStringView value) {
    if (!value.endsWith(u'%'))
        return std::nullopt;
    bool ok = false;
    const double percent = value.chopped(1).toDouble(&ok);
    return ok && percent > 0 && percent <= 1000 ? std::optional(percent) : std::nullopt;
}

QStringView valueOf(const QXmlStreamAttributes& attributes, const QString& ns, const char* name) {
    return attributes.value(ns, QLatin1StringView(name));
}

bool has(const QXmlStreamAttributes& attributes, const QString& ns, const char* name) {
    return attributes.hasAttribute(ns, QLatin1StringView(name));
}

bool isNone(QStringView value) {
    return value.isEmpty() || value == u"none";
}

void readFontWeight(QStringView weight, QTextCharFormat& format) {
    if (weight == u"bold")
        format.setFontWeight(QFont::Bold);
    else if (weight == u"normal")
        format.setFontWeight(QFont::Normal);
    else if (bool ok = false; weight.toInt(&ok) >= 600 && ok)
        format.setFontWeight(QFont::Bold);
    else if (ok)
        format.setFontWeight(QFont::Normal);
}

void readLines(const QXmlStreamReader& xml, QTextCharFormat& format) {
    const auto attributes = xml.attributes();
    for (const char* name : {"text-underline-style", "text-underline-type"})
        if (has(attributes, ns::style, name))
            format.setFontUnderline(!isNone(valueOf(attributes, ns::style, name)));
    for (const char* name : {"text-line-through-style", "text-line-through-type"})
        if (has(attributes, ns::style, name))
            format.setFontStrikeOut(!isNone(valueOf(attributes, ns::style, name)));
}

void readColours(const QXmlStreamReader& xml, QTextCharFormat& format) {
    if (const QColor colour(attribute(xml, ns::fo, "color")); colour.isValid())
        format.setForeground(colour);
    const QString background = attribute(xml, ns::fo, "background-color");
    if (const QColor colour(background); colour.isValid())
        format.setBackground(colour);
    else if (background == u"transparent")
        format.clearBackground();
}

void readPosition(QStringView position, QTextCharFormat& format) {
    if (position.startsWith(u"super"))
        format.setVerticalAlignment(QTextCharFormat::AlignSuperScript);
    else if (position.startsWith(u"sub"))
        format.setVerticalAlignment(QTextCharFormat::AlignSubScript);
    else if (position.startsWith(u"0%") || position.startsWith(u"0 "))
        format.setVerticalAlignment(QTextCharFormat::AlignNormal);
}

QString unquoted(QString family) {
    family = family.section(u',', 0, 0).trimmed();
    if (family.size() >= 2 && (family.front() == u'\'' || family.front() == u'"'))
        family = family.mid(1, family.size() - 2);
    return family;
}

Qt::Alignment alignment(QStringView value) {
    if (value == u"center")
        return Qt::AlignHCenter;
    if (value == u"end" || value == u"right")
        return Qt::AlignRight;
    if (value == u"justify")
        return Qt::AlignJustify;
    return Qt::AlignLeft;
}

double linePixels(double points) {
    return Units::pixelsFromPoints(std::clamp(points, 0.0, maxLinePoints));
}

// "150%", "0.6cm" (exact), or the least height or the gap between lines.
void readLineHeight(const QXmlStreamAttributes& attributes, QTextBlockFormat& format) {
    const QStringView height = valueOf(attributes, ns::fo, "line-height");
    if (const auto percent = percentage(height))
        format.setLineHeight(*percent, QTextBlockFormat::ProportionalHeight);
    else if (auto exact = pointsFromLength(height); exact && *exact > 0)
        format.setLineHeight(linePixels(*exact), QTextBlockFormat::FixedHeight);
    else if (height == u"normal")
        format.setLineHeight(0, QTextBlockFormat::SingleHeight);
    if (auto least = pointsFromLength(valueOf(attributes, ns::style, "line-height-at-least")))
        format.setLineHeight(linePixels(*least), QTextBlockFormat::MinimumHeight);
    if (auto gap = pointsFromLength(valueOf(attributes, ns::style, "line-spacing")))
        format.setLineHeight(linePixels(*gap), QTextBlockFormat::LineDistanceHeight);
}

void readParagraphProperties(const QXmlStreamReader& xml, QTextBlockFormat& format) {
    const auto attributes = xml.attributes();
    if (auto top = pointsFromLength(valueOf(attributes, ns::fo, "margin-top")))
        format.setTopMargin(Units::pixelsFromPoints(std::max(0.0, *top)));
    if (auto bottom = pointsFromLength(valueOf(attributes, ns::fo, "margin-bottom")))
        format.setBottomMargin(Units::pixelsFromPoints(std::max(0.0, *bottom)));
    if (auto right = pointsFromLength(valueOf(attributes, ns::fo, "margin-right")))
        format.setRightMargin(Units::pixelsFromPoints(*right));
    readLineHeight(attributes, format);
    if (has(attributes, ns::fo, "text-align"))
        format.setAlignment(alignment(valueOf(attributes, ns::fo, "text-align")));
    if (auto left = pointsFromLength(valueOf(attributes, ns::fo, "margin-left")))
        format.setLeftMargin(Units::pixelsFromPoints(*left));
    if (auto indent = pointsFromLength(valueOf(attributes, ns::fo, "text-indent")))
        format.setTextIndent(Units::pixelsFromPoints(*indent));
    if (valueOf(attributes, ns::fo, "break-before") == u"page")
        format.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
    else if (valueOf(attributes, ns::fo, "break-after") == u"page")
        format.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysAfter);
}

// A border as fo:border writes it: a width, a style and a colour ("0.5pt solid #000000"),
// or "none".
TableLines::Line lineOf(QStringView border) {
    TableLines::Line line{0.75, Qt::black};
    for (const QStringView part : border.split(u' ', Qt::SkipEmptyParts)) {
        if (part == u"none" || part == u"hidden")
            return {};
        if (part.startsWith(u'#'))
            line.color = QColor(part);
        else if (const auto style = TableLines::styleNamed(part))
            line.style = *style;
        else if (const auto points = pointsFromLength(part); points && *points > 0)
            line.points = std::min(*points, 12.0);
    }
    line.points /= TableLines::widthsAcross(line.style);
    return line;
}

// The room fo:padding and its sided forms give a table cell's style.
void readCellPadding(const QXmlStreamReader& xml, CellPadding& padding) {
    if (const auto all = pointsFromLength(attribute(xml, ns::fo, "padding")); all && *all >= 0)
        padding.fill(std::min(*all, maxPaddingPoints));
    const std::pair<const char*, TableLines::Side> sides[] = {
        {"padding-top", TableLines::top},
        {"padding-left", TableLines::left},
        {"padding-bottom", TableLines::bottom},
        {"padding-right", TableLines::right}};
    for (const auto& [name, side] : sides) {
        if (const auto points = pointsFromLength(attribute(xml, ns::fo, name));
            points && *points >= 0)
            padding[side] = std::min(*points, maxPaddingPoints);
    }
}

// The sides fo:border and its sided forms give a table cell's style.
void readCellLines(const QXmlStreamReader& xml, TableLines::CellSides& lines) {
    if (const QString all = attribute(xml, ns::fo, "border"); !all.isEmpty())
        lines.fill(lineOf(all));
    const std::pair<const char*, TableLines::Side> sides[] = {{"border-top", TableLines::top},
                                                              {"border-left", TableLines::left},
                                                              {"border-bottom", TableLines::bottom},
                                                              {"border-right", TableLines::right}};
    for (const auto& [name, side] : sides) {
        if (const QString line = attribute(xml, ns::fo, name); !line.isEmpty())
            lines[side] = lineOf(line);
    }
}

} // namespace

bool isElement(const QXmlStreamReader& xml, const QString& ns, QStringView name) {
    return xml.name() == name && xml.namespaceUri() == ns;
}

QString attribute(const QXmlStreamReader& xml, const QString& ns, const char* name) {
    return xml.attributes().value(ns, QLatin1StringView(name)).toString();
}

int boundedCount(const QXmlStreamReader& xml, const QString& ns, const char* name, int limit) {
    const int count = attribute(xml, ns, name).toInt();
    return std::clamp(count, 1, std::max(limit, 1));
}

std::optional<double> pointsFromLength(QStringView length) {
    struct Unit {
        QStringView suffix;
        double points;
    };
    static constexpr Unit units[] = {{u"cm", Units::pointsPerCentimetre},
                                     {u"mm", Units::pointsPerCentimetre / 10},
                                     {u"in", Units::pointsPerInch},
                                     {u"pt", 1.0},
                                     {u"pc", 12.0},
                                     {u"px", 1 / Units::pixelsPerPoint}};
    length = length.trimmed();
    for (const Unit& unit : units) {
        if (!length.endsWith(unit.suffix))
            continue;
        bool ok = false;
        const double value = length.chopped(2).trimmed().toDouble(&ok);
        if (!ok || !std::isfinite(value) || std::abs(value) > 1e6)
            return std::nullopt;
        return value * unit.points;
    }
    return std::nullopt;
}

void Styles::read(const QByteArray& bytes) {
    QXmlStreamReader xml(bytes);
    readStyles(xml);
}

void Styles::read(QIODevice& device) {
    QXmlStreamReader xml(&device);
    readStyles(xml);
}

void Styles::readStyles(QXmlStreamReader& xml) {
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (isElement(xml, ns::office, u"body")) {
            return; // styles come before the body, so a part is read no further than that
        } else if (isElement(xml, ns::style, u"font-face")) {
            fonts_[attribute(xml, ns::style, "name")] =
                unquoted(attribute(xml, ns::svg, "font-family"));
        } else if (isElement(xml, ns::style, u"style")) {
            const QString key =
                styleKey(attribute(xml, ns::style, "family"), attribute(xml, ns::style, "name"));
            Style& style = styles_[key] = Style{};
            readStyle(xml, style);
        } else if (isElement(xml, ns::style, u"default-style") &&
                   attribute(xml, ns::style, "family") == u"paragraph") {
            defaultParagraph_ = Style{};
            readStyle(xml, *defaultParagraph_);
        } else if (isElement(xml, ns::text, u"list-style")) {
            readListStyle(xml, attribute(xml, ns::style, "name"));
        } else if (isElement(xml, ns::text, u"outline-style")) {
            readOutlineStyle(xml);
        } else if (isElement(xml, ns::style, u"page-layout")) {
            readPageLayout(xml, attribute(xml, ns::style, "name"));
        } else if (isElement(xml, ns::style, u"master-page")) {
            const QString name = attribute(xml, ns::style, "name");
            if (firstMaster_.isEmpty() || name == u"Standard")
                firstMaster_ = name;
            readMasterPage(xml, name);
        }
    }
    if (xml.hasError())
        throw std::runtime_error("malformed OpenDocument XML: " + xml.errorString().toStdString());
}

void Styles::readStyle(QXmlStreamReader& xml, Style& style) {
    style.parent = attribute(xml, ns::style, "parent-style-name");
    style.listStyle = attribute(xml, ns::style, "list-style-name");
    style.masterPage = attribute(xml, ns::style, "master-page-name");
    while (xml.readNextStartElement()) {
        if (isElement(xml, ns::style, u"text-properties")) {
            const auto attributes = xml.attributes();
            readFontWeight(valueOf(attributes, ns::fo, "font-weight"), style.text);
            if (const auto slant = valueOf(attributes, ns::fo, "font-style"); !slant.isEmpty())
                style.text.setFontItalic(slant == u"italic" || slant == u"oblique");
            readLines(xml, style.text);
            readColours(xml, style.text);
            readPosition(valueOf(attributes, ns::style, "text-position"), style.text);
            if (valueOf(attributes, ns::text, "display") == u"none")
                style.text.setProperty(HiddenText::property, true);
            const auto size = valueOf(attributes, ns::fo, "font-size");
            if (auto points = pointsFromLength(size); points && *points > 0)
                style.text.setFontPointSize(std::min(*points, 1000.0));
            style.sizePercent = percentage(size);
            if (const auto family = valueOf(attributes, ns::fo, "font-family"); !family.isEmpty())
                style.text.setFontFamilies(QStringList{unquoted(family.toString())});
            style.fontName = valueOf(attributes, ns::style, "font-name").toString();
        } else if (isElement(xml, ns::style, u"paragraph-properties")) {
            readParagraphProperties(xml, style.paragraph);
            style.pageNumber =
                std::clamp(attribute(xml, ns::style, "page-number").toInt(), 0, maxPageNumber);
        } else if (isElement(xml, ns::style, u"table-column-properties")) {
            style.columnWidth = pointsFromLength(attribute(xml, ns::style, "column-width"));
        } else if (isElement(xml, ns::style, u"table-cell-properties")) {
            if (const QColor colour(attribute(xml, ns::fo, "background-color")); colour.isValid())
                style.background = colour;
            readCellLines(xml, style.lines);
            readCellPadding(xml, style.padding);
        }
        xml.skipCurrentElement();
    }
}

const Styles::Style* Styles::find(QStringView family, const QString& name) const {
    if (name.isEmpty())
        return nullptr;
    const auto found = styles_.find(styleKey(family, name));
    return found != styles_.end() ? &found->second : nullptr;
}

void Styles::applyTextOf(const Style& style, QTextCharFormat& format) const {
    if (style.sizePercent) {
        const double base = format.hasProperty(QTextFormat::FontPointSize) ? format.fontPointSize()
                                                                           : defaultPointSize;
        format.setFontPointSize(std::min(base * *style.sizePercent / 100, 1000.0));
    }
    if (!style.fontName.isEmpty()) {
        const auto face = fonts_.find(style.fontName);
        format.setFontFamilies(QStringList{face != fonts_.end() ? face->second : style.fontName});
    }
    format.merge(style.text);
}

void Styles::applyText(QStringView family, const QString& name, QTextCharFormat& format) const {
    std::vector<const Style*> chain;
    for (const Style* style = find(family, name); style && chain.size() < maxInheritance;
         style = find(family, style->parent))
        chain.push_back(style);
    for (auto style = chain.rbegin(); style != chain.rend(); ++style)
        applyTextOf(**style, format);
}

void Styles::applyParagraph(const QString& name, QTextBlockFormat& format) const {
    std::vector<const Style*> chain;
    for (const Style* style = find(u"paragraph", name); style && chain.size() < maxInheritance;
         style = find(u"paragraph", style->parent))
        chain.push_back(style);
    for (auto style = chain.rbegin(); style != chain.rend(); ++style)
        format.merge((*style)->paragraph);
    const auto master = std::find_if(chain.begin(), chain.end(), [](const Style* style) {
        return !style->masterPage.isEmpty();
    });
    if (master == chain.end())
        return;
    if (auto page = pageOfMaster((*master)->masterPage)) {
        page->firstNumber = (*master)->pageNumber;
        SectionPages::mark(format, *page);
        format.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
    }
}

QString Styles::listStyleOfParagraph(const QString& name) const {
    int steps = 0;
    for (const Style* style = find(u"paragraph", name); style && steps < maxInheritance;
         style = find(u"paragraph", style->parent), ++steps)
        if (!style->listStyle.isEmpty())
            return style->listStyle;
    return {};
}

std::optional<QFont> Styles::defaultFont() const {
    if (!defaultParagraph_)
        return std::nullopt;
    QTextCharFormat format;
    format.setFontPointSize(defaultPointSize);
    applyTextOf(*defaultParagraph_, format);
    if (format.fontFamilies().toStringList().isEmpty())
        return std::nullopt;
    QFont font;
    font.setFamilies(format.fontFamilies().toStringList());
    font.setPointSizeF(format.fontPointSize());
    return font;
}

} // namespace kelvane::Odt

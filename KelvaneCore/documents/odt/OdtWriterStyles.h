#pragma once

#include <QFont>
#include <QString>
#include <QTextFormat>
#include <QTextListFormat>

#include <array>
#include <map>
#include <optional>
#include <utility>
#include <vector>

class QXmlStreamWriter;

namespace kelvane::Odt {

// The nesting levels one OpenDocument list style describes.
constexpr int listLevels = 10;
using ListLevels = std::array<QTextListFormat::Style, listLevels>;

// Point sizes of the Heading_20_N styles; what a heading's characters show unless a span says
// otherwise.
constexpr double headingPointSizes[] = {20, 16, 14, 13, 12, 12};

// "12.5pt"; never scientific notation, which OpenDocument lengths do not allow.
QString lengthInPoints(double points);

// Drops what XML 1.0 cannot carry: control characters, U+FFFE/U+FFFF, lone surrogates.
QString xmlSafe(QStringView text);

// Declares the namespaces of content.xml and styles.xml on the next element.
void writeNamespaces(QXmlStreamWriter& xml);

class MasterPages;

// The common styles (styles.xml): the default paragraph style with the document's font,
// Standard, Heading_20_1..6, Table_20_Contents, Header and Footer, and the pages.
QByteArray commonStyles(const QFont& defaultFont, const MasterPages& pages);

// A text:list-style named `name` for lists of these levels.
void writeListStyle(QXmlStreamWriter& xml, const QString& name, const ListLevels& levels);

// The automatic styles of content.xml, each made once on first use and named in order of
// first use (P1, T1, L1), and the font faces they name.
class AutomaticStyles {
public:
    using Properties = std::vector<std::pair<QString, QString>>;

    explicit AutomaticStyles(const QFont& defaultFont);

    // The style of a paragraph: `parent` itself when the block changes nothing of it and
    // starts no `masterPage`.
    QString paragraph(const QString& parent, const QTextBlockFormat& format,
                      const QString& masterPage = {});
    struct TextStyle {
        QString name;            // empty when the characters look like the paragraph's own
        bool plainSpaces = true; // white space looks the same without the style
    };
    // The style of characters inside a paragraph of `headingLevel` (0 for body text).
    TextStyle text(const QTextCharFormat& format, int headingLevel);
    QString list(const ListLevels& levels);
    // The style of table cells with these style:table-cell-properties.
    QString tableCell(Properties properties);

    void writeFontFaces(QXmlStreamWriter& xml) const;
    void write(QXmlStreamWriter& xml) const;

private:
    struct Style {
        QString name;
        QString parent; // paragraph styles only
        Properties properties;
        QString masterPage; // the page a paragraph of this style starts, if any
    };

    QString fontFace(const QString& family);
    QString named(std::vector<Style>& styles, QChar prefix, const QString& parent,
                  Properties properties, const QString& masterPage = {});

    QString defaultFamily_;
    double defaultPointSize_;
    std::map<QString, QString> fontFaces_; // family to style:name
    std::map<QString, QString> names_;     // a style's kind, parent and properties to its name
    std::vector<Style> paragraphs_;
    std::vector<Style> texts_;
    std::vector<Style> cells_;
    std::vector<std::pair<QString, ListLevels>> lists_;
};

} // namespace kelvane::Odt

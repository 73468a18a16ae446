#pragma once

#include "documents/ListNumbering.h"
#include "documents/SectionPages.h"
#include "documents/TableLines.h"

#include <QByteArray>
#include <QColor>
#include <QFont>
#include <QIODevice>
#include <QString>
#include <QTextFormat>
#include <QTextListFormat>

#include <array>
#include <map>
#include <optional>

class QXmlStreamReader;

namespace kelvane::Odt {

using CellPadding = std::array<std::optional<double>, 4>;

// The OpenDocument namespaces the reader looks at; prefixes vary between producers, the
// URIs do not.
namespace ns {
inline const QString office = QStringLiteral("urn:oasis:names:tc:opendocument:xmlns:office:1.0");
inline const QString style = QStringLiteral("urn:oasis:names:tc:opendocument:xmlns:style:1.0");
inline const QString text = QStringLiteral("urn:oasis:names:tc:opendocument:xmlns:text:1.0");
inline const QString table = QStringLiteral("urn:oasis:names:tc:opendocument:xmlns:table:1.0");
inline const QString draw = QStringLiteral("urn:oasis:names:tc:opendocument:xmlns:drawing:1.0");
inline const QString fo =
    QStringLiteral("urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0");
inline const QString svg =
    QStringLiteral("urn:oasis:names:tc:opendocument:xmlns:svg-compatible:1.0");
inline const QString xlink = QStringLiteral("http://www.w3.org/1999/xlink");
} // namespace ns

bool isElement(const QXmlStreamReader& xml, const QString& ns, QStringView name);
QString attribute(const QXmlStreamReader& xml, const QString& ns, const char* name);
// A repeat count such as text:c or table:number-rows-repeated, kept within 1...limit.
int boundedCount(const QXmlStreamReader& xml, const QString& ns, const char* name, int limit);

// "2.5cm", "12pt", "0.5in", "3mm", "1pc", "16px" in points; none for anything else,
// percentages included.
std::optional<double> pointsFromLength(QStringView length);

// The paragraph, text and list styles of a document: the common ones from styles.xml and
// the automatic ones from content.xml, with parent-style inheritance resolved on use.
class Styles {
public:
    // Reads the font faces and styles of one part; call for styles.xml first, then for
    // content.xml, whose automatic styles win on a clash of names. Throws on malformed XML.
    void read(const QByteArray& xml);
    void read(QIODevice& xml);

    // Applies the text properties of a "text" or "paragraph" style and its ancestors on top
    // of `format`; relative font sizes scale the size `format` already has.
    void applyText(QStringView family, const QString& name, QTextCharFormat& format) const;
    // Alignment, margins, spacing and page breaks of a paragraph style, and the page it
    // starts when it names a master page.
    void applyParagraph(const QString& name, QTextBlockFormat& format) const;
    // The list style a paragraph style attaches its paragraphs to, or empty.
    QString listStyleOfParagraph(const QString& name) const;
    // The levels of a list style; bullets for a list style the document does not define.
    ListNumbering::Levels listLevels(const QString& listName) const;

    // How headings are numbered by their outline level (text:outline-style); every level
    // "none" when the document does not number them.
    const ListNumbering::Levels& outlineLevels() const { return outline_; }

    // Whether the document defines a style of this family and name.
    bool defines(QStringView family, const QString& name) const {
        return find(family, name) != nullptr;
    }
    // The font of the default paragraph style, when it names a family.
    std::optional<QFont> defaultFont() const;
    // The width a table-column style gives its columns, in points.
    std::optional<double> columnWidth(const QString& name) const;
    // The lines a table-cell style draws around its cells; a line on every side for a style
    // the document does not define.
    TableLines::CellSides cellLines(const QString& name) const;
    // The room a table-cell style leaves inside its cells at each side (by TableLines::Side),
    // in points, where it gives any.
    CellPadding cellPadding(const QString& name) const;
    // The background a table-cell style paints, or an invalid colour.
    QColor cellBackground(const QString& name) const;
    // The page the text starts on: that of the master page "Standard", or the first one.
    std::optional<SectionPages::Page> firstPage() const;

private:
    struct Style {
        QString parent;
        QString listStyle;
        QString fontName;                  // a style:font-face name, resolved on use
        QString masterPage;                // the page a paragraph of this style starts
        int pageNumber = 0;                // the number of that page, 0 to go on counting
        std::optional<double> columnWidth; // points
        QColor background;                 // of table cells
        TableLines::CellSides lines;       // of table cells
        CellPadding padding;               // of table cells
        std::optional<double> sizePercent;
        QTextCharFormat text;
        QTextBlockFormat paragraph;
    };

    void readStyles(QXmlStreamReader& xml);
    void readStyle(QXmlStreamReader& xml, Style& style);
    void readListStyle(QXmlStreamReader& xml, const QString& name);
    void readOutlineStyle(QXmlStreamReader& xml);
    void readPageLayout(QXmlStreamReader& xml, const QString& name);
    void readMasterPage(QXmlStreamReader& xml, const QString& name);
    std::optional<SectionPages::Page> pageOfMaster(const QString& name) const;
    void applyTextOf(const Style& style, QTextCharFormat& format) const;
    const Style* find(QStringView family, const QString& name) const;

    std::map<QString, QString> fonts_;
    std::map<QString, Style> styles_;                              // keyed by family, '/', name
    std::map<QString, std::map<int, ListNumbering::Level>> lists_; // by level, from 1
    std::optional<Style> defaultParagraph_;
    ListNumbering::Levels outline_ = unnumbered();

    static ListNumbering::Levels unnumbered() {
        ListNumbering::Levels levels;
        levels.fill({ListNumbering::NumberFormat::none, {}, 1, -1});
        return levels;
    }
    std::map<QString, SectionPages::Page> pageLayouts_;
    struct MasterPage {
        QString pageLayout;
        QString header; // one line, SectionPages::pageNumberMark for the page number
        QString footer;
        std::optional<QString> evenHeader; // style:header-left, where even pages have their own
        std::optional<QString> evenFooter;
        QString next; // the master page of the pages after the first, where it is another
    };
    // The page of a master page, its own lines on the first page when its next one differs.
    SectionPages::Page pageOf(const MasterPage& master, const SectionPages::Page& layout) const;
    std::map<QString, MasterPage> masterPages_;
    QString firstMaster_;
};

} // namespace kelvane::Odt

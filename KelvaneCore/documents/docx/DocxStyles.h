#pragma once

#include "documents/HiddenText.h"
#include "documents/docx/DocxSections.h"
#include "documents/docx/DocxTableLook.h"

#include <QByteArray>
#include <QString>
#include <QTextFormat>

#include <map>
#include <optional>
#include <vector>

class QXmlStreamReader;

namespace kelvane::Docx {

class Styles;

// Set on characters marked hidden (w:vanish): they are read but never shown.
constexpr int hiddenProperty = HiddenText::property;

// What one w:pPr sets; unset members leave the style's value in place.
struct ParagraphProperties {
    QTextBlockFormat block;
    QString style;
    std::optional<int> outlineLevel; // 0-based, 9 meaning body text
    std::optional<int> numId;
    std::optional<int> level;
    std::optional<Section> section; // the section this paragraph ends
};

// A paragraph style resolved through its ancestors, the document defaults included.
struct ParagraphStyle {
    QTextBlockFormat block;
    QTextCharFormat chars;
    int headingLevel = 0;
    std::optional<int> numId;
    std::optional<int> level;
};

// Reads the children of the current w:rPr on top of `format`. A w:rStyle pulls in that
// character style when `styles` is given.
void readRunProperties(QXmlStreamReader& xml, QTextCharFormat& format, const Styles* styles);
// Reads the children of the current w:pPr.
ParagraphProperties readParagraphProperties(QXmlStreamReader& xml);

// The heading level (1-6, or 0) a paragraph's own outline level gives it.
int headingLevelOfOutline(int outlineLevel);

// styles.xml: document defaults, paragraph and character styles with basedOn inheritance.
class Styles {
public:
    // The fonts of the document's theme (word/theme/theme1.xml); read before the styles.
    void readTheme(const QByteArray& xml);
    // The Latin font a theme font name stands for ("minorHAnsi", "majorAscii"), or empty.
    QString themeFont(const QString& name) const;

    // Throws on malformed XML.
    void read(const QByteArray& xml);

    // The style named by w:pStyle, or the default paragraph style for an empty or unknown id;
    // in a table cell, over what the table's style gives the cell's paragraphs.
    ParagraphStyle paragraph(const QString& id, const CellParagraphs& cell = {}) const;
    // The run properties of a character style and its ancestors.
    QTextCharFormat character(const QString& id) const;
    // The look of a table style and its ancestors, or of the default table style for an
    // empty id; none when the document defines no such style.
    std::optional<TableStyle> tableStyle(const QString& id) const;

private:
    struct Style {
        QString basedOn;
        int headingLevel = 0; // from the style's name
        ParagraphProperties paragraph;
        QTextCharFormat chars;
        TableStyle table;
    };

    void readStyle(QXmlStreamReader& xml);
    void readDefaults(QXmlStreamReader& xml);
    // The chain from the root ancestor down to `id`, bounded against cycles.
    std::vector<const Style*> chain(const QString& id) const;

    std::map<QString, Style> styles_;
    QString defaultParagraph_;
    QString defaultTable_;
    QTextCharFormat defaultChars_;
    QTextBlockFormat defaultBlock_;
    QString majorFont_;
    QString minorFont_;
};

} // namespace kelvane::Docx

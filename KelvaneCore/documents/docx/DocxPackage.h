#pragma once

#include <QByteArray>
#include <QFont>
#include <QString>
#include <QStringList>
#include <QTextListFormat>

#include <initializer_list>
#include <utility>
#include <vector>

class QXmlStreamWriter;

namespace kelvane::Docx {

// A relationship of a part, by id ("rId3").
struct Relationship {
    QString id;
    QString type; // full type URI
    QString target;
    bool external = false;
};

// One list of the document; its numId is its position in the list plus one.
struct ListDefinition {
    QTextListFormat::Style style;
    int level; // 0-based, where its items sit in the numbering
};

// The fixed parts of a WordprocessingML package the writer produces around document.xml.
// `parts` names the other parts it holds as well ("footnotes", "header1", "settings"), each
// of the type its name gives without the number.
QByteArray contentTypesPart(const QStringList& parts);
QByteArray packageRelationshipsPart();
QByteArray relationshipsPart(const std::vector<Relationship>& relationships);
// Normal and the six headings, with the document's default font as the document default.
QByteArray stylesPart(const QFont& defaultFont);
QByteArray numberingPart(const std::vector<ListDefinition>& lists);
// Settings that give even pages headers and footers of their own.
QByteArray settingsPart();

using Attributes = std::initializer_list<std::pair<const char*, QString>>;

// Writes an empty w: element with w: attributes: <w:jc w:val="center"/>.
void writeEmpty(QXmlStreamWriter& xml, const char* name, Attributes attributes = {});

// Text with the characters XML 1.0 forbids (most C0 controls, lone surrogates, U+FFFE/F)
// taken out.
QString xmlSafe(QStringView text);

} // namespace kelvane::Docx

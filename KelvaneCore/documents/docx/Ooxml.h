#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <map>
#include <optional>
#include <string>

class QXmlStreamReader;

namespace kelvane {
class ZipContainer;
}

namespace kelvane::Ooxml {

// Namespace URIs of the WordprocessingML parts; prefixes vary between producers, the URIs
// do not. The strict flavour of the format uses other URIs for the same vocabulary.
namespace ns {
inline const QString w =
    QStringLiteral("http://schemas.openxmlformats.org/wordprocessingml/2006/main");
inline const QString wStrict = QStringLiteral("http://purl.oclc.org/ooxml/wordprocessingml/main");
inline const QString r =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships");
inline const QString rStrict =
    QStringLiteral("http://purl.oclc.org/ooxml/officeDocument/relationships");
inline const QString wp =
    QStringLiteral("http://schemas.openxmlformats.org/drawingml/2006/wordprocessingDrawing");
inline const QString a = QStringLiteral("http://schemas.openxmlformats.org/drawingml/2006/main");
inline const QString pic =
    QStringLiteral("http://schemas.openxmlformats.org/drawingml/2006/picture");
inline const QString mc =
    QStringLiteral("http://schemas.openxmlformats.org/markup-compatibility/2006");
inline const QString v = QStringLiteral("urn:schemas-microsoft-com:vml");
inline const QString packageRelationships =
    QStringLiteral("http://schemas.openxmlformats.org/package/2006/relationships");
inline const QString contentTypes =
    QStringLiteral("http://schemas.openxmlformats.org/package/2006/content-types");
} // namespace ns

// Relationship types, written in full; the reader matches only their last path segment so
// that strict documents are understood too.
namespace relationship {
inline const QString officeDocument = QStringLiteral(
    "http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument");
inline const QString styles =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles");
inline const QString numbering =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/numbering");
inline const QString image =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/image");
inline const QString hyperlink =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/hyperlink");
inline const QString footnotes =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/footnotes");
inline const QString endnotes =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/endnotes");
inline const QString header =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/header");
inline const QString footer =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/footer");
inline const QString settings =
    QStringLiteral("http://schemas.openxmlformats.org/officeDocument/2006/relationships/settings");
} // namespace relationship

// True for an element of the WordprocessingML vocabulary named `name`.
bool isW(const QXmlStreamReader& xml, QStringView name);
// The value of the w:`name` attribute, or a null string.
QString wAttribute(const QXmlStreamReader& xml, QStringView name);
// The value of the r:`name` attribute (relationship ids), or a null string.
QString rAttribute(const QXmlStreamReader& xml, QStringView name);
// An on/off property such as <w:b/> or <w:b w:val="false"/>.
bool isOn(const QXmlStreamReader& xml);
// w:val as a number, or none when missing or not a number.
std::optional<double> numericValue(const QXmlStreamReader& xml, QStringView name = u"val");

// Reads the next token, refusing documents that declare a DTD (entity expansion is the
// classic attack on XML parsers) and turning a parse error into an exception.
void readNext(QXmlStreamReader& xml);
// Advances to the next child start element of the current element; false at its end.
bool nextChild(QXmlStreamReader& xml);

// Calls `visit` at the start of every element inside the current one, however deep, and
// returns at the current element's end; depth costs no stack. A visitor may read the element
// it is called at to its end, and the walk goes on after it.
void forEachDescendant(QXmlStreamReader& xml, const std::function<void()>& visit);

struct Relationship {
    QString type;        // the last segment of the type URI: "image", "hyperlink"
    std::string target;  // a part name inside the package, resolved
    QString externalUrl; // set instead of `target` for TargetMode="External"
};
using Relationships = std::map<QString, Relationship>;

// The relationships of `part`, read from its _rels/<name>.rels; targets that leave the
// package are dropped.
Relationships readRelationships(const ZipContainer& zip, const std::string& part);

} // namespace kelvane::Ooxml

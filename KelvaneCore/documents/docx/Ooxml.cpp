#include "documents/docx/Ooxml.h"

#include "documents/ZipContainer.h"

#include <QXmlStreamReader>

#include <cmath>
#include <stdexcept>

namespace kelvane::Ooxml {
namespace {

bool isWNamespace(QStringView uri) {
    return uri == ns::w || uri == ns::wStrict;
}

QString attribute(const QXmlStreamReader& xml, const QString& uri, const QString& strictUri,
                  QStringView name) {
    for (const QXmlStreamAttribute& attribute : xml.attributes()) {
        if (attribute.name() == name &&
            (attribute.namespaceUri() == uri || attribute.namespaceUri() == strictUri))
            return attribute.value().toString();
    }
    return {};
}

std::string relationshipsPartOf(const std::string& part) {
    const std::size_t slash = part.rfind('/');
    if (slash == std::string::npos)
        return "_rels/" + part + ".rels";
    return part.substr(0, slash + 1) + "_rels/" + part.substr(slash + 1) + ".rels";
}

QString lastSegment(const QString& uri) {
    return uri.mid(uri.lastIndexOf(u'/') + 1);
}

} // namespace

bool isW(const QXmlStreamReader& xml, QStringView name) {
    return xml.name() == name && isWNamespace(xml.namespaceUri());
}

QString wAttribute(const QXmlStreamReader& xml, QStringView name) {
    return attribute(xml, ns::w, ns::wStrict, name);
}

QString rAttribute(const QXmlStreamReader& xml, QStringView name) {
    return attribute(xml, ns::r, ns::rStrict, name);
}

bool isOn(const QXmlStreamReader& xml) {
    const QString value = wAttribute(xml, u"val");
    return value.isNull() || !(value == u"0" || value == u"false" || value == u"off");
}

std::optional<double> numericValue(const QXmlStreamReader& xml, QStringView name) {
    bool ok = false;
    const double value = wAttribute(xml, name).toDouble(&ok);
    return ok && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

void readNext(QXmlStreamReader& xml) {
    const QXmlStreamReader::TokenType token = xml.readNext();
    if (token == QXmlStreamReader::DTD || token == QXmlStreamReader::EntityReference)
        throw std::runtime_error("XML part declares a DTD");
    if (xml.hasError())
        throw std::runtime_error("malformed XML: " + xml.errorString().toStdString());
}

bool nextChild(QXmlStreamReader& xml) {
    for (;;) {
        readNext(xml);
        if (xml.isStartElement())
            return true;
        if (xml.isEndElement())
            return false;
        if (xml.atEnd())
            throw std::runtime_error("XML part ends early");
    }
}

Relationships readRelationships(const ZipContainer& zip, const std::string& part) {
    Relationships relationships;
    const std::optional<QByteArray> bytes = zip.part(relationshipsPartOf(part));
    if (!bytes)
        return relationships;
    QXmlStreamReader xml(*bytes);
    if (!nextChild(xml))
        return relationships;
    while (nextChild(xml)) {
        if (xml.name() != u"Relationship") {
            xml.skipCurrentElement();
            continue;
        }
        const QXmlStreamAttributes attributes = xml.attributes();
        const QString id = attributes.value(QStringLiteral("Id")).toString();
        const QString target = attributes.value(QStringLiteral("Target")).toString();
        Relationship relationship{
            lastSegment(attributes.value(QStringLiteral("Type")).toString()), {}, {}};
        if (attributes.value(QStringLiteral("TargetMode")) == u"External")
            relationship.externalUrl = target;
        else if (auto resolved = ZipContainer::resolve(part, target.toStdString()))
            relationship.target = *resolved;
        if (!id.isEmpty() && (!relationship.target.empty() || !relationship.externalUrl.isEmpty()))
            relationships.emplace(id, std::move(relationship));
        xml.skipCurrentElement();
    }
    return relationships;
}

void forEachDescendant(QXmlStreamReader& xml, const std::function<void()>& visit) {
    for (int level = 1; level > 0;) {
        readNext(xml);
        if (xml.isEndElement()) {
            --level;
            continue;
        }
        if (!xml.isStartElement())
            continue;
        ++level;
        visit();
        if (xml.isEndElement()) // the visitor read the element to its end
            --level;
    }
}

} // namespace kelvane::Ooxml

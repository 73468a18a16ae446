#include "documents/docx/DocxNumbering.h"

#include "documents/docx/Ooxml.h"

#include <QXmlStreamReader>

#include <algorithm>

namespace kelvane::Docx {
namespace {

using Ooxml::isW;
using Ooxml::nextChild;
using Ooxml::wAttribute;

constexpr std::size_t maxDefinitions = 10000;
constexpr int maxListLevel = 8;

QTextListFormat::Style bulletStyle(const QString& text, int level) {
    static const QString discs = QStringLiteral("\u2022\uf0b7\u00b7\u25cf");
    static const QString circles = QStringLiteral("o\u25e6\u25cb\uf06f");
    static const QString squares = QStringLiteral("\u25aa\u25a0\uf0a7\uf0a8\u00a7");
    if (text.size() == 1 && discs.contains(text))
        return QTextListFormat::ListDisc;
    if (text.size() == 1 && circles.contains(text))
        return QTextListFormat::ListCircle;
    if (text.size() == 1 && squares.contains(text))
        return QTextListFormat::ListSquare;
    constexpr QTextListFormat::Style byLevel[] = {
        QTextListFormat::ListDisc, QTextListFormat::ListCircle, QTextListFormat::ListSquare};
    return byLevel[level % 3];
}

QTextListFormat::Style listStyleOf(const QString& numFmt, const QString& text, int level) {
    if (numFmt == u"bullet")
        return bulletStyle(text, level);
    if (numFmt == u"lowerLetter")
        return QTextListFormat::ListLowerAlpha;
    if (numFmt == u"upperLetter")
        return QTextListFormat::ListUpperAlpha;
    if (numFmt == u"lowerRoman")
        return QTextListFormat::ListLowerRoman;
    if (numFmt == u"upperRoman")
        return QTextListFormat::ListUpperRoman;
    return QTextListFormat::ListDecimal;
}

} // namespace

void Numbering::read(const QByteArray& bytes) {
    QXmlStreamReader xml(bytes);
    if (!nextChild(xml))
        return;
    while (nextChild(xml)) {
        if (isW(xml, u"abstractNum") && abstracts_.size() < maxDefinitions)
            readAbstract(xml);
        else if (isW(xml, u"num") && nums_.size() < maxDefinitions)
            readNum(xml);
        else
            xml.skipCurrentElement();
    }
}

void Numbering::readAbstract(QXmlStreamReader& xml) {
    const int id = wAttribute(xml, u"abstractNumId").toInt();
    auto& levels = abstracts_[id];
    while (nextChild(xml)) {
        if (!isW(xml, u"lvl")) {
            xml.skipCurrentElement();
            continue;
        }
        const int level = std::clamp(wAttribute(xml, u"ilvl").toInt(), 0, maxListLevel);
        QString format;
        QString text;
        while (nextChild(xml)) {
            if (isW(xml, u"numFmt"))
                format = wAttribute(xml, u"val");
            else if (isW(xml, u"lvlText"))
                text = wAttribute(xml, u"val");
            xml.skipCurrentElement();
        }
        levels[level] = listStyleOf(format, text, level);
    }
}

void Numbering::readNum(QXmlStreamReader& xml) {
    const int id = wAttribute(xml, u"numId").toInt();
    while (nextChild(xml)) {
        if (isW(xml, u"abstractNumId"))
            nums_[id] = wAttribute(xml, u"val").toInt();
        xml.skipCurrentElement();
    }
}

std::optional<QTextListFormat::Style> Numbering::style(int numId, int level) const {
    const auto num = nums_.find(numId);
    if (numId == 0 || num == nums_.end())
        return std::nullopt;
    const auto abstract = abstracts_.find(num->second);
    if (abstract == abstracts_.end())
        return std::nullopt;
    const auto found = abstract->second.find(level);
    if (found == abstract->second.end())
        return bulletStyle({}, level);
    return found->second;
}

} // namespace kelvane::Docx

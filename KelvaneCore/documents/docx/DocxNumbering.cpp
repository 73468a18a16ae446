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

using ListNumbering::NumberFormat;

NumberFormat formatOf(const QString& numFmt) {
    static const std::pair<const char16_t*, NumberFormat> formats[] = {
        {u"none", NumberFormat::none},
        {u"bullet", NumberFormat::bullet},
        {u"lowerLetter", NumberFormat::lowerLetter},
        {u"upperLetter", NumberFormat::upperLetter},
        {u"lowerRoman", NumberFormat::lowerRoman},
        {u"upperRoman", NumberFormat::upperRoman}};
    for (const auto& [name, format] : formats)
        if (numFmt == name)
            return format;
    return NumberFormat::decimal; // decimal and the forms we have no digits for
}

// A level's definition from the children of its w:lvl.
ListNumbering::Level readLevel(QXmlStreamReader& xml, int index) {
    ListNumbering::Level level;
    level.pattern = QStringLiteral("%") + QString::number(index + 1) + u'.';
    while (nextChild(xml)) {
        if (isW(xml, u"numFmt")) {
            level.format = formatOf(wAttribute(xml, u"val"));
        } else if (isW(xml, u"lvlText")) {
            level.pattern = wAttribute(xml, u"val");
        } else if (isW(xml, u"start")) {
            level.start = std::clamp(wAttribute(xml, u"val").toInt(), 0, 32767);
        } else if (isW(xml, u"lvlRestart")) {
            const int after = wAttribute(xml, u"val").toInt();
            level.restartAfter = after <= 0 ? std::nullopt : std::optional(after - 1);
        }
        xml.skipCurrentElement();
    }
    if (level.format == NumberFormat::bullet && level.pattern.isEmpty())
        level.pattern = QStringLiteral("\u2022");
    return level;
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
    for (const auto& [id, num] : nums_) {
        const auto abstract = abstracts_.find(num.abstract);
        if (abstract == abstracts_.end())
            continue;
        ListNumbering::Levels levels = abstract->second;
        for (const auto& [level, start] : num.startOverrides)
            if (level >= 0 && level <= maxListLevel)
                levels[static_cast<std::size_t>(level)].start = start;
        resolved_[id] = levels;
    }
}

void Numbering::readAbstract(QXmlStreamReader& xml) {
    const int id = wAttribute(xml, u"abstractNumId").toInt();
    ListNumbering::Levels& levels = abstracts_[id];
    for (int index = 0; index < ListNumbering::levels; ++index) {
        levels[static_cast<std::size_t>(index)].pattern =
            QStringLiteral("%") + QString::number(index + 1) + u'.';
    }
    while (nextChild(xml)) {
        if (!isW(xml, u"lvl")) {
            xml.skipCurrentElement();
            continue;
        }
        const int index = wAttribute(xml, u"ilvl").toInt();
        const auto level = readLevel(xml, std::clamp(index, 0, maxListLevel));
        if (index >= 0 && index <= maxListLevel)
            levels[static_cast<std::size_t>(index)] = level;
    }
}

void Numbering::readNum(QXmlStreamReader& xml) {
    const int id = wAttribute(xml, u"numId").toInt();
    Num& num = nums_[id];
    while (nextChild(xml)) {
        if (isW(xml, u"abstractNumId")) {
            num.abstract = wAttribute(xml, u"val").toInt();
        } else if (isW(xml, u"lvlOverride")) {
            const int level = wAttribute(xml, u"ilvl").toInt();
            while (nextChild(xml)) {
                if (isW(xml, u"startOverride"))
                    num.startOverrides[level] =
                        std::clamp(wAttribute(xml, u"val").toInt(), 0, 32767);
                xml.skipCurrentElement();
            }
            continue;
        }
        xml.skipCurrentElement();
    }
}

const ListNumbering::Levels* Numbering::levels(int numId) const {
    const auto found = resolved_.find(numId);
    return numId == 0 || found == resolved_.end() ? nullptr : &found->second;
}

} // namespace kelvane::Docx

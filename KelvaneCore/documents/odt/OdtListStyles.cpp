#include "documents/odt/OdtStyles.h"

#include <QStringList>
#include <QXmlStreamReader>

#include <algorithm>

// The list and outline styles: how each level of a list or of the headings is numbered.

namespace kelvane::Odt {
namespace {

using ListNumbering::NumberFormat;

ListNumbering::Level bullet(const QString& character) {
    static const QString circles = QStringLiteral("○◦❍o");
    static const QString squares = QStringLiteral("■□▪▫◼◻");
    ListNumbering::Level level;
    level.format = NumberFormat::bullet;
    level.pattern = QStringLiteral("\u2022");
    if (!character.isEmpty() && circles.contains(character.front()))
        level.pattern = QStringLiteral("\u25e6");
    else if (!character.isEmpty() && squares.contains(character.front()))
        level.pattern = QStringLiteral("\u25aa");
    return level;
}

// A numbered level: "1", "a", "A", "i", "I" between its prefix and suffix, showing as many of
// the levels above as text:display-levels asks.
ListNumbering::Level numbered(const QXmlStreamReader& xml, int index) {
    const QString numFormat = attribute(xml, ns::style, "num-format");
    if (numFormat.isEmpty())
        return bullet({}); // a list without numbers still shows its items
    ListNumbering::Level level;
    level.format = numFormat == u"a"   ? NumberFormat::lowerLetter
                   : numFormat == u"A" ? NumberFormat::upperLetter
                   : numFormat == u"i" ? NumberFormat::lowerRoman
                   : numFormat == u"I" ? NumberFormat::upperRoman
                                       : NumberFormat::decimal;
    const int shown = std::clamp(attribute(xml, ns::text, "display-levels").toInt(), 1, index + 1);
    QStringList numbers;
    for (int above = index + 1 - shown; above <= index; ++above)
        numbers.append(u'%' + QString::number(above + 1));
    level.pattern = attribute(xml, ns::style, "num-prefix") + numbers.join(u'.') +
                    attribute(xml, ns::style, "num-suffix");
    const QString start = attribute(xml, ns::text, "start-value");
    if (!start.isEmpty())
        level.start = std::clamp(start.toInt(), 0, 32767);
    return level;
}

} // namespace

void Styles::readListStyle(QXmlStreamReader& xml, const QString& name) {
    auto& levels = lists_[name];
    levels.clear();
    while (xml.readNextStartElement()) {
        const int level = attribute(xml, ns::text, "level").toInt();
        const int index = std::clamp(level, 1, ListNumbering::levels) - 1;
        if (isElement(xml, ns::text, u"list-level-style-number"))
            levels[level] = numbered(xml, index);
        else if (isElement(xml, ns::text, u"list-level-style-bullet"))
            levels[level] = bullet(attribute(xml, ns::text, "bullet-char"));
        else if (isElement(xml, ns::text, u"list-level-style-image"))
            levels[level] = bullet({});
        xml.skipCurrentElement();
    }
}

// Outline levels with an empty number format show no number, unlike list levels.
void Styles::readOutlineStyle(QXmlStreamReader& xml) {
    outline_ = unnumbered();
    while (xml.readNextStartElement()) {
        const int index =
            std::clamp(attribute(xml, ns::text, "level").toInt(), 1, ListNumbering::levels) - 1;
        if (isElement(xml, ns::text, u"outline-level-style") &&
            !attribute(xml, ns::style, "num-format").isEmpty())
            outline_[static_cast<std::size_t>(index)] = numbered(xml, index);
        xml.skipCurrentElement();
    }
}

ListNumbering::Levels Styles::listLevels(const QString& listName) const {
    ListNumbering::Levels levels;
    levels.fill(bullet({}));
    const auto list = lists_.find(listName);
    if (list == lists_.end() || list->second.empty())
        return levels;
    for (int level = 1; level <= ListNumbering::levels; ++level) {
        // A list style that stops short of a nesting level lends its deepest level below it.
        auto found = list->second.upper_bound(level);
        if (found != list->second.begin())
            --found;
        ListNumbering::Level lent = found->second;
        if (found->first != level && lent.format != ListNumbering::NumberFormat::bullet)
            lent.pattern.replace(u'%' + QString::number(found->first),
                                 u'%' + QString::number(level));
        levels[static_cast<std::size_t>(level - 1)] = lent;
    }
    return levels;
}

} // namespace kelvane::Odt

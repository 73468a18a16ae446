#include "documents/ListNumbering.h"

#include <algorithm>
#include <array>

namespace kelvane::ListNumbering {
namespace {

constexpr int largestRoman = 3999;

// "a".."z", then "aa".."zz", "aaa": the letter repeated, as word processors count past z.
QString letters(int number, char16_t first) {
    const int repeat = (number - 1) / 26 + 1;
    return QString(repeat, QChar(static_cast<char16_t>(first + (number - 1) % 26)));
}

QString roman(int number, bool upper) {
    constexpr std::array<std::pair<int, const char*>, 13> steps{{{1000, "m"},
                                                                 {900, "cm"},
                                                                 {500, "d"},
                                                                 {400, "cd"},
                                                                 {100, "c"},
                                                                 {90, "xc"},
                                                                 {50, "l"},
                                                                 {40, "xl"},
                                                                 {10, "x"},
                                                                 {9, "ix"},
                                                                 {5, "v"},
                                                                 {4, "iv"},
                                                                 {1, "i"}}};
    if (number > largestRoman)
        return QString::number(number);
    QString text;
    for (const auto& [value, digits] : steps)
        for (; number >= value; number -= value)
            text += QLatin1String(digits);
    return upper ? text.toUpper() : text;
}

} // namespace

QString numberText(NumberFormat format, int number) {
    switch (format) {
    case NumberFormat::decimal:
        return QString::number(number);
    case NumberFormat::lowerLetter:
        return number < 1 ? QString() : letters(number, u'a');
    case NumberFormat::upperLetter:
        return number < 1 ? QString() : letters(number, u'A');
    case NumberFormat::lowerRoman:
        return number < 1 ? QString() : roman(number, false);
    case NumberFormat::upperRoman:
        return number < 1 ? QString() : roman(number, true);
    case NumberFormat::none:
    case NumberFormat::bullet:
        break;
    }
    return {};
}

std::optional<ListLook> listLook(const Level& level, int index) {
    if (level.format == NumberFormat::bullet) {
        if (level.pattern == u"o" || level.pattern == u"\u25e6" || level.pattern == u"\u25cb")
            return ListLook{QTextListFormat::ListCircle, {}, {}};
        if (level.pattern == u"\u25aa" || level.pattern == u"\u25a0" || level.pattern == u"\uf0a7")
            return ListLook{QTextListFormat::ListSquare, {}, {}};
        return ListLook{QTextListFormat::ListDisc, {}, {}};
    }
    if (level.format == NumberFormat::none || level.start != 1)
        return std::nullopt;
    const QString own = u'%' + QString::number(index + 1);
    const auto at = level.pattern.indexOf(own);
    if (at < 0 || level.pattern.count(u'%') != 1)
        return std::nullopt;
    constexpr QTextListFormat::Style styles[] = {
        QTextListFormat::ListDecimal,    QTextListFormat::ListDecimal,
        QTextListFormat::ListLowerAlpha, QTextListFormat::ListUpperAlpha,
        QTextListFormat::ListLowerRoman, QTextListFormat::ListUpperRoman};
    return ListLook{styles[static_cast<int>(level.format)], level.pattern.left(at),
                    level.pattern.mid(at + own.size())};
}

QString Counter::next(int key, int level, const Levels& definition) {
    level = std::clamp(level, 0, levels - 1);
    Counts& counts = lists_[key];
    const auto index = static_cast<std::size_t>(level);
    counts.numbers[index] =
        counts.started[index] ? counts.numbers[index] + 1 : definition[index].start;
    counts.started[index] = true;
    // Deeper levels start again after an item above them, unless told otherwise.
    for (std::size_t deeper = index + 1; deeper < static_cast<std::size_t>(levels); ++deeper) {
        const auto& restart = definition[deeper].restartAfter;
        if (restart && (*restart < 0 || *restart >= level))
            counts.started[deeper] = false;
    }
    const Level& own = definition[index];
    if (own.format == NumberFormat::bullet)
        return own.pattern;
    QString label;
    for (qsizetype at = 0; at < own.pattern.size(); ++at) {
        const QChar c = own.pattern.at(at);
        const QChar digit = at + 1 < own.pattern.size() ? own.pattern.at(at + 1) : QChar();
        if (c != u'%' || digit < u'1' || digit > u'9') {
            label += c;
            continue;
        }
        const auto referred = static_cast<std::size_t>(digit.unicode() - u'1');
        const int number =
            counts.started[referred] ? counts.numbers[referred] : definition[referred].start;
        label += numberText(definition[referred].format, number);
        ++at;
    }
    return label;
}

} // namespace kelvane::ListNumbering

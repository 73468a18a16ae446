#pragma once

#include <QString>
#include <QTextListFormat>

#include <array>
#include <map>
#include <optional>

namespace kelvane::ListNumbering {

// How a list level, a note or a heading shows its number.
enum class NumberFormat { none, decimal, lowerLetter, upperLetter, lowerRoman, upperRoman, bullet };

// `number` written in `format`: "4", "d", "D", "iv", "IV"; empty for none and bullet, and for
// numbers below 1 where letters and roman numerals have none.
QString numberText(NumberFormat format, int number);

constexpr int levels = 9;

// One level of a numbered or bulleted list as the document defines it.
struct Level {
    NumberFormat format = NumberFormat::decimal;
    // What the label shows: "%1." or "(%1)" or "%1.%2."; %N stands for the current number of
    // level N (1-based). For bullets, the bullet character itself.
    QString pattern = QStringLiteral("%1.");
    int start = 1;
    // The level above which a new item restarts this one's count: -1 for any level above
    // (the usual rule), or a level index; none when the count never restarts.
    std::optional<int> restartAfter = -1;
};
using Levels = std::array<Level, levels>;

// The list style that shows a level's labels, when a QTextList can: bullets, and numbers whose
// label is the level's own number between a fixed prefix and suffix, counted from 1.
// QTextList numbers items itself from 1 and knows nothing of the levels above.
struct ListLook {
    QTextListFormat::Style style;
    QString prefix;
    QString suffix;
};
std::optional<ListLook> listLook(const Level& level, int index);

// Counts the items of the lists of one document, each list by its own key, and gives each item
// its label ("3.", "iv)", "2.1.").
class Counter {
public:
    // The label of the next item at `level` of the list `key`, and the counts this advances.
    QString next(int key, int level, const Levels& definition);

private:
    struct Counts {
        std::array<int, levels> numbers{};
        std::array<bool, levels> started{};
    };
    std::map<int, Counts> lists_;
};
} // namespace kelvane::ListNumbering

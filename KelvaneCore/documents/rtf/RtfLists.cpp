#include "documents/rtf/RtfReading.h"

#include <algorithm>

namespace kelvane::Rtf {
namespace {

constexpr std::size_t maxLists = 4096;
constexpr std::size_t maxListLevels = 9;

// \levelnfc: the number formats of list levels.
ListNumbering::NumberFormat numberFormatOf(int levelFormat) {
    using ListNumbering::NumberFormat;
    switch (levelFormat) {
    case upperRomanNumbers:
        return NumberFormat::upperRoman;
    case lowerRomanNumbers:
        return NumberFormat::lowerRoman;
    case upperLetters:
        return NumberFormat::upperLetter;
    case lowerLetters:
        return NumberFormat::lowerLetter;
    case bullets:
        return NumberFormat::bullet;
    case 255:
        return NumberFormat::none;
    default:
        return NumberFormat::decimal;
    }
}

} // namespace

void Reader::listTableWord(KeywordInfo info, const Token& token) {
    if (info.keyword == Keyword::List) {
        definingList_.clear();
    } else if (info.keyword == Keyword::ListLevel && definingList_.size() < maxListLevels) {
        definingList_.emplace_back();
    } else if (info.keyword == Keyword::LevelNumberFormat && !definingList_.empty()) {
        definingList_.back().format = numberFormatOf(token.parameter);
    } else if (info.keyword == Keyword::LevelStart && !definingList_.empty()) {
        definingList_.back().start = std::clamp(token.parameter, 0, 32767);
    } else if (info.keyword == Keyword::ListId && lists_.size() < maxLists) {
        ListNumbering::Levels& levels = lists_[token.parameter];
        std::copy_n(definingList_.begin(), std::min(definingList_.size(), levels.size()),
                    levels.begin());
    }
}

void Reader::listOverrideWord(KeywordInfo info, const Token& token) {
    if (info.keyword == Keyword::ListOverride)
        overriddenList_ = 0;
    else if (info.keyword == Keyword::ListId)
        overriddenList_ = token.parameter;
    else if (info.keyword == Keyword::ListNumber && listOverrides_.size() < maxLists)
        listOverrides_[token.parameter] = overriddenList_;
}

void Reader::numberingWord(KeywordInfo info, const Token& token) {
    if (info.keyword == Keyword::NumberingLevel)
        numbering_.level = token.hasParameter ? std::clamp(token.parameter, 1, 9) : info.value;
    else if (info.keyword == Keyword::NumberingFormat)
        numbering_.format = info.value;
}

} // namespace kelvane::Rtf

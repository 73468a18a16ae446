#include "VersionOrder.h"

#include <QList>

namespace kelvane::UpdateChecker {

namespace {

bool isDigit(uint c) {
    return c >= u'0' && c <= u'9';
}

using CodePoints = QList<uint>;

// The digit run starting at `start`, without its leading zeros, as [first, end).
struct DigitRun {
    qsizetype first;
    qsizetype end;
};

DigitRun digitRunAt(const CodePoints& text, qsizetype start) {
    qsizetype end = start;
    while (end < text.size() && isDigit(text[end]))
        ++end;
    qsizetype first = start;
    while (first < end && text[first] == u'0')
        ++first;
    return {first, end};
}

// Compares two digit runs by value without converting them: any length is fine.
std::weak_ordering compareRuns(const CodePoints& left, DigitRun a, const CodePoints& right,
                               DigitRun b) {
    const qsizetype lengthA = a.end - a.first;
    const qsizetype lengthB = b.end - b.first;
    if (lengthA != lengthB)
        return lengthA <=> lengthB;
    for (qsizetype i = 0; i < lengthA; ++i)
        if (left[a.first + i] != right[b.first + i])
            return left[a.first + i] <=> right[b.first + i];
    return std::weak_ordering::equivalent;
}

} // namespace

std::weak_ordering compareVersions(const QString& leftText, const QString& rightText) {
    const CodePoints left = leftText.toUcs4();
    const CodePoints right = rightText.toUcs4();
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < left.size() && j < right.size()) {
        if (isDigit(left[i]) && isDigit(right[j])) {
            const DigitRun a = digitRunAt(left, i);
            const DigitRun b = digitRunAt(right, j);
            if (const auto order = compareRuns(left, a, right, b); order != 0)
                return order;
            i = a.end;
            j = b.end;
            continue;
        }
        if (left[i] != right[j])
            return left[i] <=> right[j];
        ++i;
        ++j;
    }
    return (left.size() - i) <=> (right.size() - j);
}

bool isNewer(const QString& feedVersion, const QString& currentVersion) {
    return compareVersions(feedVersion, currentVersion) > 0;
}

} // namespace kelvane::UpdateChecker

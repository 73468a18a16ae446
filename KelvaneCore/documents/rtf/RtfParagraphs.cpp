#include "documents/Units.h"
#include "documents/rtf/RtfReading.h"

#include <algorithm>
#include <cstdlib>

namespace kelvane::Rtf {
namespace {

constexpr int typedListIndent = 360; // twips per nesting level of lists typed as text
constexpr double twipsPerLine = 240; // \sl with \slmult1 counts 240ths of a line
constexpr double maxLinePercent = 1000;

double pixelsFromTwips(int twips) {
    return Units::pixelsFromPoints(Units::pointsFromTwips(twips));
}

QTextListFormat::Style styleOf(int numberFormat) {
    switch (numberFormat) {
    case bullets:
    case 255: // no number shown
        return QTextListFormat::ListDisc;
    case upperRomanNumbers:
        return QTextListFormat::ListUpperRoman;
    case lowerRomanNumbers:
        return QTextListFormat::ListLowerRoman;
    case upperLetters:
        return QTextListFormat::ListUpperAlpha;
    case lowerLetters:
        return QTextListFormat::ListLowerAlpha;
    default:
        return QTextListFormat::ListDecimal;
    }
}

// A marker such as "3." or "b)" from \listtext when no list definition says more.
int guessedFormat(const QString& marker) {
    const QString text = marker.trimmed();
    if (std::any_of(text.begin(), text.end(), [](QChar c) { return c.isDigit(); }))
        return decimalNumbers;
    if (text.size() >= 2 && text[0].isLetter() && (text[1] == u'.' || text[1] == u')'))
        return text[0].isUpper() ? upperLetters : lowerLetters;
    return bullets;
}

// \sl: a multiple of single spacing, or an exact (negative) or least line height.
void setLineSpacing(const ParagraphState& paragraph, QTextBlockFormat& format) {
    if (paragraph.lineSpacing == 0)
        return;
    if (paragraph.lineMultiple && paragraph.lineSpacing > 0)
        format.setLineHeight(std::min(paragraph.lineSpacing / twipsPerLine * 100, maxLinePercent),
                             QTextBlockFormat::ProportionalHeight);
    else if (!paragraph.lineMultiple)
        format.setLineHeight(pixelsFromTwips(std::abs(paragraph.lineSpacing)),
                             paragraph.lineSpacing < 0 ? QTextBlockFormat::FixedHeight
                                                       : QTextBlockFormat::MinimumHeight);
}

} // namespace

void Reader::endParagraph() {
    if (state().destination != Destination::Body)
        return;
    builder_.endParagraph(paragraphEnd(), state().paragraph.inTable);
    listTextSeen_ = false;
    listText_.clear();
}

ParagraphEnd Reader::paragraphEnd() {
    static constexpr Qt::Alignment alignments[] = {Qt::AlignLeft, Qt::AlignHCenter, Qt::AlignRight,
                                                   Qt::AlignJustify};
    const ParagraphState& paragraph = state().paragraph;
    ParagraphEnd end;
    end.listItem = listItem(end);
    QTextBlockFormat& format = end.format;
    if (paragraph.alignment > 0)
        format.setAlignment(alignments[paragraph.alignment]);
    // A list places its items itself; the indents RTF gives them would indent twice.
    if (!end.listItem && paragraph.leftIndent != 0)
        format.setLeftMargin(pixelsFromTwips(paragraph.leftIndent));
    if (!end.listItem && paragraph.firstIndent != 0)
        format.setTextIndent(pixelsFromTwips(paragraph.firstIndent));
    if (paragraph.rightIndent != 0)
        format.setRightMargin(pixelsFromTwips(paragraph.rightIndent));
    if (paragraph.spaceBefore > 0)
        format.setTopMargin(pixelsFromTwips(paragraph.spaceBefore));
    if (paragraph.spaceAfter > 0)
        format.setBottomMargin(pixelsFromTwips(paragraph.spaceAfter));
    setLineSpacing(paragraph, format);
    if (paragraph.headingLevel > 0)
        format.setHeadingLevel(paragraph.headingLevel);
    if (paragraph.pageBreakBefore)
        format.setPageBreakPolicy(QTextFormat::PageBreak_AlwaysBefore);
    if (!end.listItem && paragraph.firstIndent < 0)
        end.typedListLevel = std::clamp(paragraph.leftIndent / typedListIndent, 1, 9);
    return end;
}

std::optional<ListItem> Reader::listItem(ParagraphEnd& end) {
    const ParagraphState& paragraph = state().paragraph;
    if (paragraph.listNumber > 0) {
        const auto list = listOverrides_.find(paragraph.listNumber);
        const auto levels = list == listOverrides_.end() ? lists_.end() : lists_.find(list->second);
        const int level = std::clamp(paragraph.listNesting, 0, ListNumbering::levels - 1);
        if (levels == lists_.end())
            return ListItem{paragraph.listNumber, level + 1, styleOf(guessedFormat(listText_))};
        // Numbered as the list defines it; labels a list cannot draw (start values, "%1)",
        // "1.1.") become the paragraph's first text, as do the outline numbers of headings.
        const QString text = listCounter_.next(paragraph.listNumber, level, levels->second);
        const auto look =
            ListNumbering::listLook(levels->second[static_cast<std::size_t>(level)], level);
        if (look && paragraph.headingLevel == 0) {
            end.numberPrefix = look->prefix;
            end.numberSuffix = look->suffix;
            return ListItem{paragraph.listNumber, level + 1, look->style};
        }
        end.label = text;
        return std::nullopt;
    }
    if (numbering_.active)
        return ListItem{0, numbering_.level, styleOf(numbering_.format)};
    if (listTextSeen_)
        return ListItem{0, 1, styleOf(guessedFormat(listText_))};
    return std::nullopt;
}

} // namespace kelvane::Rtf

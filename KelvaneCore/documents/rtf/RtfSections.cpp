#include "documents/Units.h"
#include "documents/rtf/RtfReading.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>
#include <cstdlib>

namespace kelvane::Rtf {
namespace {

constexpr int maxPageTwips = 31680; // 22 inches, the widest page the format allows
constexpr qsizetype maxMarginText = 500;
constexpr std::size_t maxSections = 10000;
constexpr int maxPageNumber = 100000;

void setMeasure(PageSetup& page, int measure, const Token& token) {
    const int twips = std::min(std::abs(token.parameter), maxPageTwips);
    switch (measure) {
    case pageWidth:
        page.width = twips;
        break;
    case pageHeight:
        page.height = twips;
        break;
    case leftMargin:
        page.left = twips;
        break;
    case rightMargin:
        page.right = twips;
        break;
    case topMargin:
        page.top = twips;
        break;
    case bottomMargin:
        page.bottom = twips;
        break;
    case landscape:
        page.landscape = !token.hasParameter || token.parameter != 0;
        break;
    case titlePage:
        page.titlePage = !token.hasParameter || token.parameter != 0;
        break;
    case facingPages:
        page.facingPages = !token.hasParameter || token.parameter != 0;
        break;
    case restartNumbers:
        page.restartNumbers = !token.hasParameter || token.parameter != 0;
        break;
    case firstNumber:
        page.firstNumber = std::clamp(token.parameter, 0, maxPageNumber);
        break;
    default:
        break;
    }
}

SectionPages::Page pageOf(const PageSetup& setup, const std::array<QString, 6>& margins) {
    using Units::pointsFromTwips;
    QSizeF size(pointsFromTwips(setup.width), pointsFromTwips(setup.height));
    // Some producers give the portrait size and the orientation apart.
    if (setup.landscape && size.width() < size.height())
        size.transpose();
    SectionPages::Page page(size,
                            {pointsFromTwips(setup.left), pointsFromTwips(setup.top),
                             pointsFromTwips(setup.right), pointsFromTwips(setup.bottom)},
                            margins[pageHeader].trimmed(), margins[pageFooter].trimmed());
    if (setup.titlePage)
        page.first = {margins[firstHeader].trimmed(), margins[firstFooter].trimmed()};
    if (setup.facingPages)
        page.even = {margins[evenHeader].trimmed(), margins[evenFooter].trimmed()};
    if (setup.restartNumbers)
        page.firstNumber = std::max(setup.firstNumber, 1);
    return page;
}

} // namespace

bool Reader::sectionWord(KeywordInfo info, const Token& token) {
    switch (info.keyword) {
    case Keyword::DocumentPage:
        // Stated before the first section, they are its page as well.
        setMeasure(documentPage_, info.value, token);
        setMeasure(sectionPage_, info.value, token);
        pageGiven_ = true;
        return true;
    case Keyword::SectionPage:
        setMeasure(sectionPage_, info.value, token);
        pageGiven_ = true;
        return true;
    case Keyword::SectionDefaults:
        sectionPage_ = documentPage_;
        return true;
    case Keyword::SectionBreak:
        if (info.value == 0)
            builder_.cancelPageBreak();
        return true;
    case Keyword::Section:
        if (state().destination != Destination::Body)
            return true;
        if (builder_.paragraphStarted())
            endParagraph();
        endSection();
        builder_.breakPage(); // \sbknone after it says the next section runs on
        return true;
    default:
        return false;
    }
}

// The section that ends here keeps the page it was given; the next one starts from it.
void Reader::endSection() {
    const int start = builder_.takeSectionStart();
    if (start >= 0 && pageGiven_ && sections_.size() < maxSections)
        sections_.emplace_back(start, pageOf(sectionPage_, margins_));
}

// Marked once the text is complete, so that no later paragraph format replaces the marks.
void Reader::markSections() {
    QTextDocument& document = builder_.document();
    for (const auto& [start, page] : sections_) {
        QTextBlockFormat marked;
        SectionPages::mark(marked, page);
        QTextCursor(document.findBlock(start)).mergeBlockFormat(marked);
    }
}

void Reader::startMargin(MarginKind kind) {
    marginKind_ = kind;
    margins_[kind].clear();
    pageGiven_ = true;
    state().destination = Destination::Margin;
}

void Reader::appendToMargin(const QString& text) {
    QString& line = margins_[marginKind_];
    line.append(QStringView(text).first(std::min(text.size(), maxMarginText - line.size())));
}

void Reader::marginWord(KeywordInfo info) {
    if (info.keyword == Keyword::PageNumber)
        appendToMargin(QString(SectionPages::pageNumberMark));
    else if (info.keyword == Keyword::Paragraph || info.keyword == Keyword::Cell)
        appendToMargin(QStringLiteral(" "));
}

} // namespace kelvane::Rtf

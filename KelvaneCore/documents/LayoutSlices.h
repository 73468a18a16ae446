#pragma once

#include "documents/PdfPages.h"
#include "documents/PictureStandIns.h"

#include <QTextDocument>

#include <mutex>
#include <optional>
#include <set>
#include <utility>
#include <vector>

// A long document is laid out a slice at a time: a run of its top-level paragraphs, with the
// tables among them, copied into a small document of its own. Only that slice is ever laid
// out; the blocks that reach onto its last page start the next slice, on a page of their own
// as they would have been in the whole.
namespace kelvane::PdfLayout {

// The document slices are cut from, with the stand-ins of its pictures. Slices may be laid
// out and drawn on several threads at once: each read of the document holds `lock`.
struct SliceSource {
    const QTextDocument& document;
    PictureStandIns& standIns;
    std::recursive_mutex lock;
};

class Slice : public QTextDocument {
public:
    // The content of `source` from `start` up to `end`, both where a top-level paragraph or
    // table begins (`end` may also be the end of the document), or `start` inside a paragraph
    // begun on an earlier page. Pictures are fetched from `source`, which must outlive the
    // slice, and drawn as their stand-ins. The slice is laid out on `pages` as it is copied.
    Slice(SliceSource& source, int start, int end, PdfPages& pages);

    // Where `source` begins the first top-level paragraph at or after `position`, outside any
    // table; its end when there is none.
    static int boundaryFrom(const QTextDocument& source, int position);

    // Where a position of the slice is in the source.
    int sourcePosition(int position) const;

protected:
    QVariant loadResource(int type, const QUrl& name) override;

private:
    void copyRange(int start, int end);
    void keepFirstParagraphFormat(const QTextBlock& original, bool hasSpareBlock);
    void continueParagraph();
    void continueListNumbers(int start);
    void findPictures();
    void dropLeadingBreak();

    SliceSource& source_;
    std::set<QUrl> pictures_; // the names of the pictures shown in the text
    int start_;
    std::vector<std::pair<int, int>> labels_; // list numbers written out: where, how long
};

struct Carry {
    int position; // in the laid-out document, where what goes on with the next slice begins
    int page;     // the page it begins on: the pages before it are complete
};

// Where a laid-out slice is cut for the next to go on from the head of a page: the last page
// (which the next slice would fill further), or where a table across its head begins. A
// paragraph across that page's head is cut between its lines. None when one table fills
// every page.
std::optional<Carry> carriedFrom(QTextDocument& document, double pageHeight);

} // namespace kelvane::PdfLayout

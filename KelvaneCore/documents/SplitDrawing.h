#pragma once

#include "documents/LayoutSlices.h"
#include "documents/PdfPages.h"

#include <QThread>

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <vector>

namespace kelvane::PdfLayout {

// A slice of the document as the layout cut it: laid out again, it fills `pages` pages first.
struct PlannedSlice {
    int start;
    int end;
    int pages;
    const PageGeometry* section; // the pages turn to this section's before it; none: they go on
};

// The pages of a document drawn as its slices are planned, on two threads for a long one.
//
// A short document, or one planned where no thread can be started, is drawn a slice at a time
// as it is planned, into the front PDF. A long one is drawn into two PDFs: a helper thread
// lays out again and draws the first slices into the front one as they are planned, until the
// planning thread, which has only laid them out, would finish sooner drawing the rest itself.
// From then on it draws into the back one: the slices the helper has not reached, laid out
// again, and each further slice as soon as it is planned. No fonts or layouts are shared
// between the threads.
class SplitDrawing {
public:
    // `frontDrawn` is called on the helper thread once it has finished the front PDF, with
    // the back one still to come.
    SplitDrawing(SliceSource& source, PdfPages& front, PdfPages& back,
                 std::function<void()> frontDrawn);
    ~SplitDrawing();
    SplitDrawing(const SplitDrawing&) = delete;
    SplitDrawing& operator=(const SplitDrawing&) = delete;

    // The pages slices are laid out on while they are planned.
    PdfPages& planner() { return helper_ ? back_ : front_; }

    // How many characters a slice is cut after: shorter ones share the work more evenly.
    int sliceCharacters() const;

    // The next slice, laid out on the planner's pages. After the document's last, both PDFs
    // are drawn and finished.
    void add(const PlannedSlice& planned, QTextDocument& laidOut, bool last);

    // Which of the PDFs hold pages, in that order, once the last slice is drawn.
    bool drewFront() const { return drewFront_; }
    bool drewBack() const { return drewBack_; }

private:
    double backPagesFrom(const PlannedSlice& planned, bool last) const;
    double helperPagesLeft() const;
    void turnToBack(double backPages);
    void drawFront();
    void finishFront();
    void stopHelper();

    SliceSource& source_;
    PdfPages& front_;
    PdfPages& back_;
    std::function<void()> frontDrawn_;
    int documentEnd_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<PlannedSlice> planned_; // the slices given to the helper, in the order of pages
    std::size_t taken_ = 0;             // of those, how many it has started
    std::size_t limit_ = std::numeric_limits<std::size_t>::max(); // where the helper stops
    int plannedPages_ = 0;
    bool stopping_ = false;
    bool drawingBack_ = false;
    bool drewFront_ = false;
    bool drewBack_ = false;
    std::exception_ptr failure_;
    std::unique_ptr<QThread> helper_;
};

} // namespace kelvane::PdfLayout

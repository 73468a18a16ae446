#include "documents/SplitDrawing.h"

#include <utility>

namespace kelvane::PdfLayout {
namespace {

// Below this many characters (some twenty pages) a document is drawn on one thread: a second
// would gain less than it costs.
constexpr int splitCharacters = 100000;

// Slices of a document drawn on one thread are long, to lay out again as little as can be of
// the pages they are cut in; on two, shorter, to share the pages evenly.
constexpr int longSliceCharacters = 200000;
constexpr int shortSliceCharacters = 30000;

// Drawing a slice, laid out already, takes about this share of laying out and drawing one.
constexpr double drawingShare = 0.7;

void turnIfNew(PdfPages& pages, const PlannedSlice& planned) {
    if (planned.section != nullptr)
        pages.turnTo(*planned.section);
}

void draw(PdfPages& pages, SliceSource& source, const PlannedSlice& planned) {
    turnIfNew(pages, planned);
    Slice slice(source, planned.start, planned.end, pages);
    pages.drawFirst(slice, planned.pages);
    PdfPages::release(slice);
}

} // namespace

SplitDrawing::SplitDrawing(SliceSource& source, PdfPages& front, PdfPages& back,
                           std::function<void()> frontDrawn)
    : source_(source)
    , front_(front)
    , back_(back)
    , frontDrawn_(std::move(frontDrawn))
    , documentEnd_(source.document.characterCount() - 1) {
    if (source.document.characterCount() < splitCharacters)
        return;
    // A thread of Qt's own, for the timers the layout starts.
    helper_.reset(QThread::create([this] { drawFront(); }));
    helper_->start();
    if (!helper_->isRunning() && !helper_->isFinished())
        helper_.reset(); // no thread to spare
}

SplitDrawing::~SplitDrawing() {
    stopHelper();
}

int SplitDrawing::sliceCharacters() const {
    return helper_ ? shortSliceCharacters : longSliceCharacters;
}

void SplitDrawing::add(const PlannedSlice& planned, QTextDocument& laidOut, bool last) {
    plannedPages_ += planned.pages;
    if (!helper_) {
        front_.drawFirst(laidOut, planned.pages);
        if (last)
            front_.finish();
        drewFront_ = true;
        return;
    }
    if (!drawingBack_) {
        const double back = backPagesFrom(planned, last);
        {
            const std::lock_guard guard(mutex_);
            if (failure_)
                std::rethrow_exception(failure_);
            if (!last && helperPagesLeft() + planned.pages < back) {
                planned_.push_back(planned);
                changed_.notify_one();
                return;
            }
        }
        turnToBack(back);
    }
    turnIfNew(back_, planned);
    back_.drawFirst(laidOut, planned.pages);
    drewBack_ = true;
    if (!last)
        return;
    back_.finish(); // while the helper may still be drawing
    helper_->wait();
    if (failure_)
        std::rethrow_exception(failure_);
}

// The work the planning thread has left if it draws this slice and all after it, in pages:
// laying out and drawing a page is one, drawing a laid-out page `drawingShare`. The pages to
// come are guessed from the characters, at the pages per character so far. It turns to
// drawing them once that is no more than the helper would have given this slice too.
double SplitDrawing::backPagesFrom(const PlannedSlice& planned, bool last) const {
    const double pagesPerCharacter = plannedPages_ / std::max(1.0, double(planned.end));
    const double toCome = last ? 0 : (documentEnd_ - planned.end) * pagesPerCharacter;
    return planned.pages * drawingShare + toCome;
}

// The pages the helper has still to draw of those given it: about half the one it is on.
// Called holding `mutex_`.
double SplitDrawing::helperPagesLeft() const {
    double left = taken_ > 0 ? planned_[taken_ - 1].pages / 2.0 : 0;
    for (std::size_t i = taken_; i < planned_.size(); ++i)
        left += planned_[i].pages;
    return left;
}

// Takes from the helper the slices it has not started that would leave the two threads with
// about the same pages to draw, and draws them into the back PDF, numbered on from the front's.
void SplitDrawing::turnToBack(double backPages) {
    std::size_t split = 0;
    {
        const std::lock_guard guard(mutex_);
        double front = helperPagesLeft();
        split = planned_.size();
        while (split > taken_ && front - planned_[split - 1].pages / 2.0 > backPages) {
            front -= planned_[split - 1].pages;
            backPages += planned_[split - 1].pages;
            --split;
        }
        limit_ = split;
        drawingBack_ = true;
        drewFront_ = split > 0;
    }
    changed_.notify_one();
    back_.recount();
    for (std::size_t i = 0; i < planned_.size(); ++i) {
        if (i < split) {
            turnIfNew(back_, planned_[i]);
            back_.skip(planned_[i].pages);
        } else {
            draw(back_, source_, planned_[i]);
            drewBack_ = true;
        }
    }
}

void SplitDrawing::drawFront() {
    try {
        for (;;) {
            std::unique_lock guard(mutex_);
            changed_.wait(guard, [this] {
                return stopping_ || taken_ >= limit_ || taken_ < planned_.size();
            });
            if (stopping_ || taken_ >= limit_)
                break;
            const PlannedSlice planned = planned_[taken_++];
            guard.unlock();
            draw(front_, source_, planned);
        }
    } catch (...) {
        const std::lock_guard guard(mutex_);
        failure_ = std::current_exception();
    }
    finishFront();
}

// The fonts of a thread go with it: its PDF is finished, its fonts written, before it ends.
void SplitDrawing::finishFront() {
    try {
        if (taken_ == 0)
            return;
        front_.finish();
        bool stopped = false;
        {
            const std::lock_guard guard(mutex_);
            stopped = stopping_ || failure_;
        }
        if (!stopped)
            frontDrawn_();
    } catch (...) {
        const std::lock_guard guard(mutex_);
        if (!failure_)
            failure_ = std::current_exception();
    }
}

// Given up before the last slice: the helper stops after the slice it is drawing.
void SplitDrawing::stopHelper() {
    if (!helper_)
        return;
    {
        const std::lock_guard guard(mutex_);
        stopping_ = true;
    }
    changed_.notify_one();
    helper_->wait();
}

} // namespace kelvane::PdfLayout

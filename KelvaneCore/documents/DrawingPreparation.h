#pragma once

#include <atomic>
#include <future>

namespace kelvane::DocumentTools {

// The fonts of the system take some 10 ms to gather, which the layout waits for, and a
// document needs the picture tools to be written: for a PDF, both are done on a thread of
// their own while the input is read. The PDF writer loads every image format plugin there is
// (some 8 ms) before its first picture; that too is done then, if the input is still being
// read. The preparation is waited for when it goes.
class DrawingPreparation {
public:
    // `document`: a document with pictures may follow; plain text needs only the fonts.
    explicit DrawingPreparation(bool document);
    ~DrawingPreparation();
    DrawingPreparation(const DrawingPreparation&) = delete;
    DrawingPreparation& operator=(const DrawingPreparation&) = delete;

    void inputRead() { reading_ = false; }

private:
    void prepare(bool document);

    std::atomic<bool> reading_ = true;
    std::future<void> done_; // last: waited for before the flag goes
};

} // namespace kelvane::DocumentTools

#pragma once

#include "libarchive/LibArchive.h"

#include <QIODevice>

#include <cstdint>
#include <string>

namespace kelvane {

// One part of a ZIP package inflated as it is read, so that a large XML part is parsed
// without ever being held whole. Reading fails when the entry is damaged or inflates past
// `bound` bytes; `check` then throws the reason, since a parser only sees the data stop.
class ZipPartStream : public QIODevice {
public:
    // `reader` is positioned at the part's data.
    ZipPartStream(LibArchive::Reader reader, std::int64_t bound);

    bool isSequential() const override { return true; }
    // Throws std::runtime_error when a read failed.
    void check() const;

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    LibArchive::Reader reader_;
    std::int64_t bound_;
    std::string failure_;
};

} // namespace kelvane

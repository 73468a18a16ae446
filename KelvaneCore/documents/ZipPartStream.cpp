#include "documents/ZipPartStream.h"

#include <stdexcept>

namespace kelvane {

ZipPartStream::ZipPartStream(LibArchive::Reader reader, std::int64_t bound)
    : reader_(std::move(reader))
    , bound_(bound) {
    open(QIODevice::ReadOnly);
}

void ZipPartStream::check() const {
    if (!failure_.empty())
        throw std::runtime_error(failure_);
}

qint64 ZipPartStream::readData(char* data, qint64 maxSize) {
    if (!failure_.empty())
        return -1;
    const la_ssize_t count =
        archive_read_data(reader_.get(), data, static_cast<std::size_t>(maxSize));
    if (count < 0) {
        const std::string reason = LibArchive::errorText(reader_.get());
        failure_ = "damaged entry" + (reason.empty() ? "" : ": " + reason);
    } else if ((bound_ -= count) < 0) {
        failure_ = "archive expands beyond the limit";
    }
    if (!failure_.empty()) {
        setErrorString(QString::fromStdString(failure_));
        return -1;
    }
    return count;
}

} // namespace kelvane

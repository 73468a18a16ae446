#include "documents/DocumentFormats.h"
#include "fuzz/FuzzMain.h"

#include <QTextDocument>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray rtf(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    return kelvane::fuzz::readAsTheUserWould([&] { kelvane::DocumentFormats::readRtf(rtf); });
}

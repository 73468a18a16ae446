#include "documents/DocumentFormats.h"
#include "fuzz/FuzzMain.h"

#include <QTextDocument>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static kelvane::fuzz::ScratchFile scratch("odt");
    return kelvane::fuzz::readAsTheUserWould(
        [&] { kelvane::DocumentFormats::readOdt(scratch.write(data, size)); });
}

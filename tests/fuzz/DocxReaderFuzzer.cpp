#include "documents/DocumentFormats.h"
#include "fuzz/FuzzMain.h"

#include <QTextDocument>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static kelvane::fuzz::ScratchFile scratch("docx");
    return kelvane::fuzz::readAsTheUserWould(
        [&] { kelvane::DocumentFormats::readDocx(scratch.write(data, size)); });
}

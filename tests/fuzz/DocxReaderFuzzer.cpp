#include "documents/DocumentFormats.h"
#include "fuzz/FuzzMain.h"

#include <QTextDocument>

#include <exception>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kelvane::fuzz::startApplication();
    return 0;
}

// Any exception is a refusal the user sees as a sentence; only crashes, leaks, undefined
// behaviour and hangs are findings.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static kelvane::fuzz::ScratchFile scratch("docx");
    try {
        kelvane::DocumentFormats::readDocx(scratch.write(data, size));
    } catch (const std::exception&) {
    }
    return 0;
}

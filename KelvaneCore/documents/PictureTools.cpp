#include "documents/PictureTools.h"

#include "engine/ToolFamilies.h"

#include <dlfcn.h>
#include <mutex>
#include <stdexcept>
#include <string>

namespace kelvane::PictureTools {
namespace {

constexpr char moduleName[] = "kelvane-document-pictures.so";

const Tools* open() {
    const std::filesystem::path file = ToolFamilies::moduleFolder() / moduleName;
    void* module = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        const char* reason = ::dlerror();
        throw std::runtime_error("the document picture tools cannot be loaded: " +
                                 std::string(reason != nullptr ? reason : file.string()));
    }
    using Entry = const Tools* (*)();
    const auto entry = reinterpret_cast<Entry>(::dlsym(module, "kelvaneDocumentPictureTools"));
    if (entry == nullptr)
        throw std::runtime_error("the document picture tools have no entry point");
    return entry();
}

} // namespace

const Tools& tools() {
    static std::once_flag once;
    static const Tools* loaded = nullptr;
    std::call_once(once, [] { loaded = open(); });
    return *loaded;
}

} // namespace kelvane::PictureTools

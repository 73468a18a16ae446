#include "engine/ToolFamilies.h"

#include "naming/ConversionError.h"

#include <array>
#include <cstddef>
#include <dlfcn.h>
#include <mutex>
#include <string>
#include <system_error>
#include <unistd.h>

namespace kelvane::ToolFamilies {
namespace {

namespace fs = std::filesystem;

// How a failure to load names the family.
std::string_view toolsTitle(Family family) {
    switch (family) {
    case Family::images:
        return "image tools";
    case Family::media:
        return "video and audio tools";
    case Family::documents:
        return "document tools";
    case Family::archives:
        return "archive tools";
    }
    return "tools";
}

ConversionError toolsMissing(Family family, const fs::path& module) {
    return ConversionError("Couldn’t load the " + std::string(toolsTitle(family)) + ": “" +
                           module.string() + "” is missing.");
}

ConversionError toolsUnloadable(Family family, const char* reason) {
    return ConversionError("Couldn’t load the " + std::string(toolsTitle(family)) + ": " +
                           (reason != nullptr ? reason : "unknown error") + ".");
}

fs::path executableFolder() {
    std::error_code error;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    return error ? fs::current_path(error) : executable.parent_path();
}

const ToolFamily& open(Family family) {
    const fs::path file = moduleFolder() / moduleName(family);
    void* module = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
        std::error_code error;
        if (!fs::exists(file, error))
            throw toolsMissing(family, file);
        throw toolsUnloadable(family, ::dlerror());
    }
    using Entry = const ToolFamily* (*)();
    const auto entry = reinterpret_cast<Entry>(::dlsym(module, "kelvaneToolFamily"));
    if (entry == nullptr)
        throw toolsUnloadable(family, ::dlerror());
    return *entry();
}

} // namespace

Family familyOf(Recipe recipe) {
    if (recipe == Recipe::pdfToPNG || recipe == Recipe::pdfToJPG)
        return Family::images; // PDF pages are rendered by the image tools
    switch (recipe.group()) {
    case RecipeGroup::images:
        return Family::images;
    case RecipeGroup::video:
    case RecipeGroup::audio:
        return Family::media;
    case RecipeGroup::documents:
        return Family::documents;
    case RecipeGroup::archives:
        return Family::archives;
    }
    return Family::documents;
}

std::string_view moduleName(Family family) {
    switch (family) {
    case Family::images:
        return "kelvane-images.so";
    case Family::media:
        return "kelvane-media.so";
    case Family::documents:
        return "kelvane-documents.so";
    case Family::archives:
        return "kelvane-archives.so";
    }
    return "";
}

const ToolFamily& load(Family family) {
    static std::mutex mutex;
    static std::array<const ToolFamily*, 4> loaded{};
    const std::lock_guard lock(mutex);
    const ToolFamily*& slot = loaded[static_cast<std::size_t>(family)];
    if (slot == nullptr)
        slot = &open(family); // a failure is not kept: the next job tries again
    return *slot;
}

fs::path moduleFolder() {
    // <prefix>/bin and the build tree's executables are one folder below lib/kelvane,
    // <prefix>/libexec/kelvane two.
    const fs::path executable = executableFolder();
    const fs::path beside = executable.parent_path() / "lib" / "kelvane";
    const fs::path above = executable.parent_path().parent_path() / "lib" / "kelvane";
    std::error_code error;
    if (!fs::is_directory(beside, error) && fs::is_directory(above, error))
        return above;
    return beside;
}

std::unique_ptr<QCoreApplication> startApplication(int& argc, char** argv) {
    try {
        const ToolFamily& documents = load(Family::documents);
        if (documents.startApplication != nullptr)
            return std::unique_ptr<QCoreApplication>(documents.startApplication(argc, argv));
    } catch (const ConversionError&) {
        // Without the module the document jobs fail with its sentence when they run.
    }
    return std::make_unique<QCoreApplication>(argc, argv);
}

} // namespace kelvane::ToolFamilies

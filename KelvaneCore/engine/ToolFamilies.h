#pragma once

#include "catalogue/Recipe.h"
#include "engine/ToolFamily.h"

#include <QCoreApplication>

#include <filesystem>
#include <memory>
#include <string_view>

// The tool families live in modules of their own, so that a process maps a family's
// libraries (libvips, FFmpeg's, Qt Gui, libarchive) only once a job needs them.
namespace kelvane::ToolFamilies {

enum class Family { images, media, documents, archives };

Family familyOf(Recipe recipe);
// "kelvane-images.so", …
std::string_view moduleName(Family family);

// The family's tools, loaded on first use and kept for the life of the process. Safe to
// call from any thread. Throws ConversionError naming the missing part when the module
// cannot be loaded; the other families are not affected.
const ToolFamily& load(Family family);

// Where the modules are: lib/kelvane beside the running executable's folder (the build
// tree and the installed layout alike), found relative to the executable.
std::filesystem::path moduleFolder();

// The application for a process that may convert documents itself (in-process runs): a
// QGuiApplication from the documents module when it loads, a QCoreApplication otherwise.
std::unique_ptr<QCoreApplication> startApplication(int& argc, char** argv);

} // namespace kelvane::ToolFamilies

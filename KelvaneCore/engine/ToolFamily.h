#pragma once

#include "catalogue/Recipe.h"
#include "engine/Engine.h"
#include "options/ConversionOptions.h"

#include <filesystem>
#include <vector>

class QCoreApplication;

namespace kelvane {

// What one tool family's module (kelvane-images.so, kelvane-media.so, …) gives the engine.
// Each module exports one function, `kelvaneToolFamily`, returning its table; the engine
// loads a module the first time a recipe needs it and keeps it loaded.
struct ToolFamily {
    // One input of a recipe that makes one result per input.
    std::filesystem::path (*convertOne)(const std::filesystem::path& input, Recipe recipe,
                                        const ConversionOptions& options,
                                        const Engine::Progress& progress);
    // All inputs of a combining recipe into one result; null when the family has none.
    std::filesystem::path (*combine)(const std::vector<std::filesystem::path>& inputs,
                                     Recipe recipe, const ConversionOptions& options,
                                     const Engine::Progress& progress);
    // The application this family's tools need in a process that has none yet; null when
    // a plain QCoreApplication will do.
    QCoreApplication* (*startApplication)(int& argc, char** argv);
};

} // namespace kelvane

// Defined once in each module, with default visibility so the engine finds it.
#define KELVANE_TOOL_FAMILY(table)                                                                 \
    extern "C" __attribute__((visibility("default"))) const kelvane::ToolFamily*                   \
    kelvaneToolFamily() {                                                                          \
        return &(table);                                                                           \
    }

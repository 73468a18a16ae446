#include "engine/Engine.h"

namespace kelvane::Engine {

std::vector<std::filesystem::path> run(Recipe, const std::vector<std::filesystem::path>&,
                                       const ConversionOptions&, const Progress&) {
    return {};
}

} // namespace kelvane::Engine

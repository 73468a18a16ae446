#pragma once

#include "catalogue/Recipe.h"

#include <QColor>

#include <utility>

namespace kelvane {

// The two ends of a recipe group's gradient, sRGB, opaque.
std::pair<QColor, QColor> groupColors(RecipeGroup group);

// The application's own mark.
std::pair<QColor, QColor> brandColors();

} // namespace kelvane

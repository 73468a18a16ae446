#pragma once

#include "catalogue/Recipe.h"

#include <QImage>

#include <optional>

class QQmlEngine;

namespace kelvane {

class DockModel;

// Draws the dock view over `model` off-screen, padded by 30 points on a light or dark
// backdrop, with the tile of `highlight` drawn hot. A null image when it cannot be drawn.
QImage renderDockView(QQmlEngine& engine, DockModel& model, std::optional<Recipe> highlight,
                      bool dark);

} // namespace kelvane

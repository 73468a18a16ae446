#include "MainViews/GroupColors.h"

namespace kelvane {

std::pair<QColor, QColor> groupColors(RecipeGroup group) {
    switch (group) {
    case RecipeGroup::images:
        return {QColor(0, 180, 216), QColor(61, 220, 151)};
    case RecipeGroup::video:
        return {QColor(91, 108, 255), QColor(180, 92, 242)};
    case RecipeGroup::audio:
        return {QColor(255, 79, 121), QColor(255, 143, 168)};
    case RecipeGroup::documents:
        return {QColor(47, 128, 237), QColor(86, 204, 242)};
    case RecipeGroup::archives:
        return {QColor(141, 110, 79), QColor(201, 162, 122)};
    }
    return {QColor(128, 128, 128), QColor(160, 160, 160)};
}

std::pair<QColor, QColor> brandColors() {
    return {QColor(0, 180, 216), QColor(138, 226, 52)};
}

} // namespace kelvane

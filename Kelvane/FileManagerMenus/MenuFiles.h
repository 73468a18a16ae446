#pragma once

#include <QString>

namespace kelvane::FileManagerMenus {

// Each writes its file manager's files into `folder` and returns false when one can't be
// written.

// Service menus: one per set of types offered the same recipes, all in one "Convert with
// Kelvane" submenu.
bool writeServiceMenus(const QString& folder);
// One action per recipe: these menus can't nest, so each names Kelvane itself.
bool writeNemoActions(const QString& folder);
// The custom actions a user adds to their own list (see add-thunar-actions.sh).
bool writeThunarActions(const QString& folder);

} // namespace kelvane::FileManagerMenus

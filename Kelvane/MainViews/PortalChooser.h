#pragma once

namespace kelvane::PortalChooser {

// Where the desktop offers its own file chooser through the XDG desktop portal (GNOME, KDE)
// and the user has not picked a Qt platform theme, picks the portal's theme, so that "Add
// Files" shows the file manager's dialog with its bookmarks. Call before the application
// object exists: the theme is chosen when it is made.
void preferWhereOffered();

} // namespace kelvane::PortalChooser

#pragma once

#include <QString>

#include <string_view>

namespace kelvane::Symbols {

// The views name symbols as the catalogue does ("photo", "lock.shield"); each name maps to
// one glyph of the Material Icons font. An unknown name gets a neutral file glyph.
QString glyph(std::string_view name);
// Whether the table has an entry for this name.
bool isKnown(std::string_view name);
// Every name in the table.
QStringList names();

// Registers the icon font with the application once and returns its family name, or an
// empty text when the font file is missing.
QString fontFamily();

} // namespace kelvane::Symbols

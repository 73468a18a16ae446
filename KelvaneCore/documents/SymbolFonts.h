#pragma once

#include <QString>

namespace kelvane::SymbolFonts {

// The character a symbol font (Symbol, Wingdings) draws at `code`, as Unicode. Codes in the
// private-use range U+F020-U+F0FF stand for their low byte. Characters of other fonts, and
// codes these tables do not know, come back as the code's own character.
QString character(const QString& font, char32_t code);

} // namespace kelvane::SymbolFonts

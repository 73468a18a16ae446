#pragma once

#include <QTextFormat>

namespace kelvane::HiddenText {

// Set by the readers on characters a document marks hidden (w:vanish, text:display="none"):
// they are read with their formats but never put into the text.
constexpr int property = QTextFormat::UserProperty + 1;

} // namespace kelvane::HiddenText

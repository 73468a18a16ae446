#pragma once

#include "options/ConversionOptions.h"

#include <QCommandLineParser>

namespace kelvane::cli {

// Flags named after the ConversionOptions fields: --quality, --max-dimension, --target-mb, …
void addOptionFlags(QCommandLineParser& parser);

// The defaults with every given flag applied. Throws UsageError naming a bad value.
ConversionOptions optionsFromFlags(const QCommandLineParser& parser);

} // namespace kelvane::cli

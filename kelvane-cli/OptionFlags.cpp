#include "OptionFlags.h"

#include "Command.h"

#include <cmath>
#include <variant>

namespace kelvane::cli {
namespace {

using DoubleField = double ConversionOptions::*;
using IntField = int ConversionOptions::*;

// Ranges are what a person could sensibly want; the tools guard their own inputs as well.
struct NumberFlag {
    const char* name;
    const char* valueName;
    const char* description;
    std::variant<DoubleField, IntField> field;
    double minimum;
    double maximum;
};

const NumberFlag numberFlags[] = {
    {"quality", "Q", "JPG and HEIC quality, 0 to 1 (default 0.85).", &ConversionOptions::quality, 0,
     1},
    {"max-dimension", "PX",
     "Longest side for Resize and --limit-dimension, 1 to 100000 (default 2048).",
     &ConversionOptions::maxDimension, 1, 100000},
    {"target-mb", "MB", "Size Shrink to Size must stay under, 0.01 to 10000 (default 1).",
     &ConversionOptions::targetMB, 0.01, 10000},
    {"gif-fps", "N", "Video to GIF frame rate, 1 to 30 (default 12).", &ConversionOptions::gifFPS,
     1, 30},
    {"gif-width", "PX", "Video to GIF width, 16 to 3840 (default 480).",
     &ConversionOptions::gifWidth, 16, 3840},
    {"gif-max-seconds", "S", "Longest stretch of video turned into a GIF, 1 to 600 (default 15).",
     &ConversionOptions::gifMaxSeconds, 1, 600},
    {"pdf-image-dpi", "DPI", "Resolution of PDF pages as images, 36 to 600 (default 144).",
     &ConversionOptions::pdfImageDPI, 36, 600},
};

void applyNumber(const NumberFlag& flag, const QString& value, ConversionOptions& options) {
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    const bool wantsInteger = std::holds_alternative<IntField>(flag.field);
    if (!isNumber || !std::isfinite(number) || number < flag.minimum || number > flag.maximum ||
        (wantsInteger && std::trunc(number) != number))
        throw UsageError(QStringLiteral("--%1 must be %2 from %3 to %4, not '%5'")
                             .arg(QLatin1String(flag.name), wantsInteger
                                                                ? QStringLiteral("a whole number")
                                                                : QStringLiteral("a number"))
                             .arg(flag.minimum)
                             .arg(flag.maximum)
                             .arg(value)
                             .toStdString());
    if (wantsInteger)
        options.*std::get<IntField>(flag.field) = static_cast<int>(number);
    else
        options.*std::get<DoubleField>(flag.field) = number;
}

std::optional<PageSize> pageSizeNamed(const QString& name) {
    const QString lower = name.toLower();
    if (lower == "letter" || lower == "us letter")
        return PageSize::letter;
    if (lower == "a4")
        return PageSize::a4;
    return std::nullopt;
}

} // namespace

void addOptionFlags(QCommandLineParser& parser) {
    for (const NumberFlag& flag : numberFlags)
        parser.addOption({flag.name, flag.description, flag.valueName});
    parser.addOption({"limit-dimension", "Scale format conversions down to --max-dimension."});
    parser.addOption({"no-keep-metadata", "Drop camera details (EXIF) from image conversions."});
    parser.addOption({"pdf-page-size", "Page size of Document to PDF: letter or a4.", "SIZE"});
}

ConversionOptions optionsFromFlags(const QCommandLineParser& parser) {
    ConversionOptions options;
    for (const NumberFlag& flag : numberFlags)
        if (parser.isSet(flag.name))
            applyNumber(flag, parser.value(flag.name), options);
    options.limitDimension = parser.isSet("limit-dimension");
    options.keepMetadata = !parser.isSet("no-keep-metadata");
    if (parser.isSet("pdf-page-size")) {
        const auto size = pageSizeNamed(parser.value("pdf-page-size"));
        if (!size)
            throw UsageError(("--pdf-page-size must be letter or a4, not '" +
                              parser.value("pdf-page-size") + "'")
                                 .toStdString());
        options.pdfPageSize = *size;
    }
    return options;
}

} // namespace kelvane::cli

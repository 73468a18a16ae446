#pragma once

#include <QByteArray>

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kelvane {

// The page sizes of "Document to PDF".
class PageSize {
public:
    enum Value : std::uint8_t { letter, a4 };

    constexpr PageSize(Value value)
        : value_(value) {}
    constexpr operator Value() const { return value_; }

    static constexpr std::array<PageSize, 2> allCases() { return {letter, a4}; }

    // Also the label shown: "US Letter", "A4".
    std::string_view rawValue() const;
    static std::optional<PageSize> fromRawValue(std::string_view raw);

    // In points (1/72 inch).
    double widthInPoints() const;
    double heightInPoints() const;

private:
    Value value_;
};

// The one bundle of user settings the tools read. A plain value: each job gets a copy when
// it starts. The type validates nothing; each tool guards its own inputs.
struct ConversionOptions {
    using PageSize = kelvane::PageSize;

    double quality = 0.85;       // 0…1, for JPG and HEIC output
    bool limitDimension = false; // whether format conversions scale down to maxDimension
    int maxDimension = 2048;     // pixels, longest side; also the target of "Resize"
    double targetMB = 1.0;       // decimal megabytes "Shrink to Size" must stay under
    int gifFPS = 12;
    int gifWidth = 480;       // pixels
    int gifMaxSeconds = 15;   // longest stretch of video turned into a GIF
    bool keepMetadata = true; // keep camera details (EXIF) in image conversions
    PageSize pdfPageSize = PageSize::letter;
    int pdfImageDPI = 144; // resolution of PDF pages rendered to images

    bool operator==(const ConversionOptions&) const = default;

    // The stored form: a compact JSON object with one key per field, named as the field.
    QByteArray toJSON() const;
    // Strict: every key present with the right type, else none. Unknown keys are ignored.
    static std::optional<ConversionOptions> fromJSON(const QByteArray& json);
    // The stored set, or the defaults whenever it cannot be decoded whole.
    static ConversionOptions restored(const QByteArray& json);
};

} // namespace kelvane

#pragma once

#include <QByteArray>
#include <QSize>

#include <optional>

namespace kelvane::PdfLayout {

// A picture a PDF can carry as the bytes it came in: gray, colour or a palette's, without
// transparency, its data ending where the file says it does.
struct PlainPicture {
    enum class Kind { jpeg, png };
    Kind kind;
    QSize pixels;
    int components;           // 1 (gray or palette) or 3 (colour)
    int bitsPerComponent = 8; // 1, 2, 4 or 8
    QByteArray palette;       // red, green and blue of each colour; empty without a palette
};

// Baseline, extended and progressive JPEG of eight-bit samples.
std::optional<PlainPicture> plainJpeg(const QByteArray& bytes);

// PNG not interlaced, of eight-bit colour, gray or a palette.
std::optional<PlainPicture> plainPng(const QByteArray& bytes);

std::optional<PlainPicture> plainPicture(const QByteArray& bytes);

// The pixel size a PNG or JPEG gives in its header, from as much of its start as holds it.
std::optional<QSize> statedSize(const QByteArray& head);

// The compressed rows of a PNG: its image data chunks joined, as a PDF stream takes them.
QByteArray pngRows(const QByteArray& bytes);

} // namespace kelvane::PdfLayout

#pragma once

#include <QByteArray>
#include <QSize>

#include <optional>

namespace kelvane::PdfLayout {

// A picture a PDF can carry as the bytes it came in: eight bits per sample, gray or colour,
// without transparency, its data ending where the file says it does.
struct PlainPicture {
    enum class Kind { jpeg, png };
    Kind kind;
    QSize pixels;
    int components; // 1 (gray) or 3 (colour)
};

// Baseline, extended and progressive JPEG.
std::optional<PlainPicture> plainJpeg(const QByteArray& bytes);

// PNG neither interlaced nor indexed.
std::optional<PlainPicture> plainPng(const QByteArray& bytes);

std::optional<PlainPicture> plainPicture(const QByteArray& bytes);

// The compressed rows of a PNG: its image data chunks joined, as a PDF stream takes them.
QByteArray pngRows(const QByteArray& bytes);

} // namespace kelvane::PdfLayout

#include "documents/PlainPictures.h"

namespace kelvane::PdfLayout {
namespace {

int byteAt(const QByteArray& bytes, qsizetype at) {
    return static_cast<unsigned char>(bytes[at]);
}

int wordAt(const QByteArray& bytes, qsizetype at) {
    return byteAt(bytes, at) << 8 | byteAt(bytes, at + 1);
}

bool isFrameStart(int marker) {
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

// Calls `segment(marker, at, length)` for each marker segment of a JPEG, its data at `at`
// and `length` counting the two bytes of the length itself, until it returns false.
template <typename Segment> void forEachSegment(const QByteArray& bytes, Segment segment) {
    if (!bytes.startsWith("\xff\xd8"))
        return;
    qsizetype at = 2;
    while (at + 4 <= bytes.size()) {
        if (byteAt(bytes, at) != 0xff)
            return;
        const int marker = byteAt(bytes, at + 1);
        at += 2;
        if (marker == 0xff) {
            --at; // fill byte
            continue;
        }
        if (marker == 0x01 || (marker >= 0xd0 && marker <= 0xd7))
            continue;
        const int length = wordAt(bytes, at);
        if (marker == 0xd8 || marker == 0xd9 || length < 2 || at + length > bytes.size() ||
            !segment(marker, at + 2, length))
            return;
        at += length;
    }
}

// The width and height a frame's data at `at` gives.
QSize frameSize(const QByteArray& bytes, qsizetype at) {
    return QSize(wordAt(bytes, at + 3), wordAt(bytes, at + 1));
}

// Baseline, extended and progressive Huffman-coded frames of eight-bit samples: what every
// PDF reader decodes. The frame's data is at `at`.
std::optional<PlainPicture> frameOf(const QByteArray& bytes, int marker, qsizetype at, int length) {
    if ((marker != 0xc0 && marker != 0xc1 && marker != 0xc2) || length < 8)
        return std::nullopt;
    const PlainPicture jpeg{
        PlainPicture::Kind::jpeg, frameSize(bytes, at), byteAt(bytes, at + 5), 8, {}};
    if (byteAt(bytes, at) != 8 || jpeg.pixels.isEmpty() ||
        (jpeg.components != 1 && jpeg.components != 3))
        return std::nullopt;
    return jpeg;
}

constexpr char pngSignature[] = "\x89PNG\r\n\x1a\n";
constexpr qsizetype pngSignatureSize = 8;

quint32 longAt(const QByteArray& bytes, qsizetype at) {
    return static_cast<quint32>(wordAt(bytes, at)) << 16 |
           static_cast<quint32>(wordAt(bytes, at + 2));
}

// Deflate data, as a PDF reader inflates it.
bool isZlibHeader(const QByteArray& bytes, qsizetype at) {
    const int method = byteAt(bytes, at);
    return (method & 0x0f) == 8 && (method >> 4) <= 7 &&
           (method << 8 | byteAt(bytes, at + 1)) % 31 == 0;
}

// Calls `chunk(type, at, length)` for each chunk of a PNG, its data at `at`, until it returns
// false. False when the chunks run past the end of the bytes.
template <typename Chunk> bool forEachChunk(const QByteArray& bytes, Chunk chunk) {
    for (qsizetype at = pngSignatureSize; at + 12 <= bytes.size();) {
        const auto length = static_cast<qsizetype>(longAt(bytes, at));
        if (length > bytes.size() - at - 12)
            return false;
        if (!chunk(bytes.mid(at + 4, 4), at + 8, length))
            return true;
        at += 12 + length;
    }
    return false;
}

} // namespace

std::optional<PlainPicture> plainJpeg(const QByteArray& bytes) {
    std::optional<PlainPicture> frame;
    qsizetype scanEnd = -1; // where the header of the first scan ends
    forEachSegment(bytes, [&](int marker, qsizetype at, int length) {
        if (isFrameStart(marker)) {
            if (frame)
                return false;
            frame = frameOf(bytes, marker, at, length);
            return frame.has_value();
        }
        if (marker == 0xda)
            scanEnd = at + length - 2;
        return marker != 0xda;
    });
    // The scans run to the end marker; a file cut short has none.
    if (!frame || scanEnd < 0 || bytes.lastIndexOf("\xff\xd9") < scanEnd)
        return std::nullopt;
    return frame;
}

std::optional<PlainPicture> plainPng(const QByteArray& bytes) {
    if (!bytes.startsWith(pngSignature) || bytes.size() < pngSignatureSize + 25 ||
        bytes.mid(12, 4) != "IHDR")
        return std::nullopt;
    const qsizetype header = 16;
    const int depth = byteAt(bytes, header + 8);
    const int colourType = byteAt(bytes, header + 9); // gray 0, colour 2, palette 3
    const bool sampled = colourType == 0 || colourType == 3;
    if (!((colourType == 2 && depth == 8) ||
          (sampled && (depth == 1 || depth == 2 || depth == 4 || depth == 8))) ||
        byteAt(bytes, header + 10) != 0 || byteAt(bytes, header + 11) != 0 ||
        byteAt(bytes, header + 12) != 0)
        return std::nullopt;
    const quint32 width = longAt(bytes, header);
    const quint32 height = longAt(bytes, header + 4);
    if (width == 0 || height == 0 || width > 0x7fffffff || height > 0x7fffffff)
        return std::nullopt;
    qsizetype rows = 0; // where the first image data chunk's data begins
    QByteArray palette;
    bool transparent = false;
    bool ended = false;
    const bool whole =
        forEachChunk(bytes, [&](const QByteArray& type, qsizetype at, qsizetype length) {
            if (type == "IDAT" && rows == 0 && length >= 2)
                rows = at;
            if (type == "PLTE" && colourType == 3)
                palette = bytes.mid(at, length);
            transparent = transparent || type == "tRNS";
            ended = type == "IEND";
            return !ended;
        });
    if (!whole || rows == 0 || transparent || !ended || !isZlibHeader(bytes, rows))
        return std::nullopt;
    if (colourType == 3 &&
        (palette.isEmpty() || palette.size() % 3 != 0 || palette.size() / 3 > (1 << depth)))
        return std::nullopt;
    return PlainPicture{PlainPicture::Kind::png,
                        QSize(static_cast<int>(width), static_cast<int>(height)),
                        colourType == 2 ? 3 : 1, depth, palette};
}

std::optional<QSize> statedSize(const QByteArray& head) {
    if (head.startsWith(pngSignature)) {
        if (head.size() < pngSignatureSize + 25 || head.mid(12, 4) != "IHDR")
            return std::nullopt;
        const quint32 width = longAt(head, 16);
        const quint32 height = longAt(head, 20);
        const int depth = byteAt(head, 24);
        const int colourType = byteAt(head, 25);
        if (width == 0 || height == 0 || width > 0x7fffffff || height > 0x7fffffff ||
            !QByteArrayView("\x01\x02\x04\x08\x10").contains(char(depth)) ||
            !QByteArrayView("\x00\x02\x03\x04\x06", 5).contains(char(colourType)))
            return std::nullopt;
        return QSize(static_cast<int>(width), static_cast<int>(height));
    }
    std::optional<QSize> size;
    forEachSegment(head, [&](int marker, qsizetype at, int length) {
        if (isFrameStart(marker) && length >= 8 && !frameSize(head, at).isEmpty())
            size = frameSize(head, at);
        return !size && marker != 0xda;
    });
    return size;
}

std::optional<PlainPicture> plainPicture(const QByteArray& bytes) {
    if (auto jpeg = plainJpeg(bytes))
        return jpeg;
    return plainPng(bytes);
}

QByteArray pngRows(const QByteArray& bytes) {
    QByteArray rows;
    forEachChunk(bytes, [&](const QByteArray& type, qsizetype at, qsizetype length) {
        if (type == "IDAT")
            rows.append(bytes.constData() + at, length);
        return type != "IEND";
    });
    return rows;
}

} // namespace kelvane::PdfLayout

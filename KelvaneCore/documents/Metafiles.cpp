#include "documents/Metafiles.h"

#include "documents/PictureTools.h"

#include <QtEndian>

#include <stdexcept>

// The drawing itself is the document picture module's (documents/pictures): the libraries
// that draw metafiles are loaded only for a document that holds one.
namespace kelvane::Metafiles {
namespace {

constexpr quint32 headerRecord = 1;
constexpr quint32 signature = 0x464d4520; // " EMF"
constexpr qsizetype headerSize = 88;

quint32 wordAt(const QByteArray& bytes, qsizetype offset) {
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

} // namespace

bool isWindowsMetafile(const QByteArray& bytes) {
    if (bytes.size() < 18)
        return false;
    const auto* data = reinterpret_cast<const uchar*>(bytes.constData());
    if (qFromLittleEndian<quint32>(data) == 0x9ac6cdd7u)
        return true; // the placeable header
    // The plain header: in memory (1) or on disk (2), nine words long, a known version.
    const auto type = qFromLittleEndian<quint16>(data);
    const auto words = qFromLittleEndian<quint16>(data + 2);
    const auto version = qFromLittleEndian<quint16>(data + 4);
    return (type == 1 || type == 2) && words == 9 && (version == 0x0100 || version == 0x0300);
}

QByteArray drawWindowsMetafile(const QByteArray& bytes, int maxSide) {
    if (!isWindowsMetafile(bytes))
        return {};
    try {
        return PictureTools::tools().drawWindowsMetafile(bytes, maxSide);
    } catch (const std::runtime_error&) {
        return {}; // no drawing: the picture leaves its alternative text
    }
}

bool isEnhancedMetafile(const QByteArray& bytes) {
    return bytes.size() >= headerSize && wordAt(bytes, 0) == headerRecord &&
           wordAt(bytes, 40) == signature && wordAt(bytes, 4) >= headerSize;
}

QImage drawEnhancedMetafile(const QByteArray& bytes, int maxSide) {
    if (!isEnhancedMetafile(bytes))
        return {};
    try {
        return PictureTools::tools().drawEnhancedMetafile(bytes, maxSide);
    } catch (const std::runtime_error&) {
        return {};
    }
}

} // namespace kelvane::Metafiles

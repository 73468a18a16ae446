#include "documents/PictureSlots.h"

#include <QIODevice>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace kelvane {
namespace {

constexpr qsizetype pieceBytes = 3 << 16; // a multiple of 3: base64 pieces join seamlessly
constexpr char markEnd = '.';

QByteArray randomKey() {
    std::array<quint32, 4> words{};
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    QByteArray key = "kelvane-picture-";
    for (const quint32 word : words)
        key += QByteArray::number(word, 16).rightJustified(8, '0');
    return key + '-';
}

} // namespace

PictureSlots::PictureSlots()
    : key_(randomKey()) {}

QByteArray PictureSlots::add(Writing writing) {
    writings_.push_back(std::move(writing));
    return key_ + QByteArray::number(writings_.size() - 1) + markEnd;
}

void PictureSlots::copy(QByteArrayView text, QIODevice& output) const {
    qsizetype copied = 0;
    for (qsizetype at = text.indexOf(key_); at >= 0; at = text.indexOf(key_, at + 1)) {
        const qsizetype digits = at + key_.size();
        const qsizetype end = text.indexOf(markEnd, digits);
        bool isNumber = false;
        const qulonglong slot =
            end < 0 ? 0 : text.sliced(digits, end - digits).toULongLong(&isNumber);
        if (!isNumber || slot >= writings_.size())
            continue;
        PictureData::writeAll(text.sliced(copied, at - copied), output);
        writings_[static_cast<std::size_t>(slot)](output);
        copied = end + 1;
        at = end;
    }
    PictureData::writeAll(text.sliced(copied), output);
}

namespace PictureData {

void writeAll(QByteArrayView bytes, QIODevice& output) {
    if (output.write(bytes.data(), bytes.size()) != bytes.size())
        throw std::runtime_error("the result could not be written whole");
}

void writeBase64(QByteArrayView bytes, QIODevice& output) {
    for (qsizetype at = 0; at < bytes.size(); at += pieceBytes)
        writeAll(QByteArray::fromRawData(bytes.data() + at, std::min(pieceBytes, bytes.size() - at))
                     .toBase64(),
                 output);
}

void writeHexLines(QByteArrayView bytes, qsizetype lineLength, QIODevice& output) {
    const qsizetype lineBytes = lineLength / 2;
    const qsizetype piece = std::max<qsizetype>(1, pieceBytes / lineBytes) * lineBytes;
    for (qsizetype at = 0; at < bytes.size(); at += piece) {
        const QByteArray hex =
            QByteArray::fromRawData(bytes.data() + at, std::min(piece, bytes.size() - at)).toHex();
        QByteArray lines;
        lines.reserve(hex.size() + hex.size() / lineLength + 1);
        for (qsizetype line = 0; line < hex.size(); line += lineLength)
            lines.append(QByteArrayView(hex).sliced(line, std::min(lineLength, hex.size() - line)))
                .append('\n');
        writeAll(lines, output);
    }
}

} // namespace PictureData
} // namespace kelvane

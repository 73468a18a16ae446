#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <functional>
#include <vector>

class QIODevice;

namespace kelvane {

// A text written with a mark where each picture's data goes, the data fetched and written
// only as the text is copied out: a result holds one picture in memory at a time, not all.
// Marks carry a random key made for each text, so no document text can stand for one.
class PictureSlots {
public:
    using Writing = std::function<void(QIODevice& output)>;

    PictureSlots();

    // The mark to put in the text where `writing` writes its picture.
    QByteArray add(Writing writing);
    // Copies `text` into `output`, each mark replaced by what its writing writes. Throws
    // std::runtime_error when the output takes less than it is given.
    void copy(QByteArrayView text, QIODevice& output) const;

private:
    QByteArray key_;
    std::vector<Writing> writings_;
};

namespace PictureData {
// Writes bytes into `output` a piece at a time, as base64 or as lines of hexadecimal digits
// each ended by a line break.
void writeBase64(QByteArrayView bytes, QIODevice& output);
void writeHexLines(QByteArrayView bytes, qsizetype lineLength, QIODevice& output);
// Writes all of `bytes` or throws std::runtime_error.
void writeAll(QByteArrayView bytes, QIODevice& output);
} // namespace PictureData

} // namespace kelvane

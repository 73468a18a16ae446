// The library's headers use only standard smart pointers.
#define POINTERHOLDER_TRANSITION 4

#include "documents/pictures/PictureToolsModule.h"

#include <QFile>
#include <qpdf/Buffer.hh>
#include <qpdf/Pipeline.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/QPDFWriter.hh>

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>

namespace kelvane::PdfJoining {

using PdfLayout::PageSizes;
using PdfLayout::PlainPicture;
using PictureTools::StandIns;

namespace {

bool hasInteger(QPDFObjectHandle dictionary, const char* key, long long value) {
    QPDFObjectHandle number = dictionary.getKey(key);
    return number.isInteger() && number.getIntValue() == value;
}

// The picture a stand-in image of the PDF names: an eight-bit colour image of two pixels.
std::optional<std::size_t> pictureDrawnAs(QPDFObjectHandle image, const StandIns& standIns) {
    QPDFObjectHandle dictionary = image.getDict();
    if (!hasInteger(dictionary, "/Width", 2) || !hasInteger(dictionary, "/Height", 1) ||
        !hasInteger(dictionary, "/BitsPerComponent", 8) ||
        !dictionary.getKey("/ColorSpace").isNameAndEquals("/DeviceRGB") ||
        dictionary.hasKey("/SMask") || dictionary.hasKey("/Mask"))
        return std::nullopt;
    const std::shared_ptr<Buffer> pixels = image.getStreamData(qpdf_dl_generalized);
    return standIns.pictureOf(QByteArray(reinterpret_cast<const char*>(pixels->getBuffer()),
                                         static_cast<qsizetype>(pixels->getSize())));
}

void writePicture(const StandIns& standIns, std::size_t picture, Pipeline* pipeline) {
    const QByteArray bytes = standIns.streamData(picture);
    pipeline->write(reinterpret_cast<const unsigned char*>(bytes.constData()),
                    static_cast<std::size_t>(bytes.size()));
    pipeline->finish();
}

// A PNG's rows each begin with the filter that predicts them from the row above.
QPDFObjectHandle pngPredictors(const PlainPicture& png) {
    QPDFObjectHandle parameters = QPDFObjectHandle::newDictionary();
    parameters.replaceKey("/Predictor", QPDFObjectHandle::newInteger(15));
    parameters.replaceKey("/Colors", QPDFObjectHandle::newInteger(png.components));
    parameters.replaceKey("/BitsPerComponent", QPDFObjectHandle::newInteger(png.bitsPerComponent));
    parameters.replaceKey("/Columns", QPDFObjectHandle::newInteger(png.pixels.width()));
    return parameters;
}

QPDFObjectHandle colourSpace(const PlainPicture& plain) {
    if (!plain.palette.isEmpty())
        return QPDFObjectHandle::newArray(
            {QPDFObjectHandle::newName("/Indexed"), QPDFObjectHandle::newName("/DeviceRGB"),
             QPDFObjectHandle::newInteger(plain.palette.size() / 3 - 1),
             QPDFObjectHandle::newString(plain.palette.toStdString())});
    return QPDFObjectHandle::newName(plain.components == 1 ? "/DeviceGray" : "/DeviceRGB");
}

// The image takes the picture's bytes, fetched when the PDF is written.
void giveBytes(QPDFObjectHandle image, std::size_t picture, const StandIns& standIns) {
    const PlainPicture& plain = standIns.plain(picture);
    QPDFObjectHandle dictionary = image.getDict();
    dictionary.replaceKey("/Width", QPDFObjectHandle::newInteger(plain.pixels.width()));
    dictionary.replaceKey("/Height", QPDFObjectHandle::newInteger(plain.pixels.height()));
    dictionary.replaceKey("/BitsPerComponent",
                          QPDFObjectHandle::newInteger(plain.bitsPerComponent));
    dictionary.replaceKey("/ColorSpace", colourSpace(plain));
    dictionary.removeKey("/DecodeParms");
    const bool png = plain.kind == PlainPicture::Kind::png;
    image.replaceStreamData(
        [&standIns, picture](Pipeline* pipeline) { writePicture(standIns, picture, pipeline); },
        QPDFObjectHandle::newName(png ? "/FlateDecode" : "/DCTDecode"),
        png ? pngPredictors(plain) : QPDFObjectHandle::newNull());
}

// Gives each stand-in of the PDF its picture. A picture drawn more than once is kept once:
// every page that shows it refers to the first image that took its bytes.
void replaceStandIns(QPDF& pdf, const StandIns& standIns) {
    std::map<QPDFObjGen, std::optional<std::size_t>> seen;
    std::map<std::size_t, QPDFObjectHandle> placed;
    for (QPDFPageObjectHelper& page : QPDFPageDocumentHelper(pdf).getAllPages()) {
        page.forEachImage(
            true, [&](QPDFObjectHandle& image, QPDFObjectHandle& images, const std::string& key) {
                auto found = seen.find(image.getObjGen());
                if (found == seen.end())
                    found = seen.emplace(image.getObjGen(), pictureDrawnAs(image, standIns)).first;
                const std::optional<std::size_t> picture = found->second;
                if (!picture)
                    return;
                if (const auto first = placed.find(*picture); first != placed.end()) {
                    images.replaceKey(key, first->second);
                } else {
                    giveBytes(image, *picture, standIns);
                    placed.emplace(*picture, image);
                }
            });
    }
}

bool isWhole(QPDFObjectHandle number, int value) {
    return number.isNumber() && number.getNumericValue() == value;
}

// The PDF writer rounds the page to whole points (A4 becomes 595 × 842): the pages take their
// exact size again.
void setExactPageSizes(QPDF& pdf, const PageSizes& sizes) {
    for (QPDFPageObjectHelper& page : QPDFPageDocumentHelper(pdf).getAllPages()) {
        QPDFObjectHandle box = page.getObjectHandle().getKey("/MediaBox");
        if (!box.isArray() || box.getArrayNItems() != 4 || !isWhole(box.getArrayItem(0), 0) ||
            !isWhole(box.getArrayItem(1), 0))
            continue;
        for (const auto& [rounded, exact] : sizes) {
            if (isWhole(box.getArrayItem(2), rounded.width()) &&
                isWhole(box.getArrayItem(3), rounded.height())) {
                box.setArrayItem(2, QPDFObjectHandle::newReal(exact.width(), 6));
                box.setArrayItem(3, QPDFObjectHandle::newReal(exact.height(), 6));
                break;
            }
        }
    }
}

void configure(QPDFWriter& writer) {
    // The PDF writer's own streams go through untouched.
    writer.setDecodeLevel(qpdf_dl_none);
    writer.setCompressStreams(false);
}

// A drawn PDF read through a memory map: qpdf reads a file in many small pieces, and from a
// file each piece costs a seek and a read.
class MappedPdf {
public:
    explicit MappedPdf(const std::filesystem::path& drawn)
        : file_(QString::fromStdString(drawn.string())) {
        const uchar* bytes = file_.open(QIODevice::ReadOnly) ? file_.map(0, file_.size()) : nullptr;
        if (bytes == nullptr)
            throw std::runtime_error("the drawn pages cannot be read back");
        pdf_.setSuppressWarnings(true);
        pdf_.processMemoryFile(drawn.c_str(), reinterpret_cast<const char*>(bytes),
                               static_cast<std::size_t>(file_.size()));
    }
    QPDF& pdf() { return pdf_; }

private:
    QFile file_; // mapped while pdf_ reads from it
    QPDF pdf_;
};

class FirstDrawnPdf final : public PictureTools::DrawnPdf {
public:
    explicit FirstDrawnPdf(const std::filesystem::path& drawn)
        : first_(drawn) {
        // Every object of the file is read before the first page is added: the longest part
        // of the joining that needs no other file.
        first_.pdf().fixDanglingReferences();
        QPDFPageDocumentHelper(first_.pdf()).getAllPages();
    }

    void writeJoined(const std::vector<std::filesystem::path>& rest, const PageSizes& sizes,
                     const std::filesystem::path& file, const StandIns& standIns) override {
        QPDF& pdf = first_.pdf();
        // The pages of the other files are copied in, and read from them as the PDF is written.
        std::vector<std::unique_ptr<MappedPdf>> others;
        QPDFPageDocumentHelper pages(pdf);
        for (const std::filesystem::path& drawn : rest) {
            QPDF& other = others.emplace_back(std::make_unique<MappedPdf>(drawn))->pdf();
            for (QPDFPageObjectHelper& page : QPDFPageDocumentHelper(other).getAllPages())
                pages.addPage(page, false);
        }
        replaceStandIns(pdf, standIns);
        setExactPageSizes(pdf, sizes);
        QPDFWriter writer(pdf, file.c_str());
        configure(writer);
        writer.write();
    }

private:
    MappedPdf first_;
};

} // namespace

std::unique_ptr<PictureTools::DrawnPdf> readDrawnPdf(const std::filesystem::path& drawn) {
    return std::make_unique<FirstDrawnPdf>(drawn);
}

} // namespace kelvane::PdfJoining

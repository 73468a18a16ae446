#include "engine/Engine.h"
#include "fixtures/FailureOf.h"
#include "fixtures/ImageFixtures.h"
#include "fixtures/PdfFixtures.h"
#include "fixtures/PdfProbe.h"
#include "images/ImageTools.h"

#include <gtest/gtest.h>
#include <mutex>

namespace kelvane {
namespace {

using fixtures::failureOf;
using fixtures::TempFolder;
using fixtures::VImage;
namespace fs = std::filesystem;

fs::path pngAt(const TempFolder& temp, std::string_view name, int width, int height,
               double dpi = 0) {
    VImage picture = fixtures::markedPicture(width, height);
    if (dpi > 0)
        picture = picture.copy(VImage::option()->set("xres", dpi / 25.4)->set("yres", dpi / 25.4));
    return fixtures::save(picture, temp / name);
}

std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> names;
    for (const auto& entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

TEST(ImagesToPdf, OnePagePerImageSizedFromItsResolution) {
    TempFolder temp;
    fs::copy_file(temp.write("seed.txt", "x"), temp / "Images.pdf"); // already taken
    const std::vector<fs::path> inputs = {
        pngAt(temp, "a.png", 2480, 3508, 300), // A4 scan
        pngAt(temp, "b.png", 1600, 1200),      // no resolution: 144 dpi
        fixtures::save(fixtures::markedPicture(4032, 3024)
                           .copy(VImage::option()->set("xres", 72 / 25.4)->set("yres", 72 / 25.4)),
                       temp / "c.jpg"), // larger than the largest page
    };
    const fs::path pdf = ImageTools::imagesToPDF(inputs, {}, [](double) {});
    EXPECT_EQ(pdf, temp / "Images 2.pdf");
    const fixtures::PdfProbe probe(pdf);
    ASSERT_EQ(probe.pageCount(), 3);
    EXPECT_EQ(probe.creator(), "Kelvane");
    EXPECT_NEAR(probe.pageSize(0).width(), 595.2, 0.1);
    EXPECT_NEAR(probe.pageSize(0).height(), 841.92, 0.1);
    EXPECT_NEAR(probe.pageSize(1).width(), 800, 0.1);
    EXPECT_NEAR(probe.pageSize(1).height(), 600, 0.1);
    EXPECT_NEAR(probe.pageSize(2).width(), 1190, 0.1);
    EXPECT_NEAR(probe.pageSize(2).height(), 892.5, 0.1);
}

// Counts the image streams by their filter in the raw file (cairo writes them uncompressed
// dictionaries).
int occurrences(const std::string& haystack, const std::string& needle) {
    int count = 0;
    for (auto at = haystack.find(needle); at != std::string::npos;
         at = haystack.find(needle, at + 1))
        ++count;
    return count;
}

TEST(ImagesToPdf, OpaqueImagesAreEmbeddedAsJpegAndTransparentOnesAsTheyAre) {
    TempFolder temp;
    const fs::path opaque = pngAt(temp, "opaque.png", 200, 150);
    const VImage picture = fixtures::markedPicture(200, 150);
    const fs::path clear =
        fixtures::save(picture.bandjoin_const({128.0}).copy(
                           VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB)),
                       temp / "clear.png");

    const std::string onlyOpaque =
        fixtures::readFile(ImageTools::imagesToPDF({opaque}, {}, [](double) {}));
    EXPECT_EQ(occurrences(onlyOpaque, "/DCTDecode"), 1);
    const std::string onlyClear =
        fixtures::readFile(ImageTools::imagesToPDF({clear}, {}, [](double) {}));
    EXPECT_EQ(occurrences(onlyClear, "/DCTDecode"), 0);
    EXPECT_GE(occurrences(onlyClear, "/SMask"), 1);
    EXPECT_TRUE(fs::exists(temp / "opaque (converted).pdf"));
    EXPECT_TRUE(fs::exists(temp / "clear (converted).pdf"));
}

TEST(ImagesToPdf, UnreadableInputsAreSkippedAndNoneReadableLeavesNothing) {
    TempFolder temp;
    const std::vector<fs::path> inputs = {
        pngAt(temp, "1.png", 300, 200), temp.write("2.png", "not a picture"),
        pngAt(temp, "3.png", 200, 300), temp.write("4.jpg", ""), pngAt(temp, "5.png", 100, 100)};
    std::mutex mutex;
    std::vector<double> reports;
    const fs::path pdf = ImageTools::imagesToPDF(inputs, {}, [&](double fraction) {
        const std::lock_guard lock(mutex);
        reports.push_back(fraction);
    });
    const fixtures::PdfProbe probe(pdf);
    ASSERT_EQ(probe.pageCount(), 3);
    EXPECT_GT(probe.pageSize(0).width(), probe.pageSize(0).height()); // landscape first
    EXPECT_LT(probe.pageSize(1).width(), probe.pageSize(1).height());
    EXPECT_EQ(reports, (std::vector<double>{0.0, 0.2, 0.4, 0.6, 0.8}));

    TempFolder other;
    const auto before = temp.entries();
    EXPECT_EQ(failureOf([&] {
                  ImageTools::imagesToPDF({temp / "2.png", temp / "4.jpg"}, {}, [](double) {});
              }),
              "None of the dropped files could be read as images.");
    EXPECT_EQ(temp.entries(), before);
}

fs::path writePdf(const TempFolder& temp, std::string_view name,
                  const std::vector<fixtures::PdfPageSpec>& pages,
                  fixtures::PdfOptions options = {}) {
    return temp.write(name, fixtures::minimalPdf(pages, options));
}

TEST(PdfPages, NineLetterPagesAt144DpiMakeTwoDigitNames) {
    TempFolder temp;
    const fs::path pdf = writePdf(temp, "Report.pdf", std::vector<fixtures::PdfPageSpec>(9));
    const fs::path folder = ImageTools::pdfPages(pdf, true, {}, [](double) {});
    EXPECT_EQ(folder, temp / "Report (pages)");
    const auto names = entriesOf(folder);
    ASSERT_EQ(names.size(), 9u);
    EXPECT_EQ(names.front(), "Report \u2013 page 01.png");
    EXPECT_EQ(names.back(), "Report \u2013 page 09.png");
    const VImage page = fixtures::readBack(folder / names.front());
    EXPECT_EQ(page.width(), 1224);
    EXPECT_EQ(page.height(), 1584);
    EXPECT_FALSE(page.has_alpha());
    EXPECT_LT(fixtures::colourAt(page, 300, 400)[0], 30);   // the black quarter, top-left
    EXPECT_GT(fixtures::colourAt(page, 900, 1200)[0], 240); // white paper
    EXPECT_EQ(ImageTools::pdfPages(pdf, true, {}, [](double) {}), temp / "Report (pages 2)");
}

TEST(PdfPages, AHundredAndTwentyPagesMakeThreeDigitJpegNames) {
    TempFolder temp;
    const fs::path pdf =
        writePdf(temp, "Long.pdf", std::vector<fixtures::PdfPageSpec>(120, {72, 72, 0, ""}));
    ConversionOptions options;
    options.pdfImageDPI = 72;
    std::vector<double> reports;
    const fs::path folder =
        ImageTools::pdfPages(pdf, false, options, [&](double f) { reports.push_back(f); });
    const auto names = entriesOf(folder);
    ASSERT_EQ(names.size(), 120u);
    EXPECT_EQ(names.front(), "Long \u2013 page 001.jpg");
    EXPECT_EQ(names[9], "Long \u2013 page 010.jpg");
    EXPECT_EQ(names.back(), "Long \u2013 page 120.jpg");
    EXPECT_EQ(fixtures::readBack(folder / names.back()).get_string("vips-loader"),
              std::string("jpegload"));
    ASSERT_EQ(reports.size(), 120u);
    EXPECT_DOUBLE_EQ(reports[60], 0.5);
}

// What a page of the fixture shows, upright: the black quarter of its unrotated media box,
// turned clockwise by the page's rotation, on white.
VImage expectedPage(const fixtures::PdfPageSpec& drawn) {
    const int width = static_cast<int>(drawn.width), height = static_cast<int>(drawn.height);
    const VImage xy = VImage::xyz(width, height);
    const VImage page = ((xy[0] < width / 2) & (xy[1] < height / 2)).ifthenelse(0, 255);
    const VipsAngle turns[] = {VIPS_ANGLE_D0, VIPS_ANGLE_D90, VIPS_ANGLE_D180, VIPS_ANGLE_D270};
    return page.rot(turns[drawn.rotate / 90 % 4]).cast(VIPS_FORMAT_UCHAR);
}

TEST(PdfPages, EveryPageIsItsWholeMediaBoxUpright) {
    TempFolder temp;
    // A crop box over the empty bottom-right quarter must neither hide nor move the rest.
    const std::vector<fixtures::PdfPageSpec> specs = {
        {200, 100, 0, ""},
        {200, 100, 90, ""},
        {200, 100, 180, ""},
        {200, 100, 270, ""},
        {200, 100, 0, "100 0 200 50"},
        {200, 100, 90, "100 0 200 50"},
    };
    const fs::path pdf = writePdf(temp, "Turned.pdf", specs);
    ConversionOptions options;
    options.pdfImageDPI = 72;
    const fs::path folder = ImageTools::pdfPages(pdf, true, options, [](double) {});
    for (std::size_t i = 0; i < specs.size(); ++i) {
        const VImage page =
            fixtures::readBack(folder / ("Turned \u2013 page 0" + std::to_string(i + 1) + ".png"));
        const VImage expected = expectedPage(specs[i]);
        ASSERT_EQ(page.width(), expected.width()) << "page " << i + 1;
        ASSERT_EQ(page.height(), expected.height()) << "page " << i + 1;
        for (int band = 0; band < 3; ++band)
            EXPECT_LT((page[band].cast(VIPS_FORMAT_INT) - expected).abs().max(), 64)
                << "page " << i + 1 << " band " << band;
    }
}

TEST(PdfPages, BrokenLockedAndEmptyPdfsFailWithTheirSentenceAndABrokenIndexIsRebuilt) {
    TempFolder temp;
    const fs::path locked = writePdf(temp, "Secret.pdf", {{}}, {.locked = true});
    const fs::path empty = writePdf(temp, "Empty.pdf", {});
    const std::string whole = fixtures::minimalPdf({{}, {}});
    const fs::path cut = temp.write("Cut.pdf", whole.substr(0, 60));
    const fs::path text = temp.write("Notes.pdf", "just words");
    const auto before = temp.entries();
    const auto pages = [](const fs::path& pdf) {
        return failureOf([&] { ImageTools::pdfPages(pdf, true, {}, [](double) {}); });
    };
    EXPECT_EQ(pages(locked), "This PDF is password protected.");
    EXPECT_EQ(pages(empty), "“Empty.pdf” couldn’t be opened as a PDF.");
    EXPECT_EQ(pages(cut), "“Cut.pdf” couldn’t be opened as a PDF.");
    EXPECT_EQ(pages(text), "“Notes.pdf” couldn’t be opened as a PDF.");
    EXPECT_EQ(temp.entries(), before);

    // A broken cross-reference table is rebuilt.
    const fs::path pdf = writePdf(temp, "Xref.pdf", {{}, {}}, {.brokenXref = true});
    ConversionOptions options;
    options.pdfImageDPI = 36;
    const auto results = Engine::run(Recipe::pdfToPNG, {pdf}, options, [](double) {});
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(entriesOf(results[0]).size(), 2u);
}

} // namespace
} // namespace kelvane

#include "MediaFixtures.h"
#include "fixtures/FailureOf.h"
#include "fixtures/TempFolder.h"
#include "media/VideoTools.h"

#include <gtest/gtest.h>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using fixtures::ffmpeg;

// What a player reads from a GIF: the screen size, the loop count of the application
// extension, and one delay (hundredths of a second) per image.
struct GifFacts {
    int width = 0;
    int height = 0;
    int loopCount = -1; // none written: play once
    std::vector<int> delays;
    int images = 0;
};

int le16(const std::string& bytes, std::size_t at) {
    return static_cast<unsigned char>(bytes.at(at)) | static_cast<unsigned char>(bytes.at(at + 1))
                                                          << 8;
}

std::size_t skipSubBlocks(const std::string& bytes, std::size_t at) {
    while (bytes.at(at) != 0)
        at += static_cast<unsigned char>(bytes[at]) + 1u;
    return at + 1;
}

std::size_t colourTableSize(unsigned char packed) {
    return (packed & 0x80) != 0 ? 3u * (1u << ((packed & 0x07) + 1)) : 0u;
}

GifFacts readGif(const fs::path& file) {
    const std::string bytes = fixtures::readFile(file);
    if (bytes.substr(0, 6) != "GIF89a")
        throw std::runtime_error("not a GIF89a");
    GifFacts facts;
    facts.width = le16(bytes, 6);
    facts.height = le16(bytes, 8);
    std::size_t at = 13 + colourTableSize(static_cast<unsigned char>(bytes[10]));
    for (;;) {
        const auto block = static_cast<unsigned char>(bytes.at(at));
        if (block == 0x3B)
            return facts;
        if (block == 0x21 && static_cast<unsigned char>(bytes.at(at + 1)) == 0xF9) {
            facts.delays.push_back(le16(bytes, at + 4));
            at = skipSubBlocks(bytes, at + 2);
        } else if (block == 0x21 && bytes.compare(at + 3, 11, "NETSCAPE2.0") == 0) {
            facts.loopCount = le16(bytes, at + 16);
            at = skipSubBlocks(bytes, at + 2);
        } else if (block == 0x21) {
            at = skipSubBlocks(bytes, at + 2);
        } else if (block == 0x2C) {
            ++facts.images;
            at += 10 + colourTableSize(static_cast<unsigned char>(bytes.at(at + 9)));
            at = skipSubBlocks(bytes, at + 1); // LZW minimum code size, then the data
        } else {
            throw std::runtime_error("damaged GIF");
        }
    }
}

ConversionOptions gifOptions(int fps, int width, int maxSeconds) {
    ConversionOptions options;
    options.gifFPS = fps;
    options.gifWidth = width;
    options.gifMaxSeconds = maxSeconds;
    return options;
}

TEST(GifExport, TwoSecondsAtTwelveFpsGiveTwentyFourFramesThatLoopForEver) {
    const fixtures::TempFolder temp;
    ffmpeg(temp.path(), "-f lavfi -i testsrc2=s=320x240:r=30:d=2 -c:v libx264 Clip.mov");
    std::vector<double> reports;
    const fs::path gif = VideoTools::gif(temp / "Clip.mov", gifOptions(12, 480, 10),
                                         [&](double fraction) { reports.push_back(fraction); });
    EXPECT_EQ(gif, temp / "Clip (converted).gif");
    const GifFacts facts = readGif(gif);
    EXPECT_EQ(facts.images, 24);
    EXPECT_EQ(facts.width, 320); // never scaled up to 480
    EXPECT_EQ(facts.height, 240);
    EXPECT_EQ(facts.loopCount, 0);
    EXPECT_EQ(facts.delays, std::vector<int>(24, 8)); // 1/12 s in hundredths
    ASSERT_EQ(reports.size(), 24u);
    EXPECT_EQ(reports.back(), 1.0);
}

TEST(GifExport, FrameRateIsClampedAndWidthScalesDownKeepingTheShapeUpright) {
    const fixtures::TempFolder temp;
    ffmpeg(temp.path(), "-f lavfi -i testsrc2=s=640x360:r=30:d=1 -c:v libx264 Clip.mp4");
    const GifFacts fast =
        readGif(VideoTools::gif(temp / "Clip.mp4", gifOptions(60, 160, 10), [](double) {}));
    EXPECT_EQ(fast.images, 30);
    EXPECT_EQ(fast.delays.front(), 3);
    EXPECT_EQ(fast.width, 160);
    EXPECT_EQ(fast.height, 90);

    const GifFacts slow =
        readGif(VideoTools::gif(temp / "Clip.mp4", gifOptions(0, 100, 10), [](double) {}));
    EXPECT_EQ(slow.images, 1);  // 1 fps over one second
    EXPECT_EQ(slow.height, 56); // 360 × 100 ÷ 640 = 56.25

    const GifFacts none =
        readGif(VideoTools::gif(temp / "Clip.mp4", gifOptions(12, 160, 0), [](double) {}));
    EXPECT_EQ(none.images, 1); // no seconds still gives the first frame

    // Portrait phone video gives upright frames.
    ffmpeg(temp.path(), "-f lavfi -i testsrc2=s=640x360:r=10:d=0.5 -c:v libx264 flat.mp4");
    ffmpeg(temp.path(), "-i flat.mp4 -c copy -metadata:s:v:0 rotate=90 Phone.mov");
    const GifFacts facts =
        readGif(VideoTools::gif(temp / "Phone.mov", gifOptions(10, 180, 10), [](double) {}));
    EXPECT_EQ(facts.width, 180);
    EXPECT_EQ(facts.height, 320);
    EXPECT_EQ(facts.images, 5);
}

TEST(GifExport, HdrVideoIsToneMappedRatherThanShownWashedOut) {
    const fixtures::TempFolder temp;
    // The same pixels, tagged HLG and tagged SDR.
    const std::string picture = "-f lavfi -i testsrc2=s=160x90:r=10:d=0.3 -pix_fmt yuv420p10le "
                                "-c:v libx265 -x265-params log-level=error ";
    ffmpeg(temp.path(), picture + "-color_primaries bt2020 -color_trc arib-std-b67 "
                                  "-colorspace bt2020nc Hlg.mkv");
    ffmpeg(temp.path(),
           picture + "-color_primaries bt709 -color_trc bt709 -colorspace bt709 Sdr.mkv");
    const auto brightness = [&](const char* name) {
        return fixtures::firstPictureBrightness(
            VideoTools::gif(temp / name, gifOptions(10, 160, 1), [](double) {}));
    };
    EXPECT_LT(brightness("Hlg.mkv"), brightness("Sdr.mkv") - 5);
}

TEST(GifExport, InputsWithoutPicturesFailWithTheirSentenceAndCancellingComesFirst) {
    const fixtures::TempFolder temp;
    ffmpeg(temp.path(), "-f lavfi -i sine=d=1 -c:a aac Sound.mp4");
    temp.write("notes.mov", "not a movie");
    const auto failure = [&](const char* name) {
        return fixtures::failureOf(
            [&] { VideoTools::gif(temp / name, ConversionOptions(), [](double) {}); });
    };
    EXPECT_EQ(failure("Sound.mp4"), "“Sound.mp4” has no video.");
    EXPECT_EQ(failure("notes.mov"), "“notes.mov” isn’t a video this computer can read.");
    EXPECT_EQ(temp.entries(), (std::vector<std::string>{"Sound.mp4", "notes.mov"}));

    // Cancellation is checked before the first frame.
    ffmpeg(temp.path(), "-f lavfi -i testsrc2=s=320x180:r=10:d=1 -c:v libx264 Clip.mp4");
    std::stop_source stop;
    stop.request_stop();
    int reports = 0;
    EXPECT_THROW(
        VideoTools::gif(
            temp / "Clip.mp4", ConversionOptions(), [&](double) { ++reports; }, stop.get_token()),
        VideoTools::Cancelled);
    EXPECT_EQ(reports, 0);
}

} // namespace
} // namespace kelvane

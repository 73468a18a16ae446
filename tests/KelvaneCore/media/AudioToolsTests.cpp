#include "MediaFixtures.h"
#include "engine/Engine.h"
#include "fixtures/FailureOf.h"
#include "fixtures/TempFolder.h"
#include "media/AudioTools.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <mutex>
#include <set>

namespace kelvane {
namespace {

namespace fs = std::filesystem;
using fixtures::ffmpeg;
using fixtures::probe;

fs::path convert(const fs::path& input, Recipe recipe) {
    return AudioTools::convert(input, recipe, ConversionOptions(), [](double) {});
}

int peak(const std::vector<int16_t>& samples) {
    int highest = 0;
    for (const int16_t sample : samples)
        highest = std::max(highest, std::abs(static_cast<int>(sample)));
    return highest;
}

TEST(AudioTools, PcmKeepsTheSamplesRateChannelsAndByteOrderOfEachContainer) {
    const fixtures::TempFolder temp;
    ffmpeg(temp.path(), "-f lavfi -i sine=f=440:r=22050:d=1 -c:a flac -sample_fmt s16 Voice.flac");
    const std::vector<int16_t> source = fixtures::decodeS16(temp / "Voice.flac");
    ASSERT_EQ(source.size(), 22050u);
    struct Case {
        Recipe recipe;
        const char* format;
        const char* codec;
    };
    for (const Case& each :
         {Case{Recipe::toWAV, "wav", "pcm_s16le"}, Case{Recipe::toAIFF, "aiff", "pcm_s16be"},
          Case{Recipe::toCAF, "caf", "pcm_s16le"}}) {
        SCOPED_TRACE(each.format);
        const fs::path result = convert(temp / "Voice.flac", each.recipe);
        EXPECT_EQ(result.extension().string(), std::string(".") + each.format);
        const auto info = probe(result);
        EXPECT_EQ(info.format, each.format);
        const auto audio = info.first(AVMEDIA_TYPE_AUDIO);
        EXPECT_EQ(audio.codec, each.codec);
        EXPECT_EQ(audio.sampleRate, 22050);
        EXPECT_EQ(audio.channels, 1);
        EXPECT_EQ(fixtures::decodeS16(result), source);
    }
    // The WAV's data chunk holds the very samples, little-endian.
    const std::string wav = fixtures::readFile(temp / "Voice (converted).wav");
    const std::size_t data = wav.find("data") + 8;
    EXPECT_EQ(static_cast<int16_t>(static_cast<unsigned char>(wav[data + 20]) |
                                   static_cast<unsigned char>(wav[data + 21]) << 8),
              source[10]);
}

TEST(AudioTools, SurroundBecomesStereoAndEveryTrackIsMixed) {
    const fixtures::TempFolder temp;
    ffmpeg(temp.path(), "-f lavfi -i sine=f=300:r=48000:d=1 -af 'pan=5.1|c0=c0|c1=c0' -c:a aac "
                        "Surround.mp4");
    const auto stereo =
        probe(convert(temp / "Surround.mp4", Recipe::toWAV)).first(AVMEDIA_TYPE_AUDIO);
    EXPECT_EQ(stereo.channels, 2);
    EXPECT_EQ(stereo.sampleRate, 48000);

    ffmpeg(temp.path(), "-f lavfi -i sine=f=500:r=44100:d=1 -c:a pcm_s16le One.wav");
    ffmpeg(temp.path(), "-f lavfi -i sine=f=500:r=44100:d=1 -f lavfi -i sine=f=500:r=44100:d=1 "
                        "-f lavfi -i testsrc2=s=160x90:r=5:d=1 -map 2 -map 0 -map 1 -c:v "
                        "libx264 -c:a pcm_s16le Languages.mkv");
    const int single = peak(fixtures::decodeS16(convert(temp / "One.wav", Recipe::toWAV)));
    const int mixed = peak(fixtures::decodeS16(convert(temp / "Languages.mkv", Recipe::toAIFF)));
    EXPECT_NEAR(static_cast<double>(mixed) / single, 2.0, 0.1); // two equal tones add up
}

TEST(AudioTools, CompressedSourcesOfEveryKindBecomePcm) {
    const fixtures::TempFolder temp;
    ffmpeg(temp.path(), "-f lavfi -i sine=r=44100:d=1 -c:a libmp3lame Song.mp3");
    ffmpeg(temp.path(), "-f lavfi -i sine=r=48000:d=1 -c:a libopus Song.opus");
    ffmpeg(temp.path(), "-f lavfi -i sine=r=44100:d=1 -c:a libvorbis Song.ogg");
    for (const char* name : {"Song.mp3", "Song.opus", "Song.ogg"}) {
        SCOPED_TRACE(name);
        std::vector<double> reports;
        const fs::path wav =
            AudioTools::convert(temp / name, Recipe::toWAV, ConversionOptions(),
                                [&](double fraction) { reports.push_back(fraction); });
        const auto info = probe(wav);
        EXPECT_NEAR(info.duration, 1.0, 0.1);
        EXPECT_GT(peak(fixtures::decodeS16(wav)), 1000);
        ASSERT_FALSE(reports.empty());
        EXPECT_LE(*std::max_element(reports.begin(), reports.end()), 0.99);
        fs::remove(wav);
    }
}

TEST(AudioTools, M4AIsAacWithTheIndexFirstAndNoPicture) {
    const fixtures::TempFolder temp;
    ffmpeg(temp.path(), "-f lavfi -i testsrc2=s=320x180:r=10:d=1 -f lavfi -i sine=r=48000:d=1 "
                        "-c:v libx264 -c:a aac -shortest Movie.mov");
    ConversionOptions options;
    const auto results =
        Engine::run(Recipe::extractAudio, {temp / "Movie.mov"}, options, [](double) {});
    ASSERT_EQ(results.size(), 1u);
    EXPECT_EQ(results[0], temp / "Movie (converted).m4a");
    const auto info = probe(results[0]);
    EXPECT_EQ(info.count(AVMEDIA_TYPE_VIDEO), 0);
    EXPECT_EQ(info.first(AVMEDIA_TYPE_AUDIO).codec, "aac");
    EXPECT_EQ(info.first(AVMEDIA_TYPE_AUDIO).sampleRate, 48000);
    EXPECT_NEAR(info.duration, 1.0, 0.1);
    EXPECT_TRUE(fixtures::indexFirst(fixtures::readFile(results[0])));
}

TEST(AudioTools, TitleArtistAndCoverAreKeptWhereTheFormatHoldsThem) {
    const fixtures::TempFolder temp;
    ffmpeg(temp.path(), "-f lavfi -i testsrc2=s=64x64 -frames:v 1 cover.png");
    ffmpeg(temp.path(), "-f lavfi -i sine=d=1 -i cover.png -map 0 -map 1 -c:a libmp3lame -c:v "
                        "copy -disposition:v attached_pic -metadata title='Blue Song' -metadata "
                        "artist=Ana -metadata album=Sea Song.mp3");
    const auto m4a = probe(convert(temp / "Song.mp3", Recipe::toM4A));
    EXPECT_EQ(m4a.tags.at("title"), "Blue Song");
    EXPECT_EQ(m4a.tags.at("artist"), "Ana");
    EXPECT_EQ(m4a.tags.at("album"), "Sea");
    const auto cover = m4a.first(AVMEDIA_TYPE_VIDEO);
    EXPECT_TRUE(cover.attachedPicture);
    EXPECT_EQ(cover.codec, "png");
    EXPECT_EQ(cover.width, 64);
    EXPECT_EQ(m4a.first(AVMEDIA_TYPE_AUDIO).codec, "aac");

    // WAV's INFO chunk and CAF hold the artist; AIFF calls it the author.
    for (const auto& [recipe, artistKey] :
         {std::pair{Recipe(Recipe::toWAV), "artist"}, std::pair{Recipe(Recipe::toAIFF), "author"},
          std::pair{Recipe(Recipe::toCAF), "artist"}}) {
        SCOPED_TRACE(std::string(recipe.rawValue()));
        const auto pcm = probe(convert(temp / "Song.mp3", recipe));
        EXPECT_EQ(pcm.tags.at("title"), "Blue Song");
        EXPECT_EQ(pcm.tags.at(artistKey), "Ana");
        EXPECT_EQ(pcm.count(AVMEDIA_TYPE_VIDEO), 0);
    }
}

TEST(AudioTools, SilentVideoHasNoAudioAndUnreadableFilesSaySo) {
    const fixtures::TempFolder temp;
    ffmpeg(temp.path(), "-f lavfi -i testsrc2=s=320x180:r=10:d=1 -c:v libx264 Screen.mov");
    ffmpeg(temp.path(), "-f lavfi -i sine=d=2 -c:a libmp3lame Song.mp3");
    temp.write("Empty.wav", "");
    temp.write("Notes.mp3", "These are notes, not a recording.\n");
    // A movie cut after its first kilobyte: no demuxer finds its streams.
    const std::string movie = fixtures::readFile(temp / "Screen.mov");
    temp.write("Cut.mov", movie.substr(0, 1024));
    const auto failure = [&](const char* name, Recipe recipe) {
        return fixtures::failureOf([&] { convert(temp / name, recipe); });
    };
    EXPECT_EQ(failure("Screen.mov", Recipe::toWAV), "“Screen.mov” has no audio.");
    EXPECT_EQ(failure("Screen.mov", Recipe::toM4A), "“Screen.mov” has no audio.");
    EXPECT_EQ(failure("Empty.wav", Recipe::toCAF),
              "“Empty.wav” isn’t audio this computer can read.");
    EXPECT_EQ(failure("Notes.mp3", Recipe::toWAV),
              "“Notes.mp3” isn’t audio this computer can read.");
    EXPECT_EQ(failure("Cut.mov", Recipe::extractAudio),
              "“Cut.mov” isn’t a video this computer can read.");
    // The FLAC demuxer takes an empty file for a stream with one audio track; decoding it
    // then fails inside the library with "Invalid argument": the sentence is still ours.
    temp.write("Empty.flac", "");
    for (const Recipe recipe : {Recipe::toWAV, Recipe::toAIFF}) {
        const std::string sentence = failure("Empty.flac", recipe);
        EXPECT_TRUE(sentence == "Couldn’t read the audio." ||
                    sentence == "“Empty.flac” has no audio.")
            << sentence;
    }
    // The real recording beside them still converts.
    EXPECT_EQ(failure("Song.mp3", Recipe::toWAV), "no failure");
    EXPECT_EQ(temp.entries(),
              (std::vector<std::string>{"Cut.mov", "Empty.flac", "Empty.wav", "Notes.mp3",
                                        "Screen.mov", "Song (converted).wav", "Song.mp3"}));
}

// Every recipe gives a file that probes back, and while it writes, the folder shows nothing
// but the input: the result has no name until it is finished.
TEST(MediaEngine, EveryVideoAndAudioRecipeRunsThroughTheEngine) {
    const fixtures::TempFolder temp;
    ffmpeg(temp.path(), "-f lavfi -i testsrc2=s=320x180:r=10:d=1 -f lavfi -i sine=d=1 "
                        "-c:v libx264 -c:a aac -shortest Clip.mkv");
    std::mutex mutex;
    std::set<std::vector<std::string>> seenWhileWriting;
    for (const RecipeGroup group : {RecipeGroup::video, RecipeGroup::audio}) {
        for (const Recipe recipe : group.recipes()) {
            SCOPED_TRACE(std::string(recipe.rawValue()));
            double last = -1;
            const auto results =
                Engine::run(recipe, {temp / "Clip.mkv"}, ConversionOptions(), [&](double fraction) {
                    const std::lock_guard lock(mutex);
                    last = fraction;
                    if (fraction < 1.0)
                        seenWhileWriting.insert(temp.entries());
                });
            ASSERT_EQ(results.size(), 1u);
            EXPECT_EQ(results[0].extension().string(),
                      "." + std::string(recipe.outputExtension().value_or("")));
            EXPECT_FALSE(probe(results[0]).streams.empty());
            EXPECT_EQ(last, 1.0);
            fs::remove(results[0]);
        }
    }
    EXPECT_EQ(seenWhileWriting, (std::set{std::vector<std::string>{"Clip.mkv"}}));
}

} // namespace
} // namespace kelvane

#include "media/AudioTools.h"

#include "catalogue/FileKind.h"
#include "media/LibAv.h"
#include "media/ResultFile.h"
#include "media/VideoTools.h"
#include "naming/ConversionError.h"

namespace kelvane::AudioTools {
namespace {

bool hasAudio(const AVFormatContext& input) {
    for (unsigned index = 0; index < input.nb_streams; ++index)
        if (input.streams[index]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
            return true;
    return false;
}

// A file no demuxer opens is damaged or of another kind: say so in the words of what the
// user dropped, a movie or a recording, rather than claim it is silent.
ConversionError unreadable(const std::filesystem::path& input) {
    const std::string name = input.filename().string();
    if (FileKind::of(input) == FileKind::video)
        return ConversionError::unreadableVideo(name);
    return ConversionError::unreadableAudio(name);
}

void requireAudio(const std::filesystem::path& input) {
    const std::string name = input.filename().string();
    LibAv::Input opened;
    try {
        opened = LibAv::openInput(input);
    } catch (const LibAv::Error&) {
        throw unreadable(input);
    }
    if (!hasAudio(*opened))
        throw ConversionError::hasNoAudio(name);
}

std::filesystem::path m4a(const std::filesystem::path& input, const ConversionOptions& options,
                          const Progress& progress) {
    ResultFile result(input, "m4a", options.keepMetadata);
    VideoTools::exportAsset(input, VideoTools::Preset::m4aAudio, VideoTools::Container::m4aAudio,
                            result.path(), progress);
    return result.publish();
}

} // namespace

std::filesystem::path convert(const std::filesystem::path& input, Recipe target,
                              const ConversionOptions& options, const Progress& progress) {
    requireAudio(input);
    switch (target) {
    case Recipe::toM4A:
    case Recipe::extractAudio:
        return m4a(input, options, progress);
    case Recipe::toWAV:
        return pcm(input, PcmContainer::wav, options, progress);
    case Recipe::toAIFF:
        return pcm(input, PcmContainer::aiff, options, progress);
    case Recipe::toCAF:
        return pcm(input, PcmContainer::caf, options, progress);
    default:
        throw ConversionError::unsupportedRecipe();
    }
}

} // namespace kelvane::AudioTools

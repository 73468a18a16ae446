#include "media/MediaTags.h"

extern "C" {
#include <libavutil/avstring.h>
}

#include <array>
#include <string_view>

namespace kelvane::MediaTags {
namespace {

// Said by the demuxer about the source file itself, not about its content: the result
// gets its own brands and encoder name from its muxer.
bool describesTheSourceFile(const char* key) {
    constexpr std::array<const char*, 4> technical{"major_brand", "minor_version",
                                                   "compatible_brands", "encoder"};
    for (const char* each : technical)
        if (av_strcasecmp(key, each) == 0) // Matroska spells them in capitals
            return true;
    return false;
}

const char* valueOf(const AVDictionary* tags, const char* key) {
    const AVDictionaryEntry* entry = av_dict_get(tags, key, nullptr, 0);
    return entry != nullptr ? entry->value : nullptr;
}

// Phones write the place as a QuickTime metadata key the muxers only write back under
// the plain name, in the same ISO 6709 text ("+48.8584+002.2945/").
void setPlaceFromPhoneKey(const AVDictionary* input, AVDictionary** output) {
    if (valueOf(*output, "location") != nullptr)
        return;
    if (const char* place = valueOf(input, "com.apple.quicktime.location.ISO6709"))
        LibAv::check(av_dict_set(output, "location", place, 0));
}

// The AIFF muxer writes its AUTH chunk from "author"; other formats call it the artist.
void setAuthorForAiff(const AVFormatContext& output, AVDictionary** tags) {
    if (std::string_view(output.oformat->name) != "aiff" || valueOf(*tags, "author") != nullptr)
        return;
    if (const char* artist = valueOf(*tags, "artist"))
        LibAv::check(av_dict_set(tags, "author", artist, 0));
}

} // namespace

void copyContainerTags(const AVFormatContext& input, AVFormatContext& output) {
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(input.metadata, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr)
        if (!describesTheSourceFile(entry->key))
            LibAv::check(av_dict_set(&output.metadata, entry->key, entry->value, 0));
    setPlaceFromPhoneKey(input.metadata, &output.metadata);
    setAuthorForAiff(output, &output.metadata);
}

void copyStreamTags(const AVStream& input, AVStream& output) {
    if (const char* language = valueOf(input.metadata, "language"))
        LibAv::check(av_dict_set(&output.metadata, "language", language, 0));
}

bool isStorableCover(const AVStream& stream) {
    if ((stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0)
        return false;
    const AVCodecID codec = stream.codecpar->codec_id;
    return codec == AV_CODEC_ID_MJPEG || codec == AV_CODEC_ID_PNG || codec == AV_CODEC_ID_BMP;
}

} // namespace kelvane::MediaTags

#pragma once

#include "media/LibAv.h"

namespace kelvane::MediaTags {

// What the source says about itself, carried into the result before its header is written:
// creation date, place, title, artist, album and the rest. Each muxer writes the tags its
// format can hold (MP4 and MOV the date in their headers and the place as ISO 6709 text,
// M4A the iTunes fields, WAV its INFO chunk, AIFF its NAME and AUTH chunks).
void copyContainerTags(const AVFormatContext& input, AVFormatContext& output);

// A stream's language ("fra", "jpn"): players pick the sound track and subtitles by it.
void copyStreamTags(const AVStream& input, AVStream& output);

// Whether a stream is a cover picture the M4A muxer can store (JPEG, PNG or BMP).
bool isStorableCover(const AVStream& stream);

} // namespace kelvane::MediaTags

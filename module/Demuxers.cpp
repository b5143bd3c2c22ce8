// SPDX-License-Identifier: Apache-2.0
#include "Demuxers.h"

#include "MpegAudio.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace kelvane::module {
namespace {

using namespace std::string_view_literals;

constexpr const char *mp4 = "mov";

struct Mark {
    std::size_t at;
    std::string_view bytes;
    const char *demuxer; // null: no audio or video
};

// The first that fits counts.
constexpr Mark marks[] = {
    {4, "ftyphei"sv, nullptr},
    {4, "ftyphev"sv, nullptr},
    {4, "ftypmif1"sv, nullptr},
    {4, "ftypmsf1"sv, nullptr},
    {4, "ftypavi"sv, nullptr},
    {4, "ftyp"sv, mp4},
    {4, "moov"sv, mp4},
    {4, "mdat"sv, mp4},
    {4, "wide"sv, mp4},
    {4, "skip"sv, mp4},
    {4, "free"sv, mp4},
    {8, "WAVE"sv, "wav"},
    {8, "AVI "sv, "avi"},
    {8, "AIFF"sv, "aiff"},
    {8, "AIFC"sv, "aiff"},
    {0, "fLaC"sv, "flac"},
    {0, "OggS"sv, "ogg"},
    {0, "\x1a\x45\xdf\xa3"sv, "matroska"},
    {0, "\x30\x26\xb2\x75\x8e\x66\xcf\x11"sv, "asf"},
    {0, "MAC "sv, "ape"},
    {0, "wvpk"sv, "wv"},
    {0, "#!AMR"sv, "amr"},
    {0, "FLV\x01"sv, "flv"},
    {0, "\0\0\x01\xba"sv, "mpeg"},
    {0, "\0\0\x01\xb3"sv, "mpegvideo"},
    {0, "\x0b\x77"sv, "ac3"},
};

bool isTransportStream(std::string_view head)
{
    return (head.size() > 188 && head[0] == 'G' && head[188] == 'G')
        || (head.size() > 196 && head[4] == 'G' && head[196] == 'G');
}

const char *demuxerOfHead(std::string_view head)
{
    for (const Mark &mark : marks)
        if (head.size() >= mark.at + mark.bytes.size() && head.substr(mark.at, mark.bytes.size()) == mark.bytes)
            return mark.demuxer;
    if (isTransportStream(head))
        return "mpegts";
    if (head.size() >= 2 && head[0] == '\xff' && (static_cast<unsigned char>(head[1]) & 0xf6) == 0xf0)
        return "aac";
    return mpegAudioFrame(head) ? "mp3" : nullptr;
}

} // namespace

const char *demuxerFor(SourceFile &file)
{
    std::array<char, 512> bytes{};
    std::int64_t at = 0;
    std::string_view head(bytes.data(), file.read(at, bytes.data(), bytes.size()));
    // Two tags in a row are seen; more would be somebody's joke.
    for (int tags = 0; tags < 2 && head.starts_with("ID3"); ++tags) {
        at += id3Size(head);
        if (at >= file.size())
            return nullptr;
        head = {bytes.data(), file.read(at, bytes.data(), bytes.size())};
    }
    const char *demuxer = demuxerOfHead(head);
    if (at == 0 || demuxer)
        return demuxer;
    // Behind a tag there may be a gap before the first frame.
    return "mp3";
}

} // namespace kelvane::module

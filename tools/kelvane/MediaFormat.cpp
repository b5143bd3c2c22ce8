// SPDX-License-Identifier: Apache-2.0
#include "MediaFormat.h"

#include <algorithm>
#include <array>

namespace kelvane::tool {
namespace {

using namespace std::string_view_literals;

template <std::size_t size>
using Extensions = std::array<std::string_view, size>;

constexpr Extensions<2> mp3{"mp3", "mp2"};
constexpr Extensions<5> m4a{"m4a", "m4b", "m4p", "m4r", "aax"};
constexpr Extensions<1> aac{"aac"};
constexpr Extensions<1> flac{"flac"};
constexpr Extensions<4> ogg{"ogg", "oga", "opus", "spx"};
constexpr Extensions<1> wav{"wav"};
constexpr Extensions<3> aiff{"aiff", "aif", "aifc"};
constexpr Extensions<1> wma{"wma"};
constexpr Extensions<1> ape{"ape"};
constexpr Extensions<1> wv{"wv"};
constexpr Extensions<2> mpc{"mpc", "mp+"};
constexpr Extensions<1> mka{"mka"};
constexpr Extensions<1> ac3{"ac3"};
constexpr Extensions<1> amr{"amr"};
constexpr Extensions<1> caf{"caf"};
constexpr Extensions<4> mp4{"mp4", "m4v", "3gp", "3g2"};
constexpr Extensions<2> mov{"mov", "qt"};
constexpr Extensions<2> mkv{"mkv", "webm"};
constexpr Extensions<1> avi{"avi"};
constexpr Extensions<2> wmv{"wmv", "asf"};
constexpr Extensions<1> flv{"flv"};
constexpr Extensions<1> ogv{"ogv"};
constexpr Extensions<4> mpg{"mpg", "mpeg", "m2v", "vob"};
constexpr Extensions<3> ts{"ts", "mts", "m2ts"};
constexpr Extensions<4> jpg{"jpg", "jpeg", "jpe", "jfif"};
constexpr Extensions<1> png{"png"};
constexpr Extensions<1> gif{"gif"};
constexpr Extensions<2> bmp{"bmp", "dib"};
constexpr Extensions<6> tiff{"tif", "tiff", "dng", "nef", "cr2", "arw"};
constexpr Extensions<4> heic{"heic", "heif", "hif", "avif"};
constexpr Extensions<1> webp{"webp"};

constexpr MediaFormat formats[] = {
    {MediaKind::Audio, "mpeg audio", mp3},
    {MediaKind::Audio, "iso", m4a},
    {MediaKind::Audio, "adts", aac},
    {MediaKind::Audio, "flac", flac},
    {MediaKind::Audio, "ogg", ogg},
    {MediaKind::Audio, "wave", wav},
    {MediaKind::Audio, "aiff", aiff},
    {MediaKind::Audio, "asf", wma},
    {MediaKind::Audio, "monkey", ape},
    {MediaKind::Audio, "wavpack", wv},
    {MediaKind::Audio, "musepack", mpc},
    {MediaKind::Audio, "matroska", mka},
    {MediaKind::Audio, "ac3", ac3},
    {MediaKind::Audio, "amr", amr},
    {MediaKind::Audio, "caf", caf},
    {MediaKind::Video, "iso", mp4},
    {MediaKind::Video, "iso", mov},
    {MediaKind::Video, "matroska", mkv},
    {MediaKind::Video, "avi", avi},
    {MediaKind::Video, "asf", wmv},
    {MediaKind::Video, "flv", flv},
    {MediaKind::Video, "ogg", ogv},
    {MediaKind::Video, "mpeg", mpg},
    {MediaKind::Video, "transport stream", ts},
    {MediaKind::Image, "jpeg", jpg},
    {MediaKind::Image, "png", png},
    {MediaKind::Image, "gif", gif},
    {MediaKind::Image, "bmp", bmp},
    {MediaKind::Image, "tiff", tiff},
    {MediaKind::Image, "heif", heic},
    {MediaKind::Image, "webp", webp},
};

struct Mark {
    std::size_t at;
    std::string_view bytes;
    std::string_view extension; // of the format meant, where the extension of the file does not tell
};

// The first that fits counts.
constexpr Mark marks[] = {
    {0, "\xff\xd8\xff"sv, "jpg"},
    {0, "\x89PNG\r\n\x1a\n"sv, "png"},
    {0, "GIF8"sv, "gif"},
    {0, "II*\0"sv, "tif"},
    {0, "MM\0*"sv, "tif"},
    {8, "WEBP"sv, "webp"},
    {8, "WAVE"sv, "wav"},
    {8, "AVI "sv, "avi"},
    {8, "AIFF"sv, "aiff"},
    {8, "AIFC"sv, "aiff"},
    {4, "ftypM4A "sv, "m4a"},
    {4, "ftypM4B "sv, "m4b"},
    {4, "ftypM4P "sv, "m4p"},
    {4, "ftypheic"sv, "heic"},
    {4, "ftypheix"sv, "heic"},
    {4, "ftyphevc"sv, "heic"},
    {4, "ftypheim"sv, "heic"},
    {4, "ftypheis"sv, "heic"},
    {4, "ftypmif1"sv, "heic"},
    {4, "ftypmsf1"sv, "heic"},
    {4, "ftypavif"sv, "avif"},
    {4, "ftypqt  "sv, "mov"},
    {4, "ftyp"sv, "mp4"},
    {4, "moov"sv, "mov"},
    {4, "mdat"sv, "mov"},
    {4, "wide"sv, "mov"},
    {0, "fLaC"sv, "flac"},
    {0, "OggS"sv, "ogg"},
    {0, "\x1a\x45\xdf\xa3"sv, "mkv"},
    {0, "\x30\x26\xb2\x75\x8e\x66\xcf\x11"sv, "wmv"},
    {0, "MAC "sv, "ape"},
    {0, "wvpk"sv, "wv"},
    {0, "MPCK"sv, "mpc"},
    {0, "MP+"sv, "mpc"},
    {0, "#!AMR"sv, "amr"},
    {0, "caff"sv, "caf"},
    {0, "FLV\x01"sv, "flv"},
    {0, "\0\0\x01\xba"sv, "mpg"},
    {0, "\0\0\x01\xb3"sv, "mpg"},
    {0, "\x0b\x77"sv, "ac3"},
};

// Frames without a header of the file: eleven bits set, then version, layer and rates that are not reserved.
std::string_view extensionOfAudioFrame(std::string_view head)
{
    if (head.size() < 4 || head[0] != '\xff')
        return {};
    const auto second = static_cast<unsigned char>(head[1]);
    const auto third = static_cast<unsigned char>(head[2]);
    if ((second & 0xf6) == 0xf0)
        return "aac";
    const bool isFrame = (second & 0xe0) == 0xe0 && (second & 0x18) != 0x08 && (second & 0x06) != 0
        && (third & 0xf0) != 0xf0 && (third & 0x0c) != 0x0c;
    return isFrame ? "mp3" : std::string_view();
}

bool hasMark(std::string_view head, const Mark &mark)
{
    return head.size() >= mark.at + mark.bytes.size() && head.substr(mark.at, mark.bytes.size()) == mark.bytes;
}

// A picture of this kind begins with two letters only, which many a text does too: its header must fit as well.
bool isBitmap(std::string_view head)
{
    return head.size() >= 18 && head.substr(0, 2) == "BM" && head.substr(6, 4) == "\0\0\0\0"sv
        && head.substr(15, 3) == "\0\0\0"sv;
}

// Packets of 188 bytes that begin with the same byte; in some cameras' files four bytes of time come before each.
bool isTransportStream(std::string_view head)
{
    return (head.size() > 188 && head[0] == 'G' && head[188] == 'G')
        || (head.size() > 196 && head[4] == 'G' && head[196] == 'G');
}

std::string_view extensionOfContent(std::string_view head)
{
    for (const Mark &mark : marks)
        if (hasMark(head, mark))
            return mark.extension;
    if (isBitmap(head))
        return "bmp";
    if (isTransportStream(head))
        return "ts";
    return extensionOfAudioFrame(head);
}

} // namespace

std::string_view kindName(MediaKind kind)
{
    switch (kind) {
    case MediaKind::Audio:
        return "audio";
    case MediaKind::Video:
        return "video";
    case MediaKind::Image:
        return "image";
    }
    return "unknown";
}

bool MediaFormat::hasExtension(std::string_view lowerExtension) const
{
    return std::find(extensions.begin(), extensions.end(), lowerExtension) != extensions.end();
}

const MediaFormat *formatOfExtension(std::string_view lowerExtension)
{
    for (const MediaFormat &format : formats)
        if (format.hasExtension(lowerExtension))
            return &format;
    return nullptr;
}

const MediaFormat *formatOfContent(std::string_view head, const MediaFormat *byExtension)
{
    // This tag stands before audio of several formats, and of none in particular.
    if (head.substr(0, 3) == "ID3")
        return byExtension && byExtension->kind == MediaKind::Audio ? byExtension : formatOfExtension("mp3");
    const MediaFormat *format = formatOfExtension(extensionOfContent(head));
    const bool isSameFamily = format && byExtension && format->family == byExtension->family;
    return isSameFamily ? byExtension : format;
}

} // namespace kelvane::tool

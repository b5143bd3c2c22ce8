// SPDX-License-Identifier: Apache-2.0
#include "StreamFacts.h"

#include <algorithm>
#include <cctype>

namespace kelvane::module {

bool isCover(const AVStream &stream)
{
    constexpr int coverDispositions = AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_STILL_IMAGE;
    return (stream.disposition & coverDispositions) != 0;
}

const AVStream *mainStream(const AVFormatContext &format, AVMediaType type)
{
    for (unsigned i = 0; i < format.nb_streams; ++i)
        if (format.streams[i]->codecpar->codec_type == type && !isCover(*format.streams[i]))
            return format.streams[i];
    return nullptr;
}

double durationOf(const AVFormatContext &format)
{
    double seconds = format.duration > 0 ? static_cast<double>(format.duration) / AV_TIME_BASE : 0;
    if (seconds > 0)
        return seconds;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream &stream = *format.streams[i];
        if (stream.duration > 0 && !isCover(stream))
            seconds = std::max(seconds, static_cast<double>(stream.duration) * av_q2d(stream.time_base));
    }
    return seconds;
}

bool needsAnalysis(const AVFormatContext &format)
{
    bool hasMedia = false;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream &stream = *format.streams[i];
        const AVCodecParameters &codec = *stream.codecpar;
        const bool isAudio = codec.codec_type == AVMEDIA_TYPE_AUDIO;
        const bool isVideo = codec.codec_type == AVMEDIA_TYPE_VIDEO && !isCover(stream);
        hasMedia |= isAudio || isVideo;
        if ((isAudio && (codec.sample_rate <= 0 || codec.ch_layout.nb_channels <= 0))
            || (isVideo && (codec.width <= 0 || codec.height <= 0)))
            return true;
    }
    return !hasMedia || durationOf(format) <= 0;
}

std::string codecName(AVCodecID codec)
{
    if (codec == AV_CODEC_ID_H264)
        return "H.264";
    if (codec >= AV_CODEC_ID_FIRST_AUDIO && av_get_exact_bits_per_sample(codec) > 0)
        return "PCM";
    std::string name = avcodec_get_name(codec);
    std::transform(name.begin(), name.end(), name.begin(),
        [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    return name;
}

} // namespace kelvane::module

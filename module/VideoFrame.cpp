// SPDX-License-Identifier: Apache-2.0
#include "VideoFrame.h"

#include "StreamFacts.h"

#include <algorithm>
#include <cmath>
#include <utility>

extern "C" {
#include <libavutil/display.h>
}

namespace kelvane::module {
namespace {

constexpr std::int64_t maxPixels = 40'000'000; // a frame of 8K has 33 million

/// Looks through a film for a frame to show.
class FrameSearch {
public:
    FrameSearch(MediaInput &input, const AVStream &stream) : _input(input), _stream(stream)
    {
        const AVCodec *codec = avcodec_find_decoder(stream.codecpar->codec_id);
        Handle<AVCodecContext> decoder(codec ? avcodec_alloc_context3(codec) : nullptr);
        if (!decoder || avcodec_parameters_to_context(decoder.get(), stream.codecpar) < 0)
            return;
        decoder->max_pixels = maxPixels;
        decoder->thread_count = 1; // the time of other threads would not be counted
        if (avcodec_open2(decoder.get(), codec, nullptr) >= 0)
            _decoder = std::move(decoder);
    }

    /// Null where nothing could be decoded.
    Handle<AVFrame> find()
    {
        // Films begin and end with darkness and titles; what is looked at first is well behind the beginning.
        constexpr double places[] = {0.1, 0.3, 0.6, 0};
        const double seconds = durationOf(_input.format());
        for (const double place : places)
            if (_decoder && !_input.file().budget().isSpent() && searchFrom(place * seconds))
                break;
        return std::move(_best);
    }

private:
    // True when a frame was found that is bright enough.
    bool searchFrom(double seconds)
    {
        constexpr int maxFrames = 300; // about as many as stand between two that can be reached directly
        constexpr int maxPackets = 2000;
        const auto time = static_cast<std::int64_t>(seconds / av_q2d(_stream.time_base));
        const std::int64_t start = _stream.start_time == AV_NOPTS_VALUE ? 0 : _stream.start_time;
        (void)av_seek_frame(&_input.format(), _stream.index, start + time, AVSEEK_FLAG_BACKWARD);
        avcodec_flush_buffers(_decoder.get());
        _framesLeft = maxFrames;
        const Handle<AVPacket> packet(av_packet_alloc());
        for (int i = 0; packet && i < maxPackets && _framesLeft > 0 && !_input.file().budget().isSpent(); ++i) {
            if (av_read_frame(&_input.format(), packet.get()) < 0)
                return avcodec_send_packet(_decoder.get(), nullptr) >= 0 && takeFrames();
            const bool isOurs =
                packet->stream_index == _stream.index && avcodec_send_packet(_decoder.get(), packet.get()) >= 0;
            av_packet_unref(packet.get());
            if (isOurs && takeFrames())
                return true;
        }
        return false;
    }

    bool takeFrames()
    {
        constexpr double brightEnough = 24; // of 255, as the mean of a frame
        Handle<AVFrame> frame(av_frame_alloc());
        while (frame && _framesLeft > 0 && avcodec_receive_frame(_decoder.get(), frame.get()) >= 0) {
            constexpr int judgedEvery = 5;
            if (_framesLeft-- % judgedEvery != 0)
                continue;
            const double brightness = brightnessOf(*frame);
            if (brightness > _bestBrightness) {
                _bestBrightness = brightness;
                _best = std::exchange(frame, Handle<AVFrame>(av_frame_alloc()));
            }
            if (_bestBrightness >= brightEnough)
                return true;
        }
        return false;
    }

    static double brightnessOf(const AVFrame &frame)
    {
        constexpr std::int32_t side = 16;
        const Picture small = pictureOf(frame, side, side);
        double sum = 0;
        for (std::size_t i = 0; i + 3 < small.pixels.size(); i += 4)
            sum += std::max({small.pixels[i], small.pixels[i + 1], small.pixels[i + 2]});
        return small.pixels.empty() ? -1 : sum * 4 / static_cast<double>(small.pixels.size());
    }

    MediaInput &_input;
    const AVStream &_stream;
    Handle<AVCodecContext> _decoder;
    Handle<AVFrame> _best;
    double _bestBrightness = -1;
    int _framesLeft = 0;
};

// By how many quarters players turn the film clockwise.
int quartersOf(const AVStream &stream)
{
    const auto *matrix =
        reinterpret_cast<const std::int32_t *>(av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
    const double angle = matrix ? av_display_rotation_get(matrix) : 0;
    return std::isnan(angle) ? 0 : static_cast<int>(std::lround(-angle / 90)) & 3;
}

} // namespace

Picture videoFrame(MediaInput &input, std::int32_t maxWidth, std::int32_t maxHeight)
{
    if (needsAnalysis(input.format()))
        input.analyse();
    const AVStream *stream = mainStream(input.format(), AVMEDIA_TYPE_VIDEO);
    if (!stream || maxWidth <= 0 || maxHeight <= 0)
        return {};
    const Handle<AVFrame> frame = FrameSearch(input, *stream).find();
    if (!frame || frame->width <= 0 || frame->height <= 0)
        return {};
    const int quarters = quartersOf(*stream);
    if (quarters % 2 != 0)
        std::swap(maxWidth, maxHeight);
    // Pixels of some films are not square.
    const AVRational shape = av_guess_sample_aspect_ratio(&input.format(), const_cast<AVStream *>(stream), frame.get());
    const double aspect = shape.num > 0 && shape.den > 0 ? std::clamp(av_q2d(shape), 0.1, 10.0) : 1;
    const double width = frame->width * aspect;
    const double scale = std::min({1.0, maxWidth / width, static_cast<double>(maxHeight) / frame->height});
    const auto scaled = [scale](double size) { return std::max(1, static_cast<int>(std::lround(size * scale))); };
    return turned(
        pictureOf(*frame, std::min(scaled(width), maxWidth), std::min(scaled(frame->height), maxHeight)), quarters);
}

} // namespace kelvane::module

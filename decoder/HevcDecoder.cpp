// SPDX-License-Identifier: Apache-2.0
#include "HevcDecoder.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixdesc.h>
}

#include <climits>

namespace kelvane::decoder {

HevcDecoder::~HevcDecoder()
{
    av_frame_free(&_frame);
    avcodec_free_context(&_context);
}

bool HevcDecoder::open(std::int64_t mostPixels)
{
    if (_context) {
        avcodec_flush_buffers(_context);
        _context->max_pixels = mostPixels;
        return true;
    }
    const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_HEVC);
    _context = codec ? avcodec_alloc_context3(codec) : nullptr;
    _frame = av_frame_alloc();
    if (!_context || !_frame)
        return false;
    _context->thread_count = _threads;
    _context->thread_type = FF_THREAD_SLICE;
    _context->err_recognition = AV_EF_EXPLODE;
    _context->max_pixels = mostPixels;
    _context->log_level_offset = 100; // silences all but a few lines: standard error is the application's
    return avcodec_open2(_context, codec, nullptr) == 0;
}

HevcDecoder::Outcome HevcDecoder::decode(std::vector<std::uint8_t> stream, std::int64_t mostPixels)
{
    if (!open(mostPixels))
        return Outcome::unsupported;
    const std::size_t size = stream.size();
    AVPacket *packet = av_packet_alloc();
    if (!packet || size > INT_MAX - AV_INPUT_BUFFER_PADDING_SIZE) {
        av_packet_free(&packet);
        return Outcome::damaged;
    }
    stream.resize(size + AV_INPUT_BUFFER_PADDING_SIZE);
    packet->data = stream.data();
    packet->size = static_cast<int>(size);
    int result = avcodec_send_packet(_context, packet);
    av_packet_free(&packet);
    if (result >= 0)
        result = avcodec_send_packet(_context, nullptr);
    if (result >= 0)
        result = avcodec_receive_frame(_context, _frame);
    if (result == AVERROR_PATCHWELCOME)
        return Outcome::unsupported;
    if (result < 0 || _frame->decode_error_flags != 0 || (_frame->flags & AV_FRAME_FLAG_CORRUPT))
        return Outcome::damaged;
    return take(*_frame);
}

HevcDecoder::Outcome HevcDecoder::take(const AVFrame &frame)
{
    const AVPixFmtDescriptor *format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    if (!format || (format->flags & AV_PIX_FMT_FLAG_BE) || (format->nb_components != 1 && format->nb_components != 3))
        return Outcome::unsupported;
    _planes = {};
    _planes.isGrey = format->nb_components == 1;
    _planes.depth = format->comp[0].depth;
    _planes.shiftX = _planes.isGrey ? 0 : format->log2_chroma_w;
    _planes.shiftY = _planes.isGrey ? 0 : format->log2_chroma_h;
    if (_planes.depth > 12 || _planes.shiftX > 1 || _planes.shiftY > 1)
        return Outcome::unsupported;
    for (std::size_t i = 0; i < 3; ++i) {
        _planes.data[i] = frame.data[i];
        _planes.stride[i] = frame.linesize[i];
    }
    _planes.width = frame.width;
    _planes.height = frame.height;
    _planes.matrix = frame.colorspace;
    _planes.isFullRange = frame.color_range == AVCOL_RANGE_JPEG;
    return Outcome::decoded;
}

} // namespace kelvane::decoder

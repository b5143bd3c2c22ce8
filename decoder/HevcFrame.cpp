// SPDX-License-Identifier: Apache-2.0
#include "HevcFrame.h"

#include "PixelLimit.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <thread>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixdesc.h>
}

namespace kelvane::decoder {
namespace {

template <auto free>
struct Free {
    template <class T>
    void operator()(T *object) const
    {
        free(&object);
    }
};
using Context = std::unique_ptr<AVCodecContext, Free<avcodec_free_context>>;
using Packet = std::unique_ptr<AVPacket, Free<av_packet_free>>;
using Frame = std::unique_ptr<AVFrame, Free<av_frame_free>>;

constexpr heif_error failure(heif_error_code code, heif_suberror_code detail, const char *text)
{
    return {code, detail, text};
}

constexpr heif_error success = {heif_error_Ok, heif_suberror_Unspecified, "Success"};
constexpr heif_error damaged =
    failure(heif_error_Decoder_plugin_error, heif_suberror_Unspecified, "the HEVC stream is damaged");
constexpr heif_error unsupported = failure(
    heif_error_Decoder_plugin_error, heif_suberror_Unsupported_codec, "libavcodec does not know this kind of HEVC");
constexpr heif_error tooLarge =
    failure(heif_error_Invalid_input, heif_suberror_Security_limit_exceeded, "more pixels than the file can hold");
constexpr heif_error memoryEnded =
    failure(heif_error_Memory_allocation_error, heif_suberror_Unspecified, "out of memory");

// Writes a start code over each length, which has the same four bytes. False where the lengths lead out of the data.
bool lengthsToStartCodes(std::vector<std::uint8_t> &units)
{
    std::size_t at = 0;
    while (at < units.size()) {
        if (units.size() - at < 4)
            return false;
        std::uint8_t *length = units.data() + at;
        const std::size_t size = std::size_t{length[0]} << 24 | std::size_t{length[1]} << 16
            | std::size_t{length[2]} << 8 | std::size_t{length[3]};
        at += 4;
        if (size > units.size() - at)
            return false;
        at += size;
        constexpr std::array<std::uint8_t, 4> startCode = {0, 0, 0, 1};
        std::copy(startCode.begin(), startCode.end(), length);
    }
    return true;
}

// Threads cost more than they save on the tiles of a grid, which are decoded one beside the other anyway.
int threadsFor(std::size_t bytes)
{
    constexpr std::size_t worthwhile = 128U << 10;
    constexpr unsigned int most = 16;
    return bytes < worthwhile ? 1 : static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, most));
}

Context open(std::size_t bytes)
{
    const AVCodec *codec = avcodec_find_decoder(AV_CODEC_ID_HEVC);
    Context context(codec ? avcodec_alloc_context3(codec) : nullptr);
    if (!context)
        return nullptr;
    context->thread_count = threadsFor(bytes);
    context->thread_type = FF_THREAD_SLICE;
    context->err_recognition = AV_EF_EXPLODE;
    context->max_pixels = pixelLimit(bytes);
    context->log_level_offset = 100; // silences it: what it has to say would go to the application's standard error
    return avcodec_open2(context.get(), codec, nullptr) == 0 ? std::move(context) : nullptr;
}

int receive(AVCodecContext &context, std::vector<std::uint8_t> &units, AVFrame &frame)
{
    const std::size_t size = units.size();
    units.resize(size + AV_INPUT_BUFFER_PADDING_SIZE);
    const Packet packet(av_packet_alloc());
    if (!packet)
        return AVERROR(ENOMEM);
    packet->data = units.data();
    packet->size = static_cast<int>(size);
    int result = avcodec_send_packet(&context, packet.get());
    if (result >= 0)
        result = avcodec_send_packet(&context, nullptr);
    return result >= 0 ? avcodec_receive_frame(&context, &frame) : result;
}

void copyPlane(heif_image *image, heif_channel channel, const AVFrame &frame, int plane, std::size_t rowBytes)
{
    int stride = 0;
    std::uint8_t *to = heif_image_get_plane(image, channel, &stride);
    const int height = heif_image_get_height(image, channel);
    for (int y = 0; y < height; ++y)
        std::memcpy(
            to + std::ptrdiff_t{y} * stride, frame.data[plane] + std::ptrdiff_t{y} * frame.linesize[plane], rowBytes);
}

// What the stream says of its colours counts where the file says nothing.
void setColours(heif_image *image, const AVFrame &frame)
{
    heif_color_profile_nclx *colours = heif_nclx_color_profile_alloc();
    if (!colours)
        return;
    heif_nclx_color_profile_set_color_primaries(colours, static_cast<std::uint16_t>(frame.color_primaries));
    heif_nclx_color_profile_set_transfer_characteristics(colours, static_cast<std::uint16_t>(frame.color_trc));
    heif_nclx_color_profile_set_matrix_coefficients(colours, static_cast<std::uint16_t>(frame.colorspace));
    colours->full_range_flag = frame.color_range == AVCOL_RANGE_JPEG;
    heif_image_set_nclx_color_profile(image, colours);
    heif_nclx_color_profile_free(colours);
}

heif_error toImage(const AVFrame &frame, heif_image **image)
{
    const AVPixFmtDescriptor *format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    if (!format || (format->flags & AV_PIX_FMT_FLAG_BE) || (format->nb_components != 1 && format->nb_components != 3))
        return unsupported;
    const bool isGrey = format->nb_components == 1;
    const int depth = format->comp[0].depth;
    const int shiftX = isGrey ? 0 : format->log2_chroma_w;
    const int shiftY = isGrey ? 0 : format->log2_chroma_h;
    if (shiftX > 1 || shiftY > shiftX)
        return unsupported;
    const heif_chroma chroma = isGrey ? heif_chroma_monochrome
        : shiftY                      ? heif_chroma_420
        : shiftX                      ? heif_chroma_422
                                      : heif_chroma_444;
    heif_image *made = nullptr;
    heif_error error = heif_image_create(
        frame.width, frame.height, isGrey ? heif_colorspace_monochrome : heif_colorspace_YCbCr, chroma, &made);
    if (error.code != heif_error_Ok)
        return error;
    constexpr std::array channels = {heif_channel_Y, heif_channel_Cb, heif_channel_Cr};
    for (int plane = 0; plane < format->nb_components && error.code == heif_error_Ok; ++plane) {
        const int width = plane ? (frame.width + (1 << shiftX) - 1) >> shiftX : frame.width;
        const int height = plane ? (frame.height + (1 << shiftY) - 1) >> shiftY : frame.height;
        const heif_channel channel = channels[static_cast<std::size_t>(plane)];
        error = heif_image_add_plane(made, channel, width, height, depth);
        if (error.code == heif_error_Ok)
            copyPlane(made, channel, frame, plane, static_cast<std::size_t>(width) * (depth > 8 ? 2 : 1));
    }
    if (error.code != heif_error_Ok) {
        heif_image_release(made);
        return error;
    }
    setColours(made, frame);
    *image = made;
    return success;
}

} // namespace

bool canDecodeHevc() noexcept
{
    return avcodec_find_decoder(AV_CODEC_ID_HEVC) != nullptr;
}

heif_error decodeHevc(std::vector<std::uint8_t> units, PictureBudget &budget, heif_image **image)
{
    constexpr std::size_t mostBytes = 1U << 30;
    if (units.size() > mostBytes || !lengthsToStartCodes(units))
        return damaged;
    const Context context = open(units.size());
    const Frame frame(av_frame_alloc());
    if (!context || !frame)
        return memoryEnded;
    const int result = receive(*context, units, *frame);
    if (result < 0 || frame->decode_error_flags != 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT)) {
        budget.isUnsupported = budget.isUnsupported || result == AVERROR_PATCHWELCOME;
        return damaged;
    }
    const std::int64_t pixels = std::int64_t{frame->width} * frame->height;
    if (budget.pixelsLeft.fetch_sub(pixels) < pixels)
        return tooLarge;
    const heif_error error = toImage(*frame, image);
    if (error.subcode == heif_suberror_Unsupported_codec)
        budget.isUnsupported = true;
    return error;
}

} // namespace kelvane::decoder

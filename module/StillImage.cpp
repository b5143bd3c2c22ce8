// SPDX-License-Identifier: Apache-2.0
#include "StillImage.h"

#include <cstring>
#include <limits>
#include <string>

namespace kelvane::module {
namespace {

using namespace std::string_view_literals;

AVCodecID codecOf(std::string_view file)
{
    if (file.starts_with("GIF8"))
        return AV_CODEC_ID_GIF;
    if (file.starts_with("BM"))
        return AV_CODEC_ID_BMP;
    if (file.starts_with("II*\0"sv) || file.starts_with("MM\0*"sv))
        return AV_CODEC_ID_TIFF;
    if (file.starts_with("RIFF") && file.size() > 12 && file.substr(8, 4) == "WEBP")
        return AV_CODEC_ID_WEBP;
    return AV_CODEC_ID_NONE;
}

std::size_t littleEndian(std::string_view bytes, std::size_t at, std::size_t count)
{
    std::size_t number = 0;
    for (std::size_t i = 0; i < count; ++i)
        number |= static_cast<std::size_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    return number;
}

std::string fourBytes(std::size_t number)
{
    std::string bytes;
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>(static_cast<unsigned char>(number >> (8 * i)));
    return bytes;
}

// The decoder knows no moving WebP: the first picture of one is made a file of its own. Null for any other file.
std::string firstPictureOfMovingWebp(std::string_view file)
{
    constexpr std::size_t frameHeader = 16;
    for (std::size_t at = 12; at + 8 <= file.size();) {
        const std::size_t size = littleEndian(file, at + 4, 4);
        const std::string_view content = file.substr(at + 8, size);
        if (file.substr(at, 4) == "ANMF" && content.size() > frameHeader) {
            constexpr char hasAlpha = 0x10;
            const std::string extended = "VP8X" + fourBytes(10) + std::string({hasAlpha, 0, 0, 0})
                + std::string(content.substr(6, 6)); // width and height, three bytes each
            const std::string_view chunks = content.substr(frameHeader);
            return "RIFF" + fourBytes(4 + extended.size() + chunks.size()) + "WEBP" + extended + std::string(chunks);
        }
        at += 8 + size + (size & 1);
    }
    return {};
}

Handle<AVFrame> decode(AVCodecID id, std::string_view file, std::int64_t maxPixels)
{
    const AVCodec *codec = avcodec_find_decoder(id);
    Handle<AVCodecContext> decoder(codec ? avcodec_alloc_context3(codec) : nullptr);
    Handle<AVPacket> packet(av_packet_alloc());
    Handle<AVFrame> frame(av_frame_alloc());
    const bool isSizeKnown = file.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max()) / 2;
    if (!decoder || !packet || !frame || !isSizeKnown || av_new_packet(packet.get(), static_cast<int>(file.size())) < 0)
        return nullptr;
    std::memcpy(packet->data, file.data(), file.size());
    packet->flags |= AV_PKT_FLAG_KEY;
    decoder->max_pixels = maxPixels;
    decoder->thread_count = 1;
    const bool isDone = avcodec_open2(decoder.get(), codec, nullptr) >= 0
        && avcodec_send_packet(decoder.get(), packet.get()) >= 0
        && avcodec_receive_frame(decoder.get(), frame.get()) >= 0;
    return isDone ? std::move(frame) : nullptr;
}

} // namespace

Picture stillImage(std::string_view file, std::int64_t maxPixels)
{
    const AVCodecID codec = codecOf(file);
    if (codec == AV_CODEC_ID_NONE || maxPixels <= 0)
        return {};
    const std::string first = codec == AV_CODEC_ID_WEBP ? firstPictureOfMovingWebp(file) : std::string();
    const Handle<AVFrame> frame = decode(codec, first.empty() ? file : first, maxPixels);
    return frame ? pictureOf(*frame, frame->width, frame->height) : Picture();
}

} // namespace kelvane::module

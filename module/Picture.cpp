// SPDX-License-Identifier: Apache-2.0
#include "Picture.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include <cstring>
#include <utility>

namespace kelvane::module {
namespace {

constexpr std::size_t bytesPerPixel = 4;

/// What the caller sees of it is its base.
struct HandedOut : detail::MediaPicture {
    Picture content;
};

// The decoders name a format for "the same, but with the full range of values", which the scaler wants told apart.
AVPixelFormat withoutRange(AVPixelFormat format, bool &isFullRange)
{
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        isFullRange = true;
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        isFullRange = true;
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        isFullRange = true;
        return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
        isFullRange = true;
        return AV_PIX_FMT_YUV440P;
    default:
        return format;
    }
}

// Files that do not say which colours they hold have those of their size's kind of television.
int colourSpaceOf(const AVFrame &frame)
{
    constexpr int highDefinition = 720;
    if (frame.colorspace == AVCOL_SPC_UNSPECIFIED)
        return frame.height >= highDefinition ? SWS_CS_ITU709 : SWS_CS_ITU601;
    return frame.colorspace;
}

bool hasAlpha(const Picture &picture)
{
    for (std::size_t i = bytesPerPixel - 1; i < picture.pixels.size(); i += bytesPerPixel)
        if (picture.pixels[i] != 0xff)
            return true;
    return false;
}

} // namespace

Picture pictureOf(const AVFrame &frame, std::int32_t width, std::int32_t height)
{
    bool isFullRange = frame.color_range == AVCOL_RANGE_JPEG;
    const AVPixelFormat format = withoutRange(static_cast<AVPixelFormat>(frame.format), isFullRange);
    const AVPixFmtDescriptor *description = av_pix_fmt_desc_get(format);
    if (!description || width <= 0 || height <= 0 || !sws_isSupportedInput(format))
        return {};
    const bool isSameSize = width == frame.width && height == frame.height;
    const int method = isSameSize ? SWS_BICUBIC : SWS_AREA;
    const Handle<SwsContext> scaler(sws_getContext(frame.width, frame.height, format, width, height, AV_PIX_FMT_RGBA,
        method | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr, nullptr, nullptr));
    if (!scaler)
        return {};
    if ((description->flags & AV_PIX_FMT_FLAG_RGB) == 0)
        sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(colourSpaceOf(frame)), isFullRange ? 1 : 0,
            sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    Picture picture{{}, width, height};
    picture.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * bytesPerPixel);
    std::uint8_t *rows[] = {picture.pixels.data(), nullptr, nullptr, nullptr};
    const int steps[] = {static_cast<int>(bytesPerPixel) * width, 0, 0, 0};
    if (sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, rows, steps) != height)
        return {};
    return picture;
}

Picture turned(Picture picture, int quarters)
{
    quarters &= 3;
    if (quarters == 0 || picture.pixels.empty())
        return picture;
    const std::int32_t w = picture.width;
    const std::int32_t h = picture.height;
    Picture result{std::vector<std::uint8_t>(picture.pixels.size()), quarters == 2 ? w : h, quarters == 2 ? h : w};
    for (std::int32_t y = 0; y < h; ++y)
        for (std::int32_t x = 0; x < w; ++x) {
            const std::int32_t toX = quarters == 1 ? h - 1 - y : quarters == 2 ? w - 1 - x : y;
            const std::int32_t toY = quarters == 1 ? x : quarters == 2 ? h - 1 - y : w - 1 - x;
            const std::size_t from =
                static_cast<std::size_t>(y) * static_cast<std::size_t>(w) + static_cast<std::size_t>(x);
            const std::size_t to =
                static_cast<std::size_t>(toY) * static_cast<std::size_t>(result.width) + static_cast<std::size_t>(toX);
            std::memcpy(&result.pixels[to * bytesPerPixel], &picture.pixels[from * bytesPerPixel], bytesPerPixel);
        }
    return result;
}

const detail::MediaPicture *handOut(Picture picture)
{
    if (picture.pixels.empty())
        return nullptr;
    auto handed = std::make_unique<HandedOut>(HandedOut{{}, std::move(picture)});
    Picture &content = handed->content;
    static_cast<detail::MediaPicture &>(*handed) = {content.pixels.data(), content.width, content.height,
        static_cast<std::int32_t>(bytesPerPixel) * content.width, hasAlpha(content) ? 1 : 0};
    return handed.release();
}

void releasePicture(const detail::MediaPicture *picture)
{
    delete static_cast<const HandedOut *>(picture);
}

} // namespace kelvane::module

// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/Image.h>

#include <kelvane/platform/detail/image/ImageBytes.h>
#include <kelvane/platform/detail/image/ImageDecoder.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <utility>

namespace kelvane {
namespace {

std::size_t index(std::int32_t number) noexcept
{
    return static_cast<std::size_t>(number);
}

Image decode(const Data &file, const String &path, std::int32_t maximumEdge)
{
    // A picture too large for the memory there is is one that cannot be read.
    try {
        return detail::decodeImage(file, path, maximumEdge);
    } catch (const std::bad_alloc &) {
        return {};
    }
}

// Where the pixels of a turned picture come from: that of its first pixel, and the steps to the next in a row and to
// the next row.
struct Walk {
    std::ptrdiff_t start;
    std::ptrdiff_t along;
    std::ptrdiff_t down;
};

Walk walkOf(std::int32_t orientation, std::ptrdiff_t width, std::ptrdiff_t height) noexcept
{
    const std::ptrdiff_t right = width - 1;
    const std::ptrdiff_t bottom = (height - 1) * width;
    switch (orientation) {
    case 2:
        return {right, -1, width};
    case 3:
        return {bottom + right, -1, -width};
    case 4:
        return {bottom, 1, -width};
    case 5:
        return {0, width, 1};
    case 6:
        return {bottom, -width, 1};
    case 7:
        return {bottom + right, -width, -1};
    case 8:
        return {right, width, -1};
    default:
        return {0, 1, width};
    }
}

// The mean of a box of pixels.
void average(const std::uint8_t *first, std::size_t bytesPerRow, std::size_t width, std::size_t height, std::byte *to)
{
    std::array<std::uint64_t, 4> sums = {};
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t x = 0; x < width * 4; x += 4)
            for (std::size_t i = 0; i < 4; ++i)
                sums[i] += first[y * bytesPerRow + x + i];
    const std::uint64_t count = std::max<std::uint64_t>(width * height, 1); // the box is never empty
    for (std::size_t i = 0; i < 4; ++i)
        to[i] = static_cast<std::byte>((sums[i] + count / 2) / count);
}

} // namespace

Image::Image(Data pixels, std::int32_t width, std::int32_t height, Data iccProfile, std::int32_t orientation)
{
    if (width <= 0 || height <= 0 || pixels.isNull() || pixels.size() / 4 / index(width) != index(height)
        || pixels.size() != index(width) * index(height) * 4)
        return;
    _pixels = std::move(pixels);
    _iccProfile = std::move(iccProfile);
    _width = width;
    _height = height;
    _orientation = orientation >= 1 && orientation <= 8 ? orientation : 1;
}

Image Image::fromFile(const String &path, std::int32_t maximumEdge)
{
    const auto bytes = detail::ImageBytes::open(path);
    return bytes ? decode(bytes->all(mostFileBytes), path, maximumEdge) : Image();
}

Image Image::fromData(const Data &file, std::int32_t maximumEdge)
{
    return decode(file, {}, maximumEdge);
}

bool Image::isOpaque() const noexcept
{
    const auto bytes = _pixels.bytes();
    std::byte opacity{255};
    for (std::size_t i = 3; i < bytes.size(); i += 4)
        opacity &= bytes[i];
    return opacity == std::byte{255};
}

Image Image::upright() const
{
    if (isNull() || _orientation == 1)
        return *this;
    const bool isOnSide = _orientation >= 5;
    const std::int32_t width = isOnSide ? _height : _width;
    const std::int32_t height = isOnSide ? _width : _height;
    const Walk walk = walkOf(_orientation, _width, _height);
    const std::byte *from = _pixels.bytes().data();
    Data turned = Data::create(_pixels.size(), [&](std::span<std::byte> room) {
        std::byte *to = room.data();
        for (std::int32_t y = 0; y < height; ++y) {
            std::ptrdiff_t at = walk.start + y * walk.down;
            for (std::int32_t x = 0; x < width; ++x, at += walk.along, to += 4)
                std::memcpy(to, from + at * 4, 4);
        }
    });
    return Image(std::move(turned), width, height, _iccProfile);
}

Image Image::scaledToFit(std::int32_t maximumEdge) const
{
    const std::int32_t edge = std::max(_width, _height);
    if (isNull() || maximumEdge <= 0 || edge <= maximumEdge)
        return *this;
    const auto scaled = [&](std::int32_t side) {
        const std::int64_t rounded = (std::int64_t{side} * maximumEdge + edge / 2) / edge;
        return static_cast<std::size_t>(std::max<std::int64_t>(rounded, 1));
    };
    const std::size_t width = scaled(_width);
    const std::size_t height = scaled(_height);
    const auto *pixels = reinterpret_cast<const std::uint8_t *>(_pixels.bytes().data());
    Data result = Data::create(width * height * 4, [&](std::span<std::byte> room) {
        for (std::size_t y = 0; y < height; ++y) {
            const std::size_t top = y * index(_height) / height;
            const std::size_t bottom = (y + 1) * index(_height) / height;
            for (std::size_t x = 0; x < width; ++x) {
                const std::size_t left = x * index(_width) / width;
                const std::size_t right = (x + 1) * index(_width) / width;
                average(pixels + top * bytesPerRow() + left * 4, bytesPerRow(), right - left, bottom - top,
                    room.data() + (y * width + x) * 4);
            }
        }
    });
    return Image(std::move(result), static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), _iccProfile,
        _orientation);
}

} // namespace kelvane

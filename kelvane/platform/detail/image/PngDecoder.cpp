// SPDX-License-Identifier: Apache-2.0
#include "ImageDecoder.h"

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <png.h>

namespace kelvane::detail {
namespace {

// libpng reports errors by a jump, which skips destructors: between setjmp() and it there is nothing to destroy.
class PngReader {
public:
    explicit PngReader(std::span<const std::byte> file) : _rest(file)
    {
        _png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, leave, [](png_structp, png_const_charp) {});
        _info = _png ? png_create_info_struct(_png) : nullptr;
    }
    ~PngReader() { png_destroy_read_struct(&_png, &_info, nullptr); }
    PngReader(const PngReader &) = delete;
    PngReader &operator=(const PngReader &) = delete;

    /// Reads the size, and asks for every kind of picture as RGBA of eight bits.
    bool begin()
    {
        constexpr png_alloc_size_t mostChunkBytes = 16 << 20;
        constexpr png_uint_32 mostKeptChunks = 128;
        constexpr png_uint_32 opaque = 255;
        if (!_info || setjmp(_jump)) // NOLINT(cert-err52-cpp): libpng has no other way to tell
            return false;
        png_set_read_fn(_png, this, readBytes);
        png_set_chunk_malloc_max(_png, mostChunkBytes);
        png_set_chunk_cache_max(_png, mostKeptChunks);
        png_set_keep_unknown_chunks(_png, PNG_HANDLE_CHUNK_NEVER, nullptr, 0);
        png_read_info(_png, _info);
        _width = png_get_image_width(_png, _info);
        _height = png_get_image_height(_png, _info);
        if (static_cast<std::int64_t>(_width) * static_cast<std::int64_t>(_height) > Image::mostPixels)
            return false;
        const int colour = png_get_color_type(_png, _info);
        _hasAlpha = (colour & PNG_COLOR_MASK_ALPHA) || png_get_valid(_png, _info, PNG_INFO_tRNS);
        png_set_expand(_png);
        png_set_scale_16(_png);
        if (!(colour & PNG_COLOR_MASK_COLOR))
            png_set_gray_to_rgb(_png);
        if (!_hasAlpha)
            png_set_add_alpha(_png, opaque, PNG_FILLER_AFTER);
        _passes = png_set_interlace_handling(_png);
        png_read_update_info(_png, _info);
        return png_get_rowbytes(_png, _info) == _width * 4;
    }

    [[nodiscard]] std::size_t width() const noexcept { return _width; }
    [[nodiscard]] std::size_t height() const noexcept { return _height; }
    [[nodiscard]] bool hasAlpha() const noexcept { return _hasAlpha; }

    bool readPixels(std::uint8_t *pixels)
    {
        if (setjmp(_jump)) // NOLINT(cert-err52-cpp): as above
            return false;
        for (int pass = 0; pass < _passes; ++pass)
            for (std::size_t y = 0; y < _height; ++y)
                png_read_row(_png, pixels + y * _width * 4, nullptr);
        return true; // what comes behind the last row is of no interest
    }

private:
    [[noreturn]] static void leave(png_structp png, png_const_charp)
    {
        std::longjmp(static_cast<PngReader *>(png_get_error_ptr(png))->_jump, 1);
    }

    static void readBytes(png_structp png, png_bytep buffer, std::size_t size)
    {
        auto &rest = static_cast<PngReader *>(png_get_io_ptr(png))->_rest;
        if (size > rest.size())
            png_error(png, "the file ends early");
        std::memcpy(buffer, rest.data(), size);
        rest = rest.subspan(size);
    }

    std::span<const std::byte> _rest;
    png_structp _png = nullptr;
    png_infop _info = nullptr;
    std::jmp_buf _jump = {};
    std::size_t _width = 0;
    std::size_t _height = 0;
    int _passes = 1;
    bool _hasAlpha = false;
};

} // namespace

void multiplyByAlpha(std::uint8_t *pixels, std::size_t count) noexcept
{
    for (std::uint8_t *pixel = pixels; pixel != pixels + count * 4; pixel += 4)
        if (pixel[3] != 255)
            for (int i = 0; i < 3; ++i)
                pixel[i] = multiplied(pixel[i], pixel[3]);
}

Pixels decodePng(std::span<const std::byte> file)
{
    PngReader reader(file);
    if (!reader.begin())
        return {};
    bool isRead = false;
    Data pixels = Data::create(reader.width() * reader.height() * 4, [&](std::span<std::byte> room) {
        auto *to = reinterpret_cast<std::uint8_t *>(room.data());
        isRead = reader.readPixels(to);
        if (isRead && reader.hasAlpha())
            multiplyByAlpha(to, reader.width() * reader.height());
    });
    if (!isRead)
        return {};
    return {std::move(pixels), static_cast<std::int32_t>(reader.width()), static_cast<std::int32_t>(reader.height())};
}

} // namespace kelvane::detail

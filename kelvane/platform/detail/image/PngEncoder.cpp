// SPDX-License-Identifier: Apache-2.0
#include "ImageDecoder.h"

#include <csetjmp>
#include <exception>
#include <png.h>

namespace kelvane::detail {
namespace {

// As the reader: nothing to destroy between setjmp() and a jump.
class PngWriter {
public:
    PngWriter(const Image &image, bool isOpaque)
        : _image(image),
          _isOpaque(isOpaque),
          _row(static_cast<std::size_t>(image.width()) * (isOpaque ? 3 : 4))
    {
        _png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, leave, [](png_structp, png_const_charp) {});
        _info = _png ? png_create_info_struct(_png) : nullptr;
    }
    ~PngWriter() { png_destroy_write_struct(&_png, &_info); }
    PngWriter(const PngWriter &) = delete;
    PngWriter &operator=(const PngWriter &) = delete;

    bool write(std::span<const std::byte> exif, std::span<const std::byte> iccProfile)
    {
        if (!_info || setjmp(_jump)) // NOLINT(cert-err52-cpp): libpng has no other way to tell
            return false;
        png_set_write_fn(_png, this, append, nullptr);
        png_set_benign_errors(_png, 1); // a profile that libpng finds fault with is left out
        png_set_IHDR(_png, _info, static_cast<png_uint_32>(_image.width()), static_cast<png_uint_32>(_image.height()),
            8, _isOpaque ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
            PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        if (!iccProfile.empty())
            png_set_iCCP(_png, _info, "ICC profile", PNG_COMPRESSION_TYPE_BASE,
                reinterpret_cast<png_const_bytep>(iccProfile.data()), static_cast<png_uint_32>(iccProfile.size()));
        if (!exif.empty())
            png_set_eXIf_1(_png, _info, static_cast<png_uint_32>(exif.size()),
                reinterpret_cast<png_bytep>(const_cast<std::byte *>(exif.data()))); // only read
        png_write_info(_png, _info);
        const auto *pixels = reinterpret_cast<const std::uint8_t *>(_image.pixels().bytes().data());
        for (std::int32_t y = 0; y < _image.height(); ++y) {
            fillRow(pixels + static_cast<std::size_t>(y) * _image.bytesPerRow());
            png_write_row(_png, _row.data());
        }
        png_write_end(_png, _info);
        return true;
    }

    std::vector<std::byte> take() { return std::move(_bytes); }

private:
    [[noreturn]] static void leave(png_structp png, png_const_charp)
    {
        std::longjmp(static_cast<PngWriter *>(png_get_error_ptr(png))->_jump, 1);
    }

    static void append(png_structp png, png_bytep bytes, std::size_t size)
    {
        auto &all = static_cast<PngWriter *>(png_get_io_ptr(png))->_bytes;
        bool isAppended = false;
        try {
            const auto *from = reinterpret_cast<const std::byte *>(bytes);
            all.insert(all.end(), from, from + size);
            isAppended = true;
        } catch (const std::exception &) {
            // No exception may pass through libpng; its own error is raised outside of the handler.
        }
        if (!isAppended)
            png_error(png, "no memory");
    }

    // PNG stores colours not multiplied by alpha.
    void fillRow(const std::uint8_t *pixel) noexcept
    {
        for (std::size_t i = 0; i < _row.size(); pixel += 4) {
            const int alpha = pixel[3];
            for (int j = 0; j < 3; ++j)
                _row[i++] = alpha == 255 ? pixel[j]
                    : alpha == 0         ? std::uint8_t{0}
                                         : static_cast<std::uint8_t>((pixel[j] * 255 + alpha / 2) / alpha);
            if (!_isOpaque)
                _row[i++] = pixel[3];
        }
    }

    const Image &_image;
    const bool _isOpaque;
    png_structp _png = nullptr;
    png_infop _info = nullptr;
    std::jmp_buf _jump = {};
    std::vector<std::uint8_t> _row;
    std::vector<std::byte> _bytes;
};

} // namespace

std::vector<std::byte> encodePng(
    const Image &image, std::span<const std::byte> exif, std::span<const std::byte> iccProfile)
{
    PngWriter writer(image, image.isOpaque());
    return writer.write(exif, iccProfile) ? writer.take() : std::vector<std::byte>();
}

} // namespace kelvane::detail

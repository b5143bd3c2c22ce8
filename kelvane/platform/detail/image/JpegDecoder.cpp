// SPDX-License-Identifier: Apache-2.0
#include "ImageDecoder.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>

namespace kelvane::detail {
namespace {

// libjpeg reports errors by a jump, which skips destructors: between setjmp() and it there is nothing to destroy. All
// that lives longer is in here.
class JpegReader {
public:
    explicit JpegReader(std::span<const std::byte> file) : _file(file)
    {
        _state.err = jpeg_std_error(&_errors.base);
        _errors.base.error_exit = leave;
        _errors.base.emit_message = [](j_common_ptr, int) {};
        _errors.base.output_message = [](j_common_ptr) {};
    }
    ~JpegReader() { jpeg_destroy_decompress(&_state); }
    JpegReader(const JpegReader &) = delete;
    JpegReader &operator=(const JpegReader &) = delete;

    /// Reads the size, and decides on that of the result.
    bool begin(std::int32_t maximumEdge)
    {
        if (setjmp(_errors.jump)) // NOLINT(cert-err52-cpp): libjpeg has no other way to tell
            return false;
        jpeg_create_decompress(&_state);
        jpeg_mem_src(
            &_state, reinterpret_cast<const unsigned char *>(_file.data()), static_cast<unsigned long>(_file.size()));
        jpeg_read_header(&_state, TRUE);
        if (std::int64_t{_state.image_width} * _state.image_height > Image::mostPixels)
            return false;
        const bool isInk = _state.jpeg_color_space == JCS_CMYK || _state.jpeg_color_space == JCS_YCCK;
        _state.out_color_space = isInk ? JCS_CMYK : JCS_EXT_RGBA;
        const JDIMENSION edge = std::max(_state.image_width, _state.image_height);
        while (maximumEdge > 0 && _state.scale_denom < 8 && edge / (_state.scale_denom * 2) >= JDIMENSION(maximumEdge))
            _state.scale_denom *= 2;
        jpeg_calc_output_dimensions(&_state);
        return true;
    }

    [[nodiscard]] std::size_t width() const noexcept { return _state.output_width; }
    [[nodiscard]] std::size_t height() const noexcept { return _state.output_height; }

    bool readPixels(std::uint8_t *pixels)
    {
        if (setjmp(_errors.jump)) // NOLINT(cert-err52-cpp): as above
            return false;
        // A progressive file is kept whole until its last scan.
        _state.mem->max_memory_to_use = static_cast<long>(mostDecodingBytes - width() * height() * 4);
        _progress.base.progress_monitor = countScans;
        _progress.mostScans = mostScans();
        _state.progress = &_progress.base;
        jpeg_start_decompress(&_state);
        while (_state.output_scanline < _state.output_height) {
            JSAMPROW row = pixels + _state.output_scanline * width() * 4;
            jpeg_read_scanlines(&_state, &row, 1);
            if (_state.out_color_space == JCS_CMYK)
                mixInks(row);
        }
        return true; // what comes behind the last row is of no interest
    }

private:
    struct Errors {
        jpeg_error_mgr base; // first: libjpeg knows only this
        std::jmp_buf jump;
    };
    struct Progress {
        jpeg_progress_mgr base; // the same
        int mostScans;
    };

    [[noreturn]] static void leave(j_common_ptr state)
    {
        std::longjmp(reinterpret_cast<Errors *>(state->err)->jump, 1);
    }

    // A few bytes make one more scan over the whole picture. Encoders make ten.
    [[nodiscard]] int mostScans() const noexcept
    {
        constexpr std::int64_t mostWork = 800'000'000;
        const std::int64_t pixels = std::int64_t{_state.image_width} * _state.image_height;
        return static_cast<int>(std::clamp<std::int64_t>(mostWork / pixels, 12, 100));
    }

    static void countScans(j_common_ptr state)
    {
        const auto *progress = reinterpret_cast<const Progress *>(state->progress);
        if (reinterpret_cast<j_decompress_ptr>(state)->input_scan_number > progress->mostScans)
            leave(state);
    }

    // Cyan, magenta, yellow and black to what they look like. Adobe's programs store how much is not there.
    void mixInks(std::uint8_t *row) const noexcept
    {
        const std::uint8_t flip = _state.saw_Adobe_marker ? 0 : 255;
        for (std::size_t i = 0; i < width() * 4; i += 4) {
            const auto light = static_cast<std::uint8_t>(row[i + 3] ^ flip);
            for (std::size_t j = i; j < i + 3; ++j)
                row[j] = multiplied(static_cast<std::uint8_t>(row[j] ^ flip), light);
            row[i + 3] = 255;
        }
    }

    const std::span<const std::byte> _file;
    jpeg_decompress_struct _state = {};
    Errors _errors = {};
    Progress _progress = {};
};

} // namespace

Pixels decodeJpeg(std::span<const std::byte> file, std::int32_t maximumEdge)
{
    JpegReader reader(file);
    if (!reader.begin(maximumEdge))
        return {};
    bool isRead = false;
    Data pixels = Data::create(reader.width() * reader.height() * 4,
        [&](std::span<std::byte> room) { isRead = reader.readPixels(reinterpret_cast<std::uint8_t *>(room.data())); });
    if (!isRead)
        return {};
    return {std::move(pixels), static_cast<std::int32_t>(reader.width()), static_cast<std::int32_t>(reader.height())};
}

} // namespace kelvane::detail

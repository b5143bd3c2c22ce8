// SPDX-License-Identifier: Apache-2.0
#include "JpegEncoder.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <jpeglib.h>
#include <vector>

namespace kelvane::detail {
namespace {

constexpr std::size_t rgb = 3;
constexpr std::size_t rgba = 4;

struct Encoder {
    jpeg_compress_struct state;
    jpeg_error_mgr errors;
    std::jmp_buf failure;
    unsigned char *bytes;
    unsigned long size;
};

void fail(j_common_ptr state)
{
    std::longjmp(static_cast<Encoder *>(state->client_data)->failure, 1);
}

void stayQuiet(j_common_ptr) {}

void opaqueRow(const MediaPicture &picture, std::int32_t y, std::vector<JSAMPLE> &row)
{
    const std::uint8_t *from = picture.pixels + static_cast<std::ptrdiff_t>(y) * picture.bytesPerRow;
    for (JSAMPLE *to = row.data(); to != row.data() + row.size(); to += rgb, from += rgba)
        for (std::size_t i = 0; i < rgb; ++i)
            to[i] = static_cast<JSAMPLE>((from[i] * from[3] + 255 * (255 - from[3]) + 127) / 255);
}

// The encoder's way out of an error is a jump, which must pass by no destructor: there are none in here.
bool encode(Encoder &encoder, const MediaPicture &picture, int quality, std::vector<JSAMPLE> &row)
{
    jpeg_compress_struct &state = encoder.state;
    state.err = jpeg_std_error(&encoder.errors);
    encoder.errors.error_exit = fail;
    encoder.errors.output_message = stayQuiet;
    state.client_data = &encoder;
    if (setjmp(encoder.failure) != 0)
        return false;
    jpeg_create_compress(&state);
    jpeg_mem_dest(&state, &encoder.bytes, &encoder.size);
    state.image_width = static_cast<JDIMENSION>(picture.width);
    state.image_height = static_cast<JDIMENSION>(picture.height);
    state.input_components = rgb;
    state.in_color_space = JCS_RGB;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, quality, TRUE);
    jpeg_start_compress(&state, TRUE);
    while (state.next_scanline < state.image_height) {
        opaqueRow(picture, static_cast<std::int32_t>(state.next_scanline), row);
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(&state, rows, 1);
    }
    jpeg_finish_compress(&state);
    return true;
}

} // namespace

Data encodeJpeg(const MediaPicture &picture, int quality)
{
    if (picture.width <= 0 || picture.height <= 0)
        return nullptr;
    Encoder encoder{};
    std::vector<JSAMPLE> row(static_cast<std::size_t>(picture.width) * rgb);
    const bool isDone = encode(encoder, picture, quality, row);
    jpeg_destroy_compress(&encoder.state);
    const Data data = isDone ? Data(encoder.bytes, encoder.size) : Data();
    std::free(encoder.bytes);
    return data;
}

} // namespace kelvane::detail

// SPDX-License-Identifier: Apache-2.0
#include "JpegEncoder.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csetjmp>
#include <cstdio>
#include <exception>
#include <jpeglib.h>
#include <string_view>
#include <thread>

namespace kelvane::detail {
namespace {

// A row of blocks is 16 pixels high where colour is at half the size. There is a restart marker behind each, numbered 0
// to 7 and again; a stripe is a multiple of eight of them, so that the next one begins with the same number.
constexpr std::uint32_t blockRow = 16;
constexpr std::uint32_t stripeRows = 32 * blockRow;
constexpr std::byte lastRestart[] = {std::byte{0xff}, std::byte{0xd7}};
constexpr std::byte endOfImage[] = {std::byte{0xff}, std::byte{0xd9}};
constexpr std::size_t mostSegmentBytes = 65533;

struct ErrorManager {
    jpeg_error_mgr base; // first: libjpeg knows only this
    std::jmp_buf jump;
};

[[noreturn]] void leave(j_common_ptr state)
{
    std::longjmp(reinterpret_cast<ErrorManager *>(state->err)->jump, 1);
}

void keepSilent(j_common_ptr, int) {}
void keepSilent(j_common_ptr) {}

// Writes into a vector that is the caller's also when the encoder leaves: libjpeg's own destination does not tell then where
// its bytes are.
struct Destination {
    jpeg_destination_mgr base; // first: libjpeg knows only this
    std::vector<std::byte> *bytes;
};

Destination &destinationOf(j_compress_ptr state)
{
    return *reinterpret_cast<Destination *>(state->dest);
}

bool resize(std::vector<std::byte> &bytes, std::size_t size) noexcept
try {
    bytes.resize(size);
    return true;
} catch (const std::exception &) {
    return false;
}

void offerRoom(j_compress_ptr state, std::size_t used, std::size_t size)
{
    Destination &destination = destinationOf(state);
    if (!resize(*destination.bytes, size))
        leave(reinterpret_cast<j_common_ptr>(state));
    destination.base.next_output_byte = reinterpret_cast<JOCTET *>(destination.bytes->data()) + used;
    destination.base.free_in_buffer = size - used;
}

void beginOutput(j_compress_ptr state)
{
    constexpr std::size_t firstSize = std::size_t{256} << 10;
    offerRoom(state, 0, firstSize);
}

boolean goOnWithOutput(j_compress_ptr state)
{
    const std::size_t size = destinationOf(state).bytes->size();
    offerRoom(state, size, size * 2);
    return TRUE;
}

void endOutput(j_compress_ptr state)
{
    Destination &destination = destinationOf(state);
    destination.bytes->resize(destination.bytes->size() - destination.base.free_in_buffer);
}

// JPEG has no alpha: what shows through is white. A row without any is left where it is.
const std::uint8_t *onWhite(const std::uint8_t *row, std::uint32_t width, std::vector<std::uint8_t> &room)
{
    std::uint8_t opacity = 255;
    for (std::uint32_t x = 0; x < width; ++x)
        opacity &= row[4 * x + 3];
    if (opacity == 255)
        return row;
    room.assign(row, row + std::size_t{width} * 4);
    for (std::uint32_t x = 0; x < width; ++x) {
        const int white = 255 - room[4 * x + 3];
        for (std::size_t i = std::size_t{4} * x, end = i + 3; i < end; ++i)
            room[i] = static_cast<std::uint8_t>(std::min(255, room[i] + white));
    }
    return room.data();
}

void writeSegment(jpeg_compress_struct &state, int marker, std::string_view name, std::span<const std::byte> content)
{
    if (content.empty() || name.size() + content.size() > mostSegmentBytes)
        return;
    jpeg_write_m_header(&state, marker, static_cast<unsigned int>(name.size() + content.size()));
    for (const char character : name)
        jpeg_write_m_byte(&state, static_cast<unsigned char>(character));
    for (const std::byte byte : content)
        jpeg_write_m_byte(&state, std::to_integer<int>(byte));
}

void writeProperties(jpeg_compress_struct &state, const JpegPicture &picture)
{
    using namespace std::string_view_literals;
    writeSegment(state, JPEG_APP0 + 1, "Exif\0\0"sv, picture.exif);
    writeSegment(state, JPEG_APP0 + 1, "http://ns.adobe.com/xap/1.0/\0"sv, picture.xmp);
    if (!picture.iccProfile.empty())
        jpeg_write_icc_profile(&state, reinterpret_cast<const JOCTET *>(picture.iccProfile.data()),
            static_cast<unsigned int>(picture.iccProfile.size()));
}

void writeRows(
    jpeg_compress_struct &state, const JpegPicture &picture, std::uint32_t firstRow, std::vector<std::uint8_t> &room)
{
    while (state.next_scanline < state.image_height) {
        const std::uint8_t *row = picture.pixels.row(firstRow + state.next_scanline);
        // libjpeg takes it as not const, and leaves it alone.
        JSAMPROW line = const_cast<JSAMPROW>(onWhite(row, picture.width, room));
        jpeg_write_scanlines(&state, &line, 1);
    }
}

// A row of blocks at a time, the last one filled up with the last row of the picture.
void writePlanes(jpeg_compress_struct &state, const JpegPicture &picture, std::uint32_t firstRow)
{
    while (state.next_scanline < state.image_height) {
        JSAMPROW rows[3][blockRow];
        JSAMPARRAY planes[3] = {rows[0], rows[1], rows[2]};
        for (std::uint32_t plane = 0; plane < 3; ++plane) {
            const std::uint32_t scale = plane == 0 ? 1 : 2;
            const std::uint32_t first = (firstRow + state.next_scanline) / scale;
            const std::uint32_t last = (picture.height - 1) / scale;
            for (std::uint32_t i = 0; i < blockRow / scale; ++i)
                rows[plane][i] = const_cast<JSAMPROW>(picture.planes[plane].row(std::min(first + i, last)));
        }
        jpeg_write_raw_data(&state, planes, blockRow);
    }
}

// Everything that longjmp() would leave behind is the caller's.
bool encodeStripe(const JpegPicture &picture, std::uint32_t firstRow, std::uint32_t rows, std::vector<std::byte> &bytes,
    std::vector<std::uint8_t> &room)
{
    jpeg_compress_struct state = {};
    ErrorManager errors = {};
    state.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = leave;
    errors.base.emit_message = keepSilent;
    errors.base.output_message = keepSilent;
    if (setjmp(errors.jump)) { // NOLINT(cert-err52-cpp): libjpeg has no other way to tell
        jpeg_destroy_compress(&state);
        return false;
    }
    jpeg_create_compress(&state);
    Destination destination = {{nullptr, 0, beginOutput, goOnWithOutput, endOutput}, &bytes};
    state.dest = &destination.base;
    state.image_width = picture.width;
    state.image_height = rows;
    const bool hasPlanes = picture.planes[0].first != nullptr;
    state.input_components = hasPlanes ? 3 : 4;
    state.in_color_space = hasPlanes ? JCS_YCbCr : JCS_EXT_RGBA;
    jpeg_set_defaults(&state); // with chroma at half the size
    state.raw_data_in = hasPlanes ? TRUE : FALSE;
    jpeg_set_quality(&state, std::clamp(picture.quality, 1, 100), TRUE);
    state.restart_in_rows = 1;
    jpeg_start_compress(&state, TRUE);
    if (firstRow == 0)
        writeProperties(state, picture);
    if (hasPlanes)
        writePlanes(state, picture, firstRow);
    else
        writeRows(state, picture, firstRow, room);
    jpeg_finish_compress(&state);
    jpeg_destroy_compress(&state);
    return true;
}

// Where the coded picture begins, behind the "start of scan" segment; 0 where there is none. Where `height` is not 0, it
// becomes the height that the file names.
std::size_t scanOffset(std::span<std::byte> file, std::uint32_t height)
{
    constexpr std::byte startOfFrame{0xc0};
    constexpr std::byte startOfScan{0xda};
    std::size_t at = 2;
    while (at + 9 <= file.size()) {
        const std::byte marker = file[at + 1];
        const std::size_t size =
            std::to_integer<std::size_t>(file[at + 2]) << 8 | std::to_integer<std::size_t>(file[at + 3]);
        if (marker == startOfFrame && height != 0) {
            file[at + 5] = static_cast<std::byte>(height >> 8);
            file[at + 6] = static_cast<std::byte>(height);
        }
        at += 2 + size;
        if (marker == startOfScan)
            return at <= file.size() - 2 ? at : 0;
    }
    return 0;
}

std::vector<std::vector<std::byte>> encodeStripes(const JpegPicture &picture, std::atomic<bool> &isFailed)
{
    std::vector<std::vector<std::byte>> stripes((picture.height + stripeRows - 1) / stripeRows);
    std::atomic<std::size_t> next = 0;
    const auto work = [&]() noexcept {
        std::vector<std::uint8_t> room;
        try {
            room.reserve(std::size_t{picture.width} * 4);
        } catch (const std::bad_alloc &) {
            isFailed = true;
        }
        for (std::size_t i = next++; i < stripes.size() && !isFailed; i = next++) {
            const auto first = static_cast<std::uint32_t>(i * stripeRows);
            if (!encodeStripe(picture, first, std::min(stripeRows, picture.height - first), stripes[i], room))
                isFailed = true;
        }
    };
    constexpr std::size_t mostThreads = 16;
    const std::size_t count = std::min({stripes.size(), mostThreads, std::size_t{std::thread::hardware_concurrency()}});
    std::vector<std::thread> threads;
    try {
        while (threads.size() + 1 < count)
            threads.emplace_back(work);
    } catch (const std::exception &) {
        // The threads that there are do it.
    }
    work();
    for (std::thread &thread : threads)
        thread.join();
    return stripes;
}

} // namespace

std::vector<std::vector<std::byte>> encodeJpeg(const JpegPicture &picture) noexcept
try {
    if ((!picture.pixels.first && !picture.planes[0].first) || picture.width == 0 || picture.height == 0
        || picture.width > JPEG_MAX_DIMENSION || picture.height > JPEG_MAX_DIMENSION)
        return {};
    std::atomic<bool> isFailed = false;
    std::vector<std::vector<std::byte>> parts = encodeStripes(picture, isFailed);
    for (std::size_t i = 0; i < parts.size() && !isFailed; ++i) {
        std::vector<std::byte> &part = parts[i];
        const std::size_t scan = scanOffset(part, i == 0 ? picture.height : 0);
        if (scan == 0)
            return {};
        part.resize(part.size() - 2);
        if (i > 0)
            part.erase(part.begin(), part.begin() + static_cast<std::ptrdiff_t>(scan));
        const auto end = i + 1 < parts.size() ? std::span(lastRestart) : std::span(endOfImage);
        part.insert(part.end(), end.begin(), end.end());
    }
    return isFailed ? std::vector<std::vector<std::byte>>() : parts;
} catch (const std::exception &) {
    return {};
}

} // namespace kelvane::detail

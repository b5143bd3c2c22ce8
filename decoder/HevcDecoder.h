// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

struct AVCodecContext;
struct AVFrame;

namespace kelvane::decoder {

/// A decoded picture as it is coded: luma, and unless it is grey, two planes of chroma.
struct HevcPlanes {
    std::array<const std::uint8_t *, 3> data = {};
    std::array<std::ptrdiff_t, 3> stride = {}; ///< bytes
    int width = 0; ///< pixels of luma
    int height = 0;
    int depth = 8; ///< bits; samples of more than 8 take two bytes
    int shiftX = 0; ///< chroma has a sample for 1 << shiftX pixels
    int shiftY = 0;
    bool isGrey = false;
    int matrix = 2; ///< of ITU-T H.273, as the stream says
    bool isFullRange = false;

    template <class Sample>
    [[nodiscard]] const Sample *row(std::size_t plane, int y) const noexcept
    {
        return reinterpret_cast<const Sample *>(data[plane] + y * stride[plane]);
    }
};

/// libavcodec's HEVC decoder, for still pictures. It takes half the time of libheif's own.
///
/// Threads: one at a time.
class HevcDecoder {
public:
    enum class Outcome {
        decoded,
        damaged, ///< half a photo is not taken for a whole one
        unsupported ///< libavcodec lacks what this needs, or was built without HEVC; others may have it
    };

    /// `threads` that one picture may be decoded on, where its stream is made for that.
    explicit HevcDecoder(int threads) : _threads(threads) {}
    ~HevcDecoder();
    HevcDecoder(const HevcDecoder &) = delete;
    HevcDecoder &operator=(const HevcDecoder &) = delete;

    /// Decodes a stream of units with start codes that holds one picture of `mostPixels` at most.
    [[nodiscard]] Outcome decode(std::vector<std::uint8_t> stream, std::int64_t mostPixels);
    /// Of the picture decoded last; until the next one.
    [[nodiscard]] const HevcPlanes &planes() const noexcept { return _planes; }

private:
    [[nodiscard]] bool open(std::int64_t mostPixels);
    [[nodiscard]] Outcome take(const AVFrame &frame);

    const int _threads;
    AVCodecContext *_context = nullptr;
    AVFrame *_frame = nullptr;
    HevcPlanes _planes;
};

} // namespace kelvane::decoder

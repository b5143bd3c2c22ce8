// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

namespace kelvane::decoder {

/// What the plug-in knows of the picture that it decodes the parts of.
struct PictureBudget {
    /// Pixels that may still be decoded. The tiles of a grid are counted together: a file may name one tile 65,536 times.
    std::atomic<std::int64_t> pixelsLeft = 0;
    /// Set where libavcodec lacks something that the stream needs and another decoder may have.
    std::atomic<bool> isUnsupported = false;
};

/// libavcodec's HEVC decoder as a decoder plug-in of libheif's, for one picture at a time.
///
/// It decodes a picture in half the time of libheif's own, and uses all cores where the stream is made for that. An
/// application that uses libheif, too, never meets it: it is asked for by name.
///
/// libheif hands a plug-in nothing but bytes, perhaps on threads of its own; so that each picture has its own budget,
/// there are several plug-ins, which differ in their names, and each serves one picture at a time.
class HevcPlugin {
public:
    /// Takes a free plug-in, and waits for one where all are busy. Registers them when the first is asked for.
    explicit HevcPlugin(std::int64_t pixels);
    ~HevcPlugin();
    HevcPlugin(const HevcPlugin &) = delete;
    HevcPlugin &operator=(const HevcPlugin &) = delete;

    /// For heif_decoding_options::decoder_id; null where libavcodec has no HEVC decoder.
    [[nodiscard]] const char *name() const noexcept;
    [[nodiscard]] bool isUnsupported() const noexcept;

private:
    const int _slot;
};

} // namespace kelvane::decoder

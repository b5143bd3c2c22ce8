// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kelvane::module {

/// What the four bytes at the start of a frame of MPEG audio say.
struct MpegAudioFrame {
    std::int32_t layer;
    std::int32_t bitRate; ///< bits per second
    std::int32_t sampleRate; ///< Hz
    std::int32_t channels;
};

/// The frame that `bytes` begin with, if they do.
[[nodiscard]] std::optional<MpegAudioFrame> mpegAudioFrame(std::string_view bytes);

/// Size of the ID3 tag that `bytes` begin with, its header and footer included.
[[nodiscard]] std::int64_t id3Size(std::string_view bytes);

} // namespace kelvane::module

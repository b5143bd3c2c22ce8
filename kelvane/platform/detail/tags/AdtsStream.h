// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace kelvane::detail {

/// What a raw AAC stream (ADTS frames, one after the other) says of itself; 0 where it does not.
struct AdtsStream {
    double seconds = 0;
    int bitrate = 0; ///< bits per second, of the whole stream
    int sampleRate = 0;
    int channels = 0;

    [[nodiscard]] bool isValid() const noexcept { return sampleRate != 0; }
};

/// How many bytes isAdtsHeader() looks at.
inline constexpr std::size_t adtsHeaderSize = 7;

/// Whether an ADTS frame begins with these bytes.
[[nodiscard]] bool isAdtsHeader(std::string_view bytes);

/// Walks the frames from `start` to `end` of an open file. Not valid where no frames are at `start`.
[[nodiscard]] AdtsStream readAdtsStream(int descriptor, long start, long end);

} // namespace kelvane::detail

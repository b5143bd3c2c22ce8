// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Handles.h"

#include <cstdint>
#include <kelvane/platform/detail/MediaModule.h>
#include <memory>
#include <vector>

namespace kelvane::module {

/// The pixels of a picture that is handed out.
struct Picture {
    std::vector<std::uint8_t> pixels;
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// A decoded frame as red, green, blue and alpha in the given size, which may be its own.
[[nodiscard]] Picture pictureOf(const AVFrame &frame, std::int32_t width, std::int32_t height);
/// Turned clockwise by `quarters` times 90 degrees.
[[nodiscard]] Picture turned(Picture picture, int quarters);

/// The picture for callers of the module, who give it back to releasePicture(); null for one without pixels.
[[nodiscard]] const detail::MediaPicture *handOut(Picture picture);
void releasePicture(const detail::MediaPicture *picture);

} // namespace kelvane::module

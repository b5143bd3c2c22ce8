// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstdint>

namespace kelvane {

/// Small pictures of what is in a file: a frame of a film that is not black, an image scaled down. They are upright
/// whatever way the film or photo was taken. Sound has none; its covers are among its tags.
///
/// Threads: any.
/// Errors: null data for a file that shows nothing, cannot be decoded, or is too large (80 megapixels); also where
/// libkelvane-media.so, the module that decodes, is missing.
class KELVANE_EXPORT Thumbnail {
public:
    static constexpr std::int32_t defaultSide = 512; ///< pixels

    Thumbnail() = delete;

    /// A JPEG of what is in the file at `path`, in its proportions and at most as large as given; smaller pictures keep
    /// their size. Where it can be looked through, it is shown on white.
    [[nodiscard]] static Data jpegOfFile(
        const String &path, std::int32_t maxWidth = defaultSide, std::int32_t maxHeight = defaultSide);
};

} // namespace kelvane

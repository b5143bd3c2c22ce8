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
/// Errors: null data for a file that shows nothing, cannot be decoded, or is larger than an Image may be; also where the
/// module is missing that decodes it: libkelvane-media.so for films and some images, the decoder of HEIC photos.
class KELVANE_EXPORT Thumbnail {
public:
    static constexpr std::int32_t defaultSide = 512;

    Thumbnail() = delete;

    /// A JPEG of what is in the file at `path`, in its proportions, neither side longer than `maximumEdge` pixels;
    /// smaller pictures keep their size. Where it can be looked through, it is shown on white. The colours keep their
    /// profile.
    [[nodiscard]] static Data jpegOfFile(const String &path, std::int32_t maximumEdge = defaultSide);
};

} // namespace kelvane

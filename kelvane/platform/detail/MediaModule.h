// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

/// The C interface of libkelvane-media.so, the module that knows the insides of audio, video and the rarer picture
/// formats. The library loads it when it is first needed; without it the index of files is absent, and so are pictures
/// of videos.
///
/// The module exports one function, mediaModuleEntry, which gives the table of its operations. All of them may be
/// called on any thread, return in bounded time and memory whatever the file holds, open no other file than the one
/// they are given, and let no exception out.
extern "C" {

namespace kelvane::detail {

/// Raised whenever the structs below change: a module of another version is not used.
inline constexpr std::uint32_t mediaModuleVersion = 1;
inline constexpr const char *mediaModuleFile = "libkelvane-media.so";
inline constexpr const char *mediaModuleEntry = "kelvane_media_module";

enum MediaFactKind : std::int32_t {
    MediaFactText, ///< `text`
    MediaFactInteger, ///< `integer`
    MediaFactReal, ///< `real`
    MediaFactDate, ///< `real`: seconds since 1970
    MediaFactElement, ///< `text`: one more element of the list of texts called `key`
};

/// One property of a file. `key` and `text` end with a zero byte; `text` is valid UTF-8.
struct MediaFact {
    const char *key;
    const char *text;
    std::int64_t integer;
    double real;
    MediaFactKind kind;
    std::int32_t unused;
};

struct MediaFacts {
    const MediaFact *facts;
    std::size_t count;
};

/// Pixels as red, green, blue, alpha, eight bits each, rows from the top; colours are not multiplied by alpha.
struct MediaPicture {
    std::uint8_t *pixels;
    std::int32_t width;
    std::int32_t height;
    std::int32_t bytesPerRow;
    std::int32_t hasAlpha; ///< 0: every alpha is 255
};

struct MediaModule {
    std::uint32_t version;
    std::uint32_t unused;

    /// What the file at `path` says of itself; null where it is no audio or video file that the module knows.
    const MediaFacts *(*indexFile)(const char *path);
    void (*releaseFacts)(const MediaFacts *facts);

    /// A frame of the video at `path` that is not black, upright, scaled down to fit `maxWidth` by `maxHeight` (never
    /// up); null where there is no moving picture.
    const MediaPicture *(*videoFrame)(const char *path, std::int32_t maxWidth, std::int32_t maxHeight);
    /// The first picture of a whole GIF, BMP, TIFF or WebP file in memory, in its own size and as it is stored (not
    /// turned); null where it is none of them, broken, or has more than `maxPixels` pixels.
    const MediaPicture *(*decodeImage)(const std::uint8_t *bytes, std::size_t size, std::int64_t maxPixels);
    void (*releasePicture)(const MediaPicture *picture);
};

using MediaModuleEntry = const MediaModule *(*)();

} // namespace kelvane::detail
} // extern "C"

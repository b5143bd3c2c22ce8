// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string_view>

namespace kelvane::tool {

/// The kinds of media, with the numbers by which records carry them.
enum class MediaKind { Audio = 1, Video = 2, Image = 4 };

[[nodiscard]] std::string_view kindName(MediaKind kind);

/// A kind of media file.
struct MediaFormat {
    MediaKind kind;
    /// Formats of one family look alike at their beginning; the extension then tells them apart.
    std::string_view family;
    /// The extensions, the usual one first.
    std::span<const std::string_view> extensions;

    [[nodiscard]] bool hasExtension(std::string_view lowerExtension) const;
};

/// The format that goes by an extension (lower case, no dot); null for what is no media.
[[nodiscard]] const MediaFormat *formatOfExtension(std::string_view lowerExtension);

/// How many bytes from the start of a file formatOfContent() wants to see.
inline constexpr std::size_t formatHeadSize = 512;

/// The format that the first bytes of a file show, null where they show none. `byExtension` (may be null) decides
/// where the bytes alone do not tell.
[[nodiscard]] const MediaFormat *formatOfContent(std::string_view head, const MediaFormat *byExtension);

} // namespace kelvane::tool

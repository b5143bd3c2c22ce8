// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/String.h>
#include <kelvane/platform/detail/FileDescriptor.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace kelvane::detail {

/// The bytes of a picture file, in memory or read where they lie. What is beyond the end reads as nothing.
///
/// Threads: any number may read at once.
/// Ownership: closes the file; bytes in memory must outlive it.
class ImageBytes {
public:
    /// Nothing where the path leads to no regular file that can be read.
    [[nodiscard]] static std::optional<ImageBytes> open(const String &path);
    explicit ImageBytes(std::span<const std::byte> memory) noexcept : _memory(memory), _size(memory.size()) {}

    [[nodiscard]] std::uint64_t size() const noexcept { return _size; }
    /// Fills `buffer` from `offset` on, or answers false.
    [[nodiscard]] bool read(std::uint64_t offset, std::span<std::byte> buffer) const noexcept;
    /// `count` bytes from `offset` on; empty where they are not all there, or more than `most`.
    [[nodiscard]] std::vector<std::byte> take(std::uint64_t offset, std::uint64_t count, std::size_t most) const;
    /// All of the file; null where it cannot be read or is larger than `most`.
    [[nodiscard]] Data all(std::uint64_t most) const;

private:
    ImageBytes(FileDescriptor file, std::uint64_t size) noexcept : _size(size), _file(std::move(file)) {}

    std::span<const std::byte> _memory;
    std::uint64_t _size = 0;
    FileDescriptor _file;
};

/// The number in the first `count` bytes, most significant first, or last.
[[nodiscard]] constexpr std::uint32_t bigEndian(std::span<const std::byte> bytes, std::size_t count) noexcept
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i)
        value = value << 8 | std::to_integer<std::uint32_t>(bytes[i]);
    return value;
}
[[nodiscard]] constexpr std::uint32_t littleEndian(std::span<const std::byte> bytes, std::size_t count) noexcept
{
    std::uint32_t value = 0;
    for (std::size_t i = count; i > 0; --i)
        value = value << 8 | std::to_integer<std::uint32_t>(bytes[i - 1]);
    return value;
}

/// Whether the bytes begin with these characters.
[[nodiscard]] inline bool startsWith(std::span<const std::byte> bytes, std::string_view text) noexcept
{
    return std::string_view(reinterpret_cast<const char *>(bytes.data()), bytes.size()).starts_with(text);
}

} // namespace kelvane::detail

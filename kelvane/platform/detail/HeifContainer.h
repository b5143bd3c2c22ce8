// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/detail/FileDescriptor.h>
#include <kelvane/platform/detail/HeifBoxes.h>

#include <memory>
#include <string>
#include <vector>

namespace kelvane::detail {

/// A HEIF file that is open: its "meta" box in memory, the rest read where it lies.
///
/// Threads: any number may read from it at once.
/// Ownership: keeps the file open; bytes that it was opened on must outlive it.
class HeifContainer {
public:
    /// Null where the file cannot be read, is no regular file, or has no brands and "meta" box (of 16 MiB at most).
    [[nodiscard]] static std::unique_ptr<HeifContainer> open(const std::string &path);
    [[nodiscard]] static std::unique_ptr<HeifContainer> open(HeifBytes file);

    HeifContainer(const HeifContainer &) = delete;
    HeifContainer &operator=(const HeifContainer &) = delete;

    /// Body of the "ftyp" box.
    [[nodiscard]] HeifBytes brands() const noexcept { return _brands; }
    [[nodiscard]] const HeifItems &items() const noexcept { return *_items; }
    [[nodiscard]] std::uint64_t fileSize() const noexcept { return _fileSize; }

private:
    HeifContainer() = default;
    [[nodiscard]] bool readBoxes();

    FileDescriptor _file;
    std::uint64_t _fileSize = 0;
    HeifItems::ReadFile _readFile;
    std::vector<std::byte> _brands;
    std::vector<std::byte> _meta;
    std::unique_ptr<HeifItems> _items;
};

} // namespace kelvane::detail

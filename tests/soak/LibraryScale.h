// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>

namespace kelvane::soak {

/// A device with a library of so many items: real small media files, which are hard links to a few tagged ones in the
/// sources and files of their own on the device. `kelvane sync` brings the first `synced` of them; the others, if there are
/// more, get rows and files like theirs, because a sync flushes every file. Synchronises it again unchanged and with one
/// file in a hundred changed, gone or new, and lists it. Says on standard output what each took, compares the device with
/// the sources at the end, and removes all of it. Whether everything was as it should be.
/// `folder`: where there is room, for four KiB and two entries for each item.
[[nodiscard]] bool buildLargeLibrary(std::int64_t items, std::int64_t synced, const std::filesystem::path &folder);

/// The same for two sizes: whether memory and processor time grow with the number of items, and no faster.
[[nodiscard]] bool compareLibraries(
    std::int64_t fewItems, std::int64_t manyItems, const std::filesystem::path &folder, bool judgesMemory);

} // namespace kelvane::soak

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kelvane::tool {

/// Writes all of `bytes` to an open file. Throws ItemError with the reason.
void writeAll(int file, std::string_view bytes);

/// Gives a finished file, made for its owner alone, the mode that the user's new files have. Throws ItemError.
void makeUsual(int file);

/// Writes a file under the first of these names that is free, and gives the name. The file is on the disk before it has a
/// name, and nothing else is ever replaced. Throws ItemError with the reason; nothing is left behind then.
[[nodiscard]] std::string writeNewFile(
    std::string_view content, const std::string &folder, const std::function<std::string(int attempt)> &nameFor);

/// Writes a file beside its place, brings it to the disk and gives it its name: whoever opens `path`, at whatever moment,
/// finds what was there before or all of `content`. Throws ItemError with the reason; nothing is left behind then.
void writeFileSafely(const std::string &path, std::string_view content);

} // namespace kelvane::tool

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace kelvane::tool {

/// Writes all of `bytes` to an open file. Throws ItemError with the reason.
void writeAll(int file, std::string_view bytes);

/// Writes a file beside its place, brings it to the disk and gives it its name: whoever opens `path`, at whatever moment,
/// finds what was there before or all of `content`. Throws ItemError with the reason; nothing is left behind then.
void writeFileSafely(const std::string &path, std::string_view content);

} // namespace kelvane::tool

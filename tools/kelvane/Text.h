// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kelvane::tool {

/// JSON with the characters that steer a terminal written as \uXXXX: it means the same, and may be looked at.
[[nodiscard]] std::string printableJson(std::string_view json);

/// `text` as it may go to a terminal or a log: control characters, what turns the direction of writing, and bytes
/// that are not UTF-8 read as \xNN. Names and tags come from strangers and must not steer a terminal.
[[nodiscard]] std::string printable(std::string_view text);
/// printable() in quotation marks, as error lines name files.
[[nodiscard]] std::string inQuotes(std::string_view path);
/// printable(), as seen from the working directory where the path is below it.
[[nodiscard]] std::string shownPath(std::string_view path);
/// `text` as a JSON string may hold it: only bytes that are not UTF-8 read as \xNN.
[[nodiscard]] std::string validUtf8(std::string_view text);

/// How many columns printable text takes on a terminal: wide characters take two, combining ones none.
[[nodiscard]] std::size_t displayWidth(std::string_view printableText);
/// Printable text in exactly `width` columns: filled up with blanks, or cut with "…" at the end.
[[nodiscard]] std::string fitted(std::string_view printableText, std::size_t width);
/// The same, with the filling on the left.
[[nodiscard]] std::string fittedRight(std::string_view printableText, std::size_t width);

/// "512 B", "34.2 MB": decimal prefixes, as device makers count.
[[nodiscard]] std::string bytesText(std::uint64_t bytes);
/// "3:07" or "1:02:03".
[[nodiscard]] std::string durationText(std::uint64_t seconds);
/// "0.41 s", "12 s", "3:07".
[[nodiscard]] std::string secondsText(double seconds);
/// "12.3 MB in 0.41 s (30.0 MB/s)", or the time alone where there are no bytes.
[[nodiscard]] std::string amountText(std::uint64_t bytes, double seconds);
/// "1 item", "2 items".
[[nodiscard]] std::string countText(std::uint64_t count, std::string_view singular);
/// What errno says, in words.
[[nodiscard]] std::string reasonText(int errorNumber);

/// The extension without its dot in lower case, "" for none.
[[nodiscard]] std::string lowerExtension(std::string_view path);
/// The last component of a path.
[[nodiscard]] std::string_view lastComponent(std::string_view path);
/// The path without its last component and the slash before it, "" where it has no other.
[[nodiscard]] std::string parentOf(std::string_view path);

} // namespace kelvane::tool

// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/detail/CommandLine.h>

#include <kelvane/foundation/detail/Utf8.h>

#include <string>
#include <string_view>

namespace kelvane::detail {

namespace {

/// Blanks of any width and the tab; line breaks are no white space here.
bool isWhitespace(char32_t c)
{
    return c == U'\t' || c == U' ' || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x202F
        || c == 0x205F || c == 0x3000;
}

std::vector<std::string_view> piecesOf(std::string_view text)
{
    std::vector<std::string_view> pieces;
    std::size_t start = 0;
    for (std::size_t at = 0; at <= text.size();) {
        const bool isEnd = at == text.size();
        const auto next = isEnd ? DecodedCharacter{U' ', 1, true} : decodeCharacter(text.substr(at));
        if (isWhitespace(next.codePoint)) {
            if (at > start)
                pieces.push_back(text.substr(start, at - start));
            start = at + next.length;
        }
        at += next.length;
    }
    return pieces;
}

} // namespace

std::vector<String> splitCommandLine(const String &commandLine)
{
    std::vector<String> arguments;
    std::string pending; // a quoted argument whose closing piece has not come
    for (const auto piece : piecesOf(commandLine.view())) {
        const bool hasQuote = piece.find('"') != std::string_view::npos;
        if (!hasQuote && pending.empty()) {
            arguments.emplace_back(piece);
        } else if (!hasQuote) {
            pending.append(" ").append(piece);
        } else if (!pending.empty()) {
            pending.append(" ").append(piece.substr(0, piece.size() - 1));
            arguments.emplace_back(pending);
            pending.clear();
        } else {
            pending = piece.substr(1);
            if (pending.find('"') != std::string::npos) {
                // Intended: a quoted single word keeps its quotes.
                pending.clear();
                arguments.emplace_back(piece);
            }
        }
    }
    return arguments;
}

} // namespace kelvane::detail

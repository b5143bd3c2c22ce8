// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <tools/kelvane/Html.h>
#include <tools/kelvane/Text.h>

#include <kelvane/foundation/String.h>

#include <algorithm>
#include <string>

namespace kelvane {
namespace {

bool isPrintable(const std::string &text)
{
    return String(text).isValidUtf8() && std::none_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || byte == 0x7f;
    });
}

} // namespace
} // namespace kelvane

// What the command shows of names and tags: on a terminal, in columns of a table, and in the page of a report. The first byte
// is a width.
void kelvane::fuzz(std::string_view input)
{
    const std::size_t width = input.empty() ? 0 : static_cast<unsigned char>(input[0]);
    input.remove_prefix(input.empty() ? 0 : 1);

    const std::string shown = tool::printable(input);
    require(isPrintable(shown), "no control character reaches a terminal");
    require(shown.find("\xC2\x9B") == std::string::npos, "no control sequence reaches a terminal");
    require(shown.size() <= 4 * input.size(), "a byte takes four at the most");
    require(tool::inQuotes(input) == '"' + shown + '"', "an error line quotes what can be shown");
    for (const std::string &cell : {tool::fitted(shown, width), tool::fittedRight(shown, width)}) {
        require(isPrintable(cell), "a cut leaves characters whole");
        require(width == 0 || tool::displayWidth(cell) == width, "a cell takes its width");
    }

    const std::string valid = tool::validUtf8(input);
    require(String(valid).isValidUtf8() && tool::validUtf8(valid) == valid, "a valid text stays as it is");
    const std::string page = tool::html(input);
    require(page.find_first_of("<>\"'") == std::string::npos, "no text ends a tag or an attribute of a page");
    static_cast<void>(tool::lowerExtension(input));
    require(input.ends_with(tool::lastComponent(input)), "a path ends in its last component");
}

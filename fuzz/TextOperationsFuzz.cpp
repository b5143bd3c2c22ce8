// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/common/StringExtensions.h>
#include <kelvane/common/Utils.h>
#include <kelvane/foundation/Value.h>

#include <algorithm>
#include <string>

// A line with the argument, then the text. Trimming, splitting, comparing, and what follows from one another.
void kelvane::fuzz(std::string_view input)
{
    const String part = takeUntil(input, '\n');
    const String text(input);

    const String trimmed = trim(text);
    require(trim(trimmed) == trimmed, "a trimmed text is trimmed");
    require(contains(text, trimmed) || trimmed.isEmpty(), "trimming takes from the ends only");
    require(text == trimStart(text, part) || text == String::concat({part.view(), trimStart(text, part).view()}),
        "trimStart takes one copy of the prefix");
    const String cut = trimEnd(text, part);
    require(cut == text || (input.starts_with(cut.view()) && (part.isEmpty() || !contains(cut, part))),
        "trimEnd cuts at the first occurrence");
    require(!contains(trimQuotedString(text), "\""), "no quote stays");

    const Array parts = split(text, part);
    require(Utils::join(part.isEmpty() ? String(",") : part, parts) == text, "joining the parts gives the text back");
    require(split(text, part, part).size() <= text.size(), "what stands between is no longer than the text");
    require(contains(text, part) == (!part.isEmpty() && input.find(part.view()) != std::string_view::npos),
        "contains() finds what is there");

    require(hexString(text).size() == 2 * input.size(), "two digits a byte");
    require(Utils::replaceInvalidChars(text, '_').view().find_first_of("/<>:\\ ") == std::string_view::npos,
        "no invalid character stays");
    require(String::fromUtf8(input).isNull() || stringReverse(stringReverse(text)) == text,
        "reversing twice gives the text back");
    require(fourCharCode(text) == fourCharCode(String(input.substr(0, 4))), "four bytes make the code");

    require(startsWith(text, part) || part.isEmpty() || !input.starts_with(part.view())
            || String::fromUtf8(input).isNull() || String::fromUtf8(part.view()).isNull(),
        "a text starts with what it begins with");
    require(inCaseCompare(text, part) == inCaseCompare(part, text), "comparing is symmetric");
    require(strCompare(text, part) == strCompare(part, text), "comparing is symmetric");
    static_cast<void>(pathCombine(text, part));
}

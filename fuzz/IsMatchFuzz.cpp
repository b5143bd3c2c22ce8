// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/common/StringExtensions.h>

// A line of pattern, then the text. What matters is that no pattern, however malformed or slow, does harm.
void kelvane::fuzz(std::string_view input)
{
    const String pattern = takeUntil(input, '\n');
    const String text(input);
    static_cast<void>(isMatch(text, pattern));
    static_cast<void>(hasChineseChar(text));
    require(!isMatch(text, String()), "nothing matches no pattern");
}

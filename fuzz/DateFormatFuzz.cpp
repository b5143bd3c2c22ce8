// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/common/Utils.h>

// A line of pattern, then the text of a date.
void kelvane::fuzz(std::string_view input)
{
    const String pattern = takeUntil(input, '\n');
    const String text = Utils::stringFromDate(pattern, Date(357'746'700.0));
    require(!text.isNull(), "a formatted date is a text");
    static_cast<void>(Utils::dateFormat(String(input)));
}

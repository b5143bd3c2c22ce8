// SPDX-License-Identifier: Apache-2.0
//
// Utilities whose cost must not grow.
//   dateValue              for each byte of texts that make it try, 10 KB to 10 MB
//   generateRandomLongId   with a million ids issued, beside the first ones of a process
#include "support/Contest.h"

#include <kelvane/common/StringExtensions.h>
#include <kelvane/common/Utils.h>

#include <string>
#include <string_view>

using namespace kelvane;
using namespace kelvane::bench;

namespace {

// Each of them begins many dates and finishes none, or one at every turn.
constexpr std::string_view units[] = {
    "1", "a", " ", "1/", "may ", "3 ", "2012-05-03 1", "12:", "3 may\n", "2012-05-03 "};

double secondsPerByte(int size)
{
    double taken = 0;
    for (const auto unit : units) {
        std::string text;
        while (text.size() < static_cast<std::size_t>(size))
            text += unit;
        const String whole = text;
        const int times = 10'000'000 / size;
        taken += seconds([&] {
            for (int i = 0; i < times; ++i)
                static_cast<void>(dateValue(whole));
        }) / times;
    }
    return taken / size;
}

double secondsPerId()
{
    constexpr int ids = 10'000;
    return seconds([] {
        for (int i = 0; i < ids; ++i)
            static_cast<void>(Utils::generateRandomLongId());
    }) / ids;
}

} // namespace

int main()
{
    const Unit nanoseconds{"ns", 1e9};
    scaling("utilities", "dateValue, a byte", nanoseconds, {10'000, 100'000, 1'000'000, 10'000'000}, secondsPerByte, 3);
    Contest("utilities", "generateRandomLongId", nanoseconds)
        .ours([] {
            return inChild([] {
                for (int i = 0; i < 1'000'000; ++i)
                    static_cast<void>(Utils::generateRandomLongId());
                return secondsPerId();
            });
        })
        .peer("the first ones", 1.3, [] { return inChild(secondsPerId); })
        .run();
}

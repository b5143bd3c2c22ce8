// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <cstdio>
#include <cstdlib>

namespace kelvane {

void require(bool holds, const char *promise)
{
    if (holds)
        return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

std::string_view takeUntil(std::string_view &input, char separator)
{
    const std::size_t end = input.find(separator);
    const std::string_view front = input.substr(0, end);
    input.remove_prefix(end == std::string_view::npos ? input.size() : end + 1);
    return front;
}

} // namespace kelvane

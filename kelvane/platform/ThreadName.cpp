// SPDX-License-Identifier: Apache-2.0
#include "ThreadName_p.h"

#if defined(__linux__) || defined(__APPLE__)
#include <pthread.h>

#include <array>
#endif

namespace kelvane {

void setCurrentThreadName([[maybe_unused]] const String &name) noexcept
{
#if defined(__linux__) || defined(__APPLE__)
    std::string_view shown = name.view();
    if (const auto dot = shown.rfind('.'); dot != std::string_view::npos)
        shown.remove_prefix(dot + 1);
    std::array<char, 16> text{}; // what Linux takes, with the NUL
    shown.copy(text.data(), text.size() - 1);
#if defined(__linux__)
    pthread_setname_np(pthread_self(), text.data());
#else
    pthread_setname_np(text.data());
#endif
#endif
}

} // namespace kelvane

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <utility>

namespace kelvane::detail {

/// Logs what a listener threw while it was told `message`. Called inside a catch block.
void logThrowingListener(std::string_view message) noexcept;

/// Tells one listener. A listener that throws must neither keep the others from hearing nor its task from ending,
/// so that its exception ends here, in one error line.
template <class Call>
void notify(std::string_view message, Call &&call) noexcept
{
    try {
        std::forward<Call>(call)();
    } catch (...) {
        logThrowingListener(message);
    }
}

} // namespace kelvane::detail

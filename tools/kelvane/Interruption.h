// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace kelvane::tool {

/// Turns Ctrl-C, a hang-up and a request to terminate into an orderly end; the second of them ends the process at once.
///
/// Made first in main(), before there is any other thread: the signals are blocked in all of them and taken by one
/// thread of its own, so that what follows is ordinary code and no signal handler.
class Interruption {
public:
    /// Takes over the signals of the process.
    static void install();
    /// Whether one has come.
    [[nodiscard]] static bool isRequested() noexcept;
    /// Called on the signal's thread when the first one comes, at once where it has come already. An empty function
    /// takes the last one back; a call of that one has ended by then.
    static void whenRequested(std::function<void()> action);
};

} // namespace kelvane::tool

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kelvane::module {

/// What one call may use: time of its thread's processor, and bytes read. A file that wants more is not for us.
class Budget {
public:
    Budget(double seconds, std::int64_t bytes);

    void read(std::int64_t bytes) { _bytes -= bytes; }
    [[nodiscard]] bool isSpent() const { return hasReadTooMuch() || now() > _end; }
    /// The part that costs nothing to ask.
    [[nodiscard]] bool hasReadTooMuch() const { return _bytes < 0; }

private:
    /// Processor time, not the clock on the wall: a slow disk is no fault of the file.
    [[nodiscard]] static double now();

    std::int64_t _bytes;
    double _end;
};

} // namespace kelvane::module

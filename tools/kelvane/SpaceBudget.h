// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceFolder.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace kelvane::tool {

/// What of a device's room is to stay free: phones get slow, and lose photos, where nothing is left.
struct SpaceReserve {
    static constexpr const char *usual = "2 % of the device, at most 500 MB";

    double percent = 2;
    std::uint64_t bytes = 500'000'000; // the smaller one counts

    /// Reads "1GB", "300 MB", "0" or "5%"; nothing for what is no size.
    [[nodiscard]] static std::optional<SpaceReserve> parse(const std::string &text);
    /// The bytes to keep free on a device of so many.
    [[nodiscard]] std::uint64_t of(std::uint64_t capacity) const;
};

/// Shares out the room of a device among copies that run side by side.
///
/// Threads: any.
class SpaceBudget {
public:
    SpaceBudget(const DeviceFolder &device, SpaceReserve reserve);
    SpaceBudget(const SpaceBudget &) = delete;
    SpaceBudget &operator=(const SpaceBudget &) = delete;

    /// Room that one copy takes, as long as the object lives.
    class Claim {
    public:
        /// Throws ItemError where the device has not so many bytes beside the reserve. While other copies run it is
        /// not known how much of their room they have taken already: what is short is waited for until they are done.
        Claim(SpaceBudget &budget, std::int64_t bytes);
        Claim(const Claim &) = delete;
        Claim &operator=(const Claim &) = delete;
        ~Claim();

    private:
        SpaceBudget &_budget;
        const std::uint64_t _bytes;
    };

    /// Whether any claim was refused.
    [[nodiscard]] bool hasRefused() const;

private:
    const DeviceFolder &_device;
    const std::uint64_t _reserve;
    mutable std::mutex _mutex;
    std::condition_variable _released;
    std::uint64_t _claimed = 0; // guarded by _mutex
    bool _hasRefused = false; // guarded by _mutex
};

} // namespace kelvane::tool

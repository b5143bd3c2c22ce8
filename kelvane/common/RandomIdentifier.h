// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>

#include <cstdint>

namespace kelvane {

/// A source of random 32-bit numbers, one for the process.
///
/// Threads: any thread, any operation.
/// Errors: none.
class KELVANE_EXPORT RandomIdentifier {
public:
    /// The shared instance, made on first use and never torn down.
    [[nodiscard]] static RandomIdentifier &defaultRandom() noexcept;

    RandomIdentifier(const RandomIdentifier &) = delete;
    RandomIdentifier &operator=(const RandomIdentifier &) = delete;

    /// A uniform random number of 32 bits, of cryptographic quality.
    [[nodiscard]] std::int32_t next() noexcept;

private:
    RandomIdentifier() = default;
    ~RandomIdentifier() = default;
};

} // namespace kelvane

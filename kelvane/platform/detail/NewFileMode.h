// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace kelvane::detail {

/// The mode that open() would give a new file that everybody may read and write, as far as the user's mask allows. Does not
/// touch the mask, which other threads make their files with. Any thread.
[[nodiscard]] mode_t newFileMode() noexcept;

} // namespace kelvane::detail

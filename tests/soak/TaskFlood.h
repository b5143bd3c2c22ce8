// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace kelvane::soak {

/// Creates, starts and waits for so many tasks, of which a share is cancelled; ten thousand are there at once. Whether
/// each ran as often as it should, and the process is as large after all of them as after a tenth. Says so on standard
/// output. `judgesMemory`: not under a sanitizer, which keeps memory that was given back.
[[nodiscard]] bool floodWithTasks(std::int64_t count, bool judgesMemory);

} // namespace kelvane::soak

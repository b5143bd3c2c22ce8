// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>

namespace kelvane::detail {

/// The file of the running program, null where the system does not tell.
[[nodiscard]] String programPath();
/// The file that this library was loaded from: the program's where it is linked in.
[[nodiscard]] String libraryPath();

} // namespace kelvane::detail

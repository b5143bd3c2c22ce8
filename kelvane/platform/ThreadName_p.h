// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>

namespace kelvane {

/// Names the calling thread for debuggers and process viewers. Of a name with dots, which leads with what all names of
/// a program share, the part after the last dot is shown, as far as the system has room for it.
void setCurrentThreadName(const String &name) noexcept;

} // namespace kelvane

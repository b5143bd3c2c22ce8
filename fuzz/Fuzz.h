// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace kelvane {

/// What a target does with one input. It is called millions of times in one process: it keeps nothing, and it ends
/// the process where the library breaks a promise (see require()).
void fuzz(std::string_view input);

/// Ends the process with a line that says which promise was broken, unless `holds`.
void require(bool holds, const char *promise);

/// Takes the input's front up to the first `separator`, which goes, too; all of it where there is none.
std::string_view takeUntil(std::string_view &input, char separator);

} // namespace kelvane

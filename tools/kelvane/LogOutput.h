// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kelvane::tool {

/// Sends the library's log to standard error, debug lines included, or nowhere: what fails is told by error lines of
/// our own, one for each file.
void setLogOutput(bool isShown);

} // namespace kelvane::tool

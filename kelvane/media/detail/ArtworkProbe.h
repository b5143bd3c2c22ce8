// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace kelvane::detail {

/// What TagFile::isExistArtwork() asks of an open regular file. Changes while it is read do no harm.
[[nodiscard]] bool hasArtworkMark(int descriptor);

} // namespace kelvane::detail

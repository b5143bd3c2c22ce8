// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tbytevector.h>

namespace kelvane::detail {

/// Whether the tag library can be given an ID3v2 tag, by the ten bytes of its header and what follows them. It parses
/// chapters that hold chapters by calling itself, and inflates compressed frames to whatever size comes out.
[[nodiscard]] bool isSafeId3v2(const TagLib::ByteVector &header, const TagLib::ByteVector &body);

} // namespace kelvane::detail

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/String.h>

#include <string_view>

namespace kelvane::detail {

inline constexpr std::string_view dynamicTypePrefix = "dyn.a";

/// Any bytes as the letters and digits of a dynamic type identifier, its prefix included: five bits a character, the
/// most significant first, the last ones filled with zeros.
[[nodiscard]] String encodeDynamicType(std::string_view bytes);

/// The bytes again; null where the text is not what encodeDynamicType() makes.
[[nodiscard]] String decodeDynamicType(std::string_view identifier);

} // namespace kelvane::detail

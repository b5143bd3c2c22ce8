// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Value.h>

#include <nlohmann/json.hpp>
#include <string_view>

namespace kelvane::tool {

/// Objects keep the order in which their keys were added.
using Json = nlohmann::ordered_json;

/// Text of any bytes as JSON; see validUtf8().
[[nodiscard]] Json jsonText(std::string_view text);
/// null for nil and absent texts; dates as ISO 8601 in UTC; whole numbers without a fraction.
[[nodiscard]] Json jsonValue(const Value &value);
/// The object and the end of its line.
[[nodiscard]] std::string jsonLine(const Json &json);
/// Writes one line to standard output, at once.
void printJsonLine(const Json &json);

} // namespace kelvane::tool

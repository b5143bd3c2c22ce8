// SPDX-License-Identifier: Apache-2.0
#include "JsonText.h"

#include "Text.h"

#include <cmath>
#include <cstdio>

namespace kelvane::tool {
namespace {

Json jsonNumber(double number)
{
    constexpr double exactLimit = 9007199254740992.0; // 2^53
    if (std::isfinite(number) && std::trunc(number) == number && std::fabs(number) <= exactLimit)
        return static_cast<std::int64_t>(number);
    return number;
}

Json jsonDate(Date date)
{
    const String text = date.toIso8601();
    return text.isNull() ? Json() : Json(text.str());
}

Json jsonArray(const Array &array)
{
    Json json = Json::array();
    for (const Value &element : array)
        json.push_back(jsonValue(element));
    return json;
}

Json jsonObject(const Dictionary &dictionary)
{
    Json json = Json::object();
    for (std::size_t i = 0; i < dictionary.size(); ++i)
        json[validUtf8(dictionary.keyAt(i).view())] = jsonValue(dictionary.valueAt(i));
    return json;
}

} // namespace

Json jsonText(std::string_view text)
{
    return validUtf8(text);
}

Json jsonValue(const Value &value)
{
    switch (value.kind()) {
    case Value::Kind::Bool:
        return value.boolValue();
    case Value::Kind::Int64:
        return value.longLongValue();
    case Value::Kind::UInt64:
        return value.unsignedLongLongValue();
    case Value::Kind::Double:
        return jsonNumber(value.doubleValue());
    case Value::Kind::String:
        return jsonText(value.string().view());
    case Value::Kind::Date:
        return jsonDate(value.date());
    case Value::Kind::Array:
        return jsonArray(value.array());
    case Value::Kind::Dictionary:
        return jsonObject(value.dictionary());
    default:
        return nullptr;
    }
}

std::string jsonLine(const Json &json)
{
    return printableJson(json.dump()) + '\n';
}

void printJsonLine(const Json &json)
{
    const std::string line = jsonLine(json);
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

} // namespace kelvane::tool

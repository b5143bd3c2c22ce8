// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Value.h>

#include <kelvane/foundation/detail/Numbers.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace kelvane {

namespace {

template <class Integer>
Integer integerOf(const Value &value, Integer ofText) noexcept
{
    switch (value.kind()) {
    case Value::Kind::Bool:
        return *value.getIf<bool>() ? 1 : 0;
    case Value::Kind::Int64:
        return detail::saturate<Integer>(*value.getIf<std::int64_t>());
    case Value::Kind::UInt64:
        return detail::saturate<Integer>(*value.getIf<std::uint64_t>());
    case Value::Kind::Double:
        return detail::saturate<Integer>(*value.getIf<double>());
    case Value::Kind::String:
        return ofText;
    default:
        return 0;
    }
}

/// The shortest text that reads back as the same double.
String textOf(double value)
{
    char text[40];
    for (int precision = 15; precision <= 17; ++precision) {
        std::snprintf(text, sizeof text, "%.*g", precision, value);
        // The decimal point of the application's locale is no business of ours.
        for (char &c : text)
            if (c == ',')
                c = '.';
        if (String(text).doubleValue() == value)
            break;
    }
    return text;
}

String hexOf(const Data &data)
{
    constexpr std::size_t shown = 24;
    constexpr char digits[] = "0123456789abcdef";
    std::string text = "<" + std::to_string(data.size()) + " bytes";
    if (!data.isEmpty())
        text += ": ";
    for (const std::byte byte : data.bytes().first(std::min(data.size(), shown))) {
        text += digits[std::to_integer<unsigned>(byte) >> 4];
        text += digits[std::to_integer<unsigned>(byte) & 15U];
    }
    return text += data.size() > shown ? "...>" : ">";
}

/// -1, 0 or 1 as `a` is less than, equal to or greater than `b`, exactly; 2 where one is a NaN.
int compareNumbers(std::int64_t a, double b) noexcept
{
    if (std::isnan(b))
        return 2;
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (b >= limit)
        return -1;
    if (b < -limit)
        return 1;
    const auto whole = static_cast<std::int64_t>(b);
    if (a != whole)
        return a < whole ? -1 : 1;
    const double fraction = b - static_cast<double>(whole);
    return fraction > 0 ? -1 : fraction < 0 ? 1 : 0;
}

bool equalNumbers(const Value &a, const Value &b) noexcept
{
    using Kind = Value::Kind;
    const auto isFloating = [](const Value &value) { return value.kind() == Kind::Double; };
    constexpr auto signedLimit = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const auto isHuge = [](const Value &value) {
        return value.kind() == Kind::UInt64 && *value.getIf<std::uint64_t>() > signedLimit;
    };
    if (isFloating(a) && isFloating(b))
        return *a.getIf<double>() == *b.getIf<double>();
    if (isFloating(a))
        return equalNumbers(b, a);
    if (isFloating(b)) {
        const double number = *b.getIf<double>();
        if (!isHuge(a))
            return compareNumbers(a.longLongValue(), number) == 0;
        return number >= 9223372036854775808.0 && number < 18446744073709551616.0
            && static_cast<std::uint64_t>(number) == a.unsignedLongLongValue();
    }
    if (isHuge(a) || isHuge(b))
        return isHuge(a) && isHuge(b) && a.unsignedLongLongValue() == b.unsignedLongLongValue();
    return a.longLongValue() == b.longLongValue();
}

} // namespace

// A null object of a kind is no value of that kind: it is nil, so that isNil() is the only question to ask.
Value::Value(kelvane::String value) noexcept : _value(value.isNull() ? Kinds() : Kinds(std::move(value))) {}
Value::Value(kelvane::Data value) noexcept : _value(value.isNull() ? Kinds() : Kinds(std::move(value))) {}
Value::Value(kelvane::Date value) noexcept : _value(value.isNull() ? Kinds() : Kinds(value)) {}
Value::Value(kelvane::Array value) noexcept : _value(value.isNull() ? Kinds() : Kinds(std::move(value))) {}
Value::Value(kelvane::Dictionary value) noexcept : _value(value.isNull() ? Kinds() : Kinds(std::move(value))) {}
Value::Value(kelvane::Object value) noexcept : _value(value.isNull() ? Kinds() : Kinds(std::move(value))) {}

std::int32_t Value::intValue() const noexcept
{
    const auto *text = getIf<kelvane::String>();
    return integerOf<std::int32_t>(*this, text ? text->intValue() : 0);
}

std::int64_t Value::longLongValue() const noexcept
{
    const auto *text = getIf<kelvane::String>();
    return integerOf<std::int64_t>(*this, text ? text->longLongValue() : 0);
}

std::uint64_t Value::unsignedLongLongValue() const noexcept
{
    const auto *text = getIf<kelvane::String>();
    return integerOf<std::uint64_t>(*this, text ? text->unsignedLongLongValue() : 0);
}

double Value::doubleValue() const
{
    switch (kind()) {
    case Kind::Bool:
        return *getIf<bool>() ? 1.0 : 0.0;
    case Kind::Int64:
        return static_cast<double>(*getIf<std::int64_t>());
    case Kind::UInt64:
        return static_cast<double>(*getIf<std::uint64_t>());
    case Kind::Double:
        return *getIf<double>();
    case Kind::String:
        return getIf<kelvane::String>()->doubleValue();
    default:
        return 0.0;
    }
}

bool Value::boolValue() const noexcept
{
    switch (kind()) {
    case Kind::Bool:
        return *getIf<bool>();
    case Kind::Double:
        return *getIf<double>() != 0.0;
    case Kind::String:
        return getIf<kelvane::String>()->boolValue();
    default:
        return unsignedLongLongValue() != 0 || longLongValue() != 0;
    }
}

kelvane::String Value::stringValue() const
{
    switch (kind()) {
    case Kind::Bool:
        return *getIf<bool>() ? "1" : "0";
    case Kind::Int64:
        return kelvane::String::number(*getIf<std::int64_t>());
    case Kind::UInt64:
        return kelvane::String::number(*getIf<std::uint64_t>());
    case Kind::Double:
        return textOf(*getIf<double>());
    default:
        return string();
    }
}

kelvane::String Value::description() const
{
    switch (kind()) {
    case Kind::Nil:
        return "(null)";
    case Kind::Null:
        return "<null>";
    case Kind::Data:
        return hexOf(*getIf<kelvane::Data>());
    case Kind::Date:
        return getIf<kelvane::Date>()->description();
    case Kind::Array:
        return getIf<kelvane::Array>()->description();
    case Kind::Dictionary:
        return getIf<kelvane::Dictionary>()->description();
    case Kind::Object: {
        char text[40];
        std::snprintf(text, sizeof text, "<object %p>", getIf<kelvane::Object>()->address());
        return text;
    }
    default:
        return stringValue();
    }
}

bool operator==(const Value &a, const Value &b) noexcept
{
    if (a.isNumber() && b.isNumber())
        return equalNumbers(a, b);
    return a._value == b._value;
}

} // namespace kelvane

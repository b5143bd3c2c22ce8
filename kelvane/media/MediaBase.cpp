// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/MediaBase.h>

#include <concepts>

namespace kelvane {
namespace {

constexpr bool Copied = true;
constexpr bool NotCopied = false;

template <class T>
consteval Value::Kind kindOf()
{
    if constexpr (std::same_as<T, bool>)
        return Value::Kind::Bool;
    else if constexpr (std::signed_integral<T>)
        return Value::Kind::Int64;
    else if constexpr (std::unsigned_integral<T>)
        return Value::Kind::UInt64;
    else if constexpr (std::same_as<T, double>)
        return Value::Kind::Double;
    else if constexpr (std::same_as<T, String>)
        return Value::Kind::String;
    else if constexpr (std::same_as<T, Date>)
        return Value::Kind::Date;
    else if constexpr (std::same_as<T, Size>)
        return Value::Kind::Dictionary;
    else {
        static_assert(std::same_as<T, Object>);
        return Value::Kind::Object;
    }
}

Value toValue(const auto &value)
{
    return value;
}
Value toValue(const Size &size)
{
    return Dictionary{{"width", size.width}, {"height", size.height}};
}

void assign(std::int32_t &field, const Value &value)
{
    field = value.intValue();
}
void assign(std::int64_t &field, const Value &value)
{
    field = value.longLongValue();
}
void assign(std::uint64_t &field, const Value &value)
{
    field = value.unsignedLongLongValue();
}
void assign(double &field, const Value &value)
{
    field = value.doubleValue();
}
void assign(bool &field, const Value &value)
{
    field = value.boolValue();
}
void assign(String &field, const Value &value)
{
    field = value.stringValue();
}
void assign(Object &field, const Value &value)
{
    field = value.object();
}
void assign(Date &field, const Value &value)
{
    field = value.isNumber() ? Date::fromSecondsSince1970(value.doubleValue()) : value.date();
}
void assign(Size &field, const Value &value)
{
    const Dictionary size = value.dictionary();
    field = {size["width"].doubleValue(), size["height"].doubleValue()};
}

} // namespace

std::shared_ptr<MediaBase> MediaBase::newInstance() const
{
    return std::make_shared<MediaBase>();
}

std::shared_ptr<MediaBase> MediaBase::copy() const
{
    auto record = newInstance();
#define FIELD(type, name, setter, initial, copied)                                                                     \
    if constexpr (copied)                                                                                              \
        record->_fields.name = _fields.name;
#include <kelvane/media/detail/MediaBaseFields.def>
    return record;
}

std::span<const MediaField> MediaBase::fields() noexcept
{
#define FIELD(type, name, setter, initial, copied)                                                                     \
    MediaField{#name, kindOf<type>(), copied, [](const MediaBase &record) { return toValue(record._fields.name); },    \
        [](MediaBase &record, const Value &value) { assign(record._fields.name, value); }},
    static constexpr MediaField all[] = {
#include <kelvane/media/detail/MediaBaseFields.def>
    };
    return all;
}

} // namespace kelvane

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

template <class T>
T fromValue(const Value &value)
{
    if constexpr (std::same_as<T, bool>)
        return value.boolValue();
    else if constexpr (std::same_as<T, std::int32_t>)
        return value.intValue();
    else if constexpr (std::same_as<T, std::int64_t>)
        return value.longLongValue();
    else if constexpr (std::same_as<T, std::uint64_t>)
        return value.unsignedLongLongValue();
    else if constexpr (std::same_as<T, double>)
        return value.doubleValue();
    else if constexpr (std::same_as<T, String>)
        return value.stringValue();
    else if constexpr (std::same_as<T, Date>)
        return value.isNumber() ? Date::fromSecondsSince1970(value.doubleValue()) : value.date();
    else if constexpr (std::same_as<T, Size>)
        return {value.dictionary()["width"].doubleValue(), value.dictionary()["height"].doubleValue()};
    else {
        static_assert(std::same_as<T, Object>);
        return value.object();
    }
}

} // namespace

MediaBase::MediaBase() : _shared(detail::Ref<Shared>::adopt(initial())) {}
MediaBase::~MediaBase() = default;

/// The fields of every new record: never counted, never destroyed.
MediaBase::Shared *MediaBase::initial()
{
    static auto *const shared = new Shared(detail::RefCounted::Immortal{});
    return shared;
}

void MediaBase::separate()
{
    auto own = detail::Ref<Shared>::adopt(new Shared);
    own->fields = _shared->fields;
    _shared = std::move(own);
}

std::shared_ptr<MediaBase> MediaBase::newInstance() const
{
    return std::make_shared<MediaBase>();
}

std::shared_ptr<MediaBase> MediaBase::copy() const
{
    auto record = newInstance();
    record->_shared = _shared;
    return record;
}

std::span<const MediaField> MediaBase::fields() noexcept
{
#define FIELD(type, name, setter, initial, copied)                                                                     \
    MediaField{#name, kindOf<type>(), copied, [](const MediaBase &record) { return toValue(record.name()); },          \
        [](MediaBase &record, const Value &value) { record.setter(fromValue<type>(value)); }},
    static constexpr MediaField all[] = {
#include <kelvane/media/detail/MediaBaseFields.def>
    };
    return all;
}

} // namespace kelvane

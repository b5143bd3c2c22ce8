// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/Object.h>
#include <kelvane/foundation/String.h>

#include <concepts>
#include <variant>

namespace kelvane {

/// The null object: a value that says "nothing here", as an SQL NULL or an empty slot does.
struct NullObject {
    friend bool operator==(NullObject, NullObject) = default;
};

/// A value of any of the kinds that travel through dictionaries, result rows and property lists. 16 bytes.
///
/// Nil and the null object are different: nil is no value at all (a missing key), the null object is a value (an SQL
/// NULL). A null String, Data, Date, Array, Dictionary or Object makes nil.
///
/// Threads: a Value belongs to one thread at a time; what it shares with copies may be read by any number of them.
/// Errors: conversions never fail; where the value has no such reading they give 0, false, null.
class KELVANE_EXPORT Value {
public:
    enum class Kind { Nil, Null, Bool, Int64, UInt64, Double, String, Data, Date, Array, Dictionary, Object };

    /// Nil.
    Value() noexcept = default;
    Value(std::nullptr_t) noexcept {}
    Value(NullObject) noexcept : _value(NullObject{}) {}
    Value(std::same_as<bool> auto value) noexcept : _value(value) {}
    template <std::signed_integral Integer>
    Value(Integer value) noexcept : _value(static_cast<std::int64_t>(value))
    {
    }
    template <std::unsigned_integral Integer>
    requires(!std::same_as<Integer, bool>) Value(Integer value)
    noexcept : _value(static_cast<std::uint64_t>(value)) {}
    Value(double value) noexcept : _value(value) {}
    Value(String value) noexcept;
    Value(const char *value) : Value(kelvane::String(value)) {}
    Value(Data value) noexcept;
    Value(Date value) noexcept;
    Value(Array value) noexcept;
    Value(Dictionary value) noexcept;
    Value(Object value) noexcept;

    [[nodiscard]] Kind kind() const noexcept { return static_cast<Kind>(_value.index()); }
    [[nodiscard]] bool isNil() const noexcept { return kind() == Kind::Nil; }
    [[nodiscard]] bool isNullObject() const noexcept { return kind() == Kind::Null; }
    /// Neither nil nor the null object.
    [[nodiscard]] bool isPresent() const noexcept { return kind() > Kind::Null; }
    /// A bool, an integer or a double.
    [[nodiscard]] bool isNumber() const noexcept { return kind() >= Kind::Bool && kind() <= Kind::Double; }

    /// The value where it is of exactly this kind (NullObject, bool, std::int64_t, std::uint64_t, double, String,
    /// Data, Date, Array, Dictionary or Object), else a null pointer. Valid until this Value changes.
    template <class T>
    [[nodiscard]] const T *getIf() const noexcept
    {
        return std::get_if<T>(&_value);
    }
    /// The same as a nullable copy: null where the value is of another kind.
    [[nodiscard]] kelvane::String string() const { return orNull<kelvane::String>(); }
    [[nodiscard]] kelvane::Data data() const { return orNull<kelvane::Data>(); }
    [[nodiscard]] kelvane::Date date() const { return orNull<kelvane::Date>(); }
    [[nodiscard]] kelvane::Array array() const { return orNull<kelvane::Array>(); }
    [[nodiscard]] kelvane::Dictionary dictionary() const { return orNull<kelvane::Dictionary>(); }
    [[nodiscard]] kelvane::Object object() const { return orNull<kelvane::Object>(); }

    /// Conversions of a number, or of the number that a text begins with. Integers are cut towards zero and take the
    /// nearest limit where they do not fit; a NaN gives 0; a number is true unless it is 0.
    [[nodiscard]] std::int32_t intValue() const noexcept;
    [[nodiscard]] std::int64_t longLongValue() const noexcept;
    [[nodiscard]] std::uint64_t unsignedLongLongValue() const noexcept;
    [[nodiscard]] double doubleValue() const;
    [[nodiscard]] bool boolValue() const noexcept;
    /// A text as it is, a number as its text (true as "1"), else null.
    [[nodiscard]] kelvane::String stringValue() const;

    /// The value as text for people and log lines: "(null)" for nil, "<null>" for the null object.
    [[nodiscard]] kelvane::String description() const;

    /// Same kind and equal content; numbers of different kinds are equal where they are the same number. Objects are
    /// equal only to themselves.
    friend KELVANE_EXPORT bool operator==(const Value &a, const Value &b) noexcept;

private:
    template <class T>
    [[nodiscard]] T orNull() const
    {
        const T *value = getIf<T>();
        return value ? *value : T();
    }

    // In the order of Kind.
    using Kinds = std::variant<std::monostate, NullObject, bool, std::int64_t, std::uint64_t, double, kelvane::String,
        kelvane::Data, kelvane::Date, kelvane::Array, kelvane::Dictionary, kelvane::Object>;
    Kinds _value;
};

static_assert(sizeof(Value) == 16);

} // namespace kelvane

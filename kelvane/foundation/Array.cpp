// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Array.h>

#include <kelvane/foundation/Value.h>

#include <algorithm>
#include <cassert>
#include <string>
#include <vector>

namespace kelvane {

struct Array::Rep : detail::RefCounted {
    std::vector<Value> values;

    static void destroy(const Rep *rep) noexcept { delete rep; }
};

namespace {

Value element(Value value)
{
    return value.isNil() ? Value(NullObject{}) : std::move(value);
}

} // namespace

Array::Array() noexcept = default;
Array::Array(std::nullptr_t) noexcept {}

Array::Array(std::initializer_list<Value> values)
{
    auto &elements = writable().values;
    elements.reserve(values.size());
    for (const auto &value : values)
        elements.push_back(element(value));
}

Array::Array(const Array &other) noexcept = default;
Array::Array(Array &&other) noexcept = default;
Array &Array::operator=(const Array &other) noexcept = default;
Array &Array::operator=(Array &&other) noexcept = default;
Array::~Array() = default;

Array Array::empty()
{
    Array array;
    array.writable();
    return array;
}

Array Array::of(std::span<const Value> values)
{
    Array array = empty();
    array.reserve(values.size());
    for (const auto &value : values)
        array.append(value);
    return array;
}

std::size_t Array::size() const noexcept
{
    return _rep ? _rep->values.size() : 0;
}

const Value &Array::operator[](std::size_t index) const noexcept
{
    assert(index < size());
    return _rep->values[index];
}

const Value *Array::begin() const noexcept
{
    return _rep ? _rep->values.data() : nullptr;
}

const Value *Array::end() const noexcept
{
    return begin() + size();
}

bool Array::contains(const Value &value) const noexcept
{
    return std::find(begin(), end(), value) != end();
}

void Array::reserve(std::size_t count)
{
    writable().values.reserve(count);
}

void Array::append(Value value)
{
    auto &values = writable().values;
    if (value.isNil())
        values.emplace_back(NullObject{});
    else
        values.push_back(std::move(value));
}

void Array::insert(std::size_t index, Value value)
{
    assert(index <= size());
    auto &values = writable().values;
    values.insert(values.begin() + static_cast<std::ptrdiff_t>(index), element(std::move(value)));
}

void Array::set(std::size_t index, Value value)
{
    assert(index < size());
    writable().values[index] = element(std::move(value));
}

void Array::removeAt(std::size_t index)
{
    assert(index < size());
    auto &values = writable().values;
    values.erase(values.begin() + static_cast<std::ptrdiff_t>(index));
}

String Array::description() const
{
    if (isNull())
        return "(null)";
    std::string text = "(";
    for (const auto &value : *this) {
        if (text.size() > 1)
            text += ", ";
        text += value.description().view();
    }
    return text += ")";
}

Array::Rep &Array::writable()
{
    if (!_rep) {
        _rep = detail::Ref<Rep>::adopt(new Rep);
    } else if (!_rep->isUnique()) {
        auto copy = detail::Ref<Rep>::adopt(new Rep);
        copy->values = _rep->values;
        _rep = std::move(copy);
    }
    return *_rep;
}

bool operator==(const Array &a, const Array &b) noexcept
{
    return isSameObject(a, b) || (a.isNull() == b.isNull() && std::equal(a.begin(), a.end(), b.begin(), b.end()));
}

} // namespace kelvane

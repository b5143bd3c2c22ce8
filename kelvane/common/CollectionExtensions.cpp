// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/CollectionExtensions.h>

#include <kelvane/common/StringExtensions.h>
#include <kelvane/platform/FileHandle.h>
#include <kelvane/platform/PropertyList.h>

#include <algorithm>
#include <span>

namespace kelvane {

bool containsKey(const Dictionary &dictionary, const String &key) noexcept
{
    return !key.isNull() && dictionary.contains(key.view());
}

Data toBinData(const Dictionary &dictionary)
{
    return PropertyList::toBinary(dictionary);
}

Data toXmlData(const Dictionary &dictionary)
{
    const Data xml = PropertyList::toXml(dictionary);
    return String::fromUtf8(xml.view()).isNull() ? Data() : xml;
}

void setKey(Dictionary &dictionary, const String &key, const Value &value)
{
    if (!key.isNull() && !value.isNil())
        dictionary.set(key, value);
}

Value firstObject(const Array &array)
{
    return array.isEmpty() ? Value() : array[0];
}

Value find(const Array &array, const Block<int(const Value &, const Value &)> &compare)
{
    // The array is held, because the comparison may change the caller's.
    const Array held = array; // NOLINT(performance-unnecessary-copy-initialization)
    const Value *first =
        std::min_element(held.begin(), held.end(), [&](const Value &a, const Value &b) { return compare(a, b) < 0; });
    return first == held.end() ? Value() : *first;
}

Array trimObject(const Array &array)
{
    if (array.isNull())
        return {};
    Array trimmed = Array::empty();
    for (const Value &value : array) {
        String text = trim(value.string());
        if (!text.isEmpty())
            trimmed.append(std::move(text));
    }
    return trimmed;
}

Dictionary fromXmlData(const Data &data)
{
    return data.isNull() ? Dictionary() : PropertyList::readStringsFile(String::fromUtf8(data.view()));
}

Value fromBinData(const Data &data)
{
    return PropertyList::read(data);
}

Value fromData(const Data &data)
{
    Value pairs = fromXmlData(data);
    return pairs.isNil() ? fromBinData(data) : pairs;
}

std::optional<std::int32_t> readInt32(FileHandle &handle) noexcept
{
    std::int32_t value = 0;
    if (!handle.read(std::as_writable_bytes(std::span(&value, 1))))
        return std::nullopt;
    return value;
}

bool writeInt(FileHandle &handle, std::int32_t value) noexcept
{
    return handle.write(std::as_bytes(std::span(&value, 1)));
}

} // namespace kelvane

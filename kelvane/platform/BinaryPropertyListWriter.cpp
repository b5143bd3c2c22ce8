// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/BinaryPropertyList_p.h>

#include <kelvane/platform/PropertyList.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace kelvane::detail {

namespace {

void appendNumber(std::string &out, std::uint64_t value, std::size_t size)
{
    for (std::size_t i = size; i > 0; --i)
        out.push_back(static_cast<char>(static_cast<unsigned char>(value >> (8 * (i - 1)))));
}

/// The fewest of 1, 2, 4 and 8 bytes that hold `value`.
std::size_t sizeOf(std::uint64_t value) noexcept
{
    return value <= 0xFF ? 1 : value <= 0xFFFF ? 2 : value <= 0xFFFFFFFF ? 4 : 8;
}

std::string integerObject(std::uint64_t value)
{
    const std::size_t size = sizeOf(value);
    std::string object(1, static_cast<char>(0x10 | std::countr_zero(size)));
    appendNumber(object, value, size);
    return object;
}

/// The marker of an object of `count` bytes, units or elements.
std::string marker(unsigned kind, std::size_t count)
{
    std::string bytes(1, static_cast<char>(static_cast<unsigned char>(kind << 4 | std::min<std::size_t>(count, 15))));
    return count < 15 ? bytes : bytes + integerObject(count);
}

/// Collects the objects first, because the size of a reference depends on how many there are.
class BinaryWriter {
public:
    Data write(const Value &value) { return add(value, 0) ? assemble() : Data(); }

private:
    struct Entry {
        std::string bytes; ///< all of a leaf, the marker of a container
        std::vector<std::size_t> references;
    };

    /// Adds `value` and all that is in it, and remembers its number in `_last`.
    bool add(const Value &value, int depth)
    {
        switch (value.kind()) {
        case Value::Kind::String:
            addText(value.string());
            return true;
        case Value::Kind::Array:
            return depth < PropertyList::deepest && addArray(*value.getIf<Array>(), depth);
        case Value::Kind::Dictionary:
            return depth < PropertyList::deepest && addDictionary(*value.getIf<Dictionary>(), depth);
        default:
            return addLeaf(value);
        }
    }

    void addEntry(std::string bytes)
    {
        _last = _entries.size();
        _entries.push_back({std::move(bytes), {}});
    }

    bool addLeaf(const Value &value)
    {
        switch (value.kind()) {
        case Value::Kind::Bool:
            addEntry(std::string(1, *value.getIf<bool>() ? '\x09' : '\x08'));
            return true;
        case Value::Kind::Int64:
        case Value::Kind::UInt64:
            addInteger(value);
            return true;
        case Value::Kind::Double:
            addBits('\x23', value.doubleValue());
            return true;
        case Value::Kind::Date:
            addBits('\x33', value.date().secondsSince2001());
            return true;
        case Value::Kind::Data:
            addEntry(marker(4, value.data().size()).append(value.data().view()));
            return true;
        default:
            return false;
        }
    }

    void addInteger(const Value &value)
    {
        const std::uint64_t bits = value.kind() == Value::Kind::UInt64
            ? value.unsignedLongLongValue()
            : static_cast<std::uint64_t>(value.longLongValue());
        if (value.kind() == Value::Kind::UInt64 && static_cast<std::int64_t>(bits) < 0) {
            std::string object(1, '\x14'); // 16 bytes: 8 would read as a negative number
            appendNumber(object, 0, 8);
            appendNumber(object, bits, 8);
            addEntry(std::move(object));
        } else {
            addEntry(integerObject(bits));
        }
    }

    void addBits(char markerByte, double value)
    {
        std::string object(1, markerByte);
        appendNumber(object, std::bit_cast<std::uint64_t>(value), 8);
        addEntry(std::move(object));
    }

    void addText(const String &text)
    {
        const auto [known, isNew] = _texts.try_emplace(text, _entries.size());
        _last = known->second;
        if (!isNew)
            return;
        if (std::ranges::all_of(text.view(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
            addEntry(marker(5, text.size()).append(text.view()));
            return;
        }
        const std::u16string units = text.toUtf16();
        std::string object = marker(6, units.size());
        for (const char16_t unit : units)
            appendNumber(object, unit, 2);
        addEntry(std::move(object));
    }

    bool addArray(const Array &array, int depth)
    {
        const std::size_t self = _entries.size();
        addEntry(marker(0xA, array.size()));
        std::vector<std::size_t> references;
        references.reserve(array.size());
        for (const Value &value : array) {
            if (!add(value, depth + 1))
                return false;
            references.push_back(_last);
        }
        _entries[self].references = std::move(references);
        _last = self;
        return true;
    }

    bool addDictionary(const Dictionary &dictionary, int depth)
    {
        const std::size_t self = _entries.size();
        addEntry(marker(0xD, dictionary.size()));
        std::vector<std::size_t> references(dictionary.size() * 2);
        for (std::size_t i = 0; i < dictionary.size(); ++i) {
            addText(dictionary.keyAt(i));
            references[i] = _last;
            if (!add(dictionary.valueAt(i), depth + 1))
                return false;
            references[dictionary.size() + i] = _last;
        }
        _entries[self].references = std::move(references);
        _last = self;
        return true;
    }

    [[nodiscard]] Data assemble() const
    {
        const std::size_t referenceSize = sizeOf(_entries.size());
        std::string out(binaryPropertyListMagic);
        std::vector<std::size_t> offsets;
        offsets.reserve(_entries.size());
        for (const Entry &entry : _entries) {
            offsets.push_back(out.size());
            out += entry.bytes;
            for (const std::size_t reference : entry.references)
                appendNumber(out, reference, referenceSize);
        }
        const std::size_t table = out.size();
        const std::size_t offsetSize = sizeOf(table);
        for (const std::size_t offset : offsets)
            appendNumber(out, offset, offsetSize);
        appendNumber(out, 0, 6);
        appendNumber(out, offsetSize, 1);
        appendNumber(out, referenceSize, 1);
        appendNumber(out, _entries.size(), 8);
        appendNumber(out, 0, 8); // the first object is the outermost one
        appendNumber(out, table, 8);
        return Data(out.data(), out.size());
    }

    std::vector<Entry> _entries;
    std::unordered_map<String, std::size_t> _texts; ///< the number of each text: keys come again and again
    std::size_t _last = 0;
};

} // namespace

Data writeBinaryPropertyList(const Value &value)
{
    return BinaryWriter().write(value);
}

} // namespace kelvane::detail

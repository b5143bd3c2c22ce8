// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/BinaryPropertyList_p.h>

#include <kelvane/platform/PropertyList.h>

#include <array>
#include <bit>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// What keeps it linear: texts and data are read once and shared by all that refer to them; containers are read anew
// for each reference, and the number of values is limited by the size of the input. That refuses lists whose
// containers refer to one another over and over, and cycles.

namespace kelvane::detail {

namespace {

/// The big-endian number of up to 8 bytes.
std::uint64_t number(std::string_view bytes) noexcept
{
    std::uint64_t value = 0;
    for (const char c : bytes)
        value = value << 8 | static_cast<unsigned char>(c);
    return value;
}

class BinaryReader {
public:
    explicit BinaryReader(std::string_view bytes) noexcept : _bytes(bytes), _valuesLeft(bytes.size() * 4) {}

    Value read()
    {
        if (!readTrailer())
            return {};
        _leaves.resize(static_cast<std::size_t>(_objectCount));
        return object(_top, 0);
    }

private:
    /// `count` bytes at `offset`, or nothing. Both may come straight from the file.
    [[nodiscard]] std::optional<std::string_view> take(std::uint64_t offset, std::uint64_t count) const noexcept
    {
        if (offset > _bytes.size() || count > _bytes.size() - offset)
            return std::nullopt;
        return _bytes.substr(static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
    }

    bool readTrailer() noexcept
    {
        if (_bytes.size() < binaryPropertyListMagic.size() + binaryPropertyListTrailer)
            return false;
        const auto trailer = _bytes.substr(_bytes.size() - binaryPropertyListTrailer);
        _bytes.remove_suffix(binaryPropertyListTrailer);
        const std::uint64_t offsetSize = number(trailer.substr(6, 1));
        _referenceSize = static_cast<std::size_t>(number(trailer.substr(7, 1)));
        _objectCount = number(trailer.substr(8, 8));
        _top = number(trailer.substr(16, 8));
        const std::uint64_t tableOffset = number(trailer.substr(24, 8));
        if (offsetSize < 1 || offsetSize > 8 || _referenceSize < 1 || _referenceSize > 8
            || _objectCount > _bytes.size() / offsetSize)
            return false;
        const auto table = take(tableOffset, _objectCount * offsetSize);
        if (!table)
            return false;
        _table = *table;
        _offsetSize = static_cast<std::size_t>(offsetSize);
        return true;
    }

    /// Object number `index`, which lies inside `depth` containers.
    Value object(std::uint64_t index, int depth)
    {
        if (index >= _objectCount || depth > PropertyList::deepest || _valuesLeft == 0)
            return {};
        --_valuesLeft;
        const auto place = static_cast<std::size_t>(index);
        if (!_leaves[place].isNil())
            return _leaves[place];
        const std::uint64_t offset = number(_table.substr(place * _offsetSize, _offsetSize));
        const auto marker = take(offset, 1);
        if (!marker)
            return {};
        const auto byte = static_cast<unsigned char>(marker->front());
        const unsigned kind = byte >> 4;
        const unsigned low = byte & 15U;
        if (kind == 0xA || kind == 0xC)
            return array(offset + 1, low, depth);
        if (kind == 0xD)
            return dictionary(offset + 1, low, depth);
        return _leaves[place] = leaf(offset + 1, kind, low);
    }

    Value leaf(std::uint64_t offset, unsigned kind, unsigned low)
    {
        switch (kind) {
        case 0x0:
            return low == 8 ? Value(false) : low == 9 ? Value(true) : Value();
        case 0x1:
            return integer(offset, low);
        case 0x2:
            return real(offset, low);
        case 0x3:
            return low == 3 ? date(offset) : Value();
        case 0x8:
            return uid(offset, low);
        default:
            return sizedLeaf(offset, kind, low);
        }
    }

    Value integer(std::uint64_t offset, unsigned low) const
    {
        const auto bytes = take(offset, std::uint64_t{1} << low);
        if (low > 4 || !bytes)
            return {};
        // Up to 4 bytes are unsigned, 8 are signed, 16 hold what is beyond the signed range.
        const std::uint64_t value = number(bytes->substr(bytes->size() > 8 ? bytes->size() - 8 : 0));
        if (low == 4 && static_cast<std::int64_t>(value) < 0 && number(bytes->substr(0, 8)) == 0)
            return value;
        return static_cast<std::int64_t>(value);
    }

    Value real(std::uint64_t offset, unsigned low) const
    {
        const auto bytes = take(offset, std::uint64_t{1} << low);
        if ((low != 2 && low != 3) || !bytes)
            return {};
        if (low == 2)
            return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(number(*bytes))));
        return std::bit_cast<double>(number(*bytes));
    }

    Value date(std::uint64_t offset) const
    {
        const auto bytes = take(offset, 8);
        return bytes ? Value(Date(std::bit_cast<double>(number(*bytes)))) : Value();
    }

    Value uid(std::uint64_t offset, unsigned low) const
    {
        const auto bytes = take(offset, low + 1);
        if (!bytes || bytes->size() > 8)
            return {};
        return Dictionary{{"CF$UID", static_cast<std::int64_t>(number(*bytes))}};
    }

    /// A count of 15 stands for an integer object that follows and holds the count.
    bool readCount(std::uint64_t &offset, unsigned low, std::uint64_t &count) const noexcept
    {
        count = low;
        if (low != 15)
            return true;
        const auto marker = take(offset, 1);
        if (!marker || (static_cast<unsigned char>(marker->front()) & 0xFCU) != 0x10)
            return false;
        const std::uint64_t size = std::uint64_t{1} << (static_cast<unsigned char>(marker->front()) & 3U);
        const auto bytes = take(offset + 1, size);
        if (!bytes)
            return false;
        count = number(*bytes);
        offset += 1 + size;
        return count <= _bytes.size();
    }

    Value sizedLeaf(std::uint64_t offset, unsigned kind, unsigned low) const
    {
        std::uint64_t count = 0;
        if (kind < 0x4 || kind > 0x7 || !readCount(offset, low, count))
            return {};
        const auto bytes = take(offset, kind == 0x6 ? count * 2 : count);
        if (!bytes)
            return {};
        if (kind == 0x4)
            return Data(bytes->data(), bytes->size());
        if (kind != 0x6)
            return String::fromUtf8(*bytes);
        std::u16string units;
        units.reserve(bytes->size() / 2);
        for (std::size_t i = 0; i < bytes->size(); i += 2)
            units.push_back(static_cast<char16_t>(number(bytes->substr(i, 2))));
        return String::fromUtf16(units);
    }

    [[nodiscard]] std::uint64_t reference(std::string_view references, std::uint64_t index) const noexcept
    {
        return number(references.substr(static_cast<std::size_t>(index) * _referenceSize, _referenceSize));
    }

    Value array(std::uint64_t offset, unsigned low, int depth)
    {
        std::uint64_t count = 0;
        if (!readCount(offset, low, count))
            return {};
        const auto references = take(offset, count * _referenceSize);
        if (!references)
            return {};
        Array values = Array::empty();
        for (std::uint64_t i = 0; i < count; ++i) {
            Value value = object(reference(*references, i), depth + 1);
            if (value.isNil())
                return {};
            values.append(std::move(value));
        }
        return values;
    }

    Value dictionary(std::uint64_t offset, unsigned low, int depth)
    {
        std::uint64_t count = 0;
        if (!readCount(offset, low, count))
            return {};
        const auto references = take(offset, count * 2 * _referenceSize);
        if (!references)
            return {};
        const auto names = references->substr(0, static_cast<std::size_t>(count) * _referenceSize);
        const auto keys = keySet(names, depth);
        if (!keys)
            return {};
        bool isWhole = true;
        const auto valueAt = [&](std::uint64_t place) {
            Value value = object(reference(*references, count + place), depth + 1);
            isWhole = isWhole && !value.isNil();
            return value.isNil() ? Value(NullObject{}) : value;
        };
        Dictionary values;
        if (keys->size() == count) {
            values = Dictionary::of(*keys, valueAt);
        } else { // a name more than once: its last value stays
            values = Dictionary::empty();
            for (std::uint64_t i = 0; i < count && isWhole; ++i) {
                const String name = object(reference(names, i), depth + 1).string();
                isWhole = !name.isNull(); // what was a text may be one value too many now
                if (isWhole)
                    values.set(name, valueAt(i));
            }
        }
        return isWhole ? Value(std::move(values)) : Value();
    }

    /// The names that `references` are to, which lie inside the container at `depth`; nothing where one is no text.
    /// Records of one kind refer to the same names, and then have one set of them.
    std::optional<Dictionary::KeySet> keySet(std::string_view references, int depth)
    {
        KnownNames &known = _knownNames[std::hash<std::string_view>{}(references) % _knownNames.size()];
        if (known.keys && known.references == references)
            return known.keys;
        std::vector<String> names;
        names.reserve(references.size() / _referenceSize);
        for (std::uint64_t i = 0; i < references.size() / _referenceSize; ++i) {
            names.push_back(object(reference(references, i), depth + 1).string());
            if (names.back().isNull())
                return std::nullopt;
        }
        known = {references, Dictionary::KeySet(names)};
        return known.keys;
    }

    struct KnownNames {
        std::string_view references;
        std::optional<Dictionary::KeySet> keys = {};
    };

    std::string_view _bytes;
    std::string_view _table; ///< offsets of the objects
    std::size_t _offsetSize = 0;
    std::size_t _referenceSize = 0;
    std::uint64_t _objectCount = 0;
    std::uint64_t _top = 0;
    std::size_t _valuesLeft;
    std::vector<Value> _leaves; ///< what was read already, containers left out
    std::array<KnownNames, 16> _knownNames; ///< at the place of their hash: a later one takes the place of an earlier
};

} // namespace

Value readBinaryPropertyList(std::string_view bytes)
{
    return bytes.starts_with("bplist0") ? BinaryReader(bytes).read() : Value();
}

} // namespace kelvane::detail

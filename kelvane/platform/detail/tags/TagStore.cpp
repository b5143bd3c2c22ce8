// SPDX-License-Identifier: Apache-2.0
#include "TagStore.h"

#include <string>
#include <string_view>
#include <utility>

namespace kelvane::detail {
namespace {

/// The key whose text may hold both numbers, for the two kinds of totals; the key itself for all others.
TagKey numberOf(TagKey key)
{
    if (key == TagKey::TrackTotal)
        return TagKey::TrackNumber;
    return key == TagKey::DiscTotal ? TagKey::DiscNumber : key;
}

struct Pair {
    std::int64_t number = 0;
    std::int64_t total = 0;
    bool hasTotal = false;
};

Pair pairOf(const TagLib::String &text)
{
    const String numbers = toKelvane(text);
    const auto slash = numbers.view().find('/');
    if (slash == std::string_view::npos)
        return {numbers.longLongValue()};
    return {String(numbers.view().substr(0, slash)).longLongValue(),
        String(numbers.view().substr(slash + 1)).longLongValue(), true};
}

TagLib::String textOf(const Pair &pair)
{
    if (pair.total > 0)
        return std::to_string(pair.number) + "/" + std::to_string(pair.total);
    return pair.number > 0 ? std::to_string(pair.number) : std::string();
}

Value numberOrNil(std::int64_t number)
{
    return number == 0 ? Value() : Value(number);
}

} // namespace

Value TextStore::read(TagKey key) const
{
    if (numberOf(key) != key) {
        if (const Pair pair = pairOf(text(numberOf(key))); pair.total != 0)
            return pair.total;
    }
    const TagLib::String found = text(key);
    if (found.isEmpty())
        return nullptr;
    return isNumber(key) ? numberOrNil(toKelvane(found).longLongValue()) : Value(toKelvane(found));
}

void TextStore::write(TagKey key, const Value &value)
{
    if (!isNumber(key)) {
        setText(key, toTagLib(value.string()));
        return;
    }
    const std::int64_t number = value.longLongValue();
    const TagKey both = numberOf(key);
    Pair pair = pairOf(text(both));
    if (both != key && (pair.hasTotal || (writesPairs() && text(key).isEmpty()))) {
        pair.total = number;
        setText(both, textOf(pair));
    } else if ((key == TagKey::TrackNumber || key == TagKey::DiscNumber) && pair.hasTotal) {
        pair.number = number;
        setText(key, textOf(pair));
    } else {
        setText(key, number == 0 ? std::string() : std::to_string(number));
    }
}

String toKelvane(const TagLib::String &text)
{
    std::string utf8 = text.to8Bit(true);
    if (!utf8.empty() || text.isEmpty())
        return String(std::move(utf8));
    // The tag library gives a whole text up for half a surrogate pair, which is what writers leave that cut a text after
    // so many units.
    return String::fromUtf16(std::u16string(text.begin(), text.end())).toValidUtf8();
}

TagLib::String toTagLib(const String &text)
{
    return TagLib::String(text.toValidUtf8().str(), TagLib::String::UTF8);
}

Data toData(const TagLib::ByteVector &bytes)
{
    return bytes.isEmpty() ? Data() : Data(bytes.data(), bytes.size());
}

TagLib::String joined(const TagLib::StringList &texts)
{
    return texts.toString(", ");
}

} // namespace kelvane::detail

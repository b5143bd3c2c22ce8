// SPDX-License-Identifier: Apache-2.0
#include <kelvane/foundation/Dictionary.h>

#include <kelvane/foundation/Value.h>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <vector>

namespace kelvane {

/// Names in order, with an open-addressing table of places once there are too many to compare one by one.
struct KELVANE_HIDDEN Dictionary::KeySet::Rep : detail::RefCounted {
    static constexpr std::size_t linearLimit = 8;
    static constexpr std::uint32_t free = 0xFFFFFFFFU;

    /// The hash stands beside the place, so that the names themselves, which lie anywhere in memory, are read only when
    /// they are the ones looked for: neither for others on the way nor when the table grows.
    struct Slot {
        std::uint32_t place = free;
        std::uint32_t hash = 0;
    };

    std::vector<String> names;
    std::vector<Slot> slots; // a power of two, at most half full; empty up to linearLimit names

    Rep() = default;
    explicit Rep(const Rep &other) : RefCounted(), names(other.names), slots(other.slots) {}
    static void destroy(const Rep *rep) noexcept { delete rep; }

    [[nodiscard]] std::size_t indexOf(std::string_view name) const noexcept
    {
        if (slots.empty()) {
            const auto found =
                std::find_if(names.begin(), names.end(), [&](const String &other) { return other.view() == name; });
            return static_cast<std::size_t>(found - names.begin());
        }
        const std::uint32_t place = slots[slotOf(name, hashOf(name))].place;
        return place == free ? names.size() : place;
    }

    /// Changes nothing where it throws.
    void append(const String &name)
    {
        const bool isIndexed = names.size() >= linearLimit;
        if (isIndexed && (names.size() + 1) * 2 > slots.size())
            grow();
        names.push_back(name);
        if (!isIndexed)
            return;
        const std::uint32_t hash = hashOf(name.view());
        slots[slotOf(name.view(), hash)] = {static_cast<std::uint32_t>(names.size() - 1), hash};
    }

    /// Fills the place of the removed name with the last one: constant time, at the price of the order.
    void removeAt(std::size_t index)
    {
        if (!slots.empty())
            freeSlot(slotOfPlace(index));
        if (index + 1 < names.size()) {
            if (!slots.empty())
                slots[slotOfPlace(names.size() - 1)].place = static_cast<std::uint32_t>(index);
            names[index] = std::move(names.back());
        }
        names.pop_back();
        if (names.size() <= linearLimit)
            slots.clear();
    }

private:
    [[nodiscard]] static std::uint32_t hashOf(std::string_view name) noexcept
    {
        return static_cast<std::uint32_t>(std::hash<std::string_view>{}(name));
    }
    [[nodiscard]] std::size_t mask() const noexcept { return slots.size() - 1; }
    /// The slot that holds `name`, or the free one where it would go.
    [[nodiscard]] std::size_t slotOf(std::string_view name, std::uint32_t hash) const noexcept
    {
        std::size_t slot = hash & mask();
        while (slots[slot].place != free && (slots[slot].hash != hash || names[slots[slot].place].view() != name))
            slot = (slot + 1) & mask();
        return slot;
    }
    [[nodiscard]] std::size_t slotOfPlace(std::size_t place) const noexcept
    {
        return slotOf(names[place].view(), hashOf(names[place].view()));
    }
    /// Frees a slot and closes the gap, so that no search ends too early (Knuth's algorithm R).
    void freeSlot(std::size_t gap) noexcept
    {
        slots[gap] = {};
        for (std::size_t slot = (gap + 1) & mask(); slots[slot].place != free; slot = (slot + 1) & mask()) {
            const std::size_t distance = (slot - slots[slot].hash) & mask();
            if (distance < ((slot - gap) & mask()))
                continue;
            std::swap(slots[gap], slots[slot]);
            gap = slot;
        }
    }
    /// Makes the first table, or one of twice the size.
    void grow()
    {
        std::vector<Slot> smaller(std::max<std::size_t>(32, slots.size() * 2));
        smaller.swap(slots);
        const auto enter = [this](Slot entry) {
            std::size_t slot = entry.hash & mask();
            while (slots[slot].place != free)
                slot = (slot + 1) & mask();
            slots[slot] = entry;
        };
        if (smaller.empty())
            for (std::size_t place = 0; place < names.size(); ++place)
                enter({static_cast<std::uint32_t>(place), hashOf(names[place].view())});
        for (const Slot &entry : smaller)
            if (entry.place != free)
                enter(entry);
    }
};

Dictionary::KeySet::KeySet(std::span<const String> names) : _rep(detail::Ref<Rep>::adopt(new Rep))
{
    for (const auto &name : names)
        if (_rep->indexOf(name.view()) == _rep->names.size())
            _rep->append(name);
}

Dictionary::KeySet::KeySet(const KeySet &other) noexcept = default;
Dictionary::KeySet &Dictionary::KeySet::operator=(const KeySet &other) noexcept = default;
Dictionary::KeySet::~KeySet() = default;

std::size_t Dictionary::KeySet::size() const noexcept
{
    return _rep->names.size();
}

std::size_t Dictionary::KeySet::indexOf(std::string_view name) const noexcept
{
    return _rep->indexOf(name);
}

/// The values follow in the same allocation: a row of a result is one.
struct Dictionary::Rep : detail::RefCounted {
    std::uint32_t count = 0;
    std::uint32_t capacity;
    detail::Ref<KeySet::Rep> keys;

    explicit Rep(std::uint32_t room) noexcept : capacity(room) {}
    ~Rep() { std::destroy_n(values(), count); }

    static detail::Ref<Rep> create(std::size_t capacity)
    {
        static_assert(alignof(Value) <= alignof(Rep) && sizeof(Rep) % alignof(Value) == 0);
        if (capacity > std::numeric_limits<std::uint32_t>::max())
            throw std::bad_alloc();
        void *const memory = ::operator new(sizeof(Rep) + capacity * sizeof(Value));
        return detail::Ref<Rep>::adopt(new (memory) Rep(static_cast<std::uint32_t>(capacity)));
    }
    static void destroy(const Rep *rep) noexcept
    {
        rep->~Rep();
        ::operator delete(const_cast<Rep *>(rep));
    }

    // values()[i] belongs to keys->names[i]
    [[nodiscard]] Value *values() noexcept { return reinterpret_cast<Value *>(this + 1); }

    void append(Value &&value) noexcept
    {
        assert(count < capacity);
        new (values() + count) Value(std::move(value));
        ++count;
    }
    /// Fills the place of the removed value with the last one.
    void removeAt(std::size_t index) noexcept
    {
        if (index + 1 < count)
            values()[index] = std::move(values()[count - 1]);
        std::destroy_at(values() + --count);
    }

    [[nodiscard]] KeySet::Rep &writableKeys()
    {
        if (!keys->isUnique())
            keys = detail::Ref<KeySet::Rep>::adopt(new KeySet::Rep(*keys));
        return *keys;
    }
};

namespace {
const Value nil;
}

Dictionary::Dictionary() noexcept = default;
Dictionary::Dictionary(std::nullptr_t) noexcept {}

Dictionary::Dictionary(std::initializer_list<Entry> entries)
{
    writable(entries.size());
    for (const auto &[key, value] : entries)
        set(key, value);
}

Dictionary::Room Dictionary::makeRoom(const KeySet &keys)
{
    _rep = Rep::create(keys.size());
    _rep->keys = keys._rep;
    return {_rep->values(), &_rep->count};
}

Dictionary::Dictionary(const Dictionary &other) noexcept = default;
Dictionary::Dictionary(Dictionary &&other) noexcept = default;
Dictionary &Dictionary::operator=(const Dictionary &other) noexcept = default;
Dictionary &Dictionary::operator=(Dictionary &&other) noexcept = default;
Dictionary::~Dictionary() = default;

Dictionary Dictionary::empty()
{
    Dictionary dictionary;
    dictionary.writable();
    return dictionary;
}

std::size_t Dictionary::size() const noexcept
{
    return _rep ? _rep->count : 0;
}

const Value &Dictionary::operator[](std::string_view key) const noexcept
{
    if (!_rep)
        return nil;
    const std::size_t index = _rep->keys->indexOf(key);
    return index < _rep->count ? _rep->values()[index] : nil;
}

bool Dictionary::contains(std::string_view key) const noexcept
{
    return _rep && _rep->keys->indexOf(key) < _rep->count;
}

const String &Dictionary::keyAt(std::size_t index) const noexcept
{
    assert(index < size());
    return _rep->keys->names[index];
}

const Value &Dictionary::valueAt(std::size_t index) const noexcept
{
    assert(index < size());
    return _rep->values()[index];
}

void Dictionary::set(const String &key, Value value)
{
    assert(!key.isNull());
    if (value.isNil()) {
        remove(key.view());
        return;
    }
    const std::size_t index = _rep ? _rep->keys->indexOf(key.view()) : 0;
    if (index < size()) {
        writable().values()[index] = std::move(value);
        return;
    }
    auto &rep = writable(size() + 1);
    rep.writableKeys().append(key); // first, because it may throw
    rep.append(std::move(value));
}

void Dictionary::remove(std::string_view key)
{
    if (!contains(key))
        return;
    auto &rep = writable();
    const std::size_t index = rep.keys->indexOf(key);
    rep.writableKeys().removeAt(index);
    rep.removeAt(index);
}

String Dictionary::description() const
{
    if (isNull())
        return "(null)";
    std::string text = "{";
    for (std::size_t i = 0; i < size(); ++i) {
        if (i > 0)
            text += "; ";
        text += keyAt(i).view();
        text += " = ";
        text += valueAt(i).description().view();
    }
    return text += "}";
}

/// A representation that nobody shares, with room for so many values.
Dictionary::Rep &Dictionary::writable(std::size_t room)
{
    const bool isOwn = _rep && _rep->isUnique();
    if (isOwn && room <= _rep->capacity)
        return *_rep;
    // What grows one by one doubles, so that it moves few times.
    constexpr std::size_t least = 4;
    const std::size_t had = _rep ? _rep->capacity : 0;
    auto next = Rep::create(room <= had ? std::max(room, size()) : std::max({room, had * 2, least}));
    next->keys = _rep ? _rep->keys : detail::Ref<KeySet::Rep>::adopt(new KeySet::Rep);
    for (std::size_t i = 0; i < size(); ++i)
        next->append(isOwn ? std::move(_rep->values()[i]) : Value(_rep->values()[i]));
    _rep = std::move(next);
    return *_rep;
}

bool operator==(const Dictionary &a, const Dictionary &b) noexcept
{
    if (isSameObject(a, b))
        return true;
    if (a.isNull() != b.isNull() || a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!b.contains(a.keyAt(i).view()) || !(b[a.keyAt(i).view()] == a.valueAt(i)))
            return false;
    return true;
}

} // namespace kelvane

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/detail/RefCounted.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <new>
#include <span>
#include <string_view>
#include <utility>

namespace kelvane {

class Value;

/// Values by name: shared, copied on write, nullable, one pointer wide.
///
/// Null (absent) and empty are different. A dictionary never holds nil: storing nil removes the key. Keys keep the
/// order in which they were added until one is removed; order plays no part in equality.
///
/// The names are shared apart from the values, so that the rows of one query result carry only their values
/// (see KeySet).
///
/// Threads: a Dictionary object belongs to one thread at a time; copies of it may be read and changed on others.
/// Errors: nothing throws but std::bad_alloc.
class KELVANE_EXPORT Dictionary {
public:
    using Entry = std::pair<String, Value>;

    /// An immutable list of distinct names with an index: what the rows of one result have in common.
    class KELVANE_EXPORT KeySet {
    public:
        /// The distinct names of `names`, each at the place of its first occurrence.
        explicit KeySet(std::span<const String> names);
        KeySet(const KeySet &other) noexcept;
        KeySet &operator=(const KeySet &other) noexcept;
        ~KeySet();

        [[nodiscard]] std::size_t size() const noexcept;
        /// The place of `name`, or size() where it is not in the set.
        [[nodiscard]] std::size_t indexOf(std::string_view name) const noexcept;

        struct Rep;

    private:
        friend class Dictionary;
        detail::Ref<Rep> _rep;
    };

    /// The null dictionary.
    Dictionary() noexcept;
    Dictionary(std::nullptr_t) noexcept;
    Dictionary(std::initializer_list<Entry> entries);
    /// A dictionary of shared names and the values that `make` gives for their places, in order; none is nil. They are
    /// made where they stay, which is what reading large results is fast by.
    template <class Make, class AnyValue = Value>
    [[nodiscard]] static Dictionary of(const KeySet &keys, Make &&make)
    {
        Dictionary row;
        const Room room = row.makeRoom(keys);
        for (std::size_t place = 0, size = keys.size(); place < size; ++place) {
            new (static_cast<AnyValue *>(room.values) + place) AnyValue(make(place));
            ++*room.count; // what is made by now is destroyed with the row, should the next one throw
        }
        return row;
    }
    Dictionary(const Dictionary &other) noexcept;
    Dictionary(Dictionary &&other) noexcept;
    Dictionary &operator=(const Dictionary &other) noexcept;
    Dictionary &operator=(Dictionary &&other) noexcept;
    ~Dictionary();

    /// A dictionary without keys that is not null.
    [[nodiscard]] static Dictionary empty();

    [[nodiscard]] bool isNull() const noexcept { return !_rep; }
    /// True for the empty and for the null dictionary.
    [[nodiscard]] bool isEmpty() const noexcept { return size() == 0; }
    [[nodiscard]] std::size_t size() const noexcept;
    /// The value of `key`, nil where there is none. Valid until this Dictionary changes.
    [[nodiscard]] const Value &operator[](std::string_view key) const noexcept;
    [[nodiscard]] bool contains(std::string_view key) const noexcept;
    /// The key and the value at a place below size().
    [[nodiscard]] const String &keyAt(std::size_t index) const noexcept;
    [[nodiscard]] const Value &valueAt(std::size_t index) const noexcept;

    /// Stores `value` under `key`, which is not null; nil removes the key.
    void set(const String &key, Value value);
    void remove(std::string_view key);

    /// "{a = 1; b = 2}", for log lines.
    [[nodiscard]] String description() const;

    /// Same keys with equal values, in any order; null equals only null.
    friend KELVANE_EXPORT bool operator==(const Dictionary &a, const Dictionary &b) noexcept;
    /// Whether both share one storage, as a copy does until one of them changes.
    friend bool isSameObject(const Dictionary &a, const Dictionary &b) noexcept { return a._rep.get() == b._rep.get(); }

private:
    struct Rep;
    /// Memory for values that are still to be made, and how many there are.
    struct Room {
        void *values;
        std::uint32_t *count;
    };
    Room makeRoom(const KeySet &keys);
    Rep &writable(std::size_t room = 0);

    detail::Ref<Rep> _rep;
};

} // namespace kelvane

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/Object.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace kelvane {

/// The items of a playlist in playing order: a list that whoever holds it can change, or, as a copied playlist has it,
/// one that nobody can.
///
/// Threads: one thread at a time.
/// Ownership: shares its items.
/// Errors: a change of a read-only list, or at an index where nothing is, is refused with false and changes nothing.
class KELVANE_EXPORT PlaylistItems {
public:
    /// A list that can be changed.
    PlaylistItems() = default;
    explicit PlaylistItems(std::vector<Object> items) : _items(std::move(items)) {}

    /// A read-only list of the same item objects, in the same order; a read-only list is its own snapshot.
    [[nodiscard]] static std::shared_ptr<PlaylistItems> snapshotOf(const std::shared_ptr<PlaylistItems> &list);

    [[nodiscard]] bool isReadOnly() const noexcept { return _isReadOnly; }
    [[nodiscard]] std::size_t count() const noexcept { return _items.size(); }
    /// The item at an index, null behind the end.
    [[nodiscard]] Object at(std::size_t index) const;
    /// All of them; valid until the list changes.
    [[nodiscard]] const std::vector<Object> &all() const noexcept { return _items; }

    bool add(Object item);
    /// Inserts before the item at `index`, which is at most count().
    bool insert(std::size_t index, Object item);
    bool removeAt(std::size_t index);
    bool clear();

private:
    std::vector<Object> _items;
    bool _isReadOnly = false;
};

} // namespace kelvane

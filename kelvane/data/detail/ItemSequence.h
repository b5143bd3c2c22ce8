// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/IDataItem.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace kelvane::detail {

/// An array of items in which every operation on one item costs a logarithmic number of steps: a million items are
/// inserted, found and removed in any order without a scan.
///
/// The order is kept by a B+-tree that counts: every branch knows how many items are below each child. A hash table
/// that chains the slots themselves finds an item's slot; the slot knows its leaf, and the way up from there gives the index. One item may stand in the
/// sequence several times.
///
/// Threads: one at a time; several may read at once. Calls no code of the items, and destroys no item but in its
/// destructor: what is removed must be kept alive by the caller.
class ItemSequence {
public:
    using Item = std::shared_ptr<IDataItem>;

    ItemSequence() = default;
    ~ItemSequence();
    ItemSequence(const ItemSequence &) = delete;
    ItemSequence &operator=(const ItemSequence &) = delete;
    void swap(ItemSequence &other) noexcept;

    [[nodiscard]] std::size_t size() const noexcept { return _size; }
    /// The item at `index`, which is below size().
    [[nodiscard]] const Item &at(std::size_t index) const noexcept;
    /// Appends the items from `index` on, which is below size(), to `run`: at least one, at most one leaf full.
    void copyRun(std::size_t index, std::vector<Item> &run) const;

    /// Whether this very item, whose hash is given, is here.
    [[nodiscard]] bool contains(const IDataItem *item, std::size_t hash) const noexcept;
    /// The lowest index of this very item, size() where it is not here.
    [[nodiscard]] std::size_t indexOf(const IDataItem *item, std::size_t hash) const noexcept;
    /// The other items that have the same hash: candidates for being equal to it.
    [[nodiscard]] std::vector<Item> othersWithHash(const IDataItem *item, std::size_t hash) const;

    /// Inserts before the item at `index`, which is at most size(). Where memory ends, nothing is inserted.
    void insert(std::size_t index, Item item, std::size_t hash);
    /// Takes the item at `index`, which is below size(), out.
    [[nodiscard]] Item takeAt(std::size_t index) noexcept;
    /// Takes this very item out, wherever it stands.
    void remove(const IDataItem *item, std::size_t hash) noexcept;

private:
    struct Node;
    struct Leaf;
    struct Branch;
    struct Slot;
    struct Place {
        Leaf *leaf;
        std::size_t offset;
    };

    [[nodiscard]] Place placeOf(std::size_t index) const noexcept;
    [[nodiscard]] Place end() const noexcept;
    [[nodiscard]] Place makePlaceAt(std::size_t index);
    [[nodiscard]] std::size_t indexOf(const Slot &slot) const noexcept;
    [[nodiscard]] Slot *&chainOf(std::size_t hash) noexcept;
    [[nodiscard]] Slot *firstWithHash(std::size_t hash) const noexcept;
    [[nodiscard]] static Slot *nextWithHash(const Slot &slot) noexcept;
    void makeChains();
    [[nodiscard]] Node *split(Node *node, std::size_t keep);
    [[nodiscard]] Item take(Slot *slot) noexcept;
    void unlink(Slot &slot) noexcept;
    void shrink(Node *node) noexcept;
    void shrinkRoot() noexcept;
    static void addToSizes(const Node *node, std::ptrdiff_t difference) noexcept;
    static void destroy(Node *node) noexcept;

    Node *_root = nullptr;
    std::size_t _size = 0;
    // Chains of the slots whose hashes fall together; as many as a power of two, and at least as many as slots.
    std::vector<Slot *> _chains;
};

} // namespace kelvane::detail

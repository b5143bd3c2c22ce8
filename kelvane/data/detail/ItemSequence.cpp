// SPDX-License-Identifier: Apache-2.0
#include <kelvane/data/detail/ItemSequence.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstdint>
#include <utility>

namespace kelvane::detail {

// Invariants
//  1. Every node but the root has a parent that lists it once, with the number of items below it. A branch has a
//     child or more, a leaf a slot or more; an empty sequence has no root. (An insertion that ran out of memory may
//     leave a root with one child, which does no harm.)
//  2. All leaves are at the same depth.
//  3. A slot never moves in memory; its leaf is up to date.
//  4. A node that has become a quarter full joins its neighbour where the two fit together with room to spare.
//     Neighbours are therefore three eighths full on average, and the depth stays logarithmic as items leave.

namespace {

// 64 pointers are 8 cache lines, which a search by address and a shift go through in some ten nanoseconds.
constexpr std::size_t leafCapacity = 64;
constexpr std::size_t branchCapacity = 32;

template <class T, std::size_t Capacity>
void insertAt(std::array<T, Capacity> &values, std::size_t count, std::size_t position, T value) noexcept
{
    std::move_backward(values.begin() + position, values.begin() + count, values.begin() + count + 1);
    values[position] = value;
}

template <class T, std::size_t Capacity>
void eraseAt(std::array<T, Capacity> &values, std::size_t count, std::size_t position) noexcept
{
    std::move(values.begin() + position + 1, values.begin() + count, values.begin() + position);
}

/// Looks from the end, because most lists grow there.
template <class T, std::size_t Capacity>
std::size_t positionOf(const std::array<T, Capacity> &values, std::size_t count, T value) noexcept
{
    std::size_t position = count;
    do {
        assert(position > 0);
        --position;
    } while (values[position] != value);
    return position;
}

} // namespace

struct ItemSequence::Slot {
    Item item;
    std::size_t hash;
    Leaf *leaf = nullptr;
    Slot *next = nullptr; // of the chain
};

struct ItemSequence::Node {
    explicit Node(bool leaf) noexcept : isLeaf(leaf) {}

    [[nodiscard]] std::size_t capacity() const noexcept { return isLeaf ? leafCapacity : branchCapacity; }
    [[nodiscard]] bool isFull() const noexcept { return count == capacity(); }

    Branch *parent = nullptr;
    std::size_t count = 0; // of slots or children
    const bool isLeaf;
};

struct ItemSequence::Leaf : Node {
    Leaf() noexcept : Node(true) {}

    void insert(std::size_t offset, Slot *slot) noexcept
    {
        insertAt(slots, count++, offset, slot);
        slot->leaf = this;
    }
    void erase(std::size_t offset) noexcept { eraseAt(slots, count--, offset); }
    /// Moves the slots from `keep` on behind those of `other`. Returns how many items that were.
    std::size_t moveTo(Leaf &other, std::size_t keep) noexcept
    {
        const std::size_t moved = count - keep;
        for (; keep < count; ++keep)
            other.insert(other.count, slots[keep]);
        count -= moved;
        return moved;
    }

    std::array<Slot *, leafCapacity> slots{};
};

struct ItemSequence::Branch : Node {
    Branch() noexcept : Node(false) {}

    void insert(std::size_t position, Node *child, std::size_t size) noexcept
    {
        insertAt(children, count, position, child);
        insertAt(sizes, count, position, size);
        ++count;
        child->parent = this;
    }
    void erase(std::size_t position) noexcept
    {
        eraseAt(children, count, position);
        eraseAt(sizes, count, position);
        --count;
    }
    std::size_t moveTo(Branch &other, std::size_t keep) noexcept
    {
        std::size_t items = 0;
        const std::size_t moved = count - keep;
        for (; keep < count; ++keep) {
            other.insert(other.count, children[keep], sizes[keep]);
            items += sizes[keep];
        }
        count -= moved;
        return items;
    }

    std::array<Node *, branchCapacity> children{};
    std::array<std::size_t, branchCapacity> sizes{}; // items below each child
};

ItemSequence::~ItemSequence()
{
    if (_root)
        destroy(_root);
}

void ItemSequence::destroy(Node *node) noexcept
{
    if (node->isLeaf) {
        auto *leaf = static_cast<Leaf *>(node);
        std::for_each_n(leaf->slots.begin(), leaf->count, [](Slot *slot) { delete slot; });
        delete leaf;
    } else {
        auto *branch = static_cast<Branch *>(node);
        std::for_each_n(branch->children.begin(), branch->count, &destroy);
        delete branch;
    }
}

void ItemSequence::swap(ItemSequence &other) noexcept
{
    std::swap(_root, other._root);
    std::swap(_size, other._size);
    _chains.swap(other._chains);
}

// Looking up

ItemSequence::Place ItemSequence::placeOf(std::size_t index) const noexcept
{
    Node *node = _root;
    while (!node->isLeaf) {
        const auto *branch = static_cast<Branch *>(node);
        std::size_t position = 0;
        while (index >= branch->sizes[position])
            index -= branch->sizes[position++];
        node = branch->children[position];
    }
    return {static_cast<Leaf *>(node), index};
}

/// The place behind the last item.
ItemSequence::Place ItemSequence::end() const noexcept
{
    Node *node = _root;
    while (!node->isLeaf)
        node = static_cast<Branch *>(node)->children[node->count - 1];
    return {static_cast<Leaf *>(node), node->count};
}

const ItemSequence::Item &ItemSequence::at(std::size_t index) const noexcept
{
    const Place place = placeOf(index);
    return place.leaf->slots[place.offset]->item;
}

void ItemSequence::copyRun(std::size_t index, std::vector<Item> &run) const
{
    const Place place = placeOf(index);
    for (std::size_t offset = place.offset; offset < place.leaf->count; ++offset)
        run.push_back(place.leaf->slots[offset]->item);
}

/// The chain that slots of this hash are in. Hashes are often addresses, whose lowest bits are all the same: multiplied by
/// an odd number whose bits look random (2^64 by the golden ratio), each of their bits reaches the highest.
ItemSequence::Slot *&ItemSequence::chainOf(std::size_t hash) noexcept
{
    const auto mixed = static_cast<std::uint64_t>(hash) * 0x9E3779B97F4A7C15U;
    return _chains[static_cast<std::size_t>(mixed >> (64 - std::countr_zero(_chains.size())))];
}

ItemSequence::Slot *ItemSequence::firstWithHash(std::size_t hash) const noexcept
{
    if (_chains.empty())
        return nullptr;
    Slot *slot = const_cast<ItemSequence *>(this)->chainOf(hash);
    while (slot && slot->hash != hash)
        slot = slot->next;
    return slot;
}

ItemSequence::Slot *ItemSequence::nextWithHash(const Slot &slot) noexcept
{
    Slot *next = slot.next;
    while (next && next->hash != slot.hash)
        next = next->next;
    return next;
}

/// Makes enough chains for one more slot.
void ItemSequence::makeChains()
{
    if (_size < _chains.size())
        return;
    std::vector<Slot *> before(std::max<std::size_t>(16, _chains.size() * 2));
    _chains.swap(before);
    for (Slot *slot : before) {
        while (slot) {
            Slot *&chain = chainOf(slot->hash);
            Slot *const next = std::exchange(slot->next, chain);
            chain = std::exchange(slot, next);
        }
    }
}

bool ItemSequence::contains(const IDataItem *item, std::size_t hash) const noexcept
{
    const Slot *slot = firstWithHash(hash);
    while (slot && slot->item.get() != item)
        slot = nextWithHash(*slot);
    return slot != nullptr;
}

std::size_t ItemSequence::indexOf(const Slot &slot) const noexcept
{
    const Node *node = slot.leaf;
    std::size_t index = positionOf(slot.leaf->slots, slot.leaf->count, const_cast<Slot *>(&slot));
    for (const Branch *branch = node->parent; branch; node = branch, branch = branch->parent) {
        for (std::size_t position = 0; branch->children[position] != node; ++position)
            index += branch->sizes[position];
    }
    return index;
}

std::size_t ItemSequence::indexOf(const IDataItem *item, std::size_t hash) const noexcept
{
    std::size_t lowest = _size;
    for (const Slot *slot = firstWithHash(hash); slot; slot = nextWithHash(*slot)) {
        if (slot->item.get() == item)
            lowest = std::min(lowest, indexOf(*slot));
    }
    return lowest;
}

std::vector<ItemSequence::Item> ItemSequence::othersWithHash(const IDataItem *item, std::size_t hash) const
{
    std::vector<Item> others;
    for (const Slot *slot = firstWithHash(hash); slot; slot = nextWithHash(*slot)) {
        if (slot->item.get() != item)
            others.push_back(slot->item);
    }
    return others;
}

// Growing

void ItemSequence::insert(std::size_t index, Item item, std::size_t hash)
{
    // What can run out of memory comes first.
    auto *slot = new Slot{std::move(item), hash};
    std::unique_ptr<Slot> owned(slot);
    makeChains();
    const Place place = makePlaceAt(index);
    (void)owned.release();

    Slot *&chain = chainOf(hash);
    slot->next = chain;
    chain = slot;
    place.leaf->insert(place.offset, slot);
    addToSizes(place.leaf, 1);
    ++_size;
}

ItemSequence::Place ItemSequence::makePlaceAt(std::size_t index)
{
    if (!_root)
        _root = new Leaf;
    if (_size == 0)
        return {static_cast<Leaf *>(_root), 0};
    Place place = index == _size ? end() : index > 0 ? placeOf(index - 1) : placeOf(0);
    if (index > 0 && index < _size)
        ++place.offset;
    if (!place.leaf->isFull())
        return place;
    // A list that is filled from front to end leaves full leaves behind.
    const std::size_t keep = index == _size ? leafCapacity : leafCapacity / 2;
    auto *right = static_cast<Leaf *>(split(place.leaf, keep));
    if (place.offset > keep || keep == leafCapacity)
        return {right, place.offset - keep};
    return place;
}

// Moves what a full node has from `keep` on into a new right neighbour, which is returned.
ItemSequence::Node *ItemSequence::split(Node *node, std::size_t keep)
{
    if (!node->parent) {
        auto *root = new Branch;
        root->insert(0, node, _size);
        _root = root;
    }
    if (node->parent->isFull())
        (void)split(node->parent, branchCapacity / 2);
    Node *right = nullptr;
    std::size_t moved = 0;
    if (node->isLeaf) {
        auto *leaf = new Leaf;
        moved = static_cast<Leaf *>(node)->moveTo(*leaf, keep);
        right = leaf;
    } else {
        auto *branch = new Branch;
        moved = static_cast<Branch *>(node)->moveTo(*branch, keep);
        right = branch;
    }
    Branch *parent = node->parent;
    const std::size_t position = positionOf(parent->children, parent->count, node);
    parent->sizes[position] -= moved;
    parent->insert(position + 1, right, moved);
    return right;
}

void ItemSequence::addToSizes(const Node *node, std::ptrdiff_t difference) noexcept
{
    for (Branch *branch = node->parent; branch; node = branch, branch = branch->parent)
        branch->sizes[positionOf(branch->children, branch->count, const_cast<Node *>(node))] +=
            static_cast<std::size_t>(difference);
}

// Shrinking

ItemSequence::Item ItemSequence::takeAt(std::size_t index) noexcept
{
    const Place place = placeOf(index);
    return take(place.leaf->slots[place.offset]);
}

void ItemSequence::remove(const IDataItem *item, std::size_t hash) noexcept
{
    Slot *slot = firstWithHash(hash);
    while (slot) {
        Slot *const next = nextWithHash(*slot);
        if (slot->item.get() == item)
            (void)take(slot);
        slot = next;
    }
}

ItemSequence::Item ItemSequence::take(Slot *slot) noexcept
{
    Leaf *leaf = slot->leaf;
    leaf->erase(positionOf(leaf->slots, leaf->count, slot));
    addToSizes(leaf, -1);
    --_size;
    shrink(leaf);
    unlink(*slot);
    Item item = std::move(slot->item);
    delete slot;
    return item;
}

void ItemSequence::unlink(Slot &slot) noexcept
{
    Slot **link = &chainOf(slot.hash);
    while (*link != &slot)
        link = &(*link)->next;
    *link = slot.next;
}

// Removes an empty node, or joins a node that has become small with its neighbour; then the same with its parent.
void ItemSequence::shrink(Node *node) noexcept
{
    while (Branch *parent = node->parent) {
        const std::size_t position = positionOf(parent->children, parent->count, node);
        if (node->count == 0) {
            parent->erase(position);
            destroy(node);
        } else {
            if (node->count > node->capacity() / 4 || parent->count == 1)
                break;
            const std::size_t left = position > 0 ? position - 1 : 0;
            Node *to = parent->children[left];
            Node *from = parent->children[left + 1];
            if (to->count + from->count > node->capacity() * 3 / 4)
                break;
            parent->sizes[left] += node->isLeaf ? static_cast<Leaf *>(from)->moveTo(*static_cast<Leaf *>(to), 0)
                                                : static_cast<Branch *>(from)->moveTo(*static_cast<Branch *>(to), 0);
            parent->erase(left + 1);
            destroy(from);
        }
        node = parent;
    }
    shrinkRoot();
}

void ItemSequence::shrinkRoot() noexcept
{
    while (_root && !_root->isLeaf && _root->count == 1) {
        auto *root = static_cast<Branch *>(_root);
        _root = root->children[0];
        _root->parent = nullptr;
        delete root;
    }
    if (_root && _root->count == 0) {
        destroy(_root);
        _root = nullptr;
    }
}

} // namespace kelvane::detail

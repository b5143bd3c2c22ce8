// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/PlaylistItems.h>

#include <utility>

namespace kelvane {

std::shared_ptr<PlaylistItems> PlaylistItems::snapshotOf(const std::shared_ptr<PlaylistItems> &list)
{
    if (!list || list->_isReadOnly)
        return list;
    auto snapshot = std::make_shared<PlaylistItems>(list->_items);
    snapshot->_isReadOnly = true;
    return snapshot;
}

Object PlaylistItems::at(std::size_t index) const
{
    return index < _items.size() ? _items[index] : Object();
}

bool PlaylistItems::add(Object item)
{
    return insert(_items.size(), std::move(item));
}

bool PlaylistItems::insert(std::size_t index, Object item)
{
    if (_isReadOnly || index > _items.size())
        return false;
    _items.insert(_items.begin() + static_cast<std::ptrdiff_t>(index), std::move(item));
    return true;
}

bool PlaylistItems::removeAt(std::size_t index)
{
    if (_isReadOnly || index >= _items.size())
        return false;
    _items.erase(_items.begin() + static_cast<std::ptrdiff_t>(index));
    return true;
}

bool PlaylistItems::clear()
{
    if (_isReadOnly)
        return false;
    _items.clear();
    return true;
}

} // namespace kelvane

// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/PlaylistBase.h>

namespace kelvane {

std::shared_ptr<PlaylistBase> PlaylistBase::newInstance() const
{
    return std::make_shared<PlaylistBase>();
}

std::shared_ptr<PlaylistBase> PlaylistBase::copy() const
{
    auto record = newInstance();
    record->_fields = _fields;
    record->_fields.items = PlaylistItems::snapshotOf(_fields.items);
    return record;
}

} // namespace kelvane

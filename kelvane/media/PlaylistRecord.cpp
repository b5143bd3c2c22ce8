// SPDX-License-Identifier: Apache-2.0
#include <kelvane/media/PlaylistRecord.h>

#include <kelvane/common/Utils.h>
#include <kelvane/platform/CalendarDate.h>

#include <utility>

namespace kelvane {

void PlaylistRecord::load(std::int64_t identifier, String title)
{
    setPid(identifier);
    setTitle(std::move(title));
    setKind(0);
    setCreateTime(Utils::NowCalendar().date);
    setModifiedTime(Utils::NowCalendar().date);
}

std::shared_ptr<PlaylistBase> PlaylistRecord::newInstance() const
{
    return std::make_shared<PlaylistRecord>();
}

} // namespace kelvane

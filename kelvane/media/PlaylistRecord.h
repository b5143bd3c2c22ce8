// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/media/PlaylistBase.h>

namespace kelvane {

/// A playlist record that can be made a new, ordinary playlist.
///
/// Threads, ownership and errors as PlaylistBase.
class KELVANE_EXPORT PlaylistRecord : public PlaylistBase {
public:
    /// Makes it the plain playlist (`kind` 0) of that identifier and title, created and changed now, as
    /// Utils::NowCalendar() reads the clock. Other fields stay. @selector load:title:
    void load(std::int64_t identifier, String title);

protected:
    [[nodiscard]] std::shared_ptr<PlaylistBase> newInstance() const override;
};

} // namespace kelvane

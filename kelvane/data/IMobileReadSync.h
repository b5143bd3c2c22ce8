// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>

#include <cstdint>

namespace kelvane {

/// What a device can be synchronised with, and how far that is.
///
/// Threads: one at a time.
class KELVANE_EXPORT IMobileReadSync {
public:
    virtual ~IMobileReadSync();

    [[nodiscard]] virtual std::uint64_t syncState() const = 0;
    /// The version of the device's sync protocol.
    [[nodiscard]] virtual std::uint64_t syncVersion() const = 0;
    /// The kinds of content that it takes, a bit each.
    [[nodiscard]] virtual std::uint64_t syncSupports() const = 0;
    /// The code of the format of its playlists.
    [[nodiscard]] virtual std::uint64_t playlistFormat() const = 0;
    /// Left to the classes of concrete devices; here it does nothing.
    virtual void setPlaylistFormat(std::uint64_t /*format*/) {}

protected:
    IMobileReadSync() = default;
    IMobileReadSync(const IMobileReadSync &) = default;
    IMobileReadSync &operator=(const IMobileReadSync &) = default;
};

} // namespace kelvane

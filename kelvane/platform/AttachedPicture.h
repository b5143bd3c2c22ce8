// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Data.h>

#include <utility>

namespace kelvane {

/// A picture in the tags of a media file, usually its cover.
///
/// Threads: as Data.
class AttachedPicture {
public:
    explicit AttachedPicture(Data data) noexcept : _data(std::move(data)) {}

    /// The picture's bytes exactly as they stand in the file (JPEG, PNG, …); null where the tag names a picture but
    /// holds none.
    [[nodiscard]] const Data &GetData() const noexcept { return _data; }

private:
    Data _data;
};

} // namespace kelvane

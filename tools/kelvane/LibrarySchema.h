// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/media/MediaBase.h>
#include <string>
#include <vector>

namespace kelvane::tool {

/// The tables of a device's library. The version grows with every change that an older program would not understand.
///
///   media     one row for each item: which source it is, which file on the device it became, and its tags
///             (devArtworkPath: the file of its picture, "" for none, NULL where nobody has looked for one yet)
///   transfer  files that are on their way to a name on the device: written before the name is given, gone with the
///             row of media that the file gets
///   removal   files that were ours and belong to no row any more: written with the change of the row, gone when the
///             file is
///
/// Triggers move the entries of transfer and removal, so that each change of media is one statement and they can
/// never disagree.
///
/// Version 2 knows the pictures of items, which are files in .kelvane/artwork.
namespace LibrarySchema {

inline constexpr std::int32_t version = 2;
inline constexpr std::int32_t applicationId = 0x4b4c564e; // "KLVN", for file(1) and for us

/// What makes an empty database a library.
[[nodiscard]] std::vector<std::string> statements();
/// What makes a library of an earlier version one of this; nothing for one of this.
[[nodiscard]] std::vector<std::string> upgradeStatements(std::int32_t fromVersion);
/// Writes the row of one item, replacing the one of the same source.
[[nodiscard]] const std::string &saveStatement();

/// The values of a record's tags in the order in which saveStatement() takes them.
void appendFields(Array &values, const MediaBase &media);
/// The tags of a row.
[[nodiscard]] std::shared_ptr<MediaBase> mediaOfRow(const Dictionary &row);

} // namespace LibrarySchema
} // namespace kelvane::tool

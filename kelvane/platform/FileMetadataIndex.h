// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

namespace kelvane {

/// The system's file-metadata index: what it knows of a file without the file being opened, under names such as
/// "kMDItemTitle" (text), "kMDItemDurationSeconds" (number), "kMDItemContentCreationDate" (date) and
/// "kMDItemMediaTypes" (list of texts).
///
/// Threads: any.
/// Errors: a missing index, an unknown file and a tool that fails all give a null dictionary.
class KELVANE_EXPORT FileMetadataIndex {
public:
    /// Where systems that have the index keep the tool that reads it.
    static constexpr const char *systemTool = "/usr/bin/mdls";

    FileMetadataIndex() = delete;

    /// The properties of the file at `path`. Runs `tool` with the path, "-plist" and the path of a new file in the
    /// temporary folder, waits for it however it ends, and reads the property list that it left there.
    ///
    /// Intended: that file is not removed; people look at it to see what the index said.
    [[nodiscard]] static Dictionary propertiesOfFile(const String &path, const String &tool = systemTool);
};

} // namespace kelvane

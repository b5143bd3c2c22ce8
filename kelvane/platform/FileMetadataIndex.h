// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Dictionary.h>
#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

namespace kelvane {

/// What the system knows of a file, under the names of its file-metadata index: "kMDItemTitle" (text),
/// "kMDItemDurationSeconds" (number), "kMDItemContentCreationDate" (date), "kMDItemMediaTypes" (list of texts: "Sound",
/// "Video"; a cover is no "Video") and the like.
///
/// Where the system has no index of its own, the file's header is read through libkelvane-media.so, a module beside
/// the program or the library that is loaded by the first question. Without the module there is no index.
///
/// Threads: any.
/// Errors: a missing index, an unknown file and a tool that fails all give a null dictionary. A broken file has only the
/// properties that the file system knows: its name, size and dates. Whatever a file holds, reading it takes bounded
/// time and memory, and opens no other file.
class KELVANE_EXPORT FileMetadataIndex {
public:
    /// Where systems that have the index keep the tool that reads it.
    static constexpr const char *systemTool = "/usr/bin/mdls";

    FileMetadataIndex() = delete;

    /// The properties of the file at `path`. Where `tool` exists, it is run with the path, "-plist" and the path of a new
    /// file in the temporary folder, waited for however it ends, and the property list that it left there is read.
    /// Where it does not, the module is asked.
    ///
    /// Intended: the file that the tool wrote is not removed; people look at it to see what the index said.
    [[nodiscard]] static Dictionary propertiesOfFile(const String &path, const String &tool = systemTool);
};

} // namespace kelvane

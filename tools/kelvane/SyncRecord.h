// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FileStamp.h"
#include "MediaFormat.h"

#include <kelvane/data/TypedDataItem.h>
#include <kelvane/media/MediaBase.h>

#include <memory>
#include <string>

namespace kelvane::tool {

/// What the device's library knows of one item: which file it is, where its copy is, and its tags.
struct SyncRecord {
    SyncRecord() = default;
    SyncRecord(const SyncRecord &other)
        : source(other.source),
          sourceStamp(other.sourceStamp),
          devicePath(other.devicePath),
          deviceStamp(other.deviceStamp),
          format(other.format),
          isConverted(other.isConverted),
          media(other.media ? other.media->copy() : nullptr)
    {
    }
    SyncRecord &operator=(const SyncRecord &) = delete;
    ~SyncRecord() = default;

    std::string source; // absolute, without links
    FileStamp sourceStamp;
    std::string devicePath; // relative to the device
    FileStamp deviceStamp;
    const MediaFormat *format = nullptr; // of the copy; known for what is copied in this run
    bool isConverted = false; // the copy is a JPEG of a HEIC photo
    std::shared_ptr<MediaBase> media; // null until it is read
};

/// A record in the list of what a run has to do: new files are Added, changed ones Modified, files that are gone
/// Deleted, and the rest Unchanged.
using SyncItem = TypedDataItem<SyncRecord>;

} // namespace kelvane::tool

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaFile.h"

#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/data/DataItemList.h>

#include <QImage>

#include <memory>

namespace browser {

using kelvane::AsyncTaskIOS;

// The work that the window does not wait for, as tasks to be started.

/// Adds the media files in `folder` and below to `list`, each as soon as its tags are read.
[[nodiscard]] std::shared_ptr<AsyncTaskIOS> readFolderTask(
    kelvane::String folder, std::shared_ptr<kelvane::DataItemList> list);

/// Writes the titles of the changed items into their files, and commits each that was written. Goes on after one that
/// cannot be, and fails at the end, with the first reason.
[[nodiscard]] std::shared_ptr<AsyncTaskIOS> commitTask(const kelvane::DataItemList &list);

/// Reads the cover, or makes a picture of what the file shows. Its userResult is a QImage, null where there is nothing.
[[nodiscard]] std::shared_ptr<AsyncTaskIOS> artworkTask(kelvane::String path, int side);

} // namespace browser

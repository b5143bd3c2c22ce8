// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ArtworkStore.h"
#include "DeviceRepair.h"
#include "SpaceBudget.h"
#include "TargetNames.h"

#include <kelvane/common/AsyncTaskIOS.h>

#include <atomic>
#include <string>

namespace kelvane::tool {

/// The work of the task of one item: reads the file's tags and picture, copies it, records it; or removes it.
///
/// A new file goes into a hidden folder of the device first and gets its name when it is whole and on the disk. Then
/// its row is written; the old file of a changed item goes last. Wherever this ends, DeviceRepair finds what there is.
///
/// Threads: any number of tasks at once.
class SyncWork {
public:
    SyncWork(DeviceFolder &device, DeviceLibrary &library, TargetNames &names, SpaceBudget &budget, bool verifies)
        : _device(device),
          _library(library),
          _repair(device, library),
          _artwork(device, library),
          _names(names),
          _budget(budget),
          _verifies(verifies)
    {
    }

    /// Works on the item; false with the task's errorText where that fails.
    bool run(AsyncTaskIOS &task, const std::shared_ptr<SyncItem> &item);

private:
    void runItem(AsyncTaskIOS &task, const std::shared_ptr<SyncItem> &item);
    void copyItem(AsyncTaskIOS &task, SyncItem &item);
    void removeItem(AsyncTaskIOS &task, const SyncRecord &record);
    void removeFile(const DeviceLibrary::Removal &removal);
    void verifyItem(AsyncTaskIOS &task, SyncItem &item);
    void copyFile(AsyncTaskIOS &task, const SyncRecord &record, const std::string &staged);
    void convertFile(AsyncTaskIOS &task, const SyncRecord &record, const std::string &staged);
    void publish(SyncRecord &record, const std::string &staged);
    void record(const SyncRecord &record);

    DeviceFolder &_device;
    DeviceLibrary &_library;
    DeviceRepair _repair;
    ArtworkStore _artwork;
    TargetNames &_names;
    SpaceBudget &_budget;
    const bool _verifies;
    std::atomic<std::uint64_t> _stagedCount{0};
};

} // namespace kelvane::tool

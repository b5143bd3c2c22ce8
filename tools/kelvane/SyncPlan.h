// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "DeviceLibrary.h"
#include "SourceWalker.h"
#include "SyncOptions.h"
#include "SyncSummary.h"
#include "SyncView.h"
#include "TargetNames.h"

#include <kelvane/data/ObservableDataItemList.h>

#include <memory>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kelvane::tool {

/// Compares the sources with the device's library and makes the list of items, each in the state that says what is to
/// do: Added for new files, Modified for changed ones and those whose copy is gone, Deleted for those that vanished
/// (if asked for), Unchanged for the rest.
class SyncPlan {
public:
    using Items = std::vector<std::shared_ptr<SyncItem>>;

    /// `library` may be null: a device that has none yet.
    SyncPlan(const SyncOptions &options, DeviceFolder &device, DeviceLibrary *library, SyncView &view);

    /// Reads the sources, and of new and changed files the beginning. Reports files that cannot be synchronised.
    void build();

    [[nodiscard]] const std::shared_ptr<ObservableDataItemList> &list() const { return _list; }
    /// What is to work on, in this order.
    [[nodiscard]] const Items &pending() const { return _pending; }
    [[nodiscard]] TargetNames &names() { return _names; }
    /// What is settled already: unchanged, ignored and failed files.
    [[nodiscard]] const SyncSummary &settled() const { return _settled; }

private:
    using Records = std::unordered_map<std::string_view, std::shared_ptr<SyncRecord>>; // by their own source

    void takeFile(const SourceFile &file, const std::shared_ptr<SyncRecord> &known);
    void takeUnchanged(const std::shared_ptr<SyncRecord> &known);
    [[nodiscard]] bool isGone(const std::string &path);
    void takeVanished(const SourceWalker &walker, const Records &unseen);
    [[nodiscard]] bool isUnchanged(const SourceFile &file, const SyncRecord &known);
    [[nodiscard]] std::shared_ptr<SyncItem> committedItem(const std::shared_ptr<SyncRecord> &record);
    void fail(const std::string &path, std::string_view what, const std::string &reason);

    const SyncOptions &_options;
    DeviceFolder &_device;
    DeviceLibrary *_library;
    SyncView &_view;
    TargetNames _names;
    const std::shared_ptr<ObservableDataItemList> _list = std::make_shared<ObservableDataItemList>();
    Items _pending;
    SyncSummary _settled;
};

} // namespace kelvane::tool

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/DataItemList.h>

namespace kelvane {

/// A list whose three events can be watched: the one that applications bind to their views.
///
///     auto songs = std::make_shared<ObservableDataItemList>();
///     songs->addItemChangedWatcher([](const DataItemChangeEventArgs &args) { … });
///
/// Threads, Ownership, Errors: as DataItemList.
class KELVANE_EXPORT ObservableDataItemList : public DataItemList {
public:
    ObservableDataItemList()
    {
        createItemChangingWatchers();
        createItemChangedWatchers();
        createItemCommitedWatchers();
    }
};

} // namespace kelvane

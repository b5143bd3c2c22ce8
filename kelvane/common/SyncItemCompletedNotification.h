// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/SyncCompletedNotification.h>

namespace kelvane {

/// A completion notice about one item, with what was done to it.
class KELVANE_EXPORT SyncItemCompletedNotification : public SyncCompletedNotification {
public:
    /// 1 added, 2 deleted, 3 changed, 0 none of these. These are not the codes of DataItemAction.
    [[nodiscard]] virtual std::uint64_t action() const = 0;
    virtual void setAction(std::uint64_t action) = 0;
};

} // namespace kelvane

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/IAsyncTask.h>

#include <vector>

namespace kelvane {

/// A task made of other tasks.
class KELVANE_EXPORT IMultiAsyncTask {
public:
    virtual ~IMultiAsyncTask();

    /// The child tasks at this moment.
    [[nodiscard]] virtual std::vector<std::shared_ptr<IAsyncTask>> tasks() const = 0;
};

} // namespace kelvane

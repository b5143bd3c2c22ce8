// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/AsyncTaskIOS.h>

#include <concepts>

namespace kelvane {

/// A task whose work gets its user state by type:
///
///     auto task = makeTask(std::make_shared<Import>(…), [](AsyncTaskIOS &task, Import &import) { return …; });
///
/// Started with a user state of another type (or none), the work does not run and the task fails.
template <class State, std::invocable<AsyncTaskIOS &, State &> Work>
[[nodiscard]] std::shared_ptr<AsyncTaskIOS> makeTask(std::shared_ptr<State> state, Work work)
{
    return std::make_shared<AsyncTaskIOS>(
        [work = std::move(work)](AsyncTaskIOS &task, const Object &workUserState) mutable -> bool {
            const auto typed = workUserState.as<State>();
            return typed && work(task, *typed);
        },
        Object(std::move(state)));
}

} // namespace kelvane

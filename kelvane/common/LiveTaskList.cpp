// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/detail/LiveTaskList.h>

#include <kelvane/platform/Operation.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace kelvane::detail {

LiveTaskList::LiveTaskList(std::size_t capacity)
{
    _tasks.reserve(capacity);
}

void LiveTaskList::append(std::shared_ptr<Operation> task)
{
    const std::lock_guard guard(_mutex);
    _tasks.push_back(std::move(task));
}

String LiveTaskList::remove(const Operation *task)
{
    std::vector<std::shared_ptr<Operation>> released;
    const std::lock_guard guard(_mutex);
    if (_tasks.empty())
        return {};
    const auto removed =
        std::stable_partition(_tasks.begin(), _tasks.end(), [&](const auto &entry) { return entry.get() != task; });
    released.assign(std::make_move_iterator(removed), std::make_move_iterator(_tasks.end()));
    _tasks.erase(removed, _tasks.end());
    if (_tasks.empty())
        return {};
    std::string text = "(";
    for (const auto &entry : _tasks) {
        char item[40];
        std::snprintf(item, sizeof item, "%s<task %p>", text.size() > 1 ? ", " : "", static_cast<void *>(entry.get()));
        text += item;
    }
    return text += ")";
}

} // namespace kelvane::detail

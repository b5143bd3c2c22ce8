// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/detail/LiveTaskList.h>

#include <kelvane/platform/Operation.h>

#include <cstdio>
#include <string>

namespace kelvane::detail {

LiveTaskList::LiveTaskList(std::size_t capacity)
{
    _places.reserve(capacity);
}

void LiveTaskList::append(std::shared_ptr<Operation> task)
{
    const std::lock_guard guard(_mutex);
    const Tasks::iterator entry = _tasks.insert(_tasks.end(), std::move(task));
    try {
        _places.emplace(entry->get(), entry);
    } catch (...) {
        _tasks.erase(entry);
        throw;
    }
}

void LiveTaskList::remove(const Operation *task) noexcept
{
    Tasks released; // outlives the lock
    const std::lock_guard guard(_mutex);
    const auto [first, last] = _places.equal_range(task);
    for (auto place = first; place != last; ++place)
        released.splice(released.end(), _tasks, place->second);
    _places.erase(first, last);
}

String LiveTaskList::text() const
{
    const std::lock_guard guard(_mutex);
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

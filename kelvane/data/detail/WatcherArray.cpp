// SPDX-License-Identifier: Apache-2.0
#include <kelvane/data/detail/WatcherArray.h>

#include <kelvane/platform/ZenLogger.h>

#include <exception>
#include <string_view>
#include <utility>

namespace kelvane::detail {

void WatcherArray::add(Watcher watcher)
{
    const std::lock_guard guard(_lock);
    auto watchers = std::make_shared<Watchers>(*_watchers);
    watchers->push_back(std::move(watcher));
    _watchers = std::move(watchers);
}

void WatcherArray::remove(const Watcher &watcher)
{
    // Outlives the guard: what a removed watcher captured is destroyed without the lock.
    std::shared_ptr<const Watchers> before;
    const std::lock_guard guard(_lock);
    auto watchers = std::make_shared<Watchers>(*_watchers);
    std::erase(*watchers, watcher);
    before = std::exchange(_watchers, std::move(watchers));
}

void WatcherArray::notify(const DataItemChangeEventArgs &args)
{
    std::shared_ptr<const Watchers> watchers;
    const std::lock_guard guard(_lock);
    watchers = _watchers;
    for (const Watcher &watcher : *watchers) {
        try {
            watcher(args);
        } catch (const std::exception &exception) {
            ZenLogger::defaultLogger().ZenLogError(
                String::concat({"a watcher of a data item list threw: ", std::string_view(exception.what())}));
        }
    }
}

} // namespace kelvane::detail

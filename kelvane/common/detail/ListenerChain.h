// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/detail/AtomicProperty.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

namespace kelvane::detail {

/// Listeners in the order in which they were added, each once. One word while empty, which most chains stay.
///
/// Threads: any. A notification walks over the listeners of the moment at which it began: one that is added or
/// removed while it runs takes part, or not, from the next notification on. No lock is held while listeners run.
template <class Listener>
class ListenerChain {
public:
    /// Appends `listener` unless it is null or present already.
    void add(const Listener &listener)
    {
        if (listener == nullptr)
            return;
        const std::lock_guard guard(_lock);
        if (_listeners && std::find(_listeners->begin(), _listeners->end(), listener) != _listeners->end())
            return;
        auto longer = _listeners ? std::make_shared<Listeners>(*_listeners) : std::make_shared<Listeners>();
        longer->push_back(listener);
        _listeners = std::move(longer);
    }
    void remove(const Listener &listener)
    {
        std::shared_ptr<const Listeners> before; // destroyed after the lock is gone
        const std::lock_guard guard(_lock);
        if (!_listeners || std::find(_listeners->begin(), _listeners->end(), listener) == _listeners->end())
            return;
        auto shorter = std::make_shared<Listeners>(*_listeners);
        shorter->erase(std::find(shorter->begin(), shorter->end(), listener));
        before = std::move(_listeners);
        _listeners = shorter->empty() ? nullptr : std::move(shorter);
    }
    /// The listener added last, null where there is none.
    [[nodiscard]] Listener last() const
    {
        const auto listeners = snapshot();
        return listeners ? listeners->back() : Listener();
    }
    template <class Notify>
    void forEach(Notify &&notify) const
    {
        if (const auto listeners = snapshot())
            for (const auto &listener : *listeners)
                notify(listener);
    }

private:
    using Listeners = std::vector<Listener>;

    [[nodiscard]] std::shared_ptr<const Listeners> snapshot() const
    {
        const std::lock_guard guard(_lock);
        return _listeners;
    }

    mutable ByteLock _lock;
    std::shared_ptr<const Listeners> _listeners; // guarded by _lock; null or not empty
};

} // namespace kelvane::detail

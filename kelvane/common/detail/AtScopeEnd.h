// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

namespace kelvane::detail {

/// Runs `action` at the end of the scope, also when an exception ends it. The action itself throws nothing.
template <class Action>
class AtScopeEnd {
public:
    explicit AtScopeEnd(Action action) : _action(std::move(action)) {}
    ~AtScopeEnd() { _action(); }
    AtScopeEnd(const AtScopeEnd &) = delete;
    AtScopeEnd &operator=(const AtScopeEnd &) = delete;

private:
    Action _action;
};

} // namespace kelvane::detail

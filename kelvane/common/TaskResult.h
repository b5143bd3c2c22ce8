// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/Value.h>

namespace kelvane {

/// A result that work attaches to its operation task: a value, or fields of a subclass's own.
class KELVANE_EXPORT TaskResult {
public:
    TaskResult() = default;
    explicit TaskResult(Value value) : _value(std::move(value)) {}
    virtual ~TaskResult();

    [[nodiscard]] const Value &value() const { return _value; }
    void setValue(Value value) { _value = std::move(value); }

private:
    Value _value;
};

} // namespace kelvane

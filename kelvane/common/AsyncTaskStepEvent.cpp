// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/AsyncTaskStepEvent.h>

namespace kelvane {

AsyncTaskStepEvent::AsyncTaskStepEvent(
    std::shared_ptr<IAsyncTask> parentTask, String stepName, std::int64_t stepValue, String valueName)
    : _parentTask(std::move(parentTask)),
      _stepName(std::move(stepName)),
      _stepValue(stepValue),
      _valueName(std::move(valueName))
{
}

std::optional<bool> AsyncTaskStepEvent::isSameStep(const IAsyncTaskStepEvent *other) const
{
    if (!other)
        return false;
    return other == this
        || (isSameObject(_stepName, other->name()) && _stepValue == other->value()
            && isSameObject(_valueName, other->valueName()) && isSameObject(_userValue, other->userValue()));
}

std::shared_ptr<IAsyncTaskStepEvent> AsyncTaskStepEvent::withoutTask() const
{
    auto copy = std::make_shared<AsyncTaskStepEvent>(*this);
    copy->_parentTask = nullptr;
    return copy;
}

} // namespace kelvane

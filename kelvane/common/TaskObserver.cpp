// SPDX-License-Identifier: Apache-2.0
#include <kelvane/common/TaskObserver.h>

namespace kelvane {

namespace {

class ObserverDelegate : public IAsyncTaskDelegate {
public:
    explicit ObserverDelegate(TaskObserver observer) : _observer(std::move(observer)) {}

    void asyncTaskFinished(IAsyncTask &task, IAsyncTask & /*sender*/) override
    {
        if (_observer.onFinished)
            _observer.onFinished(task);
    }
    void asyncTaskProgressChanged(IAsyncTask &task, std::int32_t percent) override
    {
        if (_observer.onProgress)
            _observer.onProgress(task, percent);
    }
    void asyncTaskLenghtChanged(IAsyncTask &task, std::int64_t lenght) override
    {
        if (_observer.onLenght)
            _observer.onLenght(task, lenght);
    }
    void asyncTaskStepEvent(IAsyncTask &task, const std::shared_ptr<IAsyncTaskStepEvent> &event) override
    {
        if (_observer.onStep)
            _observer.onStep(task, *event);
    }
    void asyncTaskCancel(IAsyncTask &task) override
    {
        if (_observer.onCancel)
            _observer.onCancel(task);
    }
    void asyncTaskWaiting(IAsyncTask &task) override
    {
        if (_observer.onWaiting)
            _observer.onWaiting(task);
    }

private:
    const TaskObserver _observer;
};

} // namespace

std::shared_ptr<IAsyncTaskDelegate> makeDelegate(TaskObserver observer)
{
    return std::make_shared<ObserverDelegate>(std::move(observer));
}

} // namespace kelvane

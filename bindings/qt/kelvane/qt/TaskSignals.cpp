// SPDX-License-Identifier: Apache-2.0
#include <kelvane/qt/TaskSignals.h>

#include "Mailbox_p.h"

#include <kelvane/qt/Conversions.h>

#include <QPointer>

#include <atomic>

namespace kelvane::qt {

struct TaskSignals::News {
    enum Kind { Progress, Length, Step, Cancelled, Finished };
    Kind kind{};
    qlonglong number = 0; // percent, length, value of the step, success
    String text{}; // name of the step, error
};

/// Hears the task and puts what it hears into the mailbox of the signals. Looks at the task only while it is told, when
/// the task is known to be there and its outcome is the one that is told.
class TaskSignals::Delegate : public IAsyncTaskDelegate {
public:
    explicit Delegate(TaskSignals *receiver) : mailbox(receiver) {}

    void asyncTaskProgressChanged(IAsyncTask & /*task*/, std::int32_t percent) override
    {
        mailbox.post({News::Progress, percent}, replacesSameKind);
    }
    void asyncTaskLenghtChanged(IAsyncTask & /*task*/, std::int64_t lenght) override
    {
        if (_lastLength.exchange(lenght) != lenght)
            mailbox.post({News::Length, lenght}, replacesSameKind);
    }
    void asyncTaskStepEvent(IAsyncTask & /*task*/, const std::shared_ptr<IAsyncTaskStepEvent> &event) override
    {
        mailbox.post({News::Step, event->value(), event->name()});
    }
    void asyncTaskCancel(IAsyncTask & /*task*/) override { mailbox.post({News::Cancelled}); }
    void asyncTaskFinished(IAsyncTask &task, IAsyncTask & /*sender*/) override
    {
        const auto &ended = dynamic_cast<const BaseAsyncTask &>(task);
        mailbox.post({News::Finished, ended.isSuccessCompleted() ? 1 : 0, ended.errorText()});
    }

    Mailbox<News> mailbox;

private:
    static bool replacesSameKind(News &last, News &next)
    {
        if (last.kind != next.kind)
            return false;
        last = std::move(next);
        return true;
    }

    std::atomic<std::int64_t> _lastLength{0};
};

TaskSignals::TaskSignals(std::shared_ptr<BaseAsyncTask> task, QObject *parent)
    : QObject(parent),
      _task(std::move(task)),
      _delegate(std::make_shared<Delegate>(this))
{
    _task->addBaseAsyncDelegate(_delegate);
}

TaskSignals::~TaskSignals()
{
    _delegate->mailbox.close();
    _task->removeBaseAsyncDelegate(_delegate);
}

void TaskSignals::cancel()
{
    _task->cancel();
}

void TaskSignals::flush()
{
    // A slot may delete this object.
    const QPointer<TaskSignals> self(this);
    for (const News &news : _delegate->mailbox.take()) {
        tell(news);
        if (!self)
            return;
    }
}

void TaskSignals::tell(const News &news)
{
    switch (news.kind) {
    case News::Progress:
        Q_EMIT progressChanged(static_cast<int>(news.number));
        return;
    case News::Length:
        Q_EMIT lengthChanged(news.number);
        return;
    case News::Step:
        Q_EMIT stepChanged(toQString(news.text), news.number);
        return;
    case News::Cancelled:
        Q_EMIT cancelled();
        return;
    case News::Finished:
        Q_EMIT finished(news.number != 0, toQString(news.text));
        return;
    }
}

} // namespace kelvane::qt

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/BaseAsyncTask.h>

#include <QObject>
#include <QString>

#include <memory>

namespace kelvane::qt {

/// The notifications of a task as signals on the thread of this object, whichever thread the task runs on:
///
///     auto *news = new TaskSignals(task, window);
///     connect(news, &TaskSignals::progressChanged, bar, &QProgressBar::setValue);
///     connect(button, &QPushButton::clicked, news, &TaskSignals::cancel);
///     connect(news, &TaskSignals::finished, window, &Window::importDone);
///     task->startTask();
///
/// Signals come in the order of the notifications, as soon as the event loop gets to them; nobody waits for them. Of
/// progress that is reported faster than it is shown, the last stands for those directly before it. To be made before the
/// task is started: what was told earlier is not told again.
///
/// Threads: that of the object, as with every QObject; cancel() on any.
/// Ownership: keeps the task. Once the object is gone, its slots hear no more, and the task goes on.
/// Errors: nothing throws but std::bad_alloc.
class KELVANE_EXPORT TaskSignals : public QObject {
    Q_OBJECT

public:
    /// The task must not be null.
    explicit TaskSignals(std::shared_ptr<BaseAsyncTask> task, QObject *parent = nullptr);
    ~TaskSignals() override;

    [[nodiscard]] const std::shared_ptr<BaseAsyncTask> &task() const noexcept { return _task; }

public Q_SLOTS: // NOLINT(readability-redundant-access-specifiers): moc reads it
    /// Asks the task to end.
    void cancel();

Q_SIGNALS:
    /// Usually 0 to 100.
    void progressChanged(int percent);
    /// The length that went out with the progress, in the task's own unit. Only where it differs from the one before.
    void lengthChanged(qlonglong length);
    /// The task entered a named step. It has gone on meanwhile: cancel() stops it, the step event no longer does.
    void stepChanged(const QString &name, qlonglong value);
    void cancelled();
    /// The task has ended. Twice for a synchronous task that was cancelled while it worked, as its delegates hear it.
    void finished(bool isSuccess, const QString &errorText);

private:
    struct News;
    class Delegate;

    Q_INVOKABLE void flush();
    void tell(const News &news);

    const std::shared_ptr<BaseAsyncTask> _task;
    const std::shared_ptr<Delegate> _delegate;
};

} // namespace kelvane::qt

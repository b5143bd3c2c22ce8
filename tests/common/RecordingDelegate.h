// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/common/BaseAsyncTask.h>
#include <kelvane/common/SyncCompletedDelegate.h>

#include <mutex>
#include <string>
#include <vector>

/// Writes down what it hears, as "name:finished", "name:progress 50", … into a journal that several listeners share.
class Journal {
public:
    void add(const std::string &line)
    {
        const std::lock_guard guard(_mutex);
        _lines.push_back(line);
    }
    [[nodiscard]] std::vector<std::string> lines() const
    {
        const std::lock_guard guard(_mutex);
        return _lines;
    }

private:
    mutable std::mutex _mutex;
    std::vector<std::string> _lines;
};

class RecordingDelegate : public kelvane::SyncCompletedDelegate {
public:
    RecordingDelegate(std::shared_ptr<Journal> journal, std::string name)
        : _journal(std::move(journal)),
          _name(std::move(name))
    {
    }

    void asyncTaskFinished(kelvane::IAsyncTask &task, kelvane::IAsyncTask &sender) override
    {
        add(&task == &sender ? "finished" : "finished with another sender");
    }
    void asyncTaskProgressChanged(kelvane::IAsyncTask & /*task*/, std::int32_t percent) override
    {
        add("progress " + std::to_string(percent));
    }
    void asyncTaskLenghtChanged(kelvane::IAsyncTask & /*task*/, std::int64_t lenght) override
    {
        add("lenght " + std::to_string(lenght));
    }
    void asyncTaskStepEvent(
        kelvane::IAsyncTask & /*task*/, const std::shared_ptr<kelvane::IAsyncTaskStepEvent> &event) override
    {
        add("step " + event->name().str());
        if (cancelsSteps)
            event->setCancel(true);
    }
    void asyncTaskCancel(kelvane::IAsyncTask & /*task*/) override { add("cancel"); }
    void asyncTaskWaiting(kelvane::IAsyncTask & /*task*/) override { add("waiting"); }
    void syncDidCompleted(
        kelvane::IAsyncTask & /*task*/, const std::shared_ptr<kelvane::SyncCompletedNotification> &event) override
    {
        add("sync completed");
        lastNotification = event;
    }

    bool cancelsSteps = false;
    std::shared_ptr<kelvane::SyncCompletedNotification> lastNotification;

private:
    void add(const std::string &what) { _journal->add(_name + ":" + what); }

    std::shared_ptr<Journal> _journal;
    std::string _name;
};

// SPDX-License-Identifier: Apache-2.0
#include "SyncTask.h"

#include <kelvane/common/AsyncTaskStepEvent.h>
#include <kelvane/platform/Process.h>

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace browser {

using namespace kelvane;

SyncTask::SyncTask(String command, String folder, String device, int count)
    : _command(std::move(command)),
      _folder(std::move(folder)),
      _device(std::move(device)),
      _count(std::max(count, 1))
{
}

bool SyncTask::onWork()
{
    const auto output = Pipe::pipe();
    const auto errors = Pipe::pipe();
    if (!output || !errors)
        throw Exception("SyncException", "the system has no pipe left");
    Process process;
    process.setLaunchPath(_command);
    process.setArguments({"sync", "--json", _folder, _device});
    process.setStandardOutput(output);
    process.setStandardError(errors);
    process.launch();

    std::string unread;
    std::string complaint;
    // Looks up often enough for a cancel to feel immediate. Both pipes are emptied, or the command would stand still.
    while (!output->isAtEnd()) {
        if (!canContinue())
            process.terminate();
        output->waitForData(50);
        unread += output->availableData().view();
        complaint += errors->availableData().view();
        for (std::size_t end; (end = unread.find('\n')) != std::string::npos; unread.erase(0, end + 1))
            follow(unread.substr(0, end));
    }
    process.waitUntilExit();
    complaint += errors->availableData().view();
    if (process.terminationStatus() == 0)
        return true;
    setErrorText(_firstFailure.isNull() ? String(complaint.substr(0, complaint.find('\n'))) : _firstFailure);
    return false;
}

void SyncTask::follow(const std::string &line)
{
    const QJsonObject event = QJsonDocument::fromJson(QByteArray::fromStdString(line)).object();
    const QString kind = event["event"].toString();
    const String path = event["path"].toString().toStdString();
    if (kind == "started") {
        onStepChanged(std::make_shared<AsyncTaskStepEvent>(nullptr, path, _done, nullptr));
    } else if (kind == "progress") {
        report(event["percent"].toInt());
    } else if (kind == "finished" || kind == "skipped" || kind == "failed") {
        ++_done;
        report(0);
    }
    if (kind == "failed" && _firstFailure.isNull())
        _firstFailure = path + String(": ") + event["error"].toString().toStdString();
}

void SyncTask::report(int percentOfFile)
{
    // Several files are on their way at once, so that one may report less than the last one did.
    reportStepProgress(std::max(lastPercent(), std::min(99, (_done * 100 + percentOfFile) / _count)));
}

} // namespace browser

// SPDX-License-Identifier: Apache-2.0
#include "JsonEvents.h"

#include "JsonText.h"

namespace kelvane::tool {
namespace {

Json event(std::string_view name, const std::string &path)
{
    return {{"event", std::string(name)}, {"path", jsonText(path)}};
}

} // namespace

void JsonEvents::itemPlanned(const SyncItemNews &item)
{
    Json json = event("skipped", item.path);
    json["reason"] = "dry run";
    json["action"] = std::string(item.what);
    json["bytes"] = item.bytes;
    printJsonLine(json);
}

void JsonEvents::itemStarted(const SyncItemNews &item)
{
    Json json = event("started", item.path);
    json["action"] = std::string(item.what);
    json["bytes"] = item.bytes;
    printJsonLine(json);
}

void JsonEvents::itemStep(const SyncItemNews &item, std::string_view step)
{
    Json json = event("step", item.path);
    json["step"] = std::string(step);
    printJsonLine(json);
}

void JsonEvents::itemProgress(const SyncItemNews &item, int percent, std::int64_t copied)
{
    Json json = event("progress", item.path);
    json["percent"] = percent;
    json["bytes"] = copied;
    printJsonLine(json);
}

void JsonEvents::itemFinished(const SyncItemNews &item)
{
    Json json = event("finished", item.path);
    json["action"] = std::string(item.what);
    json["devicePath"] = jsonText(item.devicePath);
    json["bytes"] = item.bytes;
    printJsonLine(json);
}

void JsonEvents::failed(const std::string &path, const std::string &reason)
{
    Json json = event("failed", path);
    json["error"] = jsonText(reason);
    printJsonLine(json);
}

void JsonEvents::itemSkipped(const std::string &path, std::string_view reason)
{
    Json json = event("skipped", path);
    json["reason"] = std::string(reason);
    printJsonLine(json);
}

void JsonEvents::finished(const SyncSummary &summary)
{
    const auto items = [&](SyncOutcome outcome) { return summary.items(outcome); };
    printJsonLine(
        {{"event", "summary"}, {"added", items(SyncOutcome::Copied)}, {"changed", items(SyncOutcome::Replaced)},
            {"deleted", items(SyncOutcome::Removed)}, {"unchanged", items(SyncOutcome::Unchanged)},
            {"failed", items(SyncOutcome::Failed)}, {"ignored", summary.ignored}, {"bytes", summary.bytesWritten()},
            {"seconds", summary.seconds}, {"interrupted", summary.isInterrupted}, {"dryRun", summary.isDryRun}});
}

} // namespace kelvane::tool

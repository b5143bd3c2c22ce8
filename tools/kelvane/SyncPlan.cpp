// SPDX-License-Identifier: Apache-2.0
#include "SyncPlan.h"

#include "ExitCode.h"
#include "Interruption.h"
#include "PhotoConversion.h"
#include "Text.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <sys/stat.h>

namespace kelvane::tool {
SyncPlan::SyncPlan(const SyncOptions &options, DeviceFolder &device, DeviceLibrary *library, SyncView &view)
    : _options(options),
      _device(device),
      _library(library),
      _view(view),
      _names(device)
{
}

void SyncPlan::build()
{
    SourceWalker walker(_device.path());
    for (const std::string &source : _options.sources)
        walker.walk(source);
    for (const SourceWalker::Problem &problem : walker.problems())
        fail(problem.path, "read", problem.reason);
    _settled.ignored = walker.ignoredCount();

    Records records;
    if (_library)
        _library->forEachRecord(false, [&](std::shared_ptr<SyncRecord> record) {
            _names.take(record->devicePath);
            const std::string_view source = record->source;
            records.emplace(source, std::move(record));
        });
    for (const SourceFile &file : walker.files()) {
        if (Interruption::isRequested())
            return;
        const auto known = records.find(file.path);
        takeFile(file, known == records.end() ? nullptr : known->second);
        if (known != records.end())
            records.erase(known);
    }
    if (_options.deletesVanished)
        takeVanished(walker, records);
}

void SyncPlan::takeFile(const SourceFile &file, const std::shared_ptr<SyncRecord> &known)
{
    if (known && isUnchanged(file, *known))
        return takeUnchanged(known);
    const auto record = std::make_shared<SyncRecord>();
    record->source = file.path;
    record->sourceStamp = file.stamp;
    try {
        record->format = &formatOfFile(file);
        record->isConverted = !_options.keepsHeic && isConvertible(file.path, *record->format);
        if (record->isConverted)
            record->format = formatOfExtension("jpg");
        record->devicePath = _names.nameFor(file.path, *record->format);
    } catch (const ItemError &error) {
        return fail(file.path, "copy", error.what());
    }
    std::shared_ptr<SyncItem> item;
    if (known) {
        item = committedItem(known);
        item->beginEdit();
        item->setRecord(record);
        item->endEdit();
    } else {
        item = std::make_shared<SyncItem>();
        item->setRecord(record);
        _list->addItem(item);
    }
    _pending.push_back(item);
}

void SyncPlan::takeUnchanged(const std::shared_ptr<SyncRecord> &known)
{
    const std::shared_ptr<SyncItem> item = committedItem(known);
    if (_options.verifies && !_options.isDryRun)
        return _pending.push_back(item);
    _settled.count(SyncOutcome::Unchanged, known->devicePath, known->deviceStamp.size);
    _view.itemSkipped(known->source, "unchanged");
}

// A disk that does not answer may still have it.
bool SyncPlan::isGone(const std::string &path)
{
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0)
        return false;
    const int reason = errno;
    const bool isGone = reason == ENOENT || reason == ENOTDIR;
    if (!isGone && reason != EACCES) // the walk has told of the folder that may not be read
        fail(path, "look for", reasonText(reason));
    return isGone;
}

// Gone is only what a walk through its folder would have found, and what the system says is not there: a folder that
// cannot be read, a source that is missing itself, or one without any media deletes nothing.
void SyncPlan::takeVanished(const SourceWalker &walker, const Records &unseen)
{
    const std::vector<std::string> barren = walker.barrenFolders();
    std::set<std::string> spared;
    const auto isSpared = [&](const std::string &source) {
        const auto folder = std::find_if(
            barren.begin(), barren.end(), [&](const std::string &each) { return source.starts_with(each + '/'); });
        return folder != barren.end() && (spared.insert(*folder), true);
    };
    Items vanished;
    for (const auto &[source, record] : unseen)
        if (walker.covers(record->source) && isGone(record->source) && !isSpared(record->source)) {
            const std::shared_ptr<SyncItem> item = committedItem(record);
            _list->removeItem(item);
            vanished.push_back(item);
        }
    for (const std::string &folder : spared)
        fail(folder, "delete what is gone from", "it holds no media at all (is its disk mounted?)");
    std::sort(vanished.begin(), vanished.end(),
        [](const auto &a, const auto &b) { return a->record()->source < b->record()->source; });
    // Before the others: they may need the room.
    _pending.insert(_pending.begin(), vanished.begin(), vanished.end());
}

bool SyncPlan::isUnchanged(const SourceFile &file, const SyncRecord &known)
{
    if (file.stamp != known.sourceStamp)
        return false;
    const std::optional<FileStamp> copy = _device.stampOf(known.devicePath);
    return copy && copy->size == known.deviceStamp.size;
}

std::shared_ptr<SyncItem> SyncPlan::committedItem(const std::shared_ptr<SyncRecord> &record)
{
    auto item = std::make_shared<SyncItem>();
    item->setRecord(record);
    _list->addItem(item);
    item->acceptChanges();
    return item;
}

void SyncPlan::fail(const std::string &path, std::string_view what, const std::string &reason)
{
    _settled.count(SyncOutcome::Failed, path, 0);
    _view.itemFailed(path, what, reason);
}

} // namespace kelvane::tool

// SPDX-License-Identifier: Apache-2.0
#include "SyncWork.h"

#include "CopyProgress.h"
#include "ExitCode.h"
#include "FileCompare.h"
#include "MediaReader.h"
#include "PhotoConversion.h"
#include "SourceFile.h"
#include "Text.h"

#include <kelvane/common/AsyncTaskStepEvent.h>
#include <kelvane/storage/FastFileCopyer.h>

#include <cerrno>
#include <sys/stat.h>

namespace kelvane::tool {
namespace {

void enterStep(AsyncTaskIOS &task, const char *name)
{
    const auto self = std::static_pointer_cast<AsyncTaskIOS>(task.shared_from_this());
    task.onStepChanged(std::make_shared<AsyncTaskStepEvent>(self, name, 0, nullptr));
}

void requireRunning(const AsyncTaskIOS &task)
{
    if (task.isCancelled())
        throw ItemError("interrupted");
}

// What is copied must be what was planned: a file that somebody writes to would arrive as neither old nor new.
void requireUnchanged(const SyncRecord &record)
{
    struct stat status {};
    if (::stat(record.source.c_str(), &status) != 0)
        throw ItemError(reasonText(errno));
    if (!S_ISREG(status.st_mode) || FileStamp::of(status) != record.sourceStamp)
        throw ItemError("it was changed during the sync");
}

} // namespace

bool SyncWork::run(AsyncTaskIOS &task, const std::shared_ptr<SyncItem> &item)
{
    try {
        runItem(task, item);
        return true;
    } catch (const ItemError &error) {
        task.setErrorText(error.what());
    } catch (const DeviceLibrary::LibraryError &error) {
        task.setErrorText(error.what());
    }
    return false;
}

void SyncWork::runItem(AsyncTaskIOS &task, const std::shared_ptr<SyncItem> &item)
{
    switch (item->itemState()) {
    case DataItemState::Added:
    case DataItemState::Modified:
        return copyItem(task, *item);
    case DataItemState::Deleted:
        return removeItem(task, *item->record());
    default:
        return verifyItem(task, *item);
    }
}

void SyncWork::copyItem(AsyncTaskIOS &task, SyncItem &item)
{
    SyncRecord &record = *item.record();
    enterStep(task, "read");
    requireUnchanged(record);
    const MediaContent content = readMedia(record.source, *record.format);
    record.media = content.media;
    record.media->setDevArtworkPath(_artwork.put(content.artwork));

    enterStep(task, "copy");
    requireRunning(task);
    const std::string staged = std::string(DeviceRepair::incomingFolder) + '/' + std::to_string(++_stagedCount);
    // A copy that cannot end well would only take the room of the smaller ones beside it.
    const SpaceBudget::Claim room(_budget, record.sourceStamp.size);
    try {
        if (record.isConverted)
            convertFile(task, record, staged);
        else
            copyFile(task, record, staged);
        requireRunning(task);
        publish(record, staged);
    } catch (...) {
        _device.removeFile(staged);
        throw;
    }

    enterStep(task, "record");
    this->record(record);
    // The row has the tags now. With those of all its items, a large run would fill the memory.
    record.media = nullptr;
    if (const std::shared_ptr<SyncRecord> old = item.originalRecord())
        removeFile({old->devicePath, old->deviceStamp});
}

void SyncWork::copyFile(AsyncTaskIOS &task, const SyncRecord &record, const std::string &staged)
{
    const auto progress = std::make_shared<CopyProgress>(task);
    const auto copier = std::make_shared<FastFileCopyer>();
    copier->setDelegate(progress);
    copier->setSynchronise(true);
    copier->fileCopyFromPath(record.source, _device.pinnedPath(staged));
    constexpr std::int64_t succeeded = 2;
    requireRunning(task);
    if (copier->state() != succeeded)
        throw ItemError(reasonText(copier->errorNumber() != 0 ? copier->errorNumber() : ENOENT));
    requireUnchanged(record);
    const std::optional<FileStamp> stamp = _device.stampOf(staged);
    if (!stamp || stamp->size != record.sourceStamp.size)
        throw ItemError("the copy is not complete");
    if (!_verifies)
        return;
    enterStep(task, "verify");
    if (!isSameContent(record.source, _device, staged, [&] { return !task.isCancelled(); })) {
        requireRunning(task);
        throw ItemError("the copy differs from it");
    }
}

void SyncWork::convertFile(AsyncTaskIOS &task, const SyncRecord &record, const std::string &staged)
{
    convertPhoto(record.source, _device.pinnedPath(staged), _device.absolutePath(staged));
    requireUnchanged(record);
    // As a copy does, it keeps the day of the photo, and is on the disk before it gets its name.
    const FileDescriptor file = _device.openForWriting(staged);
    const timespec modified{
        record.sourceStamp.modifiedNs / 1'000'000'000, record.sourceStamp.modifiedNs % 1'000'000'000};
    const timespec times[] = {modified, modified};
    if (::futimens(file.get(), times) != 0 || ::fsync(file.get()) != 0)
        throw ItemError(reasonText(errno));
    if (!_verifies)
        return;
    enterStep(task, "verify");
    if (!isSameConversion(record.source, _device, staged, staged + "-again"))
        throw ItemError("the copy differs from it");
}

void SyncWork::publish(SyncRecord &record, const std::string &staged)
{
    while (!_device.publish(staged, record.devicePath)) {
        record.devicePath = _names.nameFor(record.source, *record.format);
        _library.planTransfers({{record.devicePath, record.source, record.sourceStamp}});
    }
    const std::optional<FileStamp> stamp = _device.stampOf(record.devicePath);
    if (!stamp)
        throw ItemError("the copy vanished from the device");
    record.deviceStamp = *stamp;
}

void SyncWork::record(const SyncRecord &record)
{
    try {
        _library.save(record);
    } catch (const DeviceLibrary::LibraryError &) {
        // No file without its row.
        _device.removeFile(record.devicePath);
        throw;
    }
}

void SyncWork::removeItem(AsyncTaskIOS &task, const SyncRecord &record)
{
    enterStep(task, "record");
    _library.remove(record.source);
    enterStep(task, "remove");
    removeFile({record.devicePath, record.deviceStamp});
}

void SyncWork::removeFile(const DeviceLibrary::Removal &removal)
{
    _library.makeDurable();
    _repair.removeFile(removal);
    _repair.forget({removal});
}

void SyncWork::verifyItem(AsyncTaskIOS &task, SyncItem &item)
{
    enterStep(task, "verify");
    const std::shared_ptr<SyncRecord> known = item.record();
    const bool wasConverted = isConversion(known->source, known->devicePath);
    const bool isSame = wasConverted
        ? isSameConversion(known->source, _device, known->devicePath,
            std::string(DeviceRepair::incomingFolder) + '/' + std::to_string(++_stagedCount))
        : isSameContent(known->source, _device, known->devicePath, [&] { return !task.isCancelled(); });
    requireRunning(task);
    if (isSame)
        return;
    // A damaged copy is made anew, under another name as every changed item.
    item.setModified();
    SyncRecord &record = *item.record();
    const SourceFile source{record.source, record.sourceStamp, formatOfExtension(lowerExtension(record.source))};
    record.format = wasConverted ? formatOfExtension("jpg") : &formatOfFile(source);
    record.isConverted = wasConverted;
    record.devicePath = _names.nameFor(record.source, *record.format);
    _library.planTransfers({{record.devicePath, record.source, record.sourceStamp}});
    copyItem(task, item);
}

} // namespace kelvane::tool

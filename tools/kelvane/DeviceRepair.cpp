// SPDX-License-Identifier: Apache-2.0
#include "DeviceRepair.h"

#include "ArtworkStore.h"
#include "ExitCode.h"
#include "FileCompare.h"
#include "MediaReader.h"
#include "PhotoConversion.h"
#include "SourceFile.h"
#include "Text.h"

#include <optional>
#include <set>

namespace kelvane::tool {

void DeviceRepair::settle()
{
    _device.emptyFolder(incomingFolder);
    std::vector<std::string> dead;
    for (const DeviceLibrary::Transfer &transfer : _library.transfers()) {
        if (const std::optional<FileStamp> stamp = _device.stampOf(transfer.target))
            adopt(transfer, *stamp);
        dead.push_back(transfer.target);
    }
    if (!dead.empty())
        _library.dropTransfers(dead);
    _library.makeDurable(); // what follows takes away what earlier rows named
    const std::vector<DeviceLibrary::Removal> removals = _library.removals();
    for (const DeviceLibrary::Removal &removal : removals)
        removeFile(removal);
    forget(removals);
    ArtworkStore(_device, _library).settle();
}

// A file gets its name when it is complete. So one that stands at the end of a transfer is our whole copy, which only
// lacks its row; or, if it looks different, a file that somebody else has put there, which is left alone.
void DeviceRepair::adopt(const DeviceLibrary::Transfer &transfer, const FileStamp &stamp)
{
    const bool isOurs = isConversion(transfer.source, transfer.target)
        ? isSameConversion(transfer.source, _device, transfer.target, std::string(incomingFolder) + "/repaired")
        : stamp == transfer.stamp
            || (stamp.isAbout(transfer.stamp) && isSameContent(transfer.source, _device, transfer.target));
    if (!isOurs)
        return;
    SyncRecord record;
    record.source = transfer.source;
    record.sourceStamp = transfer.stamp;
    record.devicePath = transfer.target;
    record.deviceStamp = stamp;
    const MediaFormat *format = formatOfExtension(lowerExtension(transfer.target));
    if (!format)
        return;
    // The run that gave it its name may have been killed before it had brought that to the device.
    _device.makeFolder(parentOf(transfer.target));
    _device.synchroniseFolder(parentOf(transfer.target));
    const FileDescriptor copy = _device.openFile(transfer.target);
    const MediaContent content = readMedia(record.source, *format, _device.pinnedPath(copy, transfer.target));
    record.media = content.media;
    record.media->setDevArtworkPath(ArtworkStore(_device, _library).put(content.artwork));
    _library.save(record);
}

void DeviceRepair::removeFile(const DeviceLibrary::Removal &removal)
{
    const std::optional<FileStamp> stamp = _device.stampOf(removal.devicePath);
    if (stamp && stamp->isAbout(removal.stamp))
        _device.removeFile(removal.devicePath);
}

void DeviceRepair::forget(const std::vector<DeviceLibrary::Removal> &removals)
{
    if (removals.empty())
        return;
    std::set<std::string> folders;
    for (const DeviceLibrary::Removal &removal : removals)
        folders.insert(parentOf(removal.devicePath));
    for (const std::string &folder : folders)
        _device.synchroniseFolder(folder);
    _library.dropRemovals(removals);
}

} // namespace kelvane::tool

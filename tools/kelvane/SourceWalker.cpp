// SPDX-License-Identifier: Apache-2.0
#include "SourceWalker.h"

#include "ExitCode.h"
#include "Interruption.h"
#include "Text.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace kelvane::tool {
namespace {

std::string withoutLinks(const std::string &path)
{
    const std::unique_ptr<char, void (*)(void *)> resolved(::realpath(path.c_str(), nullptr), std::free);
    return resolved ? resolved.get() : std::string();
}

bool isInside(const std::string &path, const std::string &folder)
{
    return path == folder || folder == "/"
        || (path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0 && path[folder.size()] == '/');
}

const char *nameOfSpecialFile(mode_t mode)
{
    return S_ISFIFO(mode) ? "a FIFO" : S_ISSOCK(mode) ? "a socket" : "a device";
}

std::string joined(const std::string &folder, const std::string &name)
{
    return folder == "/" ? folder + name : folder + '/' + name;
}

} // namespace

SourceWalker::SourceWalker(std::string devicePath) : _devicePath(std::move(devicePath)) {}

void SourceWalker::walk(const std::string &source)
{
    struct stat status {};
    const std::string path = withoutLinks(source);
    if (path.empty() || ::stat(path.c_str(), &status) != 0) {
        const int reason = errno;
        struct stat link {};
        const bool isLink = ::lstat(source.c_str(), &link) == 0 && S_ISLNK(link.st_mode);
        return report(source, isLink && reason == ENOENT ? "a link that leads nowhere" : reasonText(reason));
    }
    if (isInside(path, _devicePath))
        throw StopError(ExitWrongUse, "source " + inQuotes(source) + " is inside the device " + inQuotes(_devicePath));
    if (S_ISDIR(status.st_mode))
        walkFolder(path);
    else if (S_ISREG(status.st_mode))
        takeFile(path, status, true);
    else
        report(source, std::string("is ") + nameOfSpecialFile(status.st_mode) + ", not a file");
}

bool SourceWalker::covers(const std::string &path) const
{
    return std::any_of(_walkedFolders.begin(), _walkedFolders.end(),
        [&](const std::string &folder) { return isInside(path, folder); });
}

std::vector<std::string> SourceWalker::barrenFolders() const
{
    std::vector<std::string> barren;
    for (const std::string &folder : _walkedFolders)
        if (std::none_of(
                _files.begin(), _files.end(), [&](const SourceFile &file) { return isInside(file.path, folder); }))
            barren.push_back(folder);
    return barren;
}

void SourceWalker::walkFolder(const std::string &folder)
{
    _walkedFolders.push_back(folder);
    // Not recursive: the depth of a tree is a stranger's choice.
    std::vector<std::string> folders{folder};
    while (!folders.empty() && !Interruption::isRequested()) {
        const std::string present = std::move(folders.back());
        folders.pop_back();
        if (isInside(present, _devicePath) || !_seenFolders.insert(present).second)
            continue;
        const std::unique_ptr<DIR, int (*)(DIR *)> open(::opendir(present.c_str()), ::closedir);
        if (!open) {
            report(present, reasonText(errno));
            continue;
        }
        std::vector<std::string> names;
        errno = 0;
        while (const dirent *entry = ::readdir(open.get()))
            names.emplace_back(entry->d_name);
        if (errno != 0)
            report(present, reasonText(errno));
        std::sort(names.begin(), names.end());
        std::vector<std::string> subfolders;
        for (const std::string &name : names)
            takeEntry(present, name, subfolders);
        folders.insert(folders.end(), subfolders.rbegin(), subfolders.rend());
    }
}

void SourceWalker::takeEntry(const std::string &folder, const std::string &name, std::vector<std::string> &folders)
{
    if (name == "." || name == "..")
        return;
    const std::string path = joined(folder, name);
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        return report(path, reasonText(errno));
    if (name.front() == '.') {
        if (!S_ISDIR(status.st_mode))
            ++_ignoredCount;
    } else if (S_ISDIR(status.st_mode)) {
        folders.push_back(path);
    } else if (S_ISLNK(status.st_mode)) {
        takeLink(path);
    } else if (S_ISREG(status.st_mode)) {
        takeFile(path, status, false);
    } else {
        report(path, std::string("is ") + nameOfSpecialFile(status.st_mode) + ", not a file");
    }
}

void SourceWalker::takeLink(const std::string &path)
{
    struct stat status {};
    const std::string target = withoutLinks(path);
    if (target.empty() || ::stat(target.c_str(), &status) != 0)
        return report(path, errno == ENOENT ? "a link that leads nowhere" : reasonText(errno));
    if (S_ISREG(status.st_mode) && !isInside(target, _devicePath))
        takeFile(target, status, false);
    else
        ++_ignoredCount;
}

void SourceWalker::takeFile(std::string path, const struct stat &status, bool isNamed)
{
    const MediaFormat *byExtension = formatOfExtension(lowerExtension(path));
    if (!byExtension && !isNamed) {
        ++_ignoredCount;
    } else if (!_seenFiles.contains(path)) {
        _files.push_back({std::move(path), FileStamp::of(status), byExtension});
        _seenFiles.insert(_files.back().path);
    }
}

void SourceWalker::report(const std::string &path, std::string reason)
{
    _problems.push_back({path, std::move(reason)});
}

} // namespace kelvane::tool

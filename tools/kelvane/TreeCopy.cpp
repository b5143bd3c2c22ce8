// SPDX-License-Identifier: Apache-2.0
#include "TreeCopy.h"

#include <cerrno>
#include <dirent.h>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace kelvane::tool {
namespace {

namespace fs = std::filesystem;

bool isFolder(const std::string &path)
{
    std::error_code error;
    return fs::is_directory(path, error);
}

} // namespace

TreeCopy::Extent TreeCopy::extentOf(const std::string &path)
{
    Extent extent;
    std::vector<std::string> folders;
    const auto take = [&](const std::string &entry) {
        struct stat status {};
        if (::lstat(entry.c_str(), &status) != 0)
            return;
        if (S_ISDIR(status.st_mode))
            folders.push_back(entry);
        if (!S_ISREG(status.st_mode)) // links are copied as links
            return;
        ++extent.files;
        extent.bytes += status.st_size;
    };
    take(path);
    // Not by the iterators of <filesystem>: they end the process where there is no memory for a name.
    while (!folders.empty()) {
        const std::string folder = std::move(folders.back());
        folders.pop_back();
        const std::unique_ptr<DIR, int (*)(DIR *)> open(::opendir(folder.c_str()), ::closedir);
        while (const dirent *entry = open ? ::readdir(open.get()) : nullptr)
            if (const std::string name = entry->d_name; name != "." && name != "..")
                take(std::string(folder).append("/").append(name));
    }
    return extent;
}

TreeCopy::TreeCopy(std::string from, std::string to, std::function<void(std::int64_t)> progress)
    : _from(std::move(from)),
      _to(std::move(to)),
      _progress(std::move(progress))
{
    _state.setStatusCallback(&TreeCopy::status);
    _state.setStatusContext(this);
    _state.setSynchronise(true);
}

bool TreeCopy::run()
{
    // A folder that cannot be looked at must not pass for a file: a copy of it alone would be no copy.
    struct stat status {};
    if (::lstat(_from.c_str(), &status) != 0) {
        _errorNumber = errno;
        return false;
    }
    std::uint32_t flags = COPYFILE_ALL | COPYFILE_EXCL | COPYFILE_NOFOLLOW;
    if (S_ISDIR(status.st_mode) || (S_ISLNK(status.st_mode) && isFolder(_from)))
        flags |= COPYFILE_RECURSIVE;
    const bool isCopied = copyfile(_from, _to, &_state, flags) == 0;
    _errorNumber = isCopied ? 0 : errno;
    if (isCopied && !(flags & COPYFILE_RECURSIVE))
        fileDone(_to.c_str());
    return isCopied && _state.failedCount() == 0;
}

int TreeCopy::status(
    int what, int stage, FileCopyState *state, const char *source, const char *destination, void *context)
{
    TreeCopy &self = *static_cast<TreeCopy *>(context);
    const int answer = FastFileCopyer::copyStatus(what, stage, state, source, destination, self._copier.get());
    if (what == COPYFILE_RECURSE_FILE && stage == COPYFILE_FINISH)
        self.fileDone(destination);
    else if (what == COPYFILE_COPY_DATA && stage == COPYFILE_PROGRESS)
        self._progress(self._bytesOfDone + state->copied().value_or(0));
    return self._copier->isCancelled() ? COPYFILE_QUIT : answer;
}

// What a file has become counts in whole: a clone is there without a single report.
void TreeCopy::fileDone(const char *destination)
{
    struct stat status {};
    if (::lstat(destination, &status) == 0 && S_ISREG(status.st_mode))
        _bytesOfDone += status.st_size;
    _progress(_bytesOfDone);
}

} // namespace kelvane::tool

// SPDX-License-Identifier: Apache-2.0
#include "TreeCopy.h"

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>
#include <utility>

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
    std::error_code error;
    const auto take = [&](const fs::directory_entry &entry) {
        if (!entry.is_regular_file(error) || entry.is_symlink(error))
            return;
        const std::uintmax_t size = entry.file_size(error);
        ++extent.files;
        extent.bytes += error ? 0 : static_cast<std::int64_t>(size);
    };
    if (fs::is_symlink(path, error)) // copied as a link
        return extent;
    if (!isFolder(path)) {
        take(fs::directory_entry(path, error));
        return extent;
    }
    const auto options = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator at(path, options, error), end; at != end; at.increment(error))
        take(*at);
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
    std::uint32_t flags = COPYFILE_ALL | COPYFILE_EXCL | COPYFILE_NOFOLLOW;
    if (isFolder(_from))
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

// SPDX-License-Identifier: Apache-2.0
#include "SafeFile.h"

#include "ExitCode.h"
#include "FileDescriptor.h"
#include "Text.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvane::tool {
namespace {

// Asking for the mask means changing it, which other threads must not see: it is asked for before there are any.
const mode_t usualMode = [] {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return static_cast<mode_t>(0666 & ~mask);
}();

void require(bool isGood)
{
    if (!isGood)
        throw ItemError(reasonText(errno));
}

} // namespace

void writeAll(int file, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        require(count > 0);
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void makeUsual(int file)
{
    require(::fchmod(file, usualMode) == 0);
}

namespace {

/// A file that is gone when the object goes, unless it got another name.
class HiddenFile {
public:
    explicit HiddenFile(const std::string &folder)
        : _path(folder + ".kelvane-XXXXXX.part"),
          _file(makeExclusively(_path))
    {
        require(_file.isOpen());
    }
    ~HiddenFile() { ::unlink(_path.c_str()); }
    HiddenFile(const HiddenFile &) = delete;
    HiddenFile &operator=(const HiddenFile &) = delete;

    [[nodiscard]] const char *path() const { return _path.c_str(); }
    void write(std::string_view content) const
    {
        writeAll(_file.get(), content);
        makeUsual(_file.get());
        require(::fsync(_file.get()) == 0);
    }

private:
    static FileDescriptor makeExclusively(std::string &pattern)
    {
        constexpr int suffix = 5; // ".part"
        return FileDescriptor(::mkstemps(pattern.data(), suffix));
    }

    std::string _path;
    const FileDescriptor _file;
};

// False where the name is taken.
bool giveName(const char *from, const std::string &to)
{
    if (::link(from, to.c_str()) == 0)
        return true;
    if (errno == EEXIST)
        return false;
    // Not every file system has links. There a look must do.
    if (::access(to.c_str(), F_OK) == 0)
        return false;
    require(::rename(from, to.c_str()) == 0);
    return true;
}

} // namespace

std::string writeNewFile(
    std::string_view content, const std::string &folder, const std::function<std::string(int attempt)> &nameFor)
{
    constexpr int mostNames = 10000;
    const HiddenFile file(folder + '/');
    file.write(content);
    for (int attempt = 1; attempt <= mostNames; ++attempt) {
        std::string path = folder + '/' + nameFor(attempt);
        if (giveName(file.path(), path))
            return path;
    }
    throw ItemError("no name is free for it");
}

void writeFileSafely(const std::string &path, std::string_view content)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
        throw ItemError(S_ISDIR(status.st_mode) ? "is a folder" : "is no regular file");
    const HiddenFile file(path.substr(0, path.size() - lastComponent(path).size()));
    file.write(content);
    require(::rename(file.path(), path.c_str()) == 0);
}

} // namespace kelvane::tool

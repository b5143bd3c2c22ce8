// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileCopyStaging_p.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/random.h>

namespace kelvane {

namespace {

constexpr mode_t privateFile = 0600;
constexpr int nameAttempts = 16;

} // namespace

std::string hiddenCopyName()
{
    std::uint64_t chance = 0;
    if (getrandom(&chance, sizeof chance, 0) < 0)
        chance = static_cast<std::uint64_t>(getpid()); // the name is only proposed: a taken one is tried again
    std::array<char, 48> text{};
    (void)std::snprintf(text.data(), text.size(), ".kelvane-%016llx.part", static_cast<unsigned long long>(chance));
    return text.data();
}

StagedFile::~StagedFile()
{
    if (!_hiddenName.empty())
        unlinkat(_folder, _hiddenName.c_str(), 0);
}

int StagedFile::open()
{
    // A nameless file can be linked to a free name only, so replacing needs a name to rename.
    if (!_replace && !_session.namelessRefused) {
        _file = FileDescriptor(openat(_folder, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, privateFile));
        if (_file)
            return 0;
        // The last two are what systems answer that take the flag for the opening of a folder.
        if (errno != EOPNOTSUPP && errno != EINVAL && errno != EISDIR && errno != ENOENT)
            return errno;
        _session.namelessRefused = true;
    }
    return openHidden();
}

int StagedFile::openHidden()
{
    for (int attempt = 0; attempt < nameAttempts; ++attempt) {
        std::string name = hiddenCopyName();
        _file = FileDescriptor(
            openat(_folder, name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_NOFOLLOW | O_CLOEXEC, privateFile));
        if (_file) {
            _hiddenName = std::move(name);
            return 0;
        }
        if (errno != EEXIST)
            return errno;
    }
    return EEXIST;
}

int StagedFile::publish()
{
    if (_hiddenName.empty())
        return publishNameless();
    const int reason = publishHidden();
    if (reason == 0)
        _hiddenName.clear();
    return reason;
}

int StagedFile::publishNameless()
{
    // Linking by number alone is a privilege on older systems; they answer that there is no such file.
    if (linkat(_file.get(), "", _folder, _name, AT_EMPTY_PATH) == 0)
        return 0;
    if (errno != ENOENT && errno != EPERM)
        return errno;
    const std::string link = "/proc/self/fd/" + std::to_string(_file.get());
    return linkat(AT_FDCWD, link.c_str(), _folder, _name, AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
}

int StagedFile::publishHidden()
{
    const char *const hidden = _hiddenName.c_str();
    if (_replace)
        return renameat(_folder, hidden, _folder, _name) == 0 ? 0 : errno;
    if (renameat2(_folder, hidden, _folder, _name, RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP)
        return errno;
    if (linkat(_folder, hidden, _folder, _name, 0) == 0) {
        unlinkat(_folder, hidden, 0);
        return 0;
    }
    if (errno == EEXIST)
        return errno;
    // Neither is there: reserve the name, which fails if it is taken, and rename over the reservation.
    const FileDescriptor reserved(openat(_folder, _name, O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, privateFile));
    if (!reserved)
        return errno;
    if (renameat(_folder, hidden, _folder, _name) == 0)
        return 0;
    const int reason = errno;
    unlinkat(_folder, _name, 0);
    return reason;
}

} // namespace kelvane

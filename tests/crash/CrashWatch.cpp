// SPDX-License-Identifier: Apache-2.0
#include "CrashWatch.h"

#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kelvane::testsupport {
namespace {

std::string environment(const char *name)
{
    const char *value = ::getenv(name);
    return value ? value : "";
}

struct Watch {
    const std::string root = environment("KELVANE_CRASH_ROOT");
    const long killAt = std::atol(environment("KELVANE_CRASH_AT").c_str());
    const int log = [] {
        const std::string path = environment("KELVANE_CRASH_LOG");
        return path.empty() ? -1
                            : static_cast<int>(::syscall(
                                SYS_openat, AT_FDCWD, path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    }();
    long count = 0;
    std::recursive_mutex mutex;
};

// Never destroyed: programs write until their very end.
Watch &watch()
{
    static Watch &instance = *new Watch;
    return instance;
}

Place placeOfReal(const std::string &real)
{
    const std::string &root = watch().root;
    if (root.empty() || real.compare(0, root.size(), root) != 0)
        return {};
    if (real.size() == root.size())
        return {true, ""};
    return real[root.size()] == '/' ? Place{true, real.substr(root.size() + 1)} : Place{};
}

std::string targetOf(int descriptor)
{
    char target[PATH_MAX];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t size = ::readlink(link.c_str(), target, sizeof target);
    return size < 0 ? std::string() : std::string(target, static_cast<std::size_t>(size));
}

void append(const void *bytes, std::size_t count)
{
    for (const char *next = static_cast<const char *>(bytes); count > 0;) {
        const long written = ::syscall(SYS_write, watch().log, next, count);
        if (written <= 0)
            ::abort();
        next += written;
        count -= static_cast<std::size_t>(written);
    }
}

std::string bytesAt(int descriptor, off_t position, std::size_t count)
{
    std::string bytes(count, '\0');
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    const int reader = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path.c_str(), O_RDONLY | O_CLOEXEC));
    const ssize_t got = ::pread(reader, bytes.data(), count, position);
    ::syscall(SYS_close, reader);
    if (got != static_cast<ssize_t>(count))
        ::abort();
    return bytes;
}

} // namespace

Place placeOf(int descriptor)
{
    return placeOfReal(targetOf(descriptor));
}

Place placeOf(int folder, const char *path)
{
    std::string full = path;
    if (full.empty())
        return placeOf(folder);
    if (full.front() != '/')
        full = (folder == AT_FDCWD ? std::string(".") : "/proc/self/fd/" + std::to_string(folder)) + '/' + full;
    while (full.size() > 1 && full.back() == '/')
        full.pop_back();
    const auto slash = full.rfind('/');
    const std::string name = full.substr(slash + 1);
    char *real = ::realpath(full.substr(0, slash + 1).c_str(), nullptr);
    if (!real)
        return {};
    const std::string parent = real;
    ::free(real);
    return placeOfReal(name == "." ? parent : parent + '/' + name);
}

std::uint64_t inodeOf(int descriptor)
{
    struct stat status {};
    ::fstat(descriptor, &status);
    return status.st_ino;
}

Call written(int descriptor, off_t position, ssize_t count)
{
    return {CallKind::Write, inodeOf(descriptor), position, {}, {},
        bytesAt(descriptor, position, static_cast<std::size_t>(count))};
}

Call attributes(int descriptor)
{
    struct stat status {};
    ::fstat(descriptor, &status);
    return {CallKind::Attributes, status.st_ino, status.st_mtim.tv_sec * 1'000'000'000 + status.st_mtim.tv_nsec};
}

Call synchronised(int descriptor, const Place &place)
{
    struct stat status {};
    ::fstat(descriptor, &status);
    if (S_ISDIR(status.st_mode))
        return {CallKind::SyncFolder, 0, 0, place.path};
    return {CallKind::Sync, status.st_ino};
}

std::recursive_mutex &oneAtATime()
{
    return watch().mutex;
}

void arrive()
{
    if (++watch().count == watch().killAt) {
        ::raise(SIGKILL);
        ::_exit(99);
    }
}

void writeDown(const Call &call)
{
    if (watch().log < 0)
        return;
    const auto size = [](const std::string &text) { return static_cast<std::uint32_t>(text.size()); };
    const CallHead head{call.kind, size(call.path), size(call.other), size(call.bytes), call.inode, call.position};
    append(&head, sizeof head);
    append(call.path.data(), call.path.size());
    append(call.other.data(), call.other.size());
    append(call.bytes.data(), call.bytes.size());
}

} // namespace kelvane::testsupport

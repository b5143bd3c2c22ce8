// SPDX-License-Identifier: Apache-2.0
// Loaded into a program before the C library (LD_PRELOAD): counts the calls with which the program changes what is below
// one folder, writes them down, and kills the program just before a chosen one.
//
//   KELVANE_CRASH_ROOT  the folder, absolute and without links
//   KELVANE_CRASH_LOG   a file for the calls, see CallLog.h
//   KELVANE_CRASH_AT    the number of the call, from 1, that is not made any more
//
// One call at a time: the order of the log is the order in which the calls took effect, whatever the threads do.

#include "CrashWatch.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

using namespace kelvane::testsupport;

template <class Function>
Function *next(const char *name)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}
#define NEXT(name) next<decltype(name)>(#name)

int watchedOpen(int folder, const char *path, int flags, mode_t mode)
{
    static const auto real = NEXT(openat);
    const Place place =
        flags & (O_CREAT | O_TRUNC) || (flags & O_TMPFILE) == O_TMPFILE ? placeOf(folder, path) : Place();
    if (!place.isInside)
        return real(folder, path, flags, mode);
    const std::lock_guard guard(oneAtATime());
    struct stat before {};
    const bool isThere = ::fstatat(folder, path, &before, 0) == 0;
    const bool isNameless = (flags & O_TMPFILE) == O_TMPFILE;
    const bool changes = isNameless || !isThere || (flags & O_TRUNC && before.st_size > 0);
    return made(
        changes, [&] { return real(folder, path, flags, mode); },
        [&](int opened) {
            const CallKind kind = isNameless ? CallKind::CreateNameless
                : isThere                    ? CallKind::Truncate
                                             : CallKind::Create;
            const std::int64_t made =
                kind == CallKind::Truncate ? 0 : mode | (flags & O_EXCL || isNameless ? madeExclusively : 0);
            return Call{kind, inodeOf(opened), made, isNameless ? std::string() : place.path};
        });
}

mode_t modeOf(int flags, va_list &arguments)
{
    return flags & O_CREAT || (flags & O_TMPFILE) == O_TMPFILE ? va_arg(arguments, mode_t) : 0;
}

} // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return watchedOpen(AT_FDCWD, path, flags, mode);
}

EXPORTED int openat(int folder, const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return watchedOpen(folder, path, flags, mode);
}

// The checked variants, which programs are built to call that pass no mode.
EXPORTED int __open_2(const char *path, int flags)
{
    return watchedOpen(AT_FDCWD, path, flags, 0);
}

EXPORTED int __openat_2(int folder, const char *path, int flags)
{
    return watchedOpen(folder, path, flags, 0);
}

EXPORTED int mkstemps(char *pattern, int suffix)
{
    static const auto real = NEXT(mkstemps);
    return made(
        placeOf(AT_FDCWD, pattern).isInside, [&] { return real(pattern, suffix); },
        [&](int opened) {
            return Call{CallKind::Create, inodeOf(opened), 0600 | madeExclusively, placeOf(AT_FDCWD, pattern).path};
        });
}

EXPORTED int mkstemp(char *pattern)
{
    return mkstemps(pattern, 0);
}

EXPORTED ssize_t write(int descriptor, const void *bytes, size_t count)
{
    static const auto real = NEXT(write);
    return made(
        placeOf(descriptor).isInside, [&] { return real(descriptor, bytes, count); },
        [&](ssize_t done) { return written(descriptor, ::lseek(descriptor, 0, SEEK_CUR) - done, done); });
}

EXPORTED ssize_t writev(int descriptor, const iovec *parts, int count)
{
    static const auto real = NEXT(writev);
    return made(
        placeOf(descriptor).isInside, [&] { return real(descriptor, parts, count); },
        [&](ssize_t done) { return written(descriptor, ::lseek(descriptor, 0, SEEK_CUR) - done, done); });
}

EXPORTED ssize_t pwrite(int descriptor, const void *bytes, size_t count, off_t position)
{
    static const auto real = NEXT(pwrite);
    return made(
        placeOf(descriptor).isInside, [&] { return real(descriptor, bytes, count, position); },
        [&](ssize_t done) { return written(descriptor, position, done); });
}

EXPORTED ssize_t copy_file_range(int in, off64_t *from, int out, off64_t *to, size_t count, unsigned flags)
{
    static const auto real = NEXT(copy_file_range);
    return made(
        placeOf(out).isInside, [&] { return real(in, from, out, to, count, flags); },
        [&](ssize_t done) { return written(out, (to ? *to : ::lseek(out, 0, SEEK_CUR)) - done, done); });
}

EXPORTED int ioctl(int descriptor, unsigned long request, ...)
{
    static const auto real = NEXT(ioctl);
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    return made(
        request == FICLONE && placeOf(descriptor).isInside, [&] { return real(descriptor, request, argument); },
        [&](int) {
            struct stat status {};
            ::fstat(descriptor, &status);
            return written(descriptor, 0, status.st_size);
        });
}

EXPORTED int ftruncate(int descriptor, off_t size)
{
    static const auto real = NEXT(ftruncate);
    return made(
        placeOf(descriptor).isInside, [&] { return real(descriptor, size); },
        [&](int) {
            return Call{CallKind::Truncate, inodeOf(descriptor), size};
        });
}

EXPORTED int renameat2(int fromFolder, const char *from, int toFolder, const char *to, unsigned flags)
{
    static const auto real = NEXT(renameat2);
    const Place source = placeOf(fromFolder, from);
    const Place target = placeOf(toFolder, to);
    return made(
        source.isInside || target.isInside, [&] { return real(fromFolder, from, toFolder, to, flags); },
        [&](int) {
            return Call{CallKind::Rename, 0, 0, source.path, target.path};
        });
}

EXPORTED int renameat(int fromFolder, const char *from, int toFolder, const char *to)
{
    return renameat2(fromFolder, from, toFolder, to, 0);
}

EXPORTED int rename(const char *from, const char *to)
{
    return renameat2(AT_FDCWD, from, AT_FDCWD, to, 0);
}

EXPORTED int linkat(int fromFolder, const char *from, int toFolder, const char *to, int flags)
{
    static const auto real = NEXT(linkat);
    const Place target = placeOf(toFolder, to);
    return made(
        target.isInside, [&] { return real(fromFolder, from, toFolder, to, flags); },
        [&](int) {
            struct stat status {};
            ::fstatat(toFolder, to, &status, AT_SYMLINK_NOFOLLOW);
            return Call{CallKind::Link, status.st_ino, 0, target.path};
        });
}

EXPORTED int link(const char *from, const char *to)
{
    return linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}

EXPORTED int unlinkat(int folder, const char *path, int flags)
{
    static const auto real = NEXT(unlinkat);
    const Place place = placeOf(folder, path);
    return made(
        place.isInside, [&] { return real(folder, path, flags); },
        [&](int) {
            return Call{flags & AT_REMOVEDIR ? CallKind::RemoveFolder : CallKind::Unlink, 0, 0, place.path};
        });
}

EXPORTED int unlink(const char *path)
{
    return unlinkat(AT_FDCWD, path, 0);
}

EXPORTED int remove(const char *path)
{
    const int result = unlinkat(AT_FDCWD, path, 0);
    return result != 0 && errno == EISDIR ? unlinkat(AT_FDCWD, path, AT_REMOVEDIR) : result;
}

EXPORTED int mkdirat(int folder, const char *path, mode_t mode)
{
    static const auto real = NEXT(mkdirat);
    const Place place = placeOf(folder, path);
    return made(
        place.isInside, [&] { return real(folder, path, mode); },
        [&](int) {
            return Call{CallKind::MakeFolder, 0, 0, place.path};
        });
}

EXPORTED int mkdir(const char *path, mode_t mode)
{
    return mkdirat(AT_FDCWD, path, mode);
}

// Says that it is done, and is not: a kill takes nothing that the system has, what a power cut takes is worked out from the
// log, and the tests' thousands of runs need not wait for the disk.
EXPORTED int fsync(int descriptor)
{
    const Place place = placeOf(descriptor);
    return made(
        place.isInside, [] { return 0; }, [&](int) { return synchronised(descriptor, place); });
}

EXPORTED int fdatasync(int descriptor)
{
    return fsync(descriptor);
}

EXPORTED int futimens(int descriptor, const timespec *times)
{
    static const auto real = NEXT(futimens);
    return made(
        placeOf(descriptor).isInside, [&] { return real(descriptor, times); },
        [&](int) { return attributes(descriptor); });
}

EXPORTED int fchmod(int descriptor, mode_t mode)
{
    static const auto real = NEXT(fchmod);
    return made(
        placeOf(descriptor).isInside, [&] { return real(descriptor, mode); },
        [&](int) { return attributes(descriptor); });
}

// On this system a file's size and position have 64 bits under either name.
EXPORTED int open64(const char *, int, ...) __attribute__((alias("open")));
EXPORTED int openat64(int, const char *, int, ...) __attribute__((alias("openat")));
EXPORTED int __open64_2(const char *, int) __attribute__((alias("__open_2")));
EXPORTED int __openat64_2(int, const char *, int) __attribute__((alias("__openat_2")));
EXPORTED int mkstemp64(char *) __attribute__((alias("mkstemp")));
EXPORTED int mkstemps64(char *, int) __attribute__((alias("mkstemps")));
EXPORTED ssize_t pwrite64(int, const void *, size_t, off_t) __attribute__((alias("pwrite")));
EXPORTED int ftruncate64(int, off_t) __attribute__((alias("ftruncate")));

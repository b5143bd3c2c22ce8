// SPDX-License-Identifier: Apache-2.0
// Functions of files, folders and streams that fail when they are told to.
#include "FaultLayer_p.h"

#include <cstdio>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

using namespace kelvane::testsupport;

// NOLINTBEGIN(bugprone-macro-parentheses)
// Reading and writing, which may also do a part of what they are asked.
#define FAULTY_TRANSFER(name, kinds, parameters, arguments, size, halfArguments)                                       \
    EXPORTED ssize_t faulty_##name parameters STANDS_FOR(#name);                                                       \
    extern "C" ssize_t faulty_##name parameters                                                                        \
    {                                                                                                                  \
        static auto *const real = next<ssize_t parameters>(#name);                                                     \
        if (size < 2 ? !isHit(#name, (kinds) & ~std::uint32_t{FaultShort}) : !isHit(#name, kinds))                     \
            return real arguments;                                                                                     \
        return isInForce(FaultShort) ? real halfArguments : failed<ssize_t>(-1);                                       \
    }

constexpr std::uint32_t reading = FaultIo | FaultInterrupt | FaultShort;
constexpr std::uint32_t writing = reading | FaultSpace;

FAULTY_TRANSFER(read, reading, (int f, void *b, std::size_t n), (f, b, n), n, (f, b, n / 2))
FAULTY_TRANSFER(pread, reading, (int f, void *b, std::size_t n, off_t o), (f, b, n, o), n, (f, b, n / 2, o))
FAULTY_TRANSFER(pread64, reading, (int f, void *b, std::size_t n, off_t o), (f, b, n, o), n, (f, b, n / 2, o))
FAULTY_TRANSFER(write, writing, (int f, const void *b, std::size_t n), (f, b, n), n, (f, b, n / 2))
FAULTY_TRANSFER(pwrite, writing, (int f, const void *b, std::size_t n, off_t o), (f, b, n, o), n, (f, b, n / 2, o))
FAULTY_TRANSFER(pwrite64, writing, (int f, const void *b, std::size_t n, off_t o), (f, b, n, o), n, (f, b, n / 2, o))
FAULTY_TRANSFER(readv, reading, (int f, const void *v, int n), (f, v, n), n, (f, v, n / 2))
FAULTY_TRANSFER(writev, writing, (int f, const void *v, int n), (f, v, n), n, (f, v, n / 2))
FAULTY_TRANSFER(copy_file_range, writing, (int f, off_t *i, int t, off_t *o, std::size_t n, unsigned u),
    (f, i, t, o, n, u), n, (f, i, t, o, n / 2, u))
FAULTY_TRANSFER(sendfile, writing, (int t, int f, off_t *o, std::size_t n), (t, f, o, n), n, (t, f, o, n / 2))
FAULTY_TRANSFER(sendfile64, writing, (int t, int f, off_t *o, std::size_t n), (t, f, o, n), n, (t, f, o, n / 2))

// The same with checks of the room, as programs call them that are built with _FORTIFY_SOURCE.
FAULTY_TRANSFER(__read_chk, reading, (int f, void *b, std::size_t n, std::size_t r), (f, b, n, r), n, (f, b, n / 2, r))
FAULTY_TRANSFER(__pread_chk, reading, (int f, void *b, std::size_t n, off_t o, std::size_t r), (f, b, n, o, r), n,
    (f, b, n / 2, o, r))
FAULTY_TRANSFER(__pread64_chk, reading, (int f, void *b, std::size_t n, off_t o, std::size_t r), (f, b, n, o, r), n,
    (f, b, n / 2, o, r))

// Opening. Only what makes a file needs room for it.
#define FAULTY_OPEN(name, parameters, arguments)                                                                       \
    FAULTY(int, name, FaultIo | FaultFiles | FaultInterrupt | ((flags & O_CREAT) != 0 ? FaultSpace : 0U), -1,          \
        parameters, arguments)
FAULTY_OPEN(open, (const char *p, int flags, unsigned m), (p, flags, m))
FAULTY_OPEN(open64, (const char *p, int flags, unsigned m), (p, flags, m))
FAULTY_OPEN(openat, (int f, const char *p, int flags, unsigned m), (f, p, flags, m))
FAULTY_OPEN(openat64, (int f, const char *p, int flags, unsigned m), (f, p, flags, m))
FAULTY_OPEN(__open_2, (const char *p, int flags), (p, flags))
FAULTY_OPEN(__open64_2, (const char *p, int flags), (p, flags))
FAULTY_OPEN(__openat_2, (int f, const char *p, int flags), (f, p, flags))
FAULTY_OPEN(__openat64_2, (int f, const char *p, int flags), (f, p, flags))
FAULTY(FILE *, fopen, FaultIo | FaultFiles | FaultInterrupt, nullptr, (const char *p, const char *m), (p, m))
FAULTY(FILE *, fopen64, FaultIo | FaultFiles | FaultInterrupt, nullptr, (const char *p, const char *m), (p, m))
FAULTY(int, mkstemp, creating | FaultFiles, -1, (char *p), (p))
FAULTY(int, mkstemp64, creating | FaultFiles, -1, (char *p), (p))
FAULTY(int, mkstemps, creating | FaultFiles, -1, (char *p, int s), (p, s))
FAULTY(int, mkstemps64, creating | FaultFiles, -1, (char *p, int s), (p, s))
FAULTY(int, mkostemp, creating | FaultFiles, -1, (char *p, int o), (p, o))
FAULTY(int, mkostemp64, creating | FaultFiles, -1, (char *p, int o), (p, o))
FAULTY(int, mkostemps, creating | FaultFiles, -1, (char *p, int s, int o), (p, s, o))
FAULTY(int, mkostemps64, creating | FaultFiles, -1, (char *p, int s, int o), (p, s, o))
FAULTY(char *, mkdtemp, creating, nullptr, (char *p), (p))
FAULTY(DIR *, opendir, FaultIo | FaultFiles, nullptr, (const char *p), (p))
FAULTY(DIR *, fdopendir, FaultIo, nullptr, (int f), (f))
FAULTY(dirent *, readdir, FaultIo, nullptr, (DIR * d), (d))
FAULTY(dirent *, readdir64, FaultIo, nullptr, (DIR * d), (d))
FAULTY(int, dup, FaultFiles, -1, (int f), (f))
FAULTY(int, dup2, FaultFiles | FaultInterrupt, -1, (int f, int t), (f, t))
FAULTY(int, pipe, FaultFiles, -1, (int *e), (e))
FAULTY(int, pipe2, FaultFiles, -1, (int *e, int o), (e, o))
FAULTY(int, eventfd, FaultFiles, -1, (unsigned v, int o), (v, o))
FAULTY(int, memfd_create, FaultFiles, -1, (const char *p, unsigned o), (p, o))
FAULTY(int, inotify_init1, FaultFiles, -1, (int o), (o))
FAULTY(int, socket, FaultFiles, -1, (int d, int t, int p), (d, t, p))

// Names
FAULTY(int, rename, creating, -1, (const char *p, const char *q), (p, q))
FAULTY(int, renameat, creating, -1, (int f, const char *p, int g, const char *q), (f, p, g, q))
FAULTY(int, renameat2, creating, -1, (int f, const char *p, int g, const char *q, unsigned o), (f, p, g, q, o))
FAULTY(int, link, creating, -1, (const char *p, const char *q), (p, q))
FAULTY(int, linkat, creating, -1, (int f, const char *p, int g, const char *q, int o), (f, p, g, q, o))
FAULTY(int, symlink, creating, -1, (const char *p, const char *q), (p, q))
FAULTY(int, symlinkat, creating, -1, (const char *p, int f, const char *q), (p, f, q))
FAULTY(int, mkdir, creating, -1, (const char *p, unsigned m), (p, m))
FAULTY(int, mkdirat, creating, -1, (int f, const char *p, unsigned m), (f, p, m))
FAULTY(int, unlink, FaultIo, -1, (const char *p), (p))
FAULTY(int, unlinkat, FaultIo, -1, (int f, const char *p, int o), (f, p, o))
FAULTY(int, rmdir, FaultIo, -1, (const char *p), (p))
FAULTY(int, remove, FaultIo, -1, (const char *p), (p))
FAULTY(ssize_t, readlink, FaultIo, -1, (const char *p, char *b, std::size_t n), (p, b, n))
FAULTY(ssize_t, readlinkat, FaultIo, -1, (int f, const char *p, char *b, std::size_t n), (f, p, b, n))
FAULTY(ssize_t, __readlink_chk, FaultIo, -1, (const char *p, char *b, std::size_t n, std::size_t r), (p, b, n, r))
FAULTY(ssize_t, __readlinkat_chk, FaultIo, -1, (int f, const char *p, char *b, std::size_t n, std::size_t r),
    (f, p, b, n, r))
FAULTY(char *, realpath, FaultIo, nullptr, (const char *p, char *b), (p, b))
FAULTY(char *, __realpath_chk, FaultIo, nullptr, (const char *p, char *b, std::size_t r), (p, b, r))

// Facts and attributes
FAULTY(int, stat, FaultIo, -1, (const char *p, void *s), (p, s))
FAULTY(int, stat64, FaultIo, -1, (const char *p, void *s), (p, s))
FAULTY(int, lstat, FaultIo, -1, (const char *p, void *s), (p, s))
FAULTY(int, lstat64, FaultIo, -1, (const char *p, void *s), (p, s))
FAULTY(int, fstat, FaultIo, -1, (int f, void *s), (f, s))
FAULTY(int, fstat64, FaultIo, -1, (int f, void *s), (f, s))
FAULTY(int, fstatat, FaultIo, -1, (int f, const char *p, void *s, int o), (f, p, s, o))
FAULTY(int, fstatat64, FaultIo, -1, (int f, const char *p, void *s, int o), (f, p, s, o))
FAULTY(int, statx, FaultIo, -1, (int f, const char *p, int o, unsigned m, void *s), (f, p, o, m, s))
FAULTY(int, access, FaultIo, -1, (const char *p, int m), (p, m))
FAULTY(int, faccessat, FaultIo, -1, (int f, const char *p, int m, int o), (f, p, m, o))
FAULTY(int, statvfs, FaultIo, -1, (const char *p, void *s), (p, s))
FAULTY(int, statvfs64, FaultIo, -1, (const char *p, void *s), (p, s))
FAULTY(int, fstatvfs, FaultIo, -1, (int f, void *s), (f, s))
FAULTY(int, fstatvfs64, FaultIo, -1, (int f, void *s), (f, s))
FAULTY(int, chmod, FaultIo, -1, (const char *p, unsigned m), (p, m))
FAULTY(int, fchmod, FaultIo, -1, (int f, unsigned m), (f, m))
FAULTY(int, fchmodat, FaultIo, -1, (int f, const char *p, unsigned m, int o), (f, p, m, o))
FAULTY(int, fchown, FaultIo, -1, (int f, unsigned u, unsigned g), (f, u, g))
FAULTY(int, fchownat, FaultIo, -1, (int f, const char *p, unsigned u, unsigned g, int o), (f, p, u, g, o))
FAULTY(int, utimensat, FaultIo, -1, (int f, const char *p, const timespec *t, int o), (f, p, t, o))
FAULTY(int, futimens, FaultIo, -1, (int f, const timespec *t), (f, t))
FAULTY(ssize_t, getxattr, FaultIo, -1, (const char *p, const char *a, void *b, std::size_t n), (p, a, b, n))
FAULTY(ssize_t, lgetxattr, FaultIo, -1, (const char *p, const char *a, void *b, std::size_t n), (p, a, b, n))
FAULTY(ssize_t, fgetxattr, FaultIo, -1, (int f, const char *a, void *b, std::size_t n), (f, a, b, n))
FAULTY(ssize_t, listxattr, FaultIo, -1, (const char *p, char *b, std::size_t n), (p, b, n))
FAULTY(ssize_t, llistxattr, FaultIo, -1, (const char *p, char *b, std::size_t n), (p, b, n))
FAULTY(ssize_t, flistxattr, FaultIo, -1, (int f, char *b, std::size_t n), (f, b, n))
FAULTY(
    int, setxattr, creating, -1, (const char *p, const char *a, const void *b, std::size_t n, int o), (p, a, b, n, o))
FAULTY(
    int, lsetxattr, creating, -1, (const char *p, const char *a, const void *b, std::size_t n, int o), (p, a, b, n, o))
FAULTY(int, fsetxattr, creating, -1, (int f, const char *a, const void *b, std::size_t n, int o), (f, a, b, n, o))

// Open files
FAULTY(int, ftruncate, creating | FaultInterrupt, -1, (int f, off_t n), (f, n))
FAULTY(int, ftruncate64, creating | FaultInterrupt, -1, (int f, off_t n), (f, n))
FAULTY(int, truncate, creating | FaultInterrupt, -1, (const char *p, off_t n), (p, n))
FAULTY(int, fallocate, creating | FaultInterrupt, -1, (int f, int m, off_t o, off_t n), (f, m, o, n))
FAULTY(int, fallocate64, creating | FaultInterrupt, -1, (int f, int m, off_t o, off_t n), (f, m, o, n))
FAULTY(off_t, lseek, FaultIo, -1, (int f, off_t o, int w), (f, o, w))
FAULTY(off_t, lseek64, FaultIo, -1, (int f, off_t o, int w), (f, o, w))
FAULTY(int, flock, FaultInterrupt | FaultIo, -1, (int f, int o), (f, o))
FAULTY(int, ioctl, FaultIo | FaultInterrupt, -1, (int f, unsigned long r, void *a), (f, r, a))
FAULTY(int, poll, FaultInterrupt, -1, (void *v, unsigned long n, int t), (v, n, t))
FAULTY(int, ppoll, FaultInterrupt, -1, (void *v, unsigned long n, const void *t, const void *m), (v, n, t, m))
FAULTY(int, __poll_chk, FaultInterrupt, -1, (void *v, unsigned long n, int t, std::size_t r), (v, n, t, r))
FAULTY(int, waitpid, FaultInterrupt, -1, (int p, int *s, int o), (p, s, o))
FAULTY(int, nanosleep, FaultInterrupt, -1, (const timespec *t, timespec *r), (t, r))

// What succeeds flushes nothing: nobody pulls a plug here, and thousands of runs would wait for the disk.
#define FAULTY_FLUSH(name)                                                                                             \
    EXPORTED int faulty_##name(int file) STANDS_FOR(#name);                                                            \
    extern "C" int faulty_##name(int /*file*/)                                                                         \
    {                                                                                                                  \
        return isHit(#name, creating | FaultInterrupt) ? failed(-1) : 0;                                               \
    }
FAULTY_FLUSH(fsync)
FAULTY_FLUSH(fdatasync)
FAULTY_FLUSH(syncfs)

#define FAULTY_CONTROL(name)                                                                                           \
    FAULTY(int, name,                                                                                                  \
        command == F_DUPFD || command == F_DUPFD_CLOEXEC ? FaultFiles                                                  \
            : command == F_SETLK || command == F_SETLKW || command == F_OFD_SETLK || command == F_OFD_SETLKW           \
            ? FaultIo | FaultInterrupt                                                                                 \
            : 0U,                                                                                                      \
        -1, (int f, int command, long a), (f, command, a))
FAULTY_CONTROL(fcntl)
FAULTY_CONTROL(fcntl64)

// A close that fails has closed the file all the same.
EXPORTED int faulty_close(int file) STANDS_FOR("close");
extern "C" int faulty_close(int file)
{
    static auto *const real = next<int(int)>("close");
    const int result = real(file);
    return isHit("close", FaultIo | FaultInterrupt) ? failed(-1) : result;
}

// Streams remember that they have failed. Standard output is hit where it is written (see FaultyMain.cpp).
constexpr int hasFailed = 0x20; // _IO_ERR_SEEN
#define FAULTY_STREAM(name, kinds, parameters, arguments)                                                              \
    EXPORTED std::size_t faulty_##name parameters STANDS_FOR(#name);                                                   \
    extern "C" std::size_t faulty_##name parameters                                                                    \
    {                                                                                                                  \
        static auto *const real = next<std::size_t parameters>(#name);                                                 \
        if (stream == stdout || stream == stderr || !isHit(#name, kinds))                                              \
            return real arguments;                                                                                     \
        stream->_flags |= hasFailed;                                                                                   \
        return failed<std::size_t>(0);                                                                                 \
    }
FAULTY_STREAM(fread, FaultIo, (void *b, std::size_t s, std::size_t n, FILE *stream), (b, s, n, stream))
FAULTY_STREAM(
    __fread_chk, FaultIo, (void *b, std::size_t r, std::size_t s, std::size_t n, FILE *stream), (b, r, s, n, stream))
FAULTY_STREAM(fwrite, creating, (const void *b, std::size_t s, std::size_t n, FILE *stream), (b, s, n, stream))

// What a stream has kept back reaches the disk here.
EXPORTED int faulty_fflush(FILE *stream) STANDS_FOR("fflush");
extern "C" int faulty_fflush(FILE *stream)
{
    static auto *const real = next<int(FILE *)>("fflush");
    const bool isOurs = stream && stream != stdout && stream != stderr;
    const int result = real(stream);
    return isOurs && isHit("fflush", creating) ? failed(EOF) : result;
}
EXPORTED int faulty_fclose(FILE *stream) STANDS_FOR("fclose");
extern "C" int faulty_fclose(FILE *stream)
{
    static auto *const real = next<int(FILE *)>("fclose");
    const bool isOurs = stream != stdout && stream != stderr;
    const int result = real(stream);
    return isOurs && isHit("fclose", creating) ? failed(EOF) : result;
}
// NOLINTEND(bugprone-macro-parentheses)

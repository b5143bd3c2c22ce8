// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/detail/SqliteConnection.h>

#include <kelvane/platform/detail/SqliteStatement.h>

#include <algorithm>
#include <sqlite3.h>
#include <string>
#include <sys/stat.h>
#include <thread>

namespace kelvane::detail {

namespace {

// Enough for the distinct texts of an application's busy loop; looking one up compares at most as many.
constexpr std::size_t keptStatements = 32;

// Texts with their values written out are rarely run twice and would push the others out.
constexpr std::size_t longestKeptSql = 4096;

// Reads the schema when it is compiled and the file's first page when it runs, as any real query does.
constexpr std::string_view question = "SELECT 1 FROM sqlite_master LIMIT 1";

/// SQLite's name of the file: a null path means a database in memory, an empty one a private temporary file. A path
/// that begins with "file:" is a path too and not a URI, whatever SQLite was built for.
std::string nameOf(const String &path)
{
    if (path.isNull())
        return ":memory:";
    return path.view().starts_with("file:") ? "./" + path.str() : path.str();
}

/// Paths through the doors that the system keeps to the folders a process has open.
constexpr std::string_view openFolders = "/proc/self/fd/";

/// SQLite's own way to files, but that a path is taken as it is. Otherwise SQLite looks up where each link on it leads and
/// goes there: a path through an open folder, which is used because nobody can put another one in its place, would become
/// one by names, which anybody can. Links as the last component are refused either way.
/// Null where memory ends.
const char *pinnedFiles()
{
    constexpr const char *name = "kelvane-pinned";
    if (sqlite3_vfs_find(name))
        return name;
    const sqlite3_vfs *const usual = sqlite3_vfs_find(nullptr);
    if (!usual)
        return nullptr;
    static sqlite3_vfs files = [usual] {
        sqlite3_vfs own = *usual;
        own.pNext = nullptr;
        own.zName = name;
        own.xFullPathname = [](sqlite3_vfs *, const char *path, int size, char *full) {
            sqlite3_snprintf(size, full, "%s", path);
            return std::string_view(path) == full ? SQLITE_OK : SQLITE_CANTOPEN;
        };
        return own;
    }();
    return sqlite3_vfs_register(&files, 0) == SQLITE_OK ? name : nullptr;
}

/// A FIFO would block the open, a device could do anything.
bool isOtherThanFile(const std::string &name)
{
    struct stat status {};
    return ::stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

} // namespace

bool SqliteConnection::open()
{
    clearError();
    if (!openHandle()) {
        close();
        return false;
    }
    const auto busyHandler = [](void *self, int attempts) {
        return static_cast<SqliteConnection *>(self)->waitWhileBusy(attempts) ? 1 : 0;
    };
    sqlite3_busy_handler(_handle, busyHandler, this);
    if (isGood())
        return true;
    close();
    return false;
}

bool SqliteConnection::openHandle()
{
    if (_path.view().find('\0') != std::string_view::npos)
        return noteError(SQLITE_CANTOPEN, "the path holds a NUL character");
    const auto name = nameOf(_path);
    if (isOtherThanFile(name))
        return noteError(SQLITE_CANTOPEN, "not a regular file");
    const bool isPinned = name.starts_with(openFolders);
    const char *const files = isPinned ? pinnedFiles() : nullptr;
    if (isPinned && !files)
        return noteError(SQLITE_NOMEM);
    // The caller serialises, so SQLite's own locks around every call would be paid for nothing.
    constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    const int code = sqlite3_open_v2(name.c_str(), &_handle, flags, files);
    return code == SQLITE_OK || noteError(code);
}

void SqliteConnection::close() noexcept
{
    for (const auto &statement : _statements)
        statement->finalize();
    _statements.clear();
    sqlite3_close(_handle);
    _handle = nullptr;
}

bool SqliteConnection::isGood()
{
    if (!_handle)
        return false;
    if (hasMoved())
        return noteError(SQLITE_READONLY, "the database file was moved or deleted");
    // To begin to write SQLite has read the file's header and locked everybody else out: asking tells nothing new, and
    // a small update would spend a good part of its time on it.
    if (sqlite3_txn_state(_handle, "main") == SQLITE_TXN_WRITE)
        return true;
    _isAsking = true;
    // The last error belongs to the application's own statements, unless the answer is an error itself.
    const auto asked = statement(question);
    const int code = asked ? asked->step() : sqlite3_errcode(_handle);
    const bool isGood = code == SQLITE_ROW || code == SQLITE_DONE || code == SQLITE_BUSY || code == SQLITE_LOCKED;
    if (!isGood)
        noteError(code);
    if (asked)
        asked->giveBack();
    _isAsking = false;
    return isGood;
}

/// Whether the path leads to another file or to none. SQLite would go on with the unreachable one, and what is
/// written there is lost.
bool SqliteConnection::hasMoved() const noexcept
{
    int hasMoved = 0;
    const int code = sqlite3_file_control(_handle, nullptr, SQLITE_FCNTL_HAS_MOVED, &hasMoved);
    return code == SQLITE_OK && hasMoved != 0;
}

bool SqliteConnection::inTransaction() const noexcept
{
    return _handle && sqlite3_get_autocommit(_handle) == 0;
}

std::shared_ptr<SqliteStatement> SqliteConnection::statement(std::string_view sql)
{
    if (!_handle) {
        noteError(SQLITE_MISUSE, "the database is not open");
        return nullptr;
    }
    const auto found = std::find_if(_statements.begin(), _statements.end(),
        [sql](const auto &kept) { return kept->isIdle() && kept->sql() == sql; });
    if (found != _statements.end()) {
        std::rotate(_statements.begin(), found, found + 1);
    } else {
        auto prepared = std::make_shared<SqliteStatement>(_handle, sql);
        if (!prepared->handle()) {
            if (prepared->problem())
                noteError(SQLITE_MISUSE, prepared->problem());
            else if (!_isAsking)
                noteError(sqlite3_errcode(_handle));
            return nullptr;
        }
        evictIdleStatements();
        _statements.insert(_statements.begin(), std::move(prepared));
    }
    _statements.front()->lend();
    return _statements.front();
}

/// Makes room for one more; the least recently used go first.
void SqliteConnection::evictIdleStatements() noexcept
{
    std::size_t idle = 0;
    std::erase_if(_statements, [&idle](const auto &kept) {
        if (!kept->isIdle())
            return false;
        const bool isKept = kept->sql().size() <= longestKeptSql && ++idle < keptStatements;
        if (!isKept)
            kept->finalize();
        return !isKept;
    });
}

void SqliteConnection::clearError() noexcept
{
    _lastErrorCode = SQLITE_OK;
    _lastErrorMessage = nullptr;
}

bool SqliteConnection::noteError(int code)
{
    return noteError(code, _handle ? sqlite3_errmsg(_handle) : sqlite3_errstr(code));
}

bool SqliteConnection::noteError(int code, const String &message)
{
    _lastErrorCode = code;
    _lastErrorMessage = message;
    return false;
}

/// SQLite asks this between two attempts at a lock. Its own waiting adds up the times it meant to sleep, which on a
/// loaded machine is far from the time that passes.
bool SqliteConnection::waitWhileBusy(int attempts) noexcept
{
    using namespace std::chrono;
    if (_isAsking)
        return false;
    const auto now = steady_clock::now();
    if (attempts == 0)
        _busySince = now;
    const duration<double> left = _busyLimit - (now - _busySince);
    if (left <= duration<double>::zero())
        return false;
    // Short at first, as most transactions are; then rarely enough to leave the processor to whoever holds the lock.
    const duration<double> pause = milliseconds(std::min(1 + attempts * 2, 25));
    std::this_thread::sleep_for(std::min(pause, left));
    return true;
}

} // namespace kelvane::detail

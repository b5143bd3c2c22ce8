// SPDX-License-Identifier: Apache-2.0
#include <kelvane/storage/FastFileCopyer.h>

#include <kelvane/foundation/Exception.h>
#include <kelvane/platform/SerialQueue.h>
#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/ZenLogger.h>

#include <cerrno>
#include <string_view>
#include <sys/stat.h>

namespace kelvane {

namespace {

constexpr std::int64_t stateCopying = 1;
constexpr std::int64_t stateSucceeded = 2;
constexpr std::int64_t stateFailed = 3;

// Follows links, as the question "is there something?" does. A path with a NUL inside names nothing.
bool findItem(const String &path, struct stat &info)
{
    return path.view().find('\0') == std::string_view::npos && stat(path.c_str(), &info) == 0;
}

std::uint32_t flagsFor(bool isFolder)
{
    constexpr std::uint32_t always = COPYFILE_ALL | COPYFILE_EXCL | COPYFILE_NOFOLLOW;
    return isFolder ? always | COPYFILE_RECURSIVE : always;
}

// The stages that do no more than write a line.
struct StageLine {
    int what;
    int stage;
    const char *text;
};

constexpr StageLine debugLines[] = {
    {COPYFILE_RECURSE_FILE, COPYFILE_START, "File Start"},
    {COPYFILE_RECURSE_FILE, COPYFILE_FINISH, "File Finish"},
    {COPYFILE_RECURSE_DIR, COPYFILE_START, "Dir Start"},
    {COPYFILE_RECURSE_DIR, COPYFILE_FINISH, "Dir Finish"},
    {COPYFILE_RECURSE_DIR_CLEANUP, COPYFILE_START, "Dir Cleanup Start"},
    {COPYFILE_RECURSE_DIR_CLEANUP, COPYFILE_FINISH, "Dir Cleanup Finish"},
    {COPYFILE_COPY_XATTR, COPYFILE_START, "Xattr Start"},
    {COPYFILE_COPY_XATTR, COPYFILE_FINISH, "Xattr Finish"},
};

constexpr StageLine errorLines[] = {
    {COPYFILE_RECURSE_DIR, COPYFILE_ERR, "Dir Error"},
    {COPYFILE_RECURSE_DIR_CLEANUP, COPYFILE_ERR, "Dir Cleanup Error"},
    {COPYFILE_COPY_DATA, COPYFILE_ERR, "copy Data Error"},
    {COPYFILE_COPY_XATTR, COPYFILE_ERR, "Xattr Error"},
};

void logError(int what, int stage, int reason)
{
    if (what == COPYFILE_RECURSE_FILE) {
        ZenLogger::defaultLogger().ZenLogError(String("File Error ") + String::number(std::int64_t{reason}));
        return;
    }
    for (const StageLine &line : errorLines)
        if (line.what == what && line.stage == stage)
            ZenLogger::defaultLogger().ZenLogError(line.text);
}

void logDebug(int what, int stage)
{
    ZenLogger &logger = ZenLogger::defaultLogger();
    if (!logger.isDebugEnabled())
        return;
    for (const StageLine &line : debugLines)
        if (line.what == what && line.stage == stage)
            logger.ZenLogDebug(line.text);
}

} // namespace

FastFileCopyerDelegate::~FastFileCopyerDelegate() = default;
void FastFileCopyerDelegate::fileCopyWillStart(FastFileCopyer &) {}
void FastFileCopyerDelegate::fileCopyProgressChanged(FastFileCopyer &) {}
void FastFileCopyerDelegate::fileCopyDidFinish(FastFileCopyer &) {}

FastFileCopyer::~FastFileCopyer() = default;

SerialQueue &FastFileCopyer::fastFileCopyerQueue()
{
    // Never destroyed: a copy may be running when the process ends.
    static SerialQueue *const queue = new SerialQueue("org.kelvane.fastFileCopyerQueue");
    return *queue;
}

void FastFileCopyer::setFromPath(const String &fromPath)
{
    if (!isSameObject(_fromPath.get(), fromPath))
        _fromPath.set(fromPath);
}

void FastFileCopyer::setToPath(const String &toPath)
{
    if (!isSameObject(_toPath.get(), toPath))
        _toPath.set(toPath);
}

void FastFileCopyer::tellDelegate(void (FastFileCopyerDelegate::*message)(FastFileCopyer &))
{
    if (const std::shared_ptr<FastFileCopyerDelegate> listener = delegate())
        (listener.get()->*message)(*this);
}

std::uint32_t FastFileCopyer::flags() const
{
    struct stat info {};
    return flagsFor(findItem(fromPath(), info) && S_ISDIR(info.st_mode));
}

void FastFileCopyer::fileCopyFromPath(const String &from, const String &to)
{
    // Intended: clears a cancellation that came while the copy was queued. Applications use one copier for many files
    // and cancel the current one alone.
    setIsCancelled(false);
    setCopiedSize(0);
    setFromPath(from);
    setToPath(to);
    _errorNumber.store(0);
    _failedCount.store(0);
    _failures.set(nullptr);
    tellDelegate(&FastFileCopyerDelegate::fileCopyWillStart);

    struct stat info {};
    if (!findItem(from, info)) {
        // Intended: the result and the totals of the copies before stay, since none was made.
        _errorNumber.store(ENOENT);
        _state.store(stateFailed);
        tellDelegate(&FastFileCopyerDelegate::fileCopyDidFinish);
        return;
    }
    // Not asked for again: a folder of which the disk does not tell any more would be copied without its content.
    const std::uint32_t how = flagsFor(S_ISDIR(info.st_mode));
    // The item's own size: a link is copied as a link.
    _totalSize.store(lstat(from.c_str(), &info) == 0 ? static_cast<std::int64_t>(info.st_size) : 0);
    runCopy(how);
    // Intended: failed copies count as well, and copiedAllSize() counts this copy twice until the next one starts.
    _copiedAllSize.fetch_add(_totalSize.load());
    tellDelegate(&FastFileCopyerDelegate::fileCopyDidFinish);
}

void FastFileCopyer::runCopy(std::uint32_t flags)
{
    FileCopyState copy;
    copy.setStatusCallback(&FastFileCopyer::copyStatus);
    copy.setStatusContext(this);
    copy.setSynchronise(_synchronise.load());
    _state.store(stateCopying);
    int result = -1;
    try {
        result = copyfile(fromPath(), toPath(), &copy, flags);
    } catch (...) { // a delegate's; it is passed on, but this copier no longer copies
        _state.store(stateFailed);
        throw;
    }
    _errorNumber.store(result == 0 ? 0 : errno);
    _failedCount.store(copy.failedCount());
    _failures.set(std::make_shared<const std::vector<FileCopyFailure>>(copy.failures()));
    _resultCode.store(result);
    _state.store(result == 0 ? stateSucceeded : stateFailed);
}

std::vector<FileCopyFailure> FastFileCopyer::failures() const
{
    const auto failures = _failures.get();
    return failures ? *failures : std::vector<FileCopyFailure>();
}

void FastFileCopyer::asyncfileCopyFromPath(const String &from, const String &to)
{
    setFromPath(from);
    setToPath(to);
    fastFileCopyerQueue().async([self = shared_from_this()] {
        try {
            // Intended: the paths as they are stored by now, so that the last call before the copy begins decides.
            self->fileCopyFromPath(self->fromPath(), self->toPath());
        } catch (const std::exception &exception) {
            ZenLogger::defaultLogger().ZenLogError(
                String("copy file exception:") + Exception::from(exception)->description());
        }
    });
}

void FastFileCopyer::dataProgress(const FileCopyState *state)
{
    const std::optional<std::int64_t> copied = state ? state->copied() : std::nullopt;
    if (!copied) {
        SystemLog::defaultLog().log("Could not retrieve copyfile state");
        return;
    }
    setCopiedSize(*copied);
    tellDelegate(&FastFileCopyerDelegate::fileCopyProgressChanged);
}

int FastFileCopyer::copyStatus(int what, int stage, FileCopyState *state, const char *, const char *, void *context)
{
    const int reason = errno;
    auto &copier = *static_cast<FastFileCopyer *>(context);
    if (copier.isCancelled())
        return COPYFILE_QUIT;
    // Intended: goes on after errors. A tree then ends with state 2 although entries are missing; see failures().
    if (stage == COPYFILE_ERR)
        logError(what, stage, reason);
    else if (stage != COPYFILE_PROGRESS)
        logDebug(what, stage);
    else if (what == COPYFILE_COPY_DATA)
        copier.dataProgress(state);
    return COPYFILE_CONTINUE;
}

} // namespace kelvane

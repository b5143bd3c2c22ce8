// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/FileCopyAhead_p.h>
#include <kelvane/platform/ThreadName_p.h>

#include <algorithm>
#include <array>
#include <dirent.h>
#include <exception>
#include <fcntl.h>

namespace kelvane {

namespace {

// Files prepared at most ahead of their turn: each is an open file, and work in vain where the copy is cancelled.
constexpr std::size_t window = 16;

// In a smaller folder the threads cost more than they save.
constexpr std::size_t worthwhile = 16;

// One thread makes the names in any case, so that more helpers than these would have little to do.
constexpr unsigned mostHelpers = 3;

// Whether all that is open at most besides the folders can be: what is prepared must not take from the ordinary way what
// that needs.
bool hasRoomForFiles(int anyFile)
{
    constexpr std::size_t forEachThread = 2;
    std::array<FileDescriptor, window + (mostHelpers + 2) * forEachThread> room;
    return std::all_of(room.begin(), room.end(), [anyFile](FileDescriptor &file) {
        file = FileDescriptor(fcntl(anyFile, F_DUPFD_CLOEXEC, 0));
        return static_cast<bool>(file);
    });
}

} // namespace

FileCopyAhead::~FileCopyAhead()
{
    {
        const std::lock_guard lock(_mutex);
        _isOver = true;
    }
    _work.notify_all();
    for (auto &helper : _helpers)
        helper.join();
}

/// Only where bytes have to be moved (a clone is faster still), into files that have no name until they are published.
bool FileCopyAhead::isUseful(dev_t source) const
{
    return _session.has(COPYFILE_EXCL) && _session.hasAll(COPYFILE_ALL) && _session.cloningRefusedBy == source
        && !_session.namelessRefused && !_session.dropInheritedAcl && !_session.synchronise();
}

/// Whether there are helpers; starts them the first time it is asked.
bool FileCopyAhead::hasHelpers()
{
    if (!_hasStarted) {
        _hasStarted = true;
        static const unsigned processors = std::thread::hardware_concurrency();
        const unsigned count = std::min(std::max(processors, 1U) - 1, mostHelpers);
        try {
            while (_helpers.size() < count)
                _helpers.emplace_back([this] { help(); });
        } catch (const std::exception &) {
            // No more threads to be had: those that there are do it.
        }
    }
    return !_helpers.empty();
}

void FileCopyAhead::help()
{
    setCurrentThreadName("kelvane.copy");
    std::unique_lock lock(_mutex);
    while (!_isOver) {
        Folder *const folder = _folders.empty() ? nullptr : _folders.back();
        if (const auto index = folder ? folder->claim() : std::nullopt) {
            folder->prepare(*index, lock);
            _prepared.notify_one();
        } else {
            ++_sleeping;
            _work.wait(lock);
            --_sleeping;
        }
    }
}

FileCopyAhead::Folder::Folder(
    FileCopyAhead &ahead, int in, int out, dev_t source, const std::vector<CopyEntry> &entries)
    : _ahead(ahead),
      _in(in),
      _out(out),
      _source(source),
      _entries(entries),
      _files(static_cast<std::size_t>(
          std::count_if(entries.begin(), entries.end(), [](const CopyEntry &entry) { return entry.type == DT_REG; })))
{
    const std::lock_guard lock(_ahead._mutex);
    _ahead._folders.push_back(this);
}

FileCopyAhead::Folder::~Folder()
{
    std::unique_lock lock(_ahead._mutex);
    std::erase(_ahead._folders, this);
    _ahead._prepared.wait(lock, [this] { return _busy == 0; });
}

/// The next file to prepare, if there is one and it is not too early for it. The caller holds the lock.
std::optional<std::size_t> FileCopyAhead::Folder::claim()
{
    _next = std::max(_next, _turn);
    const std::size_t end = std::min(_turn + window, _states.size());
    // Not beyond a folder: its content comes first, and may be much.
    const auto isFolder = [](const CopyEntry &entry) { return entry.type == DT_DIR || entry.type == DT_UNKNOWN; };
    while (_next < end && _states[_next] != State::Waiting && !isFolder(_entries[_next]))
        ++_next;
    if (_next >= end || _states[_next] != State::Waiting)
        return std::nullopt;
    _states[_next] = State::Busy;
    return _next++;
}

/// Prepares what was claimed, without the lock.
void FileCopyAhead::Folder::prepare(std::size_t index, std::unique_lock<std::mutex> &lock)
{
    ++_busy;
    lock.unlock();
    std::optional<PreparedCopy> copy;
    try {
        copy = prepareCopy(_in, _entries[index].name.c_str(), _out, _source);
    } catch (const std::bad_alloc &) {
        // The ordinary way finds out whether that is so for this file.
    }
    lock.lock();
    --_busy;
    _states[index] = State::Ready;
    _copies[index % window] = std::move(copy);
}

/// Whether anything is prepared here: decided by the first file whose turn comes when it could be useful.
bool FileCopyAhead::Folder::begin(std::size_t index)
{
    if (!_states.empty())
        return true;
    if (_files < worthwhile || !_ahead.isUseful(_source))
        return false;
    if (!hasRoomForFiles(_in) || !_ahead.hasHelpers()) {
        _files = 0; // the answer stays
        return false;
    }
    const std::lock_guard lock(_ahead._mutex);
    _copies.resize(window);
    _states.resize(_entries.size(), State::Gone);
    for (std::size_t i = index; i < _entries.size(); ++i)
        if (_entries[i].type == DT_REG)
            _states[i] = State::Waiting;
    return true;
}

std::optional<PreparedCopy> FileCopyAhead::Folder::take(std::size_t index)
{
    if (!begin(index))
        return std::nullopt;
    std::unique_lock lock(_ahead._mutex);
    _turn = index;
    if (_states[index] == State::Waiting)
        _states[index] = State::Gone;
    // Waiting for a helper is time in which another file can be prepared.
    while (_states[index] == State::Busy) {
        if (const auto other = claim())
            prepare(*other, lock);
        else
            _ahead._prepared.wait(lock);
    }
    std::optional<PreparedCopy> copy;
    if (_states[index] == State::Ready)
        copy = std::exchange(_copies[index % window], std::nullopt);
    _states[index] = State::Gone;
    _turn = index + 1; // not before: the place in the window is free now
    if (_ahead._sleeping > 0 && _next < _states.size() && _next <= _turn + window / 2)
        _ahead._work.notify_all();
    return copy;
}

} // namespace kelvane

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/FileCopySession_p.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace kelvane {

/// An entry of a folder as its listing gives it.
struct CopyEntry {
    std::string name;
    ino_t inode;
    unsigned char type;
};

/// A small file that has been copied into a file without a name, attributes included: it only lacks the conversation
/// with the callback, and its name.
struct PreparedCopy {
    FileDescriptor out;
    struct stat info {}; // of the source, before it was read
    std::vector<std::string> xattrs; // what it was given, in the source's order
};

/// Copies small files ahead of the thread that talks to the callback, so that a tree of many of them keeps more than one
/// processor busy. Nobody can tell from the outside: what was prepared has no name, is used only if the source is
/// untouched when its turn comes, and vanishes otherwise. Whatever is not plain sailing (a hard link, an access control
/// list, a file changed this very moment, an error) is left to the ordinary way, which reports it.
///
/// Threads: used by the thread that copies; owns its helpers, which it starts with the first folder that is worth it.
class FileCopyAhead {
public:
    class Folder;

    explicit FileCopyAhead(const FileCopySession &session) : _session(session) {}
    ~FileCopyAhead();
    FileCopyAhead(const FileCopyAhead &) = delete;
    FileCopyAhead &operator=(const FileCopyAhead &) = delete;

private:
    [[nodiscard]] bool isUseful(dev_t source) const;
    [[nodiscard]] bool hasHelpers();
    void help();

    const FileCopySession &_session;
    std::vector<std::thread> _helpers;
    bool _hasStarted = false;
    std::mutex _mutex; // for what follows, and what the folders hold
    std::condition_variable _work; // something to prepare, or the end
    std::condition_variable _prepared;
    std::vector<Folder *> _folders; // the innermost last: it is the one being copied
    int _sleeping = 0;
    bool _isOver = false;
};

/// The files of one folder. Folders nest as those of the tree do.
class FileCopyAhead::Folder {
public:
    /// `in`, `out` and `entries` stay as they are while this object lives.
    Folder(FileCopyAhead &ahead, int in, int out, dev_t source, const std::vector<CopyEntry> &entries);
    ~Folder();
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;

    /// The turn of an entry has come (of every one, in order, whatever it is): what was prepared of it, if anything.
    [[nodiscard]] std::optional<PreparedCopy> take(std::size_t index);

private:
    friend class FileCopyAhead;
    enum class State : std::uint8_t { Waiting, Busy, Ready, Gone };
    [[nodiscard]] bool begin(std::size_t index);
    [[nodiscard]] std::optional<std::size_t> claim();
    void prepare(std::size_t index, std::unique_lock<std::mutex> &lock);

    FileCopyAhead &_ahead;
    const int _in;
    const int _out;
    const dev_t _source;
    const std::vector<CopyEntry> &_entries;
    std::vector<State> _states; // empty as long as nothing is prepared here
    std::vector<std::optional<PreparedCopy>> _copies; // by index, modulo the window
    std::size_t _turn = 0; // entries before this one have been taken
    std::size_t _next = 0; // entries before this one have been claimed
    int _busy = 0;
    std::size_t _files; // regular ones
};

/// Copies one file into a nameless one in the folder `out`; nothing unless it is small, plain and works at once.
[[nodiscard]] std::optional<PreparedCopy> prepareCopy(int in, const char *name, int out, dev_t source);
/// Ends an entry of which a copy was prepared: in the ordinary way if its source was touched since.
[[nodiscard]] CopyStep copyPrepared(
    FileCopySession &session, const CopyPlace &place, PreparedCopy prepared, int linkRoot, std::size_t linkBase);

} // namespace kelvane

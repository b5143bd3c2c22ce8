// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/FileCopySession_p.h>

namespace kelvane {

/// A file on its way to a name: it gets the name when it is complete, and is gone without a trace if it is dropped
/// before. It has no name at all meanwhile where the file system can do that, else a hidden one beside the final one.
class StagedFile {
public:
    StagedFile(FileCopySession &session, int folder, const char *name)
        : _session(session),
          _folder(folder),
          _name(name),
          _replace(!session.has(COPYFILE_EXCL))
    {
    }
    /// One that is there already, complete and without a name.
    StagedFile(FileCopySession &session, int folder, const char *name, FileDescriptor nameless)
        : StagedFile(session, folder, name)
    {
        _file = std::move(nameless);
    }
    ~StagedFile();
    StagedFile(const StagedFile &) = delete;
    StagedFile &operator=(const StagedFile &) = delete;

    /// Makes the file, empty and for its owner alone. 0, or errno.
    [[nodiscard]] int open();
    [[nodiscard]] int file() const noexcept { return _file.get(); }
    /// Gives the file its name. 0, or errno: EEXIST if the name is taken and must not be replaced.
    [[nodiscard]] int publish();

private:
    [[nodiscard]] int openHidden();
    [[nodiscard]] int publishNameless();
    [[nodiscard]] int publishHidden();

    FileCopySession &_session;
    const int _folder;
    const char *const _name;
    const bool _replace;
    FileDescriptor _file;
    std::string _hiddenName; // empty while the file has none
};

/// A name beside which nobody looks: hidden, and told apart from others by chance.
[[nodiscard]] std::string hiddenCopyName();

} // namespace kelvane

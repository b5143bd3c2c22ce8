// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/FileCopy.h>
#include <kelvane/storage/FastFileCopyer.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kelvane::tool {

/// Copies a file or a folder tree and tells how far it is, over all of its files: the copier's own numbers begin anew with
/// each of them. So the copy runs with a status callback of its own, which counts, and asks the copier's.
///
/// Threads: run() on one; cancel() on any.
class TreeCopy {
public:
    struct Extent {
        std::uint64_t files = 0;
        std::int64_t bytes = 0;
    };

    /// The files below `path` and their bytes, links not followed; what cannot be read is left out.
    [[nodiscard]] static Extent extentOf(const std::string &path);

    /// `progress` is told the bytes of all files so far, on the thread of run().
    TreeCopy(std::string from, std::string to, std::function<void(std::int64_t)> progress);

    /// Whether everything has arrived. What has not is in failures(); errorNumber() tells why nothing has.
    bool run();
    void cancel() { _copier->setIsCancelled(true); }

    [[nodiscard]] int errorNumber() const { return _errorNumber; }
    [[nodiscard]] const std::vector<FileCopyFailure> &failures() const { return _state.failures(); }
    [[nodiscard]] std::int64_t copiedBytes() const { return _bytesOfDone; }

private:
    static int status(
        int what, int stage, FileCopyState *state, const char *source, const char *destination, void *context);
    void fileDone(const char *destination);

    const std::string _from;
    const std::string _to;
    const std::function<void(std::int64_t)> _progress;
    const std::shared_ptr<FastFileCopyer> _copier = std::make_shared<FastFileCopyer>();
    FileCopyState _state;
    std::int64_t _bytesOfDone = 0;
    int _errorNumber = 0;
};

} // namespace kelvane::tool

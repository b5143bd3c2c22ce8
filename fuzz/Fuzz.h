// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace kelvane {

/// What a target does with one input. It is called millions of times in one process: it keeps nothing, and it ends
/// the process where the library breaks a promise (see require()).
void fuzz(std::string_view input);

/// Ends the process with a line that says which promise was broken, unless `holds`.
void require(bool holds, const char *promise);

/// Takes the input's front up to the first `separator`, which goes, too; all of it where there is none.
std::string_view takeUntil(std::string_view &input, char separator);

/// A file in memory, for what reads files by their path. Its name says nothing of what is in it.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view content);
    ~MemoryFile();
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    [[nodiscard]] int descriptor() const noexcept { return _descriptor; }
    [[nodiscard]] std::string path() const;

private:
    int _descriptor = -1;
};

/// A folder of this process, in memory where the system has such a place; made by the first call and removed with
/// everything in it at the end.
const std::string &scratchFolder();

/// All that a file holds; nothing where it cannot be read.
[[nodiscard]] std::string contentOf(const std::filesystem::path &path);

/// Keeps what the library logs of bad input off the fuzzer's own output.
void silenceLogs();

} // namespace kelvane

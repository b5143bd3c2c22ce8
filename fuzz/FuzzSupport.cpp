// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/ZenLogger.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <sys/mman.h>
#include <unistd.h>

namespace kelvane {
namespace {

struct ScratchFolder {
    ScratchFolder()
    {
        const bool hasMemory = ::access("/dev/shm", W_OK | X_OK) == 0;
        path = hasMemory ? "/dev/shm" : std::filesystem::temp_directory_path().string();
        path += "/kelvane-fuzz-XXXXXX";
        require(::mkdtemp(path.data()) != nullptr, "there is a place for files");
    }
    ~ScratchFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;

    std::string path;
};

} // namespace

void require(bool holds, const char *promise)
{
    if (holds)
        return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

std::string_view takeUntil(std::string_view &input, char separator)
{
    const std::size_t end = input.find(separator);
    const std::string_view front = input.substr(0, end);
    input.remove_prefix(end == std::string_view::npos ? input.size() : end + 1);
    return front;
}

MemoryFile::MemoryFile(std::string_view content) : _descriptor(::memfd_create("fuzz", MFD_CLOEXEC))
{
    require(_descriptor >= 0
            && ::write(_descriptor, content.data(), content.size()) == static_cast<ssize_t>(content.size()),
        "there is memory for a file");
}

MemoryFile::~MemoryFile()
{
    ::close(_descriptor);
}

std::string MemoryFile::path() const
{
    return "/proc/self/fd/" + std::to_string(_descriptor);
}

const std::string &scratchFolder()
{
    static const ScratchFolder folder;
    return folder.path;
}

std::string contentOf(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void silenceLogs()
{
    static const bool isSilent = [] {
        const auto drop = [](LogLevel, const String &) {};
        ZenLogger::defaultLogger().setSink(drop);
        SystemLog::defaultLog().setSink(drop);
        return true;
    }();
    static_cast<void>(isSilent);
}

} // namespace kelvane

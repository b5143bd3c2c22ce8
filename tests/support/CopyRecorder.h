// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/FileCopy.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace kelvane::testsupport {

/// Runs copyfile(), writes down what the callback is told, and answers as the test wants.
class CopyRecorder {
public:
    static constexpr std::uint32_t fileFlags = COPYFILE_ALL | COPYFILE_EXCL | COPYFILE_NOFOLLOW;
    static constexpr std::uint32_t treeFlags = fileFlags | COPYFILE_RECURSIVE;

    /// One call: "Dir Start", "Data Progress", ….
    struct Event {
        std::string text;
        std::string source;
        std::string destination;
        int error = 0;
        std::int64_t copied = 0;
        std::string xattr;
    };
    using Answer = std::function<int(const Event &event)>;

    CopyRecorder()
    {
        state.setStatusContext(this);
        state.setStatusCallback(
            [](int what, int stage, FileCopyState *now, const char *source, const char *destination, void *context) {
                return static_cast<CopyRecorder *>(context)->record(what, stage, *now, source, destination);
            });
    }

    int copy(const std::filesystem::path &from, const std::filesystem::path &to, std::uint32_t flags)
    {
        const int result = copyfile(String(from.native()), String(to.native()), &state, flags);
        error = result == 0 ? 0 : errno;
        return result;
    }

    [[nodiscard]] std::vector<std::string> texts() const
    {
        std::vector<std::string> all;
        for (const Event &event : events)
            all.push_back(event.text);
        return all;
    }
    [[nodiscard]] auto count(const std::string &text) const
    {
        return std::count_if(events.begin(), events.end(), [&](const Event &event) { return event.text == text; });
    }

    FileCopyState state;
    std::vector<Event> events;
    Answer answer;
    int error = 0;

private:
    int record(int what, int stage, const FileCopyState &now, const char *source, const char *destination)
    {
        const int reason = errno;
        static constexpr std::array whats{"?", "File", "Dir", "Cleanup", "Data", "Xattr"};
        static constexpr std::array stages{"?", "Start", "Finish", "Error", "Progress"};
        events.push_back(
            {std::string(whats.at(static_cast<std::size_t>(what))) + " " + stages.at(static_cast<std::size_t>(stage)),
                source, destination, reason, now.copied().value_or(-1), now.xattrName().str()});
        return answer ? answer(events.back()) : COPYFILE_CONTINUE;
    }
};

inline void writeFile(const std::filesystem::path &path, std::string_view content)
{
    std::ofstream(path, std::ios::binary) << content;
}

inline std::string readFile(const std::filesystem::path &path)
{
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return std::move(content).str();
}

/// Bytes that no hole and no shifted block can pass for.
inline std::string pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    std::uint32_t number = 1;
    for (char &byte : bytes) {
        number = number * 1664525 + 1013904223;
        byte = static_cast<char>(number >> 24);
    }
    return bytes;
}

inline struct stat statOf(const std::filesystem::path &path)
{
    struct stat info {};
    EXPECT_EQ(lstat(path.c_str(), &info), 0) << path;
    return info;
}

/// Standard output and error of a shell command, and whether it succeeded.
inline std::pair<std::string, bool> shell(const std::string &command)
{
    std::string output;
    FILE *const pipe = popen((command + " 2>&1").c_str(), "r");
    for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe))
        output += static_cast<char>(byte);
    return {output, pclose(pipe) == 0};
}

/// What an independent program finds different between two trees or files; empty if nothing. The filter is for a second
/// view of access control lists that XFS gives root.
inline std::string differences(const std::filesystem::path &from, const std::filesystem::path &to)
{
    const bool tree = std::filesystem::is_directory(std::filesystem::symlink_status(from));
    const std::string slash = tree ? "/" : "";
    const std::string filter = geteuid() == 0 ? "--filter='-x trusted.SGI_ACL_*' " : "";
    const auto [output, good] = shell("rsync -aAXHcn " + filter + "--delete --itemize-changes '" + from.native() + slash
        + "' '" + to.native() + slash + "'");
    return good ? output : "rsync failed: " + output;
}

inline bool haveRsync()
{
    static const bool have = shell("rsync --version").second;
    return have;
}

/// Names in a folder, hidden ones included, sorted.
inline std::vector<std::string> namesIn(const std::filesystem::path &folder)
{
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace kelvane::testsupport

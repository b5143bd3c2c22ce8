// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/platform/FileCopy.h>

#include <ctime>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/xattr.h>
#include <tests/platform/ThreadCount.h>
#include <tests/support/CopyRecorder.h>
#include <tests/support/TemporaryFolder.h>
#include <thread>
#include <utility>

namespace kelvane::testsupport {

inline constexpr int fileCount = 40;

inline std::string contentOf(int number)
{
    return pattern(static_cast<std::size_t>(1 + number * 97));
}

/// Waits until the file system's clock has moved on, so that a change of the tree from now on shows in its times.
inline void settle()
{
    timespec begin{};
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &begin);
    do {
        std::this_thread::yield();
        clock_gettime(CLOCK_REALTIME_COARSE, &now);
    } while ((now.tv_sec - begin.tv_sec) * 1'000'000'000L + now.tv_nsec - begin.tv_nsec < 50'000'000L);
}

/// Files worth copying ahead, and among them those that are not: of each kind one.
inline void makeTreeOfSmallFiles(const std::filesystem::path &root)
{
    std::filesystem::create_directories(root / "folder");
    for (int number = 0; number < fileCount; ++number) {
        writeFile(root / std::to_string(number), contentOf(number));
        writeFile(root / "folder" / std::to_string(number), contentOf(number));
    }
    for (const int number : {3, 17, 30}) {
        const auto path = root / std::to_string(number);
        (void)setxattr(path.c_str(), "user.first", "1", 1, 0); // a file system that has none has nothing to tell of
        (void)setxattr(path.c_str(), "user.second", "22", 2, 0);
    }
    chmod((root / "17").c_str(), 0444);
    chmod((root / "18").c_str(), 06755);
    (void)shell("setfacl -m u:1234:rw '" + (root / "19").native() + "'");
    std::filesystem::create_hard_link(root / "20", root / "folder" / "hard");
    std::filesystem::create_symlink("../21", root / "folder" / "link");
    writeFile(root / "empty", "");
    writeFile(root / "large", pattern(200000));
    std::filesystem::resize_file(root / "22", 60000); // the rest is a hole
    mkfifo((root / "fifo").c_str(), 0600);
    settle();
}

/// All that a program can find out about a tree, but for its times.
inline std::string describe(const std::filesystem::path &root)
{
    return shell("cd '" + root.native()
        + "' && find . -printf '%P %y %m %U:%G %n %l\\n' | sort && find . -type f -exec md5sum {} + | sort"
          " && getfattr -hdR -m - . | grep -v '^$'")
        .first;
}

/// Lets this process open so many files at most, until the object goes.
class OpenFileLimit {
public:
    explicit OpenFileLimit(rlim_t limit)
    {
        getrlimit(RLIMIT_NOFILE, &_before);
        const rlimit few{limit, _before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
    }
    ~OpenFileLimit() { setrlimit(RLIMIT_NOFILE, &_before); }
    OpenFileLimit(const OpenFileLimit &) = delete;
    OpenFileLimit &operator=(const OpenFileLimit &) = delete;

private:
    rlimit _before{};
};

inline rlim_t openFiles()
{
    return namesIn("/proc/self/fd").size();
}

/// Small files of a tree are copied ahead of their turn by other threads. Nobody may be able to tell: each case is copied
/// in that way and in the ordinary one, which is left to a program that may open few files more.
class FileCopyAhead : public testing::Test {
protected:
    struct Told {
        int result = 0;
        int error = 0;
        std::vector<std::string> events;
        std::vector<std::string> failures;
        std::string tree;
        bool hadHelpers = false;
    };

    Told copyTo(const std::string &name, bool ordinary, const CopyRecorder::Answer &answer = {})
    {
        Told told;
        CopyRecorder copy;
        // Threads of the copy before may still be on their way out; those that run on are not ours.
        EXPECT_TRUE(waitUntilNoThreadIsNamed("copy"));
        const auto threads = [] { return namesIn("/proc/self/task").size(); };
        const std::size_t before = threads();
        copy.answer = [&](const CopyRecorder::Event &event) {
            told.hadHelpers = told.hadHelpers || threads() > before;
            return answer ? answer(event) : COPYFILE_CONTINUE;
        };
        const std::filesystem::path to = folder.path(name);
        {
            std::optional<OpenFileLimit> few;
            if (ordinary)
                few.emplace(openFiles() + 18);
            told.result = copy.copy(from, to, CopyRecorder::treeFlags);
        }
        told.error = copy.error;
        for (const auto &event : copy.events)
            told.events.push_back(event.text + " " + event.source + " " + event.destination.substr(to.native().size())
                + " " + std::to_string(event.error) + " " + std::to_string(event.copied) + " " + event.xattr);
        for (const FileCopyFailure &failure : copy.state.failures())
            told.failures.push_back(
                failure.path.str() + " " + std::to_string(failure.what) + " " + std::to_string(failure.error));
        told.tree = describe(to);
        return told;
    }
    static void expectSame(const Told &ahead, const Told &ordinary)
    {
        EXPECT_EQ(ahead.result, ordinary.result);
        EXPECT_EQ(ahead.error, ordinary.error);
        EXPECT_EQ(ahead.events, ordinary.events);
        EXPECT_EQ(ahead.failures, ordinary.failures);
        EXPECT_EQ(ahead.tree, ordinary.tree);
        EXPECT_FALSE(ordinary.hadHelpers);
    }
    /// Whether this machine and file system copy anything ahead: not with one processor, nor where files are cloned.
    bool isDone(const Told &ahead) const
    {
        const bool clones = std::count_if(ahead.events.begin(), ahead.events.end(), [](const std::string &event) {
            return event.starts_with("Data Progress");
        }) == 0;
        return std::thread::hardware_concurrency() > 1 && !clones;
    }

    TemporaryFolder folder;
    std::filesystem::path from = folder.path("from");
};

} // namespace kelvane::testsupport

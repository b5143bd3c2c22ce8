// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/media/HeicConverter.h>
#include <kelvane/media/LocalMediaRecord.h>
#include <kelvane/media/TagFile.h>
#include <kelvane/platform/Image.h>
#include <kelvane/platform/Thumbnail.h>
#include <kelvane/platform/ZenLogger.h>

#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvane::testsupport {

/// What handling a damaged or hostile file may cost: two seconds of processor time and 512 MB, whatever the file says.
/// Each file is handled by a child process, whose resources the system counts.
class BadInput : public testing::Test {
protected:
    /// Does everything with a file in a child process, and fails where that ends otherwise or takes too much.
    void expectBounded(const std::filesystem::path &path, const std::string &what = {})
    {
        expectStepsBounded(path, what, std::span(steps));
    }
    void expectBytesBounded(const std::string &name, const std::string &bytes, const std::string &what = {})
    {
        const auto path = folder.path(name);
        std::ofstream(path, std::ios::binary) << bytes;
        expectBounded(path, what);
        std::filesystem::remove(path);
    }
    /// The same, with a child of its own for each operation: for files that use up what one of them may cost.
    void expectEachBounded(const std::filesystem::path &path, const std::string &what = {})
    {
        for (const Step &step : steps)
            expectStepsBounded(path, what, std::span(&step, 1));
    }
    void expectEachBytesBounded(const std::string &name, const std::string &bytes, const std::string &what = {})
    {
        const auto path = folder.path(name);
        std::ofstream(path, std::ios::binary) << bytes;
        expectEachBounded(path, what);
        std::filesystem::remove(path);
    }

    TemporaryFolder folder;

private:
    using Step = void (*)(const String &path);

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    static constexpr bool isInstrumented = true;
#else
    static constexpr bool isInstrumented = false;
#endif

    static void readTags(const String &path)
    {
        TagFile file(path);
        (void)file.isExistArtwork();
        (void)localMediaRecord(*file.simpleMediadata());
    }
    static void writeTags(const String &path)
    {
        (void)TagFile(path).saveLyrics("La la");
    }
    static void readIndex(const String &path)
    {
        TagFile file(path);
        (void)localMediaRecord(*file.mediadata());
    }
    static void showPicture(const String &path)
    {
        (void)Image::fromFile(path);
    }
    static void showThumbnail(const String &path)
    {
        (void)Thumbnail::jpegOfFile(path);
    }
    static void convert(const String &path)
    {
        (void)HeicConverter::convertHeicToJPG(path, String::concat({path.view(), ".out.jpg"}));
    }

    static constexpr Step steps[] = {readTags, writeTags, readIndex, showPicture, showThumbnail, convert};

    void expectStepsBounded(const std::filesystem::path &path, const std::string &what, std::span<const Step> chosen)
    {
        const pid_t child = ::fork();
        if (child == 0) {
            ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
            ::setenv("TMPDIR", folder.path().c_str(), 1);
            ZenLogger::defaultLogger().setSink([](LogLevel, const String &) {});
            for (const Step &step : chosen)
                step(path.native());
            ::_exit(0);
        }
        int status = 0;
        rusage used = {};
        ASSERT_EQ(::wait4(child, &status, 0, &used), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << path << " " << what << " status " << status;
        const auto seconds = [](const timeval &time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        };
        const double spent = seconds(used.ru_utime) + seconds(used.ru_stime);
        EXPECT_LE(spent, isInstrumented ? 40.0 : 2.0) << path << " " << what;
        constexpr long mostKilobytes = 512 * 1024;
        if (!isInstrumented) {
            EXPECT_LE(used.ru_maxrss, mostKilobytes) << path << " " << what;
        }
    }
};

} // namespace kelvane::testsupport

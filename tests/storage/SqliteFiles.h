// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Value.h>
#include <kelvane/platform/FMDatabase.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <grp.h>
#include <iterator>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvane::testsupport {

inline std::string bytesOfFile(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void writeFile(const std::filesystem::path &path, const std::string &bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

/// Makes a database with a table "media" (id, title) of `rows` rows, title "song N".
inline void makeMediaDatabase(const String &path, int rows, const char *journalMode = "delete")
{
    FMDatabase database(path);
    ASSERT_TRUE(database.open());
    ASSERT_TRUE(database.executeUpdate(String::concat({"PRAGMA journal_mode = ", journalMode})));
    ASSERT_TRUE(database.executeUpdate("CREATE TABLE media (id INTEGER PRIMARY KEY, title TEXT UNIQUE)"));
    ASSERT_TRUE(database.beginTransaction());
    for (int i = 1; i <= rows; ++i)
        ASSERT_TRUE(database.executeUpdate(
            "INSERT INTO media VALUES (?, ?)", Array{i, "song " + String::number(std::int64_t{i})}));
    ASSERT_TRUE(database.commit());
}

/// Whether `check` holds in a process that the modes of files apply to (they do not to the superuser).
inline bool holdsWithoutPrivileges(const std::function<bool()> &check)
{
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t nobody = 65534;
        const bool isReady =
            geteuid() != 0 || (setgroups(0, nullptr) == 0 && setgid(nobody) == 0 && setuid(nobody) == 0);
        _exit(isReady && check() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace kelvane::testsupport

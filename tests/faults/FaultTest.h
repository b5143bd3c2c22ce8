// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <tests/support/faults/FaultSweep.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace kelvane::testsupport {

/// A test for each kind of fault: `sweepAll()` tries one subject with it.
class FaultTest : public testing::TestWithParam<Fault> {
public:
    /// Whether nothing works on the disk any more, or no folder can be opened: what was begun there cannot even be taken
    /// back.
    static bool isDiskDead() { return (GetParam().kind & (FaultIo | FaultFiles)) != 0 && GetParam().goesOn; }

protected:
    static void tryCalls(const FaultSubject &subject, std::uint64_t most = 10) { sweep(subject, GetParam(), most); }
};

/// The whole file, empty where there is none.
inline std::string bytesOf(const std::filesystem::path &path)
{
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    std::string bytes(error ? 0 : static_cast<std::size_t>(size), '\0');
    std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

inline void writeBytes(const std::filesystem::path &path, const std::string &bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

/// The names in a folder that are none of `known`, in one line. A dead disk keeps hidden files that could not be removed.
inline std::string strangersIn(const std::filesystem::path &folder, const std::vector<std::string> &known)
{
    const bool isDiskDead = FaultTest::isDiskDead();
    std::string strangers;
    for (const auto &entry : std::filesystem::directory_iterator(folder))
        if (const std::string name = entry.path().filename(); std::find(known.begin(), known.end(), name) == known.end()
            && !(isDiskDead && name.starts_with(".kelvane-")))
            strangers += name + " is left; ";
    return strangers;
}

} // namespace kelvane::testsupport

/// Runs the tests of `suite`, a FaultTest, with every fault that this build can bring about.
#define KELVANE_ALL_FAULTS(suite)                                                                                      \
    INSTANTIATE_TEST_SUITE_P(Faults, suite, testing::ValuesIn(kelvane::testsupport::allFaults()),                      \
        [](const auto &row) { return kelvane::testsupport::nameOf(row.param); })

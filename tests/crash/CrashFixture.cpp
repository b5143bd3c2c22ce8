// SPDX-License-Identifier: Apache-2.0
#include "CrashFixture.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace kelvane::testsupport {

namespace fs = std::filesystem;

namespace {

std::string readFile(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

void copyFolder(const std::string &from, const std::string &to)
{
    fs::copy(from, to, fs::copy_options::recursive);
    for (const auto &entry : fs::recursive_directory_iterator(from))
        fs::last_write_time(to / fs::relative(entry.path(), from), fs::last_write_time(entry.path()));
}

FolderContent contentOf(const std::string &folder)
{
    FolderContent content;
    for (const auto &entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file())
            content[fs::relative(entry.path(), folder)] = readFile(entry.path());
    return content;
}

void CrashFixture::restore(const Operation &operation) const
{
    fs::remove_all(operation.folder);
    copyFolder(_kept.path("before"), operation.folder);
}

void CrashFixture::look(const Operation &operation, const std::string &where) const
{
    SCOPED_TRACE(where + "; " + _plan.text());
    operation.expectConsistent();
    if (!HasFailure())
        operation.expectRecovery();
}

void CrashFixture::killEverywhere(const Operation &operation)
{
    copyFolder(operation.folder, _kept.path("before"));
    const WatchedProgram program{operation.program, operation.folder};
    const std::size_t count = record(program).size();
    ASSERT_GT(count, 0U);
    std::size_t kills = 0;
    for (const std::size_t point : _plan.pointsOf(count)) {
        restore(operation);
        // The number of calls depends a little on the order of threads: the last ones may not come.
        kills += runUntil(program, point) ? 1 : 0;
        look(operation, "killed before call " + std::to_string(point) + " of " + std::to_string(count));
        if (HasFailure())
            return;
    }
    EXPECT_GT(kills, 0U);
    countCrashes(operation.name, "kills", count, kills);
}

void CrashFixture::losePowerEverywhere(const Operation &operation)
{
    PowerLoss disk(operation.folder);
    const std::vector<RecordedCall> calls = record({operation.program, operation.folder});
    const FolderContent left = contentOf(operation.folder);
    const std::vector<std::size_t> points = _plan.pointsOf(calls.size());
    std::set<FolderContent> seen;
    for (std::size_t done = 1; done <= calls.size(); ++done) {
        disk.apply(calls[done - 1]);
        if (!std::binary_search(points.begin(), points.end(), done))
            continue;
        for (const PowerLoss::Luck &luck : _plan.lucks(done)) {
            fs::remove_all(operation.folder);
            disk.materialise(operation.folder, luck);
            // Many moments leave the same behind.
            if (!seen.insert(contentOf(operation.folder)).second)
                continue;
            look(operation,
                "without power after call " + std::to_string(done) + " of " + std::to_string(calls.size()) + ", names "
                    + std::to_string(static_cast<int>(luck.names)) + ", data "
                    + std::to_string(static_cast<int>(luck.data)));
            if (HasFailure())
                return;
        }
    }
    fs::remove_all(operation.folder);
    disk.materialise(operation.folder, {PowerLoss::Luck::Names::All, PowerLoss::Luck::Data::All});
    EXPECT_TRUE(contentOf(operation.folder) == left) << operation.name << " did what was not recorded";
    countCrashes(operation.name, "states after a power cut", calls.size(), seen.size());
}

} // namespace kelvane::testsupport

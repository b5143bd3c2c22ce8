// SPDX-License-Identifier: Apache-2.0
#include "ToolFaults.h"

#include <kelvane/storage/SqliteHelper.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <set>
#include <stdexcept>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;

void run(const std::string &command)
{
    if (std::system(command.c_str()) != 0)
        throw std::runtime_error("failed: " + command);
}

std::string inShell(const fs::path &path)
{
    return "'" + path.string() + "'";
}

} // namespace

ToolFaults::ToolFaults()
{
    fs::create_directories(source);
    fs::create_directories(before);
    const fs::path samples = KELVANE_OWN_SAMPLES;
    fs::copy(samples / "Music" / "01 Ebb.mp3", source / "ebb.mp3");
    fs::copy(samples / "Photos" / "Hills.jpg", source / "hills.jpg");
    fs::copy(samples / "Photos" / "Evening.heic", source / "evening.heic");
}

void ToolFaults::reset() const
{
    fs::remove_all(device);
    fs::remove_all(out);
    run("cp -a " + inShell(before) + ' ' + inShell(device));
}

void ToolFaults::prepareDevice() const
{
    reset();
    ASSERT_EQ(runTool({"sync", source, device}).code, 0);
    fs::remove_all(before);
    run("cp -a " + inShell(device) + ' ' + inShell(before));
}

ToolResult ToolFaults::runWith(const std::vector<std::string> &arguments, std::uint64_t call)
{
    report.clear();
    const std::string order = std::to_string(GetParam().kind) + ':' + std::to_string(call);
    ToolOptions options;
    const char *preloaded = std::getenv("LD_PRELOAD");
    options.environment = {
        {"LD_PRELOAD", KELVANE_FAULTS_PRELOAD + (preloaded ? ':' + std::string(preloaded) : std::string())},
        {"KELVANE_FAULT", order + (GetParam().goesOn ? "+" : "")}, {"KELVANE_FAULT_REPORT", report.path()}};
    return runTool(arguments, options);
}

std::string ToolFaults::judge(const ToolResult &result, bool isHit, const Wrong &wrong) const
{
    if (result.code < 0)
        return result.code == -SIGALRM ? "it hangs" : std::string("it dies: ") + strsignal(-result.code);
    if (result.code != 0 && result.code != 1 && result.code != 3)
        return "it ends with " + std::to_string(result.code);
    if (result.code != 0 && !isHit)
        return "it fails without a fault";
    if (result.code != 0 && result.errors.empty())
        return "it fails and says nothing";
    if (report->filesLeft > 0)
        return "it leaves " + std::to_string(report->filesLeft) + " files open";
    return wrong(result, result.code == 0);
}

std::string ToolFaults::tryCall(const std::vector<std::string> &arguments, std::uint64_t call, const Wrong &wrong)
{
    reset();
    const ToolResult result = runWith(arguments, call);
    mayLeaveNames = GetParam().kind == FaultIo;
    std::string found = judge(result, report->hits > 0, wrong);
    mayLeaveNames = false;
    if (found.empty() && (result.code != 0 || !wrong(result, true).empty())) {
        const ToolResult again = runTool(arguments);
        if (again.code != 0 && !(again.code == 1 && mayBeDoneAlready))
            found = "the next run ends with " + std::to_string(again.code) + ": " + again.errors;
        else if (const std::string left = wrong(again, true); !left.empty())
            found = "after the next run: " + left;
    }
    return found.empty() ? "" : found + "\n(code " + std::to_string(result.code) + ") " + result.errors;
}

void ToolFaults::tryTool(const std::vector<std::string> &arguments, const Wrong &wrong, std::uint64_t most)
{
    if (GetParam().kind == FaultMemory && kelvane_fault_has_memory() == 0)
        GTEST_SKIP() << "the sanitizer's allocator comes before a layer that is preloaded";
    ASSERT_EQ(tryCall(arguments, 0, wrong), "") << "without a fault";
    const std::uint64_t calls = report->calls;
    std::uint64_t tried = 0;
    int failures = 0;
    for (const std::uint64_t call : callsToFail(calls, most)) {
        const std::string answer = tryCall(arguments, call, wrong);
        tried += report->hits > 0 ? 1 : 0;
        if (answer.empty())
            continue;
        ADD_FAILURE() << arguments[0] << ", " << nameOf(GetParam()) << " of call " << call << " of " << calls << ", "
                      << report->function << ": " << answer << '\n'
                      << report->where;
        if (++failures == 3)
            break;
    }
    tellFigures("kelvane " + arguments[0], GetParam(), calls, tried);
}

void ToolFaults::expectSameOutput(std::vector<std::string> arguments)
{
    // nlohmann-json allocates where it destroys its objects, which ends the process when there is no memory.
    if (GetParam().kind == FaultMemory)
        std::erase(arguments, "--json");
    reset();
    const std::string expected = runTool(arguments).output;
    ASSERT_NE(expected, "");
    tryTool(arguments, [&](const ToolResult &result, bool isDone) {
        return isDone && result.output != expected ? "it says something else: " + result.output : "";
    });
}

std::string ToolFaults::wrongDevice(bool isDone) const
{
    std::set<std::string> contents;
    std::size_t sources = 0;
    for (const auto &entry : fs::directory_iterator(source)) {
        contents.insert(bytesOf(entry.path()));
        ++sources;
    }
    contents.insert(old.begin(), old.end());
    std::set<std::string> files;
    for (const char *part : {"Music", "Photos"})
        if (fs::exists(device / part))
            for (const auto &entry : fs::recursive_directory_iterator(device / part))
                if (entry.is_regular_file())
                    files.insert(fs::relative(entry.path(), device).string());
    for (const std::string &file : files)
        if (const std::string bytes = bytesOf(device / file);
            !contents.contains(bytes) && !(file.starts_with("Photos/evening") && isJpeg(bytes)))
            return file + " is not whole";

    const fs::path library = device / ".kelvane" / "library.sqlite";
    if (!fs::exists(library))
        return isDone || !files.empty() ? "there is no library" : "";
    const fs::path copy = folder.path("library.sqlite"); // the journal of another reader would be in the way
    for (const char *suffix : {"", "-wal", "-journal"}) {
        fs::remove(copy.string() + suffix);
        if (fs::exists(library.string() + suffix))
            fs::copy(library.string() + suffix, copy.string() + suffix);
    }
    SqliteHelper helper(copy.native());
    if (helper.stringForQuery("PRAGMA integrity_check") != "ok")
        return "the library is damaged";
    std::set<std::string> known;
    for (const Value &row : helper.executeDataTable("SELECT devicePath FROM media")) {
        known.insert(row.dictionary()["devicePath"].string().str());
        if (!files.contains(row.dictionary()["devicePath"].string().str()))
            return "a row lacks its file";
    }
    const std::size_t rows = known.size();
    for (const char *planned : {"SELECT target AS path FROM transfer", "SELECT devicePath AS path FROM removal"})
        for (const Value &row : helper.executeDataTable(planned))
            known.insert(row.dictionary()["path"].string().str());
    for (const std::string &file : files)
        if (!known.contains(file))
            return file + " has no row";
    if (!isDone)
        return {};
    if (rows != sources || files.size() != sources)
        return std::to_string(rows) + " rows and " + std::to_string(files.size()) + " files of "
            + std::to_string(sources) + " sources";
    if (!mayLeaveNames && !fs::is_empty(device / ".kelvane" / "incoming"))
        return "files are left in incoming";
    std::set<std::string> pictures;
    for (const auto &entry : fs::directory_iterator(device / ".kelvane" / "artwork"))
        pictures.insert(".kelvane/artwork/" + entry.path().filename().string());
    std::set<std::string> used;
    for (const Value &row : helper.executeDataTable("SELECT devArtworkPath FROM media WHERE devArtworkPath <> ''"))
        used.insert(row.dictionary()["devArtworkPath"].string().str());
    if (used != pictures || used.empty())
        return "the pictures are not those of the items";
    std::vector<std::string> names = {"library.sqlite", "lock", "incoming", "artwork"};
    if (mayLeaveNames)
        names.insert(names.end(), {"library.sqlite.new", "library.sqlite-shm"});
    return strangersIn(device / ".kelvane", names);
}

} // namespace kelvane::testsupport

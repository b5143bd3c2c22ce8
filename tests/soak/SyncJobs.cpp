// SPDX-License-Identifier: Apache-2.0
#include "Files.h"
#include "Job.h"

#include <tests/tool/ToolProcess.h>

#include <kelvane/common/AsyncExecuteProcessTask.h>
#include <kelvane/platform/ImageSource.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

namespace kelvane::soak {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using testsupport::runTool;
using testsupport::ToolProcess;
using testsupport::ToolResult;

/// A folder of sources and a device that it is synchronised with by the command.
class SyncedFolder {
public:
    explicit SyncedFolder(Turn &turn) : _turn(turn), _source(turn.folder / "source"), _device(turn.folder / "device")
    {
        fs::create_directories(_source);
        fs::create_directories(_device);
    }

    void addSamples() const
    {
        for (const fs::path &file : filesBelow(samples()))
            if (file.extension() != ".md")
                copySample(file.native(), _source / file.parent_path());
    }
    void addSongs(int count)
    {
        for (int i = 0; i < count; ++i)
            grow(fs::path(copySample("Music/Gears & Blossom.mp3", _source / "more")), true);
    }
    /// Some files change, some go, and some are new.
    void edit()
    {
        for (const fs::path &file : filesBelow(_source))
            if (file.extension() == ".mp3" && _turn.oneIn(3))
                grow(_source / file, false);
            else if (_turn.oneIn(6))
                fs::remove(_source / file);
        addSongs(_turn.between(1, 4));
    }

    [[nodiscard]] std::vector<std::string> command(std::vector<std::string> options) const
    {
        options.insert(options.begin(), "sync");
        options.insert(options.end(), {_source.native(), _device.native()});
        return options;
    }
    /// What a sync says at its end.
    Json sync(std::vector<std::string> options)
    {
        options.insert(options.end(), {"--json", "--reserve", "0", "--jobs", std::to_string(_turn.between(1, 4))});
        const ToolResult result = runTool(command(options));
        check(result.code == 0 && result.errors.empty(), "a sync succeeds: " + result.errors);
        check(!result.outputLines().empty(), "a sync says what it did");
        return Json::parse(result.outputLines().back());
    }

    /// What is on the device, source by source. The list is written into a file by a task of the library: of what a command
    /// prints, a task takes only what fits into a pipe.
    [[nodiscard]] std::map<std::string, std::string> items() const
    {
        const fs::path list = _turn.folder / "list";
        const auto task = std::make_shared<AsyncExecuteProcessTask>();
        task->setLaunchPath("/bin/sh");
        task->setArguments(
            {"-c", R"(exec "$0" list --json "$1" >"$2")", KELVANE_TOOL, _device.native(), list.native()});
        task->startExecuteTask();
        check(task->getCompletedResult()->error().isEmpty(), "a device can be listed");
        std::map<std::string, std::string> items;
        std::istringstream lines(contentOf(list));
        for (std::string line; std::getline(lines, line);) {
            const Json item = Json::parse(line);
            items.emplace(item["source"].get<std::string>(), item["devicePath"].get<std::string>());
        }
        return items;
    }

    /// Every file has its row and its copy, and nothing else is on the device. `isWhole`: no file is missing.
    void requireTrue(bool isWhole) const
    {
        const auto items = this->items();
        const auto files = filesBelow(_source);
        check(!isWhole || items.size() == files.size(), "every file has a row");
        std::vector<fs::path> copies;
        for (const auto &[source, copy] : items) {
            requireCopy(source, _device / copy);
            copies.emplace_back(copy);
        }
        std::sort(copies.begin(), copies.end());
        std::vector<fs::path> present;
        for (const fs::path &file : filesBelow(_device))
            if (*file.begin() != ".kelvane")
                present.push_back(file);
        check(copies == present, "a device has the files of its library");
        check(fs::is_empty(_device / ".kelvane/incoming"), "no part of a copy stays");
        check(!fs::exists(_device / ".kelvane/library.sqlite-wal"), "the library is one file");
    }

    void removeOne() const
    {
        const auto items = this->items();
        const auto &[source, copy] = *items.begin();
        check(runTool({"remove", _device.native(), copy}).code == 0, "an item can be removed");
        check(!fs::exists(_device / copy), "the file of an item that is removed goes");
        check(this->items().size() == items.size() - 1 && fs::exists(source), "one item goes, its source stays");
    }

    void report() const
    {
        const fs::path page = _turn.folder / "report.html";
        check(runTool({"report", _device.native(), "-o", page.native()}).code == 0, "a report can be written");
        check(contentOf(page).find("</html>") != std::string::npos, "a report is whole");
    }

private:
    static void requireCopy(const fs::path &source, const fs::path &copy)
    {
        if (source.extension() == ".heic" && copy.extension() == ".jpg") {
            const auto picture = ImageSource::open(copy.native());
            check(picture && picture->format() == ImageFormat::Jpeg, "a photo arrives as a JPEG");
        } else {
            check(contentOf(copy) == contentOf(source), source.native() + " arrives as it is");
        }
    }

    // Bytes behind the last frame of a song are passed over by those who read it.
    void grow(const fs::path &file, bool isNew)
    {
        const std::string content = contentOf(file) + "more " + std::to_string(++_edits);
        if (isNew)
            fs::remove(file);
        writeFile(isNew ? file.parent_path() / ("song" + std::to_string(_edits) + ".mp3") : file, content);
    }

    Turn &_turn;
    const fs::path _source;
    const fs::path _device;
    int _edits = 0;
};

} // namespace

void syncFolder(Turn &turn)
{
    SyncedFolder folder(turn);
    folder.addSamples();
    folder.addSongs(turn.between(2, 10));
    check(folder.sync({})["failed"] == 0, "the first sync brings everything");
    folder.requireTrue(true);
    const Json second = folder.sync(turn.oneIn(3) ? std::vector<std::string>{"--verify"} : std::vector<std::string>());
    check(second["added"] == 0 && second["changed"] == 0, "a second sync copies nothing");
    folder.edit();
    check(folder.sync({"--delete"})["failed"] == 0, "a sync brings what has changed");
    folder.requireTrue(true);
    folder.removeOne();
    folder.requireTrue(false);
    folder.report();
    check(folder.sync({})["added"] == 1, "what was removed comes back");
    folder.requireTrue(true);
}

void interruptSync(Turn &turn)
{
    SyncedFolder folder(turn);
    folder.addSongs(turn.between(20, 50));
    ToolProcess process(folder.command({"--json", "--reserve", "0", "--jobs", std::to_string(turn.between(1, 3))}));
    check(process.waitForOutput("\"finished\""), "a sync finishes an item");
    process.signal(SIGINT);
    const int code = process.wait();
    check(code == 130 || code == 0, "a sync that is interrupted ends in order");
    folder.requireTrue(code == 0);
    check(folder.sync({})["failed"] == 0, "the next sync finishes the job");
    folder.requireTrue(true);
}

} // namespace kelvane::soak

// SPDX-License-Identifier: Apache-2.0
// The command when calls of the system fail: it ends in an exit code and a reason, the device's library tells the truth,
// and the next run finishes the job.
#include "ToolFaults.h"

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;

TEST_P(ToolFaults, AFirstSyncIsFinishedByTheNext)
{
    tryTool(
        {"sync", "--jobs", "1", source, device}, [&](const ToolResult &, bool isDone) { return wrongDevice(isDone); },
        4);
}

TEST_P(ToolFaults, AFurtherSyncIsFinishedByTheNext)
{
    const fs::path samples = KELVANE_OWN_SAMPLES;
    fs::copy(source / "hills.jpg", source / "valley.jpg");
    prepareDevice();
    old = {bytesOf(source / "ebb.mp3"), bytesOf(source / "valley.jpg")};
    fs::remove(source / "valley.jpg");
    fs::copy(samples / "Music" / "Gears & Blossom.mp3", source / "ebb.mp3", fs::copy_options::overwrite_existing);
    fs::copy(samples / "Photos" / "Portrait.jpg", source / "new.jpg");
    tryTool(
        {"sync", "--delete", "--verify", "--jobs", "1", source, device},
        [&](const ToolResult &, bool isDone) { return wrongDevice(isDone); }, 4);
}

TEST_P(ToolFaults, ARemovalIsFinishedByTheNext)
{
    prepareDevice();
    mayBeDoneAlready = true; // the row went before the fault
    tryTool({"remove", device, source / "hills.jpg"}, [&](const ToolResult &, bool isDone) -> std::string {
        if (!isDone)
            return wrongDevice(false);
        const bool isThere = fs::exists(device / "Photos" / "hills.jpg");
        return isThere ? "the file is there" : wrongDevice(false);
    });
}

TEST_P(ToolFaults, AListIsCompleteOrFails)
{
    prepareDevice();
    expectSameOutput({"list", "--json", device});
}

/// Whether a file may be read as if a part of it were missing. Readers of media take what they get, as they must of damaged
/// files, and do not tell a disk that fails in the middle from a file that ends there.
bool mayReadLess()
{
    return (ToolFaults::GetParam().kind & (FaultIo | FaultFiles | FaultMemory)) != 0;
}

TEST_P(ToolFaults, FactsAreToldOfEachFileOrTheCommandFails)
{
    const std::string song = source / "ebb.mp3";
    const std::string photo = source / "hills.jpg";
    if (!mayReadLess())
        return expectSameOutput({"info", "--json", song, photo});
    tryTool({"info", song, photo}, [&](const ToolResult &result, bool isDone) -> std::string {
        const bool isTold =
            result.output.find(song) != std::string::npos && result.output.find(photo) != std::string::npos;
        return isDone && !isTold ? "a file is missing: " + result.output : "";
    });
}

TEST_P(ToolFaults, TypesAreToldOrTheCommandFails)
{
    expectSameOutput({"types", "--json", "mp3", ".heic", "application/epub+zip", "no-such"});
    expectSameOutput({"types", "mp3", "no-such"});
}

TEST_P(ToolFaults, HelpIsToldOrTheCommandFails)
{
    expectSameOutput({"help", "sync"});
}

TEST_P(ToolFaults, AReportIsThereAsAWholeOrNotAtAll)
{
    prepareDevice();
    fs::create_directory(folder.path("made"));
    const fs::path page = folder.path("made") / "page.html";
    tryTool({"report", device, "-o", page}, [&](const ToolResult &, bool isDone) -> std::string {
        const std::string bytes = bytesOf(page);
        fs::remove(page);
        if (isDone ? bytes.empty() : !bytes.empty() && !bytes.ends_with("</html>\n"))
            return "the page is not whole";
        return strangersIn(page.parent_path(), {}) + wrongDevice(true);
    });
}

TEST_P(ToolFaults, ACopyHoldsWholeFilesOnly)
{
    const auto wrongCopy = [&](const ToolResult &, bool isDone) -> std::string {
        std::string wrong;
        for (const auto &entry : fs::directory_iterator(source)) {
            const fs::path copy = out / entry.path().filename();
            if (fs::exists(copy) ? bytesOf(copy) != bytesOf(entry.path()) : isDone)
                wrong = copy.string() + " is not whole";
        }
        if (fs::exists(out))
            wrong += strangersIn(out, {"ebb.mp3", "hills.jpg", "evening.heic"});
        fs::remove_all(out); // what is there is in the way of the next run
        return wrong;
    };
    tryTool({"copy", source, out}, wrongCopy, 60);
}

TEST_P(ToolFaults, AConvertedPhotoIsThereAsAWholeOrNotAtAll)
{
    const fs::path made = folder.path("made");
    fs::create_directory(made);
    tryTool({"heic2jpg", source / "evening.heic", "-o", made}, [&](const ToolResult &, bool isDone) -> std::string {
        const fs::path photo = made / "evening.jpg";
        const bool isGood = fs::exists(photo) ? isJpeg(bytesOf(photo)) : !isDone;
        const std::string strangers = strangersIn(made, {"evening.jpg"});
        for (const auto &entry : fs::directory_iterator(made))
            fs::remove(entry.path());
        return strangers + (isGood ? "" : "the photo is not whole");
    });
}

TEST_P(ToolFaults, APictureIsThereAsAWholeOrNotAtAll)
{
    tryTool({"artwork", source / "ebb.mp3", "-o", out}, [&](const ToolResult &, bool isDone) -> std::string {
        std::size_t pictures = 0;
        bool isGood = true;
        if (fs::exists(out))
            for (const auto &entry : fs::directory_iterator(out)) {
                if (GetParam().kind == FaultIo && entry.path().filename().native().starts_with(".kelvane-"))
                    continue; // the disk did not let it go
                ++pictures;
                isGood = isGood && isJpeg(bytesOf(entry.path()));
            }
        fs::remove_all(out);
        return isGood && pictures <= 1 && (pictures == 1 || !isDone || mayReadLess()) ? "" : "the picture is not whole";
    });
}

TEST_P(ToolFaults, AProgramRunsOrTheCommandFails)
{
    if ((GetParam().kind & (FaultIo | FaultShort)) != 0)
        GTEST_SKIP() << "pipes do not fail, and what a program wrote at once is read at once";
    if (GetParam().kind == FaultFiles && GetParam().goesOn)
        GTEST_SKIP() << "where there is no pipe to be had, the task asks again and again, as its contract says";
    expectSameOutput({"run", "--", "/bin/echo", "some words"});
}

KELVANE_ALL_FAULTS(ToolFaults);

} // namespace
} // namespace kelvane::testsupport

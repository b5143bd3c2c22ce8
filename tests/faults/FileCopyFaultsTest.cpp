// SPDX-License-Identifier: Apache-2.0
// Copies when calls of the system fail: the source stays, and what has a name is whole.
#include "FaultTest.h"

#include <kelvane/storage/FastFileCopyer.h>

#include <sys/xattr.h>

using namespace kelvane;
using namespace kelvane::testsupport;

namespace {

namespace fs = std::filesystem;

std::string attributeOf(const fs::path &path)
{
    char value[64];
    const ssize_t size = ::lgetxattr(path.c_str(), "user.title", value, sizeof value);
    return {value, size > 0 ? static_cast<std::size_t>(size) : 0};
}

std::string pattern(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 31 / 7);
    return bytes;
}

void makeFile(const fs::path &path, std::size_t size)
{
    writeBytes(path, pattern(size));
    // Not every file system has attributes of users; there is nothing to copy then.
    static_cast<void>(::setxattr(path.c_str(), "user.title", "a title", 7, 0));
}

void makeSparseFile(const fs::path &path)
{
    makeFile(path, 5000);
    fs::resize_file(path, 700'000);
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(400'000);
    file << pattern(9000);
}

void makeTree(const fs::path &root)
{
    fs::create_directories(root / "inner" / "empty");
    for (int i = 0; i < 6; ++i)
        makeFile(root / ("small" + std::to_string(i)), static_cast<std::size_t>(1000 * i));
    makeFile(root / "inner" / "large", 200'000);
    fs::create_hard_link(root / "small3", root / "inner" / "same");
    fs::create_symlink("small1", root / "link");
}

std::string wrongEntry(const fs::path &from, const fs::path &to, bool isWhole)
{
    const fs::file_status there = fs::symlink_status(to);
    if (there.type() == fs::file_type::not_found)
        return isWhole ? to.string() + " is missing" : "";
    if (there.type() != fs::symlink_status(from).type())
        return to.string() + " is something else";
    if (fs::is_symlink(there))
        return fs::read_symlink(to) == fs::read_symlink(from) ? "" : "a link leads elsewhere";
    if (fs::is_regular_file(there) && bytesOf(to) != bytesOf(from))
        return to.string() + " is not whole";
    const bool isComplete = attributeOf(to) == attributeOf(from)
        && there.permissions() == fs::symlink_status(from).permissions()
        && (fs::last_write_time(to) == fs::last_write_time(from));
    return isWhole && !isComplete ? to.string() + " lacks attributes" : "";
}

std::string wrongCopy(const fs::path &folder, bool isWhole)
{
    const fs::path from = folder / "from";
    const fs::path to = folder / "to";
    std::string wrong = strangersIn(folder, {"from", "to"}) + wrongEntry(from, to, isWhole);
    if (!fs::is_directory(from))
        return wrong;
    for (const auto &entry : fs::recursive_directory_iterator(from))
        wrong += wrongEntry(entry.path(), to / entry.path().lexically_relative(from), isWhole);
    if (fs::exists(to))
        for (const auto &entry : fs::recursive_directory_iterator(to))
            if (!fs::exists(fs::symlink_status(from / entry.path().lexically_relative(to))))
                wrong += entry.path().string() + " is left; ";
    return wrong;
}

bool copyIn(const fs::path &folder, bool synchronise)
{
    const auto copier = std::make_shared<FastFileCopyer>();
    copier->setSynchronise(synchronise);
    copier->fileCopyFromPath((folder / "from").native(), (folder / "to").native());
    return copier->state() == 2 && copier->failedCount() == 0;
}

class FileCopyFaults : public FaultTest {
protected:
    static void tryCopies(
        const std::string &name, const std::function<void(const fs::path &from)> &make, bool synchronise)
    {
        tryCalls({name, [&](const fs::path &folder) { make(folder / "from"); },
            [=](const fs::path &folder) { return copyIn(folder, synchronise); }, wrongCopy,
            [=](const fs::path &folder) {
                // What a failed copy leaves of a tree is whole, but in the way of another.
                fs::remove_all(folder / "to");
                return copyIn(folder, synchronise);
            }});
    }
};

TEST_P(FileCopyFaults, AFileIsThereAsAWholeOrNotAtAll)
{
    tryCopies(
        "copy file", [](const fs::path &from) { makeFile(from, 200'000); }, true);
}

TEST_P(FileCopyFaults, AFileWithHolesIsThereAsAWholeOrNotAtAll)
{
    tryCopies("copy sparse file", makeSparseFile, false);
}

TEST_P(FileCopyFaults, ATreeHoldsWholeFilesOnlyAndTellsWhatIsMissing)
{
    tryCopies("copy tree", makeTree, false);
}

TEST_P(FileCopyFaults, ASynchronisedTreeHoldsWholeFilesOnlyAndTellsWhatIsMissing)
{
    tryCopies("copy tree synchronised", makeTree, true);
}

TEST_P(FileCopyFaults, ACopyWithoutCallbackReplacesAFileInOneStep)
{
    tryCalls({"copyfile over another",
        [](const fs::path &folder) {
            makeFile(folder / "from", 100'000);
            writeBytes(folder / "to", "old");
        },
        [](const fs::path &folder) {
            return copyfile((folder / "from").native(), (folder / "to").native(), nullptr, COPYFILE_ALL) == 0;
        },
        [](const fs::path &folder, bool isDone) {
            return !isDone && bytesOf(folder / "to") == "old" ? strangersIn(folder, {"from", "to"})
                                                              : wrongCopy(folder, isDone);
        }});
}

TEST_P(FileCopyFaults, ACancelledCopyLeavesNothing)
{
    struct Canceller : FastFileCopyerDelegate {
        void fileCopyProgressChanged(FastFileCopyer &copier) override { copier.setIsCancelled(true); }
    };
    tryCalls({"copy cancelled", [](const fs::path &folder) { makeSparseFile(folder / "from"); },
        [](const fs::path &folder) {
            const auto canceller = std::make_shared<Canceller>();
            const auto copier = std::make_shared<FastFileCopyer>();
            copier->setDelegate(canceller);
            copier->fileCopyFromPath((folder / "from").native(), (folder / "to").native());
            return copier->state() == 3 || copier->failedCount() == 0;
        },
        [](const fs::path &folder, bool) { return wrongCopy(folder, false); }});
}

KELVANE_ALL_FAULTS(FileCopyFaults);

} // namespace

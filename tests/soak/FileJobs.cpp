// SPDX-License-Identifier: Apache-2.0
#include "Files.h"
#include "Job.h"

#include <kelvane/platform/SerialQueue.h>
#include <kelvane/storage/FastFileCopyer.h>

#include <future>
#include <memory>

namespace kelvane::soak {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t succeeded = 2;
constexpr std::int64_t failed = 3;

/// Cancels a copy at its first report of progress, if asked to.
class Canceller : public FastFileCopyerDelegate {
public:
    explicit Canceller(bool cancels) : _cancels(cancels) {}
    void fileCopyProgressChanged(FastFileCopyer &copier) override
    {
        if (_cancels)
            copier.setIsCancelled(true);
    }

private:
    const bool _cancels;
};

} // namespace

void copyFiles(Turn &turn)
{
    const fs::path from = turn.folder / "from";
    const std::string content = pattern(static_cast<std::size_t>(turn.between(1, 12'000'000)), turn.random());
    writeFile(from, content);
    for (const bool cancels : {false, true}) {
        const auto canceller = std::make_shared<Canceller>(cancels);
        const auto copier = std::make_shared<FastFileCopyer>();
        copier->setDelegate(canceller);
        const fs::path to = turn.folder / (cancels ? "cancelled" : "copy");
        copier->fileCopyFromPath(from.native(), to.native());
        // A clone of the file, and the last part of a small one, leave nothing to cancel.
        const bool isCopied = copier->state() == succeeded;
        check(isCopied || (cancels && copier->state() == failed), "a copy ends, done or cancelled");
        check(fs::exists(to) == isCopied, "a copy that was cancelled leaves no file");
        check(!isCopied || contentOf(to) == content, "a copy has the bytes of its source");
    }

    // Queued, the way an application copies many; and one that cannot be.
    const auto queued = std::make_shared<FastFileCopyer>();
    queued->asyncfileCopyFromPath(from.native(), (turn.folder / "queued").native());
    std::promise<void> isDone;
    FastFileCopyer::fastFileCopyerQueue().async([&] { isDone.set_value(); });
    isDone.get_future().wait();
    check(queued->state() == succeeded && contentOf(turn.folder / "queued") == content, "a queued copy is made");
    const auto impossible = std::make_shared<FastFileCopyer>();
    impossible->fileCopyFromPath((turn.folder / "missing").native(), (turn.folder / "nothing").native());
    check(impossible->state() == failed && !fs::exists(turn.folder / "nothing"), "what is not there is not copied");
}

void copyTrees(Turn &turn)
{
    const fs::path to = turn.folder / "tree";
    const auto copier = std::make_shared<FastFileCopyer>();
    copier->setSynchronise(turn.oneIn(4));
    copier->fileCopyFromPath(samples().native(), to.native());
    check(copier->state() == succeeded && copier->failedCount() == 0, "a tree is copied");
    const auto files = filesBelow(samples());
    check(filesBelow(to) == files, "a tree arrives with all of its files");
    for (const fs::path &file : files) {
        check(contentOf(to / file) == contentOf(samples() / file), "a file of a tree arrives as it is");
        check(
            fs::last_write_time(to / file) == fs::last_write_time(samples() / file), "a file of a tree keeps its time");
    }
}

} // namespace kelvane::soak

// SPDX-License-Identifier: Apache-2.0
//
// Copies by FastFileCopyer, with a delegate that listens to the progress, beside programs and libraries that copy:
//   file  1 GiB in one file, which is in memory already
//   tree  10,000 files of 4 KiB in 100 folders with all attributes; and the same with an extended attribute each
// Every round has a fresh destination. What a round of the tree made is removed at the end only: some file systems look
// for a while at what was just deleted, which would slow down whoever comes next.
//
// copy_bench [FOLDER]: where the files are, the temporary folder where it is not given. Needs rsync.
#include "support/Contest.h"

#include <kelvane/storage/FastFileCopyer.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gio/gio.h>
#include <string>
#include <sys/xattr.h>
#include <unistd.h>

using kelvane::FastFileCopyer;
using kelvane::String;
using namespace kelvane::bench;
namespace fs = std::filesystem;

namespace {

using Copy = std::function<bool(const fs::path &from, const fs::path &to)>;

class Listener : public kelvane::FastFileCopyerDelegate {
public:
    void fileCopyProgressChanged(FastFileCopyer &) override { ++reports; }
    std::size_t reports = 0;
};

bool copyWithKelvane(const fs::path &from, const fs::path &to)
{
    const auto copier = std::make_shared<FastFileCopyer>();
    const auto listener = std::make_shared<Listener>();
    copier->setDelegate(listener);
    copier->fileCopyFromPath(String(from.native()), String(to.native()));
    return copier->state() == 2 && copier->failedCount() == 0 && listener->reports > 0;
}

bool copyWithGio(const fs::path &from, const fs::path &to)
{
    static std::size_t reports;
    reports = 0;
    GFile *const source = g_file_new_for_path(from.c_str());
    GFile *const destination = g_file_new_for_path(to.c_str());
    const auto progress = [](goffset, goffset, gpointer) { ++reports; };
    GCancellable *const cancellable = g_cancellable_new();
    const bool good =
        g_file_copy(source, destination, G_FILE_COPY_ALL_METADATA, cancellable, progress, nullptr, nullptr);
    g_object_unref(cancellable);
    g_object_unref(destination);
    g_object_unref(source);
    return good && reports > 0;
}

bool copyWithStandardLibrary(const fs::path &from, const fs::path &to)
{
    return fs::copy_file(from, to);
}

bool run(const std::string &command)
{
    return std::system(command.c_str()) == 0;
}

/// `slash` behind both paths: for programs that copy into a folder else.
Copy program(const std::string &command, const std::string &slash = "")
{
    return [=](const fs::path &from, const fs::path &to) {
        return run(command + " '" + from.native() + slash + "' '" + to.native() + slash + "'");
    };
}

/// Rounds of a copy. The first, which warms up, is compared with the source by a program of its own.
Contest::Round copying(
    const fs::path &from, const fs::path &folder, const Copy &copy, const std::string &compare, bool isKept)
{
    return [=, round = 0]() mutable {
        static int count = 0;
        const fs::path to = folder / std::to_string(++count);
        require(run("cat '" + from.native() + "'/*/* '" + from.native() + "' > /dev/null 2>&1; sync -f '"
                    + folder.native() + "'"),
            "a source in memory");
        bool good = false;
        const double took = seconds([&] { good = copy(from, to); });
        require(good, "a copy");
        if (round++ == 0)
            require(run(compare + " '" + from.native() + "' '" + to.native() + "' > /dev/null"), "the same as a copy");
        if (!isKept)
            fs::remove_all(to);
        return took;
    };
}

void makeFile(const fs::path &path)
{
    std::string block(1 << 20, '\0');
    std::uint32_t number = 1;
    for (char &byte : block)
        byte = static_cast<char>((number = number * 1664525 + 1013904223) >> 24);
    std::ofstream file(path, std::ios::binary);
    for (int mebibyte = 0; mebibyte < 1024; ++mebibyte)
        file << block;
}

/// Of the first bytes of a file, so that it can be said what a byte costs in each.
std::function<double(int)> copyingParts(const fs::path &file, const fs::path &folder)
{
    return [=](int bytes) {
        const fs::path part = folder / ("part-" + std::to_string(bytes)); // made once: it takes the memory of a copy
        if (!fs::exists(part)) {
            fs::copy_file(file, part);
            fs::resize_file(part, static_cast<std::uintmax_t>(bytes));
        }
        double sum = 0;
        const int times = std::max(1, 200'000'000 / bytes);
        for (int i = 0; i < times; ++i)
            sum += copying(part, folder, copyWithKelvane, "cmp", false)();
        return sum / times / bytes;
    };
}

void makeTree(const fs::path &root, bool hasAttributes, int folders = 100)
{
    const std::string content(4096, 'k');
    for (int number = 0; number < folders; ++number) {
        const fs::path folder = root / std::to_string(number);
        fs::create_directories(folder);
        for (int file = 0; file < 100; ++file) {
            const fs::path path = folder / ("file-" + std::to_string(file));
            std::ofstream(path, std::ios::binary) << content;
            if (hasAttributes)
                require(setxattr(path.c_str(), "user.origin", "benchmark", 9, 0) == 0, "an attribute");
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    std::string folder = (fs::path(argc > 1 ? argv[1] : fs::temp_directory_path().c_str()) / "copy_bench-XXXXXX");
    require(mkdtemp(folder.data()) != nullptr, "a folder");

    const fs::path file = fs::path(folder) / "file";
    makeFile(file);
    const auto copyingFile = [&](const Copy &copy) { return copying(file, folder, copy, "cmp", false); };
    Contest("copy", "1 GiB", {"ms", 1e3})
        .ours(copyingFile(copyWithKelvane))
        .peer("cp", 1, copyingFile(program("cp")))
        .peer("GIO", 1, copyingFile(copyWithGio))
        .peer("std::filesystem", 1, copyingFile(copyWithStandardLibrary))
        .run(12); // a multiple of the four: who follows whom counts here
    scaling("copy", "a byte", {"ns", 1e9}, {10'000'000, 100'000'000, 1'000'000'000}, copyingParts(file, folder), 3);
    for (const auto &entry : fs::directory_iterator(folder))
        fs::remove(entry);

    for (const bool hasAttributes : {false, true}) {
        const fs::path tree = fs::path(folder) / (hasAttributes ? "tree-with-attributes" : "tree");
        makeTree(tree, hasAttributes);
        const std::string rsync = hasAttributes ? "rsync -aWX" : "rsync -aW";
        const auto copyingTree = [&](const Copy &copy) { return copying(tree, folder, copy, "diff -r", true); };
        Contest("copy", hasAttributes ? "tree of 10,000 files with attributes" : "tree of 10,000 files", {"ms", 1e3})
            .ours(copyingTree(copyWithKelvane))
            .peer("cp -a", 0.75, copyingTree(program("cp -a")))
            .peer(rsync, 0.5, copyingTree(program(rsync, "/")))
            .run();
    }
    const auto treeOf = [&](int files) { return fs::path(folder) / ("tree-of-" + std::to_string(files)); };
    for (const int files : {100, 1'000, 10'000})
        makeTree(treeOf(files), false, files / 100);
    scaling(
        "copy", "a file of a tree", {"us", 1e6}, {100, 1'000, 10'000},
        [&](int files) {
            double sum = 0;
            const int times = 10'000 / files / 10 + 1;
            for (int i = 0; i < times; ++i)
                sum += copying(treeOf(files), folder, copyWithKelvane, "diff -r", true)();
            return sum / times / files;
        },
        5);
    fs::remove_all(folder);
    return 0;
}

// SPDX-License-Identifier: Apache-2.0
// What it measures, each beside its rivals on the same data, with a fresh destination in every round:
//   large  1 GiB in one file, in memory already, with progress and cancel on; beside cp and std::filesystem
//   tree   10,000 files of 4 KiB in 100 folders with all attributes; beside cp -a and rsync -aW
//   xattr  the same tree, each file with an attribute; beside cp -a and rsync -aWX
// copy_bench [ROUNDS] [FOLDER]: 7 rounds, in a fresh folder below the temporary one. Removal is left to the end: some file
// systems look for a while at what was just deleted, which would slow down whoever comes next.
#include <kelvane/storage/FastFileCopyer.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <sys/utsname.h>
#include <sys/xattr.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using kelvane::FastFileCopyer;
using kelvane::String;
namespace fs = std::filesystem;

class Counter : public kelvane::FastFileCopyerDelegate {
public:
    void fileCopyProgressChanged(FastFileCopyer &) override { ++reports; }
    std::size_t reports = 0;
};

struct Rival {
    std::string name;
    std::function<bool(const fs::path &from, const fs::path &to)> copy;
    std::vector<double> seconds = {};
};

bool copyWithKelvane(const fs::path &from, const fs::path &to)
{
    const auto copier = std::make_shared<FastFileCopyer>();
    const auto counter = std::make_shared<Counter>();
    copier->setDelegate(counter);
    copier->fileCopyFromPath(String(from.native()), String(to.native()));
    return copier->state() == 2 && copier->failedCount() == 0 && counter->reports > 0;
}

std::function<bool(const fs::path &, const fs::path &)> command(const std::string &text, const std::string &slash = "")
{
    return [=](const fs::path &from, const fs::path &to) {
        return std::system((text + " '" + from.native() + slash + "' '" + to.native() + slash + "'").c_str()) == 0;
    };
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void measure(const std::string &title, const fs::path &from, const fs::path &folder, int rounds, bool keep,
    std::vector<Rival> rivals)
{
    for (int round = 0; round < rounds; ++round) {
        // Another one begins in each round, so that none always follows the same one.
        for (std::size_t turn = 0; turn < rivals.size(); ++turn) {
            Rival &rival = rivals[(turn + static_cast<std::size_t>(round)) % rivals.size()];
            const fs::path to = folder / (title + "-" + std::to_string(round) + "-" + std::to_string(turn));
            sync();
            const auto begun = std::chrono::steady_clock::now();
            if (!rival.copy(from, to)) {
                std::printf("%s: %s failed\n", title.c_str(), rival.name.c_str());
                return;
            }
            rival.seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count());
            if (!keep)
                fs::remove_all(to);
        }
    }
    for (const Rival &rival : rivals) {
        const auto [least, most] = std::minmax_element(rival.seconds.begin(), rival.seconds.end());
        std::printf("%-6s %-16s median %8.1f ms  (%.1f to %.1f)  kelvane/this %.2f\n", title.c_str(),
            rival.name.c_str(), median(rival.seconds) * 1000, *least * 1000, *most * 1000,
            median(rivals.front().seconds) / median(rival.seconds));
    }
}

void makeTree(const fs::path &root, bool attributes)
{
    const std::string content(4096, 'k');
    for (int number = 0; number < 100; ++number) {
        const fs::path folder = root / std::to_string(number);
        fs::create_directories(folder);
        for (int file = 0; file < 100; ++file) {
            const fs::path path = folder / ("file-" + std::to_string(file));
            std::ofstream(path, std::ios::binary) << content;
            if (attributes && setxattr(path.c_str(), "user.origin", "benchmark", 9, 0) != 0)
                std::perror("setxattr");
        }
    }
}

} // namespace

int main(int count, char **arguments)
{
    (void)std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const int rounds = count > 1 ? std::max(1, std::atoi(arguments[1])) : 7;
    std::string folder = (fs::path(count > 2 ? arguments[2] : fs::temp_directory_path().c_str()) / "copy-bench-XXXXXX");
    if (!mkdtemp(folder.data()))
        return 1;
    utsname machine{};
    uname(&machine);
    std::printf("%s, %u processors, %d rounds in %s\n", machine.release, std::thread::hardware_concurrency(), rounds,
        folder.c_str());

    const fs::path large = fs::path(folder) / "large-source";
    const std::string block(1 << 20, 'k');
    std::ofstream file(large, std::ios::binary);
    for (int mebibyte = 0; mebibyte < 1024; ++mebibyte)
        file << block;
    file.close();
    measure("large", large, folder, rounds, false,
        {{"kelvane", copyWithKelvane}, {"cp", command("cp")},
            {"std::filesystem", [](const fs::path &from, const fs::path &to) { return fs::copy_file(from, to); }}});

    const bool rsync = std::system("rsync --version > /dev/null 2>&1") == 0;
    for (const bool attributes : {false, true}) {
        const std::string title = attributes ? "xattr" : "tree";
        makeTree(fs::path(folder) / (title + "-source"), attributes);
        std::vector<Rival> rivals{{"kelvane", copyWithKelvane}, {"cp -a", command("cp -a")}};
        if (rsync)
            rivals.push_back({"rsync", command(attributes ? "rsync -aWX" : "rsync -aW", "/")});
        measure(title, fs::path(folder) / (title + "-source"), folder, rounds, true, rivals);
    }
    fs::remove_all(folder);
}

// SPDX-License-Identifier: Apache-2.0

// How fast a file without a cover is known to have none: TagFile::isExistArtwork() on a file of one GiB that is in the
// page cache, beside others that look for the same four bytes, in turns. Reported is the best of the rounds, and how
// much of each other's time ours takes. The file is made in the folder of the first argument (default: /tmp) and
// removed; the second argument "text" fills it with letters rather than with compressed sound's random bytes.
//
//   probe      isExistArtwork()
//   grep       grep -c -a APIC, a process
//   memmem     over a mapping
//   find       std::string_view::find over a mapping
#include <kelvane/media/TagFile.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t size = std::size_t{1} << 30;
constexpr std::string_view mark = "APIC";
constexpr int rounds = 7;

bool makeFile(const std::string &path, bool isText)
{
    std::vector<char> block(std::size_t{1} << 20);
    std::FILE *file = std::fopen(path.c_str(), "wb");
    std::mt19937_64 random(1);
    bool isWritten = file != nullptr;
    for (std::size_t done = 0; isWritten && done < size; done += block.size()) {
        for (std::size_t i = 0; i < block.size(); i += sizeof(std::uint64_t)) {
            std::uint64_t bits = random();
            if (isText)
                bits = (bits & 0x0f0f0f0f0f0f0f0fULL) | 0x4040404040404040ULL;
            std::memcpy(&block[i], &bits, sizeof bits);
        }
        // Neither the mark itself nor, in text, anything but what would be in a file by chance.
        for (std::size_t at = 0;
             (at = std::string_view(block.data(), block.size()).find(mark, at)) != std::string_view::npos;)
            block[at] = 'B';
        if (done == 0)
            std::memcpy(block.data(), "ID3\4", 4);
        isWritten = std::fwrite(block.data(), 1, block.size(), file) == block.size();
    }
    return file && std::fclose(file) == 0 && isWritten;
}

/// The whole file mapped, handed to `search`, and unmapped again.
bool searchMapping(const std::string &path, const std::function<bool(std::string_view)> &search)
{
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    void *bytes = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    ::close(file);
    if (bytes == MAP_FAILED)
        return true;
    const bool found = search({static_cast<const char *>(bytes), size});
    ::munmap(bytes, size);
    return found;
}

double secondsOf(const std::function<bool()> &search)
{
    const auto start = std::chrono::steady_clock::now();
    const bool found = search();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    if (found)
        std::puts("wrong result: the mark is not there");
    return took.count();
}

} // namespace

int main(int argc, char **argv)
{
    const std::string path =
        std::string(argc > 1 ? argv[1] : "/tmp") + "/kelvane-probe-bench." + std::to_string(::getpid());
    const bool isText = argc > 2 && std::string_view(argv[2]) == "text";
    if (!makeFile(path, isText)) {
        std::perror(path.c_str());
        std::remove(path.c_str());
        return EXIT_FAILURE;
    }
    struct Contender {
        const char *name;
        std::function<bool()> search;
        double best = std::numeric_limits<double>::max();
    };
    const std::string grep = "LC_ALL=C grep -c -a APIC '" + path + "' >/dev/null";
    Contender contenders[] = {
        {"probe", [&] { return kelvane::TagFile(path).isExistArtwork(); }},
        {"grep", [&] { return std::system(grep.c_str()) == 0; }},
        {"memmem",
            [&] {
                return searchMapping(path, [](std::string_view bytes) {
                    return ::memmem(bytes.data(), bytes.size(), mark.data(), mark.size()) != nullptr;
                });
            }},
        {"find",
            [&] {
                return searchMapping(
                    path, [](std::string_view bytes) { return bytes.find(mark) != std::string_view::npos; });
            }},
    };
    for (int round = 0; round < rounds; ++round) {
        for (Contender &contender : contenders)
            contender.best = std::min(contender.best, secondsOf(contender.search));
    }
    for (const Contender &contender : contenders)
        std::printf("%-8s %7.1f ms %6.2f GB/s   probe takes %.3f of it\n", contender.name, contender.best * 1e3,
            static_cast<double>(size) / contender.best / 1e9, contenders[0].best / contender.best);
    std::remove(path.c_str());
    return EXIT_SUCCESS;
}

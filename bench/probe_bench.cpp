// SPDX-License-Identifier: Apache-2.0
//
// How fast a file without a cover is known to have none: TagFile::isExistArtwork() on a file of one GiB that is in the
// page cache, beside others that look for the same four bytes: grep as a process, the others over a mapping. The file
// is made in the folder of the first argument (default: /tmp) and removed.
#include "support/Contest.h"

#include <kelvane/media/TagFile.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

using namespace kelvane::bench;

namespace {

constexpr std::size_t size = std::size_t{1} << 30;
constexpr std::string_view mark = "APIC";

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

/// Reads a file in blocks and looks at nothing; how many bytes there were.
int readAll(const std::string &path)
{
    static std::vector<char> block(std::size_t{256} << 10);
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    int sum = 0;
    for (ssize_t got = 1; got > 0; sum += static_cast<int>(std::max<ssize_t>(got, 0)))
        got = ::read(file, block.data(), block.size());
    ::close(file);
    return sum;
}

/// Files of a hundredth, a tenth and all of the size; each round looks through as much in all.
void probeParts(const std::string &path)
{
    const auto nameOf = [&path](int part) { return path + '.' + std::to_string(part); };
    const std::vector<int> sizes{static_cast<int>(size / 100), static_cast<int>(size / 10), static_cast<int>(size)};
    for (const int part : sizes) {
        std::filesystem::copy_file(path, nameOf(part));
        std::filesystem::resize_file(nameOf(part), static_cast<std::uintmax_t>(part));
    }
    const auto perByte = [](const auto &look) {
        return [look](int part) {
            const int times = static_cast<int>(size) / part;
            return seconds([&] {
                for (int i = 0; i < times; ++i)
                    require(!look(part), "no mark");
            }) / times
                / part;
        };
    };
    const auto ours = perByte([&](int part) { return kelvane::TagFile(nameOf(part)).isExistArtwork(); });
    const auto reading = perByte([&](int part) { return readAll(nameOf(part)) != part; });
    scaling("probe", "a byte", {"ns", 1e9}, sizes, ours);
    growthBeside("probe", "a byte", sizes[0], sizes[1], ours, "read() alone", reading);
    for (const int part : sizes)
        std::filesystem::remove(nameOf(part));
}

} // namespace

int main(int argc, char **argv)
{
    const std::string path = std::string(argc > 1 ? argv[1] : "/tmp") + "/probe-bench." + std::to_string(::getpid());
    for (const bool isText : {false, true}) {
        require(makeFile(path, isText), "a file of one GiB");
        const auto inMapping = [&](auto &&search) {
            return [&path, search] { return seconds([&] { require(!searchMapping(path, search), "no mark"); }); };
        };
        Contest("probe", isText ? "1 GiB of letters" : "1 GiB of compressed sound", {"ms", 1e3})
            .ours([&] { return seconds([&] { require(!kelvane::TagFile(path).isExistArtwork(), "no mark"); }); })
            .peer("grep -c -a", 0.25,
                [command = "LC_ALL=C grep -c -a APIC '" + path + "' >/dev/null"] {
                    return seconds([&] { require(std::system(command.c_str()) != 0, "no mark"); });
                })
            .peer("memmem", 0, inMapping([](std::string_view bytes) {
                return ::memmem(bytes.data(), bytes.size(), mark.data(), mark.size()) != nullptr;
            }))
            .peer("string_view::find", 0.8,
                inMapping([](std::string_view bytes) { return bytes.find(mark) != std::string_view::npos; }))
            .peer("read() alone", 0,
                [&] { return seconds([&] { require(readAll(path) == static_cast<int>(size), "all bytes"); }); })
            .run();
        if (!isText)
            probeParts(path);
        std::remove(path.c_str());
    }
}

// SPDX-License-Identifier: Apache-2.0
#include "Files.h"

#include "Job.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace kelvane::soak {

namespace fs = std::filesystem;

std::string contentOf(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    check(file.is_open(), "there is a file " + path.native());
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeFile(const fs::path &path, std::string_view content)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    check(file.flush().good(), "there is room for " + path.native());
}

std::string pattern(std::size_t size, std::uint64_t seed)
{
    std::string bytes(size, '\0');
    auto number = static_cast<std::uint32_t>(seed * 2 + 1);
    for (char &byte : bytes) {
        number = number * 1664525 + 1013904223;
        byte = static_cast<char>(number >> 24);
    }
    return bytes;
}

std::vector<fs::path> filesBelow(const fs::path &folder)
{
    std::vector<fs::path> files;
    for (const auto &entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file())
            files.push_back(fs::relative(entry.path(), folder));
    std::sort(files.begin(), files.end());
    return files;
}

const fs::path &samples()
{
    static const fs::path folder = KELVANE_OWN_SAMPLES;
    return folder;
}

fs::path copySample(const std::string &name, const fs::path &folder)
{
    fs::create_directories(folder);
    fs::path copy = folder / fs::path(name).filename();
    fs::copy_file(samples() / name, copy, fs::copy_options::overwrite_existing);
    return copy;
}

} // namespace kelvane::soak

// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// Replays files, and the files of folders, in builds without libFuzzer. Empty input goes first, always.
int main(int count, char **arguments)
{
    namespace fs = std::filesystem;
    kelvane::fuzz("");
    int files = 0;
    const auto replay = [&](const fs::path &path) {
        std::ifstream file(path, std::ios::binary);
        const std::string input{std::istreambuf_iterator<char>(file), {}};
        std::printf("%s: %zu bytes\n", path.c_str(), input.size());
        std::fflush(stdout); // the last line names the file that ended the process
        kelvane::fuzz(input);
        ++files;
    };
    for (int i = 1; i < count; ++i) {
        if (!fs::is_directory(arguments[i])) {
            replay(arguments[i]);
            continue;
        }
        for (const auto &entry : fs::directory_iterator(arguments[i]))
            replay(entry.path());
    }
    if (files == 0)
        std::fprintf(stderr, "%s: no files to replay\n", arguments[0]);
    return files == 0 ? 1 : 0;
}

// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/platform/UserDefaults.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace kelvane {
namespace {

namespace fs = std::filesystem;

// What was no property list, under the name that it was set aside by; empty where there is none.
fs::path damagedFileIn(const fs::path &folder)
{
    for (const auto &entry : fs::directory_iterator(folder))
        if (entry.path().filename().string().find(".damaged") != std::string::npos)
            return entry.path();
    return {};
}

} // namespace
} // namespace kelvane

// A file of user defaults that anything may have written to.
void kelvane::fuzz(std::string_view input)
{
    silenceLogs();
    const fs::path folder = fs::path(scratchFolder()) / "defaults";
    fs::remove_all(folder);
    fs::create_directory(folder);
    const fs::path path = folder / "defaults.plist";
    std::ofstream(path, std::ios::binary) << input;

    Dictionary before;
    bool isChanged = false;
    {
        UserDefaults defaults(path.string());
        before = defaults.dictionaryRepresentation();
        isChanged = defaults.setObject("value", "a key");
    }
    const fs::path damaged = damagedFileIn(folder);
    require(damaged.empty() || (before.isEmpty() && contentOf(damaged) == input), "nothing that is set aside is lost");
    if (!isChanged) {
        require(damaged.empty() && contentOf(path) == input, "a change that fails changes nothing");
        return;
    }
    before.set("a key", String("value"));
    require(UserDefaults(path.string()).dictionaryRepresentation().size() == before.size(), "a change loses nothing");
    require(UserDefaults(path.string()).objectForKey("a key") == Value(String("value")), "a change is kept");
}

// SPDX-License-Identifier: Apache-2.0
// kelvane_soak --minutes M | --rounds N | --tasks N | --library ITEMS | --libraries FEW MANY [--seed S] [--job NAME]
// [--samples FILE] [--synced ITEMS] [--folder FOLDER]: see script/soak. Exit code 0 where all promises held, 1 where not, 2 for wrong use.
#include "LibraryScale.h"
#include "Soak.h"
#include "TaskFlood.h"

#include <kelvane/platform/SystemLog.h>
#include <kelvane/platform/ZenLogger.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <unistd.h>

namespace {

using namespace kelvane;
namespace fs = std::filesystem;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool judgesMemory = false;
#else
constexpr bool judgesMemory = true;
#endif

/// The values of options by their names, without "--".
using Options = std::map<std::string, std::string>;

Options optionsOf(int count, char **arguments)
{
    Options options;
    for (int i = 1; i < count; ++i) {
        const std::string name = arguments[i];
        if (!name.starts_with("--") || i + 1 == count)
            return {};
        options[name.substr(2)] = arguments[++i];
        if (name == "--libraries" && i + 1 < count)
            options["many"] = arguments[++i];
    }
    return options;
}

// Many small files are written: in memory where the system has such a place.
fs::path folderFor(const Options &options)
{
    if (options.contains("folder"))
        return options.at("folder");
    const bool isSmall = options.contains("libraries");
    return isSmall && ::access("/dev/shm", W_OK | X_OK) == 0 ? fs::path("/dev/shm") : fs::temp_directory_path();
}

std::int64_t numberOf(const Options &options, const char *name)
{
    return options.contains(name) ? std::atoll(options.at(name).c_str()) : 0;
}

// What is damaged, cancelled or thrown on purpose is logged as an error.
void silenceLogs()
{
    const auto drop = [](LogLevel, const String &) {};
    ZenLogger::defaultLogger().setSink(drop);
    SystemLog::defaultLog().setSink(drop);
}

} // namespace

int main(int count, char **arguments)
{
    const Options options = optionsOf(count, arguments);
    soak::SoakOptions soakOptions;
    soakOptions.minutes = options.contains("minutes") ? std::atof(options.at("minutes").c_str()) : 0;
    soakOptions.rounds = numberOf(options, "rounds");
    const auto seed = static_cast<std::uint64_t>(numberOf(options, "seed"));
    soakOptions.seed = seed == 0 ? std::random_device{}() : seed;
    soakOptions.job = options.contains("job") ? options.at("job") : "";
    if (options.contains("samples"))
        soakOptions.samplesPath = fs::absolute(options.at("samples"));

    silenceLogs();
    if (soakOptions.minutes > 0 || soakOptions.rounds > 0)
        return soak::Soak(soakOptions).run() ? 0 : 1;
    if (const std::int64_t tasks = numberOf(options, "tasks"); tasks > 0)
        return soak::floodWithTasks(tasks, judgesMemory) ? 0 : 1;
    if (const std::int64_t items = numberOf(options, "library"); items > 0)
        return soak::buildLargeLibrary(
                   items, options.contains("synced") ? numberOf(options, "synced") : items, folderFor(options))
            ? 0
            : 1;
    if (const std::int64_t few = numberOf(options, "libraries"), many = numberOf(options, "many");
        few > 0 && many > few)
        return soak::compareLibraries(few, many, folderFor(options), judgesMemory) ? 0 : 1;
    std::fputs("usage: kelvane_soak --minutes M | --rounds N | --tasks N | --library ITEMS | --libraries FEW MANY\n"
               "       [--seed S] [--job NAME] [--samples FILE] [--synced ITEMS] [--folder FOLDER]\n",
        stderr);
    return 2;
}

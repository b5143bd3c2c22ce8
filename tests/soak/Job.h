// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <random>
#include <span>
#include <stdexcept>
#include <string>

namespace kelvane::soak {

/// A promise of the library that was broken.
class BrokenPromise : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline void check(bool holds, const std::string &promise)
{
    if (!holds)
        throw BrokenPromise(promise);
}

/// One turn of a job: an empty folder of its own, which is removed after it, and what to decide by.
struct Turn {
    std::filesystem::path folder;
    std::mt19937_64 random;

    /// A number from `lowest` to `highest`, both included.
    [[nodiscard]] int between(int lowest, int highest)
    {
        return std::uniform_int_distribution<int>(lowest, highest)(random);
    }
    [[nodiscard]] bool oneIn(int times) { return between(1, times) == 1; }
};

/// A piece of work that leaves nothing behind, and that compares what it gets with what it should be.
///
/// Threads: two jobs run side by side, the same one never twice.
/// Errors: throws BrokenPromise.
struct Job {
    const char *name;
    std::function<void(Turn &turn)> run;
};

[[nodiscard]] std::span<const Job> jobs();

// The jobs, in files named after what they work with.
void runTasks(Turn &turn);
void groupTasks(Turn &turn);
void runPrograms(Turn &turn);
void editItems(Turn &turn);
void commitByTasks(Turn &turn);
void keepTables(Turn &turn);
void copyFiles(Turn &turn);
void copyTrees(Turn &turn);
void keepDefaults(Turn &turn);
void writePropertyLists(Turn &turn);
void rewriteTags(Turn &turn);
void readMedia(Turn &turn);
void convertPhotos(Turn &turn);
void syncFolder(Turn &turn);
void interruptSync(Turn &turn);

} // namespace kelvane::soak

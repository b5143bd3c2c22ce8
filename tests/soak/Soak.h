// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Flatness.h"
#include "Job.h"
#include "Watchdog.h"

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace kelvane::soak {

struct SoakOptions {
    double minutes = 0; ///< how long; or
    std::int64_t rounds = 0; ///< how many rounds
    std::uint64_t seed = 0;
    std::string job; ///< the only job to do, by its name; empty for all
    std::filesystem::path samplesPath; ///< where the samples go as CSV; empty for nowhere
};

/// All jobs, round after round, two side by side, in an order that the seed decides; and the figures of this process at the
/// same point of the rounds: when all jobs are done and idle threads are gone.
class Soak {
public:
    explicit Soak(SoakOptions options);

    /// Whether all promises held and the process stayed flat. Says so on standard output.
    bool run();

private:
    [[nodiscard]] double minutes() const;
    [[nodiscard]] bool isWarm() const;
    [[nodiscard]] bool isOver() const;
    void runRound();
    [[nodiscard]] std::vector<std::size_t> order() const;
    void runJob(const Job &job, std::size_t number);
    void takeSample();
    void writeSamples() const;
    void printTable() const;

    Watchdog _watchdog;
    const SoakOptions _options;
    const double _start;
    std::int64_t _round = 0;
    std::int64_t _turns = 0; // guarded by _mutex, as the failures are
    std::vector<std::string> _failures;
    std::mutex _mutex;
    std::vector<Sample> _samples;
    std::size_t _firstWarm = 0; // place of the last sample of the warm-up; 0 during it
};

} // namespace kelvane::soak

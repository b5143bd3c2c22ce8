// SPDX-License-Identifier: Apache-2.0
#include "Soak.h"

#include <tests/support/TemporaryFolder.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>

namespace kelvane::soak {
namespace {

namespace fs = std::filesystem;

// A job that fails usually fails again, and tells nothing new.
constexpr std::size_t mostFailures = 5;
constexpr double minutesBetweenSamples = 4.0 / 60;
constexpr std::int64_t warmUpRounds = 2;
constexpr double longestWarmUp = 3; // minutes
constexpr std::chrono::minutes longestWork{3}; // jobs take seconds, also where a sanitizer slows them down

double minutesNow()
{
    return std::chrono::duration<double, std::ratio<60>>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// The folder of this run. It stands for the system's folder of temporary files meanwhile, so that what is left behind
/// there shows.
const fs::path &workshop()
{
    static const testsupport::TemporaryFolder folder;
    static const fs::path path = [] {
        fs::path real = fs::canonical(folder.path());
        ::setenv("TMPDIR", real.c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", real.c_str(), 1);
        return real;
    }();
    return path;
}

} // namespace

Soak::Soak(SoakOptions options) : _watchdog(longestWork), _options(std::move(options)), _start(minutesNow())
{
    static_cast<void>(workshop());
}

double Soak::minutes() const
{
    return minutesNow() - _start;
}

bool Soak::isWarm() const
{
    return _options.rounds > 0 ? _round >= warmUpRounds
                               : minutes() >= std::min(longestWarmUp, _options.minutes / 5) && _round >= warmUpRounds;
}

bool Soak::isOver() const
{
    return _failures.size() >= mostFailures
        || (_options.rounds > 0 ? _round >= _options.rounds : minutes() >= _options.minutes);
}

bool Soak::run()
{
    std::printf("seed %llu\n", static_cast<unsigned long long>(_options.seed));
    std::fflush(stdout);
    while (!isOver()) {
        runRound();
        if (_options.rounds > 0 || _samples.empty() || minutes() - _samples.back().minutes > minutesBetweenSamples)
            takeSample();
    }
    writeSamples();
    printTable();
    std::printf("%lld rounds, %lld turns of jobs, %zu of them failed, in %.1f minutes\n",
        static_cast<long long>(_round), static_cast<long long>(_turns), _failures.size(), minutes());
    const std::vector<Sample> warm(_samples.begin() + static_cast<std::ptrdiff_t>(_firstWarm), _samples.end());
    const Flatness flatness(warm, _options.rounds == 0);
    std::fputs(flatness.text().c_str(), stdout);
    for (const std::string &problem : flatness.problems())
        std::printf("NOT FLAT: %s\n", problem.c_str());
    const bool isGood = _failures.empty() && flatness.problems().empty();
    std::puts(isGood ? "flat, and all promises held" : "failed");
    return isGood;
}

// The numbers of the jobs to do in this round.
std::vector<std::size_t> Soak::order() const
{
    std::vector<std::size_t> numbers;
    for (std::size_t number = 0; number < jobs().size(); ++number)
        if (_options.job.empty() || jobs()[number].name == _options.job)
            numbers.push_back(number);
    std::seed_seq seed{_options.seed, static_cast<std::uint64_t>(_round)};
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937_64(seed));
    return numbers;
}

void Soak::runRound()
{
    ++_round;
    const std::vector<std::size_t> numbers = order();
    std::atomic<std::size_t> next = 0;
    const auto runNext = [&] {
        for (std::size_t place = next++; place < numbers.size(); place = next++)
            runJob(jobs()[numbers[place]], numbers[place]);
    };
    std::thread beside(runNext);
    runNext();
    beside.join();
    for (const auto &entry : fs::directory_iterator(workshop()))
        _failures.push_back(
            "round " + std::to_string(_round) + " left " + entry.path().filename().native() + " behind");
    for (const auto &entry : fs::directory_iterator(workshop()))
        fs::remove_all(entry.path());
}

void Soak::runJob(const Job &job, std::size_t number)
{
    std::seed_seq seed{_options.seed, static_cast<std::uint64_t>(_round), std::uint64_t{number}};
    Turn turn{workshop() / ("turn " + std::to_string(number)), std::mt19937_64(seed)};
    std::string reason;
    const Watchdog::Work work(_watchdog, "round " + std::to_string(_round) + ", " + job.name);
    try {
        fs::create_directory(turn.folder);
        job.run(turn);
        fs::remove_all(turn.folder);
    } catch (const std::exception &error) {
        reason = error.what();
    }
    const std::lock_guard guard(_mutex);
    ++_turns;
    if (reason.empty())
        return;
    _failures.push_back(reason);
    std::printf(
        "FAILED: round %lld, %s: broken promise: %s\n", static_cast<long long>(_round), job.name, reason.c_str());
    std::fflush(stdout);
    std::error_code ignored;
    fs::remove_all(turn.folder, ignored);
}

void Soak::takeSample()
{
    const Watchdog::Work work(_watchdog, "the figures of round " + std::to_string(_round));
    waitForThreads(_firstWarm > 0 ? _samples[_firstWarm].figures.threads : 0);
    _samples.push_back({minutes(), _round, ProcessFigures::now()});
    if (_firstWarm == 0 && isWarm() && _samples.size() > 1)
        _firstWarm = _samples.size() - 1;
}

void Soak::writeSamples() const
{
    if (_options.samplesPath.empty())
        return;
    fs::create_directories(_options.samplesPath.parent_path());
    std::ofstream file(_options.samplesPath);
    file << "minutes,round,isWarm,writtenKiB,inUseKiB,peakKiB,descriptors,threads\n";
    for (std::size_t i = 0; i < _samples.size(); ++i) {
        const auto &[minutes, round, figures] = _samples[i];
        file << minutes << ',' << round << ',' << (_firstWarm > 0 && i >= _firstWarm) << ',' << figures.written << ','
             << figures.inUse << ',' << figures.peak << ',' << figures.descriptors << ',' << figures.threads << '\n';
    }
}

void Soak::printTable() const
{
    constexpr std::size_t lines = 15;
    std::puts("minutes  rounds  written KiB  in use KiB  peak KiB  descriptors  threads");
    for (std::size_t line = 0; line < lines && line < _samples.size(); ++line) {
        const std::size_t place = _samples.size() <= lines ? line : line * (_samples.size() - 1) / (lines - 1);
        const auto &[minutes, round, figures] = _samples[place];
        std::printf("%7.1f %7lld %12lld %11lld %9lld %12lld %8lld%s\n", minutes, static_cast<long long>(round),
            static_cast<long long>(figures.written), static_cast<long long>(figures.inUse),
            static_cast<long long>(figures.peak), static_cast<long long>(figures.descriptors),
            static_cast<long long>(figures.threads), place < _firstWarm ? "  (warm-up)" : "");
    }
}

} // namespace kelvane::soak

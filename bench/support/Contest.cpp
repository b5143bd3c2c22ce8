// SPDX-License-Identifier: Apache-2.0
#include "Contest.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelvane::bench {

namespace {

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// How far apart the middle half of the rounds lies, as a part of the median.
double spread(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return (values[values.size() * 3 / 4] - values[values.size() / 4]) / values[values.size() / 2];
}

double peakBytes()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024;
}

} // namespace

Contest::Contest(std::string area, std::string work, Unit unit)
    : _area(std::move(area)),
      _work(std::move(work)),
      _unit(std::move(unit))
{
}

Contest &Contest::ours(Round round)
{
    _contestants.insert(_contestants.begin(), {"kelvane", 0, std::move(round)});
    return *this;
}

Contest &Contest::peer(std::string name, double target, Round round)
{
    _contestants.push_back({std::move(name), target, std::move(round)});
    return *this;
}

void Contest::run(int rounds)
{
    const std::size_t count = _contestants.size();
    for (int round = -1; round < rounds; ++round) {
        for (std::size_t turn = 0; turn < count; ++turn) {
            Contestant &contestant = _contestants[(turn + static_cast<std::size_t>(round + 1)) % count];
            const double value = contestant.round() * _unit.perSecond;
            if (round >= 0)
                contestant.values.push_back(value);
        }
    }
    std::printf("%s, %s\n", _area.c_str(), _work.c_str());
    for (const Contestant &contestant : _contestants)
        report(contestant);
    std::fflush(stdout);
}

void Contest::report(const Contestant &peer) const
{
    const Contestant &ours = _contestants.front();
    const double own = median(ours.values);
    const double other = median(peer.values);
    std::printf("  %-34s %12.4f %-8s", peer.name.c_str(), other, _unit.name.c_str());
    if (&peer == &ours) {
        std::puts("");
        return;
    }
    std::printf("  ratio %7.3f", own / other);
    if (peer.target > 0)
        std::printf("  target %5.2f %s", peer.target, own / other <= peer.target ? "met" : "MISSED");
    std::puts("");

    const char *file = std::getenv("KELVANE_BENCH_ROWS");
    if (file == nullptr)
        return;
    char row[1024];
    std::snprintf(row, sizeof row,
        R"({"area":"%s","work":"%s","peer":"%s","ours_median":%.9g,"peer_median":%.9g,"ratio":%.6g,)"
        R"("target":%g,"unit":"%s","rounds":%zu,"spread":%.3g,"peer_spread":%.3g})",
        _area.c_str(), _work.c_str(), peer.name.c_str(), own, other, own / other, peer.target, _unit.name.c_str(),
        ours.values.size(), spread(ours.values), spread(peer.values));
    std::ofstream(file, std::ios::app) << row << '\n';
}

void scaling(const std::string &area, const std::string &work, const Unit &unit, const std::vector<int> &sizes,
    const std::function<double(int size)> &secondsPerItem, int rounds)
{
    constexpr double tolerated = 1.3;
    for (std::size_t i = 1; i < sizes.size(); ++i) {
        const int smaller = sizes[i - 1];
        const int larger = sizes[i];
        Contest(area, work + ", each of " + std::to_string(larger), unit)
            .ours([&] { return secondsPerItem(larger); })
            .peer("each of " + std::to_string(smaller), tolerated, [&] { return secondsPerItem(smaller); })
            .run(rounds);
    }
}

void growthBeside(const std::string &area, const std::string &work, int smaller, int larger,
    const std::function<double(int size)> &secondsPerItem, const std::string &peer,
    const std::function<double(int size)> &secondsPerItemOfPeer, int rounds)
{
    const auto growth = [=](const auto &ofSize) { return [=] { return ofSize(larger) / ofSize(smaller); }; };
    Contest(area, work + ", growth from " + std::to_string(smaller) + " to " + std::to_string(larger), {"times"})
        .ours(growth(secondsPerItem))
        .peer(peer, 1, growth(secondsPerItemOfPeer))
        .run(rounds);
}

void require(bool isRight, const char *what)
{
    if (isRight)
        return;
    std::fprintf(stderr, "wrong result: %s\n", what);
    std::_Exit(1);
}

double seconds(const std::function<void()> &work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double inChild(const Contest::Round &round)
{
    int ends[2];
    require(pipe(ends) == 0, "a pipe");
    const pid_t child = fork();
    require(child >= 0, "a child process");
    if (child == 0) {
        const double value = round();
        require(write(ends[1], &value, sizeof value) == sizeof value, "a report to the parent");
        std::_Exit(0);
    }
    close(ends[1]);
    double value = 0;
    const ssize_t count = read(ends[0], &value, sizeof value);
    close(ends[0]);
    waitpid(child, nullptr, 0);
    require(count == sizeof value, "what a child process measured");
    return value;
}

double peakMemoryInChild(const std::function<void()> &prepare, const std::function<void()> &work)
{
    return inChild([&] {
        prepare();
        const double before = peakBytes();
        work();
        return peakBytes() - before;
    });
}

Contest::Round memoryOf(const std::function<void()> &work)
{
    return [work] { return peakMemoryInChild([] {}, work); };
}

} // namespace kelvane::bench

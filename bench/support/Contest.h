// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kelvane::bench {

/// The unit that a contest is told in: its name, and how many of it a second is.
struct Unit {
    std::string name = "s";
    double perSecond = 1;
};

/// One piece of work, done by us and by its peers in turns: A B C, A B C, … after a warm-up of one round each. Turns keep a
/// busy machine fair: what slows one slows the next. The order within a round moves on by one each time, so that nobody
/// always comes after the same neighbour.
///
/// A contestant is a function that does one round of the work, checks that the result is right (require()), and returns
/// what it measured, in seconds. What it prepares and cleans up outside of what it measures is its own business.
class Contest {
public:
    using Round = std::function<double()>;

    Contest(std::string area, std::string work, Unit unit = {});

    Contest &ours(Round round);
    /// `target`: the ratio of medians, ours / peer, that we mean to stay at or below; 0 for none.
    Contest &peer(std::string name, double target, Round round);
    /// Runs all rounds, prints a line for each contestant, and adds a row for each peer to the file that the
    /// environment's KELVANE_BENCH_ROWS names, if it does (one JSON object a line).
    void run(int rounds = 7);

private:
    struct Contestant {
        std::string name;
        double target;
        Round round;
        std::vector<double> values = {};
    };

    void report(const Contestant &peer) const;

    std::string _area;
    std::string _work;
    Unit _unit;
    std::vector<Contestant> _contestants;
};

/// What an item of a work costs at several sizes, each a factor of ten above the one before, as a contest of each size with
/// the one below it: the cost may grow by at most 1.3 from one to the next. `secondsPerItem` does one round.
void scaling(const std::string &area, const std::string &work, const Unit &unit, const std::vector<int> &sizes,
    const std::function<double(int size)> &secondsPerItem, int rounds = 7);

/// How much more an item costs in the larger of two sizes, beside how much more it costs `peer`, which does a constant number
/// of steps for each in the plainest way there is: what grows with it is the machine's memory, and bounds everybody.
void growthBeside(const std::string &area, const std::string &work, int smaller, int larger,
    const std::function<double(int size)> &secondsPerItem, const std::string &peer,
    const std::function<double(int size)> &secondsPerItemOfPeer, int rounds = 7);

/// Ends the program with a message: a wrong result is not worth timing.
void require(bool isRight, const char *what);

/// Wall time of `work` in seconds.
double seconds(const std::function<void()> &work);

/// Runs `round` in a child process and returns what it returned there: threads, caches and allocators begin anew, and
/// the threads of one library are not there when another's are measured. Call it before this process has threads.
double inChild(const Contest::Round &round);

/// The same, but returns the growth of the resident set at its peak, in bytes, while `work` ran.
double peakMemoryInChild(const std::function<void()> &prepare, const std::function<void()> &work);

/// A round of a contest of memory: what the resident set grew by at its peak while `work` ran in a child process.
Contest::Round memoryOf(const std::function<void()> &work);

} // namespace kelvane::bench

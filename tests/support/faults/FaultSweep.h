// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FaultReport.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace kelvane::testsupport {

/// An operation that is tried with faults, each time in a fresh folder.
struct FaultSubject {
    std::string name;
    /// Makes what the operation needs. Not hit.
    std::function<void(const std::filesystem::path &folder)> prepare;
    /// The operation; whether it says that it did its work. May throw std::bad_alloc where memory fails.
    std::function<bool(const std::filesystem::path &folder)> run;
    /// What is wrong in the folder after a run that said `isDone`, empty if nothing is: the files must be as they were
    /// before or as they should be, and the latter only if it is done. Not hit.
    std::function<std::string(const std::filesystem::path &folder, bool isDone)> wrong;
    /// The same operation once more after one that failed, without a fault. It must succeed.
    std::function<bool(const std::filesystem::path &folder)> again = run;
    /// Whether a library at work there does not give back what it had allocated when memory ends.
    bool mayLeakWithoutMemory = false;
};

/// A kind of fault, and whether it goes on once it has begun, as that of a full disk does.
struct Fault {
    FaultKind kind = FaultNone;
    bool goesOn = false;
};

/// "Space", "SpaceFromThereOn"
[[nodiscard]] std::string nameOf(const Fault &fault);
inline void PrintTo(const Fault &fault, std::ostream *out) // for the test's output
{
    *out << nameOf(fault);
}
/// All that this build can bring about.
[[nodiscard]] std::vector<Fault> allFaults();

/// A report that a process started from here shares with us.
class SharedReport {
public:
    SharedReport();
    ~SharedReport();
    SharedReport(const SharedReport &) = delete;
    SharedReport &operator=(const SharedReport &) = delete;

    [[nodiscard]] FaultReport &operator*() const noexcept { return *_report; }
    [[nodiscard]] FaultReport *operator->() const noexcept { return _report; }
    /// Its file, for a preloaded layer.
    [[nodiscard]] const std::string &path() const noexcept { return _path; }
    void clear();

private:
    std::string _path;
    FaultReport *_report = nullptr;
};

/// Which of `calls` calls are to fail, 1 to `calls`. All where they are no more than `most`, or where KELVANE_FAULTS is
/// "all"; else every so-manieth, so that about `most` are tried, a quarter of them where a sanitizer slows us; the first by
/// the number in KELVANE_FAULTS_SEED (0 without one): as many seeds as the distance try all.
[[nodiscard]] std::vector<std::uint64_t> callsToFail(std::uint64_t calls, std::uint64_t most);

/// Tells the figures of a sweep: on standard output and, as a line "name fault calls tried", at the end of the file that
/// KELVANE_FAULTS_LOG names.
void tellFigures(const std::string &name, const Fault &fault, std::uint64_t calls, std::uint64_t tried);

/// Counts the calls that the fault could hit, and runs the subject with each of them failing (see callsToFail()), in a
/// process of its own each. A failure of the test where one dies, hangs, throws, lies, leaves a file open or leaks
/// memory (where that is watched), loses what it had, or does not succeed afterwards.
void sweep(const FaultSubject &subject, const Fault &fault, std::uint64_t most = 10);

} // namespace kelvane::testsupport

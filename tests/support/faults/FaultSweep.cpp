// SPDX-License-Identifier: Apache-2.0
#include "FaultSweep.h"

#include <tests/support/TemporaryFolder.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" __attribute__((weak)) int __lsan_do_recoverable_leak_check(); // NOLINT(bugprone-reserved-identifier)

namespace kelvane::testsupport {
namespace {

enum ChildEnd { ChildGood = 0, ChildWrong = 1 };

// Sanitized processes take several times as long.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint64_t slowdown = 4;
#else
constexpr std::uint64_t slowdown = 1;
#endif

struct Names {
    FaultKind kind;
    const char *name;
};
constexpr Names names[] = {{FaultIo, "Io"}, {FaultSpace, "Space"}, {FaultFiles, "Files"}, {FaultInterrupt, "Interrupt"},
    {FaultShort, "Short"}, {FaultMemory, "Memory"}, {FaultThread, "Thread"}, {FaultClock, "Clock"}};

void silence()
{
    const int nowhere = ::open("/dev/null", O_RDWR);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    ::close(nowhere);
}

/// One run with a fault, and what follows; what is wrong, empty if nothing is.
std::string runOnce(const FaultSubject &subject, const std::filesystem::path &folder, const Fault &fault,
    std::uint64_t call, FaultReport *report)
{
    subject.prepare(folder);
    bool isDone = false;
    std::string thrown;
    const long before = kelvane_fault_open_files();
    kelvane_fault_begin(fault.kind, call, fault.goesOn ? 1 : 0, report);
    try {
        isDone = subject.run(folder);
    } catch (const std::bad_alloc &) {
        thrown = fault.kind == FaultMemory ? "" : "it throws bad_alloc";
    } catch (const std::exception &) {
        thrown = "it throws";
    } catch (...) {
        thrown = "it throws what is no exception";
    }
    kelvane_fault_end();
    if (!thrown.empty())
        return thrown;
    if (const long left = kelvane_fault_files_left(before); left > 0)
        return "it leaves " + std::to_string(left) + " files open";
    if (std::string wrong = subject.wrong(folder, isDone); !wrong.empty())
        return (isDone ? "done, but: " : "failed, and: ") + wrong;
    if (isDone)
        return {};
    if (call == 0 || report->hits == 0)
        return "it fails without a fault";
    if (!subject.again(folder))
        return "it fails again without a fault";
    const std::string wrong = subject.wrong(folder, true);
    return wrong.empty() ? "" : "run again: " + wrong;
}

[[noreturn]] void child(const FaultSubject &subject, const std::filesystem::path &folder, const Fault &fault,
    std::uint64_t call, FaultReport *report, int answer)
{
    silence();
    std::string wrong;
    try {
        wrong = runOnce(subject, folder, fault, call, report);
    } catch (const std::exception &error) {
        wrong = std::string("the check throws: ") + error.what();
    }
    const bool mayLeak = subject.mayLeakWithoutMemory && fault.kind == FaultMemory;
    if (wrong.empty() && !mayLeak && __lsan_do_recoverable_leak_check && __lsan_do_recoverable_leak_check() != 0)
        wrong = "it leaks memory";
    const ssize_t written = ::write(answer, wrong.data(), wrong.size());
    _exit(written == static_cast<ssize_t>(wrong.size()) && wrong.empty() ? ChildGood : ChildWrong);
}

std::string answerOf(pid_t process, int answer)
{
    char text[1000];
    const ssize_t count = ::read(answer, text, sizeof text);
    ::close(answer);
    int status = 0;
    ::waitpid(process, &status, 0);
    if (WIFSIGNALED(status))
        return WTERMSIG(status) == SIGALRM ? "it hangs" : std::string("it dies: ") + strsignal(WTERMSIG(status));
    if (count > 0)
        return {text, static_cast<std::size_t>(count)};
    return WEXITSTATUS(status) == ChildGood ? "" : "it ends with " + std::to_string(WEXITSTATUS(status));
}

std::string tryOnce(const FaultSubject &subject, const Fault &fault, std::uint64_t call, FaultReport *report)
{
    const TemporaryFolder folder;
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return "no pipe";
    const pid_t process = ::fork();
    if (process == 0) {
        ::close(ends[0]);
        child(subject, folder.path(), fault, call, report, ends[1]);
    }
    ::close(ends[1]);
    return answerOf(process, ends[0]);
}

std::uint64_t numberIn(const char *variable)
{
    const char *text = std::getenv(variable);
    return text ? std::strtoull(text, nullptr, 10) : 0;
}

} // namespace

std::string nameOf(const Fault &fault)
{
    const auto *found =
        std::find_if(std::begin(names), std::end(names), [&](const Names &row) { return row.kind == fault.kind; });
    return std::string(found->name) + (fault.goesOn ? "FromThereOn" : "");
}

std::vector<Fault> allFaults()
{
    return {{FaultIo}, {FaultIo, true}, {FaultSpace}, {FaultSpace, true}, {FaultFiles}, {FaultFiles, true},
        {FaultInterrupt}, {FaultShort}, {FaultShort, true}, {FaultThread}, {FaultThread, true}, {FaultClock},
        {FaultClock, true}, {FaultMemory}};
}

SharedReport::SharedReport() : _path((std::filesystem::temp_directory_path() / "kelvane-fault-XXXXXX").string())
{
    const int file = ::mkstemp(_path.data());
    if (file < 0 || ::ftruncate(file, sizeof(FaultReport)) != 0)
        throw std::runtime_error("cannot make " + _path);
    void *memory = ::mmap(nullptr, sizeof(FaultReport), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ::close(file);
    if (memory == MAP_FAILED)
        throw std::runtime_error("cannot map " + _path);
    _report = static_cast<FaultReport *>(memory);
}

SharedReport::~SharedReport()
{
    ::munmap(_report, sizeof(FaultReport));
    ::unlink(_path.c_str());
}

void SharedReport::clear()
{
    _report->calls = 0;
    _report->hits = 0;
    _report->filesLeft = 0;
    _report->function[0] = _report->where[0] = '\0';
}

std::vector<std::uint64_t> callsToFail(std::uint64_t calls, std::uint64_t most)
{
    const char *asked = std::getenv("KELVANE_FAULTS");
    const bool all = asked && std::string_view(asked) == "all";
    const std::uint64_t distance =
        all ? 1 : std::max<std::uint64_t>(1, calls / std::max<std::uint64_t>(1, most / slowdown));
    std::vector<std::uint64_t> chosen;
    for (std::uint64_t call = 1 + numberIn("KELVANE_FAULTS_SEED") % distance; call <= calls; call += distance)
        chosen.push_back(call);
    return chosen;
}

void tellFigures(const std::string &name, const Fault &fault, std::uint64_t calls, std::uint64_t tried)
{
    const std::string line =
        name + ' ' + nameOf(fault) + ' ' + std::to_string(calls) + ' ' + std::to_string(tried) + '\n';
    std::cout << "faults: " << line << std::flush;
    if (const char *log = std::getenv("KELVANE_FAULTS_LOG"))
        std::ofstream(log, std::ios::app) << line;
}

void sweep(const FaultSubject &subject, const Fault &fault, std::uint64_t most)
{
    SharedReport report;
    const std::string wrong = tryOnce(subject, fault, 0, &*report);
    ASSERT_EQ(wrong, "") << subject.name << " without a fault";
    const std::uint64_t calls = report->calls;
    int failures = 0;
    std::uint64_t tried = 0;
    for (const std::uint64_t call : callsToFail(calls, most)) {
        report.clear();
        const std::string answer = tryOnce(subject, fault, call, &*report);
        tried += report->hits > 0 ? 1 : 0; // threads may make one call less than when they were counted
        if (answer.empty())
            continue;
        ADD_FAILURE() << subject.name << ", " << nameOf(fault) << " of call " << call << " of " << calls << ", "
                      << report->function << ": " << answer << '\n'
                      << report->where;
        if (++failures == 5)
            break;
    }
    tellFigures(subject.name, fault, calls, tried);
}

} // namespace kelvane::testsupport

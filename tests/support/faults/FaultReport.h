// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace kelvane::testsupport {

/// What is to go wrong. Each of them counts the calls that it could hit, and hits one of these or all from one on.
enum FaultKind : std::uint32_t {
    FaultNone = 0,
    FaultIo = 1U << 0, // EIO, of everything that reaches a disk
    FaultSpace = 1U << 1, // ENOSPC, of what needs room there
    FaultFiles = 1U << 2, // EMFILE, of what opens something
    FaultInterrupt = 1U << 3, // EINTR, of what may wait
    FaultShort = 1U << 4, // a read or a write does half of what it was asked
    FaultMemory = 1U << 5, // no memory
    FaultThread = 1U << 6, // EAGAIN, of new threads and processes
    FaultClock = 1U << 7, // the time of day jumps: a year ahead and, the next time, two years back
};

/// What the layer tells, also from a process that has died: it lies in memory that is shared with who watches.
struct FaultReport {
    std::atomic<std::uint64_t> calls; // that the fault could hit
    std::atomic<std::uint64_t> hits;
    std::atomic<std::int64_t> filesLeft; // open at the end of main() more than at its begin
    char function[32]; // the first call hit
    char where[6000]; // its callers, one a line
};

/// The layer as programs see it that are linked with it. Faults begin and end with these two, so that what a test
/// prepares and checks is not hit.
#pragma GCC visibility push(default)
extern "C" {
void kelvane_fault_begin(std::uint32_t kind, std::uint64_t first, int goesOn, FaultReport *report);
void kelvane_fault_end();
/// Whether this build's layer stands before the allocator; a sanitizer brings one that nothing can stand before.
int kelvane_fault_has_memory();
/// How many files this process has open.
long kelvane_fault_open_files();
/// How many are open that were not before. Threads that are still at their end may hold one for a moment.
long kelvane_fault_files_left(long before);
/// Whether a call of the program itself is to fail. Counts it.
int kelvane_fault_is_hit(const char *function, std::uint32_t kinds);
}
#pragma GCC visibility pop

} // namespace kelvane::testsupport

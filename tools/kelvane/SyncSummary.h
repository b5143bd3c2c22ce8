// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaFormat.h"

#include <array>
#include <cstdint>
#include <string>

namespace kelvane::tool {

/// What became of an item in a run; in a dry run, what would.
enum class SyncOutcome { Copied, Replaced, Removed, Unchanged, Failed };
inline constexpr std::size_t syncOutcomeCount = 5;

/// What a run has to do, or did: items and the bytes of their files, by outcome and kind of media.
struct SyncSummary {
    struct Tally {
        std::uint64_t items = 0;
        std::uint64_t bytes = 0;
    };
    /// Audio, video, images, and what is none of them or cannot be told.
    static constexpr std::size_t kindCount = 4;

    std::array<std::array<Tally, kindCount>, syncOutcomeCount> tallies{};
    std::uint64_t ignored = 0; // files in the sources that are no media
    double seconds = 0;
    bool isInterrupted = false;
    bool isDryRun = false;

    /// Counts an item. Its kind follows from the extension of `path`.
    void count(SyncOutcome outcome, const std::string &path, std::int64_t bytes);
    /// Items and bytes of all kinds.
    [[nodiscard]] Tally total(SyncOutcome outcome) const;
    [[nodiscard]] std::uint64_t items(SyncOutcome outcome) const { return total(outcome).items; }
    /// What was, or would be, written to the device.
    [[nodiscard]] std::uint64_t bytesWritten() const;
};

} // namespace kelvane::tool

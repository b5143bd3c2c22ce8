// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace kelvane {

/// Who is at work in a WorkerPool, in one atomic word, so that every decision sees one consistent picture.
///
/// Sequentially consistent throughout: see OperationFifo::addedCount() for the counterpart.
class Crew {
public:
    struct Roll {
        std::uint32_t active = 0; ///< threads that hold a place: they run operations or look for one
        std::uint32_t looking = 0; ///< those of them that will ask the queue before they do anything else
        bool hasSteward = false; ///< whether a thread without a place watches how the queue moves
    };

    [[nodiscard]] Roll roll() const noexcept { return unpack(_word.load()); }

    /// Asks `decide` for a change until it can be made at once: `decide(Roll &)` edits the roll, or returns false to
    /// leave everything as it is. Returns what it returned last.
    template <class Decide>
    bool change(Decide &&decide) noexcept
    {
        std::uint64_t word = _word.load();
        for (;;) {
            Roll roll = unpack(word);
            if (!decide(roll))
                return false;
            if (_word.compare_exchange_weak(word, pack(roll)))
                return true;
        }
    }
    /// The most frequent changes, in one step each.
    void startLooking() noexcept { _word.fetch_add(oneLooking); }
    void stopLooking() noexcept { _word.fetch_sub(oneLooking); }

private:
    static constexpr unsigned activeShift = 32;
    static constexpr unsigned lookingShift = 1;
    static constexpr std::uint64_t oneLooking = 1U << lookingShift;

    static Roll unpack(std::uint64_t word) noexcept
    {
        return {static_cast<std::uint32_t>(word >> activeShift), static_cast<std::uint32_t>(word) >> lookingShift,
            (word & 1U) != 0};
    }
    static std::uint64_t pack(const Roll &roll) noexcept
    {
        return std::uint64_t{roll.active} << activeShift | std::uint64_t{roll.looking} << lookingShift
            | (roll.hasSteward ? 1U : 0U);
    }

    std::atomic<std::uint64_t> _word{0};
};

} // namespace kelvane

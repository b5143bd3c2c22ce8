// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaFormat.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace kelvane::tool {

/// The kinds that a report tells apart, by the place of their totals.
enum class ReportKind { Audio, Video, Images, Unknown };
inline constexpr std::size_t reportKindCount = 4;

/// What a report tells of an item. Texts are as they come from files.
struct ReportItem {
    ReportKind kind = ReportKind::Unknown;
    std::string title;
    std::string artist;
    std::string album;
    std::string file; // on the device
    std::uint64_t seconds = 0;
    std::uint64_t bytes = 0;
    std::size_t picture = 0; // number of one of the pictures, from 1; 0 for none
};

/// All that a report tells.
struct ReportData {
    struct Total {
        std::uint64_t items = 0;
        std::uint64_t bytes = 0;
        std::uint64_t seconds = 0;
    };

    std::string device; // path
    std::string day; // "2024-05-17 14:05 UTC"
    std::uint64_t capacity = 0; // bytes, of the device
    std::uint64_t free = 0;
    std::vector<ReportItem> items;
    std::vector<std::string> pictures; // JPEG in Base64; "" for one that cannot be shown

    [[nodiscard]] Total total(ReportKind kind) const;
    [[nodiscard]] Total total() const;
};

/// "Audio", "Video", "Images", "Other"; and the word by which the page's style knows it.
[[nodiscard]] const char *titleOf(ReportKind kind);
[[nodiscard]] const char *styleOf(ReportKind kind);

} // namespace kelvane::tool

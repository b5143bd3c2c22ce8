// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Export.h>
#include <kelvane/foundation/String.h>

#include <compare>
#include <cstdint>
#include <optional>

namespace kelvane {

/// A version number of two to four parts: major, minor, build, revision. A part that is missing is -1, so that 1.2
/// orders before 1.2.0.
///
/// Threads: a Version belongs to one thread at a time.
/// Errors: constructors and checkedSet() throw an Exception named after what is wrong ("major error", "minor error",
/// "build error", "revision error", "InitWithVersion Failed"); nothing else throws.
///
/// `major` and `minor` stand in parentheses below because some system headers have macros of these names.
class KELVANE_EXPORT Version {
public:
    /// 0.0.0.0
    Version() noexcept = default;
    /// @selector initWithMajor:minor:
    Version(std::int32_t majorPart, std::int32_t minorPart);
    /// @selector initWithMajor:minor:build:
    Version(std::int32_t majorPart, std::int32_t minorPart, std::int32_t build);
    /// @selector initWithMajor:minor:build:revision:
    Version(std::int32_t majorPart, std::int32_t minorPart, std::int32_t build, std::int32_t revision);
    /// Reads two to four numbers with dots between them; of each part the leading decimal number counts, 0 where
    /// there is none. A text of one part throws "build error". Null gives 0.0.0.0.
    /// @selector initWithVersion:
    explicit Version(const String &text);
    explicit Version(const char *text) : Version(String(text)) {}

    /// Takes the first four runs of digits that the text holds, 0 for those that are missing: 10.2.3.0 of
    /// "v10.2-beta3". Never fails; a number of more than 32 bits keeps its low 32. @selector createFromString:
    [[nodiscard]] static Version createFromString(const String &text) noexcept;

    /// Sets the first `count` parts, 2 to 4, the others to -1. Throws at the first one that is negative; those
    /// before it are set by then. @selector checkedSet:major:minor:build:revision:
    void checkedSet(
        std::int32_t count, std::int32_t majorPart, std::int32_t minorPart, std::int32_t build, std::int32_t revision);

    [[nodiscard]] std::int32_t(major)() const noexcept { return _major; }
    [[nodiscard]] std::int32_t(minor)() const noexcept { return _minor; }
    [[nodiscard]] std::int32_t build() const noexcept { return _build; }
    [[nodiscard]] std::int32_t revision() const noexcept { return _revision; }
    /// The setters take any number.
    void setMajor(std::int32_t part) noexcept { _major = part; }
    void setMinor(std::int32_t part) noexcept { _minor = part; }
    void setBuild(std::int32_t part) noexcept { _build = part; }
    void setRevision(std::int32_t part) noexcept { _revision = part; }

    /// Whether all four parts are equal; false for nothing. @selector isEquals:
    [[nodiscard]] bool isEquals(const std::optional<Version> &other) const noexcept { return other && *this == *other; }
    /// -1, 0 or 1 as this version is before, equal to or after `other`; 1 for nothing. @selector compare:
    [[nodiscard]] std::int32_t compare(const std::optional<Version> &other) const noexcept;

    /// "1.2", "1.2.3" or "1.2.3.4": build and revision are left out, each by itself, where they are -1.
    [[nodiscard]] String toString() const;

    friend bool operator==(const Version &, const Version &) noexcept = default;
    friend std::strong_ordering operator<=>(const Version &, const Version &) noexcept = default;

private:
    // In the order in which they compare.
    std::int32_t _major = 0;
    std::int32_t _minor = 0;
    std::int32_t _build = 0;
    std::int32_t _revision = 0;
};

} // namespace kelvane

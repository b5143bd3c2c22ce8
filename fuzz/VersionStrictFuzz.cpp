// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/common/Version.h>
#include <kelvane/foundation/Exception.h>

#include <algorithm>

// The strict parser ends in a version whose text reads back as itself, or in one of its named exceptions.
void kelvane::fuzz(std::string_view input)
{
    const auto dots = std::count(input.begin(), input.end(), '.');
    try {
        const Version version{String(input)};
        require(dots >= 1 && dots <= 3, "a version has two to four parts");
        require(version.toString() == Version(version.toString()).toString(), "a version's text reads back as itself");
        require(version.isEquals(Version(version.toString())), "a version equals what its text reads as");
    } catch (const Exception &exception) {
        const String &name = exception.name();
        require((dots > 3) == (name == "InitWithVersion Failed"), "too many parts have an error of their own");
        require(dots > 3 || name == "major error" || name == "minor error" || name == "build error"
                || name == "revision error",
            "an error of the parser has one of its names");
        require(dots > 0 || name == "build error" || name == "major error", "one part is never enough");
    }
}

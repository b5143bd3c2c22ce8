// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Value.h>

#include <vector>

namespace kelvane::tool {

struct Fact {
    const char *name;
    Value value;
};

/// What the file-metadata index knows of a file beside the properties of Mediadata; what it does not know is left out.
[[nodiscard]] std::vector<Fact> indexFacts(const Dictionary &index);

} // namespace kelvane::tool

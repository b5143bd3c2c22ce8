// SPDX-License-Identifier: Apache-2.0
#include "IndexFacts.h"

namespace kelvane::tool {
namespace {

struct Named {
    const char *name;
    const char *key;
};

constexpr Named named[] = {
    {"mediaTypes", "kMDItemMediaTypes"},
    {"codecs", "kMDItemCodecs"},
    {"durationSeconds", "kMDItemDurationSeconds"},
    {"pixelWidth", "kMDItemPixelWidth"},
    {"pixelHeight", "kMDItemPixelHeight"},
    {"videoBitrate", "kMDItemVideoBitRate"},
    {"totalBitrate", "kMDItemTotalBitRate"},
};

} // namespace

std::vector<Fact> indexFacts(const Dictionary &index)
{
    std::vector<Fact> facts;
    for (const Named &each : named)
        if (const Value &value = index[each.key]; !value.isNil())
            facts.push_back({each.name, value});
    return facts;
}

} // namespace kelvane::tool

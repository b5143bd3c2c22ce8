// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/common/CollectionExtensions.h>
#include <kelvane/platform/PropertyList.h>

void kelvane::fuzz(std::string_view input)
{
    const Dictionary pairs = PropertyList::readStringsFile(String::fromUtf8(input));
    if (pairs.isNull())
        return;
    require(pairs.size() <= input.size(), "every pair has its bytes in the file");
    require(fromBinData(toBinData(pairs)) == Value(pairs), "what was read survives the binary form");
    const Data xml = toXmlData(pairs);
    require(xml.isNull() || fromData(xml).dictionary().size() == pairs.size(), "the XML form can be read");
}

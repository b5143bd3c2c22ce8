// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/common/CollectionExtensions.h>
#include <kelvane/platform/PropertyList.h>

void kelvane::fuzz(std::string_view input)
{
    const Data data(input.data(), input.size());
    const Dictionary pairs = fromXmlData(data);
    const Value read = fromData(data);
    // Compared as written down, because a number that is not one does not equal itself.
    const Value expected = pairs.isNull() ? fromBinData(data) : Value(pairs);
    require(PropertyList::toBinary(read) == PropertyList::toBinary(expected), "the strings file goes first");
}

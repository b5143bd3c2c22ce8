// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <kelvane/platform/PropertyList.h>

// Binary and XML. What can be read can be written and read again, in the binary form without any loss.
void kelvane::fuzz(std::string_view input)
{
    const Value value = PropertyList::read(Data(input.data(), input.size()));
    if (value.isNil())
        return;
    const Data binary = PropertyList::toBinary(value);
    require(!binary.isNull(), "what was read can be written");
    require(PropertyList::toBinary(PropertyList::read(binary)) == binary, "the binary form survives");
    static_cast<void>(PropertyList::read(PropertyList::toXml(value)));
}

// SPDX-License-Identifier: Apache-2.0
#include <fuzz/Fuzz.h>

#include <tools/kelvane/JsonText.h>

#include <kelvane/foundation/Value.h>
#include <kelvane/platform/PropertyList.h>

#include <algorithm>
#include <string>

namespace kelvane {
namespace {

using tool::Json;

void check(const Json &json)
{
    const std::string line = tool::jsonLine(json);
    require(std::count(line.begin(), line.end(), '\n') == 1 && line.back() == '\n', "an object takes one line");
    const Json again = Json::parse(line, nullptr, false);
    require(!again.is_discarded(), "a line of JSON is JSON");
    require(again.dump() == json.dump(), "a line of JSON says what was meant");
}

} // namespace
} // namespace kelvane

// What the command prints with --json: names and tags of strangers, whatever bytes they are, and values of any kind.
void kelvane::fuzz(std::string_view input)
{
    const Json text = tool::jsonText(input);
    check({{"path", text}});
    if (!String::fromUtf8(input).isNull())
        require(text.get<std::string>() == input, "a text that is valid stays as it is");
    check(tool::jsonValue(PropertyList::read(Data(input.data(), input.size()))));
    check(tool::jsonValue(PropertyList::readStringsFile(String::fromUtf8(input))));
}

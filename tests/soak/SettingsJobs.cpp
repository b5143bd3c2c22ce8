// SPDX-License-Identifier: Apache-2.0
#include "Files.h"
#include "Job.h"

#include <kelvane/foundation/Array.h>
#include <kelvane/foundation/Data.h>
#include <kelvane/foundation/Date.h>
#include <kelvane/foundation/Dictionary.h>
#include <kelvane/platform/PropertyList.h>
#include <kelvane/platform/UserDefaults.h>

#include <map>
#include <string>

namespace kelvane::soak {
namespace {

Value anyValue(Turn &turn, int depth)
{
    switch (turn.between(0, depth > 0 ? 6 : 4)) {
    case 0:
        return turn.oneIn(2);
    case 1:
        return static_cast<std::int64_t>(turn.random());
    case 2:
        return turn.between(-1'000'000, 1'000'000) / 8.0;
    case 3:
        return String("text " + std::to_string(turn.random()));
    case 4: {
        const std::string bytes = pattern(static_cast<std::size_t>(turn.between(0, 300)), turn.random());
        return Data(bytes.data(), bytes.size());
    }
    case 5: {
        Array array = Array::empty();
        for (int i = turn.between(0, 6); i > 0; --i)
            array.append(anyValue(turn, depth - 1));
        return array;
    }
    default: {
        Dictionary dictionary = Dictionary::empty();
        for (int i = turn.between(0, 6); i > 0; --i)
            dictionary.set(String("key " + std::to_string(turn.between(0, 99))), anyValue(turn, depth - 1));
        return dictionary;
    }
    }
}

} // namespace

void writePropertyLists(Turn &turn)
{
    for (int i = turn.between(5, 30); i > 0; --i) {
        const Value value = anyValue(turn, 4);
        check(PropertyList::read(PropertyList::toBinary(value)) == value, "the binary form loses nothing");
        check(PropertyList::read(PropertyList::toXml(value)) == value, "the XML form loses nothing");
    }
}

void keepDefaults(Turn &turn)
{
    const std::filesystem::path path = turn.folder / "defaults.plist";
    const UserDefaults reader{String(path.native())};
    UserDefaults writer{String(path.native())};
    std::map<std::string, Value> expected;
    for (int i = turn.between(10, 40); i > 0; --i) {
        const std::string key = "key " + std::to_string(turn.between(0, 9));
        if (turn.oneIn(4)) {
            check(writer.removeObjectForKey(key), "a value can be removed");
            expected.erase(key);
        } else if (turn.oneIn(4)) {
            check(writer.update(key, [](const Value &before) -> Value { return before.longLongValue() / 2; }),
                "a value can be updated");
            expected[key] = expected[key].longLongValue() / 2;
        } else {
            expected[key] = anyValue(turn, 2);
            check(writer.setObject(expected[key], key), "a value can be set");
        }
        check(reader.objectForKey(key) == (expected.contains(key) ? expected[key] : Value()), "others see a change");
    }
    check(UserDefaults(String(path.native())).dictionaryRepresentation().size() == expected.size(), "nothing is lost");

    // A file that is damaged is set aside, and nothing of it is lost.
    const std::string damaged = "no property list " + std::to_string(turn.random());
    writeFile(path, damaged);
    check(writer.setObject("value", "a key"), "a damaged file is set aside");
    bool isKept = false;
    for (const auto &file : filesBelow(turn.folder))
        isKept = isKept || contentOf(turn.folder / file) == damaged;
    check(isKept, "what is set aside is kept");
}

} // namespace kelvane::soak

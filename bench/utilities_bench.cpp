// SPDX-License-Identifier: Apache-2.0
//
// Utilities whose cost must not grow.
//   property lists         of 1 MB, read and written in the binary form beside libplist; a strings file of 1 MB beside
//                          libplist's reader of the same pairs in XML, as it reads no strings files; for each byte of 10 KB
//                          to 10 MB
//   dateValue              for each byte of texts that make it try, 10 KB to 10 MB
//   generateRandomLongId   with a million ids issued, beside the first ones of a process
#include "support/Contest.h"

#include <kelvane/common/StringExtensions.h>
#include <kelvane/common/Utils.h>
#include <kelvane/foundation/Value.h>
#include <kelvane/platform/PropertyList.h>

#include <cstdint>
#include <cstdlib>
#include <plist/plist.h>
#include <string>
#include <string_view>

using namespace kelvane;
using namespace kelvane::bench;

namespace {

// Each of them begins many dates and finishes none, or one at every turn.
constexpr std::string_view units[] = {
    "1", "a", " ", "1/", "may ", "3 ", "2012-05-03 1", "12:", "3 may\n", "2012-05-03 "};

double secondsPerByte(int size)
{
    double taken = 0;
    for (const auto unit : units) {
        std::string text;
        while (text.size() < static_cast<std::size_t>(size))
            text += unit;
        const String whole = text;
        const int times = 10'000'000 / size;
        taken += seconds([&] {
            for (int i = 0; i < times; ++i)
                static_cast<void>(dateValue(whole));
        }) / times;
    }
    return taken / size;
}

double secondsPerId()
{
    constexpr int ids = 10'000;
    return seconds([] {
        for (int i = 0; i < ids; ++i)
            static_cast<void>(Utils::generateRandomLongId());
    }) / ids;
}

/// What a library of songs looks like: records of texts, numbers and dates by the names of their fields.
Array songs(int bytes)
{
    constexpr int bytesPerSong = 100;
    Array list = Array::empty();
    for (int i = 0; i < bytes / bytesPerSong; ++i) {
        const std::string number = std::to_string(i);
        list.append(Dictionary{{"title", String("Song number " + number)}, {"artist", String("Artist " + number)},
            {"album", String("Album " + std::to_string(i / 12))}, {"track", i % 12}, {"length", 180.5 + i},
            {"added", Date(i)}, {"isCompilation", i % 2 == 0}});
    }
    return list;
}

/// Pairs as interfaces of applications have them, some with an escape or a comment.
std::string stringsFile(int bytes)
{
    std::string text;
    for (int i = 0; text.size() < static_cast<std::size_t>(bytes); ++i) {
        const std::string number = std::to_string(i);
        text += "/* What button " + number + " says */\n\"button." + number + ".title\" = \"Open %@ \\\"" + number
            + "\\\" in a new window\";\n";
    }
    return text;
}

/// A plist of theirs, read from one of the two forms; how many elements it has.
template <class Read>
std::uint32_t sizeByLibplist(Read read, const Data &data)
{
    plist_t list = nullptr;
    read(data.view().data(), static_cast<std::uint32_t>(data.size()), &list);
    const bool isArray = plist_get_node_type(list) == PLIST_ARRAY;
    const std::uint32_t size = isArray ? plist_array_get_size(list) : plist_dict_get_size(list);
    plist_free(list);
    return size;
}

void propertyLists()
{
    constexpr int bytes = 1'000'000;
    const Unit milliseconds{"ms", 1e3};
    const Value list = songs(bytes);
    const Data binary = PropertyList::toBinary(list);
    const std::size_t size = list.array().size();
    Contest("utilities", "read a binary property list of 1 MB", milliseconds)
        .ours([&] {
            return seconds(
                [&] { require(PropertyList::read(binary).array().size() == size, "the binary list is read"); });
        })
        .peer("libplist", 1.1,
            [&] {
                return seconds([&] { require(sizeByLibplist(plist_from_bin, binary) == size, "libplist reads it"); });
            })
        .run(15);

    plist_t theirs = nullptr;
    plist_from_bin(binary.view().data(), static_cast<std::uint32_t>(binary.size()), &theirs);
    Contest("utilities", "write a binary property list of 1 MB", milliseconds)
        .ours([&] {
            return seconds([&] { require(PropertyList::toBinary(list) == binary, "the binary list is written"); });
        })
        .peer("libplist", 1.1,
            [&] {
                return seconds([&] {
                    char *written = nullptr;
                    std::uint32_t length = 0;
                    plist_to_bin(theirs, &written, &length);
                    require(length > 0, "libplist writes it");
                    plist_to_bin_free(written);
                });
            })
        .run(15);
    plist_free(theirs);

    const String text = stringsFile(bytes);
    const Dictionary pairs = PropertyList::readStringsFile(text);
    const Data xml = PropertyList::toXml(pairs);
    Contest("utilities", "read a strings file of 1 MB", milliseconds)
        .ours([&] {
            return seconds([&] {
                require(PropertyList::readStringsFile(text).size() == pairs.size(), "the strings file is read");
            });
        })
        .peer("libplist, XML", 1.1,
            [&] {
                return seconds(
                    [&] { require(sizeByLibplist(plist_from_xml, xml) == pairs.size(), "libplist reads it"); });
            })
        .run(15);

    const Unit nanoseconds{"ns", 1e9};
    const auto perByte = [](const Data &data, const auto &read) {
        const int times = 20'000'000 / static_cast<int>(data.size()) + 1;
        const double taken = seconds([&] {
            for (int i = 0; i < times; ++i)
                read(data);
        });
        return taken / times / static_cast<double>(data.size());
    };
    scaling(
        "utilities", "binary property list, a byte", nanoseconds, {10'000, 100'000, 1'000'000, 10'000'000},
        [&](int wanted) {
            return perByte(PropertyList::toBinary(songs(wanted)),
                [](const Data &data) { require(!PropertyList::read(data).isNil(), "the binary list is read"); });
        },
        5);
    scaling(
        "utilities", "strings file, a byte", nanoseconds, {10'000, 100'000, 1'000'000, 10'000'000},
        [&](int wanted) {
            const std::string file = stringsFile(wanted);
            const String whole = file;
            return perByte(Data(file.data(), file.size()), [&](const Data &) {
                require(!PropertyList::readStringsFile(whole).isNull(), "the strings file is read");
            });
        },
        5);
}

} // namespace

int main()
{
    propertyLists();
    const Unit nanoseconds{"ns", 1e9};
    scaling("utilities", "dateValue, a byte", nanoseconds, {10'000, 100'000, 1'000'000, 10'000'000}, secondsPerByte, 3);
    Contest("utilities", "generateRandomLongId", nanoseconds)
        .ours([] {
            return inChild([] {
                for (int i = 0; i < 1'000'000; ++i)
                    static_cast<void>(Utils::generateRandomLongId());
                return secondsPerId();
            });
        })
        .peer("the first ones", 1.3, [] { return inChild(secondsPerId); })
        .run();
}

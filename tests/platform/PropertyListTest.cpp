// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/PropertyList.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

namespace kelvane {
namespace {

Data bytes(std::string_view text)
{
    return Data(text.data(), text.size());
}

Data sample(const char *name)
{
    std::ifstream file(std::filesystem::path(KELVANE_SAMPLES) / "plist" / name, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return file.is_open() ? bytes(content) : Data();
}

Value nested(int depth)
{
    Value value = Array::empty();
    for (int i = 1; i < depth; ++i)
        value = Array{value};
    return value;
}

Dictionary everyKind()
{
    return Dictionary{{"true", true}, {"false", false}, {"small", 7}, {"byte", 200}, {"negative", -7},
        {"least", std::numeric_limits<std::int64_t>::min()}, {"most", std::numeric_limits<std::uint64_t>::max()},
        {"real", 1.25}, {"ascii", "a & <b>"}, {"empty", ""}, {"unicode", "\xC3\xA9\xF0\x9F\x8E\xB5"},
        {"data", bytes("\x01\xFFx")}, {"date", Date(3600)}, {"list", Array{1, "two", Array::empty()}},
        {"inner", Dictionary{{"key", "value"}}}, {"none", Dictionary::empty()},
        {"long", String(std::string(70000, 'x'))}};
}

TEST(PropertyList, EveryKindSurvivesTheBinaryForm)
{
    const Value read = PropertyList::read(PropertyList::toBinary(everyKind()));
    EXPECT_EQ(read, Value(everyKind()));
    EXPECT_EQ(read.dictionary()["true"].kind(), Value::Kind::Bool);
    EXPECT_EQ(read.dictionary()["real"].kind(), Value::Kind::Double);
}

TEST(PropertyList, ATextWithANulIsRefusedByTheXmlFormOnly)
{
    const String text(std::string("a\0b", 3));
    for (const Value &value :
        {Value(text), Value(Array{1, text}), Value(Dictionary{{text, 1}}), Value(Dictionary{{"a", Array{text}}})}) {
        EXPECT_TRUE(PropertyList::toXml(value).isNull());
        EXPECT_EQ(PropertyList::read(PropertyList::toBinary(value)), value);
    }
}

TEST(PropertyList, EveryKindSurvivesTheXmlForm)
{
    const Data xml = PropertyList::toXml(everyKind());
    EXPECT_TRUE(xml.view().starts_with("<?xml"));
    EXPECT_EQ(PropertyList::read(xml), Value(everyKind()));
}

TEST(PropertyList, ManyObjectsNeedLongerReferences)
{
    Array numbers = Array::empty();
    for (int i = 0; i < 70000; ++i)
        numbers.append(i);
    EXPECT_EQ(PropertyList::read(PropertyList::toBinary(numbers)), Value(numbers));
}

TEST(PropertyList, DatesFarFromNowKeepTheirValueInTheBinaryForm)
{
    for (const double seconds : {-1e11, 0.5, 1e11})
        EXPECT_EQ(PropertyList::read(PropertyList::toBinary(Date(seconds))), Value(Date(seconds)));
}

TEST(PropertyList, WhatItCannotHoldIsRefused)
{
    EXPECT_TRUE(PropertyList::toBinary(nullptr).isNull());
    EXPECT_TRUE(PropertyList::toBinary(NullObject{}).isNull());
    EXPECT_TRUE(PropertyList::toXml(Array{Object::of(1)}).isNull());
}

TEST(PropertyList, NestingHasALimitBothWays)
{
    const Value deep = nested(PropertyList::deepest);
    EXPECT_EQ(PropertyList::read(PropertyList::toBinary(deep)), deep);
    EXPECT_EQ(PropertyList::read(PropertyList::toXml(deep)), deep);
    EXPECT_TRUE(PropertyList::toBinary(nested(PropertyList::deepest + 1)).isNull());
    EXPECT_TRUE(PropertyList::toXml(nested(PropertyList::deepest + 1)).isNull());
}

TEST(PropertyList, NestingOfAMillionLevelsIsRefusedInEveryForm)
{
    std::string xml = "<plist>";
    std::string hidden = "<plist>";
    std::string text;
    for (int i = 0; i < 1'000'000; ++i) {
        xml += "<array>";
        hidden += "<array><?x ></array>?>";
        text += "(";
    }
    EXPECT_TRUE(PropertyList::read(bytes(xml)).isNil());
    EXPECT_TRUE(PropertyList::read(bytes(hidden)).isNil());
    EXPECT_TRUE(PropertyList::read(bytes(text)).isNil());
    EXPECT_TRUE(PropertyList::readStringsFile(text).isNull());
}

/// A binary list of `count` one-byte offsets to objects that `objects` holds one after the other.
Data binary(std::string objects, const std::vector<unsigned char> &offsets)
{
    std::string list = "bplist00" + objects;
    const auto table = static_cast<char>(list.size());
    for (const unsigned char offset : offsets)
        list.push_back(static_cast<char>(offset));
    list += std::string(6, '\0') + "\x01\x01" + std::string(7, '\0') + static_cast<char>(offsets.size());
    list += std::string(8, '\0') + std::string(7, '\0') + table;
    return bytes(list);
}

TEST(PropertyList, ABinaryListThatHoldsItselfIsRefused)
{
    EXPECT_EQ(PropertyList::read(binary(std::string("\xA1\x01\x09", 3), {8, 10})), Value(Array{true}));
    EXPECT_TRUE(PropertyList::read(binary(std::string("\xA1\x00", 2), {8})).isNil());
}

TEST(PropertyList, ABinaryListThatGrowsByReferencesIsRefused)
{
    std::string objects;
    std::vector<unsigned char> offsets;
    for (int i = 0; i < 40; ++i) {
        offsets.push_back(static_cast<unsigned char>(8 + objects.size()));
        objects += "\xA2" + std::string(2, static_cast<char>(i + 1));
    }
    offsets.push_back(static_cast<unsigned char>(8 + objects.size()));
    EXPECT_TRUE(PropertyList::read(binary(objects + '\x09', offsets)).isNil());
}

TEST(PropertyList, RecordsOfABinaryListThatNameTheSameFieldsKeepTheirOwnValues)
{
    Array records = Array::empty();
    for (int i = 0; i < 100; ++i)
        records.append(Dictionary{{"number", i}, {i % 3 == 0 ? "third" : "other", Dictionary{{"inner", -i}}}});
    Array read = PropertyList::read(PropertyList::toBinary(records)).array();
    EXPECT_EQ(read, records);
    // What they share stays as it is when one of them changes.
    Dictionary first = read[0].dictionary();
    first.set("new", true);
    first.remove("number");
    EXPECT_EQ(read, records);
}

TEST(PropertyList, NumbersOfSixteenBytesInABinaryListAreNegativeOrBeyondTheSignedRange)
{
    EXPECT_EQ(PropertyList::read(binary('\x14' + std::string(16, '\xff'), {8})), Value(-1));
    EXPECT_EQ(PropertyList::read(binary('\x14' + std::string(8, '\0') + std::string(8, '\xff'), {8})),
        Value(std::numeric_limits<std::uint64_t>::max()));
}

TEST(PropertyList, TheLastValueOfANameThatABinaryListHasTwiceStays)
{
    const std::string objects("\xD2\x01\x01\x02\x03\x51k\x08\x09", 9);
    EXPECT_EQ(PropertyList::read(binary(objects, {8, 13, 15, 16})), Value(Dictionary{{"k", true}}));
}

TEST(PropertyList, ABinaryListIsRefusedWhereANameOrAValueIsNone)
{
    // A number as a name; a value of an unknown kind, in a dictionary and behind a name that is there twice.
    EXPECT_TRUE(PropertyList::read(binary(std::string("\xD1\x01\x02\x08\x09", 5), {8, 11, 12})).isNil());
    EXPECT_TRUE(PropertyList::read(binary(std::string("\xD1\x01\x02\x51k\xE0", 6), {8, 11, 13})).isNil());
    EXPECT_TRUE(
        PropertyList::read(binary(std::string("\xD2\x01\x01\x02\x03\x51k\x08\xE0", 9), {8, 13, 15, 16})).isNil());
}

TEST(PropertyList, DamagedBinaryListsNeverCrash)
{
    const std::string good(PropertyList::toBinary(everyKind()).view().substr(0, 400));
    const std::string whole(PropertyList::toBinary(Dictionary{{"a", Array{1, "b", bytes("c")}}}).view());
    for (std::size_t size = 0; size < whole.size(); ++size)
        static_cast<void>(PropertyList::read(bytes(whole.substr(0, size))));
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (int value = 0; value < 256; ++value) {
            std::string changed = whole;
            changed[i] = static_cast<char>(value);
            static_cast<void>(PropertyList::read(bytes(changed)));
        }
    }
    EXPECT_TRUE(PropertyList::read(bytes(good)).isNil());
}

TEST(PropertyList, AKeyedArchivesUidReadsAsADictionary)
{
    EXPECT_EQ(PropertyList::read(binary(std::string("\x80\x05", 2), {8})), Value(Dictionary{{"CF$UID", 5}}));
}

TEST(PropertyList, StringsFilesHoldQuotedAndBareKeys)
{
    EXPECT_EQ(PropertyList::readStringsFile("\"a b\" = \"c d\";\nbare.key-1 = $/:_;\n'q' = 'it\"s';"),
        (Dictionary{{"a b", "c d"}, {"bare.key-1", "$/:_"}, {"q", "it\"s"}}));
    EXPECT_EQ(PropertyList::readStringsFile("{ a = b; }"), (Dictionary{{"a", "b"}}));
    EXPECT_EQ(PropertyList::readStringsFile("shorthand;"), (Dictionary{{"shorthand", "shorthand"}}));
    EXPECT_EQ(PropertyList::readStringsFile("\xEF\xBB\xBF"
                                            "a=b;a=c;"),
        (Dictionary{{"a", "c"}}));
}

TEST(PropertyList, StringsFilesHoldEscapes)
{
    EXPECT_EQ(PropertyList::readStringsFile(R"(k = "\"\\\n\t\U00e9\U00E9 \101\'\z\u0041";)"),
        (Dictionary{{"k", "\"\\\n\t\xC3\xA9\xC3\xA9 A'zu0041"}}));
    EXPECT_EQ(
        PropertyList::readStringsFile(R"(k = "\UD83C\UDFB5\UE9x";)"), (Dictionary{{"k", "\xF0\x9F\x8E\xB5\xC3\xA9x"}}));
}

TEST(PropertyList, StringsFilesHoldCommentsOfBothKinds)
{
    EXPECT_EQ(PropertyList::readStringsFile("/* one */ a /* two */ = // three = x;\n b /**/ ; // four"),
        (Dictionary{{"a", "b"}}));
    EXPECT_EQ(PropertyList::readStringsFile("a = \"/* kept */ //\";"), (Dictionary{{"a", "/* kept */ //"}}));
}

TEST(PropertyList, StringsFilesHoldArraysDictionariesAndData)
{
    EXPECT_EQ(PropertyList::readStringsFile("a = (1, \"2\", ); b = { c = d; }; e = <0fbd 77>; f = ();"),
        (Dictionary{{"a", Array{"1", "2"}}, {"b", Dictionary{{"c", "d"}}}, {"e", bytes("\x0F\xBD\x77")},
            {"f", Array::empty()}}));
}

TEST(PropertyList, AnEmptyStringsFileIsAnEmptyDictionary)
{
    EXPECT_EQ(PropertyList::readStringsFile(""), Dictionary::empty());
    EXPECT_EQ(PropertyList::readStringsFile(" // nothing"), Dictionary::empty());
    EXPECT_TRUE(PropertyList::readStringsFile(nullptr).isNull());
}

TEST(PropertyList, MalformedStringsFilesAreRefused)
{
    for (const char *text : {"a = b", "{ a = b }", "{ a = b; c = d }", "{ a = b;", "a = ;", "= b;", "a = \"b;",
             "a = b c;", "word", "a = (1 2);", "a = (1;", "a = <0>;", "a = <zz>;", "/* a = b;", "a = \"\\", "a = b;;",
             "{a=b;} c", "(1)", "a = b; }", "\xFF = b;"})
        EXPECT_TRUE(PropertyList::readStringsFile(text).isNull()) << text;
}

TEST(PropertyList, TextOfTheOldFormIsRead)
{
    EXPECT_EQ(PropertyList::read(bytes("( a, { b = c; } )")), Value(Array{"a", Dictionary{{"b", "c"}}}));
    EXPECT_EQ(PropertyList::read(bytes("<0fbd77>")), Value(bytes("\x0F\xBD\x77")));
    EXPECT_TRUE(PropertyList::read(bytes("word")).isNil());
    EXPECT_TRUE(PropertyList::read(bytes(" \n")).isNil());
    EXPECT_TRUE(PropertyList::read(bytes("<?xml version=\"1.0\"?><plist><dict><key>a</key>")).isNil());
}

TEST(PropertyList, SamplesOfOthersAreRead)
{
    const Data binaryList = sample("rustplist-binary.plist");
    if (binaryList.isNull())
        GTEST_SKIP() << "no samples in " KELVANE_SAMPLES;
    for (const char *name : {"rustplist-binary.plist", "rustplist-xml.plist"}) {
        const Dictionary author = PropertyList::read(sample(name)).dictionary();
        EXPECT_EQ(author["Author"], Value("William Shakespeare")) << name;
        EXPECT_EQ(author["SmallestNumber"], Value(std::numeric_limits<std::int64_t>::min())) << name;
        EXPECT_EQ(author["BiggestNumber"], Value(std::numeric_limits<std::uint64_t>::max())) << name;
        EXPECT_EQ(author["Birthdate"].date().toIso8601(), "1981-05-16T11:32:06Z") << name;
        EXPECT_EQ(author["Height"], Value(1.6)) << name;
        EXPECT_EQ(author["IsNotFalse"], Value(false)) << name;
        EXPECT_EQ(author["Data"].data().size(), 15U) << name;
    }
    const Dictionary archive = PropertyList::read(sample("biplist-nskeyedarchiver_example.plist")).dictionary();
    EXPECT_EQ(archive["$top"], Value(Dictionary{{"root", Dictionary{{"CF$UID", 1}}}}));
    const Dictionary entities = PropertyList::read(sample("libplist-entities.plist")).dictionary();
    EXPECT_EQ(entities["some test entitites"].dictionary()["copyright"], Value("\xC2\xA9"));
    const Dictionary oldText = PropertyList::read(sample("libplist-o2.ostep")).dictionary();
    EXPECT_EQ(oldText["Keys & \"entities\""], Value("hello world & others <nodes> are fun!?'"));
    EXPECT_EQ(oldText["Some String with Unicode entity"], Value("Yeah check this: \xE1\x88\xB4 !!!"));
    const Dictionary oldSample = PropertyList::read(sample("rustplist-ascii-sample.plist")).dictionary();
    EXPECT_EQ(oldSample["Something"], Value(Array{"ArrayItem1", "ArrayItem2", "ArrayItem3"}));
    EXPECT_EQ(oldSample["Key4"], Value("0.10"));
}

TEST(PropertyList, DamagedSamplesOfOthersAreRefused)
{
    const Data wrong = sample("bad/rustplist-xml_error.plist");
    if (wrong.isNull())
        GTEST_SKIP() << "no samples in " KELVANE_SAMPLES;
    EXPECT_TRUE(PropertyList::read(wrong).isNil());
    EXPECT_TRUE(PropertyList::read(sample("bad/biplist-invalid_object_ref_size.plist")).isNil());
}

} // namespace
} // namespace kelvane

// SPDX-License-Identifier: Apache-2.0
#include <kelvane/platform/TypeIdentifier.h>

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

using namespace kelvane;

namespace {

struct Declared {
    const char *identifier;
    std::vector<std::string> extensions;
    std::vector<std::string> mimeTypes;
    std::vector<std::string> parents;
};

std::vector<std::string> elementsOf(std::string_view list)
{
    std::vector<std::string> found;
    while (!list.empty()) {
        found.emplace_back(list.substr(0, list.find(',')));
        list.remove_prefix(std::min(found.back().size() + 1, list.size()));
    }
    return found;
}

const std::vector<Declared> &declared()
{
#define TYPE(identifier, extensions, mimeTypes, parents)                                                               \
    {identifier, elementsOf(extensions), elementsOf(mimeTypes), elementsOf(parents)},
    static const std::vector<Declared> all{
#include <kelvane/platform/detail/DeclaredTypes.def>
    };
    return all;
}

struct Vector {
    TypeTagClass tagClass;
    const char *tag;
    const char *base;
    const char *identifier;
};

using enum TypeTagClass;

// What the original platform gives.
constexpr Vector vectors[] = {
    {FilenameExtension, "sql", "public.data", "dyn.ah62d4rv4ge81g6pq"},
    {FilenameExtension, "mcpb", "public.data", "dyn.ah62d4rv4ge80425uqk"},
    {FilenameExtension, "lisp", "public.data", "dyn.ah62d4rv4ge8024pxsa"},
    {FilenameExtension, "lsp", "public.data", "dyn.ah62d4rv4ge80265u"},
    {FilenameExtension, "cl", "public.data", "dyn.ah62d4rv4ge80g5a"},
    {FilenameExtension, "rmd", "public.data", "dyn.ah62d4rv4ge81e5pe"},
    {FilenameExtension, "tmp", "public.data", "dyn.ah62d4rv4ge81k5pu"},
    {FilenameExtension, "srt", "public.data", "dyn.ah62d4rv4ge81g6xy"},
    {FilenameExtension, "livp", "public.data", "dyn.ah62d4rv4ge8024p0sa"},
    {FilenameExtension, "conf", "public.data", "dyn.ah62d4rv4ge80g55sq2"},
    {FilenameExtension, "s16", "public.data", "dyn.ah62d4rv4ge81gqm0"},
    {FilenameExtension, "gpx", "public.data", "dyn.ah62d4rv4ge80s6d2"},
    {FilenameExtension, "btsnoop", "public.data", "dyn.ah62d4rv4ge80e7dxr31086a"},
    {FilenameExtension, "ogg", "public.data", "dyn.ah62d4rv4ge80835h"},
    {FilenameExtension, "opus", "public.data", "dyn.ah62d4rv4ge8086dzsq"},
    {FilenameExtension, "mkv", "public.data", "dyn.ah62d4rv4ge804450"},
    {FilenameExtension, "ape", "public.data", "dyn.ah62d4rv4ge80c6df"},
    {FilenameExtension, "rar", "public.data", "dyn.ah62d4rv4ge81e2pw"},
    {FilenameExtension, "apk", "public.data", "dyn.ah62d4rv4ge80c6dp"},
    {FilenameExtension, "smil", "public.data", "dyn.ah62d4rv4ge81g5pmru"},
    {FilenameExtension, "md", "public.data", "dyn.ah62d4rv4ge8043a"},
    {FilenameExtension, "mobi", "public.data", "dyn.ah62d4rv4ge80455cre"},
    {FilenameExtension, "xyz", "public.data", "dyn.ah62d4rv4ge81u8p4"},
    {MimeType, "application/x-rdp", "public.data", "dyn.ah62d4rv4gq80c6durvy0g2pyrf106p52fz3gk6a"},
    {MimeType, "text/x-lisp-source", "public.data", "dyn.ah62d4rv4gq81k3p2su11uppqrf31appxr741e25f"},
    {MimeType, "dev.kaya/note", "public.data", "dyn.ah62d4rv4gq80k3p0f3z0c8pbf71g87df"},
    {MimeType, "x/nonsense", "public.data", "dyn.ah62d4rv4gq81up5sr71hg3pssrwu"},
    {MimeType, "application/x-foo", "public.data", "dyn.ah62d4rv4gq80c6durvy0g2pyrf106p52fzxg852"},
    {MimeType, "com.adobe.dvaui.pproae/exchange/trackitem", "public.data",
        "dyn.ah62d4rv4gq80g55rf3u0k55cqy1gk7xbszyw66dusm10c3mtqz6gg4dbr3x0np5ysmu0g45msvw04"},
    {MimeType, "audio/ogg", "public.data", "dyn.ah62d4rv4gq80c7perf1w855hq6"},
    {MimeType, "video/x-matroska", "public.data", "dyn.ah62d4rv4gq81q4peqz1w88brrzu1k6xtsrz0c"},
    {MimeType, "application/iphone", "public.data", "dyn.ah62d4rv4gq80c6durvy0g2pyrf106p5msbyg85xf"},
    {MimeType, "application/ogg", "public.data", "dyn.ah62d4rv4gq80c6durvy0g2pyrf106p5tq7xu"},
    {MimeType, "application/smil", "public.data", "dyn.ah62d4rv4gq80c6durvy0g2pyrf106p5xrzy02"},
    {MimeType, "application/vnd.android.package-archive", "public.data",
        "dyn.ah62d4rv4gq80c6durvy0g2pyrf106p50r3wc62psqv3g84pef32gc25pqfx0nppbsmv0u4p0qy"},
    {MimeType, "image/x-foo", "public.image", "dyn.ah62d4uv4gq80w5pbq7ww88brq3108"},
    {MimeType, "text/x-foo", "public.text", "dyn.ah62d4r34gq81k3p2su11uppgr71u"},
    {OSType, "pptr", "public.data", "dyn.ah62d4rv4gk81a6dysk"},
    {OSType, "SVG", "public.data", "dyn.ah62d4rv4gk8zgzwh"},
    {PasteboardType, "dev.kaya/note", "public.data", "dyn.ah62d4rv4gu80k3p0f3z0c8pbf71g87df"},
    {PasteboardType, "NSPromiseContentsPboardType", "public.data",
        "dyn.ah62d4rv4gu8y6y4usm1044pxqzb085xyqz1hk64uqm10c6xenv61a3k"},
};

} // namespace

TEST(TypeIdentifier, DynamicIdentifiersAreThoseOfTheOriginalPlatform)
{
    for (const auto &[tagClass, tag, base, identifier] : vectors) {
        EXPECT_EQ(TypeIdentifier::dynamicIdentifier({tagClass, tag, base}), identifier) << tag;
        EXPECT_TRUE(TypeIdentifier::isDynamic(identifier));
    }
}

TEST(TypeIdentifier, DynamicIdentifiersAreReadBack)
{
    for (const auto &[tagClass, tag, base, identifier] : vectors) {
        const TypeTag found = TypeIdentifier::dynamicTag(identifier);
        EXPECT_EQ(found.tag, tag) << identifier;
        EXPECT_EQ(found.tagClass, tagClass) << identifier;
        EXPECT_EQ(found.conformsTo, base) << identifier;
    }
}

TEST(TypeIdentifier, AnyBytesSurviveADynamicIdentifier)
{
    std::string tag;
    for (int size = 0; size < 300; ++size) {
        const TypeTag found = TypeIdentifier::dynamicTag(TypeIdentifier::dynamicIdentifier({FilenameExtension, tag}));
        EXPECT_EQ(found.tag, tag) << size;
        tag += static_cast<char>(size * 7);
    }
}

TEST(TypeIdentifier, ADynamicIdentifierWithoutABaseIsReadToo)
{
    const TypeTag found = TypeIdentifier::dynamicTag("dyn.age8u");
    EXPECT_EQ(found.tag, "");
    EXPECT_EQ(found.tagClass, FilenameExtension);
    EXPECT_TRUE(found.conformsTo.isNull());
    EXPECT_TRUE(TypeIdentifier::parents("dyn.age8u").isEmpty());
}

TEST(TypeIdentifier, DamagedDynamicIdentifiersHaveNoTag)
{
    for (const char *text : {"", "dyn.", "dyn.a", "dyn.ah", "dyn.ah62d4rv4ge81g6p", "dyn.ah62d4rv4ge81g6pqa",
             "dyn.ah62d4rv4ge81g6pi", "dyn.AH62D4RV4GE81G6PQ", "dyn.bh62d4rv4ge81g6pq", "public.jpeg"})
        EXPECT_TRUE(TypeIdentifier::dynamicTag(text).tag.isNull()) << text;
    EXPECT_TRUE(TypeIdentifier::dynamicTag(nullptr).tag.isNull());
    for (const int unknown : {0, 5})
        EXPECT_TRUE(TypeIdentifier::dynamicTag(
            TypeIdentifier::dynamicIdentifier({static_cast<TypeTagClass>(unknown), "sql", "public.data"}))
                        .tag.isNull())
            << unknown;
    EXPECT_TRUE(TypeIdentifier::dynamicIdentifier({MimeType, nullptr}).isNull());
    EXPECT_TRUE(TypeIdentifier::dynamicIdentifier({MimeType, "a/b", "public.audio"}).isNull());
}

TEST(TypeIdentifier, TheFirstDeclarationOfATagIsThePreferredOne)
{
    std::set<std::string> extensions;
    std::set<std::string> mimeTypes;
    const auto lower = [](std::string text) {
        for (char &c : text)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        return text;
    };
    for (const Declared &type : declared()) {
        for (const std::string &extension : type.extensions) {
            if (extensions.insert(extension).second) {
                EXPECT_EQ(TypeIdentifier::forExtension(extension), type.identifier) << extension;
            }
        }
        for (const std::string &mimeType : type.mimeTypes) {
            if (mimeTypes.insert(lower(mimeType)).second) {
                EXPECT_EQ(TypeIdentifier::forMimeType(mimeType), type.identifier) << mimeType;
            }
        }
    }
    EXPECT_GT(extensions.size(), 250U);
    EXPECT_EQ(TypeIdentifier::forExtension("aif"), "public.aiff-audio");
    EXPECT_EQ(TypeIdentifier::forExtension("smi"), "com.apple.disk-image-smi");
}

TEST(TypeIdentifier, TheFirstTagOfADeclarationIsThePreferredOne)
{
    const auto first = [](const std::vector<std::string> &list) { return list.empty() ? String() : String(list[0]); };
    for (const Declared &type : declared()) {
        EXPECT_EQ(TypeIdentifier::extension(type.identifier), first(type.extensions)) << type.identifier;
        EXPECT_EQ(TypeIdentifier::mimeType(type.identifier), first(type.mimeTypes)) << type.identifier;
    }
}

TEST(TypeIdentifier, DeclarationsAreConsistent)
{
    std::set<std::string> identifiers;
    for (const Declared &type : declared())
        EXPECT_TRUE(identifiers.insert(type.identifier).second) << type.identifier;
    for (const Declared &type : declared()) {
        for (const std::string &parent : type.parents) {
            EXPECT_TRUE(identifiers.contains(parent)) << type.identifier << " is a kind of " << parent;
            EXPECT_FALSE(TypeIdentifier::conformsTo(parent, type.identifier)) << "a circle at " << type.identifier;
        }
    }
}

TEST(TypeIdentifier, MatchingIgnoresCase)
{
    EXPECT_EQ(TypeIdentifier::forExtension("MP3"), "public.mp3");
    EXPECT_EQ(TypeIdentifier::forMimeType("IMAGE/Jpeg"), "public.jpeg");
    EXPECT_EQ(TypeIdentifier::forMimeType("application/vnd.ms-word.document.macroenabled.12"),
        "org.openxmlformats.wordprocessingml.document.macroenabled");
    EXPECT_EQ(TypeIdentifier::mimeType("PUBLIC.JPEG"), "image/jpeg");
    EXPECT_EQ(TypeIdentifier::forExtension("XYZ"), TypeIdentifier::forExtension("xyz"));
}

TEST(TypeIdentifier, WhatNobodyDeclaresHasADynamicIdentifier)
{
    EXPECT_EQ(TypeIdentifier::forExtension("ogg"), "dyn.ah62d4rv4ge80835h");
    EXPECT_EQ(TypeIdentifier::forMimeType("application/ogg"), "dyn.ah62d4rv4gq80c6durvy0g2pyrf106p5tq7xu");
    EXPECT_TRUE(TypeIdentifier::isDynamic(TypeIdentifier::forExtension("")));
    EXPECT_TRUE(TypeIdentifier::forExtension(nullptr).isNull());
    EXPECT_TRUE(TypeIdentifier::forMimeType(nullptr).isNull());
}

TEST(TypeIdentifier, ADynamicIdentifierKnowsTheTagItWasMadeFrom)
{
    EXPECT_EQ(TypeIdentifier::mimeType(TypeIdentifier::forMimeType("x/nonsense")), "x/nonsense");
    EXPECT_EQ(TypeIdentifier::extension(TypeIdentifier::forExtension("qqzz")), "qqzz");
    EXPECT_TRUE(TypeIdentifier::mimeType(TypeIdentifier::forExtension("qqzz")).isNull());
    EXPECT_TRUE(TypeIdentifier::extension(TypeIdentifier::forMimeType("x/nonsense")).isNull());
    EXPECT_TRUE(TypeIdentifier::mimeType("dyn.ah62d4rv4gk8zgzwh").isNull());
    EXPECT_TRUE(TypeIdentifier::extension("dyn.ah62d4rv4gk8zgzwh").isNull());
}

TEST(TypeIdentifier, TypesConformToWhatTheyAreAKindOf)
{
    EXPECT_TRUE(TypeIdentifier::conformsTo("public.mp3", "public.audio"));
    EXPECT_TRUE(TypeIdentifier::conformsTo("public.mp3", "public.item"));
    EXPECT_TRUE(TypeIdentifier::conformsTo("public.mp3", "public.mp3"));
    EXPECT_FALSE(TypeIdentifier::conformsTo("public.mp3", "public.image"));
    EXPECT_TRUE(TypeIdentifier::conformsTo("dyn.ah62d4rv4ge80835h", "public.item"));
    EXPECT_TRUE(TypeIdentifier::conformsTo("dyn.ah62d4uv4gq80w5pbq7ww88brq3108", "public.image"));
    EXPECT_FALSE(TypeIdentifier::conformsTo(nullptr, nullptr));
    EXPECT_TRUE(TypeIdentifier::parents("no.such.type").isEmpty());
    EXPECT_EQ(TypeIdentifier::parents("public.image"), (Array{"public.data", "public.content"}));
}

TEST(TypeIdentifier, ManyThreadsMayAskAtOnce)
{
    std::vector<std::thread> threads;
    std::vector<String> answers(8);
    threads.reserve(answers.size());
    for (String &answer : answers)
        threads.emplace_back([&answer] {
            (void)TypeIdentifier::mimeType(TypeIdentifier::forExtension("mkv"));
            answer = TypeIdentifier::mimeType(TypeIdentifier::forExtension("wav"));
        });
    for (std::thread &thread : threads)
        thread.join();
    for (const String &answer : answers)
        EXPECT_EQ(answer, "audio/vnd.wave");
}

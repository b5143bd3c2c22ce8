// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <gmock/gmock.h>

namespace kelvane::testsupport {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using Types = SyncFixture;

TEST_F(Types, JsonHasOneObjectALineInTheOrderGiven)
{
    const ToolResult result = runTool({"types", "--json", ".MP3", "application/pdf", "vcf", "x/nonsense"});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.errors, IsEmpty());
    const std::vector<Json> types = parse(result);
    ASSERT_THAT(types, SizeIs(4));
    EXPECT_EQ(types[0],
        (Json{{"name", ".MP3"}, {"identifier", "public.mp3"}, {"isDynamic", false}, {"mimeType", "audio/mpeg"},
            {"extension", "mp3"}, {"mediaType", 1}, {"kind", "audio"}, {"conformsTo", {"public.audio"}}}));
    EXPECT_EQ(types[1]["identifier"], "com.adobe.pdf");
    EXPECT_EQ(types[1]["extension"], "pdf");
    EXPECT_EQ(types[1]["kind"], "document");
    EXPECT_EQ(types[2]["mediaType"], 256);
    EXPECT_EQ(types[3]["identifier"], "dyn.ah62d4rv4gq81up5sr71hg3pssrwu");
    EXPECT_EQ(types[3]["isDynamic"], true);
    EXPECT_EQ(types[3]["mimeType"], "x/nonsense");
    EXPECT_EQ(types[3]["extension"], nullptr);
    EXPECT_EQ(types[3]["kind"], "unknown");
}

TEST_F(Types, TheListingNamesEveryFact)
{
    const ToolResult result = runTool({"types", "m4b", "heic"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output,
        "m4b\n"
        "  identifier  com.apple.protected-mpeg-4-audio-b\n"
        "  mimeType    none\n"
        "  extension   m4b\n"
        "  mediaType   0 (unknown)\n"
        "  conformsTo  com.apple.protected-mpeg-4-audio\n"
        "\n"
        "heic\n"
        "  identifier  public.heic\n"
        "  mimeType    image/heic\n"
        "  extension   heic\n"
        "  mediaType   4 (image)\n"
        "  conformsTo  public.heif-standard\n");
}

TEST_F(Types, AnEmptyNameFailsAndTheOthersAreTold)
{
    const ToolResult result = runTool({"types", "--json", "", "png"});
    EXPECT_EQ(result.code, 1);
    EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("an empty name has no type")));
    const std::vector<Json> types = parse(result);
    ASSERT_THAT(types, SizeIs(2));
    EXPECT_TRUE(types[0].contains("error"));
    EXPECT_EQ(types[1]["mimeType"], "image/png");
}

TEST_F(Types, HelpHasAnExampleAndWrongUseIsToldInOneLine)
{
    const ToolResult help = runTool({"types", "--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_THAT(help.output,
        AllOf(HasSubstr("Usage: kelvane types [OPTIONS] EXT|MIME..."), HasSubstr("Example:\n  kelvane types ")));
    for (const std::vector<std::string> &arguments :
        {std::vector<std::string>{"types"}, {"types", "--json"}, {"types", "--nonsense", "mp3"}}) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.code, 2);
        EXPECT_THAT(result.errorLines(), SizeIs(1));
        EXPECT_THAT(result.output, IsEmpty());
    }
}

TEST_F(Types, NamesOfAnyBytesAreShownWithoutControlCharacters)
{
    const ToolResult result = runTool({"types", "\x1b[31m\xff"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output.find('\x1b'), std::string::npos);
    EXPECT_THAT(result.output, HasSubstr("identifier  dyn.a"));
    EXPECT_THAT(parse(runTool({"types", "--json", "\x1b[31m\xff"})), SizeIs(1));
}

} // namespace
} // namespace kelvane::testsupport

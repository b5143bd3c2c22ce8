// SPDX-License-Identifier: Apache-2.0
#include "tests/support/TemporaryFolder.h"
#include "tests/tool/ToolProcess.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <fstream>
#include <sys/stat.h>

using namespace kelvane::testsupport;
using testing::HasSubstr;
using Json = nlohmann::json;

TEST(RunCommand, KeepsOutputAndErrorsApart)
{
    const ToolResult result = runTool({"run", "--", "sh", "-c", "echo out; echo err >&2; exit 7"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.output, "out\n");
    EXPECT_EQ(result.errors, "err\n");
}

TEST(RunCommand, PrintsOneJsonObject)
{
    const ToolResult result = runTool({"run", "--json", "--", "printf", "a b"});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(Json::parse(result.output), Json::parse(R"({"command":["printf","a b"],"output":"a b","error":null})"));
    EXPECT_EQ(result.errors, "");
}

TEST(RunCommand, ForAProgramThatIsNotThereCannotStart)
{
    const ToolResult missing = runTool({"run", "--", "no-such-program"});
    EXPECT_EQ(missing.code, 3);
    EXPECT_EQ(missing.errors, "kelvane: cannot run \"no-such-program\": there is no such program in PATH\n");
    const ToolResult path = runTool({"run", "--", "/no/such/program"});
    EXPECT_EQ(path.code, 3);
    EXPECT_THAT(path.errors, HasSubstr("/no/such/program"));
}

TEST(RunCommand, WithoutACommandIsWrongUse)
{
    EXPECT_EQ(runTool({"run"}).code, 2);
}

TEST(RunCommand, AnInterruptEndsTheProgramAndIsTold)
{
    const TemporaryFolder folder;
    const std::string fifo = folder.path("fifo").native();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    ToolProcess process({"run", "--", "sh", "-c", "echo partial; echo > '" + fifo + "'; exec sleep 100"});
    std::ifstream(fifo).get();
    process.signal(SIGINT);
    EXPECT_EQ(process.wait(), 130);
    EXPECT_EQ(process.output(), "partial\n");
}

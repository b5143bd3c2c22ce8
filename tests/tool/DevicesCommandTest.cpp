// SPDX-License-Identifier: Apache-2.0
#include "tests/support/TemporaryFolder.h"
#include "tests/support/UsbDevices.h"
#include "tests/tool/ToolProcess.h"

#include <csignal>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace {

using namespace kelvane::testsupport;
using Json = nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

const UsbDevice phone{"1-2", 0x04E8, 0x6860, "SAMSUNG", "Galaxy", "R58M", {{255, 255, 0, "MTP"}, {255, 66, 1, ""}}};
const UsbDevice tablet{"2-3", 0x2717, 0xFF40, "Xiaomi", "Pad 5", "d3ad", {{255, 255, 0, "MTP"}}};
const UsbDevice mouse{"1-9", 0x046D, 0xC077, "Logitech", "Mouse", "", {{3, 1, 2, ""}}};

class Devices : public testing::Test {
protected:
    [[nodiscard]] ToolResult run(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), "devices");
        return runTool(arguments, options);
    }

    const TemporaryFolder settings;
    const ToolOptions options{{{"XDG_CONFIG_HOME", settings.path().native()}}, false};
    UsbDevices usb;
};

TEST_F(Devices, AreListedInATable)
{
    usb.plugIn(phone);
    usb.plugIn(tablet);
    usb.plugIn(mouse);
    const ToolResult result = run({});
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.outputLines(),
        ElementsAre("Name                      USB id     Platform         Interface  Serial",
            "Galaxy                    04e8:6860  debug bridge     ready      R58M",
            "Pad 5                     2717:ff40  media transfer   missing    d3ad"));
    EXPECT_EQ(result.errors, "");
}

TEST_F(Devices, OfOtherKindsAreListedOnDemand)
{
    usb.plugIn(mouse);
    EXPECT_THAT(run({}).output, "no phones or tablets (--all shows other devices)\n");
    EXPECT_THAT(
        run({"--all"}).outputLines().back(), "Mouse                     046d:c077  -                -          -");
}

TEST_F(Devices, WithoutAnyItSaysSo)
{
    EXPECT_EQ(run({"--all"}).output, "no devices\n");
    const ToolResult json = run({"--json"});
    EXPECT_EQ(json.code, 0);
    EXPECT_EQ(json.output, "");
}

TEST_F(Devices, AreToldAsJson)
{
    usb.plugIn(phone);
    const ToolResult result = run({"--json"});
    ASSERT_THAT(result.outputLines(), SizeIs(1));
    EXPECT_EQ(Json::parse(result.output), Json::parse(R"({"id":"18874368","displayName":"Galaxy","vendorId":1256,
        "productId":26720,"manufacturer":"SAMSUNG","productName":"Galaxy","model":"Galaxy","serialNumber":"R58M",
        "platform":1,"interface":"ready","interfaces":[[255,255,0],[255,66,1]]})"));
}

TEST_F(Devices, NamesDoNotSteerTheTerminal)
{
    UsbDevice hostile = phone;
    hostile.name = "\x1b]0;owned\x07 \xff";
    usb.plugIn(hostile);
    EXPECT_THAT(run({}).output, Not(HasSubstr("\x1b")));
    EXPECT_FALSE(Json::parse(run({"--json"}).output).empty());
}

TEST_F(Devices, AreWatchedUntilInterrupted)
{
    usb.plugIn(phone);
    ToolProcess watch({"devices", "--watch"}, options);
    ASSERT_TRUE(watch.waitForOutput("attached  Galaxy"));
    usb.plugIn(tablet);
    ASSERT_TRUE(watch.waitForOutput("Pad 5"));
    usb.unplug(phone);
    ASSERT_TRUE(watch.waitForOutput("detached  Galaxy"));
    EXPECT_TRUE(watch.isRunning());
    watch.signal(SIGINT);
    EXPECT_EQ(watch.wait(), 130);
}

TEST_F(Devices, EventsAreToldAsJson)
{
    ToolProcess watch({"devices", "--watch", "--json", "--all"}, options);
    usb.plugIn(mouse);
    ASSERT_TRUE(watch.waitForOutput("\n"));
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.wait(), 130);
    const std::string output = watch.output();
    const Json event = Json::parse(output.substr(0, output.find('\n')));
    EXPECT_EQ(event["event"], "attached");
    EXPECT_EQ(event["productId"], 0xC077);
}

TEST_F(Devices, HelpHasAnExampleAndWrongUseIsToldInOneLine)
{
    EXPECT_THAT(run({"--help"}).output, HasSubstr("Example:\n  kelvane devices --watch"));
    const ToolResult wrong = run({"--no-such-option"});
    EXPECT_EQ(wrong.code, 2);
    EXPECT_THAT(wrong.errorLines(), SizeIs(1));
}

} // namespace

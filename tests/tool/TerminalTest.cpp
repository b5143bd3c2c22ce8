// SPDX-License-Identifier: Apache-2.0
#include "TerminalFixture.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace kelvane::testsupport {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

using Terminal = TerminalFixture;

// The bytes that begin a character; all of them are one column wide here.
std::size_t columnsOf(const std::string &line)
{
    return static_cast<std::size_t>(std::count_if(
        line.begin(), line.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0U) != 0x80; }));
}

bool hasBar(const std::string &line)
{
    return line.find('%') != std::string::npos;
}

class TerminalOfWidth : public Terminal, public testing::WithParamInterface<int> {
protected:
    [[nodiscard]] static std::size_t width() { return static_cast<std::size_t>(GetParam()); }
};

TEST_P(TerminalOfWidth, ShowsALineForEachRunningItemAndOneForTheWholeAndLeavesOnlyTheSummary)
{
    addSongs(150);
    start(GetParam(), "sync --jobs 3 " + source() + ' ' + device());
    int seen = 0;
    int seenItems = 0;
    const std::vector<std::string> last = watch([&](const std::vector<std::string> &lines) {
        if (lines.empty() || !hasBar(lines.back()))
            return;
        ++seen;
        EXPECT_THAT(lines, SizeIs(testing::Le(4U))) << testing::PrintToString(lines);
        for (const std::string &line : lines)
            EXPECT_LT(columnsOf(line), width()) << line;
        EXPECT_THAT(lines.back(), AllOf(StartsWith("["), HasSubstr("/150")));
        for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
            EXPECT_THAT(lines[i], AllOf(StartsWith("song1"), HasSubstr("["), HasSubstr("%")));
            ++seenItems;
        }
    });
    EXPECT_GT(seen, 0);
    EXPECT_GT(seenItems, 0);
    ASSERT_GE(last.size(), 2U);
    EXPECT_THAT(last[last.size() - 2], HasSubstr("150 copied; "));
    EXPECT_EQ(last.back(), "ended 0");
    EXPECT_THAT(last, Not(Contains(HasSubstr("%"))));
}

TEST_P(TerminalOfWidth, TheSummaryIsATableThatFits)
{
    addAllKinds();
    start(GetParam(), "sync " + source() + ' ' + device());
    const std::vector<std::string> last = end();
    EXPECT_THAT(last.front(),
        testing::ContainsRegex(width() < 60 ? "^ +items +size$" : "^ +audio +video +images +items +size$"));
    EXPECT_THAT(
        last[1], testing::ContainsRegex(width() < 60 ? "^copied +8 +[0-9.]+ kB$" : "^copied +5 +1 +2 +8 +[0-9.]+ kB$"));
    EXPECT_THAT(last[2], StartsWith("8 copied; "));
}

TEST_P(TerminalOfWidth, HelpFitsAndIsNotCutWithinWords)
{
    for (const char *command : {"", "sync", "remove", "report", "copy"}) {
        start(GetParam(), std::string("help ") + command);
        // What does not fit is wrapped by the terminal: joined again, no line is longer than the width or 80.
        const std::vector<std::string> last = end();
        EXPECT_EQ(last.back(), "ended 0");
        for (const std::string &line : last)
            EXPECT_LE(line.size(), std::min<std::size_t>(width(), 80)) << line;
        const std::string joined = tmux("capture-pane -p -J");
        EXPECT_EQ(joined, tmux("capture-pane -p")) << "a line was wrapped by the terminal";
    }
}

TEST_P(TerminalOfWidth, RemoveCopyAndReportLeaveWholeLines)
{
    addSongs(30);
    sync();
    start(GetParam(), "report " + device() + " -o " + folder("report.html"));
    EXPECT_THAT(end(), AllOf(Contains(StartsWith("wrote ")), Contains("ended 0"), Not(Contains(HasSubstr("%")))));
    start(GetParam(), "copy " + source() + ' ' + folder("copy"));
    EXPECT_THAT(end(), AllOf(Contains(StartsWith("copied ")), Contains("ended 0"), Not(Contains(HasSubstr("%")))));
    start(GetParam(), "remove " + device() + ' ' + source() + "/song100*");
    EXPECT_THAT(end(), AllOf(Contains(StartsWith("removed ")), Contains("ended 0"), Not(Contains(HasSubstr("%")))));
    EXPECT_THAT(library(), SizeIs(20));
}

INSTANTIATE_TEST_SUITE_P(
    Widths, TerminalOfWidth, testing::Values(40, 80, 200), [](const auto &row) { return std::to_string(row.param); });

TEST_F(Terminal, ErrorLinesStandWholeAboveTheProgress)
{
    addSongs(60);
    write(source("song1030x.mp3"), "");
    start(100, "sync " + source() + ' ' + device());
    const std::vector<std::string> last = end();
    ASSERT_GE(last.size(), 3U);
    EXPECT_THAT(last.front(), HasSubstr("kelvane: cannot copy \"" + source().substr(0, 40)));
    EXPECT_THAT(last[last.size() - 2], HasSubstr("60 copied, 1 failed; "));
    EXPECT_EQ(last.back(), "ended 1");
}

TEST_F(Terminal, SurvivesBeingMadeNarrowerAndWider)
{
    constexpr std::size_t narrow = 45;
    constexpr std::size_t wide = 100;
    addSongs(200);
    std::size_t now = wide;
    start(wide, "sync " + source() + ' ' + device());
    int changes = 0;
    // Each change waits until the lines have followed the one before: what tmux makes of a cursor that two changes move
    // at once is not the program's.
    const std::vector<std::string> last = watch([&](const std::vector<std::string> &lines) {
        const bool isDrawn = !lines.empty() && hasBar(lines.back());
        if (!isDrawn || (lines.back().size() < narrow) != (now == narrow))
            return;
        now = now == wide ? narrow : wide;
        tmux("resize-window -x " + std::to_string(now) + " -y 40");
        ++changes;
    });
    EXPECT_GT(changes, 0);
    // The table, the closing words (which a narrow window wraps) and the end.
    EXPECT_THAT(last, SizeIs(testing::Le(5U))) << testing::PrintToString(last);
    EXPECT_EQ(last.back(), "ended 0");
}

TEST_F(Terminal, HasColoursUnlessTheUserSwitchedThemOff)
{
    addSongs(3);
    start(80, "sync " + source() + ' ' + device());
    static_cast<void>(end());
    EXPECT_THAT(tmux("capture-pane -p -e"), HasSubstr("\x1b[32m"));
    start(80, "sync " + source() + ' ' + device(), "NO_COLOR=1");
    static_cast<void>(end());
    EXPECT_THAT(tmux("capture-pane -p -e"), Not(HasSubstr("\x1b[")));
}

TEST_F(Terminal, APipeGetsPlainLinesOfEveryCommand)
{
    addSongs(3);
    const std::string tool = KELVANE_TOOL " ";
    startShell(80,
        '(' + tool + "sync " + source() + ' ' + device() + "; " + tool + "report " + device() + " -o "
            + folder("report.html") + "; " + tool + "copy " + source() + ' ' + folder("copy") + "; " + tool + "remove "
            + device() + ' ' + source() + "/*) | cat > " + folder("lines"));
    EXPECT_EQ(end().back(), "ended 0");
    const std::string lines = read(folder("lines"));
    EXPECT_THAT(lines, AllOf(HasSubstr("3 copied; "), HasSubstr("wrote "), HasSubstr("removed ")));
    EXPECT_THAT(lines, AllOf(Not(HasSubstr("\x1b")), Not(HasSubstr("\r")), Not(HasSubstr("%"))));
}

TEST_F(Terminal, NamesDoNotSteerIt)
{
    const std::string name = "\x1b]0;owned\a\x1b[2J\x1b[31mname\r\n.mp3";
    const std::string path = addMedia("song.mp3", name);
    addSongs(40);
    const std::string tool = KELVANE_TOOL " ";
    startShell(80,
        tool + "sync " + source() + ' ' + device() + "; " + tool + "list " + device() + " >/dev/null; " + tool + "copy "
            + source() + "/*name* " + folder("copy") + "; " + tool + "remove " + device() + ' ' + source() + "/*name*");
    const std::vector<std::string> last = end();
    EXPECT_THAT(last, Contains(HasSubstr("41 copied; "))) << "it would have been cleared";
    EXPECT_THAT(last, Contains(HasSubstr("\\x1B[2J")));
    EXPECT_THAT(tmux("display-message -p '#{pane_title}'"), Not(HasSubstr("owned")));
}

TEST_F(Terminal, CtrlCIsAnsweredWithTheSummary)
{
    addSongs(300);
    start(80, "sync " + source() + ' ' + device());
    bool isSent = false;
    const std::vector<std::string> last = watch([&](const std::vector<std::string> &lines) {
        if (!isSent && !lines.empty() && hasBar(lines.back())) {
            tmux("send-keys C-c");
            isSent = true;
        }
    });
    EXPECT_THAT(last, Contains(HasSubstr("interrupted: ")));
    EXPECT_EQ(last.back(), "ended 130");
    EXPECT_EQ(deviceFiles().size(), library().size());
}

} // namespace
} // namespace kelvane::testsupport

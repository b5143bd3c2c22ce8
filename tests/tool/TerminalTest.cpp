// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>
#include <memory>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace kelvane::testsupport {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

std::string shell(const std::string &command)
{
    const std::unique_ptr<FILE, int (*)(FILE *)> pipe(::popen(command.c_str(), "r"), ::pclose);
    std::string text;
    std::array<char, 4096> block{};
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), pipe.get()))
        text.append(block.data(), count);
    return text;
}

/// The command in a real terminal, whose screen can be looked at.
class Terminal : public SyncFixture {
protected:
    void SetUp() override
    {
        SyncFixture::SetUp();
        if (shell("command -v tmux").empty())
            GTEST_SKIP() << "tmux is not installed";
    }
    void TearDown() override { tmux("kill-server 2>/dev/null"); }

    std::string tmux(const std::string &command) const
    {
        return shell("TMUX= LC_ALL=C.UTF-8 tmux -f /dev/null -S " + folder("tmux") + ' ' + command);
    }
    void start(int columns, const std::string &arguments, const std::string &environment = "") const
    {
        tmux("new-session -d -x " + std::to_string(columns) + " -y 12 '" + environment + " " KELVANE_TOOL " "
            + arguments + "; echo \"ended $?\"; read wait'");
    }
    [[nodiscard]] std::vector<std::string> screen() const
    {
        std::vector<std::string> lines;
        std::istringstream text(tmux("capture-pane -p"));
        for (std::string line; std::getline(text, line);)
            if (!line.empty())
                lines.push_back(line);
        return lines;
    }
    [[nodiscard]] static bool hasEnded(const std::vector<std::string> &lines)
    {
        return !lines.empty() && lines.back().find("ended ") == 0;
    }
    // Looks at the screen until the command has ended; `look` sees each picture before that.
    template <class Look>
    std::vector<std::string> watch(Look look) const
    {
        using namespace std::chrono_literals;
        const auto deadline = std::chrono::steady_clock::now() + 60s;
        std::vector<std::string> lines = screen();
        while (!hasEnded(lines) && std::chrono::steady_clock::now() < deadline) {
            look(lines);
            std::this_thread::sleep_for(5ms);
            lines = screen();
        }
        return lines;
    }
};

class TerminalOfWidth : public Terminal, public testing::WithParamInterface<int> {};

TEST_P(TerminalOfWidth, ShowsOneLineThatFitsAndLeavesOnlyTheSummary)
{
    addSongs(150);
    start(GetParam(), "sync " + source() + ' ' + device());
    int seen = 0;
    const std::vector<std::string> end = watch([&](const std::vector<std::string> &lines) {
        if (lines.empty() || lines.front().find('%') == std::string::npos)
            return;
        ++seen;
        EXPECT_THAT(lines, SizeIs(1)) << testing::PrintToString(lines);
        EXPECT_LT(lines.front().size(), static_cast<std::size_t>(GetParam()));
        EXPECT_THAT(lines.front(), testing::AllOf(testing::StartsWith("["), HasSubstr("/150")));
    });
    EXPECT_GT(seen, 0);
    EXPECT_THAT(end.front(), HasSubstr("150 copied; "));
    EXPECT_EQ(end.back(), "ended 0");
    EXPECT_THAT(end, Not(Contains(HasSubstr("%"))));
}

INSTANTIATE_TEST_SUITE_P(
    Widths, TerminalOfWidth, testing::Values(40, 80, 200), [](const auto &row) { return std::to_string(row.param); });

TEST_F(Terminal, ErrorLinesStandWholeAboveTheProgress)
{
    addSongs(60);
    write(source("song1030x.mp3"), "");
    start(100, "sync " + source() + ' ' + device());
    const std::vector<std::string> end = watch([](const auto &) {});
    ASSERT_GE(end.size(), 3U);
    EXPECT_THAT(end.front(), HasSubstr("kelvane: cannot copy \"" + source().substr(0, 40)));
    EXPECT_THAT(end[end.size() - 2], HasSubstr("60 copied, 1 failed; "));
    EXPECT_EQ(end.back(), "ended 1");
}

TEST_F(Terminal, SurvivesBeingMadeNarrowerAndWider)
{
    constexpr std::size_t narrow = 45;
    constexpr std::size_t wide = 100;
    addSongs(200);
    std::size_t width = wide;
    start(wide, "sync " + source() + ' ' + device());
    int changes = 0;
    // Each change waits until the line has followed the one before: what tmux makes of a cursor that two changes move at
    // once is not the program's.
    const std::vector<std::string> end = watch([&](const std::vector<std::string> &lines) {
        const bool isDrawn = lines.size() == 1 && lines.front().find('%') != std::string::npos;
        if (!isDrawn || (lines.front().size() < narrow) != (width == narrow))
            return;
        width = width == wide ? narrow : wide;
        tmux("resize-window -x " + std::to_string(width) + " -y 12");
        ++changes;
    });
    EXPECT_GT(changes, 0);
    EXPECT_THAT(end, SizeIs(2)) << testing::PrintToString(end);
    EXPECT_EQ(end.back(), "ended 0");
}

TEST_F(Terminal, HasColoursUnlessTheUserSwitchedThemOff)
{
    addSongs(3);
    start(80, "sync " + source() + ' ' + device());
    watch([](const auto &) {});
    EXPECT_THAT(tmux("capture-pane -p -e"), HasSubstr("\x1b[32m"));
    tmux("kill-server");
    start(80, "sync " + source() + ' ' + device(), "NO_COLOR=1");
    watch([](const auto &) {});
    EXPECT_THAT(tmux("capture-pane -p -e"), Not(HasSubstr("\x1b[")));
}

TEST_F(Terminal, CtrlCIsAnsweredWithTheSummary)
{
    addSongs(300);
    start(80, "sync " + source() + ' ' + device());
    bool isSent = false;
    const std::vector<std::string> end = watch([&](const std::vector<std::string> &lines) {
        if (!isSent && !lines.empty() && lines.front().find('%') != std::string::npos) {
            tmux("send-keys C-c");
            isSent = true;
        }
    });
    EXPECT_THAT(end, Contains(HasSubstr("interrupted: ")));
    EXPECT_EQ(end.back(), "ended 130");
    EXPECT_EQ(deviceFiles().size(), library().size());
}

} // namespace
} // namespace kelvane::testsupport

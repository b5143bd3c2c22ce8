// SPDX-License-Identifier: Apache-2.0
#include "TerminalFixture.h"

#include <array>
#include <cstdio>
#include <memory>
#include <sstream>

namespace kelvane::testsupport {

std::string shell(const std::string &command)
{
    const std::unique_ptr<FILE, int (*)(FILE *)> pipe(::popen(command.c_str(), "r"), ::pclose);
    std::string text;
    std::array<char, 4096> block{};
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), pipe.get()))
        text.append(block.data(), count);
    return text;
}

void TerminalFixture::SetUp()
{
    SyncFixture::SetUp();
    if (shell("command -v tmux").empty())
        GTEST_SKIP() << "tmux is not installed";
}

void TerminalFixture::TearDown()
{
    tmux("kill-server 2>/dev/null");
}

std::string TerminalFixture::tmux(const std::string &command) const
{
    return shell(
        "TMUX= LC_ALL=C.UTF-8 tmux -f /dev/null -S " + folder("tmux" + std::to_string(_terminals)) + ' ' + command);
}

void TerminalFixture::open(int columns, const std::string &command)
{
    tmux("kill-server 2>/dev/null");
    ++_terminals; // a server that is on its way out would take the new one with it
    tmux("new-session -d -x " + std::to_string(columns) + " -y 40 '" + command + '\'');
}

void TerminalFixture::startShell(int columns, const std::string &command)
{
    open(columns, command + "; echo \"ended $?\"; read wait");
}

void TerminalFixture::start(int columns, const std::string &arguments, const std::string &environment)
{
    startShell(columns, environment + " " KELVANE_TOOL " " + arguments);
}

std::vector<std::string> TerminalFixture::screen() const
{
    std::vector<std::string> lines;
    std::istringstream text(tmux("capture-pane -p"));
    for (std::string line; std::getline(text, line);)
        if (!line.empty())
            lines.push_back(line);
    return lines;
}

bool TerminalFixture::hasEnded(const std::vector<std::string> &lines)
{
    return !lines.empty() && lines.back().find("ended ") == 0;
}

} // namespace kelvane::testsupport

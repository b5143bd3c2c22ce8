// SPDX-License-Identifier: Apache-2.0
#include "TerminalFixture.h"

#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <regex>
#include <set>
#include <sstream>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::UnorderedElementsAre;

bool has(const std::string &program)
{
    return !shell("command -v " + program).empty();
}

/// The manual pages and completions, as the build makes them.
class GeneratedFiles : public TerminalFixture {
protected:
    void SetUp() override { ASSERT_EQ(runTool({"--generate", folder("texts")}).code, 0); }
    void TearDown() override {}

    [[nodiscard]] std::string text(const std::string &name) const { return read(folder("texts/" + name)); }
    // As the help lists them.
    [[nodiscard]] static std::vector<std::string> commands()
    {
        std::vector<std::string> names;
        bool isIn = false;
        for (const std::string &line : runTool({"help"}).outputLines()) {
            if (line == "Commands:")
                isIn = true;
            else if (line.empty())
                isIn = false;
            else if (isIn && line.size() > 2 && line[2] != ' ')
                names.push_back(line.substr(2, line.find(' ', 2) - 2));
        }
        return names;
    }
    [[nodiscard]] static std::set<std::string> optionsOf(const std::string &command)
    {
        const std::string help = runTool({"help", command}).output;
        const std::regex option("^ +(?:-[a-z], )?(--[a-z-]+)");
        std::set<std::string> options;
        std::istringstream lines(help);
        std::smatch match;
        for (std::string line; std::getline(lines, line);)
            if (std::regex_search(line, match, option))
                options.insert(match[1]);
        return options;
    }
    static std::vector<std::string> words(const std::string &output)
    {
        std::istringstream stream(output);
        return {std::istream_iterator<std::string>(stream), {}};
    }
    // What bash offers for the last of some words.
    [[nodiscard]] std::vector<std::string> inBash(const std::string &line) const
    {
        return words(shell("bash -c '. " + folder("texts/bash/kelvane") + "; COMP_WORDS=(" + line
            + "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kelvane; printf \"%s\\n\" \"${COMPREPLY[@]}\"'"));
    }
    [[nodiscard]] std::vector<std::string> inFish(const std::string &line) const
    {
        return words(shell("HOME=" + folder("home") + " fish --no-config -c '. " + folder("texts/fish/kelvane.fish")
            + "; complete -C \"" + line + "\" | string replace -r \"\\t.*\" \"\"' 2>/dev/null"));
    }
};

TEST_F(GeneratedFiles, EveryCommandHasAHelpWithAnExampleAndExitCodes)
{
    ASSERT_THAT(commands(),
        IsSupersetOf({"sync", "list", "remove", "report", "info", "artwork", "heic2jpg", "copy", "types", "devices",
            "run", "help"}));
    for (const std::string &command : commands()) {
        const ToolResult byWord = runTool({"help", command});
        const ToolResult byOption = runTool({command, "--help"});
        EXPECT_EQ(byWord.output, byOption.output);
        EXPECT_THAT(byWord.output, testing::ContainsRegex("Examples?:\n  kelvane " + command)) << command;
        EXPECT_THAT(byWord.output, HasSubstr("Exit codes: 0 done")) << command;
        if (command != "help") {
            EXPECT_THAT(optionsOf(command), IsSupersetOf({"--quiet", "--verbose", "--json", "--help"})) << command;
        }
    }
}

TEST_F(GeneratedFiles, HelpFitsEightyColumnsAndForty)
{
    for (const int width : {40, 80, 200}) {
        ToolOptions options;
        options.environment["COLUMNS"] = std::to_string(width);
        std::vector<std::string> names = commands();
        names.emplace_back("");
        for (const std::string &command : names)
            for (const std::string &line : runTool({"help", command}, options).outputLines())
                EXPECT_LE(line.size(), std::min<std::size_t>(static_cast<std::size_t>(width), 80)) << line;
    }
}

TEST_F(GeneratedFiles, EveryOptionOfEveryCommandIsInThePageAndInAllCompletions)
{
    const std::string fish = text("fish/kelvane.fish");
    for (const std::string &command : commands()) {
        const std::string page = text("man1/kelvane-" + command + ".1");
        const std::vector<std::string> bash = inBash("kelvane " + command + " -");
        const std::string zsh = text("zsh/_kelvane");
        const std::size_t begin = zsh.find("        " + command + ")\n");
        ASSERT_NE(begin, std::string::npos) << command;
        const std::string zshCase = zsh.substr(begin, zsh.find(";;", begin) - begin);
        for (const std::string &option : optionsOf(command)) {
            EXPECT_THAT(page, HasSubstr(std::regex_replace(option, std::regex("-"), "\\-"))) << command;
            EXPECT_THAT(bash, Contains(option)) << command;
            EXPECT_THAT(zshCase, HasSubstr(option)) << command;
            EXPECT_THAT(
                fish, testing::ContainsRegex("-n '__kelvane_is " + command + "'[^\n]* -l " + option.substr(2) + " "))
                << command;
        }
        EXPECT_THAT(text("man1/kelvane.1"), HasSubstr("kelvane\\-" + command));
    }
}

TEST_F(GeneratedFiles, ManualPagesAreWithoutAWarning)
{
    if (!has("man") && !has("mandoc"))
        GTEST_SKIP() << "neither man nor mandoc is installed";
    int pages = 0;
    for (const auto &entry : fs::directory_iterator(folder("texts/man1"))) {
        ++pages;
        const std::string path = entry.path().string();
        if (has("mandoc")) {
            EXPECT_EQ(shell("mandoc -T lint -W warning " + path), "");
        }
        if (has("man")) {
            EXPECT_EQ(shell("MANROFFSEQ= LC_ALL=C.UTF-8 man -l --warnings=w " + path + " 2>&1 >/dev/null"), "");
        }
    }
    EXPECT_EQ(pages, static_cast<int>(commands().size()) + 1);
}

TEST_F(GeneratedFiles, ABuildCanBeRepeatedToTheLetter)
{
    ToolOptions options;
    options.environment["SOURCE_DATE_EPOCH"] = "86400";
    ASSERT_EQ(runTool({"--generate", folder("again")}, options).code, 0);
    EXPECT_THAT(read(folder("again/man1/kelvane-sync.1")), HasSubstr(" 1 1970-01-02 "));
}

TEST_F(GeneratedFiles, BashCompletesCommandsOptionsAndFiles)
{
    fs::create_directories(folder("place/inner folder"));
    write(folder("place/song.mp3"), "");
    EXPECT_THAT(inBash("kelvane \"\""), IsSupersetOf(commands()));
    EXPECT_THAT(inBash("kelvane s"), UnorderedElementsAre("sync"));
    EXPECT_THAT(inBash("kelvane sync --d"), UnorderedElementsAre("--delete", "--dry-run"));
    EXPECT_THAT(inBash("kelvane help rep"), UnorderedElementsAre("report"));
    EXPECT_THAT(inBash("kelvane info " + folder("place/s")), UnorderedElementsAre(folder("place/song.mp3")));
    EXPECT_THAT(inBash("kelvane list " + folder("pl")), UnorderedElementsAre(folder("place")));
    EXPECT_THAT(inBash("kelvane list " + folder("place/s")), IsEmpty()) << "a file is no device";
    EXPECT_THAT(inBash("kelvane artwork a.mp3 -o " + folder("pl")), UnorderedElementsAre(folder("place")));
    EXPECT_THAT(inBash("kelvane sync --jobs \"\""), IsEmpty());
    EXPECT_THAT(inBash("kelvane run -- tru"), Contains("true"));
}

TEST_F(GeneratedFiles, FishCompletesCommandsOptionsAndFiles)
{
    if (!has("fish"))
        GTEST_SKIP() << "fish is not installed";
    fs::create_directories(folder("place"));
    write(folder("place/song.mp3"), "");
    EXPECT_THAT(inFish("kelvane "), IsSupersetOf(commands()));
    EXPECT_THAT(inFish("kelvane s"), UnorderedElementsAre("sync"));
    EXPECT_THAT(inFish("kelvane sync --d"), UnorderedElementsAre("--delete", "--dry-run"));
    EXPECT_THAT(inFish("kelvane help rep"), UnorderedElementsAre("report"));
    EXPECT_THAT(inFish("kelvane info " + folder("place/s")), UnorderedElementsAre(folder("place/song.mp3")));
    EXPECT_THAT(inFish("kelvane list " + folder("place/s")), Not(Contains(HasSubstr("song.mp3"))));
}

/// zsh completes only where somebody types.
class ZshCompletion : public TerminalFixture {
protected:
    void SetUp() override
    {
        TerminalFixture::SetUp();
        if (!IsSkipped() && !has("zsh"))
            GTEST_SKIP() << "zsh is not installed";
        ASSERT_EQ(runTool({"--generate", folder("texts")}).code, 0);
    }
    // Types a line and a Tab, and waits until the screen has `text`.
    bool completes(const std::string &line, const std::string &text) const
    {
        tmux("send-keys C-u");
        tmux("send-keys -l '" + line + "'");
        tmux("send-keys Tab");
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (std::chrono::steady_clock::now() < deadline) {
            if (tmux("capture-pane -p").find(text) != std::string::npos)
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        ADD_FAILURE() << line << ":\n" << tmux("capture-pane -p");
        return false;
    }
};

TEST_F(ZshCompletion, KnowsCommandsOptionsAndFiles)
{
    write(folder("place/song.mp3"), "");
    open(100, "HOME=" + folder("home") + " zsh -f");
    tmux("send-keys 'PS1=READY; fpath=(" + folder("texts/zsh") + " $fpath); autoload -U compinit; compinit -D -u; cd "
        + folder("place") + "; clear' Enter");
    while (screen().empty() || screen().front().find("READY") != 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_TRUE(completes("kelvane syn", "kelvane sync"));
    EXPECT_TRUE(completes("kelvane sync --del", "kelvane sync --delete"));
    EXPECT_TRUE(completes("kelvane sync --d", "Say what would be done"));
    EXPECT_TRUE(completes("kelvane help rep", "kelvane help report"));
    EXPECT_TRUE(completes("kelvane info so", "kelvane info song.mp3"));
}

} // namespace
} // namespace kelvane::testsupport

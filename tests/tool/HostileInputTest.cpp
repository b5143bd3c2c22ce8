// SPDX-License-Identifier: Apache-2.0
#include "SyncFixture.h"

#include <kelvane/platform/AudioMetadata.h>
#include <kelvane/platform/FMDatabase.h>

#include <array>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <pty.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// Sets the title of a window, clears it, moves, colours; the one-byte forms of the same, as UTF-8 and raw; turns the
// direction of what follows; makes lines of its own.
const std::string hostile =
    "\x1b]0;owned\a\x1b[2J\x1b[31m\u009b31m\u0085\x9b\u202e\u2066\ufeff\r\nkelvane: all is well\x7f";
// What a shell would obey: without quotes, in double ones and, as its quotes go in pairs, in single ones.
const std::string shellWords = "$(touch owned)`touch owned`';touch owned;'|touch owned&";

/// What in `text` a terminal would obey, or would show as something else.
std::string steeringIn(const std::string &text)
{
    for (const char *sequence : {"\x1b]0", "\x1b[2J", "\x1b[31m\u009b", "\u009b", "\u0085", "\u202e", "\u2066",
             "\ufeff", "\a", "\x7f", "\nkelvane: all"})
        if (text.find(sequence) != std::string::npos)
            return testing::PrintToString(std::string(sequence));
    for (std::size_t at = text.find('\x9b'); at != std::string::npos; at = text.find('\x9b', at + 1))
        if (at == 0 || (static_cast<unsigned char>(text[at - 1]) & 0x80) == 0)
            return "a raw 9b";
    return {};
}

class HostileInput : public SyncFixture {
protected:
    /// A song and a photo whose names and tags are `words`, on a device, too.
    void prepare(const std::string &words)
    {
        addMedia("song.mp3", words + ".mp3");
        addMedia("photo.jpg", words + ".jpg");
        addMedia("song.m4a", words + "/deep.m4a");
        const auto tags = AudioMetadata::CreateMetadataForURL(source(words + ".mp3"));
        tags->SetTitle(words);
        tags->SetArtist(words);
        tags->SetAlbumTitle(words);
        tags->SetGenre(words);
        ASSERT_TRUE(tags->WriteMetadata());
        write(source(words + "-empty.mp3"), "");
    }
    /// Every command, on what is there and on what is not.
    [[nodiscard]] std::vector<std::vector<std::string>> commands(const std::string &words) const
    {
        const std::string song = source(words + ".mp3"), photo = source(words + ".jpg"),
                          missing = source(words + "-no");
        std::vector<std::vector<std::string>> commands;
        const auto add = [&](std::vector<std::string> command) {
            commands.push_back(command);
            for (const char *option : {"--json", "--verbose"}) {
                commands.push_back(command);
                commands.back().insert(commands.back().begin() + 1, option);
            }
        };
        add({"sync", "--dry-run", source(), device()});
        add({"sync", source(), device()});
        add({"sync", "--verify", source(), missing, device()});
        add({"sync", source(), missing});
        add({"list", device()});
        add({"list", missing});
        add({"report", device(), "-o", folder("report" + words)});
        add({"report", device(), "-o", missing + "/no"});
        add({"info", song, photo, missing, source(words + "-empty.mp3")});
        add({"artwork", song, photo, missing, "-o", folder("covers")});
        add({"artwork", song, "-o", song});
        add({"heic2jpg", photo, missing, "-o", folder("converted")});
        add({"copy", source(words), folder("copies")});
        add({"copy", song, song});
        add({"copy", missing, folder("copies")});
        add({"types", words, "text/" + words});
        add({"run", "--", missing});
        add({"remove", device(), song, missing});
        for (const std::vector<std::string> &command : std::vector<std::vector<std::string>>{
                 {words}, {"sync", "--" + words}, {"sync", "--jobs", words}, {"sync", "--reserve", words, "a", "b"}})
            commands.push_back(command);
        return commands;
    }
    void setInLibrary(const std::string &sql) const
    {
        FMDatabase database(device(".kelvane/library.sqlite"));
        ASSERT_TRUE(database.open());
        ASSERT_TRUE(database.executeUpdate(sql)) << database.lastErrorMessage().view();
    }
};

/// What the command writes to a terminal.
std::string onTerminal(const std::vector<std::string> &arguments)
{
    std::vector<std::string> texts{KELVANE_TOOL};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char *> pointers;
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    winsize size{40, 100, 0, 0};
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) {
        ::setenv("TERM", "xterm-256color", 1);
        ::execv(pointers[0], pointers.data());
        ::_exit(127);
    }
    std::string text;
    std::array<char, 4096> block{};
    for (ssize_t count = 0; (count = ::read(terminal, block.data(), block.size())) > 0;)
        text.append(block.data(), static_cast<std::size_t>(count));
    ::close(terminal);
    ::waitpid(child, nullptr, 0);
    return text;
}

TEST_F(HostileInput, ReachesNoPipeRawWhateverTheCommand)
{
    prepare(hostile);
    for (const std::vector<std::string> &command : commands(hostile)) {
        const ToolResult result = runTool(command);
        const std::string what = testing::PrintToString(command);
        const bool isJson = command.size() > 1 && command[1] == "--json";
        const bool isVerbose = command.size() > 1 && command[1] == "--verbose";
        EXPECT_EQ(steeringIn(result.output), "") << what;
        // The log keeps the lines of a message apart.
        if (!isVerbose) {
            EXPECT_EQ(steeringIn(result.errors), "") << what;
        }
        EXPECT_EQ((result.output + result.errors).find('\x1b'), std::string::npos) << what;
        EXPECT_NE(result.code, -SIGSEGV);
        const std::vector<std::string> lines = isJson ? result.outputLines() : std::vector<std::string>();
        for (const std::string &line : lines)
            EXPECT_TRUE(Json::accept(line)) << what << line;
    }
}

TEST_F(HostileInput, ReachesNoTerminalRawWhateverTheCommand)
{
    prepare(hostile);
    std::size_t shown = 0;
    for (const std::vector<std::string> &command : commands(hostile)) {
        if (command.size() > 1 && command[1] == "--verbose")
            continue;
        const std::string text = onTerminal(command);
        EXPECT_EQ(steeringIn(text), "") << testing::PrintToString(command);
        shown += text.find("\\x1B[2J") != std::string::npos || text.find("\\u001b[2J") != std::string::npos ? 1 : 0;
    }
    EXPECT_GT(shown, 10U) << "the names were not shown at all";
}

TEST_F(HostileInput, KeepsItsMeaningInJson)
{
    const std::string name = "a\u009b\u202eb.mp3";
    addMedia("song.mp3", name);
    const ToolResult result = runTool({"info", "--json", source(name)});
    EXPECT_THAT(result.output, AllOf(HasSubstr("\\u009b\\u202e"), Not(HasSubstr("\u202e"))));
    EXPECT_EQ(Json::parse(result.output)["path"], source(name));
}

TEST_F(HostileInput, ReachesNoShell)
{
    prepare(shellWords);
    // Where a shell would be: the working directory of the command is that of the test.
    const fs::path before = fs::current_path();
    fs::create_directory(folder("here"));
    fs::current_path(folder("here"));
    for (const std::vector<std::string> &command : commands(shellWords))
        runTool(command);
    fs::current_path(before);
    EXPECT_TRUE(fs::is_empty(folder("here")));
    EXPECT_FALSE(fs::exists(device("owned")));
}

TEST_F(HostileInput, IsTextInTheReport)
{
    const std::string markup = "\"><script>owned=1<script><img src=x onerror=owned=1>'&";
    prepare(markup);
    ASSERT_EQ(runTool({"sync", source(), device()}).code, 1); // one of the files is empty
    ASSERT_EQ(runTool({"report", device(), "-o", folder("report.html")}).code, 0);
    const std::string page = read(folder("report.html"));
    EXPECT_THAT(
        page, AllOf(HasSubstr("&lt;script&gt;owned=1"), Not(HasSubstr("<script>owned")), Not(HasSubstr("<img"))));
    EXPECT_THAT(
        page, AllOf(HasSubstr("default-src 'none'"), HasSubstr("script-src 'sha256-"), HasSubstr("base-uri 'none'")));
}

/// Links and paths that lead out of the device.
class HostileDevice : public HostileInput {
protected:
    void SetUp() override
    {
        HostileInput::SetUp();
        if (IsSkipped())
            return;
        fs::create_directory(outside());
        fs::copy_file(KELVANE_TOOL_MEDIA "/song.mp3", outside("private.mp3"));
        _before = contentOfOutside();
    }
    [[nodiscard]] std::string outside() const { return folder("outside"); }
    [[nodiscard]] std::string outside(const std::string &name) const { return outside() + '/' + name; }
    [[nodiscard]] std::map<std::string, std::string> contentOfOutside() const
    {
        std::map<std::string, std::string> content;
        for (const auto &entry : fs::recursive_directory_iterator(outside()))
            content[entry.path().native()] = entry.is_regular_file() ? read(entry.path()) : "";
        return content;
    }
    void expectNothingOutsideChanged() const { EXPECT_TRUE(contentOfOutside() == _before); }
    [[nodiscard]] std::size_t pictures() const
    {
        const std::string folder = device(".kelvane/artwork");
        return fs::exists(folder)
            ? static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()))
            : 0;
    }

private:
    std::map<std::string, std::string> _before;
};

TEST_F(HostileDevice, WhoseLibraryNamesFilesElsewhereGetsNoPictureOfThem)
{
    addMedia("song.flac", "a.flac"); // has none
    ASSERT_EQ(sync().code, 0);
    fs::create_directories(device("Music/F00"));
    fs::create_symlink(outside("private.mp3"), device("Music/F00/LINK.mp3"));
    fs::create_directory_symlink(outside(), device("Music/F00/folder"));
    for (const std::string &path :
        {std::string("../outside/private.mp3"), outside("private.mp3"), std::string("Music/../../outside/private.mp3"),
            std::string("Music/F00/LINK.mp3"), std::string("Music/F00/folder/private.mp3")}) {
        setInLibrary("UPDATE media SET devicePath = '" + path + "', devArtworkPath = NULL");
        sync();
        EXPECT_EQ(pictures(), 0U) << path;
        EXPECT_EQ(runTool({"report", device(), "-o", folder("report.html")}).code, 0) << path;
        expectNothingOutsideChanged();
    }
}

TEST_F(HostileDevice, WhoseLibraryNamesPicturesElsewhereShowsNoneOfThem)
{
    addMedia("song.flac", "a.flac");
    ASSERT_EQ(sync().code, 0);
    fs::copy_file(KELVANE_TOOL_MEDIA "/photo.jpg", outside("private.jpg"));
    for (const std::string &path : {std::string("../outside/private.jpg"), outside("private.jpg")}) {
        setInLibrary("UPDATE media SET devArtworkPath = '" + path + "'");
        EXPECT_EQ(runTool({"report", device(), "-o", folder("report.html")}).code, 0);
        EXPECT_THAT(read(folder("report.html")), Not(HasSubstr("base64,/9j/"))) << path;
    }
}

TEST_F(HostileDevice, LinksInTheFolderOfTheLibraryAreNotFollowed)
{
    addSongs(2);
    write(outside("victim"), "precious");
    for (const char *name : {"incoming", "artwork", "lock", "library.sqlite", "library.sqlite-wal",
             "library.sqlite-journal", "library.sqlite-shm", "library.sqlite.new", "library.sqlite.new-journal"}) {
        fs::remove_all(device());
        fs::create_directories(device(".kelvane"));
        const std::string link = device(".kelvane/" + std::string(name));
        fs::create_symlink(outside(std::string(name).find('.') == std::string::npos ? "" : "victim"), link);
        const ToolResult first = sync();
        EXPECT_EQ(read(outside("victim")), "precious") << name;
        fs::remove(link);
        ASSERT_EQ(sync().code, 0) << name << ": " << first.errors;
        fs::remove_all(link);
        fs::create_symlink(outside("victim"), link);
        sync({"--delete"});
        runTool({"list", device()});
        EXPECT_EQ(read(outside("victim")), "precious") << name;
    }
    fs::remove(outside("victim"));
    expectNothingOutsideChanged();
}

TEST_F(HostileDevice, ALockThatIsAnotherNameOfAFileIsRefused)
{
    fs::create_directory(device(".kelvane"));
    write(outside("victim"), "precious");
    fs::create_hard_link(outside("victim"), device(".kelvane/lock"));
    const ToolResult result = sync();
    EXPECT_EQ(result.code, 3);
    EXPECT_THAT(result.errorLines(), testing::ElementsAre(HasSubstr("is no file of its own")));
    EXPECT_EQ(read(outside("victim")), "precious");
}

TEST_F(HostileDevice, FoldersThatBecomeLinksDuringARunLeadNowhere)
{
    addSongs(10);
    addMedia("photo.jpg", "photo.jpg");
    for (const char *name : {".kelvane", "Music", "Photos", ".kelvane/incoming"}) {
        fs::remove_all(device());
        fs::create_directory(device());
        ASSERT_EQ(sync().code, 0);
        std::atomic<bool> isDone = false;
        std::atomic<int> swaps = 0;
        std::thread attacker([&] {
            while (!isDone) {
                ::rename(device(name).c_str(), device("aside").c_str());
                swaps += ::symlink(outside().c_str(), device(name).c_str()) == 0 ? 1 : 0;
                std::this_thread::yield();
                ::unlink(device(name).c_str());
                ::rename(device("aside").c_str(), device(name).c_str());
                std::this_thread::yield();
            }
        });
        for (int run = 0; run < 6; ++run) {
            for (const auto &entry : fs::directory_iterator(source()))
                write(entry.path(), read(entry.path()) + name);
            sync({"--delete"}); // may fail, may make folders of its own
        }
        isDone = true;
        attacker.join();
        EXPECT_GT(swaps.load(), 0) << name;
        expectNothingOutsideChanged();
    }
}

} // namespace
} // namespace kelvane::testsupport

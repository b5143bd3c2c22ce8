// SPDX-License-Identifier: Apache-2.0
#include "Browser.h"
#include "SyncFixture.h"

#include <kelvane/platform/FMDatabase.h>

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <regex>
#include <sys/stat.h>

namespace kelvane::testsupport {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr const char *hostile =
    "</td></tr><script>window.owned=1</script><img src=x onerror=\"window.owned=1\">'\"&\x1b[31m";

class Report : public SyncFixture {
protected:
    [[nodiscard]] std::string page() const { return folder("report.html"); }
    ToolResult report(const std::vector<std::string> &options = {}) const
    {
        std::vector<std::string> words{"report", device(), "-o", page()};
        words.insert(words.end(), options.begin(), options.end());
        return runTool(words);
    }
    [[nodiscard]] std::string text() const { return read(page()); }
    // Writes into a field of all items, as a hostile device or file might have it.
    void setField(const std::string &field, const std::string &value) const
    {
        FMDatabase database(device(".kelvane/library.sqlite"));
        ASSERT_TRUE(database.open());
        ASSERT_TRUE(database.executeUpdate(("UPDATE media SET " + field + " = ?").c_str(), {String(value)}));
    }
    [[nodiscard]] static std::size_t count(const std::string &text, const std::string &pattern)
    {
        const std::regex expression(pattern);
        return static_cast<std::size_t>(
            std::distance(std::sregex_iterator(text.begin(), text.end(), expression), std::sregex_iterator()));
    }
};

TEST_F(Report, HasTheItemsTheTotalsAndTheChart)
{
    addAllKinds();
    sync();
    const ToolResult result = report();
    EXPECT_EQ(result.code, 0) << result.errors;
    EXPECT_THAT(result.outputLines(), ElementsAre(AllOf(HasSubstr("wrote "), HasSubstr("8 items"))));
    EXPECT_THAT(text(),
        AllOf(HasSubstr("<td class=\"title\">Blue</td><td>The Testers</td><td>Samples</td>"), HasSubstr("日本の歌手"),
            HasSubstr("Photos/photo.jpg")));
    EXPECT_THAT(text(), ContainsRegex("<th scope=\"row\">Audio</th><td class=\"number\">5</td>"));
    EXPECT_THAT(text(), ContainsRegex("<th scope=\"row\">Images</th><td class=\"number\">2</td>"));
    EXPECT_THAT(text(), ContainsRegex("<th scope=\"row\">All</th><td class=\"number\">8</td>"));
    EXPECT_EQ(count(text(), "<svg class=\"bar\""), 2U);
    EXPECT_EQ(count(text(), "<tr data-kind="), 8U);
}

TEST_F(Report, APictureIsSmallAndThereOnceHoweverManyItemsShareIt)
{
    addMedia("song.mp3", "a.mp3");
    addMedia("song.mp3", "b.mp3");
    addMedia("photo.jpg", "c.jpg");
    sync();
    report();
    EXPECT_EQ(count(text(), "data:image/jpeg;base64,[A-Za-z0-9+/=]{100,8000}\\)"), 2U);
    EXPECT_EQ(count(text(), "class=\"art p1\""), 2U);
    EXPECT_EQ(count(text(), "class=\"art p2\""), 1U);
}

TEST_F(Report, NeedsNothingFromElsewhere)
{
    addAllKinds();
    sync();
    report();
    EXPECT_THAT(text(), HasSubstr("Content-Security-Policy\" content=\"default-src 'none';"));
    EXPECT_EQ(count(text(), "(src|href)=\"(?!#)"), 0U);
    EXPECT_EQ(count(text(), "https?://|@import"), 0U);
}

TEST_F(Report, EscapesWhateverTitlesAndNamesHold)
{
    addMedia("photo.jpg", "<b>&amp;\"'.jpg");
    addMedia("song.mp3", "a.mp3");
    sync();
    for (const char *field : {"title", "artist", "album"})
        setField(field, hostile);
    ASSERT_EQ(report().code, 0);
    EXPECT_EQ(count(text(), "<script"), 1U);
    EXPECT_EQ(count(text(), "<img|<b>&amp;"), 0U);
    EXPECT_EQ(text().find('\x1b'), std::string::npos);
}

TEST_F(Report, ReplacesAFileInOneStepAndLeavesNothingBesideIt)
{
    addSongs(1);
    sync();
    write(page(), "old");
    ASSERT_EQ(report().code, 0);
    EXPECT_THAT(text(), HasSubstr("<!doctype html>"));
    struct stat status {};
    ASSERT_EQ(::stat(page().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U);
    for (const auto &entry : fs::directory_iterator(fs::path(page()).parent_path()))
        EXPECT_THAT(entry.path().filename().string(), Not(HasSubstr(".part")));
}

TEST_F(Report, WhatCannotBeWrittenOrReadIsToldInOneLine)
{
    EXPECT_THAT(report().errorLines(), ElementsAre(HasSubstr("it has no library")));
    addSongs(1);
    sync();
    for (const std::string &file : {folder("no/such/folder.html"), device(), std::string("/dev/full")}) {
        const ToolResult result = runTool({"report", device(), "-o", file});
        EXPECT_EQ(result.code, 3);
        EXPECT_THAT(result.errorLines(), ElementsAre(HasSubstr("cannot write \"" + file)));
    }
}

TEST_F(Report, APictureThatIsMissingDamagedOrAPipeLeavesItsItemWithout)
{
    addMedia("song.mp3", "a.mp3");
    sync();
    const fs::path picture = fs::directory_iterator(device(".kelvane/artwork"))->path();
    write(picture, "no picture");
    EXPECT_EQ(report().code, 0);
    EXPECT_THAT(text(), AllOf(HasSubstr("class=\"art\""), Not(HasSubstr("base64"))));
    fs::remove(picture);
    EXPECT_EQ(report().code, 0);
    ASSERT_EQ(::mkfifo(picture.c_str(), 0644), 0);
    EXPECT_EQ(report().code, 0);
    setField("devArtworkPath", "../../../etc/passwd");
    EXPECT_EQ(report().code, 0);
}

TEST_F(Report, JsonSaysWhatWasWritten)
{
    addSongs(2);
    sync();
    const std::vector<Json> objects = parse(report({"--json"}));
    ASSERT_THAT(objects, SizeIs(1));
    EXPECT_EQ(objects[0], (Json{{"report", page()}, {"items", 2}, {"pictures", 1}, {"bytes", text().size()}}));
}

TEST_F(Report, ADeviceWithoutItemsHasAPageToo)
{
    sync();
    EXPECT_EQ(report().code, 0);
    EXPECT_THAT(text(), HasSubstr("Nothing has been brought to this device yet."));
}

/// The page in a real browser.
class ReportInBrowser : public Report {
protected:
    void SetUp() override
    {
        Report::SetUp();
        if (!Browser::isPresent())
            GTEST_SKIP() << "chromium is not installed";
    }
    void show(Browser &browser) const
    {
        ASSERT_EQ(report().code, 0);
        browser.open(page());
    }
    static constexpr const char *shownTitles =
        "[...document.querySelectorAll('#list tbody tr')].filter(r => !r.hidden).map(r => r.cells[1].textContent)";
    static constexpr const char *titles =
        "[...document.querySelectorAll('#list tbody tr')].map(r => r.cells[1].textContent)";
    // Goes on with Tab until the element that has the focus answers to a selector.
    static bool tabTo(Browser &browser, const std::string &selector)
    {
        constexpr int tab = 9;
        for (int i = 0; i < 30; ++i) {
            browser.press("Tab", tab);
            if (browser.evaluate("document.activeElement.matches(" + Json(selector).dump() + ")"))
                return true;
        }
        return false;
    }
    static void pressEnter(Browser &browser) { browser.press("Enter", 13, "\r"); }
};

TEST_F(ReportInBrowser, IsSortedAndFilteredWithTheKeyboardAlone)
{
    addAllKinds();
    sync();
    Browser browser(folder("profile"));
    show(browser);
    ASSERT_TRUE(tabTo(browser, "a.skip"));
    pressEnter(browser);
    EXPECT_EQ(browser.evaluate("location.hash"), "#items");
    ASSERT_TRUE(tabTo(browser, "#filter"));
    browser.type("blue");
    EXPECT_THAT(browser.evaluate(shownTitles), ElementsAre("Blue"));
    EXPECT_EQ(browser.evaluate("document.getElementById('count').textContent"), "1 of 8 shown");
    browser.evaluate(
        "(f => { f.value = ''; f.dispatchEvent(new Event('input')); })(document.getElementById('filter'))");
    ASSERT_TRUE(tabTo(browser, "th button"));
    pressEnter(browser);
    const Json ascending = browser.evaluate(titles);
    EXPECT_EQ(browser.evaluate("document.querySelector('#list th').getAttribute('aria-sort')"), "ascending");
    Json sorted = browser.evaluate(
        std::string(titles) + ".sort(new Intl.Collator(undefined, {numeric: true, sensitivity: 'base'}).compare)");
    EXPECT_EQ(ascending, sorted);
    pressEnter(browser);
    EXPECT_EQ(browser.evaluate("document.querySelector('#list th').getAttribute('aria-sort')"), "descending");
    std::reverse(sorted.begin(), sorted.end());
    EXPECT_EQ(browser.evaluate(titles), sorted);
}

TEST_F(ReportInBrowser, SizesAreSortedByNumber)
{
    addAllKinds();
    sync();
    Browser browser(folder("profile"));
    show(browser);
    browser.evaluate("[...document.querySelectorAll('th button')].find(b => b.textContent === 'Size').click()");
    const Json sizes =
        browser.evaluate("[...document.querySelectorAll('#list tbody tr')].map(r => Number(r.cells[6].dataset.value))");
    EXPECT_TRUE(std::is_sorted(sizes.begin(), sizes.end())) << sizes;
}

TEST_F(ReportInBrowser, ShowsTheItemsOfOneKind)
{
    addAllKinds();
    sync();
    Browser browser(folder("profile"));
    show(browser);
    browser.evaluate(
        "(k => { k.value = 'images'; k.dispatchEvent(new Event('change')); })(document.getElementById('kind'))");
    EXPECT_THAT(browser.evaluate(shownTitles), SizeIs(2));
}

TEST_F(ReportInBrowser, AsksTheNetworkForNothingAndRunsNothingOfTheNames)
{
    addAllKinds();
    addMedia("photo.jpg", "<img src=x onerror=window.owned=1>.jpg");
    sync();
    for (const char *field : {"title", "artist", "album"})
        setField(field, hostile);
    Browser browser(folder("profile"));
    show(browser);
    EXPECT_EQ(browser.evaluate("document.querySelectorAll('#list tbody tr').length"), 9);
    EXPECT_EQ(browser.evaluate("typeof window.owned"), "undefined");
    EXPECT_THAT(browser.requests(), IsEmpty());
    EXPECT_THAT(browser.messages(), IsEmpty()) << "its policy lets its own style and script through";
    EXPECT_EQ(browser.evaluate("document.querySelector('#list td.title').textContent"),
        std::string(hostile).substr(0, std::string(hostile).size() - 5) + "\\x1B[31m");
}

TEST_F(ReportInBrowser, ShowsThePicturesAndFollowsTheUsersColours)
{
    addMedia("song.mp3", "a.mp3");
    sync();
    Browser browser(folder("profile"));
    show(browser);
    EXPECT_EQ(browser.evaluate("new Promise(done => { const i = new Image(); i.onload = () => done(i.naturalWidth); "
                               "i.onerror = () => done(0); i.src = getComputedStyle(document.querySelector('.p1'))"
                               ".backgroundImage.slice(5, -2); })"),
        64);
    const auto background = [&](const char *scheme) {
        browser.call("Emulation.setEmulatedMedia",
            {{"features", Json::array({{{"name", "prefers-color-scheme"}, {"value", scheme}}})}});
        return browser.evaluate("getComputedStyle(document.body).backgroundColor");
    };
    EXPECT_NE(background("light"), background("dark"));
}

TEST_F(ReportInBrowser, IsNoWiderThanTheWindow)
{
    addAllKinds();
    addMedia("photo.jpg", std::string(200, 'n') + ".jpg");
    sync();
    Browser browser(folder("profile"));
    show(browser);
    for (const int width : {360, 800, 1400}) {
        browser.call("Emulation.setDeviceMetricsOverride",
            {{"width", width}, {"height", 800}, {"deviceScaleFactor", 1}, {"mobile", false}});
        EXPECT_LE(browser.evaluate("document.documentElement.scrollWidth").get<int>(), width);
    }
}

} // namespace
} // namespace kelvane::testsupport

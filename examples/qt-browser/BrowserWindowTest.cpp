// SPDX-License-Identifier: Apache-2.0

// The window on a real display, used as a person does: with keys and the mouse.
#include "BrowserWindow.h"
#include "ArtworkCache.h"
#include "MediaFile.h"
#include "tests/support/TemporaryFolder.h"

#include <kelvane/platform/AudioMetadata.h>

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>

#include <gmock/gmock.h>

#include <filesystem>
#include <string>

using namespace browser;
namespace fs = std::filesystem;

namespace {

constexpr int patience = 120'000; // milliseconds, for machines with other things to do

std::string titleInFile(const fs::path &path)
{
    const auto tags = kelvane::AudioMetadata::CreateMetadataForURL(path.native());
    return tags ? tags->GetTitle().str() : "no tags";
}

std::size_t filesIn(const fs::path &folder)
{
    std::size_t count = 0;
    for (const auto &entry : fs::recursive_directory_iterator(folder))
        count += entry.is_regular_file();
    return count;
}

class QtBrowser : public ::testing::Test {
protected:
    QtBrowser()
    {
        fs::copy(BROWSER_SAMPLES, media, fs::copy_options::recursive);
        fs::create_directory(device);
    }

    void open()
    {
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window, patience));
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window, patience));
        window.openFolder(QString::fromStdString(media.native()));
        ASSERT_TRUE(waitForEnd());
    }
    /// Whether the work ended well; false too when it did not end.
    bool waitForEnd()
    {
        if (ended.isEmpty())
            ended.wait(patience);
        return !ended.isEmpty() && ended.takeFirst()[0].toBool();
    }
    QModelIndex row(const QString &title)
    {
        for (int number = 0; number < view.model()->rowCount(); ++number)
            if (const auto index = view.model()->index(number, MediaModel::Title); index.data().toString() == title)
                return index;
        return {};
    }
    void select(const QString &title)
    {
        ASSERT_TRUE(row(title).isValid()) << title.toStdString();
        view.scrollTo(row(title));
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.visualRect(row(title)).center());
        ASSERT_EQ(view.currentIndex(), row(title));
    }
    /// F2, the new title, Enter.
    void retitle(const QString &from, const QString &to)
    {
        ASSERT_NO_FATAL_FAILURE(select(from));
        QTest::keyClick(&view, Qt::Key_F2);
        auto *editor = view.viewport()->findChild<QLineEdit *>();
        ASSERT_NE(editor, nullptr);
        QTest::keyClick(editor, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(editor, to);
        QTest::keyClick(editor, Qt::Key_Return);
        ASSERT_TRUE(QTest::qWaitFor([&] { return row(to).isValid(); }, patience));
    }
    QAction &action(const QString &text)
    {
        for (QAction *each : window.actions())
            if (each->text() == text)
                return *each;
        throw std::runtime_error("there is no action " + text.toStdString());
    }
    [[nodiscard]] std::string message() const { return window.findChild<QLabel *>()->text().toStdString(); }

    kelvane::testsupport::TemporaryFolder folder;
    const fs::path media = folder.path("media");
    const fs::path device = folder.path("Phone");
    BrowserWindow window;
    QTreeView &view = *window.findChild<QTreeView *>("media");
    QProgressBar &progress = *window.findChild<QProgressBar *>();
    QSignalSpy ended{&window, &BrowserWindow::workEnded};
};

} // namespace

TEST_F(QtBrowser, ListsTheMediaOfAFolderWithTheirTags)
{
    ASSERT_NO_FATAL_FAILURE(open());
    EXPECT_EQ(message(), "14 files");
    ASSERT_EQ(view.model()->rowCount(), 14);
    const QModelIndex ebb = row("Ebb");
    EXPECT_EQ(ebb.siblingAtColumn(MediaModel::Artist).data().toString(), "Marit Håkansson");
    EXPECT_EQ(ebb.siblingAtColumn(MediaModel::Album).data().toString(), "Lanterns at Low Tide");
    EXPECT_EQ(ebb.siblingAtColumn(MediaModel::Length).data().toString(), "0:04");
    EXPECT_EQ(ebb.siblingAtColumn(MediaModel::Kind).data().toString(), "Song");
    EXPECT_EQ(view.currentIndex(), view.model()->index(0, 0)) << "ready for the keyboard";
    EXPECT_FALSE(progress.isVisible());
}

TEST_F(QtBrowser, ShowsArtworkOnceItIsRead)
{
    ASSERT_NO_FATAL_FAILURE(open());
    const auto colour = [&](const char *title) {
        return row(title).data(Qt::DecorationRole).value<QIcon>().pixmap(48).toImage().pixelColor(24, 24);
    };
    const QColor placeholder = colour("Bell Test");
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return colour("Ebb") != placeholder && colour("Flood") != placeholder; }, patience));
    EXPECT_EQ(colour("Bell Test"), placeholder) << "has no cover";
}

TEST_F(QtBrowser, EditsATitleAndRollsItBack)
{
    ASSERT_NO_FATAL_FAILURE(open());
    EXPECT_FALSE(action("Roll back").isEnabled());
    ASSERT_NO_FATAL_FAILURE(retitle("Ebb", "Spring Tide"));
    EXPECT_EQ(row("Spring Tide").siblingAtColumn(MediaModel::Change).data().toString(), "edited");
    EXPECT_TRUE(window.isWindowModified());
    EXPECT_EQ(titleInFile(media / "Music/01 Ebb.mp3"), "Ebb");

    QTest::keyClick(&window, Qt::Key_R, Qt::ControlModifier);
    EXPECT_TRUE(row("Ebb").isValid());
    EXPECT_EQ(message(), "1 edit rolled back");
    EXPECT_FALSE(window.isWindowModified());
    EXPECT_FALSE(action("Roll back").isEnabled());
}

TEST_F(QtBrowser, CommitsTitlesIntoTheFiles)
{
    ASSERT_NO_FATAL_FAILURE(open());
    ASSERT_NO_FATAL_FAILURE(retitle("Ebb", "Spring Tide"));
    ASSERT_NO_FATAL_FAILURE(retitle("Flood", "Neap Tide"));
    QTest::keyClick(&window, Qt::Key_S, Qt::ControlModifier);
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(message(), "2 titles written");
    EXPECT_EQ(titleInFile(media / "Music/01 Ebb.mp3"), "Spring Tide");
    EXPECT_EQ(titleInFile(media / "Music/02 Flood.m4a"), "Neap Tide");
    EXPECT_TRUE(QTest::qWaitFor([&] { return !window.isWindowModified(); }, patience));
    EXPECT_EQ(row("Spring Tide").siblingAtColumn(MediaModel::Change).data().toString(), "");
    EXPECT_FALSE(action("Commit").isEnabled());
}

TEST_F(QtBrowser, KeepsAnEditThatCannotBeWrittenAndSaysWhy)
{
    ASSERT_NO_FATAL_FAILURE(open());
    ASSERT_NO_FATAL_FAILURE(retitle("Ebb", "Spring Tide"));
    ASSERT_NO_FATAL_FAILURE(retitle("Flood", "Neap Tide"));
    fs::remove(media / "Music/01 Ebb.mp3");
    window.commit();
    EXPECT_FALSE(waitForEnd());
    EXPECT_THAT(message(), ::testing::HasSubstr("01 Ebb.mp3"));
    EXPECT_EQ(titleInFile(media / "Music/02 Flood.m4a"), "Neap Tide");
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return row("Neap Tide").siblingAtColumn(MediaModel::Change).data().toString().isEmpty(); }, patience));
    EXPECT_EQ(row("Spring Tide").siblingAtColumn(MediaModel::Change).data().toString(), "edited");
    EXPECT_TRUE(action("Commit").isEnabled()) << "to try again";
}

TEST_F(QtBrowser, KeepsWhatIsTypedWhileArtworkArrives)
{
    ASSERT_NO_FATAL_FAILURE(open());
    ASSERT_NO_FATAL_FAILURE(select("Ebb"));
    QTest::keyClick(&view, Qt::Key_F2);
    auto *editor = view.viewport()->findChild<QLineEdit *>();
    ASSERT_NE(editor, nullptr);
    editor->selectAll();
    QTest::keyClicks(editor, "Spring");
    Q_EMIT window.findChild<ArtworkCache *>()->loaded(
        view.currentIndex().siblingAtColumn(MediaModel::Path).data().toString());
    QTest::keyClicks(editor, " Tide");
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_TRUE(QTest::qWaitFor([&] { return row("Spring Tide").isValid(); }, patience));
}

TEST_F(QtBrowser, LeavesTitlesAloneThatHaveNoTagToGoInto)
{
    ASSERT_NO_FATAL_FAILURE(open());
    ASSERT_NO_FATAL_FAILURE(select("Hills"));
    QTest::keyClick(&view, Qt::Key_F2);
    EXPECT_EQ(view.viewport()->findChild<QLineEdit *>(), nullptr);
}

TEST_F(QtBrowser, TakesAnEditBackThatEndsWithEscapeOrEmpty)
{
    ASSERT_NO_FATAL_FAILURE(open());
    for (const auto key : {Qt::Key_Escape, Qt::Key_Return}) {
        ASSERT_NO_FATAL_FAILURE(select("Ebb"));
        QTest::keyClick(&view, Qt::Key_F2);
        auto *editor = view.viewport()->findChild<QLineEdit *>();
        ASSERT_NE(editor, nullptr);
        if (key == Qt::Key_Return)
            QTest::keyClick(editor, Qt::Key_Delete);
        else
            QTest::keyClicks(editor, "Spring Tide");
        QTest::keyClick(editor, key);
        EXPECT_TRUE(row("Ebb").isValid());
        EXPECT_FALSE(window.isWindowModified());
        QTest::qWait(0); // the editor goes
    }
}

TEST_F(QtBrowser, FindsRowsByAnyOfTheirTexts)
{
    ASSERT_NO_FATAL_FAILURE(open());
    QTest::keyClick(&window, Qt::Key_F, Qt::ControlModifier);
    QTest::keyClicks(QApplication::focusWidget(), "low tide");
    EXPECT_TRUE(QTest::qWaitFor([&] { return view.model()->rowCount() < 14; }, patience));
    EXPECT_TRUE(row("Ebb").isValid());
    EXPECT_FALSE(row("Hills").isValid());
}

TEST_F(QtBrowser, SynchronisesTheFolderWithADevice)
{
    ASSERT_NO_FATAL_FAILURE(open());
    int highest = 0;
    QObject::connect(&progress, &QProgressBar::valueChanged, [&](int percent) {
        EXPECT_GE(percent, highest);
        highest = percent;
    });
    window.syncTo(QString::fromStdString(device.native()));
    EXPECT_TRUE(progress.isVisible());
    EXPECT_FALSE(action("Commit").isEnabled());
    EXPECT_TRUE(waitForEnd()) << message();
    EXPECT_EQ(highest, 100);
    EXPECT_EQ(message(), "Phone is up to date");
    EXPECT_EQ(filesIn(device / "Photos"), 4U);
    EXPECT_EQ(filesIn(device / "Music"), 10U);
    EXPECT_FALSE(progress.isVisible());
}

TEST_F(QtBrowser, SaysWhyItCouldNotSynchronise)
{
    ASSERT_NO_FATAL_FAILURE(open());
    window.syncTo(QString::fromStdString((media / "README.md").native()));
    EXPECT_FALSE(waitForEnd());
    EXPECT_THAT(message(), ::testing::StartsWith("Synchronising with README.md: failed. "));
    EXPECT_THAT(message(), ::testing::HasSubstr("kelvane"));
}

TEST_F(QtBrowser, CancelsASyncAndFinishesItNextTime)
{
    constexpr std::size_t copies = 300;
    for (std::size_t number = 0; number < copies; ++number)
        fs::copy_file(media / "Music/Bell.wav", media / ("Music/copy " + std::to_string(number) + ".wav"));
    ASSERT_NO_FATAL_FAILURE(open());
    auto *cancel = window.findChild<QPushButton *>();
    window.syncTo(QString::fromStdString(device.native()));
    // As soon as there is something to stop.
    QObject::connect(&progress, &QProgressBar::valueChanged, cancel, [cancel](int percent) {
        if (percent > 0)
            QTest::mouseClick(cancel, Qt::LeftButton);
    });
    EXPECT_FALSE(waitForEnd());
    EXPECT_EQ(message(), "Synchronising with Phone: cancelled");
    EXPECT_LT(filesIn(device), copies);
    progress.disconnect(cancel);

    window.syncTo(QString::fromStdString(device.native()));
    EXPECT_TRUE(waitForEnd()) << message();
    EXPECT_EQ(filesIn(device / "Music"), copies + 10);
}

TEST_F(QtBrowser, MayBeClosedWhileItWorks)
{
    ASSERT_NO_FATAL_FAILURE(open());
    window.syncTo(QString::fromStdString(device.native()));
    EXPECT_TRUE(window.close());
    EXPECT_FALSE(window.isVisible());
}

TEST_F(QtBrowser, OpensAnotherFolderWhileItReadsTheFirst)
{
    window.show();
    window.openFolder(QString::fromStdString(media.native()));
    window.openFolder(QString::fromStdString((media / "Photos").native()));
    EXPECT_TRUE(waitForEnd());
    EXPECT_EQ(view.model()->rowCount(), 4);
    EXPECT_EQ(message(), "4 files");
}

int main(int argc, char **argv)
{
    ::testing::InitGoogleMock(&argc, argv);
    const QApplication application(argc, argv);
    QApplication::setStyle("Fusion");
    return RUN_ALL_TESTS();
}

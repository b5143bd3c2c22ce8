// SPDX-License-Identifier: Apache-2.0

// The code that docs/qt.md shows; script/refresh-docs copies it there. It has an event loop and no window, so that it needs
// nothing but Qt's core.
#include <kelvane/kelvane.h>
#include <kelvane/qt/Conversions.h>
#include <kelvane/qt/DataItemListModel.h>
#include <kelvane/qt/FollowedDataItemList.h>
#include <kelvane/qt/TaskSignals.h>

#include <QCoreApplication>
#include <QThread>

#include <cstdio>

using namespace kelvane;
using namespace kelvane::qt;

namespace {

struct Song {
    String title;
    String artist;
};
using SongItem = TypedDataItem<Song>;

//! [fields]
std::vector<ItemField> songFields()
{
    return {ItemField::of<Song>(
                "title", "Title", [](const Song &song) { return toQString(song.title); },
                [](Song &song, const QVariant &value) {
                    song.title = fromQString(value.toString());
                    return true;
                }),
        ItemField::of<Song>("artist", "Artist", [](const Song &song) { return toQString(song.artist); })};
}
//! [fields]

std::shared_ptr<AsyncTaskIOS> readSongs(const std::shared_ptr<FollowedDataItemList> &songs)
{
    //! [work]
    return std::make_shared<AsyncTaskIOS>([songs](AsyncTaskIOS &running, const Object &) {
        running.incStepCount(2);
        for (const char *title : {"Ebb", "Flood"}) {
            if (!running.canContinue())
                return false;
            auto song = std::make_shared<SongItem>();
            song->setRecord(std::make_shared<Song>(Song{title, "Marit Håkansson"}));
            songs->addItem(song);
            song->acceptChanges();
            running.incStep();
        }
        return true;
    });
    //! [work]
}

bool isRight = true;

void check(bool condition)
{
    isRight = isRight && condition;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    QObject owner;
    QObject *window = &owner;

    //! [model]
    auto songs = std::make_shared<FollowedDataItemList>();
    auto *model = new DataItemListModel(songs, songFields(), window);
    //! [model]

    int percentShown = -1;
    const auto show = [&](int percent) {
        check(percent >= percentShown && QThread::currentThread() == application.thread());
        percentShown = percent;
    };
    const auto done = [&](bool isSuccess) {
        check(isSuccess);
        QCoreApplication::quit();
    };
    //! [signals]
    const auto task = readSongs(songs);
    auto *news = new TaskSignals(task, window); // before the task is started
    QObject::connect(news, &TaskSignals::progressChanged, window, show);
    QObject::connect(news, &TaskSignals::finished, window, done);
    task->startTask();
    //! [signals]
    QCoreApplication::exec();
    check(percentShown == 100);

    //! [edit]
    model->synchronise(); // for code that cannot wait for the event loop
    model->setData(model->index(0, 0), "Spring Tide");
    songs->rejectChanges(); // or acceptChanges()
    //! [edit]
    check(model->rowCount() == 2 && model->stateAt(0) == DataItemState::Modified);
    QCoreApplication::processEvents();
    check(model->stateAt(0) == DataItemState::Unchanged && model->index(0, 0).data() == "Ebb");
    check(model->index(1, 1).data().toString() == "Marit Håkansson");
    std::puts(isRight ? "as the page says" : "not as the page says");
}

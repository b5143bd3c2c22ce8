// SPDX-License-Identifier: Apache-2.0

// The code that the pages of docs/ show beside the cookbook; script/refresh-docs copies it there.
#include <kelvane/kelvane.h>

#include <cstdio>

using namespace kelvane;

namespace {

int shown = 0;

void repaint(const std::shared_ptr<IDataItem> &)
{
    ++shown;
}

void show(LogLevel, const String &)
{
    ++shown;
}

void store(const char *, const Value &)
{
    ++shown;
}

//! [record]
struct Song {
    String title;
};
using SongItem = TypedDataItem<Song>;
//! [record]

void items()
{
    //! [watch]
    auto songs = std::make_shared<ObservableDataItemList>();
    songs->addItemChangedWatcher([](const DataItemChangeEventArgs &args) { repaint(args.item()); });
    //! [watch]
    songs->addItem(std::make_shared<SongItem>());
}

void media(const String &path)
{
    //! [fill]
    auto record = localMediaRecord(*TagFile(path).mediadata()); // a MediaBase, filled
    record->setRating(4);
    auto copy = record->copy(); // shares its fields until one of the two is changed
    for (const MediaField &field : MediaBase::fields())
        store(field.name, field.get(*copy));
    //! [fill]
}

bool photos(const String &path, const String &jpegPath)
{
    bool isConverted = false;
    //! [convert]
    if (HeicConverter::isHeic(path)) {
        Utils::deleteFile(jpegPath); // so that true means a new file
        isConverted = HeicConverter::convertHeicToJPG(path, jpegPath);
    }
    //! [convert]
    return isConverted;
}

String devices(const Dictionary &properties)
{
    //! [describe]
    DeviceInfo device(properties);
    device.loadBaseInfo();
    //! [describe]
    return device.usbProductName();
}

bool copying(const String &from, const String &to)
{
    const auto progress = std::make_shared<FastFileCopyerDelegate>();
    //! [copy]
    auto copier = std::make_shared<FastFileCopyer>();
    copier->setDelegate(progress); // not kept alive
    copier->fileCopyFromPath(from, to); // on this thread
    const bool isCopied = copier->state() == 2 && copier->failedCount() == 0;
    //! [copy]
    return isCopied;
}

int databases(const String &path, const String &title, int seconds)
{
    //! [rows]
    SqliteHelper library(path);
    library.executeUpdate("CREATE TABLE IF NOT EXISTS song (title TEXT, seconds INTEGER)");
    library.executeUpdate("INSERT INTO song VALUES (?, ?)", {title, seconds});
    const int count = library.intForQuery("SELECT COUNT(*) FROM song WHERE seconds > ?", 60);
    //! [rows]
    return count;
}

int manyRows(const String &path)
{
    SqliteHelper library(path);
    //! [many]
    FMDatabase &connection = *library.connection();
    connection.beginTransaction();
    for (int number = 0; number < 1000; ++number)
        connection.executeUpdate("INSERT INTO song VALUES (?, ?)", {"one of many", number});
    connection.commit();
    //! [many]
    return library.intForQuery("SELECT COUNT(*) FROM song");
}

void logging()
{
    //! [log]
    ZenLogger::defaultLogger().setSink([](LogLevel level, const String &line) { show(level, line); });
    ZenLogger::defaultLogger().setLevel(LogLevel::Error);
    //! [log]
    ZenLogger::defaultLogger().ZenLogError("an error");
    ZenLogger::defaultLogger().setSink(nullptr);
}

} // namespace

int main(int, char **arguments)
{
    const String samples = arguments[1];
    const String folder = arguments[2];
    Utils::createDirectory(folder);
    items();
    media(pathCombine(samples, "Music/01 Ebb.mp3"));
    logging();
    Utils::deleteFile(pathCombine(folder, "copy.jpg"));
    Utils::deleteFile(pathCombine(folder, "library.sqlite"));
    const bool isRight = !photos(pathCombine(samples, "Photos/Hills.jpg"), pathCombine(folder, "none.jpg"))
        && devices({{"USB Product Name", "L3"}}) == "L3"
        && copying(pathCombine(samples, "Photos/Hills.jpg"), pathCombine(folder, "copy.jpg"))
        && databases(pathCombine(folder, "library.sqlite"), "Ebb", 61) == 1
        && manyRows(pathCombine(folder, "library.sqlite")) == 1001
        && shown == 2 + static_cast<int>(MediaBase::fields().size());
    std::puts(isRight ? "as the pages say" : "not as the pages say");
}

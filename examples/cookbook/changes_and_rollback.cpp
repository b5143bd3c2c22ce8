// SPDX-License-Identifier: Apache-2.0
#include <kelvane/kelvane.h>

#include <cstdio>

using namespace kelvane;

//! [recipe]
struct Song {
    String title;
};
using SongItem = TypedDataItem<Song>;

std::shared_ptr<SongItem> makeSong(const char *title)
{
    auto item = std::make_shared<SongItem>();
    item->record()->title = title;
    return item;
}

void printChanges(const char *when, const DataItemList &list)
{
    std::printf("%s: %d songs\n", when, list.count());
    for (const auto &changed : list.getChanges()) {
        const auto song = std::static_pointer_cast<SongItem>(changed);
        const bool isAdded = song->itemState() == DataItemState::Added;
        const bool isDeleted = song->itemState() == DataItemState::Deleted;
        std::printf("  %s %s\n",
            isAdded         ? "added   "
                : isDeleted ? "deleted "
                            : "modified",
            song->record()->title.c_str());
    }
}

int main()
{
    auto list = std::make_shared<ObservableDataItemList>();
    for (const char *title : {"Ebb", "Flood", "Bell"})
        list->addItem(makeSong(title));
    list->acceptChanges(); // what was read from the library is no change

    auto flood = std::static_pointer_cast<SongItem>(list->itemAtIndex(1));
    flood->beginEdit(); // record() is now a copy
    flood->record()->title = "High water";
    flood->endEdit();
    list->removeItem(list->itemAtIndex(2)); // stays in the list, marked as deleted, until that is committed
    list->addItem(makeSong("Pears"));
    printChanges("edited", *list);

    flood->rejectChanges(); // takes back what was done to one item
    std::printf("its title is %s again\n", flood->record()->title.c_str());
    list->acceptChanges(); // commits the rest; rejectChanges() would take all of it back
    printChanges("committed", *list);
}
//! [recipe]

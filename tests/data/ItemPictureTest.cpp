// SPDX-License-Identifier: Apache-2.0

// The picture of an item's states tells its transitions in the titles of its arrows. Each is tried on a real item.
#include <kelvane/data/ObservableDataItemList.h>
#include <kelvane/data/TypedDataItem.h>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <regex>
#include <string>

using namespace kelvane;

namespace {

struct Song {};
using SongItem = TypedDataItem<Song>;

struct Library {
    std::shared_ptr<ObservableDataItemList> list = std::make_shared<ObservableDataItemList>();
    std::shared_ptr<SongItem> item = std::make_shared<SongItem>();

    void perform(const std::string &operation)
    {
        const std::map<std::string, std::function<void()>> operations = {
            {"addItem()", [this] { list->addItem(item); }},
            {"removeItem()", [this] { list->removeItem(item); }},
            {"acceptChanges()", [this] { item->acceptChanges(); }},
            {"rejectChanges()", [this] { item->rejectChanges(); }},
            {"deleteItem()", [this] { item->deleteItem(); }},
            {"setModified()", [this] { item->setModified(); }},
            {"setAdded()", [this] { item->setAdded(); }},
            {"endEdit()",
                [this] {
                    item->beginEdit();
                    item->endEdit();
                }},
        };
        operations.at(operation)();
    }
    void bringTo(const std::string &state)
    {
        if (state == "Detached")
            return;
        perform("addItem()");
        if (state == "Added")
            return;
        perform("acceptChanges()");
        if (state == "Modified")
            perform("endEdit()");
        if (state == "Deleted")
            perform("removeItem()");
    }
};

std::string nameOf(DataItemState state)
{
    const std::map<DataItemState, std::string> names = {{DataItemState::Detached, "Detached"},
        {DataItemState::Unchanged, "Unchanged"}, {DataItemState::Added, "Added"}, {DataItemState::Deleted, "Deleted"},
        {DataItemState::Modified, "Modified"}};
    return names.at(state);
}

} // namespace

TEST(ItemPicture, EveryArrowIsATransition)
{
    std::ifstream file(KELVANE_SOURCE_DIR "/docs/pictures/items.svg");
    const std::string picture{std::istreambuf_iterator<char>(file), {}};
    const std::regex transition("(\\w+): (\\w+\\(\\)) -&gt; (\\w+)");
    int tried = 0;
    for (std::sregex_iterator match(picture.begin(), picture.end(), transition), end; match != end; ++match, ++tried) {
        const std::string from = (*match)[1];
        const std::string operation = (*match)[2];
        SCOPED_TRACE(match->str());
        Library library;
        library.bringTo(from);
        ASSERT_EQ(nameOf(library.item->itemState()), from);
        library.perform(operation);
        EXPECT_EQ(nameOf(library.item->itemState()), (*match)[3]);
    }
    EXPECT_EQ(tried, 14);
}

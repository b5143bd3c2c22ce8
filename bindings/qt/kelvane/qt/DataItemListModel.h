// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/DataItemList.h>
#include <kelvane/qt/ItemField.h>

#include <QAbstractTableModel>

#include <memory>
#include <unordered_set>
#include <vector>

namespace kelvane::qt {

class ListFollower;
struct ItemSnapshot;
struct ListNews;

/// A data-item list as rows of a Qt view: one row an item, one column and one role a field. It follows the list's
/// events, whichever thread raises them.
///
///     auto songs = std::make_shared<FollowedDataItemList>();
///     auto *model = new DataItemListModel(songs, {titleField, artistField}, window);
///     view->setModel(model);
///
/// What is shown of an item are the values that its record had at its last event: they are read during the event, on
/// the thread that changes the item, so that no view ever reads a record that somebody is changing, and shows an open
/// edit only once it has ended. The rows follow as soon as the event loop of the model's thread gets to it, all news at
/// once. An item that an event says is leaving is gone from that moment on.
///
/// A list tells nobody of what listAdd(), listRemove() and the like do, nor of the removal of an item that was never
/// committed. Of that a model hears at once from a FollowedDataItemList; of other lists with the next item that comes or
/// goes, or when synchronise() is called.
///
/// Threads: that of the model, as with every QObject. The list and its items may be changed on any. Not to be destroyed
/// by a watcher of its list.
/// Ownership: keeps its list and, through its rows, the items. The list does not keep the model.
/// Errors: nothing throws but std::bad_alloc. A list without watchers of its own (DataItemList itself) is only followed
/// by synchronise().
class KELVANE_EXPORT DataItemListModel : public QAbstractTableModel {
    Q_OBJECT

public:
    using Item = DataItemList::Item;

    enum Role {
        StateRole = Qt::UserRole, ///< the item's DataItemState as a number
        FirstFieldRole, ///< of the first field; the others follow
    };

    /// Shows the items that are in the list now: no other thread may be changing their records in place meanwhile.
    DataItemListModel(std::shared_ptr<DataItemList> list, std::vector<ItemField> fields, QObject *parent = nullptr);
    ~DataItemListModel() override;

    [[nodiscard]] const std::shared_ptr<DataItemList> &list() const noexcept { return _list; }
    [[nodiscard]] const std::vector<ItemField> &fields() const noexcept { return *_fields; }
    /// Null where there is no such row.
    [[nodiscard]] Item itemAt(int row) const;
    /// -1 where the item is not shown. Looks through the rows where list and rows differ at the moment.
    [[nodiscard]] int rowOf(const Item &item) const;
    /// In which state the row is shown; DataItemState{} where there is no such row.
    [[nodiscard]] DataItemState stateAt(int row) const;

    /// Makes the rows those of the list at once, with all news that are waiting. Items that came without an event get
    /// their values from their records as they are now. For code that has changed the list on this thread and goes on
    /// with the rows, and after changes without events. Does nothing when called while the rows are changing.
    void synchronise();

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;
    /// A field is editable if it has a `write`, as long as its item is not deleted.
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;
    /// Changes the item the way the list can take back: a copy of its record gets the value and becomes the record,
    /// between the events changing and changed. An added item gets such a copy, too, instead of a change in place. The
    /// value that is shown already changes nothing. False where the field cannot be written, and while an edit of the
    /// item is open elsewhere.
    bool setData(const QModelIndex &index, const QVariant &value, int role = Qt::EditRole) override;

private:
    struct Update;

    Q_INVOKABLE void flush();
    void bringUpToDate(bool readsUnknown);
    void receive(ListNews news, Update &update);
    void showChanged(std::vector<int> rows);
    void showRowsOfList(Update &update, bool readsUnknown);
    void removeRange(std::size_t first, std::size_t count, Update &update);
    void insertRange(std::size_t first, std::size_t count, const std::vector<const IDataItem *> &items, Update &update);
    [[nodiscard]] const ItemSnapshot *rowAt(int row) const;
    [[nodiscard]] int fieldOf(const QModelIndex &index, int role) const;

    const std::shared_ptr<DataItemList> _list;
    const std::shared_ptr<const std::vector<ItemField>> _fields;
    std::vector<ItemSnapshot> _rows;
    // Items whose last event says that they leave the list. They may still be in it for a moment.
    std::unordered_set<Item> _leaving;
    bool _isUpdating = false;
    bool _isUpdateDue = false;
    // The last one: it goes first, and nothing comes in any more.
    const std::unique_ptr<ListFollower> _follower;
};

} // namespace kelvane::qt

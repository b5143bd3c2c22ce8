// SPDX-License-Identifier: Apache-2.0
#include <kelvane/qt/DataItemListModel.h>

#include "ItemSnapshot_p.h"
#include "ListFollower_p.h"
#include "RowSteps_p.h"

#include <kelvane/data/DataItem.h>

#include <QScopedValueRollback>

#include <algorithm>
#include <unordered_map>

namespace kelvane::qt {

/// What one update of the rows has to do.
struct DataItemListModel::Update {
    explicit Update(const std::vector<ItemSnapshot> &shown) : rows(shown) {}

    /// The row of `item` as the rows were before the update, -1 where it has none. `hint` is asked first.
    [[nodiscard]] int rowOf(const IDataItem *item, std::int32_t hint)
    {
        if (hint >= 0 && static_cast<std::size_t>(hint) < rows.size()
            && rows[static_cast<std::size_t>(hint)].item.get() == item)
            return hint;
        if (rowByItem.empty()) {
            rowByItem.reserve(rows.size());
            for (std::size_t row = 0; row < rows.size(); ++row)
                rowByItem.try_emplace(rows[row].item.get(), static_cast<int>(row));
        }
        const auto found = rowByItem.find(item);
        return found == rowByItem.end() ? -1 : found->second;
    }

    const std::vector<ItemSnapshot> &rows;
    std::unordered_map<const IDataItem *, int> rowByItem{};
    /// Items that have no row, or have lost it, and may get one.
    std::unordered_map<const IDataItem *, ItemSnapshot> arrived{};
    std::vector<int> changed{};
    bool isListChanged = false;
};

DataItemListModel::DataItemListModel(std::shared_ptr<DataItemList> list, std::vector<ItemField> fields, QObject *parent)
    : QAbstractTableModel(parent),
      _list(list ? std::move(list) : std::make_shared<DataItemList>()),
      _fields(std::make_shared<const std::vector<ItemField>>(std::move(fields))),
      _follower(std::make_unique<ListFollower>(this, _list, _fields))
{
    synchronise();
}

DataItemListModel::~DataItemListModel() = default;

// Following the list -----------------------------------------------------------------------------------------------------

void DataItemListModel::synchronise()
{
    bringUpToDate(true);
}

void DataItemListModel::flush()
{
    bringUpToDate(false);
}

void DataItemListModel::bringUpToDate(bool readsUnknown)
{
    // A slot that is told of a change may run an event loop, or call what brings it here. The rows are half changed
    // then; what is due is done when they are whole again.
    _isUpdateDue = true;
    if (_isUpdating)
        return;
    const QScopedValueRollback updating(_isUpdating, true);
    while (std::exchange(_isUpdateDue, false)) {
        Update update(_rows);
        for (ListNews &news : _follower->takeNews())
            receive(std::move(news), update);
        showChanged(std::move(update.changed));
        if (update.isListChanged || readsUnknown)
            showRowsOfList(update, readsUnknown);
    }
}

void DataItemListModel::receive(ListNews news, Update &update)
{
    const Item &item = news.snapshot.item;
    switch (news.kind) {
    case ListNews::ContentChanged:
        update.isListChanged = true;
        return;
    case ListNews::Leaves:
        update.isListChanged = true;
        update.arrived.erase(item.get());
        _leaving.insert(item);
        return;
    case ListNews::Comes:
        update.isListChanged = true;
        _leaving.erase(item);
        break;
    case ListNews::Changed:
        break;
    }
    if (const int row = update.rowOf(item.get(), _list->indexOf(item)); row >= 0) {
        ItemSnapshot &shown = _rows[static_cast<std::size_t>(row)];
        if (shown == news.snapshot)
            return;
        shown = std::move(news.snapshot);
        update.changed.push_back(row);
        return;
    }
    update.isListChanged = true;
    const IDataItem *key = item.get();
    update.arrived.insert_or_assign(key, std::move(news.snapshot));
}

void DataItemListModel::showChanged(std::vector<int> rows)
{
    if (_fields->empty())
        return;
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    for (std::size_t begin = 0, end = 0; begin < rows.size(); begin = end) {
        while (end < rows.size() && rows[end] == rows[begin] + static_cast<int>(end - begin))
            ++end;
        Q_EMIT dataChanged(index(rows[begin], 0), index(rows[end - 1], columnCount() - 1));
    }
}

void DataItemListModel::showRowsOfList(Update &update, bool readsUnknown)
{
    const DataItemList::Items items = _list->toArray();
    std::vector<const IDataItem *> after;
    after.reserve(items.size());
    std::unordered_set<Item> stillLeaving;
    std::size_t next = 0; // the row that follows the last one found, where the next one usually is
    for (const Item &item : items) {
        if (!_leaving.empty() && _leaving.contains(item)) {
            stillLeaving.insert(item);
            continue;
        }
        if (next < _rows.size() && _rows[next].item == item) {
            ++next;
        } else if (!update.arrived.contains(item.get())) {
            if (const int row = update.rowOf(item.get(), -1); row >= 0)
                next = static_cast<std::size_t>(row) + 1;
            else if (readsUnknown)
                update.arrived.emplace(item.get(), ItemSnapshot::read(item, *_fields));
            else
                continue; // its event is on the way
        }
        after.push_back(item.get());
    }
    _leaving = std::move(stillLeaving);

    std::vector<const IDataItem *> before;
    before.reserve(_rows.size());
    for (const ItemSnapshot &row : _rows)
        before.push_back(row.item.get());
    const RowSteps steps = rowSteps(before, after);
    for (const RowSteps::Range &range : steps.removed)
        removeRange(range.first, range.count, update);
    for (const RowSteps::Range &range : steps.inserted)
        insertRange(range.first, range.count, after, update);
}

void DataItemListModel::removeRange(std::size_t first, std::size_t count, Update &update)
{
    beginRemoveRows({}, static_cast<int>(first), static_cast<int>(first + count) - 1);
    const auto begin = _rows.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = begin + static_cast<std::ptrdiff_t>(count);
    // Kept for those that only change their place; the others go with the update, when the rows are whole.
    for (auto row = begin; row != end; ++row) {
        const IDataItem *key = row->item.get();
        update.arrived.try_emplace(key, std::move(*row));
    }
    _rows.erase(begin, end);
    endRemoveRows();
}

void DataItemListModel::insertRange(
    std::size_t first, std::size_t count, const std::vector<const IDataItem *> &items, Update &update)
{
    std::vector<ItemSnapshot> added;
    added.reserve(count);
    for (std::size_t row = first; row < first + count; ++row) {
        const auto arrived = update.arrived.find(items[row]);
        // An item that is in the list once more shows there what it shows elsewhere.
        added.push_back(arrived != update.arrived.end()
                ? arrived->second
                : *std::find_if(_rows.begin(), _rows.end(),
                    [&](const ItemSnapshot &shown) { return shown.item.get() == items[row]; }));
    }
    beginInsertRows({}, static_cast<int>(first), static_cast<int>(first + count) - 1);
    _rows.insert(_rows.begin() + static_cast<std::ptrdiff_t>(first), std::move_iterator(added.begin()),
        std::move_iterator(added.end()));
    endInsertRows();
}

// Showing ----------------------------------------------------------------------------------------------------------------

const ItemSnapshot *DataItemListModel::rowAt(int row) const
{
    return row >= 0 && static_cast<std::size_t>(row) < _rows.size() ? &_rows[static_cast<std::size_t>(row)] : nullptr;
}

DataItemListModel::Item DataItemListModel::itemAt(int row) const
{
    const ItemSnapshot *shown = rowAt(row);
    return shown ? shown->item : nullptr;
}

DataItemState DataItemListModel::stateAt(int row) const
{
    const ItemSnapshot *shown = rowAt(row);
    return shown ? shown->state : DataItemState{};
}

int DataItemListModel::rowOf(const Item &item) const
{
    if (const int hint = _list->indexOf(item); itemAt(hint) == item && item)
        return hint;
    const auto row =
        std::find_if(_rows.begin(), _rows.end(), [&](const ItemSnapshot &shown) { return shown.item == item; });
    return row == _rows.end() ? -1 : static_cast<int>(row - _rows.begin());
}

int DataItemListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(_rows.size());
}

int DataItemListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(_fields->size());
}

// The number of the field that `role` asks for at `index`, -1 where it asks for none.
int DataItemListModel::fieldOf(const QModelIndex &index, int role) const
{
    const int field = role == Qt::DisplayRole || role == Qt::EditRole ? index.column() : role - FirstFieldRole;
    return field >= 0 && field < columnCount() ? field : -1;
}

QVariant DataItemListModel::data(const QModelIndex &index, int role) const
{
    const ItemSnapshot *row = rowAt(index.row());
    if (!row)
        return {};
    if (role == StateRole)
        return QVariant::fromValue(static_cast<qulonglong>(row->state));
    const int field = fieldOf(index, role);
    return field < 0 ? QVariant() : row->values[static_cast<std::size_t>(field)];
}

QVariant DataItemListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= columnCount())
        return QAbstractTableModel::headerData(section, orientation, role);
    return (*_fields)[static_cast<std::size_t>(section)].title;
}

QHash<int, QByteArray> DataItemListModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractTableModel::roleNames();
    names.insert(StateRole, "state");
    for (int field = 0; field < columnCount(); ++field)
        names.insert(FirstFieldRole + field, (*_fields)[static_cast<std::size_t>(field)].name);
    return names;
}

// Editing ----------------------------------------------------------------------------------------------------------------

Qt::ItemFlags DataItemListModel::flags(const QModelIndex &index) const
{
    const Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    const ItemSnapshot *row = rowAt(index.row());
    if (!row || index.column() >= columnCount() || !(*_fields)[static_cast<std::size_t>(index.column())].write)
        return flags;
    constexpr auto editable = DataItemState::Added | DataItemState::Modified | DataItemState::Unchanged;
    return isAnyOf(row->state, editable) ? flags | Qt::ItemIsEditable : flags;
}

bool DataItemListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const ItemSnapshot *row = rowAt(index.row());
    const int number = fieldOf(index, role);
    if (!row || number < 0)
        return false;
    const ItemField &field = (*_fields)[static_cast<std::size_t>(number)];
    const auto item = std::dynamic_pointer_cast<DataItem>(row->item);
    if (!field.write || !item)
        return false;
    if (row->values[static_cast<std::size_t>(number)] == value)
        return true;
    const bool isWritten = writeField(*_list, item, field, value);
    bringUpToDate(false);
    return isWritten;
}

} // namespace kelvane::qt

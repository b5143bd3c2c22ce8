// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/data/DataItem.h>
#include <kelvane/foundation/Exception.h>

#include <memory>
#include <utility>

namespace kelvane {

/// An item whose records are of the type `Record`, which can be made without arguments and copied:
///
///     using SongItem = TypedDataItem<Song>;
///     auto item = std::make_shared<SongItem>();
///     item->record()->title = "Blue";
///
/// Records handed in must be a `Record` itself: a class derived from it would be cut down by copying. Override
/// templeClass() and copyRecord() for such families, or where a copy must be deeper than the copy constructor's.
///
/// Threads, Ownership: as DataItem.
/// Errors: copyRecord() raises InvalidArgumentException for an object that was not handed in as a `Record`.
template <class Record>
class TypedDataItem : public DataItem {
public:
    /// The records of DataItem by their type; null also where the record was not handed in as a `Record`.
    [[nodiscard]] std::shared_ptr<Record> record() const { return DataItem::record().template as<Record>(); }
    void setRecord(std::shared_ptr<Record> record) { DataItem::setRecord(std::move(record)); }
    [[nodiscard]] std::shared_ptr<Record> originalRecord() const
    {
        return DataItem::originalRecord().template as<Record>();
    }

    [[nodiscard]] Object copyRecord(const Object &record) const override
    {
        if (!record)
            return nullptr;
        const auto source = record.template as<const Record>();
        if (!source)
            throw Exception("InvalidArgumentException", "copyRecord: the record is of another type");
        return std::make_shared<Record>(*source);
    }

    [[nodiscard]] RecordClass templeClass() const override
    {
        static const RecordClass recordClass = [] { return Object(std::make_shared<Record>()); };
        return recordClass;
    }
};

} // namespace kelvane

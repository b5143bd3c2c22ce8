// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <kelvane/foundation/Object.h>

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <functional>
#include <utility>

namespace kelvane::qt {

/// One value of a record as views see it: a role with a name, and a column with a title.
///
///     ItemField::of<Song>("title", "Title",
///         [](const Song &song) { return QString::fromStdString(song.title); },
///         [](Song &song, const QVariant &value) { song.title = value.toString().toStdString(); return true; })
///
/// Threads: `read` is called on whichever thread changes an item, `write` on that of the model, on a record that nobody
/// else sees. Both are quick and look at nothing but the record.
/// Errors: what they throw is logged; `read` then gives an invalid value, `write` has failed.
struct ItemField {
    /// Of the role; QML and QDataWidgetMapper know the value by it.
    QByteArray name{};
    /// Of the column.
    QString title{};
    std::function<QVariant(const Object &record)> read{};
    /// Sets the value and says whether it could be set. Empty for a value that is not edited.
    std::function<bool(const Object &record, const QVariant &value)> write{};

    /// A value that is only shown, of records that are handed in as `Record`.
    template <class Record, class Read>
    [[nodiscard]] static ItemField of(QByteArray name, QString title, Read read)
    {
        ItemField field{std::move(name), std::move(title)};
        field.read = [read = std::move(read)](const Object &record) {
            const auto typed = record.as<const Record>();
            return typed ? QVariant(read(*typed)) : QVariant();
        };
        return field;
    }
    /// A value that is edited, too.
    template <class Record, class Read, class Write>
    [[nodiscard]] static ItemField of(QByteArray name, QString title, Read read, Write write)
    {
        ItemField field = of<Record>(std::move(name), std::move(title), std::move(read));
        field.write = [write = std::move(write)](const Object &record, const QVariant &value) {
            const auto typed = record.as<Record>();
            return typed && write(*typed, value);
        };
        return field;
    }
};

} // namespace kelvane::qt

// SPDX-License-Identifier: Apache-2.0
#include "MediaModel.h"

#include "MediaFile.h"

#include <kelvane/qt/Conversions.h>

#include <QFont>
#include <QGuiApplication>
#include <QPalette>

namespace browser {

using namespace kelvane;
using qt::ItemField;

namespace {

ItemField text(QByteArray name, QString title, String MediaFile::*member)
{
    return ItemField::of<MediaFile>(
        std::move(name), std::move(title), [member](const MediaFile &file) { return qt::toQString(file.*member); });
}

QString kindText(std::int64_t mediaType)
{
    return mediaType == 1 ? "Song" : mediaType == 2 ? "Film" : "Picture";
}

QString lengthText(int seconds)
{
    return seconds ? QString("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QChar('0')) : QString();
}

bool setTitle(MediaFile &file, const QVariant &value)
{
    const QString title = value.toString().trimmed();
    if (!title.isEmpty())
        file.title = qt::fromQString(title);
    return !title.isEmpty();
}

// In the order of MediaModel::Column.
std::vector<ItemField> mediaFields()
{
    ItemField title = ItemField::of<MediaFile>(
        "title", "Title", [](const MediaFile &file) { return qt::toQString(file.title); }, setTitle);
    return {std::move(title), text("artist", "Artist", &MediaFile::artist), text("album", "Album", &MediaFile::album),
        ItemField::of<MediaFile>("length", "Length", [](const MediaFile &file) { return lengthText(file.seconds); }),
        ItemField::of<MediaFile>("kind", "Kind", [](const MediaFile &file) { return kindText(file.mediaType); }),
        ItemField{"change", QString(), {}, {}}, text("path", "Path", &MediaFile::path),
        ItemField::of<MediaFile>("mediaType", "Type", [](const MediaFile &file) { return int(file.mediaType); }),
        ItemField::of<MediaFile>("hasTags", "Tags", [](const MediaFile &file) { return file.hasTags; })};
}

} // namespace

MediaModel::MediaModel(std::shared_ptr<DataItemList> list, QObject *parent)
    : DataItemListModel(std::move(list), mediaFields(), parent),
      _artwork(new ArtworkCache(this))
{
    connect(_artwork, &ArtworkCache::loaded, this, [this](const QString &path) {
        for (int row = 0; row < rowCount(); ++row)
            if (field(index(row, 0), Path) == path)
                Q_EMIT dataChanged(index(row, Title), index(row, Title), {Qt::DecorationRole});
    });
}

QVariant MediaModel::field(const QModelIndex &index, Column column) const
{
    return DataItemListModel::data(index, static_cast<int>(FirstFieldRole) + static_cast<int>(column));
}

QVariant MediaModel::data(const QModelIndex &index, int role) const
{
    const bool isEdited = stateAt(index.row()) == DataItemState::Modified;
    switch (role) {
    case Qt::DecorationRole:
        if (index.column() == Title)
            return _artwork->icon(field(index, Path).toString(), field(index, MediaType).toInt());
        break;
    case Qt::DisplayRole:
        if (index.column() == Change)
            return isEdited ? QString("edited") : QString();
        break;
    case Qt::ForegroundRole:
        if (index.column() == Change)
            return qGuiApp->palette().brush(QPalette::Link);
        if (index.column() != Title)
            return qGuiApp->palette().brush(QPalette::PlaceholderText);
        break;
    case Qt::FontRole:
        if (isEdited && index.column() == Title) {
            QFont font;
            font.setBold(true);
            return font;
        }
        break;
    case Qt::TextAlignmentRole:
        if (index.column() == Length)
            return QVariant::fromValue(Qt::AlignRight | Qt::AlignVCenter);
        break;
    case Qt::ToolTipRole:
        return field(index, Path);
    default:
        break;
    }
    return DataItemListModel::data(index, role);
}

Qt::ItemFlags MediaModel::flags(const QModelIndex &index) const
{
    const Qt::ItemFlags flags = DataItemListModel::flags(index);
    return field(index, HasTags).toBool() ? flags : flags & ~Qt::ItemIsEditable;
}

} // namespace browser

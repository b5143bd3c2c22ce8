// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ArtworkCache.h"

#include <kelvane/qt/DataItemListModel.h>

namespace browser {

/// The list of media files as the window shows it: artwork beside the titles, edited titles marked.
class MediaModel : public kelvane::qt::DataItemListModel {
    Q_OBJECT

public:
    enum Column { Title, Artist, Album, Length, Kind, Change, Path, MediaType, HasTags };
    static constexpr int shownColumns = Path; ///< those behind are for the program

    explicit MediaModel(std::shared_ptr<kelvane::DataItemList> list, QObject *parent = nullptr);

    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    /// Only titles, and only of files that have tags.
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;

private:
    [[nodiscard]] QVariant field(const QModelIndex &index, Column column) const;

    ArtworkCache *_artwork;
};

} // namespace browser

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/data/Songs.h"

#include <kelvane/qt/DataItemListModel.h>
#include <kelvane/qt/FollowedDataItemList.h>

#include <QAbstractItemModelTester>
#include <QCoreApplication>

#include <string>
#include <vector>

namespace kelvane::testsupport {

inline std::vector<qt::ItemField> songFields()
{
    return {qt::ItemField::of<Song>(
                "title", "Title", [](const Song &song) { return QString::fromStdString(song.title); },
                [](Song &song, const QVariant &value) {
                    if (value.toString() == "forbidden")
                        return false;
                    song.title = value.toString().toStdString();
                    return true;
                }),
        qt::ItemField::of<Song>(
            "length", "Length", [](const Song &song) { return static_cast<int>(song.title.size()); })};
}

/// A model over a list, watched by Qt's own tester, which aborts when the model breaks a rule.
template <class List = qt::FollowedDataItemList>
struct SongModel {
    explicit SongModel(std::shared_ptr<List> songs = std::make_shared<List>()) : list(std::move(songs)) {}

    std::shared_ptr<SongItem> add(const std::string &title)
    {
        auto item = makeSong(title);
        list->addItem(item);
        return item;
    }
    std::shared_ptr<SongItem> addUnchanged(const std::string &title)
    {
        auto item = add(title);
        item->acceptChanges();
        return item;
    }
    /// What the view would show once the event loop has run.
    std::string shown()
    {
        QCoreApplication::processEvents();
        return titles();
    }
    [[nodiscard]] std::string titles() const
    {
        std::string text;
        for (int row = 0; row < model.rowCount(); ++row)
            text += (row ? " " : "") + model.index(row, 0).data().toString().toStdString();
        return text;
    }

    std::shared_ptr<List> list;
    qt::DataItemListModel model{list, songFields()};
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::Fatal};
};

} // namespace kelvane::testsupport

// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "MediaModel.h"

#include <kelvane/common/AsyncTaskIOS.h>
#include <kelvane/qt/FollowedDataItemList.h>

#include <QMainWindow>

#include <functional>
#include <memory>

class QAction;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QSortFilterProxyModel;
class QTreeView;

namespace kelvane::qt {
class TaskSignals;
}

namespace browser {

/// A folder's media in a list: titles are edited, committed into the files or rolled back; the folder is synchronised
/// to that of a device. One piece of work at a time runs beside the window, with its progress and a way to stop it.
class BrowserWindow : public QMainWindow {
    Q_OBJECT

public:
    explicit BrowserWindow(QWidget *parent = nullptr);
    ~BrowserWindow() override;

    void openFolder(const QString &folder);
    void commit();
    void rollBack();
    void syncTo(const QString &device);

Q_SIGNALS:
    /// The work that was started last is over.
    void workEnded(bool isSuccess);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void makeActions();
    void makeList();
    void makeStatusBar();
    void askForFolder();
    void askForDevice();
    void work(const std::shared_ptr<kelvane::AsyncTaskIOS> &task, const QString &what,
        std::function<QString(bool isSuccess)> summary);
    void workIsOver(const QString &summary, const QString &error, bool isSuccess);
    void updateActions();
    [[nodiscard]] int editedCount() const;

    QString _folder;
    std::shared_ptr<kelvane::qt::FollowedDataItemList> _list;
    MediaModel *_model = nullptr;
    kelvane::qt::TaskSignals *_working = nullptr;

    QSortFilterProxyModel *_sorted = nullptr;
    QTreeView *_view = nullptr;
    QLineEdit *_filter = nullptr;
    QAction *_open = nullptr;
    QAction *_commit = nullptr;
    QAction *_rollBack = nullptr;
    QAction *_sync = nullptr;
    QAction *_stop = nullptr;
    QLabel *_message = nullptr;
    QProgressBar *_progress = nullptr;
    QPushButton *_cancel = nullptr;
};

} // namespace browser

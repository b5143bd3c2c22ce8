// SPDX-License-Identifier: Apache-2.0
#include "BrowserWindow.h"

#include "MediaTasks.h"
#include "SyncTask.h"

#include <kelvane/qt/Conversions.h>
#include <kelvane/qt/TaskSignals.h>

#include <QAction>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QStandardPaths>
#include <QStatusBar>
#include <QStyledItemDelegate>
#include <QToolBar>
#include <QTreeView>

namespace browser {

using namespace kelvane;
using qt::TaskSignals;

namespace {

// Beside this program as it is built and packaged, else wherever the user has it.
QString kelvaneCommand()
{
    const QDir here(QCoreApplication::applicationDirPath());
    const QString beside = QStandardPaths::findExecutable("kelvane", {here.path(), here.filePath("..")});
    return beside.isEmpty() ? QStandardPaths::findExecutable("kelvane") : beside;
}

// Views give an open editor the old text back whenever anything of its cell changes, such as the artwork that has just
// been read. What the user is typing stays, as long as the title itself is the same.
class TitleDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void setEditorData(QWidget *editor, const QModelIndex &index) const override
    {
        const QVariant title = index.data(Qt::EditRole);
        if (editor->property("givenTitle") == title)
            return;
        editor->setProperty("givenTitle", title);
        QStyledItemDelegate::setEditorData(editor, index);
    }
};

QString counted(int count, const QString &what)
{
    return QString("%1 %2%3").arg(count).arg(what, count == 1 ? "" : "s");
}

} // namespace

BrowserWindow::BrowserWindow(QWidget *parent)
    : QMainWindow(parent),
      _list(std::make_shared<qt::FollowedDataItemList>()),
      _sorted(new QSortFilterProxyModel(this)),
      _view(new QTreeView)
{
    setWindowTitle("Kelvane[*]");
    resize(920, 600);
    makeActions();
    makeList();
    makeStatusBar();
    updateActions();
}

BrowserWindow::~BrowserWindow() = default;

void BrowserWindow::makeActions()
{
    const auto add = [this](const QString &text, const QKeySequence &key, auto slot) {
        auto *action = new QAction(text, this);
        action->setShortcut(key);
        action->setToolTip(QString("%1 (%2)").arg(text, key.toString(QKeySequence::NativeText)));
        connect(action, &QAction::triggered, this, slot);
        addAction(action);
        return action;
    };
    _open = add("Open folder…", QKeySequence::Open, &BrowserWindow::askForFolder);
    _commit = add("Commit", QKeySequence::Save, &BrowserWindow::commit);
    _rollBack = add("Roll back", QKeySequence("Ctrl+R"), &BrowserWindow::rollBack);
    _sync = add("Sync…", QKeySequence("Ctrl+D"), &BrowserWindow::askForDevice);
    _stop = add("Cancel", QKeySequence("Ctrl+."), [this] { _working->cancel(); });
    add("Find", QKeySequence::Find, [this] { _filter->setFocus(); });

    auto *bar = addToolBar("Actions");
    bar->setMovable(false);
    bar->setStyleSheet("QToolBar { padding: 6px; spacing: 4px; } QToolButton { padding: 4px 10px; }");
    bar->addAction(_open);
    bar->addSeparator();
    bar->addActions({_commit, _rollBack});
    bar->addSeparator();
    bar->addAction(_sync);
    auto *space = new QWidget;
    space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    bar->addWidget(space);
    _filter = new QLineEdit;
    _filter->setPlaceholderText("Find");
    _filter->setAccessibleName("Find");
    _filter->setClearButtonEnabled(true);
    _filter->setMaximumWidth(220);
    bar->addWidget(_filter);
    connect(_filter, &QLineEdit::textChanged, _sorted, &QSortFilterProxyModel::setFilterFixedString);
}

void BrowserWindow::makeList()
{
    _sorted->setFilterCaseSensitivity(Qt::CaseInsensitive);
    _sorted->setFilterKeyColumn(-1);
    _sorted->setSortLocaleAware(true);
    _sorted->setSortCaseSensitivity(Qt::CaseInsensitive);
    _view->setModel(_sorted);
    _view->setItemDelegateForColumn(MediaModel::Title, new TitleDelegate(_view));
    _view->setObjectName("media");
    _view->setAccessibleName("Media files");
    _view->setRootIsDecorated(false);
    _view->setUniformRowHeights(true);
    _view->setAllColumnsShowFocus(true);
    _view->setSortingEnabled(true);
    _view->sortByColumn(-1, Qt::AscendingOrder); // as in the folder, until a header is clicked
    _view->setIconSize(QSize(ArtworkCache::side, ArtworkCache::side));
    _view->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
    _view->setFrameShape(QFrame::NoFrame);
    // A border, even one of no width, is what makes room beside the texts and not only above them.
    _view->setStyleSheet(
        "QTreeView::item { border: 0; padding: 4px 8px; }"
        "QTreeView::item:selected { background: palette(highlight); color: palette(highlighted-text); }"
        "QHeaderView::section { padding: 4px 11px; }");
    setCentralWidget(_view);
}

void BrowserWindow::makeStatusBar()
{
    _message = new QLabel("Open a folder to see its media.");
    _progress = new QProgressBar;
    _progress->setRange(0, 100);
    _progress->setFixedWidth(220);
    _progress->setAccessibleName("Progress");
    _cancel = new QPushButton("Cancel");
    _cancel->setToolTip(_stop->toolTip());
    connect(_cancel, &QPushButton::clicked, _stop, &QAction::trigger);
    statusBar()->setSizeGripEnabled(false);
    statusBar()->setContentsMargins(8, 2, 8, 2);
    statusBar()->addWidget(_message, 1);
    statusBar()->addPermanentWidget(_progress);
    statusBar()->addPermanentWidget(_cancel);
}

// What the user does ----------------------------------------------------------------------------------------------------

void BrowserWindow::openFolder(const QString &folder)
{
    _folder = QDir(folder).absolutePath();
    // A list of its own for each folder: what still reads the last one fills a list that nobody shows.
    _list = std::make_shared<qt::FollowedDataItemList>();
    auto *last = std::exchange(_model, new MediaModel(_list, this));
    connect(_model, &QAbstractItemModel::dataChanged, this, &BrowserWindow::updateActions);
    _sorted->setSourceModel(_model);
    delete last;
    for (int column = 0; column < _model->columnCount(); ++column)
        _view->setColumnHidden(column, column >= MediaModel::shownColumns);
    constexpr int widths[] = {270, 170, 190, 76, 84, 80};
    for (int column = 0; column < int(std::size(widths)); ++column)
        _view->setColumnWidth(column, widths[column]);

    setWindowTitle(QString("%1[*] – Kelvane").arg(QDir(_folder).dirName()));
    work(readFolderTask(qt::fromQString(_folder), _list), "Reading the folder", [this](bool) {
        _model->synchronise();
        _view->setCurrentIndex(_sorted->index(0, MediaModel::Title));
        _view->setFocus();
        return counted(_list->count(), "file");
    });
}

void BrowserWindow::commit()
{
    const int count = editedCount();
    work(commitTask(*_list), QString("Writing %1").arg(counted(count, "title")),
        [=](bool) { return QString("%1 written").arg(counted(count, "title")); });
}

void BrowserWindow::rollBack()
{
    const int count = editedCount();
    _list->rejectChanges();
    _model->synchronise();
    _message->setText(QString("%1 rolled back").arg(counted(count, "edit")));
}

void BrowserWindow::syncTo(const QString &device)
{
    const auto task = std::make_shared<SyncTask>(
        qt::fromQString(kelvaneCommand()), qt::fromQString(_folder), qt::fromQString(device), _list->count());
    work(task, QString("Synchronising with %1").arg(QDir(device).dirName()),
        [=](bool) { return QString("%1 is up to date").arg(QDir(device).dirName()); });
}

void BrowserWindow::askForFolder()
{
    const QString folder = QFileDialog::getExistingDirectory(this, "Open a folder of media", _folder);
    if (!folder.isEmpty())
        openFolder(folder);
}

void BrowserWindow::askForDevice()
{
    const QString device = QFileDialog::getExistingDirectory(this, "Synchronise with the folder of a device");
    if (!device.isEmpty())
        syncTo(device);
}

// Work beside the window --------------------------------------------------------------------------------------------------

void BrowserWindow::work(
    const std::shared_ptr<AsyncTaskIOS> &task, const QString &what, std::function<QString(bool isSuccess)> summary)
{
    if (_working) {
        _working->disconnect(this);
        _working->cancel();
        _working->deleteLater();
    }
    _working = new TaskSignals(task, this);
    _message->setText(what + "…");
    _progress->setValue(0);
    connect(_working, &TaskSignals::progressChanged, _progress, &QProgressBar::setValue);
    connect(_working, &TaskSignals::stepChanged, this,
        [=, this](const QString &name) { _message->setText(QString("%1: %2").arg(what, QDir(name).dirName())); });
    connect(_working, &TaskSignals::finished, this, [=, this](bool isSuccess, const QString &error) {
        const bool isCancelled = _working->task()->isCancelled();
        workIsOver(isSuccess  ? summary(true)
                : isCancelled ? what + ": cancelled"
                              : what + ": failed",
            isSuccess || isCancelled ? QString() : error, isSuccess);
    });
    updateActions();
    task->startTask();
}

void BrowserWindow::workIsOver(const QString &summary, const QString &error, bool isSuccess)
{
    std::exchange(_working, nullptr)->deleteLater();
    _message->setText(error.isEmpty() ? summary : summary + ". " + error);
    updateActions();
    Q_EMIT workEnded(isSuccess);
}

int BrowserWindow::editedCount() const
{
    return static_cast<int>(_list->getChanges().size());
}

void BrowserWindow::updateActions()
{
    const bool isIdle = !_working;
    const bool isEdited = isIdle && editedCount() > 0;
    setWindowModified(isEdited);
    _commit->setEnabled(isEdited);
    _rollBack->setEnabled(isEdited);
    _sync->setEnabled(isIdle && _list->count() > 0);
    _stop->setEnabled(!isIdle);
    _progress->setVisible(!isIdle);
    _cancel->setVisible(!isIdle);
    // Tasks read the records meanwhile: an item belongs to one thread at a time.
    _view->setEditTriggers(isIdle ? QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed
                                  : QAbstractItemView::NoEditTriggers);
}

void BrowserWindow::closeEvent(QCloseEvent *event)
{
    if (_working) {
        const auto task = _working->task();
        task->cancel();
        task->sleep(1000); // a command that is synchronising ends by itself
    }
    event->accept();
}

} // namespace browser

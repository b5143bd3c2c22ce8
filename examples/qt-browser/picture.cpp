// SPDX-License-Identifier: Apache-2.0

// qt_browser_picture FOLDER DEVICE PNG: draws the window as it is while the folder, with one title edited, is being
// synchronised with the device. Whatever is shown happens: nothing is painted in.
#include "BrowserWindow.h"

#include <QApplication>
#include <QFont>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTest>
#include <QTreeView>

int main(int argc, char **argv)
{
    qputenv("QT_SCALE_FACTOR", "2");
    QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 4)
        return 2;
    QApplication::setStyle("Fusion");
    browser::BrowserWindow window;
    window.resize(900, 732); // whole rows
    window.show();
    auto &view = *window.findChild<QTreeView *>("media");
    QSignalSpy ended(&window, &browser::BrowserWindow::workEnded);
    window.openFolder(arguments[1]);
    const auto *progress = window.findChild<QProgressBar *>();
    if (!QTest::qWaitForWindowExposed(&window) || !ended.wait(60'000))
        return 1;
    QTest::qWait(3000); // for artwork, which may be missing

    const QModelIndex second = view.model()->index(1, browser::MediaModel::Title);
    view.model()->setData(second, "Flood at the Pier");
    view.setCurrentIndex(second);
    bool isSaved = false;
    QObject::connect(progress, &QProgressBar::valueChanged, [&](int percent) {
        if (percent >= 60 && percent < 90 && !isSaved)
            isSaved = window.grab().save(arguments[3], "PNG");
    });
    window.syncTo(arguments[2]);
    return ended.wait(60'000) && isSaved ? 0 : 1;
}

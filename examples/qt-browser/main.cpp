// SPDX-License-Identifier: Apache-2.0
#include "BrowserWindow.h"

#include <QApplication>

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QApplication::setApplicationDisplayName("Kelvane");
    browser::BrowserWindow window;
    window.show();
    if (application.arguments().size() > 1)
        window.openFolder(application.arguments().at(1));
    return QApplication::exec();
}

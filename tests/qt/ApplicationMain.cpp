// SPDX-License-Identifier: Apache-2.0

// Runs the tests of one program in one Qt application: event loops need it.
#include <QCoreApplication>

#include <gmock/gmock.h>

int main(int argc, char **argv)
{
    ::testing::InitGoogleMock(&argc, argv);
    const QCoreApplication application(argc, argv);
    return RUN_ALL_TESTS();
}

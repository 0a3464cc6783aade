// SPDX-License-Identifier: MIT
// The main() of the unit-test executables.

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QStandardPaths>

int main(int argc, char** argv) {
    // Keep Qt's standard locations away from the real user's files.
    QStandardPaths::setTestModeEnabled(true);
    ::testing::InitGoogleTest(&argc, argv);
#ifdef ORRERY_TEST_WITH_CORE_APPLICATION
    QCoreApplication app(argc, argv);
#endif
    return RUN_ALL_TESTS();
}

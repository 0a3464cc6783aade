// SPDX-License-Identifier: MIT
// A fixture that keeps every component store inside a temporary directory.
#pragma once

#include "testutil.h"

#include <QFile>
#include <QSettings>
#include <QStandardPaths>

namespace OrreryTest {

/**
 * Clears the component variables and keeps the native per-user settings in the temporary
 * directory. XDG_CONFIG_HOME alone is not enough inside the test executables: their main()
 * turns on Qt's test mode, which sends native settings to a fixed test location, so the
 * path is also set explicitly and put back afterwards.
 */
class ComponentStoreTest : public TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        env()
            .unset("VEXIL_INSTALLINFO_FILE")
            .unset("VEXIL_REFERRED_COMPONENT_FILE")
            .unset("VEXIL_CR_UNQUOTE_STRATEGY_ENUM")
            .unset("VEXIL_REGISTRY_FILE");
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                           path(QStringLiteral("config")));
    }
    void TearDown() override {
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                           QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
        TempDirTest::TearDown();
    }
    QString nativeStoreFile() const { return path(QStringLiteral("config/Tolmarsk/Vexil.conf")); }
    static QByteArray readFile(const QString& name) {
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly)) {
            return QByteArray();
        }
        return file.readAll();
    }
};

}  // namespace OrreryTest

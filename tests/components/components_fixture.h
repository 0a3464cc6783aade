// SPDX-License-Identifier: MIT
// A fixture that keeps every component store inside a temporary directory.
#pragma once

#include "testutil.h"
#include "user_registry.h"

#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QStringList>

#include <memory>

namespace OrreryTest {

/// @p text with the line ends that QSettings writes into INI files: CR LF on Windows.
inline QByteArray iniText(const char* text) {
    QByteArray bytes(text);
#ifdef _WIN32
    bytes.replace("\n", "\r\n");
#endif
    return bytes;
}

/**
 * Clears the component variables and keeps the native per-user settings in the temporary
 * directory. XDG_CONFIG_HOME alone is not enough inside the test executables: their main()
 * turns on Qt's test mode, which sends native settings to a fixed test location, so the
 * path is also set explicitly (by TempDirTest) and put back afterwards.
 *
 * On Windows the native settings are the registry: each test gets a HKEY_CURRENT_USER of
 * its own (PrivateUserRegistry), removed afterwards.
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
#ifdef _WIN32
        registry_ = std::make_unique<PrivateUserRegistry>();
        ASSERT_TRUE(registry_->active());
#endif
    }
    void TearDown() override {
#ifdef _WIN32
        registry_.reset();
#endif
        TempDirTest::TearDown();
    }
    QString nativeStoreFile() const {
        return path(QStringLiteral("config/Tolmarsk/Vexil.conf"));
    }
    /// Whether the native settings have been created.
    bool nativeStoreExists() const {
#ifdef _WIN32
        return regKeyExists(HKEY_CURRENT_USER, QStringLiteral("Software\\Tolmarsk\\Vexil"));
#else
        return QFileInfo::exists(nativeStoreFile());
#endif
    }
    /// What the registry holds outside the temporary directory: the native settings on
    /// Windows (as regQuery lists them), nothing elsewhere.
    QStringList registrySnapshot() const {
#ifdef _WIN32
        return regQuery(nativeStoreKey());
#else
        return QStringList();
#endif
    }
#ifdef _WIN32
    /// The native settings' key as reg.exe names it from another process.
    QString nativeStoreKey() const {
        return registry_->regPath(QStringLiteral("Software\\Tolmarsk\\Vexil"));
    }
#endif
    static QByteArray readFile(const QString& name) {
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly)) {
            return QByteArray();
        }
        return file.readAll();
    }

#ifdef _WIN32
private:
    std::unique_ptr<PrivateUserRegistry> registry_;
#endif
};

}  // namespace OrreryTest

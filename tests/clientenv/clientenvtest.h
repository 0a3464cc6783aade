// SPDX-License-Identifier: MIT
// A fixture that runs the client-environment driver in a child process with an
// installation directory, a home directory and an optional registry file, all in
// a temporary directory.
#pragma once

#include "childprocess.h"
#include "driveroutput.h"
#include "testutil.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>

#ifndef ORRERY_CLIENTENV_DRIVER
#error "ORRERY_CLIENTENV_DRIVER must name the driver executable"
#endif

namespace OrreryTest {

class ClientEnvProcessTest : public TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("inst")));
        ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("home")));
        childEnv_ = cleanEnvironment();
        childEnv_.insert(QStringLiteral("VEXIL_INSTALLATION_DIR"), inst());
        childEnv_.insert(QStringLiteral("HOME"), home());
        childEnv_.insert(QStringLiteral("PATH"), QStringLiteral("/usr/bin:/bin"));
        childEnv_.insert(QStringLiteral("ORRERY_DRIVER_SINK"), QStringLiteral("record"));
        childEnv_.remove(QStringLiteral("ORRERY_DRIVER_PROFILE"));
    }

    /// The installation directory (the child's VEXIL_INSTALLATION_DIR unless a test changes it).
    QString inst() const { return path(QStringLiteral("inst")); }
    /// The home directory (the child's HOME unless a test changes it).
    QString home() const { return path(QStringLiteral("home")); }
    /// The driver program, as the child sees its own full path.
    static QString driver() {
        return QFileInfo(QStringLiteral(ORRERY_CLIENTENV_DRIVER)).canonicalFilePath();
    }

    QProcessEnvironment& childEnv() { return childEnv_; }
    void setChild(const QString& name, const QString& value) { childEnv_.insert(name, value); }
    void unsetChild(const QString& name) { childEnv_.remove(name); }

    /// Writes the emulated installer registry with @p values, as stored, and points the
    /// child at it.
    void writeRegistry(const QMap<QString, QString>& values) {
        const QString file = path(QStringLiteral("registry.ini"));
        QByteArray text = "[Environment]\n";
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            text += it.key().toUtf8() + '=' + it.value().toUtf8() + '\n';
        }
        QFile registry(file);
        ASSERT_TRUE(registry.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_EQ(registry.write(text), text.size());
        registry.close();
        childEnv_.insert(QStringLiteral("VEXIL_REGISTRY_FILE"), file);
    }

    /// Runs the driver scenario @p mode with the client arguments @p arguments.
    ChildResult run(const QString& mode, const QStringList& arguments = {},
                    const QString& workingDirectory = QString()) {
        QProcessEnvironment environment = childEnv_;
        environment.insert(QStringLiteral("ORRERY_DRIVER_MODE"), mode);
        ChildResult result = runChild(QStringLiteral(ORRERY_CLIENTENV_DRIVER), arguments,
                                      environment, workingDirectory);
        EXPECT_TRUE(result.finished);
        EXPECT_EQ(result.status, QProcess::NormalExit);
        return result;
    }

private:
    QProcessEnvironment childEnv_;
};

/// The bytes of @p text as UTF-8, for comparing with a child's output.
inline QByteArray utf8(const QString& text) {
    return text.toUtf8();
}

}  // namespace OrreryTest

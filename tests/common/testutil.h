// SPDX-License-Identifier: MIT
// Helpers shared by the unit tests: environment and directory isolation and
// capture of Qt log messages.
#pragma once

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QSettings>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QThread>
#include <QtGlobal>

#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace OrreryTest {

/// Runs @p work on a thread with a stack of @p stackBytes and waits for it. The deep-tree
/// tests use stacks far too small for a recursion per level of their trees.
template <class F>
void runOnSmallStack(F work, uint stackBytes = 256 * 1024) {
    std::unique_ptr<QThread> thread(QThread::create(std::move(work)));
    thread->setStackSize(stackBytes);
    thread->start();
    thread->wait();
}

/// The process environment in UTF-8, as the library reads it (on Windows through the
/// wide-character environment, which every text reaches unchanged). testenv.cpp.
std::optional<std::string> getEnv(const std::string& name);
void setEnv(const std::string& name, const std::string& value);
void unsetEnv(const std::string& name);

/// Sets or unsets environment variables and restores their old values on destruction.
class ScopedEnv {
public:
    ScopedEnv() = default;
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;
    ~ScopedEnv() {
        for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
            if (it->second) {
                setEnv(it->first, *it->second);
            } else {
                unsetEnv(it->first);
            }
        }
    }
    ScopedEnv& set(const std::string& name, const std::string& value) {
        remember(name);
        setEnv(name, value);
        return *this;
    }
    ScopedEnv& unset(const std::string& name) {
        remember(name);
        unsetEnv(name);
        return *this;
    }

private:
    void remember(const std::string& name) { saved_.emplace_back(name, getEnv(name)); }
    std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

/// Restores the current directory on destruction.
class ScopedCurrentDir {
public:
    ScopedCurrentDir() : saved_(QDir::currentPath()) {}
    ~ScopedCurrentDir() { QDir::setCurrent(saved_); }
    ScopedCurrentDir(const ScopedCurrentDir&) = delete;
    ScopedCurrentDir& operator=(const ScopedCurrentDir&) = delete;

private:
    QString saved_;
};

/// A fixture with a fresh temporary directory that also holds the per-user settings.
class TempDirTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir_.isValid());
        QDir(dir_.path()).mkpath(QStringLiteral("config"));
        env_.set("XDG_CONFIG_HOME", QString(dir_.path() + QStringLiteral("/config")).toStdString());
        // Qt fixes the native settings path once per process (and test mode moves it
        // under the home directory), so it is pointed into the temporary directory too.
        // Formats registered by the library take the INI format's path.
        for (const QSettings::Format format : {QSettings::NativeFormat, QSettings::IniFormat}) {
            QSettings::setPath(format, QSettings::UserScope, path(QStringLiteral("config")));
        }
    }
    void TearDown() override {
        for (const QSettings::Format format : {QSettings::NativeFormat, QSettings::IniFormat}) {
            QSettings::setPath(
                format, QSettings::UserScope,
                QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
        }
    }
    QString path(const QString& relative = QString()) const {
        return relative.isEmpty() ? dir_.path()
                                  : QString(dir_.path() + QLatin1Char('/') + relative);
    }
    std::string stdPath(const QString& relative = QString()) const {
        return path(relative).toStdString();
    }
    ScopedEnv& env() { return env_; }

private:
    QTemporaryDir dir_;
    ScopedEnv env_;
};

/// Collects Qt log messages while alive.
class MessageCapture {
public:
    struct Message {
        QtMsgType type;
        QString text;
        bool hasContext;
    };
    MessageCapture() {
        current() = this;
        previous_ = qInstallMessageHandler(&MessageCapture::handler);
    }
    ~MessageCapture() {
        qInstallMessageHandler(previous_);
        current() = nullptr;
    }
    MessageCapture(const MessageCapture&) = delete;
    MessageCapture& operator=(const MessageCapture&) = delete;

    const std::vector<Message>& messages() const { return messages_; }
    QStringList texts(QtMsgType type) const {
        QStringList out;
        for (const Message& m : messages_) {
            if (m.type == type) {
                out << m.text;
            }
        }
        return out;
    }

private:
    static MessageCapture*& current() {
        static MessageCapture* instance = nullptr;
        return instance;
    }
    static void handler(QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (current() != nullptr) {
            const bool hasContext =
                context.file != nullptr || context.line != 0 || context.function != nullptr;
            current()->messages_.push_back({type, text, hasContext});
        }
    }
    QtMessageHandler previous_ = nullptr;
    std::vector<Message> messages_;
};

}  // namespace OrreryTest

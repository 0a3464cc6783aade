// SPDX-License-Identifier: MIT
// A fixture that runs the client-environment driver in a child process with an
// installation directory, a home directory and optional installer registry values, all
// in a temporary directory.
//
// POSIX: the driver runs from the build tree, VEXIL_INSTALLATION_DIR names inst(), the
// registry is the file named by VEXIL_REGISTRY_FILE, and the driver's passwd stand-in
// names the user profile directory.
// Windows: the installation directory is where the program runs from, so the driver runs
// from inst()\bin beside copies of its DLLs; the registry values are written under
// HKEY_CURRENT_USER\Software\Tolmarsk\Vexil\Environment and removed afterwards; the user
// profile is the user's own. Since every child reads that one registry and profile, the
// tests of this program take turns (a named mutex), also when ctest runs them side by side.
#pragma once

#include "childprocess.h"
#include "driveroutput.h"
#include "qtprinters.h"
#include "testutil.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QStringList>

#ifdef _WIN32
#include <windows.h>

#include <userenv.h>

#include <string>
#include <vector>
#endif

#ifndef ORRERY_CLIENTENV_DRIVER
#error "ORRERY_CLIENTENV_DRIVER must name the driver executable"
#endif

namespace OrreryTest {

/// @p path spelled with the separators that the library's Path::native() uses on this host.
inline QString native(const QString& path) {
    return QDir::toNativeSeparators(path);
}

/// The bytes of @p text as UTF-8, for comparing with a child's output.
inline QByteArray utf8(const QString& text) {
    return text.toUtf8();
}

#ifdef _WIN32
namespace WindowsHost {

inline const wchar_t* const kInstallerKey = L"Software\\Tolmarsk\\Vexil\\Environment";

inline std::wstring wide(const QString& text) {
    return text.toStdWString();
}

inline bool keyExists(HKEY root, const wchar_t* key) {
    HKEY handle = nullptr;
    if (::RegOpenKeyExW(root, key, 0, KEY_READ, &handle) != ERROR_SUCCESS) {
        return false;
    }
    ::RegCloseKey(handle);
    return true;
}

/// Whether the installer's key under @p root holds a value named @p name, of any type.
inline bool installerValueExists(HKEY root, const QString& name) {
    return ::RegGetValueW(root, kInstallerKey, wide(name).c_str(), RRF_RT_ANY, nullptr, nullptr,
                          nullptr) == ERROR_SUCCESS;
}

/// Removes @p key when it holds neither values nor subkeys.
inline void removeKeyIfEmpty(HKEY root, const wchar_t* key) {
    HKEY handle = nullptr;
    if (::RegOpenKeyExW(root, key, 0, KEY_READ, &handle) != ERROR_SUCCESS) {
        return;
    }
    DWORD subkeys = 0;
    DWORD values = 0;
    const LONG status = ::RegQueryInfoKeyW(handle, nullptr, nullptr, nullptr, &subkeys, nullptr,
                                           nullptr, &values, nullptr, nullptr, nullptr, nullptr);
    ::RegCloseKey(handle);
    if (status == ERROR_SUCCESS && subkeys == 0 && values == 0) {
        ::RegDeleteKeyW(root, key);
    }
}

/// The profile directory of this process's user, as the system gives it.
inline QString userProfileDirectory() {
    HANDLE token = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) {
        return {};
    }
    DWORD size = 0;
    ::GetUserProfileDirectoryW(token, nullptr, &size);
    std::wstring buffer(size, L'\0');
    const BOOL ok = size != 0 && ::GetUserProfileDirectoryW(token, buffer.data(), &size);
    ::CloseHandle(token);
    if (!ok) {
        return {};
    }
    return QString::fromWCharArray(buffer.c_str());
}

/// The system's text for @p error, without the line end, as the library reports reasons.
inline QByteArray systemMessage(DWORD error) {
    wchar_t* text = nullptr;
    const DWORD n = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    QString message = n != 0 ? QString::fromWCharArray(text, static_cast<int>(n)) : QString();
    ::LocalFree(text);
    while (message.endsWith(QLatin1Char('\n')) || message.endsWith(QLatin1Char('\r')) ||
           message.endsWith(QLatin1Char(' '))) {
        message.chop(1);
    }
    return message.toUtf8();
}

}  // namespace WindowsHost
#endif

class ClientEnvProcessTest : public TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
#ifdef _WIN32
        ASSERT_NO_FATAL_FAILURE(takeTurn());
        ASSERT_NO_FATAL_FAILURE(expectNoInstallerValues());
#endif
        ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("inst")));
        ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("home")));
#ifdef _WIN32
        ASSERT_NO_FATAL_FAILURE(installDriver());
#endif
        childEnv_ = cleanEnvironment();
        // Read only on POSIX hosts; Windows takes the installation from the program path.
        childEnv_.insert(QStringLiteral("VEXIL_INSTALLATION_DIR"), inst());
        childEnv_.insert(QStringLiteral("HOME"), home());
        childEnv_.insert(QStringLiteral("PATH"), userPath());
        childEnv_.insert(QStringLiteral("ORRERY_DRIVER_SINK"), QStringLiteral("record"));
        childEnv_.remove(QStringLiteral("ORRERY_DRIVER_PROFILE"));
        childEnv_.remove(QStringLiteral("ORRERY_DRIVER_UNSET"));
    }

    void TearDown() override {
#ifdef _WIN32
        removeRegistryValues();
        for (auto it = createdKeys_.rbegin(); it != createdKeys_.rend(); ++it) {
            WindowsHost::removeKeyIfEmpty(HKEY_CURRENT_USER, it->c_str());
        }
        if (!profileVep_.isEmpty()) {
            if (QFileInfo(profileVep_).isDir()) {
                QDir(profileVep_).removeRecursively();
            } else {
                QFile::remove(profileVep_);
            }
        }
        if (turn_ != nullptr) {
            ::ReleaseMutex(turn_);
            ::CloseHandle(turn_);
        }
#endif
        TempDirTest::TearDown();
    }

    /// The installation directory the child runs from (the child's VEXIL_INSTALLATION_DIR
    /// on POSIX unless a test changes it; the parent of the driver's directory on Windows).
    QString inst() const {
        return path(QStringLiteral("inst"));
    }
    /// The home directory (the child's HOME unless a test changes it).
    QString home() const {
        return path(QStringLiteral("home"));
    }
    /// The user's search path that the child starts with, in the host's own form.
    static QString userPath() {
#ifdef _WIN32
        return QStringLiteral("C:\\Windows\\system32;C:\\Windows");
#else
        return QStringLiteral("/usr/bin:/bin");
#endif
    }
    /// The driver program the child runs.
    QString program() const {
#ifdef _WIN32
        return driver_;
#else
        return QStringLiteral(ORRERY_CLIENTENV_DRIVER);
#endif
    }
    /// The driver program, as the child sees its own full path (in native spelling).
    QString driver() const {
#ifdef _WIN32
        return native(QFileInfo(driver_).absoluteFilePath());
#else
        return QFileInfo(program()).canonicalFilePath();
#endif
    }
    /// The child's argv[0]: the program as it was started, in native spelling.
    QString argumentZero() const {
        return native(program());
    }

    QProcessEnvironment& childEnv() {
        return childEnv_;
    }
    void setChild(const QString& name, const QString& value) {
        childEnv_.insert(name, value);
#ifdef _WIN32
        listUnset(name, false);
#endif
    }
    void unsetChild(const QString& name) {
        childEnv_.remove(name);
#ifdef _WIN32
        listUnset(name, true);
#endif
    }

    /// Gives the child the installer's registry @p values, as stored, replacing those of
    /// an earlier call.
    void writeRegistry(const QMap<QString, QString>& values) {
#ifdef _WIN32
        removeRegistryValues();
        const std::vector<std::wstring> keys = {L"Software\\Tolmarsk", L"Software\\Tolmarsk\\Vexil",
                                                WindowsHost::kInstallerKey};
        for (const std::wstring& key : keys) {
            if (!WindowsHost::keyExists(HKEY_CURRENT_USER, key.c_str())) {
                createdKeys_.push_back(key);
            }
        }
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            const std::wstring name = WindowsHost::wide(it.key());
            const std::wstring value = WindowsHost::wide(it.value());
            const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
            ASSERT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, WindowsHost::kInstallerKey, name.c_str(),
                                        REG_SZ, value.c_str(), bytes),
                      ERROR_SUCCESS)
                << it.key().toStdString();
            writtenValues_.push_back(name);
        }
#else
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
#endif
    }

    /**
     * Makes the user profile directory the one that the child falls back to, and gives it
     * in @p profile: on POSIX a test directory that the driver's passwd entry names, on
     * Windows the user's own profile, whose "vep" entry the fixture removes after the test.
     * A profile that already holds "vep" is never touched: the test is skipped instead.
     */
    void useProfile(QString* profile) {
#ifdef _WIN32
        *profile = WindowsHost::userProfileDirectory();
        ASSERT_FALSE(profile->isEmpty()) << "no user profile directory";
        const QString vep = QDir(*profile).filePath(QStringLiteral("vep"));
        if (QFileInfo::exists(vep)) {
            GTEST_SKIP() << "the user profile already holds " << vep.toStdString();
        }
        profileVep_ = vep;
#else
        *profile = path(QStringLiteral("profile"));
        ASSERT_TRUE(QDir().mkpath(*profile));
        childEnv_.insert(QStringLiteral("ORRERY_DRIVER_PROFILE"), *profile);
#endif
    }

    /// Runs the driver scenario @p mode with the client arguments @p arguments.
    ChildResult run(const QString& mode, const QStringList& arguments = {},
                    const QString& workingDirectory = QString()) {
        QProcessEnvironment environment = childEnv_;
        environment.insert(QStringLiteral("ORRERY_DRIVER_MODE"), mode);
        ChildResult result = runChild(program(), arguments, environment, workingDirectory);
        EXPECT_TRUE(result.finished);
        EXPECT_EQ(result.status, QProcess::NormalExit);
        return result;
    }

    /// The exit code that the parent sees for a child that calls exit(-1).
    static int exitCodeOfMinusOne() {
#ifdef _WIN32
        return -1;
#else
        return 255;
#endif
    }

private:
#ifdef _WIN32
    void takeTurn() {
        turn_ = ::CreateMutexW(nullptr, FALSE, L"Local\\OrreryClientEnvironmentTests");
        ASSERT_NE(turn_, nullptr);
        const DWORD waited = ::WaitForSingleObject(turn_, 10 * 60 * 1000);
        if (waited != WAIT_OBJECT_0 && waited != WAIT_ABANDONED) {
            ::CloseHandle(turn_);
            turn_ = nullptr;
            FAIL() << "another clientenv test held the registry for ten minutes";
        }
    }

    // Values that the client reads from the installer's key; one left by an installation
    // or an interrupted run would change what the tests see.
    static void expectNoInstallerValues() {
        const char* const names[] = {"PATH",          "HOME",        "KORVANE_DIR",
                                     "WBMLANGPATH",   "DOCS_DIR",    "CYGWIN",
                                     "SIMARCH",       "COMPL_DIR",   "COMPILER_VER",
                                     "VEP_MAJOR_VER", "https_proxy", "ORRERY_SAMPLE"};
        for (HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
            for (const char* name : names) {
                ASSERT_FALSE(WindowsHost::installerValueExists(root, QString::fromLatin1(name)))
                    << (root == HKEY_LOCAL_MACHINE ? "HKLM" : "HKCU")
                    << "\\Software\\Tolmarsk\\Vexil\\Environment holds " << name
                    << ", which would change what the client sees; remove it";
            }
        }
    }

    // Copies, not links: a file that this process has loaded cannot be deleted under any
    // of its names, so links to the DLLs would outlive the temporary directory.
    void installDriver() {
        const QFileInfo built(QStringLiteral(ORRERY_CLIENTENV_DRIVER));
        const QString bin = path(QStringLiteral("inst/bin"));
        ASSERT_TRUE(QDir().mkpath(bin));
        QStringList files = built.dir().entryList({QStringLiteral("*.dll")}, QDir::Files);
        files << built.fileName();
        for (const QString& file : files) {
            ASSERT_TRUE(QFile::copy(built.dir().absoluteFilePath(file), QDir(bin).filePath(file)))
                << file.toStdString();
        }
        driver_ = QDir(bin).filePath(built.fileName());
    }

    // QProcess gives a child the parent's PATH when its environment has none, so the
    // driver removes the names listed in ORRERY_DRIVER_UNSET itself, first thing.
    void listUnset(const QString& name, bool unset) {
        const QString key = QStringLiteral("ORRERY_DRIVER_UNSET");
        QStringList names = childEnv_.value(key).split(QLatin1Char(','), Qt::SkipEmptyParts);
        names.removeAll(name);
        if (unset) {
            names << name;
        }
        if (names.isEmpty()) {
            childEnv_.remove(key);
        } else {
            childEnv_.insert(key, names.join(QLatin1Char(',')));
        }
    }

    void removeRegistryValues() {
        for (const std::wstring& name : writtenValues_) {
            ::RegDeleteKeyValueW(HKEY_CURRENT_USER, WindowsHost::kInstallerKey, name.c_str());
        }
        writtenValues_.clear();
    }

    HANDLE turn_ = nullptr;
    QString driver_;
    std::vector<std::wstring> writtenValues_;
    std::vector<std::wstring> createdKeys_;
    QString profileVep_;
#endif
    QProcessEnvironment childEnv_;
};

}  // namespace OrreryTest

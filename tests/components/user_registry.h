// SPDX-License-Identifier: MIT
// Windows only: the per-user registry as the component and expansion tests see it.
#pragma once

#ifdef _WIN32

#include <windows.h>

#include <QProcess>
#include <QString>
#include <QStringList>

namespace OrreryTest {

/**
 * The values and keys below @p key ("HKCU\\..."), as reg.exe lists them when run as a
 * separate process: one entry per key, "<subkey>\\", and per value,
 * "<subkey>\\<name> <type> <data>", with subkeys relative to @p key; sorted. Empty when
 * the key does not exist.
 */
inline QStringList regQuery(const QString& key) {
    QProcess reg;
    reg.start(QStringLiteral("reg"), {QStringLiteral("query"), key, QStringLiteral("/s")});
    if (!reg.waitForFinished(60000) || reg.exitStatus() != QProcess::NormalExit ||
        reg.exitCode() != 0) {
        return {};
    }
    // reg names the root in full (HKEY_CURRENT_USER); what follows the root stays as given.
    const QString below = key.mid(key.indexOf(QLatin1Char('\\')));
    const QString indent(4, QLatin1Char(' '));
    QStringList entries;
    QString current;
    const QStringList lines = QString::fromLocal8Bit(reg.readAllStandardOutput())
                                  .remove(QLatin1Char('\r'))
                                  .split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        if (line.startsWith(QLatin1String("HKEY_"))) {
            const int at = line.indexOf(below, 0, Qt::CaseInsensitive);
            current = at < 0 ? line : line.mid(at + below.size());
            if (current.startsWith(QLatin1Char('\\'))) {
                current.remove(0, 1);
            }
            if (!current.isEmpty()) {
                current += QLatin1Char('\\');
                entries << current;
            }
        } else if (line.startsWith(indent)) {
            QStringList fields = line.mid(indent.size()).split(indent);
            const QString name = fields.takeFirst();
            const QString type = fields.isEmpty() ? QString() : fields.takeFirst();
            entries << QString(current + name + QLatin1Char(' ') + type + QLatin1Char(' ') +
                               fields.join(indent));
        }
    }
    entries.sort();
    return entries;
}

inline bool regKeyExists(HKEY root, const QString& subkey) {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(root, reinterpret_cast<const wchar_t*>(subkey.utf16()), 0, KEY_READ,
                        &key) != ERROR_SUCCESS) {
        return false;
    }
    ::RegCloseKey(key);
    return true;
}

/// Deletes @p subkey of @p root when it has neither values nor subkeys.
inline void regDeleteIfEmpty(HKEY root, const QString& subkey) {
    HKEY key = nullptr;
    const wchar_t* name = reinterpret_cast<const wchar_t*>(subkey.utf16());
    if (::RegOpenKeyExW(root, name, 0, KEY_READ, &key) != ERROR_SUCCESS) {
        return;
    }
    DWORD subkeys = 0;
    DWORD values = 0;
    const bool empty =
        ::RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values,
                           nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS &&
        subkeys == 0 && values == 0;
    ::RegCloseKey(key);
    if (empty) {
        ::RegDeleteKeyW(root, name);
    }
}

/**
 * Gives this process a HKEY_CURRENT_USER of its own while alive: a fresh key
 * HKEY_CURRENT_USER\\Software\\OrreryTest-<process>-<n> stands in for it
 * (RegOverridePredefKey), so that a test writes per-user values without touching the
 * user's own and without meeting tests in other processes. The key is deleted on
 * destruction. Child processes see the real HKEY_CURRENT_USER.
 */
class PrivateUserRegistry {
public:
    PrivateUserRegistry() {
        static int count = 0;
        subkey_ =
            QStringLiteral("Software\\OrreryTest-%1-%2").arg(::GetCurrentProcessId()).arg(++count);
        if (::RegCreateKeyExW(HKEY_CURRENT_USER, wide(subkey_), 0, nullptr, REG_OPTION_NON_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &key_, nullptr) != ERROR_SUCCESS) {
            key_ = nullptr;
            return;
        }
        if (::RegOverridePredefKey(HKEY_CURRENT_USER, key_) != ERROR_SUCCESS) {
            release();
        }
    }
    ~PrivateUserRegistry() { release(); }
    PrivateUserRegistry(const PrivateUserRegistry&) = delete;
    PrivateUserRegistry& operator=(const PrivateUserRegistry&) = delete;

    bool active() const { return key_ != nullptr; }
    /// @p below, a key under the stand-in, as reg.exe names it from another process.
    QString regPath(const QString& below) const {
        return QString(QStringLiteral("HKCU\\") + subkey_ + QLatin1Char('\\') + below);
    }
    /// Sets the text value @p name of key @p below (created when missing).
    bool setValue(const QString& below, const QString& name, const QString& value) const {
        return ::RegSetKeyValueW(key_, wide(below), wide(name), REG_SZ, wide(value),
                                 static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))) ==
               ERROR_SUCCESS;
    }

private:
    static const wchar_t* wide(const QString& text) {
        return reinterpret_cast<const wchar_t*>(text.utf16());
    }
    void release() {
        if (key_ == nullptr) {
            return;
        }
        ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        ::RegCloseKey(key_);
        key_ = nullptr;
        ::RegDeleteTreeW(HKEY_CURRENT_USER, wide(subkey_));
        ::RegDeleteKeyW(HKEY_CURRENT_USER, wide(subkey_));
    }

    QString subkey_;
    HKEY key_ = nullptr;
};

}  // namespace OrreryTest

#endif  // _WIN32

// SPDX-License-Identifier: MIT
// The installed-component store and the referred-component files of products.

#include <orrery/components.h>

#include "inifile_p.h"
#include "storeguard_p.h"

#include <vexil/core.h>

#include <QDir>
#include <QSettings>
#include <QVariant>

#include <functional>
#include <iostream>
#include <memory>

namespace Orrery {

const QString InstComponentData::s_ComponentRefFile = QStringLiteral("ComponentRefs.ini");
const QString InstComponentData::s_strVersion = QStringLiteral("Version");
const QString InstComponentData::s_strBuild = QStringLiteral("Build");
const QString InstComponentData::s_strRefCount = QStringLiteral("RefCount");
const QString InstComponentData::s_strArchitecture = QStringLiteral("Architecture");
const QString InstComponentData::s_strLocation = QStringLiteral("Location");
const QString InstComponentData::s_strCommonDir = QStringLiteral("CommonDir");
const QString InstComponentData::s_strOrganization = QStringLiteral("Tolmarsk");
const QString InstComponentData::s_strapplication = QStringLiteral("Vexil");

namespace {

// A variable counts only when it is set and not empty.
bool readVariable(const char* name, QString* value) {
    std::string raw;
    if (!vexil::getenv_stdstring_allow_empty(name, &raw) || raw.empty()) {
        return false;
    }
    *value = QString::fromStdString(raw);
    return true;
}

QString groupOf(const QString& component, const QString& version) {
    return QString(component + QLatin1Char('/') + version);
}

std::unique_ptr<QSettings> openNativeStore() {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0) && !defined(Q_OS_WIN) && !defined(Q_OS_DARWIN)
    // Here the native settings are an INI file too, kept in Qt 5's layout for both builds.
    return std::make_unique<QSettings>(iniStoreFormat(), QSettings::UserScope,
                                       InstComponentData::s_strOrganization,
                                       InstComponentData::s_strapplication);
#else
    return std::make_unique<QSettings>(InstComponentData::s_strOrganization,
                                       InstComponentData::s_strapplication);
#endif
}

bool checkProductRoot(const QString& productRoot) {
    if (productRoot.isEmpty()) {
        std::cerr << "Product root needs to be set\n";
        return false;
    }
    return true;
}

using Opener = std::function<std::unique_ptr<QSettings>()>;

std::unique_ptr<QSettings> openInstalledStore() {
    const QString file = InstComponentData::GetInstComponentFullPathtoRefFile();
    if (file.isEmpty()) {
        return openNativeStore();
    }
    return std::make_unique<QSettings>(file, iniStoreFormat());
}

std::unique_ptr<QSettings> openReferredStore(const QString& productRoot) {
    return std::make_unique<QSettings>(
        InstComponentData::GetComponentFullPathtoRefFile(productRoot), iniStoreFormat());
}

// Reads take no lock and never sync: QSettings writes nothing back for an object that was
// only read, and a reader that waited for writers could be kept waiting by a lock file.
QString readKey(const Opener& open, const QString& component, const QString& version,
                const QString& key) {
    StoreRetry retry;
    while (true) {
        const std::unique_ptr<QSettings> settings = open();
        settings->beginGroup(groupOf(component, version));
        const QString value = settings->value(key, QVariant()).toString();
        settings->endGroup();
        if (!retry.again(*settings)) {
            return value;
        }
    }
}

// Makes @p change to the store and writes it, under the store's guard.
void changeStore(const Opener& open, const std::function<void(QSettings&)>& change) {
    std::unique_ptr<QSettings> settings = open();
    const StoreGuard guard(*settings);
    StoreRetry retry;
    while (true) {
        change(*settings);
        settings->sync();
        if (!retry.again(*settings)) {
            return;
        }
        // A new object reads the store again, still under the guard.
        settings = open();
    }
}

void writeKey(const Opener& open, const QString& component, const QString& version,
              const QString& key, const QString& value) {
    changeStore(open, [&](QSettings& settings) {
        settings.beginGroup(groupOf(component, version));
        settings.setValue(key, value);
        settings.endGroup();
    });
}

void removeGroup(const Opener& open, const QString& component, const QString& version) {
    changeStore(open, [&](QSettings& settings) {
        settings.beginGroup(groupOf(component, version));
        // The empty key stands for every key of the current group.
        settings.remove(QString());
        settings.endGroup();
    });
}

// Removes each backslash and keeps the character after it literally.
QString unescapeBackslashes(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i) == QLatin1Char('\\')) {
            ++i;
            if (i == text.size()) {
                break;
            }
        }
        out.append(text.at(i));
    }
    return out;
}

}  // namespace

QString InstComponentData::GetInstComponentFullPathtoRefFile() {
    QString file;
    if (!readVariable("VEXIL_INSTALLINFO_FILE", &file)) {
        return QString();
    }
    return QDir::toNativeSeparators(file);
}

QString InstComponentData::GetComponentFullPathtoRefFile(const QString& productRoot) {
    QString file;
    if (!readVariable("VEXIL_REFERRED_COMPONENT_FILE", &file)) {
        const bool quoted =
            (productRoot.startsWith(QLatin1Char('"')) && productRoot.endsWith(QLatin1Char('"'))) ||
            (productRoot.startsWith(QLatin1Char('\'')) && productRoot.endsWith(QLatin1Char('\'')));
        QString dir = productRoot;
        if (quoted) {
            dir = productRoot.size() >= 2 ? productRoot.mid(1, productRoot.size() - 2) : QString();
            QString strategy;
            if (dir.contains(QLatin1Char('\\')) &&
                readVariable("VEXIL_CR_UNQUOTE_STRATEGY_ENUM", &strategy) &&
                strategy == QLatin1String("1")) {
                dir = unescapeBackslashes(dir);
            }
        }
        file = QString(dir + QLatin1Char('/') + s_ComponentRefFile);
    }
    return QDir::toNativeSeparators(file);
}

QString InstComponentData::GetInstComponentKey(const QString& component, const QString& version,
                                               const QString& key) {
    return readKey(openInstalledStore, component, version, key);
}

bool InstComponentData::SetInstComponentKey(const QString& component, const QString& version,
                                            const QString& key, const QString& value) {
    writeKey(openInstalledStore, component, version, key, value);
    return true;
}

bool InstComponentData::RemoveInstComponent(const QString& component, const QString& version) {
    // Deliberately the native settings, even when VEXIL_INSTALLINFO_FILE names an INI file.
    removeGroup(openNativeStore, component, version);
    return true;
}

QString InstComponentData::GetReferredComponentKey(const QString& productRoot,
                                                   const QString& component, const QString& version,
                                                   const QString& key) {
    if (!checkProductRoot(productRoot)) {
        return QString();
    }
    return readKey([&] { return openReferredStore(productRoot); }, component, version, key);
}

bool InstComponentData::SetReferredComponentKey(const QString& productRoot,
                                                const QString& component, const QString& version,
                                                const QString& key, const QString& value) {
    if (!checkProductRoot(productRoot)) {
        return false;
    }
    writeKey([&] { return openReferredStore(productRoot); }, component, version, key, value);
    return true;
}

bool InstComponentData::RemoveReferredComponent(const QString& productRoot,
                                                const QString& component, const QString& version) {
    if (!checkProductRoot(productRoot)) {
        return false;
    }
    removeGroup([&] { return openReferredStore(productRoot); }, component, version);
    return true;
}

}  // namespace Orrery

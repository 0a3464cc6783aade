// SPDX-License-Identifier: MIT
#include "storeguard_p.h"

#include "platform/filelock_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSettings>
#include <QThread>

#include <algorithm>

namespace Orrery {

namespace {

// How long a store that refuses access is tried again.
constexpr qint64 kRetryBudgetMs = 2000;

// Sets the file's modification time to the later of now and one millisecond after both its
// current time and @p floor; returns the time set, or an invalid time when it failed.
QDateTime advanceModificationTime(const QString& file, const QDateTime& floor) {
    const QDateTime current = QFileInfo(file).lastModified().toUTC();
    if (!current.isValid()) {
        return QDateTime();
    }
    QDateTime target = QDateTime::currentDateTimeUtc();
    target = std::max(target, current.addMSecs(1));
    if (floor.isValid()) {
        target = std::max(target, floor.addMSecs(1));
    }
    QFile handle(file);
    // Some systems need write access to change the time; the owner alone suffices on others.
    const bool open = handle.open(QIODevice::ReadWrite) || handle.open(QIODevice::ReadOnly);
    if (!open || !handle.setFileTime(target, QFileDevice::FileModificationTime)) {
        return QDateTime();
    }
    return target;
}

// The directory that holds the store and its lock; created when the store is an INI file,
// or a native one whose parent directory exists (a registry path has none).
bool prepareDirectory(const QSettings& settings, const QFileInfo& store) {
    const QDir dir = store.absoluteDir();
    if (dir.exists()) {
        return true;
    }
    // Settings opened by their file name carry no application name.
    const bool fileBased = settings.applicationName().isEmpty() ||
                           QFileInfo(dir.absolutePath()).absoluteDir().exists();
    return fileBased && QDir().mkpath(dir.absolutePath());
}

// Removes QSettings' own lock file of @p store when no process holds it any more. Only a
// file with the holder's details counts: QLockFile writes them after it has locked the file,
// so an empty one may be a lock in the making.
void removeAbandonedSettingsLock(const QString& store) {
    QLockFile settingsLock(QString(store + QStringLiteral(".lock")));
    qint64 pid = 0;
    QString host;
    QString application;
    if (settingsLock.getLockInfo(&pid, &host, &application)) {
        settingsLock.removeStaleLockFile();
    }
}

}  // namespace

StoreGuard::StoreGuard(QSettings& settings) : file_(settings.fileName()) {
    const QFileInfo store(file_);
    if (file_.isEmpty() || !prepareDirectory(settings, store)) {
        return;
    }
    lock_ = std::make_unique<Platform::FileLock>(
        QString(store.absoluteFilePath() + QStringLiteral(".storelock")).toStdString());
    if (!lock_->locked()) {
        lock_.reset();
        return;
    }
    removeAbandonedSettingsLock(store.absoluteFilePath());
    if (store.exists()) {
        // A new time makes the settings object parse the file again, now under the lock.
        stamp_ = advanceModificationTime(file_, QDateTime());
        settings.sync();
    }
}

StoreGuard::~StoreGuard() {
    if (lock_ && QFileInfo::exists(file_)) {
        advanceModificationTime(file_, stamp_);
    }
}

StoreRetry::StoreRetry() {
    timer_.start();
}

bool StoreRetry::again(const QSettings& settings) {
    if (settings.status() != QSettings::AccessError || timer_.elapsed() >= kRetryBudgetMs) {
        return false;
    }
    QThread::msleep(1);
    return true;
}

}  // namespace Orrery

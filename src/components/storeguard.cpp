// SPDX-License-Identifier: MIT
#include "storeguard_p.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QRandomGenerator>
#include <QSettings>
#include <QThread>

#include <algorithm>

namespace Orrery {

namespace {

// Waits for the lock with short, jittered sleeps: the holders keep it for a few
// milliseconds, far less than QLockFile's own waiting steps.
bool acquire(QLockFile& lock) {
    int wait = 1;
    while (!lock.tryLock(0)) {
        if (lock.error() != QLockFile::LockFailedError) {
            return false;
        }
        QThread::msleep(
            static_cast<unsigned long>(wait + QRandomGenerator::global()->bounded(wait + 1)));
        wait = std::min(wait * 2, 16);
    }
    return true;
}

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
    const bool fileBased = settings.format() == QSettings::IniFormat ||
                           QFileInfo(dir.absolutePath()).absoluteDir().exists();
    return fileBased && QDir().mkpath(dir.absolutePath());
}

}  // namespace

StoreGuard::StoreGuard(QSettings& settings) : file_(settings.fileName()) {
    const QFileInfo store(file_);
    if (file_.isEmpty() || !prepareDirectory(settings, store)) {
        return;
    }
    lock_ = std::make_unique<QLockFile>(
        QString(store.absoluteFilePath() + QStringLiteral(".storelock")));
    if (!acquire(*lock_)) {
        lock_.reset();
        return;
    }
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

}  // namespace Orrery

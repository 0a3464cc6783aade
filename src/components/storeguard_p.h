// SPDX-License-Identifier: MIT
// Cross-process serialisation of the writes to one component store. Internal.
#pragma once

#include <QDateTime>
#include <QString>

#include <memory>

class QLockFile;
class QSettings;

namespace Orrery {

/**
 * Holds a store for the duration of one set or remove, across processes. Reads do not use
 * it: they take no lock and change nothing on disk.
 *
 * QSettings locks only its own write-back. Its read outside that lock parses the file first
 * and takes the size and modification time afterwards, so a process can pair an old content
 * with the stamp of a newer file; under the write lock it then sees an unchanged stamp, skips
 * the re-read and writes the old content back, losing what the other process wrote. Its
 * change test also cannot tell two writes of equal size within one tick of the file-system
 * clock apart.
 *
 * The guard therefore takes a lock file of its own beside the store (never Qt's own lock
 * name), moves the store's modification time to a value no process has seen and makes the
 * settings object read the file again before the operation; after a write it moves the time
 * forward once more, so that every state of the file carries a time of its own. The store's
 * content and format are untouched. A store that is not a file (the registry) or whose
 * directory cannot hold a lock is used without the guard.
 */
class StoreGuard {
public:
    explicit StoreGuard(QSettings& settings);
    ~StoreGuard();
    StoreGuard(const StoreGuard&) = delete;
    StoreGuard& operator=(const StoreGuard&) = delete;

private:
    QString file_;
    std::unique_ptr<QLockFile> lock_;
    QDateTime stamp_;
};

}  // namespace Orrery

// SPDX-License-Identifier: MIT
// Cross-process serialisation of the writes to one component store. Internal.
#pragma once

#include <QDateTime>
#include <QElapsedTimer>
#include <QString>

#include <memory>

class QSettings;

namespace Orrery {

namespace Platform {
class FileLock;
}

/**
 * Holds a store for the duration of one set or remove, across processes. Reads do not use
 * it: they take no lock and change nothing on disk.
 *
 * The lock is the operating system's, on the file `<store>.storelock` beside the store
 * (Platform::FileLock): a writer that dies lets go of it at once, and a lock file left
 * behind delays no one.
 *
 * QSettings keeps a parsed copy of a file per process and parses the file again only when
 * its size or modification time differ from what it noted. It notes them after reading the
 * file, so a read that overlaps another process's write can pair the old content with the
 * stamp of the new file; a write from that copy would bring the old content back. Its
 * change test also cannot tell apart two writes of equal size within one tick of the
 * file-system clock. Under the lock the guard therefore moves the store's modification time
 * to a value no process has seen and makes the settings object read the file again before
 * the write; after the write it moves the time forward once more, so that every state of
 * the file carries a time of its own.
 *
 * QSettings also takes a lock file of its own while it writes, `<store>.lock`, and waits
 * for it as long as the process named in it seems to run, up to 30 seconds. Under the store
 * lock no other writer of ours can hold it, so the guard removes one that no process holds
 * any more (QLockFile keeps its file locked while held).
 *
 * The store's content and format are untouched. A store that is not a file (the registry)
 * or whose directory cannot hold the lock file is written without the guard.
 */
class StoreGuard {
public:
    explicit StoreGuard(QSettings& settings);
    ~StoreGuard();
    StoreGuard(const StoreGuard&) = delete;
    StoreGuard& operator=(const StoreGuard&) = delete;

private:
    QString file_;
    std::unique_ptr<Platform::FileLock> lock_;
    QDateTime stamp_;
};

/**
 * Tells an operation on a store whether to try again with a fresh settings object.
 *
 * On Windows an open handle of a reader makes the replacement of the store fail, and a
 * store that is being replaced cannot be opened for a moment: QSettings then reports an
 * access error, and the write is lost or the read finds nothing. Such a refusal lasts only
 * as long as the other process keeps the file open, so reads and writes try again for up
 * to two seconds, each time with a new settings object (the status of one stays set once
 * an error is reported). An access error that lasts longer is left as it is.
 */
class StoreRetry {
public:
    StoreRetry();
    /// Whether @p settings reported an access error and there is time left; then it has
    /// waited a moment before returning true.
    bool again(const QSettings& settings);

private:
    QElapsedTimer timer_;
};

}  // namespace Orrery

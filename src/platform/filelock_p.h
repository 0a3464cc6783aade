// SPDX-License-Identifier: MIT
// An exclusive lock between processes that the operating system holds on a lock file,
// implemented once per host in filelock_posix.cpp and filelock_win.cpp. Internal.
#pragma once

#include <cstdint>
#include <string>

namespace Orrery {
namespace Platform {

/**
 * An exclusive lock on the lock file @p path (UTF-8), between processes and between threads,
 * held with the operating system's own file lock: flock() on POSIX, LockFileEx on Windows.
 *
 * The system lets go of the lock when the process that holds it ends, however it ends, so
 * a lock file left behind stands for nothing and delays no one. The holder removes the file
 * before it lets go; a waiter that then wakes up holding a file that no longer has its name
 * tries again with the file that has the name now, so only one holder at a time ever holds
 * the file at @p path.
 */
class FileLock {
public:
    /// Waits until the lock is held; gives up at once when the lock file can be neither
    /// created nor opened (then locked() is false).
    explicit FileLock(const std::string& path);
    /// Removes the lock file and lets go of the lock.
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    /// Whether the lock is held.
    bool locked() const { return handle_ != -1; }

private:
    std::string path_;
    std::intptr_t handle_ = -1;  // a file descriptor on POSIX, a HANDLE on Windows
};

}  // namespace Platform
}  // namespace Orrery

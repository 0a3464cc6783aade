// SPDX-License-Identifier: MIT
// The lock file on POSIX hosts: flock(), which belongs to the open file and ends with it.

#include "filelock_p.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>

namespace Orrery {
namespace Platform {

namespace {

int openLockFile(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd >= 0 || errno != EACCES) {
        return fd;
    }
    // Another user's lock file that we may not write can still be locked through a
    // descriptor for reading (except on NFS, where the lock then fails and we go unlocked).
    return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
}

bool lockExclusive(int fd) {
    int result = 0;
    do {
        result = ::flock(fd, LOCK_EX);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// Whether @p path still names the file open as @p fd.
bool namesFile(const std::string& path, int fd) {
    struct stat held {};
    struct stat named {};
    return ::fstat(fd, &held) == 0 && ::stat(path.c_str(), &named) == 0 &&
           held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

}  // namespace

FileLock::FileLock(const std::string& path) : path_(path) {
    while (true) {
        const int fd = openLockFile(path_);
        if (fd < 0) {
            return;
        }
        if (!lockExclusive(fd)) {
            ::close(fd);
            return;
        }
        if (namesFile(path_, fd)) {
            handle_ = fd;
            return;
        }
        // The holder before us removed this file; the next round locks its successor.
        ::close(fd);
    }
}

FileLock::~FileLock() {
    if (handle_ == -1) {
        return;
    }
    // Removed while still locked, so that nobody locks the old file as the current one.
    ::unlink(path_.c_str());
    ::close(static_cast<int>(handle_));
}

}  // namespace Platform
}  // namespace Orrery

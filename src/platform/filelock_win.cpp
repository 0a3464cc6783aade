// SPDX-License-Identifier: MIT
// The lock file on Windows: LockFileEx, which belongs to the handle and ends with it.

#include "filelock_p.h"

#include <vexil/core.h>

#include <windows.h>

namespace Orrery {
namespace Platform {

namespace {

// While a removed file still has open handles, Windows refuses to open it by name again
// (ERROR_ACCESS_DENIED); the waiters that hold those handles close them within moments.
// Past this many milliseconds the refusal is taken as final.
constexpr DWORD kRemovalPendingMs = 2000;

const DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool lockExclusive(HANDLE file) {
    OVERLAPPED whole{};
    return ::LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK, 0, MAXDWORD, MAXDWORD, &whole) != FALSE;
}

// Whether @p path still names the file open as @p held.
bool namesFile(const std::wstring& path, HANDLE held) {
    const HANDLE named = ::CreateFileW(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr);
    if (named == INVALID_HANDLE_VALUE) {
        return false;
    }
    BY_HANDLE_FILE_INFORMATION a{};
    BY_HANDLE_FILE_INFORMATION b{};
    const bool same = ::GetFileInformationByHandle(held, &a) != FALSE &&
                      ::GetFileInformationByHandle(named, &b) != FALSE &&
                      a.dwVolumeSerialNumber == b.dwVolumeSerialNumber &&
                      a.nFileIndexHigh == b.nFileIndexHigh && a.nFileIndexLow == b.nFileIndexLow;
    ::CloseHandle(named);
    return same;
}

}  // namespace

FileLock::FileLock(const std::string& path) : path_(path) {
    const std::wstring wide = vexil::toWString(path_);
    bool denied = false;
    ULONGLONG deniedSince = 0;
    while (true) {
        const HANDLE file =
            ::CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, kShareAll, nullptr,
                          OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE) {
            if (::GetLastError() != ERROR_ACCESS_DENIED) {
                return;
            }
            const ULONGLONG now = ::GetTickCount64();
            if (!denied) {
                denied = true;
                deniedSince = now;
            } else if (now - deniedSince >= kRemovalPendingMs) {
                return;
            }
            ::Sleep(1);
            continue;
        }
        denied = false;
        if (!lockExclusive(file)) {
            ::CloseHandle(file);
            return;
        }
        if (namesFile(wide, file)) {
            handle_ = reinterpret_cast<std::intptr_t>(file);
            return;
        }
        // The holder before us removed this file; the next round locks its successor.
        ::CloseHandle(file);
    }
}

FileLock::~FileLock() {
    if (handle_ == -1) {
        return;
    }
    const HANDLE file = reinterpret_cast<HANDLE>(handle_);
    // Marked for removal while still locked, so that nobody locks it as the current one.
    FILE_DISPOSITION_INFO removal{};
    removal.DeleteFile = TRUE;
    ::SetFileInformationByHandle(file, FileDispositionInfo, &removal, sizeof removal);
    ::CloseHandle(file);
}

}  // namespace Platform
}  // namespace Orrery

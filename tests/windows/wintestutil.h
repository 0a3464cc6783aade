// SPDX-License-Identifier: MIT
// Helpers of the Windows tests. They reach the system through Win32 directly, never
// through the platform layer under test, and restore what they change.
#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <cwchar>
#include <optional>
#include <string>

namespace WinTest {

/// UTF-16 to UTF-8 by the system's own converter.
inline std::string utf8(const std::wstring& text) {
    if (text.empty()) {
        return {};
    }
    const int n = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                        nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(n), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), n,
                          nullptr, nullptr);
    return out;
}

/// UTF-8 to UTF-16 by the system's own converter.
inline std::wstring wide(const std::string& text) {
    if (text.empty()) {
        return {};
    }
    const int n =
        ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring out(static_cast<std::size_t>(n), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), out.data(), n);
    return out;
}

/// Whether @p text has a character that the local (ANSI) code page cannot spell.
inline bool outsideLocalCodePage(const std::wstring& text) {
    BOOL usedDefault = FALSE;
    ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text.data(), static_cast<int>(text.size()),
                          nullptr, 0, nullptr, &usedDefault);
    return usedDefault != FALSE;
}

inline std::wstring currentDirectory() {
    const DWORD n = ::GetCurrentDirectoryW(0, nullptr);
    std::wstring out(n, L'\0');
    out.resize(::GetCurrentDirectoryW(n, out.data()));
    return out;
}

/// The value of an environment variable in the process block; nothing when unset.
inline std::optional<std::wstring> environmentValue(const std::wstring& name) {
    ::SetLastError(ERROR_SUCCESS);
    const DWORD n = ::GetEnvironmentVariableW(name.c_str(), nullptr, 0);
    if (n == 0) {
        if (::GetLastError() == ERROR_ENVVAR_NOT_FOUND) {
            return std::nullopt;
        }
        return std::wstring();
    }
    std::wstring out(n, L'\0');
    out.resize(::GetEnvironmentVariableW(name.c_str(), out.data(), n));
    return out;
}

/// Sets or removes one environment variable (process block and C runtime) and puts
/// the previous state back on destruction.
class ScopedEnvironment {
public:
    explicit ScopedEnvironment(std::wstring name)
        : name_(std::move(name)), saved_(environmentValue(name_)) {}
    ~ScopedEnvironment() { apply(saved_); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

    void set(const std::wstring& value) { apply(value); }
    void unset() { apply(std::nullopt); }

private:
    void apply(const std::optional<std::wstring>& value) {
        if (value) {
            ::_wputenv_s(name_.c_str(), value->c_str());
            ::SetEnvironmentVariableW(name_.c_str(), value->c_str());
        } else {
            ::_wputenv_s(name_.c_str(), L"");
            ::SetEnvironmentVariableW(name_.c_str(), nullptr);
        }
    }

    std::wstring name_;
    std::optional<std::wstring> saved_;
};

/// Changes back to the current directory of construction on destruction.
class ScopedCurrentDirectory {
public:
    ScopedCurrentDirectory() : saved_(currentDirectory()) {}
    ~ScopedCurrentDirectory() { ::SetCurrentDirectoryW(saved_.c_str()); }
    ScopedCurrentDirectory(const ScopedCurrentDirectory&) = delete;
    ScopedCurrentDirectory& operator=(const ScopedCurrentDirectory&) = delete;

private:
    std::wstring saved_;
};

/// Removes a directory tree; quietly does nothing for a missing one.
inline void removeTree(const std::wstring& path) {
    WIN32_FIND_DATAW entry;
    const HANDLE find = ::FindFirstFileW((path + L"\\*").c_str(), &entry);
    if (find != INVALID_HANDLE_VALUE) {
        do {
            const std::wstring name = entry.cFileName;
            if (name == L"." || name == L"..") {
                continue;
            }
            const std::wstring child = path + L"\\" + name;
            if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
                removeTree(child);
            } else {
                ::SetFileAttributesW(child.c_str(), FILE_ATTRIBUTE_NORMAL);
                ::DeleteFileW(child.c_str());
            }
        } while (::FindNextFileW(find, &entry));
        ::FindClose(find);
    }
    ::RemoveDirectoryW(path.c_str());
}

/// A fresh directory under the user's temporary directory (on drive C: in a Wine
/// prefix), removed with its contents after the test. The working directory is
/// restored as well.
class TempDirTest : public ::testing::Test {
protected:
    void SetUp() override {
        wchar_t temp[MAX_PATH + 1];
        const DWORD n = ::GetTempPathW(MAX_PATH + 1, temp);
        ASSERT_GT(n, 0u);
        std::wstring base(temp, n);
        if (base.back() == L'\\') {
            base.pop_back();
        }
        for (unsigned attempt = 0; attempt < 100; ++attempt) {
            const std::wstring candidate = base + L"\\orrery-win-" +
                                           std::to_wstring(::GetCurrentProcessId()) + L"-" +
                                           std::to_wstring(::GetTickCount() + attempt);
            if (::CreateDirectoryW(candidate.c_str(), nullptr)) {
                root_ = candidate;
                break;
            }
        }
        ASSERT_FALSE(root_.empty()) << "no temporary directory";
    }

    void TearDown() override {
        ::SetCurrentDirectoryW(saved_.c_str());
        if (!root_.empty()) {
            removeTree(root_);
        }
    }

    /// The directory, or a name inside it, as UTF-16.
    std::wstring wpath(const std::wstring& relative = {}) const {
        return relative.empty() ? root_ : root_ + L"\\" + relative;
    }
    /// The directory, or a name inside it, in UTF-8.
    std::string path(const std::string& relative = {}) const { return utf8(wpath(wide(relative))); }

private:
    std::wstring saved_ = currentDirectory();
    std::wstring root_;
};

}  // namespace WinTest

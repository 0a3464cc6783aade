// SPDX-License-Identifier: MIT
// File-system services on Windows: wide-character calls, UTF-8 at the interface.

#include <vexil/core.h>

#include "host_p.h"

#include <windows.h>

#include <direct.h>
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>

namespace vexil {
namespace host {

char separator() {
    return '\\';
}

std::string os_path(const std::string& path) {
    std::string out = path;
    for (char& c : out) {
        if (c == '/') {
            c = '\\';
        }
    }
    return out;
}

int compare_names(const std::string& a, const std::string& b) {
    const std::wstring wa = toWString(a);
    const std::wstring wb = toWString(b);
    const int r = ::CompareStringOrdinal(wa.c_str(), static_cast<int>(wa.size()), wb.c_str(),
                                         static_cast<int>(wb.size()), TRUE);
    return r == CSTR_EQUAL ? 0 : (r == CSTR_LESS_THAN ? -1 : 1);
}

}  // namespace host

namespace {

DWORD attributes(const std::string& path) {
    if (path.empty()) {
        return INVALID_FILE_ATTRIBUTES;
    }
    return ::GetFileAttributesW(toWString(host::os_path(path)).c_str());
}

std::string currentDirectory() {
    const DWORD needed = ::GetCurrentDirectoryW(0, nullptr);
    if (needed == 0) {
        return {};
    }
    std::wstring buffer(needed, L'\0');
    const DWORD written = ::GetCurrentDirectoryW(needed, buffer.data());
    if (written == 0 || written >= needed) {
        return {};
    }
    buffer.resize(written);
    return toStdString(buffer);
}

std::string lastErrorText(DWORD error) {
    wchar_t* text = nullptr;
    const DWORD n = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, error, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::string out;
    if (n != 0 && text != nullptr) {
        out = toStdString(std::wstring(text, n));
        while (!out.empty() && (out.back() == '\n' || out.back() == '\r' || out.back() == ' ')) {
            out.pop_back();
        }
    }
    if (text != nullptr) {
        ::LocalFree(text);
    }
    return out;
}

}  // namespace

bool Path::exists() const {
    return attributes(text_) != INVALID_FILE_ATTRIBUTES;
}

bool Path::is_directory() const {
    const DWORD a = attributes(text_);
    return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool Path::create_directory(bool parents, std::string* reason) const {
    const std::string path = host::os_path(text_);
    if (path.empty()) {
        if (reason) {
            *reason = lastErrorText(ERROR_PATH_NOT_FOUND);
        }
        return false;
    }
    auto makeOne = [&](const std::string& dir) -> bool {
        if (::CreateDirectoryW(toWString(dir).c_str(), nullptr)) {
            return true;
        }
        const DWORD error = ::GetLastError();
        const DWORD a = attributes(dir);
        if (a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY) != 0) {
            return true;
        }
        if (reason) {
            *reason = lastErrorText(error);
        }
        return false;
    };
    if (parents) {
        std::size_t start = 1;
        if (path.size() >= 3 && path[1] == ':') {
            start = 3;
        } else if (path.size() >= 2 && path[0] == '\\' && path[1] == '\\') {
            // Skip the server and share of a UNC name.
            std::size_t server = path.find('\\', 2);
            start = server == std::string::npos ? path.size() : path.find('\\', server + 1);
            if (start == std::string::npos) {
                start = path.size();
            }
        }
        for (std::size_t pos = path.find('\\', start); pos != std::string::npos;
             pos = path.find('\\', pos + 1)) {
            const std::string prefix = path.substr(0, pos);
            if (attributes(prefix) != INVALID_FILE_ATTRIBUTES) {
                continue;
            }
            if (!makeOne(prefix)) {
                return false;
            }
        }
    }
    return makeOne(path);
}

int chdir_utf8(const Path& path) {
    const std::string target = host::os_path(path.string());
    if (target.empty()) {
        return -1;
    }
    return ::SetCurrentDirectoryW(toWString(target).c_str()) ? 0 : -1;
}

std::string host::current_directory() {
    return currentDirectory();
}

DirectorySaver::DirectorySaver() : saved_(currentDirectory()) {}

DirectorySaver::~DirectorySaver() {
    if (!saved_.empty()) {
        ::SetCurrentDirectoryW(toWString(saved_).c_str());
    }
}

}  // namespace vexil

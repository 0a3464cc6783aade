// SPDX-License-Identifier: MIT
// Process services on Windows: executable path, user profile, temporary names
// and opening files by UTF-8 name with the share-deny-none mode.

#include <vexil/core.h>

#include "host_p.h"
#include "module_name_p.h"

#include <userenv.h>
#include <windows.h>

#include <share.h>
#include <cstdint>
#include <cstdio>

namespace Orrery {
namespace Platform {

std::string executable_path_utf8() {
    return vexil::toStdString(readModuleName([](wchar_t* buffer, std::uint32_t size) {
        return static_cast<std::uint32_t>(::GetModuleFileNameW(nullptr, buffer, size));
    }));
}

std::string temporary_name_utf8() {
    const wchar_t* name = ::_wtmpnam(nullptr);
    if (name == nullptr) {
        return {};
    }
    return vexil::toStdString(std::wstring(name));
}

bool open_filebuf_utf8(std::basic_filebuf<char>& buffer, const std::string& name,
                       std::ios_base::openmode mode) {
    const std::wstring wide = vexil::toWString(name);
#if defined(_MSC_VER)
    return buffer.open(wide.c_str(), mode, _SH_DENYNO) != nullptr;
#else
    // libstdc++ opens wide names through _wfopen, which shares like _SH_DENYNO.
    return buffer.open(wide.c_str(), mode) != nullptr;
#endif
}

}  // namespace Platform
}  // namespace Orrery

namespace vexil {

Path get_exe_full_path() {
    return Path(Orrery::Platform::executable_path_utf8());
}

bool get_user_profile_directory(std::string* directory) {
    HANDLE token = nullptr;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) {
        return false;
    }
    DWORD size = 0;
    ::GetUserProfileDirectoryW(token, nullptr, &size);
    std::wstring buffer(size == 0 ? 1 : size, L'\0');
    const BOOL ok = ::GetUserProfileDirectoryW(token, buffer.data(), &size);
    ::CloseHandle(token);
    if (!ok) {
        return false;
    }
    buffer.resize(size > 0 ? size - 1 : 0);
    if (buffer.empty()) {
        return false;
    }
    if (directory) {
        *directory = toStdString(buffer);
    }
    return true;
}

}  // namespace vexil

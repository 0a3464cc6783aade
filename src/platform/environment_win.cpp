// SPDX-License-Identifier: MIT
// Environment access on Windows. The installer's values live in the registry
// under HKEY_LOCAL_MACHINE\SOFTWARE\Tolmarsk\Vexil\Environment, with the same
// key under HKEY_CURRENT_USER consulted when the machine-wide one lacks the name.

#include <vexil/core.h>

#include "host_p.h"

#include <windows.h>

#include <cstdlib>

namespace vexil {

bool getenv_stdstring_allow_empty(const std::string& name, std::string* value) {
    if (value) {
        value->clear();
    }
    if (name.empty()) {
        return false;
    }
    const std::wstring wname = toWString(name);
    ::SetLastError(ERROR_SUCCESS);
    DWORD needed = ::GetEnvironmentVariableW(wname.c_str(), nullptr, 0);
    if (needed == 0) {
        // Zero with no error is a set but empty variable.
        return ::GetLastError() != ERROR_ENVVAR_NOT_FOUND;
    }
    std::wstring buffer(needed, L'\0');
    const DWORD written = ::GetEnvironmentVariableW(wname.c_str(), buffer.data(), needed);
    if (written >= needed) {
        return false;
    }
    buffer.resize(written);
    if (value) {
        *value = toStdString(buffer);
    }
    return true;
}

bool putenv_stdstring(const std::string& name, const std::string& value) {
    if (name.empty() || name.find('=') != std::string::npos) {
        return false;
    }
    const std::wstring wname = toWString(name);
    const std::wstring wvalue = toWString(value);
    // Both the C runtime's copy and the process block, so children and getenv agree.
    const bool crt = ::_wputenv_s(wname.c_str(), wvalue.c_str()) == 0;
    const bool os = ::SetEnvironmentVariableW(wname.c_str(), wvalue.c_str()) != 0;
    return crt && os;
}

namespace {

bool readRegistry(HKEY root, const std::wstring& name, std::string* value) {
    DWORD bytes = 0;
    const wchar_t* subkey = L"SOFTWARE\\Tolmarsk\\Vexil\\Environment";
    const DWORD flags = RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND;
    if (::RegGetValueW(root, subkey, name.c_str(), flags, nullptr, nullptr, &bytes) !=
        ERROR_SUCCESS) {
        return false;
    }
    std::wstring buffer(bytes / sizeof(wchar_t) + 1, L'\0');
    bytes = static_cast<DWORD>(buffer.size() * sizeof(wchar_t));
    if (::RegGetValueW(root, subkey, name.c_str(), flags, nullptr, buffer.data(), &bytes) !=
        ERROR_SUCCESS) {
        return false;
    }
    buffer.resize(bytes / sizeof(wchar_t));
    while (!buffer.empty() && buffer.back() == L'\0') {
        buffer.pop_back();
    }
    if (value) {
        *value = toStdString(buffer);
    }
    return true;
}

}  // namespace

bool getenv_from_registry_only(const std::string& name, std::string* value) {
    if (name.empty()) {
        return false;
    }
    const std::wstring wname = toWString(name);
    return readRegistry(HKEY_LOCAL_MACHINE, wname, value) ||
           readRegistry(HKEY_CURRENT_USER, wname, value);
}

std::string host::named_installation_directory() {
    return {};
}

}  // namespace vexil

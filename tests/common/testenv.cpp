// SPDX-License-Identifier: MIT
#include "testutil.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace OrreryTest {

#ifdef _WIN32

namespace {
std::wstring wide(const std::string& utf8) {
    return QString::fromStdString(utf8).toStdWString();
}
}  // namespace

std::optional<std::string> getEnv(const std::string& name) {
    const std::wstring wideName = wide(name);
    const DWORD size = ::GetEnvironmentVariableW(wideName.c_str(), nullptr, 0);
    if (size == 0) {
        return std::nullopt;
    }
    std::wstring value(size, L'\0');
    const DWORD length = ::GetEnvironmentVariableW(wideName.c_str(), value.data(), size);
    value.resize(length);
    return QString::fromStdWString(value).toStdString();
}

// The C runtime's copy and the process block are both set: the library reads the block,
// Qt and the C runtime their copy. "NAME=" would remove the name from the runtime's copy.
void setEnv(const std::string& name, const std::string& value) {
    if (!value.empty()) {
        ::_wputenv(wide(name + '=' + value).c_str());
    }
    ::SetEnvironmentVariableW(wide(name).c_str(), wide(value).c_str());
}

void unsetEnv(const std::string& name) {
    ::_wputenv(wide(name + '=').c_str());
    ::SetEnvironmentVariableW(wide(name).c_str(), nullptr);
}

#else

std::optional<std::string> getEnv(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value ? std::optional<std::string>(value) : std::nullopt;
}

void setEnv(const std::string& name, const std::string& value) {
    ::setenv(name.c_str(), value.c_str(), 1);
}

void unsetEnv(const std::string& name) {
    ::unsetenv(name.c_str());
}

#endif

}  // namespace OrreryTest

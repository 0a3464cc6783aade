// SPDX-License-Identifier: MIT
// Process services on POSIX hosts: executable path, user profile, temporary
// names and opening files by UTF-8 name.

#include <vexil/core.h>

#include "host_p.h"

#include <pwd.h>
#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace Orrery {
namespace Platform {

std::string executable_path_utf8() {
    std::vector<char> buffer(256);
    while (true) {
        const ssize_t n = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
        if (n < 0) {
            return {};
        }
        if (static_cast<std::size_t>(n) < buffer.size()) {
            return std::string(buffer.data(), static_cast<std::size_t>(n));
        }
        buffer.resize(buffer.size() * 2);
    }
}

std::string temporary_name_utf8() {
    // The name only; like _wtmpnam, nothing is created.
    const char* dir = std::getenv("TMPDIR");
    std::string base = (dir != nullptr && *dir != '\0') ? dir : P_tmpdir;
    if (!base.empty() && base.back() != '/') {
        base += '/';
    }
    std::string name = base + "orrXXXXXX";
    const int fd = ::mkstemp(name.data());
    if (fd < 0) {
        return {};
    }
    ::close(fd);
    ::unlink(name.c_str());
    return name;
}

bool open_filebuf_utf8(std::basic_filebuf<char>& buffer, const std::string& name,
                       std::ios_base::openmode mode) {
    // POSIX file names are bytes; UTF-8 names reach the OS unchanged.
    return buffer.open(name.c_str(), mode) != nullptr;
}

}  // namespace Platform
}  // namespace Orrery

namespace vexil {

Path get_exe_full_path() {
    return Path(Orrery::Platform::executable_path_utf8());
}

bool get_user_profile_directory(std::string* directory) {
    std::vector<char> buffer(16384);
    struct passwd entry {};
    struct passwd* result = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &result) != 0 ||
        result == nullptr || result->pw_dir == nullptr || *result->pw_dir == '\0') {
        return false;
    }
    if (directory) {
        *directory = result->pw_dir;
    }
    return true;
}

}  // namespace vexil

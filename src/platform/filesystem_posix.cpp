// SPDX-License-Identifier: MIT
// File-system services on POSIX hosts. A backslash in a path is read as a
// separator here, so Windows-style names made by the file-name functions work.

#include <vexil/core.h>

#include "host_p.h"

#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace vexil {
namespace host {

char separator() {
    return '/';
}

std::string os_path(const std::string& path) {
    std::string out = path;
    for (char& c : out) {
        if (c == '\\') {
            c = '/';
        }
    }
    return out;
}

int compare_names(const std::string& a, const std::string& b) {
    return a.compare(b);
}

}  // namespace host

namespace {

bool statPath(const std::string& path, struct stat* st) {
    if (path.empty()) {
        return false;
    }
    return ::stat(host::os_path(path).c_str(), st) == 0;
}

std::string currentDirectory() {
    std::string buffer(256, '\0');
    while (true) {
        if (::getcwd(buffer.data(), buffer.size()) != nullptr) {
            buffer.resize(std::strlen(buffer.c_str()));
            return buffer;
        }
        if (errno != ERANGE) {
            return {};
        }
        buffer.resize(buffer.size() * 2);
    }
}

}  // namespace

bool Path::exists() const {
    struct stat st {};
    return statPath(text_, &st);
}

bool Path::is_directory() const {
    struct stat st {};
    return statPath(text_, &st) && S_ISDIR(st.st_mode);
}

bool Path::create_directory(bool parents, std::string* reason) const {
    const std::string path = host::os_path(text_);
    if (path.empty()) {
        if (reason) {
            *reason = std::strerror(ENOENT);
        }
        return false;
    }
    auto makeOne = [&](const std::string& dir) -> bool {
        if (::mkdir(dir.c_str(), 0777) == 0) {
            return true;
        }
        const int error = errno;
        struct stat st {};
        if (::stat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
            return true;
        }
        if (reason) {
            *reason = std::strerror(error);
        }
        return false;
    };
    if (parents) {
        for (std::size_t pos = path.find('/', 1); pos != std::string::npos;
             pos = path.find('/', pos + 1)) {
            const std::string prefix = path.substr(0, pos);
            struct stat st {};
            if (::stat(prefix.c_str(), &st) == 0) {
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
    return ::chdir(target.c_str()) == 0 ? 0 : -1;
}

std::string host::current_directory() {
    return currentDirectory();
}

DirectorySaver::DirectorySaver() : saved_(currentDirectory()) {}

DirectorySaver::~DirectorySaver() {
    if (!saved_.empty()) {
        [[maybe_unused]] const int ignored = ::chdir(saved_.c_str());
    }
}

}  // namespace vexil

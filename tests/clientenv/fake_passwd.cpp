// SPDX-License-Identifier: MIT
// Stands in for the passwd database in the driver process, so that the user
// profile directory is a test directory and the real home is never touched.
// The executable's definition takes precedence over the C library's for every
// object of the process. ORRERY_DRIVER_PROFILE names the profile directory;
// without it the current user has no entry.
#include <pwd.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

extern "C" int getpwuid_r(uid_t uid, struct passwd* entry, char* buffer, size_t size,
                          struct passwd** result) {
    *result = nullptr;
    const char* profile = std::getenv("ORRERY_DRIVER_PROFILE");
    if (profile == nullptr) {
        return 0;
    }
    static char name[] = "driver";
    const std::size_t length = std::strlen(profile) + 1;
    if (length > size) {
        return ERANGE;
    }
    std::memcpy(buffer, profile, length);
    std::memset(entry, 0, sizeof(*entry));
    entry->pw_name = name;
    entry->pw_uid = uid;
    entry->pw_dir = buffer;
    *result = entry;
    return 0;
}

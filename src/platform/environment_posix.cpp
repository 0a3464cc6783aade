// SPDX-License-Identifier: MIT
// Environment access on POSIX hosts. The installer's registry is emulated by the
// file named by VEXIL_REGISTRY_FILE: lines "name=value" in its section [Environment],
// values returned byte for byte as stored.

#include <vexil/core.h>

#include "host_p.h"

#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

namespace vexil {

bool getenv_stdstring_allow_empty(const std::string& name, std::string* value) {
    const char* raw = name.empty() ? nullptr : std::getenv(name.c_str());
    if (raw == nullptr) {
        if (value) {
            value->clear();
        }
        return false;
    }
    if (value) {
        *value = raw;
    }
    return true;
}

bool putenv_stdstring(const std::string& name, const std::string& value) {
    if (name.empty() || name.find('=') != std::string::npos) {
        return false;
    }
    return ::setenv(name.c_str(), value.c_str(), 1) == 0;
}

namespace {

// Spaces and tabs around a name or a value, and the carriage return of a CRLF line end.
std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    const std::size_t last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

}  // namespace

// The emulated registry is read line by line, without QSettings: its INI rules (escapes,
// quoting, lists at commas, percent-encoded names) would change the stored values.
bool getenv_from_registry_only(const std::string& name, std::string* value) {
    const char* file = std::getenv("VEXIL_REGISTRY_FILE");
    if (file == nullptr || *file == '\0' || name.empty()) {
        return false;
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        return false;
    }
    bool inEnvironment = false;
    bool found = false;
    std::string stored;
    std::string line;
    bool firstLine = true;
    while (std::getline(in, line)) {
        std::string_view text(line);
        if (firstLine && text.substr(0, 3) == "\xEF\xBB\xBF") {
            text.remove_prefix(3);
        }
        firstLine = false;
        text = trimmed(text);
        if (text.empty() || text.front() == ';' || text.front() == '#') {
            continue;
        }
        if (text.front() == '[') {
            inEnvironment = text == "[Environment]";
            continue;
        }
        const std::size_t equals = text.find('=');
        if (!inEnvironment || equals == std::string_view::npos ||
            trimmed(text.substr(0, equals)) != name) {
            continue;
        }
        // A later line of the same name replaces an earlier one.
        stored.assign(trimmed(text.substr(equals + 1)));
        found = true;
    }
    if (found && value) {
        *value = stored;
    }
    return found;
}

std::string host::named_installation_directory() {
    // The stand-in for where the launcher is installed, for tests, the demo and packaging
    // layouts that do not put the program in <installation>/bin.
    return getenv_stdstring("VEXIL_INSTALLATION_DIR");
}

}  // namespace vexil

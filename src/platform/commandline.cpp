// SPDX-License-Identifier: MIT
// The process-wide command line, product identity and the application-name flag.

#include <vexil/core.h>

#include "host_p.h"

#include <atomic>
#include <mutex>

namespace vexil {

void CommandLineBase::save_command_line_utf8(std::vector<std::string>& arguments) {
    arguments_ = arguments;
    rebuild_pointers();
}

int CommandLineBase::argc() const {
    return static_cast<int>(arguments_.size());
}

char** CommandLineBase::argv() {
    return pointers_.data();
}

void CommandLineBase::remove_arg(int index) {
    if (index < 0 || index >= argc()) {
        return;
    }
    arguments_.erase(arguments_.begin() + index);
    rebuild_pointers();
}

void CommandLineBase::rebuild_pointers() {
    pointers_.clear();
    pointers_.reserve(arguments_.size() + 1);
    for (std::string& argument : arguments_) {
        pointers_.push_back(argument.data());
    }
    pointers_.push_back(nullptr);
}

CommandLine::CommandLine() {
    // Captured before the client set-up can export its own value.
    korvane_env_ = getenv_stdstring("KORVANE_DIR");
    getenv_from_registry_only("KORVANE_DIR", &korvane_reg_);
}

CommandLine* CommandLine::get_command_line() {
    // Never destroyed: the object is used until the very end of the process.
    static CommandLine* instance = new CommandLine();
    return instance;
}

Path CommandLine::get_installation_directory() const {
    return Path(vexil::get_installation_directory());
}

namespace {

struct ProductIdentity {
    std::mutex mutex;
    std::string name;
    std::string version;
};

ProductIdentity& productIdentity() {
    static ProductIdentity identity;
    return identity;
}

std::atomic<bool>& appNameMarked() {
    static std::atomic<bool> marked{false};
    return marked;
}

}  // namespace

void initialize_product_and_ver(const std::string& name, const std::string& version) {
    ProductIdentity& identity = productIdentity();
    std::lock_guard<std::mutex> lock(identity.mutex);
    identity.name = name;
    identity.version = version;
}

std::string get_product_name() {
    ProductIdentity& identity = productIdentity();
    std::lock_guard<std::mutex> lock(identity.mutex);
    return identity.name;
}

std::string get_product_version() {
    ProductIdentity& identity = productIdentity();
    std::lock_guard<std::mutex> lock(identity.mutex);
    return identity.version;
}

bool is_qt_app_name_marked_as_initialized() {
    return appNameMarked().load();
}

void mark_qt_app_name_as_initialized() {
    appNameMarked().store(true);
}

std::string get_bin_directory() {
    const std::string exe = get_exe_full_path().string();
    const std::size_t slash = exe.find_last_of("/\\");
    if (slash == std::string::npos) {
        return {};
    }
    return exe.substr(0, slash == 0 ? 1 : slash);
}

// Where the program runs from, never KORVANE_DIR: the check of KORVANE_DIR against the
// installation directory depends on the two being independent.
std::string get_installation_directory() {
    const std::string named = host::named_installation_directory();
    if (!named.empty()) {
        return named;
    }
    const std::string bin = get_bin_directory();
    const std::size_t slash = bin.find_last_of("/\\");
    if (slash == std::string::npos) {
        return {};
    }
    return bin.substr(0, slash == 0 ? 1 : slash);
}

std::string getenv_check_registry_stdstring(const std::string& name) {
    std::string value;
    if (getenv_stdstring_allow_empty(name, &value) && !value.empty()) {
        return value;
    }
    value.clear();
    if (getenv_from_registry_only(name, &value)) {
        return value;
    }
    return {};
}

std::string getenv_stdstring(const std::string& name) {
    std::string value;
    getenv_stdstring_allow_empty(name, &value);
    return value;
}

}  // namespace vexil

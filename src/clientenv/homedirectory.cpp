// SPDX-License-Identifier: MIT
// The home directory of the client environment and its configuration folder.

#include <vexil/clientenvironment.h>

#include <cstdlib>

namespace vexil {

namespace {

std::string trimBlanks(const std::string& text) {
    static const char* const blanks = " \t\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) {
        return {};
    }
    const std::size_t last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

// The profile directory joined with "vep" and "NA", both created; empty on failure.
std::string profileHome() {
    std::string profile;
    if (!get_user_profile_directory(&profile) || profile.empty()) {
        return {};
    }
    Path home(profile);
    home.append("vep");
    if (!home.create_directory()) {
        return {};
    }
    home.append("NA");
    if (!home.create_directory()) {
        return {};
    }
    return home.native();
}

}  // namespace

void ClientEnvironment::setup_home_directory() {
    const std::string home = get_home_directory();
    ensure_home_dir_exists(Path(home));
    putenv_stdstring("HOME", home);
}

std::string ClientEnvironment::get_home_directory() {
    std::string home;
    // The registry wins over the environment here, deliberately.
    if (!getenv_from_registry_only("HOME", &home)) {
        home = getenv_check_registry_stdstring("HOME");
        if (home.empty()) {
            home = profileHome();
        }
    }
    home = trimBlanks(home);
    if (home.empty()) {
        give_home_dir_error_and_exit(
            std::string("\nCould not find the environment variables HOME or USERPROFILE.") +
                "\nPlease reinstall or manually set this setting as an environment variable on "
                "your system." +
                "\n\nThe program will exit when you hit OK.",
            home);
    }
    return home;
}

void ClientEnvironment::ensure_home_dir_exists(const Path& home) {
    Path configDir(home);
    configDir.append("korvane").append("config");
    // The configuration file's name; the file itself is neither created nor checked.
    [[maybe_unused]] Path configFile(configDir);
    configFile.append("de_sim.cfg");
    if (configDir.is_directory()) {
        return;
    }
    std::string reason;
    if (!configDir.create_directory(true, &reason)) {
        std::string message = "Error: Cannot create the directory " + configDir.native();
        if (!reason.empty()) {
            message += ": " + reason;
        }
        give_home_dir_error_and_exit(message, configDir);
    }
}

void ClientEnvironment::give_home_dir_error_and_exit(const std::string& message,
                                                     const std::string& directory) {
    show_info_message(message + "\n\nFor " + get_exe_full_path().native() +
                      " to function properly, the HOME folder " + directory +
                      " must exist and needs to have write access for the current user (or for "
                      "all users if this is a shared system).\n\nThe program will exit when you "
                      "hit OK");
    std::exit(-1);
}

}  // namespace vexil

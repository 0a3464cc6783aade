// SPDX-License-Identifier: MIT
// Warns when the installation directory named in the environment or the registry
// is not the one the client runs from.

#include <vexil/clientenvironment.h>

namespace vexil {

void ClientEnvironment::set_check_reg_verses_getenv(bool enabled) {
    check_reg_verses_getenv_enabled = enabled;
}

void ClientEnvironment::check_reg_verses_getenv() {
    if (!check_reg_verses_getenv_enabled) {
        return;
    }
    Path installation = get_vexil_dir();
    installation.normalize();
    const CommandLine* commandLine = CommandLine::get_command_line();
    const std::string& fromEnvironment = commandLine->get_original_korvane_dir_env_value();
    const std::string& fromRegistry = commandLine->get_original_korvane_dir_reg_value();

    auto differs = [&installation](const std::string& value) {
        if (value.empty()) {
            return false;
        }
        Path named(value);
        named.normalize();
        return Path::compare_filenames(named, installation) != 0;
    };
    if (!differs(fromEnvironment) && !differs(fromRegistry)) {
        return;
    }

    // Both places are listed when both are set, as found and not normalised.
    std::string message = "This launcher application is located in:\n\n    " +
                          installation.native() + "\n\nHowever, your system variable " +
                          s_korvane_dir_var + " does not match:\n\n";
    if (!fromRegistry.empty()) {
        message += "    Registry (set by installer): " + fromRegistry + "\n";
    }
    if (!fromEnvironment.empty()) {
        message += "    Environment: " + fromEnvironment + "\n";
    }
    message +=
        "\nBrevant will start, but its behavior may be unpredictable due to this discrepancy. ";
    message += "To resolve this discrepancy, clear the " + s_korvane_dir_var +
               " setting from your system environment or registry and restart Brevant.\n";
    // "Ok" is spelled this way deliberately.
    message += "\nPress Ok to continue to run Brevant.";
    show_info_message(message);
}

}  // namespace vexil

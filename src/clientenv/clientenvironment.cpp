// SPDX-License-Identifier: MIT
// The client environment: switches, the set-up sequence and its variables.

#include <vexil/clientenvironment.h>

#include <iostream>
#include <stdexcept>

namespace vexil {

std::string ClientEnvironment::s_wbmlangpath_var = "WBMLANGPATH";
std::string ClientEnvironment::s_korvane_dir_var = "KORVANE_DIR";

ClientEnvironment::ClientEnvironment()
    : check_reg_verses_getenv_enabled(true),
      application_under_test(false),
      system_path(getenv_check_registry_stdstring("PATH")),
      wbmlangpath(getenv_stdstring(s_wbmlangpath_var)),
      debugging_output(false) {
    if (system_path.empty()) {
        std::cerr << "Could not find PATH environment variable.";
    }
}

void ClientEnvironment::process_arguments() {
    if (debugging_output) {
        show_args_for_debugging();
    }
    CommandLine* commandLine = CommandLine::get_command_line();
    if (commandLine->argc() < 2) {
        return;
    }
    int index = 1;
    while (index < commandLine->argc()) {
        const std::string argument = commandLine->argv()[index];
        if (argument == "-no_reg_vs_env") {
            check_reg_verses_getenv_enabled = false;
            commandLine->remove_arg(index);
        } else if (argument == "-debug_env") {
            if (!debugging_output) {
                debugging_output = true;
                show_args_for_debugging();
            }
            commandLine->remove_arg(index);
        } else {
            ++index;
        }
    }
}

void ClientEnvironment::show_args_for_debugging() {
    CommandLine* commandLine = CommandLine::get_command_line();
    for (int i = 0; i < commandLine->argc(); ++i) {
        show_info_message(std::string("Argument: ") + commandLine->argv()[i]);
    }
}

void ClientEnvironment::enable_debugging_output(bool enabled) {
    debugging_output = enabled;
}

void ClientEnvironment::set_application_under_test(bool under_test) {
    application_under_test = under_test;
}

bool ClientEnvironment::run_64bit() {
    return true;
}

void ClientEnvironment::show_info_message(const std::string& message) const {
    std::cerr << message << std::flush;
}

const Path& ClientEnvironment::get_vexil_dir() const {
    return vexil_dir;
}

void ClientEnvironment::setup_product_variables() {
    vexil_dir = CommandLine::get_command_line()->get_installation_directory();
    test_vexil_dir();
    putenv_stdstring("VEXIL_EMDS_DIR", vexil_dir.native());
}

void ClientEnvironment::test_vexil_dir() {
    DirectorySaver saver;
    if (chdir_utf8(vexil_dir) != 0) {
        throw std::runtime_error(std::string("\nVerify that the ") + s_korvane_dir_var +
                                 " variable is set properly" + "\n  Currently " +
                                 s_korvane_dir_var + " is set to\n  " + vexil_dir.native() +
                                 "\n\nThe program will exit when you hit OK");
    }
}

void ClientEnvironment::export_with_default(const std::string& name,
                                            const std::string& default_value) {
    // A value found only in the registry is exported, so children see it too.
    const std::string value = getenv_check_registry_stdstring(name);
    putenv_stdstring(name, value.empty() ? default_value : value);
}

void ClientEnvironment::setup_simarch_var() {
    putenv_stdstring("SIMARCH", "win32_64");
}

void ClientEnvironment::setup_environment() {
    setup_product_variables();
    setup_wbmlangpath();
    setup_home_directory();
    export_with_default("DOCS_DIR", Path(vexil_dir).append("doc"));
    export_with_default("CYGWIN", "nodosfilewarning");
    export_with_default("SIMARCH", "win32");
    export_with_default("COMPL_DIR", vexil_dir);
    export_with_default("COMPILER_VER", "_VS2022");
    export_with_default("VEP_MAJOR_VER", "VEP_2025_");
    // Deliberately overrides the defaulting above: every child sees the 64-bit name.
    setup_simarch_var();
    setup_system_path();
    setup_environment_for_ipc();
}

void ClientEnvironment::setup_environment_for_ipc() {
    const bool proxied =
        !getenv_stdstring("http_proxy").empty() || !getenv_stdstring("https_proxy").empty();
    if (proxied && getenv_stdstring("no_proxy").empty()) {
        putenv_stdstring("no_proxy", "localhost,127.0.0.1");
    }
}

}  // namespace vexil

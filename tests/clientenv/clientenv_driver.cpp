// SPDX-License-Identifier: MIT
// Runs one client-environment scenario in a fresh process, so that tests can
// observe the environment, the command line, the messages and the exit status.
// The scenario is named by ORRERY_DRIVER_MODE; the arguments are the client's own.
// Output lines have the form key=[value]. With ORRERY_DRIVER_SINK=record, messages
// are written to standard output as MSG[message]; otherwise the default sink
// (standard error) is used.
#include "driverstdio.h"

#include <vexil/clientenvironment.h>

#include <orrery/startup.h>

#include <QTextCodec>

#ifdef _WIN32
#include <windows.h>
#endif

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {

std::string driverValue(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

#ifdef _WIN32
// QProcess gives a child the parent's PATH when the child's environment has none, so a
// test that starts the driver without a variable lists it in ORRERY_DRIVER_UNSET
// (comma-separated ASCII names) and the driver removes it before anything reads it.
void removeListedVariables() {
    const std::string listed = driverValue("ORRERY_DRIVER_UNSET");
    std::size_t start = 0;
    while (start < listed.size()) {
        std::size_t end = listed.find(',', start);
        if (end == std::string::npos) {
            end = listed.size();
        }
        const std::wstring name(listed.begin() + static_cast<std::ptrdiff_t>(start),
                                listed.begin() + static_cast<std::ptrdiff_t>(end));
        if (!name.empty()) {
            ::_wputenv_s(name.c_str(), L"");
            ::SetEnvironmentVariableW(name.c_str(), nullptr);
        }
        start = end + 1;
    }
}
#endif

void print(const char* key, const std::string& value) {
    std::printf("%s=[%s]\n", key, value.c_str());
    std::fflush(stdout);
}

void printVariable(const char* name) {
    std::string value;
    if (vexil::getenv_stdstring_allow_empty(name, &value)) {
        print(name, value);
    } else {
        std::printf("%s unset\n", name);
        std::fflush(stdout);
    }
}

std::string currentDirectory() {
    char* cwd = vexil::getcwd_utf8_legacy(nullptr, 0);
    std::string text = cwd ? cwd : "";
    std::free(cwd);
    return text;
}

class DriverEnvironment : public vexil::ClientEnvironment {
public:
    using ClientEnvironment::export_with_default;

    void show_info_message(const std::string& message) const override {
        if (driverValue("ORRERY_DRIVER_SINK") == "record") {
            std::printf("MSG[%s]\n", message.c_str());
            std::fflush(stdout);
        } else {
            ClientEnvironment::show_info_message(message);
        }
    }

    void printFields() const {
        print("check", check_reg_verses_getenv_enabled ? "1" : "0");
        print("under-test", application_under_test ? "1" : "0");
        print("system_path", system_path);
        print("wbmlangpath", wbmlangpath);
        print("vexil_dir", vexil_dir);
        print("debug", debugging_output ? "1" : "0");
    }
};

void printCommandLine() {
    vexil::CommandLine* commandLine = vexil::CommandLine::get_command_line();
    std::string joined;
    for (int i = 1; i < commandLine->argc(); ++i) {
        joined += (i > 1 ? "|" : "") + std::string(commandLine->argv()[i]);
    }
    print("args", joined);
    print("argv-terminated", commandLine->argv()[commandLine->argc()] == nullptr ? "1" : "0");
}

const char* const kExported[] = {"VEXIL_EMDS_DIR", "DOCS_DIR",     "CYGWIN",        "SIMARCH",
                                 "COMPL_DIR",      "COMPILER_VER", "VEP_MAJOR_VER", "no_proxy",
                                 "HOME",           "PATH",         "WBMLANGPATH"};

int run(const std::string& mode) {
    DriverEnvironment environment;
    if (mode == "construct") {
        environment.printFields();
        print("run_64bit", vexil::ClientEnvironment::run_64bit() ? "1" : "0");
        return 0;
    }
    if (mode == "arguments") {
        if (driverValue("ORRERY_DRIVER_PRESET_DEBUG") == "1") {
            environment.enable_debugging_output(true);
        }
        environment.process_arguments();
        printCommandLine();
        environment.printFields();
        return 0;
    }
    if (mode == "echo") {
        environment.show_args_for_debugging();
        return 0;
    }
    if (mode == "flags") {
        environment.set_application_under_test(true);
        environment.enable_debugging_output(true);
        environment.set_check_reg_verses_getenv(false);
        environment.printFields();
        DriverEnvironment copy(environment);
        copy.printFields();
        DriverEnvironment assigned;
        assigned = environment;
        assigned.printFields();
        return 0;
    }
    if (mode == "product") {
        const std::string before = currentDirectory();
        try {
            environment.setup_product_variables();
        } catch (const std::runtime_error& error) {
            print("error", error.what());
        }
        print("cwd-kept", currentDirectory() == before ? "1" : "0");
        print("vexil_dir", environment.get_vexil_dir());
        printVariable("VEXIL_EMDS_DIR");
        return 0;
    }
    if (mode == "setup") {
        const std::string before = currentDirectory();
        try {
            environment.setup_environment();
        } catch (const std::runtime_error& error) {
            print("error", error.what());
        }
        print("cwd-kept", currentDirectory() == before ? "1" : "0");
        for (const char* name : kExported) {
            printVariable(name);
        }
        return 0;
    }
    if (mode == "system-path") {
        environment.setup_product_variables();
        const int times = driverValue("ORRERY_DRIVER_TIMES") == "2" ? 2 : 1;
        for (int i = 0; i < times; ++i) {
            environment.setup_system_path();
        }
        printVariable("PATH");
        return 0;
    }
    if (mode == "path-edits") {
        environment.prepend_to_system_path("A;B");
        printVariable("PATH");
        environment.append_to_system_path("C");
        printVariable("PATH");
        vexil::putenv_stdstring("PATH", "changed elsewhere");
        environment.save_path_to_env();
        printVariable("PATH");
        return 0;
    }
    if (mode == "wbmlangpath") {
        environment.setup_product_variables();
        environment.setup_wbmlangpath();
        printVariable("WBMLANGPATH");
        environment.printFields();
        return 0;
    }
    if (mode == "wbmlangpath-appends") {
        for (const char* name : {"ORRERY_DRIVER_ARG1", "ORRERY_DRIVER_ARG2"}) {
            std::string entries;
            if (vexil::getenv_stdstring_allow_empty(name, &entries)) {
                environment.append_to_wbmlangpath(entries);
                printVariable("WBMLANGPATH");
            }
        }
        return 0;
    }
    if (mode == "home") {
        environment.setup_home_directory();
        printVariable("HOME");
        return 0;
    }
    if (mode == "get-home") {
        print("home", environment.get_home_directory());
        return 0;
    }
    if (mode == "ensure-home") {
        environment.ensure_home_dir_exists(vexil::Path(driverValue("ORRERY_DRIVER_ARG1")));
        print("returned", "1");
        return 0;
    }
    if (mode == "give-error") {
        environment.give_home_dir_error_and_exit(driverValue("ORRERY_DRIVER_ARG1"),
                                                 driverValue("ORRERY_DRIVER_ARG2"));
    }
    if (mode == "ipc") {
        environment.setup_environment_for_ipc();
        printVariable("no_proxy");
        return 0;
    }
    if (mode == "simarch") {
        vexil::ClientEnvironment::setup_simarch_var();
        printVariable("SIMARCH");
        return 0;
    }
    if (mode == "export-default") {
        const std::string name = driverValue("ORRERY_DRIVER_ARG1");
        DriverEnvironment::export_with_default(name, driverValue("ORRERY_DRIVER_ARG2"));
        printVariable(name.c_str());
        return 0;
    }
    if (mode == "check-registry") {
        environment.process_arguments();
        if (driverValue("ORRERY_DRIVER_CHECK_OFF") == "1") {
            environment.set_check_reg_verses_getenv(false);
        }
        environment.setup_product_variables();
        environment.check_reg_verses_getenv();
        print("done", "1");
        return 0;
    }
    std::fprintf(stderr, "unknown mode [%s]\n", mode.c_str());
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
#ifdef _WIN32
    removeListedVariables();
#endif
    OrreryTest::useBinaryStdio();
    // Start from a single-byte locale codec, as on the target platform; the start-up
    // switches to UTF-8.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
    initialize_qt_core_application(argc, argv, "ClientEnvDriver");
    const int status = run(driverValue("ORRERY_DRIVER_MODE"));
    uninitialize_qt_core_application();
    return status;
}

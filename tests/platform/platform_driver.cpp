// SPDX-License-Identifier: MIT
// Runs one platform service in a fresh process, so that tests can observe
// process-wide state. Usage: platform_driver MODE
#include "driverstdio.h"

#include <vexil/core.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    OrreryTest::useBinaryStdio();
    if (argc < 2) {
        return 2;
    }
    const char* mode = argv[1];
    if (std::strcmp(mode, "korvane-capture") == 0) {
        vexil::CommandLine* cl = vexil::CommandLine::get_command_line();
        vexil::putenv_stdstring("KORVANE_DIR", "/changed/later");
        cl = vexil::CommandLine::get_command_line();
        std::printf("env=[%s]\nreg=[%s]\n", cl->get_original_korvane_dir_env_value().c_str(),
                    cl->get_original_korvane_dir_reg_value().c_str());
        return 0;
    }
    if (std::strcmp(mode, "korvane-capture-late") == 0) {
        vexil::putenv_stdstring("KORVANE_DIR", "/set/before/first/call");
        vexil::CommandLine* cl = vexil::CommandLine::get_command_line();
        std::printf("env=[%s]\n", cl->get_original_korvane_dir_env_value().c_str());
        return 0;
    }
    if (std::strcmp(mode, "app-name-flag") == 0) {
        std::printf("%d", vexil::is_qt_app_name_marked_as_initialized() ? 1 : 0);
        vexil::mark_qt_app_name_as_initialized();
        std::printf("%d", vexil::is_qt_app_name_marked_as_initialized() ? 1 : 0);
        vexil::mark_qt_app_name_as_initialized();
        std::printf("%d\n", vexil::is_qt_app_name_marked_as_initialized() ? 1 : 0);
        return 0;
    }
    if (std::strcmp(mode, "product") == 0) {
        std::printf("[%s][%s]", vexil::get_product_name().c_str(),
                    vexil::get_product_version().c_str());
        vexil::initialize_product_and_ver("Brevant \xc3\xa9", "2025.1");
        std::printf("[%s][%s]\n", vexil::get_product_name().c_str(),
                    vexil::get_product_version().c_str());
        return 0;
    }
    return 2;
}

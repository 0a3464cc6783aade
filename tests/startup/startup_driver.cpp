// SPDX-License-Identifier: MIT
// Runs one start-up scenario in a fresh process, so that tests can observe the
// process-wide state it leaves. The scenario is named by ORRERY_DRIVER_MODE; the
// arguments are left to the scenario (they are part of what is observed).
// Output lines have the form key=[value].
#include "driverstdio.h"

#include <orrery/startup.h>

#include <vexil/core.h>

#include <QCoreApplication>
#include <QTextCodec>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void print(const char* key, const std::string& value) {
    std::printf("%s=[%s]\n", key, value.c_str());
}

void print(const char* key, const QString& value) {
    print(key, value.toUtf8().toStdString());
}

void print(const char* key, long value) {
    std::printf("%s=[%ld]\n", key, value);
}

void printSettings() {
    print("initialized", static_cast<long>(are_qt_core_settings_initialized()));
    print("name", QCoreApplication::applicationName());
    print("marked", static_cast<long>(vexil::is_qt_app_name_marked_as_initialized()));
    print("organization", QCoreApplication::organizationName());
    QTextCodec* codec = QTextCodec::codecForLocale();
    print("codec", codec ? QString::fromLatin1(codec->name()) : QString());
}

void printCommandLine() {
    vexil::CommandLine* commandLine = vexil::CommandLine::get_command_line();
    print("vexil-argc", static_cast<long>(commandLine->argc()));
    for (int i = 1; i < commandLine->argc(); ++i) {
        print("vexil-arg", std::string(commandLine->argv()[i]));
    }
}

void printApplicationArguments() {
    int argc = -1;
    char** argv = nullptr;
    Orrery::get_application_arguments_utf8(&argc, &argv);
    print("utf8-argc", static_cast<long>(argc));
    for (int i = 1; i < argc; ++i) {
        print("utf8-arg", std::string(argv[i]));
    }
    print("utf8-argv-terminated", static_cast<long>(argv[argc] == nullptr));
    for (int i = 0; i < argc; ++i) {
        std::free(argv[i]);
    }
    delete[] argv;
}

const char* nameFromEnvironment() {
    // Unset means a null name; set (even to "") means that name.
#ifdef _WIN32
    // The C runtime's narrow environment is in the ANSI code page: read the UTF-16 one.
    static std::string name;
    const wchar_t* wide = ::_wgetenv(L"ORRERY_DRIVER_NAME");
    if (wide == nullptr) {
        return nullptr;
    }
    name = QString::fromWCharArray(wide).toUtf8().toStdString();
    return name.c_str();
#else
    return std::getenv("ORRERY_DRIVER_NAME");
#endif
}

}  // namespace

int main(int argc, char** argv) {
    OrreryTest::useBinaryStdio();
    const char* modeText = std::getenv("ORRERY_DRIVER_MODE");
    const std::string mode = modeText ? modeText : "";
    // Start from a single-byte locale codec, as on the target platform, so that the
    // scenarios show the start-up switching to UTF-8.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));

    if (mode == "settings") {
        printSettings();
        initialize_qt_core_settings(nullptr);
        printSettings();
        initialize_qt_core_settings("Tool");
        printSettings();
        initialize_qt_core_settings("Other");
        printSettings();
        return 0;
    }
    if (mode == "preinit" || mode == "preconstructor") {
        if (mode == "preinit") {
            orrery_initialize_before_creating_core_application();
        } else {
            OrreryQtCoreApplicationPreConstructor first;
            OrreryQtCoreApplicationPreConstructor second;
            second = first;
        }
        printSettings();
        initialize_qt_core_settings("Later");
        print("later-name", QCoreApplication::applicationName());
        return 0;
    }
    if (mode == "app") {
        initialize_qt_core_application(argc, argv, nameFromEnvironment());
        printSettings();
        print("owned-type", static_cast<long>(dynamic_cast<OrreryQtCoreApplication*>(
                                                  QCoreApplication::instance()) != nullptr));
        printCommandLine();
        printApplicationArguments();
        uninitialize_qt_core_application();
        print("instance-after", static_cast<long>(QCoreApplication::instance() != nullptr));
        return 0;
    }
    if (mode == "settings-then-app") {
        initialize_qt_core_settings("First");
        initialize_qt_core_application(argc, argv, "Second");
        print("name", QCoreApplication::applicationName());
        uninitialize_qt_core_application();
        return 0;
    }
    if (mode == "adopt") {
        QCoreApplication existing(argc, argv);
        initialize_qt_core_application(argc, argv, "Adopted");
        print("same-instance", static_cast<long>(QCoreApplication::instance() == &existing));
        printSettings();
        printCommandLine();
        uninitialize_qt_core_application();
        // Had the adopted object been deleted, this access would be a use after free.
        print("instance-after", static_cast<long>(QCoreApplication::instance() == &existing));
        print("arguments", static_cast<long>(existing.arguments().size()));
        return 0;
    }
    if (mode == "argc-once") {
        initialize_qt_core_application(argc, argv, "Once");
        print("first-arguments", static_cast<long>(QCoreApplication::arguments().size()));
        uninitialize_qt_core_application();
        print("instance-between", static_cast<long>(QCoreApplication::instance() != nullptr));
        initialize_qt_core_application(1, argv, "Again");
        print("second-arguments", static_cast<long>(QCoreApplication::arguments().size()));
        print("name", QCoreApplication::applicationName());
        uninitialize_qt_core_application();
        return 0;
    }
    if (mode == "direct") {
        int count = argc;
        const char* name = nameFromEnvironment();
        OrreryQtCoreApplication app(count, argv, QString::fromUtf8(name ? name : "Direct"),
                                    OrreryQtCoreApplicationPreConstructor());
        printSettings();
        printCommandLine();
        return 0;
    }
    if (mode == "direct-after-mark") {
        initialize_qt_core_settings("First");
        int count = argc;
        OrreryQtCoreApplication app(count, argv, QStringLiteral("Second"));
        print("name", QCoreApplication::applicationName());
        return 0;
    }
    if (mode == "arguments-without-app") {
        printApplicationArguments();
        return 0;
    }
    if (mode == "product") {
        print("name", get_product_name());
        print("version", get_product_version());
        initialize_product("Brevant \xc3\xa9", "2025.1");
        print("name", get_product_name());
        print("version", get_product_version());
        print("vexil-name", vexil::get_product_name());
        initialize_product(nullptr, nullptr);
        print("name", get_product_name());
        print("version", get_product_version());
        return 0;
    }
    if (mode == "directories") {
        const std::string& bin = get_bin_directory();
        print("bin", bin);
        print("bin-matches", static_cast<long>(bin == vexil::get_bin_directory()));
        print("bin-same-object", static_cast<long>(&get_bin_directory() == &bin));
        const std::string& installation = get_installation_directory();
        print("installation", installation);
        vexil::putenv_stdstring("VEXIL_INSTALLATION_DIR", "/changed/after/first/call");
        print("installation", get_installation_directory());
        print("vexil-installation", vexil::get_installation_directory());
        print("installation-same-object",
              static_cast<long>(&get_installation_directory() == &installation));
        return 0;
    }
    std::fprintf(stderr, "unknown mode [%s]\n", mode.c_str());
    return 2;
}

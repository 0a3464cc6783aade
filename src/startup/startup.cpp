// SPDX-License-Identifier: MIT
// Start-up of a program on Qt's core application: names, locale codec, the core
// application object, the UTF-8 command line, product identity and directories.

#include <orrery/startup.h>

#include <vexil/core.h>

#include <QByteArray>
#include <QStringList>
#include <QTextCodec>

#include <mutex>
#include <vector>

namespace {

// Process-wide start-up state, set on the main thread and never locked.
bool s_settings_initialized = false;
bool s_preinit_done = false;
bool s_core_app_owned = false;
QCoreApplication* s_core_app = nullptr;

// Qt keeps a reference to the argument count, so it lives as long as the process.
int s_core_app_argc = 0;
std::once_flag s_core_app_argc_once;

std::string s_bin_directory;
std::string s_installation_directory;

void applyCodecAndOrganisation() {
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QCoreApplication::setOrganizationName(QStringLiteral("Tolmarsk"));
    s_settings_initialized = true;
    s_preinit_done = true;
}

void setDefaultNameUnlessMarked() {
    // The default is not marked, so a name given later still wins.
    if (!vexil::is_qt_app_name_marked_as_initialized()) {
        QCoreApplication::setApplicationName(QStringLiteral("Generic"));
    }
}

}  // namespace

void orrery_initialize_before_creating_core_application() {
    setDefaultNameUnlessMarked();
    applyCodecAndOrganisation();
}

OrreryQtCoreApplicationPreConstructor::OrreryQtCoreApplicationPreConstructor() {
    orrery_initialize_before_creating_core_application();
}

OrreryQtCoreApplication::OrreryQtCoreApplication(int& argc, char** argv,
                                                 const QString& applicationName,
                                                 const OrreryQtCoreApplicationPreConstructor&)
    : QCoreApplication(argc, argv, QT_VERSION) {
    // The locale codec is UTF-8 by now, so toLocal8Bit() yields UTF-8 on every host.
    std::vector<std::string> arguments;
    const QStringList qtArguments = QCoreApplication::arguments();
    arguments.reserve(static_cast<std::size_t>(qtArguments.size()));
    for (const QString& argument : qtArguments) {
        arguments.push_back(argument.toLocal8Bit().toStdString());
    }
    vexil::CommandLine::get_command_line()->save_command_line_utf8(arguments);

    const QByteArray name = applicationName.toLocal8Bit();
    if (!vexil::is_qt_app_name_marked_as_initialized()) {
        vexil::mark_qt_app_name_as_initialized();
        QCoreApplication::setApplicationName(QString::fromLocal8Bit(name));
    }
    applyCodecAndOrganisation();
}

OrreryQtCoreApplication::~OrreryQtCoreApplication() = default;

void initialize_qt_core_settings(const char* applicationName) {
    if (applicationName == nullptr) {
        setDefaultNameUnlessMarked();
    } else if (!vexil::is_qt_app_name_marked_as_initialized()) {
        // The first name fixed in a process wins.
        vexil::mark_qt_app_name_as_initialized();
        QCoreApplication::setApplicationName(QString::fromUtf8(applicationName));
    }
    applyCodecAndOrganisation();
}

int are_qt_core_settings_initialized() {
    return s_settings_initialized ? 1 : 0;
}

void initialize_qt_core_application(int argc, char** argv, const char* applicationName) {
    initialize_qt_core_settings(applicationName);
    if (QCoreApplication* existing = QCoreApplication::instance()) {
        s_core_app = existing;
        s_core_app_owned = false;
        return;
    }
    std::call_once(s_core_app_argc_once, [argc] { s_core_app_argc = argc; });
    orrery_initialize_before_creating_core_application();
    // With a null name the settings step left "Generic" unmarked and the empty name
    // given here is then marked and set; kept deliberately.
    s_core_app =
        new OrreryQtCoreApplication(s_core_app_argc, argv, QString::fromUtf8(applicationName),
                                    OrreryQtCoreApplicationPreConstructor());
    s_core_app_owned = true;
}

void uninitialize_qt_core_application() {
    if (s_core_app_owned) {
        delete s_core_app;
        s_core_app_owned = false;
    }
}

void initialize_product(const char* name, const char* version) {
    vexil::initialize_product_and_ver(name ? std::string(name) : std::string(),
                                      version ? std::string(version) : std::string());
}

QString get_product_name() {
    return QString::fromStdString(vexil::get_product_name());
}

QString get_product_version() {
    return QString::fromStdString(vexil::get_product_version());
}

const std::string& get_bin_directory() {
    if (s_bin_directory.empty()) {
        s_bin_directory = vexil::get_bin_directory();
    }
    return s_bin_directory;
}

const std::string& get_installation_directory() {
    if (s_installation_directory.empty()) {
        s_installation_directory = vexil::get_installation_directory();
    }
    return s_installation_directory;
}

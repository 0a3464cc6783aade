// SPDX-License-Identifier: MIT
#include "clientsetup.h"

#include <vexil/core.h>

#include <QDir>

namespace OrreryTools {

std::vector<std::string> ReportingClientEnvironment::takeMessages() {
    std::vector<std::string> taken;
    taken.swap(messages);
    return taken;
}

void ReportingClientEnvironment::show_info_message(const std::string& message) const {
    messages.push_back(message);
}

void addClientSwitches(QCommandLineParser& parser) {
    // The client's own switches are single-dash words.
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addOption(QCommandLineOption(
        QStringLiteral("no_reg_vs_env"),
        QStringLiteral("Skip the registry-versus-environment check (taken by the client "
                       "environment).")));
    parser.addOption(QCommandLineOption(
        QStringLiteral("debug_env"),
        QStringLiteral("Echo the arguments on standard error (taken by the client "
                       "environment).")));
}

const QStringList& exportedVariables() {
    static const QStringList names{
        QStringLiteral("VEXIL_EMDS_DIR"), QStringLiteral("WBMLANGPATH"),
        QStringLiteral("HOME"),           QStringLiteral("DOCS_DIR"),
        QStringLiteral("CYGWIN"),         QStringLiteral("SIMARCH"),
        QStringLiteral("COMPL_DIR"),      QStringLiteral("COMPILER_VER"),
        QStringLiteral("VEP_MAJOR_VER"),  QStringLiteral("PATH"),
        QStringLiteral("no_proxy"),
    };
    return names;
}

QString environmentValue(const QString& name) {
    return QString::fromStdString(vexil::getenv_stdstring(name.toStdString()));
}

QString prepareHomeDirectory(vexil::ClientEnvironment& client) {
    // get_home_directory() ends the process when it finds nothing; ask first.
    std::string value;
    const bool inRegistry = vexil::getenv_from_registry_only("HOME", &value);
    if (!inRegistry) {
        value = vexil::getenv_check_registry_stdstring("HOME");
    }
    std::string profile;
    if (QString::fromStdString(value).trimmed().isEmpty() &&
        !vexil::get_user_profile_directory(&profile)) {
        return QStringLiteral(
            "no home directory: HOME is not set and the user profile is "
            "unknown");
    }
    const QString home = QString::fromStdString(client.get_home_directory());
    // The set-up spells the folder with the host's separators; '/' serves on every host.
    const QString config =
        QString(QDir::fromNativeSeparators(home) + QStringLiteral("/korvane/config"));
    if (!QDir().mkpath(config)) {
        return QStringLiteral("cannot create the folder \"%1\" in the home directory").arg(config);
    }
    return QString();
}

QString recordedArguments() {
    vexil::CommandLine* commandLine = vexil::CommandLine::get_command_line();
    QStringList arguments;
    for (int i = 0; i < commandLine->argc(); ++i) {
        arguments << QString::fromUtf8(commandLine->argv()[i]);
    }
    return arguments.join(QLatin1Char(' '));
}

}  // namespace OrreryTools

// SPDX-License-Identifier: MIT
// orrery env: the client set-up, run in-process, and the variables it exported.

#include "clientsetup.h"
#include "tool.h"

#include <orrery/filename.h>
#include <vexil/core.h>

#include <QFileInfo>

#include <stdexcept>

namespace OrreryTools {

int runEnv(Invocation& run) {
    QCommandLineParser parser;
    const QCommandLineOption home(
        QStringLiteral("home"),
        QStringLiteral("Use DIR as the home directory (unless the registry names one, which "
                       "wins); \"korvane/config\" is created in it."),
        QStringLiteral("DIR"));
    const QCommandLineOption installDir(
        QStringLiteral("install-dir"),
        QStringLiteral("Use DIR as the installation directory (sets VEXIL_INSTALLATION_DIR; "
                       "refused where the host takes it from the tool's location)."),
        QStringLiteral("DIR"));
    parser.addOption(home);
    parser.addOption(installDir);
    addClientSwitches(parser);
    const int parsed = run.parse(
        parser,
        QStringLiteral("Runs the set-up of a desktop client in this process (process_arguments, "
                       "setup_environment, check_reg_verses_getenv) and prints every variable it "
                       "exported as NAME=value, in the order of the set-up. The installation "
                       "directory is VEXIL_INSTALLATION_DIR when set, else the parent of the "
                       "tool's folder; KORVANE_DIR is only compared with it. Warnings of the "
                       "check go to standard error."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 0, 0, QStringLiteral("[options]"))) {
        return 1;
    }
    if (parser.isSet(installDir)) {
        const QFileInfo directory(parser.value(installDir));
        if (!directory.isDir()) {
            return run.fail(QStringLiteral("the installation directory %1 does not exist")
                                .arg(quoted(parser.value(installDir))));
        }
        const std::string wanted = directory.absoluteFilePath().toStdString();
        vexil::putenv_stdstring("VEXIL_INSTALLATION_DIR", wanted);
        const std::string actual = vexil::get_installation_directory();
        if (!Orrery::Filename::is_same_pathname(actual, wanted)) {
            // Windows takes the installation directory from where the program lies.
            return run.fail(QStringLiteral("the installation directory is %1, the parent of the "
                                           "tool's folder, on this host; --install-dir cannot "
                                           "change it")
                                .arg(quoted(QString::fromStdString(actual))));
        }
    }
    if (parser.isSet(home)) {
        if (parser.value(home).trimmed().isEmpty()) {
            return run.fail(QStringLiteral("the home directory must not be empty"));
        }
        vexil::putenv_stdstring("HOME", parser.value(home).toStdString());
    }

    ReportingClientEnvironment client;
    client.process_arguments();
    const QString homeProblem = prepareHomeDirectory(client);
    if (!homeProblem.isEmpty()) {
        return run.fail(homeProblem);
    }
    const QString proxyExceptionBefore = environmentValue(QStringLiteral("no_proxy"));
    try {
        client.setup_environment();
    } catch (const std::runtime_error&) {
        return run.fail(
            QStringLiteral("the installation directory %1 cannot be entered; set "
                           "VEXIL_INSTALLATION_DIR or use --install-dir")
                .arg(quoted(QString::fromStdString(
                    vexil::CommandLine::get_command_line()->get_installation_directory()))));
    }
    client.check_reg_verses_getenv();

    for (const QString& name : exportedVariables()) {
        const QString value = environmentValue(name);
        // The proxy exception is exported only when the set-up had to add it.
        if (name == QLatin1String("no_proxy") &&
            (value.isEmpty() || value == proxyExceptionBefore)) {
            continue;
        }
        run.out() << name << '=' << value << '\n';
    }
    run.out().flush();
    for (const std::string& message : client.takeMessages()) {
        run.err() << QString::fromStdString(message) << '\n';
    }
    return 0;
}

}  // namespace OrreryTools

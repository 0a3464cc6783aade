// SPDX-License-Identifier: MIT
// Runs a driver program in a child process with a controlled environment and
// argument list, for tests of process-wide state.
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTextCodec>

#include <gtest/gtest.h>

namespace OrreryTest {

struct ChildResult {
    bool finished = false;
    QProcess::ExitStatus status = QProcess::CrashExit;
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

/**
 * The environment of this process without the variables that the start-up and the
 * client set-up read or export, and with the C locale, so that only what a test
 * sets reaches the child and UTF-8 handling does not depend on the locale.
 */
inline QProcessEnvironment cleanEnvironment() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const char* const names[] = {"KORVANE_DIR",
                                 "VEXIL_INSTALLATION_DIR",
                                 "VEXIL_REGISTRY_FILE",
                                 "WBMLANGPATH",
                                 "VEXIL_EMDS_DIR",
                                 "DOCS_DIR",
                                 "CYGWIN",
                                 "SIMARCH",
                                 "COMPL_DIR",
                                 "COMPILER_VER",
                                 "VEP_MAJOR_VER",
                                 "http_proxy",
                                 "https_proxy",
                                 "no_proxy",
                                 "HTTP_PROXY",
                                 "HTTPS_PROXY",
                                 "NO_PROXY",
                                 "USERPROFILE",
                                 "LANG",
                                 "LANGUAGE",
                                 "LC_CTYPE",
                                 "ORRERY_DRIVER_MODE",
                                 "ORRERY_DRIVER_NAME"};
    for (const char* name : names) {
        environment.remove(QString::fromLatin1(name));
    }
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    return environment;
}

/// Starts @p program with @p arguments (encoded as UTF-8) and waits for it.
inline ChildResult runChild(const QString& program, const QStringList& arguments,
                            const QProcessEnvironment& environment,
                            const QString& workingDirectory = QString()) {
    // QProcess encodes the arguments with the locale codec of this process.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    QProcess process;
    process.setProcessEnvironment(environment);
    if (!workingDirectory.isEmpty()) {
        process.setWorkingDirectory(workingDirectory);
    }
    process.start(program, arguments);
    ChildResult result;
    result.finished = process.waitForFinished(60000);
    result.status = process.exitStatus();
    result.exitCode = process.exitCode();
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

}  // namespace OrreryTest

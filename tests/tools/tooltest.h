// SPDX-License-Identifier: MIT
// Runs the orrery tool in a child process with an environment of its own: a temporary
// HOME and XDG_CONFIG_HOME, and none of the suite's variables from the caller.
#pragma once

#include "testutil.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <ostream>
#include <vector>

namespace OrreryToolTest {

/// One row of a table of tool runs: the test's name, the arguments after the command and
/// the exact standard output.
struct CommandCase {
    const char* name;
    std::vector<const char*> arguments;
    const char* output;
};

inline void PrintTo(const CommandCase& row, std::ostream* out) {
    *out << row.name;
}

struct ToolResult {
    int exitCode = -1;
    bool crashed = false;
    QString out;
    QString err;
};

/// @p path with a drive: a rooted path without one (the build was configured on a POSIX
/// host) is on the drive of this program; other paths are returned as they are.
inline QString onThisDrive(const QString& path) {
    return QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(path);
}

/// The tool the tests run.
inline QString toolPath() {
    return onThisDrive(QStringLiteral(ORRERY_TOOL));
}

/// The example data: the source tree's, or on Windows the copy whose example installation
/// holds the tool.
inline QString examplesDir() {
    return onThisDrive(QStringLiteral(ORRERY_EXAMPLES_DIR));
}

/// The example installation (KORVANE_DIR of the demo).
inline QString exampleInstallation() {
    return QString(examplesDir() + QStringLiteral("/korvane"));
}

/// @p path spelled with the host's separators, as the library's vexil::Path spells it.
inline QString hostSpelling(const QString& path) {
#ifdef _WIN32
    return QDir::toNativeSeparators(path);
#else
    return path;
#endif
}

/// Exit status 0, nothing on standard error.
inline ::testing::AssertionResult succeeded(const ToolResult& result) {
    if (result.crashed || result.exitCode != 0 || !result.err.isEmpty()) {
        return ::testing::AssertionFailure()
               << "exit " << result.exitCode << ", stderr: " << result.err.toStdString()
               << ", stdout: " << result.out.toStdString();
    }
    return ::testing::AssertionSuccess();
}

/// The tool's output with Windows line ends (its standard streams are in text mode there)
/// read as "\n", so that one expectation serves both hosts.
inline QByteArray textLines(QByteArray bytes) {
#ifdef _WIN32
    bytes.replace("\r\n", "\n");
#endif
    return bytes;
}

/// @p bytes as a file written in text mode holds them: with CR LF line ends on Windows.
inline QByteArray textModeFile(QByteArray bytes) {
#ifdef _WIN32
    bytes.replace("\n", "\r\n");
#endif
    return bytes;
}

class ToolTest : public OrreryTest::TempDirTest {
protected:
    void SetUp() override {
        OrreryTest::TempDirTest::SetUp();
        QDir(path()).mkpath(QStringLiteral("home"));
        environment = QProcessEnvironment::systemEnvironment();
        for (const char* name :
             {"KORVANE_DIR", "VEXIL_INSTALLATION_DIR", "VEXIL_REGISTRY_FILE",
              "VEXIL_REFERRED_COMPONENT_FILE", "VEXIL_INSTALLINFO_FILE",
              "VEXIL_CR_UNQUOTE_STRATEGY_ENUM", "VEXIL_EMDS_DIR", "WBMLANGPATH", "DOCS_DIR",
              "CYGWIN", "SIMARCH", "COMPL_DIR", "COMPILER_VER", "VEP_MAJOR_VER", "http_proxy",
              "https_proxy", "no_proxy", "USERPROFILE"}) {
            environment.remove(QString::fromLatin1(name));
        }
        environment.insert(QStringLiteral("HOME"), path(QStringLiteral("home")));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), path(QStringLiteral("config")));
    }

    /// Runs `orrery ARGS` and waits for it; a crash or a hang fails the test. @p program
    /// replaces the tool of toolPath().
    ToolResult run(const QStringList& arguments, const QString& workingDirectory = QString(),
                   const QString& program = QString()) {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(workingDirectory.isEmpty() ? path() : workingDirectory);
        process.start(program.isEmpty() ? toolPath() : program, arguments);
        ToolResult result;
        if (!process.waitForStarted(30000) || !process.waitForFinished(120000)) {
            ADD_FAILURE() << "orrery did not run: " << process.errorString().toStdString();
            process.kill();
            process.waitForFinished();
            result.crashed = true;
            return result;
        }
        result.crashed = process.exitStatus() != QProcess::NormalExit;
        result.exitCode = process.exitCode();
        result.out = QString::fromUtf8(textLines(process.readAllStandardOutput()));
        result.err = QString::fromUtf8(textLines(process.readAllStandardError()));
        EXPECT_FALSE(result.crashed) << "orrery crashed: " << result.err.toStdString();
        return result;
    }

    /// Runs `orrery COMMAND ARGS` of @p row; it must succeed with exactly the row's output.
    void expectOutput(const QString& command, const CommandCase& row) {
        QStringList arguments{command};
        for (const char* argument : row.arguments) {
            arguments << QString::fromUtf8(argument);
        }
        const ToolResult result = run(arguments);
        ASSERT_TRUE(succeeded(result));
        EXPECT_EQ(result.out, QString::fromUtf8(row.output));
    }

    QProcessEnvironment environment;
};

/**
 * Exit status 1, nothing on standard output and exactly one line on standard error that
 * starts with "orrery <command>: " and holds @p part.
 */
inline ::testing::AssertionResult rejected(const ToolResult& result, const QString& command,
                                           const QString& part) {
    const QString prefix = QString(QStringLiteral("orrery ") + command + QStringLiteral(": "));
    const bool oneLine =
        result.err.endsWith(QLatin1Char('\n')) && result.err.count(QLatin1Char('\n')) == 1;
    if (result.crashed || result.exitCode != 1 || !result.out.isEmpty() || !oneLine ||
        !result.err.startsWith(prefix) || !result.err.contains(part)) {
        return ::testing::AssertionFailure()
               << "exit " << result.exitCode << ", stderr: [" << result.err.toStdString()
               << "], stdout: [" << result.out.toStdString() << "], expected a line starting "
               << prefix.toStdString() << " holding " << part.toStdString();
    }
    return ::testing::AssertionSuccess();
}

/// The lines of a text, without the empty line after the last line break.
inline QStringList lines(const QString& text) {
    QStringList all = text.split(QLatin1Char('\n'));
    if (!all.isEmpty() && all.constLast().isEmpty()) {
        all.removeLast();
    }
    return all;
}

}  // namespace OrreryToolTest

// SPDX-License-Identifier: MIT
// `orrery env`: the client set-up run in the tool's process.
#include "tooltest.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>

namespace {

using OrreryToolTest::exampleInstallation;
using OrreryToolTest::hostSpelling;
using OrreryToolTest::lines;
using OrreryToolTest::rejected;
using OrreryToolTest::succeeded;
using OrreryToolTest::ToolResult;

class OrreryEnv : public OrreryToolTest::ToolTest {};

QStringList names(const QStringList& assignments) {
    QStringList result;
    for (const QString& line : assignments) {
        result << line.section(QLatin1Char('='), 0, 0);
    }
    return result;
}

TEST_F(OrreryEnv, PrintsEveryExportedVariableInTheOrderOfTheSetUp) {
    environment.insert(QStringLiteral("PATH"), QStringLiteral("/usr/bin"));
    const ToolResult result =
        run({QStringLiteral("env"), QStringLiteral("--install-dir"), exampleInstallation()});
    ASSERT_TRUE(succeeded(result));
    const QStringList output = lines(result.out);
    EXPECT_EQ(names(output),
              (QStringList{QStringLiteral("VEXIL_EMDS_DIR"), QStringLiteral("WBMLANGPATH"),
                           QStringLiteral("HOME"), QStringLiteral("DOCS_DIR"),
                           QStringLiteral("CYGWIN"), QStringLiteral("SIMARCH"),
                           QStringLiteral("COMPL_DIR"), QStringLiteral("COMPILER_VER"),
                           QStringLiteral("VEP_MAJOR_VER"), QStringLiteral("PATH")}));
    const QString d = hostSpelling(exampleInstallation());
    EXPECT_TRUE(output.contains(QString(QStringLiteral("VEXIL_EMDS_DIR=") + d)));
    EXPECT_TRUE(output.contains(QString(QStringLiteral("HOME=") + path(QStringLiteral("home")))));
    EXPECT_TRUE(output.contains(QStringLiteral("SIMARCH=win32_64")));
    EXPECT_TRUE(output.contains(QStringLiteral("COMPILER_VER=_VS2022")));
    EXPECT_TRUE(output.contains(
        QString(QStringLiteral("PATH=") + d + QStringLiteral("\\bin\\win32_64;") + d +
                QStringLiteral("\\lib\\win32_64;") + d + QStringLiteral("\\tools\\python;") + d +
                QStringLiteral("\\tools\\bin_win32_64;") + d + QStringLiteral("\\bin;") + d +
                QStringLiteral("\\arttrans;;/usr/bin"))));
    EXPECT_TRUE(QFileInfo(path(QStringLiteral("home/korvane/config"))).isDir());
}

TEST_F(OrreryEnv, ExportsTheProxyExceptionOnlyWhenAProxyIsSet) {
    environment.insert(QStringLiteral("https_proxy"), QStringLiteral("http://proxy:3128"));
    ToolResult result =
        run({QStringLiteral("env"), QStringLiteral("--install-dir"), exampleInstallation()});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(lines(result.out).constLast(), QStringLiteral("no_proxy=localhost,127.0.0.1"));
    environment.remove(QStringLiteral("https_proxy"));
    result = run({QStringLiteral("env"), QStringLiteral("--install-dir"), exampleInstallation()});
    ASSERT_TRUE(succeeded(result));
    EXPECT_FALSE(result.out.contains(QStringLiteral("no_proxy")));
}

#ifndef _WIN32
// VEXIL_REGISTRY_FILE stands in for the registry on POSIX hosts only.
TEST_F(OrreryEnv, TakesValuesFromTheRegistryAndTheHomeOption) {
    const QString registry = path(QStringLiteral("registry.ini"));
    QFile file(registry);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Environment]\nCOMPILER_VER=_VS2099\nKORVANE_DIR=");
    file.write(exampleInstallation().toUtf8());
    file.write("\n");
    file.close();
    environment.insert(QStringLiteral("VEXIL_REGISTRY_FILE"), registry);
    environment.insert(QStringLiteral("VEXIL_INSTALLATION_DIR"), exampleInstallation());
    const QString home = path(QStringLiteral("other home"));
    const ToolResult result = run({QStringLiteral("env"), QStringLiteral("--home"), home});
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(result.out.contains(QStringLiteral("\nCOMPILER_VER=_VS2099\n")));
    EXPECT_TRUE(result.out.contains(
        QString(QStringLiteral("VEXIL_EMDS_DIR=") + exampleInstallation() + QLatin1Char('\n'))));
    EXPECT_TRUE(result.out.contains(QString(QStringLiteral("\nHOME=") + home + QLatin1Char('\n'))));
    EXPECT_TRUE(QFileInfo(QString(home + QStringLiteral("/korvane/config"))).isDir());
}
#else
TEST_F(OrreryEnv, TakesTheHomeOption) {
    const QString home = path(QStringLiteral("other home"));
    const ToolResult result = run({QStringLiteral("env"), QStringLiteral("--home"), home});
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(
        result.out.contains(QString(QStringLiteral("VEXIL_EMDS_DIR=") +
                                    hostSpelling(exampleInstallation()) + QLatin1Char('\n'))));
    EXPECT_TRUE(result.out.contains(QString(QStringLiteral("\nHOME=") + home + QLatin1Char('\n'))));
    EXPECT_TRUE(QFileInfo(QString(home + QStringLiteral("/korvane/config"))).isDir());
}

TEST_F(OrreryEnv, RefusesAnInstallationDirectoryOtherThanWhereTheToolLies) {
    // The installation directory is the parent of the tool's folder; nothing changes it.
    const ToolResult result = run({QStringLiteral("env"), QStringLiteral("--install-dir"), path()});
    EXPECT_TRUE(rejected(result, QStringLiteral("env"),
                         QString(QStringLiteral("the installation directory is \"") +
                                 hostSpelling(exampleInstallation()) +
                                 QStringLiteral("\", the parent of the tool's folder, on this "
                                                "host; --install-dir cannot change it"))));
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("home/korvane"))));
}
#endif

TEST_F(OrreryEnv, WarnsOnStandardErrorWhenKorvaneDirDisagrees) {
    environment.insert(QStringLiteral("KORVANE_DIR"), path());
    const ToolResult result =
        run({QStringLiteral("env"), QStringLiteral("--install-dir"), exampleInstallation()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.err.contains(QStringLiteral("does not match")));
    EXPECT_TRUE(result.err.contains(QString(QStringLiteral("    Environment: ") + path())));
    const ToolResult quiet = run({QStringLiteral("env"), QStringLiteral("--install-dir"),
                                  exampleInstallation(), QStringLiteral("-no_reg_vs_env")});
    EXPECT_TRUE(succeeded(quiet));
}

TEST_F(OrreryEnv, RejectsBadInputWithOneLine) {
    const QString env = QStringLiteral("env");
    EXPECT_TRUE(rejected(run({env, QStringLiteral("--install-dir"), path(QStringLiteral("none"))}),
                         env, QStringLiteral("does not exist")));
#ifndef _WIN32
    // VEXIL_INSTALLATION_DIR names the installation directory on POSIX hosts only.
    environment.insert(QStringLiteral("VEXIL_INSTALLATION_DIR"), path(QStringLiteral("none")));
    EXPECT_TRUE(rejected(
        run({env}), env,
        QStringLiteral("cannot be entered; set VEXIL_INSTALLATION_DIR or use --install-dir")));
#endif
    QFile blocker(path(QStringLiteral("blocker")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    EXPECT_TRUE(rejected(run({env, QStringLiteral("--install-dir"), exampleInstallation(),
                              QStringLiteral("--home"), path(QStringLiteral("blocker"))}),
                         env, QStringLiteral("cannot create the folder")));
    EXPECT_TRUE(
        rejected(run({env, QStringLiteral("extra")}), env, QStringLiteral("too many arguments")));
}

}  // namespace

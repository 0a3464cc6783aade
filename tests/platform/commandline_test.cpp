// SPDX-License-Identifier: MIT
#include <vexil/core.h>

#include "testutil.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>

#ifndef ORRERY_PLATFORM_DRIVER
#error "ORRERY_PLATFORM_DRIVER must name the driver executable"
#endif

namespace {

struct DriverResult {
    int exitCode;
    QString out;
};

DriverResult runDriver(const QString& mode, const QProcessEnvironment& environment) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(ORRERY_PLATFORM_DRIVER), {mode});
    process.waitForFinished(30000);
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput())};
}

}  // namespace

TEST(VexilCommandLineBase, SaveArgcArgvAndRemove) {
    class Line : public vexil::CommandLineBase {};
    Line line;
    EXPECT_EQ(line.argc(), 0);
    ASSERT_NE(line.argv(), nullptr);
    EXPECT_EQ(line.argv()[0], nullptr);
    std::vector<std::string> args{"prog", "-debug_env", "x", "\xc3\xa9t\xc3\xa9"};
    line.save_command_line_utf8(args);
    EXPECT_EQ(line.argc(), 4);
    EXPECT_STREQ(line.argv()[3], "\xc3\xa9t\xc3\xa9");
    EXPECT_EQ(line.argv()[4], nullptr);
    line.remove_arg(1);
    EXPECT_EQ(line.argc(), 3);
    EXPECT_STREQ(line.argv()[1], "x");
    EXPECT_EQ(line.argv()[3], nullptr);
    line.remove_arg(7);
    line.remove_arg(-1);
    EXPECT_EQ(line.argc(), 3);
    EXPECT_EQ(args.size(), 4u);  // the caller's vector is left alone
}

TEST(VexilCommandLine, IsASingleton) {
    EXPECT_EQ(vexil::CommandLine::get_command_line(), vexil::CommandLine::get_command_line());
}

class VexilCommandLineProcess : public OrreryTest::TempDirTest {};

#ifndef _WIN32
// The registry of POSIX hosts is a file; the Windows variant below uses the registry.
TEST_F(VexilCommandLineProcess, OriginalKorvaneValuesAreCapturedAtFirstRetrieval) {
    QFile registry(path(QStringLiteral("reg.ini")));
    ASSERT_TRUE(registry.open(QIODevice::WriteOnly));
    registry.write("[Environment]\nKORVANE_DIR=/from/registry\n");
    registry.close();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("KORVANE_DIR"), QStringLiteral("/from/env"));
    environment.insert(QStringLiteral("VEXIL_REGISTRY_FILE"), path(QStringLiteral("reg.ini")));
    const DriverResult result = runDriver(QStringLiteral("korvane-capture"), environment);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, QStringLiteral("env=[/from/env]\nreg=[/from/registry]\n"));
}
#else
// The driver gives itself a registry of its own, with ORRERY_DRIVER_REGISTRY_KORVANE_DIR as
// the installer's KORVANE_DIR, and changes that value after the first retrieval.
TEST_F(VexilCommandLineProcess, OriginalKorvaneValuesAreCapturedFromTheRegistryAtFirstRetrieval) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("KORVANE_DIR"), QStringLiteral("C:\\from\\env"));
    environment.insert(QStringLiteral("ORRERY_DRIVER_REGISTRY_KORVANE_DIR"),
                       QStringLiteral("C:\\from\\registry \u4e2d"));
    const DriverResult result = runDriver(QStringLiteral("korvane-capture"), environment);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, QStringLiteral("env=[C:\\from\\env]\nreg=[C:\\from\\registry \u4e2d]\n"));
}
#endif

TEST_F(VexilCommandLineProcess, ValuesAbsentAtStartAreEmpty) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("KORVANE_DIR"));
    environment.remove(QStringLiteral("VEXIL_REGISTRY_FILE"));
    const DriverResult result = runDriver(QStringLiteral("korvane-capture"), environment);
    EXPECT_EQ(result.out, QStringLiteral("env=[]\nreg=[]\n"));
}

TEST_F(VexilCommandLineProcess, CaptureHappensAtTheFirstCallNotAtLoad) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("KORVANE_DIR"));
    const DriverResult result = runDriver(QStringLiteral("korvane-capture-late"), environment);
    EXPECT_EQ(result.out, QStringLiteral("env=[/set/before/first/call]\n"));
}

TEST(VexilProcessState, ApplicationNameFlagIsSetOnceForTheProcess) {
    const DriverResult result =
        runDriver(QStringLiteral("app-name-flag"), QProcessEnvironment::systemEnvironment());
    EXPECT_EQ(result.out, QStringLiteral("011\n"));
}

TEST(VexilProcessState, ProductIdentityIsStoredAndReturned) {
    const DriverResult result =
        runDriver(QStringLiteral("product"), QProcessEnvironment::systemEnvironment());
    EXPECT_EQ(result.out, QStringLiteral("[][][Brevant \u00e9][2025.1]\n"));
}

TEST(VexilProcessState, UnknownDriverModeFails) {
    EXPECT_EQ(
        runDriver(QStringLiteral("nonsense"), QProcessEnvironment::systemEnvironment()).exitCode,
        2);
}

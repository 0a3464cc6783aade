// SPDX-License-Identifier: MIT
// Start-up on Qt's core application. Every scenario runs in a child process,
// because names, codec, the core application and the command line are process-wide.
#include <orrery/startup.h>

#include "childprocess.h"
#include "driveroutput.h"
#include "testutil.h"

#include <QDir>
#include <QFileInfo>

#ifndef ORRERY_STARTUP_DRIVER
#error "ORRERY_STARTUP_DRIVER must name the driver executable"
#endif

using OrreryTest::ChildResult;
using OrreryTest::DriverOutput;

namespace {

const QString kDriver = QStringLiteral(ORRERY_STARTUP_DRIVER);

// "é€ü" and a Greek word: neither fits a single-byte code page together.
const QString kNonAscii =
    QString::fromUtf8("\xc3\xa9\xe2\x82\xac\xc3\xbc-\xce\xb1\xce\xb2\xce\xb3");

ChildResult runStartup(const QString& mode, const QStringList& arguments = {},
                       QProcessEnvironment environment = OrreryTest::cleanEnvironment()) {
    environment.insert(QStringLiteral("ORRERY_DRIVER_MODE"), mode);
    return OrreryTest::runChild(kDriver, arguments, environment);
}

void expectCleanExit(const ChildResult& result) {
    EXPECT_TRUE(result.finished);
    EXPECT_EQ(result.status, QProcess::NormalExit);
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
}

}  // namespace

TEST(InitializeQtCoreSettings, NullNameGivesGenericThenFirstGivenNameWins) {
    const ChildResult result = runStartup(QStringLiteral("settings"));
    expectCleanExit(result);
    const DriverOutput out(result.out);
    // Before any entry point.
    EXPECT_EQ(out.value(QStringLiteral("initialized"), 0), QStringLiteral("0"));
    EXPECT_EQ(out.value(QStringLiteral("marked"), 0), QStringLiteral("0"));
    EXPECT_EQ(out.value(QStringLiteral("organization"), 0), QString());
    EXPECT_EQ(out.value(QStringLiteral("codec"), 0), QStringLiteral("ISO-8859-1"));
    // initialize_qt_core_settings(nullptr): default name, not marked.
    EXPECT_EQ(out.value(QStringLiteral("initialized"), 1), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("name"), 1), QStringLiteral("Generic"));
    EXPECT_EQ(out.value(QStringLiteral("marked"), 1), QStringLiteral("0"));
    EXPECT_EQ(out.value(QStringLiteral("organization"), 1), QStringLiteral("Tolmarsk"));
    EXPECT_EQ(out.value(QStringLiteral("codec"), 1), QStringLiteral("UTF-8"));
    // initialize_qt_core_settings("Tool") fixes the name.
    EXPECT_EQ(out.value(QStringLiteral("name"), 2), QStringLiteral("Tool"));
    EXPECT_EQ(out.value(QStringLiteral("marked"), 2), QStringLiteral("1"));
    // initialize_qt_core_settings("Other") leaves it.
    EXPECT_EQ(out.value(QStringLiteral("name"), 3), QStringLiteral("Tool"));
    EXPECT_EQ(out.value(QStringLiteral("initialized"), 3), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("codec"), 3), QStringLiteral("UTF-8"));
}

TEST(OrreryInitializeBeforeCreatingCoreApplication, SetsDefaultsWithoutFixingTheName) {
    const ChildResult result = runStartup(QStringLiteral("preinit"));
    expectCleanExit(result);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("initialized")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("name")), QStringLiteral("Generic"));
    EXPECT_EQ(out.value(QStringLiteral("marked")), QStringLiteral("0"));
    EXPECT_EQ(out.value(QStringLiteral("organization")), QStringLiteral("Tolmarsk"));
    EXPECT_EQ(out.value(QStringLiteral("codec")), QStringLiteral("UTF-8"));
    EXPECT_EQ(out.value(QStringLiteral("later-name")), QStringLiteral("Later"));
}

TEST(OrreryQtCoreApplicationPreConstructor, PerformsThePreInitialisation) {
    const ChildResult result = runStartup(QStringLiteral("preconstructor"));
    expectCleanExit(result);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("initialized")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("name")), QStringLiteral("Generic"));
    EXPECT_EQ(out.value(QStringLiteral("marked")), QStringLiteral("0"));
    EXPECT_EQ(out.value(QStringLiteral("organization")), QStringLiteral("Tolmarsk"));
    EXPECT_EQ(out.value(QStringLiteral("codec")), QStringLiteral("UTF-8"));
    EXPECT_EQ(out.value(QStringLiteral("later-name")), QStringLiteral("Later"));
}

TEST(InitializeQtCoreApplication, CreatesTheApplicationWithTheGivenName) {
    QProcessEnvironment environment = OrreryTest::cleanEnvironment();
    environment.insert(QStringLiteral("ORRERY_DRIVER_NAME"), QStringLiteral("Tool"));
    const ChildResult result = runStartup(
        QStringLiteral("app"), {QStringLiteral("-x"), QStringLiteral("two words")}, environment);
    expectCleanExit(result);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("initialized")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("name")), QStringLiteral("Tool"));
    EXPECT_EQ(out.value(QStringLiteral("marked")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("organization")), QStringLiteral("Tolmarsk"));
    EXPECT_EQ(out.value(QStringLiteral("codec")), QStringLiteral("UTF-8"));
    EXPECT_EQ(out.value(QStringLiteral("owned-type")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("vexil-argc")), QStringLiteral("3"));
    EXPECT_EQ(out.all(QStringLiteral("vexil-arg")),
              QStringList({QStringLiteral("-x"), QStringLiteral("two words")}));
    // Created here, so deleted by uninitialize_qt_core_application.
    EXPECT_EQ(out.value(QStringLiteral("instance-after")), QStringLiteral("0"));
}

TEST(InitializeQtCoreApplication, NonAsciiArgumentReachesTheCommandLineAsUtf8) {
    const ChildResult result = runStartup(QStringLiteral("app"), {kNonAscii});
    expectCleanExit(result);
    const QByteArray expected = "vexil-arg=[" + kNonAscii.toUtf8() + "]\n";
    EXPECT_TRUE(result.out.contains(expected)) << result.out.constData();
    EXPECT_TRUE(
        result.out.contains("vexil-arg=[\xc3\xa9\xe2\x82\xac\xc3\xbc-\xce\xb1\xce\xb2\xce\xb3]"));
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("codec")), QStringLiteral("UTF-8"));
}

TEST(InitializeQtCoreApplication, NullNameEndsWithTheEmptyNameMarked) {
    // The settings step puts "Generic" in place without marking it; the constructor
    // then marks the empty name it was given and sets it, which Qt answers with
    // the name it derives from the executable.
    const ChildResult result = runStartup(QStringLiteral("app"));
    expectCleanExit(result);
    const DriverOutput out(result.out);
    EXPECT_NE(out.value(QStringLiteral("name")), QStringLiteral("Generic"));
    EXPECT_EQ(out.value(QStringLiteral("name")), QFileInfo(kDriver).completeBaseName());
    EXPECT_EQ(out.value(QStringLiteral("marked")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("initialized")), QStringLiteral("1"));
}

TEST(InitializeQtCoreApplication, AnEarlierFixedNameIsKept) {
    const ChildResult result = runStartup(QStringLiteral("settings-then-app"));
    expectCleanExit(result);
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("name")), QStringLiteral("First"));
}

TEST(InitializeQtCoreApplication, AdoptsAnExistingApplicationAndNeverDeletesIt) {
    const ChildResult result = runStartup(QStringLiteral("adopt"), {QStringLiteral("a")});
    expectCleanExit(result);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("same-instance")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("name")), QStringLiteral("Adopted"));
    EXPECT_EQ(out.value(QStringLiteral("initialized")), QStringLiteral("1"));
    // Nothing was created, so the command line was not recorded either.
    EXPECT_EQ(out.value(QStringLiteral("vexil-argc")), QStringLiteral("0"));
    EXPECT_EQ(out.value(QStringLiteral("instance-after")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("arguments")), QStringLiteral("2"));
}

TEST(InitializeQtCoreApplication, StoresTheArgumentCountOnlyOnce) {
    const ChildResult result =
        runStartup(QStringLiteral("argc-once"), {QStringLiteral("one"), QStringLiteral("two")});
    expectCleanExit(result);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("first-arguments")), QStringLiteral("3"));
    EXPECT_EQ(out.value(QStringLiteral("instance-between")), QStringLiteral("0"));
    // The second call passes 1, but Qt still reads the count stored the first time.
    EXPECT_EQ(out.value(QStringLiteral("second-arguments")), QStringLiteral("3"));
    EXPECT_EQ(out.value(QStringLiteral("name")), QStringLiteral("Once"));
}

TEST(OrreryQtCoreApplication, ConstructorRecordsUtf8ArgumentsAndFixesTheName) {
    const ChildResult result =
        runStartup(QStringLiteral("direct"), {kNonAscii, QStringLiteral("plain")});
    expectCleanExit(result);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.value(QStringLiteral("name")), QStringLiteral("Direct"));
    EXPECT_EQ(out.value(QStringLiteral("marked")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("organization")), QStringLiteral("Tolmarsk"));
    EXPECT_EQ(out.value(QStringLiteral("codec")), QStringLiteral("UTF-8"));
    EXPECT_EQ(out.value(QStringLiteral("vexil-argc")), QStringLiteral("3"));
    EXPECT_EQ(out.all(QStringLiteral("vexil-arg")),
              QStringList({kNonAscii, QStringLiteral("plain")}));
}

TEST(OrreryQtCoreApplication, ConstructorWithNonAsciiNameSetsIt) {
    QProcessEnvironment environment = OrreryTest::cleanEnvironment();
    environment.insert(QStringLiteral("ORRERY_DRIVER_NAME"), kNonAscii);
    const ChildResult result = runStartup(QStringLiteral("direct"), {}, environment);
    expectCleanExit(result);
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("name")), kNonAscii);
}

TEST(OrreryQtCoreApplication, ConstructorLeavesAnAlreadyFixedName) {
    const ChildResult result = runStartup(QStringLiteral("direct-after-mark"));
    expectCleanExit(result);
    EXPECT_EQ(DriverOutput(result.out).value(QStringLiteral("name")), QStringLiteral("First"));
}

TEST(InitializeProduct, RecordsNameAndVersionAndTakesNullAsEmpty) {
    const ChildResult result = runStartup(QStringLiteral("product"));
    expectCleanExit(result);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.all(QStringLiteral("name")),
              QStringList({QString(), QString::fromUtf8("Brevant \xc3\xa9"), QString()}));
    EXPECT_EQ(out.all(QStringLiteral("version")),
              QStringList({QString(), QStringLiteral("2025.1"), QString()}));
    EXPECT_EQ(out.value(QStringLiteral("vexil-name")), QString::fromUtf8("Brevant \xc3\xa9"));
}

#ifndef _WIN32
// VEXIL_INSTALLATION_DIR, which lets the answer change, is POSIX-only; Windows below.
TEST(GetInstallationDirectory, CachesTheFirstAnswer) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QProcessEnvironment environment = OrreryTest::cleanEnvironment();
    environment.insert(QStringLiteral("VEXIL_INSTALLATION_DIR"), dir.path());
    const ChildResult result = runStartup(QStringLiteral("directories"), {}, environment);
    expectCleanExit(result);
    const DriverOutput out(result.out);
    EXPECT_EQ(out.all(QStringLiteral("installation")), QStringList({dir.path(), dir.path()}));
    EXPECT_EQ(out.value(QStringLiteral("vexil-installation")),
              QStringLiteral("/changed/after/first/call"));
    EXPECT_EQ(out.value(QStringLiteral("installation-same-object")), QStringLiteral("1"));
}
#else
// On Windows the installation directory follows the executable alone, so the answer cannot
// change; the cached object is the same and VEXIL_INSTALLATION_DIR is ignored.
TEST(GetInstallationDirectory, IsTheParentOfTheDriverDirectoryAndCached) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QProcessEnvironment environment = OrreryTest::cleanEnvironment();
    environment.insert(QStringLiteral("VEXIL_INSTALLATION_DIR"), dir.path());
    const ChildResult result = runStartup(QStringLiteral("directories"), {}, environment);
    expectCleanExit(result);
    const DriverOutput out(result.out);
    const QString parent =
        QDir::toNativeSeparators(QFileInfo(QFileInfo(kDriver).canonicalPath()).path());
    EXPECT_EQ(out.all(QStringLiteral("installation")), QStringList({parent, parent}));
    EXPECT_EQ(out.value(QStringLiteral("vexil-installation")), parent);
    EXPECT_EQ(out.value(QStringLiteral("installation-same-object")), QStringLiteral("1"));
}
#endif

TEST(GetBinDirectory, IsTheDriverDirectoryAndCached) {
    const ChildResult result = runStartup(QStringLiteral("directories"));
    expectCleanExit(result);
    const DriverOutput out(result.out);
    // Spelt with the host's separators.
    EXPECT_EQ(out.value(QStringLiteral("bin")),
              QDir::toNativeSeparators(QFileInfo(kDriver).canonicalPath()));
    EXPECT_EQ(out.value(QStringLiteral("bin-matches")), QStringLiteral("1"));
    EXPECT_EQ(out.value(QStringLiteral("bin-same-object")), QStringLiteral("1"));
}

TEST(StartupDriver, UnknownModeFails) {
    EXPECT_EQ(runStartup(QStringLiteral("nonsense")).exitCode, 2);
}

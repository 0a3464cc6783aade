// SPDX-License-Identifier: MIT
// The warning when KORVANE_DIR in the environment or the registry, as found at
// start-up, names another directory than the one the client runs from. Every value is
// set before the child starts; the child runs from inst().
#include <vexil/clientenvironment.h>

#include "clientenvtest.h"

using OrreryTest::ChildResult;
using OrreryTest::native;
using OrreryTest::utf8;

namespace {

class RegistryCheckTest : public OrreryTest::ClientEnvProcessTest {
protected:
    void SetUp() override {
        ClientEnvProcessTest::SetUp();
        unsetChild(QStringLiteral("KORVANE_DIR"));
        ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("other")));
    }
    QString other() const { return path(QStringLiteral("other")); }

    QByteArray warning(const QByteArray& registryLine, const QByteArray& environmentLine,
                       const QString& installation = QString()) const {
        QByteArray text = "This launcher application is located in:\n\n    " +
                          utf8(native(installation.isEmpty() ? inst() : installation)) +
                          "\n\nHowever, your system variable KORVANE_DIR does not match:\n\n";
        if (!registryLine.isEmpty()) {
            text += "    Registry (set by installer): " + registryLine + "\n";
        }
        if (!environmentLine.isEmpty()) {
            text += "    Environment: " + environmentLine + "\n";
        }
        text +=
            "\nBrevant will start, but its behavior may be unpredictable due to this "
            "discrepancy. To resolve this discrepancy, clear the KORVANE_DIR setting from your "
            "system environment or registry and restart Brevant.\n\nPress Ok to continue to run "
            "Brevant.";
        return text;
    }
    ChildResult check(const QStringList& arguments = {}) {
        ChildResult result = run(QStringLiteral("check-registry"), arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err.constData();
        EXPECT_TRUE(result.out.endsWith("done=[1]\n"));
        return result;
    }
};

}  // namespace

TEST_F(RegistryCheckTest, NoValuesNoMessage) {
    const ChildResult result = check();
    EXPECT_EQ(result.out, QByteArray("done=[1]\n"));
}

TEST_F(RegistryCheckTest, MatchingValuesNoMessage) {
    setChild(QStringLiteral("KORVANE_DIR"), inst());
    writeRegistry({{QStringLiteral("KORVANE_DIR"), inst()}});
    EXPECT_EQ(check().out, QByteArray("done=[1]\n"));
}

TEST_F(RegistryCheckTest, AnotherSpellingOfTheSameDirectoryIsNoDiscrepancy) {
    setChild(QStringLiteral("KORVANE_DIR"), QString(inst() + QStringLiteral("/./sub/../")));
    writeRegistry({{QStringLiteral("KORVANE_DIR"), QString(inst() + QStringLiteral("//"))}});
    EXPECT_EQ(check().out, QByteArray("done=[1]\n"));
}

TEST_F(RegistryCheckTest, RegistryNamingAnotherDirectoryGivesTheRegistryLineOnly) {
    writeRegistry({{QStringLiteral("KORVANE_DIR"), other()}});
    const ChildResult result = check();
    EXPECT_EQ(result.out, "MSG[" + warning(utf8(other()), QByteArray()) + "]\ndone=[1]\n");
}

// KORVANE_DIR does not move the installation directory: the client runs from where its
// program is, and the registry's other installation is reported against that.
TEST_F(RegistryCheckTest, RegistryNamingAnotherDirectoryIsComparedWithWhereTheProgramRuns) {
    unsetChild(QStringLiteral("VEXIL_INSTALLATION_DIR"));
    writeRegistry({{QStringLiteral("KORVANE_DIR"), other()}});
    const ChildResult result = check();
    const QString parentOfBin = QFileInfo(QFileInfo(driver()).path()).path();
    EXPECT_EQ(result.out,
              "MSG[" + warning(utf8(other()), QByteArray(), parentOfBin) + "]\ndone=[1]\n");
}

TEST_F(RegistryCheckTest, EnvironmentNamingAnotherDirectoryGivesTheEnvironmentLineOnly) {
    setChild(QStringLiteral("KORVANE_DIR"), other());
    const ChildResult result = check();
    EXPECT_EQ(result.out, "MSG[" + warning(QByteArray(), utf8(other())) + "]\ndone=[1]\n");
}

TEST_F(RegistryCheckTest, BothPlacesAreListedAsFoundWhenOnlyOneDiffers) {
    const QString sameButSpelledOtherwise = QString(inst() + QStringLiteral("/."));
    setChild(QStringLiteral("KORVANE_DIR"), sameButSpelledOtherwise);
    writeRegistry({{QStringLiteral("KORVANE_DIR"), other()}});
    const ChildResult result = check();
    EXPECT_EQ(result.out,
              "MSG[" + warning(utf8(other()), utf8(sameButSpelledOtherwise)) + "]\ndone=[1]\n");
}

// VEXIL_INSTALLATION_DIR names the installation only on POSIX; on Windows the program's
// own path, already in normal form, gives it.
#ifndef _WIN32
TEST_F(RegistryCheckTest, InstallationDirectoryIsShownNormalised) {
    setChild(QStringLiteral("VEXIL_INSTALLATION_DIR"), QString(inst() + QStringLiteral("/sub/..")));
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("inst/sub")));
    writeRegistry({{QStringLiteral("KORVANE_DIR"), other()}});
    const ChildResult result = check();
    EXPECT_EQ(result.out, "MSG[" + warning(utf8(other()), QByteArray()) + "]\ndone=[1]\n");
}
#endif

#ifdef _WIN32
// Windows compares file names without regard to case; backslashes and a trailing
// separator are other spellings of the same directory.
TEST_F(RegistryCheckTest, OtherCaseAndBackslashesNameTheSameDirectoryOnWindows) {
    setChild(QStringLiteral("KORVANE_DIR"), native(inst()).toUpper());
    writeRegistry({{QStringLiteral("KORVANE_DIR"),
                    QString(native(inst()).toLower() + QStringLiteral("\\.\\"))}});
    EXPECT_EQ(check().out, QByteArray("done=[1]\n"));
}

TEST_F(RegistryCheckTest, OtherDirectoryInWindowsSpellingIsShownAsFound) {
    const QString stored = native(other());
    writeRegistry({{QStringLiteral("KORVANE_DIR"), stored}});
    setChild(QStringLiteral("KORVANE_DIR"), native(inst()).toLower());
    const ChildResult result = check();
    EXPECT_EQ(result.out,
              "MSG[" + warning(utf8(stored), utf8(native(inst()).toLower())) + "]\ndone=[1]\n");
}
#endif

TEST_F(RegistryCheckTest, BothDifferingGiveBothLines) {
    const QString third = path(QStringLiteral("third"));
    writeRegistry({{QStringLiteral("KORVANE_DIR"), other()}});
    setChild(QStringLiteral("KORVANE_DIR"), third);
    const ChildResult result = check();
    EXPECT_EQ(result.out, "MSG[" + warning(utf8(other()), utf8(third)) + "]\ndone=[1]\n");
}

TEST_F(RegistryCheckTest, EnvironmentMatchingButRegistryEmptyGivesNoMessage) {
    setChild(QStringLiteral("KORVANE_DIR"), inst());
    writeRegistry({{QStringLiteral("KORVANE_DIR"), QString()}});
    EXPECT_EQ(check().out, QByteArray("done=[1]\n"));
}

TEST_F(RegistryCheckTest, NoRegVsEnvSwitchTurnsTheComparisonOff) {
    writeRegistry({{QStringLiteral("KORVANE_DIR"), other()}});
    setChild(QStringLiteral("KORVANE_DIR"), other());
    const ChildResult result = check({QStringLiteral("-no_reg_vs_env")});
    EXPECT_EQ(result.out, QByteArray("done=[1]\n"));
}

TEST_F(RegistryCheckTest, SetCheckRegVersesGetenvFalseTurnsTheComparisonOff) {
    writeRegistry({{QStringLiteral("KORVANE_DIR"), other()}});
    setChild(QStringLiteral("ORRERY_DRIVER_CHECK_OFF"), QStringLiteral("1"));
    EXPECT_EQ(check().out, QByteArray("done=[1]\n"));
}

TEST_F(RegistryCheckTest, WarningGoesToStandardErrorThroughTheDefaultSink) {
    unsetChild(QStringLiteral("ORRERY_DRIVER_SINK"));
    writeRegistry({{QStringLiteral("KORVANE_DIR"), other()}});
    const ChildResult result = run(QStringLiteral("check-registry"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, warning(utf8(other()), QByteArray()));
    EXPECT_EQ(result.out, QByteArray("done=[1]\n"));
}

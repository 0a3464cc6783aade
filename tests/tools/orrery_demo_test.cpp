// SPDX-License-Identifier: MIT
// `orrery demo`: the typical client run on the example data, end to end.
#include "tooltest.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace {

using OrreryToolTest::exampleInstallation;
using OrreryToolTest::examplesDir;
using OrreryToolTest::hostSpelling;
using OrreryToolTest::lines;
using OrreryToolTest::rejected;
using OrreryToolTest::succeeded;
using OrreryToolTest::ToolResult;

class OrreryDemo : public OrreryToolTest::ToolTest {};

// The index of the first line at or after @p from that contains @p part; -1 when none.
int findLine(const QStringList& report, const QString& part, int from = 0) {
    for (int i = from; i < report.size(); ++i) {
        if (report.at(i).contains(part)) {
            return i;
        }
    }
    return -1;
}

TEST_F(OrreryDemo, ReportsEveryStepOfTheClientRunInOrder) {
    const ToolResult result = run({QStringLiteral("demo")});
    ASSERT_TRUE(succeeded(result));
    const QStringList report = lines(result.out);
    int at = 0;
    for (const char* heading :
         {"0. The example environment", "1. Start-up", "2. Client environment", "3. Data files",
          "4. Values", "5. Components and file names", "6. Shut-down", "Every step ran."}) {
        const int found = findLine(report, QString::fromLatin1(heading), at);
        ASSERT_GE(found, at) << heading << "\n" << result.out.toStdString();
        at = found;
    }
    EXPECT_TRUE(report.constFirst().contains(examplesDir()));
}

TEST_F(OrreryDemo, StartsTheCoreApplicationAndSetsUpTheClientEnvironment) {
    const ToolResult result = run({QStringLiteral("demo")});
    ASSERT_TRUE(succeeded(result));
    const QString& out = result.out;
    EXPECT_TRUE(out.contains(
        QStringLiteral("application \"orrery\", organisation \"Tolmarsk\", locale codec UTF-8")))
        << out.toStdString();
    EXPECT_TRUE(out.contains(QStringLiteral("product: Orrery ")));
    EXPECT_TRUE(out.contains(QStringLiteral("registry check on, argument echo off")));
    EXPECT_TRUE(out.contains(QString(QStringLiteral("VEXIL_INSTALLATION_DIR=") +
                                     exampleInstallation() + QStringLiteral("   (the example"))));
    EXPECT_TRUE(out.contains(
        QString(QStringLiteral("VEXIL_EMDS_DIR = ") + hostSpelling(exampleInstallation()))));
    EXPECT_TRUE(out.contains(QStringLiteral("SIMARCH        = win32_64")));
#ifndef _WIN32
    // The example registry.ini is the registry on POSIX hosts only; on Windows the installed
    // demo's test puts its values into the registry (run_installed_demo.cmake).
    EXPECT_TRUE(out.contains(QStringLiteral("VEP_MAJOR_VER  = VEP_2025_R1   (from the registry)")));
    EXPECT_TRUE(out.contains(QString(QStringLiteral("WBMLANGPATH    = ") + exampleInstallation() +
                                     QStringLiteral("/lang/bitmaps;"))));
#endif
    EXPECT_TRUE(out.contains(QString(QStringLiteral("PATH           = ") +
                                     hostSpelling(exampleInstallation()) +
                                     QStringLiteral("\\bin\\win32_64;..."))));
    EXPECT_TRUE(out.contains(QStringLiteral("(korvane/config is there)")));
    EXPECT_TRUE(out.contains(QStringLiteral("KORVANE_DIR agrees with the installation directory")));
}

TEST_F(OrreryDemo, ReadsValuesFollowsReferencesAndShowsUnits) {
    const ToolResult result = run({QStringLiteral("demo")});
    ASSERT_TRUE(succeeded(result));
    const QString& out = result.out;
    for (const char* expected : {
             "RegisterType(\"Quantity\"): known types PropObj, Quantity",
             "RegisterFileType(\"XmlPropertyFile\"): 1 file kind registered",
             "Load(): 27 nodes under Root; open data files: 1",
             "/Design/Name          GetProperty(QString*) = \"Radar front end\"",
             "/Design/Revision      GetProperty(int*)     = 3",
             "/Design/Released      GetProperty(bool*)    = false",
             "/Board/LossTangent    GetProperty(double*)  = 0.0037",
             "10 in \"mil\": RealString in mm 0.254 mm, in um 254 um",
             "1.5 in \"GHz\": scaled 1.5 GHz, asReal 1500000000",
             // NOLINTNEXTLINE(bugprone-suspicious-missing-comma): one line, split for width
             "/Parts/R1 is an external reference to /Resistors/R4K7 in "
             "$(KORVANE_DIR)/designs/library.oxml [XmlPropertyFile]",
             "\"$(KORVANE_DIR)/designs/library.oxml\" on demand; open data files: 1 -> 2",
             "/Resistors/R4K7/Resistance 4700 in \"Ohm\": scaled 4.7 kOhm; Tolerance 0.01",
             "/Capacitors/C10P/Capacitance = 10 pF; open data files: 2",
             "internal reference \"../../Clock/Frequency\" to /Clock/Frequency = 1.5 GHz",
         }) {
        EXPECT_TRUE(out.contains(QString::fromUtf8(expected))) << expected << "\n"
                                                               << out.toStdString();
    }
}

TEST_F(OrreryDemo, ResolvesComponentsHandlesFileNamesAndShutsDown) {
    const ToolResult result = run({QStringLiteral("demo")});
    ASSERT_TRUE(succeeded(result));
    const QString& out = result.out;
    const QString components = QString(exampleInstallation() + QStringLiteral("/components/"));
    for (const QString& expected : {
             QStringLiteral(
                 "component \"Models\", qualifier \"1.0\", member \"lib/rf_passives.lib\""),
             QString(QStringLiteral("QueryReferredComponentLocation(version \"1.0\") = ") +
                     components + QStringLiteral("models-1.0")),
             QString(QStringLiteral("QueryReferredComponentLocation(no version, the highest) = ") +
                     components + QStringLiteral("models-2.0")),
             QStringLiteral("\\models-1.0\\lib\\rf_passives.lib; path_exists: yes"),
             QStringLiteral("get_leafname(design) = \"frontend.oxml\", get_extension = \".oxml\""),
             QStringLiteral("rename_extension(\"bak\") ends in \"frontend.bak\""),
             QStringLiteral(
                 "make_relative_path(library, installation) = \"designs\\library.oxml\""),
             QStringLiteral("is_same_pathname(library, that name) = yes"),
             QStringLiteral("deleted the 2 data files; open data files: 0"),
             QStringLiteral("removed the temporary home folder"),
             QStringLiteral("uninitialize_qt_core_application(): core application deleted"),
         }) {
        EXPECT_TRUE(out.contains(expected)) << expected.toStdString() << "\n" << out.toStdString();
    }
}

TEST_F(OrreryDemo, NeverWritesIntoTheHomeDirectoryItWasGiven) {
    const ToolResult result = run({QStringLiteral("demo")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(QDir(path(QStringLiteral("home")))
                    .entryList(QDir::NoDotAndDotDot | QDir::AllEntries)
                    .isEmpty());
    // The temporary home it used is gone.
    const int at = result.out.indexOf(QStringLiteral("HOME="));
    ASSERT_GE(at, 0);
    const QString used = result.out.mid(at + 5).section(QLatin1Char(' '), 0, 0);
    EXPECT_FALSE(used.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(used)) << used.toStdString();
}

TEST_F(OrreryDemo, UsesTheHomeDirectoryGivenWithTheOption) {
    const QString home = path(QStringLiteral("chosen home"));
    const ToolResult result = run({QStringLiteral("demo"), QStringLiteral("--home"), home});
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(result.out.contains(QString(QStringLiteral("HOME           = ") + home)));
    EXPECT_TRUE(QFileInfo(QString(home + QStringLiteral("/korvane/config"))).isDir());
    EXPECT_FALSE(result.out.contains(QStringLiteral("removed the temporary home folder")));
}

TEST_F(OrreryDemo, PassesTheClientSwitchesToTheClientEnvironment) {
    const ToolResult result = run(
        {QStringLiteral("demo"), QStringLiteral("-debug_env"), QStringLiteral("-no_reg_vs_env")});
    ASSERT_TRUE(succeeded(result));
    const QString& out = result.out;
    EXPECT_TRUE(out.contains(QStringLiteral("registry check off, argument echo on")))
        << out.toStdString();
    EXPECT_TRUE(out.contains(QStringLiteral("| Argument: demo")));
    EXPECT_TRUE(out.contains(QStringLiteral("| Argument: -debug_env")));
    EXPECT_TRUE(out.contains(QStringLiteral("| Argument: -no_reg_vs_env")));
    EXPECT_TRUE(out.contains(QStringLiteral("check_reg_verses_getenv(): turned off")));
    // The switches are taken out of the recorded command line.
    const int left = out.indexOf(QStringLiteral("arguments left: "));
    ASSERT_GE(left, 0);
    EXPECT_FALSE(
        out.mid(left).section(QLatin1Char('\n'), 0, 0).contains(QStringLiteral("-debug_env")));
}

TEST_F(OrreryDemo, ShowsTheWarningWhenKorvaneDirNamedAnotherInstallationAtStartUp) {
    environment.insert(QStringLiteral("KORVANE_DIR"), path());
    const ToolResult result = run({QStringLiteral("demo")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(result.out.contains(QStringLiteral("check_reg_verses_getenv(): warns:")))
        << result.out.toStdString();
    EXPECT_TRUE(result.out.contains(QString(QStringLiteral("|     Environment: ") + path())));
    EXPECT_TRUE(result.out.contains(QStringLiteral("Every step ran.")));
}

TEST_F(OrreryDemo, RunsOnTheExamplesGivenWithTheOption) {
    const ToolResult result =
        run({QStringLiteral("demo"), QStringLiteral("--examples"), examplesDir()});
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(result.out.contains(QStringLiteral("Every step ran.")));
}

#ifdef _WIN32
TEST_F(OrreryDemo, RunsTheClientFromAStagedCopyWhenTheToolLiesOutsideTheExamples) {
    // The installation directory is the parent of the program's folder, so the tool of the
    // build's bin/ copies itself into a temporary copy of the examples and runs from there.
    const ToolResult result =
        run({QStringLiteral("demo")}, QString(), QStringLiteral(ORRERY_TOOL_OUTSIDE_EXAMPLES));
    ASSERT_TRUE(succeeded(result));
    const QStringList report = lines(result.out);
    const QString prefix =
        QStringLiteral("Orrery demo: a typical client run on the example data in ");
    ASSERT_TRUE(report.constFirst().startsWith(prefix)) << result.out.toStdString();
    const QString staged = report.constFirst().mid(prefix.size());
    EXPECT_TRUE(staged.endsWith(QStringLiteral("/examples"))) << staged.toStdString();
    EXPECT_NE(staged, examplesDir());
    const QString installation = QString(staged + QStringLiteral("/korvane"));
    for (const QString& expected : {
             QString(QStringLiteral("VEXIL_INSTALLATION_DIR=") + installation +
                     QStringLiteral("   (the example installation")),
             QString(QStringLiteral("arguments recorded as UTF-8: ") + hostSpelling(installation) +
                     QStringLiteral("\\bin\\")),
             QString(QStringLiteral("VEXIL_EMDS_DIR = ") + hostSpelling(installation) +
                     QLatin1Char('\n')),
             QStringLiteral("KORVANE_DIR agrees with the installation directory"),
             QStringLiteral("Load(): 27 nodes under Root; open data files: 1"),
             QStringLiteral("\nEvery step ran.\n"),
         }) {
        EXPECT_TRUE(result.out.contains(expected)) << expected.toStdString() << "\n"
                                                   << result.out.toStdString();
    }
    // The staged copy, the tool in it included, is gone.
    EXPECT_FALSE(QFileInfo::exists(staged)) << staged.toStdString();
    EXPECT_FALSE(QFileInfo::exists(QFileInfo(staged).path())) << staged.toStdString();
}
#endif

TEST_F(OrreryDemo, RejectsBadInputWithOneLine) {
    EXPECT_TRUE(rejected(run({QStringLiteral("demo"), QStringLiteral("--examples"), path()}),
                         QStringLiteral("demo"), QStringLiteral("holds no example data")));
    EXPECT_TRUE(rejected(run({QStringLiteral("demo"), QStringLiteral("extra")}),
                         QStringLiteral("demo"), QStringLiteral("too many arguments")));
    EXPECT_TRUE(rejected(run({QStringLiteral("demo"), QStringLiteral("--bogus")}),
                         QStringLiteral("demo"), QStringLiteral("Unknown option 'bogus'")));
    EXPECT_TRUE(rejected(run({QStringLiteral("demo"), QStringLiteral("--home")}),
                         QStringLiteral("demo"), QStringLiteral("Missing value after '--home'")));
}

TEST_F(OrreryDemo, StopsWithOneLineWhenTheExampleDesignIsBroken) {
    // A copy of the examples whose first design is cut short.
    const QString copy = path(QStringLiteral("examples"));
    QDirIterator files(examplesDir(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString source = files.next();
        const QString target = QString(copy + source.mid(examplesDir().size()));
        ASSERT_TRUE(QDir().mkpath(QFileInfo(target).path()));
        ASSERT_TRUE(QFile::copy(source, target));
    }
    QFile design(QString(copy + QStringLiteral("/korvane/designs/frontend.oxml")));
    ASSERT_TRUE(design.open(QIODevice::WriteOnly | QIODevice::Truncate));
    design.write("<PropertyFile format=\"1\">\n  <Object name=\"Board\"");
    design.close();
    const ToolResult result = run({QStringLiteral("demo"), QStringLiteral("--examples"), copy});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err.count(QLatin1Char('\n')), 1) << result.err.toStdString();
    EXPECT_TRUE(result.err.startsWith(QStringLiteral("orrery demo: ")));
    EXPECT_TRUE(result.err.contains(QStringLiteral("frontend.oxml:2:")));
    EXPECT_TRUE(result.err.contains(QStringLiteral("malformed XML")));
    EXPECT_TRUE(result.out.contains(QStringLiteral("3. Data files")));
    EXPECT_FALSE(result.out.contains(QStringLiteral("4. Values")));
}

TEST_F(OrreryDemo, ExplainsItselfWithHelp) {
    const ToolResult result = run({QStringLiteral("demo"), QStringLiteral("--help")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(result.out.startsWith(QStringLiteral("Usage: orrery demo [options]")))
        << result.out.toStdString();
    EXPECT_TRUE(result.out.contains(QStringLiteral("--examples <DIR>")));
    EXPECT_TRUE(result.out.contains(QStringLiteral("-no_reg_vs_env")));
}

}  // namespace

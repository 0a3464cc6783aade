// SPDX-License-Identifier: MIT
// The home directory: where it comes from, its configuration folder, and the
// fatal message and exit status when there is none. On POSIX the driver's passwd entry
// names a test profile directory (or none), so the real home is never touched; on Windows
// the profile is the user's own and the fixture removes what a test makes there.
#include <vexil/clientenvironment.h>

#include "clientenvtest.h"

#include <QFile>

#ifndef _WIN32
#include <unistd.h>
#endif

using OrreryTest::ChildResult;
using OrreryTest::DriverOutput;
using OrreryTest::native;
using OrreryTest::utf8;

namespace {

const QByteArray kNotFound =
    "\nCould not find the environment variables HOME or USERPROFILE."
    "\nPlease reinstall or manually set this setting as an environment variable on your system."
    "\n\nThe program will exit when you hit OK.";

class HomeDirectoryTest : public OrreryTest::ClientEnvProcessTest {
protected:
    void SetUp() override {
        ClientEnvProcessTest::SetUp();
        // Messages go to standard error, as a console client shows them.
        unsetChild(QStringLiteral("ORRERY_DRIVER_SINK"));
    }
    QByteArray fatalText(const QByteArray& message, const QByteArray& directory) const {
        return message + "\n\nFor " + utf8(driver()) + " to function properly, the HOME folder " +
               directory +
               " must exist and needs to have write access for the current user (or for all "
               "users if this is a shared system).\n\nThe program will exit when you hit OK";
    }
    static void expectFatalExit(const ChildResult& result) {
        EXPECT_EQ(result.status, QProcess::NormalExit);
        EXPECT_EQ(result.exitCode, exitCodeOfMinusOne());
        EXPECT_EQ(result.out, QByteArray());
    }
    static bool isDir(const QString& directory) { return QFileInfo(directory).isDir(); }
};

}  // namespace

TEST_F(HomeDirectoryTest, BlanksAroundHomeAreTrimmedAndTheConfigFolderIsCreated) {
    setChild(QStringLiteral("HOME"), QString(QStringLiteral("  ") + home() + QStringLiteral("  ")));
    const ChildResult result = run(QStringLiteral("home"));
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.out, "HOME=[" + utf8(home()) + "]\n");
    EXPECT_TRUE(isDir(QString(home() + QStringLiteral("/korvane/config"))));
    EXPECT_FALSE(QFileInfo::exists(QString(home() + QStringLiteral("/korvane/config/de_sim.cfg"))));
}

// On Windows "C:\Users\a" is the user directory on drive C:; the test below gives the
// Windows form there.
#ifndef _WIN32
TEST_F(HomeDirectoryTest, WindowsStyleHomeWithBlanksIsTrimmed) {
    // "C:\Users\a" names the relative directory C:/Users/a on this host.
    setChild(QStringLiteral("HOME"), QStringLiteral("  C:\\Users\\a  "));
    const ChildResult result = run(QStringLiteral("home"), {}, path());
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.out, QByteArray("HOME=[C:\\Users\\a]\n"));
    EXPECT_TRUE(isDir(path(QStringLiteral("C:/Users/a/korvane/config"))));
}
#endif

#ifdef _WIN32
TEST_F(HomeDirectoryTest, WindowsHomeWithBlanksIsTrimmed) {
    const QString windowsHome = native(home());
    ASSERT_TRUE(windowsHome.contains(QLatin1Char('\\')));
    setChild(QStringLiteral("HOME"),
             QString(QStringLiteral("  ") + windowsHome + QStringLiteral("  ")));
    const ChildResult result = run(QStringLiteral("home"));
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.out, "HOME=[" + utf8(windowsHome) + "]\n");
    EXPECT_TRUE(isDir(QString(home() + QStringLiteral("/korvane/config"))));
}
#endif

TEST_F(HomeDirectoryTest, TabsAndNewlinesAreTrimmedAtBothEndsOnly) {
    setChild(QStringLiteral("HOME"), QStringLiteral("\t\n /x \t y \n\t "));
    const ChildResult result = run(QStringLiteral("get-home"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, QByteArray("home=[/x \t y]\n"));
}

TEST_F(HomeDirectoryTest, UnsetHomeUsesTheProfileDirectoryWithVepAndNa) {
    unsetChild(QStringLiteral("HOME"));
    QString profile;
    ASSERT_NO_FATAL_FAILURE(useProfile(&profile));
    if (IsSkipped()) {
        return;
    }
    const ChildResult result = run(QStringLiteral("home"));
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    const QString expected = QString(profile + QStringLiteral("/vep/NA"));
    EXPECT_EQ(result.out, "HOME=[" + utf8(native(expected)) + "]\n");
    EXPECT_TRUE(isDir(QString(profile + QStringLiteral("/vep"))));
    EXPECT_TRUE(isDir(expected));
    EXPECT_TRUE(isDir(QString(expected + QStringLiteral("/korvane/config"))));
}

#ifdef _WIN32
// The profile directory is the one the system keeps for the process's user; the
// USERPROFILE variable does not move it.
TEST_F(HomeDirectoryTest, ProfileFallbackDoesNotFollowUserprofileOnWindows) {
    unsetChild(QStringLiteral("HOME"));
    QString profile;
    ASSERT_NO_FATAL_FAILURE(useProfile(&profile));
    if (IsSkipped()) {
        return;
    }
    setChild(QStringLiteral("USERPROFILE"), native(path(QStringLiteral("elsewhere"))));
    const ChildResult result = run(QStringLiteral("home"));
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.out,
              "HOME=[" + utf8(native(QString(profile + QStringLiteral("/vep/NA")))) + "]\n");
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("elsewhere"))));
}
#endif

TEST_F(HomeDirectoryTest, EmptyHomeUsesTheProfileDirectoryThatAlreadyExists) {
    setChild(QStringLiteral("HOME"), QString());
    QString profile;
    ASSERT_NO_FATAL_FAILURE(useProfile(&profile));
    if (IsSkipped()) {
        return;
    }
    const QString existing = QString(profile + QStringLiteral("/vep/NA"));
    ASSERT_TRUE(QDir().mkpath(existing));
    const ChildResult result = run(QStringLiteral("get-home"));
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.out, "home=[" + utf8(native(existing)) + "]\n");
}

TEST_F(HomeDirectoryTest, HomeFromTheRegistryWinsOverTheEnvironment) {
    writeRegistry({{QStringLiteral("HOME"), path(QStringLiteral("registry-home"))}});
    const ChildResult result = run(QStringLiteral("home"));
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.out, "HOME=[" + utf8(path(QStringLiteral("registry-home"))) + "]\n");
    EXPECT_TRUE(isDir(path(QStringLiteral("registry-home/korvane/config"))));
    EXPECT_FALSE(QFileInfo::exists(QString(home() + QStringLiteral("/korvane"))));
}

// The registry's value is taken as stored: a comma is part of the directory name.
TEST_F(HomeDirectoryTest, RegistryHomeWithACommaIsTakenAsStored) {
    const QString stored = path(QStringLiteral("h,1"));
    writeRegistry({{QStringLiteral("HOME"), stored}});
    const ChildResult result = run(QStringLiteral("home"));
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.out, "HOME=[" + utf8(stored) + "]\n");
    EXPECT_TRUE(isDir(QString(stored + QStringLiteral("/korvane/config"))));
}

TEST_F(HomeDirectoryTest, EmptyRegistryHomeIsFatalEvenWithAProfile) {
    writeRegistry({{QStringLiteral("HOME"), QString()}});
    QString profile;
    ASSERT_NO_FATAL_FAILURE(useProfile(&profile));
    if (IsSkipped()) {
        return;
    }
    const ChildResult result = run(QStringLiteral("home"));
    expectFatalExit(result);
    EXPECT_EQ(result.err, fatalText(kNotFound, QByteArray()));
    EXPECT_FALSE(QFileInfo::exists(QString(profile + QStringLiteral("/vep"))));
}

TEST_F(HomeDirectoryTest, BlankHomeIsFatalWithoutFallingBackToTheProfile) {
    setChild(QStringLiteral("HOME"), QStringLiteral(" \t\n "));
    QString profile;
    ASSERT_NO_FATAL_FAILURE(useProfile(&profile));
    if (IsSkipped()) {
        return;
    }
    const ChildResult result = run(QStringLiteral("home"));
    expectFatalExit(result);
    EXPECT_EQ(result.err, fatalText(kNotFound, QByteArray()));
    EXPECT_FALSE(QFileInfo::exists(QString(profile + QStringLiteral("/vep"))));
}

// The profile comes from the driver's passwd stand-in; on Windows it is the user's own,
// which a test can neither take away nor move.
#ifndef _WIN32
TEST_F(HomeDirectoryTest, NoHomeAndNoProfileIsFatal) {
    unsetChild(QStringLiteral("HOME"));
    const ChildResult result = run(QStringLiteral("home"));
    expectFatalExit(result);
    EXPECT_EQ(result.err, fatalText(kNotFound, QByteArray()));
}

TEST_F(HomeDirectoryTest, ProfileWhereVepCannotBeCreatedIsFatal) {
    unsetChild(QStringLiteral("HOME"));
    setChild(QStringLiteral("ORRERY_DRIVER_PROFILE"), path(QStringLiteral("missing/profile")));
    const ChildResult result = run(QStringLiteral("home"));
    expectFatalExit(result);
    EXPECT_EQ(result.err, fatalText(kNotFound, QByteArray()));
    EXPECT_FALSE(QFileInfo::exists(path(QStringLiteral("missing"))));
}
#endif

TEST_F(HomeDirectoryTest, ProfileWhereNaCannotBeCreatedIsFatal) {
    unsetChild(QStringLiteral("HOME"));
    QString profile;
    ASSERT_NO_FATAL_FAILURE(useProfile(&profile));
    if (IsSkipped()) {
        return;
    }
    QFile blocker(QString(profile + QStringLiteral("/vep")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const ChildResult result = run(QStringLiteral("home"));
    expectFatalExit(result);
    EXPECT_EQ(result.err, fatalText(kNotFound, QByteArray()));
}

TEST_F(HomeDirectoryTest, HomeThatIsAFileCannotHoldTheConfigFolder) {
    QFile file(path(QStringLiteral("plainfile")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    setChild(QStringLiteral("HOME"), native(path(QStringLiteral("plainfile"))));
    const ChildResult result = run(QStringLiteral("home"));
    expectFatalExit(result);
    const QByteArray config = utf8(native(path(QStringLiteral("plainfile/korvane/config"))));
#ifdef _WIN32
    // The system's own wording, in the user's language.
    const QByteArray reason = OrreryTest::WindowsHost::systemMessage(ERROR_PATH_NOT_FOUND);
    ASSERT_FALSE(reason.isEmpty());
#else
    const QByteArray reason = "Not a directory";
#endif
    EXPECT_EQ(result.err,
              fatalText("Error: Cannot create the directory " + config + ": " + reason, config))
        << result.err.constData();
}

// A directory made unwritable through its POSIX permission bits; Windows has access
// control lists instead, which Qt's permission call does not set.
#ifndef _WIN32
TEST_F(HomeDirectoryTest, UnwritableHomeIsFatalWithTheReason) {
    if (::geteuid() == 0) {
        GTEST_SKIP() << "permissions do not stop the superuser";
    }
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("readonly")));
    QFile::setPermissions(path(QStringLiteral("readonly")),
                          QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    setChild(QStringLiteral("HOME"), path(QStringLiteral("readonly")));
    const ChildResult result = run(QStringLiteral("home"));
    QFile::setPermissions(path(QStringLiteral("readonly")),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    expectFatalExit(result);
    const QByteArray config = utf8(path(QStringLiteral("readonly/korvane/config")));
    EXPECT_TRUE(
        result.err.startsWith(QByteArray("Error: Cannot create the directory " + config + ": ")))
        << result.err.constData();
    EXPECT_EQ(
        result.err,
        fatalText("Error: Cannot create the directory " + config + ": Permission denied", config));
}
#endif

TEST_F(HomeDirectoryTest, EnsureHomeDirExistsCreatesMissingParents) {
    setChild(QStringLiteral("ORRERY_DRIVER_ARG1"), path(QStringLiteral("new/deeper/home")));
    const ChildResult result = run(QStringLiteral("ensure-home"));
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.out, QByteArray("returned=[1]\n"));
    EXPECT_TRUE(isDir(path(QStringLiteral("new/deeper/home/korvane/config"))));
}

TEST_F(HomeDirectoryTest, EnsureHomeDirExistsAcceptsAnExistingFolder) {
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("home/korvane/config")));
    setChild(QStringLiteral("ORRERY_DRIVER_ARG1"), home());
    const ChildResult result = run(QStringLiteral("ensure-home"));
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, QByteArray("returned=[1]\n"));
    EXPECT_TRUE(QDir(QString(home() + QStringLiteral("/korvane/config")))
                    .entryList(QDir::AllEntries | QDir::NoDotAndDotDot)
                    .isEmpty());
}

TEST_F(HomeDirectoryTest, GiveHomeDirErrorShowsTheFullMessageOnceAndExitsWithMinusOne) {
    setChild(QStringLiteral("ORRERY_DRIVER_ARG1"), QStringLiteral("Something failed"));
    setChild(QStringLiteral("ORRERY_DRIVER_ARG2"), QStringLiteral("/some/dir"));
    const ChildResult result = run(QStringLiteral("give-error"));
    expectFatalExit(result);
    EXPECT_EQ(result.err, fatalText("Something failed", "/some/dir"));

    setChild(QStringLiteral("ORRERY_DRIVER_SINK"), QStringLiteral("record"));
    const ChildResult recorded = run(QStringLiteral("give-error"));
    EXPECT_EQ(recorded.exitCode, exitCodeOfMinusOne());
    EXPECT_EQ(recorded.out, "MSG[" + fatalText("Something failed", "/some/dir") + "]\n");
    EXPECT_EQ(recorded.err, QByteArray());
}

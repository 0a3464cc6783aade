// SPDX-License-Identifier: MIT
#include <vexil/core.h>

#include "testutil.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdlib>

using vexil::Path;

namespace {

/// @p text with every '/' spelt as the host's separator ('\\' on Windows).
std::string onHost(std::string text) {
#ifdef _WIN32
    for (char& c : text) {
        if (c == '/') {
            c = '\\';
        }
    }
#endif
    return text;
}

/// @p path with the host's separators, as the platform layer spells the names it reports.
QString nativePath(const QString& path) {
    return QDir::toNativeSeparators(path);
}

}  // namespace

TEST(VexilPath, AppendJoinsWithOneHostSeparator) {
    EXPECT_EQ(Path("a").append(Path("b")).string(), onHost("a/b"));
    EXPECT_EQ(Path("a/").append(Path("b")).string(), onHost("a/b"));
    EXPECT_EQ(Path("a\\").append(Path("\\b")).string(), onHost("a/b"));
    // A root made only of separators keeps its own spelling.
    EXPECT_EQ(Path("/").append(Path("b")).string(), "/b");
    EXPECT_EQ(Path("").append(Path("b")).string(), "b");
    EXPECT_EQ(Path("a").append(Path("")).string(), "a");
    EXPECT_EQ(Path("C:\\X").append(Path("doc")).string(), onHost("C:\\X/doc"));
}

TEST(VexilPath, NativeSpellsHostSeparators) {
    EXPECT_EQ(Path("C:\\X\\bin").native(), onHost("C:/X/bin"));
    EXPECT_EQ(Path("a/b\\c").native(), onHost("a/b/c"));
    EXPECT_EQ(Path(static_cast<const char*>(nullptr)).native(), "");
    const std::string text = "kept";
    EXPECT_EQ(static_cast<std::string>(Path(text)), "kept");
}

TEST(VexilPath, NormalizeFoldsDotsAndSeparators) {
    EXPECT_EQ(Path("/a/./b/../c/").normalize().string(), onHost("/a/c"));
    EXPECT_EQ(Path("a\\b\\..\\..\\..\\c").normalize().string(), onHost("../c"));
    EXPECT_EQ(Path("/../x").normalize().string(), onHost("/x"));
    EXPECT_EQ(Path("a/..").normalize().string(), ".");
    EXPECT_EQ(Path("").normalize().string(), "");
}

TEST(VexilPath, CompareFilenamesFollowsHostRules) {
    EXPECT_EQ(Path::compare_filenames(Path("/a/b"), Path("\\a\\b")), 0);
    EXPECT_LT(Path::compare_filenames(Path("/a/b"), Path("/a/c")), 0);
    EXPECT_GT(Path::compare_filenames(Path("/a/c"), Path("/a/b")), 0);
#ifdef _WIN32
    // Windows compares names without case, ordinally, in UTF-16: "É" matches "é", but
    // "ß" is no "ss".
    EXPECT_EQ(Path::compare_filenames(Path("/a/B"), Path("/a/b")), 0);
    EXPECT_EQ(Path::compare_filenames(Path("C:\\Caf\xc3\xa9"), Path("c:/CAF\xc3\x89")), 0);
    EXPECT_NE(Path::compare_filenames(Path("Ma\xc3\x9f"), Path("MASS")), 0);
#else
    EXPECT_NE(Path::compare_filenames(Path("/a/B"), Path("/a/b")), 0);
#endif
}

class VexilFileSystem : public OrreryTest::TempDirTest {};

TEST_F(VexilFileSystem, ExistsAndIsDirectory) {
    QDir(path()).mkpath(QStringLiteral("sub"));
    QFile file(path(QStringLiteral("sub/f.txt")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    EXPECT_TRUE(Path(stdPath(QStringLiteral("sub"))).exists());
    EXPECT_TRUE(Path(stdPath(QStringLiteral("sub"))).is_directory());
    EXPECT_TRUE(Path(stdPath(QStringLiteral("sub/f.txt"))).exists());
    EXPECT_FALSE(Path(stdPath(QStringLiteral("sub/f.txt"))).is_directory());
    EXPECT_FALSE(Path(stdPath(QStringLiteral("missing"))).exists());
    EXPECT_FALSE(Path("").exists());
}

TEST_F(VexilFileSystem, BackslashIsASeparatorAtTheOsBoundary) {
    QDir(path()).mkpath(QStringLiteral("a/b"));
    const std::string windowsStyle = stdPath() + "\\a\\b";
    EXPECT_TRUE(Path(windowsStyle).exists());
    EXPECT_TRUE(Path(windowsStyle).is_directory());
    EXPECT_TRUE(Path(stdPath() + "\\a\\new").create_directory());
    EXPECT_TRUE(QFileInfo(path(QStringLiteral("a/new"))).isDir());
    OrreryTest::ScopedCurrentDir restore;
    EXPECT_EQ(vexil::chdir_utf8(Path(windowsStyle)), 0);
    EXPECT_EQ(QDir::currentPath(), path(QStringLiteral("a/b")));
}

TEST_F(VexilFileSystem, CreateDirectoryWithParents) {
    const std::string deep = stdPath(QStringLiteral("x/y/z"));
    std::string reason;
    EXPECT_FALSE(Path(deep).create_directory(false, &reason));
    EXPECT_FALSE(reason.empty());
    EXPECT_TRUE(Path(deep).create_directory(true));
    EXPECT_TRUE(QFileInfo(path(QStringLiteral("x/y/z"))).isDir());
    EXPECT_TRUE(Path(deep).create_directory(true));  // existing counts as success
}

TEST_F(VexilFileSystem, CreateDirectoryReportsReason) {
    QFile file(path(QStringLiteral("plain")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    std::string reason;
    EXPECT_FALSE(Path(stdPath(QStringLiteral("plain/sub"))).create_directory(true, &reason));
    EXPECT_FALSE(reason.empty());
}

TEST_F(VexilFileSystem, ChdirAndGetcwd) {
    OrreryTest::ScopedCurrentDir restore;
    EXPECT_EQ(vexil::chdir_utf8(Path(stdPath())), 0);
    char* cwd = vexil::getcwd_utf8_legacy(nullptr, 1024);
    ASSERT_NE(cwd, nullptr);
    // The operating system's own spelling: backslashes on Windows.
    EXPECT_EQ(QString::fromUtf8(cwd), nativePath(QDir::currentPath()));
    std::free(cwd);
    char small[4];
    EXPECT_EQ(vexil::getcwd_utf8_legacy(small, sizeof small), nullptr);
    std::string big(4096, '\0');
    EXPECT_EQ(vexil::getcwd_utf8_legacy(big.data(), static_cast<int>(big.size())), big.data());
    EXPECT_EQ(QString::fromUtf8(big.c_str()), nativePath(QDir::currentPath()));
    EXPECT_NE(vexil::chdir_utf8(Path(stdPath(QStringLiteral("missing")))), 0);
    EXPECT_NE(vexil::chdir_utf8(Path("")), 0);
}

TEST_F(VexilFileSystem, NonAsciiNames) {
    const QString name = QStringLiteral("d\u00e9j\u00e0 \u6587\u4ef6");
    const std::string utf8 = stdPath(name);
    EXPECT_TRUE(Path(utf8).create_directory());
    EXPECT_TRUE(QFileInfo(path(name)).isDir());
    OrreryTest::ScopedCurrentDir restore;
    EXPECT_EQ(vexil::chdir_utf8(Path(utf8)), 0);
    char* cwd = vexil::getcwd_utf8_legacy(nullptr, 0);
    ASSERT_NE(cwd, nullptr);
    EXPECT_EQ(std::string(cwd), nativePath(path(name)).toStdString());
    std::free(cwd);
}

TEST_F(VexilFileSystem, DirectorySaverRestores) {
    OrreryTest::ScopedCurrentDir restore;
    const QString before = QDir::currentPath();
    {
        vexil::DirectorySaver saver;
        ASSERT_EQ(vexil::chdir_utf8(Path(stdPath())), 0);
        EXPECT_EQ(QDir::currentPath(), path());
    }
    EXPECT_EQ(QDir::currentPath(), before);
}

TEST(VexilProcess, ExecutablePathAndDirectories) {
    const std::string exe = vexil::get_exe_full_path().string();
    EXPECT_EQ(QFileInfo(QString::fromStdString(exe)).canonicalFilePath(),
              QFileInfo(QString::fromStdString(exe)).absoluteFilePath());
    EXPECT_TRUE(QFileInfo(QString::fromStdString(exe)).isExecutable());
    EXPECT_EQ(QString::fromStdString(vexil::get_bin_directory()),
              nativePath(QFileInfo(QString::fromStdString(exe)).path()));
}

namespace {

/// The parent of the bin directory, spelt as the platform layer spells it.
QString parentOfBin() {
    return nativePath(QFileInfo(QString::fromStdString(vexil::get_bin_directory())).path());
}

}  // namespace

TEST(VexilProcess, InstallationDirectoryDefaultsToParentOfBin) {
    OrreryTest::ScopedEnv env;
    env.unset("VEXIL_INSTALLATION_DIR").unset("KORVANE_DIR").unset("VEXIL_REGISTRY_FILE");
    EXPECT_EQ(QString::fromStdString(vexil::get_installation_directory()), parentOfBin());
}

#ifndef _WIN32
// VEXIL_INSTALLATION_DIR names the installation on POSIX only; Windows ignores it (below).
TEST(VexilProcess, InstallationDirectoryFromTheHostVariableIsReadAfresh) {
    OrreryTest::ScopedEnv env;
    env.unset("KORVANE_DIR").set("VEXIL_INSTALLATION_DIR", "/opt/korvane");
    EXPECT_EQ(vexil::get_installation_directory(), "/opt/korvane");
    EXPECT_EQ(vexil::CommandLine::get_command_line()->get_installation_directory().string(),
              "/opt/korvane");
    env.set("VEXIL_INSTALLATION_DIR", "/opt/other");
    EXPECT_EQ(vexil::get_installation_directory(), "/opt/other");
    env.set("VEXIL_INSTALLATION_DIR", "");
    EXPECT_EQ(QString::fromStdString(vexil::get_installation_directory()), parentOfBin());
}
#else
TEST(VexilProcess, InstallationDirectoryIgnoresVexilInstallationDir) {
    OrreryTest::ScopedEnv env;
    env.unset("KORVANE_DIR").set("VEXIL_INSTALLATION_DIR", "C:\\Korvane");
    EXPECT_EQ(QString::fromStdString(vexil::get_installation_directory()), parentOfBin());
    EXPECT_EQ(QString::fromStdString(
                  vexil::CommandLine::get_command_line()->get_installation_directory().string()),
              parentOfBin());
}
#endif

class VexilInstallation : public OrreryTest::TempDirTest {};

TEST_F(VexilInstallation, KorvaneDirNeverSteersTheInstallationDirectory) {
#ifndef _WIN32
    // The registry of POSIX hosts is a file; tests/windows puts KORVANE_DIR in the real one.
    QFile registry(path(QStringLiteral("reg.ini")));
    ASSERT_TRUE(registry.open(QIODevice::WriteOnly));
    registry.write("[Environment]\nKORVANE_DIR=/from/registry\n");
    registry.close();
    env().set("VEXIL_REGISTRY_FILE", stdPath(QStringLiteral("reg.ini")));
#endif
    env().unset("VEXIL_INSTALLATION_DIR");
    env().unset("KORVANE_DIR");
    EXPECT_EQ(QString::fromStdString(vexil::get_installation_directory()), parentOfBin());
    env().set("KORVANE_DIR", "/from/env");
    EXPECT_EQ(QString::fromStdString(vexil::get_installation_directory()), parentOfBin());
#ifndef _WIN32
    env().set("VEXIL_INSTALLATION_DIR", "/named");
    EXPECT_EQ(vexil::get_installation_directory(), "/named");
#endif
}

TEST(VexilProcess, UserProfileDirectoryIsThePasswdHome) {
    OrreryTest::ScopedEnv env;
    env.set("HOME", "/nonexistent/elsewhere");
    std::string profile;
    ASSERT_TRUE(vexil::get_user_profile_directory(&profile));
    EXPECT_FALSE(profile.empty());
    EXPECT_NE(profile, "/nonexistent/elsewhere");
}

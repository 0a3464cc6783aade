// SPDX-License-Identifier: MIT
// Path names against the file system: current directory, existence, full and
// physical paths, the comparisons that consult them, DirectorySaver and the
// normalised absolute paths.
#include <orrery/filename.h>

#include "filename/filename_p.h"
#include "testutil.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextCodec>

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace fn = Orrery::Filename;
using OrreryTest::ScopedCurrentDir;

namespace {

/// Sets the codec for the local 8-bit encoding and puts the previous one back.
class ScopedLocaleCodec {
public:
    explicit ScopedLocaleCodec(const char* name) : previous_(QTextCodec::codecForLocale()) {
        QTextCodec::setCodecForLocale(QTextCodec::codecForName(name));
    }
    ~ScopedLocaleCodec() { QTextCodec::setCodecForLocale(previous_); }
    ScopedLocaleCodec(const ScopedLocaleCodec&) = delete;
    ScopedLocaleCodec& operator=(const ScopedLocaleCodec&) = delete;

private:
    QTextCodec* previous_;
};

/// "/tmp/x/y" spelled "\tmp\x\y", as the file-name functions write full paths.
std::string backslashed(std::string path) {
    for (char& c : path) {
        if (c == '/') {
            c = '\\';
        }
    }
    return path;
}

const char* const kAccented = "d\xc3\xa9 j\xc3\xa0";  // "dé jà"
const char* const kAccentedFile = "f\xc3\xaf.txt";    // "fï.txt"
const char* const kAccentedLink = "li\xc3\xa9n";      // "lién"

/// A temporary tree:
///   dir/file.txt  dir/sub/  dir/a.txt  dir/b.txt (a hard link to a.txt)
///   target/f.txt  link -> target
///   dé jà/fï.txt  lién -> dé jà
class FilenameFileSystem : public OrreryTest::TempDirTest {
protected:
    void SetUp() override {
        OrreryTest::TempDirTest::SetUp();
        QDir root(path());
        ASSERT_TRUE(root.mkpath(QStringLiteral("dir/sub")));
        ASSERT_TRUE(root.mkpath(QStringLiteral("target")));
        ASSERT_TRUE(root.mkpath(QString::fromUtf8(kAccented)));
        touch(QStringLiteral("dir/file.txt"));
        touch(QStringLiteral("dir/a.txt"));
        touch(QStringLiteral("target/f.txt"));
        touch(QString(QString::fromUtf8(kAccented) + QLatin1Char('/') +
                      QString::fromUtf8(kAccentedFile)));
        ASSERT_EQ(::link(QFile::encodeName(path(QStringLiteral("dir/a.txt"))).constData(),
                         QFile::encodeName(path(QStringLiteral("dir/b.txt"))).constData()),
                  0);
        ASSERT_TRUE(QFile::link(path(QStringLiteral("target")), path(QStringLiteral("link"))));
        ASSERT_TRUE(QFile::link(path(QString::fromUtf8(kAccented)),
                                path(QString::fromUtf8(kAccentedLink))));
    }

    void touch(const QString& relative) {
        QFile file(path(relative));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }

    /// The tree's root as the operating system spells it (symbolic links resolved).
    std::string physicalRoot() const { return QFileInfo(path()).canonicalFilePath().toStdString(); }

    std::string at(const std::string& relative) const { return stdPath() + "/" + relative; }

    // The local 8-bit encoding is UTF-8, as the library's start-up makes it.
    ScopedLocaleCodec codec_{"UTF-8"};
    ScopedCurrentDir cwd_;
};

}  // namespace

// ---------------------------------------------------------------------------
// Current directory

TEST_F(FilenameFileSystem, CurrentDirectoryIsTheOsSpelling) {
    ASSERT_TRUE(QDir::setCurrent(path(QString::fromUtf8(kAccented))));
    const std::string expected = physicalRoot() + "/" + kAccented;
    EXPECT_EQ(fn::get_current_directory(), expected);
    std::string out = "stale";
    EXPECT_TRUE(fn::get_current_directory(&out));
    EXPECT_EQ(out, expected);
}

TEST_F(FilenameFileSystem, UnreadableCurrentDirectoryGivesFalseAndEmpty) {
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("gone")));
    ASSERT_TRUE(QDir::setCurrent(path(QStringLiteral("gone"))));
    ASSERT_TRUE(QDir(path()).rmdir(QStringLiteral("gone")));
    std::string out = "stale";
    EXPECT_FALSE(fn::get_current_directory(&out));
    EXPECT_EQ(out, "");
    EXPECT_EQ(fn::get_current_directory(), "");
}

// ---------------------------------------------------------------------------
// Existence

TEST_F(FilenameFileSystem, ExistenceOfFilesAndDirectories) {
    const std::string dir = at("dir");
    const std::string file = at("dir/file.txt");
    EXPECT_TRUE(fn::path_exists(dir));
    EXPECT_TRUE(fn::path_exists(file));
    EXPECT_TRUE(fn::path_exists(file.c_str()));
    EXPECT_FALSE(fn::path_exists(at("missing")));
    EXPECT_FALSE(fn::path_exists(at("missing").c_str()));
    EXPECT_TRUE(fn::is_directory(dir));
    EXPECT_TRUE(fn::is_directory(dir.c_str()));
    EXPECT_FALSE(fn::is_directory(file));
    EXPECT_FALSE(fn::is_directory(at("missing")));
    EXPECT_TRUE(fn::is_filename(file));
    EXPECT_TRUE(fn::is_filename(file.c_str()));
    EXPECT_FALSE(fn::is_filename(dir));
    EXPECT_FALSE(fn::is_filename(at("missing").c_str()));
}

TEST_F(FilenameFileSystem, TrailingSeparatorExistsOnlyAsADirectory) {
    EXPECT_TRUE(fn::is_directory(at("dir") + "\\"));
    EXPECT_TRUE(fn::is_directory(backslashed(at("dir")) + "\\"));
    EXPECT_TRUE(fn::path_exists(at("dir") + "/"));
    EXPECT_TRUE(fn::path_exists((at("dir") + "\\\\").c_str()));
    EXPECT_FALSE(fn::path_exists(at("dir/file.txt") + "\\"));
    EXPECT_FALSE(fn::path_exists(backslashed(at("dir/file.txt")) + "\\"));
    EXPECT_FALSE(fn::is_filename(at("dir/file.txt") + "/"));
    EXPECT_FALSE(fn::is_directory(at("dir/file.txt") + "/"));
    EXPECT_TRUE(fn::is_directory("/"));
    EXPECT_TRUE(fn::is_directory("\\"));
}

TEST_F(FilenameFileSystem, EmptyAndNullNamesDoNotExist) {
    EXPECT_FALSE(fn::path_exists(std::string()));
    EXPECT_FALSE(fn::path_exists(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(fn::is_directory(static_cast<const char*>(nullptr)));
    EXPECT_FALSE(fn::is_filename(static_cast<const char*>(nullptr)));
}

TEST_F(FilenameFileSystem, NonAsciiNamesAndWindowsSpellingReachTheFileSystem) {
    const std::string file = at(std::string(kAccented) + "/" + kAccentedFile);
    EXPECT_TRUE(fn::is_filename(file));
    EXPECT_TRUE(fn::is_filename(backslashed(file)));
    EXPECT_TRUE(fn::is_directory(backslashed(at(kAccented)) + "\\"));
    EXPECT_TRUE(fn::is_directory(at(kAccentedLink)));
}

// ---------------------------------------------------------------------------
// Full paths

TEST_F(FilenameFileSystem, FullPathFoldsOnlyRelativeNames) {
    ASSERT_TRUE(QDir::setCurrent(path()));
    const std::string cwd = backslashed(physicalRoot());
    EXPECT_EQ(fn::get_full_path("C:/a/../b"), "C:\\a\\..\\b");
    EXPECT_EQ(fn::get_full_path(std::string("C:/a/../b")), "C:\\a\\..\\b");
    EXPECT_EQ(fn::get_full_path("a\\..\\b"), cwd + "\\b");
    EXPECT_EQ(fn::get_full_path(std::string("./x/")), cwd + "\\x");
    EXPECT_EQ(fn::get_full_path(std::string(kAccented) + "/" + kAccentedFile),
              cwd + "\\" + kAccented + "\\" + kAccentedFile);
    EXPECT_EQ(fn::get_full_path(""), cwd);
    EXPECT_EQ(fn::get_full_path(static_cast<const char*>(nullptr)), cwd);
    EXPECT_EQ(fn::get_full_path("C:"), "C:");  // a bare drive comes back unchanged
    EXPECT_EQ(fn::get_full_path("\\\\srv/share/.."), "\\\\srv\\share\\..");
    // This host's current directory has no drive, so none is put in front.
    EXPECT_EQ(fn::get_full_path("\\x"), "\\x");
    EXPECT_EQ(fn::get_full_path("/x/./y"), "\\x\\.\\y");
}

TEST(FilenameFullPath, RootedNamesTakeTheDriveOfTheCurrentDirectory) {
    int reads = 0;
    auto cwd = [&reads]() {
        ++reads;
        return std::string("D:\\work");
    };
    using Orrery::Filename::detail::fullPathUsing;
    EXPECT_EQ(fullPathUsing("\\x", cwd), "D:\\x");
    EXPECT_EQ(fullPathUsing("/x/../y", cwd), "D:\\x\\..\\y");
    EXPECT_EQ(fullPathUsing("a\\..\\b", cwd), "D:\\work\\b");
    EXPECT_EQ(fullPathUsing("C:", cwd), "C:");
    EXPECT_EQ(reads, 4);
    EXPECT_EQ(fullPathUsing("C:/a/../b", cwd), "C:\\a\\..\\b");
    EXPECT_EQ(fullPathUsing("c:rel", cwd), "c:rel");
    EXPECT_EQ(fullPathUsing("//srv/x", cwd), "\\\\srv\\x");
    EXPECT_EQ(reads, 4) << "names with a drive or a server need no current directory";
    EXPECT_EQ(fullPathUsing("\\x", []() { return std::string("/home/u"); }), "\\x");
    EXPECT_EQ(fullPathUsing("\\x", []() { return std::string(); }), "\\x");
}

// ---------------------------------------------------------------------------
// Physical paths

TEST_F(FilenameFileSystem, PhysicalPathSpellsTheLinkTarget) {
    const std::string expected = physicalRoot() + "/target\\f.txt";
    EXPECT_EQ(fn::get_physical_path(at("link/f.txt")), expected);
    EXPECT_EQ(fn::get_physical_path(backslashed(at("link\\f.txt"))), expected);
    EXPECT_EQ(fn::get_physical_path(at("link/./../link/f.txt")), expected);
    // The leaf is taken as written, whether or not it exists.
    EXPECT_EQ(fn::get_physical_path(at("link/F.TXT")), physicalRoot() + "/target\\F.TXT");
    EXPECT_EQ(fn::get_physical_path(at("link/")), physicalRoot() + "\\link");
    EXPECT_EQ(fn::get_physical_path(std::string(at(kAccentedLink)) + "/" + kAccentedFile),
              physicalRoot() + "/" + kAccented + "\\" + kAccentedFile);
}

TEST_F(FilenameFileSystem, PhysicalPathOfARelativeName) {
    ASSERT_TRUE(QDir::setCurrent(path(QStringLiteral("dir"))));
    EXPECT_EQ(fn::get_physical_path("..\\link\\f.txt"), physicalRoot() + "/target\\f.txt");
    EXPECT_EQ(fn::get_physical_path("file.txt"), physicalRoot() + "/dir\\file.txt");
}

TEST_F(FilenameFileSystem, PhysicalPathOfAMissingDirectoryIsEmpty) {
    EXPECT_EQ(fn::get_physical_path(at("missing/f.txt")), "");
    EXPECT_EQ(fn::get_physical_path(at("link/missing/f.txt")), "");
}

// Runs in a forked child: the current directory is removed under it, which the parent's
// must not be. The child exits 0 when get_physical_path gave "" and left it where it was.
TEST_F(FilenameFileSystem, PhysicalPathWithAnUnreadableCurrentDirectoryStaysPut) {
    const std::string gone = path(QStringLiteral("gone")).toStdString();
    const std::string target = at("link/f.txt");
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("gone")));
    EXPECT_EXIT(
        {
            if (::chdir(gone.c_str()) != 0 || ::rmdir(gone.c_str()) != 0) {
                std::_Exit(10);
            }
            char buffer[4096];
            if (::getcwd(buffer, sizeof buffer) != nullptr || errno != ENOENT) {
                std::_Exit(11);
            }
            if (!fn::get_physical_path(target).empty()) {
                std::_Exit(12);
            }
            // Still in the removed directory: reading it fails the same way.
            errno = 0;
            if (::getcwd(buffer, sizeof buffer) != nullptr || errno != ENOENT) {
                std::_Exit(13);
            }
            std::_Exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(FilenameFileSystem, PhysicalPathRestoresTheCurrentDirectory) {
    ASSERT_TRUE(QDir::setCurrent(path(QStringLiteral("dir/sub"))));
    const QString before = QDir::currentPath();
    EXPECT_NE(fn::get_physical_path(at("link/f.txt")), "");
    EXPECT_EQ(QDir::currentPath(), before);
    // The directory part exists but is a file: entering it fails.
    EXPECT_EQ(fn::get_physical_path(at("dir/file.txt/x")), "");
    EXPECT_EQ(QDir::currentPath(), before);
    EXPECT_EQ(fn::get_physical_path(at("missing/x")), "");
    EXPECT_EQ(QDir::currentPath(), before);
}

TEST_F(FilenameFileSystem, DirectoryIsRestoredWhenAnExceptionPasses) {
    ASSERT_TRUE(QDir::setCurrent(path(QStringLiteral("dir"))));
    const QString before = QDir::currentPath();
    try {
        const Orrery::Filename::detail::CurrentDirectoryRestorer restore(
            fn::get_current_directory());
        ASSERT_EQ(vexil::chdir_utf8(vexil::Path(at("target"))), 0);
        ASSERT_NE(QDir::currentPath(), before);
        throw std::runtime_error("interrupted");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(QDir::currentPath(), before);
}

// ---------------------------------------------------------------------------
// Comparisons that consult the file system

TEST_F(FilenameFileSystem, EqualPhysicalNamesSeesThroughLinks) {
    EXPECT_TRUE(fn::equal_physical_names(at("link/f.txt"), at("target/f.txt")));
    EXPECT_TRUE(fn::equal_physical_names(at("link/F.txt"), backslashed(at("target/f.TXT"))));
    EXPECT_FALSE(fn::equal_physical_names(at("link/f.txt"), at("dir/f.txt")));
    EXPECT_TRUE(fn::equal_physical_names(at(kAccentedLink) + "/x", at(kAccented) + "/x"));
    // Two names in missing directories both have the empty physical path.
    EXPECT_TRUE(fn::equal_physical_names(at("missing/a"), at("other/b")));
}

TEST(FilenameSamePathname, EqualAfterNormalisation) {
    EXPECT_TRUE(fn::is_same_pathname(std::string("C:/x"), std::string("c:\\x")));
    EXPECT_TRUE(fn::is_same_pathname("C:/x", "c:\\x"));
    EXPECT_TRUE(fn::is_same_pathname("x\\..\\y", "y"));
    EXPECT_TRUE(fn::is_same_pathname("C:\\", "c:/"));
    EXPECT_TRUE(fn::is_same_pathname("d\xc3\xa9/./F", "D\xc3\xa9\\f"));
    EXPECT_TRUE(fn::is_same_pathname(nullptr, ""));
    EXPECT_TRUE(fn::is_same_pathname(nullptr, nullptr));
}

TEST_F(FilenameFileSystem, DifferentLeavesAreNeverTheSameFile) {
    ASSERT_TRUE(QDir::setCurrent(path()));
    // b.txt is a hard link to a.txt, yet the names differ in their last component.
    EXPECT_FALSE(fn::is_same_pathname("dir\\a.txt", "dir\\b.txt"));
    EXPECT_FALSE(fn::is_same_pathname(at("dir/a.txt").c_str(), at("dir/b.txt").c_str()));
    EXPECT_FALSE(fn::is_same_pathname("dir\\a.txt", "dir\\a.tx"));
}

TEST_F(FilenameFileSystem, ExistingNamesCompareByTheirPhysicalPaths) {
    ASSERT_TRUE(QDir::setCurrent(path()));
    EXPECT_TRUE(fn::is_same_pathname(at("link/f.txt"), at("target/f.txt")));
    EXPECT_TRUE(fn::is_same_pathname("link\\f.txt", at("target/f.txt")));
    EXPECT_TRUE(fn::is_same_pathname(std::string("link/f.txt"), std::string("target\\f.txt")));
    EXPECT_TRUE(fn::is_same_pathname(std::string(kAccentedLink) + "/" + kAccentedFile,
                                     at(kAccented) + "/" + kAccentedFile));
    EXPECT_FALSE(fn::is_same_pathname("target\\f.txt", "dir\\f.txt"));
}

TEST_F(FilenameFileSystem, MissingNamesCompareByTheirFullPaths) {
    ASSERT_TRUE(QDir::setCurrent(path()));
    EXPECT_TRUE(fn::is_same_pathname("nodir\\f.txt", at("nodir/f.txt")));
    EXPECT_TRUE(fn::is_same_pathname("nodir\\..\\dir\\f.txt", backslashed(at("dir/f.txt"))));
    EXPECT_FALSE(fn::is_same_pathname("nodir1\\f.txt", "nodir2\\f.txt"));
    // The directories exist and lead to the same place, but the files do not exist, so
    // no physical resolution happens.
    EXPECT_FALSE(fn::is_same_pathname("link\\missing.txt", "target\\missing.txt"));
}

// ---------------------------------------------------------------------------
// DirectorySaver

TEST_F(FilenameFileSystem, DirectorySaverRestoresOnDestruction) {
    ASSERT_TRUE(QDir::setCurrent(path(QStringLiteral("dir"))));
    const QString before = QDir::currentPath();
    {
        const fn::DirectorySaver saver;
        EXPECT_EQ(saver.get_original_cwd(), before.toLocal8Bit().toStdString());
        EXPECT_TRUE(saver.change_dir(at("target")));
        EXPECT_EQ(QDir::currentPath(),
                  QFileInfo(path(QStringLiteral("target"))).canonicalFilePath());
        EXPECT_TRUE(saver.change_dir(at("dir/sub").c_str()));
        EXPECT_FALSE(saver.change_dir(at("missing")));
        EXPECT_FALSE(saver.change_dir(""));
        EXPECT_FALSE(saver.change_dir(static_cast<const char*>(nullptr)));
        EXPECT_EQ(QDir::currentPath(),
                  QFileInfo(path(QStringLiteral("dir/sub"))).canonicalFilePath());
    }
    EXPECT_EQ(QDir::currentPath(), before);
}

TEST_F(FilenameFileSystem, DirectorySaverCopiesTheRecordedDirectory) {
    ASSERT_TRUE(QDir::setCurrent(path(QStringLiteral("dir"))));
    const QString before = QDir::currentPath();
    fn::DirectorySaver first;
    ASSERT_TRUE(first.change_dir(at("target")));
    {
        const fn::DirectorySaver copy(first);
        EXPECT_EQ(copy.get_original_cwd(), first.get_original_cwd());
        fn::DirectorySaver assigned;
        EXPECT_NE(assigned.get_original_cwd(), first.get_original_cwd());
        assigned = first;
        EXPECT_EQ(assigned.get_original_cwd(), before.toStdString());
        ASSERT_TRUE(first.change_dir(at("dir/sub")));
    }
    EXPECT_EQ(QDir::currentPath(), before);
}

TEST_F(FilenameFileSystem, DirectorySaverRoundTripsNonAsciiNamesUnderUtf8) {
    ASSERT_TRUE(QDir::setCurrent(path(QString::fromUtf8(kAccented))));
    const QString before = QDir::currentPath();
    {
        const fn::DirectorySaver saver;
        EXPECT_EQ(saver.get_original_cwd(), physicalRoot() + "/" + kAccented);
        ASSERT_TRUE(saver.change_dir(at("dir")));
    }
    EXPECT_EQ(QDir::currentPath(), before);
}

TEST_F(FilenameFileSystem, DirectorySaverReadsItsSavedBytesAsUtf8) {
    // Saved in the local 8-bit encoding, restored from the bytes read as UTF-8: when the
    // local encoding is Latin-1 a non-ASCII directory is not found again, and the saver
    // leaves the current directory where it is.
    ASSERT_EQ(vexil::chdir_utf8(vexil::Path(at(kAccented))), 0);
    const ScopedLocaleCodec latin1("ISO-8859-1");
    if (QString(QChar(0xE9)).toLocal8Bit() != QByteArray("\xE9")) {
        // Qt 6 takes the local 8-bit encoding of this host to be UTF-8 whatever codec is set.
        GTEST_SKIP() << "the local 8-bit encoding cannot be made Latin-1 with this Qt";
    }
    {
        const fn::DirectorySaver saver;
        EXPECT_EQ(saver.get_original_cwd(), physicalRoot() + "/" + kAccented);
        ASSERT_TRUE(saver.change_dir(at("dir")));
    }
    EXPECT_EQ(fn::get_current_directory(), physicalRoot() + "/dir");
}

// ---------------------------------------------------------------------------
// Normalised absolute paths

TEST(FilenameAbsolutePath, FoldsWithForwardSlashes) {
    using Orrery::GetNormalizedAbsolutePath_unixSlashes;
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QStringLiteral("C:\\a\\.\\b\\..\\c\\")),
              QStringLiteral("C:/a/c/"));
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QStringLiteral("//srv/x/../y")),
              QStringLiteral("//srv/y"));
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QStringLiteral("/../x")),
              QStringLiteral("/../x"));
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QStringLiteral("\\..\\x")),
              QStringLiteral("/../x"));
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QStringLiteral("/")), QStringLiteral("/"));
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QStringLiteral("z:/a//b/./")),
              QStringLiteral("z:/a/b/"));
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QStringLiteral("/a/b/..")),
              QStringLiteral("/a"));
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QString::fromUtf8("/t/d\xc3\xa9/../j\xc3\xa0")),
              QString::fromUtf8("/t/j\xc3\xa0"));
}

TEST_F(FilenameFileSystem, AbsolutePathOfARelativeNameStartsAtTheCurrentDirectory) {
    using Orrery::GetNormalizedAbsolutePath_unixSlashes;
    ASSERT_TRUE(QDir::setCurrent(path()));
    const QString root = QString::fromStdString(physicalRoot());
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QStringLiteral("a\\.\\b")),
              QString(root + QStringLiteral("/a/b")));
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QStringLiteral("dir/sub/../x/")),
              QString(root + QStringLiteral("/dir/x/")));
    // Only an ASCII letter makes a drive: "1:/x" is relative.
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QStringLiteral("1:/x")),
              QString(root + QStringLiteral("/1:/x")));
    EXPECT_EQ(GetNormalizedAbsolutePath_unixSlashes(QString()), QString(root + QLatin1Char('/')));
}

TEST(FilenameExecutablePath, NullOrRelativeNamesGiveTheRunningExecutable) {
    const std::string exe =
        QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath().toStdString();
    ASSERT_FALSE(exe.empty());
    EXPECT_EQ(
        std::string(Orrery::GetNormalizedAbsolutePathToExecutable_nativeSlashes_utf8(nullptr)),
        exe);
    EXPECT_EQ(std::string(Orrery::GetNormalizedAbsolutePathToExecutable_nativeSlashes_utf8("prog")),
              exe);
    EXPECT_EQ(
        std::string(Orrery::GetNormalizedAbsolutePathToExecutable_nativeSlashes_utf8("bin\\prog")),
        exe);
}

TEST(FilenameExecutablePath, AbsoluteNamesAreNormalisedIntoOneSharedBuffer) {
    const char* first = Orrery::GetNormalizedAbsolutePathToExecutable_nativeSlashes_utf8(
        "/opt/./suite/bin/../bin/prog");
    EXPECT_STREQ(first, "/opt/suite/bin/prog");
    const char* second =
        Orrery::GetNormalizedAbsolutePathToExecutable_nativeSlashes_utf8("/opt/d\xc3\xa9/x");
    EXPECT_EQ(first, second) << "one static buffer, overwritten by each call";
    EXPECT_STREQ(second, "/opt/d\xc3\xa9/x");
}

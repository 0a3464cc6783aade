// SPDX-License-Identifier: MIT
// Paths, the current directory and the file-name operations that consult the file
// system, on drive-letter paths. Wine maps drive Z: to the Unix root and drive C: into
// its prefix.
#include <orrery/filename.h>
#include <vexil/core.h>

#include "wintestutil.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

using WinTest::currentDirectory;
using WinTest::utf8;
using WinTest::wide;
namespace fn = Orrery::Filename;

namespace {

/// The directory of this test program: on drive Z:, since the build tree is not in the
/// Wine prefix.
std::wstring programDirectory() {
    std::wstring name(32768, L'\0');
    name.resize(::GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
    return name.substr(0, name.find_last_of(L'\\'));
}

void touch(const std::wstring& name) {
    const HANDLE file = ::CreateFileW(name.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    ::CloseHandle(file);
}

bool isDirectory(const std::wstring& name) {
    const DWORD a = ::GetFileAttributesW(name.c_str());
    return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

const char* const kAccented = "d\xc3\xa9j\xc3\xa0 \xe4\xb8\xad";  // "déjà 中"

class WindowsFileSystem : public WinTest::TempDirTest {};

}  // namespace

// ---------------------------------------------------------------------------
// The current directory

TEST_F(WindowsFileSystem, CurrentDirectoryCarriesTheDriveLetter) {
    ASSERT_EQ(vexil::chdir_utf8(path()), 0);
    EXPECT_EQ(fn::get_current_directory(), path());
    EXPECT_EQ(fn::get_current_directory().substr(0, 3), "C:\\");
    std::string out;
    EXPECT_TRUE(fn::get_current_directory(&out));
    EXPECT_EQ(out, path());
}

TEST_F(WindowsFileSystem, DriveZIsTheUnixRoot) {
    const std::wstring program = programDirectory();
    ASSERT_EQ(program.substr(0, 3), L"Z:\\") << "the build tree is reached through drive Z:";
    ASSERT_EQ(vexil::chdir_utf8(utf8(program)), 0);
    EXPECT_EQ(fn::get_current_directory(), utf8(program));
    EXPECT_TRUE(vexil::Path("Z:\\").is_directory());
    EXPECT_TRUE(fn::is_directory("Z:\\"));
    EXPECT_TRUE(fn::is_root("Z:\\"));
}

TEST_F(WindowsFileSystem, ChangesDirectoryWithEitherSeparatorAndNonAsciiNames) {
    ASSERT_TRUE(::CreateDirectoryW(wpath(wide(kAccented)).c_str(), nullptr));
    std::string forward = path(kAccented);
    for (char& c : forward) {
        if (c == '\\') {
            c = '/';
        }
    }
    ASSERT_EQ(vexil::chdir_utf8(forward), 0);
    EXPECT_EQ(currentDirectory(), wpath(wide(kAccented)));
    EXPECT_EQ(fn::get_current_directory(), path(kAccented)) << "spelled the system's way";
    EXPECT_EQ(vexil::chdir_utf8(path("missing")), -1);
    EXPECT_EQ(vexil::chdir_utf8(""), -1);
    EXPECT_EQ(currentDirectory(), wpath(wide(kAccented))) << "a failed change changes nothing";
}

TEST_F(WindowsFileSystem, LegacyCurrentDirectoryBuffers) {
    ASSERT_EQ(vexil::chdir_utf8(path()), 0);
    const std::string cwd = path();

    char* allocated = vexil::getcwd_utf8_legacy(nullptr, 0);
    ASSERT_NE(allocated, nullptr);
    EXPECT_EQ(std::string(allocated), cwd);
    std::free(allocated);

    std::string buffer(cwd.size() + 1, 'x');
    EXPECT_EQ(vexil::getcwd_utf8_legacy(buffer.data(), static_cast<int>(buffer.size())),
              buffer.data());
    EXPECT_EQ(std::string(buffer.c_str()), cwd);

    errno = 0;
    EXPECT_EQ(vexil::getcwd_utf8_legacy(buffer.data(), static_cast<int>(cwd.size())), nullptr);
    EXPECT_EQ(errno, ERANGE);
}

TEST_F(WindowsFileSystem, DirectorySaverRestoresTheDrive) {
    ASSERT_EQ(vexil::chdir_utf8(path()), 0);
    {
        const vexil::DirectorySaver saver;
        ASSERT_EQ(vexil::chdir_utf8(utf8(programDirectory())), 0);
        EXPECT_EQ(fn::get_current_directory().substr(0, 2), "Z:");
    }
    EXPECT_EQ(fn::get_current_directory(), path());
}

// ---------------------------------------------------------------------------
// Full and physical paths

TEST_F(WindowsFileSystem, RootedNamesTakeTheDriveOfTheCurrentDirectory) {
    ASSERT_EQ(vexil::chdir_utf8(utf8(programDirectory())), 0);
    EXPECT_EQ(fn::get_full_path("\\x"), "Z:\\x");
    EXPECT_EQ(fn::get_full_path("/x/../y"), "Z:\\x\\..\\y") << "absolute names are not folded";

    ASSERT_EQ(vexil::chdir_utf8(path()), 0);
    EXPECT_EQ(fn::get_full_path("\\x"), "C:\\x");
    EXPECT_EQ(fn::get_full_path(std::string("\\")), "C:\\");
}

TEST_F(WindowsFileSystem, FullPathOfOtherNames) {
    ASSERT_EQ(vexil::chdir_utf8(path()), 0);
    EXPECT_EQ(fn::get_full_path("a\\..\\b"), path("b"));
    EXPECT_EQ(fn::get_full_path("a/./b"), path("a\\b"));
    EXPECT_EQ(fn::get_full_path(""), path());
    EXPECT_EQ(fn::get_full_path("D:"), "D:") << "a bare drive comes back unchanged";
    EXPECT_EQ(fn::get_full_path("C:/a/../b"), "C:\\a\\..\\b");
    EXPECT_EQ(fn::get_full_path("z:rel"), "z:rel");
    EXPECT_EQ(fn::get_full_path("//srv/share/x"), "\\\\srv\\share\\x");
}

TEST_F(WindowsFileSystem, PhysicalPathIsTheDirectoryAsTheSystemSpellsIt) {
    ASSERT_TRUE(::CreateDirectoryW(wpath(L"sub").c_str(), nullptr));
    touch(wpath(L"sub\\f.txt"));
    std::string forward = path("sub/./f.txt");
    ASSERT_EQ(vexil::chdir_utf8(utf8(programDirectory())), 0);
    EXPECT_EQ(fn::get_physical_path(path("sub/f.txt")), path("sub\\f.txt"));
    EXPECT_EQ(fn::get_physical_path(path("sub\\..\\sub\\f.txt")), path("sub\\f.txt"));
    EXPECT_EQ(fn::get_physical_path(path("sub\\not-there.txt")), path("sub\\not-there.txt"))
        << "the leaf need not exist";
    EXPECT_EQ(fn::get_physical_path(path("missing\\f.txt")), "");
    EXPECT_EQ(currentDirectory(), programDirectory()) << "the current directory is restored";
}

TEST_F(WindowsFileSystem, PhysicalPathOfARelativeName) {
    ASSERT_TRUE(::CreateDirectoryW(wpath(wide(kAccented)).c_str(), nullptr));
    ASSERT_EQ(vexil::chdir_utf8(path()), 0);
    EXPECT_EQ(fn::get_physical_path(std::string(kAccented) + "/x.txt"),
              path(std::string(kAccented) + "\\x.txt"));
    EXPECT_EQ(currentDirectory(), wpath());
}

TEST_F(WindowsFileSystem, SamePathnameIgnoresCaseAndSeparators) {
    ASSERT_TRUE(::CreateDirectoryW(wpath(L"Sub").c_str(), nullptr));
    touch(wpath(L"Sub\\F.txt"));
    EXPECT_TRUE(fn::is_same_pathname(path("Sub\\F.txt"), path("sub/f.TXT")));
    EXPECT_TRUE(fn::equal_physical_names(path("Sub\\F.txt"), path("Sub/x\\..\\F.txt")));
    EXPECT_FALSE(fn::is_same_pathname(path("Sub\\F.txt"), path("Sub\\G.txt")));
}

// ---------------------------------------------------------------------------
// Existence and vexil::Path

TEST_F(WindowsFileSystem, ExistenceOfFilesAndDirectories) {
    ASSERT_TRUE(::CreateDirectoryW(wpath(wide(kAccented)).c_str(), nullptr));
    touch(wpath(wide(kAccented) + L"\\f\u00ef.txt"));
    const std::string dir = path(kAccented);
    const std::string file = path(std::string(kAccented) + "\\f\xc3\xaf.txt");
    EXPECT_TRUE(fn::path_exists(file));
    EXPECT_TRUE(fn::is_filename(file));
    EXPECT_FALSE(fn::is_directory(file));
    EXPECT_FALSE(fn::path_exists(file + "\\")) << "a file written as a directory";
    EXPECT_TRUE(fn::is_directory(dir));
    EXPECT_TRUE(fn::is_directory(dir + "/"));
    EXPECT_FALSE(fn::path_exists(path("missing")));
    EXPECT_TRUE(fn::is_directory("C:\\windows\\"));
    EXPECT_TRUE(fn::is_filename("C:/windows/notepad.exe"));
    EXPECT_FALSE(fn::path_exists("C:\\windows\\notepad.exe\\"));
}

TEST_F(WindowsFileSystem, PathSpeaksWithBackslashes) {
    vexil::Path p("C:/a/b");
    EXPECT_EQ(p.native(), "C:\\a\\b");
    EXPECT_EQ(p.string(), "C:/a/b") << "the text is kept as given";
    EXPECT_EQ(vexil::Path("C:\\a\\").append("/b").string(), "C:\\a\\b");
    EXPECT_EQ(vexil::Path("C:\\a\\x\\..\\.\\b").normalize().string(), "C:\\a\\b");
    EXPECT_EQ(vexil::Path("C:/..").normalize().string(), "C:\\");
    EXPECT_EQ(vexil::Path("//srv/share/../x").normalize().string(), "\\\\srv\\x");
}

TEST_F(WindowsFileSystem, PathComparesWithoutCase) {
    EXPECT_EQ(vexil::Path::compare_filenames("C:\\Temp\\A.TXT", "c:/temp/a.txt"), 0);
    EXPECT_EQ(vexil::Path::compare_filenames("C:\\\xc3\x89T\xc3\x89", "c:\\\xc3\xa9t\xc3\xa9"), 0)
        << "letters outside ASCII fold too";
    EXPECT_LT(vexil::Path::compare_filenames("C:\\a", "C:\\B"), 0);
    EXPECT_GT(vexil::Path::compare_filenames("C:\\b\\c", "C:\\B"), 0);
}

TEST_F(WindowsFileSystem, PathQueries) {
    touch(wpath(L"f.txt"));
    EXPECT_TRUE(vexil::Path(path()).is_directory());
    EXPECT_TRUE(vexil::Path(path("f.txt")).exists());
    EXPECT_FALSE(vexil::Path(path("f.txt")).is_directory());
    std::string forward = path("f.txt");
    for (char& c : forward) {
        if (c == '\\') {
            c = '/';
        }
    }
    EXPECT_TRUE(vexil::Path(forward).exists());
    EXPECT_FALSE(vexil::Path(path("missing")).exists());
    EXPECT_FALSE(vexil::Path("").exists());
}

TEST_F(WindowsFileSystem, CreatesDirectoriesWithTheirParents) {
    const std::string deep = path(std::string(kAccented) + "/one\\two/three");
    std::string reason;
    EXPECT_FALSE(vexil::Path(deep).create_directory(false, &reason)) << "parents missing";
    EXPECT_FALSE(reason.empty());
    ASSERT_TRUE(vexil::Path(deep).create_directory(true, &reason)) << reason;
    EXPECT_TRUE(isDirectory(wpath(wide(kAccented) + L"\\one\\two\\three")));
    EXPECT_TRUE(vexil::Path(deep).create_directory(true)) << "an existing directory is fine";
    EXPECT_TRUE(vexil::Path(deep).create_directory(false));
}

TEST_F(WindowsFileSystem, CreatingADirectoryOverAFileFails) {
    touch(wpath(L"plain"));
    std::string reason;
    EXPECT_FALSE(vexil::Path(path("plain")).create_directory(false, &reason));
    EXPECT_FALSE(reason.empty());
    reason.clear();
    EXPECT_FALSE(vexil::Path(path("plain\\below")).create_directory(true, &reason));
    EXPECT_FALSE(reason.empty());
    EXPECT_FALSE(vexil::Path("").create_directory(true, &reason));
}

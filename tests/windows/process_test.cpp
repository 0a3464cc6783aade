// SPDX-License-Identifier: MIT
// Process services on Windows: the executable's path and its growing buffer, the user
// profile, _wtmpnam answers and files opened by UTF-8 names outside the code page.
#include <vexil/core.h>

#include "platform/host_p.h"
#include "platform/module_name_p.h"
#include "wintestutil.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <fstream>
#include <string>
#include <vector>

using WinTest::utf8;
using WinTest::wide;
namespace platform = Orrery::Platform;

namespace {

/// The program's own name by one call with the largest buffer a name can need.
std::wstring moduleNameWhole() {
    std::wstring name(32768, L'\0');
    name.resize(::GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size())));
    return name;
}

/// A stand-in for GetModuleFileNameW that holds a name of @p length units and records
/// the buffer sizes it was offered.
struct FakeModuleName {
    std::size_t length;
    std::vector<std::uint32_t>* sizes;
    std::uint32_t failAt = 0;  // the buffer size at which the call fails; 0 for never

    std::uint32_t operator()(wchar_t* buffer, std::uint32_t size) const {
        sizes->push_back(size);
        if (size == failAt) {
            return 0;
        }
        const std::size_t n = length < size ? length : size;
        for (std::size_t i = 0; i < n; ++i) {
            buffer[i] = static_cast<wchar_t>(L'a' + i % 26);
        }
        if (n < size) {
            buffer[n] = L'\0';
        }
        return static_cast<std::uint32_t>(n);
    }
};

std::wstring fakeName(std::size_t length) {
    std::wstring out;
    for (std::size_t i = 0; i < length; ++i) {
        out += static_cast<wchar_t>(L'a' + i % 26);
    }
    return out;
}

std::vector<std::uint32_t> doublingsFrom260(int count) {
    std::vector<std::uint32_t> out{260};
    for (int i = 0; i < count; ++i) {
        out.push_back(out.back() * 2);
    }
    return out;
}

class WindowsProcess : public WinTest::TempDirTest {};

}  // namespace

// ---------------------------------------------------------------------------
// The executable's path

TEST(WindowsExecutablePath, IsTheModuleFileName) {
    const std::string expected = utf8(moduleNameWhole());
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(platform::executable_path_utf8(), expected);
    EXPECT_EQ(vexil::get_exe_full_path().string(), expected);
    EXPECT_EQ(vexil::get_bin_directory(), expected.substr(0, expected.find_last_of('\\')));
}

// Neither KORVANE_DIR nor the POSIX stand-in VEXIL_INSTALLATION_DIR moves it on Windows.
TEST(WindowsExecutablePath, InstallationDirectoryIsTheParentOfTheBinDirectory) {
    WinTest::ScopedEnvironment korvane(L"KORVANE_DIR");
    WinTest::ScopedEnvironment named(L"VEXIL_INSTALLATION_DIR");
    korvane.unset();
    named.unset();
    ASSERT_FALSE(vexil::getenv_from_registry_only("KORVANE_DIR", nullptr));
    const std::string bin = vexil::get_bin_directory();
    const std::string parent = bin.substr(0, bin.find_last_of('\\'));
    EXPECT_EQ(vexil::get_installation_directory(), parent);
    korvane.set(L"C:\\Suite");
    named.set(L"C:\\Named");
    EXPECT_EQ(vexil::get_installation_directory(), parent);
    EXPECT_EQ(vexil::CommandLine::get_command_line()->get_installation_directory().string(),
              parent);
}

// Run by run_from_installation_tree.sh from <tmp>\inst\bin\, with KORVANE_DIR and
// VEXIL_INSTALLATION_DIR naming another directory. Skipped in an ordinary run.
TEST(WindowsInstallationTree, InstallationDirectoryFollowsTheExecutable) {
    const wchar_t* expected = ::_wgetenv(L"ORRERY_EXPECTED_INSTALLATION");
    if (expected == nullptr) {
        GTEST_SKIP() << "run from an installation tree by run_from_installation_tree.sh";
    }
    ASSERT_NE(::_wgetenv(L"KORVANE_DIR"), nullptr);
    ASSERT_NE(::_wgetenv(L"VEXIL_INSTALLATION_DIR"), nullptr);
    EXPECT_EQ(vexil::get_bin_directory(), utf8(expected) + "\\bin");
    EXPECT_EQ(vexil::get_installation_directory(), utf8(expected));
    EXPECT_EQ(vexil::CommandLine::get_command_line()->get_installation_directory().string(),
              utf8(expected));
}

// Run by run_from_long_directory.sh from a directory past MAX_PATH, which tells the
// expected name in ORRERY_EXPECTED_EXECUTABLE. Skipped in an ordinary run.
TEST(WindowsLongExecutablePath, IsReadWholeThroughTheGrowingBuffer) {
    const wchar_t* expected = ::_wgetenv(L"ORRERY_EXPECTED_EXECUTABLE");
    if (expected == nullptr) {
        GTEST_SKIP() << "run from a long directory by run_from_long_directory.sh";
    }
    const std::wstring name = moduleNameWhole();
    ASSERT_GT(name.size(), 260u) << "the program must lie past MAX_PATH";
    EXPECT_EQ(name, std::wstring(expected));
    const std::string utf8Expected = utf8(expected);
    EXPECT_EQ(vexil::get_exe_full_path().string(), utf8Expected);
    const std::string dir = utf8Expected.substr(0, utf8Expected.find_last_of('\\'));
    EXPECT_EQ(vexil::get_bin_directory(), dir);
    WinTest::ScopedEnvironment env(L"KORVANE_DIR");
    env.unset();
    EXPECT_EQ(vexil::get_installation_directory(), dir.substr(0, dir.find_last_of('\\')));
}

TEST(WindowsModuleName, ShortNamesNeedOneCall) {
    std::vector<std::uint32_t> sizes;
    EXPECT_EQ(platform::readModuleName(FakeModuleName{259, &sizes}), fakeName(259));
    EXPECT_EQ(sizes, std::vector<std::uint32_t>{260});
}

TEST(WindowsModuleName, ANameFillingTheBufferDoublesIt) {
    std::vector<std::uint32_t> sizes;
    EXPECT_EQ(platform::readModuleName(FakeModuleName{260, &sizes}), fakeName(260));
    EXPECT_EQ(sizes, doublingsFrom260(1));
    sizes.clear();
    EXPECT_EQ(platform::readModuleName(FakeModuleName{1500, &sizes}), fakeName(1500));
    EXPECT_EQ(sizes, doublingsFrom260(3));
}

TEST(WindowsModuleName, SevenDoublingsReachTheLongestWindowsName) {
    std::vector<std::uint32_t> sizes;
    EXPECT_EQ(platform::readModuleName(FakeModuleName{32767, &sizes}), fakeName(32767));
    EXPECT_EQ(sizes, doublingsFrom260(7));
    sizes.clear();
    EXPECT_EQ(platform::readModuleName(FakeModuleName{260u * 128u - 1, &sizes}),
              fakeName(260u * 128u - 1));
    EXPECT_EQ(sizes, doublingsFrom260(7));
}

TEST(WindowsModuleName, ACompleteNameFromTheCallAtTheEndOfTheBudgetIsRefused) {
    std::vector<std::uint32_t> sizes;
    EXPECT_EQ(platform::readModuleName(FakeModuleName{260u * 128u, &sizes}), L"");
    EXPECT_EQ(sizes, doublingsFrom260(8));
    sizes.clear();
    EXPECT_EQ(platform::readModuleName(FakeModuleName{260u * 256u - 1, &sizes}), L"");
    EXPECT_EQ(sizes, doublingsFrom260(8));
}

TEST(WindowsModuleName, AfterTheNinthDoublingTheNameIsTakenAsItStands) {
    std::vector<std::uint32_t> sizes;
    EXPECT_EQ(platform::readModuleName(FakeModuleName{260u * 256u + 1, &sizes}),
              fakeName(260u * 256u + 1))
        << "complete in the tenth call";
    EXPECT_EQ(sizes, doublingsFrom260(9));
    sizes.clear();
    EXPECT_EQ(platform::readModuleName(FakeModuleName{1000000, &sizes}), fakeName(260u * 512u))
        << "cut short in the tenth call";
    EXPECT_EQ(sizes, doublingsFrom260(9));
}

TEST(WindowsModuleName, AFailedCallGivesNothing) {
    std::vector<std::uint32_t> sizes;
    EXPECT_EQ(platform::readModuleName(FakeModuleName{10, &sizes, 260}), L"");
    EXPECT_EQ(sizes, std::vector<std::uint32_t>{260});
    sizes.clear();
    EXPECT_EQ(platform::readModuleName(FakeModuleName{600, &sizes, 1040}), L"");
    EXPECT_EQ(sizes, doublingsFrom260(2));
}

// ---------------------------------------------------------------------------
// The user profile

TEST(WindowsUserProfile, IsTheProfileDirectoryOfTheProcessUser) {
    std::string profile;
    ASSERT_TRUE(vexil::get_user_profile_directory(&profile));
    const wchar_t* variable = ::_wgetenv(L"USERPROFILE");
    ASSERT_NE(variable, nullptr);
    EXPECT_EQ(profile, utf8(variable));
    EXPECT_EQ(profile.substr(1, 2), ":\\");
    EXPECT_TRUE(vexil::Path(profile).is_directory());
    EXPECT_TRUE(vexil::get_user_profile_directory(nullptr));
}

// ---------------------------------------------------------------------------
// Temporary names

TEST_F(WindowsProcess, TemporaryNameIsTheRuntimeAnswerInUtf8) {
    // _wtmpnam(nullptr) answers in one buffer of the thread; the platform's call leaves
    // its own answer there to compare with.
    const wchar_t* runtimeBuffer = ::_wtmpnam(nullptr);
    ASSERT_NE(runtimeBuffer, nullptr);
    const std::wstring before = runtimeBuffer;
    const std::string name = platform::temporary_name_utf8();
    ASSERT_FALSE(name.empty());
    const std::wstring answer = runtimeBuffer;
    EXPECT_NE(answer, before) << "a fresh name";
    EXPECT_EQ(name, utf8(answer));
}

TEST_F(WindowsProcess, TemporaryNamesAreFreshAndUsable) {
    // The runtime's names may be rooted on the current drive; C: is writable in a prefix.
    ASSERT_EQ(vexil::chdir_utf8(path()), 0);
    const std::string first = platform::temporary_name_utf8();
    const std::string second = platform::temporary_name_utf8();
    ASSERT_FALSE(first.empty());
    EXPECT_NE(first, second);
    EXPECT_FALSE(vexil::Path(first).exists()) << "nothing is created";
    std::filebuf file;
    ASSERT_TRUE(platform::open_filebuf_utf8(file, first, std::ios_base::out)) << first;
    file.close();
    EXPECT_TRUE(vexil::Path(first).exists());
    EXPECT_TRUE(::DeleteFileW(wide(first).c_str()));
}

// ---------------------------------------------------------------------------
// Files opened by UTF-8 name

TEST_F(WindowsProcess, NamesOutsideTheCodePageAreOpenedByTheirWideSpelling) {
    const std::wstring dirName = L"\u03a9\u03bc\u03ad\u03b3\u03b1 \u4e2d\u6587";  // "Ωμέγα 中文"
    const std::wstring fileName = L"\U0001D11E \u0436\u0443\u0440\u043d\u0430\u043b.txt";
    ASSERT_TRUE(WinTest::outsideLocalCodePage(dirName + fileName))
        << "the names must not be spellable in the ANSI code page " << ::GetACP();
    ASSERT_TRUE(::CreateDirectoryW(wpath(dirName).c_str(), nullptr));
    const std::string name = path(utf8(dirName + L"\\" + fileName));

    {
        std::filebuf out;
        ASSERT_TRUE(
            platform::open_filebuf_utf8(out, name, std::ios_base::out | std::ios_base::binary));
        const std::string text = "written \xe2\x9c\x93\n";
        ASSERT_EQ(out.sputn(text.data(), static_cast<std::streamsize>(text.size())),
                  static_cast<std::streamsize>(text.size()));
    }
    EXPECT_NE(::GetFileAttributesW(wpath(dirName + L"\\" + fileName).c_str()),
              INVALID_FILE_ATTRIBUTES)
        << "the file has the wide name";
    EXPECT_EQ(std::fopen(name.c_str(), "rb"), nullptr)
        << "the UTF-8 bytes read in the ANSI code page name no such file";

    std::filebuf in;
    ASSERT_TRUE(platform::open_filebuf_utf8(in, name, std::ios_base::in | std::ios_base::binary));
    char buffer[64] = {};
    const std::streamsize n = in.sgetn(buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer, static_cast<std::size_t>(n)), "written \xe2\x9c\x93\n");
}

TEST_F(WindowsProcess, OpenFilesAreSharedForReadingAndWriting) {
    const std::string name = path("shared \xe4\xb8\xad.txt");
    std::filebuf out;
    ASSERT_TRUE(platform::open_filebuf_utf8(out, name, std::ios_base::out | std::ios_base::binary));
    ASSERT_EQ(out.sputn("abc", 3), 3);
    ASSERT_EQ(out.pubsync(), 0);

    const HANDLE other = ::CreateFileW(wide(name).c_str(), GENERIC_READ | GENERIC_WRITE,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                       FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_NE(other, INVALID_HANDLE_VALUE) << "another writer may open it: " << ::GetLastError();
    if (other != INVALID_HANDLE_VALUE) {
        ::CloseHandle(other);
    }

    std::filebuf in;
    ASSERT_TRUE(platform::open_filebuf_utf8(in, name, std::ios_base::in | std::ios_base::binary));
    char buffer[8] = {};
    EXPECT_EQ(in.sgetn(buffer, sizeof buffer), 3);
    EXPECT_EQ(std::string(buffer, 3), "abc");
}

TEST_F(WindowsProcess, OpeningAMissingFileFails) {
    std::filebuf in;
    EXPECT_FALSE(
        platform::open_filebuf_utf8(in, path("missing \xe4\xb8\xad.txt"), std::ios_base::in));
    EXPECT_FALSE(platform::open_filebuf_utf8(in, path("missing\\dir\\f.txt"), std::ios_base::out));
}

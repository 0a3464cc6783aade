// SPDX-License-Identifier: MIT
// Folding, joining, relative paths and extensions.
#include <orrery/filename.h>

#include "forms.h"

#include <gtest/gtest.h>

#include <string>

using FilenameTest::BinaryRow;
using FilenameTest::expectAllForms;
using FilenameTest::UnaryRow;
namespace fn = Orrery::Filename;

class NormalizePathname : public ::testing::TestWithParam<UnaryRow> {};
TEST_P(NormalizePathname, FoldsDotsAndJoinsWithBackslashes) {
    expectAllForms(FILENAME_UNARY_FORMS(normalize_pathname), GetParam());
}
INSTANTIATE_TEST_SUITE_P(
    Rows, NormalizePathname,
    ::testing::Values(
        UnaryRow{"C:/a/./b/../c/", "C:\\a\\c"}, UnaryRow{"../../x", "..\\..\\x"},
        UnaryRow{"a/..", ""}, UnaryRow{"/a", "\\a"}, UnaryRow{"C:a/b", "C:a\\b"},
        UnaryRow{"C:\\..\\x", "C:\\..\\x"},  // parents above a root are kept
        UnaryRow{"\\\\server\\share\\..\\..\\x", "\\\\server\\..\\x"}, UnaryRow{"a\\b\\", "a\\b"},
        UnaryRow{"\\\\server", "\\server"}, UnaryRow{"", ""}, UnaryRow{"C:", "C:"},
        UnaryRow{"C:\\", "C:\\"}, UnaryRow{"c:/", "c:\\"}, UnaryRow{"/", "\\"},
        UnaryRow{"//", "\\"}, UnaryRow{".", ""}, UnaryRow{"./", ""},
        UnaryRow{"//server/share", "\\\\server\\share"}, UnaryRow{"\\\\server\\", "\\\\server\\"},
        UnaryRow{"\\\\\\a", "\\a"},  // three leading separators: a one-byte root
        UnaryRow{"a//b///c", "a\\b\\c"}, UnaryRow{"a\\b\\..\\..\\..\\c", "..\\c"},
        UnaryRow{"..", ".."}, UnaryRow{"..\\a\\..", ".."}, UnaryRow{"a/b/../../..", ".."},
        UnaryRow{"x\\..\\y", "y"}, UnaryRow{"C:a\\..", ""}, UnaryRow{".\\C:\\x", "C:\\x"},
        UnaryRow{"C:\\a\\b", "C:\\a\\b"}, UnaryRow{"\\a\\..\\..", "\\.."},
        UnaryRow{"...\\.x", "...\\.x"},
        UnaryRow{"d\xc3\xa9/./\xc3\xbc\\..\\f\xc3\xaf", "d\xc3\xa9\\f\xc3\xaf"}));

TEST(FilenameNormalize, ForwardSlashFormTurnsEveryBackslashIntoASlash) {
    EXPECT_EQ(fn::normalize_pathname_with_forward_slash("C:\\a\\..\\b"), "C:/b");
    EXPECT_EQ(fn::normalize_pathname_with_forward_slash("\\\\srv\\sh\\.\\x\\"), "//srv/sh/x");
    EXPECT_EQ(fn::normalize_pathname_with_forward_slash("a/.."), "");
    EXPECT_EQ(fn::normalize_pathname_with_forward_slash("d\xc3\xa9\\x"), "d\xc3\xa9/x");
}

TEST(FilenameNormalize, LongPathsFoldLikeShortOnes) {
    std::string in = "C:";
    std::string expected = "C:";
    for (int i = 0; i < 300; ++i) {
        in += "/" + std::to_string(i) + "/./x/..";
        expected += "\\" + std::to_string(i);
    }
    EXPECT_EQ(fn::normalize_pathname(in), expected);
    std::string out;
    EXPECT_TRUE(fn::make_relative_path(in + "/tail", in, &out));
    EXPECT_EQ(out, "tail");
    EXPECT_TRUE(fn::make_relative_path("C:\\0", in, &out));
    EXPECT_EQ(out.size(), std::size_t{299 * 3 - 1});
    EXPECT_FALSE(fn::make_relative_path(in + "/..\\a", in + "/b", &out));
    EXPECT_EQ(out, expected.substr(0, expected.size() - 4) + "\\a");
}

// ---------------------------------------------------------------------------

class ResolveRelativePath : public ::testing::TestWithParam<BinaryRow> {};
TEST_P(ResolveRelativePath, JoinsWithOneBackslashAndFolds) {
    expectAllForms(FILENAME_BINARY_FORMS(resolve_relative_path), GetParam());
}
INSTANTIATE_TEST_SUITE_P(
    Rows, ResolveRelativePath,
    ::testing::Values(BinaryRow{"x\\y", "C:\\base\\", "C:\\base\\x\\y", true},
                      BinaryRow{"\\abs", "C:\\base", "\\abs", false},
                      BinaryRow{"C:x", "C:\\base", "C:x", false},
                      BinaryRow{"/a/../b", "C:\\base", "/a/../b", false},
                      BinaryRow{"..\\x", "C:\\b", "C:\\x", true},
                      BinaryRow{"", "C:\\b", "C:\\b", true}, BinaryRow{"a", "", "a", true},
                      BinaryRow{"", "", "", true}, BinaryRow{"a/./b", "rel", "rel\\a\\b", true},
                      BinaryRow{"f", "/", "\\f", true},
                      BinaryRow{"../../..", "C:\\a", "C:\\..\\..", true},
                      BinaryRow{"\xc3\xbc.txt", "d\xc3\xa9", "d\xc3\xa9\\\xc3\xbc.txt", true}));

class AppendFilename : public ::testing::TestWithParam<BinaryRow> {};
TEST_P(AppendFilename, ResolvesTheNameAgainstTheDirectory) {
    expectAllForms(FILENAME_BINARY_FORMS(append_filename), GetParam());
}
INSTANTIATE_TEST_SUITE_P(
    Rows, AppendFilename,
    ::testing::Values(BinaryRow{"", "f.txt", "f.txt", true},
                      BinaryRow{"C:\\dir", "f.txt", "C:\\dir\\f.txt", true},
                      BinaryRow{"C:\\dir\\", "sub/f.txt", "C:\\dir\\sub\\f.txt", true},
                      BinaryRow{"C:\\dir", "\\abs", "\\abs", false},
                      BinaryRow{"C:\\dir", "D:\\x", "D:\\x", false},
                      BinaryRow{"C:\\dir", "..", "C:\\", true}, BinaryRow{"a", "", "a", true},
                      BinaryRow{"\\\\srv\\sh", "x", "\\\\srv\\sh\\x", true},
                      BinaryRow{"r\xc3\xa9p", "\xc3\xa9.txt", "r\xc3\xa9p\\\xc3\xa9.txt", true}));

// ---------------------------------------------------------------------------

struct RelativeRow {
    std::string path;
    std::string base;
    std::string expected;
    bool ok;
};

std::ostream& operator<<(std::ostream& os, const RelativeRow& row) {
    return os << '"' << row.path << "\" from \"" << row.base << "\" -> \"" << row.expected << "\" "
              << row.ok;
}

class MakeRelativePath : public ::testing::TestWithParam<RelativeRow> {};
TEST_P(MakeRelativePath, RelatesOnlyAncestorsAndDescendants) {
    const RelativeRow& row = GetParam();
    std::string out = "stale";
    EXPECT_EQ(fn::make_relative_path(row.path, row.base, &out), row.ok) << "strings";
    EXPECT_EQ(out, row.expected) << "strings";
    out = "stale";
    EXPECT_EQ(fn::make_relative_path(row.path.c_str(), row.base.c_str(), &out), row.ok)
        << "C strings";
    EXPECT_EQ(out, row.expected) << "C strings";
    std::string path = row.path;
    EXPECT_EQ(fn::make_relative_path(path, row.base, &path), row.ok) << "output is the path";
    EXPECT_EQ(path, row.expected) << "output is the path";
    std::string base = row.base;
    EXPECT_EQ(fn::make_relative_path(row.path, base, &base), row.ok) << "output is the base";
    EXPECT_EQ(base, row.expected) << "output is the base";
    if (row.path.empty() || row.base.empty()) {
        out = "stale";
        EXPECT_EQ(fn::make_relative_path(row.path.empty() ? nullptr : row.path.c_str(),
                                         row.base.empty() ? nullptr : row.base.c_str(), &out),
                  row.ok)
            << "null C string";
        EXPECT_EQ(out, row.expected) << "null C string";
    }
}
INSTANTIATE_TEST_SUITE_P(
    Rows, MakeRelativePath,
    ::testing::Values(RelativeRow{"C:\\a\\b\\c", "c:\\A", "b\\c", true},
                      RelativeRow{"C:\\a", "C:\\a\\b\\c", "..\\..", true},
                      RelativeRow{"C:\\a\\x", "C:\\a\\y", "C:\\a\\x", false},
                      RelativeRow{"a\\b", "a", "a\\b", false},  // no root
                      RelativeRow{"C:\\a", "a", "C:\\a", false},
                      RelativeRow{"C:\\a\\b", "C:\\a\\b\\", "", true},
                      RelativeRow{"C:/a/./b/", "C:\\a\\x\\..", "b", true},
                      RelativeRow{"C:\\a", "D:\\a", "C:\\a", false},
                      RelativeRow{"C:\\a\\b", "\\a", "C:\\a\\b", false},
                      RelativeRow{"\\\\srv\\sh\\x", "//SRV/sh", "x", true},
                      RelativeRow{"\\\\srv\\sh", "\\\\srv\\sh\\x\\y", "..\\..", true},
                      RelativeRow{"C:\\", "C:\\a", "..", true},
                      RelativeRow{"C:\\a", "C:\\", "a", true},
                      RelativeRow{"C:\\..\\x", "C:\\", "..\\x", true},
                      RelativeRow{"C:\\ab", "C:\\a", "C:\\ab", false},
                      RelativeRow{"", "C:\\", "", false}, RelativeRow{"C:\\x", "", "C:\\x", false},
                      RelativeRow{"C:\\D\xc3\xa9j\xc3\xa0\\f", "c:\\d\xc3\xa9J\xc3\xa0", "f", true},
                      RelativeRow{"C:\\\xc3\x89\\f", "C:\\\xc3\xa9", "C:\\\xc3\x89\\f", false}));

// ---------------------------------------------------------------------------

class GetExtension : public ::testing::TestWithParam<UnaryRow> {};
TEST_P(GetExtension, IsTheLastDotOfTheLeafOnward) {
    expectAllForms(FILENAME_UNARY_FORMS(get_extension), GetParam());
    const UnaryRow& row = GetParam();
    EXPECT_EQ(fn::has_extension(row.in), row.ok) << "has_extension, string";
    EXPECT_EQ(fn::has_extension(row.in.c_str()), row.ok) << "has_extension, C string";
    if (row.in.empty()) {
        EXPECT_FALSE(fn::has_extension(static_cast<const char*>(nullptr)));
    }
}
INSTANTIATE_TEST_SUITE_P(
    Rows, GetExtension,
    ::testing::Values(UnaryRow{"a.txt", ".txt", true}, UnaryRow{"a.", ".", true},
                      UnaryRow{".profile", "", false}, UnaryRow{"dir\\.profile", "", false},
                      UnaryRow{"a.b.c", ".c", true}, UnaryRow{"dir.d\\file", "", false},
                      UnaryRow{"dir.d/file", "", false}, UnaryRow{"..", "", false},
                      UnaryRow{".", "", false}, UnaryRow{"x\\..", "", false},
                      UnaryRow{"dir\\", "", false}, UnaryRow{"", "", false},
                      UnaryRow{"...", ".", true}, UnaryRow{"..a", ".a", true},
                      UnaryRow{"C:\\d\\f.TXT", ".TXT", true}, UnaryRow{"C:.x", ".x", true},
                      UnaryRow{"f\xc3\xaf.d\xc3\xb6"
                               "c",
                               ".d\xc3\xb6"
                               "c",
                               true}));

class StripExtension : public ::testing::TestWithParam<UnaryRow> {};
TEST_P(StripExtension, CutsTheExtensionOffThePath) {
    expectAllForms(FILENAME_UNARY_FORMS(strip_extension), GetParam());
}
INSTANTIATE_TEST_SUITE_P(
    Rows, StripExtension,
    ::testing::Values(UnaryRow{"a.b.c", "a.b"}, UnaryRow{"dir\\.profile", "dir\\.profile"},
                      UnaryRow{"dir.d\\file", "dir.d\\file"}, UnaryRow{"C:/x/f.txt", "C:/x/f"},
                      UnaryRow{"name.", "name"}, UnaryRow{"..", ".."}, UnaryRow{"", ""},
                      UnaryRow{"d\xc3\xa9\\f.\xc3\xa9", "d\xc3\xa9\\f"}));

class RenameExtension : public ::testing::TestWithParam<BinaryRow> {};
TEST_P(RenameExtension, ReplacesTheExtensionAndRejoinsWithABackslash) {
    expectAllForms(FILENAME_BINARY_FORMS(rename_extension), GetParam());
}
INSTANTIATE_TEST_SUITE_P(
    Rows, RenameExtension,
    ::testing::Values(
        BinaryRow{"dir/file.old", "new", "dir\\file.new", true},
        BinaryRow{"dir\\.profile", "x", "dir\\.profile.x", true},
        BinaryRow{"dir\\..", "x", "dir\\..", false}, BinaryRow{"dir\\.", "x", "dir\\.", false},
        BinaryRow{"dir\\", "x", "dir\\", false}, BinaryRow{"", "x", "", false},
        BinaryRow{"...", "x", "...", false},  // "..." less its "." is ".."
        BinaryRow{".x", "", ".x", true}, BinaryRow{"file.old", ".txt", "file.txt", true},
        BinaryRow{"file.old", "txt", "file.txt", true}, BinaryRow{"file.old", "", "file", true},
        BinaryRow{"file", "c", "file.c", true}, BinaryRow{"/f.c", "h", "\\f.h", true},
        BinaryRow{"C:/f.c", "h", "C:\\f.h", true}, BinaryRow{"C:f.c", "h", "C:f.h", true},
        BinaryRow{"a/b/c.d", "e", "a/b\\c.e", true}, BinaryRow{"a\\\\c.d", "e", "a\\c.e", true},
        BinaryRow{"a.b.c", "x", "a.b.x", true},
        BinaryRow{"d\xc3\xa9/f\xc3\xaf.old", "\xc3\xa9", "d\xc3\xa9\\f\xc3\xaf.\xc3\xa9", true}));

// SPDX-License-Identifier: MIT
// Separators, splitting into directory and leaf, and classification.
#include <orrery/filename.h>

#include "forms.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using FilenameTest::expectAllForms;
using FilenameTest::UnaryRow;
namespace fn = Orrery::Filename;

TEST(FilenameSeparator, CharacterFormKnowsBothSeparators) {
    EXPECT_TRUE(fn::is_separator('/'));
    EXPECT_TRUE(fn::is_separator('\\'));
    EXPECT_FALSE(fn::is_separator(':'));
    EXPECT_FALSE(fn::is_separator('a'));
    EXPECT_FALSE(fn::is_separator('\0'));
}

TEST(FilenameSeparator, StringFormLooksAtTheFirstByteOnly) {
    EXPECT_FALSE(fn::is_separator(std::string("x/")));
    EXPECT_TRUE(fn::is_separator(std::string("/x")));
    EXPECT_TRUE(fn::is_separator(std::string("/usr")));
    EXPECT_TRUE(fn::is_separator(std::string("\\")));
    EXPECT_FALSE(fn::is_separator(std::string("")));
    EXPECT_FALSE(fn::is_separator(std::string("\xc3\xa9/")));
}

// ---------------------------------------------------------------------------

struct PredicateRow {
    std::string in;
    bool expected;
};

std::ostream& operator<<(std::ostream& os, const PredicateRow& row) {
    return os << '"' << row.in << "\" -> " << row.expected;
}

template <typename StringForm, typename CStringForm>
void expectPredicate(StringForm stringForm, CStringForm cStringForm, const PredicateRow& row) {
    EXPECT_EQ(stringForm(row.in), row.expected) << "string form";
    EXPECT_EQ(cStringForm(row.in.c_str()), row.expected) << "C string form";
    if (row.in.empty()) {
        EXPECT_EQ(cStringForm(nullptr), row.expected) << "null C string";
    }
}

#define FILENAME_PREDICATE(op)                                    \
    [](const std::string& s) { return Orrery::Filename::op(s); }, \
        [](const char* s) { return Orrery::Filename::op(s); }

class EndsWithSeparator : public ::testing::TestWithParam<PredicateRow> {};
TEST_P(EndsWithSeparator, LooksAtTheLastByte) {
    expectPredicate(FILENAME_PREDICATE(ends_with_separator), GetParam());
}
INSTANTIATE_TEST_SUITE_P(Rows, EndsWithSeparator,
                         ::testing::Values(PredicateRow{"", false}, PredicateRow{"a/", true},
                                           PredicateRow{"a\\", true}, PredicateRow{"a", false},
                                           PredicateRow{"/a", false}, PredicateRow{"/", true},
                                           PredicateRow{"\xc3\xa9\\", true}));

class IsRelative : public ::testing::TestWithParam<PredicateRow> {};
TEST_P(IsRelative, LeadingSeparatorOrDriveMakesANameNotRelative) {
    expectPredicate(FILENAME_PREDICATE(is_relative), GetParam());
}
INSTANTIATE_TEST_SUITE_P(
    Rows, IsRelative,
    ::testing::Values(PredicateRow{"", true}, PredicateRow{"a", true}, PredicateRow{"a\\b", true},
                      PredicateRow{"..\\a", true}, PredicateRow{"C:x", false},
                      PredicateRow{"C:", false}, PredicateRow{"C:\\x", false},
                      PredicateRow{"\\dir", false}, PredicateRow{"/x", false},
                      PredicateRow{"\\\\server\\share", false},
                      PredicateRow{"1:x", false},  // the drive byte need not be a letter
                      PredicateRow{"\xc3\xa9:x", true}, PredicateRow{"\xc3\xa9t\xc3\xa9", true}));

class IsFullPath : public ::testing::TestWithParam<PredicateRow> {};
TEST_P(IsFullPath, IsTheNegationOfRelativeExceptForABareDrive) {
    expectPredicate(FILENAME_PREDICATE(is_full_path), GetParam());
}
INSTANTIATE_TEST_SUITE_P(Rows, IsFullPath,
                         ::testing::Values(PredicateRow{"", false}, PredicateRow{"C:", false},
                                           PredicateRow{"C:dir", true}, PredicateRow{"\\dir", true},
                                           PredicateRow{"C:\\dir", true}, PredicateRow{"a", false},
                                           PredicateRow{"/", true},
                                           PredicateRow{"\\\\server", true},
                                           PredicateRow{"d\xc3\xa9", false}));

class IsRoot : public ::testing::TestWithParam<PredicateRow> {};
TEST_P(IsRoot, TrueForDriveRootsLoneSeparatorsAndServerRoots) {
    expectPredicate(FILENAME_PREDICATE(is_root), GetParam());
}
INSTANTIATE_TEST_SUITE_P(
    Rows, IsRoot,
    ::testing::Values(PredicateRow{"C:\\", true}, PredicateRow{"d:/", true},
                      PredicateRow{"/", true}, PredicateRow{"\\", true},
                      PredicateRow{"\\\\server\\", true}, PredicateRow{"//server/", true},
                      PredicateRow{"\\\\s\xc3\xa9rv\\", true}, PredicateRow{"", false},
                      PredicateRow{"C:", false}, PredicateRow{"\\\\server", false},
                      PredicateRow{"C:\\a", false}, PredicateRow{"\\\\server\\share", false},
                      PredicateRow{"//", false}, PredicateRow{"\\\\\\", false},
                      PredicateRow{"\\\\\\\\", false}, PredicateRow{"a", false},
                      PredicateRow{"C:x", false}));

// ---------------------------------------------------------------------------

class AddSeparator : public ::testing::TestWithParam<UnaryRow> {};
TEST_P(AddSeparator, AppendsABackslashUnlessOneEndsTheName) {
    expectAllForms(FILENAME_UNARY_FORMS(add_separator), GetParam());
}
INSTANTIATE_TEST_SUITE_P(Rows, AddSeparator,
                         ::testing::Values(UnaryRow{"", "\\"}, UnaryRow{"a/", "a/"},
                                           UnaryRow{"a\\", "a\\"}, UnaryRow{"a", "a\\"},
                                           UnaryRow{"C:", "C:\\"}, UnaryRow{"a/b", "a/b\\"},
                                           UnaryRow{"/", "/"},
                                           UnaryRow{"d\xc3\xa9j\xc3\xa0", "d\xc3\xa9j\xc3\xa0\\"}));

class RemoveSeparator : public ::testing::TestWithParam<UnaryRow> {};
TEST_P(RemoveSeparator, RemovesTrailingSeparatorsButKeepsRoots) {
    expectAllForms(FILENAME_UNARY_FORMS(remove_separator), GetParam());
}
INSTANTIATE_TEST_SUITE_P(
    Rows, RemoveSeparator,
    ::testing::Values(UnaryRow{"", ""}, UnaryRow{"a", "a"}, UnaryRow{"C:\\dir\\\\", "C:\\dir"},
                      UnaryRow{"C:\\\\", "C:\\"}, UnaryRow{"C:\\\\\\", "C:\\"},
                      UnaryRow{"C:\\", "C:\\"}, UnaryRow{"c:/", "c:/"}, UnaryRow{"//", "/"},
                      UnaryRow{"/", "/"}, UnaryRow{"\\", "\\"}, UnaryRow{"\\\\\\", "\\"},
                      UnaryRow{"\\\\host\\", "\\\\host\\"}, UnaryRow{"\\\\host\\\\", "\\\\host\\"},
                      UnaryRow{"\\\\srv\\share\\", "\\\\srv\\share"}, UnaryRow{"a///", "a"},
                      UnaryRow{"a/b/", "a/b"}, UnaryRow{"C:", "C:"}, UnaryRow{"C:a\\", "C:a"},
                      UnaryRow{"\xc3\xa9\\/", "\xc3\xa9"}));

class ConvertSeparators : public ::testing::TestWithParam<UnaryRow> {};
TEST_P(ConvertSeparators, TurnsEverySlashIntoABackslash) {
    expectAllForms(FILENAME_UNARY_FORMS(convert_separators), GetParam());
}
INSTANTIATE_TEST_SUITE_P(Rows, ConvertSeparators,
                         ::testing::Values(UnaryRow{"", ""}, UnaryRow{"a//b", "a\\\\b"},
                                           UnaryRow{"C:/a\\b/", "C:\\a\\b\\"},
                                           UnaryRow{"//srv/x", "\\\\srv\\x"},
                                           UnaryRow{"plain", "plain"},
                                           UnaryRow{"\xc3\xa9/\xc3\xbc", "\xc3\xa9\\\xc3\xbc"}));

// ---------------------------------------------------------------------------

struct ParseRow {
    std::string in;
    std::string dir;
    std::string name;
};

std::ostream& operator<<(std::ostream& os, const ParseRow& row) {
    return os << '"' << row.in << "\" -> \"" << row.dir << "\", \"" << row.name << '"';
}

const std::vector<ParseRow>& parseRows() {
    static const std::vector<ParseRow> rows = {
        {"", "", ""},
        {"file", "", "file"},
        {"C:", "", "C:"},
        {"/", "\\", ""},
        {"\\", "\\", ""},
        {"/file", "\\", "file"},
        {"C:/file", "C:\\", "file"},
        {"C:\\file", "C:\\", "file"},
        {"C:\\a\\b.txt", "C:\\a", "b.txt"},
        {"dir\\", "dir", ""},
        {"a/b\\c", "a/b", "c"},
        {"a\\\\b", "a\\", "b"},
        {"\\\\server\\share", "\\\\server", "share"},
        {"\\\\server", "\\", "server"},
        {"//server", "/", "server"},
        {"a\\..", "a", ".."},
        {".\\x", ".", "x"},
        {"C:dir\\f", "C:dir", "f"},
        {"d\xc3\xa9j\xc3\xa0/f\xc3\xaf.txt", "d\xc3\xa9j\xc3\xa0", "f\xc3\xaf.txt"},
    };
    return rows;
}

class ParsePathname : public ::testing::TestWithParam<ParseRow> {};
TEST_P(ParsePathname, SplitsAtTheLastSeparator) {
    const ParseRow& row = GetParam();
    std::string dir = "stale";
    std::string name = "stale";
    EXPECT_TRUE(fn::parse_pathname(row.in, &dir, &name));
    EXPECT_EQ(dir, row.dir);
    EXPECT_EQ(name, row.name);
    dir = name = "stale";
    EXPECT_TRUE(fn::parse_pathname(row.in.c_str(), &dir, &name));
    EXPECT_EQ(dir, row.dir);
    EXPECT_EQ(name, row.name);
    std::string same = row.in;
    name = "stale";
    EXPECT_TRUE(fn::parse_pathname(same, &same, &name));
    EXPECT_EQ(same, row.dir) << "directory written over the input";
    EXPECT_EQ(name, row.name);
    same = row.in;
    dir = "stale";
    EXPECT_TRUE(fn::parse_pathname(same, &dir, &same));
    EXPECT_EQ(dir, row.dir);
    EXPECT_EQ(same, row.name) << "name written over the input";
    if (row.in.empty()) {
        dir = name = "stale";
        EXPECT_TRUE(fn::parse_pathname(static_cast<const char*>(nullptr), &dir, &name));
        EXPECT_EQ(dir, "");
        EXPECT_EQ(name, "");
    }
}
INSTANTIATE_TEST_SUITE_P(Rows, ParsePathname, ::testing::ValuesIn(parseRows()));

TEST(FilenameParse, EitherOutputMayBeLeftOut) {
    std::string name;
    EXPECT_TRUE(fn::parse_pathname("C:\\a\\b", nullptr, &name));
    EXPECT_EQ(name, "b");
    std::string dir;
    EXPECT_TRUE(fn::parse_pathname("C:\\a\\b", &dir, nullptr));
    EXPECT_EQ(dir, "C:\\a");
}

class GetLeafname : public ::testing::TestWithParam<ParseRow> {};
TEST_P(GetLeafname, IsTheNameOfTheSplit) {
    expectAllForms(FILENAME_UNARY_FORMS(get_leafname), {GetParam().in, GetParam().name, true});
}
INSTANTIATE_TEST_SUITE_P(Rows, GetLeafname, ::testing::ValuesIn(parseRows()));

class GetParentPath : public ::testing::TestWithParam<ParseRow> {};
TEST_P(GetParentPath, IsTheDirectoryOfTheSplit) {
    expectAllForms(FILENAME_UNARY_FORMS(get_parent_path), {GetParam().in, GetParam().dir, true});
}
INSTANTIATE_TEST_SUITE_P(Rows, GetParentPath, ::testing::ValuesIn(parseRows()));

class GetBasename : public ::testing::TestWithParam<UnaryRow> {};
TEST_P(GetBasename, IsTheLeafWithoutItsExtension) {
    expectAllForms(FILENAME_UNARY_FORMS(get_basename), GetParam());
}
INSTANTIATE_TEST_SUITE_P(Rows, GetBasename,
                         ::testing::Values(UnaryRow{"dir\\.hidden", ".hidden"},
                                           UnaryRow{"arch.tar.gz", "arch.tar"},
                                           UnaryRow{"..", ".."}, UnaryRow{".", "."},
                                           UnaryRow{"", ""}, UnaryRow{"C:\\a\\b.txt", "b"},
                                           UnaryRow{"a.b.c", "a.b"}, UnaryRow{"name.", "name"},
                                           UnaryRow{"dir.d\\file", "file"}, UnaryRow{"dir\\", ""},
                                           UnaryRow{"...", ".."}, UnaryRow{"x/.a.b", ".a"},
                                           UnaryRow{"C:f.c", "C:f"},
                                           UnaryRow{"r\xc3\xa9sum\xc3\xa9.d\xc3\xb6"
                                                    "c",
                                                    "r\xc3\xa9sum\xc3\xa9"}));

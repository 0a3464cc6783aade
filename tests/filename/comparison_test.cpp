// SPDX-License-Identifier: MIT
// The file-name collation: compare_filenames, equal_filenames, starts_with_filename.
#include <orrery/filename.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace fn = Orrery::Filename;

struct CompareRow {
    std::string a;
    std::string b;
    int expected;
};

std::ostream& operator<<(std::ostream& os, const CompareRow& row) {
    return os << '"' << row.a << "\" vs \"" << row.b << "\" -> " << row.expected;
}

class CompareFilenames : public ::testing::TestWithParam<CompareRow> {};

TEST_P(CompareFilenames, FoldsAsciiCaseAndComparesSignedBytes) {
    const CompareRow& row = GetParam();
    const char* a = row.a.c_str();
    const char* b = row.b.c_str();
    EXPECT_EQ(fn::compare_filenames(row.a, row.b), row.expected) << "string, string";
    EXPECT_EQ(fn::compare_filenames(row.a, b), row.expected) << "string, C string";
    EXPECT_EQ(fn::compare_filenames(a, b), row.expected) << "C string, C string";
    EXPECT_EQ(fn::compare_filenames(a, row.b), row.expected) << "C string, string";
    const bool equal = row.expected == 0;
    EXPECT_EQ(fn::equal_filenames(row.a, row.b), equal) << "string, string";
    EXPECT_EQ(fn::equal_filenames(row.a, b), equal) << "string, C string";
    EXPECT_EQ(fn::equal_filenames(a, b), equal) << "C string, C string";
    EXPECT_EQ(fn::equal_filenames(a, row.b), equal) << "C string, string";
    if (row.a.empty()) {
        EXPECT_EQ(fn::compare_filenames(nullptr, b), row.expected) << "null first";
        EXPECT_EQ(fn::compare_filenames(nullptr, row.b), row.expected) << "null first";
        EXPECT_EQ(fn::equal_filenames(nullptr, b), equal) << "null first";
        EXPECT_EQ(fn::equal_filenames(nullptr, row.b), equal) << "null first";
    }
    if (row.b.empty()) {
        EXPECT_EQ(fn::compare_filenames(a, nullptr), row.expected) << "null second";
        EXPECT_EQ(fn::compare_filenames(row.a, nullptr), row.expected) << "null second";
        EXPECT_EQ(fn::equal_filenames(a, nullptr), equal) << "null second";
        EXPECT_EQ(fn::equal_filenames(row.a, nullptr), equal) << "null second";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, CompareFilenames,
    ::testing::Values(CompareRow{"ABC", "abc", 0}, CompareRow{"a", "ab", -1},
                      CompareRow{"ab", "a", 1}, CompareRow{"b", "a", 1}, CompareRow{"a", "c", -2},
                      CompareRow{"", "", 0}, CompareRow{"", "x", -1}, CompareRow{"x", "", 1},
                      CompareRow{"Z", "a", 25},
                      CompareRow{"[", "a", '[' - 'a'},        // '[' follows 'Z' but is not folded
                      CompareRow{"a/b", "a\\b", '/' - '\\'},  // separators are different bytes
                      CompareRow{"C:\\X", "c:\\x", 0},
                      // A UTF-8 lead byte is negative as a signed byte, so it sorts below ASCII.
                      CompareRow{"\xc3\xa9", "a", -61 - 'a'},
                      // Letters outside ASCII are not folded: U+00C9 and U+00E9 differ.
                      CompareRow{"\xc3\x89", "\xc3\xa9", -119 - (-87)},
                      CompareRow{"D\xc3\xa9J\xc3\xa0", "d\xc3\xa9j\xc3\xa0", 0},
                      CompareRow{"abc", "abd\xc3\xa9", -1}));

TEST(FilenameCollation, OrdersUtf8NamesBeforeAscii) {
    std::vector<std::string> names = {"b", "\xc3\xa9t\xc3\xa9", "A", "_x", "\xe6\x97\xa5"};
    std::sort(names.begin(), names.end(), [](const std::string& x, const std::string& y) {
        return fn::compare_filenames(x, y) < 0;
    });
    // 0xC3 is -61 and 0xE6 is -26 as signed bytes; '_' (95) sorts below folded 'a' (97).
    const std::vector<std::string> expected = {"\xc3\xa9t\xc3\xa9", "\xe6\x97\xa5", "_x", "A", "b"};
    EXPECT_EQ(names, expected);
}

TEST(FilenameCollation, EqualityNeedsEqualLengths) {
    EXPECT_FALSE(fn::equal_filenames("C:/x", "c:\\x"));
    EXPECT_FALSE(fn::equal_filenames(std::string("abc", 3), std::string("abc\0", 4)));
    EXPECT_TRUE(fn::equal_filenames(std::string("a\0B", 3), std::string("a\0b", 3)));
}

struct StartsRow {
    std::string s;
    std::string prefix;
    bool expected;
};

std::ostream& operator<<(std::ostream& os, const StartsRow& row) {
    return os << '"' << row.s << "\" starts with \"" << row.prefix << "\" -> " << row.expected;
}

class StartsWithFilename : public ::testing::TestWithParam<StartsRow> {};

TEST_P(StartsWithFilename, ComparesThePrefixBytesUnderTheCollation) {
    const StartsRow& row = GetParam();
    const char* s = row.s.c_str();
    const char* prefix = row.prefix.c_str();
    EXPECT_EQ(fn::starts_with_filename(row.s, row.prefix), row.expected) << "string, string";
    EXPECT_EQ(fn::starts_with_filename(row.s, prefix), row.expected) << "string, C string";
    EXPECT_EQ(fn::starts_with_filename(s, prefix), row.expected) << "C string, C string";
    EXPECT_EQ(fn::starts_with_filename(s, row.prefix), row.expected) << "C string, string";
    if (row.prefix.empty()) {
        EXPECT_EQ(fn::starts_with_filename(s, nullptr), row.expected) << "null prefix";
        EXPECT_EQ(fn::starts_with_filename(row.s, nullptr), row.expected) << "null prefix";
    }
    if (row.s.empty()) {
        EXPECT_EQ(fn::starts_with_filename(nullptr, prefix), row.expected) << "null name";
        EXPECT_EQ(fn::starts_with_filename(nullptr, row.prefix), row.expected) << "null name";
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, StartsWithFilename,
                         ::testing::Values(StartsRow{"abc", "", true}, StartsRow{"", "a", false},
                                           StartsRow{"", "", true},
                                           StartsRow{"C:\\toolsets", "C:\\tools", true},
                                           StartsRow{"C:\\Tools\\x", "c:\\TOOLS\\", true},
                                           StartsRow{"C:\\tools\\x", "C:/tools", false},
                                           StartsRow{"ab", "abc", false},
                                           StartsRow{"abc", "abd", false},
                                           StartsRow{"\xc3\xa9t\xc3\xa9", "\xc3\xa9", true},
                                           StartsRow{"\xc3\xa9t\xc3\xa9", "\xc3\x89", false}));

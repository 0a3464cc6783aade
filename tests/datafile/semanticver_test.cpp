// SPDX-License-Identifier: MIT
#include <orrery/semanticver.h>

#include <gtest/gtest.h>

using Orrery::SemanticVer;

struct VersionRow {
    const char* text;
    bool valid;
    unsigned int major, minor, patch;
};

// A row prints as its text; printed as raw bytes, its padding would be read uninitialised.
void PrintTo(const VersionRow& row, std::ostream* out) {
    *out << '"' << row.text << '"';
}

class SemanticVerParse : public ::testing::TestWithParam<VersionRow> {};

TEST_P(SemanticVerParse, ParsesOrRejects) {
    const VersionRow row = GetParam();
    SemanticVer v;
    EXPECT_EQ(v.IsValidVersion(QString::fromUtf8(row.text)), row.valid);
    EXPECT_EQ(v.SetVersion(QString::fromUtf8(row.text)),
              row.valid ? Orrery::RESULT_OK : Orrery::RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(v.GetMajorVersion(), row.major);
    EXPECT_EQ(v.GetMinorVersion(), row.minor);
    EXPECT_EQ(v.GetPatchVersion(), row.patch);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SemanticVerParse,
    ::testing::Values(VersionRow{"1.2.3", true, 1, 2, 3}, VersionRow{"01.002.3", true, 1, 2, 3},
                      VersionRow{"..", true, 0, 0, 0}, VersionRow{"1..", true, 1, 0, 0},
                      VersionRow{"1.2", false, 0, 0, 0}, VersionRow{"1.2.3.4", false, 0, 0, 0},
                      VersionRow{"1.2.x", false, 0, 0, 0}, VersionRow{"1.2.3-rc1", false, 0, 0, 0},
                      VersionRow{"", false, 0, 0, 0}, VersionRow{" 1.2.3", false, 0, 0, 0},
                      VersionRow{"99999999999.1.2", true, 0, 1, 2},
                      VersionRow{"\xd9\xa1.2.3", true, 0, 2, 3}));

TEST(SemanticVer, DefaultIsZero) {
    SemanticVer v;
    EXPECT_EQ(v.GetMajorVersion(), 0u);
    EXPECT_EQ(v.GetMinorVersion(), 0u);
    EXPECT_EQ(v.GetPatchVersion(), 0u);
}

TEST(SemanticVer, ConstructorParsesAndIgnoresInvalidText) {
    SemanticVer good(QStringLiteral("4.5.6"));
    EXPECT_EQ(good.GetMajorVersion(), 4u);
    EXPECT_EQ(good.GetPatchVersion(), 6u);
    SemanticVer bad(QStringLiteral("4.5"));
    EXPECT_EQ(bad.GetMajorVersion(), 0u);
}

TEST(SemanticVer, FailedSetVersionKeepsThePreviousVersion) {
    SemanticVer v(QStringLiteral("1.2.3"));
    EXPECT_EQ(v.SetVersion(QStringLiteral("1.2")), Orrery::RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(v.GetMajorVersion(), 1u);
    EXPECT_EQ(v.GetMinorVersion(), 2u);
    EXPECT_EQ(v.GetPatchVersion(), 3u);
}

TEST(SemanticVer, CompatibilityIsTheMajorNumber) {
    SemanticVer v123(QStringLiteral("1.2.3"));
    SemanticVer v200(QStringLiteral("2.0.0"));
    EXPECT_TRUE(v123.IsAPICompatible(QStringLiteral("1.9.0")));
    EXPECT_FALSE(v200.IsAPICompatible(QStringLiteral("1.9.0")));
    EXPECT_FALSE(v123.IsAPICompatible(QStringLiteral("abc")));
    EXPECT_TRUE(v123.IsAPICompatible(SemanticVer(QStringLiteral("1.0.0"))));
    EXPECT_FALSE(v123.IsAPICompatible(v200));
    EXPECT_TRUE(SemanticVer().IsAPICompatible(QStringLiteral("..")));
}

TEST(SemanticVer, CopyAndMoveAreMemberwise) {
    SemanticVer a(QStringLiteral("3.4.5"));
    SemanticVer b(a);
    SemanticVer c(std::move(b));
    SemanticVer d;
    d = c;
    EXPECT_EQ(d.GetMajorVersion(), 3u);
    EXPECT_EQ(d.GetMinorVersion(), 4u);
    EXPECT_EQ(d.GetPatchVersion(), 5u);
}

// SPDX-License-Identifier: MIT
#include "units_test_access.h"

#include <orrery/units.h>

#include <gtest/gtest.h>

#include <QString>

#include <climits>
#include <thread>
#include <vector>

using Orrery::UnitsParser;
using Orrery::UnitsTestAccess;

namespace {

QString q(const char* text) {
    return QString::fromUtf8(text);
}

}  // namespace

TEST(UnitsParser, DefaultObjectIsEmptyWithFactorOne) {
    const UnitsParser u;
    EXPECT_TRUE(u.isEmpty());
    EXPECT_EQ(u.exponent(), 0);
    EXPECT_FALSE(u.canHavePrefix());
    EXPECT_FALSE(UnitsTestAccess::baseIsKnown(u));
    EXPECT_EQ(u.conversionFactor(), 1.0);
    EXPECT_EQ(u.baseUnits(), QString());
    EXPECT_EQ(UnitsTestAccess::units(u), QString());
    EXPECT_EQ(u.prefixExponent(6), 0);
}

TEST(UnitsParser, FieldsAreLaidOutInDeclaredOrder) {
    const UnitsParser u(q("kOhm"));
    const auto offsets = UnitsTestAccess::fieldOffsets(u);
    EXPECT_EQ(offsets.front(), 0);
    for (size_t i = 1; i < offsets.size(); ++i) {
        EXPECT_LT(offsets[i - 1], offsets[i]) << "field " << i;
    }
}

TEST(UnitsParser, EmptyStringIsTheEmptyTableEntry) {
    const UnitsParser u(QString{});
    EXPECT_EQ(u.exponent(), 0);
    EXPECT_EQ(UnitsTestAccess::base(u), QString());
    EXPECT_FALSE(u.canHavePrefix());
    EXPECT_EQ(u.conversionFactor(), 1.0);
    EXPECT_TRUE(u.isEmpty());
    EXPECT_TRUE(UnitsParser::unitsAreValid(QString()));
}

TEST(UnitsParser, LonePrefixHasEmptyKnownBase) {
    const UnitsParser u(q("k"));
    EXPECT_EQ(u.exponent(), 3);
    EXPECT_EQ(UnitsTestAccess::base(u), QString());
    EXPECT_TRUE(UnitsTestAccess::baseIsKnown(u));
    EXPECT_TRUE(u.canHavePrefix());
    EXPECT_EQ(u.unitsWithPrefix(6), q("M"));
    EXPECT_EQ(u.unitsWithPrefix(0), QString());
}

TEST(UnitsParser, GigaHertzSplitsAndRounds) {
    const UnitsParser u(q("GHz"));
    EXPECT_EQ(u.exponent(), 9);
    EXPECT_EQ(UnitsTestAccess::base(u), q("Hz"));
    EXPECT_EQ(u.baseUnits(), q("Hz"));
    EXPECT_TRUE(UnitsTestAccess::baseIsKnown(u));
    EXPECT_EQ(u.prefixExponent(10), 9);
    EXPECT_EQ(u.unitsWithPrefix(9), q("GHz"));
    EXPECT_EQ(u.prefixExponent(40), 12);
    EXPECT_EQ(u.prefixExponent(-30), -18);
    EXPECT_EQ(u.conversionFactor(), 1.0);
}

TEST(UnitsParser, CentiIsKeptOnlyWhenWritten) {
    const UnitsParser cm(q("cm"));
    EXPECT_EQ(cm.exponent(), -2);
    EXPECT_EQ(UnitsTestAccess::base(cm), q("m"));
    EXPECT_EQ(cm.prefixExponent(-2), -2);
    EXPECT_EQ(cm.unitsWithPrefix(-2), q("cm"));

    const UnitsParser mm(q("mm"));
    EXPECT_EQ(mm.exponent(), -3);
    EXPECT_EQ(UnitsTestAccess::base(mm), q("m"));
    EXPECT_FALSE(UnitsTestAccess::baseIsKnown(mm));
    EXPECT_EQ(mm.conversionFactor(), 1.0);
    EXPECT_EQ(mm.prefixExponent(-2), -3);
}

TEST(UnitsParser, MilIsWholeWithFactorAndNoPrefix) {
    const UnitsParser u(q("mil"));
    EXPECT_FALSE(u.canHavePrefix());
    EXPECT_EQ(u.exponent(), 0);
    EXPECT_EQ(u.conversionFactor(), 2.54e-5);
    for (int e : {-40, -18, -2, 0, 3, 6, 12, 40}) {
        EXPECT_EQ(u.prefixExponent(e), 0) << e;
    }
    EXPECT_EQ(u.unitsWithPrefix(6), q("mil"));
    EXPECT_EQ(u.baseUnits(), q("mil"));
}

TEST(UnitsParser, PetaHertzIsAWholeEntryButTeraHertzHasAPrefix) {
    const UnitsParser peta(q("PHz"));
    EXPECT_EQ(peta.conversionFactor(), 1e15);
    EXPECT_FALSE(peta.canHavePrefix());
    EXPECT_EQ(peta.exponent(), 0);
    EXPECT_EQ(UnitsTestAccess::base(peta), q("PHz"));

    const UnitsParser tera(q("THz"));
    EXPECT_EQ(tera.exponent(), 12);
    EXPECT_EQ(UnitsTestAccess::base(tera), q("Hz"));
    EXPECT_EQ(tera.conversionFactor(), 1.0);
}

TEST(UnitsParser, UnderscoreMarksAnUnprefixedBase) {
    const UnitsParser u(q("_ft"));
    EXPECT_EQ(u.exponent(), 0);
    EXPECT_EQ(UnitsTestAccess::base(u), q("ft"));
    EXPECT_FALSE(UnitsTestAccess::baseIsKnown(u));
    EXPECT_TRUE(u.canHavePrefix());
    EXPECT_EQ(u.baseUnits(), q("_ft"));
    EXPECT_EQ(u.getPrefix(0), q("_"));
    EXPECT_EQ(u.unitsWithPrefix(0), q("_ft"));
    EXPECT_EQ(u.unitsWithPrefix(3), q("kft"));

    const UnitsParser m(q("_m"));
    EXPECT_EQ(m.exponent(), 0);
    EXPECT_EQ(UnitsTestAccess::base(m), q("m"));
    EXPECT_EQ(m.baseUnits(), q("_m"));
}

TEST(UnitsParser, BaseUnitsAddsUnderscoreOnlyWhenNeeded) {
    // Unknown base starting with a prefix letter.
    EXPECT_EQ(UnitsParser(q("kmeter")).baseUnits(), q("_meter"));
    EXPECT_EQ(UnitsParser(q("kmeter")).getPrefix(0), q("_"));
    // Known base, or a first letter that is no prefix.
    EXPECT_EQ(UnitsParser(q("kOhm")).baseUnits(), q("Ohm"));
    EXPECT_EQ(UnitsParser(q("kOhm")).getPrefix(0), QString());
    EXPECT_EQ(UnitsParser(q("furlong")).baseUnits(), q("_urlong"));
    EXPECT_EQ(UnitsParser(q("Hz")).baseUnits(), q("Hz"));
    EXPECT_EQ(UnitsParser(q("Volt")).baseUnits(), q("Volt"));
    EXPECT_EQ(UnitsParser(q("k")).baseUnits(), QString());
    EXPECT_EQ(UnitsParser(q("k")).getPrefix(0), QString());
    // Table entries keep their base as stored; getPrefix(0) still applies its own test.
    EXPECT_EQ(UnitsParser(q("ft")).baseUnits(), q("ft"));
    EXPECT_EQ(UnitsParser(q("ft")).getPrefix(0), q("_"));
    EXPECT_EQ(UnitsParser(q("dB")).getPrefix(0), QString());
}

TEST(UnitsParser, TableLookupComesBeforePrefixes) {
    const UnitsParser ft(q("ft"));
    EXPECT_FALSE(ft.canHavePrefix());
    EXPECT_EQ(ft.exponent(), 0);
    EXPECT_EQ(ft.conversionFactor(), 0.3048);
    const UnitsParser mi(q("mi"));
    EXPECT_EQ(mi.exponent(), 0);
    EXPECT_EQ(mi.conversionFactor(), 1609.344);
    EXPECT_EQ(UnitsParser(q("in")).conversionFactor(), 0.0254);
    EXPECT_EQ(UnitsParser(q("micron")).conversionFactor(), 1e-6);
    EXPECT_EQ(UnitsParser(q("mils")).exponent(), 0);

    const UnitsParser m(q("m"));
    EXPECT_EQ(m.exponent(), -3);
    EXPECT_EQ(UnitsTestAccess::base(m), QString());
    EXPECT_TRUE(UnitsTestAccess::baseIsKnown(m));
    EXPECT_EQ(m.conversionFactor(), 1.0);
}

TEST(UnitsParser, CopyAndMoveKeepEveryField) {
    const UnitsParser original(q("kmeter"));
    UnitsParser copy(original);
    EXPECT_EQ(UnitsTestAccess::units(copy), q("kmeter"));
    EXPECT_EQ(copy.exponent(), 3);
    EXPECT_EQ(copy.baseUnits(), q("_meter"));
    UnitsParser moved(std::move(copy));
    EXPECT_EQ(UnitsTestAccess::units(moved), q("kmeter"));
    EXPECT_EQ(moved.exponent(), 3);
    UnitsParser assigned;
    assigned = original;
    EXPECT_EQ(assigned.unitsWithPrefix(6), q("Mmeter"));
    UnitsParser moveAssigned;
    moveAssigned = UnitsParser(q("mil"));
    EXPECT_EQ(moveAssigned.conversionFactor(), 2.54e-5);
    EXPECT_FALSE(moveAssigned.canHavePrefix());
}

TEST(UnitsParser, TablesSurviveConcurrentFirstUse) {
    std::vector<std::thread> threads;
    std::vector<int> failures(4, 0);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &failures] {
            for (int i = 0; i < 200; ++i) {
                const UnitsParser ghz(QStringLiteral("GHz"));
                const UnitsParser mil(QStringLiteral("mil"));
                if (ghz.exponent() != 9 || !UnitsTestAccess::baseIsKnown(ghz) ||
                    mil.conversionFactor() != 2.54e-5 ||
                    !UnitsParser::unitsAreValid(QStringLiteral("%"))) {
                    ++failures[t];
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, std::vector<int>(4, 0));
}

TEST(UnitsParser, IsPrefixRejectsPetaAndLeavesExponentZero) {
    int e = 99;
    EXPECT_FALSE(UnitsParser::isPrefix('P', &e));
    EXPECT_EQ(e, 0);
    e = 99;
    EXPECT_TRUE(UnitsParser::isPrefix('_', &e));
    EXPECT_EQ(e, 0);
    EXPECT_TRUE(UnitsParser::isPrefix('k', nullptr));
}

TEST(UnitsParser, IsPrefixRejectsEverythingOutsideTheTable) {
    for (int c = -128; c < 128; ++c) {
        const char ch = static_cast<char>(c);
        if (QByteArray("afpnumc_kMGT").contains(ch)) {
            continue;
        }
        int e = 99;
        EXPECT_FALSE(UnitsParser::isPrefix(ch, &e)) << c;
        EXPECT_EQ(e, 0) << c;
    }
}

TEST(UnitsParser, ScaleFactorOfCentiAndUnknownExponentsIsOne) {
    EXPECT_EQ(UnitsParser::unitsPrefixScaleFactor(-2), 1.0);
    EXPECT_EQ(UnitsParser::unitsPrefixScaleFactor(4), 1.0);
    EXPECT_EQ(UnitsParser::unitsPrefixScaleFactor(0), 1.0);
    EXPECT_EQ(UnitsParser::unitsPrefixScaleFactor(15), 1.0);
    EXPECT_EQ(UnitsParser::unitsPrefixScaleFactor(-21), 1.0);
}

// ---- Prefix table: character, exponent, prefix text, scale factor.

struct PrefixRow {
    char character;
    int exponent;
    const char* prefix;
    double factor;
};

// A row prints as its character; printed as raw bytes, its padding would be read
// uninitialised.
void PrintTo(const PrefixRow& row, std::ostream* out) {
    *out << "'" << row.character << "'";
}

class UnitsParserPrefixTable : public ::testing::TestWithParam<PrefixRow> {};

TEST_P(UnitsParserPrefixTable, CharacterExponentTextAndFactorAgree) {
    const PrefixRow row = GetParam();
    int e = 99;
    EXPECT_TRUE(UnitsParser::isPrefix(row.character, &e));
    EXPECT_EQ(e, row.exponent);
    const UnitsParser hz(QString(QLatin1Char(row.character) + QStringLiteral("Hz")));
    EXPECT_EQ(hz.exponent(), row.exponent);
    EXPECT_EQ(UnitsTestAccess::base(hz), QStringLiteral("Hz"));
    EXPECT_EQ(hz.getPrefix(row.exponent), QString::fromLatin1(row.prefix));
    EXPECT_EQ(UnitsParser::unitsPrefixScaleFactor(row.exponent), row.factor);
}

INSTANTIATE_TEST_SUITE_P(
    AllPrefixes, UnitsParserPrefixTable,
    ::testing::Values(PrefixRow{'a', -18, "a", 1e-18}, PrefixRow{'f', -15, "f", 1e-15},
                      PrefixRow{'p', -12, "p", 1e-12}, PrefixRow{'n', -9, "n", 1e-9},
                      PrefixRow{'u', -6, "u", 1e-6}, PrefixRow{'m', -3, "m", 1e-3},
                      PrefixRow{'c', -2, "c", 1.0}, PrefixRow{'_', 0, "", 1.0},
                      PrefixRow{'k', 3, "k", 1e3}, PrefixRow{'M', 6, "M", 1e6},
                      PrefixRow{'G', 9, "G", 1e9}, PrefixRow{'T', 12, "T", 1e12}));

TEST(UnitsParser, GetPrefixIsEmptyForExponentsWithoutPrefix) {
    const UnitsParser u(q("Hz"));
    for (int e : {-21, -17, -4, -1, 1, 2, 4, 15, INT_MAX, INT_MIN}) {
        EXPECT_EQ(u.getPrefix(e), QString()) << e;
    }
}

// ---- Conversion table: every key is taken whole.

struct TableRow {
    const char* units;
    double factor;
};

class UnitsParserConversionTable : public ::testing::TestWithParam<TableRow> {};

TEST_P(UnitsParserConversionTable, KeyIsWholeWithItsFactor) {
    const TableRow row = GetParam();
    const UnitsParser u(QString::fromLatin1(row.units));
    EXPECT_FALSE(u.canHavePrefix());
    EXPECT_FALSE(UnitsTestAccess::baseIsKnown(u));
    EXPECT_EQ(u.exponent(), 0);
    EXPECT_EQ(u.conversionFactor(), row.factor);
    EXPECT_EQ(UnitsTestAccess::base(u), QString::fromLatin1(row.units));
    EXPECT_EQ(u.baseUnits(), QString::fromLatin1(row.units));
    EXPECT_EQ(u.prefixExponent(9), 0);
    EXPECT_TRUE(UnitsParser::unitsAreValid(QString::fromLatin1(row.units)));
}

INSTANTIATE_TEST_SUITE_P(
    AllKeys, UnitsParserConversionTable,
    ::testing::Values(TableRow{"mil", 2.54e-5}, TableRow{"mils", 2.54e-5}, TableRow{"meter", 1.0},
                      TableRow{"metre", 1.0}, TableRow{"meters", 1.0}, TableRow{"metres", 1.0},
                      TableRow{"micron", 1e-6}, TableRow{"in", 0.0254}, TableRow{"ft", 0.3048},
                      TableRow{"mi", 1609.344}, TableRow{"nmi", 1852.0}, TableRow{"PHz", 1e15},
                      TableRow{"dB", 1.0}, TableRow{"%", 0.01}, TableRow{"", 1.0}));

// ---- Prefixable units: known after a prefix, and without one.

class UnitsParserPrefixableSet : public ::testing::TestWithParam<const char*> {};

TEST_P(UnitsParserPrefixableSet, BaseIsKnownWithAndWithoutPrefix) {
    const QString base = QString::fromLatin1(GetParam());
    const UnitsParser withPrefix(QString(QStringLiteral("k") + base));
    EXPECT_TRUE(UnitsTestAccess::baseIsKnown(withPrefix));
    EXPECT_EQ(withPrefix.exponent(), 3);
    EXPECT_EQ(withPrefix.baseUnits(), base);
    if (!base.isEmpty()) {
        const UnitsParser bare(base);
        EXPECT_TRUE(UnitsTestAccess::baseIsKnown(bare));
        EXPECT_EQ(bare.exponent(), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(AllMembers, UnitsParserPrefixableSet,
                         ::testing::Values("", "A", "F", "H", "Hz", "Ohm", "Ohms", "S", "sec", "V",
                                           "W", "bps"));

TEST(UnitsParser, OtherBasesAreNotKnown) {
    for (const char* units : {"kfoo", "kohm", "kHZ", "kv", "ksecs", "Volt"}) {
        EXPECT_FALSE(UnitsTestAccess::baseIsKnown(UnitsParser(q(units)))) << units;
    }
}

// ---- Prefix rounding.

struct RoundingRow {
    const char* units;
    int wanted;
    int expected;
};

class UnitsParserRounding : public ::testing::TestWithParam<RoundingRow> {};

TEST_P(UnitsParserRounding, RoundsDownToAPrefix) {
    const RoundingRow row = GetParam();
    const UnitsParser u(QString::fromLatin1(row.units));
    EXPECT_EQ(u.prefixExponent(row.wanted), row.expected);
    EXPECT_EQ(UnitsTestAccess::getPrefixExponent(u, row.wanted), row.expected);
}

INSTANTIATE_TEST_SUITE_P(Examples, UnitsParserRounding,
                         ::testing::Values(RoundingRow{"Hz", 0, 0}, RoundingRow{"Hz", 1, 0},
                                           RoundingRow{"Hz", 2, 0}, RoundingRow{"Hz", 5, 3},
                                           RoundingRow{"Hz", -1, -3}, RoundingRow{"Hz", -2, -3},
                                           RoundingRow{"Hz", -4, -6}, RoundingRow{"Hz", 11, 9},
                                           RoundingRow{"Hz", 12, 12}, RoundingRow{"Hz", 13, 12},
                                           RoundingRow{"Hz", INT_MAX, 12},
                                           RoundingRow{"Hz", -16, -18}, RoundingRow{"Hz", -17, -18},
                                           RoundingRow{"Hz", -18, -18}, RoundingRow{"Hz", -19, -18},
                                           RoundingRow{"Hz", INT_MIN, -18},
                                           RoundingRow{"cm", -2, -2}, RoundingRow{"cm", -1, -3},
                                           RoundingRow{"cm", -5, -6}, RoundingRow{"mm", -2, -3},
                                           RoundingRow{"c", -2, -2}, RoundingRow{"m", -2, -3}));

TEST(UnitsParser, PrivateRoundingIgnoresWhetherAPrefixIsAllowed) {
    const UnitsParser mil(q("mil"));
    EXPECT_EQ(mil.prefixExponent(7), 0);
    EXPECT_EQ(UnitsTestAccess::getPrefixExponent(mil, 7), 6);
    EXPECT_EQ(UnitsTestAccess::getPrefixExponent(mil, -2), -3);
}

// ---- Validity.

struct ValidityRow {
    const char* units;
    bool valid;
};

// A row prints as its units; printed as raw bytes, its padding would be read uninitialised.
void PrintTo(const ValidityRow& row, std::ostream* out) {
    *out << '"' << row.units << '"';
}

class UnitsParserValidity : public ::testing::TestWithParam<ValidityRow> {};

TEST_P(UnitsParserValidity, AcceptsUnitNamesOnly) {
    const ValidityRow row = GetParam();
    EXPECT_EQ(UnitsParser::unitsAreValid(QString::fromUtf8(row.units)), row.valid);
}

INSTANTIATE_TEST_SUITE_P(
    Examples, UnitsParserValidity,
    ::testing::Values(ValidityRow{"kOhm", true}, ValidityRow{"GHz", true}, ValidityRow{"_m", true},
                      ValidityRow{"k", true}, ValidityRow{"m", true}, ValidityRow{"mm", true},
                      ValidityRow{"furlongs", true}, ValidityRow{"%", true}, ValidityRow{"", true},
                      ValidityRow{"mil", true}, ValidityRow{"_", true}, ValidityRow{"k_", true},
                      ValidityRow{"Ohm2", true}, ValidityRow{"_2", false}, ValidityRow{"k_2", true},
                      ValidityRow{"\xc2\xb5"
                                  "F",
                                  true},
                      ValidityRow{"k\xc3\xa9t\xc3\xa9", true}, ValidityRow{"123", false},
                      ValidityRow{"m/s", false}, ValidityRow{"k-1", false},
                      ValidityRow{"Ohm 2", false}, ValidityRow{"k1", false},
                      ValidityRow{"%%", false}, ValidityRow{" Hz", false},
                      ValidityRow{"Hz ", false}, ValidityRow{"dB/Hz", false}));

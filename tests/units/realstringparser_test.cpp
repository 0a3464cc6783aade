// SPDX-License-Identifier: MIT
#include "units_test_access.h"

#include <orrery/units.h>

#include <gtest/gtest.h>

#include <QString>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>

using Orrery::RealStringParser;
using Orrery::UnitsTestAccess;

namespace {

QString q(const char* text) {
    return QString::fromUtf8(text);
}

constexpr auto Invalid = RealStringParser::Invalid;
constexpr auto Empty = RealStringParser::Empty;
constexpr auto Real = RealStringParser::Real;
constexpr auto Scientific = RealStringParser::Scientific;
constexpr auto Engineering = RealStringParser::Engineering;

}  // namespace

TEST(RealStringParser, EnumerationValuesAreFixed) {
    EXPECT_EQ(static_cast<int>(Invalid), 0);
    EXPECT_EQ(static_cast<int>(Empty), 1);
    EXPECT_EQ(static_cast<int>(Real), 2);
    EXPECT_EQ(static_cast<int>(Scientific), 0);
    EXPECT_EQ(static_cast<int>(Engineering), 1);
}

TEST(RealStringParser, DefaultParserIsCleared) {
    const RealStringParser p;
    EXPECT_EQ(p.state(), Invalid);
    EXPECT_FALSE(p.isReal());
    EXPECT_EQ(p.originalValue(), QString());
    EXPECT_FALSE(UnitsTestAccess::negative(p));
    EXPECT_EQ(p.valueAsReal(), 0.0);
    EXPECT_EQ(UnitsTestAccess::left(p), QString());
    EXPECT_EQ(UnitsTestAccess::right(p), QString());
    EXPECT_EQ(p.exponent(), 0);
    EXPECT_FALSE(p.scaleFactorFound());
    EXPECT_EQ(p.value(Scientific), q("0"));
}

TEST(RealStringParser, FieldsAreLaidOutInDeclaredOrder) {
    const RealStringParser p(q("1.5"));
    const auto offsets = UnitsTestAccess::fieldOffsets(p);
    EXPECT_EQ(offsets.front(), 0);
    for (size_t i = 1; i < offsets.size(); ++i) {
        EXPECT_LT(offsets[i - 1], offsets[i]) << "field " << i;
    }
}

// ---- The designed tokeniser examples.

struct TokenRow {
    const char* text;
    bool tokenizedReal;
    const char* left;
    const char* right;
    int exponent;
    bool scaleFactor;
    const char* number;
    const char* units;
};

// A row prints as its text; printed as raw bytes, its padding would be read uninitialised.
void PrintTo(const TokenRow& row, std::ostream* out) {
    *out << '"' << row.text << '"';
}

class RealStringParserTokenizer : public ::testing::TestWithParam<TokenRow> {};

TEST_P(RealStringParserTokenizer, SplitsDigitsExponentScaleAndUnits) {
    const TokenRow row = GetParam();
    const RealStringParser p = UnitsTestAccess::tokenized(q(row.text));
    EXPECT_EQ(UnitsTestAccess::left(p), q(row.left));
    EXPECT_EQ(UnitsTestAccess::right(p), q(row.right));
    EXPECT_EQ(p.exponent(), row.exponent);
    EXPECT_EQ(p.scaleFactorFound(), row.scaleFactor);

    QString number = q("stale");
    QString units = q("stale");
    const bool ok = RealStringParser::parseNumberAndUnits(q(row.text), &number, &units);
    EXPECT_EQ(ok, row.tokenizedReal);
    EXPECT_EQ(number, q(row.number));
    EXPECT_EQ(units, q(row.units));
}

INSTANTIATE_TEST_SUITE_P(
    DesignedExamples, RealStringParserTokenizer,
    ::testing::Values(TokenRow{"123.45e67 foo", true, "123", "45", 67, false, "123.45e67", "foo"},
                      TokenRow{"123.45k", true, "123", "45", 3, true, "123.45k", ""},
                      TokenRow{"123.45kfoo", true, "123", "45", 0, false, "123.45", "kfoo"},
                      TokenRow{"123.45k Mfoo", true, "123", "45", 3, true, "123.45k", "Mfoo"},
                      TokenRow{"123.45ergs", false, "123", "45", 0, false, "", ""}));

TEST(RealStringParser, DesignedExamplesAsPlainValues) {
    // Only "123.45k" has nothing after the number.
    EXPECT_EQ(UnitsTestAccess::tokenized(q("123.45e67 foo")).state(), Invalid);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("123.45k")).state(), Real);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("123.45kfoo")).state(), Invalid);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("123.45k Mfoo")).state(), Invalid);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("123.45ergs")).state(), Invalid);

    const RealStringParser k(q("123.45k"));
    EXPECT_EQ(k.state(), Real);
    EXPECT_TRUE(k.scaleFactorFound());
    EXPECT_EQ(k.value(Scientific), q("1.2345e5"));
    EXPECT_EQ(k.valueAsReal(), 123450.0);
    EXPECT_EQ(k.originalValue(), q("123.45k"));
}

// ---- Parse states.

struct StateRow {
    const char* text;
    RealStringParser::State state;
};

// A row prints as its text; printed as raw bytes, its padding would be read uninitialised.
void PrintTo(const StateRow& row, std::ostream* out) {
    *out << '"' << row.text << '"';
}

class RealStringParserStates : public ::testing::TestWithParam<StateRow> {};

TEST_P(RealStringParserStates, ConstructedStateMatches) {
    const StateRow row = GetParam();
    const RealStringParser p(q(row.text));
    EXPECT_EQ(p.state(), row.state);
    EXPECT_EQ(p.isReal(), row.state == Real);
    EXPECT_EQ(p.originalValue(), q(row.text));
    if (row.state != Real) {
        EXPECT_EQ(p.valueAsReal(), 0.0);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Examples, RealStringParserStates,
    ::testing::Values(StateRow{"", Empty}, StateRow{"   ", Empty}, StateRow{"+", Empty},
                      StateRow{"-", Empty}, StateRow{".", Empty}, StateRow{"1e", Empty},
                      StateRow{"1e-", Empty}, StateRow{"1E+", Empty}, StateRow{" 1e- ", Empty},
                      StateRow{"1e-x", Invalid}, StateRow{"1.5ergs", Invalid}, StateRow{"5.", Real},
                      StateRow{"-.5", Real}, StateRow{"+5", Real}, StateRow{"000", Real},
                      StateRow{"5 k", Invalid}, StateRow{"abc", Invalid}, StateRow{"e5", Invalid},
                      StateRow{"--5", Invalid}, StateRow{"1.2.3", Invalid}, StateRow{"5P", Invalid},
                      StateRow{" \t4.7k\n", Real}, StateRow{"5E3", Real}, StateRow{"1.5e+3", Real},
                      StateRow{"1e999", Invalid}, StateRow{"1e-400", Invalid},
                      StateRow{"1e2147483647", Invalid}, StateRow{"1e2147483648", Invalid},
                      StateRow{"1e-2147483649", Invalid}, StateRow{"1e2147483647k", Invalid},
                      StateRow{"1e\xd9\xa3", Invalid}, StateRow{"\xd9\xa3", Invalid},
                      StateRow{"5_", Real}, StateRow{"5c", Real}, StateRow{"5k x", Invalid}));

TEST(RealStringParser, BareExponentMarkIsEmptyButTrailingTextIsInvalid) {
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1.5e")).state(), Empty);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1.5e-")).state(), Empty);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1.5e-x")).state(), Invalid);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1.5ergs")).state(), Invalid);
}

TEST(RealStringParser, TrailingPointKeepsIntegerDigits) {
    const RealStringParser p(q("5."));
    EXPECT_EQ(p.state(), Real);
    EXPECT_EQ(UnitsTestAccess::left(p), q("5"));
    EXPECT_EQ(UnitsTestAccess::right(p), QString());
    EXPECT_EQ(p.value(Scientific), q("5"));
}

TEST(RealStringParser, LeadingPointNormalisesToNegativeExponent) {
    const RealStringParser p(q("-.5"));
    EXPECT_EQ(p.state(), Real);
    EXPECT_TRUE(UnitsTestAccess::negative(p));
    EXPECT_EQ(UnitsTestAccess::left(p), q("5"));
    EXPECT_EQ(UnitsTestAccess::right(p), QString());
    EXPECT_EQ(p.exponent(), -1);
    EXPECT_EQ(p.value(Scientific), q("-5e-1"));
    EXPECT_EQ(p.valueAsReal(), -0.5);
}

TEST(RealStringParser, ZerosNormaliseToZero) {
    for (const char* text : {"000", "0", "-0", "0.000", "00.00e17", "0k", "-0e-5"}) {
        const RealStringParser p(q(text));
        EXPECT_EQ(p.state(), Real) << text;
        EXPECT_EQ(p.value(Scientific), q("0")) << text;
        EXPECT_EQ(p.value(Engineering, 7), q("0")) << text;
        EXPECT_EQ(p.valueAsReal(), 0.0) << text;
        EXPECT_FALSE(std::signbit(p.valueAsReal())) << text;
        EXPECT_EQ(p.exponent(), 0) << text;
        EXPECT_EQ(UnitsTestAccess::left(p), QString()) << text;
        EXPECT_EQ(UnitsTestAccess::right(p), QString()) << text;
    }
}

TEST(RealStringParser, SpacedSuffixIsUnitsNotAScaleFactor) {
    const RealStringParser plain(q("5 k"));
    EXPECT_EQ(plain.state(), Invalid);
    QString number;
    QString units;
    EXPECT_TRUE(RealStringParser::parseNumberAndUnits(q("5 k"), &number, &units));
    EXPECT_EQ(number, q("5"));
    EXPECT_EQ(units, q("k"));
}

TEST(RealStringParser, MicroSuffixScalesAndNormalises) {
    const RealStringParser tokens = UnitsTestAccess::tokenized(q("2.5u"));
    EXPECT_EQ(tokens.exponent(), -6);
    EXPECT_TRUE(tokens.scaleFactorFound());
    const RealStringParser p(q("2.5u"));
    EXPECT_EQ(p.value(Scientific), q("2.5e-6"));
    EXPECT_EQ(p.valueAsReal(), 2.5e-6);
}

TEST(RealStringParser, MagnitudeBeyondDoubleIsRealOnlyAfterTokenising) {
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1e999")).state(), Real);
    const RealStringParser p(q("1e999"));
    EXPECT_EQ(p.state(), Invalid);
    EXPECT_EQ(p.valueAsReal(), 0.0);
    EXPECT_EQ(p.originalValue(), q("1e999"));
}

TEST(RealStringParser, ScaleFactorsAndExponentsCombine) {
    const RealStringParser p(q("1e3k"));
    EXPECT_EQ(p.exponent(), 6);
    EXPECT_TRUE(p.scaleFactorFound());
    EXPECT_EQ(p.valueAsReal(), 1e6);

    const RealStringParser underscore(q("5_"));
    EXPECT_TRUE(underscore.scaleFactorFound());
    EXPECT_EQ(underscore.exponent(), 0);
    EXPECT_EQ(underscore.valueAsReal(), 5.0);

    const RealStringParser centi(q("5c"));
    EXPECT_TRUE(centi.scaleFactorFound());
    EXPECT_EQ(centi.exponent(), -2);
    EXPECT_EQ(centi.valueAsReal(), 0.05);

    const RealStringParser tera(q("-2T"));
    EXPECT_EQ(tera.valueAsReal(), -2e12);
    EXPECT_EQ(tera.value(Engineering), q("-2e12"));
}

TEST(RealStringParser, ScaleLetterNeedsEndOrWhiteSpaceBehindIt) {
    QString number;
    QString units;
    EXPECT_TRUE(RealStringParser::parseNumberAndUnits(q("5k\tx"), &number, &units));
    EXPECT_EQ(number, q("5k"));
    EXPECT_EQ(units, q("x"));
    EXPECT_TRUE(RealStringParser::parseNumberAndUnits(q("5kx"), &number, &units));
    EXPECT_EQ(number, q("5"));
    EXPECT_EQ(units, q("kx"));
    // "P" is no prefix, so it stays behind as units.
    EXPECT_TRUE(RealStringParser::parseNumberAndUnits(q("5P"), &number, &units));
    EXPECT_EQ(number, q("5"));
    EXPECT_EQ(units, q("P"));
}

TEST(RealStringParser, ExponentDigitsFollowIntegerRules) {
    EXPECT_EQ(RealStringParser(q("1e0000000000000000000002")).valueAsReal(), 100.0);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1e2147483647")).exponent(), INT_MAX);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1e2147483647")).state(), Real);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1e-2147483648")).exponent(), INT_MIN);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1e-2147483648")).state(), Real);
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1e2147483648")).state(), Invalid);
    // Only ASCII digits make an exponent.
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1e\xd9\xa3")).state(), Invalid);
    // An exponent pushed beyond int by a scale factor or normalisation is unusable.
    EXPECT_EQ(UnitsTestAccess::tokenized(q("1e2147483647k")).state(), Invalid);
    EXPECT_EQ(RealStringParser(q("12e2147483647")).state(), Invalid);
    EXPECT_EQ(RealStringParser(q("0.01e-2147483647")).state(), Invalid);
}

TEST(RealStringParser, NonAsciiDigitsAreDigitsButNoDouble) {
    // U+0663 is a decimal digit to QChar, but no double conversion accepts it.
    EXPECT_EQ(UnitsTestAccess::tokenized(q("\xd9\xa3")).state(), Real);
    EXPECT_EQ(UnitsTestAccess::left(UnitsTestAccess::tokenized(q("\xd9\xa3"))), q("\xd9\xa3"));
    EXPECT_EQ(RealStringParser(q("\xd9\xa3")).state(), Invalid);
    QString number;
    EXPECT_TRUE(RealStringParser::parseNumberAndUnits(q("\xd9\xa3 V"), &number, nullptr));
    EXPECT_EQ(number, q("\xd9\xa3"));
}

TEST(RealStringParser, OriginalTextIsKeptAsGiven) {
    const RealStringParser p(q("  4.70k "));
    EXPECT_EQ(p.originalValue(), q("  4.70k "));
    EXPECT_EQ(p.value(Engineering), q("4.7e3"));
}

// ---- Splitting number and units.

TEST(RealStringParser, ParseNumberAndUnitsClearsOutputsOnFailure) {
    QString number = q("x");
    QString units = q("y");
    EXPECT_FALSE(RealStringParser::parseNumberAndUnits(q("abc"), &number, &units));
    EXPECT_EQ(number, QString());
    EXPECT_EQ(units, QString());
    number = q("x");
    EXPECT_FALSE(RealStringParser::parseNumberAndUnits(q(""), &number, &units));
    EXPECT_EQ(number, QString());
    EXPECT_FALSE(RealStringParser::parseNumberAndUnits(q("1e"), &number, &units));
    EXPECT_FALSE(RealStringParser::parseNumberAndUnits(q("1e99999999999"), &number, &units));
    EXPECT_EQ(number, QString());
}

TEST(RealStringParser, ParseNumberAndUnitsFillsOutputsForInvalidUnits) {
    QString number;
    QString units;
    EXPECT_FALSE(RealStringParser::parseNumberAndUnits(q(" -2.5e-3  m/s "), &number, &units));
    EXPECT_EQ(number, q("-2.5e-3"));
    EXPECT_EQ(units, q("m/s"));
}

TEST(RealStringParser, ParseNumberAndUnitsKeepsTheNumberAsTyped) {
    QString number;
    QString units;
    EXPECT_TRUE(RealStringParser::parseNumberAndUnits(q("+004.70E+1k  Ohm"), &number, &units));
    EXPECT_EQ(number, q("+004.70E+1k"));
    EXPECT_EQ(units, q("Ohm"));
    EXPECT_TRUE(RealStringParser::parseNumberAndUnits(q("2.2 nF"), &number, &units));
    EXPECT_EQ(number, q("2.2"));
    EXPECT_EQ(units, q("nF"));
    EXPECT_TRUE(RealStringParser::parseNumberAndUnits(q("10"), nullptr, nullptr));
}

// ---- Formatting.

struct FormatRow {
    const char* text;
    RealStringParser::RealStringFormat format;
    int offset;
    const char* expected;
};

class RealStringParserFormat : public ::testing::TestWithParam<FormatRow> {};

TEST_P(RealStringParserFormat, WritesNormalisedDigits) {
    const FormatRow row = GetParam();
    const RealStringParser p(q(row.text));
    ASSERT_EQ(p.state(), Real);
    EXPECT_EQ(p.value(row.format, row.offset), q(row.expected));
    if (row.offset == 0) {
        EXPECT_EQ(p.value(row.format), q(row.expected));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Examples, RealStringParserFormat,
    ::testing::Values(
        FormatRow{"1.2345e4", Scientific, 0, "1.2345e4"},
        FormatRow{"1.2345e4", Engineering, 0, "12.345e3"},
        FormatRow{"12345", Scientific, 0, "1.2345e4"}, FormatRow{"1.5", Scientific, 0, "1.5"},
        FormatRow{"1.5", Engineering, 0, "1.5"}, FormatRow{"2e5", Engineering, 0, "200e3"},
        FormatRow{"2e5", Scientific, 0, "2e5"}, FormatRow{"1.5e-2", Engineering, 0, "0.015"},
        FormatRow{"1.5e-3", Engineering, 0, "0.0015"}, FormatRow{"1.5e-1", Engineering, 0, "0.15"},
        FormatRow{"-1.5e-1", Engineering, 0, "-0.15"},
        FormatRow{"1.5e-4", Engineering, 0, "150e-6"}, FormatRow{"1.5e-2", Scientific, 0, "1.5e-2"},
        FormatRow{"4.7e3", Engineering, -3, "4.7"}, FormatRow{"4.7e3", Engineering, 1, "47e3"},
        FormatRow{"4.7e3", Engineering, 2, "470e3"}, FormatRow{"4.7e3", Scientific, 1, "4.7e4"},
        FormatRow{"4.7e3", Scientific, -3, "4.7"}, FormatRow{"1e+5", Scientific, 0, "1e5"},
        FormatRow{"-4.7k", Engineering, 0, "-4.7e3"}, FormatRow{"123.45", Engineering, 0, "123.45"},
        FormatRow{"1234.5", Engineering, 0, "1.2345e3"},
        FormatRow{"0.000123456", Engineering, 0, "123.456e-6"},
        FormatRow{"100", Engineering, 0, "100"}, FormatRow{"10", Engineering, 0, "10"},
        FormatRow{"1", Engineering, 5, "100e3"}, FormatRow{"1", Engineering, -5, "10e-6"},
        FormatRow{"5", Engineering, 2147483647, "50e2147483646"},
        FormatRow{"5", Scientific, -2147483647 - 1, "5e-2147483648"}));

TEST(RealStringParser, ExpStringIsTheDecimalExponent) {
    EXPECT_EQ(RealStringParser(q("1.5e-3")).expString(), q("-3"));
    EXPECT_EQ(RealStringParser(q("4.7e12")).expString(), q("12"));
    EXPECT_EQ(RealStringParser(q("7")).expString(), q("0"));
}

TEST(RealStringParser, ValueAsRealIsTheSignedDouble) {
    EXPECT_EQ(RealStringParser(q("-1.5e-3")).valueAsReal(), -1.5e-3);
    EXPECT_EQ(RealStringParser(q("4.7k")).valueAsReal(), 4700.0);
    EXPECT_EQ(RealStringParser(q("123.45e67")).valueAsReal(), 123.45e67);
    EXPECT_EQ(RealStringParser(q("2.2u")).valueAsReal(), 2.2e-6);
    EXPECT_EQ(RealStringParser(q("0.1")).valueAsReal(), 0.1);
    EXPECT_EQ(RealStringParser(q("3e-324")).valueAsReal(), 4.9406564584124654e-324);
}

TEST(RealStringParser, ZeroIsWrittenWithoutSign) {
    const RealStringParser p(q("-0.0"));
    EXPECT_TRUE(UnitsTestAccess::negative(p));
    EXPECT_EQ(p.value(Scientific), q("0"));
}

// ---- Copying.

TEST(RealStringParser, CopyAndMoveKeepEveryField) {
    const RealStringParser original(q("-4.7k"));
    RealStringParser copy(original);
    EXPECT_TRUE(UnitsTestAccess::equal(copy, original));
    RealStringParser moved(std::move(copy));
    EXPECT_TRUE(UnitsTestAccess::equal(moved, original));
    RealStringParser assigned;
    assigned = original;
    EXPECT_TRUE(UnitsTestAccess::equal(assigned, original));
    RealStringParser moveAssigned;
    moveAssigned = RealStringParser(q("-4.7k"));
    EXPECT_TRUE(UnitsTestAccess::equal(moveAssigned, original));
    EXPECT_EQ(moveAssigned.valueAsReal(), -4700.0);
}

TEST(RealStringParser, EqualityComparesAllFields) {
    const RealStringParser a(q("4.7k"));
    EXPECT_TRUE(UnitsTestAccess::equal(a, RealStringParser(q("4.7k"))));
    // Same number, other text or other scale flag.
    EXPECT_FALSE(UnitsTestAccess::equal(a, RealStringParser(q("4700"))));
    EXPECT_FALSE(UnitsTestAccess::equal(a, RealStringParser(q("4.7e3"))));
    EXPECT_FALSE(UnitsTestAccess::equal(RealStringParser(q("1")), RealStringParser(q("-1"))));
    RealStringParser other(q("4.7k"));
    UnitsTestAccess::adjustExponent(other, 2);
    EXPECT_FALSE(UnitsTestAccess::equal(a, other));
    EXPECT_TRUE(UnitsTestAccess::equal(RealStringParser(), RealStringParser()));
}

// ---- Digit helpers.

TEST(RealStringParser, PartsConstructorTakesDigitsAsGiven) {
    const RealStringParser p = UnitsTestAccess::fromParts(Real, true, q("12"), q("340"), 5);
    EXPECT_EQ(p.state(), Real);
    EXPECT_TRUE(UnitsTestAccess::negative(p));
    EXPECT_EQ(UnitsTestAccess::left(p), q("12"));
    EXPECT_EQ(UnitsTestAccess::right(p), q("340"));
    EXPECT_EQ(p.exponent(), 5);
    EXPECT_EQ(p.valueAsReal(), 0.0);
    EXPECT_FALSE(p.scaleFactorFound());
    EXPECT_EQ(p.originalValue(), QString());
    EXPECT_FALSE(UnitsTestAccess::isNormalized(p));
}

TEST(RealStringParser, NormalizeLeavesOneNonZeroDigitBeforeThePoint) {
    RealStringParser p = UnitsTestAccess::fromParts(Real, false, q("00120"), q("3400"), 2);
    UnitsTestAccess::normalize(p);
    EXPECT_EQ(UnitsTestAccess::left(p), q("1"));
    EXPECT_EQ(UnitsTestAccess::right(p), q("2034"));
    EXPECT_EQ(p.exponent(), 4);
    EXPECT_TRUE(UnitsTestAccess::isNormalized(p));

    RealStringParser small = UnitsTestAccess::fromParts(Real, false, q("0"), q("00250"), 0);
    UnitsTestAccess::normalize(small);
    EXPECT_EQ(UnitsTestAccess::left(small), q("2"));
    EXPECT_EQ(UnitsTestAccess::right(small), q("5"));
    EXPECT_EQ(small.exponent(), -3);

    RealStringParser round = UnitsTestAccess::fromParts(Real, false, q("1000"), QString(), -1);
    UnitsTestAccess::normalize(round);
    EXPECT_EQ(UnitsTestAccess::left(round), q("1"));
    EXPECT_EQ(UnitsTestAccess::right(round), QString());
    EXPECT_EQ(round.exponent(), 2);

    RealStringParser zero = UnitsTestAccess::fromParts(Real, false, q("00"), q("000"), 9);
    UnitsTestAccess::normalize(zero);
    EXPECT_EQ(UnitsTestAccess::left(zero), QString());
    EXPECT_EQ(UnitsTestAccess::right(zero), QString());
    EXPECT_EQ(zero.exponent(), 0);
    EXPECT_TRUE(UnitsTestAccess::isNormalized(zero));
}

TEST(RealStringParser, IsNormalizedNeedsRealStateAndOneNonZeroDigit) {
    EXPECT_TRUE(
        UnitsTestAccess::isNormalized(UnitsTestAccess::fromParts(Real, false, q("5"), q("25"), 0)));
    EXPECT_TRUE(UnitsTestAccess::isNormalized(
        UnitsTestAccess::fromParts(Real, false, QString(), QString(), 0)));
    EXPECT_FALSE(
        UnitsTestAccess::isNormalized(UnitsTestAccess::fromParts(Real, false, q("0"), q("5"), 0)));
    EXPECT_FALSE(UnitsTestAccess::isNormalized(
        UnitsTestAccess::fromParts(Real, false, q("15"), QString(), 0)));
    EXPECT_FALSE(UnitsTestAccess::isNormalized(
        UnitsTestAccess::fromParts(Real, false, QString(), q("5"), 0)));
    EXPECT_FALSE(UnitsTestAccess::isNormalized(
        UnitsTestAccess::fromParts(Invalid, false, q("5"), QString(), 0)));
    EXPECT_FALSE(UnitsTestAccess::isNormalized(
        UnitsTestAccess::fromParts(Empty, false, QString(), QString(), 0)));
}

TEST(RealStringParser, TransferFromLeftToRightDividesTheMantissa) {
    RealStringParser p = UnitsTestAccess::fromParts(Real, false, q("123"), q("45"), 0);
    UnitsTestAccess::transferFromLeftToRight(p, 2);
    EXPECT_EQ(UnitsTestAccess::left(p), q("1"));
    EXPECT_EQ(UnitsTestAccess::right(p), q("2345"));
    EXPECT_EQ(p.exponent(), 2);
    // More digits than there are: zeros are put in front.
    UnitsTestAccess::transferFromLeftToRight(p, 3);
    EXPECT_EQ(UnitsTestAccess::left(p), QString());
    EXPECT_EQ(UnitsTestAccess::right(p), q("0012345"));
    EXPECT_EQ(p.exponent(), 5);
    // Trailing zeros of the new right part go.
    RealStringParser r = UnitsTestAccess::fromParts(Real, false, q("500"), QString(), 0);
    UnitsTestAccess::transferFromLeftToRight(r, 2);
    EXPECT_EQ(UnitsTestAccess::left(r), q("5"));
    EXPECT_EQ(UnitsTestAccess::right(r), QString());
    EXPECT_EQ(r.exponent(), 2);
}

TEST(RealStringParser, TransferFromRightToLeftMultipliesTheMantissa) {
    RealStringParser p = UnitsTestAccess::fromParts(Real, false, q("1"), q("2345"), 0);
    UnitsTestAccess::transferFromRightToLeft(p, 2);
    EXPECT_EQ(UnitsTestAccess::left(p), q("123"));
    EXPECT_EQ(UnitsTestAccess::right(p), q("45"));
    EXPECT_EQ(p.exponent(), -2);
    // More digits than there are: zeros are appended.
    UnitsTestAccess::transferFromRightToLeft(p, 4);
    EXPECT_EQ(UnitsTestAccess::left(p), q("1234500"));
    EXPECT_EQ(UnitsTestAccess::right(p), QString());
    EXPECT_EQ(p.exponent(), -6);
    // Leading zeros of the new left part go.
    RealStringParser r = UnitsTestAccess::fromParts(Real, false, QString(), q("0042"), 0);
    UnitsTestAccess::transferFromRightToLeft(r, 3);
    EXPECT_EQ(UnitsTestAccess::left(r), q("4"));
    EXPECT_EQ(UnitsTestAccess::right(r), q("2"));
    EXPECT_EQ(r.exponent(), -3);
}

TEST(RealStringParser, DeleteLeadingZerosInRightAdjustsExponent) {
    RealStringParser p = UnitsTestAccess::fromParts(Real, false, QString(), q("00070"), 1);
    UnitsTestAccess::deleteLeadingZerosInRight(p);
    EXPECT_EQ(UnitsTestAccess::right(p), q("70"));
    EXPECT_EQ(p.exponent(), -2);
}

TEST(RealStringParser, AdjustExponentMovesDigitsKeepingTheValue) {
    RealStringParser p(q("4.7k"));
    UnitsTestAccess::adjustExponent(p, 0);
    EXPECT_EQ(UnitsTestAccess::left(p), q("4700"));
    EXPECT_EQ(UnitsTestAccess::right(p), QString());
    EXPECT_EQ(p.exponent(), 0);
    UnitsTestAccess::adjustExponent(p, 6);
    EXPECT_EQ(UnitsTestAccess::left(p), QString());
    EXPECT_EQ(UnitsTestAccess::right(p), q("0047"));
    EXPECT_EQ(p.exponent(), 6);
    UnitsTestAccess::adjustExponent(p, 6);
    EXPECT_EQ(UnitsTestAccess::right(p), q("0047"));
    UnitsTestAccess::normalize(p);
    EXPECT_EQ(p.value(Scientific), q("4.7e3"));
}

TEST(RealStringParser, ValueToRealRecomputesAndFailsBeyondDouble) {
    RealStringParser p = UnitsTestAccess::fromParts(Real, true, q("2"), q("5"), 3);
    UnitsTestAccess::valueToReal(p);
    EXPECT_EQ(p.state(), Real);
    EXPECT_EQ(p.valueAsReal(), -2500.0);

    RealStringParser huge = UnitsTestAccess::fromParts(Real, false, q("1"), QString(), 400);
    UnitsTestAccess::valueToReal(huge);
    EXPECT_EQ(huge.state(), Invalid);
    EXPECT_EQ(huge.valueAsReal(), 0.0);
}

TEST(RealStringParser, ClearResetsEveryField) {
    RealStringParser p(q("-4.7k"));
    UnitsTestAccess::clear(p);
    EXPECT_TRUE(UnitsTestAccess::equal(p, RealStringParser()));
}

TEST(RealStringParser, ValueAsDoubleConvertsAsQStringToDoubleDoes) {
    // Mantissas short and long (beyond what a double holds), exponents across and beyond
    // the range of a double (subnormals, overflow), both formats and shifted exponents.
    std::uint64_t state = 0x9e3779b97f4a7c15u;
    const auto next = [&state] {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    };
    int checked = 0;
    for (int i = 0; i < 20000; ++i) {
        QString text;
        if (next() % 3 == 0) {
            text += QLatin1Char('-');
        }
        const int digits = 1 + int(next() % (i % 5 == 0 ? 40 : 17));
        for (int d = 0; d < digits; ++d) {
            text += QLatin1Char(char('0' + next() % 10));
            if (d == 0 && next() % 2 == 0) {
                text += QLatin1Char('.');
            }
        }
        const int exponent = int(next() % 700) - 350;
        text += QLatin1Char('e') + QString::number(exponent);
        const RealStringParser parser(text);
        for (const auto format : {Scientific, Engineering}) {
            for (const int offset : {0, 3, -7}) {
                bool ok = false;
                bool expectedOk = false;
                const double value = UnitsTestAccess::valueAsDouble(parser, format, offset, &ok);
                const double expected = parser.value(format, offset).toDouble(&expectedOk);
                ASSERT_EQ(ok, expectedOk) << text.toStdString() << " " << offset;
                ASSERT_EQ(std::memcmp(&value, &expected, sizeof value), 0)
                    << text.toStdString() << " " << offset << ": " << value << " vs " << expected;
                ++checked;
            }
        }
    }
    EXPECT_EQ(checked, 120000);
}

// SPDX-License-Identifier: MIT
#include "units_test_access.h"

#include <orrery/units.h>

#include <gtest/gtest.h>

#include <QString>

#include <cstring>
#include <iterator>
#include <random>
#include <string>

using Orrery::RealString;
using Orrery::RealStringParser;
using Orrery::UnitsTestAccess;

namespace {

QString q(const char* text) {
    return QString::fromUtf8(text);
}

}  // namespace

TEST(RealString, ParserFieldsComeFirstInTheLayout) {
    const RealString r(q("4.7k"), q("Ohm"), q("MOhm"), true);
    const auto offsets = UnitsTestAccess::fieldOffsets(r);
    EXPECT_EQ(offsets.front(), 0);
    for (size_t i = 1; i < offsets.size(); ++i) {
        EXPECT_LT(offsets[i - 1], offsets[i]) << "field " << i;
    }
    // The first eight fields are the parser's, so its state sits at the very start.
    EXPECT_EQ(offsets[1], static_cast<std::ptrdiff_t>(sizeof(RealStringParser)));
    RealStringParser::State state;
    std::memcpy(&state, &r, sizeof(state));
    EXPECT_EQ(state, RealStringParser::Real);
    EXPECT_EQ(r.state(), RealStringParser::Real);
}

TEST(RealString, DefaultIsClearedWithTheTwoArgumentFlags) {
    const RealString r;
    EXPECT_EQ(r.state(), RealStringParser::Invalid);
    EXPECT_EQ(r.units(), QString());
    EXPECT_TRUE(UnitsTestAccess::desiredUnits(r).isEmpty());
    EXPECT_EQ(UnitsTestAccess::desiredUnits(r).conversionFactor(), 1.0);
    EXPECT_FALSE(UnitsTestAccess::desiredUnitsCanScale(r));
    EXPECT_TRUE(UnitsTestAccess::overrides(r));
    EXPECT_EQ(r.scaledValueWithUnits(6), QString());
    EXPECT_EQ(r.scaledUnits(), QString());
}

TEST(RealString, ConstructorsSetTheFlags) {
    const RealString two(q("1"), q("V"));
    EXPECT_FALSE(UnitsTestAccess::desiredUnitsCanScale(two));
    EXPECT_TRUE(UnitsTestAccess::overrides(two));
    EXPECT_TRUE(UnitsTestAccess::desiredUnits(two).isEmpty());
    EXPECT_EQ(two.units(), q("V"));
    EXPECT_EQ(UnitsTestAccess::value(two).originalValue(), q("1"));

    const RealString four(q("1"), q("V"), q("mV"), true);
    EXPECT_TRUE(UnitsTestAccess::desiredUnitsCanScale(four));
    EXPECT_TRUE(UnitsTestAccess::overrides(four));
    EXPECT_EQ(UnitsTestAccess::desiredUnits(four).exponent(), -3);
}

// ---- Display with the best prefix.

TEST(RealString, PlainValueGetsKiloPrefix) {
    const RealString r(q("4700"), q("Ohm"));
    EXPECT_EQ(r.scaledUnits(), q("kOhm"));
    EXPECT_EQ(r.scaledValue(6), q("4.7"));
    EXPECT_EQ(r.scaledValueWithUnits(6), q("4.7 kOhm"));
}

TEST(RealString, ValueScaleFactorOverridesUnitsPrefixWhenAsked) {
    RealString r(q("4.7k"), q("kOhm"));
    EXPECT_EQ(UnitsTestAccess::totalExponent(r, UnitsTestAccess::value(r)), 3);
    EXPECT_EQ(r.scaledValueWithUnits(6), q("4.7 kOhm"));
    r.setValueScaleFactorOverridesUnitsScaleFactor(false);
    EXPECT_EQ(UnitsTestAccess::totalExponent(r, UnitsTestAccess::value(r)), 6);
    EXPECT_EQ(r.scaledValueWithUnits(6), q("4.7 MOhm"));
}

TEST(RealString, UnscaledUnitsPrefixIsMultipliedIn) {
    const RealString r(q("4.7"), q("kOhm"));
    EXPECT_EQ(UnitsTestAccess::totalExponent(r, UnitsTestAccess::value(r)), 3);
    EXPECT_EQ(r.scaledValueWithUnits(6), q("4.7 kOhm"));
    EXPECT_EQ(r.unscaledValueWithoutUnits(6), q("4.7e3"));
}

TEST(RealString, BarePrefixUnitsShowAPrefixAlone) {
    const RealString r(q("0.015"), q("m"));
    EXPECT_EQ(UnitsTestAccess::totalExponent(r, UnitsTestAccess::value(r)), -5);
    EXPECT_EQ(r.scaledUnits(), q("u"));
    EXPECT_EQ(r.scaledValue(6), q("15"));
    EXPECT_EQ(r.scaledValueWithUnits(6), q("15 u"));

    EXPECT_EQ(RealString(q("4700"), q("k")).scaledValueWithUnits(6), q("4.7 M"));
}

TEST(RealString, CentiStaysWhenWrittenWithCenti) {
    const RealString r(q("1"), q("cm"));
    EXPECT_EQ(UnitsTestAccess::totalExponent(r, UnitsTestAccess::value(r)), -2);
    EXPECT_EQ(r.scaledValueWithUnits(6), q("1 cm"));
    EXPECT_EQ(r.unscaledValueWithoutUnits(6), q("0.01"));
    // Without centi in the units the same magnitude goes to milli.
    EXPECT_EQ(RealString(q("10"), q("mm")).scaledValueWithUnits(6), q("10 mm"));
    EXPECT_EQ(RealString(q("0.01"), q("V")).scaledValueWithUnits(6), q("10 mV"));
}

TEST(RealString, ConvertedToDesiredUnitsThatCannotScale) {
    const RealString r(q("10"), q("mil"), q("meter"), false);
    EXPECT_EQ(r.scaledUnits(), q("meter"));
    EXPECT_EQ(r.scaledValue(6), q("254e-6"));
    EXPECT_EQ(r.scaledValueWithUnits(6), q("254e-6 meter"));
    // Allowing a prefix changes nothing: "meter" cannot take one.
    EXPECT_EQ(RealString(q("10"), q("mil"), q("meter"), true).scaledValueWithUnits(6),
              q("254e-6 meter"));
}

TEST(RealString, InvalidValueIsShownAsTyped) {
    const RealString r(q("abc"), q("V"));
    EXPECT_EQ(r.state(), RealStringParser::Invalid);
    EXPECT_EQ(r.scaledValueWithUnits(6), q("abc V"));
    EXPECT_EQ(r.unscaledValueWithoutUnits(6), q("abc"));
    EXPECT_EQ(RealString(q("abc"), QString()).scaledValueWithUnits(6), q("abc"));
    const RealString empty(QString(), q("V"));
    EXPECT_EQ(empty.state(), RealStringParser::Empty);
    EXPECT_EQ(empty.scaledValueWithUnits(6), q(" V"));
}

TEST(RealString, ExponentBeyondTeraIsWrittenOut) {
    const RealString r(q("1e20"), q("Hz"));
    EXPECT_EQ(r.scaledUnits(), q("THz"));
    EXPECT_EQ(r.scaledValueWithUnits(6), q("100e6 THz"));
    EXPECT_EQ(r.unscaledValueWithoutUnits(6), q("100e18"));
    EXPECT_EQ(RealString(q("1e-25"), q("F")).scaledValueWithUnits(6), q("100e-9 aF"));
}

TEST(RealString, UnitsWithoutPrefixShowTheExponent) {
    EXPECT_EQ(RealString(q("4700"), QString()).scaledValueWithUnits(6), q("4.7e3"));
    EXPECT_EQ(RealString(q("4700"), q("dB")).scaledValueWithUnits(6), q("4.7e3 dB"));
    EXPECT_EQ(RealString(q("0.5"), q("dB")).scaledValueWithUnits(6), q("0.5 dB"));
}

// ---- Desired units.

TEST(RealString, DesiredUnitsWithTheSameFactorUseTheirPrefix) {
    EXPECT_EQ(RealString(q("4700"), q("Ohm"), q("kOhm"), false).scaledValueWithUnits(6),
              q("4.7 kOhm"));
    EXPECT_EQ(RealString(q("4700"), q("Ohm"), q("MOhm"), false).scaledValueWithUnits(6),
              q("0.0047 MOhm"));
    EXPECT_EQ(RealString(q("4700"), q("Ohm"), q("mOhm"), false).scaledValueWithUnits(6),
              q("4.7e6 mOhm"));
}

TEST(RealString, ScalingDesiredUnitsChooseTheBestPrefix) {
    const RealString r(q("4700"), q("Ohm"), q("Ohm"), true);
    EXPECT_EQ(UnitsTestAccess::exponentFromDesiredUnits(r, UnitsTestAccess::value(r)), 3);
    EXPECT_EQ(r.scaledUnits(), q("kOhm"));
    EXPECT_EQ(r.scaledValueWithUnits(6), q("4.7 kOhm"));
    EXPECT_EQ(RealString(q("0.0047"), q("kOhm"), q("MOhm"), true).scaledValueWithUnits(6),
              q("4.7 Ohm"));
    // Same factor, but the desired units take no prefix.
    const RealString metre(q("4700"), q("meter"), q("metre"), true);
    EXPECT_EQ(UnitsTestAccess::exponentFromDesiredUnits(metre, UnitsTestAccess::value(metre)), 0);
    EXPECT_EQ(metre.scaledValueWithUnits(6), q("4.7e3 metre"));
}

TEST(RealString, DesiredUnitsWithOtherFactorGoThroughADouble) {
    EXPECT_EQ(RealString(q("0.5"), q("in"), q("mil"), false).scaledValueWithUnits(6), q("500 mil"));
    EXPECT_EQ(RealString(q("1"), q("mi"), q("ft"), false).scaledValueWithUnits(6), q("5.28e3 ft"));
    // The precision only matters here, as significant digits of the double.
    EXPECT_EQ(RealString(q("1"), q("mi"), q("ft"), false).scaledValueWithUnits(2), q("5.3e3 ft"));
    EXPECT_EQ(RealString(q("1"), q("nmi"), q("meter"), false).scaledValue(3), q("1.85e3"));
    EXPECT_EQ(RealString(q("2"), q("%"), QString(), false).scaledValueWithUnits(6), q("2 %"));
}

TEST(RealString, ValueAsStringShowsTotalLessPrefixExponent) {
    const RealString r(q("4.7k"), q("Ohm"));
    const RealStringParser& value = UnitsTestAccess::value(r);
    EXPECT_EQ(UnitsTestAccess::valueAsString(r, value, 3), q("4.7"));
    EXPECT_EQ(UnitsTestAccess::valueAsString(r, value, 0), q("4.7e3"));
    EXPECT_EQ(UnitsTestAccess::valueAsString(r, value, 6), q("0.0047"));
}

// ---- Base units.

TEST(RealString, UnscaledValueIsInBaseUnits) {
    RealString r(q("4.7k"), q("kOhm"));
    EXPECT_EQ(r.unscaledValueWithoutUnits(6), q("4.7e3"));
    r.setValueScaleFactorOverridesUnitsScaleFactor(false);
    EXPECT_EQ(r.unscaledValueWithoutUnits(6), q("4.7e6"));
    EXPECT_EQ(RealString(q("10"), q("mil")).unscaledValueWithoutUnits(6), q("254e-6"));
    EXPECT_EQ(RealString(q("2"), q("mi")).unscaledValueWithoutUnits(6), q("3.21869e3"));
    EXPECT_EQ(RealString(q("2"), q("mi")).unscaledValueWithoutUnits(3), q("3.22e3"));
    EXPECT_EQ(RealString(q("-15"), q("pF")).unscaledValueWithoutUnits(6), q("-15e-12"));
}

TEST(RealString, UnscaledValueAsDoubleUsesSixDigits) {
    bool ok = false;
    EXPECT_EQ(RealString(q("2"), q("mi")).unscaledValueWithoutUnitsAsDouble(&ok), 3218.69);
    EXPECT_TRUE(ok);
    EXPECT_EQ(RealString(q("47"), q("pF")).unscaledValueWithoutUnitsAsDouble(&ok), 4.7e-11);
    EXPECT_TRUE(ok);
    EXPECT_EQ(RealString(q("abc"), q("V")).unscaledValueWithoutUnitsAsDouble(&ok), 0.0);
    EXPECT_FALSE(ok);
    EXPECT_EQ(RealString(QString(), q("V")).unscaledValueWithoutUnitsAsDouble(nullptr), 0.0);
}

// ---- Setters and copies.

TEST(RealString, SettersReplaceTheirPart) {
    RealString r;
    r.setValue(q("4.7k"));
    EXPECT_EQ(r.state(), RealStringParser::Real);
    r.setUnits(q("Ohm"));
    EXPECT_EQ(r.units(), q("Ohm"));
    EXPECT_EQ(r.scaledValueWithUnits(6), q("4.7 kOhm"));
    r.setDesiredUnits(q("MOhm"));
    EXPECT_EQ(r.scaledValueWithUnits(6), q("0.0047 MOhm"));
    r.setDesiredUnitsCanScale(true);
    EXPECT_EQ(r.scaledValueWithUnits(6), q("4.7 kOhm"));
    r.setDesiredUnits(QString());
    r.setUnits(q("kOhm"));
    r.setValueScaleFactorOverridesUnitsScaleFactor(false);
    EXPECT_EQ(r.scaledValueWithUnits(6), q("4.7 MOhm"));
    r.setValue(q("  abc "));
    EXPECT_EQ(r.state(), RealStringParser::Invalid);
    EXPECT_EQ(r.scaledValueWithUnits(6), q("  abc  kOhm"));
    r.setValue(q("1e999"));
    EXPECT_EQ(r.state(), RealStringParser::Invalid);
    r.setValue(q("5 k"));
    EXPECT_EQ(r.state(), RealStringParser::Invalid);
}

TEST(RealString, CopyAndMoveKeepEverything) {
    RealString original(q("4.7k"), q("kOhm"), q("Ohm"), true);
    original.setValueScaleFactorOverridesUnitsScaleFactor(false);
    const QString shown = original.scaledValueWithUnits(6);
    EXPECT_EQ(shown, q("4.7 MOhm"));
    RealString copy(original);
    EXPECT_EQ(copy.scaledValueWithUnits(6), shown);
    RealString moved(std::move(copy));
    EXPECT_EQ(moved.scaledValueWithUnits(6), shown);
    RealString assigned;
    assigned = original;
    EXPECT_EQ(assigned.scaledValueWithUnits(6), shown);
    EXPECT_EQ(assigned.units(), q("kOhm"));
    RealString moveAssigned;
    moveAssigned = std::move(assigned);
    EXPECT_EQ(moveAssigned.scaledValueWithUnits(6), shown);
}

// ---- Text to double.

struct AsRealRow {
    const char* text;
    double value;
    bool ok;
};

// A row prints as its text; printed as raw bytes, its padding would be read uninitialised.
void PrintTo(const AsRealRow& row, std::ostream* out) {
    *out << '"' << row.text << '"';
}

class RealStringAsReal : public ::testing::TestWithParam<AsRealRow> {};

TEST_P(RealStringAsReal, ConvertsToBaseUnits) {
    const AsRealRow row = GetParam();
    bool ok = !row.ok;
    EXPECT_EQ(RealString::asReal(q(row.text), &ok), row.value);
    EXPECT_EQ(ok, row.ok);
    EXPECT_EQ(RealString::asReal(q(row.text), nullptr), row.value);
}

INSTANTIATE_TEST_SUITE_P(
    Examples, RealStringAsReal,
    ::testing::Values(AsRealRow{"10 mil", 2.54e-4, true}, AsRealRow{"1.5 GHz", 1.5e9, true},
                      AsRealRow{"47 pF", 4.7e-11, true}, AsRealRow{"5%", 0.05, true},
                      AsRealRow{"3 dB", 3.0, true}, AsRealRow{"2 mi", 3218.69, true},
                      AsRealRow{"abc", 0.0, false}, AsRealRow{"5 m/s", 0.0, false},
                      AsRealRow{"1k kHz", 1e6, true}, AsRealRow{"4.7k", 4700.0, true},
                      AsRealRow{"-2.2 nF", -2.2e-9, true}, AsRealRow{"1 cm", 0.01, true},
                      AsRealRow{"1 mm", 1e-3, true}, AsRealRow{"10 in", 0.254, true},
                      AsRealRow{"5 _m", 5.0, true}, AsRealRow{"1 PHz", 1e15, true},
                      AsRealRow{"2.5u", 2.5e-6, true}, AsRealRow{"  7  ", 7.0, true},
                      AsRealRow{"", 0.0, false}, AsRealRow{"1e", 0.0, false},
                      AsRealRow{"1e999 V", 0.0, false}, AsRealRow{"1e308 mi", 0.0, false},
                      AsRealRow{"5 k", 5000.0, true}, AsRealRow{"5 Ohm 2", 0.0, false}));

// ---- asReal against the conversion spelled out step by step, on random texts.

namespace {

double stepwiseAsReal(const QString& text, bool* ok) {
    *ok = false;
    QString number;
    QString unitsText;
    if (!RealStringParser::parseNumberAndUnits(text, &number, &unitsText)) {
        return 0.0;
    }
    const RealStringParser value(number);
    const Orrery::UnitsParser units(unitsText);
    if (!value.isReal()) {
        return 0.0;
    }
    QString shown;
    if (units.conversionFactor() == 1.0) {
        shown = value.value(RealStringParser::Engineering, units.exponent());
    } else {
        const RealStringParser converted(
            QString::number(value.valueAsReal() * units.conversionFactor(), 'g', 6));
        if (!converted.isReal()) {
            return 0.0;
        }
        shown = converted.value(RealStringParser::Engineering, units.exponent());
    }
    return shown.toDouble(ok);
}

}  // namespace

TEST(RealStringProperty, AsRealMatchesTheStepwiseConversion) {
    std::mt19937 rng(0x5eed0101u);
    const auto pick = [&rng](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(rng);
    };
    static const char* const separators[] = {"", " ", "  ", "\t"};
    static const char* const units[] = {"",     "mil", "mils", "meter", "micron", "in",  "ft",
                                        "mi",   "nmi", "PHz",  "dB",    "%",      "GHz", "pF",
                                        "kOhm", "m",   "cm",   "mm",    "_m",     "Hz",  "k",
                                        "m/s",  "k-1", "uV",   "THz",   "aF",     "x"};
    int succeeded = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = pick(0, 3) == 0 ? "-" : "";
        for (int i = pick(0, 4); i > 0; --i) {
            text += static_cast<char>('0' + pick(0, 9));
        }
        if (pick(0, 1)) {
            text += '.';
            for (int i = pick(0, 4); i > 0; --i) {
                text += static_cast<char>('0' + pick(0, 9));
            }
        }
        if (pick(0, 1)) {
            text += "e" + std::to_string(pick(-330, 320));
        }
        if (pick(0, 3) == 0) {
            text += "afpnumc_kMGTP"[pick(0, 12)];
        }
        text += separators[pick(0, 3)];
        text += units[pick(0, static_cast<int>(std::size(units)) - 1)];
        const QString input = QString::fromStdString(text);

        bool expectedOk = false;
        const double expected = stepwiseAsReal(input, &expectedOk);
        bool ok = !expectedOk;
        const double actual = RealString::asReal(input, &ok);
        ASSERT_EQ(ok, expectedOk) << text;
        ASSERT_EQ(actual, expected) << text;
        succeeded += ok ? 1 : 0;
    }
    EXPECT_GT(succeeded, 5000);
}

// SPDX-License-Identifier: MIT
// Limits of the numbers with units: numbers of 100,000 digits and units strings of 1 MB.
#include <orrery/units.h>

#include "limits.h"

#include <gtest/gtest.h>

#include <cmath>

using Orrery::RealString;
using Orrery::RealStringParser;
using Orrery::UnitsParser;

namespace {

constexpr int kDigits = 100000;
constexpr int kMegabyte = 1 << 20;

constexpr auto Scientific = RealStringParser::Scientific;
constexpr auto Engineering = RealStringParser::Engineering;

// kDigits digits cycling through 1..9.
QString digits(int count) {
    QString text;
    text.reserve(count);
    for (int i = 0; i < count; ++i) {
        text += QLatin1Char(static_cast<char>('1' + i % 9));
    }
    return text;
}

}  // namespace

TEST(RealStringParserLimits, HundredThousandDigitFractionKeepsEveryDigit) {
    const QString fraction = digits(kDigits - 1);
    const RealStringParser p(QString(QStringLiteral("1.") + fraction));
    ASSERT_EQ(p.state(), RealStringParser::Real);
    EXPECT_EQ(p.value(Scientific), QString(QStringLiteral("1.") + fraction));
    EXPECT_EQ(p.exponent(), 0);
    EXPECT_DOUBLE_EQ(p.valueAsReal(), 1.123456789123456789);
    // Shown as for units with the prefix "k" (offset -3): the point moves, no digit is lost.
    EXPECT_EQ(p.value(Engineering, -3), QString(QStringLiteral("0.001") + fraction));
}

TEST(RealStringParserLimits, HundredThousandDigitIntegerIsBeyondADouble) {
    // Exactly kept as digits, but a double cannot hold 1e99999: the number is Invalid.
    const RealStringParser p(digits(kDigits));
    EXPECT_EQ(p.state(), RealStringParser::Invalid);
    EXPECT_EQ(p.valueAsReal(), 0.0);
    QString number;
    QString units;
    EXPECT_TRUE(RealStringParser::parseNumberAndUnits(
        QString(digits(kDigits) + QStringLiteral(" Hz")), &number, &units));
    EXPECT_EQ(number.size(), kDigits);
    EXPECT_EQ(units, QStringLiteral("Hz"));
    bool ok = true;
    EXPECT_EQ(RealString::asReal(QString(digits(kDigits) + QStringLiteral(" Hz")), &ok), 0.0);
    EXPECT_FALSE(ok);
}

TEST(RealStringParserLimits, HundredThousandDigitsThatFitADoubleConvert) {
    // 300 significant digits and then 99,700 zeros after the point: a double after all.
    const QString text =
        QString(digits(300) + QLatin1Char('.') + QString(kDigits - 300, QLatin1Char('0')));
    const RealStringParser p(text);
    ASSERT_EQ(p.state(), RealStringParser::Real);
    EXPECT_EQ(p.exponent(), 299);
    EXPECT_EQ(p.value(Scientific),
              QString(QStringLiteral("1.") + digits(300).mid(1) + QStringLiteral("e299")));
    EXPECT_NEAR(p.valueAsReal() / 1.234567891e299, 1.0, 1e-9);
    // A trailing "m" is a scale factor of 1e-3.
    bool ok = false;
    EXPECT_NEAR(RealString::asReal(QString(text + QStringLiteral("m")), &ok) / 1.234567891e296, 1.0,
                1e-9);
    EXPECT_TRUE(ok);
}

TEST(RealStringParserLimits, HundredThousandLeadingZerosAfterThePointUnderflow) {
    // 1e-100000 is below the smallest double: Invalid, like a number that is too large.
    const RealStringParser p(
        QString(QStringLiteral("0.") + QString(kDigits - 1, QLatin1Char('0')) + QLatin1Char('1')));
    EXPECT_EQ(p.state(), RealStringParser::Invalid);
    EXPECT_EQ(p.valueAsReal(), 0.0);
}

TEST(RealStringParserLimits, HundredThousandDigitExponents) {
    // An exponent beyond int is unusable; leading zeros keep a small one small.
    EXPECT_EQ(RealStringParser(QString(QStringLiteral("1e") + digits(kDigits))).state(),
              RealStringParser::Invalid);
    const RealStringParser small(
        QString(QStringLiteral("2.5e-") + QString(kDigits, QLatin1Char('0')) + QLatin1Char('3')));
    ASSERT_EQ(small.state(), RealStringParser::Real);
    EXPECT_EQ(small.exponent(), -3);
    EXPECT_DOUBLE_EQ(small.valueAsReal(), 2.5e-3);
}

TEST(UnitsParserLimits, MegabyteUnitsStringIsParsedWhole) {
    QString units = QStringLiteral("k");
    units.reserve(kMegabyte);
    while (units.size() < kMegabyte) {
        units += QStringLiteral("Ohm_9");
    }
    EXPECT_TRUE(UnitsParser::unitsAreValid(units));
    const UnitsParser parser(units);
    EXPECT_EQ(parser.exponent(), 3);
    EXPECT_EQ(parser.baseUnits(), units.mid(1));
    EXPECT_EQ(parser.unitsWithPrefix(6), QString(QLatin1Char('M') + units.mid(1)));

    // One character that is neither letter, digit nor "_" at the end makes it invalid.
    EXPECT_FALSE(UnitsParser::unitsAreValid(QString(units + QLatin1Char('/'))));

    bool ok = false;
    EXPECT_DOUBLE_EQ(RealString::asReal(QString(QStringLiteral("4.7 ") + units), &ok), 4700.0);
    EXPECT_TRUE(ok);
    const RealString value(QStringLiteral("4700"), units.mid(1));
    EXPECT_EQ(value.scaledValueWithUnits(6), QString(QStringLiteral("4.7 k") + units.mid(1)));
}

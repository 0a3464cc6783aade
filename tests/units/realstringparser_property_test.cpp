// SPDX-License-Identifier: MIT
// Randomised checks of RealStringParser with a fixed seed, so failures reproduce.
#include "units_test_access.h"

#include <orrery/units.h>

#include <gtest/gtest.h>

#include <QString>

#include <cstdlib>
#include <random>
#include <string>

using Orrery::RealStringParser;
using Orrery::UnitsTestAccess;

namespace {

constexpr auto Real = RealStringParser::Real;
constexpr auto Scientific = RealStringParser::Scientific;
constexpr auto Engineering = RealStringParser::Engineering;
constexpr int kRounds = 20000;

// A random number text with its expected normal form, worked out independently.
struct Sample {
    std::string text;
    bool negative = false;
    std::string left;
    std::string right;
    int exponent = 0;
};

class SampleMaker {
public:
    explicit SampleMaker(unsigned seed, int exponentRange = 250)
        : rng_(seed), exponentRange_(exponentRange) {}

    int uniform(int low, int high) { return std::uniform_int_distribution<int>(low, high)(rng_); }

    std::string digits(int count) {
        std::string out;
        // Zeros are frequent so that leading and trailing zeros get exercised.
        for (int i = 0; i < count; ++i) {
            out += uniform(0, 2) == 0 ? '0' : static_cast<char>('0' + uniform(0, 9));
        }
        return out;
    }

    Sample make() {
        Sample s;
        const int sign = uniform(0, 2);
        s.negative = sign == 2;
        std::string intPart = digits(uniform(0, 20));
        std::string fracPart = digits(uniform(0, 20));
        const bool point = !fracPart.empty() || uniform(0, 1) == 1;
        if (intPart.empty() && fracPart.empty()) {
            intPart = digits(1);
        }
        int exponent = 0;
        std::string exponentText;
        if (uniform(0, 3) != 0) {
            exponent = uniform(-exponentRange_, exponentRange_);
            exponentText = uniform(0, 1) ? "e" : "E";
            if (exponent < 0) {
                exponentText += '-';
            } else if (uniform(0, 1)) {
                exponentText += '+';
            }
            exponentText += std::string(static_cast<size_t>(uniform(0, 2)), '0');
            exponentText += std::to_string(std::abs(exponent));
        }
        std::string scaleText;
        if (uniform(0, 2) == 0) {
            static const char prefixes[] = "afpnumc_kMGT";
            const char c = prefixes[uniform(0, 11)];
            int scale = 0;
            UnitsParser_isPrefix(c, &scale);
            exponent += scale;
            scaleText = std::string(1, c);
        }
        s.text = std::string(sign == 0   ? ""
                             : sign == 1 ? "+"
                                         : "-") +
                 intPart + (point ? "." : "") + fracPart + exponentText + scaleText;
        if (uniform(0, 4) == 0) {
            s.text = " \t" + s.text + "  ";
        }

        // Expected normal form: first non-zero digit before the point, no trailing zeros.
        const std::string all = intPart + fracPart;
        const size_t first = all.find_first_not_of('0');
        if (first == std::string::npos) {
            s.exponent = 0;
            return s;
        }
        const size_t last = all.find_last_not_of('0');
        s.left = all.substr(first, 1);
        s.right = all.substr(first + 1, last - first);
        s.exponent = static_cast<int>(intPart.size()) - 1 - static_cast<int>(first) + exponent;
        return s;
    }

private:
    static void UnitsParser_isPrefix(char c, int* exponent) {
        Orrery::UnitsParser::isPrefix(c, exponent);
    }
    std::mt19937 rng_;
    int exponentRange_;
};

QString q(const std::string& text) {
    return QString::fromStdString(text);
}

// Characters before the point (or the exponent mark) of a formatted value, sign excluded.
int digitsBeforePoint(const QString& text) {
    int start = text.startsWith(QLatin1Char('-')) ? 1 : 0;
    int end = start;
    while (end < text.size() && text.at(end) != QLatin1Char('.') &&
           text.at(end) != QLatin1Char('e')) {
        ++end;
    }
    return end - start;
}

}  // namespace

TEST(RealStringParserProperty, NormalFormMatchesIndependentDigits) {
    SampleMaker maker(0x5eed0001u);
    for (int round = 0; round < kRounds; ++round) {
        const Sample s = maker.make();
        const RealStringParser p(q(s.text));
        ASSERT_EQ(p.state(), Real) << s.text;
        ASSERT_EQ(UnitsTestAccess::left(p), q(s.left)) << s.text;
        ASSERT_EQ(UnitsTestAccess::right(p), q(s.right)) << s.text;
        ASSERT_EQ(p.exponent(), s.exponent) << s.text;
        ASSERT_EQ(UnitsTestAccess::negative(p), s.negative) << s.text;
        ASSERT_TRUE(UnitsTestAccess::isNormalized(p)) << s.text;
    }
}

TEST(RealStringParserProperty, ScientificTextParsesBackToTheSameDigits) {
    SampleMaker maker(0x5eed0002u);
    for (int round = 0; round < kRounds; ++round) {
        const Sample s = maker.make();
        const RealStringParser p(q(s.text));
        ASSERT_EQ(p.state(), Real) << s.text;
        const QString scientific = p.value(Scientific);
        const RealStringParser back(scientific);
        ASSERT_EQ(back.state(), Real) << s.text;
        ASSERT_EQ(UnitsTestAccess::left(back), UnitsTestAccess::left(p)) << s.text;
        ASSERT_EQ(UnitsTestAccess::right(back), UnitsTestAccess::right(p)) << s.text;
        ASSERT_EQ(back.exponent(), p.exponent()) << s.text;
        ASSERT_EQ(back.value(Scientific), scientific) << s.text;
        ASSERT_EQ(back.valueAsReal(), p.valueAsReal()) << s.text;
        if (!s.left.empty()) {
            ASSERT_EQ(UnitsTestAccess::negative(back), s.negative) << s.text;
            ASSERT_EQ(digitsBeforePoint(scientific), 1) << scientific.toStdString();
        }
    }
}

TEST(RealStringParserProperty, ValueAsRealIsTheCorrectlyRoundedDouble) {
    SampleMaker maker(0x5eed0003u);
    for (int round = 0; round < kRounds; ++round) {
        const Sample s = maker.make();
        const RealStringParser p(q(s.text));
        ASSERT_EQ(p.state(), Real) << s.text;
        // The C library's conversion is correctly rounded too; our texts are plain ASCII.
        const std::string scientific = p.value(Scientific).toStdString();
        ASSERT_EQ(p.valueAsReal(), std::strtod(scientific.c_str(), nullptr)) << s.text;
    }
}

TEST(RealStringParserProperty, EngineeringHasOneToThreeDigitsBeforeThePoint) {
    SampleMaker maker(0x5eed0004u);
    for (int round = 0; round < kRounds; ++round) {
        const Sample s = maker.make();
        const RealStringParser p(q(s.text));
        ASSERT_EQ(p.state(), Real) << s.text;
        const int offset = maker.uniform(-40, 40);
        const QString text = p.value(Engineering, offset);
        const int before = digitsBeforePoint(text);
        ASSERT_GE(before, 1) << text.toStdString();
        ASSERT_LE(before, 3) << text.toStdString();
        const int mark = text.indexOf(QLatin1Char('e'));
        if (mark >= 0) {
            ASSERT_EQ(text.mid(mark + 1).toInt() % 3, 0) << text.toStdString();
        }
        // Same digits, shifted by the offset.
        const RealStringParser back(text);
        ASSERT_EQ(back.state(), Real) << text.toStdString();
        ASSERT_EQ(UnitsTestAccess::left(back), UnitsTestAccess::left(p)) << text.toStdString();
        ASSERT_EQ(UnitsTestAccess::right(back), UnitsTestAccess::right(p)) << text.toStdString();
        if (!s.left.empty()) {
            ASSERT_EQ(back.exponent(), p.exponent() + offset) << text.toStdString();
        }
    }
}

TEST(RealStringParserProperty, ConstructionEqualsTokenisingThenNormalising) {
    SampleMaker maker(0x5eed0005u);
    for (int round = 0; round < kRounds; ++round) {
        const Sample s = maker.make();
        const RealStringParser p(q(s.text));
        RealStringParser stepwise = UnitsTestAccess::tokenized(q(s.text));
        ASSERT_EQ(stepwise.state(), Real) << s.text;
        UnitsTestAccess::normalize(stepwise);
        ASSERT_EQ(UnitsTestAccess::left(stepwise), UnitsTestAccess::left(p)) << s.text;
        ASSERT_EQ(UnitsTestAccess::right(stepwise), UnitsTestAccess::right(p)) << s.text;
        ASSERT_EQ(stepwise.exponent(), p.exponent()) << s.text;
    }
}

TEST(RealStringParserProperty, StateAndDoubleFollowQStringToDoubleAtTheRangeLimits) {
    // Exponents up to 360 cross both ends of the double range (overflow, underflow).
    SampleMaker maker(0x5eed0007u, 360);
    int invalid = 0;
    for (int round = 0; round < kRounds; ++round) {
        const Sample s = maker.make();
        const RealStringParser p(q(s.text));
        RealStringParser reference = UnitsTestAccess::tokenized(q(s.text));
        ASSERT_EQ(reference.state(), Real) << s.text;
        UnitsTestAccess::normalize(reference);
        bool ok = false;
        const double expected = reference.value(Scientific).toDouble(&ok);
        ASSERT_EQ(p.state(), ok ? Real : RealStringParser::Invalid) << s.text;
        ASSERT_EQ(p.valueAsReal(), ok ? expected : 0.0) << s.text;
        invalid += ok ? 0 : 1;
    }
    // Both outcomes occur.
    EXPECT_GT(invalid, 0);
    EXPECT_LT(invalid, kRounds);
}

TEST(RealStringParserProperty, ArbitraryTextNeverBreaksTheInvariants) {
    std::mt19937 rng(0x5eed0006u);
    static const char alphabet[] = "0123456789..eE+-kmuPc_x %\t";
    std::uniform_int_distribution<int> length(0, 16);
    std::uniform_int_distribution<int> pick(0, static_cast<int>(sizeof(alphabet)) - 2);
    for (int round = 0; round < kRounds; ++round) {
        std::string text;
        const int n = length(rng);
        for (int i = 0; i < n; ++i) {
            text += alphabet[pick(rng)];
        }
        const RealStringParser p(q(text));
        QString number;
        QString units;
        const bool split = RealStringParser::parseNumberAndUnits(q(text), &number, &units);
        if (p.isReal()) {
            ASSERT_TRUE(UnitsTestAccess::isNormalized(p)) << text;
            ASSERT_TRUE(split) << text;
            ASSERT_TRUE(units.isEmpty()) << text;
            const RealStringParser back(p.value(Scientific));
            ASSERT_EQ(back.value(Scientific), p.value(Scientific)) << text;
            ASSERT_EQ(back.valueAsReal(), p.valueAsReal()) << text;
        } else {
            ASSERT_EQ(p.valueAsReal(), 0.0) << text;
        }
        if (split) {
            // The number part alone tokenises as a complete plain value.
            ASSERT_TRUE(UnitsTestAccess::tokenized(number).isReal()) << text;
        }
    }
}

// SPDX-License-Identifier: MIT
// `orrery units`: numbers with units through the tool.
#include "tooltest.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using OrreryToolTest::rejected;
using OrreryToolTest::succeeded;
using OrreryToolTest::ToolResult;

struct UnitsCase {
    const char* name;
    std::vector<const char*> arguments;
    const char* output;
};

void PrintTo(const UnitsCase& row, std::ostream* out) {
    *out << row.name;
}

class OrreryUnits : public OrreryToolTest::ToolTest,
                    public ::testing::WithParamInterface<UnitsCase> {};

TEST_P(OrreryUnits, ShowsScaledUnscaledAndReal) {
    QStringList arguments{QStringLiteral("units")};
    for (const char* argument : GetParam().arguments) {
        arguments << QString::fromUtf8(argument);
    }
    const ToolResult result = run(arguments);
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out, QString::fromUtf8(GetParam().output));
}

INSTANTIATE_TEST_SUITE_P(
    Values, OrreryUnits,
    ::testing::Values(
        UnitsCase{"Ohms", {"4700", "Ohm"}, "scaled:   4.7 kOhm\nunscaled: 4.7e3\nasReal:   4700\n"},
        UnitsCase{"MilsInOneArgument",
                  {"10 mil"},
                  "scaled:   10 mil\nunscaled: 254e-6\nasReal:   0.000254\n"},
        UnitsCase{"GigaHertz",
                  {"1.5", "GHz"},
                  "scaled:   1.5 GHz\nunscaled: 1.5e9\nasReal:   1500000000\n"},
        UnitsCase{"DesiredUnitsWithoutScaling",
                  {"10", "mil", "--to", "mm", "--no-scale"},
                  "scaled:   0.254 mm\nunscaled: 254e-6\nasReal:   0.000254\n"},
        UnitsCase{"DesiredUnitsScaled",
                  {"1.5", "GHz", "--to", "Hz"},
                  "scaled:   1.5 GHz\nunscaled: 1.5e9\nasReal:   1500000000\n"},
        UnitsCase{"NegativeAfterDoubleDash",
                  {"--", "-1.5m", "V"},
                  "scaled:   -1.5 mV\nunscaled: -0.0015\nasReal:   -0.0015\n"},
        UnitsCase{"ScaleSuffixWithoutUnits",
                  {"4.7k"},
                  "scaled:   4.7e3\nunscaled: 4.7e3\nasReal:   4700\n"},
        UnitsCase{
            "Picofarads", {"47 pF"}, "scaled:   47 pF\nunscaled: 47e-12\nasReal:   4.7e-11\n"}),
    [](const ::testing::TestParamInfo<UnitsCase>& info) { return std::string(info.param.name); });

class OrreryUnitsInput : public OrreryToolTest::ToolTest {};

TEST_F(OrreryUnitsInput, RejectsBadInputWithOneLine) {
    const QString units = QStringLiteral("units");
    EXPECT_TRUE(rejected(run({units, QStringLiteral("abc")}), units,
                         QStringLiteral("\"abc\" is not a number")));
    EXPECT_TRUE(rejected(run({units, QStringLiteral("10 mil"), QStringLiteral("V")}), units,
                         QStringLiteral("\"10 mil\" is not a number")));
    EXPECT_TRUE(rejected(run({units, QStringLiteral("4700"), QStringLiteral("m/s")}), units,
                         QStringLiteral("\"m/s\" are not valid units")));
    EXPECT_TRUE(rejected(run({units, QStringLiteral("5 m/s")}), units,
                         QStringLiteral("\"m/s\" are not valid units")));
    EXPECT_TRUE(rejected(run({units, QStringLiteral("1"), QStringLiteral("V"),
                              QStringLiteral("--to"), QStringLiteral("1x/")}),
                         units, QStringLiteral("\"1x/\" are not valid desired units")));
    EXPECT_TRUE(rejected(
        run({units, QStringLiteral("1"), QStringLiteral("--precision"), QStringLiteral("0")}),
        units, QStringLiteral("the precision must be a whole number from 1 to 17")));
    EXPECT_TRUE(rejected(run({units}), units,
                         QStringLiteral("missing arguments (usage: orrery units VALUE [UNITS])")));
    EXPECT_TRUE(
        rejected(run({units, QStringLiteral("1"), QStringLiteral("V"), QStringLiteral("x")}), units,
                 QStringLiteral("too many arguments")));
    EXPECT_TRUE(rejected(run({units, QStringLiteral("-1.5"), QStringLiteral("V")}), units,
                         QStringLiteral("Unknown options: 1, .")));
}

}  // namespace

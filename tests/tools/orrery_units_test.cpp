// SPDX-License-Identifier: MIT
// `orrery units`: numbers with units through the tool.
#include "tooltest.h"

#include <gtest/gtest.h>

namespace {

using OrreryToolTest::CommandCase;
using OrreryToolTest::rejected;
using OrreryToolTest::succeeded;
using OrreryToolTest::ToolResult;

class OrreryUnits : public OrreryToolTest::ToolTest,
                    public ::testing::WithParamInterface<CommandCase> {};

TEST_P(OrreryUnits, ShowsScaledUnscaledAndReal) {
    expectOutput(QStringLiteral("units"), GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Values, OrreryUnits,
    ::testing::Values(CommandCase{"Ohms",
                                  {"4700", "Ohm"},
                                  "scaled:   4.7 kOhm\nunscaled: 4.7e3\nasReal:   4700\n"},
                      CommandCase{"MilsInOneArgument",
                                  {"10 mil"},
                                  "scaled:   10 mil\nunscaled: 254e-6\nasReal:   0.000254\n"},
                      CommandCase{"GigaHertz",
                                  {"1.5", "GHz"},
                                  "scaled:   1.5 GHz\nunscaled: 1.5e9\nasReal:   1500000000\n"},
                      CommandCase{"DesiredUnitsWithoutScaling",
                                  {"10", "mil", "--to", "mm", "--no-scale"},
                                  "scaled:   0.254 mm\nunscaled: 254e-6\nasReal:   0.000254\n"},
                      CommandCase{"DesiredUnitsScaled",
                                  {"1.5", "GHz", "--to", "Hz"},
                                  "scaled:   1.5 GHz\nunscaled: 1.5e9\nasReal:   1500000000\n"},
                      CommandCase{"NegativeAfterDoubleDash",
                                  {"--", "-1.5m", "V"},
                                  "scaled:   -1.5 mV\nunscaled: -0.0015\nasReal:   -0.0015\n"},
                      CommandCase{"ScaleSuffixWithoutUnits",
                                  {"4.7k"},
                                  "scaled:   4.7e3\nunscaled: 4.7e3\nasReal:   4700\n"},
                      CommandCase{"Picofarads",
                                  {"47 pF"},
                                  "scaled:   47 pF\nunscaled: 47e-12\nasReal:   4.7e-11\n"}),
    [](const ::testing::TestParamInfo<CommandCase>& info) { return std::string(info.param.name); });

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

// SPDX-License-Identifier: MIT
// Limits of ExpandVars: values that refer to themselves, directly or through other
// variables, and values that multiply the text.
#include <orrery/components.h>

#include "expandvars_reference.h"
#include "limits.h"
#include "testutil.h"

#include <gtest/gtest.h>

using Orrery::ExpandVars;

namespace {

class ExpandVarsLimits : public OrreryTest::TempDirTest {
protected:
    void SetUp() override {
        OrreryTest::TempDirTest::SetUp();
        env().unset("VEXIL_REGISTRY_FILE");
    }
};

}  // namespace

TEST_F(ExpandVarsLimits, ValueThatIsItsOwnReferenceStaysAsItIs) {
    env().set("ORT_SELF", "$ORT_SELF");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_SELF")), QStringLiteral("$ORT_SELF"));
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_SELF $ORT_SELF")),
              QStringLiteral("$ORT_SELF $ORT_SELF"));
}

TEST_F(ExpandVarsLimits, ValueThatWrapsItsOwnReferenceFollowsTheStepRule) {
    // Every occurrence is replaced at once and the scan resumes after the inserted value,
    // so a copy that a value brought in further on is replaced again when the scan gets there.
    env().set("ORT_WRAP", "<$ORT_WRAP>");
    const QString text = QStringLiteral("x $ORT_WRAP y %ORT_WRAP% z");
    EXPECT_EQ(ExpandVars(text), OrreryTest::literalExpandVars(text).value());
    EXPECT_EQ(ExpandVars(QStringLiteral("$(ORT_WRAP)-${ORT_WRAP}")),
              OrreryTest::literalExpandVars(QStringLiteral("$(ORT_WRAP)-${ORT_WRAP}")).value());
}

TEST_F(ExpandVarsLimits, VariablesThatReferToEachOtherEnd) {
    env().set("ORT_PING", "$ORT_PONG$ORT_PONG");
    env().set("ORT_PONG", "$ORT_PING");
    const QString text = QStringLiteral("$ORT_PING $ORT_PING");
    const QString result = ExpandVars(text);
    const std::optional<QString> literal = OrreryTest::literalExpandVars(text, 100000, 1 << 22);
    if (literal) {
        EXPECT_EQ(result, *literal);
    } else {
        EXPECT_LE(result.size(), text.size() + (1 << 24));
    }
}

TEST_F(ExpandVarsLimits, LaterReferenceBroughtInByAValueIsStillExpanded) {
    // Text that a value brings in is replaced when the same reference comes later.
    env().set("ORT_FIRST", "[$ORT_SECOND]");
    env().set("ORT_SECOND", "two");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_FIRST $ORT_SECOND")), QStringLiteral("[two] two"));
}

TEST_F(ExpandVarsLimits, ValueThatDoublesItsOwnReferenceStopsAtTheSignLimit) {
    // Each step doubles the copies; the expansion stops before the values have brought in
    // more than 2^19 '$' and returns the text as it stands then: 2^18 copies of the
    // reference, 2^19 - 4 brought in.
    env().set("ORT_TWICE", "$ORT_TWICE$ORT_TWICE");
    const QString text = QStringLiteral("$ORT_TWICE $ORT_TWICE");
    const QString result = ExpandVars(text);
    EXPECT_EQ(result.count(QLatin1Char('$')), 1 << 18);
    EXPECT_EQ(result.size(), (1 << 18) * 10 + 1);
}

TEST_F(ExpandVarsLimits, ValueThatAddsTextAndItsReferenceStopsAtTheGrowthLimit) {
#ifndef _WIN32
    // Each step replaces the two copies, each of which brings 100,000 characters and the
    // reference back, 200,002 characters a step: 83 steps fit into 2^24 added characters,
    // the 84th would not.
    constexpr int kLength = 100000;
    constexpr int kSteps = 83;
#else
    // A Windows environment value holds at most 32,767 characters: with 30,000 a step adds
    // 60,002 characters, and 279 steps fit into 2^24, the 280th would not.
    constexpr int kLength = 30000;
    constexpr int kSteps = 279;
#endif
    env().set("ORT_LONG", std::string(kLength, 'x') + "-$ORT_LONG");
    const QString text = QStringLiteral("$ORT_LONG $ORT_LONG");
    const QString result = ExpandVars(text);
    EXPECT_EQ(result.size(), text.size() + kSteps * 2 * (kLength + 1));
    EXPECT_EQ(result.count(QLatin1Char('$')), 2);
}

TEST_F(ExpandVarsLimits, DoublingChainStopsAtTheSignLimit) {
    // Twenty-six variables, each the next one twice: each step doubles the text, which
    // would reach 2^26 copies; the expansion stops before the values bring in more than
    // 2^19 '$', and leaves the remaining references as they are.
    QString text;
    for (char c = 'A'; c <= 'Z'; ++c) {
        const std::string name = std::string("ORT_CHAIN_") + c;
        const std::string next = std::string("$ORT_CHAIN_") + static_cast<char>(c + 1);
        env().set(name, c == 'Z' ? std::string("leaf") : next + next);
        text += QString(QStringLiteral(" $") + QString::fromStdString(name));
    }
    const QString result = ExpandVars(text);
    EXPECT_LE(result.count(QLatin1Char('$')), 26 + (1 << 19));
    EXPECT_GT(result.count(QLatin1Char('$')), 1 << 17);
    EXPECT_FALSE(result.contains(QStringLiteral("leaf")));
    EXPECT_TRUE(result.endsWith(QStringLiteral(" $ORT_CHAIN_Z")));
}

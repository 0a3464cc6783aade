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

TEST_F(ExpandVarsLimits, ValueThatDoublesItsOwnReferenceStopsAtTheExpansionLimit) {
    // Each later copy doubles the text; the expansion stops before adding more than 2^24
    // characters and returns the text as it stands then.
    env().set("ORT_TWICE", "$ORT_TWICE$ORT_TWICE");
    const QString text = QStringLiteral("$ORT_TWICE $ORT_TWICE");
    const QString result = ExpandVars(text);
    EXPECT_LE(result.size(), text.size() + (1 << 24));
    EXPECT_GT(result.size(), 1 << 23);
}

TEST_F(ExpandVarsLimits, GrowthStopsAtTheExpansionLimit) {
    // Twenty-six variables, each the next one twice: each step doubles the text, which
    // would reach 2^26 copies; the expansion stops before it adds more than 2^24
    // characters, and leaves the remaining references as they are.
    QString text;
    for (char c = 'A'; c <= 'Z'; ++c) {
        const std::string name = std::string("ORT_CHAIN_") + c;
        const std::string next = std::string("$ORT_CHAIN_") + static_cast<char>(c + 1);
        env().set(name, c == 'Z' ? std::string("leaf") : next + next);
        text += QString(QStringLiteral(" $") + QString::fromStdString(name));
    }
    const QString result = ExpandVars(text);
    EXPECT_LE(result.size(), text.size() + (1 << 24));
    EXPECT_GT(result.size(), 1 << 23);
    EXPECT_FALSE(result.contains(QStringLiteral("leaf")));
    EXPECT_TRUE(result.endsWith(QStringLiteral(" $ORT_CHAIN_Z")));
}

// SPDX-License-Identifier: MIT
// Limits of ExpandVars: values that refer to themselves, directly or through other
// variables, and values that multiply the text.
#include <orrery/components.h>

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

TEST_F(ExpandVarsLimits, ValueThatDoublesItsOwnReferenceIsExpandedOnce) {
    // Every occurrence is replaced at once, and the copies brought in are not expanded
    // again: without that, each later copy would double the text without end.
    env().set("ORT_TWICE", "$ORT_TWICE$ORT_TWICE");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_TWICE $ORT_TWICE")),
              QStringLiteral("$ORT_TWICE$ORT_TWICE $ORT_TWICE$ORT_TWICE"));
}

TEST_F(ExpandVarsLimits, ValueThatWrapsItsOwnReferenceIsExpandedOnce) {
    env().set("ORT_WRAP", "<$ORT_WRAP>");
    EXPECT_EQ(ExpandVars(QStringLiteral("x $ORT_WRAP y %ORT_WRAP% z")),
              QStringLiteral("x <$ORT_WRAP> y <$ORT_WRAP> z"));
    // A reference in another form is another text, expanded in its turn; the values
    // inserted are not scanned again.
    EXPECT_EQ(ExpandVars(QStringLiteral("$(ORT_WRAP)-${ORT_WRAP}")),
              QStringLiteral("<$ORT_WRAP>-<$ORT_WRAP>"));
}

TEST_F(ExpandVarsLimits, VariablesThatReferToEachOtherAreEachExpandedOnce) {
    env().set("ORT_PING", "$ORT_PONG$ORT_PONG");
    env().set("ORT_PONG", "$ORT_PING");
    // "$ORT_PING" is replaced, then "$ORT_PONG" (brought in by it); the "$ORT_PING" texts
    // that this brings back are left as they are.
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_PING $ORT_PING")),
              QStringLiteral("$ORT_PING$ORT_PING $ORT_PING$ORT_PING"));
}

TEST_F(ExpandVarsLimits, LaterReferenceBroughtInByAValueIsStillExpanded) {
    // Text that a value brings in is replaced when the same reference comes later.
    env().set("ORT_FIRST", "[$ORT_SECOND]");
    env().set("ORT_SECOND", "two");
    EXPECT_EQ(ExpandVars(QStringLiteral("$ORT_FIRST $ORT_SECOND")), QStringLiteral("[two] two"));
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

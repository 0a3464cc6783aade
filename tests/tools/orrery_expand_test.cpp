// SPDX-License-Identifier: MIT
// `orrery expand`: variable references through the tool.
#include "tooltest.h"

#include <gtest/gtest.h>

#include <QFile>

namespace {

using OrreryToolTest::rejected;
using OrreryToolTest::succeeded;
using OrreryToolTest::ToolResult;

class OrreryExpand : public OrreryToolTest::ToolTest {};

TEST_F(OrreryExpand, ExpandsEveryReferenceStyle) {
    environment.insert(QStringLiteral("ORRERY_X"), QStringLiteral("/opt/x"));
    for (const char* text : {"%ORRERY_X%/bin", "%ORRERY_X/bin", "$ORRERY_X/bin", "$(ORRERY_X)/bin",
                             "%(ORRERY_X)/bin", "${ORRERY_X}/bin", "%{ORRERY_X}/bin"}) {
        const ToolResult result = run({QStringLiteral("expand"), QString::fromLatin1(text)});
        ASSERT_TRUE(succeeded(result));
        EXPECT_EQ(result.out, QStringLiteral("/opt/x/bin\n")) << text;
    }
}

TEST_F(OrreryExpand, DropsUnknownVariablesAndKeepsOtherText) {
    const ToolResult result =
        run({QStringLiteral("expand"), QStringLiteral("$ORRERY_UNSET/bin %% $ ü")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out, QStringLiteral("/bin %% $ ü\n"));
}

TEST_F(OrreryExpand, FallsBackToTheRegistry) {
    const QString registry = path(QStringLiteral("registry.ini"));
    QFile file(registry);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[Environment]\nORRERY_FROM_REGISTRY=stored\n");
    file.close();
    environment.insert(QStringLiteral("VEXIL_REGISTRY_FILE"), registry);
    const ToolResult result =
        run({QStringLiteral("expand"), QStringLiteral("[${ORRERY_FROM_REGISTRY}]")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out, QStringLiteral("[stored]\n"));
}

TEST_F(OrreryExpand, RejectsBadInputWithOneLine) {
    const QString expand = QStringLiteral("expand");
    EXPECT_TRUE(rejected(run({expand}), expand, QStringLiteral("missing arguments")));
    EXPECT_TRUE(rejected(run({expand, QStringLiteral("a"), QStringLiteral("b")}), expand,
                         QStringLiteral("too many arguments (usage: orrery expand TEXT)")));
}

}  // namespace

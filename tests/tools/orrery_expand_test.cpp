// SPDX-License-Identifier: MIT
// `orrery expand`: variable references through the tool.
#include "tooltest.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QSettings>

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

#ifndef _WIN32
// VEXIL_REGISTRY_FILE stands in for the registry on POSIX hosts only.
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
#else
TEST_F(OrreryExpand, FallsBackToTheRegistry) {
    // A value of its own name in the user's Environment key, removed again at the end.
    const QString name = QStringLiteral("ORRERY_TOOLS_EXPAND_FROM_REGISTRY");
    QSettings key(QStringLiteral("HKEY_CURRENT_USER\\Software\\Tolmarsk\\Vexil\\Environment"),
                  QSettings::NativeFormat);
    key.setValue(name, QStringLiteral("stored"));
    key.sync();
    ASSERT_EQ(key.status(), QSettings::NoError);
    const ToolResult result = run(
        {QStringLiteral("expand"), QString(QStringLiteral("[${") + name + QStringLiteral("}]"))});
    key.remove(name);
    key.sync();
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out, QStringLiteral("[stored]\n"));
}
#endif

TEST_F(OrreryExpand, RejectsBadInputWithOneLine) {
    const QString expand = QStringLiteral("expand");
    EXPECT_TRUE(rejected(run({expand}), expand, QStringLiteral("missing arguments")));
    EXPECT_TRUE(rejected(run({expand, QStringLiteral("a"), QStringLiteral("b")}), expand,
                         QStringLiteral("too many arguments (usage: orrery expand TEXT)")));
}

}  // namespace

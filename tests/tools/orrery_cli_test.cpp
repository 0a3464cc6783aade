// SPDX-License-Identifier: MIT
// The orrery tool as a whole: help, version, unknown commands, and --help of every command.
#include "tooltest.h"

#include <orrery/version.h>

#include <gtest/gtest.h>

namespace {

using OrreryToolTest::succeeded;
using OrreryToolTest::ToolResult;

class OrreryTool : public OrreryToolTest::ToolTest {};

TEST_F(OrreryTool, ListsItsCommandsWithHelp) {
    const ToolResult result = run({QStringLiteral("--help")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(result.out.startsWith(QStringLiteral("Usage: orrery [options] COMMAND")))
        << result.out.toStdString();
    for (const char* command :
         {"demo", "units", "path", "expand", "component", "xml", "tree", "env"}) {
        EXPECT_TRUE(result.out.contains(QStringLiteral("\n  %1 ").arg(QLatin1String(command))))
            << command;
    }
}

TEST_F(OrreryTool, PrintsItsVersion) {
    const ToolResult result = run({QStringLiteral("--version")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out, QStringLiteral("orrery %1\n").arg(QLatin1String(ORRERY_VERSION_STRING)));
}

TEST_F(OrreryTool, RejectsAMissingOrUnknownCommandWithOneLine) {
    const ToolResult none = run({});
    EXPECT_EQ(none.exitCode, 1);
    EXPECT_EQ(none.err,
              QStringLiteral("orrery: no command given; run \"orrery --help\" for the list\n"));
    const ToolResult unknown = run({QStringLiteral("launch")});
    EXPECT_EQ(unknown.exitCode, 1);
    EXPECT_EQ(
        unknown.err,
        QStringLiteral("orrery: unknown command \"launch\"; run \"orrery --help\" for the list\n"));
    EXPECT_TRUE(unknown.out.isEmpty());
    const ToolResult option = run({QStringLiteral("--frobnicate")});
    EXPECT_EQ(option.exitCode, 1);
    EXPECT_EQ(option.err, QStringLiteral("orrery: Unknown option 'frobnicate'.\n"));
}

class OrreryCommandHelp : public OrreryToolTest::ToolTest,
                          public ::testing::WithParamInterface<const char*> {};

TEST_P(OrreryCommandHelp, ShowsUsageAndExitsWithZero) {
    const QStringList command = QString::fromLatin1(GetParam()).split(QLatin1Char(' '));
    const ToolResult result = run(QStringList(command) << QStringLiteral("--help"));
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(result.out.startsWith(QString(QStringLiteral("Usage: orrery ") +
                                              QString::fromLatin1(GetParam()) + QLatin1Char(' '))))
        << result.out.toStdString();
    EXPECT_TRUE(result.out.contains(QStringLiteral("-h, --help")));
}

INSTANTIATE_TEST_SUITE_P(Commands, OrreryCommandHelp,
                         ::testing::Values("demo", "units", "path", "path normalize",
                                           "path relative", "path full", "path physical",
                                           "path extension", "path compare", "expand", "component",
                                           "component locate", "component get", "component set",
                                           "component remove", "xml", "xml check", "xml format",
                                           "tree", "env"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                             std::string name = info.param;
                             for (char& c : name) {
                                 if (c == ' ') {
                                     c = '_';
                                 }
                             }
                             return name;
                         });

}  // namespace

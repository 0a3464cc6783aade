// SPDX-License-Identifier: MIT
// `orrery path`: the file-name operations through the tool.
#include "tooltest.h"

#include <gtest/gtest.h>

#include <QDir>

namespace {

using OrreryToolTest::CommandCase;
using OrreryToolTest::rejected;
using OrreryToolTest::succeeded;
using OrreryToolTest::ToolResult;

class OrreryPath : public OrreryToolTest::ToolTest,
                   public ::testing::WithParamInterface<CommandCase> {};

TEST_P(OrreryPath, PrintsTheResult) {
    expectOutput(QStringLiteral("path"), GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Actions, OrreryPath,
    ::testing::Values(
        CommandCase{"Normalize",
                    {"normalize", "C:/a/./b/../c", "\\\\server\\share\\x\\..", "a/b/"},
                    "C:\\a\\c\n\\\\server\\share\na\\b\n"},
        CommandCase{
            "NormalizeForward", {"normalize", "--forward-slashes", "C:\\a\\..\\b"}, "C:/b\n"},
        CommandCase{"NormalizeNonAscii", {"normalize", "C:/Dätén/./ü"}, "C:\\Dätén\\ü\n"},
        CommandCase{"RelativeDescendant", {"relative", "C:\\a\\b\\c", "C:\\a"}, "b\\c\n"},
        CommandCase{"RelativeAncestor", {"relative", "C:\\a", "C:\\a\\b\\c"}, "..\\..\n"},
        CommandCase{"RelativeSame", {"relative", "C:\\a", "c:/A"}, "\n"},
        CommandCase{"FullKeepsAbsolute", {"full", "C:/x/y"}, "C:\\x\\y\n"},
        CommandCase{"Extension", {"extension", "dir.d/name.tar.gz"}, ".gz\n"},
        CommandCase{"NoExtension", {"extension", "dir.d/name"}, "\n"},
        CommandCase{
            "SetExtension", {"extension", "C:/d/name.txt", "--set", "md"}, "C:/d\\name.md\n"},
        CommandCase{"StripExtension", {"extension", "name.txt", "--strip"}, "name\n"},
        CommandCase{
            "CompareEqual",
            {"compare", "C:\\Data\\X", "c:\\data\\x"},
            "compare_filenames:    0\nequal_filenames:      yes\nstarts_with_filename: yes\n"
            "is_same_pathname:     yes\n"},
        CommandCase{
            "CompareSeparatorsDiffer",
            {"compare", "a/b", "a\\b"},
            "compare_filenames:    -45\nequal_filenames:      no\nstarts_with_filename: no\n"
            "is_same_pathname:     yes\n"}),
    [](const ::testing::TestParamInfo<CommandCase>& info) { return std::string(info.param.name); });

class OrreryPathFiles : public OrreryToolTest::ToolTest {};

TEST_F(OrreryPathFiles, MakesNamesFullAndPhysicalAgainstTheFileSystem) {
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("work/sub")));
    const QString work = path(QStringLiteral("work"));
    const ToolResult full =
        run({QStringLiteral("path"), QStringLiteral("full"), QStringLiteral("sub/../f.txt")}, work);
    ASSERT_TRUE(succeeded(full));
    EXPECT_EQ(full.out, QString(QString(work).replace(QLatin1Char('/'), QLatin1Char('\\')) +
                                QStringLiteral("\\f.txt\n")));
    const ToolResult physical = run({QStringLiteral("path"), QStringLiteral("physical"),
                                     QString(work + QStringLiteral("/sub/f.txt"))});
    ASSERT_TRUE(succeeded(physical));
    // The directory is spelled as the operating system spells it, the leaf as given.
#ifdef _WIN32
    EXPECT_EQ(physical.out,
              QString(QDir::toNativeSeparators(work) + QStringLiteral("\\sub\\f.txt\n")));
#else
    EXPECT_EQ(physical.out, QString(work + QStringLiteral("/sub\\f.txt\n")));
#endif
}

TEST_F(OrreryPathFiles, RejectsBadInputWithOneLine) {
    const QString path = QStringLiteral("path");
    EXPECT_TRUE(rejected(run({path}), path, QStringLiteral("no action given")));
    EXPECT_TRUE(rejected(run({path, QStringLiteral("shorten")}), path,
                         QStringLiteral("unknown action \"shorten\"")));
    EXPECT_TRUE(
        rejected(run({path, QStringLiteral("normalize")}), QStringLiteral("path normalize"),
                 QStringLiteral("missing arguments (usage: orrery path normalize PATH...)")));
    EXPECT_TRUE(rejected(run({path, QStringLiteral("relative"), QStringLiteral("C:\\a")}),
                         QStringLiteral("path relative"), QStringLiteral("missing arguments")));
    EXPECT_TRUE(rejected(
        run({path, QStringLiteral("relative"), QStringLiteral("C:\\a"), QStringLiteral("D:\\b")}),
        QStringLiteral("path relative"),
        QStringLiteral("\"C:\\a\" and \"D:\\b\" have no common root")));
    EXPECT_TRUE(rejected(run({path, QStringLiteral("physical"), QStringLiteral("/no/such/dir/f")}),
                         QStringLiteral("path physical"), QStringLiteral("does not exist")));
    EXPECT_TRUE(
        rejected(run({path, QStringLiteral("extension"), QStringLiteral("a.txt"),
                      QStringLiteral("--strip"), QStringLiteral("--set"), QStringLiteral("x")}),
                 QStringLiteral("path extension"), QStringLiteral("cannot be used together")));
    EXPECT_TRUE(rejected(run({path, QStringLiteral("extension"), QStringLiteral("dir/.."),
                              QStringLiteral("--set"), QStringLiteral("x")}),
                         QStringLiteral("path extension"),
                         QStringLiteral("has no name to put an extension on")));
    EXPECT_TRUE(rejected(run({path, QStringLiteral("compare"), QStringLiteral("a"),
                              QStringLiteral("b"), QStringLiteral("c")}),
                         QStringLiteral("path compare"), QStringLiteral("too many arguments")));
    EXPECT_TRUE(rejected(run({path, QStringLiteral("full"), QStringLiteral("--x")}),
                         QStringLiteral("path full"), QStringLiteral("Unknown option 'x'")));
}

}  // namespace

// SPDX-License-Identifier: MIT
// `orrery xml`: checking and formatting XML documents through the tool.
#include "tooltest.h"

#include <gtest/gtest.h>

#include <QFile>

namespace {

using OrreryToolTest::exampleInstallation;
using OrreryToolTest::rejected;
using OrreryToolTest::succeeded;
using OrreryToolTest::ToolResult;

class OrreryXml : public OrreryToolTest::ToolTest {
protected:
    QString write(const QString& name, const QByteArray& bytes) {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return path(name);
    }
    static QByteArray readAll(const QString& name) {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

TEST_F(OrreryXml, ChecksAWellFormedDocument) {
    const QString design =
        QString(exampleInstallation() + QStringLiteral("/designs/frontend.oxml"));
    const ToolResult result = run({QStringLiteral("xml"), QStringLiteral("check"), design});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out,
              QString(design + QStringLiteral(
                                   ": well-formed, root <PropertyFile>, 32 elements, depth 4\n")));
    const QString one = write(QStringLiteral("one.xml"), "<only/>");
    EXPECT_EQ(run({QStringLiteral("xml"), QStringLiteral("check"), one}).out,
              QString(one + QStringLiteral(": well-formed, root <only>, 1 element, depth 1\n")));
}

TEST_F(OrreryXml, ReportsTheLineAndColumnOfMalformedXml) {
    const QString bad = write(QStringLiteral("bad.xml"), "<a>\n  <b>\n</a>\n");
    EXPECT_TRUE(rejected(run({QStringLiteral("xml"), QStringLiteral("check"), bad}),
                         QStringLiteral("xml check"), QString(bad + QStringLiteral(":3:"))));
    EXPECT_TRUE(rejected(run({QStringLiteral("xml"), QStringLiteral("format"), bad}),
                         QStringLiteral("xml format"), QStringLiteral("malformed XML")));
}

TEST_F(OrreryXml, FormatsAsTheLibraryWritesXml) {
    const QString messy = write(QStringLiteral("messy.xml"),
                                "<?xml version=\"1.0\"?>\n<!-- dropped -->\n<a z=\"1\" b=\"2\">"
                                "<!-- inner --><b/><c>text</c><?pi x?></a>");
    const QByteArray expected =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a b=\"2\" z=\"1\">\n    <b></b>\n"
        "    <c>text</c></a>\n";
    const ToolResult result = run({QStringLiteral("xml"), QStringLiteral("format"), messy});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out.toUtf8(), expected);
    const QString out = path(QStringLiteral("out.xml"));
    ASSERT_TRUE(succeeded(
        run({QStringLiteral("xml"), QStringLiteral("format"), messy, QStringLiteral("-o"), out})));
    // Written in text mode, as the library writes XML files.
    EXPECT_EQ(readAll(out), OrreryToolTest::textModeFile(expected));
}

TEST_F(OrreryXml, RejectsBadInputWithOneLine) {
    EXPECT_TRUE(rejected(run({QStringLiteral("xml")}), QStringLiteral("xml"),
                         QStringLiteral("no action given")));
    EXPECT_TRUE(rejected(run({QStringLiteral("xml"), QStringLiteral("lint"), QStringLiteral("x")}),
                         QStringLiteral("xml"), QStringLiteral("unknown action \"lint\"")));
    EXPECT_TRUE(rejected(run({QStringLiteral("xml"), QStringLiteral("check")}),
                         QStringLiteral("xml check"), QStringLiteral("missing arguments")));
    EXPECT_TRUE(rejected(
        run({QStringLiteral("xml"), QStringLiteral("check"), path(QStringLiteral("no.xml"))}),
        QStringLiteral("xml check"), QStringLiteral("is not a file")));
    EXPECT_TRUE(rejected(run({QStringLiteral("xml"), QStringLiteral("check"), path()}),
                         QStringLiteral("xml check"), QStringLiteral("is not a file")));
    const QString good = write(QStringLiteral("good.xml"), "<a/>");
    EXPECT_TRUE(rejected(run({QStringLiteral("xml"), QStringLiteral("format"), good,
                              QStringLiteral("-o"), path(QStringLiteral("missing/dir/out.xml"))}),
                         QStringLiteral("xml format"), QStringLiteral("cannot write")));
}

}  // namespace

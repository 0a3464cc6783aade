// SPDX-License-Identifier: MIT
// `orrery tree`: the property tree of a design file through the tool.
#include "tooltest.h"

#include <gtest/gtest.h>

#include <QFile>

namespace {

using OrreryToolTest::exampleInstallation;
using OrreryToolTest::lines;
using OrreryToolTest::rejected;
using OrreryToolTest::succeeded;
using OrreryToolTest::ToolResult;

class OrreryTree : public OrreryToolTest::ToolTest {
protected:
    QString design() const {
        return QString(exampleInstallation() + QStringLiteral("/designs/frontend.oxml"));
    }
    QString write(const QString& name, const QByteArray& bytes) {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return path(name);
    }
};

TEST_F(OrreryTree, PrintsTypesValuesAndScaledUnitsIndented) {
    environment.insert(QStringLiteral("KORVANE_DIR"), exampleInstallation());
    const ToolResult result = run({QStringLiteral("tree"), design()});
    ASSERT_TRUE(succeeded(result));
    const QStringList tree = lines(result.out);
    ASSERT_FALSE(tree.isEmpty());
    EXPECT_EQ(tree.constFirst(), QStringLiteral("Root (PropObj)"));
    for (const char* line : {
             "  Board (PropObj)",
             "    LossTangent (Prop double) = 0.0037",
             "    TraceWidth (Quantity) = 10 mil",
             "      Units (Prop string) = \"mil\"",
             "    Frequency (Quantity) = 1.5 GHz",
             "    Jitter (Quantity) = 350 fs",
             "    Layers (Prop string[4]) = [\"Top\", \"Ground\", \"Power\", \"Bottom\"]",
             "    Released (Prop bool) = false",
             "    Revision (Prop int32) = 3",
             "    ClockSource (PropRef) -> ../../Clock/Frequency: /Clock/Frequency (Quantity) = "
             "1.5 GHz",
             "    R1 (PropRef) -> /Resistors/R4K7 in $(KORVANE_DIR)/designs/library.oxml "
             "[XmlPropertyFile]: /Resistors/R4K7 (PropObj)",
             "    C1 (PropRef) -> /Capacitors/C10P in $(KORVANE_DIR)/designs/library.oxml "
             "[XmlPropertyFile]: /Capacitors/C10P (PropObj)",
         }) {
        EXPECT_TRUE(tree.contains(QString::fromUtf8(line))) << line << "\n"
                                                            << result.out.toStdString();
    }
    EXPECT_EQ(tree.size(), 28);
}

TEST_F(OrreryTree, TellsWhyAnExternalReferenceLeadsNowhere) {
    const ToolResult result = run({QStringLiteral("tree"), design()});
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(result.out.contains(QStringLiteral(
        "R1 (PropRef) -> /Resistors/R4K7 in $(KORVANE_DIR)/designs/library.oxml [XmlPropertyFile]: "
        "not found (/designs/library.oxml: cannot open the file")))
        << result.out.toStdString();
    const ToolResult unfollowed =
        run({QStringLiteral("tree"), QStringLiteral("--no-follow"), design()});
    ASSERT_TRUE(succeeded(unfollowed));
    EXPECT_TRUE(unfollowed.out.contains(
        QStringLiteral("R1 (PropRef) -> /Resistors/R4K7 in $(KORVANE_DIR)/designs/library.oxml "
                       "[XmlPropertyFile]\n")));
}

TEST_F(OrreryTree, ShowsFlagsArraysAndBrokenReferences) {
    const QString file = write(
        QStringLiteral("flags.oxml"),
        "<PropertyFile format=\"1\">"
        "<Value name=\"matrix\" elementType=\"double\" dims=\"2 5\">"
        "<Item text=\"1\"/><Item text=\"2\"/><Item text=\"3\"/><Item text=\"4\"/><Item text=\"5\"/>"
        "<Item text=\"6\"/><Item text=\"7\"/><Item text=\"8\"/><Item text=\"9\"/><Item "
        "text=\"10\"/></Value>"
        "<Value name=\"locked\" elementType=\"int64\" text=\"-7\" flags=\"7\"/>"
        "<Value name=\"nothing\" elementType=\"null\"/>"
        "<Reference name=\"broken\" path=\"../missing\"/>"
        "<Reference name=\"unset\" path=\"\"/>"
        "</PropertyFile>");
    const ToolResult result = run({QStringLiteral("tree"), file});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out,
              QStringLiteral("Root (PropObj)\n"
                             "  broken (PropRef) -> ../missing: leads nowhere in this tree\n"
                             "  locked (Prop int64) [read-only] [hidden] = -7\n"
                             "  matrix (Prop double[2x5]) = [1, 2, 3, 4, 5, 6, 7, 8, ... 2 more]\n"
                             "  nothing (Prop null) = null\n"
                             "  unset (PropRef) -> (unset)\n"));
}

TEST_F(OrreryTree, RejectsBadInputWithOneLine) {
    const QString tree = QStringLiteral("tree");
    EXPECT_TRUE(rejected(run({tree}), tree, QStringLiteral("missing arguments")));
    EXPECT_TRUE(rejected(run({tree, path(QStringLiteral("none.oxml"))}), tree,
                         QStringLiteral("is not a file")));
    const QString notXml = write(QStringLiteral("text.oxml"), "plain text\n");
    EXPECT_TRUE(rejected(run({tree, notXml}), tree, QStringLiteral(":1:1: malformed XML")));
    const QString other = write(QStringLiteral("other.xml"), "<html/>");
    EXPECT_TRUE(rejected(run({tree, other}), tree,
                         QStringLiteral("not a property file: the root element is <html>")));
    const QString unknown =
        write(QStringLiteral("unknown.oxml"),
              "<PropertyFile format=\"1\"><Object name=\"x\" type=\"Gadget\"/></PropertyFile>");
    EXPECT_TRUE(rejected(run({tree, unknown}), tree,
                         QStringLiteral("/x: unknown property-object type \"Gadget\"")));
}

}  // namespace

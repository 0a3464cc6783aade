// SPDX-License-Identifier: MIT
// `orrery component`: the product's referred components through the tool.
#include "tooltest.h"
#include "treesnapshot.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

namespace {

using OrreryToolTest::exampleInstallation;
using OrreryToolTest::rejected;
using OrreryToolTest::succeeded;
using OrreryToolTest::ToolResult;

class OrreryComponent : public OrreryToolTest::ToolTest {
protected:
    void SetUp() override {
        OrreryToolTest::ToolTest::SetUp();
        // A copy of the example product, so that set and remove leave the examples alone.
        ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("product")));
        root = path(QStringLiteral("product"));
        ASSERT_TRUE(QFile::copy(
            QString(exampleInstallation() + QStringLiteral("/products/frontend/ComponentRefs.ini")),
            QString(root + QStringLiteral("/ComponentRefs.ini"))));
        QFile::setPermissions(QString(root + QStringLiteral("/ComponentRefs.ini")),
                              QFile::ReadOwner | QFile::WriteOwner);
        environment.insert(QStringLiteral("KORVANE_DIR"), QStringLiteral("/opt/korvane"));
    }
    ToolResult component(QStringList arguments) {
        arguments.prepend(QStringLiteral("component"));
        return run(arguments);
    }
    QString root;
};

TEST_F(OrreryComponent, LocatesTheHighestVersionOrTheOneGiven) {
    ToolResult result = component({QStringLiteral("locate"), root, QStringLiteral("Models")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out, QStringLiteral("/opt/korvane/components/models-2.0\n"));
    result = component(
        {QStringLiteral("locate"), root, QStringLiteral("Models"), QStringLiteral("1.0")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out, QStringLiteral("/opt/korvane/components/models-1.0\n"));
    result = component(
        {QStringLiteral("locate"), root, QStringLiteral("Models"), QStringLiteral("--no-expand")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out, QStringLiteral("$(KORVANE_DIR)/components/models-2.0\n"));
}

TEST_F(OrreryComponent, LocateAndGetLeaveTheProductFolderAsItWas) {
    OrreryTest::ageTree(root);
    const std::string before = OrreryTest::snapshotTree(root);
    EXPECT_TRUE(succeeded(component({QStringLiteral("locate"), root, QStringLiteral("Models")})));
    EXPECT_TRUE(succeeded(component(
        {QStringLiteral("locate"), root, QStringLiteral("Models"), QStringLiteral("1.0")})));
    EXPECT_TRUE(succeeded(component({QStringLiteral("locate"), root, QStringLiteral("Models"),
                                     QStringLiteral("--no-expand")})));
    EXPECT_TRUE(succeeded(component({QStringLiteral("get"), root, QStringLiteral("Models"),
                                     QStringLiteral("2.0"), QStringLiteral("RefCount")})));
    EXPECT_EQ(component({QStringLiteral("locate"), root, QStringLiteral("Solver")}).exitCode, 1);
    EXPECT_EQ(OrreryTest::snapshotTree(root), before);
}

TEST_F(OrreryComponent, GetsSetsAndRemovesKeys) {
    ToolResult result = component({QStringLiteral("get"), root, QStringLiteral("Models"),
                                   QStringLiteral("2.0"), QStringLiteral("RefCount")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out, QStringLiteral("1\n"));

    result = component({QStringLiteral("set"), root, QStringLiteral("Models"), QStringLiteral("10"),
                        QStringLiteral("Location"), QStringLiteral("/srv/models-10")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(result.out.startsWith(QStringLiteral("set Models 10 Location in ")));
    QFile file(QString(root + QStringLiteral("/ComponentRefs.ini")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(file.readAll().contains("10\\Location=/srv/models-10"));
    file.close();
    result = component({QStringLiteral("locate"), root, QStringLiteral("Models")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out, QStringLiteral("/srv/models-10\n"));

    result =
        component({QStringLiteral("remove"), root, QStringLiteral("Models"), QStringLiteral("10")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_TRUE(result.out.startsWith(QStringLiteral("removed Models 10 from ")));
    EXPECT_TRUE(rejected(component({QStringLiteral("get"), root, QStringLiteral("Models"),
                                    QStringLiteral("10"), QStringLiteral("Location")}),
                         QStringLiteral("component get"),
                         QStringLiteral("has no value for \"Models\"")));
    result = component({QStringLiteral("locate"), root, QStringLiteral("Models")});
    EXPECT_EQ(result.out, QStringLiteral("/opt/korvane/components/models-2.0\n"));
}

TEST_F(OrreryComponent, CreatesTheFileOfANewProduct) {
    ASSERT_TRUE(QDir(path()).mkpath(QStringLiteral("fresh")));
    const QString fresh = path(QStringLiteral("fresh"));
    ASSERT_TRUE(succeeded(
        component({QStringLiteral("set"), fresh, QStringLiteral("Solver"), QStringLiteral("3.1"),
                   QStringLiteral("Location"), QStringLiteral("%KORVANE_DIR%/solver")})));
    EXPECT_TRUE(QFile::exists(QString(fresh + QStringLiteral("/ComponentRefs.ini"))));
    const ToolResult result = component(
        {QStringLiteral("locate"), fresh, QStringLiteral("Solver"), QStringLiteral("3.1")});
    ASSERT_TRUE(succeeded(result));
    EXPECT_EQ(result.out, QStringLiteral("/opt/korvane/solver\n"));
}

TEST_F(OrreryComponent, RejectsBadInputWithOneLine) {
    EXPECT_TRUE(
        rejected(component({}), QStringLiteral("component"), QStringLiteral("no action given")));
    EXPECT_TRUE(rejected(component({QStringLiteral("install")}), QStringLiteral("component"),
                         QStringLiteral("unknown action \"install\"")));
    EXPECT_TRUE(rejected(component({QStringLiteral("locate"), QString(), QStringLiteral("Models")}),
                         QStringLiteral("component locate"),
                         QStringLiteral("the product root is empty")));
    EXPECT_TRUE(rejected(component({QStringLiteral("locate"), path(QStringLiteral("none")),
                                    QStringLiteral("Models")}),
                         QStringLiteral("component locate"), QStringLiteral("does not exist")));
    EXPECT_TRUE(rejected(component({QStringLiteral("locate"), path(), QStringLiteral("Models")}),
                         QStringLiteral("component locate"),
                         QStringLiteral("ComponentRefs.ini\" does not exist")));
    EXPECT_TRUE(rejected(component({QStringLiteral("locate"), root, QStringLiteral("Solver")}),
                         QStringLiteral("component locate"),
                         QStringLiteral("records no location of \"Solver\"")));
    EXPECT_TRUE(rejected(component({QStringLiteral("locate"), root, QStringLiteral("Models"),
                                    QStringLiteral("9.9")}),
                         QStringLiteral("component locate"), QStringLiteral("version \"9.9\"")));
    EXPECT_TRUE(rejected(component({QStringLiteral("locate"), root}),
                         QStringLiteral("component locate"),
                         QStringLiteral("missing arguments (usage: orrery component locate "
                                        "PRODUCT_ROOT COMPONENT [VERSION])")));
    EXPECT_TRUE(rejected(
        component({QStringLiteral("set"), root, QStringLiteral("Models"), QStringLiteral("1")}),
        QStringLiteral("component set"), QStringLiteral("missing arguments")));
    EXPECT_TRUE(rejected(
        component({QStringLiteral("set"), path(QStringLiteral("none/deeper")), QStringLiteral("M"),
                   QStringLiteral("1"), QStringLiteral("K"), QStringLiteral("V")}),
        QStringLiteral("component set"), QStringLiteral("does not exist")));
    EXPECT_TRUE(rejected(component({QStringLiteral("set"), root, QStringLiteral("M"), QString(),
                                    QStringLiteral("K"), QStringLiteral("V")}),
                         QStringLiteral("component set"), QStringLiteral("must not be empty")));
    EXPECT_TRUE(rejected(component({QStringLiteral("remove"), root, QStringLiteral("Models")}),
                         QStringLiteral("component remove"), QStringLiteral("missing arguments")));
}

}  // namespace

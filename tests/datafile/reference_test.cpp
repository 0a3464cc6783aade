// SPDX-License-Identifier: MIT
#include <orrery/datafile.h>

#include "testutil.h"
#include "testxmlfile.h"

#include <memory>

using Orrery::AbstractProperty;
using Orrery::DataFile;
using Orrery::DataFileFactory;
using Orrery::PropertyObject;
using Orrery::PropertyReference;

namespace {

const AbstractProperty* follow(const PropertyReference* reference) {
    return reference->GetConstRef<AbstractProperty>();
}

// Deletes the data files a test left open (those opened on demand by references).
struct CloseOpenedFiles {
    QList<DataFile*> before = DataFile::GetDataFileList();
    ~CloseOpenedFiles() {
        for (DataFile* file : DataFile::GetDataFileList()) {
            if (!before.contains(file)) {
                delete file;
            }
        }
    }
};

}  // namespace

TEST(PropertyReferenceExternal, PointsIntoAnotherDataFile) {
    TestXmlFile home(QStringLiteral("/design/home.xml"));
    TestXmlFile other(QStringLiteral("/design/other.xml"));
    auto* part = new PropertyObject(QStringLiteral("part"));
    other.Root()->InsertProperty(part);
    part->SetProperty(QStringLiteral("R"), QStringLiteral("4.7k"));
    AbstractProperty* target = part->GetPropertyPtr(QStringLiteral("R"));
    auto* ref = new PropertyReference(QStringLiteral("ref"));
    home.Root()->InsertProperty(ref);
    ASSERT_EQ(ref->SetPropertyRef(target), Orrery::RESULT_OK);
    EXPECT_EQ(ref->ReferencePath(), QStringLiteral("/part/R"));
    EXPECT_EQ(ref->ReferenceFilePath(), QStringLiteral("/design/other.xml"));
    EXPECT_EQ(ref->ReferenceFileType(), QStringLiteral("TestXml"));
    EXPECT_EQ(ref->GetReferenceType(), PropertyReference::REFERENCE_EXTERNAL);
    EXPECT_EQ(follow(ref), target);  // the other file is open: it is used as it is
    EXPECT_EQ(ref->GetFullPathToReference(QStringLiteral("/")), QStringLiteral("/part/R"));
    EXPECT_FALSE(ref->IsRefPropertyObject());
}

TEST(PropertyReferenceExternal, ParentlessTargetInAPlainTreeIsRefused) {
    TestXmlFile home(QStringLiteral("/design/refuse.xml"));
    auto* a = new PropertyObject(QStringLiteral("a"));
    home.Root()->InsertProperty(a);
    a->SetProperty(QStringLiteral("b"), QStringLiteral("1"));
    ASSERT_EQ(
        home.Root()->SetPropertyRef(QStringLiteral("ref"), a->GetPropertyPtr(QStringLiteral("b"))),
        Orrery::RESULT_OK);
    auto* ref = static_cast<PropertyReference*>(home.Root()->GetPropertyPtr(QStringLiteral("ref")));
    PropertyObject stranger(QStringLiteral("stranger"));
    OrreryTest::MessageCapture capture;
    EXPECT_EQ(ref->SetPropertyRef(&stranger), Orrery::RESULT_INVALID_ARGUMENT);
    const QStringList debug = capture.texts(QtDebugMsg);
    ASSERT_EQ(debug.size(), 1);
    EXPECT_EQ(debug.at(0), QStringLiteral("Can't set reference to stranger@") +
                               QString::asprintf("%8p", static_cast<const void*>(&stranger)));
    EXPECT_EQ(ref->ReferencePath(), QStringLiteral("../a/b"));
    EXPECT_EQ(ref->GetReferenceType(), PropertyReference::REFERENCE_INTERNAL);
}

TEST(PropertyReferenceExternal, ContainerSetsAReferenceIntoAnotherFile) {
    TestXmlFile home(QStringLiteral("/design/c1.xml"));
    TestXmlFile other(QStringLiteral("/design/c2.xml"));
    auto* obj = new PropertyObject(QStringLiteral("obj"));
    other.Root()->InsertProperty(obj);
    EXPECT_TRUE(home.Root()->CanReferenceProperty(obj));
    ASSERT_EQ(home.Root()->SetPropertyRef(QStringLiteral("link"), obj), Orrery::RESULT_OK);
    auto* ref =
        static_cast<PropertyReference*>(home.Root()->GetPropertyPtr(QStringLiteral("link")));
    EXPECT_EQ(ref->GetReferenceType(), PropertyReference::REFERENCE_EXTERNAL);
    EXPECT_TRUE(ref->IsRefPropertyObject());
    EXPECT_FALSE(ref->IsRefMetadata());
    EXPECT_FALSE(ref->IsRefVariable());
}

class PropertyReferenceFiles : public OrreryTest::TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        DataFileFactory::RegisterFileType(TestXmlFile::TypeName(), &TestXmlFile::Create);
        TestXmlFile::s_loads = 0;
        TestXmlFile::s_created = 0;
    }
    // Writes two files: models.xml with /lib/R = 4.7k, and design.xml referring to it.
    void writeFiles() {
        TestXmlFile models(path(QStringLiteral("models.xml")));
        auto* lib = new PropertyObject(QStringLiteral("lib"));
        models.Root()->InsertProperty(lib);
        lib->SetProperty(QStringLiteral("R"), QStringLiteral("4.7k"));
        TestXmlFile design(path(QStringLiteral("design.xml")));
        auto* top = new PropertyObject(QStringLiteral("top"));
        design.Root()->InsertProperty(top);
        top->SetProperty(QStringLiteral("C"), QStringLiteral("2.2n"));
        ASSERT_EQ(
            top->SetPropertyRef(QStringLiteral("model"), lib->GetPropertyPtr(QStringLiteral("R"))),
            Orrery::RESULT_OK);
        ASSERT_EQ(
            top->SetPropertyRef(QStringLiteral("cap"), top->GetPropertyPtr(QStringLiteral("C"))),
            Orrery::RESULT_OK);
        ASSERT_TRUE(models.Save());
        ASSERT_TRUE(design.Save());
    }
};

TEST_F(PropertyReferenceFiles, FollowingOpensAndLoadsTheOtherFileOnce) {
    writeFiles();
    CloseOpenedFiles cleanup;
    TestXmlFile design(path(QStringLiteral("design.xml")));
    design.Load();
    ASSERT_TRUE(design.IsLoaded());
    EXPECT_EQ(DataFile::GetDataFile(path(QStringLiteral("models.xml"))), nullptr);
    const auto* ref = dynamic_cast<const PropertyReference*>(
        design.ResolveObjectPath(QStringLiteral("/top/model")));
    ASSERT_NE(ref, nullptr);
    const AbstractProperty* target = follow(ref);
    ASSERT_NE(target, nullptr);
    EXPECT_EQ(const_cast<AbstractProperty*>(target)->GetName(), QStringLiteral("R"));
    DataFile* opened = DataFile::GetDataFile(path(QStringLiteral("models.xml")));
    ASSERT_NE(opened, nullptr);
    EXPECT_TRUE(opened->IsLoaded());
    EXPECT_EQ(target->GetDataFile(), opened);
    EXPECT_EQ(TestXmlFile::s_created, 1);
    EXPECT_EQ(TestXmlFile::s_loads, 2);  // design, then models
    // A second follow reuses the open file.
    EXPECT_EQ(follow(ref), target);
    EXPECT_EQ(TestXmlFile::s_created, 1);
    EXPECT_EQ(TestXmlFile::s_loads, 2);
    QString value;
    ASSERT_EQ(
        static_cast<PropertyObject*>(target->GetParent())->GetProperty(QStringLiteral("R"), &value),
        Orrery::RESULT_OK);
    EXPECT_EQ(value, QStringLiteral("4.7k"));
}

TEST_F(PropertyReferenceFiles, AnOpenButUnloadedFileIsLoadedWhenFollowed) {
    writeFiles();
    TestXmlFile design(path(QStringLiteral("design.xml")));
    design.Load();
    TestXmlFile models(path(QStringLiteral("models.xml")));
    EXPECT_FALSE(models.IsLoaded());
    const auto* ref = dynamic_cast<const PropertyReference*>(
        design.ResolveObjectPath(QStringLiteral("/top/model")));
    ASSERT_NE(ref, nullptr);
    ASSERT_NE(follow(ref), nullptr);
    EXPECT_TRUE(models.IsLoaded());
    EXPECT_EQ(TestXmlFile::s_created, 0);
}

TEST_F(PropertyReferenceFiles, InternalReferencesSurviveARoundTrip) {
    writeFiles();
    TestXmlFile design(path(QStringLiteral("design.xml")));
    design.Load();
    const auto* cap = dynamic_cast<const PropertyReference*>(
        design.ResolveObjectPath(QStringLiteral("/top/cap")));
    ASSERT_NE(cap, nullptr);
    EXPECT_EQ(const_cast<PropertyReference*>(cap)->ReferencePath(), QStringLiteral("../C"));
    EXPECT_EQ(follow(cap), design.ResolveObjectPath(QStringLiteral("/top/C")));
}

TEST_F(PropertyReferenceFiles, UnknownFileTypeOrMissingFileGivesNull) {
    CloseOpenedFiles cleanup;
    PropertyObject holder(QStringLiteral("holder"));
    auto* ref = new PropertyReference(QStringLiteral("r"));
    holder.InsertProperty(ref);
    ref->SetExternalRefNoCheck(QStringLiteral("/x"), path(QStringLiteral("none.xml")),
                               QStringLiteral("NoSuchKind"));
    EXPECT_EQ(follow(ref), nullptr);
    EXPECT_EQ(DataFile::GetDataFile(path(QStringLiteral("none.xml"))), nullptr);
    ref->SetExternalRefNoCheck(QStringLiteral("/x"), path(QStringLiteral("missing.xml")),
                               TestXmlFile::TypeName());
    EXPECT_EQ(follow(ref), nullptr);  // created and loaded, but nothing to resolve
    EXPECT_NE(DataFile::GetDataFile(path(QStringLiteral("missing.xml"))), nullptr);
}

TEST_F(PropertyReferenceFiles, RenamedTargetLeavesTheReferenceStale) {
    TestXmlFile design(path(QStringLiteral("d.xml")));
    auto* a = new PropertyObject(QStringLiteral("a"));
    design.Root()->InsertProperty(a);
    a->SetProperty(QStringLiteral("b"), QStringLiteral("1"));
    ASSERT_EQ(a->SetPropertyRef(QStringLiteral("ref"), a->GetPropertyPtr(QStringLiteral("b"))),
              Orrery::RESULT_OK);
    auto* ref = static_cast<PropertyReference*>(a->GetPropertyPtr(QStringLiteral("ref")));
    ASSERT_NE(follow(ref), nullptr);
    ASSERT_EQ(a->GetPropertyPtr(QStringLiteral("b"))->SetName(QStringLiteral("renamed")),
              Orrery::RESULT_OK);
    EXPECT_EQ(ref->ReferencePath(), QStringLiteral("../b"));
    EXPECT_EQ(follow(ref), nullptr);
}

TEST_F(PropertyReferenceFiles, RenamedTargetInAnotherFileLeavesTheReferenceStale) {
    TestXmlFile home(path(QStringLiteral("h.xml")));
    TestXmlFile other(path(QStringLiteral("o.xml")));
    auto* x = new PropertyObject(QStringLiteral("x"));
    other.Root()->InsertProperty(x);
    auto* ref = new PropertyReference(QStringLiteral("r"));
    home.Root()->InsertProperty(ref);
    ASSERT_EQ(ref->SetPropertyRef(x), Orrery::RESULT_OK);
    EXPECT_EQ(follow(ref), x);
    ASSERT_EQ(x->SetName(QStringLiteral("y")), Orrery::RESULT_OK);
    EXPECT_EQ(follow(ref), nullptr);
}

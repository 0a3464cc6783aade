// SPDX-License-Identifier: MIT
#include <orrery/datafile.h>

#include "testutil.h"
#include "testxmlfile.h"

#include <memory>

using Orrery::AbstractProperty;
using Orrery::DataFile;
using Orrery::DataFileFactory;
using Orrery::PropertyObject;
using Orrery::SimpleProperty;

namespace {

// Counts how many instances are alive, to see whether a tree was deleted.
struct Tracked : PropertyObject {
    static int s_alive;
    explicit Tracked(const QString& name) : PropertyObject(name) { ++s_alive; }
    ~Tracked() override { --s_alive; }
};
int Tracked::s_alive = 0;

DataFile* createOther(const QString& path) {
    return new TestXmlFile(path, DataFile::OpenModeWritable);
}

}  // namespace

TEST(DataFile, IsListedFromConstructionToDestruction) {
    const int before = DataFile::GetDataFileList().size();
    auto a = std::make_unique<TestXmlFile>(QStringLiteral("/d/a.xml"));
    auto b = std::make_unique<TestXmlFile>(QStringLiteral("/d/b.xml"));
    QList<DataFile*> list = DataFile::GetDataFileList();
    ASSERT_EQ(list.size(), before + 2);
    EXPECT_EQ(list.at(before), a.get());
    EXPECT_EQ(list.at(before + 1), b.get());
    a.reset();
    list = DataFile::GetDataFileList();
    EXPECT_EQ(list.size(), before + 1);
    EXPECT_FALSE(list.contains(nullptr));
    EXPECT_EQ(DataFile::GetDataFile(QStringLiteral("/d/a.xml")), nullptr);
}

TEST(DataFile, LookupComparesPathsExactly) {
    TestXmlFile file(QStringLiteral("C:/Data/Design.xml"));
    EXPECT_EQ(DataFile::GetDataFile(QStringLiteral("C:/Data/Design.xml")), &file);
    EXPECT_EQ(DataFile::GetDataFile(QStringLiteral("c:/data/design.xml")), nullptr);
    EXPECT_EQ(DataFile::GetDataFile(QStringLiteral("C:\\Data\\Design.xml")), nullptr);
    EXPECT_EQ(DataFile::GetDataFile(QStringLiteral("C:/Data/./Design.xml")), nullptr);
}

TEST(DataFile, TwoFilesWithOnePathAreBothListedAndTheOlderIsFound) {
    TestXmlFile older(QStringLiteral("/same.xml"));
    TestXmlFile newer(QStringLiteral("/same.xml"));
    EXPECT_EQ(DataFile::GetDataFile(QStringLiteral("/same.xml")), &older);
    EXPECT_TRUE(DataFile::GetDataFileList().contains(&newer));
}

TEST(DataFile, OpenMode128BecomesWritable) {
    TestXmlFile created(QStringLiteral("/m.xml"), DataFile::OpenModeCreate);
    EXPECT_EQ(static_cast<int>(created.GetMode()), 130);
    EXPECT_TRUE(created.IsWritable());
    TestXmlFile plain(QStringLiteral("/p.xml"), DataFile::OpenModeNone);
    EXPECT_EQ(static_cast<int>(plain.GetMode()), 0);
    EXPECT_FALSE(plain.IsWritable());
    TestXmlFile other(QStringLiteral("/o.xml"), static_cast<DataFile::OpenMode>(129));
    EXPECT_EQ(static_cast<int>(other.GetMode()), 129);
    EXPECT_FALSE(other.IsWritable());
    TestXmlFile writable(QStringLiteral("/w.xml"), static_cast<DataFile::OpenMode>(3));
    EXPECT_TRUE(writable.IsWritable());
}

TEST(DataFile, SetPathRules) {
    TestXmlFile file(QStringLiteral("/old.xml"));
    EXPECT_FALSE(file.SetPath(QString()));
    EXPECT_EQ(file.GetPath(), QStringLiteral("/old.xml"));
    EXPECT_TRUE(file.SetPath(QStringLiteral("/new.xml")));
    EXPECT_EQ(file.GetPath(), QStringLiteral("/new.xml"));
    EXPECT_EQ(DataFile::GetDataFile(QStringLiteral("/new.xml")), &file);
    EXPECT_EQ(DataFile::GetDataFile(QStringLiteral("/old.xml")), nullptr);
}

class DataFileOnDisk : public OrreryTest::TempDirTest {};

TEST_F(DataFileOnDisk, LoadedFileKeepsItsPath) {
    TestXmlFile writer(path(QStringLiteral("a.xml")));
    writer.Root()->SetProperty(QStringLiteral("x"), QStringLiteral("1"));
    ASSERT_TRUE(writer.Save());
    TestXmlFile reader(path(QStringLiteral("a.xml")));
    reader.Load();
    ASSERT_TRUE(reader.IsLoaded());
    EXPECT_FALSE(reader.SetPath(path(QStringLiteral("b.xml"))));
    EXPECT_EQ(reader.GetPath(), path(QStringLiteral("a.xml")));
}

TEST(DataFile, OwnedContentsAreDeletedByClearAndDestructor) {
    Tracked::s_alive = 0;
    {
        TestXmlFile file(QStringLiteral("/own.xml"));
        file.Root()->InsertProperty(new Tracked(QStringLiteral("t")));
        EXPECT_TRUE(file.OwnsFileContents());
        EXPECT_EQ(Tracked::s_alive, 1);
        file.ClearFileContents();
        EXPECT_EQ(Tracked::s_alive, 0);
        EXPECT_EQ(file.GetFileContents(), nullptr);
        file.Root()->InsertProperty(new Tracked(QStringLiteral("u")));
    }
    EXPECT_EQ(Tracked::s_alive, 0);
}

TEST(DataFile, ContentsNotOwnedAreNeverDeleted) {
    Tracked::s_alive = 0;
    PropertyObject* tree = nullptr;
    {
        TestXmlFile file(QStringLiteral("/lent.xml"));
        tree = file.Root();
        tree->InsertProperty(new Tracked(QStringLiteral("t")));
        file.SetOwnsFileContents(false);
        EXPECT_FALSE(file.OwnsFileContents());
        file.ClearFileContents();
        EXPECT_EQ(file.GetFileContents(), nullptr);
        EXPECT_EQ(Tracked::s_alive, 1);
    }
    EXPECT_EQ(Tracked::s_alive, 1);
    PropertyObject* kept = nullptr;
    {
        TestXmlFile file(QStringLiteral("/lent2.xml"));
        kept = file.Root();
        kept->InsertProperty(new Tracked(QStringLiteral("u")));
        file.SetOwnsFileContents(false);
    }
    EXPECT_EQ(Tracked::s_alive, 2);  // the destructor left it alone too
    delete tree;
    delete kept;
    EXPECT_EQ(Tracked::s_alive, 0);
}

TEST(DataFile, ResolveObjectPath) {
    TestXmlFile file(QStringLiteral("/r.xml"));
    EXPECT_EQ(file.ResolveObjectPath(QStringLiteral("/a")), nullptr);
    auto* a = new PropertyObject(QStringLiteral("a"));
    file.Root()->InsertProperty(a);
    a->SetProperty(QStringLiteral("v"), QStringLiteral("1"));
    EXPECT_EQ(file.ResolveObjectPath(QStringLiteral("/a")), a);
    EXPECT_EQ(file.ResolveObjectPath(QStringLiteral("a/v")),
              a->GetPropertyPtr(QStringLiteral("v")));
    EXPECT_EQ(file.ResolveObjectPath(QStringLiteral("/")), file.GetFileContents());
    EXPECT_EQ(file.ResolveObjectPath(QStringLiteral("/missing")), nullptr);
}

TEST(DataFileRootProperty, IsANamedFileRootThatKnowsItsFile) {
    TestXmlFile file(QStringLiteral("/root.xml"));
    DataFile::RootProperty root(&file);
    EXPECT_EQ(root.GetName(), QStringLiteral("Root"));
    EXPECT_EQ(root.GetTypeFlags(), 9u);
    EXPECT_TRUE(root.IsPropertyObject());
    EXPECT_TRUE(root.IsFileRoot());
    EXPECT_FALSE(root.IsMetadata());
    EXPECT_FALSE(root.IsVariable());
    EXPECT_EQ(root.PropertyObjType(), QStringLiteral("PropObj"));
    EXPECT_EQ(root.GetParentFile(), &file);
    EXPECT_EQ(root.GetParent(), nullptr);
}

TEST(DataFileRootProperty, NodesFindTheirDataFile) {
    TestXmlFile file(QStringLiteral("/nodes.xml"));
    auto* a = new PropertyObject(QStringLiteral("a"));
    file.Root()->InsertProperty(a);
    a->SetProperty(QStringLiteral("leaf"), QStringLiteral("v"));
    const AbstractProperty* leaf = a->GetPropertyConstPtr(QStringLiteral("leaf"));
    EXPECT_EQ(leaf->GetDataFile(), &file);
    EXPECT_EQ(file.Root()->GetDataFile(), &file);
    EXPECT_TRUE(leaf->HasFileRoot());
    EXPECT_FALSE(leaf->IsFileRoot());
}

TEST(DataFileRootProperty, PlainTreesHaveNoDataFile) {
    PropertyObject top(QStringLiteral("top"));
    auto* child = new PropertyObject(QStringLiteral("child"));
    top.InsertProperty(child);
    EXPECT_EQ(child->GetDataFile(), nullptr);
    EXPECT_EQ(top.GetDataFile(), nullptr);
    EXPECT_FALSE(child->HasFileRoot());
    SimpleProperty lonely(QStringLiteral("s"));
    EXPECT_EQ(lonely.GetDataFile(), nullptr);
}

TEST(DataFileFactory, RegisterCountsTypesAndTheLaterCreatorWins) {
    const int base =
        DataFileFactory::RegisterFileType(QStringLiteral("FactoryA"), &TestXmlFile::Create);
    EXPECT_EQ(DataFileFactory::RegisterFileType(QStringLiteral("FactoryA"), &createOther), base);
    std::unique_ptr<DataFile> made(
        DataFileFactory::CreateDataFile(QStringLiteral("/f.xml"), QStringLiteral("FactoryA")));
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->GetPath(), QStringLiteral("/f.xml"));
    EXPECT_TRUE(made->IsWritable());  // made by the later creator
    EXPECT_EQ(DataFileFactory::RegisterFileType(QStringLiteral("FactoryB"), &TestXmlFile::Create),
              base + 1);
    EXPECT_EQ(DataFileFactory::RegisterFileType(QStringLiteral("factorya"), &TestXmlFile::Create),
              base + 2);  // type names are case-sensitive
}

TEST(DataFileFactory, UnknownTypeCreatesNothing) {
    EXPECT_EQ(
        DataFileFactory::CreateDataFile(QStringLiteral("/x.xml"), QStringLiteral("NoSuchType")),
        nullptr);
    DataFileFactory::RegisterFileType(QStringLiteral("NullCreator"), nullptr);
    EXPECT_EQ(
        DataFileFactory::CreateDataFile(QStringLiteral("/x.xml"), QStringLiteral("NullCreator")),
        nullptr);
}

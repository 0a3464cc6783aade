// SPDX-License-Identifier: MIT
#include <orrery/datafile.h>
#include <orrery/property.h>

#include "testutil.h"
#include "treeutil.h"

#include <gtest/gtest.h>

#include <QString>
#include <QStringList>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

using namespace Orrery;
using OrreryTest::MessageCapture;
using PropertyTest::FakeFileRoot;
using PropertyTest::Journal;
using PropertyTest::NoteMetadata;
using PropertyTest::TracedLeaf;

namespace {

QString S(const char* text) {
    return QString::fromUtf8(text);
}

// A node class that keeps the base's type flags.
class PlainNode : public AbstractProperty {
public:
    explicit PlainNode(const QString& name = QString()) : AbstractProperty(name) {}
    const QString& PropertyObjType() const override {
        static const QString type = QStringLiteral("Plain");
        return type;
    }

protected:
    AbstractProperty* DoClone() const override { return new PlainNode(*this); }
};

// A client class that sets the variable flag.
class VariableNode : public SimpleProperty {
public:
    unsigned int GetTypeFlags() const override {
        return Property::TYPE_SIMPLE_PROPERTY | Property::TYPE_VARIABLE;
    }
};

// A leaf that records, in its destructor, where it still stands: its full path, the
// number of entries its container still holds and whether it is one of them, and its
// data file.
class WitnessLeaf : public SimpleProperty {
public:
    WitnessLeaf(const QString& name, QStringList* records, const DataFile** file = nullptr)
        : SimpleProperty(name), records_(records), file_(file) {}
    ~WitnessLeaf() override {
        PropertyObject* container = GetParent();
        const bool listed = container != nullptr && container->GetPropertyPtr(GetName()) == this;
        *records_ << QStringLiteral("%1 %2 %3")
                         .arg(GetFullPath())
                         .arg(container != nullptr ? container->GetPropertyCount() : -1)
                         .arg(listed ? QStringLiteral("listed") : QStringLiteral("unlisted"));
        if (file_ != nullptr) {
            *file_ = GetDataFile();
        }
    }

private:
    QStringList* records_;
    const DataFile** file_;
};

// A data file kind that keeps its contents in memory only.
class MemoryFile : public DataFile {
public:
    MemoryFile() : DataFile(QStringLiteral("memory.test"), OpenModeNone) {
        contents = new RootProperty(this);
    }
    PropertyObject* Root() { return contents; }
    void Load() override {}
    bool Save() override { return false; }
    bool IsLoaded() const override { return true; }
    bool IsModified() const override { return false; }
    QString GetFileType() const override { return QStringLiteral("Memory"); }
};

}  // namespace

TEST(AbstractProperty, NewSimplePropertyHasDefaultFlags) {
    SimpleProperty p(S("p"));
    EXPECT_EQ(p.GetPropertyFlags(), 4u);
    EXPECT_EQ(Property::PropertyFlagsDefault, 4u);
    EXPECT_TRUE(p.IsSerializable());
    EXPECT_FALSE(p.IsHidden());
    EXPECT_FALSE(p.IsReadOnly());
    EXPECT_EQ(p.GetParent(), nullptr);
    EXPECT_EQ(p.GetName(), S("p"));
}

TEST(AbstractProperty, DefaultConstructedNodeHasEmptyName) {
    SimpleProperty p;
    EXPECT_TRUE(p.GetName().isEmpty());
    EXPECT_EQ(p.GetPropertyFlags(), 4u);
}

TEST(AbstractProperty, ConstructorTakesNameWithoutValidation) {
    SimpleProperty p(S("a/b?"));
    EXPECT_EQ(p.GetName(), S("a/b?"));
}

TEST(AbstractProperty, FlagSettersChangeOnlyTheirBit) {
    SimpleProperty p;
    p.SetHidden(true);
    EXPECT_EQ(p.GetPropertyFlags(), 6u);
    p.SetSerializable(false);
    EXPECT_EQ(p.GetPropertyFlags(), 2u);
    p.SetReadOnly(true);
    EXPECT_EQ(p.GetPropertyFlags(), 3u);
    EXPECT_TRUE(p.IsReadOnly());
    EXPECT_TRUE(p.IsHidden());
    EXPECT_FALSE(p.IsSerializable());
    p.SetHidden(false);
    EXPECT_EQ(p.GetPropertyFlags(), 1u);
    p.SetReadOnly(false);
    EXPECT_EQ(p.GetPropertyFlags(), 0u);
}

TEST(AbstractProperty, SetPropertyFlagsReplacesTheWholeWord) {
    SimpleProperty p;
    p.SetPropertyFlags(0xF0u | Property::PROPERTY_READ_ONLY);
    EXPECT_EQ(p.GetPropertyFlags(), 0xF1u);
    EXPECT_TRUE(p.IsReadOnly());
    EXPECT_FALSE(p.IsSerializable());
    p.SetSerializable(true);
    EXPECT_EQ(p.GetPropertyFlags(), 0xF5u);
}

TEST(AbstractProperty, TypeFlagsOfEachClass) {
    PlainNode plain;
    PropertyObject object;
    NoteMetadata metadata;
    FakeFileRoot root;
    PropertyReference reference;
    SimpleProperty simple;
    EXPECT_EQ(plain.GetTypeFlags(), 0u);
    EXPECT_EQ(object.GetTypeFlags(), 0x01u);
    EXPECT_EQ(metadata.GetTypeFlags(), 0x05u);
    EXPECT_EQ(root.GetTypeFlags(), 0x09u);
    EXPECT_EQ(reference.GetTypeFlags(), 0x10u);
    EXPECT_EQ(simple.GetTypeFlags(), 0x20u);
}

TEST(AbstractProperty, MetadataIsAPropertyObjectAndMetadata) {
    NoteMetadata metadata;
    EXPECT_TRUE(metadata.IsPropertyObject());
    EXPECT_TRUE(metadata.IsMetadata());
    EXPECT_FALSE(metadata.IsFileRoot());
    EXPECT_FALSE(metadata.IsSimpleProperty());
}

TEST(AbstractProperty, FileRootIsAPropertyObjectAndFileRoot) {
    FakeFileRoot root;
    EXPECT_TRUE(root.IsPropertyObject());
    EXPECT_TRUE(root.IsFileRoot());
    EXPECT_FALSE(root.IsMetadata());
}

TEST(AbstractProperty, TypeQueriesOfLeaves) {
    SimpleProperty simple;
    PropertyReference reference;
    EXPECT_TRUE(simple.IsSimpleProperty());
    EXPECT_FALSE(simple.IsPropertyObject());
    EXPECT_FALSE(simple.IsPropertyReference());
    EXPECT_TRUE(reference.IsPropertyReference());
    EXPECT_FALSE(reference.IsSimpleProperty());
}

TEST(AbstractProperty, NoLibraryClassIsVariable) {
    PropertyObject object;
    NoteMetadata metadata;
    FakeFileRoot root;
    PropertyReference reference;
    SimpleProperty simple;
    EXPECT_FALSE(object.IsVariable());
    EXPECT_FALSE(metadata.IsVariable());
    EXPECT_FALSE(root.IsVariable());
    EXPECT_FALSE(reference.IsVariable());
    EXPECT_FALSE(simple.IsVariable());
}

TEST(AbstractProperty, TypeQueriesFollowTheSubclassFlags) {
    VariableNode node;
    EXPECT_TRUE(node.IsVariable());
    EXPECT_TRUE(node.IsSimpleProperty());
}

TEST(AbstractProperty, TypeNames) {
    EXPECT_EQ(PropertyObject().PropertyObjType(), S("PropObj"));
    EXPECT_EQ(NoteMetadata().PropertyObjType(), S("PropObj"));
    EXPECT_EQ(FakeFileRoot().PropertyObjType(), S("PropObj"));
    EXPECT_EQ(SimpleProperty().PropertyObjType(), S("Prop"));
    EXPECT_EQ(PropertyReference().PropertyObjType(), S("PropRef"));
    EXPECT_EQ(PropertyObject::StaticType(), S("PropObj"));
    EXPECT_EQ(SimpleProperty::StaticType(), S("Prop"));
    EXPECT_EQ(PropertyReference::StaticType(), S("PropRef"));
    // One static string per class.
    EXPECT_EQ(&PropertyObject::StaticType(), &PropertyObject().PropertyObjType());
}

struct NameCase {
    const char* name;
    ERESULT expected;
};

// A row prints as its name; printed as raw bytes, its padding would be read uninitialised.
void PrintTo(const NameCase& row, std::ostream* out) {
    *out << '"' << row.name << '"';
}

class SetNameRule : public ::testing::TestWithParam<NameCase> {};

TEST_P(SetNameRule, ChecksTheName) {
    SimpleProperty p(S("old"));
    const ERESULT result = p.SetName(S(GetParam().name));
    EXPECT_EQ(result, GetParam().expected);
    EXPECT_EQ(p.GetName(), result == RESULT_OK ? S(GetParam().name) : S("old"));
}

INSTANTIATE_TEST_SUITE_P(
    AbstractProperty, SetNameRule,
    ::testing::Values(NameCase{"a/b", RESULT_INVALID_ARGUMENT},
                      NameCase{"x?", RESULT_INVALID_ARGUMENT},
                      NameCase{"tab\there", RESULT_INVALID_ARGUMENT},
                      NameCase{"back\\slash", RESULT_INVALID_ARGUMENT},
                      NameCase{"quote\"d", RESULT_INVALID_ARGUMENT},
                      NameCase{"line\nfeed", RESULT_INVALID_ARGUMENT},
                      NameCase{"carriage\rreturn", RESULT_INVALID_ARGUMENT},
                      NameCase{"/", RESULT_INVALID_ARGUMENT}, NameCase{"with blank", RESULT_OK},
                      NameCase{"with.dot", RESULT_OK}, NameCase{"..", RESULT_OK},
                      NameCase{"[brackets]", RESULT_OK}, NameCase{"n", RESULT_OK},
                      NameCase{"t", RESULT_OK}, NameCase{"r", RESULT_OK},
                      NameCase{"colon:star*", RESULT_OK}, NameCase{"Grüße", RESULT_OK},
                      NameCase{"", RESULT_OK}));

TEST(AbstractProperty, RenameToSiblingNameWarnsAndFails) {
    PropertyObject parent(S("parent"));
    auto* a = new SimpleProperty(S("a"));
    auto* b = new SimpleProperty(S("b"));
    ASSERT_EQ(parent.InsertProperty(a), RESULT_OK);
    ASSERT_EQ(parent.InsertProperty(b), RESULT_OK);

    MessageCapture capture;
    EXPECT_EQ(a->SetName(S("b")), RESULT_ALREADY_EXISTS);
    ASSERT_EQ(capture.messages().size(), 1u);
    EXPECT_EQ(capture.messages()[0].type, QtWarningMsg);
    EXPECT_EQ(capture.messages()[0].text,
              S("warning,  attempt to rename object to name aleady in parent"));
    EXPECT_FALSE(capture.messages()[0].hasContext);

    EXPECT_EQ(a->GetName(), S("a"));
    EXPECT_EQ(a->GetParent(), &parent);
    EXPECT_EQ(parent.GetPropertyPtr(S("a")), a);
    EXPECT_EQ(parent.GetPropertyPtr(S("b")), b);
}

TEST(AbstractProperty, RenameToOwnNameSucceedsWithoutWarning) {
    PropertyObject parent(S("parent"));
    auto* a = new SimpleProperty(S("a"));
    ASSERT_EQ(parent.InsertProperty(a), RESULT_OK);
    MessageCapture capture;
    EXPECT_EQ(a->SetName(S("a")), RESULT_OK);
    EXPECT_TRUE(capture.messages().empty());
    EXPECT_EQ(a->GetParent(), &parent);
    EXPECT_EQ(parent.GetPropertyPtr(S("a")), a);
    EXPECT_EQ(parent.GetPropertyCount(), 1);
}

TEST(AbstractProperty, RenameReKeysTheParentEntry) {
    PropertyObject parent(S("parent"));
    auto* a = new SimpleProperty(S("a"));
    ASSERT_EQ(parent.InsertProperty(a), RESULT_OK);
    EXPECT_EQ(a->SetName(S("z")), RESULT_OK);
    EXPECT_FALSE(parent.HasProperty(S("a")));
    EXPECT_EQ(parent.GetPropertyPtr(S("z")), a);
    EXPECT_EQ(a->GetParent(), &parent);
    EXPECT_EQ(parent.GetPropertyCount(), 1);
}

TEST(AbstractProperty, ReadOnlyNodeRefusesAnyRename) {
    SimpleProperty loose(S("loose"));
    loose.SetReadOnly(true);
    EXPECT_EQ(loose.SetName(S("valid")), RESULT_FAILED);
    EXPECT_EQ(loose.SetName(S("in/valid")), RESULT_FAILED);
    EXPECT_EQ(loose.GetName(), S("loose"));

    PropertyObject parent;
    auto* child = new SimpleProperty(S("child"));
    ASSERT_EQ(parent.InsertProperty(child), RESULT_OK);
    child->SetReadOnly(true);
    EXPECT_EQ(child->SetName(S("other")), RESULT_FAILED);
    EXPECT_EQ(parent.GetPropertyPtr(S("child")), child);
}

TEST(AbstractProperty, InvalidNameIsRefusedBeforeTheSiblingCheck) {
    PropertyObject parent;
    auto* a = new SimpleProperty(S("a"));
    ASSERT_EQ(parent.InsertProperty(a), RESULT_OK);
    ASSERT_EQ(parent.InsertProperty(new SimpleProperty(S("b?"))), RESULT_OK);
    MessageCapture capture;
    EXPECT_EQ(a->SetName(S("b?")), RESULT_INVALID_ARGUMENT);
    EXPECT_TRUE(capture.messages().empty());
}

TEST(AbstractProperty, RenamingAParentedNodeToTheEmptyNameLeavesItParentless) {
    PropertyObject parent;
    auto* a = new SimpleProperty(S("a"));
    ASSERT_EQ(parent.InsertProperty(a), RESULT_OK);
    EXPECT_EQ(a->SetName(QString()), RESULT_INVALID_ARGUMENT);
    std::unique_ptr<SimpleProperty> owned(a);
    EXPECT_EQ(a->GetParent(), nullptr);
    EXPECT_TRUE(a->GetName().isEmpty());
    EXPECT_EQ(parent.GetPropertyCount(), 0);
    EXPECT_FALSE(parent.HasProperty(S("a")));
}

TEST(AbstractProperty, RenamingAParentlessNodeToTheEmptyNameSucceeds) {
    SimpleProperty p(S("p"));
    EXPECT_EQ(p.SetName(QString()), RESULT_OK);
    EXPECT_TRUE(p.GetName().isEmpty());
}

TEST(AbstractProperty, RenameNotifiesThePathChange) {
    Journal journal;
    TracedLeaf leaf(S("leaf"), &journal);
    EXPECT_EQ(leaf.SetName(S("renamed")), RESULT_OK);
    EXPECT_EQ(journal.events, QStringList{S("path renamed")});

    journal.events.clear();
    EXPECT_EQ(leaf.SetName(S("bad/name")), RESULT_INVALID_ARGUMENT);
    EXPECT_TRUE(journal.events.isEmpty());
}

TEST(AbstractProperty, NameCheckIsSafeFromManyThreads) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&wrong, t] {
            SimpleProperty p(S("p"));
            for (int i = 0; i < 2000; ++i) {
                const bool bad = (i + t) % 2 == 0;
                const QString name = bad ? QString(S("bad?") + QString::number(i))
                                         : QString(S("good ") + QString::number(i));
                const ERESULT expected = bad ? RESULT_INVALID_ARGUMENT : RESULT_OK;
                if (p.SetName(name) != expected) {
                    ++wrong;
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong.load(), 0);
}

TEST(AbstractProperty, CopyOfParentedNodeHasNoParentAndSameFlags) {
    PropertyObject parent;
    auto* child = new SimpleProperty(S("child"));
    ASSERT_EQ(parent.InsertProperty(child), RESULT_OK);
    child->SetHidden(true);
    const SimpleProperty copy(*child);
    EXPECT_EQ(copy.GetParent(), nullptr);
    EXPECT_EQ(copy.GetPropertyFlags(), 6u);
    EXPECT_EQ(const_cast<SimpleProperty&>(copy).GetName(), S("child"));
}

TEST(AbstractProperty, CloneIsParentless) {
    PropertyObject parent;
    auto* child = new SimpleProperty(S("child"));
    ASSERT_EQ(parent.InsertProperty(child), RESULT_OK);
    child->SetReadOnly(true);
    std::unique_ptr<AbstractProperty> clone(child->Clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_NE(clone.get(), child);
    EXPECT_EQ(clone->GetParent(), nullptr);
    EXPECT_EQ(clone->GetName(), S("child"));
    EXPECT_EQ(clone->GetPropertyFlags(), 5u);
    EXPECT_EQ(clone->PropertyObjType(), S("Prop"));
}

TEST(AbstractProperty, DestroyingAChildInAContainerRemovesTheEntry) {
    PropertyObject parent;
    auto* a = new SimpleProperty(S("a"));
    auto* b = new PropertyObject(S("b"));
    ASSERT_EQ(parent.InsertProperty(a), RESULT_OK);
    ASSERT_EQ(parent.InsertProperty(b), RESULT_OK);
    ASSERT_EQ(b->InsertProperty(new SimpleProperty(S("x"))), RESULT_OK);
    delete a;
    EXPECT_EQ(parent.GetPropertyCount(), 1);
    EXPECT_FALSE(parent.HasProperty(S("a")));
    delete b;
    EXPECT_EQ(parent.GetPropertyCount(), 0);
    QList<AbstractProperty*> list;
    parent.GetPropertyList(&list);
    EXPECT_TRUE(list.isEmpty());
}

TEST(AbstractProperty, DestructorOfANodeDeepInADestroyedTreeStillSeesItsPlace) {
    QStringList records;
    auto* root = new PropertyObject(S("root"));
    auto* g = new PropertyObject(S("g"));
    ASSERT_EQ(root->InsertProperty(g), RESULT_OK);
    ASSERT_EQ(g->InsertProperty(new WitnessLeaf(S("L"), &records)), RESULT_OK);
    ASSERT_EQ(g->InsertProperty(new WitnessLeaf(S("M"), &records)), RESULT_OK);
    delete root;
    // Each leaf is destroyed while still in its container, which drops it afterwards.
    EXPECT_EQ(records, QStringList({S("/g/L 2 listed"), S("/g/M 1 listed")}));
}

TEST(AbstractProperty, DestructorOfANodeDeepInADestroyedSubtreeStillFindsItsDataFile) {
    QStringList records;
    const DataFile* seen = nullptr;
    MemoryFile file;
    auto* s = new PropertyObject(S("s"));
    auto* g = new PropertyObject(S("g"));
    ASSERT_EQ(file.Root()->InsertProperty(s), RESULT_OK);
    ASSERT_EQ(s->InsertProperty(g), RESULT_OK);
    ASSERT_EQ(g->InsertProperty(new WitnessLeaf(S("L"), &records, &seen)), RESULT_OK);
    // Deleted in place: DeleteProperty() would take it out of the file first.
    delete s;
    EXPECT_EQ(records, QStringList{S("/s/g/L 1 listed")});
    EXPECT_EQ(seen, &file);
    EXPECT_EQ(file.Root()->GetPropertyCount(), 0);
}

TEST(AbstractProperty, RootPropertyIsTheTopmostAncestor) {
    PropertyObject root;
    auto* a = new PropertyObject(S("a"));
    auto* leaf = new SimpleProperty(S("leaf"));
    ASSERT_EQ(root.InsertProperty(a), RESULT_OK);
    ASSERT_EQ(a->InsertProperty(leaf), RESULT_OK);
    EXPECT_EQ(leaf->GetRootProperty(), &root);
    EXPECT_EQ(a->GetRootProperty(), &root);
    EXPECT_EQ(root.GetRootProperty(), &root);
}

TEST(AbstractProperty, HasFileRootLooksAtTheRoot) {
    FakeFileRoot fileRoot;
    auto* a = new PropertyObject(S("a"));
    auto* leaf = new SimpleProperty(S("leaf"));
    ASSERT_EQ(fileRoot.InsertProperty(a), RESULT_OK);
    ASSERT_EQ(a->InsertProperty(leaf), RESULT_OK);
    EXPECT_TRUE(leaf->HasFileRoot());
    EXPECT_FALSE(leaf->IsFileRoot());
    EXPECT_TRUE(fileRoot.HasFileRoot());

    PropertyObject plain;
    auto* other = new SimpleProperty(S("other"));
    ASSERT_EQ(plain.InsertProperty(other), RESULT_OK);
    EXPECT_FALSE(other->HasFileRoot());
    EXPECT_FALSE(plain.HasFileRoot());
}

TEST(AbstractProperty, GetDataFileIsNullOutsideADataFile) {
    PropertyObject root;
    auto* leaf = new SimpleProperty(S("leaf"));
    ASSERT_EQ(root.InsertProperty(leaf), RESULT_OK);
    EXPECT_EQ(leaf->GetDataFile(), nullptr);
    EXPECT_EQ(root.GetDataFile(), nullptr);
    // Flags alone do not make a data file's root node.
    FakeFileRoot fake;
    EXPECT_EQ(fake.GetDataFile(), nullptr);
}

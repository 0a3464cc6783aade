// SPDX-License-Identifier: MIT
#include <orrery/property.h>

#include "testutil.h"
#include "treeutil.h"

#include <gtest/gtest.h>

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace Orrery;
using OrreryTest::MessageCapture;
using PropertyTest::ChildCountingObject;
using PropertyTest::FakeFileRoot;
using PropertyTest::Journal;
using PropertyTest::NoteMetadata;
using PropertyTest::TracedLeaf;
using PropertyTest::TracedObject;

namespace {

QString S(const char* text) {
    return QString::fromUtf8(text);
}

QStringList namesOf(const QList<AbstractProperty*>& list) {
    QStringList names;
    for (AbstractProperty* p : list) {
        names << p->GetName();
    }
    return names;
}

QStringList childNames(const PropertyObject& object) {
    QList<AbstractProperty*> list;
    object.GetPropertyList(&list);
    return namesOf(list);
}

// root { a { x, y }, b { z } } of traced nodes.
std::unique_ptr<TracedObject> tracedTree(Journal* journal) {
    auto root = std::make_unique<TracedObject>(S("root"), journal);
    auto* a = new TracedObject(S("a"), journal);
    auto* b = new TracedObject(S("b"), journal);
    root->InsertProperty(b);
    root->InsertProperty(a);
    a->InsertProperty(new TracedLeaf(S("y"), journal));
    a->InsertProperty(new TracedLeaf(S("x"), journal));
    b->InsertProperty(new TracedLeaf(S("z"), journal));
    return root;
}

// A client container whose DoClone() copies through a temporary.
class ViaTemporaryObject : public PropertyObject {
public:
    explicit ViaTemporaryObject(const QString& name) : PropertyObject(name) {}
    ViaTemporaryObject(const ViaTemporaryObject& other) = default;

protected:
    AbstractProperty* DoClone() const override {
        ViaTemporaryObject temporary(*this);
        return new ViaTemporaryObject(temporary);
    }
};

// A client container whose DoClone() leaves the child "scratch" out of the copy and
// records the result of deleting it.
class PruningObject : public PropertyObject {
public:
    PruningObject(const QString& name, std::vector<ERESULT>* results)
        : PropertyObject(name), results_(results) {}
    PruningObject(const PruningObject& other) = default;

protected:
    AbstractProperty* DoClone() const override {
        auto* copy = new PruningObject(*this);
        results_->push_back(copy->DeleteProperty(S("scratch")));
        return copy;
    }

private:
    std::vector<ERESULT>* results_;
};

// A client container whose copy constructor counts the children of the new copy.
class CountingCopyObject : public PropertyObject {
public:
    explicit CountingCopyObject(const QString& name) : PropertyObject(name) {}
    CountingCopyObject(const CountingCopyObject& other)
        : PropertyObject(other), childrenWhenCopied(GetPropertyCount()) {}
    int childrenWhenCopied = -1;

protected:
    AbstractProperty* DoClone() const override { return new CountingCopyObject(*this); }
};

// A leaf whose path-change hook runs an action once, between two journal entries.
class HookLeaf : public SimpleProperty {
public:
    HookLeaf(const QString& name, Journal* journal) : SimpleProperty(name), journal_(journal) {}
    std::function<void()> action;

private:
    void OnPathChanged() override {
        if (!action) {
            return;
        }
        const std::function<void()> run = std::move(action);
        action = nullptr;
        journal_->add(S("hook"), GetName());
        run();
        journal_->add(S("hook end"), GetName());
    }

    Journal* journal_;
};

// root { a { h }, b { t { z } } }, in the container `holder` or parentless: h runs the
// action, z records its path changes.
struct HookTree {
    HookTree(PropertyObject* holder, Journal* journal)
        : root(new PropertyObject(S("root"))),
          a(new PropertyObject(S("a"))),
          b(new PropertyObject(S("b"))),
          t(new PropertyObject(S("t"))),
          h(new HookLeaf(S("h"), journal)) {
        if (holder != nullptr) {
            holder->InsertProperty(root);
        } else {
            owned.reset(root);
        }
        root->InsertProperty(a);
        root->InsertProperty(b);
        a->InsertProperty(h);
        b->InsertProperty(t);
        t->InsertProperty(new TracedLeaf(S("z"), journal));
    }
    std::unique_ptr<PropertyObject> owned;
    PropertyObject* root;
    PropertyObject* a;
    PropertyObject* b;
    PropertyObject* t;
    HookLeaf* h;
};

}  // namespace

TEST(PropertyObject, InsertPropertyTakesTheChild) {
    Journal journal;
    PropertyObject parent(S("parent"));
    auto* leaf = new TracedLeaf(S("leaf"), &journal);
    EXPECT_EQ(parent.InsertProperty(leaf), RESULT_OK);
    EXPECT_EQ(leaf->GetParent(), &parent);
    EXPECT_EQ(parent.GetPropertyPtr(S("leaf")), leaf);
    EXPECT_EQ(parent.GetPropertyCount(), 1);
    EXPECT_EQ(journal.events, QStringList{S("path leaf")});
}

TEST(PropertyObject, InsertingAUsedNameFailsAndKeepsTheExistingChild) {
    PropertyObject parent;
    auto* first = new SimpleProperty(S("n"));
    ASSERT_EQ(parent.InsertProperty(first), RESULT_OK);
    SimpleProperty second(S("n"));
    EXPECT_EQ(parent.InsertProperty(&second), RESULT_ALREADY_EXISTS);
    EXPECT_EQ(parent.GetPropertyPtr(S("n")), first);
    EXPECT_EQ(second.GetParent(), nullptr);
    EXPECT_EQ(parent.GetPropertyCount(), 1);
}

TEST(PropertyObject, InsertOrReplaceDestroysTheOldChildOfTheSameName) {
    Journal journal;
    PropertyObject parent;
    ASSERT_EQ(parent.InsertProperty(new TracedLeaf(S("n"), &journal)), RESULT_OK);
    auto* replacement = new SimpleProperty(S("n"));
    journal.events.clear();
    EXPECT_EQ(parent.InsertOrReplaceProperty(replacement), RESULT_OK);
    EXPECT_EQ(journal.events, QStringList({S("path n"), S("~ n")}));
    EXPECT_EQ(parent.GetPropertyPtr(S("n")), replacement);
    EXPECT_EQ(replacement->GetParent(), &parent);
    EXPECT_EQ(parent.GetPropertyCount(), 1);
}

TEST(PropertyObject, InsertOrReplaceOfAChildChangesNothing) {
    Journal journal;
    PropertyObject parent;
    auto* child = new TracedLeaf(S("n"), &journal);
    ASSERT_EQ(parent.InsertProperty(child), RESULT_OK);
    journal.events.clear();
    EXPECT_EQ(parent.InsertOrReplaceProperty(child), RESULT_OK);
    EXPECT_TRUE(journal.events.isEmpty());
    EXPECT_EQ(parent.GetPropertyPtr(S("n")), child);
    EXPECT_EQ(child->GetParent(), &parent);
}

TEST(PropertyObject, InsertOrReplaceWithoutNameClashInserts) {
    PropertyObject parent;
    auto* child = new SimpleProperty(S("n"));
    EXPECT_EQ(parent.InsertOrReplaceProperty(child), RESULT_OK);
    EXPECT_EQ(parent.GetPropertyPtr(S("n")), child);
    EXPECT_EQ(parent.InsertOrReplaceProperty(nullptr), RESULT_INVALID_ARGUMENT);
}

TEST(PropertyObject, InsertingANodeOfAnotherContainerFails) {
    PropertyObject first;
    PropertyObject second;
    auto* child = new SimpleProperty(S("child"));
    ASSERT_EQ(first.InsertProperty(child), RESULT_OK);
    EXPECT_EQ(second.InsertProperty(child), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(child->GetParent(), &first);
    EXPECT_EQ(second.GetPropertyCount(), 0);
    EXPECT_EQ(first.GetPropertyPtr(S("child")), child);
}

TEST(PropertyObject, InsertingAnUnnamedOrNullNodeFails) {
    PropertyObject parent;
    SimpleProperty unnamed;
    EXPECT_EQ(parent.InsertProperty(&unnamed), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(unnamed.GetParent(), nullptr);
    EXPECT_EQ(parent.InsertProperty(nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(parent.GetPropertyCount(), 0);
}

TEST(PropertyObject, InsertingTheRootIntoItsDescendantThrowsLogicError) {
    auto* root = new PropertyObject(S("root"));
    auto* a = new PropertyObject(S("a"));
    auto* b = new PropertyObject(S("b"));
    ASSERT_EQ(root->InsertProperty(a), RESULT_OK);
    ASSERT_EQ(a->InsertProperty(b), RESULT_OK);
    try {
        b->InsertProperty(root);
        FAIL() << "no exception";
    } catch (const std::logic_error& e) {
        const std::string message = e.what();
        EXPECT_EQ(message.rfind("circular property link error! ", 0), 0u) << message;
        EXPECT_EQ(message, "circular property link error! / => /a/b");
    }
    // Nothing changed.
    EXPECT_EQ(root->GetParent(), nullptr);
    EXPECT_EQ(b->GetPropertyCount(), 0);
    delete root;
}

TEST(PropertyObject, InsertingAContainerIntoItselfThrowsLogicError) {
    PropertyObject root(S("root"));
    EXPECT_THROW(root.InsertProperty(&root), std::logic_error);
    EXPECT_EQ(root.GetPropertyCount(), 0);
}

TEST(PropertyObject, InsertingAnInnerAncestorIsRefusedAsParented) {
    PropertyObject root;
    auto* a = new PropertyObject(S("a"));
    auto* b = new PropertyObject(S("b"));
    ASSERT_EQ(root.InsertProperty(a), RESULT_OK);
    ASSERT_EQ(a->InsertProperty(b), RESULT_OK);
    EXPECT_EQ(b->InsertProperty(a), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(a->GetParent(), &root);
}

TEST(PropertyObject, TakePropertyHandsTheChildToTheCaller) {
    Journal journal;
    PropertyObject parent;
    ASSERT_EQ(parent.InsertProperty(new TracedLeaf(S("n"), &journal)), RESULT_OK);
    journal.events.clear();
    std::unique_ptr<AbstractProperty> taken(parent.TakeProperty(S("n")));
    ASSERT_NE(taken, nullptr);
    EXPECT_EQ(taken->GetParent(), nullptr);
    EXPECT_EQ(parent.GetPropertyCount(), 0);
    EXPECT_EQ(journal.events, QStringList{S("path n")});
    EXPECT_EQ(parent.TakeProperty(S("n")), nullptr);
}

TEST(PropertyObject, DeletePropertyDestroysTheChild) {
    Journal journal;
    PropertyObject parent;
    ASSERT_EQ(parent.InsertProperty(new TracedLeaf(S("n"), &journal)), RESULT_OK);
    EXPECT_EQ(parent.DeleteProperty(S("n")), RESULT_OK);
    EXPECT_TRUE(journal.events.contains(S("~ n")));
    EXPECT_EQ(parent.GetPropertyCount(), 0);
    EXPECT_EQ(parent.DeleteProperty(S("n")), RESULT_NOT_FOUND);
}

TEST(PropertyObject, RemovePropertyDetachesWithoutDestroying) {
    Journal journal;
    PropertyObject parent;
    auto* child = new TracedLeaf(S("n"), &journal);
    ASSERT_EQ(parent.InsertProperty(child), RESULT_OK);
    EXPECT_EQ(parent.RemoveProperty(S("n")), RESULT_OK);
    EXPECT_FALSE(journal.events.contains(S("~ n")));
    EXPECT_EQ(child->GetParent(), nullptr);
    EXPECT_FALSE(parent.HasProperty(S("n")));
    EXPECT_TRUE(childNames(parent).isEmpty());
    EXPECT_EQ(parent.RemoveProperty(S("n")), RESULT_NOT_FOUND);
    // Nothing owns the child now; the caller that kept the pointer frees it.
    delete child;
    EXPECT_TRUE(journal.events.contains(S("~ n")));
}

TEST(PropertyObject, DeletePropertiesDestroysAllChildren) {
    Journal journal;
    auto root = tracedTree(&journal);
    journal.events.clear();
    root->DeleteProperties();
    EXPECT_EQ(root->GetPropertyCount(), 0);
    EXPECT_EQ(journal.events, QStringList({S("~ a"), S("~ x"), S("~ y"), S("~ b"), S("~ z")}));
}

TEST(PropertyObject, DestructionVisitsNodesDepthFirstInNameOrder) {
    Journal journal;
    auto root = tracedTree(&journal);
    journal.events.clear();
    root.reset();
    EXPECT_EQ(journal.events,
              QStringList({S("~ root"), S("~ a"), S("~ x"), S("~ y"), S("~ b"), S("~ z")}));
}

TEST(PropertyObject, DestructorOfASubclassStillSeesItsChildren) {
    Journal journal;
    {
        PropertyObject root;
        auto* outer = new ChildCountingObject(S("outer"), &journal);
        auto* inner = new ChildCountingObject(S("inner"), &journal);
        root.InsertProperty(outer);
        outer->InsertProperty(inner);
        outer->InsertProperty(new SimpleProperty(S("leaf")));
        inner->InsertProperty(new SimpleProperty(S("leaf")));
    }
    EXPECT_EQ(journal.events, QStringList({S("~outer 2"), S("~inner 1")}));
}

TEST(PropertyObject, HasPropertyIsCaseSensitive) {
    PropertyObject parent;
    ASSERT_EQ(parent.InsertProperty(new SimpleProperty(S("Name"))), RESULT_OK);
    EXPECT_TRUE(parent.HasProperty(S("Name")));
    EXPECT_FALSE(parent.HasProperty(S("name")));
    EXPECT_EQ(parent.GetPropertyPtr(S("NAME")), nullptr);
}

TEST(PropertyObject, GetPropertyPtrTakesNamesNotPaths) {
    PropertyObject root;
    auto* a = new PropertyObject(S("a"));
    ASSERT_EQ(root.InsertProperty(a), RESULT_OK);
    ASSERT_EQ(a->InsertProperty(new SimpleProperty(S("b"))), RESULT_OK);
    EXPECT_EQ(root.GetPropertyPtr(S("a/b")), nullptr);
    EXPECT_EQ(root.GetPropertyPtr(S("/a")), nullptr);
    EXPECT_EQ(root.GetPropertyConstPtr(S("a")), a);
    EXPECT_EQ(root.GetPropertyConstPtr(S("missing")), nullptr);
}

TEST(PropertyObject, GetPropertyListEmptiesTheListAndUsesNameOrder) {
    PropertyObject parent;
    for (const char* name : {"b", "B", "a10", "a2"}) {
        ASSERT_EQ(parent.InsertProperty(new SimpleProperty(S(name))), RESULT_OK);
    }
    SimpleProperty stray(S("stray"));
    QList<AbstractProperty*> list{&stray};
    parent.GetPropertyList(&list);
    EXPECT_EQ(namesOf(list), QStringList({S("B"), S("a10"), S("a2"), S("b")}));
    parent.GetPropertyList(nullptr);
}

TEST(PropertyObject, SortedListOrdersByCodeUnit) {
    PropertyObject parent;
    for (const char* name : {"b", "B", "a10", "a2"}) {
        ASSERT_EQ(parent.InsertProperty(new SimpleProperty(S(name))), RESULT_OK);
    }
    EXPECT_EQ(namesOf(parent.GetPropertyListSorted()),
              QStringList({S("B"), S("a10"), S("a2"), S("b")}));
}

TEST(PropertyObject, SortedListOfManyChildren) {
    PropertyObject parent;
    QStringList expected;
    for (int i = 0; i < 200; ++i) {
        const QString name = QString(S("item") + QString::number((i * 37) % 200));
        ASSERT_EQ(parent.InsertProperty(new SimpleProperty(name)), RESULT_OK);
        expected << name;
    }
    expected.sort(Qt::CaseSensitive);
    EXPECT_EQ(namesOf(parent.GetPropertyListSorted()), expected);
    EXPECT_TRUE(PropertyObject().GetPropertyListSorted().isEmpty());
}

TEST(PropertyObject, BuildMetadataListOnEmptyContainerLeavesTheListAlone) {
    PropertyObject empty;
    SimpleProperty stray(S("stray"));
    QList<AbstractProperty*> list{&stray};
    empty.BuildMetadataList(&list);
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list.first(), &stray);
}

TEST(PropertyObject, BuildMetadataListTakesDirectMetadataChildren) {
    PropertyObject parent;
    auto* second = new NoteMetadata(S("m2"));
    auto* first = new NoteMetadata(S("m1"));
    auto* holder = new PropertyObject(S("holder"));
    ASSERT_EQ(parent.InsertProperty(second), RESULT_OK);
    ASSERT_EQ(parent.InsertProperty(new SimpleProperty(S("plain"))), RESULT_OK);
    ASSERT_EQ(parent.InsertProperty(first), RESULT_OK);
    ASSERT_EQ(parent.InsertProperty(holder), RESULT_OK);
    ASSERT_EQ(holder->InsertProperty(new NoteMetadata(S("deep"))), RESULT_OK);
    SimpleProperty stray(S("stray"));
    QList<AbstractProperty*> list{&stray};
    parent.BuildMetadataList(&list);
    EXPECT_EQ(namesOf(list), QStringList({S("m1"), S("m2")}));

    // Children, but none of them metadata: the list is emptied.
    parent.BuildMetadataList(nullptr);
    list = {&stray};
    holder->DeleteProperties();
    holder->InsertProperty(new SimpleProperty(S("plain")));
    holder->BuildMetadataList(&list);
    EXPECT_TRUE(list.isEmpty());
}

struct PrefixCase {
    std::vector<const char*> children;
    const char* prefix;
    QStringList expected;
};

class PrefixedChildren : public ::testing::TestWithParam<PrefixCase> {};

TEST_P(PrefixedChildren, TakesIndicesBelowTheChildCount) {
    PropertyObject parent;
    for (const char* name : GetParam().children) {
        ASSERT_EQ(parent.InsertProperty(new SimpleProperty(S(name))), RESULT_OK);
    }
    SimpleProperty stray(S("stray"));
    QList<AbstractProperty*> list{&stray};
    parent.GetPrefixedChildrenProperties(&list, S(GetParam().prefix));
    EXPECT_EQ(namesOf(list), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    PropertyObject, PrefixedChildren,
    ::testing::Values(PrefixCase{{"p0", "p2", "x"}, "p", {S("p0"), S("p2")}},
                      PrefixCase{{"p1", "p2"}, "p", {S("p1")}},
                      PrefixCase{{"p0", "p5", "p1"}, "p", {S("p0"), S("p1")}},
                      PrefixCase{{"p10", "p1", "p0", "a", "b", "c", "d", "e", "f", "g", "h"},
                                 "p",
                                 {S("p0"), S("p1"), S("p10")}},
                      PrefixCase{{"1", "0", "x"}, "", {S("0"), S("1")}},
                      PrefixCase{{"P0", "p1"}, "p", {S("p1")}}, PrefixCase{{}, "p", {}}));

TEST(PropertyObject, CanReferencePropertyInTheSameTreeOrADataFile) {
    PropertyObject root;
    auto* a = new PropertyObject(S("a"));
    auto* b = new SimpleProperty(S("b"));
    ASSERT_EQ(root.InsertProperty(a), RESULT_OK);
    ASSERT_EQ(root.InsertProperty(b), RESULT_OK);
    EXPECT_TRUE(a->CanReferenceProperty(b));
    EXPECT_TRUE(a->CanReferenceProperty(&root));

    PropertyObject otherTree;
    auto* other = new SimpleProperty(S("other"));
    ASSERT_EQ(otherTree.InsertProperty(other), RESULT_OK);
    EXPECT_FALSE(a->CanReferenceProperty(other));
    SimpleProperty loose(S("loose"));
    EXPECT_FALSE(a->CanReferenceProperty(&loose));

    FakeFileRoot fileRoot;
    auto* inFile = new SimpleProperty(S("inFile"));
    ASSERT_EQ(fileRoot.InsertProperty(inFile), RESULT_OK);
    EXPECT_TRUE(a->CanReferenceProperty(inFile));
    EXPECT_FALSE(a->CanReferenceProperty(nullptr));
}

TEST(PropertyObject, SetPropertyRefInsertsAReferenceAndSetsIt) {
    PropertyObject root;
    auto* a = new PropertyObject(S("a"));
    auto* b = new SimpleProperty(S("b"));
    ASSERT_EQ(root.InsertProperty(a), RESULT_OK);
    ASSERT_EQ(a->InsertProperty(b), RESULT_OK);
    EXPECT_EQ(a->SetPropertyRef(S("ref"), b), RESULT_OK);
    auto* reference = dynamic_cast<PropertyReference*>(a->GetPropertyPtr(S("ref")));
    ASSERT_NE(reference, nullptr);
    EXPECT_EQ(reference->ReferencePath(), S("../b"));
    EXPECT_EQ(reference->GetConstRef<AbstractProperty>(), b);
}

TEST(PropertyObject, SetPropertyRefWithUsedNameFailsAndDropsTheReference) {
    PropertyObject root;
    auto* taken = new SimpleProperty(S("ref"));
    ASSERT_EQ(root.InsertProperty(taken), RESULT_OK);
    EXPECT_EQ(root.SetPropertyRef(S("ref"), taken), RESULT_ALREADY_EXISTS);
    EXPECT_EQ(root.GetPropertyPtr(S("ref")), taken);
    EXPECT_EQ(root.GetPropertyCount(), 1);
    EXPECT_EQ(root.SetPropertyRef(QString(), taken), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(root.GetPropertyCount(), 1);
}

TEST(PropertyObject, SetPropertyRefToAnUnreachableTargetKeepsAnUnsetReference) {
    PropertyObject root;
    SimpleProperty loose(S("loose"));
    MessageCapture capture;
    EXPECT_EQ(root.SetPropertyRef(S("ref"), &loose), RESULT_INVALID_ARGUMENT);
    auto* reference = dynamic_cast<PropertyReference*>(root.GetPropertyPtr(S("ref")));
    ASSERT_NE(reference, nullptr);
    EXPECT_TRUE(reference->ReferencePath().isEmpty());
    EXPECT_EQ(reference->GetReferenceType(), PropertyReference::REFERENCE_NONE);
    ASSERT_EQ(capture.texts(QtDebugMsg).size(), 1);
    EXPECT_TRUE(capture.texts(QtDebugMsg).first().startsWith(S("Can't set reference to loose@")));
}

TEST(PropertyObject, PathChangeReachesTheWholeSubtreeInNameOrder) {
    Journal journal;
    auto root = tracedTree(&journal);
    journal.events.clear();
    EXPECT_EQ(root->SetName(S("renamed")), RESULT_OK);
    EXPECT_EQ(journal.events, QStringList({S("path x"), S("path y"), S("path z")}));

    journal.events.clear();
    PropertyObject holder;
    ASSERT_EQ(holder.InsertProperty(root.release()), RESULT_OK);
    EXPECT_EQ(journal.events, QStringList({S("path x"), S("path y"), S("path z")}));
}

TEST(PropertyObject, RenamingAContainerNotifiesItsDescendants) {
    Journal journal;
    auto root = tracedTree(&journal);
    auto* a = root->GetPropertyPtr(S("a"));
    journal.events.clear();
    EXPECT_EQ(a->SetName(S("c")), RESULT_OK);
    // Taken out, inserted again, then the rename itself: three notifications each.
    EXPECT_EQ(journal.events, QStringList({S("path x"), S("path y"), S("path x"), S("path y"),
                                           S("path x"), S("path y")}));
    EXPECT_EQ(root->ResolvePath(S("/c/x")),
              dynamic_cast<PropertyObject*>(a)->GetPropertyPtr(S("x")));
}

TEST(PropertyObject, HookThatRenamesAContainerReturnsAfterItsSubtreeHeardOfIt) {
    Journal journal;
    HookTree tree(nullptr, &journal);
    tree.h->action = [&tree] { tree.b->SetName(S("c")); };
    journal.events.clear();
    ASSERT_EQ(tree.root->SetName(S("renamed")), RESULT_OK);
    // Taken out, inserted again and renamed inside the hook; then the walk of the root
    // reaches the container under its new name.
    EXPECT_EQ(journal.events, QStringList({S("hook h"), S("path z"), S("path z"), S("path z"),
                                           S("hook end h"), S("path z")}));
}

TEST(PropertyObject, HookFarDownATreeThatRenamesAContainerReturnsAfterItsSubtreeHeardOfIt) {
    Journal journal;
    // The hook tree 1000 levels down a chain of containers.
    PropertyObject top(S("top"));
    PropertyObject* node = &top;
    for (int level = 1; level < 1000; ++level) {
        auto* child = new PropertyObject(QString(S("c") + QString::number(level)));
        node->InsertProperty(child);
        node = child;
    }
    HookTree tree(node, &journal);
    tree.h->action = [&tree] { tree.b->SetName(S("c")); };
    journal.events.clear();
    ASSERT_EQ(top.SetName(S("renamed")), RESULT_OK);
    EXPECT_EQ(journal.events, QStringList({S("hook h"), S("path z"), S("path z"), S("path z"),
                                           S("hook end h"), S("path z")}));
}

TEST(PropertyObject, HookThatDeletesALaterSiblingEndsItsPartOfTheWalkAtAnyDepth) {
    for (int depth : {1, 1000}) {
        Journal journal;
        PropertyObject root(S("root"));
        PropertyObject* node = &root;
        for (int level = 1; level < depth; ++level) {
            auto* child = new PropertyObject(QString(S("c") + QString::number(level)));
            node->InsertProperty(child);
            node = child;
        }
        auto* hook = new HookLeaf(S("a"), &journal);
        node->InsertProperty(hook);
        node->InsertProperty(new TracedLeaf(S("b"), &journal));
        node->InsertProperty(new TracedLeaf(S("c"), &journal));
        hook->action = [node] { node->DeleteProperty(S("b")); };
        journal.events.clear();
        ASSERT_EQ(root.SetName(S("renamed")), RESULT_OK);
        EXPECT_EQ(journal.events,
                  QStringList({S("hook a"), S("path b"), S("~ b"), S("hook end a"), S("path c")}))
            << "depth " << depth;
    }
}

TEST(PropertyObject, HookThatMovesAContainerReturnsAfterItsSubtreeHeardOfIt) {
    Journal journal;
    HookTree tree(nullptr, &journal);
    tree.h->action = [&tree] { tree.a->InsertProperty(tree.b->TakeProperty(S("t"))); };
    journal.events.clear();
    ASSERT_EQ(tree.root->SetName(S("renamed")), RESULT_OK);
    // The walk of a goes on to t, which now follows h in a.
    EXPECT_EQ(journal.events,
              QStringList({S("hook h"), S("path z"), S("path z"), S("hook end h"), S("path z")}));
    EXPECT_EQ(tree.t->GetParent(), tree.a);
}

TEST(PropertyObject, HookThatInsertsAContainerReturnsAfterItsSubtreeHeardOfIt) {
    Journal journal;
    HookTree tree(nullptr, &journal);
    auto* added = new PropertyObject(S("added"));
    auto* inner = new PropertyObject(S("inner"));
    added->InsertProperty(inner);
    inner->InsertProperty(new TracedLeaf(S("w"), &journal));
    tree.h->action = [&tree, added] { tree.b->InsertProperty(added); };
    journal.events.clear();
    ASSERT_EQ(tree.a->SetName(S("first")), RESULT_OK);
    // Renaming a notifies h three times; the hook runs on the first.
    EXPECT_EQ(journal.events, QStringList({S("hook h"), S("path w"), S("hook end h")}));
    EXPECT_EQ(added->GetParent(), tree.b);
}

TEST(PropertyObject, CopyInsertsCompleteCopiesOfTheChildrenOneAfterTheOther) {
    Journal journal;
    auto root = tracedTree(&journal);
    journal.events.clear();
    std::unique_ptr<AbstractProperty> clone(root->Clone());
    // Each container copy is complete before it is inserted; inserting it tells its
    // whole subtree again.
    EXPECT_EQ(journal.events, QStringList({S("clone root"), S("clone a"), S("clone x"), S("path x"),
                                           S("clone y"), S("path y"), S("path x"), S("path y"),
                                           S("clone b"), S("clone z"), S("path z"), S("path z")}));
}

TEST(PropertyObject, CopyOfASubclassThatClonesThroughATemporaryKeepsTheChildren) {
    PropertyObject root(S("root"));
    auto* object = new ViaTemporaryObject(S("object"));
    auto* inner = new PropertyObject(S("inner"));
    ASSERT_EQ(root.InsertProperty(object), RESULT_OK);
    ASSERT_EQ(object->InsertProperty(new SimpleProperty(S("x"))), RESULT_OK);
    ASSERT_EQ(object->InsertProperty(inner), RESULT_OK);
    ASSERT_EQ(inner->InsertProperty(new SimpleProperty(S("y"))), RESULT_OK);
    std::unique_ptr<AbstractProperty> clone(root.Clone());
    auto* copy = dynamic_cast<PropertyObject*>(clone.get());
    ASSERT_NE(copy, nullptr);
    auto* copied = dynamic_cast<ViaTemporaryObject*>(copy->GetPropertyPtr(S("object")));
    ASSERT_NE(copied, nullptr);
    EXPECT_EQ(childNames(*copied), QStringList({S("inner"), S("x")}));
    const AbstractProperty* copiedY = copy->ResolvePath(S("/object/inner/y"));
    ASSERT_NE(copiedY, nullptr);
    EXPECT_NE(copiedY, root.ResolvePath(S("/object/inner/y")));
}

TEST(PropertyObject, DoCloneOfASubclassEditsACompleteCopy) {
    std::vector<ERESULT> results;
    PropertyObject root(S("root"));
    auto* object = new PruningObject(S("object"), &results);
    ASSERT_EQ(root.InsertProperty(object), RESULT_OK);
    ASSERT_EQ(object->InsertProperty(new SimpleProperty(S("keep"))), RESULT_OK);
    ASSERT_EQ(object->InsertProperty(new SimpleProperty(S("scratch"))), RESULT_OK);
    std::unique_ptr<AbstractProperty> clone(root.Clone());
    EXPECT_EQ(results, std::vector<ERESULT>{RESULT_OK});
    auto* copy = dynamic_cast<PropertyObject*>(clone.get());
    ASSERT_NE(copy, nullptr);
    auto* copied = dynamic_cast<PropertyObject*>(copy->GetPropertyPtr(S("object")));
    ASSERT_NE(copied, nullptr);
    EXPECT_EQ(childNames(*copied), QStringList{S("keep")});
    EXPECT_EQ(childNames(*object), QStringList({S("keep"), S("scratch")}));
}

TEST(PropertyObject, CopyConstructorOfASubclassSeesTheCopiedChildren) {
    PropertyObject root(S("root"));
    auto* object = new CountingCopyObject(S("object"));
    ASSERT_EQ(root.InsertProperty(object), RESULT_OK);
    ASSERT_EQ(object->InsertProperty(new SimpleProperty(S("a"))), RESULT_OK);
    ASSERT_EQ(object->InsertProperty(new PropertyObject(S("b"))), RESULT_OK);
    std::unique_ptr<AbstractProperty> clone(root.Clone());
    auto* copy = dynamic_cast<PropertyObject*>(clone.get());
    ASSERT_NE(copy, nullptr);
    auto* copied = dynamic_cast<CountingCopyObject*>(copy->GetPropertyPtr(S("object")));
    ASSERT_NE(copied, nullptr);
    EXPECT_EQ(copied->childrenWhenCopied, 2);
}

// A leaf that counts the instances alive.
class CountedLeaf : public SimpleProperty {
public:
    explicit CountedLeaf(const QString& name) : SimpleProperty(name) { ++alive; }
    ~CountedLeaf() override { --alive; }
    static int alive;
};
int CountedLeaf::alive = 0;

// A leaf whose copies all carry one given name, whatever the original's.
class RenamingLeaf : public SimpleProperty {
public:
    RenamingLeaf(const QString& name, const QString& copyName)
        : SimpleProperty(name), copyName_(copyName) {}

protected:
    AbstractProperty* DoClone() const override { return new CountedLeaf(copyName_); }

private:
    QString copyName_;
};

TEST(PropertyObject, CopiesOutOfNameOrderOrWithTakenNamesAreInsertedAsInsertPropertyDoes) {
    PropertyObject source(S("source"));
    ASSERT_EQ(source.InsertProperty(new RenamingLeaf(S("a"), S("m"))), RESULT_OK);
    // Its copy sorts before the one already in the copy.
    ASSERT_EQ(source.InsertProperty(new RenamingLeaf(S("b"), S("c"))), RESULT_OK);
    // Its copy's name is taken: refused and freed.
    ASSERT_EQ(source.InsertProperty(new RenamingLeaf(S("c"), S("m"))), RESULT_OK);
    // Its copy has no name: refused and freed.
    ASSERT_EQ(source.InsertProperty(new RenamingLeaf(S("d"), QString())), RESULT_OK);
    // Its copy sorts after every other one.
    ASSERT_EQ(source.InsertProperty(new RenamingLeaf(S("e"), S("z"))), RESULT_OK);

    {
        const PropertyObject copy(source);
        EXPECT_EQ(childNames(copy), QStringList({S("c"), S("m"), S("z")}));
        // The refused copies are freed, none replaced another.
        EXPECT_EQ(CountedLeaf::alive, 3);
        PropertyObject& c = const_cast<PropertyObject&>(copy);
        for (const QString& name : childNames(copy)) {
            EXPECT_EQ(c.GetPropertyPtr(name)->GetParent(), &c) << name.toStdString();
        }
    }
    EXPECT_EQ(CountedLeaf::alive, 0);
}

TEST(PropertyObject, CopyOfPlainLeavesHoldsTheirClonesUnderTheirNames) {
    PropertyObject source(S("source"));
    ASSERT_EQ(source.SetProperty(S("b"), S("bee")), RESULT_OK);
    ASSERT_EQ(source.SetProperty(S("d"), S("dee")), RESULT_OK);
    ASSERT_EQ(source.SetPropertyRef(S("c"), source.GetPropertyPtr(S("b"))), RESULT_OK);
    // A leaf given another name by assignment stays under its old key; its copy is
    // inserted under the name it has now.
    auto* renamed = static_cast<SimpleProperty*>(source.GetPropertyPtr(S("d")));
    *renamed = SimpleProperty(S("a"));
    ASSERT_TRUE(source.HasProperty(S("d")));
    ASSERT_FALSE(source.HasProperty(S("a")));

    const PropertyObject copy(source);
    PropertyObject& c = const_cast<PropertyObject&>(copy);
    EXPECT_EQ(childNames(copy), QStringList({S("a"), S("b"), S("c")}));
    EXPECT_FALSE(c.HasProperty(S("d")));
    for (const QString& name : childNames(copy)) {
        EXPECT_TRUE(c.HasProperty(name)) << name.toStdString();
        AbstractProperty* child = c.GetPropertyPtr(name);
        EXPECT_EQ(child->GetName(), name);
        EXPECT_EQ(child->GetParent(), &c) << name.toStdString();
        EXPECT_NE(child, source.GetPropertyPtr(name));
    }
    QString text;
    EXPECT_EQ(c.GetProperty(S("b"), &text), RESULT_OK);
    EXPECT_EQ(text, S("bee"));
    auto* reference = dynamic_cast<PropertyReference*>(c.GetPropertyPtr(S("c")));
    ASSERT_NE(reference, nullptr);
    EXPECT_EQ(reference->ReferencePath(), S("../b"));
    EXPECT_EQ(reference->GetReferenceType(), PropertyReference::REFERENCE_INTERNAL);
    // The source is untouched.
    EXPECT_EQ(source.GetPropertyPtr(S("b"))->GetParent(), &source);
    EXPECT_EQ(source.GetPropertyCount(), 3);
}

TEST(PropertyObject, CopyHoldsClonesOfTheChildren) {
    PropertyObject source(S("source"));
    source.SetHidden(true);
    auto* a = new PropertyObject(S("a"));
    ASSERT_EQ(source.InsertProperty(a), RESULT_OK);
    ASSERT_EQ(a->SetProperty(S("v"), S("text")), RESULT_OK);
    ASSERT_EQ(source.InsertProperty(new SimpleProperty(S("b"))), RESULT_OK);

    const PropertyObject copy(source);
    PropertyObject& c = const_cast<PropertyObject&>(copy);
    EXPECT_EQ(c.GetName(), S("source"));
    EXPECT_EQ(c.GetPropertyFlags(), 6u);
    EXPECT_EQ(c.GetParent(), nullptr);
    EXPECT_EQ(childNames(copy), QStringList({S("a"), S("b")}));
    auto* copiedA = dynamic_cast<PropertyObject*>(c.GetPropertyPtr(S("a")));
    ASSERT_NE(copiedA, nullptr);
    EXPECT_NE(copiedA, a);
    EXPECT_EQ(copiedA->GetParent(), &c);
    QString text;
    EXPECT_EQ(copiedA->GetProperty(S("v"), &text), RESULT_OK);
    EXPECT_EQ(text, S("text"));
    EXPECT_NE(copiedA->GetPropertyPtr(S("v")), a->GetPropertyPtr(S("v")));
    // The source is untouched.
    EXPECT_EQ(a->GetParent(), &source);
    EXPECT_EQ(source.GetPropertyCount(), 2);
}

TEST(PropertyObject, CopyAssignmentReplacesChildrenAndKeepsTheParent) {
    Journal journal;
    PropertyObject holder;
    auto* target = new PropertyObject(S("target"));
    ASSERT_EQ(holder.InsertProperty(target), RESULT_OK);
    ASSERT_EQ(target->InsertProperty(new TracedLeaf(S("old"), &journal)), RESULT_OK);

    PropertyObject source(S("target"));
    source.SetReadOnly(true);
    ASSERT_EQ(source.InsertProperty(new SimpleProperty(S("new"))), RESULT_OK);
    *target = source;
    EXPECT_TRUE(journal.events.contains(S("~ old")));
    EXPECT_EQ(childNames(*target), QStringList{S("new")});
    EXPECT_EQ(target->GetParent(), &holder);
    EXPECT_TRUE(target->IsReadOnly());
    EXPECT_NE(target->GetPropertyPtr(S("new")), source.GetPropertyPtr(S("new")));
}

TEST(PropertyObject, SelfAssignmentKeepsTheChildren) {
    PropertyObject object(S("o"));
    ASSERT_EQ(object.InsertProperty(new SimpleProperty(S("a"))), RESULT_OK);
    PropertyObject& alias = object;
    object = alias;
    EXPECT_EQ(childNames(object), QStringList{S("a")});
    object = std::move(alias);
    EXPECT_EQ(childNames(object), QStringList{S("a")});
}

TEST(PropertyObject, MoveAssignmentTransfersTheChildren) {
    Journal journal;
    PropertyObject source(S("source"));
    auto* leaf = new TracedLeaf(S("leaf"), &journal);
    auto* inner = new PropertyObject(S("inner"));
    ASSERT_EQ(source.InsertProperty(leaf), RESULT_OK);
    ASSERT_EQ(source.InsertProperty(inner), RESULT_OK);

    PropertyObject target(S("target"));
    ASSERT_EQ(target.InsertProperty(new TracedLeaf(S("old"), &journal)), RESULT_OK);
    journal.events.clear();
    target = std::move(source);
    EXPECT_EQ(journal.events, QStringList({S("~ old"), S("path leaf")}));
    EXPECT_EQ(source.GetPropertyCount(), 0);
    EXPECT_EQ(target.GetName(), S("source"));
    EXPECT_EQ(target.GetPropertyPtr(S("leaf")), leaf);
    EXPECT_EQ(target.GetPropertyPtr(S("inner")), inner);
    EXPECT_EQ(leaf->GetParent(), &target);
    EXPECT_EQ(inner->GetParent(), &target);
}

TEST(PropertyObject, CloneIsAParentlessDeepCopy) {
    PropertyObject root;
    auto* a = new PropertyObject(S("a"));
    ASSERT_EQ(root.InsertProperty(a), RESULT_OK);
    ASSERT_EQ(a->InsertProperty(new PropertyObject(S("b"))), RESULT_OK);
    std::unique_ptr<AbstractProperty> clone(a->Clone());
    auto* copy = dynamic_cast<PropertyObject*>(clone.get());
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->GetParent(), nullptr);
    EXPECT_EQ(copy->PropertyObjType(), S("PropObj"));
    EXPECT_EQ(childNames(*copy), QStringList{S("b")});
    EXPECT_EQ(copy->ResolvePath(S("b"))->GetFullPath(), S("/b"));
}

TEST(PropertyObject, CloneVisitsNodesDepthFirstInNameOrder) {
    Journal journal;
    auto root = tracedTree(&journal);
    journal.events.clear();
    std::unique_ptr<AbstractProperty> clone(root->Clone());
    EXPECT_EQ(journal.events.filter(S("clone")),
              QStringList({S("clone root"), S("clone a"), S("clone x"), S("clone y"), S("clone b"),
                           S("clone z")}));
    auto* copy = dynamic_cast<TracedObject*>(clone.get());
    ASSERT_NE(copy, nullptr);
    ASSERT_NE(copy->ResolvePath(S("/a/x")), nullptr);
    ASSERT_NE(copy->ResolvePath(S("/a/y")), nullptr);
    ASSERT_NE(copy->ResolvePath(S("/b/z")), nullptr);
    EXPECT_NE(copy->ResolvePath(S("/a/x")), root->ResolvePath(S("/a/x")));
    EXPECT_NE(dynamic_cast<const TracedLeaf*>(copy->ResolvePath(S("/b/z"))), nullptr);
    EXPECT_EQ(copy->ResolvePath(S("/b/z"))->GetParent(), copy->ResolvePath(S("/b")));
}

TEST(PropertyObject, ResultsAreNeverPositiveNorMinusTwo) {
    std::vector<int> results;
    PropertyObject root;
    auto* a = new PropertyObject(S("a"));
    SimpleProperty loose(S("loose"));
    results.push_back(root.InsertProperty(a));
    results.push_back(root.InsertProperty(a));
    results.push_back(root.InsertProperty(nullptr));
    results.push_back(root.InsertOrReplaceProperty(a));
    results.push_back(root.SetProperty(S("v"), S("1")));
    results.push_back(root.SetProperty(S("a"), S("1")));
    results.push_back(root.SetProperty(QString(), S("1")));
    results.push_back(root.SetPropertyRef(S("r"), a));
    {
        MessageCapture quiet;
        results.push_back(root.SetPropertyRef(S("r2"), &loose));
    }
    int number = 0;
    results.push_back(root.GetProperty(S("v"), &number));
    results.push_back(root.GetProperty(S("missing"), &number));
    results.push_back(root.GetProperty(S("a"), &number));
    results.push_back(root.DeleteProperty(S("missing")));
    results.push_back(root.RemoveProperty(S("missing")));
    results.push_back(root.DeleteProperty(S("r2")));
    results.push_back(a->SetName(S("b?")));
    results.push_back(a->SetName(S("renamed")));
    {
        MessageCapture quiet;
        results.push_back(a->SetName(S("v")));
    }
    a->SetReadOnly(true);
    results.push_back(a->SetName(S("x")));
    for (int result : results) {
        EXPECT_LE(result, 0);
        EXPECT_NE(result, -2);
    }
    EXPECT_EQ(results.size(), 19u);
}

// Trees far deeper than the call stack allows a recursion per level: every
// depth-first operation runs on a thread with a 1 MiB stack.
namespace {

constexpr int kDepth = 100000;
constexpr uint kStackBytes = 1024 * 1024;

QString levelName(int level) {
    return level == 0 ? S("root") : QString(S("c") + QString::number(level));
}

// root/c1/c2/.../c<kDepth-1>, built from the top (each insertion is of an empty container).
PropertyObject* buildChain(Journal* journal, PropertyObject** deepest) {
    auto* root = journal != nullptr ? new TracedObject(levelName(0), journal)
                                    : new PropertyObject(levelName(0));
    PropertyObject* node = root;
    for (int level = 1; level < kDepth; ++level) {
        auto* child = journal != nullptr ? new TracedObject(levelName(level), journal)
                                         : new PropertyObject(levelName(level));
        node->InsertProperty(child);
        node = child;
    }
    *deepest = node;
    return root;
}

QStringList expectedLevels(const QString& kind) {
    QStringList events;
    events.reserve(kDepth);
    for (int level = 0; level < kDepth; ++level) {
        events << QString(kind + QLatin1Char(' ') + levelName(level));
    }
    return events;
}

}  // namespace

TEST(PropertyObject, DeepChainHasFullPathsAndResolves) {
    QString fullPath;
    bool resolvedAbsolute = false;
    bool resolvedRelative = false;
    bool rootFound = false;
    QString expected;
    for (int level = 1; level < kDepth; ++level) {
        expected += QString(QLatin1Char('/') + levelName(level));
    }
    OrreryTest::runOnSmallStack(
        [&] {
            PropertyObject* deepest = nullptr;
            std::unique_ptr<PropertyObject> root(buildChain(nullptr, &deepest));
            fullPath = deepest->GetFullPath();
            resolvedAbsolute = root->ResolvePath(fullPath) == deepest;
            resolvedRelative = root->ResolvePath(fullPath.mid(1)) == deepest;
            rootFound = deepest->GetRootProperty() == root.get() &&
                        deepest->ResolvePath(S("/")) == root.get();
        },
        kStackBytes);
    EXPECT_EQ(fullPath, expected);
    EXPECT_TRUE(resolvedAbsolute);
    EXPECT_TRUE(resolvedRelative);
    EXPECT_TRUE(rootFound);
}

TEST(PropertyObject, DeepChainIsDestroyedTopDownWithoutDeepRecursion) {
    Journal journal;
    OrreryTest::runOnSmallStack(
        [&] {
            PropertyObject* deepest = nullptr;
            delete buildChain(&journal, &deepest);
        },
        kStackBytes);
    EXPECT_EQ(journal.events, expectedLevels(S("~")));
}

TEST(PropertyObject, DeepChainIsClearedByDeleteProperties) {
    Journal journal;
    int remaining = -1;
    OrreryTest::runOnSmallStack(
        [&] {
            PropertyObject* deepest = nullptr;
            std::unique_ptr<PropertyObject> root(buildChain(&journal, &deepest));
            root->DeleteProperties();
            remaining = root->GetPropertyCount();
        },
        kStackBytes);
    EXPECT_EQ(remaining, 0);
    // The children go first, top down; the root itself when the test drops it.
    QStringList expected = expectedLevels(S("~")).mid(1);
    expected << S("~ root");
    EXPECT_EQ(journal.events, expected);
}

TEST(PropertyObject, DeepChainCanBeCutInTheMiddle) {
    Journal journal;
    int countAbove = -1;
    OrreryTest::runOnSmallStack(
        [&] {
            PropertyObject* deepest = nullptr;
            std::unique_ptr<PropertyObject> root(buildChain(&journal, &deepest));
            AbstractProperty* middle = root->ResolvePath(S("c1/c2/c3"));
            PropertyObject* above = middle->GetParent();
            delete middle;
            countAbove = above->GetPropertyCount();
        },
        kStackBytes);
    EXPECT_EQ(countAbove, 0);
    ASSERT_EQ(journal.events.size(), kDepth);
    EXPECT_EQ(journal.events.at(0), S("~ c3"));
    EXPECT_EQ(journal.events.at(kDepth - 4), levelName(kDepth - 1).prepend(S("~ ")));
    // The rest goes with the root.
    EXPECT_EQ(journal.events.mid(kDepth - 3), QStringList({S("~ root"), S("~ c1"), S("~ c2")}));
}

TEST(PropertyObject, DeepChainIsClonedTopDownWithoutDeepRecursion) {
    Journal journal;
    int copiedDepth = 0;
    bool distinct = true;
    QStringList cloneEvents;
    QString deepestPath;
    OrreryTest::runOnSmallStack(
        [&] {
            PropertyObject* deepest = nullptr;
            std::unique_ptr<PropertyObject> root(buildChain(&journal, &deepest));
            journal.events.clear();
            std::unique_ptr<AbstractProperty> copy(root->Clone());
            // Walk the copy: one child per level, named as in the source.
            const AbstractProperty* node = copy.get();
            const AbstractProperty* original = root.get();
            while (node != nullptr) {
                ++copiedDepth;
                distinct = distinct && node != original;
                const auto* container = dynamic_cast<const PropertyObject*>(node);
                const QString next = levelName(copiedDepth);
                node = container != nullptr ? container->GetPropertyConstPtr(next) : nullptr;
                original =
                    original != nullptr
                        ? dynamic_cast<const PropertyObject*>(original)->GetPropertyConstPtr(next)
                        : nullptr;
                if (node != nullptr && node->GetParent() != container) {
                    distinct = false;
                }
                if (node != nullptr && copiedDepth == kDepth - 1) {
                    deepestPath = const_cast<AbstractProperty*>(node)->GetFullPath();
                }
            }
            cloneEvents = journal.events.filter(S("clone"));
            copy.reset();
            root.reset();
        },
        kStackBytes);
    EXPECT_EQ(copiedDepth, kDepth);
    EXPECT_TRUE(distinct);
    EXPECT_TRUE(deepestPath.endsWith(levelName(kDepth - 1).prepend(QLatin1Char('/'))));
    EXPECT_EQ(cloneEvents, expectedLevels(S("clone")));
}

TEST(PropertyObject, DeepChainHearsPathChangesWithoutDeepRecursion) {
    Journal journal;
    QStringList afterRename;
    QStringList afterMove;
    bool movedRootFound = false;
    OrreryTest::runOnSmallStack(
        [&] {
            PropertyObject* deepest = nullptr;
            std::unique_ptr<PropertyObject> root(buildChain(nullptr, &deepest));
            deepest->InsertProperty(new TracedLeaf(S("leaf"), &journal));
            journal.events.clear();
            root->SetName(S("renamed"));
            afterRename = journal.events;

            journal.events.clear();
            PropertyObject target(S("target"));
            target = std::move(*root);
            afterMove = journal.events;
            movedRootFound = deepest->GetRootProperty() == &target;
        },
        kStackBytes);
    EXPECT_EQ(afterRename, QStringList{S("path leaf")});
    EXPECT_EQ(afterMove, QStringList{S("path leaf")});
    EXPECT_TRUE(movedRootFound);
}

TEST(PropertyObject, WideTreeOfManyNodesIsCleared) {
    Journal journal;
    PropertyObject root;
    for (int i = 0; i < kDepth; ++i) {
        ASSERT_EQ(root.InsertProperty(new TracedLeaf(QString::number(i), &journal)), RESULT_OK);
    }
    journal.events.clear();
    root.DeleteProperties();
    EXPECT_EQ(root.GetPropertyCount(), 0);
    EXPECT_EQ(journal.events.filter(S("~")).size(), kDepth);
}

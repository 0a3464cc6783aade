// SPDX-License-Identifier: MIT
#include <orrery/property.h>

#include "testutil.h"
#include "treeutil.h"

#include <gtest/gtest.h>

#include <QString>

#include <memory>

using Orrery::AbstractProperty;
using Orrery::PropertyObject;
using Orrery::RESULT_INVALID_ARGUMENT;
using Orrery::RESULT_OK;
using Orrery::SimpleProperty;
// The fixture below is named after the class under test.
using Reference = Orrery::PropertyReference;
using OrreryTest::MessageCapture;
using PropertyTest::FakeFileRoot;
using PropertyTest::NoteMetadata;

namespace {

QString S(const char* text) {
    return QString::fromUtf8(text);
}

QString addressText(const void* address) {
    return QString::asprintf("%8p", address);
}

// The tree of the reference tests: root { a { ref, b (leaf), m (metadata) } }
class PropertyReference : public ::testing::Test {
protected:
    void SetUp() override {
        a = new PropertyObject(S("a"));
        b = new SimpleProperty(S("b"));
        m = new NoteMetadata(S("m"));
        ref = new Reference(S("ref"));
        ASSERT_EQ(root.InsertProperty(a), RESULT_OK);
        ASSERT_EQ(a->InsertProperty(b), RESULT_OK);
        ASSERT_EQ(a->InsertProperty(m), RESULT_OK);
        ASSERT_EQ(a->InsertProperty(ref), RESULT_OK);
    }

    PropertyObject root;
    PropertyObject* a = nullptr;
    SimpleProperty* b = nullptr;
    NoteMetadata* m = nullptr;
    Reference* ref = nullptr;
};

// A reference whose path comes from elsewhere than its fields.
class ComputedReference : public Reference {
public:
    explicit ComputedReference(const QString& name) : Reference(name) {}
    QString ReferencePath() override { return QStringLiteral("../b"); }
};

}  // namespace

TEST_F(PropertyReference, NewReferenceIsUnset) {
    Reference r(S("r"));
    EXPECT_TRUE(r.ReferencePath().isEmpty());
    EXPECT_TRUE(r.ReferenceFilePath().isEmpty());
    EXPECT_TRUE(r.ReferenceFileType().isEmpty());
    EXPECT_EQ(r.GetReferenceType(), Reference::REFERENCE_NONE);
    EXPECT_EQ(r.PropertyObjType(), S("PropRef"));
    EXPECT_EQ(r.GetPropertyFlags(), 4u);
}

TEST_F(PropertyReference, InternalReferenceStoresARelativePathAndFollowsIt) {
    EXPECT_EQ(ref->SetPropertyRef(b), RESULT_OK);
    EXPECT_EQ(ref->ReferencePath(), S("../b"));
    EXPECT_TRUE(ref->ReferenceFilePath().isEmpty());
    EXPECT_TRUE(ref->ReferenceFileType().isEmpty());
    EXPECT_EQ(ref->GetReferenceType(), Reference::REFERENCE_INTERNAL);
    EXPECT_EQ(ref->GetConstRef<AbstractProperty>(), b);
    // GetFullPath() is not const.
    EXPECT_EQ(const_cast<AbstractProperty*>(ref->GetConstRef<AbstractProperty>())->GetFullPath(),
              S("/a/b"));
    EXPECT_EQ(ref->GetConstRef<SimpleProperty>(), b);
    EXPECT_EQ(ref->GetConstRef<PropertyObject>(), nullptr);
}

TEST_F(PropertyReference, ReferenceToAnotherBranch) {
    auto* far = new PropertyObject(S("far"));
    ASSERT_EQ(root.InsertProperty(far), RESULT_OK);
    auto* target = new SimpleProperty(S("t"));
    ASSERT_EQ(far->InsertProperty(target), RESULT_OK);
    EXPECT_EQ(ref->SetPropertyRef(target), RESULT_OK);
    EXPECT_EQ(ref->ReferencePath(), S("../../far/t"));
    EXPECT_EQ(ref->GetConstRef<AbstractProperty>(), target);
    EXPECT_EQ(ref->SetPropertyRef(&root), RESULT_OK);
    EXPECT_EQ(ref->ReferencePath(), S("../.."));
    EXPECT_EQ(ref->GetConstRef<AbstractProperty>(), &root);
}

TEST_F(PropertyReference, TargetTypeQueries) {
    ASSERT_EQ(ref->SetPropertyRef(m), RESULT_OK);
    EXPECT_TRUE(ref->IsRefMetadata());
    EXPECT_TRUE(ref->IsRefPropertyObject());
    EXPECT_FALSE(ref->IsRefVariable());
    ASSERT_EQ(ref->SetPropertyRef(b), RESULT_OK);
    EXPECT_FALSE(ref->IsRefMetadata());
    EXPECT_FALSE(ref->IsRefPropertyObject());
    ASSERT_EQ(ref->SetPropertyRef(a), RESULT_OK);
    EXPECT_FALSE(ref->IsRefMetadata());
    EXPECT_TRUE(ref->IsRefPropertyObject());
}

TEST_F(PropertyReference, UnreachableTargetFailsWithDebugMessageAndKeepsTheOldSetting) {
    ASSERT_EQ(ref->SetPropertyRef(b), RESULT_OK);
    PropertyObject loose(S("loose"));
    MessageCapture capture;
    EXPECT_EQ(ref->SetPropertyRef(&loose), RESULT_INVALID_ARGUMENT);
    ASSERT_EQ(capture.messages().size(), 1u);
    EXPECT_EQ(capture.messages()[0].type, QtDebugMsg);
    EXPECT_FALSE(capture.messages()[0].hasContext);
    EXPECT_EQ(capture.messages()[0].text,
              QString(S("Can't set reference to loose@") + addressText(&loose)));
    EXPECT_EQ(ref->ReferencePath(), S("../b"));
    EXPECT_EQ(ref->GetConstRef<AbstractProperty>(), b);
}

TEST_F(PropertyReference, TargetInAnotherTreeBelowANodeIsUnreachable) {
    PropertyObject other(S("other"));
    auto* inner = new SimpleProperty(S("inner"));
    ASSERT_EQ(other.InsertProperty(inner), RESULT_OK);
    MessageCapture capture;
    EXPECT_EQ(ref->SetPropertyRef(inner), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(capture.texts(QtDebugMsg),
              QStringList{QString(S("Can't set reference to inner@") + addressText(inner))});
    EXPECT_EQ(ref->GetReferenceType(), Reference::REFERENCE_NONE);
}

TEST_F(PropertyReference, TargetUnderARootThatIsNoDataFileIsUnreachable) {
    // Flags alone do not make a data file: the file that would be recorded is unknown.
    FakeFileRoot fileRoot;
    auto* inFile = new SimpleProperty(S("inFile"));
    ASSERT_EQ(fileRoot.InsertProperty(inFile), RESULT_OK);
    MessageCapture capture;
    EXPECT_EQ(ref->SetPropertyRef(inFile), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(capture.texts(QtDebugMsg).size(), 1);
    EXPECT_TRUE(ref->ReferencePath().isEmpty());
}

TEST_F(PropertyReference, NullTargetIsAnInvalidArgument) {
    MessageCapture capture;
    EXPECT_EQ(ref->SetPropertyRef(nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_TRUE(capture.messages().empty());
}

TEST_F(PropertyReference, ReferenceToItselfIsUnsetAndCannotBeFollowed) {
    EXPECT_EQ(ref->SetPropertyRef(ref), RESULT_OK);
    EXPECT_TRUE(ref->ReferencePath().isEmpty());
    EXPECT_EQ(ref->GetReferenceType(), Reference::REFERENCE_NONE);
    MessageCapture capture;
    EXPECT_EQ(ref->GetConstRef<AbstractProperty>(), nullptr);
    EXPECT_EQ(capture.texts(QtDebugMsg), QStringList{S("Invalid Reference ref")});
    EXPECT_FALSE(capture.messages()[0].hasContext);
}

TEST_F(PropertyReference, RenamedTargetLeavesAStalePath) {
    ASSERT_EQ(ref->SetPropertyRef(b), RESULT_OK);
    ASSERT_EQ(b->SetName(S("renamed")), RESULT_OK);
    MessageCapture capture;
    EXPECT_EQ(ref->GetConstRef<AbstractProperty>(), nullptr);
    EXPECT_TRUE(capture.messages().empty());
    EXPECT_EQ(ref->ReferencePath(), S("../b"));
}

TEST_F(PropertyReference, UnsetReferenceLogsWhenFollowed) {
    MessageCapture capture;
    EXPECT_EQ(ref->GetConstRef<AbstractProperty>(), nullptr);
    EXPECT_EQ(capture.texts(QtDebugMsg), QStringList{S("Invalid Reference ref")});
}

TEST_F(PropertyReference, NoCheckSettersStoreTheFields) {
    Reference r(S("r"));
    r.SetExternalRefNoCheck(S("/x/y"), S("C:/data/file.dat"), S("Kind"));
    EXPECT_EQ(r.ReferencePath(), S("/x/y"));
    EXPECT_EQ(r.ReferenceFilePath(), S("C:/data/file.dat"));
    EXPECT_EQ(r.ReferenceFileType(), S("Kind"));
    EXPECT_EQ(r.GetReferenceType(), Reference::REFERENCE_EXTERNAL);
    r.SetPropertyRefNoCheck(S("../z"));
    EXPECT_EQ(r.ReferencePath(), S("../z"));
    EXPECT_TRUE(r.ReferenceFilePath().isEmpty());
    EXPECT_TRUE(r.ReferenceFileType().isEmpty());
    EXPECT_EQ(r.GetReferenceType(), Reference::REFERENCE_INTERNAL);
}

TEST_F(PropertyReference, ExternalReferenceToAFileThatCannotBeOpenedFollowsToNull) {
    PropertyObject root;
    auto* r = new Reference(S("r"));
    ASSERT_EQ(root.InsertProperty(r), RESULT_OK);
    r->SetExternalRefNoCheck(S("/x"), S("no-such-file.dat"), S("NoSuchKind"));
    MessageCapture capture;
    EXPECT_EQ(r->GetConstRef<AbstractProperty>(), nullptr);
    EXPECT_TRUE(capture.messages().empty());
}

TEST_F(PropertyReference, FullPathToReferenceKeepsAbsoluteAndExternalPaths) {
    Reference r(S("r"));
    EXPECT_TRUE(r.GetFullPathToReference(S("/a")).isEmpty());
    r.SetPropertyRefNoCheck(S("/abs/path"));
    EXPECT_EQ(r.GetFullPathToReference(S("/a")), S("/abs/path"));
    r.SetExternalRefNoCheck(S("../rel"), S("file.dat"), S("Kind"));
    EXPECT_EQ(r.GetFullPathToReference(S("/a")), S("../rel"));
}

struct FullPathCase {
    const char* base;
    const char* path;
    const char* expected;
    bool warns;
};

// A row prints as its path; printed as raw bytes, its padding would be read uninitialised.
void PrintTo(const FullPathCase& row, std::ostream* out) {
    *out << '"' << row.path << '"';
}

class FullPathToReference : public ::testing::TestWithParam<FullPathCase> {};

TEST_P(FullPathToReference, ExpandsRelativePaths) {
    Reference r(S("r"));
    r.SetPropertyRefNoCheck(S(GetParam().path));
    MessageCapture capture;
    EXPECT_EQ(r.GetFullPathToReference(S(GetParam().base)), S(GetParam().expected));
    if (GetParam().warns) {
        EXPECT_EQ(capture.texts(QtWarningMsg), QStringList{S("Invalid relative path")});
    } else {
        EXPECT_TRUE(capture.messages().empty());
    }
}

INSTANTIATE_TEST_SUITE_P(PropertyReference, FullPathToReference,
                         ::testing::Values(FullPathCase{"/a", "../b", "/a/b", false},
                                           FullPathCase{"/", "../b", "/b", false},
                                           FullPathCase{"/a/", "../b", "/a/b", false},
                                           FullPathCase{"/a/x", "../../b/c", "/a/b/c", false},
                                           FullPathCase{"/a", "b", "/a//b", false},
                                           FullPathCase{"/a", "../../../x", "/x", false},
                                           FullPathCase{"/a", "../../../../x", "/x", true}));

TEST_F(PropertyReference, FullPathToReferenceOfASetReference) {
    ASSERT_EQ(ref->SetPropertyRef(b), RESULT_OK);
    EXPECT_EQ(ref->GetFullPathToReference(a->GetFullPath()), b->GetFullPath());
}

TEST_F(PropertyReference, CopyAndCloneKeepTheFields) {
    ASSERT_EQ(ref->SetPropertyRef(b), RESULT_OK);
    Reference copy(*ref);
    EXPECT_EQ(copy.GetParent(), nullptr);
    EXPECT_EQ(copy.ReferencePath(), S("../b"));
    EXPECT_EQ(copy.GetName(), S("ref"));

    Reference assigned(S("other"));
    assigned.SetExternalRefNoCheck(S("/p"), S("f"), S("t"));
    assigned = copy;
    EXPECT_EQ(assigned.ReferencePath(), S("../b"));
    EXPECT_TRUE(assigned.ReferenceFilePath().isEmpty());

    std::unique_ptr<AbstractProperty> clone(ref->Clone());
    auto* cloned = dynamic_cast<Reference*>(clone.get());
    ASSERT_NE(cloned, nullptr);
    EXPECT_EQ(cloned->ReferencePath(), S("../b"));
    EXPECT_EQ(cloned->GetParent(), nullptr);
}

TEST_F(PropertyReference, ClonedTreeReferencesResolveInsideTheCopy) {
    ASSERT_EQ(ref->SetPropertyRef(b), RESULT_OK);
    std::unique_ptr<AbstractProperty> copy(root.Clone());
    const auto* copiedRef = dynamic_cast<const Reference*>(copy->ResolvePath(S("/a/ref")));
    ASSERT_NE(copiedRef, nullptr);
    EXPECT_EQ(copiedRef->GetConstRef<AbstractProperty>(), copy->ResolvePath(S("/a/b")));
}

TEST_F(PropertyReference, SubclassSuppliesThePathThroughTheAccessor) {
    auto* computed = new ComputedReference(S("computed"));
    ASSERT_EQ(a->InsertProperty(computed), RESULT_OK);
    EXPECT_EQ(computed->GetReferenceType(), Reference::REFERENCE_INTERNAL);
    EXPECT_EQ(computed->GetConstRef<AbstractProperty>(), b);
    EXPECT_EQ(computed->GetFullPathToReference(S("/a")), S("/a/b"));
}

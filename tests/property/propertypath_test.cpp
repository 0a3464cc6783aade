// SPDX-License-Identifier: MIT
#include <orrery/property.h>

#include <gtest/gtest.h>

#include <QString>

#include <memory>

using namespace Orrery;

namespace {

QString S(const char* text) {
    return QString::fromUtf8(text);
}

// The tree of the path tests: root { a { b { leaf }, "." }, c (leaf), A }
class PropertyPath : public ::testing::Test {
protected:
    void SetUp() override {
        root = std::make_unique<PropertyObject>(S("rootName"));
        a = new PropertyObject(S("a"));
        b = new PropertyObject(S("b"));
        leaf = new SimpleProperty(S("leaf"));
        dot = new SimpleProperty(S("."));
        c = new SimpleProperty(S("c"));
        upperA = new PropertyObject(S("A"));
        ASSERT_EQ(root->InsertProperty(a), RESULT_OK);
        ASSERT_EQ(root->InsertProperty(c), RESULT_OK);
        ASSERT_EQ(root->InsertProperty(upperA), RESULT_OK);
        ASSERT_EQ(a->InsertProperty(b), RESULT_OK);
        ASSERT_EQ(a->InsertProperty(dot), RESULT_OK);
        ASSERT_EQ(b->InsertProperty(leaf), RESULT_OK);
    }

    std::unique_ptr<PropertyObject> root;
    PropertyObject* a = nullptr;
    PropertyObject* b = nullptr;
    PropertyObject* upperA = nullptr;
    SimpleProperty* leaf = nullptr;
    SimpleProperty* dot = nullptr;
    SimpleProperty* c = nullptr;
};

}  // namespace

TEST_F(PropertyPath, DelimiterIsSlash) {
    EXPECT_EQ(Property::PathDelimiter, QLatin1Char('/'));
    EXPECT_EQ(Property::PathDelimiter.unicode(), 0x2F);
}

TEST_F(PropertyPath, RootFullPathIsTheDelimiterWhateverItsName) {
    EXPECT_EQ(root->GetFullPath(), S("/"));
    PropertyObject unnamed;
    EXPECT_EQ(unnamed.GetFullPath(), S("/"));
    SimpleProperty loose(S("loose"));
    EXPECT_EQ(loose.GetFullPath(), S("/"));
}

TEST_F(PropertyPath, FullPathsOfDescendants) {
    EXPECT_EQ(a->GetFullPath(), S("/a"));
    EXPECT_EQ(b->GetFullPath(), S("/a/b"));
    EXPECT_EQ(leaf->GetFullPath(), S("/a/b/leaf"));
    EXPECT_EQ(c->GetFullPath(), S("/c"));
}

TEST_F(PropertyPath, FullPathFollowsRenames) {
    ASSERT_EQ(b->SetName(S("bee")), RESULT_OK);
    EXPECT_EQ(leaf->GetFullPath(), S("/a/bee/leaf"));
}

struct ResolveCase {
    const char* start;  // "root", "a", "b", "leaf", "c"
    const char* path;
    const char* expected;  // full path of the result, or nullptr for none
};

class ResolvePathRule : public PropertyPath, public ::testing::WithParamInterface<ResolveCase> {
protected:
    AbstractProperty* node(const char* which) {
        const QString name = S(which);
        if (name == S("root")) {
            return root.get();
        }
        if (name == S("a")) {
            return a;
        }
        if (name == S("b")) {
            return b;
        }
        if (name == S("leaf")) {
            return leaf;
        }
        return c;
    }
};

TEST_P(ResolvePathRule, LeadsToTheExpectedNode) {
    AbstractProperty* start = node(GetParam().start);
    AbstractProperty* result = start->ResolvePath(S(GetParam().path));
    const AbstractProperty* constResult =
        static_cast<const AbstractProperty*>(start)->ResolvePath(S(GetParam().path));
    EXPECT_EQ(result, constResult);
    if (GetParam().expected == nullptr) {
        EXPECT_EQ(result, nullptr);
    } else {
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(result->GetFullPath(), S(GetParam().expected));
    }
}

INSTANTIATE_TEST_SUITE_P(
    PropertyPath, ResolvePathRule,
    ::testing::Values(
        ResolveCase{"root", "", nullptr}, ResolveCase{"leaf", "", nullptr},
        ResolveCase{"root", "/", "/"}, ResolveCase{"leaf", "/", "/"}, ResolveCase{"b", "/", "/"},
        ResolveCase{"root", "..", nullptr}, ResolveCase{"leaf", "..", "/a/b"},
        ResolveCase{"c", "..", "/"}, ResolveCase{"leaf", "../..", "/a"},
        ResolveCase{"leaf", "../../../..", nullptr}, ResolveCase{"root", "/c/x", nullptr},
        ResolveCase{"root", "c/x", nullptr}, ResolveCase{"root", "a", "/a"},
        ResolveCase{"root", "a/", "/a"}, ResolveCase{"root", "a//b", "/a"},
        ResolveCase{"root", "/a/b/leaf", "/a/b/leaf"}, ResolveCase{"b", "/a/b/leaf", "/a/b/leaf"},
        ResolveCase{"b", "leaf", "/a/b/leaf"}, ResolveCase{"b", "../../c", "/c"},
        ResolveCase{"leaf", "../leaf", "/a/b/leaf"}, ResolveCase{"root", "a/.", "/a/."},
        ResolveCase{"b", ".", nullptr}, ResolveCase{"root", "A", "/A"},
        ResolveCase{"root", "B", nullptr}, ResolveCase{"root", "missing", nullptr},
        ResolveCase{"root", "/a/missing/leaf", nullptr}, ResolveCase{"leaf", "x", nullptr},
        ResolveCase{"root", "//a", "/"}));

TEST_F(PropertyPath, ResolvePathCanReturnTheStartNode) {
    EXPECT_EQ(b->ResolvePath(S("leaf/..")), b);
    EXPECT_EQ(root->ResolvePath(S("/a/b/leaf/../..")), a);
}

struct RelativeCase {
    const char* from;
    const char* to;
    const char* expected;
};

class RelativePath : public ::testing::TestWithParam<RelativeCase> {};

TEST_P(RelativePath, LeadsFromOneNodeToTheOther) {
    EXPECT_EQ(Property::GetRelativePath(S(GetParam().from), S(GetParam().to)),
              S(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(PropertyPath, RelativePath,
                         ::testing::Values(RelativeCase{"/a/ref", "/a/b", "../b"},
                                           RelativeCase{"/a/x/ref", "/a/b/c", "../../b/c"},
                                           RelativeCase{"/a/ref", "/a/ref/c", "c"},
                                           RelativeCase{"/a/ref", "/a/ref", ""},
                                           RelativeCase{"/", "/", ""},
                                           RelativeCase{"/a/ref", "/a", ".."},
                                           RelativeCase{"/ref", "/x/y", "../x/y"},
                                           RelativeCase{"/a/b/c/ref", "/d", "../../../../d"}));

TEST_F(PropertyPath, RelativePathResolvedOnTheFromNodeLeadsToTheTarget) {
    const AbstractProperty* targets[] = {root.get(), a, b, leaf, c, upperA, dot};
    AbstractProperty* froms[] = {leaf, c, dot, b};
    for (AbstractProperty* from : froms) {
        for (const AbstractProperty* target : targets) {
            auto* to = const_cast<AbstractProperty*>(target);
            const QString relative =
                Property::GetRelativePath(from->GetFullPath(), to->GetFullPath());
            if (relative.isEmpty()) {
                EXPECT_EQ(from, target);
                continue;
            }
            EXPECT_EQ(from->ResolvePath(relative), target)
                << qPrintable(from->GetFullPath()) << " -> " << qPrintable(to->GetFullPath());
        }
    }
}

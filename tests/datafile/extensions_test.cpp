// SPDX-License-Identifier: MIT
#include <orrery/extensions.h>

#include <gtest/gtest.h>

using Orrery::Extensions::IAbstractExtension;
using Orrery::Extensions::IExtender;

namespace {

struct Extended : IAbstractExtension {
    ~Extended() override = default;
};
struct Extender : IExtender {
    ~Extender() override = default;
};

}  // namespace

TEST(Extensions, GiveReplacesTheRecordedExtender) {
    Extended object;
    Extender e1, e2;
    EXPECT_EQ(object.give_ext(&e1), &e1);
    EXPECT_EQ(object.give_ext(&e2), &e2);
    EXPECT_EQ(object.give_ext(nullptr), &e2);
}

TEST(Extensions, PeekPrefersTheCallersExtender) {
    Extended object;
    Extender e1, e3;
    object.give_ext(&e1);
    EXPECT_EQ(object.peek_ext(&e3), &e3);
    EXPECT_EQ(object.peek_ext(nullptr), &e1);
}

TEST(Extensions, NeverExtendedObjectHasNoExtender) {
    Extended a, b;
    EXPECT_EQ(a.give_ext(nullptr), nullptr);
    EXPECT_EQ(b.peek_ext(nullptr), nullptr);
}

TEST(Extensions, DistinctObjectsKeepSeparateExtenders) {
    Extended a, b;
    Extender ea, eb;
    a.give_ext(&ea);
    b.give_ext(&eb);
    EXPECT_EQ(a.give_ext(nullptr), &ea);
    EXPECT_EQ(b.give_ext(nullptr), &eb);
}

TEST(Extensions, CopyHasNoExtender) {
    Extended a;
    Extender e;
    a.give_ext(&e);
    Extended copy(a);
    EXPECT_EQ(copy.give_ext(nullptr), nullptr);
}

TEST(Extensions, EntryOutlivesItsObject) {
    Extender e;
    alignas(Extended) unsigned char storage[sizeof(Extended)];
    auto* first = new (storage) Extended;
    first->give_ext(&e);
    first->~Extended();
    // A later object at the same address finds the old extender, deliberately.
    auto* second = new (storage) Extended;
    EXPECT_EQ(second->give_ext(nullptr), &e);
    second->~Extended();
}

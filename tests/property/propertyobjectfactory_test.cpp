// SPDX-License-Identifier: MIT
#include <orrery/property.h>

#include "treeutil.h"

#include <gtest/gtest.h>

#include <QString>
#include <QStringList>

#include <memory>
#include <type_traits>

using namespace Orrery;
using PropertyTest::NoteMetadata;

namespace {

QString S(const char* text) {
    return QString::fromUtf8(text);
}

PropertyObject* createFirst() {
    return new PropertyObject(QStringLiteral("first"));
}

PropertyObject* createSecond() {
    return new PropertyObject(QStringLiteral("second"));
}

PropertyObject* createNote() {
    return new NoteMetadata(QStringLiteral("note"));
}

}  // namespace

TEST(PropertyObjectFactory, InstanceIsASingleObject) {
    PropertyObjectFactory* factory = PropertyObjectFactory::Instance();
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(PropertyObjectFactory::Instance(), factory);
}

TEST(PropertyObjectFactory, PropObjIsRegisteredAtLoad) {
    QStringList types;
    EXPECT_EQ(PropertyObjectFactory::Instance()->GetTypeList(&types), RESULT_OK);
    EXPECT_TRUE(types.contains(S("PropObj")));
}

TEST(PropertyObjectFactory, CreatePropObjGivesAnEmptyContainer) {
    std::unique_ptr<PropertyObject> object(PropertyObjectFactory::Instance()->Create(S("PropObj")));
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->PropertyObjType(), S("PropObj"));
    EXPECT_EQ(object->GetPropertyCount(), 0);
    EXPECT_TRUE(object->GetName().isEmpty());
    EXPECT_EQ(object->GetParent(), nullptr);
    EXPECT_EQ(object->GetPropertyFlags(), 4u);
    // A new object on every call.
    std::unique_ptr<PropertyObject> another(
        PropertyObjectFactory::Instance()->Create(S("PropObj")));
    EXPECT_NE(another.get(), object.get());
}

TEST(PropertyObjectFactory, LeavesAreNotRegistered) {
    PropertyObjectFactory* factory = PropertyObjectFactory::Instance();
    EXPECT_EQ(factory->Create(S("PropRef")), nullptr);
    EXPECT_EQ(factory->Create(S("Prop")), nullptr);
    EXPECT_EQ(factory->Create(S("NoSuchType")), nullptr);
    EXPECT_EQ(factory->Create(QString()), nullptr);
}

TEST(PropertyObjectFactory, RegisteringTwiceKeepsTheFirstCreator) {
    PropertyObjectFactory* factory = PropertyObjectFactory::Instance();
    EXPECT_EQ(factory->RegisterType(S("Twice"), &createFirst), RESULT_OK);
    EXPECT_EQ(factory->RegisterType(S("Twice"), &createSecond), RESULT_ALREADY_EXISTS);
    std::unique_ptr<PropertyObject> object(factory->Create(S("Twice")));
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->GetName(), S("first"));
    EXPECT_EQ(factory->RegisterType(S("PropObj"), &createSecond), RESULT_ALREADY_EXISTS);
    std::unique_ptr<PropertyObject> builtIn(factory->Create(S("PropObj")));
    EXPECT_TRUE(builtIn->GetName().isEmpty());
}

TEST(PropertyObjectFactory, RegisteredSubclassIsCreated) {
    PropertyObjectFactory* factory = PropertyObjectFactory::Instance();
    EXPECT_EQ(factory->RegisterType(S("Note"), &createNote), RESULT_OK);
    std::unique_ptr<PropertyObject> object(factory->Create(S("Note")));
    ASSERT_NE(object, nullptr);
    EXPECT_TRUE(object->IsMetadata());
    EXPECT_NE(dynamic_cast<NoteMetadata*>(object.get()), nullptr);
}

TEST(PropertyObjectFactory, NullCreatorIsRefused) {
    EXPECT_EQ(PropertyObjectFactory::Instance()->RegisterType(S("NullCreator"), nullptr),
              RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(PropertyObjectFactory::Instance()->Create(S("NullCreator")), nullptr);
}

TEST(PropertyObjectFactory, GetTypeListAppendsToTheList) {
    PropertyObjectFactory* factory = PropertyObjectFactory::Instance();
    ASSERT_EQ(factory->RegisterType(S("Appended"), &createFirst), RESULT_OK);
    QStringList types{S("already"), S("there")};
    EXPECT_EQ(factory->GetTypeList(&types), RESULT_OK);
    ASSERT_GE(types.size(), 4);
    EXPECT_EQ(types.at(0), S("already"));
    EXPECT_EQ(types.at(1), S("there"));
    EXPECT_TRUE(types.mid(2).contains(S("PropObj")));
    EXPECT_TRUE(types.mid(2).contains(S("Appended")));
    EXPECT_EQ(types.mid(2).removeDuplicates(), 0);
}

TEST(PropertyObjectFactory, GetTypeListRefusesANullList) {
    EXPECT_EQ(PropertyObjectFactory::Instance()->GetTypeList(nullptr), RESULT_INVALID_ARGUMENT);
}

TEST(PropertyObjectFactory, TypeNamesAreCaseSensitive) {
    PropertyObjectFactory* factory = PropertyObjectFactory::Instance();
    EXPECT_EQ(factory->RegisterType(S("propobj"), &createSecond), RESULT_OK);
    QStringList types;
    ASSERT_EQ(factory->GetTypeList(&types), RESULT_OK);
    EXPECT_TRUE(types.contains(S("PropObj")));
    EXPECT_TRUE(types.contains(S("propobj")));
    std::unique_ptr<PropertyObject> lower(factory->Create(S("propobj")));
    std::unique_ptr<PropertyObject> upper(factory->Create(S("PropObj")));
    EXPECT_EQ(lower->GetName(), S("second"));
    EXPECT_TRUE(upper->GetName().isEmpty());
}

TEST(Metadata, IsAbstractAndMarkedAsMetadata) {
    EXPECT_TRUE(std::is_abstract<Metadata>::value);
    NoteMetadata note(S("note"));
    EXPECT_EQ(note.GetTypeFlags(), 0x05u);
    EXPECT_TRUE(note.IsPropertyObject());
    EXPECT_TRUE(note.IsMetadata());
    EXPECT_EQ(note.PropertyObjType(), S("PropObj"));
    EXPECT_EQ(note.GetPropertyFlags(), 4u);
}

TEST(Metadata, CopiesAreDeep) {
    NoteMetadata note(S("note"));
    ASSERT_EQ(note.SetProperty(S("text"), S("hello")), RESULT_OK);
    NoteMetadata copy(note);
    EXPECT_EQ(copy.GetName(), S("note"));
    EXPECT_NE(copy.GetPropertyPtr(S("text")), note.GetPropertyPtr(S("text")));
    QString text;
    EXPECT_EQ(copy.GetProperty(S("text"), &text), RESULT_OK);
    EXPECT_EQ(text, S("hello"));

    NoteMetadata assigned;
    assigned = note;
    EXPECT_EQ(assigned.GetName(), S("note"));
    EXPECT_EQ(assigned.GetPropertyCount(), 1);

    std::unique_ptr<AbstractProperty> clone(note.Clone());
    EXPECT_NE(dynamic_cast<NoteMetadata*>(clone.get()), nullptr);
    EXPECT_TRUE(clone->IsMetadata());
}

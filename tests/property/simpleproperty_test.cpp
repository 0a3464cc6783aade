// SPDX-License-Identifier: MIT
#include <orrery/property.h>

#include <gtest/gtest.h>

#include <QString>
#include <QStringList>

#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Orrery;
using Tolmarsk::Qel::KVariant;

namespace PropertyTestTypes {
struct Widget {
    int size = 3;
};
}  // namespace PropertyTestTypes

namespace {

QString S(const char* text) {
    return QString::fromUtf8(text);
}

// A container holding one simple child "v" with the given value.
std::unique_ptr<PropertyObject> holding(const KVariant& value) {
    auto object = std::make_unique<PropertyObject>(S("o"));
    object->SetProperty(S("v"), value);
    return object;
}

// The runtime_error text of a text read of `value`, or "no exception".
std::string textReadFailure(const KVariant& value) {
    auto object = holding(value);
    QString out;
    try {
        object->GetProperty(S("v"), &out);
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "no exception";
}

}  // namespace

TEST(SimpleProperty, NewPropertyHoldsTheNullValue) {
    SimpleProperty p(S("p"));
    EXPECT_TRUE(p.GetValue().isNull());
    EXPECT_EQ(p.GetValueIsCellArray(), NotCellArray);
    EXPECT_EQ(p.GetValueIsCellArray(), 0);
    EXPECT_EQ(p.PropertyObjType(), S("Prop"));
    EXPECT_TRUE(p.IsSimpleProperty());
}

TEST(SimpleProperty, SetValueReplacesValueAndMarker) {
    SimpleProperty p(S("p"));
    EXPECT_EQ(p.SetValue(KVariant(2.5), CellArray), RESULT_OK);
    EXPECT_EQ(p.GetValue().get<double>(), 2.5);
    EXPECT_EQ(p.GetValueIsCellArray(), CellArray);
    // Values without a meaning in this library are kept as they are.
    EXPECT_EQ(p.SetValue(KVariant(1), static_cast<IsCellArray>(7)), RESULT_OK);
    EXPECT_EQ(static_cast<int>(p.GetValueIsCellArray()), 7);
}

TEST(SimpleProperty, ReadOnlyPropertyRefusesANewValue) {
    SimpleProperty p(S("p"));
    ASSERT_EQ(p.SetValue(KVariant(1), NotCellArray), RESULT_OK);
    p.SetReadOnly(true);
    EXPECT_EQ(p.SetValue(KVariant(2), CellArray), RESULT_FAILED);
    EXPECT_EQ(p.GetValue().get<int>(), 1);
    EXPECT_EQ(p.GetValueIsCellArray(), NotCellArray);
}

TEST(SimpleProperty, CopyTakesNameFlagsValueAndMarker) {
    PropertyObject parent;
    auto* p = new SimpleProperty(S("p"));
    ASSERT_EQ(parent.InsertProperty(p), RESULT_OK);
    ASSERT_EQ(p->SetValue(KVariant(std::string("text")), CellArray), RESULT_OK);
    p->SetHidden(true);

    SimpleProperty copy(*p);
    EXPECT_EQ(copy.GetParent(), nullptr);
    EXPECT_EQ(copy.GetName(), S("p"));
    EXPECT_EQ(copy.GetPropertyFlags(), 6u);
    EXPECT_EQ(copy.GetValue().get<std::string>(), "text");
    EXPECT_EQ(copy.GetValueIsCellArray(), CellArray);

    SimpleProperty assigned(S("other"));
    assigned = *p;
    EXPECT_EQ(assigned.GetName(), S("p"));
    EXPECT_EQ(assigned.GetValue().get<std::string>(), "text");

    std::unique_ptr<AbstractProperty> clone(p->Clone());
    auto* simpleClone = dynamic_cast<SimpleProperty*>(clone.get());
    ASSERT_NE(simpleClone, nullptr);
    EXPECT_EQ(simpleClone->GetValue().get<std::string>(), "text");
    EXPECT_EQ(simpleClone->GetValueIsCellArray(), CellArray);
    EXPECT_EQ(simpleClone->GetParent(), nullptr);
}

TEST(PropertyObjectValues, TextRoundTripsIncludingNonAscii) {
    PropertyObject object;
    const QString text = S("Grüße, ∑ 日本 😀");
    EXPECT_EQ(object.SetProperty(S("t"), text), RESULT_OK);
    auto* child = dynamic_cast<SimpleProperty*>(object.GetPropertyPtr(S("t")));
    ASSERT_NE(child, nullptr);
    const KVariant stored = child->GetValue();
    EXPECT_EQ(stored.typeCode(), 0x10);
    EXPECT_TRUE(stored.isScalar());
    EXPECT_EQ(stored.get<std::string>(), text.toUtf8().toStdString());
    QString back;
    EXPECT_EQ(object.GetProperty(S("t"), &back), RESULT_OK);
    EXPECT_EQ(back, text);
}

TEST(PropertyObjectValues, SetPropertyUpdatesAnExistingSimpleChild) {
    PropertyObject object;
    ASSERT_EQ(object.SetProperty(S("v"), S("one")), RESULT_OK);
    AbstractProperty* first = object.GetPropertyPtr(S("v"));
    ASSERT_EQ(object.SetProperty(S("v"), S("two")), RESULT_OK);
    EXPECT_EQ(object.GetPropertyPtr(S("v")), first);
    EXPECT_EQ(object.GetPropertyCount(), 1);
    QString text;
    EXPECT_EQ(object.GetProperty(S("v"), &text), RESULT_OK);
    EXPECT_EQ(text, S("two"));
}

TEST(PropertyObjectValues, SetPropertyResetsTheMarker) {
    PropertyObject object;
    auto* child = new SimpleProperty(S("v"));
    ASSERT_EQ(object.InsertProperty(child), RESULT_OK);
    ASSERT_EQ(child->SetValue(KVariant(1), CellArray), RESULT_OK);
    ASSERT_EQ(object.SetProperty(S("v"), KVariant(2)), RESULT_OK);
    EXPECT_EQ(child->GetValueIsCellArray(), NotCellArray);
}

TEST(PropertyObjectValues, SetPropertyOnAContainerNameFailsAndKeepsTheContainer) {
    PropertyObject object;
    auto* container = new PropertyObject(S("c"));
    ASSERT_EQ(object.InsertProperty(container), RESULT_OK);
    EXPECT_EQ(object.SetProperty(S("c"), S("text")), RESULT_ALREADY_EXISTS);
    EXPECT_EQ(object.GetPropertyPtr(S("c")), container);
    EXPECT_EQ(object.GetPropertyCount(), 1);
}

TEST(PropertyObjectValues, SetPropertyWithEmptyNameFails) {
    PropertyObject object;
    EXPECT_EQ(object.SetProperty(QString(), S("text")), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(object.SetProperty(QString(), KVariant(1)), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(object.GetPropertyCount(), 0);
}

TEST(PropertyObjectValues, SetPropertyOnAReadOnlyChildFails) {
    PropertyObject object;
    ASSERT_EQ(object.SetProperty(S("v"), S("kept")), RESULT_OK);
    object.GetPropertyPtr(S("v"))->SetReadOnly(true);
    EXPECT_EQ(object.SetProperty(S("v"), S("lost")), RESULT_FAILED);
    QString text;
    EXPECT_EQ(object.GetProperty(S("v"), &text), RESULT_OK);
    EXPECT_EQ(text, S("kept"));
}

TEST(PropertyObjectValues, StringListBecomesAStringVector) {
    PropertyObject object;
    const QStringList list{S("a"), S("β"), S("")};
    EXPECT_EQ(object.SetProperty(S("l"), list), RESULT_OK);
    auto* child = dynamic_cast<SimpleProperty*>(object.GetPropertyPtr(S("l")));
    ASSERT_NE(child, nullptr);
    const KVariant stored = child->GetValue();
    EXPECT_EQ(stored.typeCode(), 0x10);
    EXPECT_FALSE(stored.isScalar());
    EXPECT_EQ(stored.size(), 3u);
    EXPECT_EQ(stored.dimensions(), std::vector<std::uint64_t>{3});
    EXPECT_EQ(stored.get<std::string>(0), "a");
    EXPECT_EQ(stored.get<std::string>(1), "β");
    EXPECT_EQ(stored.get<std::string>(2), "");
    EXPECT_EQ(child->GetValueIsCellArray(), 0);
}

TEST(PropertyObjectValues, EmptyStringListReadsAsEmptyText) {
    PropertyObject object;
    EXPECT_EQ(object.SetProperty(S("l"), QStringList()), RESULT_OK);
    QString text = S("unchanged");
    EXPECT_EQ(object.GetProperty(S("l"), &text), RESULT_OK);
    EXPECT_TRUE(text.isEmpty());
}

TEST(PropertyObjectValues, NullValueReadsAsEmptyText) {
    PropertyObject object;
    ASSERT_EQ(object.InsertProperty(new SimpleProperty(S("v"))), RESULT_OK);
    QString text = S("unchanged");
    EXPECT_EQ(object.GetProperty(S("v"), &text), RESULT_OK);
    EXPECT_TRUE(text.isEmpty());
}

TEST(PropertyObjectValues, IntFromTextFollowsTheVariantConversion) {
    int value = 0;
    EXPECT_EQ(holding(KVariant(std::string("12")))->GetProperty(S("v"), &value), RESULT_OK);
    EXPECT_EQ(value, 12);
    value = 99;
    EXPECT_EQ(holding(KVariant(std::string("12x")))->GetProperty(S("v"), &value), RESULT_FAILED);
    EXPECT_EQ(value, 99);
    EXPECT_EQ(holding(KVariant(std::string(" 12")))->GetProperty(S("v"), &value), RESULT_FAILED);
    EXPECT_EQ(value, 99);
}

TEST(PropertyObjectValues, IntFromOneByOneArrayReadsTheElement) {
    const std::int32_t data[] = {42};
    int value = 0;
    EXPECT_EQ(holding(KVariant(data, 1, {1, 1}))->GetProperty(S("v"), &value), RESULT_OK);
    EXPECT_EQ(value, 42);
    const double real[] = {7.9};
    EXPECT_EQ(holding(KVariant(real, 1, {1, 1}))->GetProperty(S("v"), &value), RESULT_OK);
    EXPECT_EQ(value, 7);
}

TEST(PropertyObjectValues, IntFromTwoByOneArrayFails) {
    const std::int32_t data[] = {1, 2};
    int value = 5;
    EXPECT_EQ(holding(KVariant(data, 2, {2, 1}))->GetProperty(S("v"), &value), RESULT_FAILED);
    EXPECT_EQ(value, 5);
}

TEST(PropertyObjectValues, EmptyArrayIsNotANumber) {
    const std::int32_t* none = nullptr;
    int value = 5;
    EXPECT_EQ(holding(KVariant(none, 0))->GetProperty(S("v"), &value), RESULT_FAILED);
    EXPECT_EQ(value, 5);
}

TEST(PropertyObjectValues, NumbersConvertBetweenKinds) {
    int integer = 0;
    double real = 0;
    bool flag = false;
    EXPECT_EQ(holding(KVariant(2.9))->GetProperty(S("v"), &integer), RESULT_OK);
    EXPECT_EQ(integer, 2);
    EXPECT_EQ(holding(KVariant(3))->GetProperty(S("v"), &real), RESULT_OK);
    EXPECT_EQ(real, 3.0);
    EXPECT_EQ(holding(KVariant(std::string("-1.5e3")))->GetProperty(S("v"), &real), RESULT_OK);
    EXPECT_EQ(real, -1500.0);
    EXPECT_EQ(holding(KVariant(std::string("true")))->GetProperty(S("v"), &flag), RESULT_OK);
    EXPECT_TRUE(flag);
    EXPECT_EQ(holding(KVariant(0))->GetProperty(S("v"), &flag), RESULT_OK);
    EXPECT_FALSE(flag);
    EXPECT_EQ(holding(KVariant(true))->GetProperty(S("v"), &integer), RESULT_OK);
    EXPECT_EQ(integer, 1);
}

TEST(PropertyObjectValues, OutOfRangeNumberFails) {
    int value = 8;
    EXPECT_EQ(
        holding(KVariant(std::numeric_limits<std::int64_t>::max()))->GetProperty(S("v"), &value),
        RESULT_FAILED);
    EXPECT_EQ(value, 8);
}

TEST(PropertyObjectValues, BoolFromNullValueFailsAndLeavesTheTarget) {
    PropertyObject object;
    ASSERT_EQ(object.InsertProperty(new SimpleProperty(S("v"))), RESULT_OK);
    bool flag = true;
    EXPECT_EQ(object.GetProperty(S("v"), &flag), RESULT_FAILED);
    EXPECT_TRUE(flag);
    int integer = 3;
    EXPECT_EQ(object.GetProperty(S("v"), &integer), RESULT_FAILED);
    EXPECT_EQ(integer, 3);
}

TEST(PropertyObjectValues, CustomValuesAreNotNumbers) {
    int value = 4;
    EXPECT_EQ(
        holding(KVariant::fromCustom(PropertyTestTypes::Widget{}))->GetProperty(S("v"), &value),
        RESULT_FAILED);
    EXPECT_EQ(holding(KVariant::voidCustom())->GetProperty(S("v"), &value), RESULT_FAILED);
    EXPECT_EQ(value, 4);
}

TEST(PropertyObjectValues, MissingNameGivesInvalidArgumentForEveryType) {
    PropertyObject object;
    QString text = S("t");
    int integer = 1;
    double real = 2;
    bool flag = true;
    EXPECT_EQ(object.GetProperty(S("missing"), &text), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(object.GetProperty(S("missing"), &integer), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(object.GetProperty(S("missing"), &real), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(object.GetProperty(S("missing"), &flag), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(text, S("t"));
    EXPECT_EQ(integer, 1);
}

TEST(PropertyObjectValues, NonSimpleChildGivesInvalidArgumentForEveryType) {
    PropertyObject object;
    ASSERT_EQ(object.InsertProperty(new PropertyObject(S("c"))), RESULT_OK);
    ASSERT_EQ(object.InsertProperty(new PropertyReference(S("r"))), RESULT_OK);
    QString text;
    int integer = 0;
    double real = 0;
    bool flag = false;
    for (const char* name : {"c", "r"}) {
        EXPECT_EQ(object.GetProperty(S(name), &text), RESULT_INVALID_ARGUMENT);
        EXPECT_EQ(object.GetProperty(S(name), &integer), RESULT_INVALID_ARGUMENT);
        EXPECT_EQ(object.GetProperty(S(name), &real), RESULT_INVALID_ARGUMENT);
        EXPECT_EQ(object.GetProperty(S(name), &flag), RESULT_INVALID_ARGUMENT);
    }
}

TEST(PropertyObjectValues, NullOutputPointerGivesInvalidArgument) {
    auto object = holding(KVariant(1));
    EXPECT_EQ(object->GetProperty(S("v"), static_cast<QString*>(nullptr)), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(object->GetProperty(S("v"), static_cast<int*>(nullptr)), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(object->GetProperty(S("v"), static_cast<double*>(nullptr)), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(object->GetProperty(S("v"), static_cast<bool*>(nullptr)), RESULT_INVALID_ARGUMENT);
}

TEST(PropertyObjectValues, NumbersReadAsText) {
    QString text;
    EXPECT_EQ(holding(KVariant(5))->GetProperty(S("v"), &text), RESULT_OK);
    EXPECT_EQ(text, S("5"));
    EXPECT_EQ(holding(KVariant(2.5))->GetProperty(S("v"), &text), RESULT_OK);
    EXPECT_EQ(text, S("2.5"));
    EXPECT_EQ(holding(KVariant(true))->GetProperty(S("v"), &text), RESULT_OK);
    EXPECT_EQ(text, S("true"));
    const std::string one[] = {"only"};
    EXPECT_EQ(holding(KVariant(one, 1, {1, 1}))->GetProperty(S("v"), &text), RESULT_OK);
    EXPECT_EQ(text, S("only"));
}

TEST(PropertyObjectValues, TextReadOfAnUnconvertibleValueThrows) {
    auto object = holding(KVariant::fromCustom(PropertyTestTypes::Widget{}));
    QString text = S("unchanged");
    EXPECT_THROW(object->GetProperty(S("v"), &text), std::runtime_error);
    EXPECT_EQ(text, S("unchanged"));
}

struct MessageCase {
    const char* label;
    KVariant value;
    std::string expected;
};

// A row prints as its label; printed as raw bytes, its padding would be read uninitialised.
void PrintTo(const MessageCase& row, std::ostream* out) {
    *out << '"' << row.label << '"';
}

class ConversionMessage : public ::testing::TestWithParam<MessageCase> {};

TEST_P(ConversionMessage, NamesSourceSizeAndTarget) {
    EXPECT_EQ(textReadFailure(GetParam().value), GetParam().expected);
}

namespace {

const std::string kTwoTexts[] = {"a", "b"};
const std::int32_t kTwoInts[] = {1, 2};
const double kSixReals[] = {1, 2, 3, 4, 5, 6};

}  // namespace

INSTANTIATE_TEST_SUITE_P(
    PropertyObjectValues, ConversionMessage,
    ::testing::Values(
        MessageCase{"two_texts_in_a_column", KVariant(kTwoTexts, 2, {2, 1}),
                    "Cannot convert Tolmarsk::Qel::KVariant of type 'std::string' (size: 2x1) to "
                    "'std::string'"},
        MessageCase{"vector_of_ints", KVariant(kTwoInts, 2),
                    "Cannot convert Tolmarsk::Qel::KVariant of type 'int' (size: 2) to "
                    "'std::string'"},
        MessageCase{"matrix_of_reals", KVariant(kSixReals, 6, {2, 3}),
                    "Cannot convert Tolmarsk::Qel::KVariant of type 'double' (size: 2x3) to "
                    "'std::string'"},
        MessageCase{"custom", KVariant::fromCustom(PropertyTestTypes::Widget{}),
                    "Cannot convert Tolmarsk::Qel::KVariant of type 'PropertyTestTypes::Widget' "
                    "(size: 1) to 'std::string'"},
        MessageCase{"void_custom", KVariant::voidCustom(),
                    "Cannot convert Tolmarsk::Qel::KVariant of type 'void' (size: 1) to "
                    "'std::string'"}),
    [](const ::testing::TestParamInfo<MessageCase>& info) {
        return std::string(info.param.label);
    });

TEST(PropertyObjectValues, ThreeStringVectorReadAsTextThrowsWithItsSize) {
    PropertyObject object;
    ASSERT_EQ(object.SetProperty(S("l"), QStringList{S("a"), S("b"), S("c")}), RESULT_OK);
    QString text;
    try {
        object.GetProperty(S("l"), &text);
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(),
                     "Cannot convert Tolmarsk::Qel::KVariant of type 'std::string' (size: 3) to "
                     "'std::string'");
    }
}

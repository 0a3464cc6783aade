// SPDX-License-Identifier: MIT
#include "quantity.h"

#include "qtprinters.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using OrreryTools::Quantity;

TEST(Quantity, HoldsValueAndUnitsAsTextChildren) {
    Quantity quantity(QStringLiteral("R"), QStringLiteral("4700"), QStringLiteral("Ohm"));
    EXPECT_EQ(quantity.PropertyObjType(), QStringLiteral("Quantity"));
    EXPECT_EQ(quantity.GetPropertyCount(), 2);
    EXPECT_EQ(quantity.Value(), QStringLiteral("4700"));
    EXPECT_EQ(quantity.Units(), QStringLiteral("Ohm"));
    EXPECT_TRUE(quantity.IsValid());
    EXPECT_EQ(quantity.ToRealString().scaledValueWithUnits(6), QStringLiteral("4.7 kOhm"));
    EXPECT_EQ(quantity.ToRealString(QStringLiteral("Ohm"), false).scaledValueWithUnits(6),
              QStringLiteral("4.7e3 Ohm"));
}

TEST(Quantity, ChecksItsNumberWhenRead) {
    Quantity quantity(QStringLiteral("C"), QStringLiteral("ten"), QStringLiteral("pF"));
    EXPECT_FALSE(quantity.IsValid());
    quantity.SetProperty(QStringLiteral("Value"), QStringLiteral("10"));
    EXPECT_FALSE(quantity.IsValid());
    quantity.OnDeserialization();
    EXPECT_TRUE(quantity.IsValid());
    EXPECT_EQ(quantity.DeserializationCount(), 1);
    EXPECT_EQ(quantity.ToRealString().scaledValueWithUnits(6), QStringLiteral("10 pF"));
}

TEST(Quantity, ClonesAsAQuantityWithItsChildren) {
    Quantity quantity(QStringLiteral("F"), QStringLiteral("1.5"), QStringLiteral("GHz"));
    std::unique_ptr<Orrery::AbstractProperty> copy(quantity.Clone());
    auto* clone = dynamic_cast<Quantity*>(copy.get());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->GetName(), QStringLiteral("F"));
    EXPECT_EQ(clone->Value(), QStringLiteral("1.5"));
    EXPECT_EQ(clone->Units(), QStringLiteral("GHz"));
}

TEST(Quantity, RegistersOnceWithTheFactory) {
    const Orrery::ERESULT first = Quantity::Register();
    EXPECT_TRUE(first == Orrery::RESULT_OK || first == Orrery::RESULT_ALREADY_EXISTS);
    EXPECT_EQ(Quantity::Register(), Orrery::RESULT_ALREADY_EXISTS);
    std::unique_ptr<Orrery::PropertyObject> made(
        Orrery::PropertyObjectFactory::Instance()->Create(QStringLiteral("Quantity")));
    EXPECT_NE(dynamic_cast<Quantity*>(made.get()), nullptr);
}

TEST(Quantity, HasNoValueWithoutItsChildren) {
    Quantity empty;
    EXPECT_TRUE(empty.Value().isEmpty());
    EXPECT_TRUE(empty.Units().isEmpty());
    EXPECT_FALSE(empty.IsValid());
}

}  // namespace

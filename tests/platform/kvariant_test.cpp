// SPDX-License-Identifier: MIT
#include <qel/kvariant.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using Tolmarsk::Qel::KVariant;
namespace TypeCode = Tolmarsk::Qel::TypeCode;
using Tolmarsk::Qel::typeName;
using Tolmarsk::Qel::typeNameOfCode;

namespace {

struct Widget {
    int size = 3;
};

}  // namespace

TEST(KVariant, DefaultIsNull) {
    KVariant v;
    EXPECT_TRUE(v.isNull());
    EXPECT_EQ(v.typeCode(), 0);
    EXPECT_FALSE(v.isScalar());
    EXPECT_TRUE(v.dimensions().empty());
    EXPECT_EQ(v.size(), 0u);
    EXPECT_EQ(v.typeInfo(), typeid(void));
}

TEST(KVariant, FixedTypeCodes) {
    EXPECT_EQ(KVariant(std::int32_t{1}).typeCode(), 6);
    EXPECT_EQ(KVariant(std::string("x")).typeCode(), 0x10);
    EXPECT_EQ(KVariant(true).typeCode(), 0x4003);
    EXPECT_EQ(KVariant(Tolmarsk::Qel::Duration(5)).typeCode(), 0x30);
    EXPECT_EQ(KVariant(Tolmarsk::Qel::TimePoint(Tolmarsk::Qel::Duration(5))).typeCode(), 0x40);
    EXPECT_EQ(KVariant::fromCustom(Widget{}).typeCode(), 0x20);
    EXPECT_EQ(TypeCode::ComplexBool, 0xC003);
}

TEST(KVariant, EveryNumericCodeHasNonZeroLowNibble) {
    const std::uint16_t numeric[] = {KVariant(std::int8_t{1}).typeCode(),
                                     KVariant(std::uint8_t{1}).typeCode(),
                                     KVariant(std::int16_t{1}).typeCode(),
                                     KVariant(std::uint16_t{1}).typeCode(),
                                     KVariant(std::int32_t{1}).typeCode(),
                                     KVariant(std::uint32_t{1}).typeCode(),
                                     KVariant(std::int64_t{1}).typeCode(),
                                     KVariant(std::uint64_t{1}).typeCode(),
                                     KVariant(1.0f).typeCode(),
                                     KVariant(1.0).typeCode(),
                                     KVariant(true).typeCode(),
                                     KVariant(std::complex<float>(1, 2)).typeCode(),
                                     KVariant(std::complex<double>(1, 2)).typeCode(),
                                     TypeCode::ComplexBool};
    for (std::uint16_t code : numeric) {
        EXPECT_TRUE(Tolmarsk::Qel::isNumericTypeCode(code)) << code;
    }
    for (std::uint16_t code : {TypeCode::Null, TypeCode::String, TypeCode::Custom,
                               TypeCode::Duration, TypeCode::TimePoint}) {
        EXPECT_FALSE(Tolmarsk::Qel::isNumericTypeCode(code)) << code;
    }
}

TEST(KVariant, ScalarReportsOneDimension) {
    KVariant v(2.5);
    EXPECT_TRUE(v.isScalar());
    EXPECT_EQ(v.dimensions(), std::vector<std::uint64_t>{1});
    EXPECT_EQ(v.size(), 1u);
    EXPECT_DOUBLE_EQ(v.get<double>(), 2.5);
}

TEST(KVariant, VectorWithUnresolvedDimensionsReportsCount) {
    const std::string items[] = {"a", "b", "c"};
    KVariant v(items, 3);
    EXPECT_FALSE(v.isScalar());
    EXPECT_EQ(v.typeCode(), TypeCode::String);
    EXPECT_EQ(v.dimensions(), std::vector<std::uint64_t>{3});
    EXPECT_EQ(v.get<std::string>(2), "c");
    EXPECT_THROW(v.get<std::string>(3), std::out_of_range);
}

TEST(KVariant, ArrayKeepsGivenDimensions) {
    const int values[] = {1, 2, 3, 4, 5, 6};
    KVariant v(values, 6, {2, 3});
    EXPECT_EQ(v.dimensions(), (std::vector<std::uint64_t>{2, 3}));
    EXPECT_EQ(v.get<int>(5), 6);
    EXPECT_THROW(KVariant(values, 6, {4, 2}), std::invalid_argument);
}

TEST(KVariant, GetWithWrongTypeThrows) {
    KVariant v(1.5);
    EXPECT_THROW(v.get<int>(), std::runtime_error);
}

TEST(KVariant, BoolArrayElementsAreAddressable) {
    const bool values[] = {true, false, true};
    KVariant v(values, 3);
    EXPECT_TRUE(v.get<bool>(0));
    EXPECT_FALSE(v.get<bool>(1));
    KVariant copy = v;
    EXPECT_TRUE(copy.get<bool>(2));
}

TEST(KVariant, CopyIsIndependentAndMoveEmptiesSource) {
    KVariant original(std::string("hello, a string longer than any inline buffer"));
    KVariant copy(original);
    EXPECT_EQ(copy.get<std::string>(), original.get<std::string>());
    KVariant moved(std::move(original));
    EXPECT_EQ(moved.get<std::string>(), copy.get<std::string>());
    EXPECT_TRUE(original.isNull());  // NOLINT(bugprone-use-after-move): moved-from state is defined
    KVariant assigned;
    assigned = copy;
    EXPECT_EQ(assigned.get<std::string>(), copy.get<std::string>());
    assigned = KVariant(7);
    EXPECT_EQ(assigned.get<int>(), 7);
    KVariant scalar(42);
    KVariant scalarCopy = scalar;
    KVariant scalarMoved = std::move(scalar);
    EXPECT_EQ(scalarCopy.get<int>(), 42);
    EXPECT_EQ(scalarMoved.get<int>(), 42);
}

TEST(KVariant, SelfAssignmentKeepsValue) {
    KVariant v(std::string("same"));
    KVariant& alias = v;
    v = alias;
    EXPECT_EQ(v.get<std::string>(), "same");
}

TEST(KVariant, CustomObjectKeepsItsType) {
    KVariant v = KVariant::fromCustom(Widget{9});
    EXPECT_EQ(v.typeInfo(), typeid(Widget));
    ASSERT_NE(v.customObject<Widget>(), nullptr);
    EXPECT_EQ(v.customObject<Widget>()->size, 9);
    KVariant copy = v;
    EXPECT_NE(copy.customObject<Widget>(), v.customObject<Widget>());
    EXPECT_EQ(copy.customObject<Widget>()->size, 9);
    const std::string name = v.elementTypeName();
    EXPECT_NE(name.find("anonymous"), std::string::npos) << name;
    EXPECT_EQ(name.substr(name.size() - 8), "::Widget") << name;
    EXPECT_EQ(KVariant::voidCustom().elementTypeName(), "void");
    KVariant nothing = KVariant::voidCustom();
    EXPECT_EQ(nothing.typeCode(), TypeCode::Custom);
    EXPECT_EQ(nothing.typeInfo(), typeid(void));
    EXPECT_TRUE(nothing.convert(TypeCode::Int32, 1).isNull());
}

// Conversions between numeric kinds.
TEST(KVariantConvert, IntegerToEveryNumericKind) {
    KVariant v(std::int32_t{42});
    EXPECT_EQ(v.convert(TypeCode::Int8, 1).get<std::int8_t>(), 42);
    EXPECT_EQ(v.convert(TypeCode::UInt8, 1).get<std::uint8_t>(), 42);
    EXPECT_EQ(v.convert(TypeCode::Int16, 1).get<std::int16_t>(), 42);
    EXPECT_EQ(v.convert(TypeCode::UInt16, 1).get<std::uint16_t>(), 42);
    EXPECT_EQ(v.convert(TypeCode::UInt32, 1).get<std::uint32_t>(), 42u);
    EXPECT_EQ(v.convert(TypeCode::Int64, 1).get<std::int64_t>(), 42);
    EXPECT_EQ(v.convert(TypeCode::UInt64, 1).get<std::uint64_t>(), 42u);
    EXPECT_FLOAT_EQ(v.convert(TypeCode::Float, 1).get<float>(), 42.0f);
    EXPECT_DOUBLE_EQ(v.convert(TypeCode::Double, 1).get<double>(), 42.0);
    EXPECT_TRUE(v.convert(TypeCode::Bool, 1).get<bool>());
    EXPECT_EQ(v.convert(TypeCode::ComplexDouble, 1).get<std::complex<double>>(),
              std::complex<double>(42, 0));
    EXPECT_EQ(v.convert(TypeCode::ComplexFloat, 1).get<std::complex<float>>(),
              std::complex<float>(42, 0));
}

TEST(KVariantConvert, RealTruncatesTowardZero) {
    EXPECT_EQ(KVariant(2.9).convert(TypeCode::Int32, 1).get<int>(), 2);
    EXPECT_EQ(KVariant(-2.9).convert(TypeCode::Int32, 1).get<int>(), -2);
}

TEST(KVariantConvert, OutOfRangeFailsWhenCheckedAndSaturatesOtherwise) {
    KVariant big(300);
    EXPECT_TRUE(big.convert(TypeCode::Int8, 1).isNull());
    EXPECT_EQ(big.convert(TypeCode::Int8, 0).get<std::int8_t>(), 127);
    KVariant negative(-1);
    EXPECT_TRUE(negative.convert(TypeCode::UInt32, 1).isNull());
    EXPECT_EQ(negative.convert(TypeCode::UInt32, 0).get<std::uint32_t>(), 0u);
    KVariant huge(1e300);
    EXPECT_TRUE(huge.convert(TypeCode::Int64, 1).isNull());
    EXPECT_EQ(huge.convert(TypeCode::Int64, 0).get<std::int64_t>(),
              std::numeric_limits<std::int64_t>::max());
    EXPECT_TRUE(huge.convert(TypeCode::Float, 1).isNull());
    EXPECT_TRUE(
        KVariant(std::numeric_limits<double>::quiet_NaN()).convert(TypeCode::Int32, 0).isNull());
    KVariant maxU(std::numeric_limits<std::uint64_t>::max());
    EXPECT_TRUE(maxU.convert(TypeCode::Int64, 1).isNull());
    EXPECT_EQ(maxU.convert(TypeCode::UInt64, 1).get<std::uint64_t>(),
              std::numeric_limits<std::uint64_t>::max());
}

TEST(KVariantConvert, BoolAndNumbers) {
    EXPECT_EQ(KVariant(true).convert(TypeCode::Int32, 1).get<int>(), 1);
    EXPECT_EQ(KVariant(false).convert(TypeCode::Double, 1).get<double>(), 0.0);
    EXPECT_FALSE(KVariant(0.0).convert(TypeCode::Bool, 1).get<bool>());
    EXPECT_TRUE(KVariant(-0.5).convert(TypeCode::Bool, 1).get<bool>());
}

TEST(KVariantConvert, ComplexWithImaginaryPartHasNoRealValue) {
    KVariant c(std::complex<double>(1.5, 2.0));
    EXPECT_TRUE(c.convert(TypeCode::Double, 1).isNull());
    EXPECT_DOUBLE_EQ(
        KVariant(std::complex<double>(1.5, 0.0)).convert(TypeCode::Double, 1).get<double>(), 1.5);
    EXPECT_TRUE(c.convert(TypeCode::Bool, 1).get<bool>());
}

TEST(KVariantConvert, NumberToShortestText) {
    EXPECT_EQ(KVariant(12).convert(TypeCode::String, 1).get<std::string>(), "12");
    EXPECT_EQ(KVariant(2.5).convert(TypeCode::String, 1).get<std::string>(), "2.5");
    EXPECT_EQ(KVariant(0.1).convert(TypeCode::String, 1).get<std::string>(), "0.1");
    EXPECT_EQ(KVariant(0.1f).convert(TypeCode::String, 1).get<std::string>(), "0.1");
    EXPECT_EQ(KVariant(1e20).convert(TypeCode::String, 1).get<std::string>(), "1e+20");
    EXPECT_EQ(KVariant(true).convert(TypeCode::String, 1).get<std::string>(), "true");
    EXPECT_EQ(KVariant(std::complex<double>(1, -2)).convert(TypeCode::String, 1).get<std::string>(),
              "(1,-2)");
    EXPECT_EQ(KVariant(std::int8_t{-5}).convert(TypeCode::String, 1).get<std::string>(), "-5");
    const double third = 1.0 / 3.0;
    const std::string text = KVariant(third).convert(TypeCode::String, 1).get<std::string>();
    EXPECT_EQ(std::stod(text), third);
}

TEST(KVariantConvert, TextToNumberReadsTheWholeText) {
    EXPECT_EQ(KVariant(std::string("12")).convert(TypeCode::Int32, 1).get<int>(), 12);
    EXPECT_DOUBLE_EQ(KVariant(std::string("-1.5e3")).convert(TypeCode::Double, 1).get<double>(),
                     -1500.0);
    for (const char* bad : {" 12", "12x", "abc", "", "inf", "nan", "12 "}) {
        EXPECT_TRUE(KVariant(std::string(bad)).convert(TypeCode::Int32, 1).isNull()) << bad;
        EXPECT_TRUE(KVariant(std::string(bad)).convert(TypeCode::Double, 1).isNull()) << bad;
    }
    EXPECT_TRUE(KVariant(std::string("true")).convert(TypeCode::Bool, 1).get<bool>());
    EXPECT_FALSE(KVariant(std::string("0")).convert(TypeCode::Bool, 1).get<bool>());
    EXPECT_EQ(KVariant(std::string("18446744073709551615"))
                  .convert(TypeCode::UInt64, 1)
                  .get<std::uint64_t>(),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(KVariant(std::string("2.5")).convert(TypeCode::Int32, 1).get<int>(), 2);
}

TEST(KVariantConvert, OtherKindsConvertOnlyToThemselves) {
    KVariant d(Tolmarsk::Qel::Duration(5));
    EXPECT_TRUE(d.convert(TypeCode::Int64, 1).isNull());
    EXPECT_TRUE(d.convert(TypeCode::String, 1).isNull());
    EXPECT_EQ(d.convert(TypeCode::Duration, 1).get<Tolmarsk::Qel::Duration>().count(), 5);
    EXPECT_TRUE(KVariant(1).convert(TypeCode::Custom, 1).isNull());
    EXPECT_TRUE(KVariant(1).convert(TypeCode::ComplexBool, 1).isNull());
    EXPECT_TRUE(KVariant(1).convert(0x7777, 1).isNull());
}

TEST(KVariantConvert, NullStaysNull) {
    EXPECT_TRUE(KVariant().convert(TypeCode::Int32, 1).isNull());
}

TEST(KVariantConvert, ArraysConvertElementWiseAndKeepDimensions) {
    const double values[] = {1.5, 2.5};
    KVariant v(values, 2, {2, 1});
    KVariant ints = v.convert(TypeCode::Int32, 1);
    EXPECT_EQ(ints.dimensions(), (std::vector<std::uint64_t>{2, 1}));
    EXPECT_EQ(ints.get<int>(1), 2);
    const std::string texts[] = {"1", "x"};
    EXPECT_TRUE(KVariant(texts, 2).convert(TypeCode::Int32, 1).isNull());
    KVariant bools = v.convert(TypeCode::Bool, 1);
    EXPECT_TRUE(bools.get<bool>(1));
}

TEST(KVariantTypeName, FixedWidthNamesAsTheyStand) {
    EXPECT_EQ(typeName<std::int8_t>(), "int8_t");
    EXPECT_EQ(typeName<std::uint8_t>(), "uint8_t");
    EXPECT_EQ(typeName<std::int16_t>(), "int16_t");
    EXPECT_EQ(typeName<std::uint16_t>(), "uint16_t");
    EXPECT_EQ(typeName<std::int64_t>(), "int64_t");
    EXPECT_EQ(typeName<std::uint64_t>(), "uint64_t");
    EXPECT_EQ(typeName<std::string>(), "std::string");
}

TEST(KVariantTypeName, OtherNamesAreTheCompilersSpelling) {
    EXPECT_EQ(typeName<int>(), "int");
    EXPECT_EQ(typeName<double>(), "double");
    EXPECT_EQ(typeName<bool>(), "bool");
    EXPECT_EQ(typeName<float>(), "float");
    EXPECT_EQ(typeName<unsigned int>(), "unsigned int");
    EXPECT_EQ(typeName<std::complex<float>>(), "std::complex<float>");
}

TEST(KVariantTypeName, CleaningRemovesClassStructAndInlineNamespace) {
    using Tolmarsk::Qel::Internal::cleanTypeName;
    EXPECT_EQ(cleanTypeName("class Foo"), "Foo");
    EXPECT_EQ(cleanTypeName("struct ns::Bar"), "ns::Bar");
    EXPECT_EQ(cleanTypeName("std::__1::basic_string<char>"), "std::basic_string<char>");
    EXPECT_EQ(cleanTypeName("std::__1"), "std");
    EXPECT_EQ(cleanTypeName("classic"), "classic");
}

TEST(KVariantTypeName, NamesOfCodes) {
    EXPECT_EQ(typeNameOfCode(TypeCode::Int32), "int");
    EXPECT_EQ(typeNameOfCode(TypeCode::Double), "double");
    EXPECT_EQ(typeNameOfCode(TypeCode::String), "std::string");
    EXPECT_EQ(typeNameOfCode(TypeCode::Int8), "int8_t");
    EXPECT_EQ(typeNameOfCode(TypeCode::Bool), "bool");
    EXPECT_EQ(typeNameOfCode(TypeCode::ComplexBool), "std::complex<bool>");
    EXPECT_THROW(typeNameOfCode(TypeCode::Null), std::runtime_error);
    try {
        typeNameOfCode(0x0070);
        FAIL() << "expected an exception";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "unknown type");
    }
    EXPECT_EQ(KVariant(std::uint16_t{1}).elementTypeName(), "uint16_t");
}

// SPDX-License-Identifier: MIT
#include <orrery/result.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <type_traits>
#include <utility>

using Orrery::ERESULT;
using Orrery::OrreryException;

TEST(ERESULT, HasTheLibraryValues) {
    EXPECT_EQ(Orrery::RESULT_OK, 0);
    EXPECT_EQ(Orrery::RESULT_FAILED, -1);
    EXPECT_EQ(Orrery::RESULT_NOT_FOUND, -3);
    EXPECT_EQ(Orrery::RESULT_INVALID_ARGUMENT, -4);
    EXPECT_EQ(Orrery::RESULT_ALREADY_EXISTS, -5);
}

TEST(ERESULT, IsASignedThirtyTwoBitEnumeration) {
    EXPECT_EQ(sizeof(ERESULT), 4u);
    EXPECT_TRUE(std::is_signed<std::underlying_type_t<ERESULT>>::value);
    // Unscoped: the names live directly in the namespace and compare with integers.
    const int failed = Orrery::RESULT_FAILED;
    EXPECT_LT(failed, 0);
}

TEST(OrreryException, WhatOfMinusFiveReadsOrreryErrorMinusFive) {
    const OrreryException e(Orrery::RESULT_ALREADY_EXISTS);
    EXPECT_STREQ(e.what(), "Orrery Error: -5");
}

TEST(OrreryException, WhatOfZeroReadsOrreryErrorZero) {
    const OrreryException e(Orrery::RESULT_OK);
    EXPECT_STREQ(e.what(), "Orrery Error: 0");
}

TEST(OrreryException, WhatWritesAnyCodeAsSignedDecimal) {
    EXPECT_STREQ(OrreryException(Orrery::RESULT_INVALID_ARGUMENT).what(), "Orrery Error: -4");
    EXPECT_STREQ(OrreryException(static_cast<ERESULT>(123456)).what(), "Orrery Error: 123456");
    EXPECT_STREQ(OrreryException(static_cast<ERESULT>(-2)).what(), "Orrery Error: -2");
    EXPECT_STREQ(OrreryException(static_cast<ERESULT>(INT_MIN)).what(),
                 "Orrery Error: -2147483648");
}

TEST(OrreryException, WhatIsComposedAfreshOnEveryCall) {
    OrreryException e(Orrery::RESULT_FAILED);
    EXPECT_STREQ(e.what(), "Orrery Error: -1");
    e.code = Orrery::RESULT_NOT_FOUND;
    EXPECT_STREQ(e.what(), "Orrery Error: -3");
}

TEST(OrreryException, KeepsTheCode) {
    const OrreryException e(Orrery::RESULT_NOT_FOUND);
    EXPECT_EQ(e.code, Orrery::RESULT_NOT_FOUND);
}

TEST(OrreryException, CopyReportsTheSameCodeAndText) {
    const OrreryException source(Orrery::RESULT_INVALID_ARGUMENT);
    const OrreryException copy(source);
    EXPECT_EQ(copy.code, source.code);
    EXPECT_STREQ(copy.what(), source.what());
}

TEST(OrreryException, MoveReportsTheSameCodeAndText) {
    OrreryException source(Orrery::RESULT_ALREADY_EXISTS);
    const OrreryException moved(std::move(source));
    EXPECT_EQ(moved.code, Orrery::RESULT_ALREADY_EXISTS);
    EXPECT_STREQ(moved.what(), "Orrery Error: -5");
    // The move constructor copies: the source still reports its code.
    EXPECT_EQ(source.code, Orrery::RESULT_ALREADY_EXISTS);
}

TEST(OrreryException, CopyAndMoveAssignmentTakeTheCode) {
    const OrreryException source(Orrery::RESULT_NOT_FOUND);
    OrreryException copied(Orrery::RESULT_OK);
    copied = source;
    EXPECT_EQ(copied.code, Orrery::RESULT_NOT_FOUND);
    EXPECT_STREQ(copied.what(), "Orrery Error: -3");

    OrreryException moved(Orrery::RESULT_OK);
    moved = OrreryException(Orrery::RESULT_FAILED);
    EXPECT_EQ(moved.code, Orrery::RESULT_FAILED);
    EXPECT_STREQ(moved.what(), "Orrery Error: -1");
}

TEST(OrreryException, SelfAssignmentKeepsTheCode) {
    OrreryException e(Orrery::RESULT_FAILED);
    OrreryException& alias = e;
    e = alias;
    EXPECT_EQ(e.code, Orrery::RESULT_FAILED);
    e = std::move(alias);
    EXPECT_EQ(e.code, Orrery::RESULT_FAILED);
    EXPECT_STREQ(e.what(), "Orrery Error: -1");
}

TEST(OrreryException, IsCaughtAsStandardException) {
    try {
        throw OrreryException(Orrery::RESULT_INVALID_ARGUMENT);
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), "Orrery Error: -4");
        return;
    }
    FAIL() << "not caught as std::exception";
}

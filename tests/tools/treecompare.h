// SPDX-License-Identifier: MIT
// Deep comparison of two property trees for the round-trip tests.
#pragma once

#include "qtprinters.h"
#include "treediff.h"

#include <gtest/gtest.h>

#include <string>

namespace OrreryToolTest {

/// Whether two variant values hold the same type, shape and elements (reals bit for bit).
inline ::testing::AssertionResult sameValue(const Tolmarsk::Qel::KVariant& a,
                                            const Tolmarsk::Qel::KVariant& b) {
    const std::string why = valueDifference(a, b);
    return why.empty() ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << why;
}

/// Whether two trees are equal node for node (see treeDifference()).
inline ::testing::AssertionResult sameTree(Orrery::AbstractProperty* a,
                                           Orrery::AbstractProperty* b) {
    const std::string why = treeDifference(a, b);
    return why.empty() ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << why;
}

}  // namespace OrreryToolTest

// SPDX-License-Identifier: MIT
// Deep comparison of two property trees for the round-trip tests.
#pragma once

#include <orrery/property.h>

#include "printers.h"

#include <gtest/gtest.h>

namespace OrreryToolTest {

/// Whether two variant values hold the same type, shape and elements (reals bit for bit).
::testing::AssertionResult sameValue(const Tolmarsk::Qel::KVariant& a,
                                     const Tolmarsk::Qel::KVariant& b);

/**
 * Whether two trees are equal node for node: names, type names, type and property
 * flags, values and cell markers, reference fields and children in name order.
 */
::testing::AssertionResult sameTree(Orrery::AbstractProperty* a, Orrery::AbstractProperty* b);

}  // namespace OrreryToolTest

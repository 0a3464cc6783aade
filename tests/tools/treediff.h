// SPDX-License-Identifier: MIT
// Deep comparison of two property trees, without a test framework, so that the
// round-trip tests and the file-kind fuzz target share it.
#pragma once

#include <orrery/property.h>

#include <string>

namespace OrreryToolTest {

/// How two variant values differ in type, shape or elements (reals bit for bit); empty
/// when they are the same.
std::string valueDifference(const Tolmarsk::Qel::KVariant& a, const Tolmarsk::Qel::KVariant& b);

/**
 * Where and how two trees first differ, node for node: names, type names, type and
 * property flags, values and cell markers, reference fields and children in name order.
 * Empty when they are equal.
 */
std::string treeDifference(Orrery::AbstractProperty* a, Orrery::AbstractProperty* b);

}  // namespace OrreryToolTest

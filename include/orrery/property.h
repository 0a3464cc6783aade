// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The property tree: abstract property, property object, simple property, references, paths
 * and the property-object factory.
 */
#pragma once

#include <orrery/orrery_export.h>

// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Semantic versions (major.minor.patch) and their interface compatibility.
 */
#pragma once

#include <orrery/orrery_export.h>

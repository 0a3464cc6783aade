// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Installed components: variable expansion, component stores and member specifications.
 */
#pragma once

#include <orrery/orrery_export.h>

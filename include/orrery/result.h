// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The library-wide result codes and the library exception.
 */
#pragma once

#include <orrery/orrery_export.h>

// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The library-wide result codes and the library exception.
 */
#pragma once

#include <orrery/orrery_export.h>

namespace Orrery {

/// Placeholder until the property tree lands; replaced on merge.
enum ERESULT : int {
    RESULT_OK = 0,
    RESULT_FAILED = -1,
    RESULT_NOT_FOUND = -3,
    RESULT_INVALID_ARGUMENT = -4,
    RESULT_ALREADY_EXISTS = -5
};

}  // namespace Orrery

// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief File-name operations on UTF-8 path strings (namespace Orrery::Filename).
 */
#pragma once

#include <orrery/orrery_export.h>

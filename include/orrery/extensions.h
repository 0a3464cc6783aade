// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Extension interfaces: extenders attached to objects through a process-wide table.
 */
#pragma once

#include <orrery/orrery_export.h>

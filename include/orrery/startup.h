// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Application start-up on Qt's core application and UTF-8 process I/O.
 */
#pragma once

#include <orrery/orrery_export.h>

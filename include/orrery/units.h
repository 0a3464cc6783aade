// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Numbers with units: units parser, real string parser and real string.
 */
#pragma once

#include <orrery/orrery_export.h>

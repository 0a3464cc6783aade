// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The client environment set-up of a desktop application of the suite.
 */
#pragma once

#include <orrery/orrery_export.h>
#include <vexil/core.h>

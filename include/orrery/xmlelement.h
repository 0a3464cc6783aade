// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The XML element tree, read and written through Qt's streaming XML classes.
 */
#pragma once

#include <orrery/orrery_export.h>

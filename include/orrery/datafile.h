// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Data files: the abstract data file, its root property, the list of open files and the
 * file-type factory.
 */
#pragma once

#include <orrery/orrery_export.h>

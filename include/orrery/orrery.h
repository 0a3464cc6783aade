// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Includes every public header of OrreryCore.
 */
#pragma once

#include <orrery/components.h>
#include <orrery/datafile.h>
#include <orrery/extensions.h>
#include <orrery/filename.h>
#include <orrery/property.h>
#include <orrery/result.h>
#include <orrery/semanticver.h>
#include <orrery/startup.h>
#include <orrery/units.h>
#include <orrery/version.h>
#include <orrery/xmlelement.h>
#include <qel/kvariant.h>
#include <vexil/clientenvironment.h>
#include <vexil/core.h>

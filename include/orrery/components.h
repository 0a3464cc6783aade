// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Installed components: variable expansion, component stores and member specifications.
 */
#pragma once

#include <orrery/orrery_export.h>

#include <QString>

namespace Orrery {

/**
 * @brief Replaces references to environment variables in @p text by their values.
 *
 * A reference is written %NAME%, %NAME, $NAME, $(NAME), %(NAME), ${NAME} or %{NAME},
 * where NAME is one or more of the letters, digits, underscore and hyphen. Values come
 * from the environment, with the installation's registry settings as fallback. Each
 * reference found replaces every occurrence of the same reference text in the whole
 * string; scanning resumes after the inserted value, so a value is never expanded at
 * the place it was inserted.
 *
 * @return the expanded text. Never fails: a variable that is set nowhere expands to
 *         nothing, and text that is not a reference is kept as it is.
 */
ORRERY_EXPORT QString ExpandVars(const QString& text);

}  // namespace Orrery

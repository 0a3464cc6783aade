// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Extension interfaces: extenders attached to objects through a process-wide table.
 * @ingroup data_files
 */
#pragma once

#include <orrery/orrery_export.h>

namespace Orrery {
namespace Extensions {

/// @addtogroup data_files
/// @{

/// @brief Base of extender classes. Holds no data.
struct ORRERY_EXPORT IExtender {
    /// @brief An extender with no data. Never fails.
    IExtender() = default;
    /// @brief Copies nothing. Never fails.
    IExtender(const IExtender&) = default;
    /// @brief Copies nothing. Never fails.
    IExtender& operator=(const IExtender&) = default;
    /// @brief Pure, so that the class is abstract; defined, and never fails.
    virtual ~IExtender() = 0;
};

/**
 * @brief Base of classes that can carry an extender without a field of their own.
 *
 * The extender of an object is kept in one process-wide table keyed by the
 * object's address. The table does not own extenders, and an entry outlives its
 * object: a later object at the same address finds the old extender. Entries are
 * to be read and written from one thread; only the table's creation is thread-safe.
 */
struct ORRERY_EXPORT IAbstractExtension {
    /// @brief An object without an extender (unless an earlier object at the same address
    ///        recorded one). Never fails.
    IAbstractExtension() = default;
    /// @brief Copies nothing: the copy has its own address and so no extender. Never fails.
    IAbstractExtension(const IAbstractExtension&) = default;
    /// @brief Copies nothing: each object keeps its own extender. Never fails.
    IAbstractExtension& operator=(const IAbstractExtension&) = default;
    /// @brief Pure, so that the class is abstract; defined, and never fails. The table
    ///        entry of the object is deliberately left in place.
    virtual ~IAbstractExtension() = 0;

    /**
     * @brief Records @p ext as this object's extender and returns it; with null,
     *        returns the recorded extender (creating a null entry when there is none).
     * @return the extender; null when none was ever recorded. Never fails.
     */
    IExtender* give_ext(IExtender* ext) const;
    /**
     * @brief Returns @p ext when it is not null, without recording it; with null,
     *        returns the recorded extender as give_ext(nullptr) does.
     * @return the extender; null when @p ext is null and none was recorded. Never fails.
     */
    IExtender* peek_ext(IExtender* ext) const;
};

/// @}

}  // namespace Extensions
}  // namespace Orrery

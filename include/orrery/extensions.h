// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Extension interfaces: extenders attached to objects through a process-wide table.
 */
#pragma once

#include <orrery/orrery_export.h>

namespace Orrery {
namespace Extensions {

/// @brief Base of extender classes. Holds no data.
struct ORRERY_EXPORT IExtender {
    IExtender() = default;
    IExtender(const IExtender&) = default;
    IExtender& operator=(const IExtender&) = default;
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
    IAbstractExtension() = default;
    /// @brief Copies nothing: the copy has its own address and so no extender.
    IAbstractExtension(const IAbstractExtension&) = default;
    IAbstractExtension& operator=(const IAbstractExtension&) = default;
    virtual ~IAbstractExtension() = 0;

    /**
     * @brief Records @p ext as this object's extender and returns it; with null,
     *        returns the recorded extender (creating a null entry when there is none).
     */
    IExtender* give_ext(IExtender* ext) const;
    /**
     * @brief Returns @p ext when it is not null, without recording it; with null,
     *        returns the recorded extender as give_ext(nullptr) does.
     */
    IExtender* peek_ext(IExtender* ext) const;
};

}  // namespace Extensions
}  // namespace Orrery

// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The library-wide result codes and the library exception.
 * @ingroup property_tree
 */
#pragma once

#include <orrery/orrery_export.h>

#include <QByteArray>

#include <cstdint>
#include <exception>

namespace Orrery {

/// @addtogroup property_tree
/// @{

/**
 * @brief Outcome of every fallible operation of the data-model classes.
 *
 * Zero is success, every failure is negative; no operation returns -2 or a
 * positive value, so callers test for `< 0` or `== RESULT_OK`.
 */
enum ERESULT : std::int32_t {
    /// The operation succeeded, or the requested state already held.
    RESULT_OK = 0,
    /// The target refuses the change (read-only) or a value cannot be converted.
    RESULT_FAILED = -1,
    /// No child property of the given name exists.
    RESULT_NOT_FOUND = -3,
    /// An argument is unusable (empty or ill-formed name, parented property, null pointer...).
    RESULT_INVALID_ARGUMENT = -4,
    /// A uniquely keyed entry (sibling name, factory type name) is already present.
    RESULT_ALREADY_EXISTS = -5,
};

/**
 * @brief A standard exception that carries an ERESULT.
 *
 * Offered to client code that prefers to throw; the library itself returns
 * result codes and never throws this class.
 */
class ORRERY_EXPORT OrreryException : public std::exception {
public:
    /**
     * @brief Makes an exception reporting @p code; the base message stays empty.
     * @note Never fails.
     */
    explicit OrreryException(ERESULT code);
    /// @brief Copies the base message and the code. Never fails.
    OrreryException(const OrreryException& other);
    /// @brief Same as the copy constructor; the source keeps its state. Never fails.
    OrreryException(OrreryException&& other) noexcept;
    /// @brief Copies the base message (unless @p other is this object) and the code. Never
    /// fails.
    OrreryException& operator=(const OrreryException& other);
    /// @brief Same as the copy assignment. Never fails.
    OrreryException& operator=(OrreryException&& other) noexcept;
    /// @brief Releases the base message. Never fails.
    ~OrreryException() override;

    /**
     * @brief The text "Orrery Error: %1" with the code as a signed decimal, in UTF-8.
     *
     * The text is composed afresh on every call; the pointer stays valid until
     * the next call on the same object or its destruction.
     * @note Never fails on an unknown code: any integer is written as it is.
     */
    const char* what() const noexcept override;

    /// The result this exception reports.
    ERESULT code;

private:
    // Holds the text last returned by what().
    mutable QByteArray whatText;
};

/// @}

}  // namespace Orrery

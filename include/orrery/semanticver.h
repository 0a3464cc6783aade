// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Semantic versions (major.minor.patch) and their interface compatibility.
 * @ingroup data_files
 */
#pragma once

#include <orrery/orrery_export.h>
#include <orrery/result.h>

#include <QString>

namespace Orrery {

/// @addtogroup data_files
/// @{

/**
 * @brief A version major.minor.patch.
 *
 * A text is a valid version when it consists of digits and exactly two dots;
 * empty numbers and leading zeros are allowed ("..", "1..", "01.2.3") and an
 * empty or unconvertible number (one too large for an int included) reads as 0.
 */
class ORRERY_EXPORT SemanticVer {
public:
    /// @brief Version 0.0.0. Never fails.
    SemanticVer() = default;
    /// @brief Parses @p text; an invalid text leaves 0.0.0 and is not reported.
    SemanticVer(const QString& text);  // NOLINT(google-explicit-constructor)
    /// @brief Copies the three numbers. Never fails.
    SemanticVer(const SemanticVer&) = default;
    /// @brief Copies the three numbers. Never fails.
    SemanticVer(SemanticVer&&) = default;
    /// @brief Copies the three numbers. Never fails.
    SemanticVer& operator=(const SemanticVer&) = default;
    /// @brief Copies the three numbers. Never fails.
    SemanticVer& operator=(SemanticVer&&) = default;
    /// @brief Destroys the version. Never fails.
    ~SemanticVer() = default;

    /**
     * @brief Parses @p text into the three numbers.
     * @return 0, or -4 when the text is not a valid version (the numbers are kept).
     */
    ERESULT SetVersion(const QString& text);
    /// @brief Whether @p text is a valid version; changes nothing. Never fails.
    bool IsValidVersion(const QString& text) const;
    /// @brief The major number. Never fails.
    unsigned int GetMajorVersion() const { return major; }
    /// @brief The minor number. Never fails.
    unsigned int GetMinorVersion() const { return minor; }
    /// @brief The patch number. Never fails.
    unsigned int GetPatchVersion() const { return patch; }
    /// @brief Whether @p other has the same major number. Never fails.
    bool IsAPICompatible(const SemanticVer& other) const;
    /// @brief false for an invalid @p text; else whether its major number equals ours.
    ///        Never fails.
    bool IsAPICompatible(const QString& text) const;

private:
    unsigned int major = 0;
    unsigned int minor = 0;
    unsigned int patch = 0;
};

/// @}

}  // namespace Orrery

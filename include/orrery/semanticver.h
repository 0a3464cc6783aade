// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Semantic versions (major.minor.patch) and their interface compatibility.
 */
#pragma once

#include <orrery/orrery_export.h>
#include <orrery/result.h>

#include <QString>

namespace Orrery {

/**
 * @brief A version major.minor.patch.
 *
 * A text is a valid version when it consists of digits and exactly two dots;
 * empty numbers and leading zeros are allowed ("..", "1..", "01.2.3") and an
 * empty or unconvertible number reads as 0.
 */
class ORRERY_EXPORT SemanticVer {
public:
    /// @brief Version 0.0.0.
    SemanticVer() = default;
    /// @brief Parses @p text; an invalid text leaves 0.0.0 and is not reported.
    SemanticVer(const QString& text);  // NOLINT(google-explicit-constructor)
    SemanticVer(const SemanticVer&) = default;
    SemanticVer(SemanticVer&&) = default;
    SemanticVer& operator=(const SemanticVer&) = default;
    SemanticVer& operator=(SemanticVer&&) = default;
    ~SemanticVer() = default;

    /**
     * @brief Parses @p text into the three numbers.
     * @return 0, or -4 when the text is not a valid version (the numbers are kept).
     */
    ERESULT SetVersion(const QString& text);
    /// @brief Whether @p text is a valid version; changes nothing.
    bool IsValidVersion(const QString& text) const;
    /// @brief The major number.
    unsigned int GetMajorVersion() const { return major; }
    /// @brief The minor number.
    unsigned int GetMinorVersion() const { return minor; }
    /// @brief The patch number.
    unsigned int GetPatchVersion() const { return patch; }
    /// @brief Whether @p other has the same major number.
    bool IsAPICompatible(const SemanticVer& other) const;
    /// @brief false for an invalid @p text; else whether its major number equals ours.
    bool IsAPICompatible(const QString& text) const;

private:
    unsigned int major = 0;
    unsigned int minor = 0;
    unsigned int patch = 0;
};

}  // namespace Orrery

// SPDX-License-Identifier: MIT
// SemanticVer: parsing and interface compatibility of major.minor.patch versions.

#include <orrery/semanticver.h>

namespace Orrery {

SemanticVer::SemanticVer(const QString& text) {
    SetVersion(text);
}

bool SemanticVer::IsValidVersion(const QString& text) const {
    // Deliberately loose: digits and exactly two dots, nothing else required.
    int dots = 0;
    for (const QChar c : text) {
        if (c == QLatin1Char('.')) {
            ++dots;
        } else if (!c.isDigit()) {
            return false;
        }
    }
    return dots == 2;
}

ERESULT SemanticVer::SetVersion(const QString& text) {
    if (!IsValidVersion(text)) {
        return RESULT_INVALID_ARGUMENT;
    }
    const int first = text.indexOf(QLatin1Char('.'));
    const int second = text.indexOf(QLatin1Char('.'), first + 1);
    // An empty or unconvertible piece (too large for an int included) reads as 0.
    major = static_cast<unsigned int>(text.left(first).toInt(nullptr, 10));
    minor = static_cast<unsigned int>(text.mid(first + 1, second - first - 1).toInt(nullptr, 10));
    patch = static_cast<unsigned int>(text.mid(second + 1).toInt(nullptr, 10));
    return RESULT_OK;
}

bool SemanticVer::IsAPICompatible(const SemanticVer& other) const {
    return other.major == major;
}

bool SemanticVer::IsAPICompatible(const QString& text) const {
    if (!IsValidVersion(text)) {
        return false;
    }
    return IsAPICompatible(SemanticVer(text));
}

}  // namespace Orrery

// SPDX-License-Identifier: MIT
// The file-name collation and the textual comparisons built on it.
// Purely textual; builds without Qt.
#define ORRERY_FILENAME_NO_QT
#include "filename_p.h"

namespace Orrery {
namespace Filename {

namespace {

std::string_view view(const char* s) {
    return s ? std::string_view(s) : std::string_view();
}

bool startsWith(std::string_view s, std::string_view prefix) {
    if (s.size() < prefix.size()) {
        return false;
    }
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (detail::collate(s[i]) != detail::collate(prefix[i])) {
            return false;
        }
    }
    return true;
}

}  // namespace

// Bytes compare as signed values, so a UTF-8 lead byte sorts below ASCII; deliberate.
int compare_filenames(const std::string& a, const std::string& b) {
    return detail::compareCollated(a, b);
}

int compare_filenames(const std::string& a, const char* b) {
    return detail::compareCollated(a, view(b));
}

int compare_filenames(const char* a, const char* b) {
    return detail::compareCollated(view(a), view(b));
}

int compare_filenames(const char* a, const std::string& b) {
    return detail::compareCollated(view(a), b);
}

bool equal_filenames(const std::string& a, const std::string& b) {
    return detail::equalCollated(a, b);
}

bool equal_filenames(const std::string& a, const char* b) {
    return detail::equalCollated(a, view(b));
}

bool equal_filenames(const char* a, const char* b) {
    return detail::equalCollated(view(a), view(b));
}

bool equal_filenames(const char* a, const std::string& b) {
    return detail::equalCollated(view(a), b);
}

bool starts_with_filename(const std::string& s, const std::string& prefix) {
    return startsWith(s, prefix);
}

bool starts_with_filename(const std::string& s, const char* prefix) {
    return startsWith(s, view(prefix));
}

bool starts_with_filename(const char* s, const char* prefix) {
    return startsWith(view(s), view(prefix));
}

bool starts_with_filename(const char* s, const std::string& prefix) {
    return startsWith(view(s), prefix);
}

}  // namespace Filename
}  // namespace Orrery

// SPDX-License-Identifier: MIT
// Separators, splitting into directory and leaf, and classification of path names.
// Purely textual; builds without Qt.
#define ORRERY_FILENAME_NO_QT
#include "filename_p.h"

namespace Orrery {
namespace Filename {

using detail::isSep;

namespace detail {

bool findExtension(std::string_view path, std::size_t* length) {
    const std::string_view leaf = path.substr(leafStart(path));
    if (leaf.empty() || leaf == "." || leaf == "..") {
        return false;
    }
    const std::size_t dot = leaf.rfind('.');
    // A dot that opens the leaf (".profile") does not start an extension.
    if (dot == std::string_view::npos || dot == 0) {
        return false;
    }
    *length = leaf.size() - dot;
    return true;
}

}  // namespace detail

bool is_separator(char c) {
    return isSep(c);
}

bool is_separator(const std::string& s) {
    // Looks at the first byte only, unlike the other end-of-name tests; deliberate.
    return !s.empty() && isSep(s.front());
}

bool ends_with_separator(const std::string& s) {
    return !s.empty() && isSep(s.back());
}

bool ends_with_separator(const char* s) {
    if (s == nullptr || *s == '\0') {
        return false;
    }
    return isSep(s[std::char_traits<char>::length(s) - 1]);
}

bool add_separator(const std::string& in, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    if (out != &in) {
        *out = in;
    }
    if (!ends_with_separator(*out)) {
        out->push_back('\\');
    }
    return true;
}

ORRERY_FILENAME_DERIVED_FORMS(add_separator)

bool remove_separator(const std::string& in, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    if (out != &in) {
        *out = in;
    }
    const std::string& s = *out;
    std::size_t n = s.size();
    while (n > 0) {
        if (n == 3 && s[1] == ':' && isSep(s[2])) {
            break;  // drive root "C:\"
        }
        if (n == 1 && isSep(s[0])) {
            break;  // lone separator
        }
        if (n > 3 && isSep(s[0]) && isSep(s[1])) {
            std::size_t i = 2;
            while (i < n && !isSep(s[i])) {
                ++i;
            }
            if (i == n - 1) {
                break;  // UNC server root "\\server\"
            }
        }
        if (!isSep(s[n - 1])) {
            break;
        }
        --n;
    }
    out->resize(n);
    return true;
}

ORRERY_FILENAME_DERIVED_FORMS(remove_separator)

bool convert_separators(const std::string& in, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    if (out != &in) {
        *out = in;
    }
    for (char& c : *out) {
        if (c == '/') {
            c = '\\';
        }
    }
    return true;
}

ORRERY_FILENAME_DERIVED_FORMS(convert_separators)

namespace {

/// Cuts @p path down to its directory as parse_pathname reports it.
void keepDirectory(std::string& path) {
    const std::size_t start = detail::leafStart(path);
    if (start == 0) {
        path.clear();
        return;
    }
    path.resize(start - 1);
    // An empty directory or a bare drive names a root; the backslash is added even when
    // the input used a slash, deliberately.
    if (path.empty() || (path.size() == 2 && path[1] == ':')) {
        path.push_back('\\');
    }
}

}  // namespace

bool parse_pathname(const std::string& in, std::string* dir, std::string* name) {
    if (dir == &in || name == &in) {
        const std::string copy = in;
        return parse_pathname(copy, dir, name);
    }
    if (dir != nullptr) {
        *dir = in;
        keepDirectory(*dir);
    }
    if (name != nullptr) {
        name->assign(in, detail::leafStart(in), std::string::npos);
    }
    return true;
}

bool parse_pathname(const char* in, std::string* dir, std::string* name) {
    const std::string copy(in ? in : "");
    return parse_pathname(copy, dir, name);
}

bool get_leafname(const std::string& in, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    if (out != &in) {
        out->assign(in, detail::leafStart(in), std::string::npos);
    } else {
        out->erase(0, detail::leafStart(*out));
    }
    return true;
}

ORRERY_FILENAME_DERIVED_FORMS(get_leafname)

bool get_parent_path(const std::string& in, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    if (out != &in) {
        *out = in;
    }
    keepDirectory(*out);
    return true;
}

ORRERY_FILENAME_DERIVED_FORMS(get_parent_path)

bool get_basename(const std::string& in, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    get_leafname(in, out);
    std::size_t length = 0;
    if (detail::findExtension(*out, &length)) {
        out->resize(out->size() - length);
    }
    return true;
}

ORRERY_FILENAME_DERIVED_FORMS(get_basename)

namespace {

bool relative(std::string_view s) {
    if (s.empty()) {
        return true;
    }
    if (isSep(s[0])) {
        return false;
    }
    return !(s.size() >= 2 && s[1] == ':');
}

bool fullPath(std::string_view s) {
    if (s.size() == 2 && s[1] == ':') {
        return false;  // a bare drive is neither full nor relative
    }
    return !relative(s);
}

bool root(std::string_view s) {
    const std::size_t n = s.size();
    if (n == 3 && s[1] == ':' && isSep(s[2])) {
        return true;
    }
    if (n == 1 && isSep(s[0])) {
        return true;
    }
    if (n >= 4 && isSep(s[0]) && isSep(s[1])) {
        std::size_t i = 2;
        while (i < n && !isSep(s[i])) {
            ++i;
        }
        return i == n - 1;
    }
    return false;
}

}  // namespace

bool is_relative(const std::string& s) {
    return relative(s);
}

bool is_relative(const char* s) {
    return relative(s ? s : "");
}

bool is_full_path(const std::string& s) {
    return fullPath(s);
}

bool is_full_path(const char* s) {
    return fullPath(s ? s : "");
}

bool is_root(const std::string& s) {
    return root(s);
}

bool is_root(const char* s) {
    return root(s ? s : "");
}

}  // namespace Filename
}  // namespace Orrery

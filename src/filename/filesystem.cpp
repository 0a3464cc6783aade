// SPDX-License-Identifier: MIT
// Path names against the file system: the current directory, existence, full and
// physical paths, and the comparisons that consult them. Reaches the operating
// system only through <vexil/core.h>; builds without Qt.
#define ORRERY_FILENAME_NO_QT
#include "filename_p.h"

#include <utility>

namespace Orrery {
namespace Filename {

namespace {

/**
 * Whether @p path exists; when @p isDirectory is given, also of what kind. A name
 * written with a trailing separator exists only as a directory.
 */
bool probe(const std::string& path, bool* isDirectory) {
    const bool trailing = ends_with_separator(path);
    const std::string trimmed = remove_separator(path);
    const vexil::Path p(trimmed);
    if (!p.exists()) {
        return false;
    }
    if (isDirectory == nullptr && !trailing) {
        return true;
    }
    const bool directory = p.is_directory();
    if (isDirectory != nullptr) {
        *isDirectory = directory;
    }
    return directory || !trailing;
}

}  // namespace

std::string get_current_directory() {
    return detail::readCurrentDirectory();
}

bool get_current_directory(std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    char* cwd = vexil::getcwd_utf8_legacy(nullptr, 1024);
    if (cwd == nullptr) {
        out->clear();
        return false;
    }
    out->assign(cwd);
    std::free(cwd);
    return true;
}

bool path_exists(const std::string& path) {
    return probe(path, nullptr);
}

bool path_exists(const char* path) {
    return probe(path ? path : "", nullptr);
}

bool is_directory(const std::string& path) {
    bool directory = false;
    return probe(path, &directory) && directory;
}

bool is_directory(const char* path) {
    return is_directory(std::string(path ? path : ""));
}

bool is_filename(const std::string& path) {
    bool directory = false;
    return probe(path, &directory) && !directory;
}

bool is_filename(const char* path) {
    return is_filename(std::string(path ? path : ""));
}

std::string get_full_path(const std::string& path) {
    return detail::fullPathUsing(path, &detail::readCurrentDirectory);
}

std::string get_full_path(const char* path) {
    return get_full_path(std::string(path ? path : ""));
}

std::string get_physical_path(const std::string& path) {
    const std::string full = remove_separator(get_full_path(path));
    std::string dir;
    std::string leaf;
    parse_pathname(full, &dir, &leaf);
    if (!path_exists(dir)) {
        return {};
    }
    // Without a readable current directory there is nothing to change back to: stay put.
    std::string remembered;
    if (!get_current_directory(&remembered)) {
        return {};
    }
    std::string physical;
    {
        // Changes back on every way out, exceptions included, which pass on.
        const detail::CurrentDirectoryRestorer restore(std::move(remembered));
        if (vexil::chdir_utf8(vexil::Path(dir)) != 0) {
            return {};
        }
        char* visited = vexil::getcwd_utf8_legacy(nullptr, 1024);
        if (visited == nullptr) {
            return {};
        }
        physical.assign(visited);
        std::free(visited);
    }
    if (!ends_with_separator(physical)) {
        physical.push_back('\\');
    }
    physical.append(leaf);
    return physical;
}

bool equal_physical_names(const std::string& a, const std::string& b) {
    return equal_filenames(get_physical_path(a), get_physical_path(b));
}

bool is_same_pathname(const std::string& a, const std::string& b) {
    std::string first = normalize_pathname(a);
    std::string second = normalize_pathname(b);
    if (equal_filenames(first, second)) {
        return true;
    }
    // Different last names are never the same file, whatever links the file system holds.
    const std::string_view leafA = std::string_view(first).substr(detail::leafStart(first));
    const std::string_view leafB = std::string_view(second).substr(detail::leafStart(second));
    if (!leafA.empty() && !leafB.empty() && !detail::equalCollated(leafA, leafB)) {
        return false;
    }
    if (is_relative(first)) {
        first = get_full_path(first);
    }
    if (is_relative(second)) {
        second = get_full_path(second);
    }
    if (path_exists(first) && path_exists(second)) {
        first = get_physical_path(first);
        second = get_physical_path(second);
    }
    return equal_filenames(first, second);
}

bool is_same_pathname(const char* a, const char* b) {
    return is_same_pathname(std::string(a ? a : ""), std::string(b ? b : ""));
}

}  // namespace Filename
}  // namespace Orrery

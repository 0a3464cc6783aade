// SPDX-License-Identifier: MIT
// Internals shared by the file-name sources. Standard C++ and <vexil/core.h> only,
// so that the textual sources, which define ORRERY_FILENAME_NO_QT, build without Qt.
#pragma once

#include <orrery/filename.h>

#include <vexil/core.h>

#include <cstddef>
#include <cstdlib>
#include <string>
#include <string_view>

namespace Orrery {
namespace Filename {
namespace detail {

/// Which bytes separate: '/' and '\\'. A table lookup is cheaper than two compares in
/// the byte loops that split paths.
struct SeparatorTable {
    bool value[256] = {};
    constexpr SeparatorTable() {
        value[static_cast<unsigned char>('/')] = true;
        value[static_cast<unsigned char>('\\')] = true;
    }
};
inline constexpr SeparatorTable kSeparators{};

inline bool isSep(char c) {
    return kSeparators.value[static_cast<unsigned char>(c)];
}

/// A byte as the collation sees it: signed, with ASCII upper case folded to lower.
inline int collate(char c) {
    const int v = static_cast<signed char>(c);
    return (v >= 'A' && v <= 'Z') ? v + 32 : v;
}

inline int compareCollated(std::string_view a, std::string_view b) {
    const std::size_t n = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t i = 0; i < n; ++i) {
        if (a[i] != b[i]) {
            const int d = collate(a[i]) - collate(b[i]);
            if (d != 0) {
                return d;
            }
        }
    }
    if (a.size() == b.size()) {
        return 0;
    }
    return a.size() < b.size() ? -1 : 1;
}

inline bool equalCollated(std::string_view a, std::string_view b) {
    return a.size() == b.size() && compareCollated(a, b) == 0;
}

/// Position just after the last separator of @p path (0 when there is none).
inline std::size_t leafStart(std::string_view path) {
    std::size_t i = path.size();
    while (i > 0 && !isSep(path[i - 1])) {
        --i;
    }
    return i;
}

/// Locates the extension of the leaf of @p path; its length (dot included) goes to
/// @p length. Defined with the separator operations.
bool findExtension(std::string_view path, std::size_t* length);

/// Length of the root of @p path ("C:\\", "\\", "\\\\server\\" or nothing).
std::size_t rootLength(std::string_view path);

/// Folds @p path in place (see normalize_pathname) and returns the new length; the
/// length of the root it kept goes to @p root when given. The result never grows.
std::size_t foldInPlace(char* path, std::size_t size, std::size_t* root);

/// get_full_path, with the current directory read through @p readCwd only when needed.
template <typename ReadCwd>
std::string fullPathUsing(const std::string& path, ReadCwd readCwd) {
    const bool bareDrive = path.size() == 2 && path[1] == ':';
    if (is_relative(path) || bareDrive) {
        return resolve_relative_path(path, readCwd());
    }
    std::string full = convert_separators(path);
    if (full.size() >= 2 && full[1] == ':') {
        // Absolute names are deliberately not folded; only relative ones are.
        return full;
    }
    if (full.size() >= 2 && full[0] == '\\' && full[1] == '\\') {
        return full;
    }
    // Rooted on the current drive; a current directory without a drive adds nothing.
    const std::string cwd = readCwd();
    if (cwd.size() >= 2 && cwd[1] == ':') {
        full.insert(0, cwd, 0, 2);
    }
    return full;
}

/// The current directory as getcwd_utf8_legacy reports it; "" when it cannot be read.
inline std::string readCurrentDirectory() {
    char* cwd = vexil::getcwd_utf8_legacy(nullptr, 1024);
    if (cwd == nullptr) {
        return {};
    }
    std::string text(cwd);
    std::free(cwd);
    return text;
}

/// Changes back to a remembered directory when it goes out of scope, also while an
/// exception passes.
class CurrentDirectoryRestorer {
public:
    explicit CurrentDirectoryRestorer(std::string directory) : directory_(std::move(directory)) {}
    ~CurrentDirectoryRestorer() { vexil::chdir_utf8(vexil::Path(directory_)); }
    CurrentDirectoryRestorer(const CurrentDirectoryRestorer&) = delete;
    CurrentDirectoryRestorer& operator=(const CurrentDirectoryRestorer&) = delete;

private:
    std::string directory_;
};

}  // namespace detail
}  // namespace Filename
}  // namespace Orrery

// The derived overloads of an operation whose core form is
// `bool op(const std::string& in, std::string* out)`.
#define ORRERY_FILENAME_DERIVED_FORMS(op)       \
    bool op(const char* in, std::string* out) { \
        const std::string copy(in ? in : "");   \
        return op(copy, out);                   \
    }                                           \
    std::string op(const std::string& in) {     \
        std::string result;                     \
        op(in, &result);                        \
        return result;                          \
    }                                           \
    std::string op(const char* in) {            \
        std::string result(in ? in : "");       \
        op(result, &result);                    \
        return result;                          \
    }

// The derived overloads of a two-input operation whose core form is
// `bool op(const std::string& a, const std::string& b, std::string* out)`.
#define ORRERY_FILENAME_DERIVED_BINARY_FORMS(op)                 \
    bool op(const char* a, const char* b, std::string* out) {    \
        const std::string first(a ? a : "");                     \
        const std::string second(b ? b : "");                    \
        return op(first, second, out);                           \
    }                                                            \
    std::string op(const std::string& a, const std::string& b) { \
        std::string result;                                      \
        op(a, b, &result);                                       \
        return result;                                           \
    }                                                            \
    std::string op(const char* a, const char* b) {               \
        std::string result;                                      \
        op(a, b, &result);                                       \
        return result;                                           \
    }

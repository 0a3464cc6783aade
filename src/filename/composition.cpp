// SPDX-License-Identifier: MIT
// Folding, joining, relative paths and extensions of path names.
// Purely textual; builds without Qt.
#define ORRERY_FILENAME_NO_QT
#include "filename_p.h"

#include <cstring>

namespace Orrery {
namespace Filename {

using detail::isSep;

namespace detail {

std::size_t rootLength(std::string_view path) {
    const std::size_t n = path.size();
    if (n == 0) {
        return 0;
    }
    if (isSep(path[0])) {
        if (n > 3 && isSep(path[1])) {
            std::size_t i = 2;
            while (i < n && !isSep(path[i])) {
                ++i;
            }
            if (i < n && i != 2) {
                return i + 1;  // "\\server\"
            }
        }
        // A single separator, "\\server" alone, or three leading separators.
        return 1;
    }
    if (n >= 3 && path[1] == ':' && isSep(path[2])) {
        return 3;
    }
    return 0;  // "C:dir" and "C:" carry their drive in the first piece
}

// Walks the pieces from last to first with a counter of pending parents and writes
// the kept ones backwards to the end of the same buffer. Every kept piece was
// followed by at least one separator in the input, so the write position never
// passes the piece being read and the result never grows: no allocation is needed,
// and a path that is already normal is only read once.
std::size_t foldInPlace(char* path, std::size_t size, std::size_t* root) {
    const std::size_t r = rootLength(std::string_view(path, size));
    for (std::size_t i = 0; i < r; ++i) {
        if (path[i] == '/') {
            path[i] = '\\';
        }
    }
    std::size_t write = size;
    std::size_t read = size;
    std::size_t pending = 0;
    bool any = false;
    while (read > r) {
        while (read > r && isSep(path[read - 1])) {
            --read;
        }
        if (read == r) {
            break;
        }
        const std::size_t end = read;
        while (read > r && !isSep(path[read - 1])) {
            --read;
        }
        const std::size_t length = end - read;
        const char* piece = path + read;
        if (length == 2 && piece[0] == '.' && piece[1] == '.') {
            ++pending;
            continue;
        }
        if (length == 1 && piece[0] == '.') {
            continue;
        }
        if (pending > 0) {
            --pending;
            continue;
        }
        if (any) {
            path[--write] = '\\';
        }
        write -= length;
        if (write != read) {
            std::memmove(path + write, piece, length);
        }
        any = true;
    }
    // Parents that climb above the first piece stay, even under a root; deliberate.
    for (; pending > 0; --pending) {
        if (any) {
            path[--write] = '\\';
        }
        write -= 2;
        path[write] = '.';
        path[write + 1] = '.';
        any = true;
    }
    const std::size_t kept = size - write;
    if (write != r && kept > 0) {
        std::memmove(path + r, path + write, kept);
    }
    if (root != nullptr) {
        *root = r;
    }
    return r + kept;
}

}  // namespace detail

namespace {

void foldString(std::string& path, std::size_t* root = nullptr) {
    path.resize(detail::foldInPlace(path.data(), path.size(), root));
}

/// A folded copy of a path, kept on the stack when it is short.
class FoldedPath {
public:
    explicit FoldedPath(const std::string& path) {
        char* data = inline_;
        if (path.size() > sizeof(inline_)) {
            heap_ = path;
            data = heap_.data();
        } else if (!path.empty()) {
            std::memcpy(inline_, path.data(), path.size());
        }
        size_ = detail::foldInPlace(data, path.size(), &root_);
        data_ = data;
    }
    FoldedPath(const FoldedPath&) = delete;
    FoldedPath& operator=(const FoldedPath&) = delete;

    std::string_view text() const { return std::string_view(data_, size_); }
    std::size_t root() const { return root_; }

private:
    char inline_[512];
    std::string heap_;
    const char* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t root_ = 0;
};

/// The piece starting at @p pos of a folded path (pieces are joined by one backslash).
std::string_view pieceAt(std::string_view folded, std::size_t pos) {
    const std::size_t end = folded.find('\\', pos);
    return folded.substr(pos, end == std::string_view::npos ? std::string_view::npos : end - pos);
}

/// The position of the piece after the one of @p length at @p pos.
std::size_t nextPiece(std::string_view folded, std::size_t pos, std::size_t length) {
    pos += length;
    return pos < folded.size() ? pos + 1 : pos;
}

}  // namespace

bool normalize_pathname(const std::string& in, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    if (out != &in) {
        *out = in;
    }
    foldString(*out);
    return true;
}

ORRERY_FILENAME_DERIVED_FORMS(normalize_pathname)

std::string normalize_pathname_with_forward_slash(const std::string& in) {
    std::string out = normalize_pathname(in);
    for (char& c : out) {
        if (c == '\\') {
            c = '/';
        }
    }
    return out;
}

bool resolve_relative_path(const std::string& rel, const std::string& base, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    if (!is_relative(rel)) {
        if (out != &rel) {
            *out = rel;
        }
        return false;
    }
    if (out == &rel || out == &base) {
        std::string joined;
        resolve_relative_path(rel, base, &joined);
        *out = std::move(joined);
        return true;
    }
    out->clear();
    out->reserve(base.size() + 1 + rel.size());
    out->append(base);
    // One backslash even after a base that ends with a separator; folding removes it.
    if (!base.empty()) {
        out->push_back('\\');
    }
    out->append(rel);
    foldString(*out);
    return true;
}

ORRERY_FILENAME_DERIVED_BINARY_FORMS(resolve_relative_path)

bool append_filename(const std::string& dir, const std::string& name, std::string* out) {
    return resolve_relative_path(name, dir, out);
}

ORRERY_FILENAME_DERIVED_BINARY_FORMS(append_filename)

bool make_relative_path(const std::string& path, const std::string& base, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    // Both are folded on the stack, so only the result reaches *out (which may be either
    // input).
    const FoldedPath foldedPath(path);
    const FoldedPath foldedBase(base);
    const std::string_view p = foldedPath.text();
    const std::string_view b = foldedBase.text();
    if (foldedPath.root() == 0 || foldedBase.root() == 0 ||
        !detail::equalCollated(p.substr(0, foldedPath.root()), b.substr(0, foldedBase.root()))) {
        out->assign(p);
        return false;
    }
    std::size_t pi = foldedPath.root();
    std::size_t bi = foldedBase.root();
    while (pi < p.size() && bi < b.size()) {
        const std::string_view pp = pieceAt(p, pi);
        const std::string_view bp = pieceAt(b, bi);
        if (!detail::equalCollated(pp, bp)) {
            break;
        }
        pi = nextPiece(p, pi, pp.size());
        bi = nextPiece(b, bi, bp.size());
    }
    if (pi < p.size() && bi < b.size()) {
        out->assign(p);
        return false;  // siblings are never made relative, by design
    }
    if (bi == b.size()) {
        out->assign(p.substr(pi));  // a descendant, or the same directory ("")
        return true;
    }
    // An ancestor: one ".." per remaining piece of the base.
    out->clear();
    while (bi < b.size()) {
        if (!out->empty()) {
            out->push_back('\\');
        }
        out->append("..");
        bi = nextPiece(b, bi, pieceAt(b, bi).size());
    }
    return true;
}

bool make_relative_path(const char* path, const char* base, std::string* out) {
    const std::string first(path ? path : "");
    const std::string second(base ? base : "");
    return make_relative_path(first, second, out);
}

bool get_extension(const std::string& in, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    std::size_t length = 0;
    if (!detail::findExtension(in, &length)) {
        out->clear();
        return false;
    }
    if (out != &in) {
        out->assign(in, in.size() - length, length);
    } else {
        out->erase(0, out->size() - length);
    }
    return true;
}

ORRERY_FILENAME_DERIVED_FORMS(get_extension)

bool has_extension(const std::string& in) {
    std::size_t length = 0;
    return detail::findExtension(in, &length);
}

bool has_extension(const char* in) {
    std::size_t length = 0;
    return detail::findExtension(in ? in : "", &length);
}

bool strip_extension(const std::string& in, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    std::size_t length = 0;
    const std::size_t keep = detail::findExtension(in, &length) ? in.size() - length : in.size();
    if (out != &in) {
        out->assign(in, 0, keep);
    } else {
        out->resize(keep);
    }
    return true;
}

ORRERY_FILENAME_DERIVED_FORMS(strip_extension)

bool rename_extension(const std::string& in, const std::string& ext, std::string* out) {
    std::string scratch;
    if (out == nullptr) {
        out = &scratch;
    }
    const std::string_view text = in;
    const std::size_t start = detail::leafStart(text);
    std::string_view leaf = text.substr(start);
    std::size_t length = 0;
    if (detail::findExtension(leaf, &length)) {
        leaf.remove_suffix(length);
    }
    if (leaf.empty() || leaf == "." || leaf == "..") {
        if (out != &in) {
            *out = in;
        }
        return false;
    }
    if (out == &in || out == &ext) {
        std::string renamed;
        rename_extension(in, ext, &renamed);
        *out = std::move(renamed);
        return true;
    }
    // The directory as parse_pathname gives it: an empty one or a bare drive names a root.
    std::string_view dir = start == 0 ? std::string_view() : text.substr(0, start - 1);
    const bool rootDir = start != 0 && (dir.empty() || (dir.size() == 2 && dir[1] == ':'));
    out->clear();
    out->reserve(in.size() + ext.size() + 2);
    out->append(dir);
    if (rootDir || (!dir.empty() && !isSep(dir.back()))) {
        out->push_back('\\');
    }
    out->append(leaf);
    if (!ext.empty()) {
        if (ext.front() != '.') {
            out->push_back('.');
        }
        out->append(ext);
    }
    return true;
}

ORRERY_FILENAME_DERIVED_BINARY_FORMS(rename_extension)

}  // namespace Filename
}  // namespace Orrery

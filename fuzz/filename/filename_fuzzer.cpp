// SPDX-License-Identifier: MIT
// The textual file-name operations on arbitrary byte strings. Input: "<a>\0<b>", two paths
// (b optional). Invariants: normalising is idempotent and leaves no ".", empty piece or
// forward slash; the forms (by value, in place, C string) agree; an extension and what is
// left without it make up the path; renaming to the same extension names the same path;
// the collation is a total order that folds ASCII letters only; a path made relative to a
// base resolves against that base to the same path; the Qt-side folding of absolute paths
// is idempotent.

#include <orrery/filename.h>

#include "../fuzz_check.h"

#include <QStringList>

#include <string>

namespace {

namespace fn = Orrery::Filename;

bool isSep(char c) {
    return c == '/' || c == '\\';
}

int sign(int v) {
    return (v > 0) - (v < 0);
}

// The collation as a plain model: ASCII A-Z folded, bytes compared as signed values.
int modelCompare(const std::string& a, const std::string& b) {
    const std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        int x = static_cast<signed char>(a[i]);
        int y = static_cast<signed char>(b[i]);
        x += (x >= 'A' && x <= 'Z') ? 32 : 0;
        y += (y >= 'A' && y <= 'Z') ? 32 : 0;
        if (x != y) {
            return x - y;
        }
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

// The pieces of a normalised path after its root.
std::vector<std::string> pieces(const std::string& path, std::size_t from) {
    std::vector<std::string> out;
    std::string current;
    for (std::size_t i = from; i < path.size(); ++i) {
        if (path[i] == '\\') {
            out.push_back(current);
            current.clear();
        } else {
            current += path[i];
        }
    }
    if (from < path.size()) {
        out.push_back(current);
    }
    return out;
}

std::size_t rootLength(const std::string& normal) {
    if (normal.size() >= 2 && normal[0] == '\\' && normal[1] == '\\') {
        const std::size_t next = normal.find('\\', 2);
        return next == std::string::npos ? normal.size() : next + 1;
    }
    if (!normal.empty() && normal[0] == '\\') {
        return 1;
    }
    if (normal.size() >= 3 && normal[1] == ':' && normal[2] == '\\') {
        return 3;
    }
    return 0;
}

void checkNormalised(const std::string& p) {
    const std::string n = fn::normalize_pathname(p);
    FUZZ_CHECK_EQ(fn::normalize_pathname(n), n);
    FUZZ_CHECK(n.find('/') == std::string::npos);
    FUZZ_CHECK(n.size() <= p.size());

    // The in-place and C-string forms give the same text.
    std::string inPlace = p;
    FUZZ_CHECK(fn::normalize_pathname(inPlace, &inPlace));
    FUZZ_CHECK_EQ(inPlace, n);
    if (p.find('\0') == std::string::npos) {
        FUZZ_CHECK_EQ(fn::normalize_pathname(p.c_str()), n);
    }

    std::string slashed = n;
    for (char& c : slashed) {
        if (c == '\\') {
            c = '/';
        }
    }
    FUZZ_CHECK_EQ(fn::normalize_pathname_with_forward_slash(p), slashed);

    // After the root: no empty piece, no ".", and ".." only in front.
    bool climbing = true;
    for (const std::string& piece : pieces(n, rootLength(n))) {
        FUZZ_CHECK(!piece.empty());
        FUZZ_CHECK(piece != ".");
        if (piece != "..") {
            climbing = false;
        } else {
            FUZZ_CHECK(climbing);
        }
    }
}

// The Qt-side folding of absolute paths: "/" separators only, idempotent on an absolute
// result, and either folded whole or (climbing above its root) returned as it was.
void checkQtFolding(const std::string& p) {
    const QString folded = Orrery::GetNormalizedAbsolutePath_unixSlashes(QString::fromStdString(p));
    FUZZ_CHECK(!folded.contains(QLatin1Char('\\')));
    // A drive is an ordinary entry, so "C:/../x" folds to the relative "x"; only an
    // absolute result is folded again to itself.
    const bool absolute =
        folded.startsWith(QLatin1Char('/')) ||
        (folded.size() >= 3 && folded.at(0).unicode() < 0x80 && folded.at(0).isLetter() &&
         folded.at(1) == QLatin1Char(':') && folded.at(2) == QLatin1Char('/'));
    if (absolute) {
        FUZZ_CHECK_EQ(Orrery::GetNormalizedAbsolutePath_unixSlashes(folded), folded);
    }
    const QStringList entries = folded.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (entries.contains(QStringLiteral("..")) || entries.contains(QStringLiteral("."))) {
        // Returned unfolded: some ".." climbs above the root.
        FUZZ_CHECK(entries.contains(QStringLiteral("..")));
    }
}

void checkSplitting(const std::string& p) {
    std::string dir;
    std::string name;
    FUZZ_CHECK(fn::parse_pathname(p, &dir, &name));
    FUZZ_CHECK_EQ(fn::get_leafname(p), name);
    FUZZ_CHECK_EQ(fn::get_parent_path(p), dir);
    for (const char c : name) {
        FUZZ_CHECK(!isSep(c));
    }
    FUZZ_CHECK(p.size() >= name.size() &&
               p.compare(p.size() - name.size(), name.size(), name) == 0);
    if (name.size() < p.size()) {
        // dir is the text before the last separator, or a root made of it.
        const std::string before = p.substr(0, p.size() - name.size() - 1);
        FUZZ_CHECK(dir == before || dir == before + "\\");
    } else {
        FUZZ_CHECK(dir.empty());
    }

    std::string extension;
    const bool has = fn::get_extension(p, &extension);
    FUZZ_CHECK(has == fn::has_extension(p));
    FUZZ_CHECK(has == !extension.empty());
    const std::string stripped = fn::strip_extension(p);
    FUZZ_CHECK_EQ(stripped + extension, p);
    if (has) {
        FUZZ_CHECK(extension[0] == '.');
        FUZZ_CHECK(extension.find('.', 1) == std::string::npos);
        FUZZ_CHECK(extension.size() < name.size());
        FUZZ_CHECK_EQ(fn::get_basename(p), name.substr(0, name.size() - extension.size()));
    } else {
        FUZZ_CHECK_EQ(fn::get_basename(p), name);
    }

    std::string renamed;
    if (fn::rename_extension(p, extension, &renamed)) {
        FUZZ_CHECK_EQ(fn::normalize_pathname(renamed), fn::normalize_pathname(p));
        std::string again;
        FUZZ_CHECK(fn::rename_extension(p, "x", &again));
        FUZZ_CHECK_EQ(fn::get_extension(again), std::string(".x"));
    } else {
        FUZZ_CHECK_EQ(renamed, p);
    }

    const std::string added = fn::add_separator(p);
    FUZZ_CHECK(fn::ends_with_separator(added));
    const std::string removed = fn::remove_separator(p);
    FUZZ_CHECK(p.compare(0, removed.size(), removed) == 0);
    FUZZ_CHECK_EQ(fn::remove_separator(removed), removed);
    if (fn::is_root(p)) {
        FUZZ_CHECK_EQ(removed, p);
    }
    const std::string converted = fn::convert_separators(p);
    FUZZ_CHECK(converted.size() == p.size() && converted.find('/') == std::string::npos);
    FUZZ_CHECK(!(fn::is_full_path(p) && fn::is_relative(p)));
}

void checkPair(const std::string& a, const std::string& b) {
    const int ab = fn::compare_filenames(a, b);
    FUZZ_CHECK(ab == modelCompare(a, b));
    FUZZ_CHECK(sign(fn::compare_filenames(b, a)) == -sign(ab));
    FUZZ_CHECK(fn::equal_filenames(a, b) == (ab == 0));
    FUZZ_CHECK(fn::compare_filenames(a, a) == 0);
    FUZZ_CHECK(fn::starts_with_filename(a + b, a));
    FUZZ_CHECK(fn::starts_with_filename(a, b) ==
               (a.size() >= b.size() && modelCompare(a.substr(0, b.size()), b) == 0));
    FUZZ_CHECK(fn::is_same_pathname(a, b) == fn::is_same_pathname(b, a));
    FUZZ_CHECK(fn::is_same_pathname(a, a));

    // Resolving gives a normal path made of the base and the relative name.
    std::string resolved;
    if (fn::resolve_relative_path(a, b, &resolved)) {
        FUZZ_CHECK_EQ(fn::normalize_pathname(resolved), resolved);
        FUZZ_CHECK_EQ(resolved, fn::normalize_pathname(b.empty() ? a : b + "\\" + a));
        FUZZ_CHECK_EQ(fn::append_filename(b, a), resolved);
    } else {
        FUZZ_CHECK_EQ(resolved, a);
    }

    // A path made relative to a base leads back to it from the base's normal form, unless
    // that base climbs above its root (a ".." that folding keeps) or is the bare root "\\"
    // (joining puts a second backslash behind it, which reads as a server name).
    std::string relative;
    const std::string normalPath = fn::normalize_pathname(a);
    const std::string normalBase = fn::normalize_pathname(b);
    if (fn::make_relative_path(a, b, &relative)) {
        const std::vector<std::string> basePieces = pieces(normalBase, rootLength(normalBase));
        const bool baseClimbs = !basePieces.empty() && basePieces.front() == "..";
        if (!baseClimbs && normalBase != "\\" && fn::is_relative(relative)) {
            FUZZ_CHECK(
                fn::equal_filenames(fn::resolve_relative_path(relative, normalBase), normalPath));
        }
    } else {
        FUZZ_CHECK_EQ(relative, normalPath);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<std::string> parts = OrreryFuzz::split(data, size, 2);
    const std::string& a = parts.at(0);
    const std::string b = parts.size() > 1 ? parts.at(1) : std::string();
    checkNormalised(a);
    checkSplitting(a);
    checkQtFolding(a);
    if (parts.size() > 1) {
        checkNormalised(b);
        checkSplitting(b);
    }
    checkPair(a, b);
    checkPair(b, a);
    return 0;
}

// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief File-name operations on UTF-8 path strings (namespace Orrery::Filename).
 *
 * Path names are narrow strings of bytes carrying UTF-8; no operation decodes
 * multi-byte characters. Both `/` and `\` separate, in any mix; every separator an
 * operation inserts is a backslash. A drive prefix is any string whose second byte
 * is `:`; a UNC prefix is two leading separators.
 *
 * Most operations come in four overloads: `bool op(in, std::string* out)` and
 * `bool op(const char* in, std::string* out)` write into `*out`, which may be the
 * input itself; `std::string op(in)` and `std::string op(const char* in)` return the
 * result and drop the boolean. A null `const char*` is always the empty path.
 *
 * Names compare by one collation: bytes are read as signed values, ASCII `A`-`Z`
 * fold to lower case, nothing else is folded (so `/` and `\` differ).
 * @ingroup file_names
 */
#pragma once

#include <orrery/orrery_export.h>

#include <string>

namespace Orrery {
namespace Filename {

/// @addtogroup file_names
/// @{

// ---------------------------------------------------------------------------
// Separators, parsing and classification
// ---------------------------------------------------------------------------

/// @brief Whether @p c is `/` or `\`. Never fails.
ORRERY_EXPORT bool is_separator(char c);
/// @brief Whether the first byte of @p s is `/` or `\` (false for ""). Never fails.
ORRERY_EXPORT bool is_separator(const std::string& s);

/// @brief Whether the last byte of @p s is a separator; false for "". Never fails.
ORRERY_EXPORT bool ends_with_separator(const std::string& s);
/// @brief C-string form of ends_with_separator; null is "" (false).
ORRERY_EXPORT bool ends_with_separator(const char* s);

/// @brief @p in with a backslash appended unless it already ends with a separator
///        (the empty string becomes `\`). @return always true.
ORRERY_EXPORT bool add_separator(const std::string& in, std::string* out);
/// @brief C-string form of add_separator; null is "". @return always true.
ORRERY_EXPORT bool add_separator(const char* in, std::string* out);
/// @brief By-value form of add_separator. Never fails.
ORRERY_EXPORT std::string add_separator(const std::string& in);
/// @brief By-value C-string form of add_separator; null is "". Never fails.
ORRERY_EXPORT std::string add_separator(const char* in);

/// @brief @p in without trailing separators, keeping the roots `C:\`, `\` and
///        `\\server\`. @return always true.
ORRERY_EXPORT bool remove_separator(const std::string& in, std::string* out);
/// @brief C-string form of remove_separator; null is "". @return always true.
ORRERY_EXPORT bool remove_separator(const char* in, std::string* out);
/// @brief By-value form of remove_separator. Never fails.
ORRERY_EXPORT std::string remove_separator(const std::string& in);
/// @brief By-value C-string form of remove_separator; null is "". Never fails.
ORRERY_EXPORT std::string remove_separator(const char* in);

/// @brief @p in with every `/` replaced by `\`. @return always true.
ORRERY_EXPORT bool convert_separators(const std::string& in, std::string* out);
/// @brief C-string form of convert_separators; null is "". @return always true.
ORRERY_EXPORT bool convert_separators(const char* in, std::string* out);
/// @brief By-value form of convert_separators. Never fails.
ORRERY_EXPORT std::string convert_separators(const std::string& in);
/// @brief By-value C-string form of convert_separators; null is "". Never fails.
ORRERY_EXPORT std::string convert_separators(const char* in);

/**
 * @brief Splits @p in at its last separator into directory and leaf.
 *
 * Without a separator the directory is empty and the leaf is @p in. A directory
 * that would be empty or a bare drive ("C:") gets a backslash so that it names a
 * root. "." and ".." are not interpreted; UNC names have no special case.
 * Either output may be null (not written) or the input itself.
 * @return always true.
 */
ORRERY_EXPORT bool parse_pathname(const std::string& in, std::string* dir, std::string* name);
/// @brief C-string form of parse_pathname; null is "". @return always true.
ORRERY_EXPORT bool parse_pathname(const char* in, std::string* dir, std::string* name);

/// @brief The leaf of @p in (the name of parse_pathname). @return always true.
ORRERY_EXPORT bool get_leafname(const std::string& in, std::string* out);
/// @brief C-string form of get_leafname; null is "". @return always true.
ORRERY_EXPORT bool get_leafname(const char* in, std::string* out);
/// @brief By-value form of get_leafname. Never fails.
ORRERY_EXPORT std::string get_leafname(const std::string& in);
/// @brief By-value C-string form of get_leafname; null is "". Never fails.
ORRERY_EXPORT std::string get_leafname(const char* in);

/// @brief The directory of @p in (the dir of parse_pathname). @return always true.
ORRERY_EXPORT bool get_parent_path(const std::string& in, std::string* out);
/// @brief C-string form of get_parent_path; null is "". @return always true.
ORRERY_EXPORT bool get_parent_path(const char* in, std::string* out);
/// @brief By-value form of get_parent_path. Never fails.
ORRERY_EXPORT std::string get_parent_path(const std::string& in);
/// @brief By-value C-string form of get_parent_path; null is "". Never fails.
ORRERY_EXPORT std::string get_parent_path(const char* in);

/// @brief The leaf of @p in without its extension ("arch.tar.gz" gives "arch.tar").
/// @return always true.
ORRERY_EXPORT bool get_basename(const std::string& in, std::string* out);
/// @brief C-string form of get_basename; null is "". @return always true.
ORRERY_EXPORT bool get_basename(const char* in, std::string* out);
/// @brief By-value form of get_basename. Never fails.
ORRERY_EXPORT std::string get_basename(const std::string& in);
/// @brief By-value C-string form of get_basename; null is "". Never fails.
ORRERY_EXPORT std::string get_basename(const char* in);

/// @brief Whether @p s is relative: "" is; a leading separator or a `:` as second
///        byte is not. Never fails.
ORRERY_EXPORT bool is_relative(const std::string& s);
/// @brief C-string form of is_relative; null is "" (true).
ORRERY_EXPORT bool is_relative(const char* s);

/// @brief Whether @p s is not relative and not a bare drive such as "C:". Never fails.
ORRERY_EXPORT bool is_full_path(const std::string& s);
/// @brief C-string form of is_full_path; null is "" (false).
ORRERY_EXPORT bool is_full_path(const char* s);

/// @brief Whether @p s is exactly a root: `C:\`, a lone separator or `\\server\`.
///        Never fails.
ORRERY_EXPORT bool is_root(const std::string& s);
/// @brief C-string form of is_root; null is "" (false).
ORRERY_EXPORT bool is_root(const char* s);

// ---------------------------------------------------------------------------
// Comparison
// ---------------------------------------------------------------------------

/**
 * @brief Compares two names by the file-name collation.
 * @return the difference of the first unequal folded bytes, else -1 or 1 when one
 *         name is a prefix of the other, else 0. Never fails.
 */
ORRERY_EXPORT int compare_filenames(const std::string& a, const std::string& b);
/// @brief compare_filenames with a C string; null is "". Never fails.
ORRERY_EXPORT int compare_filenames(const std::string& a, const char* b);
/// @brief compare_filenames of two C strings; null is "". Never fails.
ORRERY_EXPORT int compare_filenames(const char* a, const char* b);
/// @brief compare_filenames with a C string; null is "". Never fails.
ORRERY_EXPORT int compare_filenames(const char* a, const std::string& b);

/// @brief Whether compare_filenames(@p a, @p b) is 0. Never fails.
ORRERY_EXPORT bool equal_filenames(const std::string& a, const std::string& b);
/// @brief equal_filenames with a C string; null is "". Never fails.
ORRERY_EXPORT bool equal_filenames(const std::string& a, const char* b);
/// @brief equal_filenames of two C strings; null is "". Never fails.
ORRERY_EXPORT bool equal_filenames(const char* a, const char* b);
/// @brief equal_filenames with a C string; null is "". Never fails.
ORRERY_EXPORT bool equal_filenames(const char* a, const std::string& b);

/**
 * @brief Whether @p s begins with @p prefix under the collation. No separator
 *        boundary is checked (`C:\toolsets` starts with `C:\tools`); an empty
 *        prefix always matches. Never fails.
 */
ORRERY_EXPORT bool starts_with_filename(const std::string& s, const std::string& prefix);
/// @brief starts_with_filename with a C-string prefix; null is "". Never fails.
ORRERY_EXPORT bool starts_with_filename(const std::string& s, const char* prefix);
/// @brief starts_with_filename of two C strings; null is "". Never fails.
ORRERY_EXPORT bool starts_with_filename(const char* s, const char* prefix);
/// @brief starts_with_filename with a C-string name; null is "". Never fails.
ORRERY_EXPORT bool starts_with_filename(const char* s, const std::string& prefix);

/**
 * @brief Whether the physical paths of @p a and @p b are equal under the collation.
 *
 * Two names whose directories do not exist both have the empty physical path and
 * therefore compare equal. Never throws for missing paths.
 */
ORRERY_EXPORT bool equal_physical_names(const std::string& a, const std::string& b);

/**
 * @brief Whether @p a and @p b name the same file.
 *
 * Tries the cheap tests first: the normalised names are equal (true); their leaves
 * differ (false, without asking the file system). Otherwise relative names are
 * made full and, when both exist, replaced by their physical paths before the
 * final comparison. A missing path is not an error.
 */
ORRERY_EXPORT bool is_same_pathname(const std::string& a, const std::string& b);
/// @brief C-string form of is_same_pathname; null is "".
ORRERY_EXPORT bool is_same_pathname(const char* a, const char* b);

// ---------------------------------------------------------------------------
// Composition and extensions
// ---------------------------------------------------------------------------

/**
 * @brief Folds "." and ".." out of @p in and joins its pieces with backslashes.
 *
 * The root (`C:\`, `\`, `\\server\`) is kept with its slashes turned into
 * backslashes; ".." pieces that climb above the first piece are kept, even under a
 * root. A trailing separator is dropped and a path that folds away gives "".
 * @return always true.
 */
ORRERY_EXPORT bool normalize_pathname(const std::string& in, std::string* out);
/// @brief C-string form of normalize_pathname; null is "". @return always true.
ORRERY_EXPORT bool normalize_pathname(const char* in, std::string* out);
/// @brief By-value form of normalize_pathname. Never fails.
ORRERY_EXPORT std::string normalize_pathname(const std::string& in);
/// @brief By-value C-string form of normalize_pathname; null is "". Never fails.
ORRERY_EXPORT std::string normalize_pathname(const char* in);

/// @brief normalize_pathname with every backslash of the result turned into `/`.
///        Never fails.
ORRERY_EXPORT std::string normalize_pathname_with_forward_slash(const std::string& in);

/**
 * @brief @p name resolved against the directory @p dir (resolve_relative_path with
 *        the arguments swapped).
 * @return false when @p name is not relative; `*out` is then @p name unchanged.
 */
ORRERY_EXPORT bool append_filename(const std::string& dir, const std::string& name,
                                   std::string* out);
/// @brief C-string form of append_filename; null is "". @return false when @p name is
///        not relative (`*out` is then @p name).
ORRERY_EXPORT bool append_filename(const char* dir, const char* name, std::string* out);
/// @brief By-value form of append_filename; an absolute @p name is returned unchanged.
ORRERY_EXPORT std::string append_filename(const std::string& dir, const std::string& name);
/// @brief By-value C-string form of append_filename; null is "". An absolute @p name is
///        returned unchanged.
ORRERY_EXPORT std::string append_filename(const char* dir, const char* name);

/**
 * @brief Resolves the relative name @p rel against @p base, giving `base\rel` folded.
 *
 * A backslash is inserted even after a base ending with a separator and left out
 * only for an empty base.
 * @return false when @p rel is not relative; `*out` is then @p rel unchanged.
 */
ORRERY_EXPORT bool resolve_relative_path(const std::string& rel, const std::string& base,
                                         std::string* out);
/// @brief C-string form of resolve_relative_path; null is "". @return false when @p rel
///        is not relative (`*out` is then @p rel).
ORRERY_EXPORT bool resolve_relative_path(const char* rel, const char* base, std::string* out);
/// @brief By-value form of resolve_relative_path; a non-relative @p rel is returned.
ORRERY_EXPORT std::string resolve_relative_path(const std::string& rel, const std::string& base);
/// @brief By-value C-string form of resolve_relative_path; null is "". A non-relative
///        @p rel is returned.
ORRERY_EXPORT std::string resolve_relative_path(const char* rel, const char* base);

/**
 * @brief Expresses @p path relative to @p base when one lies inside the other.
 *
 * A descendant gives its remaining pieces (`b\c`), an ancestor one ".." per piece
 * of @p base below it, the same directory "". Pieces compare by the collation.
 * @return false when either name has no root, the roots differ, or neither name
 *         contains the other; `*out` is then the folded @p path.
 */
ORRERY_EXPORT bool make_relative_path(const std::string& path, const std::string& base,
                                      std::string* out);
/// @brief C-string form of make_relative_path; null is "". @return false as above, with
///        the folded @p path in `*out`.
ORRERY_EXPORT bool make_relative_path(const char* path, const char* base, std::string* out);

/**
 * @brief The extension of @p in with its dot ("a.txt" gives ".txt", "a." gives ".").
 *
 * The extension starts at the last dot of the leaf; a dot that is the leaf's first
 * byte does not count, and "." and ".." have none.
 * @return false, with `*out` emptied, when there is no extension.
 */
ORRERY_EXPORT bool get_extension(const std::string& in, std::string* out);
/// @brief C-string form of get_extension; null is "". @return false (and `*out` empty)
///        when there is no extension.
ORRERY_EXPORT bool get_extension(const char* in, std::string* out);
/// @brief By-value form of get_extension; "" when there is none.
ORRERY_EXPORT std::string get_extension(const std::string& in);
/// @brief By-value C-string form of get_extension; null is "". "" when there is none.
ORRERY_EXPORT std::string get_extension(const char* in);

/// @brief Whether @p in has an extension (see get_extension). Never fails.
ORRERY_EXPORT bool has_extension(const std::string& in);
/// @brief C-string form of has_extension; null is "" (false).
ORRERY_EXPORT bool has_extension(const char* in);

/// @brief @p in without its extension; unchanged when it has none. @return always true.
ORRERY_EXPORT bool strip_extension(const std::string& in, std::string* out);
/// @brief C-string form of strip_extension; null is "". @return always true.
ORRERY_EXPORT bool strip_extension(const char* in, std::string* out);
/// @brief By-value form of strip_extension. Never fails.
ORRERY_EXPORT std::string strip_extension(const std::string& in);
/// @brief By-value C-string form of strip_extension; null is "". Never fails.
ORRERY_EXPORT std::string strip_extension(const char* in);

/**
 * @brief @p in with its extension replaced by @p ext ("txt" and ".txt" both give
 *        "name.txt"; "" removes it). The directory is rejoined with a backslash.
 * @return false when the leaf without extension is empty, "." or ".."; `*out` is
 *         then @p in unchanged.
 */
ORRERY_EXPORT bool rename_extension(const std::string& in, const std::string& ext,
                                    std::string* out);
/// @brief C-string form of rename_extension; null is "". @return false as above, with
///        @p in in `*out`.
ORRERY_EXPORT bool rename_extension(const char* in, const char* ext, std::string* out);
/// @brief By-value form of rename_extension; @p in itself when it cannot be renamed.
ORRERY_EXPORT std::string rename_extension(const std::string& in, const std::string& ext);
/// @brief By-value C-string form of rename_extension; null is "". @p in itself when it
///        cannot be renamed.
ORRERY_EXPORT std::string rename_extension(const char* in, const char* ext);

// ---------------------------------------------------------------------------
// The file system and the current directory
// ---------------------------------------------------------------------------

/// @brief The current directory in UTF-8, spelled as the operating system spells it;
///        "" when it cannot be read.
ORRERY_EXPORT std::string get_current_directory();
/// @brief The current directory in UTF-8. @return false, with `*out` empty, when it
///        cannot be read.
ORRERY_EXPORT bool get_current_directory(std::string* out);

/// @brief Whether @p path names an existing file or directory; a name with a trailing
///        separator exists only as a directory. False on any error.
ORRERY_EXPORT bool path_exists(const std::string& path);
/// @brief C-string form of path_exists; null is "" (false).
ORRERY_EXPORT bool path_exists(const char* path);

/// @brief Whether @p path names an existing directory. False on any error.
ORRERY_EXPORT bool is_directory(const std::string& path);
/// @brief C-string form of is_directory; null is "" (false).
ORRERY_EXPORT bool is_directory(const char* path);

/// @brief Whether @p path names an existing entry that is not a directory. False on
///        any error.
ORRERY_EXPORT bool is_filename(const std::string& path);
/// @brief C-string form of is_filename; null is "" (false).
ORRERY_EXPORT bool is_filename(const char* path);

/**
 * @brief The absolute form of @p path.
 *
 * Relative names (and bare drives, which come back unchanged) are resolved against
 * the current directory and folded. Other names get backslashes and are not folded;
 * a name rooted on the current drive (`\x`) gets the current directory's drive in
 * front when the current directory has one. Never fails; an unreadable current
 * directory counts as empty.
 */
ORRERY_EXPORT std::string get_full_path(const std::string& path);
/// @brief C-string form of get_full_path; null is "".
ORRERY_EXPORT std::string get_full_path(const char* path);

/**
 * @brief The physical form of @p path, made of its directory as the operating system
 *        spells it (found by visiting it), a backslash, then the leaf as given.
 *
 * The current directory is changed for the moment and always restored, also when
 * an exception passes, which is rethrown.
 * @return "" when the directory does not exist or cannot be entered.
 */
ORRERY_EXPORT std::string get_physical_path(const std::string& path);

/**
 * @brief Remembers the current directory and changes back to it on destruction.
 *
 * The directory is saved in the local 8-bit encoding and restored from the bytes read
 * as UTF-8; the two agree for ASCII names. A directory that cannot be restored is
 * silently left.
 */
class ORRERY_EXPORT DirectorySaver {
public:
    /// @brief Records the current directory. Never fails.
    DirectorySaver();
    /// @brief Changes back to the recorded directory, ignoring failure. Never fails.
    ~DirectorySaver();
    /// @brief Copies the recorded directory; both objects change back to it. Never fails.
    DirectorySaver(const DirectorySaver& other) = default;
    /// @brief Copies the recorded directory; both objects change back to it. Never fails.
    DirectorySaver& operator=(const DirectorySaver& other) = default;

    /// @brief Changes the current directory to UTF-8 @p path. @return false on failure.
    bool change_dir(const std::string& path) const;
    /// @brief C-string form of change_dir; null is "" (false).
    bool change_dir(const char* path) const;
    /// @brief The recorded directory, with forward slashes. Never fails.
    const std::string& get_original_cwd() const { return original_cwd; }

private:
    std::string original_cwd;
};

/// @}

}  // namespace Filename

/// @addtogroup file_names
/// @{

/**
 * @brief A path for a program, or the running executable's path.
 *
 * An absolute @p path is normalised (GetNormalizedAbsolutePath_unixSlashes) and
 * spelled with native separators; a null or relative @p path gives the running
 * executable's full path.
 * @return a pointer into one static buffer, valid until the next call; "" when the
 *         executable's path cannot be determined.
 */
ORRERY_EXPORT const char* GetNormalizedAbsolutePathToExecutable_nativeSlashes_utf8(
    const char* path);

/// @}

}  // namespace Orrery

// Sources that build without Qt define ORRERY_FILENAME_NO_QT before including this header.
#ifndef ORRERY_FILENAME_NO_QT
#include <QString>

namespace Orrery {

/// @addtogroup file_names
/// @{

/**
 * @brief @p path made absolute against the current directory, "." and ".." folded,
 *        with `/` separators and a trailing `/` kept.
 *
 * A path whose ".." climbs above its first name is returned unfolded (absolute, with
 * `/` separators). Never fails.
 */
ORRERY_EXPORT QString GetNormalizedAbsolutePath_unixSlashes(const QString& path);

/// @}

}  // namespace Orrery
#endif

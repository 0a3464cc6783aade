// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Core platform services: command line, path values, environment and
 *        registry access, product identity and the current directory.
 *
 * Narrow strings are UTF-8 everywhere. On Windows the services reach the
 * operating system through its wide-character interfaces and the registry; on
 * POSIX hosts they follow the rules described in docs/platform.md (registry
 * emulated by an INI file, `\` read as a separator at the OS boundary).
 * @ingroup client_environment
 */
#pragma once

#include <orrery/orrery_export.h>

#include <string>
#include <string_view>
#include <vector>

namespace vexil {

/// @addtogroup client_environment
/// @{

/**
 * @brief A path name held as a UTF-8 string, with file-system queries.
 *
 * The text is kept as given; `native()` spells it with the host's separator.
 * Queries never throw; a missing path is reported as false.
 */
class ORRERY_EXPORT Path {
public:
    /// @brief An empty path. Never fails.
    Path() = default;
    /// @brief A path from a UTF-8 C string; null is the empty path. Never fails.
    Path(const char* path);  // NOLINT(google-explicit-constructor): implicit by design
    /// @brief A path from a UTF-8 string, kept as given. Never fails.
    Path(std::string path);  // NOLINT(google-explicit-constructor): implicit by design

    /// @brief Appends @p other with exactly one host separator between the two.
    /// An empty side adds nothing and no separator. Never fails.
    Path& append(const Path& other);

    /// @brief The path with host separators (`\` on Windows, `/` elsewhere). Never fails.
    std::string native() const;
    /// @brief The path exactly as stored. Never fails.
    const std::string& string() const { return text_; }
    /// @brief The path exactly as stored. Never fails.
    operator std::string() const { return text_; }  // NOLINT(google-explicit-constructor)
    /// @brief Whether the stored text is empty. Never fails.
    bool empty() const { return text_.empty(); }

    /// @brief Whether the path names an existing file or directory; false on any error.
    bool exists() const;
    /// @brief Whether the path names an existing directory; false on any error.
    bool is_directory() const;
    /**
     * @brief Creates the directory (with all missing parents when @p parents is true).
     * @return true when the directory exists afterwards; on failure false, and the
     *         operating system's reason in @p reason when given.
     */
    bool create_directory(bool parents = false, std::string* reason = nullptr) const;

    /// @brief Folds "." and ".." out of the text and spells it with host separators.
    ///
    /// ".." above a root is dropped; a relative path that folds away becomes ".".
    /// Never fails; nothing is asked of the file system.
    Path& normalize();

    /**
     * @brief Compares two path names under the host's file-name rules.
     * @return 0 when equal (case-insensitively on Windows, exactly elsewhere),
     *         negative or positive otherwise. Never fails.
     */
    static int compare_filenames(const Path& a, const Path& b);

private:
    std::string text_;
};

/**
 * @brief Saves the current directory and restores it on destruction.
 * A directory that cannot be restored is silently left.
 */
class ORRERY_EXPORT DirectorySaver {
public:
    /// @brief Saves the current directory; when it cannot be read, nothing is restored
    ///        later. Never fails.
    DirectorySaver();
    /// @brief Changes back to the saved directory, ignoring failure. Never fails.
    ~DirectorySaver();
    /// @brief Not copyable: one object restores the directory once.
    DirectorySaver(const DirectorySaver&) = delete;
    /// @brief Not assignable: one object restores the directory once.
    DirectorySaver& operator=(const DirectorySaver&) = delete;

private:
    std::string saved_;
};

/// @brief Changes the current directory to a UTF-8 path. @return 0 on success, -1 on failure
///        (an empty path included).
ORRERY_EXPORT int chdir_utf8(const Path& path);

/**
 * @brief The current directory in UTF-8, spelled as the operating system spells it.
 *
 * With a null @p buffer the result is allocated with malloc (at least @p size
 * bytes when @p size is positive) and belongs to the caller, who frees it.
 * With a buffer the text is copied into it when it fits in @p size bytes.
 * @return the text, or null when the directory cannot be read, the allocation fails or
 *         the text does not fit (errno is then ERANGE).
 */
ORRERY_EXPORT char* getcwd_utf8_legacy(char* buffer, int size);

/**
 * @brief Splits @p text at any of the bytes in @p delimiters. Never fails.
 * @param text the text to split
 * @param delimiters the bytes that separate pieces; empty, the whole text is one piece
 * @param keep_empty when false, empty pieces are not returned (so "" gives no pieces);
 *        when true, "" gives one empty piece
 */
ORRERY_EXPORT std::vector<std::string> tokenize(std::string_view text, std::string_view delimiters,
                                                bool keep_empty);

/// @brief UTF-16 (Windows) or UTF-32 (elsewhere) wide text to UTF-8; invalid units become U+FFFD.
/// Never fails.
ORRERY_EXPORT std::string toStdString(const std::wstring& text);
/// @brief UTF-8 to wide text; invalid sequences become U+FFFD. Never fails.
ORRERY_EXPORT std::wstring toWString(const std::string& text);

/// @brief The environment value of @p name; empty when unset or @p name is empty. Never fails.
ORRERY_EXPORT std::string getenv_stdstring(const std::string& name);
/**
 * @brief The environment value of @p name, telling unset from empty.
 * @return true when the variable is set (its value, possibly empty, in @p value, which
 *         may be null); false when it is unset or @p name is empty, @p value then cleared.
 */
ORRERY_EXPORT bool getenv_stdstring_allow_empty(const std::string& name, std::string* value);
/**
 * @brief The environment value of @p name when set and non-empty, else the
 *        installer's registry value, else "". Never fails.
 */
ORRERY_EXPORT std::string getenv_check_registry_stdstring(const std::string& name);
/**
 * @brief The installer's registry value of @p name, ignoring the environment.
 * @return true with the value in @p value (which may be null); false when there is no
 *         registry, it cannot be read, it holds no such name or @p name is empty, @p value
 *         then unchanged.
 */
ORRERY_EXPORT bool getenv_from_registry_only(const std::string& name, std::string* value);
/// @brief Sets @p name to @p value in the process environment. @return false on failure,
///        and for an empty @p name or one that contains '='.
ORRERY_EXPORT bool putenv_stdstring(const std::string& name, const std::string& value);

/// @brief Records the product's name and version (thread-safe). Never fails.
ORRERY_EXPORT void initialize_product_and_ver(const std::string& name, const std::string& version);
/// @brief The recorded product name; empty before initialize_product_and_ver. Never fails.
ORRERY_EXPORT std::string get_product_name();
/// @brief The recorded product version; empty before initialize_product_and_ver. Never fails.
ORRERY_EXPORT std::string get_product_version();

/// @brief The full path of the running executable; empty when it cannot be determined.
ORRERY_EXPORT Path get_exe_full_path();
/// @brief The directory holding the running executable; empty when unknown.
ORRERY_EXPORT std::string get_bin_directory();
/**
 * @brief The installation root, where the program runs from: the parent of the
 *        executable's directory. On POSIX hosts a non-empty VEXIL_INSTALLATION_DIR
 *        names it instead. KORVANE_DIR never steers it. Read afresh on every call;
 *        empty when the executable's path cannot be determined.
 */
ORRERY_EXPORT std::string get_installation_directory();
/**
 * @brief The current user's profile directory in UTF-8.
 * @return false when it cannot be determined.
 */
ORRERY_EXPORT bool get_user_profile_directory(std::string* directory);

/// @brief Whether the application name has been fixed in this process. Never fails.
ORRERY_EXPORT bool is_qt_app_name_marked_as_initialized();
/// @brief Marks the application name as fixed for the rest of the process. Never fails.
ORRERY_EXPORT void mark_qt_app_name_as_initialized();

/**
 * @brief The process's UTF-8 argument vector.
 *
 * `argv()` is null-terminated and stays valid until the next change.
 */
class ORRERY_EXPORT CommandLineBase {
public:
    /// @brief No arguments: argc() is 0 and argv() holds only the null terminator. Never
    ///        fails.
    CommandLineBase() = default;
    /// @brief Releases the arguments. Never fails.
    virtual ~CommandLineBase() = default;
    /// @brief Not copyable: argv() points into the object.
    CommandLineBase(const CommandLineBase&) = delete;
    /// @brief Not assignable: argv() points into the object.
    CommandLineBase& operator=(const CommandLineBase&) = delete;

    /// @brief Replaces the arguments by a copy of @p arguments (UTF-8, the program first).
    ///        Never fails; earlier argv() arrays become invalid.
    void save_command_line_utf8(std::vector<std::string>& arguments);
    /// @brief Number of arguments, the program included. Never fails.
    int argc() const;
    /// @brief The arguments as a null-terminated array of UTF-8 C strings. Never fails.
    char** argv();
    /// @brief Removes argument @p index, shifting the rest down; out of range does nothing.
    ///        Never fails.
    void remove_arg(int index);

private:
    void rebuild_pointers();
    std::vector<std::string> arguments_;
    std::vector<char*> pointers_{nullptr};
};

/**
 * @brief The process-wide command-line object.
 *
 * Its first retrieval captures the values of KORVANE_DIR in the environment
 * and in the registry, before the client set-up changes anything.
 */
class ORRERY_EXPORT CommandLine : public CommandLineBase {
public:
    /// @brief The single instance, created on first use (thread-safe) and never destroyed.
    ///        Never fails.
    static CommandLine* get_command_line();

    /// @brief The installation root as a path, read afresh on every call; empty when it
    ///        cannot be determined (see vexil::get_installation_directory()).
    Path get_installation_directory() const;
    /// @brief KORVANE_DIR as the environment held it at the first retrieval; empty when absent.
    /// Never fails.
    const std::string& get_original_korvane_dir_env_value() const { return korvane_env_; }
    /// @brief KORVANE_DIR as the registry held it at the first retrieval; empty when absent.
    /// Never fails.
    const std::string& get_original_korvane_dir_reg_value() const { return korvane_reg_; }

private:
    CommandLine();
    std::string korvane_env_;
    std::string korvane_reg_;
};

/// @}

}  // namespace vexil

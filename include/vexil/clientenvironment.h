// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The client environment set-up of a desktop application of the suite.
 *
 * A client builds one ClientEnvironment at start-up (after
 * initialize_qt_core_application), calls process_arguments(), then
 * setup_environment(), and may then call check_reg_verses_getenv(). All texts are
 * UTF-8 std::strings; the environment changes are inherited by child processes.
 * @ingroup client_environment
 */
#pragma once

#include <orrery/orrery_export.h>
#include <vexil/core.h>

#include <string>

namespace vexil {

/// @addtogroup client_environment
/// @{

/**
 * @brief Reads the suite's switches and exports the environment of a desktop client.
 *
 * Fatal problems are passed to the virtual message sink show_info_message(), which
 * a graphical client overrides to show a dialog, and end the process with exit
 * status -1. The destructor is deliberately not virtual; copies copy every field.
 */
class ORRERY_EXPORT ClientEnvironment {
public:
    /// @brief Name of the language-path variable; "WBMLANGPATH" unless changed.
    static std::string s_wbmlangpath_var;
    /// @brief Name of the installation-directory variable used in messages; "KORVANE_DIR".
    static std::string s_korvane_dir_var;

    /**
     * @brief Reads PATH (environment, then registry) and the language path.
     *
     * A missing PATH writes "Could not find PATH environment variable." to standard
     * error and is otherwise ignored. Nothing is exported yet.
     */
    ClientEnvironment();

    /**
     * @brief Takes "-no_reg_vs_env" and "-debug_env" out of vexil::CommandLine.
     *
     * "-no_reg_vs_env" turns the registry-versus-environment check off; "-debug_env"
     * turns the echo of the arguments on (the echo shows them before any removal).
     * Other arguments stay. Never fails.
     */
    void process_arguments();

    /**
     * @brief Exports the suite's variables, the language path, the home directory,
     *        the search path and the proxy exception, in that order of groups.
     * @throws std::runtime_error when the installation directory cannot be entered.
     * Ends the process (status -1) when no usable home directory exists.
     */
    void setup_environment();

    /**
     * @brief Fixes the installation directory and exports it as "VEXIL_EMDS_DIR".
     * @throws std::runtime_error when the directory cannot be entered (nothing exported).
     */
    void setup_product_variables();

    /**
     * @brief Checks that the installation directory can be entered; the current
     *        directory is left unchanged.
     * @throws std::runtime_error with the message to show the user when it cannot.
     */
    void test_vexil_dir();

    /// @brief The installation directory (empty before setup_product_variables). Never fails.
    const vexil::Path& get_vexil_dir() const;

    /// @brief Sets "SIMARCH" to "win32_64". Never fails.
    static void setup_simarch_var();

    /**
     * @brief Exports no_proxy = "localhost,127.0.0.1" when a proxy is configured
     *        (http_proxy or https_proxy non-empty) and no_proxy is empty. Never fails.
     */
    void setup_environment_for_ipc();

    /// @brief Exports the composed search path as "PATH". Never fails: a failed export is
    ///        not reported.
    void save_path_to_env();
    /// @brief Puts the installation's program, library and tool directories in front of the
    ///        search path and exports it. Never fails.
    void setup_system_path();
    /// @brief Prepends @p entries and ";" to the search path and exports it. Never fails.
    void prepend_to_system_path(const std::string& entries);
    /// @brief Appends ";" and @p entries to the search path and exports it. Never fails.
    void append_to_system_path(const std::string& entries);

    /**
     * @brief Composes the language path: the environment's value, the registry's value,
     *        then the installation's three bitmap directories. Never fails.
     */
    void setup_wbmlangpath();
    /**
     * @brief Appends @p entries (after ";" when the path is non-empty), expands the
     *        variable references of the whole value and exports it. Never fails.
     */
    void append_to_wbmlangpath(const std::string& entries);

    /**
     * @brief Finds the home directory, makes sure of its "korvane/config" folder and
     *        exports it as "HOME". Ends the process (status -1) on failure.
     */
    void setup_home_directory();
    /**
     * @brief The home directory: the registry's "HOME", else the environment's (with
     *        registry fallback), else the user profile joined with "vep" and "NA" (both
     *        created); blanks trimmed from both ends.
     * @return never empty; ends the process (status -1) instead.
     */
    std::string get_home_directory();
    /**
     * @brief Creates the configuration directory @p home + "korvane" + "config" with its
     *        parents when it is missing. Ends the process (status -1) when that fails.
     */
    void ensure_home_dir_exists(const vexil::Path& home);
    /**
     * @brief Shows @p message with the explanation about @p directory through
     *        show_info_message() and ends the process with exit status -1.
     */
    [[noreturn]] void give_home_dir_error_and_exit(const std::string& message,
                                                   const std::string& directory);

    /**
     * @brief Warns through show_info_message() when "KORVANE_DIR" in the environment
     *        or the registry (as found at start-up) names another directory than the
     *        installation directory. Does nothing when the check is turned off.
     *        Never fails.
     */
    void check_reg_verses_getenv();
    /// @brief Turns the registry-versus-environment check on or off. Never fails.
    void set_check_reg_verses_getenv(bool enabled);

    /// @brief Passes "Argument: " and each argument to show_info_message(). Never fails.
    void show_args_for_debugging();
    /// @brief Turns the echo of the arguments on or off. Never fails.
    void enable_debugging_output(bool enabled);

    /// @brief Stores the flag; it has no other effect. Never fails.
    void set_application_under_test(bool under_test);

    /// @brief Always true. Never fails.
    static bool run_64bit();

protected:
    /**
     * @brief The message sink: writes @p message unchanged (no newline added) to the
     *        standard error stream and flushes it. A graphical client shows a message box
     *        instead. Never fails: stream errors are not reported.
     */
    virtual void show_info_message(const std::string& message) const;

    /**
     * @brief Exports @p name with its value from the environment or the registry when
     *        non-empty, else with @p default_value. Never fails.
     */
    static void export_with_default(const std::string& name, const std::string& default_value);

    /// Whether check_reg_verses_getenv() compares; cleared by "-no_reg_vs_env".
    bool check_reg_verses_getenv_enabled;
    /// Set by set_application_under_test(); only stored.
    bool application_under_test;
    /// The search path being composed.
    std::string system_path;
    /// The language path being composed.
    std::string wbmlangpath;
    /// The installation directory.
    vexil::Path vexil_dir;
    /// Whether the arguments are echoed.
    bool debugging_output;
};

/// @}

}  // namespace vexil

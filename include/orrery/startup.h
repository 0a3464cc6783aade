// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Application start-up on Qt's core application and UTF-8 process I/O.
 *
 * A program starts the library with initialize_qt_core_application(), which fixes
 * the application and organisation names, makes UTF-8 the codec for the locale,
 * creates (or adopts) the core application and hands the UTF-8 command line to
 * vexil::CommandLine. The start-up functions live in the global namespace; the
 * UTF-8 I/O helpers live in namespace Orrery.
 * @ingroup startup
 */
#pragma once

#include <orrery/orrery_export.h>

#include <QCoreApplication>
#include <QString>

#include <iosfwd>
#include <streambuf>
#include <string>

/// @addtogroup startup
/// @{

/**
 * @brief Runs the pre-initialisation when constructed: the default application name
 *        (unless one was fixed), UTF-8 as the locale codec and the organisation name.
 *
 * Passed as the last argument of OrreryQtCoreApplication, it is built before the
 * QCoreApplication base, so Qt reads the command line with the codec in place.
 * Never fails.
 */
class ORRERY_EXPORT OrreryQtCoreApplicationPreConstructor {
public:
    /// @brief Performs the pre-initialisation. Never fails.
    OrreryQtCoreApplicationPreConstructor();
};

/**
 * @brief The process's Qt core application, recording the command line as UTF-8.
 */
class ORRERY_EXPORT OrreryQtCoreApplication : public QCoreApplication {
public:
    /**
     * @brief Creates the core application, hands its arguments as UTF-8 to
     *        vexil::CommandLine and fixes the application name unless one was fixed.
     *
     * Failures are those of QCoreApplication (a second instance is a Qt error).
     * @param argc the argument count; Qt keeps a reference, so it must outlive the object
     * @param argv the arguments; they must outlive the object
     * @param applicationName the name to fix; an empty name is set as it is
     * @param preConstructor runs the pre-initialisation before the QCoreApplication base is
     *        built; leave the default
     */
    OrreryQtCoreApplication(int& argc, char** argv, const QString& applicationName,
                            const OrreryQtCoreApplicationPreConstructor& preConstructor =
                                OrreryQtCoreApplicationPreConstructor());
    /// @brief Destroys the core application. Never fails.
    ~OrreryQtCoreApplication() override;
};

/**
 * @brief The pre-initialisation, for programs that create their own Qt application object.
 *
 * Sets the application name to "Generic" unless a name was fixed (without fixing it),
 * makes UTF-8 the locale codec and "Tolmarsk" the organisation name. Never fails.
 */
ORRERY_EXPORT void orrery_initialize_before_creating_core_application();

/**
 * @brief Sets the application name, the organisation name and the locale codec
 *        without creating an application object.
 *
 * The first name fixed in a process wins; later names are ignored. Never fails.
 * @param applicationName the name to fix; null keeps "Generic" as an unfixed default.
 */
ORRERY_EXPORT void initialize_qt_core_settings(const char* applicationName);

/// @brief 1 when an entry point has set the names and the codec, else 0. Never fails.
ORRERY_EXPORT int are_qt_core_settings_initialized();

/**
 * @brief The usual start-up call: settings, then the core application.
 *
 * When a QCoreApplication exists already it is adopted (and never deleted here);
 * otherwise an OrreryQtCoreApplication is created. The first call that creates it
 * stores @p argc for the rest of the process, because Qt keeps a reference to it.
 * Failures are those of QCoreApplication.
 * @param argc the argument count; only the value of the first creating call is used
 * @param argv must outlive the core application
 * @param applicationName the name to fix, or null
 */
ORRERY_EXPORT void initialize_qt_core_application(int argc, char** argv,
                                                  const char* applicationName);

/// @brief Deletes the core application if initialize_qt_core_application created it. Never fails.
ORRERY_EXPORT void uninitialize_qt_core_application();

/// @brief Records the product's name and version (null taken as empty). Never fails.
ORRERY_EXPORT void initialize_product(const char* name, const char* version);
/// @brief The recorded product name; empty before initialize_product. Never fails.
ORRERY_EXPORT QString get_product_name();
/// @brief The recorded product version; empty before initialize_product. Never fails.
ORRERY_EXPORT QString get_product_version();

/**
 * @brief The directory of the running programs, cached after the first non-empty answer.
 * @return a reference to the cache; empty when the directory cannot be determined.
 */
ORRERY_EXPORT const std::string& get_bin_directory();
/**
 * @brief The installation root, cached after the first non-empty answer.
 * @return a reference to the cache; empty when it cannot be determined.
 */
ORRERY_EXPORT const std::string& get_installation_directory();

/// @}

namespace Orrery {

/// @addtogroup startup
/// @{

/**
 * @brief A file stream buffer opened by a UTF-8 file name.
 *
 * Wraps a heap-allocated standard file buffer; construct std::istream or
 * std::ostream objects on it through the conversion operator. Not shared between
 * threads.
 */
class ORRERY_EXPORT filebuf_utf8 {
public:
    /// @brief Creates the inner buffer, with no file attached. Throws std::bad_alloc only.
    filebuf_utf8();
    /// @brief Closes any open file and destroys the inner buffer; a failing close is not
    ///        reported.
    ~filebuf_utf8();
    /// @brief Not copyable.
    filebuf_utf8(const filebuf_utf8&) = delete;
    /**
     * @brief Makes this object refer to the inner buffer of @p other.
     *
     * Both objects then share one buffer and both destroy it; the buffer this object
     * held is abandoned. The class is not meant to be assigned. Never fails.
     */
    filebuf_utf8& operator=(const filebuf_utf8& other);

    /**
     * @brief Opens the file named by UTF-8 @p name (null is the empty name).
     * @param name the file name in UTF-8, or null
     * @param mode a set of std::ios_base::openmode bits
     * @return false when the file cannot be opened or a file is already attached.
     */
    bool open(const char* name, int mode);
    /// @brief Flushes and closes. @return true when both succeeded; false with no file.
    bool close();
    /// @brief Whether a file is attached. Never fails.
    bool is_open() const;
    /// @brief The inner buffer. Never fails.
    operator std::basic_streambuf<char>&();  // NOLINT(google-explicit-constructor)

private:
    std::basic_filebuf<char>* impl;
};

/**
 * @brief The arguments of the running application as UTF-8 C strings.
 *
 * Requires the core application (see initialize_qt_core_application); without it the
 * list is empty and Qt logs a warning. @p argv receives a new array of *argc + 1 pointers
 * ending in null; the caller frees each string with free() and the array with delete[].
 * Neither pointer may be null. A string that cannot be allocated is a null entry.
 */
ORRERY_EXPORT void get_application_arguments_utf8(int* argc, char*** argv);

/**
 * @brief A fresh temporary file name in UTF-8; nothing is created.
 *
 * The result belongs to the calling thread and stays valid until its next call.
 * @return the name, or "" (never null) when no name can be produced.
 */
ORRERY_EXPORT const char* tmpnam_utf8();

/// @}

}  // namespace Orrery

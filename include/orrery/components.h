// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Installed components: variable expansion, component stores and member specifications.
 * @ingroup components
 */
#pragma once

#include <orrery/orrery_export.h>

#include <QString>

namespace Orrery {

/// @addtogroup components
/// @{

/**
 * @brief Replaces references to environment variables in @p text by their values.
 *
 * A reference is written \%NAME%, \%NAME, $NAME, \$(NAME), %(NAME), ${NAME} or %{NAME},
 * where NAME is one or more of the letters, digits, underscore and hyphen. Values come
 * from the environment, with the installation's registry settings as fallback. Each
 * reference found replaces every occurrence of the same reference text in the whole
 * string; scanning resumes after the inserted value, so a value is never expanded at
 * the place it was inserted. A value that brings its own reference back (A set to
 * "$A$A") would grow the text without end. The expansion stops, leaving the rest of the
 * text unexpanded, before a replacement that would add more than 16 Mi characters to the
 * text or bring in more than 512 Ki '\%' and '$' characters with the values inserted so
 * far, and after 8,192 replacement steps more than the text has '\%' and '$' characters.
 *
 * @return the expanded text. Never fails: a variable that is set nowhere expands to
 *         nothing, and text that is not a reference is kept as it is.
 */
ORRERY_EXPORT QString ExpandVars(const QString& text);

/**
 * @brief The stores of installed and referred components.
 *
 * The installed-component store records which components are installed on the machine;
 * the referred-component file "ComponentRefs.ini" in a product's root records which
 * components the product refers to. Both are INI-style settings in which every entry
 * lives in the group component/version under a key chosen by the caller, with string
 * values. Reference counting is left to callers, who read "RefCount", change it and write
 * it back. Every operation opens its own settings object. A read takes no lock and changes
 * nothing on disk: it creates no file, not even for a store that does not exist, and leaves
 * the store's bytes and modification time alone. A set or remove flushes before returning.
 */
class ORRERY_EXPORT InstComponentData {
public:
    static const QString s_ComponentRefFile;  ///< "ComponentRefs.ini"
    static const QString s_strVersion;        ///< "Version"
    static const QString s_strBuild;          ///< "Build"
    static const QString s_strRefCount;       ///< "RefCount"
    static const QString s_strArchitecture;   ///< "Architecture"
    static const QString s_strLocation;       ///< "Location"
    static const QString s_strCommonDir;      ///< "CommonDir"
    static const QString s_strOrganization;   ///< "Tolmarsk"
    static const QString s_strapplication;    ///< "Vexil"

    /**
     * @brief The installed-component INI file named by VEXIL_INSTALLINFO_FILE.
     * @return the file with native separators, or an empty string when the variable is
     *         unset or empty and the native per-user settings are used instead.
     */
    static QString GetInstComponentFullPathtoRefFile();

    /**
     * @brief The referred-component file of a product.
     *
     * VEXIL_REFERRED_COMPONENT_FILE names the file when it is set and not empty; otherwise
     * it is "ComponentRefs.ini" in @p productRoot. A root enclosed in double or single
     * quotation marks is unquoted; when VEXIL_CR_UNQUOTE_STRATEGY_ENUM is exactly "1",
     * backslashes in a quoted root are escapes and are removed.
     * @return the file with native separators. Never fails; an empty root gives
     *         "/ComponentRefs.ini".
     */
    static QString GetComponentFullPathtoRefFile(const QString& productRoot);

    /**
     * @brief Reads @p key of @p component / @p version in the installed-component store,
     *        changing nothing on disk.
     * @return the value, or an empty string when the key or the store is absent.
     */
    static QString GetInstComponentKey(const QString& component, const QString& version,
                                       const QString& key);

    /**
     * @brief Stores @p value under @p key of @p component / @p version in the
     *        installed-component store and flushes it.
     * @return true, always: input/output errors of the settings are not reported.
     */
    static bool SetInstComponentKey(const QString& component, const QString& version,
                                    const QString& key, const QString& value);

    /**
     * @brief Removes every key of @p component / @p version from the native per-user
     *        installed-component settings and flushes them.
     *
     * This always works on the native settings, even when VEXIL_INSTALLINFO_FILE names
     * an INI file for reading and writing.
     * @return true, always.
     */
    static bool RemoveInstComponent(const QString& component, const QString& version);

    /**
     * @brief Reads @p key of @p component / @p version in the product's
     *        referred-component file, changing nothing on disk.
     * @return the value; an empty string when the key or file is absent, or when
     *         @p productRoot is empty (then "Product root needs to be set" is written to
     *         standard error and no file is touched).
     */
    static QString GetReferredComponentKey(const QString& productRoot, const QString& component,
                                           const QString& version, const QString& key);

    /**
     * @brief Stores @p value under @p key of @p component / @p version in the product's
     *        referred-component file and flushes it; a missing file is created.
     * @return true; false when @p productRoot is empty (then "Product root needs to be
     *         set" is written to standard error and no file is touched).
     */
    static bool SetReferredComponentKey(const QString& productRoot, const QString& component,
                                        const QString& version, const QString& key,
                                        const QString& value);

    /**
     * @brief Removes every key of @p component / @p version from the product's
     *        referred-component file and flushes it; other versions stay.
     * @return true; false when @p productRoot is empty (then "Product root needs to be
     *         set" is written to standard error and no file is touched).
     */
    static bool RemoveReferredComponent(const QString& productRoot, const QString& component,
                                        const QString& version);
};

/**
 * @brief Composes a component member specification.
 *
 * The result is @p prefix and ":" when the prefix is not empty, then "&{component}:" or
 * "&{component#qualifier}:" when @p component is not empty, then @p member. The qualifier
 * is ignored without a component.
 * @return the written form. Never fails.
 */
ORRERY_EXPORT QString CreateComponentMemberSpecification(const QString& component,
                                                         const QString& qualifier,
                                                         const QString& member,
                                                         const QString& prefix);

/**
 * @brief Splits a component member specification into its four parts.
 *
 * Text before "&{" that ends with ":" is the prefix. Without "&{", text up to the first
 * ":" is the prefix, unless it is a single character and the directory part of @p spec
 * exists, in which case @p spec is taken as a path with a drive letter.
 * Every output is assigned. A malformed member specification yields an empty component and
 * qualifier with the remaining text as @p member; nothing is reported.
 */
ORRERY_EXPORT void ParseComponentMemberSpecification(const QString& spec, QString& component,
                                                     QString& qualifier, QString& member,
                                                     QString& prefix);

/**
 * @brief The location of @p component as recorded in the product's referred-component file.
 *
 * With a @p version, its "Location" key is read. Without one, the version whose name is
 * the highest decimal number above -10000 is chosen ("10" beats "9.5"; "2.1.3" is not a
 * number and is skipped). With @p expandVariables the location is passed through
 * ExpandVars(). The file is only read: nothing on disk changes.
 * @return the location, or an empty string when nothing is recorded. With a version and
 *         an empty @p productRoot, "Product root needs to be set" goes to standard error.
 */
ORRERY_EXPORT QString QueryReferredComponentLocation(const QString& productRoot,
                                                     const QString& component,
                                                     const QString& version, bool expandVariables);

/// @}

}  // namespace Orrery

// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Data files: the abstract data file, its root property, the list of open
 *        files and the file-type factory.
 *
 * Every live DataFile is listed in a process-wide list, in order of construction,
 * so that the open file of a path can be found from anywhere. DataFileFactory maps
 * a file-type name to a creator. Concrete file kinds (their reading and writing)
 * live outside the library: a kind builds its tree under a DataFile::RootProperty
 * and assigns it to `contents` in Load(). The list and the factory are used from
 * one thread (the application's main thread).
 *
 * The member and virtual-function order of DataFile is part of its binary
 * interface and must not change.
 * @ingroup data_files
 */
#pragma once

#include <orrery/orrery_export.h>
#include <orrery/property.h>

#include <QList>
#include <QMap>
#include <QString>

namespace Orrery {

/// @addtogroup data_files
/// @{

/**
 * @brief The abstract base of every document kind that holds a property tree.
 */
class ORRERY_EXPORT DataFile {
public:
    /// @brief How a file was opened, an int-sized bit set. The library relies on two values
    ///        only; kinds may use any other bits.
    enum OpenMode : int {
        OpenModeNone = 0,      ///< no bits: read only
        OpenModeWritable = 2,  ///< the file may be written; IsWritable() tests this bit
        OpenModeCreate = 128,  ///< passed alone, stored as 130 (writable added)
    };

    /**
     * @brief The property object at the top of a file's tree, named "Root"; it
     *        knows its file (not owned).
     */
    class ORRERY_EXPORT RootProperty : public PropertyObject {
    public:
        /// @brief A root named "Root" with no parent property, remembering @p parent (which
        ///        may be null). Never fails.
        explicit RootProperty(DataFile* parent);
        /// @brief The type flags 9: a property object that is a file root. Never fails.
        unsigned int GetTypeFlags() const override;
        /// @brief The remembered file, as given to the constructor. Never fails.
        DataFile* GetParentFile() const;

    private:
        DataFile* parentFile;
    };

    /**
     * @brief Stores @p path (as given) and @p mode (128 becomes 130) and lists the
     *        file in the process-wide list. No contents yet; owns its contents.
     * @note Never fails: neither the path nor the mode is checked, and nothing is read.
     */
    DataFile(const QString& path, OpenMode mode);
    /// @brief Not copyable: a file is listed once, by address.
    DataFile(const DataFile&) = delete;
    /// @brief Not assignable: a file is listed once, by address.
    DataFile& operator=(const DataFile&) = delete;

    /**
     * @brief Loads the file at its path into its contents.
     *
     * The kind's own business, including how it reports failure (it cannot return it);
     * afterwards IsLoaded() tells whether the contents were read.
     */
    virtual void Load() = 0;
    /// @brief Saves the contents to the file; the kind's own business.
    /// @return false when the kind could not save.
    virtual bool Save() = 0;
    /// @brief Whether the contents have been read; the kind's own business.
    virtual bool IsLoaded() const = 0;
    /// @brief Whether the contents changed since the last load or save; the kind's own business.
    virtual bool IsModified() const = 0;
    /// @brief The file-type name under which DataFileFactory creates files of this kind; a
    ///        constant of the kind, so it does not fail.
    virtual QString GetFileType() const = 0;

    /// @brief The root of the file's property tree; null until the kind creates it. Never
    ///        fails.
    virtual const PropertyObject* GetFileContents() const;
    /// @brief Deletes the tree when the file owns it; the pointer becomes null in any case.
    ///        Never fails.
    virtual void ClearFileContents();
    /**
     * @brief Removes the file from the list, then deletes the contents unless the
     *        file does not own them. Never fails.
     */
    virtual ~DataFile();
    /// @brief The node @p path leads to from the file's root; null without contents or when
    ///        the path leads nowhere (see AbstractProperty::ResolvePath()).
    virtual AbstractProperty* ResolveObjectPath(const QString& path);

    /// @brief The stored path, as given. Never fails.
    QString GetPath();
    /// @brief Replaces the path. @return false for an empty path or a loaded file (the
    ///        path is then unchanged).
    bool SetPath(const QString& path);
    /// @brief The stored open mode. Never fails.
    OpenMode GetMode();
    /// @brief Whether the open mode has the writable bit (2). Never fails.
    bool IsWritable() const;
    /// @brief Whether the file deletes its contents. Never fails.
    bool OwnsFileContents() const;
    /// @brief Sets whether the file deletes its contents. Never fails.
    void SetOwnsFileContents(bool owns);

    /// @brief The first listed file whose path equals @p path exactly (case-sensitive, not
    ///        normalised); null if none.
    static DataFile* GetDataFile(const QString& path);
    /// @brief A copy of the list of live data files, in order of construction. Never fails.
    static QList<DataFile*> GetDataFileList();

protected:
    /// The file's path, as given to the constructor or SetPath().
    QString path;
    /// The open mode, with the writable bit added to a lone OpenModeCreate.
    OpenMode mode;
    /// The root of the file's tree; null until Load() assigns it (usually a RootProperty).
    PropertyObject* contents;
    /// Whether ClearFileContents() and the destructor delete @c contents; true at first.
    bool ownsContents;

private:
    static QList<DataFile*> s_filelist;
};

/**
 * @brief The process-wide registry of data-file kinds by type name.
 */
class ORRERY_EXPORT DataFileFactory {
public:
    /// @brief A function that creates a data file of one kind for a path; the caller owns it.
    using Creator = DataFile* (*)(const QString& path);

    /**
     * @brief Registers @p creator under @p typeName, replacing an earlier one.
     *
     * Never fails: neither the name nor the creator is checked; a null creator registers
     * the name, and CreateDataFile() then returns null for it.
     * @return the number of registered types afterwards.
     */
    static int RegisterFileType(const QString& typeName, Creator creator);
    /// @brief A new data file of kind @p typeName for @p path, made by its creator; null when
    ///        the kind is unknown or its creator is null.
    static DataFile* CreateDataFile(const QString& path, const QString& typeName);

private:
    static QMap<QString, Creator> s_createFileMap;
};

/// @}

}  // namespace Orrery

// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The property tree: abstract property, property object, simple property, references, paths
 * and the property-object factory.
 *
 * A tree is made of named nodes. Containers (PropertyObject and its subclasses)
 * own their children, which they keep sorted by name; leaves are simple
 * properties (a variant value) and references (a path to another node). Nodes
 * are addressed by '/'-separated paths. The tree is not thread-safe: one tree is
 * used by one thread at a time.
 *
 * The member and virtual-function order of the classes below is part of their
 * binary interface and must not change.
 * @ingroup property_tree
 */
#pragma once

#include <orrery/orrery_export.h>
#include <orrery/result.h>
#include <qel/kvariant.h>

#include <QChar>
#include <QHash>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>

namespace Orrery {

class AbstractProperty;
class DataFile;
class PropertyObject;
class PropertyReference;

/// @brief Constants and free functions of the property tree.
namespace Property {

/// @addtogroup property_tree
/// @{

/// @brief Bits of the per-object property-flags word.
enum PropertyFlags : unsigned int {
    /// SetName() and SimpleProperty::SetValue() refuse changes (RESULT_FAILED).
    PROPERTY_READ_ONLY = 0x1,
    /// The node is not to be shown; kept for clients, the library does not act on it.
    PROPERTY_HIDDEN = 0x2,
    /// The node is to be written out; kept for clients, the library does not act on it.
    PROPERTY_SERIALIZABLE = 0x4,
};

/// @brief Bits of the per-class type flags returned by AbstractProperty::GetTypeFlags().
enum TypeFlags : unsigned int {
    TYPE_PROPERTY_OBJECT = 0x01,     ///< a container (PropertyObject and its subclasses)
    TYPE_VARIABLE = 0x02,            ///< a variable; set by no class of this library
    TYPE_METADATA = 0x04,            ///< a Metadata container
    TYPE_FILE_ROOT = 0x08,           ///< the root of a data file (DataFile::RootProperty)
    TYPE_PROPERTY_REFERENCE = 0x10,  ///< a PropertyReference
    TYPE_SIMPLE_PROPERTY = 0x20,     ///< a SimpleProperty
};

/// @brief The property flags of a new node: 4, serializable only.
extern ORRERY_EXPORT const unsigned int PropertyFlagsDefault;

/// @brief The path delimiter '/'.
extern ORRERY_EXPORT const QChar PathDelimiter;

/**
 * @brief A relative path leading from the node with full path @p from to the node with
 *        full path @p to, when resolved on the node @p from itself.
 *
 * One ".." is spent on leaving @p from itself, so from /a/ref to /a/b gives ../b.
 * @return the relative path; empty for equal paths. Never fails.
 */
ORRERY_EXPORT QString GetRelativePath(const QString& from, const QString& to);

/// @}

}  // namespace Property

/// @addtogroup property_tree
/// @{

/**
 * @brief Marker kept beside the value of a simple property and handed back unchanged.
 *
 * This library only ever stores NotCellArray (0); other values belong to its clients.
 */
enum IsCellArray : int {
    NotCellArray = 0,  ///< the value is not a cell array
    CellArray = 1,     ///< the value is a cell array (set by clients only)
};

/**
 * @brief The base of every node of a property tree: a name, property flags and the
 *        container that owns the node.
 */
class ORRERY_EXPORT AbstractProperty {
public:
    /// @brief A parentless node with an empty name and the default flags. Never fails.
    AbstractProperty();
    /// @brief A parentless node named @p name (taken as it is, not validated). Never fails.
    explicit AbstractProperty(const QString& name);
    /// @brief Copies name and flags; the copy has no parent. Never fails.
    AbstractProperty(const AbstractProperty& other);

    /// @brief The type name of the node's class. Never fails.
    virtual const QString& PropertyObjType() const = 0;
    /// @brief The class's type flags (Property::TypeFlags bits); 0 here. Never fails.
    virtual unsigned int GetTypeFlags() const;
    /// @brief Hook called by data-file readers after reading a node; does nothing here. Never
    /// fails.
    virtual void OnDeserialization();
    /**
     * @brief Detaches the node from its container first (so the container keeps no
     *        dangling entry), then releases it. Never fails.
     */
    virtual ~AbstractProperty();

    /// @brief A copy of the name. Never fails.
    QString GetName();
    /**
     * @brief Renames the node; a parented node is re-keyed in its container.
     * @return RESULT_OK; RESULT_FAILED when the node is read-only; RESULT_INVALID_ARGUMENT
     *         when @p newName contains ? / \ " or a line feed, carriage return or tab;
     *         RESULT_ALREADY_EXISTS (with a warning) when a sibling has that name. Renaming
     *         a parented node to the empty name takes it out of its container and returns
     *         RESULT_INVALID_ARGUMENT.
     */
    ERESULT SetName(const QString& newName);
    /// @brief The owning container, or null. Never fails.
    PropertyObject* GetParent() const;
    /// @brief The whole property-flags word. Never fails.
    unsigned int GetPropertyFlags() const;
    /// @brief Replaces the whole property-flags word. Never fails.
    void SetPropertyFlags(unsigned int flags);

    /// @brief Whether PROPERTY_READ_ONLY is set. Never fails.
    bool IsReadOnly() const;
    /// @brief Sets or clears PROPERTY_READ_ONLY, leaving the other bits. Never fails.
    void SetReadOnly(bool readOnly);
    /// @brief Whether PROPERTY_HIDDEN is set. Never fails.
    bool IsHidden() const;
    /// @brief Sets or clears PROPERTY_HIDDEN, leaving the other bits. Never fails.
    void SetHidden(bool hidden);
    /// @brief Whether PROPERTY_SERIALIZABLE is set. Never fails.
    bool IsSerializable() const;
    /// @brief Sets or clears PROPERTY_SERIALIZABLE, leaving the other bits. Never fails.
    void SetSerializable(bool serializable);

    /// @brief Whether the type flags hold TYPE_PROPERTY_OBJECT. Never fails.
    bool IsPropertyObject() const;
    /// @brief Whether the type flags hold TYPE_VARIABLE. Never fails.
    bool IsVariable() const;
    /// @brief Whether the type flags hold TYPE_METADATA. Never fails.
    bool IsMetadata() const;
    /// @brief Whether the node's own type flags hold TYPE_FILE_ROOT. Never fails.
    bool IsFileRoot() const;
    /// @brief Whether the type flags hold TYPE_PROPERTY_REFERENCE. Never fails.
    bool IsPropertyReference() const;
    /// @brief Whether the type flags hold TYPE_SIMPLE_PROPERTY. Never fails.
    bool IsSimpleProperty() const;

    /// @brief The topmost ancestor; the node itself when it has no parent. Never fails.
    const AbstractProperty* GetRootProperty() const;
    /// @brief Whether the root's type flags hold TYPE_FILE_ROOT (the node lies in a data file).
    /// Never fails.
    bool HasFileRoot() const;
    /// @brief The data file whose root node is this node's root; null when there is none.
    const DataFile* GetDataFile() const;

    /**
     * @brief The absolute path of the node: the delimiter alone for a parentless node,
     *        else the names from below the root joined by the delimiter ("/a/b").
     * @note Never fails.
     */
    QString GetFullPath();
    /**
     * @brief The node that @p path leads to from this node.
     *
     * A leading delimiter starts at the root; ".." is the parent; an empty component
     * ends the walk at the node reached so far.
     * @return the node, or null for an empty path, a missing child, a step through a
     *         non-container or a ".." above the root.
     */
    AbstractProperty* ResolvePath(const QString& path);
    /// @brief Const form of ResolvePath(); same rules and failures.
    const AbstractProperty* ResolvePath(const QString& path) const;

    /**
     * @brief A new, parentless deep copy of the node; the caller owns it.
     * @return the copy made by DoClone(). Never fails except by running out of memory.
     */
    AbstractProperty* Clone() const;

protected:
    /// @brief Copies name and flags; the parent stays as it was. Never fails.
    AbstractProperty& operator=(const AbstractProperty& other);

    /**
     * @brief A new deep copy of the node, parentless, owned by the caller.
     *
     * While a tree is cloned, the copy of each container already holds copies of all
     * its children when its DoClone() returns. Only more than 64 levels below the node
     * being cloned, the children of a container copy are copied in after its DoClone()
     * returns (parents before children, in name order), which keeps the copy of very
     * deep trees off the call stack.
     * @return the copy, never null; the classes of this library fail only by running out
     *         of memory.
     */
    virtual AbstractProperty* DoClone() const = 0;

private:
    // Called whenever the node's name or parent changes.
    virtual void OnPathChanged();

    // Resets the parent to null and the flags to the default.
    void InitNewProperty();
    // Stores the parent, then calls OnPathChanged().
    void SetParent(PropertyObject* newParent);

    friend class PropertyObject;

    QString name;
    unsigned int flags;
    PropertyObject* parent;
};

/**
 * @brief A container node that owns a set of uniquely named children, kept in name
 *        order (case-sensitive, by UTF-16 code unit).
 */
class ORRERY_EXPORT PropertyObject : public AbstractProperty {
public:
    /// @brief An empty, unnamed container. Never fails.
    PropertyObject();
    /// @brief An empty container named @p name. Never fails.
    explicit PropertyObject(const QString& name);
    /// @brief An empty container, then a deep copy of @p other (name, flags, children). Never
    /// fails.
    PropertyObject(const PropertyObject& other);
    /**
     * @brief Deep copy: destroys the own children, copies name and flags (the parent
     *        stays) and inserts a clone of each child of @p other. Never fails.
     */
    PropertyObject& operator=(const PropertyObject& other);
    /**
     * @brief Destroys the own children, copies name and flags and takes over the children
     *        of @p other, which is left empty. Never fails.
     */
    PropertyObject& operator=(PropertyObject&& other);

    /// @brief The type name "PropObj". Never fails.
    static const QString& StaticType();
    /// @brief StaticType(). Never fails.
    const QString& PropertyObjType() const override;
    /// @brief TYPE_PROPERTY_OBJECT (0x01). Never fails.
    unsigned int GetTypeFlags() const override;
    /// @brief Destroys all children, then detaches the container from its own parent. Never
    /// fails.
    ~PropertyObject() override;

    /**
     * @brief Inserts @p property as a child and takes ownership of it.
     * @return RESULT_OK; RESULT_INVALID_ARGUMENT for a null property, an empty name or a
     *         property that already has a parent; RESULT_ALREADY_EXISTS when a child has
     *         that name. On failure nothing changes and the caller keeps ownership.
     * @throws std::logic_error "circular property link error! <path> => <path>" when
     *         @p property is the topmost node of this container's tree.
     */
    ERESULT InsertProperty(AbstractProperty* property);
    /**
     * @brief Like InsertProperty(), but a child of the same name is destroyed first.
     * @return RESULT_OK (also when @p property already is a child); otherwise the result of
     *         InsertProperty(), RESULT_INVALID_ARGUMENT for a null property.
     */
    ERESULT InsertOrReplaceProperty(AbstractProperty* property);
    /**
     * @brief Inserts a new reference named @p name and points it at @p target.
     * @return the insertion's failure (the reference is then destroyed), else the result
     *         of PropertyReference::SetPropertyRef(); when that fails the reference stays
     *         in place, unset.
     */
    ERESULT SetPropertyRef(const QString& name, const AbstractProperty* target);

    /// @brief Detaches and returns the child @p name; the caller owns it. Null when absent.
    AbstractProperty* TakeProperty(const QString& name);
    /// @brief Detaches and destroys the child @p name. RESULT_NOT_FOUND when absent.
    ERESULT DeleteProperty(const QString& name);
    /**
     * @brief Detaches the child @p name without destroying or returning it; the caller
     *        must already hold a pointer to free it. RESULT_NOT_FOUND when absent.
     */
    ERESULT RemoveProperty(const QString& name);
    /// @brief Destroys all children. Never fails.
    void DeleteProperties();

    /// @brief Whether a child has exactly this name (case-sensitive). Never fails.
    bool HasProperty(const QString& name) const;
    /// @brief The child @p name (a single name, not a path), or null.
    AbstractProperty* GetPropertyPtr(const QString& name);
    /// @brief The child @p name (a single name, not a path), or null.
    const AbstractProperty* GetPropertyConstPtr(const QString& name) const;
    /// @brief The number of children. Never fails.
    int GetPropertyCount() const;
    /// @brief Replaces the contents of @p list by the children in name order; no-op for null.
    void GetPropertyList(QList<AbstractProperty*>* list) const;
    /// @brief The children sorted by name (upper case before lower case). Never fails.
    QList<AbstractProperty*> GetPropertyListSorted();
    /**
     * @brief Replaces the contents of @p list by the direct children that are metadata.
     *
     * On a container without children @p list is left untouched. A null @p list is a no-op.
     */
    void BuildMetadataList(QList<AbstractProperty*>* list) const;
    /**
     * @brief Replaces the contents of @p list by the children named @p prefix followed by
     *        an index 0 .. n-1 (n the number of children), in index order.
     *
     * Missing indices are skipped; indices n and above are never tried. A null @p list is a
     * no-op.
     */
    void GetPrefixedChildrenProperties(QList<AbstractProperty*>* list, QString prefix) const;
    /**
     * @brief Whether a reference in this container's tree may point at @p target, that is
     *        whether @p target lies in the same tree or in a data file's contents. False for
     *        a null target.
     */
    bool CanReferenceProperty(const AbstractProperty* target);

    /**
     * @brief Stores @p value in the simple child @p name, creating the child if needed.
     * @return RESULT_OK; RESULT_FAILED when the child is read-only; RESULT_INVALID_ARGUMENT
     *         for an empty name; RESULT_ALREADY_EXISTS when a child of that name is not a
     *         simple property (it is left in place).
     */
    ERESULT SetProperty(const QString& name, const Tolmarsk::Qel::KVariant& value);
    /// @brief Stores @p value as a UTF-8 string scalar; results as the variant form.
    ERESULT SetProperty(const QString& name, const QString& value);
    /// @brief Stores @p value as a vector of UTF-8 strings; results as the variant form.
    ERESULT SetProperty(const QString& name, const QStringList& value);
    /**
     * @brief Reads the simple child @p name as text.
     * @return RESULT_OK (an empty value reads as the empty string); RESULT_INVALID_ARGUMENT
     *         for a null @p value or a missing or non-simple child.
     * @throws std::runtime_error with the conversion message when the value cannot be
     *         converted to text (unlike the numeric reads, which return RESULT_FAILED).
     */
    ERESULT GetProperty(const QString& name, QString* value);
    /**
     * @brief Reads the simple child @p name as an int.
     * @return RESULT_OK; RESULT_INVALID_ARGUMENT for a null @p value or a missing or
     *         non-simple child; RESULT_FAILED when the value cannot be converted
     *         (@p value is then left unchanged).
     */
    ERESULT GetProperty(const QString& name, int* value);
    /// @brief Reads the simple child @p name as a double; results as the int form.
    ERESULT GetProperty(const QString& name, double* value);
    /// @brief Reads the simple child @p name as a bool; results as the int form.
    ERESULT GetProperty(const QString& name, bool* value);

protected:
    /// @brief A new PropertyObject copied from this one (name, flags, deep children). Never
    /// fails.
    AbstractProperty* DoClone() const override;

private:
    // Passes the change on to every child, in name order, down the whole subtree.
    void OnPathChanged() override;

    // Call the function once for each child, in name order.
    void ForEachProperty(std::function<void(AbstractProperty*)> visit);
    void ForEachProperty(std::function<void(const AbstractProperty*)> visit) const;

    QMap<QString, AbstractProperty*> children;
};

/**
 * @brief Abstract container whose instances are marked as metadata (type flags 0x05)
 *        and collected by PropertyObject::BuildMetadataList(). Concrete metadata
 *        classes supply DoClone().
 */
class ORRERY_EXPORT Metadata : public PropertyObject {
public:
    /// @brief As PropertyObject's copy constructor. Never fails.
    Metadata(const Metadata& other);
    /// @brief As PropertyObject's copy assignment. Never fails.
    Metadata& operator=(const Metadata& other);
    /// @brief As PropertyObject's destructor. Never fails.
    ~Metadata() override;
    /// @brief TYPE_PROPERTY_OBJECT | TYPE_METADATA (0x05). Never fails.
    unsigned int GetTypeFlags() const override;

protected:
    /// @brief An empty, unnamed metadata container with default flags. Never fails.
    Metadata();
    /// @brief An empty metadata container named @p name with default flags. Never fails.
    explicit Metadata(const QString& name);

    AbstractProperty* DoClone() const override = 0;
};

/**
 * @brief A leaf holding a variant value and an IsCellArray marker.
 */
class ORRERY_EXPORT SimpleProperty : public AbstractProperty {
public:
    /// @brief An unnamed property holding the null variant. Never fails.
    SimpleProperty();
    /// @brief A property named @p name holding the null variant. Never fails.
    explicit SimpleProperty(const QString& name);
    /// @brief Copies name, flags, value and marker; the copy has no parent. Never fails.
    SimpleProperty(const SimpleProperty& other);
    /// @brief Copies name, flags, value and marker; the parent stays. Never fails.
    SimpleProperty& operator=(const SimpleProperty& other);

    /// @brief The type name "Prop". Never fails.
    static const QString& StaticType();
    /// @brief StaticType(). Never fails.
    const QString& PropertyObjType() const override;
    /// @brief TYPE_SIMPLE_PROPERTY (0x20). Never fails.
    unsigned int GetTypeFlags() const override;
    /// @brief Detaches the property from its container and releases the value. Never fails.
    ~SimpleProperty() override;

    /// @brief A copy of the value. Never fails.
    Tolmarsk::Qel::KVariant GetValue();
    /// @brief The marker stored with the value. Never fails.
    IsCellArray GetValueIsCellArray();
    /**
     * @brief Replaces value and marker.
     * @return RESULT_OK, or RESULT_FAILED (nothing changed) when the property is read-only.
     */
    ERESULT SetValue(Tolmarsk::Qel::KVariant newValue, IsCellArray newCellArray);

protected:
    /// @brief A new SimpleProperty copied from this one. Never fails.
    AbstractProperty* DoClone() const override;

private:
    // Nothing to reset beyond the base.
    void InitNewProperty();

    Tolmarsk::Qel::KVariant value;
    IsCellArray cellArray;
};

/**
 * @brief A leaf that stands for another node: internally by a path relative to the
 *        reference itself, externally by an absolute path inside another data file.
 */
class ORRERY_EXPORT PropertyReference : public AbstractProperty {
public:
    /// @brief The kind of reference, derived from the stored fields.
    enum ReferenceType {
        REFERENCE_NONE = 0,      ///< the reference path is empty
        REFERENCE_INTERNAL = 1,  ///< a path in the same tree
        REFERENCE_EXTERNAL = 2,  ///< a path in another data file
    };

    /// @brief An unnamed, unset reference. Never fails.
    PropertyReference();
    /// @brief An unset reference named @p name. Never fails.
    explicit PropertyReference(const QString& name);
    /// @brief Copies name, flags and the three reference fields; the copy has no parent.
    /// Never fails.
    PropertyReference(const PropertyReference& other);
    /// @brief Copies name, flags and the three reference fields; the parent stays. Never fails.
    PropertyReference& operator=(const PropertyReference& other);

    /// @brief The type name "PropRef". Never fails.
    static const QString& StaticType();
    /// @brief StaticType(). Never fails.
    const QString& PropertyObjType() const override;
    /// @brief TYPE_PROPERTY_REFERENCE (0x10). Never fails.
    unsigned int GetTypeFlags() const override;
    /// @brief Detaches the reference from its container and releases it. Never fails.
    ~PropertyReference() override;

    /**
     * @brief Points the reference at @p target.
     *
     * In the same tree the path relative to this reference is stored; for a target in a
     * data file's contents its absolute path, the file's path and file type are stored.
     * @return RESULT_OK; RESULT_INVALID_ARGUMENT for a null target, or (with a debug
     *         message) for a target that lies in no tree the reference can reach; the
     *         stored fields then keep their values.
     */
    ERESULT SetPropertyRef(const AbstractProperty* target);
    /// @brief Stores @p path as an internal reference path, unchecked. Never fails.
    void SetPropertyRefNoCheck(const QString& path);
    /// @brief Stores the three reference fields as given, unchecked. Never fails.
    void SetExternalRefNoCheck(const QString& path, const QString& filePath,
                               const QString& fileType);
    /// @brief The kind of reference, from ReferencePath() and ReferenceFilePath(). Never fails.
    ReferenceType GetReferenceType();
    /**
     * @brief The full path of the target, given @p basePath, the full path of the container
     *        holding the reference.
     *
     * Empty, external and absolute reference paths are returned unchanged. A relative path
     * climbing above @p basePath logs the warning "Invalid relative path" and yields the
     * path built so far.
     */
    QString GetFullPathToReference(const QString& basePath);
    /// @brief Whether the followed target is metadata. The reference must resolve: a null
    /// target is not checked for.
    bool IsRefMetadata() const;
    /// @brief Whether the followed target is a container. The reference must resolve: a null
    /// target is not checked for.
    bool IsRefPropertyObject() const;
    /// @brief Whether the followed target has TYPE_VARIABLE. The reference must resolve: a
    /// null target is not checked for.
    bool IsRefVariable() const;
    /// @brief The followed target seen as T; null when it is absent or not a T.
    template <class T>
    const T* GetConstRef() const;

protected:
    /// @brief A new PropertyReference copied from this one. Never fails.
    AbstractProperty* DoClone() const override;

    /**
     * @brief Follows the reference.
     * @return the target; null (with the debug message "Invalid Reference <name>") for an
     *         unset reference, null when an internal path no longer resolves or an external
     *         file cannot be opened.
     */
    virtual AbstractProperty* GetPropertyRef() const;

public:
    /// @brief A copy of the reference path. Never fails.
    virtual QString ReferencePath();
    /// @brief A copy of the data-file path (empty for an internal reference). Never fails.
    virtual QString ReferenceFilePath();
    /// @brief A copy of the data-file type name (empty for an internal reference). Never fails.
    virtual QString ReferenceFileType();

protected:
    /// @brief GetPropertyRef(); same failures.
    virtual const AbstractProperty* GetPropertyConstRef() const;
    /**
     * @brief Opens the data file of an external reference (creating and loading it when
     *        needed) and resolves the reference path in it.
     * @return the target, or null when the file path is empty, the file cannot be opened
     *         or the path does not resolve.
     */
    virtual AbstractProperty* ResolveExternalRef() const;

private:
    // Nothing to reset beyond the base.
    void InitNewProperty();

    QString referencePath;
    QString referenceFilePath;
    QString referenceFileType;
};

/// @}

template <class T>
const T* PropertyReference::GetConstRef() const {
    return dynamic_cast<const T*>(GetPropertyConstRef());
}

/// @brief GetPropertyConstRef() unchanged; null when the reference does not resolve.
template <>
ORRERY_EXPORT const AbstractProperty* PropertyReference::GetConstRef<AbstractProperty>() const;

/// @addtogroup property_tree
/// @{

/**
 * @brief The process-wide registry that creates empty containers from a type name.
 *
 * "PropObj" is registered when the library is loaded. Register at start-up, from one
 * thread; afterwards Create() and GetTypeList() may be called from any thread as long
 * as nobody registers at the same time.
 */
class ORRERY_EXPORT PropertyObjectFactory {
public:
    /// A function returning a new container that the caller owns.
    using Creator = PropertyObject* (*)();

    /// @brief The single instance, created on first use. Never fails.
    static PropertyObjectFactory* Instance();
    /// @brief Frees the registry. Never fails.
    ~PropertyObjectFactory();

    /**
     * @brief Registers @p creator under @p typeName (case-sensitive).
     * @return RESULT_OK; RESULT_ALREADY_EXISTS when the name is taken (the first creator
     *         stays); RESULT_INVALID_ARGUMENT for a null creator.
     */
    ERESULT RegisterType(QString typeName, Creator creator);
    /// @brief A new container of type @p typeName, owned by the caller; null when the name is
    /// unknown (or its creator returns null).
    PropertyObject* Create(const QString& typeName) const;
    /**
     * @brief Appends every registered type name to @p list (unspecified order), keeping
     *        what @p list already holds.
     * @return RESULT_OK, or RESULT_INVALID_ARGUMENT for a null @p list.
     */
    ERESULT GetTypeList(QStringList* list) const;

    /// @brief Not copyable: there is one registry per process.
    PropertyObjectFactory(const PropertyObjectFactory&) = delete;
    /// @brief Not assignable: there is one registry per process.
    PropertyObjectFactory& operator=(const PropertyObjectFactory&) = delete;

private:
    PropertyObjectFactory();

    QHash<QString, Creator> creators;
    static PropertyObjectFactory* s_pInstance;
};

/// @}

}  // namespace Orrery

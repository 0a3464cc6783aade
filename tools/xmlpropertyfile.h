// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief XmlPropertyFile, an example data-file kind that keeps a property tree in an
 *        XML document written and read through Orrery::XMLElement.
 *
 * The library holds no concrete file kinds; applications bring their own and register
 * them with DataFileFactory. This one is the kind of the `orrery` tool and of the
 * example designs. The document has one element per node:
 *
 * @code{.xml}
 * <PropertyFile format="1">
 *     <Object name="Board" type="PropObj">
 *         <Value elementType="double" name="Loss" text="0.02"></Value>
 *         <Value dims="2" elementType="string" name="Layers">
 *             <Item text="Top"></Item>
 *             <Item text="Bottom"></Item></Value>
 *         <Reference file="$(KORVANE_DIR)/designs/library.oxml" fileType="XmlPropertyFile"
 *                    name="R1" path="/Resistors/R4K7"></Reference></Object></PropertyFile>
 * @endcode
 *
 * (XMLElement writes the closing tag of an element with children right after the last
 * child's, and keeps every tag on one line; the line break above is for reading only.)
 * @endcode
 *
 * - `PropertyFile` is the file's root property; `format` is "1".
 * - `Object` is a container; `type` is its PropertyObjType(), re-created on reading through
 *   PropertyObjectFactory (so every container type of a file must be registered).
 * - `Value` is a simple property: `elementType` (null, int8, uint8, int16, uint16, int32,
 *   uint32, int64, uint64, float, double, bool, complex-float, complex-double, string,
 *   duration, timepoint) and `text` for a scalar; for an array `dims` (the extents,
 *   separated by blanks) and one `Item` child with a `text` per element. Numbers are
 *   written in the shortest form that reads back to the same value; complex numbers as
 *   "(re,im)"; durations and time points as a count of nanoseconds. `cell` holds a
 *   non-zero IsCellArray marker.
 * - `Reference` is a property reference: `path`, and for an external reference `file`
 *   and `fileType`.
 * - `flags` holds the property flags of any node whose flags differ from the default.
 *
 * A text that XML cannot carry exactly (control characters, invalid UTF-8 in a value,
 * unpaired surrogates in a name) is written base64-encoded in an attribute named with
 * the suffix ".b64": UTF-16LE for names, paths and type names, the raw bytes for the
 * text of values. Custom variant values and leaves of classes other than SimpleProperty
 * and PropertyReference cannot be stored; Save() refuses such trees.
 *
 * The file path may hold environment-variable references ("$(KORVANE_DIR)/x.oxml"),
 * expanded with Orrery::ExpandVars when the file is read or written; the path itself,
 * under which the file is listed and referred to, stays as given. A backslash in it is
 * read as a separator.
 *
 * Trees are read and written with explicit stacks, so trees of any depth are handled.
 * OnDeserialization() is called on every node read, children before their container,
 * once the whole tree is built.
 */
#pragma once

#include <orrery/datafile.h>

#include <QString>

#include <cstdint>

namespace OrreryTools {

/**
 * @brief Why the XML document in @p file cannot be read.
 * @return "<file>:<line>:<column>: malformed XML: <reason>", or the reason the file cannot
 *         be opened; "<file>: malformed XML" when the reader finds nothing wrong.
 */
QString DescribeXmlReadError(const QString& file);

/// @brief The file format's name of a variant type code ("null", "double", "string"); empty when
///        values of that code cannot be stored.
QString ElementTypeName(std::uint16_t code);

/**
 * @brief A data file holding a property tree as an XML document (see the file comment).
 */
class XmlPropertyFile : public Orrery::DataFile {
public:
    /// @brief The file-type name "XmlPropertyFile". Never fails.
    static const QString& TypeName();
    /// @brief A new file of this kind for @p path, opened read-only; the caller owns it.
    static Orrery::DataFile* Create(const QString& path);
    /**
     * @brief Registers the kind with DataFileFactory under TypeName().
     * @return the number of registered kinds afterwards. Never fails.
     */
    static int Register();

    /// @brief A file for @p path, not loaded; writable unless @p mode says otherwise.
    explicit XmlPropertyFile(const QString& path, OpenMode mode = OpenModeWritable);

    /**
     * @brief Reads the document at the (expanded) path into a new tree.
     *
     * On failure the contents stay empty, IsLoaded() stays false and ErrorString()
     * says what is wrong (the file, the line and column of malformed XML, or the node
     * path and the offending attribute).
     */
    void Load() override;
    /**
     * @brief Writes the tree to the (expanded) path.
     * @return false, with ErrorString() set, when the file is not writable, a node cannot
     *         be stored, or the file cannot be created; the file on disk is then unchanged.
     */
    bool Save() override;
    /// @brief Whether the contents were read or created. Never fails.
    bool IsLoaded() const override;
    /// @brief Whether MutableContents() was asked for since the last load or save.
    bool IsModified() const override;
    /// @brief TypeName(). Never fails.
    QString GetFileType() const override;

    /**
     * @brief The root of the tree for changing it; an empty root is created when there
     *        is none, and the file then counts as loaded. Marks the file modified.
     */
    Orrery::PropertyObject* MutableContents();
    /// @brief The reason of the last failed Load() or Save(); empty after a success.
    QString ErrorString() const;
    /// @brief The path with variable references expanded and backslashes made '/'.
    QString ExpandedPath() const;

private:
    bool loaded = false;
    bool modified = false;
    QString error;
};

}  // namespace OrreryTools

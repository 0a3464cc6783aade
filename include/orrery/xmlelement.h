// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The XML element tree, read and written through Qt's streaming XML classes.
 * @ingroup data_files
 */
#pragma once

#include <orrery/orrery_export.h>
#include <orrery/result.h>

#include <QList>
#include <QMap>
#include <QString>

class QXmlStreamReader;
class QXmlStreamWriter;

namespace Orrery {

/// @addtogroup data_files
/// @{

/**
 * @brief One XML element: name, sorted attributes, text content, a comment and
 *        an ordered list of owned child elements.
 *
 * A whole document is one root element. Copying is shallow on purpose: a copy
 * shares the source's child objects, so only one of the two may be cleared or
 * destroyed.
 *
 * Every failure of the reading and writing operations is RESULT_INVALID_ARGUMENT
 * (-4). Reading and writing work without recursion, so documents nested
 * arbitrarily deep are handled. The accessors never fail.
 *
 * Reading keeps element names, attributes (by local name) and, per element, the last
 * piece of text that is not white space only; comments, processing instructions and the
 * document type are skipped. Writing indents the document and writes every element with
 * a start and an end tag.
 */
class ORRERY_EXPORT XMLElement {
public:
    /// @brief An empty element. Never fails.
    XMLElement();
    /// @brief Shallow copy: attributes, name, content, comment and the child pointers. Never
    ///        fails.
    XMLElement(const XMLElement& other);
    /// @brief Shallow copy as the copy constructor; self-assignment changes nothing. Never
    ///        fails.
    XMLElement& operator=(const XMLElement& other);
    /// @brief Clear(), then releases the strings. Never fails.
    virtual ~XMLElement();

    /// @brief The element (tag) name. Never fails.
    QString GetName() const;
    /// @brief Replaces the name; any text is accepted. Never fails.
    void SetName(const QString& name);
    /// @brief The element's text. Never fails.
    QString GetContent() const;
    /// @brief Replaces the text. Never fails.
    void SetContent(const QString& content);
    /// @brief Replaces the comment written before the root of a document (no getter). Never
    ///        fails.
    void SetComment(const QString& comment);
    /// @brief Inserts an attribute or replaces the value of an existing one. Never fails.
    void SetAttribute(const QString& name, const QString& value);
    /// @brief Direct access to the attribute map (sorted by name). Never fails.
    QMap<QString, QString>& GetAttributes();
    /// @brief Direct access to the attribute map (sorted by name). Never fails.
    const QMap<QString, QString>& GetAttributes() const;
    /// @brief Direct access to the child list; the element owns what the pointers designate.
    ///        Never fails.
    QList<XMLElement*>& GetChildElements();
    /// @brief Direct access to the child list. Never fails.
    const QList<XMLElement*>& GetChildElements() const;
    /// @brief Appends @p child and takes ownership; no check for null or duplicates. Never
    ///        fails.
    void AddChildElement(XMLElement* child);
    /// @brief Empties attributes, children (deleted; null entries are skipped), name and
    ///        content; keeps the comment. Never fails.
    void Clear();

    /**
     * @brief Reads the document in the file at @p path into this element, after Clear().
     * @return 0; -4 when the file cannot be opened (element untouched) or the XML
     *         is malformed (what was read before the error stays in the element).
     */
    ERESULT FromXMLFile(const QString& path);
    /**
     * @brief Reads a document from @p reader, from its current position, after Clear().
     * @return 0, or -4 when the reader reports an error (the part read stays).
     */
    ERESULT FromXMLStream(QXmlStreamReader& reader);
    /**
     * @brief Writes this element as a whole document to the file at @p path.
     *
     * The text goes to a temporary file beside the target, which replaces the
     * target only once it is complete.
     * @return 0, or -4 when the file cannot be created. Errors while writing or replacing
     *         are not reported: the target then keeps its old contents.
     */
    ERESULT ToXMLFile(const QString& path) const;
    /// @brief Writes this element as a whole document to @p writer. @return 0 always; errors
    ///        of the writer's device show in the writer (QXmlStreamWriter::hasError()).
    ERESULT ToXMLStream(QXmlStreamWriter& writer) const;

private:
    ERESULT ParseElement(QXmlStreamReader& reader);
    void WriteElement(QXmlStreamWriter& writer) const;
    ERESULT ReadDocument(QXmlStreamReader& reader);
    void WriteDocument(QXmlStreamWriter& writer) const;

    QMap<QString, QString> attributes;
    QList<XMLElement*> children;
    QString name;
    QString content;
    QString comment;
};

/// @}

}  // namespace Orrery

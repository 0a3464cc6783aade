// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The XML element tree, read and written through Qt's streaming XML classes.
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
 * arbitrarily deep are handled.
 */
class ORRERY_EXPORT XMLElement {
public:
    /// @brief An empty element.
    XMLElement();
    /// @brief Shallow copy: attributes, name, content, comment and the child pointers.
    XMLElement(const XMLElement& other);
    /// @brief Shallow copy as the copy constructor; self-assignment changes nothing.
    XMLElement& operator=(const XMLElement& other);
    /// @brief Clear(), then releases the strings.
    virtual ~XMLElement();

    /// @brief The element (tag) name.
    QString GetName() const;
    /// @brief Replaces the name.
    void SetName(const QString& name);
    /// @brief The element's text.
    QString GetContent() const;
    /// @brief Replaces the text.
    void SetContent(const QString& content);
    /// @brief Replaces the comment written before the root of a document (no getter).
    void SetComment(const QString& comment);
    /// @brief Inserts an attribute or replaces the value of an existing one.
    void SetAttribute(const QString& name, const QString& value);
    /// @brief Direct access to the attribute map (sorted by name).
    QMap<QString, QString>& GetAttributes();
    /// @brief Direct access to the attribute map (sorted by name).
    const QMap<QString, QString>& GetAttributes() const;
    /// @brief Direct access to the child list; the element owns what the pointers designate.
    QList<XMLElement*>& GetChildElements();
    /// @brief Direct access to the child list.
    const QList<XMLElement*>& GetChildElements() const;
    /// @brief Appends @p child and takes ownership; no check for null or duplicates.
    void AddChildElement(XMLElement* child);
    /// @brief Empties attributes, children (deleted), name and content; keeps the comment.
    void Clear();

    /**
     * @brief Reads the document in the file at @p path into this element.
     * @return 0; -4 when the file cannot be opened (element untouched) or the XML
     *         is malformed (what was read before the error stays in the element).
     */
    ERESULT FromXMLFile(const QString& path);
    /**
     * @brief Reads a document from @p reader, from its current position.
     * @return 0, or -4 when the reader reports an error (the part read stays).
     */
    ERESULT FromXMLStream(QXmlStreamReader& reader);
    /**
     * @brief Writes this element as a whole document to the file at @p path.
     *
     * The text goes to a temporary file beside the target, which replaces the
     * target only once it is complete.
     * @return 0, or -4 when the file cannot be created.
     */
    ERESULT ToXMLFile(const QString& path) const;
    /// @brief Writes this element as a whole document to @p writer. @return 0 always.
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

}  // namespace Orrery

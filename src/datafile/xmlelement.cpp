// SPDX-License-Identifier: MIT
// XMLElement: an element tree read and written with QXmlStreamReader/Writer.
// Parsing, writing and deletion walk the tree with explicit stacks, so the
// depth of a document is limited by memory, not by the call stack.

#include <orrery/xmlelement.h>

#include <QFile>
#include <QSaveFile>
#include <QStringView>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <utility>
#include <vector>

namespace Orrery {

XMLElement::XMLElement() = default;

XMLElement::XMLElement(const XMLElement& other)
    : attributes(other.attributes),
      children(other.children),  // shallow on purpose: the copy shares the child objects
      name(other.name),
      content(other.content),
      comment(other.comment) {}

XMLElement& XMLElement::operator=(const XMLElement& other) {
    if (this != &other) {
        attributes = other.attributes;
        children = other.children;  // shallow on purpose, as the copy constructor
        name = other.name;
        content = other.content;
        comment = other.comment;
    }
    return *this;
}

XMLElement::~XMLElement() {
    Clear();
}

QString XMLElement::GetName() const {
    return name;
}

void XMLElement::SetName(const QString& newName) {
    name = newName;
}

QString XMLElement::GetContent() const {
    return content;
}

void XMLElement::SetContent(const QString& newContent) {
    content = newContent;
}

void XMLElement::SetComment(const QString& newComment) {
    comment = newComment;
}

void XMLElement::SetAttribute(const QString& attributeName, const QString& value) {
    attributes.insert(attributeName, value);
}

QMap<QString, QString>& XMLElement::GetAttributes() {
    return attributes;
}

const QMap<QString, QString>& XMLElement::GetAttributes() const {
    return attributes;
}

QList<XMLElement*>& XMLElement::GetChildElements() {
    return children;
}

const QList<XMLElement*>& XMLElement::GetChildElements() const {
    return children;
}

void XMLElement::AddChildElement(XMLElement* child) {
    children.append(child);
}

void XMLElement::Clear() {
    attributes = QMap<QString, QString>();
    // Delete the subtree without recursion: each element's own children are
    // taken over before it is deleted, so its destructor finds nothing to do.
    std::vector<XMLElement*> pending(children.begin(), children.end());
    children.clear();
    while (!pending.empty()) {
        XMLElement* element = pending.back();
        pending.pop_back();
        if (element == nullptr) {
            continue;
        }
        pending.insert(pending.end(), element->children.begin(), element->children.end());
        element->children.clear();
        delete element;
    }
    name.clear();
    content.clear();
    // The comment is deliberately kept; only the destructor releases it.
}

namespace {

// Element and attribute names repeat throughout a document. Recently seen names
// are kept so that a repeated name shares the stored string instead of
// allocating a new one.
class NameCache {
public:
    QString get(QStringView name) {
        for (const QString& known : names_) {
            if (name == known) {
                return known;
            }
        }
        QString created = name.toString();
        if (names_.size() < kCapacity) {
            names_.push_back(created);
        } else {
            names_[next_] = created;
            next_ = (next_ + 1) % kCapacity;
        }
        return created;
    }

private:
    static constexpr std::size_t kCapacity = 32;
    std::vector<QString> names_;
    std::size_t next_ = 0;
};

// White space as the XML reader knows it: space, tab, carriage return and line feed.
// The text itself is tested, since the reader's own flag is false for CDATA sections
// and for text that came from character references.
bool isWhiteSpaceOnly(QStringView text) {
    for (const QChar c : text) {
        const ushort u = c.unicode();
        if (u != ' ' && u != '\t' && u != '\r' && u != '\n') {
            return false;
        }
    }
    return true;
}

// Every attribute of the reader's list is taken by its local name, as the reader gives it.
void takeStartTag(XMLElement& element, QXmlStreamReader& reader, NameCache& names) {
    element.SetName(names.get(reader.name()));
    const QXmlStreamAttributes attributes = reader.attributes();
    for (const QXmlStreamAttribute& attribute : attributes) {
        element.SetAttribute(names.get(attribute.name()), attribute.value().toString());
    }
}

}  // namespace

ERESULT XMLElement::ParseElement(QXmlStreamReader& reader) {
    if (!reader.isStartElement()) {
        return RESULT_INVALID_ARGUMENT;
    }
    NameCache names;
    takeStartTag(*this, reader, names);
    // The elements whose end tag is still to come, innermost last.
    std::vector<XMLElement*> open{this};
    while (!open.empty()) {
        if (reader.atEnd() || reader.hasError()) {
            return RESULT_OK;
        }
        switch (reader.readNext()) {
            case QXmlStreamReader::Characters:
                if (!isWhiteSpaceOnly(reader.text())) {
                    // The last non-whitespace piece wins.
                    open.back()->content = reader.text().toString();
                }
                break;
            case QXmlStreamReader::StartElement: {
                auto* child = new XMLElement;
                open.back()->children.append(child);
                takeStartTag(*child, reader, names);
                open.push_back(child);
                break;
            }
            case QXmlStreamReader::EndElement:
                open.pop_back();
                break;
            default:
                // Comments, processing instructions, DTDs and entity references are skipped.
                break;
        }
    }
    return RESULT_OK;
}

ERESULT XMLElement::ReadDocument(QXmlStreamReader& reader) {
    ERESULT result = RESULT_OK;
    while (!reader.atEnd() && !reader.hasError()) {
        if (reader.readNext() == QXmlStreamReader::StartElement) {
            result = ParseElement(reader);
            if (result < 0) {
                return result;
            }
        }
    }
    if (reader.hasError()) {
        return RESULT_INVALID_ARGUMENT;
    }
    return result;
}

ERESULT XMLElement::FromXMLFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return RESULT_INVALID_ARGUMENT;
    }
    QXmlStreamReader reader(&file);
    Clear();
    return ReadDocument(reader);
}

ERESULT XMLElement::FromXMLStream(QXmlStreamReader& reader) {
    Clear();
    return ReadDocument(reader);
}

void XMLElement::WriteElement(QXmlStreamWriter& writer) const {
    auto writeStart = [&writer](const XMLElement& element) {
        writer.writeStartElement(element.name);
        for (auto it = element.attributes.cbegin(); it != element.attributes.cend(); ++it) {
            writer.writeAttribute(it.key(), it.value());
        }
    };
    // Each entry is an element whose start tag is written and the index of its next child.
    std::vector<std::pair<const XMLElement*, int>> open;
    writeStart(*this);
    open.emplace_back(this, 0);
    while (!open.empty()) {
        auto& [element, next] = open.back();
        if (next < element->children.size()) {
            const XMLElement* child = element->children.at(next++);
            writeStart(*child);
            open.emplace_back(child, 0);
            continue;
        }
        // Always written, also when empty: empty elements come out as "<name></name>"
        // and the content of an element with children follows its last child.
        writer.writeCharacters(element->content);
        writer.writeEndElement();
        open.pop_back();
    }
}

void XMLElement::WriteDocument(QXmlStreamWriter& writer) const {
    writer.setAutoFormatting(true);
    writer.writeStartDocument(QStringLiteral("1.0"));
    if (!comment.isEmpty()) {
        writer.writeComment(comment);
    }
    WriteElement(writer);
    writer.writeEndDocument();
}

ERESULT XMLElement::ToXMLStream(QXmlStreamWriter& writer) const {
    WriteDocument(writer);
    return RESULT_OK;
}

ERESULT XMLElement::ToXMLFile(const QString& path) const {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        return RESULT_INVALID_ARGUMENT;
    }
    QXmlStreamWriter writer(&file);
    WriteDocument(writer);
    // Write errors are deliberately not reported; a failed write leaves the old file in place.
    file.commit();
    return RESULT_OK;
}

}  // namespace Orrery

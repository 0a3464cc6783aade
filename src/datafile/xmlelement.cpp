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

#include <cstddef>
#include <cstring>
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
    // Delete the subtree without recursion: each element's own children are taken over
    // before it is deleted, so its destructor finds nothing to do. The lists are taken
    // whole and emptied from their ends (each child before its own children, the last
    // child first), so no list of the whole tree is ever built.
    std::vector<QList<XMLElement*>> lists;
    if (!children.isEmpty()) {
        lists.push_back(std::exchange(children, QList<XMLElement*>()));
    }
    while (!lists.empty()) {
        if (lists.back().isEmpty()) {
            lists.pop_back();
            continue;
        }
        XMLElement* element = lists.back().takeLast();
        if (element == nullptr) {
            continue;
        }
        QList<XMLElement*> grandchildren = std::exchange(element->children, QList<XMLElement*>());
        delete element;
        if (!grandchildren.isEmpty()) {
            lists.push_back(std::move(grandchildren));
        }
    }
    name.clear();
    content.clear();
    // The comment is deliberately kept; only the destructor releases it.
}

namespace {

// A string of its own holding just `text`. Qt 5's QStringRef::toString() hands out the
// reader's whole buffer when the text spans it, which keeps hundreds of bytes of
// capacity alive for a few characters of element text.
QString exactCopy(QStringView text) {
    return text.toString();
}

// A hash of the length and of five characters at fixed places: cheap, and enough to tell
// apart the names and short values of a document, which mostly differ at their ends.
uint textHash(QStringView text) {
    const qsizetype size = text.size();
    uint h = uint(size) * 0x9e3779b1u;
    if (size == 0) {
        return h;
    }
    const auto at = [text](qsizetype i) { return uint(text[i].unicode()); };
    h = (h ^ at(0)) * 31u;
    h = (h ^ at(size - 1)) * 31u;
    h = (h ^ at(size / 2)) * 31u;
    if (size > 2) {
        h = (h ^ at(1)) * 31u;
        h = (h ^ at(size - 2)) * 31u;
    }
    return h ^ (h >> 11);
}

bool sameText(const QString& known, QStringView text) {
    return known.size() == text.size() &&
           std::memcmp(known.constData(), text.data(), std::size_t(text.size()) * 2) == 0;
}

// Element and attribute names, and many attribute values (units, kinds, flags), repeat
// throughout a document. The strings read last are kept in a small table by the hash of
// their text, so that a repeated one shares the stored string instead of allocating a
// new one; a slot holds the last string that hashed to it.
template <int kSlots>
class StringCache {
    static_assert((kSlots & (kSlots - 1)) == 0, "a power of two");

public:
    // Non-empty texts only: an empty one has no storage to share. The reference holds until
    // the next call.
    const QString& get(QStringView text) {
        QString& slot = slots_[textHash(text) & (kSlots - 1)];
        if (!sameText(slot, text)) {
            slot = text.toString();
        }
        return slot;
    }

private:
    QString slots_[kSlots];
};

// Values longer than this are rarely repeated and are not looked up.
constexpr int kMaxSharedValue = 32;

// Whole attribute sets repeat too: an element whose attributes have the texts of those of
// an element read shortly before, in the same order, shares that element's map (maps are
// copied on write) instead of allocating a map and a node per attribute. The sets are kept
// by a hash of their texts; a slot holds the last set that hashed to it.
class AttributeSetCache {
public:
    // The map that inserting `attributes` one by one in their order would make.
    const QMap<QString, QString>& read(const QXmlStreamAttributes& attributes,
                                       StringCache<64>& names, StringCache<256>& values) {
        uint hash = uint(attributes.size());
        for (const QXmlStreamAttribute& attribute : attributes) {
            hash = (hash * 1000003u) ^ textHash(attribute.name());
            hash = (hash * 1000003u) ^ textHash(attribute.value());
        }
        Entry& entry = entries_[(hash ^ (hash >> 15)) & (kSlots - 1)];
        if (entry.hash != hash || !entry.holds(attributes)) {
            entry.hash = hash;
            entry.read.clear();
            QMap<QString, QString> map;
            for (const QXmlStreamAttribute& attribute : attributes) {
                const auto value = attribute.value();
                entry.read.push_back(Attribute{names.get(attribute.name()),
                                               value.isEmpty() || value.size() > kMaxSharedValue
                                                   ? exactCopy(value)
                                                   : values.get(value)});
                map.insert(entry.read.back().name, entry.read.back().value);
            }
            entry.map = map;
        }
        return entry.map;
    }

private:
    struct Attribute {
        QString name;
        QString value;
    };
    struct Entry {
        uint hash = 0;
        // The attributes in reading order.
        std::vector<Attribute> read;
        QMap<QString, QString> map;

        bool holds(const QXmlStreamAttributes& attributes) const {
            if (read.size() != std::size_t(attributes.size())) {
                return false;
            }
            auto it = read.cbegin();
            for (const QXmlStreamAttribute& attribute : attributes) {
                if (!sameText(it->name, attribute.name()) ||
                    !sameText(it->value, attribute.value())) {
                    return false;
                }
                ++it;
            }
            return true;
        }
    };
    static constexpr int kSlots = 64;

    Entry entries_[kSlots];
};

struct ReadStrings {
    StringCache<64> names;
    StringCache<256> values;
    AttributeSetCache attributeSets;
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
// An element read into again (the siblings that follow a stream reader's position) keeps
// the attributes it had that the new start tag does not set.
void takeStartTag(XMLElement& element, QXmlStreamReader& reader, ReadStrings& strings) {
    element.SetName(strings.names.get(reader.name()));
    const QXmlStreamAttributes attributes = reader.attributes();
    if (attributes.isEmpty()) {
        return;
    }
    const QMap<QString, QString>& read =
        strings.attributeSets.read(attributes, strings.names, strings.values);
    QMap<QString, QString>& target = element.GetAttributes();
    if (target.isEmpty()) {
        target = read;
        return;
    }
    for (auto it = read.cbegin(); it != read.cend(); ++it) {
        target.insert(it.key(), it.value());
    }
}

}  // namespace

ERESULT XMLElement::ParseElement(QXmlStreamReader& reader) {
    if (!reader.isStartElement()) {
        return RESULT_INVALID_ARGUMENT;
    }
    ReadStrings strings;
    takeStartTag(*this, reader, strings);
    // The children of the open elements are collected in one buffer, each element's after
    // those of its ancestors, and go into its child list in one allocation when its end
    // tag comes (or the reading stops), instead of growing every list step by step.
    struct Open {
        XMLElement* element;
        std::size_t firstChild;
    };
    std::vector<XMLElement*> pendingChildren;
    // The elements whose end tag is still to come, innermost last.
    std::vector<Open> open{{this, 0}};
    const auto close = [&pendingChildren, &open] {
        const Open& innermost = open.back();
        QList<XMLElement*>& list = innermost.element->children;
        const auto first = pendingChildren.cbegin() + std::ptrdiff_t(innermost.firstChild);
        list.reserve(list.size() + int(pendingChildren.cend() - first));
        for (auto it = first; it != pendingChildren.cend(); ++it) {
            list.append(*it);
        }
        pendingChildren.resize(innermost.firstChild);
        open.pop_back();
    };
    // What was read stays in the tree, also when the reading stops early or runs out of
    // memory (then the tree frees it).
    const auto closeAll = [&open, &close] {
        while (!open.empty()) {
            close();
        }
    };
    try {
        while (!open.empty() && !reader.atEnd() && !reader.hasError()) {
            switch (reader.readNext()) {
                case QXmlStreamReader::Characters:
                    if (!isWhiteSpaceOnly(reader.text())) {
                        // The last non-whitespace piece wins.
                        open.back().element->content = exactCopy(reader.text());
                    }
                    break;
                case QXmlStreamReader::StartElement: {
                    auto* child = new XMLElement;
                    pendingChildren.push_back(child);
                    takeStartTag(*child, reader, strings);
                    open.push_back(Open{child, pendingChildren.size()});
                    break;
                }
                case QXmlStreamReader::EndElement:
                    close();
                    break;
                default:
                    // Comments, processing instructions, DTDs and entity references are
                    // skipped.
                    break;
            }
        }
    } catch (...) {
        closeAll();
        throw;
    }
    closeAll();
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

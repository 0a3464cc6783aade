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

#include <algorithm>
#include <cstddef>
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

// A string of its own holding just `text`. Qt 5's QStringRef::toString() hands out the
// reader's whole buffer when the text spans it, which keeps hundreds of bytes of
// capacity alive for a few characters of element text.
QString exactCopy(QStringView text) {
    return text.toString();
}

// Element and attribute names, and many attribute values (units, kinds, flags), repeat
// throughout a document. The strings read last are kept in a small table by a hash of
// their text, so that a repeated one shares the stored string instead of allocating a
// new one; a slot holds the last string that hashed to it.
template <int kSlots>
class StringCache {
    static_assert((kSlots & (kSlots - 1)) == 0, "a power of two");

public:
    // Non-empty texts only: an empty one has no storage to share.
    QString get(QStringView text) {
        QString& slot = slots_[hashOf(text) & (kSlots - 1)];
        if (!equals(slot, text)) {
            slot = text.toString();
        }
        return slot;
    }

private:
    static uint hashOf(QStringView text) {
        uint h = uint(text.size());
        for (const QChar c : text) {
            h = h * 31u + c.unicode();
        }
        return h ^ (h >> 9);
    }

    static bool equals(const QString& known, QStringView text) {
        return known.size() == text.size() &&
               std::equal(text.begin(), text.end(), known.constData());
    }

    QString slots_[kSlots];
};

// Values longer than this are rarely repeated and are not looked up.
constexpr int kMaxSharedValue = 32;

// Whole attribute sets repeat too: an element whose attributes equal those of an element
// read shortly before shares that element's map (maps are copied on write), instead of
// allocating a map and a node per attribute. The sets are kept by a hash of their strings'
// addresses: repeated names and values are mostly the same strings (above), and a set made
// of other strings with the same text only misses the sharing.
class AttributeSetCache {
public:
    // Fills the empty map `target` as inserting `attributes` one by one in their order would.
    void read(QMap<QString, QString>& target, const QXmlStreamAttributes& attributes,
              StringCache<64>& names, StringCache<256>& values) {
        read_.clear();
        for (const QXmlStreamAttribute& attribute : attributes) {
            const auto value = attribute.value();
            read_.push_back(Attribute{names.get(attribute.name()),
                                      value.isEmpty() || value.size() > kMaxSharedValue
                                          ? exactCopy(value)
                                          : values.get(value)});
        }
        if (read_.empty()) {
            return;
        }
        sortByName();
        quintptr hash = read_.size();
        for (const Attribute& attribute : read_) {
            hash = (hash * 1000003u) ^ quintptr(attribute.name.constData());
            hash = (hash * 1000003u) ^ quintptr(attribute.value.constData());
        }
        Entry& entry = entries_[(hash ^ (hash >> 17) ^ (hash >> 31)) & (kSlots - 1)];
        if (entry.hash != hash || !sameAsRead(entry.map)) {
            QMap<QString, QString> map;
            for (const Attribute& attribute : read_) {
                map.insert(map.cend(), attribute.name, attribute.value);
            }
            entry.hash = hash;
            entry.map = map;
        }
        target = entry.map;
    }

private:
    struct Attribute {
        QString name;
        QString value;
    };
    struct Entry {
        quintptr hash = 0;
        QMap<QString, QString> map;
    };
    static constexpr int kSlots = 64;

    // Sorts by name, keeping the reading order among equal names, then keeps one attribute
    // per name with the value read last, as the map's insert() would.
    void sortByName() {
        for (std::size_t i = 1; i < read_.size(); ++i) {
            Attribute moving = std::move(read_[i]);
            std::size_t j = i;
            for (; j > 0 && moving.name < read_[j - 1].name; --j) {
                read_[j] = std::move(read_[j - 1]);
            }
            read_[j] = std::move(moving);
        }
        std::size_t kept = 0;
        for (std::size_t i = 0; i < read_.size(); ++i) {
            if (kept > 0 && read_[kept - 1].name == read_[i].name) {
                read_[kept - 1].value = read_[i].value;
            } else {
                if (kept != i) {
                    read_[kept] = std::move(read_[i]);
                }
                ++kept;
            }
        }
        read_.resize(kept);
    }

    bool sameAsRead(const QMap<QString, QString>& map) const {
        if (std::size_t(map.size()) != read_.size()) {
            return false;
        }
        auto it = map.cbegin();
        for (const Attribute& attribute : read_) {
            if (!same(it.key(), attribute.name) || !same(it.value(), attribute.value)) {
                return false;
            }
            ++it;
        }
        return true;
    }

    static bool same(const QString& a, const QString& b) { return a.isSharedWith(b) || a == b; }

    std::vector<Attribute> read_;
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
void takeStartTag(XMLElement& element, QXmlStreamReader& reader, ReadStrings& strings) {
    element.SetName(strings.names.get(reader.name()));
    const QXmlStreamAttributes attributes = reader.attributes();
    if (element.GetAttributes().isEmpty()) {
        strings.attributeSets.read(element.GetAttributes(), attributes, strings.names,
                                   strings.values);
        return;
    }
    for (const QXmlStreamAttribute& attribute : attributes) {
        element.SetAttribute(strings.names.get(attribute.name()), exactCopy(attribute.value()));
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
        // Out of memory: what was read goes into the tree, which frees it.
        while (!open.empty()) {
            close();
        }
        throw;
    }
    // When the reading stopped early, what was read so far stays in the tree.
    while (!open.empty()) {
        close();
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

// SPDX-License-Identifier: MIT
// XMLElement::FromXMLStream on arbitrary bytes. Invariants: a failed read reports -4 with
// the reader in error; a document that reads is written with ToXMLStream and reads back to
// the same tree (names, attributes, contents and children, up to the line-end
// normalisation of every XML reader and the skipping of white space); from the first
// rewrite on, reading and writing gives the same bytes; Clear() leaves an empty element.
// The round trip is checked for documents whose attribute names are XML names and whose
// texts are made of XML characters: the reader accepts other attribute names, kept as read,
// and a document in a codec such as UTF-7 can decode to lone surrogates; written back,
// neither need make a document that reads.

#include <orrery/xmlelement.h>

#include "../fuzz_check.h"

#include <QBuffer>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <utility>
#include <vector>

namespace {

using Orrery::XMLElement;

// What a written content reads back as. Line ends are normalised by every XML reader: a
// carriage return that the writer puts out raw in character data comes back as a line
// feed. A content of white space only (which the reader gives as such only when it came
// from character references) is skipped on reading, like all white space between elements.
QString readBackContent(const QString& content) {
    QString text = content;
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    for (const QChar c : qAsConst(text)) {
        if (c != QLatin1Char(' ') && c != QLatin1Char('\t') && c != QLatin1Char('\n')) {
            return text;
        }
    }
    return QString();
}

bool isNameStartChar(uint c) {
    return c == '_' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           (c >= 0xC0 && c <= 0xD6) || (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) ||
           (c >= 0x370 && c <= 0x37D) || (c >= 0x37F && c <= 0x1FFF) ||
           (c >= 0x200C && c <= 0x200D) || (c >= 0x2070 && c <= 0x218F) ||
           (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xD7FF) ||
           (c >= 0xF900 && c <= 0xFDCF) || (c >= 0xFDF0 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0xEFFFF);
}

bool isNameChar(uint c) {
    return isNameStartChar(c) || c == '-' || c == '.' || (c >= '0' && c <= '9') || c == 0xB7 ||
           (c >= 0x300 && c <= 0x36F) || (c >= 0x203F && c <= 0x2040);
}

// Whether @p name is an XML name without a colon. Walks the UTF-16 units: a surrogate pair
// is one character, a lone surrogate is none.
bool isLocalName(const QString& name) {
    if (name.isEmpty()) {
        return false;
    }
    for (int i = 0; i < name.size(); ++i) {
        const bool first = i == 0;
        uint c = name.at(i).unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < name.size() && name.at(i + 1).isLowSurrogate()) {
            c = QChar::surrogateToUcs4(name.at(i), name.at(i + 1));
            ++i;
        }
        if (!(first ? isNameStartChar(c) : isNameChar(c))) {
            return false;
        }
    }
    return true;
}

// Whether @p text is made of XML characters, surrogates only in pairs.
bool isXmlText(const QString& text) {
    for (int i = 0; i < text.size(); ++i) {
        const ushort c = text.at(i).unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            ++i;
        } else if (QChar::isSurrogate(c) || (c < 0x20 && c != 0x9 && c != 0xA && c != 0xD) ||
                   c == 0xFFFE || c == 0xFFFF) {
            return false;
        }
    }
    return true;
}

bool writesAsReadableXml(const XMLElement& root) {
    std::vector<const XMLElement*> pending{&root};
    while (!pending.empty()) {
        const XMLElement* element = pending.back();
        pending.pop_back();
        if (!isXmlText(element->GetName()) || !isXmlText(element->GetContent())) {
            return false;
        }
        const QMap<QString, QString>& attributes = element->GetAttributes();
        for (auto it = attributes.cbegin(); it != attributes.cend(); ++it) {
            // An attribute named "xmlns" (read from a prefixed one such as p:xmlns) is
            // written as xmlns="...", which every reader takes for a namespace declaration.
            if (!isLocalName(it.key()) || it.key() == QLatin1String("xmlns") ||
                !isXmlText(it.value())) {
                return false;
            }
        }
        for (const XMLElement* child : element->GetChildElements()) {
            pending.push_back(child);
        }
    }
    return true;
}

void checkSameTree(const XMLElement& original, const XMLElement& reread) {
    std::vector<std::pair<const XMLElement*, const XMLElement*>> pending{{&original, &reread}};
    while (!pending.empty()) {
        const auto [a, b] = pending.back();
        pending.pop_back();
        FUZZ_CHECK_EQ(b->GetName(), a->GetName());
        FUZZ_CHECK(b->GetAttributes() == a->GetAttributes());
        FUZZ_CHECK_EQ(b->GetContent(), readBackContent(a->GetContent()));
        FUZZ_CHECK(b->GetChildElements().size() == a->GetChildElements().size());
        for (int i = 0; i < a->GetChildElements().size(); ++i) {
            pending.emplace_back(a->GetChildElements().at(i), b->GetChildElements().at(i));
        }
    }
}

QByteArray write(const XMLElement& element) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter writer(&buffer);
    FUZZ_CHECK(element.ToXMLStream(writer) == Orrery::RESULT_OK);
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QXmlStreamReader reader(input);
    XMLElement root;
    const Orrery::ERESULT result = root.FromXMLStream(reader);
    FUZZ_CHECK(result == Orrery::RESULT_OK || result == Orrery::RESULT_INVALID_ARGUMENT);
    FUZZ_CHECK((result == Orrery::RESULT_INVALID_ARGUMENT) == reader.hasError());
    if (result != Orrery::RESULT_OK) {
        root.Clear();
        FUZZ_CHECK(root.GetName().isEmpty() && root.GetChildElements().isEmpty() &&
                   root.GetAttributes().isEmpty() && root.GetContent().isEmpty());
        return 0;
    }
    if (root.GetName().isEmpty()) {
        // A document without any element (such as an empty input) leaves the element empty.
        FUZZ_CHECK(root.GetChildElements().isEmpty() && root.GetAttributes().isEmpty());
        return 0;
    }
    if (!writesAsReadableXml(root)) {
        return 0;
    }

    const QByteArray written = write(root);
    XMLElement reread;
    QXmlStreamReader rereader(written);
    FUZZ_CHECK(reread.FromXMLStream(rereader) == Orrery::RESULT_OK);
    checkSameTree(root, reread);
    // From the first rewrite on, reading and writing is a fixed point.
    const QByteArray rewritten = write(reread);
    XMLElement third;
    QXmlStreamReader thirdReader(rewritten);
    FUZZ_CHECK(third.FromXMLStream(thirdReader) == Orrery::RESULT_OK);
    FUZZ_CHECK(write(third) == rewritten);
    return 0;
}

// SPDX-License-Identifier: MIT
// Reads and writes INI files byte for byte as Qt 5's QSettings::IniFormat does without a
// text codec, so that the Qt 6 build keeps the stores in the layout the Qt 5 build reads.
#include "inifile_p.h"

#include <QByteArray>
#include <QChar>
#include <QDataStream>
#include <QIODevice>
#include <QMap>
#include <QMetaType>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstring>
#include <limits>
#include <utility>

namespace Orrery {

namespace {

#ifdef Q_OS_WIN
// On Windows Qt's INI format compares keys without regard to case and ends lines with CR LF.
constexpr Qt::CaseSensitivity kKeyCase = Qt::CaseInsensitive;
constexpr char kEndOfLine[] = "\r\n";
#else
constexpr Qt::CaseSensitivity kKeyCase = Qt::CaseSensitive;
constexpr char kEndOfLine[] = "\n";
#endif

constexpr char kUpperHexDigits[] = "0123456789ABCDEF";
constexpr char kLowerHexDigits[] = "0123456789abcdef";

// The UTF-8 byte-order mark, which makes the whole file UTF-8.
constexpr char kUtf8Bom[] = "\xEF\xBB\xBF";

// ---------------------------------------------------------------------------------------
// Characters

// White space as the C locale's isspace() knows it.
bool isAsciiSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// The white space that separates INI lines and precedes a line's first character.
bool isLineSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isLineBreak(char c) {
    return c == '\n' || c == '\r';
}

// The blanks around values and list items, and after keys.
bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

int hexDigitValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    return (c >= 'a' ? c - 'a' : c - 'A') + 10;
}

bool isOctalDigit(char c) {
    return c >= '0' && c <= '7';
}

char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsIgnoringAsciiCase(const QByteArray& bytes, const char* word) {
    int i = 0;
    for (; i < bytes.size() && word[i] != '\0'; ++i) {
        if (asciiLower(bytes[i]) != word[i]) {
            return false;
        }
    }
    return i == bytes.size() && word[i] == '\0';
}

QByteArray trimmedAscii(const QByteArray& bytes) {
    int begin = 0;
    int end = bytes.size();
    while (begin < end && isAsciiSpace(bytes[begin])) {
        ++begin;
    }
    while (end > begin && isAsciiSpace(bytes[end - 1])) {
        --end;
    }
    return bytes.mid(begin, end - begin);
}

// Latin-1 bytes of @p text, '?' for each UTF-16 unit beyond U+00FF.
QByteArray toLatin1(const QString& text) {
    QByteArray bytes;
    bytes.reserve(text.size());
    for (const QChar c : text) {
        bytes += c.unicode() <= 0xFF ? static_cast<char>(c.unicode()) : '?';
    }
    return bytes;
}

// Every byte of @p bytes as Latin-1, NUL bytes included.
QString fromLatin1(const QByteArray& bytes) {
    return QString(QLatin1String(bytes.constData(), bytes.size()));
}

// The folded form under which keys and sections count as the same.
QString keyIdentity(const QString& key) {
    return kKeyCase == Qt::CaseInsensitive ? key.toLower() : key;
}

// ---------------------------------------------------------------------------------------
// Numbers as Qt 5 parses them

// Reads @p count bytes as QByteArray::toInt(ok, 16) does in Qt 5: up to the first NUL, with
// ASCII white space around the number, an optional sign and an optional "0x" prefix before
// a hex digit.
bool parseHexField(const char* bytes, int count, int& value) {
    int end = 0;
    while (end < count && bytes[end] != '\0') {
        ++end;
    }
    int i = 0;
    while (i < end && isAsciiSpace(bytes[i])) {
        ++i;
    }
    bool negative = false;
    if (i < end && (bytes[i] == '+' || bytes[i] == '-')) {
        negative = bytes[i] == '-';
        ++i;
    }
    if (i + 2 < end && bytes[i] == '0' && (bytes[i + 1] == 'x' || bytes[i + 1] == 'X') &&
        isHexDigit(bytes[i + 2])) {
        i += 2;
    }
    const int digitsStart = i;
    int magnitude = 0;
    while (i < end && isHexDigit(bytes[i])) {
        magnitude = magnitude * 16 + hexDigitValue(bytes[i]);
        ++i;
    }
    if (i == digitsStart) {
        return false;
    }
    while (i < end && isAsciiSpace(bytes[i])) {
        ++i;
    }
    if (i != end) {
        return false;
    }
    value = negative ? -magnitude : magnitude;
    return true;
}

// QString::toInt() of Qt 5 in base 10: Unicode white space around the number, one sign
// ('+', '-' or U+2212 MINUS SIGN), ASCII digits; 0 when malformed or beyond int.
int toIntAsQt5(const QString& text) {
    int begin = 0;
    int end = text.size();
    while (begin < end && text[begin].isSpace()) {
        ++begin;
    }
    while (end > begin && text[end - 1].isSpace()) {
        --end;
    }
    bool negative = false;
    if (begin < end) {
        const char16_t sign = text[begin].unicode();
        if (sign == u'+' || sign == u'-' || sign == u'\u2212') {
            negative = sign != u'+';
            ++begin;
        }
    }
    if (begin == end) {
        return 0;
    }
    qint64 magnitude = 0;
    for (int i = begin; i < end; ++i) {
        const char16_t c = text[i].unicode();
        if (c < u'0' || c > u'9') {
            return 0;
        }
        magnitude = magnitude * 10 + (c - u'0');
        if (magnitude > qint64(std::numeric_limits<int>::max()) + 1) {
            return 0;
        }
    }
    const qint64 value = negative ? -magnitude : magnitude;
    if (value > std::numeric_limits<int>::max()) {
        return 0;
    }
    return static_cast<int>(value);
}

// ---------------------------------------------------------------------------------------
// Text decoding of values

// Appends @p count bytes taken as Latin-1, as Qt 5 reads a file without byte-order mark.
void appendLatin1(const char* bytes, int count, QString& out) {
    out += QLatin1String(bytes, count);
}

bool isContinuationByte(uchar byte) {
    return (byte & 0xC0) == 0x80;
}

// Decodes the UTF-8 sequence whose lead byte is bytes[pos]. Returns its length, 0 when it is
// malformed (the lead byte alone is then rejected) or -1 when the run ends inside it.
int decodeUtf8Sequence(const uchar* bytes, int pos, int end, char32_t& codePoint) {
    const uchar lead = bytes[pos];
    if (lead < 0x80) {
        codePoint = lead;
        return 1;
    }
    int length = 0;
    char32_t smallest = 0;
    if (lead < 0xC2) {
        return 0;  // a continuation byte, or the lead of an overlong form
    } else if (lead < 0xE0) {
        length = 2;
        smallest = 0x80;
        codePoint = lead & 0x1F;
    } else if (lead < 0xF0) {
        length = 3;
        smallest = 0x800;
        codePoint = lead & 0x0F;
    } else if (lead < 0xF5) {
        length = 4;
        smallest = 0x10000;
        codePoint = lead & 0x07;
    } else {
        return 0;
    }
    const int available = end - pos - 1;
    if (available < length - 1) {
        for (int k = 1; k <= available; ++k) {
            if (!isContinuationByte(bytes[pos + k])) {
                return 0;
            }
        }
        return -1;
    }
    for (int k = 1; k < length; ++k) {
        if (!isContinuationByte(bytes[pos + k])) {
            return 0;
        }
        codePoint = (codePoint << 6) | (bytes[pos + k] & 0x3F);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < smallest || surrogate || codePoint > 0x10FFFF) {
        return 0;
    }
    return length;
}

// Appends @p count bytes decoded as Qt 5's UTF-8 codec decodes a run handed to it alone:
// U+FFFD for each rejected lead byte and for each byte of a sequence cut short by the end,
// and no character for a byte-order mark that opens the run.
void appendUtf8AsQt5(const char* data, int count, QString& out) {
    const auto* bytes = reinterpret_cast<const uchar*>(data);
    int pos = count >= 3 && std::memcmp(data, kUtf8Bom, 3) == 0 ? 3 : 0;
    while (pos < count) {
        char32_t codePoint = 0;
        const int length = decodeUtf8Sequence(bytes, pos, count, codePoint);
        if (length < 0) {
            out += QString(count - pos, QChar(QChar::ReplacementCharacter));
            return;
        }
        if (length == 0) {
            out += QChar(QChar::ReplacementCharacter);
            ++pos;
            continue;
        }
        if (codePoint > 0xFFFF) {
            out += QChar(QChar::highSurrogate(codePoint));
            out += QChar(QChar::lowSurrogate(codePoint));
        } else {
            out += QChar(static_cast<char16_t>(codePoint));
        }
        pos += length;
    }
}

using TextDecoder = void (*)(const char* bytes, int count, QString& out);

// ---------------------------------------------------------------------------------------
// Lines and sections

// A logical line of INI text: where its first character is, its length, and where its first
// '=' outside quotes is (-1 when it has none).
struct IniLine {
    int start = 0;
    int length = 0;
    int equals = -1;
};

// Reads the logical line at @p pos and moves @p pos to its end. White space and comment
// lines before it are skipped. The line ends at a line break or a ';' outside quotes; a
// backslash takes the next character (a line break too) into the line. Returns false when
// the data holds no further line.
bool readLine(const QByteArray& data, int& pos, IniLine& line) {
    const int size = data.size();
    bool inQuotes = false;
    line.equals = -1;
    line.start = pos;
    while (line.start < size && isLineSpace(data[line.start])) {
        ++line.start;
    }
    int i = line.start;
    bool ended = false;
    while (i < size && !ended) {
        const char c = data[i++];
        if (c == '=') {
            if (!inQuotes && line.equals == -1) {
                line.equals = i - 1;
            }
        } else if (isLineBreak(c)) {
            if (i == line.start + 1) {
                ++line.start;
            } else if (!inQuotes) {
                --i;
                ended = true;
            }
        } else if (c == '\\') {
            if (i < size) {
                const char escaped = data[i++];
                // CR LF and LF CR count as one line break.
                if (i < size && isLineBreak(escaped) && isLineBreak(data[i]) &&
                    data[i] != escaped) {
                    ++i;
                }
            }
        } else if (c == '"') {
            inQuotes = !inQuotes;
        } else if (c == ';') {
            if (i == line.start + 1) {
                // A comment line: the line starts again after it.
                while (i < size && !isLineBreak(data[i])) {
                    ++i;
                }
                while (i < size && isLineSpace(data[i])) {
                    ++i;
                }
                line.start = i;
            } else if (!inQuotes) {
                --i;
                ended = true;
            }
        }
    }
    pos = i;
    line.length = i - line.start;
    return line.length > 0;
}

// Appends the key in data[from, to) with its escapes resolved: '\' stands for '/', %XX and
// %UXXXX for the character of that code; a '%' that starts no valid escape stays as it is.
void appendUnescapedKey(const QByteArray& data, int from, int to, QString& out) {
    int i = from;
    while (i < to) {
        const char c = data[i];
        if (c == '\\') {
            out += QLatin1Char('/');
            ++i;
            continue;
        }
        if (c != '%' || i == to - 1) {
            out += QLatin1Char(c);
            ++i;
            continue;
        }
        const bool wide = data[i + 1] == 'U';
        const int digitsStart = wide ? i + 2 : i + 1;
        const int digitCount = wide ? 4 : 2;
        int code = 0;
        if (digitsStart + digitCount > to ||
            !parseHexField(data.constData() + digitsStart, digitCount, code)) {
            out += QLatin1Char('%');
            ++i;
            continue;
        }
        out += QChar(static_cast<char16_t>(code));
        i = digitsStart + digitCount;
    }
}

// The group named by the section header @p line, followed by '/', or empty for the top
// level ("[General]" in any case). "[%General]" names a group really called General.
// @p closed tells whether the header had its ']'; without one the rest of the line is
// the name.
QString sectionOfHeader(const QByteArray& data, const IniLine& line, bool& closed) {
    const int lineEnd = line.start + line.length;
    const int close = data.indexOf(']', line.start);
    closed = close != -1 && close < lineEnd;
    const int nameEnd = closed ? close : lineEnd;
    const QByteArray name = trimmedAscii(data.mid(line.start + 1, nameEnd - line.start - 1));
    if (equalsIgnoringAsciiCase(name, "general")) {
        return QString();
    }
    QString section;
    if (equalsIgnoringAsciiCase(name, "%general")) {
        section = fromLatin1(name.mid(1));
    } else {
        appendUnescapedKey(name, 0, name.size(), section);
    }
    section += QLatin1Char('/');
    return section;
}

// The text of all sections of one name; a name that recurs continues its first section.
struct SectionText {
    QString name;
    QByteArray text;
};

using SectionTexts = QMap<QString, SectionText>;

void addSectionText(SectionTexts& sections, const QString& name, const QByteArray& text) {
    auto it = sections.find(keyIdentity(name));
    if (it == sections.end()) {
        it = sections.insert(keyIdentity(name), SectionText{name, QByteArray()});
    } else if (!it->text.isEmpty()) {
        it->text += '\n';
    }
    it->text += text;
}

// Splits @p data into its sections. The top-level section also holds the text before the
// first header, the byte-order mark included. Returns false when a header lacks its ']'.
bool splitSections(const QByteArray& data, SectionTexts& sections) {
    bool ok = true;
    QString current;
    int currentStart = 0;
    int pos = data.startsWith(kUtf8Bom) ? 3 : 0;
    IniLine line;
    while (readLine(data, pos, line)) {
        if (data[line.start] != '[') {
            continue;
        }
        addSectionText(sections, current, data.mid(currentStart, line.start - currentStart));
        bool closed = true;
        current = sectionOfHeader(data, line, closed);
        ok = ok && closed;
        currentStart = pos;
    }
    addSectionText(sections, current, data.mid(currentStart));
    return ok;
}

// ---------------------------------------------------------------------------------------
// Values

// Removes the blanks at the end of @p text that lie at or after @p limit.
void chopTrailingBlanks(QString& text, int limit) {
    int end = text.size();
    while (end > limit &&
           (text[end - 1] == QLatin1Char(' ') || text[end - 1] == QLatin1Char('\t'))) {
        --end;
    }
    text.truncate(end);
}

int skipBlanks(const QByteArray& data, int pos, int end) {
    while (pos < end && isBlank(data[pos])) {
        ++pos;
    }
    return pos;
}

// Resolves the backslash escape whose letter is at data[pos], appends its character to
// @p out and returns the position after it. An unknown letter stands for nothing; a line
// break after the backslash continues the value on the next line. Octal and hex escapes
// take every digit that follows and keep the low 16 bits.
int appendEscape(const QByteArray& data, int pos, int end, QString& out) {
    if (pos >= end) {
        return pos;
    }
    const char letter = data[pos++];
    switch (letter) {
        case 'a':
            out += QLatin1Char('\a');
            return pos;
        case 'b':
            out += QLatin1Char('\b');
            return pos;
        case 'f':
            out += QLatin1Char('\f');
            return pos;
        case 'n':
            out += QLatin1Char('\n');
            return pos;
        case 'r':
            out += QLatin1Char('\r');
            return pos;
        case 't':
            out += QLatin1Char('\t');
            return pos;
        case 'v':
            out += QLatin1Char('\v');
            return pos;
        case '"':
        case '?':
        case '\'':
        case '\\':
            out += QLatin1Char(letter);
            return pos;
        default:
            break;
    }
    if (letter == 'x') {
        if (pos < end && isHexDigit(data[pos])) {
            char16_t code = 0;
            while (pos < end && isHexDigit(data[pos])) {
                code = static_cast<char16_t>((code << 4) + hexDigitValue(data[pos++]));
            }
            out += QChar(code);
        }
    } else if (isOctalDigit(letter)) {
        char16_t code = static_cast<char16_t>(letter - '0');
        while (pos < end && isOctalDigit(data[pos])) {
            code = static_cast<char16_t>((code << 3) + (data[pos++] - '0'));
        }
        out += QChar(code);
    } else if (isLineBreak(letter)) {
        if (pos < end && isLineBreak(data[pos]) && data[pos] != letter) {
            ++pos;
        }
    }
    return pos;
}

// The text of a value before its @-forms are resolved: one string, or a list when the value
// has a ',' outside quotes.
struct ValueText {
    QString text;
    QStringList items;
    bool isList = false;
};

// Reads the value in data[from, to): blanks around it and around list items are dropped
// unless quoted, quotes group text that holds ',' or ';', and backslash escapes are
// resolved. The plain runs between them are decoded by @p decode.
ValueText readValueText(const QByteArray& data, int from, int to, TextDecoder decode) {
    ValueText value;
    QString& current = value.text;
    bool inQuotes = false;
    bool currentQuoted = false;
    // Only blanks after this position are chopped from the end: escapes and quotes keep theirs.
    int chopLimit = 0;
    int i = skipBlanks(data, from, to);
    while (i < to) {
        const char c = data[i];
        if (c == '\\') {
            i = appendEscape(data, i + 1, to, current);
            chopLimit = current.size();
        } else if (c == '"') {
            ++i;
            currentQuoted = true;
            inQuotes = !inQuotes;
            if (!inQuotes) {
                i = skipBlanks(data, i, to);
                chopLimit = current.size();
            }
        } else if (c == ',' && !inQuotes) {
            if (!currentQuoted) {
                chopTrailingBlanks(current, chopLimit);
            }
            value.isList = true;
            value.items.append(current);
            current.clear();
            currentQuoted = false;
            i = skipBlanks(data, i + 1, to);
            chopLimit = 0;
        } else {
            int runEnd = i + 1;
            while (runEnd < to && data[runEnd] != '\\' && data[runEnd] != '"' &&
                   data[runEnd] != ',') {
                ++runEnd;
            }
            decode(data.constData() + i, runEnd - i, current);
            i = runEnd;
        }
    }
    if (!currentQuoted) {
        chopTrailingBlanks(current, chopLimit);
    }
    if (value.isList) {
        value.items.append(current);
    }
    return value;
}

// The arguments of "@Rect(...)" and its kin: the text after the '(' at @p open split at
// each ' '. A ')' ends an argument without starting a new one.
QStringList splitArguments(const QString& text, int open) {
    QStringList arguments;
    QString argument;
    for (int i = open + 1; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == QLatin1Char(')')) {
            arguments.append(argument);
        } else if (c == QLatin1Char(' ')) {
            arguments.append(argument);
            argument.clear();
        } else {
            argument += c;
        }
    }
    return arguments;
}

QVariant streamedValue(const QString& text, int payloadStart, QDataStream::Version version) {
    QByteArray bytes = toLatin1(text.mid(payloadStart));
    QDataStream stream(&bytes, QIODevice::ReadOnly);
    stream.setVersion(version);
    QVariant value;
    stream >> value;
    return value;
}

// The value a string stands for: an @-form ("@ByteArray(...)", "@String(...)",
// "@Variant(...)", "@DateTime(...)", "@Rect(x y w h)", "@Size(w h)", "@Point(x y)",
// "@Invalid()") or, with "@@" standing for '@', the string itself.
QVariant typedValue(const QString& text) {
    if (!text.startsWith(QLatin1Char('@'))) {
        return text;
    }
    if (text.endsWith(QLatin1Char(')'))) {
        if (text.startsWith(QLatin1String("@ByteArray("))) {
            return toLatin1(text.mid(11, text.size() - 12));
        }
        if (text.startsWith(QLatin1String("@String("))) {
            return text.mid(8, text.size() - 9);
        }
        if (text.startsWith(QLatin1String("@Variant("))) {
            return streamedValue(text, 9, QDataStream::Qt_4_0);
        }
        if (text.startsWith(QLatin1String("@DateTime("))) {
            return streamedValue(text, 10, QDataStream::Qt_5_6);
        }
        if (text.startsWith(QLatin1String("@Rect("))) {
            const QStringList a = splitArguments(text, 5);
            if (a.size() == 4) {
                return QRect(toIntAsQt5(a[0]), toIntAsQt5(a[1]), toIntAsQt5(a[2]),
                             toIntAsQt5(a[3]));
            }
        } else if (text.startsWith(QLatin1String("@Size("))) {
            const QStringList a = splitArguments(text, 5);
            if (a.size() == 2) {
                return QSize(toIntAsQt5(a[0]), toIntAsQt5(a[1]));
            }
        } else if (text.startsWith(QLatin1String("@Point("))) {
            const QStringList a = splitArguments(text, 6);
            if (a.size() == 2) {
                return QPoint(toIntAsQt5(a[0]), toIntAsQt5(a[1]));
            }
        } else if (text == QLatin1String("@Invalid()")) {
            return QVariant();
        }
    }
    if (text.startsWith(QLatin1String("@@"))) {
        return text.mid(1);
    }
    return text;
}

// A list value: a QStringList, or a QVariantList of typed values when an item starts with
// a single '@'.
QVariant listValue(const QStringList& items) {
    QStringList strings = items;
    for (int i = 0; i < items.size(); ++i) {
        if (!items[i].startsWith(QLatin1Char('@'))) {
            continue;
        }
        if (items[i].size() >= 2 && items[i][1] == QLatin1Char('@')) {
            strings[i].remove(0, 1);
            continue;
        }
        QVariantList typed;
        typed.reserve(items.size());
        for (const QString& item : items) {
            typed.append(typedValue(item));
        }
        return typed;
    }
    return strings;
}

// ---------------------------------------------------------------------------------------
// Reading

// Keys read so far under their identity, with the spelling they were first read with.
struct ReadKey {
    QString key;
    QVariant value;
};

using ReadKeys = QMap<QString, ReadKey>;

void storeKey(ReadKeys& keys, const QString& key, const QVariant& value) {
    const QString identity = keyIdentity(key);
    const auto it = keys.find(identity);
    if (it == keys.end()) {
        keys.insert(identity, ReadKey{key, value});
    } else {
        it->value = value;
    }
}

// Reads the key lines of @p section into @p keys; a later line overrides an earlier one.
// Returns false when a line has no '='; the other lines are read all the same.
bool readSectionKeys(const SectionText& section, TextDecoder decode, ReadKeys& keys) {
    const QByteArray& text = section.text;
    bool ok = true;
    int pos = 0;
    IniLine line;
    while (readLine(text, pos, line)) {
        if (line.equals == -1) {
            ok = ok && text[line.start] == ';';
            continue;
        }
        int keyEnd = line.equals;
        while (keyEnd > line.start && isBlank(text[keyEnd - 1])) {
            --keyEnd;
        }
        QString key = section.name;
        appendUnescapedKey(text, line.start, keyEnd, key);
        const ValueText value =
            readValueText(text, line.equals + 1, line.start + line.length, decode);
        storeKey(keys, key, value.isList ? listValue(value.items) : typedValue(value.text));
    }
    return ok;
}

// ---------------------------------------------------------------------------------------
// Writing

void appendLowerHex(uint code, QByteArray& out) {
    char digits[8];
    int count = 0;
    do {
        digits[count++] = kLowerHexDigits[code % 16];
        code /= 16;
    } while (code != 0);
    while (count > 0) {
        out += digits[--count];
    }
}

// Appends @p key with every character but letters, digits, '_', '-' and '.' escaped: '/' as
// '\', others as %XX or %UXXXX.
void appendEscapedKey(const QString& key, QByteArray& out) {
    for (const QChar c : key) {
        const char16_t code = c.unicode();
        if (code == u'/') {
            out += '\\';
        } else if ((code >= u'a' && code <= u'z') || (code >= u'A' && code <= u'Z') ||
                   (code >= u'0' && code <= u'9') || code == u'_' || code == u'-' || code == u'.') {
            out += static_cast<char>(code);
        } else if (code <= 0xFF) {
            out += '%';
            out += kUpperHexDigits[code / 16];
            out += kUpperHexDigits[code % 16];
        } else {
            out += "%U";
            for (int shift = 12; shift >= 0; shift -= 4) {
                out += kUpperHexDigits[(code >> shift) & 0xF];
            }
        }
    }
}

// Appends @p text as an INI value: control characters and everything beyond ASCII as
// escapes (a hex digit right after a \x or \0 escape escaped too, so that it does not
// extend it), in quotes when it holds ';', ',' or '=' or starts or ends with a space.
void appendEscapedText(const QString& text, QByteArray& out) {
    const int start = out.size();
    bool needsQuotes = false;
    bool escapeHexDigit = false;
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        if (code == u';' || code == u',' || code == u'=') {
            needsQuotes = true;
        }
        if (escapeHexDigit && code < 0x80 && isHexDigit(static_cast<char>(code))) {
            out += "\\x";
            appendLowerHex(code, out);
            continue;
        }
        escapeHexDigit = false;
        switch (code) {
            case u'\0':
                out += "\\0";
                escapeHexDigit = true;
                break;
            case u'\a':
                out += "\\a";
                break;
            case u'\b':
                out += "\\b";
                break;
            case u'\f':
                out += "\\f";
                break;
            case u'\n':
                out += "\\n";
                break;
            case u'\r':
                out += "\\r";
                break;
            case u'\t':
                out += "\\t";
                break;
            case u'\v':
                out += "\\v";
                break;
            case u'"':
            case u'\\':
                out += '\\';
                out += static_cast<char>(code);
                break;
            default:
                if (code <= 0x1F || code >= 0x7F) {
                    out += "\\x";
                    appendLowerHex(code, out);
                    escapeHexDigit = true;
                } else {
                    out += static_cast<char>(code);
                }
                break;
        }
    }
    const bool padded = out.size() > start && (out[start] == ' ' || out[out.size() - 1] == ' ');
    if (needsQuotes || padded) {
        out.insert(start, '"');
        out += '"';
    }
}

QString streamedText(const QVariant& value) {
    const bool dateTime = value.userType() == QMetaType::QDateTime;
    QByteArray bytes;
    {
        QDataStream stream(&bytes, QIODevice::WriteOnly);
        stream.setVersion(dateTime ? QDataStream::Qt_5_6 : QDataStream::Qt_4_0);
        stream << value;
    }
    const QLatin1String form = dateTime ? QLatin1String("@DateTime(") : QLatin1String("@Variant(");
    return form + fromLatin1(bytes) + QLatin1Char(')');
}

// The string that stands for @p value: text for strings, numbers and booleans (a leading '@'
// doubled, an embedded NUL wrapped in "@String(...)"), an @-form for everything else.
QString textOfValue(const QVariant& value) {
    switch (value.userType()) {
        case QMetaType::UnknownType:
            return QStringLiteral("@Invalid()");
        case QMetaType::QByteArray:
            return QLatin1String("@ByteArray(") + fromLatin1(value.toByteArray()) +
                   QLatin1Char(')');
        case QMetaType::QString:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Bool:
        case QMetaType::Double:
        case QMetaType::QKeySequence: {
            const QString text = value.toString();
            if (text.contains(QChar(QChar::Null))) {
                return QLatin1String("@String(") + text + QLatin1Char(')');
            }
            if (text.startsWith(QLatin1Char('@'))) {
                return QLatin1Char('@') + text;
            }
            return text;
        }
        case QMetaType::QRect: {
            const QRect r = value.toRect();
            return QString::asprintf("@Rect(%d %d %d %d)", r.x(), r.y(), r.width(), r.height());
        }
        case QMetaType::QSize: {
            const QSize s = value.toSize();
            return QString::asprintf("@Size(%d %d)", s.width(), s.height());
        }
        case QMetaType::QPoint: {
            const QPoint p = value.toPoint();
            return QString::asprintf("@Point(%d %d)", p.x(), p.y());
        }
        default:
            return streamedText(value);
    }
}

// Appends @p value: string lists, and variant lists of other than one item, as ", "-separated
// items ("@Invalid()" when empty); any other value as the text that stands for it.
void appendValue(const QVariant& value, QByteArray& out) {
    const int type = value.userType();
    const bool list = type == QMetaType::QStringList ||
                      (type == QMetaType::QVariantList && value.toList().size() != 1);
    if (!list) {
        appendEscapedText(textOfValue(value), out);
        return;
    }
    const QVariantList items = value.toList();
    if (items.isEmpty()) {
        out += "@Invalid()";
        return;
    }
    for (int i = 0; i < items.size(); ++i) {
        if (i != 0) {
            out += ", ";
        }
        appendEscapedText(textOfValue(items[i]), out);
    }
}

QByteArray sectionHeader(const QString& section) {
    QByteArray name;
    appendEscapedKey(section, name);
    if (name.isEmpty()) {
        return QByteArrayLiteral("[General]");
    }
    if (equalsIgnoringAsciiCase(name, "general")) {
        return QByteArrayLiteral("[%General]");
    }
    return '[' + name + ']';
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
// The read function of the store format. QSettings discards every key a read function
// delivers when it reports failure, where Qt 5's INI format keeps the keys of the lines it
// could read; so that a store with a malformed line keeps (and writes back) its other keys
// as in the Qt 5 build, the store format reports success.
bool readStore(QIODevice& device, QSettings::SettingsMap& map) {
    readIniAsQt5(device, map);
    return true;
}
#endif

}  // namespace

QSettings::Format iniStoreFormat() {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    // "conf": the native per-user settings outside Windows are an INI file of that name
    // (Tolmarsk/Vexil.conf), opened in this format as well.
    static const QSettings::Format format =
        QSettings::registerFormat(QStringLiteral("conf"), readStore, writeIniAsQt5, kKeyCase);
    return format;
#else
    return QSettings::IniFormat;
#endif
}

bool readIniAsQt5(QIODevice& device, QSettings::SettingsMap& map) {
    const QByteArray data = device.readAll();
    // Qt 5 reads values as UTF-8 after a byte-order mark, else as Latin-1; keys and section
    // names are Latin-1 in either case.
    const TextDecoder decode = data.startsWith(kUtf8Bom) ? appendUtf8AsQt5 : appendLatin1;
    SectionTexts sections;
    bool ok = splitSections(data, sections);
    // Sections are read in the order of their names, so that of two spellings of one key
    // ("a/b" in [General], "b" in [a]) the one in the later section wins, as in Qt 5.
    ReadKeys keys;
    for (const SectionText& section : std::as_const(sections)) {
        ok = readSectionKeys(section, decode, keys) && ok;
    }
    for (const ReadKey& read : std::as_const(keys)) {
        map.insert(read.key, read.value);
    }
    return ok;
}

bool writeIniAsQt5(QIODevice& device, const QSettings::SettingsMap& map) {
    // Section name -> key within the section -> value. The first '/' separates the section.
    QMap<QString, QSettings::SettingsMap> sections;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const int slash = it.key().indexOf(QLatin1Char('/'));
        if (slash == -1) {
            sections[QString()].insert(it.key(), it.value());
        } else {
            sections[it.key().left(slash)].insert(it.key().mid(slash + 1), it.value());
        }
    }
    bool first = true;
    for (auto section = sections.cbegin(); section != sections.cend(); ++section) {
        QByteArray header;
        if (!first) {
            header += kEndOfLine;
        }
        first = false;
        header += sectionHeader(section.key()) + kEndOfLine;
        if (device.write(header) == -1) {
            return false;
        }
        for (auto entry = section->cbegin(); entry != section->cend(); ++entry) {
            QByteArray line;
            appendEscapedKey(entry.key(), line);
            line += '=';
            appendValue(entry.value(), line);
            line += kEndOfLine;
            if (device.write(line) == -1) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace Orrery

// SPDX-License-Identifier: MIT
#include <orrery/units.h>

#include <QChar>
#include <QLocale>
#include <QStringView>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <system_error>
#include <utility>

namespace Orrery {

namespace {

// What the tokeniser read from a text. Digits are kept as index ranges into the text;
// numberEnd is the read position after the number, end the end of the trimmed text.
struct TokenData {
    RealStringParser::State state = RealStringParser::Real;
    bool negative = false;
    int leftBegin = 0;
    int leftEnd = 0;
    int rightBegin = 0;
    int rightEnd = 0;
    long long exponent = 0;
    bool scaleFactorFound = false;
    int begin = 0;
    int numberEnd = 0;
    int end = 0;
};

constexpr QChar kZero = QLatin1Char('0');

bool isAsciiDigit(QChar c) {
    return c.unicode() >= '0' && c.unicode() <= '9';
}

// The exponent digits as QString::toInt reads them: ASCII digits only, within int.
bool exponentValue(const QChar* digits, int count, bool negative, long long* value) {
    long long magnitude = 0;
    for (int i = 0; i < count; ++i) {
        if (!isAsciiDigit(digits[i])) {
            return false;
        }
        magnitude = magnitude * 10 + (digits[i].unicode() - '0');
        if (magnitude > static_cast<long long>(INT_MAX) + 1) {
            return false;
        }
    }
    const long long signedValue = negative ? -magnitude : magnitude;
    if (signedValue > INT_MAX) {
        return false;
    }
    *value = signedValue;
    return true;
}

TokenData tokenize(const QChar* s, int size) {
    TokenData t;
    int begin = 0;
    int end = size;
    while (begin < end && s[begin].isSpace()) {
        ++begin;
    }
    while (end > begin && s[end - 1].isSpace()) {
        --end;
    }
    t.begin = begin;
    t.end = end;
    int p = begin;
    t.leftBegin = t.leftEnd = t.rightBegin = t.rightEnd = p;
    if (begin == end) {
        t.state = RealStringParser::Empty;
        t.numberEnd = p;
        return t;
    }

    if (s[p] == QLatin1Char('+')) {
        ++p;
    } else if (s[p] == QLatin1Char('-')) {
        t.negative = true;
        ++p;
    }
    t.leftBegin = t.leftEnd = t.rightBegin = t.rightEnd = p;
    if (p < end) {
        while (p < end && s[p].isDigit()) {
            ++p;
        }
        t.leftEnd = p;
        t.rightBegin = t.rightEnd = p;
        if (p < end && s[p] == QLatin1Char('.')) {
            ++p;
            t.rightBegin = p;
            while (p < end && s[p].isDigit()) {
                ++p;
            }
            t.rightEnd = p;
        }
    }

    if (t.leftBegin == t.leftEnd && t.rightBegin == t.rightEnd) {
        t.state = RealStringParser::Empty;
    }
    if (t.state == RealStringParser::Real) {
        if (p < end && (s[p] == QLatin1Char('e') || s[p] == QLatin1Char('E'))) {
            // The "e" is always an exponent mark, even when a unit such as "ergs" follows.
            ++p;
            t.state = RealStringParser::Empty;
            bool negativeExponent = false;
            if (p < end && (s[p] == QLatin1Char('+') || s[p] == QLatin1Char('-'))) {
                negativeExponent = s[p] == QLatin1Char('-');
                ++p;
            }
            const int digitsBegin = p;
            while (p < end && s[p].isDigit()) {
                ++p;
            }
            if (p > digitsBegin) {
                t.state =
                    exponentValue(s + digitsBegin, p - digitsBegin, negativeExponent, &t.exponent)
                        ? RealStringParser::Real
                        : RealStringParser::Invalid;
            } else if (p < end) {
                t.state = RealStringParser::Invalid;
            }
            // A text ending right after the mark or its sign deliberately stays Empty.
        }

        // A scale factor is a prefix character at the end or followed by white space.
        int scale = 0;
        if (t.state == RealStringParser::Real && p < end && (p == end - 1 || s[p + 1].isSpace()) &&
            UnitsParser::isPrefix(s[p].toLatin1(), &scale)) {
            t.scaleFactorFound = true;
            ++p;
            // An exponent pushed beyond int cannot be held: such a number is unusable.
            const long long scaled = t.exponent + scale;
            if (scaled < INT_MIN || scaled > INT_MAX) {
                t.state = RealStringParser::Invalid;
            } else {
                t.exponent = scaled;
            }
        }
    }
    t.numberEnd = p;
    return t;
}

void removeLeadingZeros(QString& digits, int* count = nullptr) {
    int n = 0;
    while (n < digits.size() && digits.at(n) == kZero) {
        ++n;
    }
    if (n > 0) {
        digits.remove(0, n);
    }
    if (count != nullptr) {
        *count = n;
    }
}

void removeTrailingZeros(QString& digits) {
    int n = digits.size();
    while (n > 0 && digits.at(n - 1) == kZero) {
        --n;
    }
    digits.truncate(n);
}

// A one-character string; ASCII digits come from static data, so they cost no allocation.
QString singleCharacter(QChar c) {
    switch (c.unicode()) {
        case '0':
            return QStringLiteral("0");
        case '1':
            return QStringLiteral("1");
        case '2':
            return QStringLiteral("2");
        case '3':
            return QStringLiteral("3");
        case '4':
            return QStringLiteral("4");
        case '5':
            return QStringLiteral("5");
        case '6':
            return QStringLiteral("6");
        case '7':
            return QStringLiteral("7");
        case '8':
            return QStringLiteral("8");
        case '9':
            return QStringLiteral("9");
        default:
            return QString(c);
    }
}

// The characters [begin, end) of text.
QString piece(const QString& text, int begin, int end) {
    if (end <= begin) {
        return QString();
    }
    if (end - begin == 1) {
        return singleCharacter(text.at(begin));
    }
    return text.mid(begin, end - begin);
}

// The text after the number, trimmed (the tokens already end at the trimmed end).
QString trimmedRest(const QString& text, const TokenData& t) {
    int begin = t.numberEnd;
    while (begin < t.end && text.at(begin).isSpace()) {
        ++begin;
    }
    return text.mid(begin, t.end - begin);
}

// The normal form cut straight from the digits that the tokeniser found: the same digits
// and exponent shift that normalize() reaches by moving digits step by step, without the
// intermediate strings. Returns false for zero.
bool normalizedDigits(const QString& text, const TokenData& t, QString* left, QString* right,
                      long long* shift) {
    const QChar* s = text.constData();
    int leftBegin = t.leftBegin;
    int rightEnd = t.rightEnd;
    while (leftBegin < t.leftEnd && s[leftBegin] == kZero) {
        ++leftBegin;
    }
    while (rightEnd > t.rightBegin && s[rightEnd - 1] == kZero) {
        --rightEnd;
    }
    if (leftBegin < t.leftEnd) {
        *left = singleCharacter(s[leftBegin]);
        *shift = t.leftEnd - leftBegin - 1;
        if (rightEnd == t.rightBegin) {
            int end = t.leftEnd;
            while (end > leftBegin + 1 && s[end - 1] == kZero) {
                --end;
            }
            *right = piece(text, leftBegin + 1, end);
        } else if (t.leftEnd - leftBegin == 1) {
            *right = piece(text, t.rightBegin, rightEnd);
        } else {
            const int fromLeft = t.leftEnd - leftBegin - 1;
            const int fromRight = rightEnd - t.rightBegin;
            QString digits(fromLeft + fromRight, Qt::Uninitialized);
            std::copy(s + leftBegin + 1, s + t.leftEnd, digits.data());
            std::copy(s + t.rightBegin, s + rightEnd, digits.data() + fromLeft);
            *right = digits;
        }
        return true;
    }
    if (rightEnd == t.rightBegin) {
        return false;
    }
    int first = t.rightBegin;
    while (s[first] == kZero) {
        ++first;
    }
    *left = singleCharacter(s[first]);
    *right = piece(text, first + 1, rightEnd);
    *shift = -static_cast<long long>(first - t.rightBegin + 1);
    return true;
}

// Writes value(format) of the given digits to out, or only counts the characters when out
// is null. Returns the number of characters. left must not be empty.
int formatDigits(bool negative, const QString& left, const QString& right, long long exponent,
                 RealStringParser::RealStringFormat format, QChar* out) {
    int n = 0;
    const auto put = [&](char c) {
        if (out != nullptr) {
            out[n] = QLatin1Char(c);
        }
        ++n;
    };
    const auto putDigits = [&](const QChar* digits, int count) {
        if (out != nullptr) {
            std::copy(digits, digits + count, out + n);
        }
        n += count;
    };

    long long e = exponent;
    int before = 1;
    if (format == RealStringParser::Engineering) {
        const int remainder = static_cast<int>(((e % 3) + 3) % 3);
        e -= remainder;
        before = remainder + 1;
    }
    if (negative) {
        put('-');
    }
    if (format == RealStringParser::Engineering && e == -3) {
        // Magnitudes from 0.001 up to 1 are written without an exponent on purpose.
        put('0');
        put('.');
        for (int i = before; i < 3; ++i) {
            put('0');
        }
        putDigits(left.constData(), left.size());
        putDigits(right.constData(), right.size());
        return n;
    }
    putDigits(left.constData(), left.size());
    const int moved = before - 1;
    const int fromRight = qMin(moved, right.size());
    putDigits(right.constData(), fromRight);
    for (int i = fromRight; i < moved; ++i) {
        put('0');
    }
    if (right.size() > moved) {
        put('.');
        putDigits(right.constData() + moved, right.size() - moved);
    }
    if (e != 0) {
        put('e');
        if (e < 0) {
            put('-');
        }
        char reversed[24];
        int count = 0;
        for (unsigned long long magnitude = e < 0 ? 0ULL - static_cast<unsigned long long>(e)
                                                  : static_cast<unsigned long long>(e);
             magnitude != 0; magnitude /= 10) {
            reversed[count++] = static_cast<char>('0' + magnitude % 10);
        }
        while (count > 0) {
            put(reversed[--count]);
        }
    }
    return n;
}

// Whether `text` is a plain decimal: an optional minus, digits, optionally a point and
// digits, optionally e or E, a sign and digits; copied to `ascii` as it is checked.
bool plainDecimal(QStringView text, char* ascii) {
    qsizetype i = 0;
    const qsizetype size = text.size();
    const auto take = [&](char16_t c) {
        if (i < size && text[i].unicode() == c) {
            ascii[i] = static_cast<char>(c);
            ++i;
            return true;
        }
        return false;
    };
    const auto digits = [&] {
        const qsizetype first = i;
        while (i < size && text[i].unicode() >= u'0' && text[i].unicode() <= u'9') {
            ascii[i] = static_cast<char>(text[i].unicode());
            ++i;
        }
        return i > first;
    };
    take(u'-');
    if (!digits()) {
        return false;
    }
    if (take(u'.') && !digits()) {
        return false;
    }
    if (take(u'e') || take(u'E')) {
        if (!take(u'-')) {
            take(u'+');
        }
        if (!digits()) {
            return false;
        }
    }
    return i == size;
}

// The conversion of QString::toDouble (C locale), reached without building a QString.
// Both it and std::from_chars round correctly, so a plain decimal whose value is a normal
// double converts to the same double either way; from_chars does it without Qt's locale
// machinery, several times faster under Qt 6. Anything else (another form, a result out
// of range, zero or subnormal) goes to Qt, which decides what succeeds.
double toDouble(QStringView text, bool* ok) {
    constexpr qsizetype kMaxFast = 64;
    char ascii[kMaxFast];
    if (text.size() <= kMaxFast && plainDecimal(text, ascii)) {
        double value = 0.0;
        const char* end = ascii + text.size();
        const std::from_chars_result result = std::from_chars(ascii, end, value);
        if (result.ec == std::errc() && result.ptr == end && std::isnormal(value)) {
            if (ok != nullptr) {
                *ok = true;
            }
            return value;
        }
    }
    static const QLocale c = QLocale::c();
    return c.toDouble(text, ok);
}

}  // namespace

struct RealStringParser::Tokens : TokenData {};

RealStringParser::RealStringParser()
    : m_state(Invalid),
      m_negative(false),
      m_valueAsReal(0.0),
      m_exponent(0),
      m_scaleFactorFound(false) {}

RealStringParser::RealStringParser(const QString& text) : RealStringParser() {
    m_originalValue = text;
    const Tokens t{tokenize(text.constData(), text.size())};
    if (t.state != Real || t.numberEnd != t.end) {
        parseValue(text);
        return;
    }
    takeNormalized(text, t);
}

RealStringParser::RealStringParser(State state, bool negative, QString left, QString right,
                                   int exponent)
    : m_state(state),
      m_negative(negative),
      m_valueAsReal(0.0),
      m_left(std::move(left)),
      m_right(std::move(right)),
      m_exponent(exponent),
      m_scaleFactorFound(false) {}

RealStringParser::RealStringParser(const RealStringParser& other) = default;
RealStringParser::RealStringParser(RealStringParser&& other) noexcept = default;
RealStringParser& RealStringParser::operator=(const RealStringParser& other) = default;
RealStringParser& RealStringParser::operator=(RealStringParser&& other) noexcept = default;
RealStringParser::~RealStringParser() = default;

QString RealStringParser::expString() const {
    return QString::number(m_exponent);
}

QString RealStringParser::value(RealStringFormat format) const {
    return value(format, 0);
}

QString RealStringParser::value(RealStringFormat format, int exponentOffset) const {
    if (m_left.isEmpty()) {
        return QStringLiteral("0");
    }
    const long long e = static_cast<long long>(m_exponent) + exponentOffset;
    QString out(formatDigits(m_negative, m_left, m_right, e, format, nullptr), Qt::Uninitialized);
    formatDigits(m_negative, m_left, m_right, e, format, out.data());
    return out;
}

void RealStringParser::takeNormalized(const QString& text, const Tokens& t) {
    m_state = Real;
    m_negative = t.negative;
    m_exponent = static_cast<int>(t.exponent);
    m_scaleFactorFound = t.scaleFactorFound;
    long long shift = 0;
    if (!normalizedDigits(text, t, &m_left, &m_right, &shift)) {
        m_exponent = 0;
    } else if (!addToExponent(shift)) {
        return;
    }
    valueToReal();
}

bool RealStringParser::splitNumberAndUnits(const QString& text, RealStringParser* number,
                                           QString* units) {
    // One tokenising pass for both parts. Tokenising the number part alone would stop at
    // the same place with the same result, so the number is taken from these tokens; its
    // original text is not kept.
    const Tokens t{tokenize(text.constData(), text.size())};
    if (t.state != Real) {
        return false;
    }
    *units = trimmedRest(text, t);
    if (!UnitsParser::unitsAreValid(*units)) {
        return false;
    }
    number->takeNormalized(text, t);
    return true;
}

double RealStringParser::valueAsDouble(RealStringFormat format, long long exponentOffset,
                                       bool* ok) const {
    // Converts the text of value(format, exponentOffset), written to a stack buffer when it
    // fits, exactly as QString::toDouble would convert that text.
    if (m_left.isEmpty()) {
        if (ok != nullptr) {
            *ok = true;
        }
        return 0.0;
    }
    const long long e = static_cast<long long>(m_exponent) + exponentOffset;
    constexpr int kBufferSize = 64;
    QChar buffer[kBufferSize];
    const int length = formatDigits(m_negative, m_left, m_right, e, format, nullptr);
    if (length <= kBufferSize) {
        formatDigits(m_negative, m_left, m_right, e, format, buffer);
        return toDouble(QStringView(buffer, length), ok);
    }
    QString text(length, Qt::Uninitialized);
    formatDigits(m_negative, m_left, m_right, e, format, text.data());
    return toDouble(QStringView(text), ok);
}

bool RealStringParser::parseNumberAndUnits(QString text, QString* number, QString* units) {
    if (number != nullptr) {
        number->clear();
    }
    if (units != nullptr) {
        units->clear();
    }
    const Tokens t{tokenize(text.constData(), text.size())};
    if (t.state != Real) {
        return false;
    }
    const QString rest = trimmedRest(text, t);
    if (number != nullptr) {
        *number = text.mid(t.begin, t.numberEnd - t.begin);
    }
    if (units != nullptr) {
        *units = rest;
    }
    return UnitsParser::unitsAreValid(rest);
}

void RealStringParser::parseValue(const QString& text) {
    m_state = Invalid;
    m_negative = false;
    m_valueAsReal = 0.0;
    m_exponent = 0;
    m_scaleFactorFound = false;
    const Tokens t{tokenize(text.constData(), text.size())};
    m_state = t.state;
    m_negative = t.negative;
    m_left = piece(text, t.leftBegin, t.leftEnd);
    m_right = piece(text, t.rightBegin, t.rightEnd);
    m_exponent = static_cast<int>(t.exponent);
    m_scaleFactorFound = t.scaleFactorFound;
    if (t.numberEnd != t.end) {
        m_state = Invalid;
    }
}

void RealStringParser::normalize() {
    removeLeadingZeros(m_left);
    removeTrailingZeros(m_right);
    if (m_left.size() > 1) {
        transferFromLeftToRight(m_left.size() - 1);
    }
    if (m_left.isEmpty() && m_right.isEmpty()) {
        m_exponent = 0;
        return;
    }
    if (m_left.isEmpty()) {
        deleteLeadingZerosInRight();
        transferFromRightToLeft(1);
    }
}

bool RealStringParser::isNormalized() const {
    if (m_state != Real) {
        return false;
    }
    if (m_left.isEmpty() && m_right.isEmpty()) {
        return true;
    }
    return m_left.size() == 1 && m_left.at(0) != kZero;
}

void RealStringParser::transferFromLeftToRight(int count) {
    if (count < 0) {
        return;
    }
    const int moved = qMin(count, m_left.size());
    m_right = QString(QString(count - moved, kZero) + m_left.right(moved) + m_right);
    m_left.chop(moved);
    removeTrailingZeros(m_right);
    addToExponent(count);
}

void RealStringParser::transferFromRightToLeft(int count) {
    if (count < 0) {
        return;
    }
    const int moved = qMin(count, m_right.size());
    m_left += m_right.left(moved);
    m_left += QString(count - moved, kZero);
    m_right.remove(0, moved);
    removeLeadingZeros(m_left);
    addToExponent(-static_cast<long long>(count));
}

void RealStringParser::deleteLeadingZerosInRight() {
    int count = 0;
    removeLeadingZeros(m_right, &count);
    addToExponent(-static_cast<long long>(count));
}

void RealStringParser::adjustExponent(int exponent) {
    if (exponent > m_exponent) {
        transferFromLeftToRight(exponent - m_exponent);
    } else if (exponent < m_exponent) {
        transferFromRightToLeft(m_exponent - exponent);
    }
}

void RealStringParser::valueToReal() {
    bool ok = false;
    const double real = valueAsDouble(Scientific, 0, &ok);
    if (ok) {
        m_valueAsReal = real;
    } else {
        m_valueAsReal = 0.0;
        m_state = Invalid;
    }
}

void RealStringParser::clear() {
    m_state = Invalid;
    m_originalValue.clear();
    m_negative = false;
    m_valueAsReal = 0.0;
    m_left.clear();
    m_right.clear();
    m_exponent = 0;
    m_scaleFactorFound = false;
}

bool RealStringParser::operator==(const RealStringParser& other) const {
    return m_state == other.m_state && m_originalValue == other.m_originalValue &&
           m_negative == other.m_negative && m_valueAsReal == other.m_valueAsReal &&
           m_left == other.m_left && m_right == other.m_right && m_exponent == other.m_exponent &&
           m_scaleFactorFound == other.m_scaleFactorFound;
}

bool RealStringParser::addToExponent(long long delta) {
    const long long sum = static_cast<long long>(m_exponent) + delta;
    if (sum < INT_MIN || sum > INT_MAX) {
        // An exponent beyond int cannot be held; such a number is not usable.
        m_state = Invalid;
        return false;
    }
    m_exponent = static_cast<int>(sum);
    return true;
}

}  // namespace Orrery

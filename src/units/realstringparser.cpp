// SPDX-License-Identifier: MIT
#include <orrery/units.h>

#include <QChar>

#include <climits>
#include <utility>

namespace Orrery {

namespace {

constexpr QChar kZero = QLatin1Char('0');

// What the tokeniser read from a text. Digits are kept as index ranges into the text;
// numberEnd is the read position after the number, end the end of the trimmed text.
struct Tokens {
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

Tokens tokenize(const QString& text) {
    Tokens t;
    const QChar* s = text.constData();
    int begin = 0;
    int end = text.size();
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
            t.exponent += scale;
            ++p;
            if (t.exponent < INT_MIN || t.exponent > INT_MAX) {
                t.state = RealStringParser::Invalid;
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

}  // namespace

RealStringParser::RealStringParser()
    : m_state(Invalid),
      m_negative(false),
      m_valueAsReal(0.0),
      m_exponent(0),
      m_scaleFactorFound(false) {}

RealStringParser::RealStringParser(const QString& text) : RealStringParser() {
    m_originalValue = text;
    parseValue(text);
    if (m_state == Real) {
        normalize();
        if (m_state == Real) {
            valueToReal();
        }
    }
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
    long long e = static_cast<long long>(m_exponent) + exponentOffset;
    int before = 1;
    if (format == Engineering) {
        const int remainder = static_cast<int>(((e % 3) + 3) % 3);
        e -= remainder;
        before = remainder + 1;
    }
    QString out;
    if (m_negative) {
        out += QLatin1Char('-');
    }
    if (format == Engineering && e == -3) {
        // Magnitudes from 0.001 up to 1 are written without an exponent on purpose.
        out += QLatin1String("0.");
        out += QString(3 - before, kZero);
        out += m_left;
        out += m_right;
        return out;
    }
    out += m_left;
    const int moved = before - 1;
    if (moved > 0) {
        out += m_right.left(moved);
        if (m_right.size() < moved) {
            out += QString(moved - m_right.size(), kZero);
        }
    }
    if (m_right.size() > moved) {
        out += QLatin1Char('.');
        out += m_right.mid(moved);
    }
    if (e != 0) {
        out += QLatin1Char('e');
        out += QString::number(e);
    }
    return out;
}

bool RealStringParser::parseNumberAndUnits(QString text, QString* number, QString* units) {
    if (number != nullptr) {
        number->clear();
    }
    if (units != nullptr) {
        units->clear();
    }
    const Tokens t = tokenize(text);
    if (t.state != Real) {
        return false;
    }
    const QString rest = text.mid(t.numberEnd, t.end - t.numberEnd).trimmed();
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
    const Tokens t = tokenize(text);
    m_state = t.state;
    m_negative = t.negative;
    m_left = text.mid(t.leftBegin, t.leftEnd - t.leftBegin);
    m_right = text.mid(t.rightBegin, t.rightEnd - t.rightBegin);
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
    const double real = value(Scientific, 0).toDouble(&ok);
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

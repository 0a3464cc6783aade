// SPDX-License-Identifier: MIT
#include <orrery/units.h>

#include <QChar>
#include <QHash>
#include <QSet>

namespace Orrery {

namespace {

// Whole units strings that are never split into prefix and base, with their factor to
// the reference unit (metre for lengths). Checked before any prefix, so "ft" is foot
// and "mi" is mile rather than femto-"t" and milli-"i".
const QHash<QString, double>& conversionTable() {
    static const QHash<QString, double> table = {
        {QStringLiteral("mil"), 2.54e-5},
        {QStringLiteral("mils"), 2.54e-5},
        {QStringLiteral("meter"), 1.0},
        {QStringLiteral("metre"), 1.0},
        {QStringLiteral("meters"), 1.0},
        {QStringLiteral("metres"), 1.0},
        {QStringLiteral("micron"), 1e-6},
        {QStringLiteral("in"), 0.0254},
        {QStringLiteral("ft"), 0.3048},
        {QStringLiteral("mi"), 1609.344},
        {QStringLiteral("nmi"), 1852.0},
        // "P" is deliberately no prefix, so peta-hertz is a whole entry of its own.
        {QStringLiteral("PHz"), 1e15},
        {QStringLiteral("dB"), 1.0},
        {QStringLiteral("%"), 0.01},
        {QString(), 1.0},
    };
    return table;
}

// Base units known to take a prefix; "" stands for a bare prefix on a plain number.
const QSet<QString>& prefixableUnits() {
    static const QSet<QString> units = {
        QString(),
        QStringLiteral("A"),
        QStringLiteral("F"),
        QStringLiteral("H"),
        QStringLiteral("Hz"),
        QStringLiteral("Ohm"),
        QStringLiteral("Ohms"),
        QStringLiteral("S"),
        QStringLiteral("sec"),
        QStringLiteral("V"),
        QStringLiteral("W"),
        QStringLiteral("bps"),
    };
    return units;
}

bool startsWithPrefix(const QString& text, int* exponent) {
    return !text.isEmpty() && UnitsParser::isPrefix(text.at(0).toLatin1(), exponent);
}

}  // namespace

UnitsParser::UnitsParser()
    : m_exponent(0), m_canHavePrefix(false), m_baseIsKnown(false), m_conversionFactor(1.0) {}

UnitsParser::UnitsParser(const QString& units)
    : m_units(units),
      m_exponent(0),
      m_canHavePrefix(false),
      m_baseIsKnown(false),
      m_conversionFactor(1.0) {
    // The table comes first on purpose: it settles the clashes between prefixes and units.
    const QHash<QString, double>& table = conversionTable();
    const auto hit = table.constFind(units);
    if (hit != table.constEnd()) {
        m_base = units;
        m_conversionFactor = hit.value();
        return;
    }
    m_canHavePrefix = true;
    int exponent = 0;
    if (startsWithPrefix(units, &exponent)) {
        m_exponent = exponent;
        m_base = units.mid(1);
    } else {
        m_base = units;
    }
    m_baseIsKnown = prefixableUnits().contains(m_base);
}

UnitsParser::UnitsParser(const UnitsParser& other) = default;
UnitsParser::UnitsParser(UnitsParser&& other) noexcept = default;
UnitsParser& UnitsParser::operator=(const UnitsParser& other) = default;
UnitsParser& UnitsParser::operator=(UnitsParser&& other) noexcept = default;
UnitsParser::~UnitsParser() = default;

bool UnitsParser::baseNeedsUnderscore() const {
    int exponent = 0;
    return !m_baseIsKnown && startsWithPrefix(m_base, &exponent);
}

QString UnitsParser::baseUnits() const {
    if (m_canHavePrefix && baseNeedsUnderscore()) {
        return QString(QLatin1Char('_') + m_base);
    }
    return m_base;
}

QString UnitsParser::getPrefix(int exponent) const {
    switch (exponent) {
        case -18:
            return QStringLiteral("a");
        case -15:
            return QStringLiteral("f");
        case -12:
            return QStringLiteral("p");
        case -9:
            return QStringLiteral("n");
        case -6:
            return QStringLiteral("u");
        case -3:
            return QStringLiteral("m");
        case -2:
            return QStringLiteral("c");
        case 0:
            return baseNeedsUnderscore() ? QStringLiteral("_") : QString();
        case 3:
            return QStringLiteral("k");
        case 6:
            return QStringLiteral("M");
        case 9:
            return QStringLiteral("G");
        case 12:
            return QStringLiteral("T");
        default:
            return QString();
    }
}

int UnitsParser::prefixExponent(int exponent) const {
    return m_canHavePrefix ? getPrefixExponent(exponent) : 0;
}

int UnitsParser::getPrefixExponent(int exponent) const {
    if (exponent == -2) {
        // Centi is kept only when these units were written with centi.
        if (m_exponent == -2) {
            return -2;
        }
    } else if (exponent < -17) {
        return -18;
    } else if (exponent >= 12) {
        return 12;
    }
    const int remainder = ((exponent % 3) + 3) % 3;
    return exponent - remainder;
}

QString UnitsParser::unitsWithPrefix(int exponent) const {
    if (!m_canHavePrefix) {
        return m_base;
    }
    return QString(getPrefix(exponent) + m_base);
}

bool UnitsParser::isPrefix(char c, int* exponent) {
    if (exponent != nullptr) {
        *exponent = 0;
    }
    if (c < 'G' || c > 'u') {
        return false;
    }
    // There is deliberately no P, E, d, h or da prefix, and micro is the ASCII "u" only.
    int value = 0;
    switch (c) {
        case 'a':
            value = -18;
            break;
        case 'f':
            value = -15;
            break;
        case 'p':
            value = -12;
            break;
        case 'n':
            value = -9;
            break;
        case 'u':
            value = -6;
            break;
        case 'm':
            value = -3;
            break;
        case 'c':
            value = -2;
            break;
        case '_':
            value = 0;
            break;
        case 'k':
            value = 3;
            break;
        case 'M':
            value = 6;
            break;
        case 'G':
            value = 9;
            break;
        case 'T':
            value = 12;
            break;
        default:
            return false;
    }
    if (exponent != nullptr) {
        *exponent = value;
    }
    return true;
}

double UnitsParser::unitsPrefixScaleFactor(int exponent) {
    switch (exponent) {
        case -18:
            return 1e-18;
        case -15:
            return 1e-15;
        case -12:
            return 1e-12;
        case -9:
            return 1e-9;
        case -6:
            return 1e-6;
        case -3:
            return 1e-3;
        case 3:
            return 1e3;
        case 6:
            return 1e6;
        case 9:
            return 1e9;
        case 12:
            return 1e12;
        default:
            // Centi (-2) deliberately gives 1.0 here, like every exponent without a factor.
            return 1.0;
    }
}

bool UnitsParser::unitsAreValid(const QString& units) {
    if (units.isEmpty() || conversionTable().contains(units)) {
        return true;
    }
    int exponent = 0;
    const int start = startsWithPrefix(units, &exponent) ? 1 : 0;
    if (start == units.size()) {
        return true;
    }
    // The whole string, prefix included, is looked up deliberately.
    if (prefixableUnits().contains(units)) {
        return true;
    }
    const QChar first = units.at(start);
    if (!first.isLetter() && first != QLatin1Char('_')) {
        return false;
    }
    for (int i = start + 1; i < units.size(); ++i) {
        const QChar c = units.at(i);
        if (!c.isLetterOrNumber() && c != QLatin1Char('_')) {
            return false;
        }
    }
    return true;
}

}  // namespace Orrery

// SPDX-License-Identifier: MIT
// UnitsParser and unitsAreValid on arbitrary text, checked against a plain model of the
// rules: the split into prefix and base, the whole-string table, validity, and the prefix
// arithmetic (rounding stays within the prefix table and never rounds up; the text written
// for the parsed exponent reads back as the same units).

#include <orrery/units.h>

#include "../fuzz_check.h"

#include <QSet>

#include <algorithm>
#include <cstring>

namespace {

using Orrery::UnitsParser;

const QSet<QString>& tableKeys() {
    static const QSet<QString> keys = {
        QStringLiteral("mil"),    QStringLiteral("mils"),   QStringLiteral("meter"),
        QStringLiteral("metre"),  QStringLiteral("meters"), QStringLiteral("metres"),
        QStringLiteral("micron"), QStringLiteral("in"),     QStringLiteral("ft"),
        QStringLiteral("mi"),     QStringLiteral("nmi"),    QStringLiteral("PHz"),
        QStringLiteral("dB"),     QStringLiteral("%"),      QString()};
    return keys;
}

const QSet<QString>& prefixable() {
    static const QSet<QString> units = {QString(),
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
                                        QStringLiteral("bps")};
    return units;
}

// The prefix characters and their exponents.
bool prefixOf(QChar c, int* exponent) {
    static const char kCharacters[] = "afpnumc_kMGT";
    static const int kExponents[] = {-18, -15, -12, -9, -6, -3, -2, 0, 3, 6, 9, 12};
    *exponent = 0;
    if (c.unicode() > 0xff) {
        return false;
    }
    const char* found = std::strchr(kCharacters, static_cast<char>(c.unicode()));
    if (found == nullptr || *found == '\0') {
        return false;
    }
    *exponent = kExponents[found - kCharacters];
    return true;
}

bool modelValid(const QString& units) {
    if (units.isEmpty() || tableKeys().contains(units)) {
        return true;
    }
    int exponent = 0;
    const int start = prefixOf(units.at(0), &exponent) ? 1 : 0;
    if (start == units.size() || prefixable().contains(units)) {
        return true;
    }
    if (!units.at(start).isLetter() && units.at(start) != QLatin1Char('_')) {
        return false;
    }
    for (int i = start + 1; i < units.size(); ++i) {
        if (!units.at(i).isLetterOrNumber() && units.at(i) != QLatin1Char('_')) {
            return false;
        }
    }
    return true;
}

bool isTableExponent(int e) {
    switch (e) {
        case -18:
        case -15:
        case -12:
        case -9:
        case -6:
        case -3:
        case -2:
        case 0:
        case 3:
        case 6:
        case 9:
        case 12:
            return true;
        default:
            return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Input: "<units>\0<four bytes>", the bytes (when present) a wanted exponent for the
    // prefix arithmetic.
    const std::vector<std::string> parts = OrreryFuzz::split(data, size, 2);
    const QString units = OrreryFuzz::text(parts.at(0));
    int wanted = 0;
    if (parts.size() > 1) {
        const std::string& bytes = parts.at(1);
        std::memcpy(&wanted, bytes.data(), std::min<size_t>(bytes.size(), sizeof wanted));
    }

    FUZZ_CHECK(UnitsParser::unitsAreValid(units) == modelValid(units));

    const UnitsParser parser(units);
    FUZZ_CHECK(parser.isEmpty() == units.isEmpty());
    int exponent = 0;
    if (tableKeys().contains(units)) {
        FUZZ_CHECK(!parser.canHavePrefix());
        FUZZ_CHECK(parser.exponent() == 0);
        FUZZ_CHECK_EQ(parser.baseUnits(), units);
        FUZZ_CHECK(parser.conversionFactor() > 0.0);
        FUZZ_CHECK(parser.prefixExponent(wanted) == 0);
        FUZZ_CHECK_EQ(parser.unitsWithPrefix(wanted), units);
    } else {
        FUZZ_CHECK(parser.canHavePrefix());
        FUZZ_CHECK(parser.conversionFactor() == 1.0);
        const bool prefixed = prefixOf(units.at(0), &exponent);
        FUZZ_CHECK(parser.exponent() == (prefixed ? exponent : 0));
        const QString base = prefixed ? units.mid(1) : units;
        // The base alone, or with "_" in front when its first letter would read as a prefix.
        int ignored = 0;
        const bool guarded =
            !prefixable().contains(base) && !base.isEmpty() && prefixOf(base.at(0), &ignored);
        FUZZ_CHECK_EQ(parser.baseUnits(), guarded ? QString(QLatin1Char('_') + base) : base);
        // Written with the exponent it was read with, a prefixed text comes back unchanged.
        if (prefixed && units.at(0) != QLatin1Char('_')) {
            FUZZ_CHECK_EQ(parser.unitsWithPrefix(parser.exponent()), units);
        }
        const int rounded = parser.prefixExponent(wanted);
        FUZZ_CHECK(isTableExponent(rounded));
        FUZZ_CHECK(rounded <= wanted || wanted < -18);
        FUZZ_CHECK(rounded == -2 ? parser.exponent() == -2 && wanted == -2 : rounded % 3 == 0);
        if (wanted >= -18 && wanted <= 12) {
            FUZZ_CHECK(wanted - rounded < 3);
        }
        // Any prefix written for a rounded exponent is read back as that exponent.
        const QString withPrefix = parser.unitsWithPrefix(rounded);
        if (rounded != 0 && !tableKeys().contains(withPrefix)) {
            FUZZ_CHECK(UnitsParser(withPrefix).exponent() == rounded);
        }
    }
    const double factor = UnitsParser::unitsPrefixScaleFactor(wanted);
    FUZZ_CHECK(factor == 1.0 || (isTableExponent(wanted) && wanted != -2 && wanted != 0));
    return 0;
}

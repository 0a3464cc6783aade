// SPDX-License-Identifier: MIT
// RealStringParser, RealString::asReal and the display of a RealString on arbitrary text.
// Input: "<number text>\0<units>\0<desired units>" (the later parts optional).
// Invariants: a parsed real's Scientific text is in normal form and parses to the same
// text and the same double; its Engineering text and its shifted texts carry the same
// digits; a plain real is accepted by parseNumberAndUnits and asReal with the same value;
// asReal of a number with units is the number shifted by the units' prefix; asReal fails
// with 0.0 exactly when the text does not split into a number and valid units.

#include <orrery/units.h>

#include "../fuzz_check.h"

#include <QRegularExpression>

#include <climits>
#include <cmath>

namespace {

using Orrery::RealString;
using Orrery::RealStringParser;
using Orrery::UnitsParser;

constexpr auto Scientific = RealStringParser::Scientific;
constexpr auto Engineering = RealStringParser::Engineering;

void checkReal(const RealStringParser& p) {
    const QString scientific = p.value(Scientific);
    static const QRegularExpression normalForm(
        QStringLiteral("^(0|-?[1-9](\\.[0-9]*[1-9])?(e-?[1-9][0-9]*)?)$"));
    FUZZ_CHECK(normalForm.match(scientific).hasMatch());
    FUZZ_CHECK(std::isfinite(p.valueAsReal()));

    const RealStringParser again(scientific);
    FUZZ_CHECK(again.isReal());
    FUZZ_CHECK_EQ(again.value(Scientific), scientific);
    FUZZ_CHECK(again.valueAsReal() == p.valueAsReal());
    FUZZ_CHECK(again.exponent() == p.exponent());

    const RealStringParser engineering(p.value(Engineering));
    FUZZ_CHECK(engineering.isReal());
    FUZZ_CHECK_EQ(engineering.value(Scientific), scientific);

    // Shifting by a power of ten and back keeps the digits.
    if (p.exponent() > INT_MIN + 100 && p.exponent() < INT_MAX - 100) {
        for (const int shift : {-7, -3, -1, 1, 2, 3, 40}) {
            const RealStringParser shifted(p.value(Scientific, shift));
            if (!shifted.isReal()) {
                // Only a double overflow or underflow can make the shifted text unusable.
                continue;
            }
            FUZZ_CHECK_EQ(shifted.value(Scientific, -shift), scientific);
            const RealStringParser shiftedEngineering(p.value(Engineering, shift));
            if (shiftedEngineering.isReal()) {
                FUZZ_CHECK_EQ(shiftedEngineering.value(Scientific, -shift), scientific);
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<std::string> parts = OrreryFuzz::split(data, size, 3);
    const QString text = OrreryFuzz::text(parts.at(0));
    const QString units = parts.size() > 1 ? OrreryFuzz::text(parts.at(1)) : QString();
    const QString desired = parts.size() > 2 ? OrreryFuzz::text(parts.at(2)) : QString();

    const RealStringParser p(text);
    FUZZ_CHECK(p.state() == RealStringParser::Invalid || p.state() == RealStringParser::Empty ||
               p.state() == RealStringParser::Real);
    FUZZ_CHECK_EQ(p.originalValue(), text);
    if (p.isReal()) {
        checkReal(p);
        QString number;
        QString rest;
        FUZZ_CHECK(RealStringParser::parseNumberAndUnits(text, &number, &rest));
        FUZZ_CHECK_EQ(number, text.trimmed());
        FUZZ_CHECK(rest.isEmpty());
        bool ok = false;
        const double real = RealString::asReal(text, &ok);
        FUZZ_CHECK(ok);
        FUZZ_CHECK(real == p.valueAsReal());
    } else {
        FUZZ_CHECK(p.valueAsReal() == 0.0);
    }

    // A number followed by units.
    QString number;
    QString unitsPart;
    const bool split = RealStringParser::parseNumberAndUnits(text, &number, &unitsPart);
    bool ok = true;
    const double real = RealString::asReal(text, &ok);
    if (!split) {
        FUZZ_CHECK(!ok);
        FUZZ_CHECK(real == 0.0);
    } else {
        FUZZ_CHECK(UnitsParser::unitsAreValid(unitsPart));
        FUZZ_CHECK(text.trimmed().startsWith(number));
        const RealStringParser numberPart(number);
        const UnitsParser parsedUnits(unitsPart);
        if (ok) {
            FUZZ_CHECK(std::isfinite(real));
        }
        if (numberPart.isReal() && parsedUnits.conversionFactor() == 1.0) {
            // The units' prefix moves the decimal point, exactly.
            const RealStringParser shifted(numberPart.value(Scientific, parsedUnits.exponent()));
            FUZZ_CHECK(ok == shifted.isReal());
            if (ok) {
                FUZZ_CHECK(real == shifted.valueAsReal());
            }
        } else if (!numberPart.isReal()) {
            FUZZ_CHECK(!ok);
        }
    }

    // Display of a value with units and desired units: no invariant beyond consistency of
    // the invalid case, but every path runs.
    for (const bool canScale : {false, true}) {
        RealString value(text, units, desired, canScale);
        const QString shown = value.scaledValueWithUnits(6);
        const QString plain = value.unscaledValueWithoutUnits(17);
        bool converted = false;
        value.unscaledValueWithoutUnitsAsDouble(&converted);
        if (value.state() != RealStringParser::Real) {
            FUZZ_CHECK_EQ(plain, text);
            FUZZ_CHECK_EQ(shown, units.isEmpty() ? text : QString(text + QLatin1Char(' ') + units));
        } else {
            FUZZ_CHECK(!shown.isEmpty());
            value.setValueScaleFactorOverridesUnitsScaleFactor(false);
            value.scaledValueWithUnits(17);
            value.scaledUnits();
        }
    }
    return 0;
}

// SPDX-License-Identifier: MIT
#include <orrery/units.h>

#include <climits>

namespace Orrery {

namespace {

int clampToInt(long long value) {
    if (value < INT_MIN) {
        return INT_MIN;
    }
    if (value > INT_MAX) {
        return INT_MAX;
    }
    return static_cast<int>(value);
}

}  // namespace

// Both flags get the two-argument constructor's values.
RealString::RealString()
    : m_desiredUnitsCanScale(false), m_valueScaleFactorOverridesUnitsScaleFactor(true) {}

RealString::RealString(const QString& value, const QString& units)
    : m_value(value),
      m_units(units),
      m_desiredUnitsCanScale(false),
      m_valueScaleFactorOverridesUnitsScaleFactor(true) {}

RealString::RealString(const QString& value, const QString& units, const QString& desiredUnits,
                       bool desiredUnitsCanScale)
    : m_value(value),
      m_units(units),
      m_desiredUnits(desiredUnits),
      m_desiredUnitsCanScale(desiredUnitsCanScale),
      m_valueScaleFactorOverridesUnitsScaleFactor(true) {}

RealString::RealString(const RealString& other) = default;
RealString::RealString(RealString&& other) noexcept = default;
RealString& RealString::operator=(const RealString& other) = default;
RealString& RealString::operator=(RealString&& other) noexcept = default;
RealString::~RealString() = default;

void RealString::setValue(const QString& value) {
    m_value = RealStringParser(value);
}

void RealString::setUnits(const QString& units) {
    m_units = UnitsParser(units);
}

void RealString::setDesiredUnits(const QString& desiredUnits) {
    m_desiredUnits = UnitsParser(desiredUnits);
}

void RealString::setDesiredUnitsCanScale(bool canScale) {
    m_desiredUnitsCanScale = canScale;
}

void RealString::setValueScaleFactorOverridesUnitsScaleFactor(bool overrides) {
    m_valueScaleFactorOverridesUnitsScaleFactor = overrides;
}

int RealString::totalExponent(const RealStringParser& value) const {
    long long total = value.exponent();
    if (!(value.scaleFactorFound() && m_valueScaleFactorOverridesUnitsScaleFactor)) {
        total += m_units.m_exponent;
    }
    return clampToInt(total);
}

int RealString::roundedExponent(const UnitsParser& units, int exponent) const {
    return units.getPrefixExponent(exponent);
}

int RealString::exponentFromDesiredUnits(const RealStringParser& value) const {
    if (!m_desiredUnitsCanScale) {
        return m_desiredUnits.m_exponent;
    }
    if (!m_desiredUnits.m_canHavePrefix) {
        return 0;
    }
    return roundedExponent(m_desiredUnits, totalExponent(value));
}

QString RealString::valueAsString(const RealStringParser& value, int exponent) const {
    // The offset makes value() show the total exponent less the prefix exponent.
    const long long offset =
        static_cast<long long>(totalExponent(value)) - exponent - value.exponent();
    return value.value(RealStringParser::Engineering, clampToInt(offset));
}

QString RealString::scaledUnits() const {
    if (!m_desiredUnits.isEmpty()) {
        if (m_desiredUnitsCanScale && m_desiredUnits.m_canHavePrefix) {
            return m_desiredUnits.unitsWithPrefix(exponentFromDesiredUnits(m_value));
        }
        return m_desiredUnits.m_units;
    }
    if (m_units.m_canHavePrefix) {
        return m_units.unitsWithPrefix(roundedExponent(m_units, totalExponent(m_value)));
    }
    return m_units.m_units;
}

QString RealString::scaledValue(int precision) const {
    if (!m_desiredUnits.isEmpty()) {
        if (m_desiredUnits.m_conversionFactor == m_units.m_conversionFactor) {
            return valueAsString(m_value, exponentFromDesiredUnits(m_value));
        }
        const double converted =
            m_units.m_conversionFactor / m_desiredUnits.m_conversionFactor * m_value.valueAsReal();
        const QString text = QString::number(converted, 'g', precision);
        const RealStringParser convertedValue(text);
        if (!convertedValue.isReal()) {
            return text;
        }
        return valueAsString(convertedValue, exponentFromDesiredUnits(convertedValue));
    }
    const int prefix =
        m_units.m_canHavePrefix ? roundedExponent(m_units, totalExponent(m_value)) : 0;
    return valueAsString(m_value, prefix);
}

QString RealString::scaledValueWithUnits(int precision) const {
    if (!m_value.isReal()) {
        if (m_units.m_units.isEmpty()) {
            return m_value.originalValue();
        }
        return QString(m_value.originalValue() + QLatin1Char(' ') + m_units.m_units);
    }
    const QString value = scaledValue(precision);
    const QString units = scaledUnits();
    if (units.isEmpty()) {
        return value;
    }
    return QString(value + QLatin1Char(' ') + units);
}

QString RealString::unscaledValueWithoutUnits(int precision) const {
    if (!m_value.isReal()) {
        return m_value.originalValue();
    }
    const auto offset = [this](const RealStringParser& value) {
        return value.scaleFactorFound() && m_valueScaleFactorOverridesUnitsScaleFactor
                   ? 0
                   : m_units.m_exponent;
    };
    if (m_units.m_conversionFactor == 1.0) {
        return m_value.value(RealStringParser::Engineering, offset(m_value));
    }
    const QString text =
        QString::number(m_units.m_conversionFactor * m_value.valueAsReal(), 'g', precision);
    const RealStringParser converted(text);
    if (!converted.isReal()) {
        return text;
    }
    return converted.value(RealStringParser::Engineering, offset(converted));
}

double RealString::unscaledValueWithoutUnitsAsDouble(bool* ok) const {
    // The precision is fixed at six significant digits.
    return unscaledValueWithoutUnits(6).toDouble(ok);
}

double RealString::asReal(const QString& text, bool* ok) {
    if (ok != nullptr) {
        *ok = false;
    }
    // The number and the units as parseNumberAndUnits splits them, the number parsed and
    // normalised.
    RealStringParser value;
    QString unitsText;
    if (!RealStringParser::splitNumberAndUnits(text, &value, &unitsText) || !value.isReal()) {
        return 0.0;
    }
    const UnitsParser units(unitsText);
    // The units prefix is always multiplied in here, whatever scale suffix the number has.
    if (units.conversionFactor() == 1.0) {
        return value.valueAsDouble(RealStringParser::Engineering, units.exponent(), ok);
    }
    // Six significant digits, deliberately, whatever the precision of the value.
    const RealStringParser converted(
        QString::number(value.valueAsReal() * units.conversionFactor(), 'g', 6));
    if (!converted.isReal()) {
        return 0.0;
    }
    return converted.valueAsDouble(RealStringParser::Engineering, units.exponent(), ok);
}

}  // namespace Orrery

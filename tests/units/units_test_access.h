// SPDX-License-Identifier: MIT
// Test-only access to the private fields and helpers of the numbers-with-units classes.
#pragma once

#include <orrery/units.h>

#include "qtprinters.h"

#include <QString>

#include <cstddef>
#include <ostream>
#include <vector>

namespace Orrery {

struct UnitsTestAccess {
    // UnitsParser fields.
    static const QString& units(const UnitsParser& u) { return u.m_units; }
    static const QString& base(const UnitsParser& u) { return u.m_base; }
    static bool baseIsKnown(const UnitsParser& u) { return u.m_baseIsKnown; }
    static int getPrefixExponent(const UnitsParser& u, int e) { return u.getPrefixExponent(e); }

    /// Byte offsets of the UnitsParser fields, in declaration order.
    static std::vector<std::ptrdiff_t> fieldOffsets(const UnitsParser& u) {
        return {offset(u, &u.m_units),       offset(u, &u.m_exponent),
                offset(u, &u.m_base),        offset(u, &u.m_canHavePrefix),
                offset(u, &u.m_baseIsKnown), offset(u, &u.m_conversionFactor)};
    }

    // RealStringParser fields and helpers.
    using State = RealStringParser::State;
    static bool negative(const RealStringParser& p) { return p.m_negative; }
    static const QString& left(const RealStringParser& p) { return p.m_left; }
    static const QString& right(const RealStringParser& p) { return p.m_right; }
    static RealStringParser fromParts(State state, bool negative, const QString& left,
                                      const QString& right, int exponent) {
        return RealStringParser(state, negative, left, right, exponent);
    }
    /// A parser that has only tokenised @p text (no normalisation, no double).
    static RealStringParser tokenized(const QString& text) {
        RealStringParser p;
        p.parseValue(text);
        return p;
    }
    static void normalize(RealStringParser& p) { p.normalize(); }
    static bool isNormalized(const RealStringParser& p) { return p.isNormalized(); }
    static void transferFromLeftToRight(RealStringParser& p, int k) {
        p.transferFromLeftToRight(k);
    }
    static void transferFromRightToLeft(RealStringParser& p, int k) {
        p.transferFromRightToLeft(k);
    }
    static void deleteLeadingZerosInRight(RealStringParser& p) { p.deleteLeadingZerosInRight(); }
    static void adjustExponent(RealStringParser& p, int e) { p.adjustExponent(e); }
    static void valueToReal(RealStringParser& p) { p.valueToReal(); }
    static double valueAsDouble(const RealStringParser& p, RealStringParser::RealStringFormat f,
                                long long exponentOffset, bool* ok) {
        return p.valueAsDouble(f, exponentOffset, ok);
    }
    static void clear(RealStringParser& p) { p.clear(); }
    static bool equal(const RealStringParser& a, const RealStringParser& b) { return a == b; }

    /// Byte offsets of the RealStringParser fields, in declaration order.
    static std::vector<std::ptrdiff_t> fieldOffsets(const RealStringParser& p) {
        return {offset(p, &p.m_state),    offset(p, &p.m_originalValue),
                offset(p, &p.m_negative), offset(p, &p.m_valueAsReal),
                offset(p, &p.m_left),     offset(p, &p.m_right),
                offset(p, &p.m_exponent), offset(p, &p.m_scaleFactorFound)};
    }

    // RealString fields.
    static const RealStringParser& value(const RealString& r) { return r.m_value; }
    static const UnitsParser& desiredUnits(const RealString& r) { return r.m_desiredUnits; }
    static bool desiredUnitsCanScale(const RealString& r) { return r.m_desiredUnitsCanScale; }
    static bool overrides(const RealString& r) {
        return r.m_valueScaleFactorOverridesUnitsScaleFactor;
    }
    static int totalExponent(const RealString& r, const RealStringParser& p) {
        return r.totalExponent(p);
    }
    static int exponentFromDesiredUnits(const RealString& r, const RealStringParser& p) {
        return r.exponentFromDesiredUnits(p);
    }
    static QString valueAsString(const RealString& r, const RealStringParser& p, int e) {
        return r.valueAsString(p, e);
    }

    /// Byte offsets of the RealString fields, in declaration order.
    static std::vector<std::ptrdiff_t> fieldOffsets(const RealString& r) {
        return {offset(r, &r.m_value), offset(r, &r.m_units), offset(r, &r.m_desiredUnits),
                offset(r, &r.m_desiredUnitsCanScale),
                offset(r, &r.m_valueScaleFactorOverridesUnitsScaleFactor)};
    }

private:
    template <typename Object, typename Field>
    static std::ptrdiff_t offset(const Object& object, const Field* field) {
        return reinterpret_cast<const char*>(field) - reinterpret_cast<const char*>(&object);
    }
};

}  // namespace Orrery

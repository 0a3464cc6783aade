// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Numbers with units: units parser, real string parser and real string.
 *
 * Values such as "4.7k" or "-1.5e-3" are kept as exact decimal digit strings, so
 * moving a value between metric prefixes never rounds it. A double is only used
 * for `valueAsReal` and where a units conversion factor has to be applied.
 * @ingroup units
 */
#pragma once

#include <orrery/orrery_export.h>

#include <QString>

namespace Orrery {

class RealString;

/// @addtogroup units
/// @{

/**
 * @brief Splits a units string ("GHz", "mil", "pF") into a one-letter metric prefix
 * and a base unit, and knows the conversion factor of a few whole units.
 *
 * Prefixes are the characters of "afpnumc_kMGT" (atto to tera; "_" is an explicit
 * "no prefix"). A string that is a key of the conversion table ("mil", "in", "ft",
 * "mi", "meter", "dB", "%", "PHz", the empty string, ...) is taken whole, with no
 * prefix. The class never fails: an unknown unit is simply a base unit with factor 1.
 */
class ORRERY_EXPORT UnitsParser {
public:
    /// @brief Empty units: no prefix, factor 1.0, no prefix may be added. Cannot fail.
    UnitsParser();
    /**
     * @brief Parses @p units, as a whole-string conversion-table entry first, else as an
     * optional prefix character followed by the base unit. Cannot fail; anything
     * unrecognised becomes the base unit.
     */
    UnitsParser(const QString& units);  // NOLINT(google-explicit-constructor)
    /// @brief Copies the parsed units. Cannot fail.
    UnitsParser(const UnitsParser& other);
    /// @brief Takes over the parsed units of @p other. Cannot fail.
    UnitsParser(UnitsParser&& other) noexcept;
    /// @brief Copies the parsed units. Cannot fail.
    UnitsParser& operator=(const UnitsParser& other);
    /// @brief Takes over the parsed units of @p other. Cannot fail.
    UnitsParser& operator=(UnitsParser&& other) noexcept;
    /// @brief Releases the strings. Cannot fail.
    ~UnitsParser();

    /**
     * @brief The base unit. When a prefix may be put in front and the base unit is not
     * a known one but starts with a prefix character, it comes back with a leading
     * "_" so that a later parse does not take that letter for a prefix. Cannot fail.
     */
    QString baseUnits() const;
    /// @brief Whether a prefix may be put in front (false for conversion-table units).
    /// Cannot fail.
    bool canHavePrefix() const { return m_canHavePrefix; }
    /// @brief The power of ten of the parsed prefix; 0 without one. Cannot fail.
    int exponent() const { return m_exponent; }
    /// @brief The factor to the reference unit (metre for lengths); 1.0 for units
    /// outside the conversion table. Cannot fail.
    double conversionFactor() const { return m_conversionFactor; }
    /// @brief Whether the units string as given is empty. Cannot fail.
    bool isEmpty() const { return m_units.isEmpty(); }

    /**
     * @brief The prefix text for @p exponent ("a" for -18 ... "T" for 12, "c" for -2).
     * For 0 it is "_" when the base unit needs one (see baseUnits()), else "".
     * @return "" for an exponent that has no prefix.
     */
    QString getPrefix(int exponent) const;
    /**
     * @brief The prefix exponent to use for a wanted power of ten: clamped to
     * -18..12 and rounded down to a multiple of 3; -2 is kept only when these
     * units were written with centi.
     * @return 0 when no prefix may be put in front of these units.
     */
    int prefixExponent(int exponent) const;
    /**
     * @brief The base unit with the prefix for @p exponent in front (an exponent from
     * prefixExponent()). @return the base unit alone when no prefix may be added.
     */
    QString unitsWithPrefix(int exponent) const;

    /**
     * @brief Whether @p c is a prefix character; its power of ten goes to @p exponent
     * (0 for "_").
     * @return false for any other character, with @p exponent set to 0 (when given).
     */
    static bool isPrefix(char c, int* exponent);
    /**
     * @brief 10 to the power @p exponent for the prefix exponents -18..-3 and 3..12
     * in steps of 3. @return 1.0 for every other exponent, centi (-2) included.
     */
    static double unitsPrefixScaleFactor(int exponent);
    /**
     * @brief Whether @p units is acceptable behind a number: empty, a conversion-table
     * entry, a lone prefix, a known unit, or an optional prefix followed by a letter or
     * "_" and then letters, digits or "_".
     * @return false for anything else ("m/s", "123", "Ohm 2").
     */
    static bool unitsAreValid(const QString& units);

private:
    friend class RealString;
    friend struct UnitsTestAccess;  // unit tests inspect the fields

    int getPrefixExponent(int exponent) const;
    bool baseNeedsUnderscore() const;

    QString m_units;
    int m_exponent;
    QString m_base;
    bool m_canHavePrefix;
    bool m_baseIsKnown;
    double m_conversionFactor;
};

/**
 * @brief Reads a number as typed in a parameter field ("-1.5e-3", "123.45k"), keeps it
 * as exact decimal digits, normalises it to one non-zero digit before the point and
 * writes it in scientific or engineering notation.
 *
 * A prefix character of UnitsParser directly behind the number, at the end of the
 * text or followed by white space, is a scale factor ("4.7k" is 4.7e3).
 */
class ORRERY_EXPORT RealStringParser {
public:
    /// The outcome of parsing.
    enum State {
        Invalid = 0,  ///< not a number, or trailing text where none is allowed
        Empty = 1,    ///< no digits, or a number ending in a bare exponent mark
        Real = 2      ///< a valid number
    };
    /// How value() writes the number.
    enum RealStringFormat {
        Scientific = 0,  ///< one digit before the point
        Engineering = 1  ///< exponent a multiple of 3, one to three digits before the point
    };

    /// @brief A cleared parser: state Invalid, no digits, exponent 0. Cannot fail.
    RealStringParser();
    /**
     * @brief Parses and normalises @p text and computes valueAsReal().
     * Failure shows in state(): Empty without digits, Invalid for text after the
     * number, a malformed or out-of-range exponent, or a magnitude a double cannot hold.
     */
    RealStringParser(const QString& text);  // NOLINT(google-explicit-constructor)
    /// @brief Copies the parse result, state included. Cannot fail.
    RealStringParser(const RealStringParser& other);
    /// @brief Takes over the parse result of @p other. Cannot fail.
    RealStringParser(RealStringParser&& other) noexcept;
    /// @brief Copies the parse result, state included. Cannot fail.
    RealStringParser& operator=(const RealStringParser& other);
    /// @brief Takes over the parse result of @p other. Cannot fail.
    RealStringParser& operator=(RealStringParser&& other) noexcept;
    /// @brief Releases the strings. Cannot fail.
    ~RealStringParser();

    /// @brief The parse state. Cannot fail.
    State state() const { return m_state; }
    /// @brief Whether the state is Real. Cannot fail.
    bool isReal() const { return m_state == Real; }
    /// @brief The text the parser was built from, unchanged. Cannot fail.
    const QString& originalValue() const { return m_originalValue; }
    /// @brief The value as a double; 0.0 unless the state is Real. Cannot fail.
    double valueAsReal() const { return m_valueAsReal; }
    /// @brief The power of ten applied to the digits. Cannot fail.
    int exponent() const { return m_exponent; }
    /// @brief Whether a scale-factor suffix was read. Cannot fail.
    bool scaleFactorFound() const { return m_scaleFactorFound; }
    /// @brief The exponent as decimal text ("-3", "12"). Cannot fail.
    QString expString() const;

    /// @brief value(format, 0). Cannot fail; "0" for zero or no digits.
    QString value(RealStringFormat format) const;
    /**
     * @brief Writes the digits with @p exponentOffset added to the exponent first
     * (pass -p to show the value in units of prefix exponent p). No "+" in the
     * exponent, no padding zeros after the point; engineering values from 0.001 up
     * to 1 are written without an exponent ("0.015").
     * @return "0" when there are no digits before the point (zero), whatever the sign.
     */
    QString value(RealStringFormat format, int exponentOffset) const;

    /**
     * @brief Splits @p text into the number as typed (sign, digits, exponent and
     * scale suffix) and the trimmed units after it. Either output may be null.
     * @return false, with both outputs empty, when the text does not start with a
     * valid number; otherwise whether the units are valid (UnitsParser::unitsAreValid),
     * the outputs being filled in both cases.
     */
    static bool parseNumberAndUnits(QString text, QString* number, QString* units);

private:
    friend class RealString;
    friend struct UnitsTestAccess;  // unit tests reach the digit helpers
    struct Tokens;

    RealStringParser(State state, bool negative, QString left, QString right, int exponent);

    void takeNormalized(const QString& text, const Tokens& tokens);
    static bool splitNumberAndUnits(const QString& text, RealStringParser* number, QString* units);
    double valueAsDouble(RealStringFormat format, long long exponentOffset, bool* ok) const;

    void parseValue(const QString& text);
    void normalize();
    bool isNormalized() const;
    void transferFromLeftToRight(int count);
    void transferFromRightToLeft(int count);
    void deleteLeadingZerosInRight();
    void adjustExponent(int exponent);
    void valueToReal();
    void clear();
    bool operator==(const RealStringParser& other) const;
    bool addToExponent(long long delta);

    State m_state;
    QString m_originalValue;
    bool m_negative;
    double m_valueAsReal;
    QString m_left;
    QString m_right;
    int m_exponent;
    bool m_scaleFactorFound;
};

/**
 * @brief A number with its units ("4.7k" in "Ohm"), optionally with desired display
 * units, shown with the best metric prefix or converted to base units.
 *
 * Failure is reported through state() and the @c ok flags: a value that does not
 * parse is shown as its original text.
 */
class ORRERY_EXPORT RealString {
public:
    /// The parse state of the value (RealStringParser::State).
    using State = RealStringParser::State;

    /// @brief A cleared value (state Invalid) with empty units. Cannot fail.
    RealString();
    /// @brief Parses @p value and @p units; no desired units, and a scale suffix on the
    /// value overrides the prefix of the units. Failure shows in state().
    RealString(const QString& value, const QString& units);
    /// @brief As the two-argument form, shown in @p desiredUnits, with a prefix chosen in
    /// front of them when @p desiredUnitsCanScale is true. Failure shows in state().
    RealString(const QString& value, const QString& units, const QString& desiredUnits,
               bool desiredUnitsCanScale);
    /// @brief Copies value, units, desired units and settings. Cannot fail.
    RealString(const RealString& other);
    /// @brief Takes over value, units, desired units and settings of @p other. Cannot fail.
    RealString(RealString&& other) noexcept;
    /// @brief Copies value, units, desired units and settings. Cannot fail.
    RealString& operator=(const RealString& other);
    /// @brief Takes over value, units, desired units and settings of @p other. Cannot fail.
    RealString& operator=(RealString&& other) noexcept;
    /// @brief Releases the strings. Cannot fail.
    ~RealString();

    /// @brief Replaces the value as a fresh RealStringParser would read it.
    /// Failure shows in state().
    void setValue(const QString& value);
    /// @brief Replaces the units. Cannot fail.
    void setUnits(const QString& units);
    /// @brief Replaces the desired units; an empty string means no wish. Cannot fail.
    void setDesiredUnits(const QString& desiredUnits);
    /// @brief Whether a prefix may be chosen in front of the desired units. Cannot fail.
    void setDesiredUnitsCanScale(bool canScale);
    /// @brief Whether a scale suffix on the value replaces the prefix of the units
    /// (true) or is multiplied with it (false). Cannot fail.
    void setValueScaleFactorOverridesUnitsScaleFactor(bool overrides);

    /// @brief The parse state of the value. Cannot fail.
    State state() const { return m_value.state(); }
    /// @brief The units string as given. Cannot fail.
    QString units() const { return m_units.m_units; }

    /**
     * @brief The units to show the value in: the desired units (with the chosen prefix
     * when they may scale), else the units with the best prefix, else the units as given.
     * Cannot fail.
     */
    QString scaledUnits() const;
    /**
     * @brief The value for scaledUnits(), normally one to three digits before the point
     * and no exponent. @p precision is the number of significant digits used only when
     * a conversion factor forces the value through a double.
     * @return the text of value() for an unparsed value ("0" when it has no digits).
     */
    QString scaledValue(int precision) const;
    /**
     * @brief scaledValue() and scaledUnits() separated by a blank (no blank when there
     * are no units). @return the original value text and the units as given when the
     * value is not a real number.
     */
    QString scaledValueWithUnits(int precision) const;
    /**
     * @brief The value in base units, without units; @p precision as for scaledValue().
     * @return the original value text when the value is not a real number.
     */
    QString unscaledValueWithoutUnits(int precision) const;
    /**
     * @brief unscaledValueWithoutUnits(6) as a double.
     * @return 0.0 with @p ok false (when given) when that text is not a number.
     */
    double unscaledValueWithoutUnitsAsDouble(bool* ok) const;

    /**
     * @brief Converts a typed "number and units" text ("10 mil", "1.5 GHz") to a double
     * in base units; the prefix of the units is always multiplied in, and a conversion
     * factor is applied with six significant digits.
     * @return 0.0 with @p ok false (when given) when the number or the units are not
     * valid.
     */
    static double asReal(const QString& text, bool* ok);

private:
    friend struct UnitsTestAccess;  // unit tests inspect the layout

    int exponentFromDesiredUnits(const RealStringParser& value) const;
    int totalExponent(const RealStringParser& value) const;
    QString valueAsString(const RealStringParser& value, int exponent) const;
    int roundedExponent(const UnitsParser& units, int exponent) const;

    RealStringParser m_value;
    UnitsParser m_units;
    UnitsParser m_desiredUnits;
    bool m_desiredUnitsCanScale;
    bool m_valueScaleFactorOverridesUnitsScaleFactor;
};

/// @}

}  // namespace Orrery

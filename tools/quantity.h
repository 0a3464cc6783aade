// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief Quantity, an example property-object type: a number with units, kept as the two
 *        texts "Value" ("4700") and "Units" ("Ohm") in one container.
 *
 * Registered with PropertyObjectFactory under "Quantity" so that data files holding
 * quantities can be read back. Its OnDeserialization() hook checks the number once the
 * container has been read.
 */
#pragma once

#include <orrery/property.h>
#include <orrery/units.h>

#include <QString>

namespace OrreryTools {

/**
 * @brief A container with the simple text children "Value" and "Units".
 */
class Quantity : public Orrery::PropertyObject {
public:
    /// @brief An empty, unnamed quantity. Never fails.
    Quantity();
    /// @brief A quantity named @p name holding @p value in @p units. Never fails.
    Quantity(const QString& name, const QString& value, const QString& units);
    /// @brief A deep copy of @p other (its children are copied by the library). Never fails.
    Quantity(const Quantity& other);

    /// @brief The type name "Quantity". Never fails.
    static const QString& StaticType();
    /**
     * @brief Registers the type with PropertyObjectFactory.
     * @return RESULT_OK, or RESULT_ALREADY_EXISTS when it was registered before.
     */
    static Orrery::ERESULT Register();
    /// @brief StaticType(). Never fails.
    const QString& PropertyObjType() const override;
    /// @brief Checks the number that was read; see IsValid(). Never fails.
    void OnDeserialization() override;

    /// @brief The "Value" text; empty when there is none. Never fails.
    QString Value();
    /// @brief The "Units" text; empty when there is none. Never fails.
    QString Units();
    /// @brief Whether the last OnDeserialization() found a valid number. Never fails.
    bool IsValid() const { return valid; }
    /// @brief How often OnDeserialization() ran on this object. Never fails.
    int DeserializationCount() const { return deserialized; }
    /**
     * @brief The value as a RealString in its units, shown in @p desiredUnits when given.
     * @return a RealString whose state() tells whether the value is a number.
     */
    Orrery::RealString ToRealString(const QString& desiredUnits = QString(),
                                    bool desiredUnitsCanScale = true);

protected:
    /// @brief A new Quantity copied from this one. Never fails.
    Orrery::AbstractProperty* DoClone() const override;

private:
    QString Text(const QString& child);

    bool valid = false;
    int deserialized = 0;
};

}  // namespace OrreryTools

// SPDX-License-Identifier: MIT
// The value leaf and the typed access of containers to their simple children.

#include <orrery/property.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

namespace Orrery {

using Tolmarsk::Qel::KVariant;

namespace {

namespace TypeCode = Tolmarsk::Qel::TypeCode;

// The dimensions joined by "x": "2x1"; a scalar reads "1".
std::string sizeText(const KVariant& value) {
    std::string text;
    for (std::uint64_t extent : value.dimensions()) {
        if (!text.empty()) {
            text += 'x';
        }
        text += std::to_string(extent);
    }
    return text;
}

// Throws "unknown type" itself for a value whose element type has no name (the null variant).
template <class T>
std::string conversionMessage(const KVariant& value) {
    const std::string sourceType = value.elementTypeName();
    return "Cannot convert Tolmarsk::Qel::KVariant of type '" + sourceType +
           "' (size: " + sizeText(value) + ") to '" + Tolmarsk::Qel::typeName<T>() + "'";
}

bool holdsExactlyOneElement(const KVariant& value) {
    std::uint64_t product = 1;
    bool allOnes = true;
    for (std::uint64_t extent : value.dimensions()) {
        product *= extent;
        allOnes = allOnes && extent == 1;
    }
    return product != 0 && allOnes;
}

// The single element of `value` as T, converted when needed.
// Throws std::runtime_error with the conversion message when that is not possible.
template <class T>
T extractScalar(const KVariant& value) {
    constexpr std::uint16_t targetCode = Tolmarsk::Qel::TypeCodeOf<T>::value;
    const std::uint16_t code = value.typeCode();
    const bool usable = code != TypeCode::Null &&
                        !(code == TypeCode::Custom && value.typeInfo() == typeid(void)) &&
                        (value.isScalar() || holdsExactlyOneElement(value));
    if (usable) {
        if (code == targetCode) {
            return value.get<T>(0);
        }
        const KVariant converted = value.convert(targetCode, 1);
        if (!converted.isNull()) {
            return converted.get<T>(0);
        }
    }
    throw std::runtime_error(conversionMessage<T>(value));
}

SimpleProperty* simpleChild(PropertyObject& object, const QString& name) {
    return dynamic_cast<SimpleProperty*>(object.GetPropertyPtr(name));
}

template <class T>
ERESULT readNumber(PropertyObject& object, const QString& name, T* out) {
    if (out == nullptr) {
        return RESULT_INVALID_ARGUMENT;
    }
    SimpleProperty* child = simpleChild(object, name);
    if (child == nullptr) {
        return RESULT_INVALID_ARGUMENT;
    }
    const KVariant value = child->GetValue();
    try {
        *out = extractScalar<T>(value);
    } catch (const std::runtime_error&) {
        return RESULT_FAILED;
    }
    return RESULT_OK;
}

}  // namespace

SimpleProperty::SimpleProperty() : AbstractProperty(), value(), cellArray(NotCellArray) {
    InitNewProperty();
}

SimpleProperty::SimpleProperty(const QString& name)
    : AbstractProperty(name), value(), cellArray(NotCellArray) {
    InitNewProperty();
}

SimpleProperty::SimpleProperty(const SimpleProperty& other)
    : AbstractProperty(other), value(other.value), cellArray(other.cellArray) {}

SimpleProperty& SimpleProperty::operator=(const SimpleProperty& other) {
    if (this != &other) {
        AbstractProperty::operator=(other);
        value = other.value;
        cellArray = other.cellArray;
    }
    return *this;
}

SimpleProperty::~SimpleProperty() = default;

void SimpleProperty::InitNewProperty() {}

const QString& SimpleProperty::StaticType() {
    static const QString type = QStringLiteral("Prop");
    return type;
}

const QString& SimpleProperty::PropertyObjType() const {
    return StaticType();
}

unsigned int SimpleProperty::GetTypeFlags() const {
    return Property::TYPE_SIMPLE_PROPERTY;
}

AbstractProperty* SimpleProperty::DoClone() const {
    return new SimpleProperty(*this);
}

KVariant SimpleProperty::GetValue() {
    return value;
}

IsCellArray SimpleProperty::GetValueIsCellArray() {
    return cellArray;
}

ERESULT SimpleProperty::SetValue(KVariant newValue, IsCellArray newCellArray) {
    if (IsReadOnly()) {
        return RESULT_FAILED;
    }
    value = std::move(newValue);
    cellArray = newCellArray;
    return RESULT_OK;
}

ERESULT PropertyObject::SetProperty(const QString& name, const KVariant& value) {
    SimpleProperty* child = simpleChild(*this, name);
    if (child == nullptr) {
        auto* created = new SimpleProperty(name);
        const ERESULT inserted = InsertProperty(created);
        if (inserted < 0) {
            delete created;
            return inserted;
        }
        child = created;
    }
    return child->SetValue(value, NotCellArray);
}

ERESULT PropertyObject::SetProperty(const QString& name, const QString& value) {
    return SetProperty(name, KVariant(value.toStdString()));
}

ERESULT PropertyObject::SetProperty(const QString& name, const QStringList& value) {
    std::vector<std::string> strings;
    strings.reserve(static_cast<std::size_t>(value.size()));
    for (const QString& text : value) {
        strings.push_back(text.toStdString());
    }
    return SetProperty(name, KVariant(strings.data(), strings.size()));
}

ERESULT PropertyObject::GetProperty(const QString& name, QString* value) {
    if (value == nullptr) {
        return RESULT_INVALID_ARGUMENT;
    }
    SimpleProperty* child = simpleChild(*this, name);
    if (child == nullptr) {
        return RESULT_INVALID_ARGUMENT;
    }
    const KVariant stored = child->GetValue();
    std::uint64_t product = 1;
    const std::vector<std::uint64_t> dimensions = stored.dimensions();
    for (std::uint64_t extent : dimensions) {
        product *= extent;
    }
    if (dimensions.empty() || product == 0) {
        *value = QString();
        return RESULT_OK;
    }
    // Deliberately not caught, unlike the numeric reads: a value that cannot become text
    // reaches the caller as std::runtime_error.
    *value = QString::fromStdString(extractScalar<std::string>(stored));
    return RESULT_OK;
}

ERESULT PropertyObject::GetProperty(const QString& name, int* value) {
    return readNumber(*this, name, value);
}

ERESULT PropertyObject::GetProperty(const QString& name, double* value) {
    return readNumber(*this, name, value);
}

ERESULT PropertyObject::GetProperty(const QString& name, bool* value) {
    return readNumber(*this, name, value);
}

}  // namespace Orrery

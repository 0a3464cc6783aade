// SPDX-License-Identifier: MIT
#include "quantity.h"

namespace OrreryTools {

namespace {

Orrery::PropertyObject* createQuantity() {
    return new Quantity;
}

}  // namespace

Quantity::Quantity() = default;

Quantity::Quantity(const QString& name, const QString& value, const QString& units)
    : PropertyObject(name) {
    SetProperty(QStringLiteral("Value"), value);
    SetProperty(QStringLiteral("Units"), units);
    valid = Orrery::RealStringParser(value).isReal();
}

Quantity::Quantity(const Quantity& other)
    : PropertyObject(other), valid(other.valid), deserialized(0) {}

const QString& Quantity::StaticType() {
    static const QString type = QStringLiteral("Quantity");
    return type;
}

Orrery::ERESULT Quantity::Register() {
    return Orrery::PropertyObjectFactory::Instance()->RegisterType(StaticType(), &createQuantity);
}

const QString& Quantity::PropertyObjType() const {
    return StaticType();
}

void Quantity::OnDeserialization() {
    ++deserialized;
    valid = Orrery::RealStringParser(Value()).isReal();
}

QString Quantity::Text(const QString& child) {
    auto* simple = dynamic_cast<Orrery::SimpleProperty*>(GetPropertyPtr(child));
    if (simple == nullptr) {
        return QString();
    }
    const Tolmarsk::Qel::KVariant text =
        simple->GetValue().convert(Tolmarsk::Qel::TypeCode::String, 1);
    return text.isNull() ? QString() : QString::fromStdString(text.get<std::string>());
}

QString Quantity::Value() {
    return Text(QStringLiteral("Value"));
}

QString Quantity::Units() {
    return Text(QStringLiteral("Units"));
}

Orrery::RealString Quantity::ToRealString(const QString& desiredUnits, bool desiredUnitsCanScale) {
    if (desiredUnits.isEmpty()) {
        return Orrery::RealString(Value(), Units());
    }
    return Orrery::RealString(Value(), Units(), desiredUnits, desiredUnitsCanScale);
}

Orrery::AbstractProperty* Quantity::DoClone() const {
    return new Quantity(*this);
}

}  // namespace OrreryTools

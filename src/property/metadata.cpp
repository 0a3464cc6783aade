// SPDX-License-Identifier: MIT
// The abstract metadata container.

#include <orrery/property.h>

namespace Orrery {

Metadata::Metadata() : PropertyObject() {}

Metadata::Metadata(const QString& name) : PropertyObject(name) {}

Metadata::Metadata(const Metadata& other) : PropertyObject(other) {}

Metadata& Metadata::operator=(const Metadata& other) {
    PropertyObject::operator=(other);
    return *this;
}

Metadata::~Metadata() = default;

unsigned int Metadata::GetTypeFlags() const {
    return Property::TYPE_PROPERTY_OBJECT | Property::TYPE_METADATA;
}

}  // namespace Orrery

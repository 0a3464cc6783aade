// SPDX-License-Identifier: MIT
// The registry of container types, created by type name.

#include <orrery/property.h>

namespace Orrery {

PropertyObjectFactory* PropertyObjectFactory::s_pInstance = nullptr;

PropertyObjectFactory::PropertyObjectFactory() = default;

PropertyObjectFactory::~PropertyObjectFactory() = default;

PropertyObjectFactory* PropertyObjectFactory::Instance() {
    // No lock: the instance is created while the library loads (see below), before any
    // client thread can ask for it.
    if (s_pInstance == nullptr) {
        s_pInstance = new PropertyObjectFactory();
    }
    return s_pInstance;
}

ERESULT PropertyObjectFactory::RegisterType(QString typeName, Creator creator) {
    if (creator == nullptr) {
        return RESULT_INVALID_ARGUMENT;
    }
    if (creators.contains(typeName)) {
        return RESULT_ALREADY_EXISTS;
    }
    creators.insert(typeName, creator);
    return RESULT_OK;
}

PropertyObject* PropertyObjectFactory::Create(const QString& typeName) const {
    const Creator creator = creators.value(typeName, nullptr);
    return creator != nullptr ? creator() : nullptr;
}

ERESULT PropertyObjectFactory::GetTypeList(QStringList* list) const {
    if (list == nullptr) {
        return RESULT_INVALID_ARGUMENT;
    }
    // Deliberately appends: names already in the list stay in front.
    for (auto it = creators.cbegin(); it != creators.cend(); ++it) {
        list->append(it.key());
    }
    return RESULT_OK;
}

namespace {

PropertyObject* createPropertyObject() {
    return new PropertyObject();
}

// Registers the built-in container type while the library loads.
[[maybe_unused]] const ERESULT s_propObjRegistration =
    PropertyObjectFactory::Instance()->RegisterType(PropertyObject::StaticType(),
                                                    &createPropertyObject);

}  // namespace

}  // namespace Orrery

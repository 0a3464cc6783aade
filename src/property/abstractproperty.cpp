// SPDX-License-Identifier: MIT
// The base node of the property tree: names, flags, parent links, cloning.

#include <orrery/datafile.h>
#include <orrery/property.h>

#include "property/treewalk_p.h"

#include <QMessageLogger>
#include <QMutex>
#include <QMutexLocker>
#include <QRegExp>

namespace Orrery {

namespace Property {

const unsigned int PropertyFlagsDefault = PROPERTY_SERIALIZABLE;
const QChar PathDelimiter = QLatin1Char('/');

}  // namespace Property

namespace {

// The name check, compiled once per process on first use (thread-safe local static).
// The 13-character pattern is the character class of ? / \ " line feed, carriage
// return and tab.
QRegExp& forbiddenNameCharacters() {
    static QRegExp pattern = [] {
        QRegExp rx(QStringLiteral("[?/\\\\\"\\n\\r\\t]"), Qt::CaseSensitive, QRegExp::RegExp);
        // Compiles the engine now, on first use.
        rx.indexIn(QString());
        return rx;
    }();
    return pattern;
}

bool hasForbiddenNameCharacter(const QString& name) {
    // A QRegExp keeps its last match inside the object, so threads take turns with the one
    // compiled object. (A per-thread copy would need a thread_local with a destructor, which
    // crashes at thread exit with mingw-w64's emulated TLS.)
    static QMutex mutex;
    const QMutexLocker locker(&mutex);
    return forbiddenNameCharacters().indexIn(name) != -1;
}

}  // namespace

AbstractProperty::AbstractProperty()
    : name(), flags(Property::PropertyFlagsDefault), parent(nullptr) {
    InitNewProperty();
}

AbstractProperty::AbstractProperty(const QString& newName)
    : name(newName), flags(Property::PropertyFlagsDefault), parent(nullptr) {
    InitNewProperty();
}

AbstractProperty::AbstractProperty(const AbstractProperty& other)
    : name(other.name), flags(other.flags), parent(nullptr) {}

AbstractProperty& AbstractProperty::operator=(const AbstractProperty& other) {
    name = other.name;
    flags = other.flags;
    return *this;
}

AbstractProperty::~AbstractProperty() {
    Internal::forgetPendingPathChange(this);
    if (parent != nullptr) {
        parent->TakeProperty(name);
    }
}

unsigned int AbstractProperty::GetTypeFlags() const {
    return 0;
}

void AbstractProperty::OnDeserialization() {}

void AbstractProperty::OnPathChanged() {}

void AbstractProperty::InitNewProperty() {
    parent = nullptr;
    flags = Property::PropertyFlagsDefault;
}

void AbstractProperty::SetParent(PropertyObject* newParent) {
    parent = newParent;
    OnPathChanged();
}

QString AbstractProperty::GetName() {
    return name;
}

ERESULT AbstractProperty::SetName(const QString& newName) {
    if (IsReadOnly()) {
        return RESULT_FAILED;
    }
    if (hasForbiddenNameCharacter(newName)) {
        return RESULT_INVALID_ARGUMENT;
    }
    if (parent != nullptr && newName != name && parent->HasProperty(newName)) {
        // The doubled blank and the spelling "aleady" are deliberate: the text is kept as is.
        QMessageLogger().warning("warning,  attempt to rename object to name aleady in parent");
        return RESULT_ALREADY_EXISTS;
    }
    const QString oldName = name;
    name = newName;
    ERESULT result = RESULT_OK;
    if (parent != nullptr) {
        // Re-key the entry by taking the node out and inserting it again. Deliberately, an
        // empty new name makes the re-insertion fail and leaves the node parentless.
        PropertyObject* container = parent;
        container->TakeProperty(oldName);
        result = container->InsertProperty(this);
    }
    OnPathChanged();
    return result;
}

PropertyObject* AbstractProperty::GetParent() const {
    return parent;
}

unsigned int AbstractProperty::GetPropertyFlags() const {
    return flags;
}

void AbstractProperty::SetPropertyFlags(unsigned int newFlags) {
    flags = newFlags;
}

namespace {

unsigned int withBit(unsigned int word, unsigned int bit, bool set) {
    return set ? (word | bit) : (word & ~bit);
}

}  // namespace

bool AbstractProperty::IsReadOnly() const {
    return (flags & Property::PROPERTY_READ_ONLY) != 0;
}

void AbstractProperty::SetReadOnly(bool readOnly) {
    flags = withBit(flags, Property::PROPERTY_READ_ONLY, readOnly);
}

bool AbstractProperty::IsHidden() const {
    return (flags & Property::PROPERTY_HIDDEN) != 0;
}

void AbstractProperty::SetHidden(bool hidden) {
    flags = withBit(flags, Property::PROPERTY_HIDDEN, hidden);
}

bool AbstractProperty::IsSerializable() const {
    return (flags & Property::PROPERTY_SERIALIZABLE) != 0;
}

void AbstractProperty::SetSerializable(bool serializable) {
    flags = withBit(flags, Property::PROPERTY_SERIALIZABLE, serializable);
}

bool AbstractProperty::IsPropertyObject() const {
    return (GetTypeFlags() & Property::TYPE_PROPERTY_OBJECT) != 0;
}

bool AbstractProperty::IsVariable() const {
    return (GetTypeFlags() & Property::TYPE_VARIABLE) != 0;
}

bool AbstractProperty::IsMetadata() const {
    return (GetTypeFlags() & Property::TYPE_METADATA) != 0;
}

bool AbstractProperty::IsFileRoot() const {
    return (GetTypeFlags() & Property::TYPE_FILE_ROOT) != 0;
}

bool AbstractProperty::IsPropertyReference() const {
    return (GetTypeFlags() & Property::TYPE_PROPERTY_REFERENCE) != 0;
}

bool AbstractProperty::IsSimpleProperty() const {
    return (GetTypeFlags() & Property::TYPE_SIMPLE_PROPERTY) != 0;
}

const AbstractProperty* AbstractProperty::GetRootProperty() const {
    const AbstractProperty* node = this;
    while (node->parent != nullptr) {
        node = node->parent;
    }
    return node;
}

bool AbstractProperty::HasFileRoot() const {
    return GetRootProperty()->IsFileRoot();
}

const DataFile* AbstractProperty::GetDataFile() const {
    const auto* root = dynamic_cast<const DataFile::RootProperty*>(GetRootProperty());
    return root != nullptr ? root->GetParentFile() : nullptr;
}

AbstractProperty* AbstractProperty::Clone() const {
    return DoClone();
}

}  // namespace Orrery

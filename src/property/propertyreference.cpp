// SPDX-License-Identifier: MIT
// The reference leaf: setting, following and expanding references.

#include <orrery/datafile.h>
#include <orrery/property.h>

#include <QMessageLogger>

namespace Orrery {

namespace {

void debugMessage(const QString& text) {
    QMessageLogger().debug("%s", qUtf8Printable(text));
}

}  // namespace

PropertyReference::PropertyReference()
    : AbstractProperty(), referencePath(), referenceFilePath(), referenceFileType() {
    InitNewProperty();
}

PropertyReference::PropertyReference(const QString& name)
    : AbstractProperty(name), referencePath(), referenceFilePath(), referenceFileType() {
    InitNewProperty();
}

PropertyReference::PropertyReference(const PropertyReference& other)
    : AbstractProperty(other),
      referencePath(other.referencePath),
      referenceFilePath(other.referenceFilePath),
      referenceFileType(other.referenceFileType) {}

PropertyReference& PropertyReference::operator=(const PropertyReference& other) {
    if (this != &other) {
        AbstractProperty::operator=(other);
        referencePath = other.referencePath;
        referenceFilePath = other.referenceFilePath;
        referenceFileType = other.referenceFileType;
    }
    return *this;
}

PropertyReference::~PropertyReference() = default;

void PropertyReference::InitNewProperty() {}

const QString& PropertyReference::StaticType() {
    static const QString type = QStringLiteral("PropRef");
    return type;
}

const QString& PropertyReference::PropertyObjType() const {
    return StaticType();
}

unsigned int PropertyReference::GetTypeFlags() const {
    return Property::TYPE_PROPERTY_REFERENCE;
}

AbstractProperty* PropertyReference::DoClone() const {
    return new PropertyReference(*this);
}

ERESULT PropertyReference::SetPropertyRef(const AbstractProperty* target) {
    if (target == nullptr) {
        return RESULT_INVALID_ARGUMENT;
    }
    // The path queries are non-const but do not change the node.
    auto* mutableTarget = const_cast<AbstractProperty*>(target);
    const AbstractProperty* targetRoot = target->GetRootProperty();
    if (targetRoot == GetRootProperty()) {
        referencePath = Property::GetRelativePath(GetFullPath(), mutableTarget->GetFullPath());
        referenceFilePath.clear();
        referenceFileType.clear();
        return RESULT_OK;
    }
    // A target in another data file's contents is recorded with that file's path and type.
    if ((targetRoot->GetTypeFlags() & Property::TYPE_FILE_ROOT) != 0) {
        const auto* root = dynamic_cast<const DataFile::RootProperty*>(targetRoot);
        DataFile* file = root != nullptr ? root->GetParentFile() : nullptr;
        if (file != nullptr) {
            referencePath = mutableTarget->GetFullPath();
            referenceFilePath = file->GetPath();
            referenceFileType = file->GetFileType();
            return RESULT_OK;
        }
    }
    debugMessage(QStringLiteral("Can't set reference to ") + mutableTarget->GetName() +
                 QLatin1Char('@') + QString::asprintf("%8p", static_cast<const void*>(target)));
    return RESULT_INVALID_ARGUMENT;
}

void PropertyReference::SetPropertyRefNoCheck(const QString& path) {
    referencePath = path;
    referenceFilePath.clear();
    referenceFileType.clear();
}

void PropertyReference::SetExternalRefNoCheck(const QString& path, const QString& filePath,
                                              const QString& fileType) {
    referencePath = path;
    referenceFilePath = filePath;
    referenceFileType = fileType;
}

PropertyReference::ReferenceType PropertyReference::GetReferenceType() {
    if (ReferencePath().isEmpty()) {
        return REFERENCE_NONE;
    }
    return ReferenceFilePath().isEmpty() ? REFERENCE_INTERNAL : REFERENCE_EXTERNAL;
}

QString PropertyReference::GetFullPathToReference(const QString& basePath) {
    const QString path = ReferencePath();
    if (path.isEmpty() || !ReferenceFilePath().isEmpty() ||
        path.startsWith(Property::PathDelimiter)) {
        return path;
    }
    QStringList base = basePath.split(Property::PathDelimiter);
    QStringList relative = path.split(Property::PathDelimiter);
    // The extra empty part makes the first ".." the step from the reference to its container.
    if (!basePath.endsWith(Property::PathDelimiter)) {
        base.append(QString());
    }
    while (!relative.isEmpty() && relative.first() == QLatin1String("..")) {
        relative.removeFirst();
        if (base.isEmpty()) {
            QMessageLogger().warning("Invalid relative path");
            break;
        }
        base.removeLast();
    }
    return base.join(Property::PathDelimiter) + Property::PathDelimiter +
           relative.join(Property::PathDelimiter);
}

bool PropertyReference::IsRefMetadata() const {
    return (GetPropertyConstRef()->GetTypeFlags() & Property::TYPE_METADATA) != 0;
}

bool PropertyReference::IsRefPropertyObject() const {
    return (GetPropertyConstRef()->GetTypeFlags() & Property::TYPE_PROPERTY_OBJECT) != 0;
}

bool PropertyReference::IsRefVariable() const {
    return (GetPropertyConstRef()->GetTypeFlags() & Property::TYPE_VARIABLE) != 0;
}

template <>
const AbstractProperty* PropertyReference::GetConstRef<AbstractProperty>() const {
    return GetPropertyConstRef();
}

AbstractProperty* PropertyReference::GetPropertyRef() const {
    // The accessors are virtual and non-const so that subclasses can supply the fields.
    auto* self = const_cast<PropertyReference*>(this);
    const QString path = self->ReferencePath();
    if (path.isEmpty()) {
        debugMessage(QStringLiteral("Invalid Reference ") + self->GetName());
        return nullptr;
    }
    if (!self->ReferenceFilePath().isEmpty()) {
        return ResolveExternalRef();
    }
    return self->ResolvePath(path);
}

QString PropertyReference::ReferencePath() {
    return referencePath;
}

QString PropertyReference::ReferenceFilePath() {
    return referenceFilePath;
}

QString PropertyReference::ReferenceFileType() {
    return referenceFileType;
}

const AbstractProperty* PropertyReference::GetPropertyConstRef() const {
    return GetPropertyRef();
}

AbstractProperty* PropertyReference::ResolveExternalRef() const {
    if (referenceFilePath.isEmpty()) {
        return nullptr;
    }
    // The file is opened through the factory on first use and stays open and listed.
    DataFile* file = DataFile::GetDataFile(referenceFilePath);
    if (file == nullptr) {
        file = DataFileFactory::CreateDataFile(referenceFilePath, referenceFileType);
    }
    if (file == nullptr) {
        return nullptr;
    }
    if (!file->IsLoaded()) {
        file->Load();
    }
    return file->ResolveObjectPath(referencePath);
}

}  // namespace Orrery

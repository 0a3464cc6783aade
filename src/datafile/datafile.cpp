// SPDX-License-Identifier: MIT
// DataFile, its root property, the list of open files and the file-type factory.

#include <orrery/datafile.h>

namespace Orrery {

QList<DataFile*> DataFile::s_filelist;
QMap<QString, DataFileFactory::Creator> DataFileFactory::s_createFileMap;

DataFile::RootProperty::RootProperty(DataFile* parent)
    : PropertyObject(QStringLiteral("Root")), parentFile(parent) {}

unsigned int DataFile::RootProperty::GetTypeFlags() const {
    return Property::TYPE_PROPERTY_OBJECT | Property::TYPE_FILE_ROOT;
}

DataFile* DataFile::RootProperty::GetParentFile() const {
    return parentFile;
}

DataFile::DataFile(const QString& filePath, OpenMode openMode)
    : path(filePath),
      // 128 alone also makes the file writable.
      mode(openMode == OpenModeCreate ? static_cast<OpenMode>(OpenModeCreate | OpenModeWritable)
                                      : openMode),
      contents(nullptr),
      ownsContents(true) {
    s_filelist.append(this);
}

DataFile::~DataFile() {
    if (!ownsContents) {
        contents = nullptr;
    }
    s_filelist.removeOne(this);
    delete contents;
}

const PropertyObject* DataFile::GetFileContents() const {
    return contents;
}

void DataFile::ClearFileContents() {
    if (ownsContents) {
        delete contents;
    }
    contents = nullptr;
}

AbstractProperty* DataFile::ResolveObjectPath(const QString& objectPath) {
    if (contents == nullptr) {
        return nullptr;
    }
    return contents->ResolvePath(objectPath);
}

QString DataFile::GetPath() {
    return path;
}

bool DataFile::SetPath(const QString& newPath) {
    if (newPath.isEmpty() || IsLoaded()) {
        return false;
    }
    path = newPath;
    return true;
}

DataFile::OpenMode DataFile::GetMode() {
    return mode;
}

bool DataFile::IsWritable() const {
    return (mode & OpenModeWritable) != 0;
}

bool DataFile::OwnsFileContents() const {
    return ownsContents;
}

void DataFile::SetOwnsFileContents(bool owns) {
    ownsContents = owns;
}

DataFile* DataFile::GetDataFile(const QString& filePath) {
    for (DataFile* file : qAsConst(s_filelist)) {
        if (file->path == filePath) {
            return file;
        }
    }
    return nullptr;
}

QList<DataFile*> DataFile::GetDataFileList() {
    return s_filelist;
}

int DataFileFactory::RegisterFileType(const QString& typeName, Creator creator) {
    s_createFileMap.insert(typeName, creator);
    return s_createFileMap.size();
}

DataFile* DataFileFactory::CreateDataFile(const QString& filePath, const QString& typeName) {
    const auto it = s_createFileMap.constFind(typeName);
    if (it == s_createFileMap.constEnd() || it.value() == nullptr) {
        return nullptr;
    }
    return it.value()(filePath);
}

}  // namespace Orrery

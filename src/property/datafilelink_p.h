// SPDX-License-Identifier: MIT
// The services of the data-file code that the property tree calls.
//
// The property tree sits below the data files: a node asks for its data file, and
// a reference points into, and follows, other data files. Those operations need
// DataFile and DataFile::RootProperty, so the data-file code provides them by
// installing a DataFileLink when the library is loaded (a static initialiser in
// src/datafile/). Until something is installed every operation answers "no data
// file": null, false.
#pragma once

#include <QString>

namespace Orrery {

class AbstractProperty;
class DataFile;

namespace Internal {

struct DataFileLink {
    // The data file whose root node is `root` (by run-time type a
    // DataFile::RootProperty), or null when `root` is no data file's root.
    const DataFile* (*fileOfRoot)(const AbstractProperty* root);
    // The path (DataFile::GetPath()) and file-type name (GetFileType()) of the data
    // file whose root node is `root`; false, leaving the outputs alone, when `root`
    // is no data file's root.
    bool (*fileIdentity)(const AbstractProperty* root, QString* filePath, QString* fileType);
    // The open data file of `filePath` (created through the file-type factory with
    // `fileType` when none is open, loaded when not loaded yet) resolving
    // `objectPath` from its root; null when the file cannot be created or the path
    // does not resolve.
    AbstractProperty* (*resolveInFile)(const QString& filePath, const QString& fileType,
                                       const QString& objectPath);
};

// Replaces the installed services; meant for one static initialiser at library load.
void setDataFileLink(const DataFileLink& link);

// The installed services (never null function pointers).
const DataFileLink& dataFileLink();

}  // namespace Internal
}  // namespace Orrery

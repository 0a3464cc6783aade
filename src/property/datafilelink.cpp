// SPDX-License-Identifier: MIT
// The link from the property tree to the data-file code; see datafilelink_p.h.

#include "property/datafilelink_p.h"

namespace Orrery {
namespace Internal {

namespace {

const DataFile* noFileOfRoot(const AbstractProperty*) {
    return nullptr;
}

bool noFileIdentity(const AbstractProperty*, QString*, QString*) {
    return false;
}

AbstractProperty* noResolveInFile(const QString&, const QString&, const QString&) {
    return nullptr;
}

// Constant-initialised, so it holds the defaults before any static initialiser runs.
DataFileLink s_link = {&noFileOfRoot, &noFileIdentity, &noResolveInFile};

}  // namespace

void setDataFileLink(const DataFileLink& link) {
    s_link.fileOfRoot = link.fileOfRoot ? link.fileOfRoot : &noFileOfRoot;
    s_link.fileIdentity = link.fileIdentity ? link.fileIdentity : &noFileIdentity;
    s_link.resolveInFile = link.resolveInFile ? link.resolveInFile : &noResolveInFile;
}

const DataFileLink& dataFileLink() {
    return s_link;
}

}  // namespace Internal
}  // namespace Orrery

// SPDX-License-Identifier: MIT
// The process-wide extender table of the extension interfaces.

#include <orrery/extensions.h>

#include <map>

namespace Orrery {
namespace Extensions {

IExtender::~IExtender() = default;

// Deliberately leaves the table entry: an extender is meant to live as long as the process.
IAbstractExtension::~IAbstractExtension() = default;

namespace {

std::map<const IAbstractExtension*, IExtender*>& extenderTable() {
    static std::map<const IAbstractExtension*, IExtender*> table;
    return table;
}

}  // namespace

IExtender* IAbstractExtension::give_ext(IExtender* ext) const {
    auto& table = extenderTable();
    if (ext != nullptr) {
        table[this] = ext;
        return ext;
    }
    return table[this];  // creates a null entry for an object never extended
}

IExtender* IAbstractExtension::peek_ext(IExtender* ext) const {
    if (ext != nullptr) {
        return ext;
    }
    return give_ext(nullptr);
}

}  // namespace Extensions
}  // namespace Orrery

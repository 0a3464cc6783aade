// SPDX-License-Identifier: MIT
// Paths of the property tree: full paths, resolution and relative paths.

#include <orrery/property.h>

#include <QStringList>
#include <QStringView>
#include <QVector>

#include <typeinfo>

namespace Orrery {

namespace Property {

QString GetRelativePath(const QString& from, const QString& to) {
    const QStringList fromParts = from.split(PathDelimiter);
    const QStringList toParts = to.split(PathDelimiter);
    int common = 0;
    while (common < fromParts.size() && common < toParts.size() &&
           fromParts.at(common) == toParts.at(common)) {
        ++common;
    }
    QString result;
    for (int i = common; i < toParts.size(); ++i) {
        if (!result.isEmpty()) {
            result += PathDelimiter;
        }
        result += toParts.at(i);
    }
    for (int i = common; i < fromParts.size(); ++i) {
        if (!result.isEmpty()) {
            result.prepend(PathDelimiter);
        }
        result.prepend(QStringLiteral(".."));
    }
    return result;
}

}  // namespace Property

namespace {

// The node as a container, or null. A plain PropertyObject, the usual container, is
// recognised by its exact type, which is cheaper than the general cast.
const PropertyObject* asContainer(const AbstractProperty* node) {
    if ((node->GetTypeFlags() & Property::TYPE_PROPERTY_OBJECT) == 0) {
        return nullptr;
    }
    if (typeid(*node) == typeid(PropertyObject)) {
        return static_cast<const PropertyObject*>(node);
    }
    return dynamic_cast<const PropertyObject*>(node);
}

}  // namespace

QString AbstractProperty::GetFullPath() {
    // Climb once, then build from the top, so deep nodes cost no recursion.
    QVector<const AbstractProperty*> chain;
    int length = 1;
    for (const AbstractProperty* node = this; node->parent != nullptr; node = node->parent) {
        chain.append(node);
        length += node->name.size() + 1;
    }
    QString path;
    path.reserve(length);
    path += Property::PathDelimiter;
    for (auto it = chain.crbegin(); it != chain.crend(); ++it) {
        if (!path.endsWith(Property::PathDelimiter)) {
            path += Property::PathDelimiter;
        }
        path += (*it)->name;
    }
    return path;
}

AbstractProperty* AbstractProperty::ResolvePath(const QString& path) {
    return const_cast<AbstractProperty*>(
        static_cast<const AbstractProperty*>(this)->ResolvePath(path));
}

const AbstractProperty* AbstractProperty::ResolvePath(const QString& path) const {
    if (path.isEmpty()) {
        return nullptr;
    }
    const AbstractProperty* node = this;
    // Start of the current component; component i is the i-th delimiter-separated
    // section of the path, empty past the end.
    int start = 0;
    if (path.at(0) == Property::PathDelimiter) {
        node = GetRootProperty();
        start = 1;
    }
    while (start < path.size()) {
        int end = path.indexOf(Property::PathDelimiter, start);
        if (end < 0) {
            end = path.size();
        }
        const int length = end - start;
        if (length == 0) {
            return node;
        }
        const QStringView component = QStringView(path).mid(start, length);
        if (component == QLatin1String("..")) {
            node = node->parent;
        } else {
            const PropertyObject* container = asContainer(node);
            if (container == nullptr) {
                return nullptr;
            }
            // The key shares the path's characters instead of copying them, and one key
            // serves every lookup of the thread: setRawData() repoints it without the
            // allocation that fromRawData() makes for each new string.
            static thread_local QString key;
            key.setRawData(path.constData() + start, length);
            node = container->GetPropertyConstPtr(key);
        }
        if (node == nullptr) {
            return nullptr;
        }
        start = end + 1;
    }
    return node;
}

}  // namespace Orrery

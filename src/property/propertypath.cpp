// SPDX-License-Identifier: MIT
// Paths of the property tree: full paths, resolution and relative paths.

#include <orrery/property.h>

#include <QStringList>
#include <QStringRef>
#include <QVector>

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
    // Component i is the i-th delimiter-separated section, empty past the end.
    const QVector<QStringRef> components = path.splitRef(Property::PathDelimiter);
    const AbstractProperty* node = this;
    int index = 0;
    if (path.at(0) == Property::PathDelimiter) {
        node = GetRootProperty();
        index = 1;
    }
    for (;; ++index) {
        const QStringRef component =
            index < components.size() ? components.at(index) : QStringRef();
        if (component.isEmpty()) {
            return node;
        }
        if (component == QLatin1String("..")) {
            node = node->parent;
        } else {
            const auto* container = (node->GetTypeFlags() & Property::TYPE_PROPERTY_OBJECT) != 0
                                        ? dynamic_cast<const PropertyObject*>(node)
                                        : nullptr;
            if (container == nullptr) {
                return nullptr;
            }
            node = container->GetPropertyConstPtr(component.toString());
        }
        if (node == nullptr) {
            return nullptr;
        }
    }
}

}  // namespace Orrery

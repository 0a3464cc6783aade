// SPDX-License-Identifier: MIT
#include "testxmlfile.h"

#include <orrery/xmlelement.h>

#include <utility>
#include <vector>

using Orrery::AbstractProperty;
using Orrery::PropertyObject;
using Orrery::PropertyReference;
using Orrery::XMLElement;

int TestXmlFile::s_loads = 0;
int TestXmlFile::s_created = 0;

const QString& TestXmlFile::TypeName() {
    static const QString name = QStringLiteral("TestXml");
    return name;
}

Orrery::DataFile* TestXmlFile::Create(const QString& path) {
    ++s_created;
    return new TestXmlFile(path);
}

TestXmlFile::TestXmlFile(const QString& filePath, OpenMode openMode)
    : DataFile(filePath, openMode) {}

PropertyObject* TestXmlFile::Root() {
    if (contents == nullptr) {
        contents = new RootProperty(this);
    }
    loaded = true;  // contents built in memory count as loaded
    return contents;
}

void TestXmlFile::Load() {
    ++s_loads;
    ClearFileContents();
    XMLElement document;
    if (document.FromXMLFile(path) != Orrery::RESULT_OK) {
        return;
    }
    auto* root = new RootProperty(this);
    std::vector<std::pair<const XMLElement*, PropertyObject*>> pending{{&document, root}};
    while (!pending.empty()) {
        auto [element, container] = pending.back();
        pending.pop_back();
        for (const XMLElement* child : element->GetChildElements()) {
            const QString kind = child->GetName();
            const QMap<QString, QString>& a = child->GetAttributes();
            const QString name = a.value(QStringLiteral("name"));
            if (kind == QLatin1String("obj")) {
                auto* object = new PropertyObject(name);
                container->InsertProperty(object);
                pending.emplace_back(child, object);
            } else if (kind == QLatin1String("prop")) {
                container->SetProperty(name, a.value(QStringLiteral("value")));
            } else if (kind == QLatin1String("ref")) {
                auto* reference = new PropertyReference(name);
                if (a.contains(QStringLiteral("file"))) {
                    reference->SetExternalRefNoCheck(a.value(QStringLiteral("path")),
                                                     a.value(QStringLiteral("file")),
                                                     a.value(QStringLiteral("type")));
                } else {
                    reference->SetPropertyRefNoCheck(a.value(QStringLiteral("path")));
                }
                container->InsertProperty(reference);
            }
        }
    }
    contents = root;
    loaded = true;
}

bool TestXmlFile::Save() {
    XMLElement document;
    document.SetName(QStringLiteral("file"));
    if (contents == nullptr) {
        return document.ToXMLFile(path) == Orrery::RESULT_OK;
    }
    std::vector<std::pair<PropertyObject*, XMLElement*>> pending{{contents, &document}};
    while (!pending.empty()) {
        auto [container, element] = pending.back();
        pending.pop_back();
        for (AbstractProperty* node : container->GetPropertyListSorted()) {
            auto* child = new XMLElement;
            child->SetAttribute(QStringLiteral("name"), node->GetName());
            if (auto* object = dynamic_cast<PropertyObject*>(node)) {
                child->SetName(QStringLiteral("obj"));
                pending.emplace_back(object, child);
            } else if (auto* reference = dynamic_cast<PropertyReference*>(node)) {
                child->SetName(QStringLiteral("ref"));
                child->SetAttribute(QStringLiteral("path"), reference->ReferencePath());
                if (!reference->ReferenceFilePath().isEmpty()) {
                    child->SetAttribute(QStringLiteral("file"), reference->ReferenceFilePath());
                    child->SetAttribute(QStringLiteral("type"), reference->ReferenceFileType());
                }
            } else {
                QString value;
                container->GetProperty(node->GetName(), &value);
                child->SetName(QStringLiteral("prop"));
                child->SetAttribute(QStringLiteral("value"), value);
            }
            element->AddChildElement(child);
        }
    }
    return document.ToXMLFile(path) == Orrery::RESULT_OK;
}

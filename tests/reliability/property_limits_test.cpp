// SPDX-License-Identifier: MIT
// Limits of the property tree: a data file whose tree is 100,000 levels deep, read from
// an XML document, used through paths, written back to elements, cloned and destroyed,
// all on a call stack far too small for a recursion per level.
#include <orrery/datafile.h>
#include <orrery/xmlelement.h>

#include "limits.h"
#include "testutil.h"

#include <gtest/gtest.h>

#include <QFile>

#include <memory>
#include <utility>
#include <vector>

using Orrery::AbstractProperty;
using Orrery::DataFile;
using Orrery::PropertyObject;
using Orrery::XMLElement;
using OrreryTest::runOnSmallStack;

namespace {

constexpr int kDeep = 100000;

QString levelName(int level) {
    return QString(QLatin1Char('c') + QString::number(level));
}

// A data file kind of its own: one <obj name="..."> element per container.
class ChainFile : public DataFile {
public:
    explicit ChainFile(const QString& filePath) : DataFile(filePath, OpenModeNone) {}

    void Load() override {
        ClearFileContents();
        XMLElement document;
        if (document.FromXMLFile(path) != Orrery::RESULT_OK) {
            return;
        }
        auto* root = new RootProperty(this);
        // Each container is inserted while still empty, then filled.
        std::vector<std::pair<const XMLElement*, PropertyObject*>> pending{{&document, root}};
        while (!pending.empty()) {
            const auto [element, container] = pending.back();
            pending.pop_back();
            for (const XMLElement* child : element->GetChildElements()) {
                auto* object =
                    new PropertyObject(child->GetAttributes().value(QStringLiteral("name")));
                container->InsertProperty(object);
                pending.emplace_back(child, object);
            }
        }
        contents = root;
        loaded = true;
    }
    bool Save() override { return false; }
    bool IsLoaded() const override { return loaded; }
    bool IsModified() const override { return false; }
    QString GetFileType() const override { return QStringLiteral("Chain"); }

    PropertyObject* Root() { return contents; }

private:
    bool loaded = false;
};

// The tree as elements again, the way a file kind writes it.
std::unique_ptr<XMLElement> toElements(const PropertyObject& root) {
    auto document = std::make_unique<XMLElement>();
    document->SetName(QStringLiteral("file"));
    std::vector<std::pair<const PropertyObject*, XMLElement*>> pending{{&root, document.get()}};
    while (!pending.empty()) {
        const auto [object, element] = pending.back();
        pending.pop_back();
        QList<AbstractProperty*> children;
        object->GetPropertyList(&children);
        for (AbstractProperty* child : children) {
            const auto* container = dynamic_cast<const PropertyObject*>(child);
            if (container == nullptr) {
                continue;
            }
            auto* childElement = new XMLElement;
            childElement->SetName(QStringLiteral("obj"));
            childElement->SetAttribute(QStringLiteral("name"), child->GetName());
            element->AddChildElement(childElement);
            pending.emplace_back(container, childElement);
        }
    }
    return document;
}

// Follows the only container child of each level; returns the number of levels below.
int levelsBelow(const PropertyObject* object, const PropertyObject** deepest) {
    int levels = 0;
    QList<AbstractProperty*> children;
    for (object->GetPropertyList(&children); !children.isEmpty();
         object->GetPropertyList(&children)) {
        const auto* next = dynamic_cast<const PropertyObject*>(children.at(0));
        if (next == nullptr) {
            break;
        }
        object = next;
        ++levels;
    }
    *deepest = object;
    return levels;
}

class PropertyTreeLimits : public OrreryTest::TempDirTest {
protected:
    // A document of kDeep - 1 nested containers c1/c2/..., without indentation.
    QString writeDeepDocument() {
        QByteArray text("<file>");
        text.reserve(kDeep * 24);
        for (int level = 1; level < kDeep; ++level) {
            // Appended piece by piece: a built expression would reserve its exact size
            // each time, which makes the growth quadratic with the sanitizer's allocator.
            text += "<obj name=\"c";
            text += QByteArray::number(level);
            text += "\">";
        }
        for (int level = 1; level < kDeep; ++level) {
            text += "</obj>";
        }
        text += "</file>";
        const QString file = path(QStringLiteral("deep.xml"));
        QFile out(file);
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(text);
        return file;
    }
};

}  // namespace

TEST_F(PropertyTreeLimits, HundredThousandDeepFileTreeWorksThroughPaths) {
    const QString file = writeDeepDocument();
    QString expectedPath;
    for (int level = 1; level < kDeep; ++level) {
        expectedPath += QString(QLatin1Char('/') + levelName(level));
    }

    int levels = 0;
    QString fullPath;
    bool resolved = false;
    bool fileFound = false;
    QString bottomValue;
    Orrery::ERESULT setResult = Orrery::RESULT_FAILED;
    bool valueResolved = false;
    runOnSmallStack([&] {
        ChainFile chain(file);
        chain.Load();
        ASSERT_TRUE(chain.IsLoaded());
        const PropertyObject* deepest = nullptr;
        levels = levelsBelow(chain.Root(), &deepest);
        auto* bottom = const_cast<PropertyObject*>(deepest);
        fullPath = bottom->GetFullPath();
        resolved = chain.ResolveObjectPath(fullPath) == bottom;
        fileFound = bottom->GetDataFile() == &chain;
        setResult = bottom->SetProperty(QStringLiteral("value"), QStringLiteral("bottom"));
        bottom->GetProperty(QStringLiteral("value"), &bottomValue);
        valueResolved = chain.ResolveObjectPath(QString(fullPath + QStringLiteral("/value"))) ==
                        bottom->GetPropertyPtr(QStringLiteral("value"));
    });
    EXPECT_EQ(levels, kDeep - 1);
    EXPECT_EQ(fullPath, expectedPath);
    EXPECT_TRUE(resolved);
    EXPECT_TRUE(fileFound);
    EXPECT_EQ(setResult, Orrery::RESULT_OK);
    EXPECT_EQ(bottomValue, QStringLiteral("bottom"));
    EXPECT_TRUE(valueResolved);
}

TEST_F(PropertyTreeLimits, HundredThousandDeepFileTreeIsWrittenClonedAndDestroyed) {
    const QString file = writeDeepDocument();
    int writtenLevels = 0;
    bool sameNames = true;
    int clonedLevels = 0;
    QString clonedBottomPath;
    QString bottomPath;
    bool destroyed = false;
    runOnSmallStack([&] {
        auto chain = std::make_unique<ChainFile>(file);
        chain->Load();
        ASSERT_TRUE(chain->IsLoaded());

        // Written back to elements: the same chain of names as the document read.
        XMLElement original;
        ASSERT_EQ(original.FromXMLFile(file), Orrery::RESULT_OK);
        const std::unique_ptr<XMLElement> written = toElements(*chain->Root());
        const XMLElement* a = &original;
        const XMLElement* b = written.get();
        while (!a->GetChildElements().isEmpty() && !b->GetChildElements().isEmpty()) {
            a = a->GetChildElements().at(0);
            b = b->GetChildElements().at(0);
            sameNames = sameNames && a->GetAttributes() == b->GetAttributes();
            ++writtenLevels;
        }
        sameNames = sameNames && a->GetChildElements().isEmpty() && b->GetChildElements().isEmpty();

        // A clone is a parentless deep copy with the same paths.
        const PropertyObject* deepest = nullptr;
        levelsBelow(chain->Root(), &deepest);
        bottomPath = const_cast<PropertyObject*>(deepest)->GetFullPath();
        std::unique_ptr<AbstractProperty> clone(chain->Root()->Clone());
        const PropertyObject* clonedDeepest = nullptr;
        clonedLevels = levelsBelow(dynamic_cast<PropertyObject*>(clone.get()), &clonedDeepest);
        clonedBottomPath = const_cast<PropertyObject*>(clonedDeepest)->GetFullPath();
        clone.reset();

        // The file owns its tree: destroying it destroys all levels.
        chain.reset();
        destroyed = DataFile::GetDataFile(file) == nullptr;
    });
    EXPECT_EQ(writtenLevels, kDeep - 1);
    EXPECT_TRUE(sameNames);
    EXPECT_EQ(clonedLevels, kDeep - 1);
    EXPECT_EQ(clonedBottomPath, bottomPath);
    EXPECT_TRUE(destroyed);
}

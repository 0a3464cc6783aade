// SPDX-License-Identifier: MIT
// Limits of the property tree: a data file whose tree is 100,000 levels deep, read from
// an XML document, used through paths, written back to elements, cloned and destroyed,
// and a chain of a million containers, all on a call stack far too small for a
// recursion per level; and how much of that stack the work on deep trees takes.
#include <orrery/datafile.h>
#include <orrery/xmlelement.h>

#include "limits.h"
#include "testutil.h"

#include <gtest/gtest.h>

#include <QFile>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

using Orrery::AbstractProperty;
using Orrery::DataFile;
using Orrery::PropertyObject;
using Orrery::SimpleProperty;
using Orrery::XMLElement;
using OrreryTest::runOnSmallStack;
using ReliabilityTest::stackPosition;

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

// The lowest stack position that the probes below have seen.
struct StackLow {
    std::uintptr_t lowest = std::numeric_limits<std::uintptr_t>::max();
    void note() { lowest = std::min(lowest, stackPosition()); }
};

// A client container that notes the stack position of its destructor and DoClone().
class ProbeObject : public PropertyObject {
public:
    ProbeObject(const QString& name, StackLow* low) : PropertyObject(name), low_(low) {}
    ProbeObject(const ProbeObject& other) : PropertyObject(other), low_(other.low_) {}
    ~ProbeObject() override { low_->note(); }

protected:
    AbstractProperty* DoClone() const override {
        low_->note();
        return new ProbeObject(*this);
    }

private:
    StackLow* low_;
};

// A client leaf that notes the stack position of its destructor, DoClone() and path
// changes, counts the path changes and remembers its last copy.
class ProbeLeaf : public SimpleProperty {
public:
    ProbeLeaf(const QString& name, StackLow* low) : SimpleProperty(name), low_(low) {}
    ProbeLeaf(const ProbeLeaf& other) = default;
    ~ProbeLeaf() override { low_->note(); }
    int pathChanges = 0;
    mutable const ProbeLeaf* lastCopy = nullptr;

protected:
    AbstractProperty* DoClone() const override {
        low_->note();
        auto* copy = new ProbeLeaf(*this);
        lastCopy = copy;
        return copy;
    }

private:
    void OnPathChanged() override {
        ++pathChanges;
        low_->note();
    }

    StackLow* low_;
};

// Follows the child named c<level+1> of each level; returns the number of levels below.
int chainLevelsBelow(const PropertyObject* object) {
    int levels = 0;
    for (;;) {
        const auto* next =
            dynamic_cast<const PropertyObject*>(object->GetPropertyConstPtr(levelName(levels + 1)));
        if (next == nullptr) {
            return levels;
        }
        object = next;
        ++levels;
    }
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

TEST(PropertyTreeStack, WorkOnADeepTreeTakesAFixedSmallPartOfTheStack) {
    constexpr int kLevels = 10000;
    std::uintptr_t used = 0;
    int clonedLevels = 0;
    int bottomPathChanges = 0;
    runOnSmallStack([&] {
        StackLow low;
        const std::uintptr_t top = stackPosition();
        // root/c1/.../c9999 of client containers, with a client leaf on every level.
        auto* root = new ProbeObject(QStringLiteral("root"), &low);
        PropertyObject* node = root;
        ProbeLeaf* bottomLeaf = nullptr;
        for (int level = 1; level <= kLevels; ++level) {
            bottomLeaf = new ProbeLeaf(QStringLiteral("leaf"), &low);
            node->InsertProperty(bottomLeaf);
            if (level < kLevels) {
                auto* child = new ProbeObject(levelName(level), &low);
                node->InsertProperty(child);
                node = child;
            }
        }
        bottomLeaf->pathChanges = 0;

        std::unique_ptr<AbstractProperty> copy(root->Clone());
        clonedLevels = chainLevelsBelow(dynamic_cast<PropertyObject*>(copy.get())) + 1;
        root->SetName(QStringLiteral("renamed"));
        PropertyObject holder(QStringLiteral("holder"));
        holder.InsertProperty(root);
        bottomPathChanges = bottomLeaf->pathChanges;
        copy.reset();
        holder.DeleteProperties();
        used = top - low.lowest;
    });
    EXPECT_EQ(clonedLevels, kLevels);
    EXPECT_EQ(bottomPathChanges, 2);
    // Recursion stops at a fixed depth, whatever the depth of the tree: natively and
    // under the sanitizers all of this takes less than a quarter of the 256 KiB.
    EXPECT_LT(used, 64u * 1024u);
}

TEST(PropertyTreeStack, MillionDeepChainIsNotifiedClonedAndDestroyed) {
    constexpr int kMillion = 1000000;
    int pathChanges = 0;
    int levels = 0;
    bool sameRoot = false;
    runOnSmallStack([&] {
        StackLow low;
        auto root = std::make_unique<PropertyObject>(QStringLiteral("root"));
        PropertyObject* node = root.get();
        for (int level = 1; level < kMillion; ++level) {
            auto* child = new PropertyObject(levelName(level));
            node->InsertProperty(child);
            node = child;
        }
        auto* leaf = new ProbeLeaf(QStringLiteral("leaf"), &low);
        node->InsertProperty(leaf);
        leaf->pathChanges = 0;
        root->SetName(QStringLiteral("renamed"));
        pathChanges = leaf->pathChanges;

        // The copy of the leaf, a million levels below the copy of the root.
        std::unique_ptr<AbstractProperty> copy(root->Clone());
        const AbstractProperty* copiedLeaf = leaf->lastCopy;
        if (copiedLeaf != nullptr) {
            for (; copiedLeaf->GetParent() != nullptr; copiedLeaf = copiedLeaf->GetParent()) {
                ++levels;
            }
        }
        sameRoot = copiedLeaf == copy.get();
        copy.reset();
        root.reset();
    });
    EXPECT_EQ(pathChanges, 1);
    EXPECT_EQ(levels, kMillion);
    EXPECT_TRUE(sameRoot);
}

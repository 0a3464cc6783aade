// SPDX-License-Identifier: MIT
// Helpers of the property-tree tests: nodes that record what happens to them.
#pragma once

#include <orrery/property.h>

#include "qtprinters.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <ostream>
#include <utility>

namespace PropertyTest {

/// Collects events ("~a" destroyed, "clone a", "path a") in the order they happen.
struct Journal {
    QStringList events;
    void add(const QString& kind, const QString& name) {
        events << QString(kind + QLatin1Char(' ') + name);
    }
};

/// A container that records its destruction and its cloning.
class TracedObject : public Orrery::PropertyObject {
public:
    TracedObject(const QString& name, Journal* journal)
        : Orrery::PropertyObject(name), journal_(journal) {}
    TracedObject(const TracedObject& other)
        : Orrery::PropertyObject(other), journal_(other.journal_) {}
    ~TracedObject() override {
        if (journal_ != nullptr) {
            journal_->add(QStringLiteral("~"), GetName());
        }
    }

protected:
    AbstractProperty* DoClone() const override {
        auto* self = const_cast<TracedObject*>(this);
        if (journal_ != nullptr) {
            journal_->add(QStringLiteral("clone"), self->GetName());
        }
        return new TracedObject(*this);
    }

private:
    Journal* journal_;
};

/// A container that records how many children it still has when it is destroyed.
class ChildCountingObject : public Orrery::PropertyObject {
public:
    ChildCountingObject(const QString& name, Journal* journal)
        : Orrery::PropertyObject(name), journal_(journal) {}
    ~ChildCountingObject() override {
        journal_->add(QStringLiteral("~") + GetName(), QString::number(GetPropertyCount()));
    }

private:
    Journal* journal_;
};

/// A simple property that records its destruction, cloning and path changes.
class TracedLeaf : public Orrery::SimpleProperty {
public:
    TracedLeaf(const QString& name, Journal* journal)
        : Orrery::SimpleProperty(name), journal_(journal) {}
    TracedLeaf(const TracedLeaf& other) : Orrery::SimpleProperty(other), journal_(other.journal_) {}
    ~TracedLeaf() override {
        if (journal_ != nullptr) {
            journal_->add(QStringLiteral("~"), GetName());
        }
    }

protected:
    AbstractProperty* DoClone() const override {
        auto* self = const_cast<TracedLeaf*>(this);
        if (journal_ != nullptr) {
            journal_->add(QStringLiteral("clone"), self->GetName());
        }
        return new TracedLeaf(*this);
    }

private:
    void OnPathChanged() override {
        if (journal_ != nullptr) {
            journal_->add(QStringLiteral("path"), GetName());
        }
    }

    Journal* journal_;
};

/// A container whose type flags mark it as the root of a data file's contents.
class FakeFileRoot : public Orrery::PropertyObject {
public:
    FakeFileRoot() : Orrery::PropertyObject(QStringLiteral("Root")) {}
    unsigned int GetTypeFlags() const override {
        return Orrery::Property::TYPE_PROPERTY_OBJECT | Orrery::Property::TYPE_FILE_ROOT;
    }
};

/// A concrete metadata container.
class NoteMetadata : public Orrery::Metadata {
public:
    NoteMetadata() = default;
    explicit NoteMetadata(const QString& name) : Orrery::Metadata(name) {}

protected:
    AbstractProperty* DoClone() const override { return new NoteMetadata(*this); }
};

}  // namespace PropertyTest

// SPDX-License-Identifier: MIT
// The container node: owned children in name order, insertion and removal, copies.
//
// Work over a subtree (path-change notification, destruction, deep copy) recurses
// once per level, so that every node, and a client's subclass of it, sees each step
// in the defined order and state: a copy holds copies of all its children before it
// is inserted in its parent, a node is still in its container while its destructor
// runs, and a notification has reached the whole subtree when the call returns.
//
// A chain of 100,000 nested containers would exhaust the call stack that way, so
// once kMaxRecursion levels of this work are nested on a thread, whatever lies
// deeper is done by an explicit loop. The loop visits the nodes in the same
// depth-first, name order, but at those depths a container's copy gets its
// children only after its DoClone() returns, the descendants of a destroyed
// container are detached before their destructors run, and a container passes a
// notification on to its children only after its own OnPathChanged() returns.
// The loops are kept out of line, so that the frames which the recursion repeats stay
// small.

#include <orrery/property.h>

#include "property/treewalk_p.h"

#include <QStringList>

#include <algorithm>
#include <stdexcept>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Orrery {

namespace {

// Levels of tree work nested on one thread's call stack before the rest goes to a loop.
// Measured stack per level (GCC 12, x86-64, -O2, chains of plain containers and of a
// client subclass with its own destructor and DoClone()): copy 96 bytes, notification
// 64, destruction 112; with ASan and UBSan: copy 384, notification 416, destruction 432,
// and 544 with the client subclass. 64 levels thus take at most 7 KiB, or 35 KiB under
// the sanitizers: a seventh of a 256 KiB thread stack, which leaves room for the
// caller, for the subclasses' own frames and for compilers that make larger frames.
constexpr int kMaxRecursion = 64;

// Levels of tree work now nested on this thread's call stack.
thread_local int t_recursion = 0;

// Entries erased from the children of any container on this thread, so that a walk
// that calls out to hooks can tell whether its iterator still stands.
thread_local unsigned long t_erasures = 0;

// Counts one level of recursion for as long as it lives.
class RecursionLevel {
public:
    RecursionLevel() { ++t_recursion; }
    ~RecursionLevel() { --t_recursion; }
    RecursionLevel(const RecursionLevel&) = delete;
    RecursionLevel& operator=(const RecursionLevel&) = delete;
};

// A running notification loop: the nodes still to hear OnPathChanged() (the last one
// first), the node it is notifying now, and the loop that was running when it began.
struct PathChangeWalk {
    std::vector<AbstractProperty*> pending;
    const AbstractProperty* current = nullptr;
    PathChangeWalk* outer = nullptr;
};
thread_local PathChangeWalk* t_pathChangeWalk = nullptr;

// A running clean-up loop: detached nodes still to be destroyed (the last one first)
// and the node it is destroying now.
struct DestroyWalk {
    std::vector<AbstractProperty*> pending;
    const AbstractProperty* current = nullptr;
};
thread_local DestroyWalk* t_destroyWalk = nullptr;

// A running copy loop: the source node whose Clone() the loop is calling, and the
// copies made from it whose children the loop still has to fill in.
using CloneFill = std::pair<PropertyObject*, const PropertyObject*>;
struct CloneWalk {
    const AbstractProperty* current;
    std::vector<CloneFill>* pending;
};
thread_local CloneWalk t_cloneWalk = {nullptr, nullptr};

// Installs a value in a thread-local slot and restores the old one on scope exit.
template <class T>
class ScopedSlot {
public:
    ScopedSlot(T& slot, T value) : slot_(slot), saved_(slot) { slot_ = value; }
    ~ScopedSlot() { slot_ = saved_; }
    ScopedSlot(const ScopedSlot&) = delete;
    ScopedSlot& operator=(const ScopedSlot&) = delete;

private:
    T& slot_;
    T saved_;
};

// Forgets the pending fill of a copy that is destroyed before the loop reaches it.
Q_NEVER_INLINE void forgetCloneTarget(const PropertyObject* target) {
    std::vector<CloneFill>& pending = *t_cloneWalk.pending;
    pending.erase(std::remove_if(pending.begin(), pending.end(),
                                 [target](const CloneFill& fill) { return fill.first == target; }),
                  pending.end());
}

// Inserts a copy made for a deep copy. The result is not passed on; a parentless copy
// that could not be inserted would belong to nobody, so it is freed.
void insertCopy(PropertyObject* target, AbstractProperty* copy) {
    if (copy != nullptr && target->InsertProperty(copy) != RESULT_OK &&
        copy->GetParent() == nullptr) {
        delete copy;
    }
}

// The loop form of copying the children of `source` into `target`.
Q_NEVER_INLINE void copyChildrenInLoop(PropertyObject* target, const PropertyObject& source) {
    if (t_cloneWalk.pending != nullptr && t_cloneWalk.current == &source) {
        // This is the copy of a container that a running copy loop is cloning: the loop
        // fills in the children right after this copy is inserted in its new parent.
        forgetCloneTarget(target);
        t_cloneWalk.pending->emplace_back(target, &source);
        return;
    }

    struct Frame {
        PropertyObject* target;
        QList<AbstractProperty*> sources;
        int next;
    };
    const auto childrenOf = [](const PropertyObject& object) {
        QList<AbstractProperty*> list;
        object.GetPropertyList(&list);
        return list;
    };

    std::vector<CloneFill> pending;
    ScopedSlot<CloneWalk> walk(t_cloneWalk, CloneWalk{nullptr, &pending});
    std::vector<Frame> frames;
    frames.push_back(Frame{target, childrenOf(source), 0});
    while (!frames.empty()) {
        Frame& frame = frames.back();
        if (frame.next == frame.sources.size()) {
            frames.pop_back();
            continue;
        }
        const AbstractProperty* child = frame.sources.at(frame.next++);
        PropertyObject* container = frame.target;

        t_cloneWalk.current = child;
        AbstractProperty* copy = child->Clone();
        t_cloneWalk.current = nullptr;
        insertCopy(container, copy);
        // Copies made by that Clone() get their children next, in the order they were made.
        for (auto it = pending.rbegin(); it != pending.rend(); ++it) {
            frames.push_back(Frame{it->first, childrenOf(*it->second), 0});
        }
        pending.clear();
    }
}

// The loop form of destroying the children `list` of a container, which still hold it
// as their parent.
Q_NEVER_INLINE void destroyInLoop(const QList<AbstractProperty*>& list) {
    DestroyWalk walk;
    ScopedSlot<DestroyWalk*> scope(t_destroyWalk, &walk);
    for (AbstractProperty* child : list) {
        walk.current = child;
        delete child;
        while (!walk.pending.empty()) {
            AbstractProperty* node = walk.pending.back();
            walk.pending.pop_back();
            walk.current = node;
            delete node;
        }
        walk.current = nullptr;
    }
}

}  // namespace

namespace Internal {

void forgetPendingPathChange(const AbstractProperty* node) {
    for (PathChangeWalk* walk = t_pathChangeWalk; walk != nullptr; walk = walk->outer) {
        std::vector<AbstractProperty*>& pending = walk->pending;
        pending.erase(std::remove(pending.begin(), pending.end(), node), pending.end());
    }
}

}  // namespace Internal

PropertyObject::PropertyObject() : AbstractProperty() {}

PropertyObject::PropertyObject(const QString& name) : AbstractProperty(name) {}

PropertyObject::PropertyObject(const PropertyObject& other) : AbstractProperty() {
    *this = other;
}

PropertyObject::~PropertyObject() {
    DestroyWalk* walk = t_destroyWalk;
    if (walk != nullptr && walk->current == this) {
        // A clean-up loop is destroying this container: it destroys the children next.
        struct Handover {
            static Q_NEVER_INLINE void run(PropertyObject* object, DestroyWalk* loop) {
                QMap<QString, AbstractProperty*>& map = object->children;
                for (auto it = map.cend(); it != map.cbegin();) {
                    --it;
                    it.value()->parent = nullptr;
                    loop->pending.push_back(it.value());
                }
                map.clear();
                ++t_erasures;
            }
        };
        Handover::run(this, walk);
    } else {
        DeleteProperties();
    }
    if (t_cloneWalk.pending != nullptr) {
        forgetCloneTarget(this);
    }
}

const QString& PropertyObject::StaticType() {
    static const QString type = QStringLiteral("PropObj");
    return type;
}

const QString& PropertyObject::PropertyObjType() const {
    return StaticType();
}

unsigned int PropertyObject::GetTypeFlags() const {
    return Property::TYPE_PROPERTY_OBJECT;
}

AbstractProperty* PropertyObject::DoClone() const {
    return new PropertyObject(*this);
}

void PropertyObject::ForEachProperty(std::function<void(AbstractProperty*)> visit) {
    for (auto it = children.cbegin(); it != children.cend(); ++it) {
        visit(it.value());
    }
}

void PropertyObject::ForEachProperty(std::function<void(const AbstractProperty*)> visit) const {
    for (auto it = children.cbegin(); it != children.cend(); ++it) {
        visit(it.value());
    }
}

PropertyObject& PropertyObject::operator=(const PropertyObject& other) {
    if (this == &other) {
        return *this;
    }
    DeleteProperties();
    AbstractProperty::operator=(other);
    if (t_recursion < kMaxRecursion) {
        RecursionLevel level;
        // The copies come in name order, so each usually goes after the last child: then
        // it is appended with one name comparison instead of a search for the name and
        // another for the place. The checks are those of InsertProperty(), which takes
        // every other case (and reports or throws as it does). Out of line, to keep this
        // frame, which recurses, small.
        struct Append {
            static Q_NEVER_INLINE bool run(PropertyObject* target, AbstractProperty* copy) {
                if (copy == nullptr || copy == target || copy->parent != nullptr ||
                    copy->name.isEmpty()) {
                    return false;
                }
                QMap<QString, AbstractProperty*>& map = target->children;
                if (!map.isEmpty() && !(map.lastKey() < copy->name)) {
                    return false;
                }
                // A copy that is the top of the target's tree would close a cycle.
                if (target->GetRootProperty() == copy) {
                    return false;
                }
                map.insert(map.cend(), copy->name, copy);
                copy->SetParent(target);
                return true;
            }
        };
        // Children that are all plain leaves (SimpleProperty or PropertyReference, not a
        // subclass), each under its own name, are copied with the map's structure: their
        // copy constructors and OnPathChanged() run none of a client's code, so nobody can
        // tell this from inserting the copies one by one, and it takes no name comparisons
        // and no rebalancing.
        struct Leaves {
            static Q_NEVER_INLINE bool copy(PropertyObject* target, const PropertyObject& source) {
                const QMap<QString, AbstractProperty*>& from = source.children;
                if (from.isEmpty() || !target->children.isEmpty()) {
                    return false;
                }
                for (auto it = from.cbegin(); it != from.cend(); ++it) {
                    const AbstractProperty& child = *it.value();
                    const std::type_info& type = typeid(child);
                    if ((type != typeid(SimpleProperty) && type != typeid(PropertyReference)) ||
                        !(it.key().isSharedWith(child.name) || it.key() == child.name)) {
                        return false;
                    }
                }
                // The map's structure is copied first, its values still the source's
                // children; each is then replaced by its copy.
                QMap<QString, AbstractProperty*> copies = from;
                copies.detach();
                auto it = copies.begin();
                try {
                    for (; it != copies.end(); ++it) {
                        it.value() = it.value()->Clone();
                    }
                } catch (...) {
                    for (auto made = copies.begin(); made != it; ++made) {
                        delete made.value();
                    }
                    throw;
                }
                target->children.swap(copies);
                for (AbstractProperty* copy : std::as_const(target->children)) {
                    copy->SetParent(target);
                }
                return true;
            }
        };
        if (Leaves::copy(this, other)) {
            return *this;
        }
        // A plain loop over the map: this frame is repeated for every level of the copy.
        for (auto it = other.children.cbegin(); it != other.children.cend(); ++it) {
            AbstractProperty* copy = it.value()->Clone();
            if (!Append::run(this, copy)) {
                insertCopy(this, copy);
            }
        }
    } else {
        copyChildrenInLoop(this, other);
    }
    return *this;
}

PropertyObject& PropertyObject::operator=(PropertyObject&& other) {
    if (this == &other) {
        return *this;
    }
    DeleteProperties();
    AbstractProperty::operator=(other);
    other.ForEachProperty([this](AbstractProperty* child) {
        child->SetParent(this);
        children.insert(child->name, child);
    });
    other.children.clear();
    ++t_erasures;
    return *this;
}

ERESULT PropertyObject::InsertProperty(AbstractProperty* property) {
    if (property == nullptr) {
        return RESULT_INVALID_ARGUMENT;
    }
    // Only a parentless node can be the topmost ancestor, and only this container itself
    // or a container with children can be an ancestor of this container at all; the
    // climb to the top is skipped otherwise.
    if (property->parent == nullptr) {
        const auto* container = dynamic_cast<const PropertyObject*>(property);
        if (property == this || (container != nullptr && !container->children.isEmpty())) {
            if (GetRootProperty() == property) {
                const QString message = QStringLiteral("circular property link error! ") +
                                        property->GetFullPath() + QStringLiteral(" => ") +
                                        GetFullPath();
                throw std::logic_error(message.toStdString());
            }
        }
    }
    if (property->name.isEmpty()) {
        return RESULT_INVALID_ARGUMENT;
    }
    if (children.contains(property->name)) {
        return RESULT_ALREADY_EXISTS;
    }
    if (property->parent != nullptr) {
        return RESULT_INVALID_ARGUMENT;
    }
    children.insert(property->name, property);
    property->SetParent(this);
    return RESULT_OK;
}

ERESULT PropertyObject::InsertOrReplaceProperty(AbstractProperty* property) {
    if (property == nullptr) {
        return RESULT_INVALID_ARGUMENT;
    }
    bool alreadyChild = false;
    ForEachProperty([property, &alreadyChild](const AbstractProperty* child) {
        if (child == property) {
            alreadyChild = true;
        }
    });
    if (alreadyChild) {
        return RESULT_OK;
    }
    const auto it = children.find(property->name);
    if (it != children.end()) {
        AbstractProperty* old = it.value();
        if (old == property) {
            return RESULT_OK;
        }
        children.erase(it);
        ++t_erasures;
        old->SetParent(nullptr);
        delete old;
    }
    return InsertProperty(property);
}

ERESULT PropertyObject::SetPropertyRef(const QString& name, const AbstractProperty* target) {
    auto* reference = new PropertyReference(name);
    const ERESULT inserted = InsertProperty(reference);
    if (inserted < 0) {
        delete reference;
        return inserted;
    }
    return reference->SetPropertyRef(target);
}

AbstractProperty* PropertyObject::TakeProperty(const QString& name) {
    // Children are destroyed in name order and each takes itself out, so the entry is
    // often the first one; that costs one comparison instead of a search.
    auto it = children.begin();
    if (it == children.end() || it.key() != name) {
        it = children.find(name);
    }
    if (it == children.end()) {
        return nullptr;
    }
    AbstractProperty* child = it.value();
    children.erase(it);
    ++t_erasures;
    child->SetParent(nullptr);
    return child;
}

ERESULT PropertyObject::DeleteProperty(const QString& name) {
    AbstractProperty* child = TakeProperty(name);
    if (child == nullptr) {
        return RESULT_NOT_FOUND;
    }
    delete child;
    return RESULT_OK;
}

ERESULT PropertyObject::RemoveProperty(const QString& name) {
    // Deliberately neither destroys nor returns the child: the caller must hold a
    // pointer to it already (TakeProperty is the owning variant).
    return TakeProperty(name) != nullptr ? RESULT_OK : RESULT_NOT_FOUND;
}

void PropertyObject::DeleteProperties() {
    if (children.isEmpty()) {
        return;
    }
    const QList<AbstractProperty*> list = children.values();
    if (t_recursion < kMaxRecursion) {
        RecursionLevel level;
        for (AbstractProperty* child : list) {
            // The child's destructor detaches it from this container.
            delete child;
        }
    } else {
        destroyInLoop(list);
    }
    children.clear();
    ++t_erasures;
}

void PropertyObject::OnPathChanged() {
    if (children.isEmpty()) {
        return;
    }
    if (t_recursion < kMaxRecursion) {
        RecursionLevel level;
        auto it = children.cbegin();
        while (it != children.cend()) {
            const unsigned long erasures = t_erasures;
            const QString key = it.key();
            it.value()->OnPathChanged();
            // A hook may have taken, renamed or destroyed children of this container
            // meanwhile, this one too; then the walk goes on after its key.
            if (t_erasures == erasures) {
                ++it;
            } else {
                it = std::as_const(children).upperBound(key);
            }
        }
        return;
    }

    struct Loop {
        static void queueChildren(const PropertyObject* object, PathChangeWalk* walk) {
            for (auto it = object->children.cend(); it != object->children.cbegin();) {
                --it;
                walk->pending.push_back(it.value());
            }
        }
        static Q_NEVER_INLINE void notify(PropertyObject* object) {
            PathChangeWalk* running = t_pathChangeWalk;
            if (running != nullptr && running->current == object) {
                // The loop is notifying this container: it notifies the children next.
                queueChildren(object, running);
                return;
            }
            PathChangeWalk walk;
            walk.outer = running;
            ScopedSlot<PathChangeWalk*> scope(t_pathChangeWalk, &walk);
            queueChildren(object, &walk);
            while (!walk.pending.empty()) {
                AbstractProperty* node = walk.pending.back();
                walk.pending.pop_back();
                walk.current = node;
                node->OnPathChanged();
                walk.current = nullptr;
            }
        }
    };
    Loop::notify(this);
}

bool PropertyObject::HasProperty(const QString& name) const {
    return children.contains(name);
}

AbstractProperty* PropertyObject::GetPropertyPtr(const QString& name) {
    return children.value(name, nullptr);
}

const AbstractProperty* PropertyObject::GetPropertyConstPtr(const QString& name) const {
    return children.value(name, nullptr);
}

int PropertyObject::GetPropertyCount() const {
    return children.size();
}

void PropertyObject::GetPropertyList(QList<AbstractProperty*>* list) const {
    if (list == nullptr) {
        return;
    }
    list->clear();
    ForEachProperty([list](const AbstractProperty* child) {
        list->append(const_cast<AbstractProperty*>(child));
    });
}

QList<AbstractProperty*> PropertyObject::GetPropertyListSorted() {
    QList<AbstractProperty*> list;
    ForEachProperty([&list](AbstractProperty* child) { list.append(child); });
    // The map is already in this order; the explicit sort is deliberately kept as the
    // defined behaviour: a comes first when a case-sensitive sort of the two names puts
    // a's name first.
    std::sort(list.begin(), list.end(), [](const AbstractProperty* a, const AbstractProperty* b) {
        if (a == b) {
            return false;
        }
        QStringList names{a->name, b->name};
        names.sort(Qt::CaseSensitive);
        return names.first() == a->name;
    });
    return list;
}

void PropertyObject::BuildMetadataList(QList<AbstractProperty*>* list) const {
    if (list == nullptr) {
        return;
    }
    // Deliberately leaves the list as it was when there are no children.
    if (children.isEmpty()) {
        return;
    }
    list->clear();
    ForEachProperty([list](const AbstractProperty* child) {
        if ((child->GetTypeFlags() & Property::TYPE_METADATA) != 0) {
            list->append(const_cast<AbstractProperty*>(child));
        }
    });
}

void PropertyObject::GetPrefixedChildrenProperties(QList<AbstractProperty*>* list,
                                                   QString prefix) const {
    if (list == nullptr) {
        return;
    }
    const int count = children.size();
    list->clear();
    for (int index = 0; index < count; ++index) {
        AbstractProperty* child = children.value(prefix + QString::number(index), nullptr);
        if (child != nullptr) {
            list->append(child);
        }
    }
}

bool PropertyObject::CanReferenceProperty(const AbstractProperty* target) {
    if (target == nullptr) {
        return false;
    }
    const AbstractProperty* targetRoot = target->GetRootProperty();
    return GetRootProperty() == targetRoot ||
           (targetRoot->GetTypeFlags() & Property::TYPE_FILE_ROOT) != 0;
}

}  // namespace Orrery

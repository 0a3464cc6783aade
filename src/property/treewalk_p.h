// SPDX-License-Identifier: MIT
// Bookkeeping of the depth-first walks over a property tree (notification,
// destruction, cloning), for the levels they reach as explicit loops rather than by
// recursion; see propertyobject.cpp.
#pragma once

namespace Orrery {

class AbstractProperty;

namespace Internal {

// Drops `node` from the nodes still waiting for OnPathChanged() on this thread, so
// that a node destroyed while a notification walk runs is not notified afterwards.
void forgetPendingPathChange(const AbstractProperty* node);

}  // namespace Internal
}  // namespace Orrery

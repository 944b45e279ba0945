// The context's information object sets, for the context's set-up and end.
#pragma once

#include "frame/world.h"

namespace qor {

// Frees the context's copy of the set table, its run-time nodes and their
// removal bits.
void releaseObjectSets(QorGlobalPrivate *p);

// Gives `to`, a byte copy of `from`, a table, nodes and bits of its own;
// the compiled lists and the objects stay shared. 0, or 8 when memory runs
// out (what was taken then belongs to `to`).
int copyObjectSets(QorGlobalPrivate *to, const QorGlobalPrivate *from);

} // namespace qor

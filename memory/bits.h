// Internal calls of the PER bit cursor for the PER primitives.
#pragma once

#include "frame/world.h"

namespace qor {

// Aligned PER: closes a partial output octet with zero pad bits (counted in
// sizing mode); nothing in unaligned PER or on a boundary.
void alignOutput(QorGlobal *world);

} // namespace qor

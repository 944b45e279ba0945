// The constraint checker's own trap list, apart from the drivers' one: its
// handler leaves with message index 9 and makes no message.
#pragma once

#include "frame/trap.h"

namespace qor {

extern TrapList checkTraps;

} // namespace qor

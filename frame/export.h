// The public headers, seen by the library's own sources: every name they
// declare gets default visibility; the linker script then exports exactly the
// library's list.
#pragma once

#pragma GCC visibility push(default)
#include "qorapi.h"
#pragma GCC visibility pop

// The frame of the copy and compare services: the one call frame around a
// generated entry, with the decoder memory a copy takes handed to the caller
// when the entry ends and given back when it fails.
#pragma once

#include "frame/world.h"

namespace qor {

struct ServiceCall {
    // Calls the generated entry; its result is the service's.
    int (*run)(QorGlobal *world, const ServiceCall &call);
    const QorXapiEntries *entries;
    int pdunum;
    void *first;
    void *second;  // compare: the other value
    void **target; // copy: where the copy goes; cleared when the call fails
};

// The generated entries of the context's table, or null.
inline const QorXapiEntries *xapiEntriesOf(const QorGlobal *world)
{
    const QorGlobalPrivate *p = world->privateArea;
    return p != nullptr ? p->xapiEntries : nullptr;
}

int runService(QorGlobal *world, const ServiceCall &call);

} // namespace qor

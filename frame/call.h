// The one frame of every library call that runs generated code: the encode
// and decode drivers and the value services. It resets the per-call state,
// arms the exit and, when asked, the memory-violation trap, and runs the
// call; on failure it has the call give back what it took and returns one
// code. The call supplies only its steps.
#pragma once

#include "frame/trap.h"
#include "frame/world.h"

namespace qor {

struct CallSteps {
    // Inside the armed frame: the call itself. Its result is the call's.
    int (*run)(QorGlobal *world, void *call);
    // After a failure, with messages off: gives back what the call took. A
    // failure inside it comes back here, to go on where it stopped, so each
    // piece must leave its list before it is released. May be null.
    void (*unwind)(QorGlobal *world, void *call);
};

// What sets a frame apart. The constraint checker's traps on a list of its
// own and leaves the per-call state (field stack, nested contexts, output
// blocks, temporary range, message target) as it finds it.
struct FrameOptions {
    TrapList *traps = &callTraps;
    bool keepState = false;
};

int runCall(QorGlobal *world, bool trapping, const CallSteps &steps, void *call,
            const FrameOptions &options = {});

} // namespace qor

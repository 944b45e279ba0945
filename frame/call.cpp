// The call frame. Its sigsetjmp sits in the body of the one function that
// calls the steps, so the jump always lands in a live frame.
#include "frame/call.h"

#include <csetjmp>

#include "frame/errors.h"

namespace qor {

namespace {

// What every call starts from: no field locations, no nested contexts, the
// first output block, and the temporary buffer (if any) wholly free.
void resetCallState(QorGlobal *world)
{
    QorGlobalPrivate *p = world->privateArea;
    const bool tempBuffer = p != nullptr && p->tempBufferSize != 0;
    world->fieldStack = nullptr;
    world->parentWorld = nullptr;
    world->childWorld = nullptr;
    world->blockQueueTail = &world->blockQueue;
    world->tempLow = tempBuffer ? p->tempBuffer : nullptr;
    world->tempHigh = tempBuffer ? p->tempBuffer + p->tempBufferSize : nullptr;
}

} // namespace

int runCall(QorGlobal *world, bool trapping, const CallSteps &steps, void *call,
            const FrameOptions &options)
{
    sigjmp_buf frame;
    TrapState trap;
    // A call may run inside another (a print from a debug hook): the outer
    // frame and message target come back when it ends.
    void *volatile outerFrame = world->jumpFrame;
    char *volatile outerTarget = world->errMsgTarget;
    volatile int code = 0;
    volatile bool armed = false;

    if (!options.keepState) {
        if (outerFrame == nullptr)
            resetCallState(world); // a call inside another shares its state
        world->errMsgTarget = world->errMsgBuffer;
    }
    world->jumpFrame = &frame;
    int exitValue = sigsetjmp(frame, trapping ? 1 : 0);
    if (exitValue != 0) {
        // The first exit's code stands; a later one comes from the clean-up.
        if (code == 0)
            code = exitValue == kZeroExit ? QOR_FATAL : exitValue;
        // The field records lived in frames that the exit has left, and the
        // clean-up makes no message of its own.
        world->fieldStack = nullptr;
        world->errMsgTarget = nullptr;
        if (steps.unwind != nullptr)
            steps.unwind(world, call);
        if (armed) {
            armed = false;
            disarmTrap(world, &trap);
        }
        // After a failed call the message stays as it is; a call inside
        // another gives that one its target back.
        world->jumpFrame = outerFrame;
        world->errMsgTarget = outerFrame != nullptr || options.keepState ? outerTarget : nullptr;
        return code;
    }
    if (trapping) {
        armed = true; // the old handler is kept before anything can fail
        armTrap(world, &trap, options.traps);
    }
    int result = steps.run(world, call);
    if (armed) {
        armed = false;
        disarmTrap(world, &trap);
    }
    world->jumpFrame = outerFrame;
    world->errMsgTarget = outerTarget;
    return result;
}

} // namespace qor

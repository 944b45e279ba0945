// qorFreePDU: the frame around the generated free entry.
#include <csetjmp>

#include "frame/errors.h"
#include "frame/trap.h"

using namespace qor;

extern "C" {

int qorFreePDU(QorGlobal *world, int pdunum, void *value)
{
    if (world == nullptr)
        return QOR_BAD_ARG;
    world->blockQueueTail = &world->blockQueue;
    if (world->privateArea != nullptr)
        world->privateArea->encStackTop = &world->privateArea->encStackBase;
    if (world->ctlTable == nullptr)
        return QOR_NULL_TABLE;
    QorValueEntry entry = world->ctlTable->freeEntry;
    if (entry == nullptr)
        return QOR_NULL_FUNCTION;

    const bool trapping = (world->decodingFlags & NOTRAPPING) == 0;
    sigjmp_buf frame;
    TrapState trap;
    void *volatile outerFrame = world->jumpFrame;
    volatile int code = 0;
    world->jumpFrame = &frame;
    int exitValue = sigsetjmp(frame, trapping ? 1 : 0);
    if (exitValue != 0) {
        if (code != 0)
            return QOR_FATAL; // a second exit while unwinding
        code = exitValue;
        if (trapping)
            disarmTrap(world, &trap, code != QOR_SYNC_ERROR);
        world->jumpFrame = outerFrame;
        return code == kZeroExit ? QOR_FATAL : code;
    }
    if (trapping)
        armTrap(world, &trap);
    int result = entry(world, pdunum, value);
    if (trapping)
        disarmTrap(world, &trap, true);
    world->jumpFrame = outerFrame;
    return result;
}

} // extern "C"

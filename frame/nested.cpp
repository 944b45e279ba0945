// Nested contexts: generated code encodes or decodes an open type's contents
// on a context of its own, in temporary memory, sharing the outer call's exit
// frame, field stack and message.
#include <cstring>

#include "frame/driver.h"
#include "frame/errors.h"
#include "memory/blocks.h"

namespace qor {

namespace {

// The five words of the temporary stack travel between a context and its nested one.
void copyTempStack(QorGlobal *to, const QorGlobal *from)
{
    to->tempBlockList = from->tempBlockList;
    to->tempMark = from->tempMark;
    to->tempLow = from->tempLow;
    to->tempHigh = from->tempHigh;
    to->altDecList = from->altDecList;
}

} // namespace

// After a failure: the deepest context's temporary words go to `world`, and
// every nested context gives back its output. `freeAll`: blocks go whatever
// their source; else those in a caller's temporary buffer stay.
void abortNested(QorGlobal *world, bool freeAll)
{
    QorGlobal *deepest = world;
    while (deepest->childWorld != nullptr)
        deepest = deepest->childWorld;
    copyTempStack(world, deepest);
    for (QorGlobal *nested = deepest; nested != world; nested = nested->parentWorld) {
        if (void *output = nested->nestedOutput) {
            nested->nestedOutput = nullptr;
            userRelease(nested, output);
        }
        unwindBlockStack(nested);
        bool tempBuffer = nested->privateArea != nullptr && nested->privateArea->tempBufferSize != 0;
        if (!nested->userBuffer && (freeAll || !tempBuffer))
            memQueueFree(nested, outputBlockRelease(nested));
    }
    world->childWorld = nullptr;
}

} // namespace qor

using namespace qor;

extern "C" {

QorGlobal *_qor_push_global(QorGlobal *world)
{
    auto *nested = static_cast<QorGlobal *>(_qor_dec_gettempmem(world, sizeof(QorGlobal)));
    auto *p = static_cast<QorGlobalPrivate *>(_qor_dec_gettempmem(world, sizeof(QorGlobalPrivate)));
    memset(nested, 0, sizeof *nested);
    memset(p, 0, sizeof *p);
    const QorGlobalPrivate *from = world->privateArea;
    p->privMalloc = from->privMalloc;
    p->privFree = from->privFree;
    p->userVprintFn = from->userVprintFn;
    p->tempBufferSize = from->tempBufferSize;
    p->tempBuffer = from->tempBuffer;
    p->infoObjectSets = from->infoObjectSets; // shared: a nested context never frees it
    p->namespaceCopy = from->namespaceCopy;
    p->namespaceCount = from->namespaceCount;
    p->compatFlags = from->compatFlags;
    p->constructedLimit = from->constructedLimit;
    p->seqSetLimit = from->seqSetLimit;
    p->xapiEntries = from->xapiEntries;
    p->encStackBase.count = 1;
    p->encStackTop = &p->encStackBase;

    nested->privateArea = p;
    nested->mallocp = world->mallocp;
    nested->freep = world->freep;
    nested->printChop = world->printChop;
    nested->printStream = world->printStream;
    nested->printFn = world->printFn;
    nested->ctlTable = world->ctlTable;
    nested->encRules = world->encRules;
    nested->encodingFlags = world->encodingFlags;
    nested->decodingFlags = world->decodingFlags;
    nested->ruleBits = world->ruleBits & 0x7;
    nested->userVar = world->userVar;
    nested->jumpFrame = world->jumpFrame;
    nested->oldSignalHandler = world->oldSignalHandler;
    copyTempStack(nested, world);
    nested->errMsgTarget = world->errMsgTarget;
    nested->fieldStack = world->fieldStack;
    nested->pduNumber = world->pduNumber;
    nested->pduNames = world->pduNames;
    nested->operation = world->operation;
    nested->perAligned = world->perAligned;
    nested->userMalloc = world->userMalloc;
    nested->userRealloc = world->userRealloc;
    nested->userFree = world->userFree;
    nested->blockQueueTail = &nested->blockQueue;
    nested->parentWorld = world;
    world->childWorld = nested;
    return nested;
}

QorGlobal *_qor_epop_global(QorGlobal *nested)
{
    QorGlobal *world = nested->parentWorld;
    world->childWorld = nullptr;
    copyTempStack(world, nested);
    // The two records are the newest pieces below whatever the nested call
    // left on the stack: freeing the first frees all of it.
    _qor_dec_freetempmem(world, nested);
    return world;
}

} // extern "C"

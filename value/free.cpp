// qorFreePDU: the generated free entry, run in the call frame.
#include "frame/call.h"

using namespace qor;

namespace {

struct FreeCall {
    QorValueEntry entry;
    int pdunum;
    void *value;
};

int freeInFrame(QorGlobal *world, void *data)
{
    auto *call = static_cast<FreeCall *>(data);
    return call->entry(world, call->pdunum, call->value);
}

constexpr CallSteps kFreeCall = {freeInFrame, nullptr};

} // namespace

extern "C" int qorFreePDU(QorGlobal *world, int pdunum, void *value)
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
    FreeCall call = {entry, pdunum, value};
    return runCall(world, (world->decodingFlags & NOTRAPPING) == 0, kFreeCall, &call);
}

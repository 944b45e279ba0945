// The copy and compare frame. It runs the entry under the operation it
// finds, so that messages read as those of the call that made the values,
// and gives memory back as the decoder does.
#include "value/service.h"

#include "frame/call.h"
#include "memory/blocks.h"

namespace qor {

namespace {

struct Frame {
    const ServiceCall *call;
    bool insideCall; // from a hook of another call, which owns the lists
};

int serviceInFrame(QorGlobal *world, void *data)
{
    auto *frame = static_cast<Frame *>(data);
    int result = frame->call->run(world, *frame->call);
    // The pieces of a copy in the library's memory are the caller's now.
    if (!frame->insideCall && !world->userBuffer && world->blockQueue.count != 0)
        memQueueForget(world, world->userFree);
    return result;
}

void unwindService(QorGlobal *world, void *data)
{
    auto *frame = static_cast<Frame *>(data);
    if (frame->call->target != nullptr)
        *frame->call->target = nullptr;
    if (frame->insideCall)
        return;
    if (world->privateArea == nullptr || world->privateArea->tempBufferSize == 0)
        releaseTemp(world);
    if (!world->userBuffer)
        memQueueFree(world, world->userFree);
    else
        memQueueForget(world, nullptr);
}

constexpr CallSteps kServiceCall = {serviceInFrame, unwindService};

} // namespace

int runService(QorGlobal *world, const ServiceCall &call)
{
    Frame frame = {&call, world->jumpFrame != nullptr};
    const bool trapping = ((world->encodingFlags | world->decodingFlags) & NOTRAPPING) == 0;
    // A constraint check leaves its operation behind, under which a raise
    // would exit with a message number instead of a return code: the
    // service runs as the decoder whose values it handles.
    const int operation = world->operation;
    if (operation == QOR_OP_CHECK)
        world->operation = QOR_OP_DECODE;
    int result = runCall(world, trapping, kServiceCall, &frame);
    world->operation = operation;
    return result;
}

} // namespace qor

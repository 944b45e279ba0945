// The encoder stack: frames of a count and 52 words, where generated
// encoders keep values to come back to.
#include "frame/errors.h"
#include "memory/blocks.h"

using namespace qor;

namespace qor {

void releaseEncoderStack(QorGlobal *world)
{
    QorGlobalPrivate *p = world->privateArea;
    while (p->encStackTop != nullptr && p->encStackTop != &p->encStackBase) {
        QorMemBlockRecord *top = p->encStackTop;
        p->encStackTop = top->next;
        userRelease(world, top);
    }
    p->encStackTop = &p->encStackBase;
}

} // namespace qor

extern "C" {

void **_qor_increment_enc_stack(QorGlobal *world)
{
    QorGlobalPrivate *p = world->privateArea;
    auto *frame = static_cast<QorMemBlockRecord *>(userAllocate(world, sizeof(QorMemBlockRecord)));
    raiseIf(world, frame == nullptr, Msg::kOutOfMemory, sizeof(QorMemBlockRecord));
    frame->count = 0;
    frame->next = p->encStackTop; // the frame below
    p->encStackTop = frame;
    return frame->slot;
}

void **_qor_decrement_enc_stack(QorGlobal *world)
{
    QorGlobalPrivate *p = world->privateArea;
    QorMemBlockRecord *top = p->encStackTop;
    if (top != &p->encStackBase) {
        p->encStackTop = top->next;
        userRelease(world, top);
    }
    return p->encStackTop->slot;
}

void **_qor_load_enc_stack(QorGlobal *world, int *count)
{
    QorMemBlockRecord *top = world->privateArea->encStackTop;
    *count = top->count;
    return top->slot;
}

void _qor_save_enc_stack(QorGlobal *world, int count)
{
    world->privateArea->encStackTop->count = static_cast<int16_t>(count);
}

} // extern "C"

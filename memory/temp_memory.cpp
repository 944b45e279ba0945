// Temporary memory of one call: the caller's temporary buffer, and the
// stack-ordered pieces of _qor_dec_gettempmem, which share their block
// records with the temporary stack.
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"
#include "memory/temp_block.h"

using namespace qor;

namespace {

constexpr size_t kSizeHeader = 8;

} // namespace

namespace qor {

void *tmpBufAlloc(QorGlobal *world, size_t size)
{
    QorLong rounded = roundUp8(static_cast<QorLong>(size));
    QorLong need = rounded + static_cast<QorLong>(kSizeHeader);
    raiseIf(world, world->tempHigh - world->tempLow < need, Msg::kTempBufferTooSmall, need);
    world->tempHigh -= need;
    uint64_t stored = static_cast<uint64_t>(rounded);
    memcpy(world->tempHigh, &stored, sizeof stored);
    return world->tempHigh + kSizeHeader;
}

void tmpBufFree(QorGlobal *world, void *p)
{
    // Pieces come back newest first; the top moves past each.
    auto *piece = static_cast<unsigned char *>(p);
    uint64_t size;
    memcpy(&size, piece - kSizeHeader, sizeof size);
    unsigned char *end = piece + size;
    if (end > world->tempHigh)
        world->tempHigh = end;
}

TempBlock *pushTempBlock(QorGlobal *world, size_t size)
{
    size_t total = sizeof(TempBlock) + size;
    auto *block = static_cast<TempBlock *>(userAllocate(world, total));
    raiseIf(world, block == nullptr, Msg::kOutOfMemory, static_cast<QorLong>(total));
    block->prev = static_cast<TempBlock *>(world->tempBlockList);
    block->savedHigh = world->tempHigh;
    block->savedLow = world->tempLow;
    block->reserved = nullptr;
    world->tempBlockList = block;
    return block;
}

void releaseTempBlocksDownTo(QorGlobal *world, const void *p)
{
    // Frees blocks from the top until the block holding `p` is on top.
    auto *mark = static_cast<const unsigned char *>(p);
    while (auto *top = static_cast<TempBlock *>(world->tempBlockList)) {
        if (mark > reinterpret_cast<unsigned char *>(top) && mark <= world->tempHigh)
            return;
        world->tempBlockList = top->prev;
        world->tempHigh = top->savedHigh;
        world->tempLow = top->savedLow;
        userRelease(world, top);
    }
}

void releaseTemp(QorGlobal *world)
{
    if (world->privateArea->tempBufferSize == 0)
        releaseTempBlocksDownTo(world, nullptr);
    // A text left in fragments by a call that failed goes with the stack.
    world->tempMark = nullptr;
    while (void *piece = world->altDecList) {
        world->altDecList = *static_cast<void **>(piece);
        userRelease(world, piece);
    }
}

} // namespace qor

extern "C" {

void *_qor_dec_gettempmem(QorGlobal *world, QorLong size)
{
    raiseIf(world, size < 0 || size > INT32_MAX - 64, Msg::kOutOfMemory, size);
    QorLong rounded = roundUp8(size);
    if (world->privateArea->tempBufferSize != 0) {
        raiseIf(world, world->tempHigh - world->tempLow < rounded, Msg::kTempBufferTooSmall, size);
        unsigned char *piece = world->tempLow;
        world->tempLow += rounded;
        return piece;
    }
    // Each piece is a block of its own, on the same list as the temporary stack.
    TempBlock *block = pushTempBlock(world, static_cast<size_t>(rounded));
    world->tempLow = world->tempHigh = block->payload() + rounded;
    return block->payload();
}

void _qor_dec_freetempmem(QorGlobal *world, void *p)
{
    auto *piece = static_cast<unsigned char *>(p);
    if (world->privateArea->tempBufferSize != 0) {
        if (piece >= world->privateArea->tempBuffer && piece < world->tempLow)
            world->tempLow = piece;
        return;
    }
    releaseTempBlocksDownTo(world, piece);
    auto *top = static_cast<TempBlock *>(world->tempBlockList);
    if (top == nullptr)
        return;
    if (piece == top->payload()) {
        // The block's first piece: the block itself goes.
        world->tempBlockList = top->prev;
        world->tempHigh = top->savedHigh;
        world->tempLow = top->savedLow;
        userRelease(world, top);
    } else {
        world->tempLow = piece;
    }
}

} // extern "C"

extern "C" {

int qorSetTemporaryBuffer(QorGlobal *world, QorBuf *buffer)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    QorGlobalPrivate *p = world->privateArea;
    if (buffer == nullptr) {
        p->tempBufferSize = 0;
        p->tempBuffer = nullptr;
        return 0;
    }
    if (buffer->value == nullptr)
        return QOR_BAD_ARG;
    QorLong pad = static_cast<QorLong>((-reinterpret_cast<uintptr_t>(buffer->value)) & 7);
    if (buffer->length <= pad)
        return QOR_BUFFER_TOO_SMALL;
    QorLong size = (buffer->length - pad) & ~QorLong{15};
    if (size < 8)
        return QOR_BUFFER_TOO_SMALL;
    p->tempBufferSize = size;
    p->tempBuffer = buffer->value + pad;
    return 0;
}

} // extern "C"

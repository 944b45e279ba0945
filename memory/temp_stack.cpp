// The temporary stack: scratch memory of one call in blocks of at least
// 4096 octets; a mark given back frees everything newer. Also alternate
// decoder memory, collected in pieces and assembled at the end.
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"
#include "memory/temp_block.h"

using namespace qor;

namespace {

constexpr QorLong kMinimumBlock = 4096;
constexpr size_t kAltHeader = sizeof(void *); // the link to the next older piece

void checkSize(QorGlobal *world, QorLong size)
{
    raiseIf(world, size < 0 || size > INT32_MAX - 64, Msg::kOutOfMemory, size);
}

} // namespace

extern "C" {

void _qor_tstk_add_block(QorGlobal *world, QorLong size)
{
    if (world->privateArea->tempBufferSize != 0)
        raise(world, Msg::kTempBufferTooSmall, longValue(size)); // a caller's buffer cannot grow
    checkSize(world, size);
    if (size < kMinimumBlock)
        size = kMinimumBlock;
    TempBlock *block = pushTempBlock(world, static_cast<size_t>(size));
    world->tempLow = block->payload();
    world->tempHigh = block->payload() + size;
}

void *_qor_tstk_alloc(QorGlobal *world, QorLong size)
{
    checkSize(world, size);
    QorLong rounded = roundUp8(size);
    if (world->tempLow == nullptr || world->tempHigh - world->tempLow < rounded)
        _qor_tstk_add_block(world, rounded);
    unsigned char *piece = world->tempLow;
    world->tempLow += rounded;
    return piece;
}

void _qor_tstk_free(QorGlobal *world, void *mark)
{
    auto *at = static_cast<unsigned char *>(mark);
    if (world->privateArea->tempBufferSize == 0)
        releaseTempBlocksDownTo(world, at);
    world->tempLow = at;
}

void *_qor_tstk_get_altdecmem(QorGlobal *world, QorLong size)
{
    checkSize(world, size);
    if (world->privateArea->tempBufferSize != 0) {
        // From the top of the caller's temporary buffer, running down.
        QorLong rounded = roundUp8(size);
        raiseIf(world, world->tempHigh - world->tempLow < rounded, Msg::kTempBufferTooSmall, size);
        world->tempHigh -= rounded;
        return world->tempHigh;
    }
    size_t total = kAltHeader + static_cast<size_t>(size);
    auto *piece = static_cast<unsigned char *>(userAllocate(world, total));
    raiseIf(world, piece == nullptr, Msg::kOutOfMemory, static_cast<QorLong>(total));
    *reinterpret_cast<void **>(piece) = world->altDecList;
    world->altDecList = piece;
    return piece + kAltHeader;
}

void _qor_tstk_consolidate_altdecmem(QorGlobal *world, void *target, QorLong total, QorLong chunk)
{
    if (total <= 0 || chunk <= 0)
        return;
    auto *out = static_cast<unsigned char *>(target);
    // The newest piece holds the tail of the value, and may be short.
    QorLong last = total % chunk == 0 ? chunk : total % chunk;
    QorLong at = total - last;
    QorLong size = last;
    bool tempBuffer = world->privateArea->tempBufferSize != 0;
    while (at >= 0) {
        if (tempBuffer) {
            memcpy(out + at, world->tempHigh, static_cast<size_t>(size));
            world->tempHigh += roundUp8(size);
        } else {
            auto *piece = static_cast<unsigned char *>(world->altDecList);
            if (piece == nullptr)
                return;
            memcpy(out + at, piece + kAltHeader, static_cast<size_t>(size));
            world->altDecList = *reinterpret_cast<void **>(piece);
            userRelease(world, piece);
        }
        at -= chunk;
        size = chunk;
    }
}

void _qor_tstk_free_altdecmem(QorGlobal *world, void *mark)
{
    if (world->privateArea->tempBufferSize != 0) {
        world->tempHigh = static_cast<unsigned char *>(mark);
        return;
    }
    while (auto *piece = static_cast<unsigned char *>(world->altDecList)) {
        bool last = piece + kAltHeader == mark;
        world->altDecList = *reinterpret_cast<void **>(piece);
        userRelease(world, piece);
        if (last)
            break;
    }
}

} // extern "C"

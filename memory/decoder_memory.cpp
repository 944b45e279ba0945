// Decoder output memory: every piece of a decoded value comes from here, from
// the caller's flat buffer or from `userMalloc` with each piece listed, so that
// a failed decode can give all of them back.
#include <cstdlib>
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"
#include "memory/copy.h"

using namespace qor;

namespace {

// Sizes are rounded up to 8; a size that cannot be had at all is refused
// before any arithmetic can overflow.
QorLong checkedRoundUp8(QorGlobal *world, QorLong size)
{
    raiseIf(world, size < 0 || size > INT32_MAX - 7, Msg::kOutOfMemory, size);
    return roundUp8(size);
}

// `aligned`: the piece holds records, so in a caller's flat buffer it starts
// on a multiple of 8 even after character data of odd sizes.
void *getPiece(QorGlobal *world, QorLong size, bool aligned)
{
    raiseIf(world, size < 0, Msg::kOutOfMemory, size);
    if (world->userBuffer) {
        if (aligned) {
            QorLong pad = static_cast<QorLong>((-reinterpret_cast<uintptr_t>(world->outPos)) & 7);
            raiseIf(world, world->outRoom < pad, Msg::kBufferTooSmall, world->totalBytes);
            world->outPos += pad;
            world->outRoom -= pad;
        }
        raiseIf(world, world->outRoom < size, Msg::kBufferTooSmall, world->totalBytes);
        void *piece = world->outPos;
        world->outPos += size;
        world->outRoom -= size;
        return piece;
    }
    if (size == 0)
        return nullptr;
    world->totalBytes += size;
    void *piece = memQueuePush(world, world->userMalloc, static_cast<size_t>(size));
    raiseIf(world, piece == nullptr, Msg::kOutOfMemory, size);
    return piece;
}

} // namespace

namespace qor {

char *textPieceSlow(QorGlobal *world, const char *text)
{
    raiseIf(world, world->userBuffer != 0, Msg::kBufferTooSmall, world->totalBytes);
    const size_t size = strlen(text) + 1;
    raiseIf(world, size > INT32_MAX, Msg::kOutOfMemory, -1);
    auto *copy = static_cast<char *>(getPiece(world, static_cast<QorLong>(size), false));
    copyOctets(copy, text, size);
    return copy;
}

} // namespace qor

extern "C" {

void *_qor_dec_getmem_internal(QorGlobal *world, QorLong size)
{
    return getPiece(world, checkedRoundUp8(world, size), true);
}

void *_qor_dec_getmem(QorGlobal *world, QorLong size)
{
    void *piece = getPiece(world, checkedRoundUp8(world, size), true);
    if (piece != nullptr)
        memset(piece, 0, static_cast<size_t>(size));
    return piece;
}

void *_qor_dec_getfixmem(QorGlobal *world, QorLong size) { return getPiece(world, size, false); }

void _qor_dec_free(QorGlobal *world, void *p)
{
    if (p == nullptr)
        return;
    if (world == nullptr)
        free(p);
    else
        userRelease(world, p); // a cleared hook releases nothing
}

// Character reals are freed by the same function under another name.
void _qor_free_creal(QorGlobal *world, void *p) __attribute__((alias("_qor_dec_free")));

} // extern "C"

namespace {

// A fragment block: its payload address, then the link to the older block.
struct FragmentBlock {
    unsigned char *payload;
    FragmentBlock *older;
};

} // namespace

extern "C" {

void *_qor_allocate_memblock(QorGlobal *world, void **current, void **list, QorLong size)
{
    raiseIf(world, size < 0 || size > INT32_MAX - 64, Msg::kOutOfMemory, size);
    auto *block = static_cast<FragmentBlock *>(
        _qor_dec_gettempmem(world, size + static_cast<QorLong>(sizeof(FragmentBlock))));
    block->payload = reinterpret_cast<unsigned char *>(block + 1);
    block->older = static_cast<FragmentBlock *>(*list);
    *current = block->payload;
    *list = block;
    return block;
}

void *_qor_consolidate_memblock_fast(QorGlobal *world, QorLong elemSize, QorLong count,
                                     void *newest, QorLong full, QorLong blocks, QorLong lastCount,
                                     QorLong header)
{
    if (count == 0 && header == 0)
        return nullptr;
    int64_t bytes = static_cast<int64_t>(elemSize) * count + header;
    if (elemSize < 0 || count < 0 || header < 0 || bytes > INT32_MAX - 8)
        raise(world, Msg::kOutOfMemory, longValue(static_cast<QorLong>(bytes > INT32_MAX ? -1 : bytes)));
    auto *target = static_cast<unsigned char *>(
        _qor_dec_getmem_internal(world, static_cast<QorLong>(bytes)));
    if (blocks <= 0 || newest == nullptr)
        return target;
    // Blocks are listed newest first; each full one holds `full` elements,
    // the newest `lastCount`. Elements land in their order of arrival.
    const size_t perBlock = static_cast<size_t>(elemSize) * static_cast<size_t>(full);
    size_t at = static_cast<size_t>(header) + perBlock * static_cast<size_t>(blocks - 1);
    size_t size = static_cast<size_t>(elemSize) * static_cast<size_t>(lastCount);
    auto *block = static_cast<FragmentBlock *>(newest);
    while (block != nullptr) {
        if (at + size > static_cast<size_t>(bytes))
            raise(world, Msg::kImpossible, longValue(0)); // the counts given do not add up
        memcpy(target + at, block->payload + header, size);
        FragmentBlock *older = block->older;
        _qor_dec_freetempmem(world, block);
        block = older;
        if (at < perBlock)
            break;
        at -= perBlock;
        size = perBlock;
    }
    return target;
}

void *qorGetMemory(QorGlobal *world, QorLong size)
{
    if (world == nullptr || size < 0)
        return nullptr;
    return userAllocate(world, static_cast<size_t>(size));
}

void *qorGetInitializedMemory(QorGlobal *world, QorLong size)
{
    void *p = qorGetMemory(world, size);
    if (p != nullptr)
        memset(p, 0, static_cast<size_t>(size));
    return p;
}

void qorFreeMemory(QorGlobal *world, void *p)
{
    if (world != nullptr && p != nullptr)
        userRelease(world, p);
}

} // extern "C"

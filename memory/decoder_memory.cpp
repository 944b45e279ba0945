// Decoder output memory: every piece of a decoded value comes from here, from
// the caller's flat buffer or from `userMalloc` with each piece listed, so that
// a failed decode can give all of them back.
#include <cstdlib>
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"

using namespace qor;

namespace {

constexpr int kBufferTooSmall = 1;
constexpr int kOutOfMemory = 6;

// Sizes are rounded up to 8; a size that cannot be had at all is refused
// before any arithmetic can overflow.
QorLong roundUp8(QorGlobal *world, QorLong size)
{
    if (size < 0 || size > INT32_MAX - 7)
        raise(world, kOutOfMemory, longValue(size));
    return (size + 7) & ~QorLong{7};
}

void *getPiece(QorGlobal *world, QorLong size)
{
    if (size < 0)
        raise(world, kOutOfMemory, longValue(size));
    if (world->userBuffer) {
        if (world->outRoom < size)
            raise(world, kBufferTooSmall, longValue(world->totalBytes));
        void *piece = world->outPos;
        world->outPos += size;
        world->outRoom -= size;
        return piece;
    }
    if (size == 0)
        return nullptr;
    world->totalBytes += size;
    void *piece = qorMemQueuePush(world, world->userMalloc, static_cast<size_t>(size));
    if (piece == nullptr)
        raise(world, kOutOfMemory, longValue(size));
    return piece;
}

} // namespace

extern "C" {

void *_qor_dec_getmem_internal(QorGlobal *world, QorLong size)
{
    return getPiece(world, roundUp8(world, size));
}

void *_qor_dec_getmem(QorGlobal *world, QorLong size)
{
    void *piece = getPiece(world, roundUp8(world, size));
    if (piece != nullptr)
        memset(piece, 0, static_cast<size_t>(size));
    return piece;
}

void *_qor_dec_getfixmem(QorGlobal *world, QorLong size) { return getPiece(world, size); }

void _qor_dec_free(QorGlobal *world, void *p)
{
    if (p == nullptr)
        return;
    if (world != nullptr && world->userFree != nullptr)
        userRelease(world, p);
    else
        free(p);
}

// Character reals are freed by the same function under another name.
void _qor_free_creal(QorGlobal *world, void *p) __attribute__((alias("_qor_dec_free")));

} // extern "C"

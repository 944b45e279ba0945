// The chained list of block slots in the context: encoder output blocks, or
// the pieces a decode has handed out.
#pragma once

#include "frame/world.h"

namespace qor {

// Allocates `size` octets with `alloc` and lists them at the tail of the
// queue, adding a slot record when the current one is full (message 6 when
// that fails). Returns null when the piece itself cannot be had.
void *qorMemQueuePush(QorGlobal *world, QorMallocFn alloc, size_t size);
// Frees every listed piece, newest first, and the added records.
void qorMemQueueFree(QorGlobal *world);
// Forgets the listed pieces (the caller owns them now) and frees the added records.
void qorMemQueueForget(QorGlobal *world);
// A fresh 1024-octet output block; message 1 when the caller's buffer is full.
unsigned char *qorNextOutBlock(QorGlobal *world);

inline bool sizingOnly(const QorGlobal *world)
{
    return (world->encodingFlags & DETERMINE_ENC_LENGTH) != 0;
}

} // namespace qor

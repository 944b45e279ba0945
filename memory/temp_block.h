// The record at the head of every block of temporary memory.
#pragma once

#include "frame/world.h"

namespace qor {

struct TempBlock {
    TempBlock *prev; // the block below on `tempBlockList`
    unsigned char *savedHigh;
    unsigned char *savedLow;
    void *reserved;

    unsigned char *payload() { return reinterpret_cast<unsigned char *>(this + 1); }
};

// A new top block of `size` octets of space, saving the marks it covers;
// message 6 when it cannot be had. The marks are left to the caller.
TempBlock *pushTempBlock(QorGlobal *world, size_t size);

// Frees blocks from the top until the block holding `p` is on top, restoring
// the marks each saved; a null `p` frees them all.
void releaseTempBlocksDownTo(QorGlobal *world, const void *p);

} // namespace qor

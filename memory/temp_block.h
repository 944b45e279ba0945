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

// Frees blocks from the top until the block holding `p` is on top, restoring
// the marks each saved; a null `p` frees them all.
void releaseTempBlocksDownTo(QorGlobal *world, const void *p);

} // namespace qor

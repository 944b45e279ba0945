// The chained list of block slots in the context (encoder output blocks, or
// the pieces a decode has handed out), and the internal calls of the memory
// subsystem that the drivers use.
#pragma once

#include "frame/world.h"

namespace qor {

// Adds an empty slot record at the tail of the queue (message 6 when it
// cannot be had) and returns it.
QorMemBlockRecord *addQueueRecord(QorGlobal *world, QorMallocFn alloc);

// Allocates `size` octets with `alloc` and lists them at the tail of the
// queue, adding a slot record when the current one is full or refers to
// octets elsewhere. Returns null when the piece itself cannot be had.
inline void *memQueuePush(QorGlobal *world, QorMallocFn alloc, size_t size)
{
    if (alloc == nullptr)
        return nullptr;
    QorMemBlockRecord *tail = world->blockQueueTail;
    if (tail->count == QOR_BLOCK_SLOTS || tail->count < 0) [[unlikely]]
        tail = addQueueRecord(world, alloc);
    void *piece = alloc(world, size);
    if (piece != nullptr)
        tail->slot[tail->count++] = piece;
    return piece;
}
// Releases every listed piece, newest first, and the added records.
void memQueueFree(QorGlobal *world, QorFreeFn release);
// Forgets the listed pieces (the caller owns them now) and releases the
// added records; a null `release` abandons them too (temporary buffer).
void memQueueForget(QorGlobal *world, QorFreeFn release);
// How many blocks the queue lists.
QorLong blockCount(const QorGlobal *world);

// Encoder output may also refer to octets of the value being encoded that
// lie elsewhere: a record of its own in the queue, with this count, holds
// their address and length, and the gather copies them straight into the
// result.
constexpr int16_t kReferenceRecord = -1;
void queueReference(QorGlobal *world, const unsigned char *data, QorLong length);
inline const unsigned char *referenceData(const QorMemBlockRecord *r)
{
    return static_cast<const unsigned char *>(r->slot[0]);
}
inline QorLong referenceLength(const QorMemBlockRecord *r)
{
    return static_cast<QorLong>(reinterpret_cast<uintptr_t>(r->slot[1]));
}
// Octets of the value written below *pos: runs of a few blocks or more are
// referred to, not copied, so they are copied once in all. Only for octets
// that stay as they are until the encode ends, such as the caller's value.
QorLong writeValueOctets(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                         QorLong length);
// A fresh 1024-octet output block; message 1 when the caller's buffer is full.
unsigned char *nextOutBlock(QorGlobal *world);
// The length of the output gathered from the blocks; message 6 when it is
// negative or beyond what a length can hold.
QorLong gatheredLength(QorGlobal *world, QorLong room);
// The allocation and release functions of output blocks.
QorMallocFn outputBlockAlloc(const QorGlobal *world);
QorFreeFn outputBlockRelease(const QorGlobal *world);
// Releases the output blocks once `gathered` holds their contents. Until
// they are gone, `gathered` waits where a failed call gives memory back: a
// release hook may fail.
void releaseGatheredBlocks(QorGlobal *world, void *gathered);

// The caller's temporary buffer, used from its top down for output blocks:
// each piece has an 8-octet size header; pieces go back in reverse order.
void *tmpBufAlloc(QorGlobal *world, size_t size);
void tmpBufFree(QorGlobal *world, void *p);
// A copy of a zero-terminated text, its terminator included, in decoder
// memory; message 1 or 6 when there is no room for it. In a caller's buffer
// the text is copied as it is scanned: one pass over it instead of a length
// and then a copy, which is most of the cost of the short texts that values
// are made of.
char *textPieceSlow(QorGlobal *world, const char *text);
inline char *textPiece(QorGlobal *world, const char *text)
{
    if (world->userBuffer) {
        char *to = reinterpret_cast<char *>(world->outPos);
        const QorLong room = world->outRoom;
        for (QorLong n = 0; n < room; n++) {
            if ((to[n] = text[n]) == '\0') {
                world->outPos += n + 1;
                world->outRoom = room - (n + 1);
                return to;
            }
        }
    }
    return textPieceSlow(world, text); // the library's memory, or no room
}

// Releases all temporary memory of the call: the temporary stack's blocks
// and alternate decoder memory.
void releaseTemp(QorGlobal *world);

// Forward output: `n` octets at the cursor, counted in `encLength`.
void appendBytes(QorGlobal *world, const void *data, QorLong n);

// Forward output goes back to block `slot` of `record`: the blocks after it
// are released.
void truncateOutput(QorGlobal *world, QorMemBlockRecord *record, int slot);

// After a failed encode: the canonical SET OF frames, the encoder stack.
void unwindBlockStack(QorGlobal *world);
void releaseEncoderStack(QorGlobal *world);

// Copies whole blocks through the C library's memcpy: for a constant size
// the compiler would inline a string instruction that moves a kilobyte at a
// fraction of the speed.
void copyBlock(void *to, const void *from, size_t n);

inline bool sizingOnly(const QorGlobal *world)
{
    return (world->encodingFlags & DETERMINE_ENC_LENGTH) != 0;
}

inline QorLong roundUp8(QorLong size) { return (size + 7) & ~QorLong{7}; }

} // namespace qor

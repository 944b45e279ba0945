// The block queue behind encoder output and decoder memory.
#include "memory/blocks.h"

#include <cstdint>
#include <cstring>

#include "frame/errors.h"

namespace qor {

namespace {

void resetQueue(QorGlobal *world)
{
    world->blockQueue.count = 0;
    world->blockQueue.next = nullptr;
    world->blockQueueTail = &world->blockQueue;
    world->totalBytes = 0;
}

void releaseAddedRecords(QorGlobal *world, QorFreeFn release)
{
    // One by one, each off the list before it goes.
    while (QorMemBlockRecord *r = world->blockQueue.next) {
        world->blockQueue.next = r->next;
        if (release != nullptr)
            release(world, r);
    }
}

// Turns a chain of records round; returns its new first, the newest.
QorMemBlockRecord *newestFirst(QorMemBlockRecord *oldest)
{
    QorMemBlockRecord *newest = nullptr;
    while (oldest != nullptr) {
        QorMemBlockRecord *next = oldest->next;
        oldest->next = newest;
        newest = oldest;
        oldest = next;
    }
    return newest;
}

} // namespace

QorMemBlockRecord *addQueueRecord(QorGlobal *world, QorMallocFn alloc)
{
    auto *added = static_cast<QorMemBlockRecord *>(alloc(world, sizeof(QorMemBlockRecord)));
    raiseIf(world, added == nullptr, Msg::kOutOfMemory, sizeof(QorMemBlockRecord));
    added->count = 0;
    added->next = nullptr;
    world->blockQueueTail->next = added;
    world->blockQueueTail = added;
    return added;
}

// Each piece leaves the list before it is released, so that a release hook
// that fails (and so re-enters the clean-up) finds the rest still listed.
void memQueueFree(QorGlobal *world, QorFreeFn release)
{
    QorMemBlockRecord *head = &world->blockQueue;
    // Newest first. Records link forwards only, so the added ones are turned
    // round once; a turned chain is marked by the tail pointing at the head.
    if (world->blockQueueTail != head) {
        head->next = newestFirst(head->next);
        world->blockQueueTail = head;
    }
    auto releaseOne = [world, release](void *p) {
        if (release != nullptr)
            release(world, p);
    };
    auto releaseSlots = [&releaseOne](QorMemBlockRecord *r) {
        while (r->count > 0) {
            void *piece = r->slot[--r->count];
            if (piece != nullptr)
                releaseOne(piece);
        }
    };
    while (QorMemBlockRecord *r = head->next) {
        releaseSlots(r);
        head->next = r->next;
        releaseOne(r);
    }
    releaseSlots(head);
    resetQueue(world);
}

void truncateOutput(QorGlobal *world, QorMemBlockRecord *record, int slot)
{
    QorFreeFn hook = outputBlockRelease(world);
    auto release = [world, hook](void *piece) {
        if (hook != nullptr)
            hook(world, piece);
    };
    // Newest first, as memQueueFree gives them back: the records after
    // `record`, turned round, each after its blocks; then the blocks of
    // `record` after `slot`.
    QorMemBlockRecord *newest = newestFirst(record->next);
    record->next = nullptr;
    world->blockQueueTail = record;
    while (newest != nullptr) {
        QorMemBlockRecord *older = newest->next;
        while (newest->count > 0) {
            world->totalBytes -= QOR_BLOCK_SIZE;
            release(newest->slot[--newest->count]);
        }
        release(newest);
        newest = older;
    }
    while (record->count > slot + 1) {
        world->totalBytes -= QOR_BLOCK_SIZE;
        release(record->slot[--record->count]);
    }
}

void memQueueForget(QorGlobal *world, QorFreeFn release)
{
    releaseAddedRecords(world, release);
    resetQueue(world);
}

__attribute__((noinline)) void copyBlock(void *to, const void *from, size_t n)
{
    memcpy(to, from, n);
}

QorLong blockCount(const QorGlobal *world)
{
    QorLong n = 0;
    for (const QorMemBlockRecord *r = &world->blockQueue; r != nullptr; r = r->next)
        if (r->count > 0)
            n += r->count;
    return n;
}

void queueReference(QorGlobal *world, const unsigned char *data, QorLong length)
{
    QorMallocFn alloc = outputBlockAlloc(world);
    auto *r = static_cast<QorMemBlockRecord *>(alloc != nullptr ? alloc(world, sizeof(QorMemBlockRecord)) : nullptr);
    raiseIf(world, r == nullptr, Msg::kOutOfMemory, sizeof(QorMemBlockRecord));
    r->count = kReferenceRecord;
    r->slot[0] = const_cast<unsigned char *>(data);
    r->slot[1] = reinterpret_cast<void *>(static_cast<uintptr_t>(length));
    r->next = nullptr;
    world->blockQueueTail->next = r;
    world->blockQueueTail = r;
    world->totalBytes += length;
}

QorMallocFn outputBlockAlloc(const QorGlobal *world)
{
    return world->privateArea->tempBufferSize != 0 ? tmpBufAlloc : world->userMalloc;
}

QorFreeFn outputBlockRelease(const QorGlobal *world)
{
    return world->privateArea->tempBufferSize != 0 ? tmpBufFree : world->userFree;
}

QorLong gatheredLength(QorGlobal *world, QorLong room)
{
    int64_t total = int64_t{blockCount(world)} * QOR_BLOCK_SIZE - room;
    for (const QorMemBlockRecord *r = &world->blockQueue; r != nullptr; r = r->next)
        if (r->count == kReferenceRecord)
            total += referenceLength(r);
    if (total < 0 || total > INT32_MAX)
        raise(world, Msg::kOutOfMemory, longValue(static_cast<QorLong>(total < 0 ? total : -1)));
    return static_cast<QorLong>(total);
}

void releaseGatheredBlocks(QorGlobal *world, void *gathered)
{
    void *held = world->nestedOutput;
    if (held == nullptr)
        world->nestedOutput = gathered;
    memQueueFree(world, outputBlockRelease(world));
    world->nestedOutput = held;
}

unsigned char *nextOutBlock(QorGlobal *world)
{
    raiseIf(world, world->userBuffer, Msg::kBufferTooSmall, world->totalBytes);
    world->totalBytes += QOR_BLOCK_SIZE;
    void *block = memQueuePush(world, outputBlockAlloc(world), QOR_BLOCK_SIZE);
    raiseIf(world, block == nullptr, Msg::kOutOfMemory, QOR_BLOCK_SIZE);
    return static_cast<unsigned char *>(block);
}

} // namespace qor

// Memory handles: a small heap per handle. While a handle is active, the
// context's allocator hooks point at it, so decoded values land in its
// blocks and can all be thrown away at once.
//
// Allocation bumps a pointer through the tail, the last free fragment of a
// block, as long as no freed fragment can serve the request; one that can is
// reused first: the hint, else the first that fits.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "frame/errors.h"

namespace {

// One fragment of a block: its header, then its data.
struct Fragment {
    char status; // 'a' allocated, 'f' free, 'l' the last, free fragment of a block
    size_t length;
    struct Block *block;
    Fragment *prev;

    unsigned char *data() { return reinterpret_cast<unsigned char *>(this + 1); }
    static Fragment *of(void *data) { return static_cast<Fragment *>(data) - 1; }
};

struct Block {
    Block *next;
    size_t size;      // usable octets, headers of fragments included
    size_t freeBytes; // the lengths of its free fragments, added up

    Fragment *first() { return reinterpret_cast<Fragment *>(this + 1); }
    unsigned char *end() { return reinterpret_cast<unsigned char *>(this + 1) + size; }
};

// Five words, as the statistics count a handle: the block count and the total
// size are worked out when asked for, which leaves room for the bump state.
struct Handle {
    size_t blockSize;
    Block *firstBlock;
    Fragment *freeHint; // null, or the longest freed fragment ('f') known
    Fragment *tail;     // null, or the block end ('l') that allocation bumps through
    size_t holeBound;   // no freed fragment is longer
};

constexpr size_t kHeader = sizeof(Fragment);

Fragment *following(Block *b, Fragment *f)
{
    unsigned char *next = f->data() + f->length;
    return next < b->end() ? reinterpret_cast<Fragment *>(next) : nullptr;
}

// A free fragment that is not the tail: a freed one may become the hint, a
// longer block end the tail (a fresh block, or one emptied by a release).
void noteFree(Handle *h, Fragment *f)
{
    if (f->status == 'f') {
        if (h->holeBound < f->length)
            h->holeBound = f->length;
        if (h->freeHint == nullptr || h->freeHint->length < f->length)
            h->freeHint = f;
    } else if (h->tail == nullptr || h->tail->length <= f->length) {
        h->tail = f;
    }
}

// The whole space of a block as one last, free fragment.
void emptyBlock(Block *b)
{
    Fragment *f = b->first();
    f->status = 'l';
    f->length = b->size - kHeader;
    f->block = b;
    f->prev = nullptr;
    b->freeBytes = f->length;
}

Block *addBlock(QorGlobal *world, Handle *h, size_t size)
{
    size_t usable = (size + kHeader > h->blockSize ? size + kHeader : h->blockSize);
    usable = (usable + 7) & ~size_t{7};
    auto *b = static_cast<Block *>(world->mallocp(sizeof(Block) + usable));
    if (b == nullptr)
        return nullptr;
    b->size = usable;
    emptyBlock(b);
    b->next = h->firstBlock;
    h->firstBlock = b;
    return b;
}

// The fast path: `size` octets at the front of the tail, which has them.
void *bump(Handle *h, size_t size)
{
    Fragment *f = h->tail;
    Block *b = f->block;
    f->status = 'a';
    if (f->length >= size + kHeader + 8) {
        auto *rest = reinterpret_cast<Fragment *>(f->data() + size);
        rest->status = 'l';
        rest->length = f->length - size - kHeader;
        rest->block = b;
        rest->prev = f;
        f->length = size;
        b->freeBytes -= size + kHeader;
        h->tail = rest;
    } else {
        b->freeBytes -= f->length;
        h->tail = nullptr;
    }
    return f->data();
}

// Takes `size` octets at the front of the free fragment `f`, which is not the
// tail; the rest stays free when it can hold a header and some data.
void *take(Handle *h, Fragment *f, size_t size)
{
    Block *b = f->block;
    if (h->freeHint == f)
        h->freeHint = nullptr;
    Fragment *rest = nullptr;
    if (f->length >= size + kHeader + 8) {
        rest = reinterpret_cast<Fragment *>(f->data() + size);
        rest->status = f->status;
        rest->length = f->length - size - kHeader;
        rest->block = b;
        rest->prev = f;
        if (Fragment *after = following(b, rest))
            after->prev = rest;
        f->length = size;
        b->freeBytes -= size + kHeader;
    } else {
        b->freeBytes -= f->length;
    }
    f->status = 'a';
    if (rest != nullptr)
        noteFree(h, rest);
    return f->data();
}

// When a freed fragment may fit, the first that does; a walk that finds none
// learns how long the longest is, so that the next requests bump again. Else
// the tail, another block's end, or a new block. Out of line, so that the
// fast path needs no stack frame.
__attribute__((noinline)) void *allocateSlowly(QorGlobal *world, Handle *h, size_t size)
{
    const bool holes = size <= h->holeBound;
    size_t longest = 0; // of the freed fragments, or more
    Fragment *end = nullptr; // another block's end that fits
    for (Block *b = h->firstBlock; b != nullptr; b = b->next) {
        size_t room = b->freeBytes;
        if (h->tail != nullptr && h->tail->block == b) {
            if (!holes)
                continue;
            room -= h->tail->length;
        }
        if (room < size) {
            longest = room > longest ? room : longest;
            continue;
        }
        if (!holes && end != nullptr)
            break;
        for (Fragment *f = b->first(); f != nullptr; f = following(b, f)) {
            if (f->status == 'f') {
                if (f->length >= size)
                    return take(h, f, size);
                longest = f->length > longest ? f->length : longest;
            } else if (f->status == 'l' && f != h->tail && end == nullptr && f->length >= size) {
                end = f;
            }
        }
    }
    if (holes)
        h->holeBound = longest;
    if (h->tail != nullptr && h->tail->length >= size)
        return bump(h, size);
    if (end == nullptr) {
        Block *b = addBlock(world, h, size);
        if (b == nullptr)
            return nullptr;
        end = b->first();
    }
    return take(h, end, size);
}

Handle *activeHandle(QorGlobal *world)
{
    return world != nullptr && world->privateArea != nullptr
               ? static_cast<Handle *>(world->privateArea->activeMemoryHandle)
               : nullptr;
}

// No request comes near this; above it the size arithmetic would wrap.
constexpr size_t kLargestRequest = SIZE_MAX / 4;

void *allocate(QorGlobal *world, size_t size)
{
    Handle *h = activeHandle(world);
    if (h == nullptr || size > kLargestRequest)
        return nullptr;
    size = (size + 7) & ~size_t{7};
    if (size > h->holeBound) {
        if (h->tail != nullptr && h->tail->length >= size)
            return bump(h, size);
    } else if (h->freeHint != nullptr && h->freeHint->length >= size) {
        return take(h, h->freeHint, size);
    }
    return allocateSlowly(world, h, size);
}

// Merges the free fragment `later` into the free fragment before it, which
// takes its status: a tail merged into stays the tail.
Fragment *merge(Handle *h, Block *b, Fragment *earlier, Fragment *later)
{
    if (h->freeHint == earlier || h->freeHint == later)
        h->freeHint = nullptr; // offered again once merged
    if (h->tail == later)
        h->tail = earlier;
    earlier->length += kHeader + later->length;
    earlier->status = later->status;
    b->freeBytes += kHeader;
    if (Fragment *after = following(b, earlier))
        after->prev = earlier;
    return earlier;
}

bool lies(Block *b, const unsigned char *at) { return at >= b->first()->data() && at < b->end(); }

// The allocated fragment of `p` when it lies in one of the handle's blocks;
// null for memory the handle never gave out (a value decoded before it was
// made, or one of another handle), whose header must not be trusted.
Fragment *ownFragment(Handle *h, void *p)
{
    auto *at = static_cast<unsigned char *>(p);
    // The tail's block first: what goes back is mostly recent.
    Block *b = h->tail != nullptr && lies(h->tail->block, at) ? h->tail->block : nullptr;
    for (Block *c = h->firstBlock; b == nullptr && c != nullptr; c = c->next) {
        if (lies(c, at))
            b = c;
    }
    if (b == nullptr)
        return nullptr;
    Fragment *f = Fragment::of(p);
    return f->status == 'a' && f->block == b ? f : nullptr;
}

// Memory the handle does not own is left alone: freeing it here could
// only corrupt another heap.
void release(QorGlobal *world, void *p)
{
    Handle *h = activeHandle(world);
    if (h == nullptr || p == nullptr)
        return;
    Fragment *f = ownFragment(h, p);
    if (f == nullptr)
        return;
    Block *b = f->block;
    Fragment *after = following(b, f);
    f->status = after == nullptr ? 'l' : 'f';
    b->freeBytes += f->length;
    if (after != nullptr && after->status != 'a')
        f = merge(h, b, f, after);
    if (f->prev != nullptr && f->prev->status != 'a')
        f = merge(h, b, f->prev, f);
    if (f != h->tail)
        noteFree(h, f);
}

// Memory the handle does not own has no length it can trust: not moved.
void *resize(QorGlobal *world, void *p, size_t size)
{
    Handle *h = activeHandle(world);
    if (h == nullptr || (p != nullptr && ownFragment(h, p) == nullptr))
        return nullptr;
    void *moved = allocate(world, size);
    if (moved == nullptr)
        return nullptr;
    if (p != nullptr) {
        size_t old = Fragment::of(p)->length;
        memcpy(moved, p, old < size ? old : size);
        release(world, p);
    }
    return moved;
}

void printLine(QorGlobal *world, const char *format, ...) __attribute__((format(printf, 2, 3)));
void printLine(QorGlobal *world, const char *format, ...)
{
    char line[160];
    va_list args;
    va_start(args, format);
    vsnprintf(line, sizeof line, format, args);
    va_end(args);
    qor::printText(world, line);
}

} // namespace

extern "C" {

int qorSetActiveMemoryHandle(QorGlobal *world, void *handle)
{
    if (world == nullptr || world->privateArea == nullptr)
        return QOR_BAD_ARG;
    QorGlobalPrivate *p = world->privateArea;
    if (handle == nullptr) {
        if (p->activeMemoryHandle != nullptr)
            qorSetUserMallocFreeRealloc(world, p->savedMalloc, p->savedFree, p->savedRealloc);
    } else if (p->activeMemoryHandle == nullptr) {
        qorGetUserMallocFreeRealloc(world, &p->savedMalloc, &p->savedFree, &p->savedRealloc);
        qorSetUserMallocFreeRealloc(world, allocate, release, resize);
    }
    p->activeMemoryHandle = handle;
    return 0;
}

void *qorGetActiveMemoryHandle(QorGlobal *world) { return activeHandle(world); }

void *qorCreateMemoryHandle(QorGlobal *world, QorLong blockSize)
{
    if (world == nullptr || world->privateArea == nullptr || world->mallocp == nullptr)
        return nullptr;
    auto *h = static_cast<Handle *>(world->mallocp(sizeof(Handle)));
    if (h == nullptr)
        return nullptr;
    memset(h, 0, sizeof *h);
    h->blockSize = blockSize > 0 ? static_cast<size_t>(blockSize) : 0;
    qorSetActiveMemoryHandle(world, h);
    return h;
}

int qorCleanMemoryHandle(QorGlobal *world, void *handle)
{
    if (world == nullptr || handle == nullptr)
        return QOR_BAD_ARG;
    auto *h = static_cast<Handle *>(handle);
    h->freeHint = nullptr;
    h->holeBound = 0;
    h->tail = nullptr;
    for (Block *b = h->firstBlock; b != nullptr; b = b->next) {
        emptyBlock(b);
        noteFree(h, b->first());
    }
    return 0;
}

int qorDeleteMemoryHandle(QorGlobal *world, void *handle)
{
    if (world == nullptr || handle == nullptr)
        return QOR_BAD_ARG;
    if (activeHandle(world) == handle)
        qorSetActiveMemoryHandle(world, nullptr);
    auto *h = static_cast<Handle *>(handle);
    Block *b = h->firstBlock;
    while (b != nullptr) {
        Block *next = b->next;
        world->freep(b);
        b = next;
    }
    world->freep(h);
    return 0;
}

int qorGetMemoryHandleStat(QorGlobal *world, void *handle, QorMemoryHandleStat *stats,
                           QorULong flags)
{
    if (world == nullptr || handle == nullptr || stats == nullptr)
        return QOR_BAD_ARG;
    auto *h = static_cast<Handle *>(handle);
    memset(stats, 0, sizeof *stats);
    size_t total = sizeof(Handle);
    for (Block *b = h->firstBlock; b != nullptr; b = b->next) {
        stats->blockCount++;
        total += sizeof(Block) + b->size;
    }
    stats->totalBytes = static_cast<QorULong>(total);
    const unsigned level = flags & 0x0F;
    const bool plain = (flags & 0x20) != 0; // no addresses
    if (level == 0)
        return 0;
    if (level >= 2) {
        if (plain)
            printLine(world, "Handle:\n");
        else
            printLine(world, "Handle: [%p]\n", handle);
    }
    size_t internal = sizeof(Handle);
    int blockNumber = 0;
    for (Block *b = h->firstBlock; b != nullptr; b = b->next) {
        size_t allocated = 0, free = 0, used = sizeof(Block);
        blockNumber++;
        if (level >= 3) {
            if (plain)
                printLine(world, "  Block #%d: length = %zu bytes\n", blockNumber, b->size);
            else
                printLine(world, "  Block #%d [%p]: length = %zu bytes\n", blockNumber,
                          static_cast<void *>(b), b->size);
        }
        int fragmentNumber = 0;
        for (Fragment *f = b->first(); f != nullptr; f = following(b, f)) {
            // The walk doubles as an audit of the heap: a header and its data
            // must lie inside the block before anything in them is believed.
            if (static_cast<size_t>(b->end() - reinterpret_cast<unsigned char *>(f)) < kHeader ||
                f->length > static_cast<size_t>(b->end() - f->data()) ||
                (f->status != 'a' && f->status != 'f' && f->status != 'l') || f->block != b)
                return QOR_FATAL;
            fragmentNumber++;
            used += kHeader;
            (f->status == 'a' ? allocated : free) += f->length;
            if (level >= 4) {
                const char *word = f->status == 'a' ? "allocated" : f->status == 'f' ? "free" : "last/free";
                if (plain)
                    printLine(world, "    Fragment #%d: status = '%s', length = %zu\n",
                              fragmentNumber, word, f->length);
                else
                    printLine(world, "    Fragment #%d [%p]: status = '%s', length = %zu\n",
                              fragmentNumber, static_cast<void *>(f), word, f->length);
            }
        }
        if (level >= 3)
            printLine(world, "  Block summary (bytes): %zu allocated, %zu free, %zu used internally\n",
                      allocated, free, used);
        stats->allocated += static_cast<QorULong>(allocated);
        stats->free += static_cast<QorULong>(free);
        internal += used;
    }
    stats->usedInternally = static_cast<QorULong>(internal);
    if (level >= 2)
        printLine(world, "Handle summary (bytes): %lu allocated, %lu free, %lu used internally\n",
                  static_cast<unsigned long>(stats->allocated), static_cast<unsigned long>(stats->free),
                  static_cast<unsigned long>(stats->usedInternally));
    return 0;
}

} // extern "C"

// SET OF in canonical order (DER, canonical XER): each element is encoded
// apart into the library's memory, then the encodings are sorted and written
// in their place.
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"

using namespace qor;

namespace {

struct EncodedItem {
    QorLong length;
    unsigned char *value;
};

// One SET OF being sorted; frames stack on `blockStack` for nested SET OFs.
struct BlockFrame {
    BlockFrame *prev;
    QorLong capacity;
    QorLong itemCount;
    EncodedItem *items;
    QorMemBlockRecord savedQueue;
    QorMemBlockRecord *savedTail;
    unsigned char **posAddress; // forward writers keep their position in the context
    unsigned char *savedPos;
    QorLong savedRoom;
    unsigned char savedUserBuffer;
    QorLong savedEncLength;
    QorLong savedTotalBytes;
    bool forward;  // canonical XER writes forwards
    bool restored; // the outer output is back in place
};

bool sorting(const QorGlobal *world)
{
    return (world->encRules == QOR_DER || world->encRules == QOR_CXER) && !sizingOnly(world);
}

BlockFrame *topFrame(QorGlobal *world) { return static_cast<BlockFrame *>(world->blockStack); }

void collect(QorGlobal *world, BlockFrame *frame, QorLong *room)
{
    if (frame->itemCount > frame->capacity)
        raise(world, Msg::kImpossible, longValue(frame->itemCount)); // more elements than announced
    EncodedItem &item = frame->items[frame->itemCount - 1];
    if (frame->forward)
        _qor_set_outmem_p(world, &item.length, &item.value);
    else
        _qor_set_outmem_d(world, *room, &item.length, &item.value);
    *room = 0;
}

// Octet by octet over the shorter length (first octets ORed with `mask`);
// where they agree, the shorter encoding comes first.
bool before(const EncodedItem &a, const EncodedItem &b, unsigned char mask)
{
    QorLong n = a.length < b.length ? a.length : b.length;
    if (n > 0 && mask != 0) {
        unsigned char x = a.value[0] | mask;
        unsigned char y = b.value[0] | mask;
        if (x != y)
            return x < y;
        int c = n > 1 ? memcmp(a.value + 1, b.value + 1, static_cast<size_t>(n - 1)) : 0;
        if (c != 0)
            return c < 0;
    } else if (n > 0) {
        int c = memcmp(a.value, b.value, static_cast<size_t>(n));
        if (c != 0)
            return c < 0;
    }
    return a.length < b.length;
}

// Shell sort over gaps 1, 2, 3, 5, 8 ... (each the sum of the two before),
// largest first: no memory, and good enough on sets that are mostly in order.
void sortItems(EncodedItem *items, QorLong n, unsigned char mask)
{
    QorLong gaps[48];
    int count = 0;
    for (QorLong a = 1, b = 2; a < n && count < 48; count++) {
        gaps[count] = a;
        QorLong next = a + b;
        a = b;
        b = next;
    }
    while (count-- > 0) {
        QorLong gap = gaps[count];
        for (QorLong i = gap; i < n; i++) {
            EncodedItem moving = items[i];
            QorLong j = i;
            for (; j >= gap && before(moving, items[j - gap], mask); j -= gap)
                items[j] = items[j - gap];
            items[j] = moving;
        }
    }
}

void restoreOuter(QorGlobal *world, BlockFrame *frame, unsigned char **pos, QorLong *room)
{
    world->blockQueue = frame->savedQueue;
    world->blockQueueTail =
        frame->savedTail == &frame->savedQueue ? &world->blockQueue : frame->savedTail;
    if (pos != nullptr)
        *pos = frame->savedPos;
    if (room != nullptr)
        *room = frame->savedRoom;
    world->userBuffer = frame->savedUserBuffer;
    world->encLength = frame->savedEncLength;
    world->totalBytes = frame->savedTotalBytes;
    frame->restored = true;
}

// Each piece leaves the frame before it is released, so that a failing
// release hook finds the rest still there, and this one gone.
void releaseItem(QorGlobal *world, EncodedItem &item)
{
    if (unsigned char *value = item.value) {
        item.value = nullptr;
        userRelease(world, value);
    }
}

void popFrame(QorGlobal *world, BlockFrame *frame)
{
    for (QorLong i = 0; i < frame->capacity; i++)
        releaseItem(world, frame->items[i]);
    if (EncodedItem *items = frame->items) {
        frame->items = nullptr;
        frame->capacity = 0;
        userRelease(world, items);
    }
    world->blockStack = frame->prev;
    userRelease(world, frame);
}

} // namespace

namespace qor {

void unwindBlockStack(QorGlobal *world)
{
    while (BlockFrame *frame = topFrame(world)) {
        if (!frame->restored) {
            // The element being built lives in blocks of its own.
            if (world->privateArea->tempBufferSize == 0)
                memQueueFree(world, world->userFree);
            restoreOuter(world, frame, nullptr, nullptr);
        }
        popFrame(world, frame);
    }
}

} // namespace qor

extern "C" {

void _qor_beginBlock(QorGlobal *world, QorLong count, unsigned char **pos, QorLong *room)
{
    if (!sorting(world))
        return;
    if (count < 0 || count > INT32_MAX / static_cast<QorLong>(sizeof(EncodedItem)))
        raise(world, Msg::kOutOfMemory, longValue(count));
    auto *frame = static_cast<BlockFrame *>(userAllocate(world, sizeof(BlockFrame)));
    raiseIf(world, frame == nullptr, Msg::kOutOfMemory, sizeof(BlockFrame));
    memset(frame, 0, sizeof *frame);
    frame->forward = world->encRules == QOR_CXER;
    frame->prev = topFrame(world);
    world->blockStack = frame;
    if (count > 0) {
        size_t bytes = sizeof(EncodedItem) * static_cast<size_t>(count);
        frame->items = static_cast<EncodedItem *>(userAllocate(world, bytes));
        raiseIf(world, frame->items == nullptr, Msg::kOutOfMemory, static_cast<QorLong>(bytes));
        memset(frame->items, 0, bytes);
        frame->capacity = count;
    }
    frame->savedQueue = world->blockQueue;
    frame->savedTail = world->blockQueueTail == &world->blockQueue ? &frame->savedQueue
                                                                   : world->blockQueueTail;
    frame->savedPos = *pos;
    frame->savedRoom = *room;
    frame->savedUserBuffer = world->userBuffer;
    frame->savedEncLength = world->encLength;
    frame->savedTotalBytes = world->totalBytes;
    // Every element is built in the library's memory, in blocks of its own.
    world->blockQueue.count = 0;
    world->blockQueue.next = nullptr;
    world->blockQueueTail = &world->blockQueue;
    world->userBuffer = 0;
    *room = 0;
}

void _qor_nextItem(QorGlobal *world, QorLong *room)
{
    if (!sorting(world) || topFrame(world) == nullptr)
        return;
    BlockFrame *frame = topFrame(world);
    if (frame->itemCount > 0)
        collect(world, frame, room);
    frame->itemCount++;
}

void _qor_endBlock(QorGlobal *world, unsigned char **pos, QorLong *room, unsigned char mask)
{
    if (!sorting(world) || topFrame(world) == nullptr)
        return;
    BlockFrame *frame = topFrame(world);
    if (frame->itemCount > 0) {
        collect(world, frame, room);
        sortItems(frame->items, frame->itemCount, mask);
    }
    restoreOuter(world, frame, pos, room);
    if (frame->forward) {
        for (QorLong i = 0; i < frame->itemCount; i++) {
            EncodedItem &item = frame->items[i];
            appendBytes(world, item.value, item.length);
            releaseItem(world, item);
        }
    } else {
        for (QorLong i = frame->itemCount - 1; i >= 0; i--) {
            EncodedItem &item = frame->items[i];
            _qor_write_bytes_d(world, pos, room, item.value, item.length);
            releaseItem(world, item);
        }
    }
    popFrame(world, frame);
}

} // extern "C"

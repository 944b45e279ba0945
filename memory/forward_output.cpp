// Forward output (PER, OER and the XML rules): octets and bits go at
// `outPos`, through 1024-octet blocks or the caller's buffer; the driver
// gathers them at the end.
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"

using namespace qor;

namespace {

constexpr QorULong kEmptyEncodingAllowed = 0x1; // bit of `outState`

// A partly written last octet becomes a whole one: its unused bits are zero.
void closePartialOctet(QorGlobal *world)
{
    if (world->bitOffset != 0) {
        *world->outPos &= static_cast<unsigned char>(0xFF << (8 - world->bitOffset));
        world->outRoom -= 1;
    }
}

} // namespace

namespace qor {

void appendBytes(QorGlobal *world, const void *data, QorLong n)
{
    if (n <= 0)
        return;
    world->encLength += n;
    if (sizingOnly(world))
        return;
    const auto *src = static_cast<const unsigned char *>(data);
    while (n > 0) {
        if (world->outRoom == 0) {
            world->outPos = nextOutBlock(world);
            world->outRoom = QOR_BLOCK_SIZE;
        }
        QorLong step = n < world->outRoom ? n : world->outRoom;
        memcpy(world->outPos, src, static_cast<size_t>(step));
        world->outPos += step;
        world->outRoom -= step;
        src += step;
        n -= step;
    }
}

} // namespace qor

extern "C" {

void _qor_set_outmem_p(QorGlobal *world, QorLong *lengthOut, unsigned char **valueOut)
{
    bool emptyAllowed = (world->outState & kEmptyEncodingAllowed) != 0;
    world->outState &= ~kEmptyEncodingAllowed;
    if (sizingOnly(world)) {
        if (world->bitOffset != 0)
            world->encLength += 1;
        if (world->encLength == 0 && !emptyAllowed)
            world->encLength = 1; // an empty encoding is one zero octet
        *lengthOut = world->encLength;
        memQueueFree(world, outputBlockRelease(world));
        return;
    }
    closePartialOctet(world);
    QorLong length = gatheredLength(world, world->outRoom);
    if (length == 0) {
        if (emptyAllowed) {
            *lengthOut = 0;
            *valueOut = nullptr;
        } else {
            auto *one = static_cast<unsigned char *>(userAllocate(world, 1));
            raiseIf(world, one == nullptr, Msg::kOutOfMemory, 1);
            *one = 0;
            releaseGatheredBlocks(world, one);
            *lengthOut = 1;
            *valueOut = one;
            return;
        }
        memQueueFree(world, outputBlockRelease(world));
        return;
    }
    auto *out = static_cast<unsigned char *>(userAllocate(world, static_cast<size_t>(length)));
    raiseIf(world, out == nullptr, Msg::kOutOfMemory, length);
    unsigned char *at = out;
    QorLong left = length;
    for (QorMemBlockRecord *r = &world->blockQueue; r != nullptr; r = r->next) {
        for (int i = 0; i < r->count && left > 0; i++) {
            QorLong step = left < QOR_BLOCK_SIZE ? left : QOR_BLOCK_SIZE;
            copyBlock(at, r->slot[i], static_cast<size_t>(step));
            at += step;
            left -= step;
        }
    }
    releaseGatheredBlocks(world, out);
    *lengthOut = length;
    *valueOut = out;
}

void _qorSetOutMemQueue(QorGlobal *world, QorLong *lengthOut, unsigned char **valueOut,
                        QorULong flags)
{
    if (!world->userBuffer) {
        _qor_set_outmem_p(world, lengthOut, valueOut);
        return;
    }
    closePartialOctet(world);
    const bool emptyAllowed = (world->outState & kEmptyEncodingAllowed) != 0;
    world->outState &= ~kEmptyEncodingAllowed;
    QorLong size = *lengthOut;
    QorLong used = size - world->outRoom;
    if (used == 0 && !emptyAllowed) {
        // An empty encoding is one zero octet, unless the entry allowed none.
        raiseIf(world, size < 1, Msg::kBufferTooSmall, world->totalBytes);
        (*valueOut)[0] = 0;
        used = 1;
    }
    if (used != size && (flags & BACK_ALIGN) != 0) {
        memmove(*valueOut + (size - used), *valueOut, static_cast<size_t>(used));
        *valueOut += size - used;
    }
    *lengthOut = used;
}

} // extern "C"

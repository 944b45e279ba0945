// Encoder output written backwards (BER, DER, CER): the message grows from its
// last octet down through 1024-octet blocks, and is gathered once at the end.
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"
#include "memory/copy.h"

using namespace qor;

extern "C" {

QorLong _qor_write_bytes_d(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                           QorLong length)
{
    if (sizingOnly(world)) {
        world->encLength += length;
        return length;
    }
    if (length <= 0)
        return length;
    const auto *src = static_cast<const unsigned char *>(data);
    if (length <= *room) {
        *pos -= length;
        *room -= length;
        copyOctets(*pos, src, static_cast<size_t>(length));
        return length;
    }
    // The data's last octets fill what is left of this block; whole blocks
    // follow, walking the data backwards; the rest goes at the top of a last one.
    QorLong left = length - *room;
    if (*room > 0)
        memcpy(*pos - *room, src + left, static_cast<size_t>(*room));
    while (left > QOR_BLOCK_SIZE) {
        unsigned char *block = nextOutBlock(world);
        left -= QOR_BLOCK_SIZE;
        copyBlock(block, src + left, QOR_BLOCK_SIZE);
    }
    unsigned char *block = nextOutBlock(world);
    *pos = block + QOR_BLOCK_SIZE - left;
    *room = QOR_BLOCK_SIZE - left;
    memcpy(*pos, src, static_cast<size_t>(left));
    return length;
}

} // extern "C"

namespace qor {

// Below this a run goes into blocks like any other output.
constexpr QorLong kReferenceThreshold = 2 * QOR_BLOCK_SIZE;

QorLong writeValueOctets(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                         QorLong length)
{
    if (length < kReferenceThreshold || sizingOnly(world) || world->userBuffer)
        return _qor_write_bytes_d(world, pos, room, data, length);
    // The block in hand is filled first, so that every block but the newest
    // stays full; the rest is referred to, and a fresh block follows.
    const auto *src = static_cast<const unsigned char *>(data);
    QorLong left = length - *room;
    if (*room > 0)
        memcpy(*pos - *room, src + left, static_cast<size_t>(*room));
    *room = 0;
    queueReference(world, src, left);
    unsigned char *block = nextOutBlock(world);
    *pos = block + QOR_BLOCK_SIZE;
    *room = QOR_BLOCK_SIZE;
    return length;
}

} // namespace qor

extern "C" {

void _qor_set_outmem_d(QorGlobal *world, QorLong room, QorLong *lengthOut, unsigned char **valueOut)
{
    QorLong blocks = blockCount(world);
    QorLong length = gatheredLength(world, room);
    *lengthOut = length;
    if (length == 0) {
        memQueueFree(world, outputBlockRelease(world));
        return;
    }
    auto *out = static_cast<unsigned char *>(userAllocate(world, static_cast<size_t>(length)));
    raiseIf(world, out == nullptr, Msg::kOutOfMemory, length);
    // The oldest block holds the end of the message.
    unsigned char *end = out + length;
    QorLong seen = 0;
    for (QorMemBlockRecord *r = &world->blockQueue; r != nullptr; r = r->next) {
        if (r->count == kReferenceRecord) {
            end -= referenceLength(r);
            memcpy(end, referenceData(r), static_cast<size_t>(referenceLength(r)));
            continue;
        }
        for (int i = 0; i < r->count; i++) {
            const auto *block = static_cast<const unsigned char *>(r->slot[i]);
            if (++seen < blocks) {
                end -= QOR_BLOCK_SIZE;
                copyBlock(end, block, QOR_BLOCK_SIZE);
            } else {
                memcpy(out, block + room, static_cast<size_t>(QOR_BLOCK_SIZE - room));
            }
        }
    }
    releaseGatheredBlocks(world, out);
    *valueOut = out;
}

} // extern "C"

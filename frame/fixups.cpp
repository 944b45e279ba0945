// The fast push and pop around a PER open type written in place: the push
// reserves one octet for the length where the cursor is, the contents are
// written after it, and the pop fills the length in. The length and the
// contents keep the bit offset the push found, so in unaligned PER the
// length octet straddles two octets; the contents are padded with zero bits
// to whole octets, and an empty one is a single zero octet.
#include <cstring>

#include "frame/errors.h"
#include "memory/bits.h"
#include "memory/blocks.h"

using namespace qor;

namespace {

constexpr uint64_t kUnit = 16384;

// Octets of the length determinants of an unconstrained value of `n`
// octets: one for each fragment of up to four units, then one or two for
// the rest, which may be 0.
uint64_t lengthOctets(uint64_t n)
{
    uint64_t octets = 0;
    while (n >= kUnit) {
        const uint64_t units = n / kUnit < 4 ? n / kUnit : 4;
        n -= units * kUnit;
        octets++;
    }
    return octets + (n < 128 ? 1 : 2);
}

// Where the cursor is, in bits from the start of the output.
inline uint64_t outputBits(const QorGlobal *world)
{
    if (sizingOnly(world))
        return uint64_t(QorULong(world->encLength)) * 8 + unsigned(world->bitOffset);
    return uint64_t(world->totalBytes - world->outRoom) * 8 + unsigned(world->bitOffset);
}

void takeOutBlock(QorGlobal *world)
{
    world->outPos = nextOutBlock(world);
    world->outRoom = QOR_BLOCK_SIZE;
}

// Copies `n` octets of the output that start `skip` octets after the
// fix-up's reserved octet, across blocks, to `to`.
void copyOut(const QorGlobal *world, const QorFixup &f, unsigned char *to, uint64_t n)
{
    if (world->userBuffer) {
        memcpy(to, f.pos + 1, n);
        return;
    }
    const QorMemBlockRecord *record = f.block;
    int slot = f.slot;
    uint64_t at = QOR_BLOCK_SIZE - f.room + 1; // within the block
    while (n > 0) {
        if (at == QOR_BLOCK_SIZE) {
            at = 0;
            if (++slot == record->count) {
                record = record->next;
                slot = 0;
            }
        }
        const uint64_t step = n < QOR_BLOCK_SIZE - at ? n : QOR_BLOCK_SIZE - at;
        memcpy(to, static_cast<const unsigned char *>(record->slot[slot]) + at, step);
        to += step;
        at += step;
        n -= step;
    }
}

// A length of 128 or more needs more octets than the one reserved: the
// contents are copied aside, the output goes back to the reserved octet,
// and the length and contents are written again as an unconstrained
// OCTET STRING, in fragments from 16384 octets on.
void rewrite(QorGlobal *world, const QorFixup &f, uint64_t length)
{
    const unsigned offset = unsigned(f.bitOffset);
    // The contents lie `offset` bits into the octets after the reserved one.
    const uint64_t spanned = length + (offset != 0 ? 1 : 0);
    raiseIf(world, spanned > INT32_MAX - 64, Msg::kOutOfMemory, -1);
    auto *copy = static_cast<unsigned char *>(_qor_dec_gettempmem(world, QorLong(spanned)));
    copyOut(world, f, copy, spanned);
    if (offset != 0)
        for (uint64_t i = 0; i < length; i++)
            copy[i] = static_cast<unsigned char>((copy[i] << offset) | (copy[i + 1] >> (8 - offset)));
    if (!world->userBuffer)
        truncateOutput(world, f.block, f.slot);
    world->outPos = f.pos;
    world->outRoom = f.room;
    world->bitOffset = f.bitOffset;
    _qor_penc_uncon_oct(world, copy, QorULong(length));
    _qor_dec_freetempmem(world, copy);
}

} // namespace

extern "C" {

void _qor_fast_push_global(QorGlobal *world)
{
    QorFixup *f = world->privateArea->fixups.push(world);
    alignOutput(world);
    f->bitOffset = world->bitOffset;
    if (sizingOnly(world)) {
        f->written = world->encLength;
        return;
    }
    if (world->outRoom == 0)
        takeOutBlock(world);
    f->pos = world->outPos;
    f->room = world->outRoom;
    f->written = world->totalBytes - world->outRoom;
    f->block = world->blockQueueTail;
    f->slot = world->blockQueueTail->count - 1;
    // Past the reserved octet. Off a boundary its last bits fall in the
    // next octet, which the contents' writers then keep as they find it.
    world->outPos++;
    world->outRoom--;
    if (f->bitOffset != 0) {
        if (world->outRoom == 0)
            takeOutBlock(world);
        *world->outPos = 0;
    }
    f->next = world->outPos;
}

void _qor_fast_pop_global(QorGlobal *world)
{
    QorGlobalPrivate *p = world->privateArea;
    const QorFixup f = *p->fixups.top();
    const uint64_t start = uint64_t(QorULong(f.written)) * 8 + unsigned(f.bitOffset);
    if (sizingOnly(world)) {
        uint64_t length = (outputBits(world) - start + 7) / 8;
        if (length == 0)
            length = 1;
        world->encLength = QorLong(QorULong(f.written + lengthOctets(length) + length));
        world->bitOffset = f.bitOffset;
        p->fixups.pop(world);
        return;
    }
    // The contents begin one octet after the reserved one.
    const uint64_t bits = outputBits(world) - start - 8;
    uint64_t length = (bits + 7) / 8;
    static const unsigned char zeros[1] = {0};
    if (length == 0) {
        _qor_append(world, zeros, 8, 0);
        length = 1;
    } else if (length * 8 != bits) {
        _qor_append(world, zeros, QorULong(length * 8 - bits), 0);
    }
    if (length < 128) {
        const unsigned offset = unsigned(f.bitOffset);
        if (offset == 0) {
            *f.pos = static_cast<unsigned char>(length);
        } else {
            *f.pos = static_cast<unsigned char>(*f.pos | (length >> offset));
            *f.next = static_cast<unsigned char>(*f.next | ((length << (8 - offset)) & 0xFF));
        }
    } else {
        rewrite(world, f, length);
    }
    p->fixups.pop(world);
}

} // extern "C"

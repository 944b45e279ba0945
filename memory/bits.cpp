// The PER bit cursor: bits go into the output and come out of the input at
// `bitOffset` bits into the current octet, counted from its top bit. One
// cursor serves the whole of PER; generated code that knows a field's width
// calls the fixed-width routines, everything else the general ones.
//
// Bits are left-justified everywhere: the first bit of a value is the top bit
// of its first octet. A partly written output octet always has its unused low
// bits zero when a writer returns, so pad bits are zero and nothing depends on
// what a fresh block held.
#include <bit>
#include <cstdint>
#include <cstring>

#include "frame/errors.h"
#include "memory/bits.h"
#include "memory/blocks.h"

using namespace qor;

namespace {

constexpr uint64_t kBlockBits = uint64_t{QOR_BLOCK_SIZE} * 8;

[[noreturn]] __attribute__((cold, noinline)) void endOfInput(QorGlobal *world)
{
    raise(world, Msg::kEndOfInput, longValue(0));
}

// The bits of an octet above `offset`, the ones already written.
inline unsigned keptBits(unsigned offset) { return (0xFFu << (8 - offset)) & 0xFFu; }

// Copies `n` bits that start `shift` bits into `src` to the octet boundary at
// `dst`. Only the octets of `src` that hold those bits are read, so a reader
// can hand in the last octets of its input; the last partial octet of `dst`
// gets zero low bits, and nothing beyond it is written.
void gatherBits(unsigned char *dst, const unsigned char *src, unsigned shift, uint64_t n)
{
    const uint64_t whole = n >> 3;
    const unsigned rest = n & 7;
    if (shift == 0) {
        memcpy(dst, src, whole);
        if (rest != 0)
            dst[whole] = static_cast<unsigned char>(src[whole] & keptBits(rest));
        return;
    }
    // Each target octet takes the low bits of one source octet and the top
    // bits of the next; eight at a turn while nine source octets are there.
    const unsigned back = 8 - shift;
    auto turn = [&](uint64_t i) {
        storeBig(dst + i, (loadBig(src + i) << shift) | (src[i + 8] >> back));
    };
    if (whole >= 8) {
        uint64_t i = 0;
        for (; i + 8 <= whole; i += 8)
            turn(i);
        // The last few whole octets in one more turn that overlaps the one
        // before; those octets get the same values again.
        if (i < whole)
            turn(whole - 8);
    } else {
        for (uint64_t i = 0; i < whole; i++)
            dst[i] = static_cast<unsigned char>((src[i] << shift) | (src[i + 1] >> back));
    }
    if (rest != 0) {
        // The next source octet is touched only when the bits reach into it.
        unsigned v = src[whole] << shift;
        if (shift + rest > 8)
            v |= src[whole + 1] >> back;
        dst[whole] = static_cast<unsigned char>(v & keptBits(rest));
    }
}

// Writes `n` bits (n > 0) from the top of `src` at bit `offset` of `*pos`,
// keeping the bits above `offset`. The caller has checked the room.
void placeBits(unsigned char *pos, unsigned offset, const unsigned char *src, uint64_t n)
{
    if (offset == 0) {
        gatherBits(pos, src, 0, n);
        return;
    }
    const unsigned head = 8 - offset;
    unsigned v = src[0] >> offset;
    if (n < head)
        v &= keptBits(offset + static_cast<unsigned>(n)); // the value ends inside this octet
    *pos = static_cast<unsigned char>((*pos & keptBits(offset)) | v);
    if (n > head)
        gatherBits(pos + 1, src, head, n - head);
}

// Sizing mode: only the count moves.
inline void countBits(QorGlobal *world, uint64_t n)
{
    uint64_t end = static_cast<unsigned>(world->bitOffset) + n;
    world->encLength = static_cast<QorLong>(static_cast<QorULong>(world->encLength) +
                                            static_cast<QorULong>(end >> 3));
    world->bitOffset = static_cast<int>(end & 7);
}

// Aligned PER: close the partial output octet with zero pad bits.
inline void padOutput(QorGlobal *world, unsigned offset)
{
    *world->outPos &= static_cast<unsigned char>(keptBits(offset));
    world->outPos++;
    world->outRoom--;
    world->bitOffset = 0;
}

// A fresh output block becomes the current one.
unsigned char *takeBlock(QorGlobal *world)
{
    unsigned char *block = nextOutBlock(world);
    world->outPos = block;
    world->outRoom = QOR_BLOCK_SIZE;
    return block;
}

// The rest of a fixed-width value goes to the first octet of a new block.
// Out of line and reached by a tail call, like `appendAtNewBlock` below, so
// that the writers' usual path keeps nothing live across a call and saves no
// registers.
__attribute__((noinline)) void carryIntoNewBlock(QorGlobal *world, unsigned char octet)
{
    *takeBlock(world) = octet;
}

template <unsigned N> void appendAtNewBlock(QorGlobal *world, unsigned bits);

// The fixed-width writers: `bits` holds N bits in its top; bits below them are
// no part of the value. A write that ends exactly at the end of a block
// leaves `outRoom` 0; the next write takes the new block, so an encoding
// never ends with an empty one.
template <unsigned N> inline void appendSmall(QorGlobal *world, unsigned bits)
{
    static_assert(N >= 1 && N <= 8);
    if (sizingOnly(world)) [[unlikely]] {
        countBits(world, N);
        return;
    }
    if (world->outRoom == 0) [[unlikely]] {
        appendAtNewBlock<N>(world, bits);
        return;
    }
    bits &= keptBits(N);
    const unsigned offset = static_cast<unsigned>(world->bitOffset);
    unsigned char *pos = world->outPos;
    *pos = static_cast<unsigned char>((*pos & keptBits(offset)) | (bits >> offset));
    if (offset < 8 - N) {
        world->bitOffset = static_cast<int>(offset + N);
        return;
    }
    if (offset == 8 - N) {
        world->outPos = pos + 1;
        world->outRoom--;
        world->bitOffset = 0;
        return;
    }
    // The value runs into the next octet, which may be a new block's first.
    world->bitOffset = static_cast<int>(offset - (8 - N));
    const auto rest = static_cast<unsigned char>(bits << (8 - offset));
    if (--world->outRoom == 0) [[unlikely]] {
        carryIntoNewBlock(world, rest);
        return;
    }
    world->outPos = ++pos;
    *pos = rest;
}

template <unsigned N> __attribute__((noinline)) void appendAtNewBlock(QorGlobal *world, unsigned bits)
{
    takeBlock(world);
    appendSmall<N>(world, bits);
}

// The fixed-width readers: the N bits come back in the top of the low octet.
// A read that fails leaves the cursor where it was.
template <unsigned N> inline QorULong getSmall(QorGlobal *world)
{
    static_assert(N >= 1 && N <= 8);
    if (world->inRoom <= 0) [[unlikely]]
        endOfInput(world);
    const unsigned offset = static_cast<unsigned>(world->bitOffset);
    const unsigned char *pos = world->inPos;
    if (offset < 8 - N) {
        world->bitOffset = static_cast<int>(offset + N);
        return (pos[0] << offset) & keptBits(N);
    }
    if (offset == 8 - N) {
        world->inPos++;
        world->inRoom--;
        world->bitOffset = 0;
        return (pos[0] << offset) & keptBits(N);
    }
    if (world->inRoom == 1) [[unlikely]]
        endOfInput(world);
    world->inPos++;
    world->inRoom--;
    world->bitOffset = static_cast<int>(offset - (8 - N));
    return ((pos[0] << offset) | (pos[1] >> (8 - offset))) & keptBits(N);
}

// `_qor_append` for a value that doesn't fit in what is left: the rest of
// this block, whole blocks, then the tail in one more block. `room` is the
// free bits at the cursor, possibly 0.
__attribute__((noinline)) void appendAcrossBlocks(QorGlobal *world, const unsigned char *src,
                                                  uint64_t n, uint64_t room)
{
    if (room != 0) {
        placeBits(world->outPos, static_cast<unsigned>(world->bitOffset), src, room);
        world->outPos += world->outRoom;
        world->outRoom = 0;
        world->bitOffset = 0;
    }
    // From here on every block is written from its start, and the source
    // sits `done & 7` bits into an octet.
    uint64_t done = room;
    uint64_t left = n - room;
    while (left >= kBlockBits) {
        unsigned char *block = nextOutBlock(world);
        gatherBits(block, src + (done >> 3), done & 7, kBlockBits);
        // Full to its end: the next writer asks for the next block.
        world->outPos = block + QOR_BLOCK_SIZE;
        done += kBlockBits;
        left -= kBlockBits;
    }
    if (left == 0)
        return;
    unsigned char *block = nextOutBlock(world);
    gatherBits(block, src + (done >> 3), done & 7, left);
    world->outPos = block + (left >> 3);
    world->outRoom = static_cast<QorLong>(QOR_BLOCK_SIZE - (left >> 3));
    world->bitOffset = static_cast<int>(left & 7);
}

} // namespace

void qor::alignOutput(QorGlobal *world)
{
    if (!world->perAligned || world->bitOffset == 0)
        return;
    if (sizingOnly(world)) {
        world->encLength++;
        world->bitOffset = 0;
        return;
    }
    padOutput(world, static_cast<unsigned>(world->bitOffset));
}

extern "C" {

void _qor_append_1bit_unaligned(QorGlobal *world, unsigned char bits) { appendSmall<1>(world, bits); }
void _qor_append_2bit_unaligned(QorGlobal *world, unsigned char bits) { appendSmall<2>(world, bits); }
void _qor_append_3bit_unaligned(QorGlobal *world, unsigned char bits) { appendSmall<3>(world, bits); }
void _qor_append_4bit_unaligned(QorGlobal *world, unsigned char bits) { appendSmall<4>(world, bits); }
void _qor_append_5bit_unaligned(QorGlobal *world, unsigned char bits) { appendSmall<5>(world, bits); }
void _qor_append_6bit_unaligned(QorGlobal *world, unsigned char bits) { appendSmall<6>(world, bits); }
void _qor_append_7bit_unaligned(QorGlobal *world, unsigned char bits) { appendSmall<7>(world, bits); }
void _qor_append_8bit_unaligned(QorGlobal *world, unsigned char bits) { appendSmall<8>(world, bits); }

// Under aligned PER the octet starts on a boundary; under unaligned PER it
// goes at the cursor like any other eight bits.
void _qor_append_8bit_aligned(QorGlobal *world, QorULong value)
{
    if (world->perAligned && world->bitOffset != 0) {
        if (sizingOnly(world)) {
            world->encLength++;
            world->bitOffset = 0;
        } else {
            padOutput(world, static_cast<unsigned>(world->bitOffset));
        }
    }
    appendSmall<8>(world, value & 0xFF);
}

void _qor_append(QorGlobal *world, const void *bits, QorULong bitCount, int align)
{
    // Nothing to write means no pad either.
    if (bitCount == 0)
        return;
    const bool pad = align == 1 && world->perAligned && world->bitOffset != 0;
    if (sizingOnly(world)) {
        if (pad) {
            world->encLength++;
            world->bitOffset = 0;
        }
        countBits(world, bitCount);
        return;
    }
    if (pad)
        padOutput(world, static_cast<unsigned>(world->bitOffset));
    const auto *src = static_cast<const unsigned char *>(bits);
    const unsigned offset = static_cast<unsigned>(world->bitOffset);
    const uint64_t room = static_cast<uint64_t>(world->outRoom) * 8 - offset;
    if (bitCount > room) {
        appendAcrossBlocks(world, src, bitCount, room);
        return;
    }
    placeBits(world->outPos, offset, src, bitCount);
    const uint64_t end = offset + uint64_t{bitCount};
    world->outPos += end >> 3;
    world->outRoom -= static_cast<QorLong>(end >> 3);
    world->bitOffset = static_cast<int>(end & 7);
}

QorULong _qor_get_1bit_unaligned(QorGlobal *world) { return getSmall<1>(world); }
QorULong _qor_get_2bit_unaligned(QorGlobal *world) { return getSmall<2>(world); }
QorULong _qor_get_3bit_unaligned(QorGlobal *world) { return getSmall<3>(world); }
QorULong _qor_get_4bit_unaligned(QorGlobal *world) { return getSmall<4>(world); }
QorULong _qor_get_5bit_unaligned(QorGlobal *world) { return getSmall<5>(world); }
QorULong _qor_get_6bit_unaligned(QorGlobal *world) { return getSmall<6>(world); }
QorULong _qor_get_7bit_unaligned(QorGlobal *world) { return getSmall<7>(world); }
QorULong _qor_get_8bit_unaligned(QorGlobal *world) { return getSmall<8>(world); }

void _qor_get_bits(QorGlobal *world, void *target, QorULong bitCount, int align)
{
    if (bitCount == 0)
        return;
    unsigned offset = static_cast<unsigned>(world->bitOffset);
    // Aligned PER skips the rest of the partial octet; its pad bits aren't
    // looked at. The skip and the item are checked together, once, so that a
    // failed read consumes nothing.
    const bool pad = align == 1 && world->perAligned && offset != 0;
    const uint64_t skip = pad ? 8 - offset : 0;
    const uint64_t total = offset + skip + bitCount;
    if (static_cast<int64_t>(world->inRoom) * 8 < static_cast<int64_t>(total)) [[unlikely]]
        endOfInput(world);
    if (pad) {
        world->inPos++;
        world->inRoom--;
        offset = 0;
    }
    const uint64_t end = offset + uint64_t{bitCount};
    gatherBits(static_cast<unsigned char *>(target), world->inPos, offset, bitCount);
    world->inPos += end >> 3;
    world->inRoom -= static_cast<QorLong>(end >> 3);
    world->bitOffset = static_cast<int>(end & 7);
}

// The next eight bits. At a non-zero offset the value is not cut to eight
// bits: the bits of the current octet above the cursor stay above them, and
// callers take the low eight. When the current octet is the input's last,
// the bits that would come from beyond it are 0: nothing past the input is
// read, and the next read reports the end.
QorULong _qor_get_octet(QorGlobal *world, int align)
{
    unsigned offset = static_cast<unsigned>(world->bitOffset);
    if (align == 1 && world->perAligned && offset != 0) {
        if (world->inRoom < 2) [[unlikely]]
            endOfInput(world);
        world->inPos++;
        world->inRoom--;
        world->bitOffset = 0;
        offset = 0;
    }
    if (world->inRoom <= 0) [[unlikely]]
        endOfInput(world);
    const unsigned char *pos = world->inPos;
    world->inPos++;
    world->inRoom--;
    if (offset == 0)
        return pos[0];
    QorULong v = QorULong{pos[0]} << offset;
    if (world->inRoom > 0)
        v |= pos[1] >> (8 - offset);
    return v;
}

} // extern "C"

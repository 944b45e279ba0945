// What the PER primitives share: field widths, the octet reader, and the
// 64-bit length form that huge values and linked identifiers use.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/errors.h"
#include "memory/bits.h"
#include "memory/blocks.h"

namespace qor {

// Bits that a field of `n` distinct values needs: 0 for 0 and 1 values.
struct RangeBits {
    unsigned char bits[256];
};
constexpr RangeBits makeRangeBits()
{
    RangeBits t{};
    for (unsigned n = 2; n < 256; n++) {
        unsigned b = 0;
        while ((1u << b) < n)
            b++;
        t.bits[n] = static_cast<unsigned char>(b);
    }
    return t;
}
inline constexpr RangeBits kBitsForRange = makeRangeBits();

// Bits needed to hold `v`: 0 for 0.
inline unsigned bitLength(uint64_t v) { return v == 0 ? 0 : 64 - static_cast<unsigned>(__builtin_clzll(v)); }

// The next eight bits, after going to an octet boundary if `align` under
// aligned PER. The whole octet must be in the input, so a value can't be
// made of bits past its end.
inline unsigned readOctet(QorGlobal *world, bool align)
{
    // At a boundary, or going to one: the octet itself.
    const unsigned step = world->bitOffset != 0 ? 1 : 0;
    if ((step == 0 || (align && world->perAligned)) && world->inRoom > static_cast<QorLong>(step)) {
        const unsigned char *pos = world->inPos + step;
        world->inPos += step + 1;
        world->inRoom -= static_cast<QorLong>(step + 1);
        world->bitOffset = 0;
        return *pos;
    }
    if (!align || !world->perAligned) {
        // Across two octets, both in the input.
        if (world->inRoom >= 2) {
            const unsigned char *pos = world->inPos;
            const unsigned offset = static_cast<unsigned>(world->bitOffset);
            world->inPos++;
            world->inRoom--;
            return ((unsigned{pos[0]} << offset) | (pos[1] >> (8 - offset))) & 0xFF;
        }
    }
    unsigned char octet;
    _qor_get_bits(world, &octet, 8, align ? 1 : 0);
    return octet;
}

// `count` (at most 8) octets, big-endian, at an octet boundary under aligned PER.
uint64_t readOctets(QorGlobal *world, unsigned count);
// The low `count` octets of `value`, big-endian, aligned as above.
void writeOctets(QorGlobal *world, uint64_t value, unsigned count);

// A length determinant straight at the cursor, the room checked for three
// octets: the field of a constrained range below 64K, or the general form
// of one part below 16384.
inline void putLengthAt(QorGlobal *world, uint64_t length, uint64_t lb, uint64_t ub, bool general)
{
    if (general) {
        alignAt(world);
        if (length < 128)
            putBitsAt(world, length << 56, 8);
        else
            putBitsAt(world, (length | 0x8000) << 48, 16);
        return;
    }
    const uint64_t range = ub - lb + 1;
    if (range < 2)
        return;
    unsigned bits;
    if (range <= 255) {
        bits = kBitsForRange.bits[range];
    } else if (range == 256 || world->perAligned) {
        alignAt(world);
        bits = range == 256 ? 8 : 16;
    } else {
        bits = bitLength(range - 1);
    }
    putBitsAt(world, (length - lb) << (64 - bits), bits);
}

// The length determinant of 64-bit values; the small forms go through the
// general writer. Returns the items to write next.
uint64_t encodeLength64(QorGlobal *world, uint64_t length, uint64_t lb, uint64_t ub,
                        bool extended);
// An unconstrained OCTET STRING read into temporary memory, its fragments
// joined; returns the count (null for none).
QorULong readJoinedOctets(QorGlobal *world, unsigned char **result);

// The normally small length: 1 to 64 in seven bits, else a general length.
QorULong decodeSmallLength(QorGlobal *world, unsigned char *done);

// `length` octets of contents at the cursor, the input checked for all of
// them first (message 45): read in place on an octet boundary, else copied
// to `frame` of `frameSize` octets or, when longer, to temporary memory that
// the caller gives back through `*temp` (null when none was taken).
[[nodiscard]] const unsigned char *takeOctets(QorGlobal *world, QorULong length,
                                             unsigned char *frame, size_t frameSize, void **temp);

} // namespace qor

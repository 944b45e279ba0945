// Internal calls of the PER bit cursor for the PER primitives.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#include "frame/world.h"
#include "memory/blocks.h"

namespace qor {

inline uint64_t loadBig(const unsigned char *p)
{
    uint64_t v;
    memcpy(&v, p, sizeof v);
    if constexpr (std::endian::native == std::endian::little)
        v = __builtin_bswap64(v);
    return v;
}

inline void storeBig(unsigned char *p, uint64_t v)
{
    if constexpr (std::endian::native == std::endian::little)
        v = __builtin_bswap64(v);
    memcpy(p, &v, sizeof v);
}

// The direct path of writers that know their bits: true when this is no
// sizing pass and `octets` more octets fit in the current block, eight of
// them beyond the last bit written (a whole word is stored at a time).
inline bool outputHasRoom(const QorGlobal *world, uint64_t octets)
{
    return !sizingOnly(world) && world->outRoom >= 0 && uint64_t(world->outRoom) >= octets + 8;
}

// Puts the top `n` (at most 56) bits of `bits`, the rest of it zero, at
// the cursor; the caller has checked the room. The octets after them are
// overwritten with zeros, which keeps the unused bits of a partial octet 0.
inline void putBitsAt(QorGlobal *world, uint64_t bits, unsigned n)
{
    const unsigned offset = static_cast<unsigned>(world->bitOffset);
    unsigned char *pos = world->outPos;
    const uint64_t kept = uint64_t{static_cast<unsigned char>(*pos & (0xFF00u >> offset))} << 56;
    storeBig(pos, kept | (bits >> offset));
    const unsigned end = offset + n;
    world->outPos = pos + (end >> 3);
    world->outRoom -= static_cast<QorLong>(end >> 3);
    world->bitOffset = static_cast<int>(end & 7);
}

// Aligned PER on the direct path: the partial octet's pad bits are zero
// already, so going to the boundary is a step.
inline void alignAt(QorGlobal *world)
{
    if (world->perAligned && world->bitOffset != 0) {
        world->outPos++;
        world->outRoom--;
        world->bitOffset = 0;
    }
}

// Aligned PER: closes a partial output octet with zero pad bits (counted in
// sizing mode); nothing in unaligned PER or on a boundary.
void alignOutput(QorGlobal *world);

} // namespace qor

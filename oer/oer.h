// What the OER primitives share: the output's end and the input's end both
// live in `blockStack`, so a room test is one pointer comparison; items of a
// few octets are built in a local buffer and stored by one path.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"
#include "memory/copy.h"

namespace qor {

// The end of the output block or caller's buffer being filled; of the input
// when decoding.
inline unsigned char *oerEnd(const QorGlobal *world)
{
    return static_cast<unsigned char *>(world->blockStack);
}

// Octets left before the end. Unsigned and 64-bit, so that a length of 2^31
// or more can't pass for a small one.
inline uint64_t oerLeft(const QorGlobal *world)
{
    return static_cast<uint64_t>(oerEnd(world) - world->inPos);
}

inline void needInput(QorGlobal *world, uint64_t n)
{
    if (n > oerLeft(world)) [[unlikely]]
        raise(world, Msg::kEndOfInput, longValue(0));
}

// Stores `n` octets past the block's end: the part that fits, then fresh
// blocks (message 1 in a caller's buffer).
void oerSpill(QorGlobal *world, const unsigned char *bytes, uint64_t n);

// `n` octets at the cursor, or counted in sizing mode: the one store of
// every OER encoder.
inline void oerPut(QorGlobal *world, const unsigned char *bytes, uint64_t n)
{
    if (sizingOnly(world)) {
        world->encLength += static_cast<QorLong>(n);
        return;
    }
    unsigned char *at = world->outPos;
    if (static_cast<uint64_t>(oerEnd(world) - at) >= n) [[likely]] {
        copyOctets(at, bytes, static_cast<size_t>(n));
        world->outPos = at + n;
        return;
    }
    oerSpill(world, bytes, n);
}

// An item of up to 16 octets built in a local buffer of 16: where the room
// allows, the whole buffer is stored by two fixed moves and the cursor
// steps over the item's octets only; what lies beyond is written over next.
constexpr unsigned kItemRoom = 16;
inline void oerPutItem(QorGlobal *world, const unsigned char (&item)[kItemRoom], unsigned n)
{
    if (sizingOnly(world)) {
        world->encLength += static_cast<QorLong>(n);
        return;
    }
    unsigned char *at = world->outPos;
    if (oerEnd(world) - at >= static_cast<ptrdiff_t>(kItemRoom)) [[likely]] {
        memcpy(at, item, kItemRoom);
        world->outPos = at + n;
        return;
    }
    oerSpill(world, item, n);
}

// The minimal two's complement octets of `v`, at least one.
inline unsigned signedOctets(int64_t v)
{
    uint64_t t = static_cast<uint64_t>(v < 0 ? ~v : v) >> 7;
    unsigned count = 1;
    while (t != 0) {
        t >>= 8;
        count++;
    }
    return count;
}

// The minimal unsigned octets of `v`, at least one.
inline unsigned unsignedOctets(uint64_t v)
{
    return v == 0 ? 1 : (71 - static_cast<unsigned>(__builtin_clzll(v))) / 8;
}

// The low `count` octets of `v`, big-endian, at `out`.
inline void storeBigEndian(unsigned char *out, uint64_t v, unsigned count)
{
    for (unsigned i = count; i > 0; i--) {
        out[i - 1] = static_cast<unsigned char>(v);
        v >>= 8;
    }
}

// `count` octets at the cursor, big-endian, the input already checked.
inline uint64_t takeBigEndian(QorGlobal *world, unsigned count)
{
    const unsigned char *p = world->inPos;
    uint64_t v = 0;
    for (unsigned i = 0; i < count; i++)
        v = v << 8 | p[i];
    world->inPos += count;
    return v;
}

// The `n` octets of a content whose length `_qor_odec_length` gave: they are
// known to be there.
inline const unsigned char *takeContents(QorGlobal *world, uint64_t n)
{
    const unsigned char *at = world->inPos;
    world->inPos += n;
    return at;
}

// Contents converted on their way out (big-endian characters, UTF-8, time
// texts without their punctuation) are built in a buffer on the frame and
// stored whenever it fills, so that no length of value can overflow it.
class OerStaging {
public:
    static constexpr size_t kRoom = 128;
    explicit OerStaging(QorGlobal *world) : world_(world) {}
    // Room for `n` more octets, storing what is held if need be.
    unsigned char *reserve(size_t n)
    {
        if (used_ + n > kRoom)
            flush();
        return buffer_ + used_;
    }
    void advance(size_t n) { used_ += n; }
    void put(unsigned char octet)
    {
        *reserve(1) = octet;
        advance(1);
    }
    void flush()
    {
        oerPut(world_, buffer_, used_);
        used_ = 0;
    }

private:
    QorGlobal *world_;
    size_t used_ = 0;
    unsigned char buffer_[kRoom];
};

} // namespace qor

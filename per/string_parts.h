// How PER strings are laid out in parts: every string family (one, two or
// four octets a character, or octets without a known multiplier) writes
// and reads its lengths and runs through here.
//
// An encoder writes a fixed size without a length, else a length before
// each part, fragments of whole 16K units while more remain.
//
// A decoder walks the parts of a value twice: first to check every length
// and bound and to find the total without storing anything, then to read
// the characters into their final place. So no fragment is held aside, the
// input is known to be there before memory is taken, and an alphabet of one
// character (no input per character) can't make it allocate more than the
// total allowed. The usual value, one part, is checked and read in one pass.
#pragma once

#include <cstdint>

#include "frame/errors.h"
#include "per/alphabet.h"
#include "per/per.h"

namespace qor {

// A decoded total is a 32-bit length.
constexpr uint64_t kMaxStringTotal = INT32_MAX;
// Under strict rules a fragment may only follow one of this many items.
constexpr QorULong kGroupedFragment = 65536;

// How a decoder reads a value: what the string decoders know once the
// extension bit is read, and what the bit and octet string decoders know
// from their bounds.
struct StringValue {
    const QorStringDescriptor *desc; // null for bit and octet strings
    CharCoding coding;               // `width`: bits an item
    bool extended;
    bool fixed;       // no length: exactly `ub` items
    QorULong lb, ub;  // bounds for the length decoder
    bool alignRuns;   // each part's items start on an octet boundary
    bool onePart;     // a time string may not come in fragments
    bool heldToUpper; // a length past `ub` is refused (message 27)
};

// `fullWidth`: the bits of a character in memory.
[[gnu::always_inline]] inline StringValue startString(QorGlobal *world,
                                                      const QorStringDescriptor *desc,
                                                      unsigned fullWidth)
{
    StringValue v{};
    v.desc = desc;
    if (desc->flags & kExtensibleSize)
        v.extended = _qor_get_1bit_unaligned(world) != 0;
    v.coding = charCoding(world, desc, v.extended, fullWidth);
    const bool sized = desc->lowerSize <= desc->upperSize;
    v.fixed = !v.extended && desc->lowerSize == desc->upperSize && desc->upperSize < kConstrainedLimit;
    v.lb = sized ? desc->lowerSize : 0;
    v.ub = sized && !v.extended ? desc->upperSize : 0;
    v.alignRuns = varyingRunAligns(v.coding.width, desc->upperSize, v.extended);
    v.onePart = (desc->flags & kTimeString) != 0;
    v.heldToUpper = v.ub != 0 && v.ub < kConstrainedLimit;
    return v;
}

// Items of `width` bits under a length with bounds `lb` and `ub`, each part
// on an octet boundary: bit and octet strings. `lb` = `ub` below 64K is a
// fixed size, without a length.
inline StringValue plainValue(unsigned width, QorULong lb, QorULong ub)
{
    StringValue v{};
    v.coding = CharCoding{width, true};
    v.fixed = lb == ub && ub < kConstrainedLimit;
    v.lb = lb;
    v.ub = ub;
    v.alignRuns = true;
    return v;
}

// The descriptor of octets without a known multiplier: no size constraint,
// eight bits each, as they stand.
inline constexpr QorStringDescriptor kOctetRun{nullptr, 1, 0, 0, 0x88 | (0x88 << kUnalignedShift)};

// The count within the size constraint, if there is one (message 27).
inline void checkSize(QorGlobal *world, uint64_t count, const QorStringDescriptor *desc)
{
    if (desc->lowerSize <= desc->upperSize)
        raiseIf(world, count < desc->lowerSize || count > desc->upperSize, Msg::kSizeViolated,
                static_cast<QorLong>(count));
}

// Writes a value of `count` items of `width` bits, sized `lower` to `upper`
// (`lower` above `upper`: no usable size constraint), after its extension
// bit (`extended` its value): `write(offset, n)` writes `n` items from
// `offset` at the cursor. Character, bit and octet strings alike.
template <class Write>
void encodeParts(QorGlobal *world, uint64_t count, QorULong lower, QorULong upper, bool extended,
                 unsigned width, Write write)
{
    const bool sized = lower <= upper;
    if (lower == upper && upper < kConstrainedLimit && !extended) {
        if (fixedRunAligns(width, upper))
            alignOutput(world); // the pad bits are zero already
        write(0, count);
        return;
    }
    // Without a usable size constraint the length is the general form.
    const QorULong lb = sized ? lower : 0;
    const QorULong ub = sized ? upper : 0;
    const bool needsClose = (!sized || upper >= kConstrainedLimit) && count >= kFragmentUnit;
    const bool extendedLength = !sized || extended || needsClose;
    if (count == 0) {
        encodeLength64(world, 0, lb, ub, extendedLength);
        return;
    }
    const bool alignRuns = varyingRunAligns(width, upper, extended);
    uint64_t done = 0;
    uint64_t last = 0;
    while (done < count) {
        const uint64_t left = count - done;
        last = encodeLength64(world, left, lb, ub, extendedLength);
        // A length routine that hands out nothing or too much would loop or overrun.
        raiseIf(world, last == 0 || last > left, Msg::kImpossible, static_cast<QorLong>(last));
        if (alignRuns)
            alignOutput(world);
        write(done, last);
        done += last;
    }
    // A last fragment of whole units needs a zero length after it.
    if (needsClose && (last & (kFragmentUnit - 1)) == 0)
        _qor_append_8bit_aligned(world, 0);
}

// A length, held to the upper bound when its field can say more than that.
inline QorULong readStringLength(QorGlobal *world, const StringValue &v, unsigned char *done)
{
    const QorULong n = _qor_pdec_length(world, v.lb, v.ub, done);
    if (v.heldToUpper && n > v.ub) [[unlikely]]
        raise(world, Msg::kSizeViolated, longValue(static_cast<QorLong>(n)));
    return n;
}

// The input cursor, kept to come back to.
struct Cursor {
    unsigned char *pos;
    QorLong room;
    int bitOffset;

    explicit Cursor(const QorGlobal *world) : pos(world->inPos), room(world->inRoom), bitOffset(world->bitOffset) {}
    void restore(QorGlobal *world) const
    {
        world->inPos = pos;
        world->inRoom = room;
        world->bitOffset = bitOffset;
    }
};

// Calls `part(count, offset)` for each part of a value with a length, in
// order; `offset` is the characters before it. Returns the total. Every
// length is checked here: fragments of a time string, grouping under strict
// rules, and a total within 32 bits and within `limit` (`limitMsg`).
template <class Part>
uint64_t walkParts(QorGlobal *world, const StringValue &v, uint64_t limit, Msg limitMsg, Part part)
{
    uint64_t total = 0;
    bool havePrevious = false;
    QorULong previous = 0;
    const bool strict = (world->decodingFlags & STRICT_ENCODING_DECODING_RULES) != 0;
    for (;;) {
        unsigned char done = 1;
        const QorULong n = readStringLength(world, v, &done);
        if (!done) {
            raiseIf(world, v.onePart, Msg::kTimeFragmented, 0);
            raiseIf(world, strict && havePrevious && previous < kGroupedFragment, Msg::kFragmentsNotGrouped, 0);
        }
        const uint64_t next = total + n;
        raiseIf(world, next > kMaxStringTotal, Msg::kSizeTooLong, static_cast<QorLong>(total));
        raiseIf(world, next > limit, limitMsg, static_cast<QorLong>(next));
        part(n, total);
        total = next;
        if (done)
            return total;
        havePrevious = true;
        previous = n;
    }
}

// The first walk: bounds and input checked, nothing stored; the cursor
// comes back to the first length.
inline uint64_t measureParts(QorGlobal *world, const StringValue &v, uint64_t limit, Msg limitMsg)
{
    const Cursor saved(world);
    const uint64_t total = walkParts(world, v, limit, limitMsg, [&](QorULong n, uint64_t) {
        skipChars(world, n, v.coding.width, v.alignRuns);
    });
    saved.restore(world);
    return total;
}

// Decodes a value: `obtain(total)` returns where its items go (a typed
// pointer), `read(base, offset, count, align)` reads `count` of them there
// from item `offset` on. Returns the total.
template <class Obtain, class Read>
uint64_t decodeString(QorGlobal *world, const StringValue &v, uint64_t limit, Msg limitMsg,
                      Obtain obtain, Read read)
{
    if (v.fixed) {
        const QorULong total = v.ub;
        raiseIf(world, total > limit, limitMsg, static_cast<QorLong>(total));
        const bool align = fixedRunAligns(v.coding.width, total);
        needChars(world, total, v.coding.width, align);
        read(obtain(total), 0, total, align);
        return total;
    }
    const Cursor saved(world);
    unsigned char done = 1;
    const QorULong n = readStringLength(world, v, &done);
    if (done) {
        raiseIf(world, n > kMaxStringTotal, Msg::kSizeTooLong, 0);
        raiseIf(world, n > limit, limitMsg, static_cast<QorLong>(n));
        needChars(world, n, v.coding.width, v.alignRuns);
        read(obtain(n), 0, n, v.alignRuns);
        return n;
    }
    // Fragments: back to the first length for the two walks.
    saved.restore(world);
    const uint64_t total = measureParts(world, v, limit, limitMsg);
    auto *base = obtain(total);
    walkParts(world, v, kMaxStringTotal, Msg::kSizeTooLong,
              [&](QorULong count, uint64_t offset) { read(base, offset, count, v.alignRuns); });
    return total;
}

// New decoder memory of `size` octets; a size past 32 bits is refused, not
// cut to its low bits.
inline unsigned char *decoderMemory(QorGlobal *world, uint64_t size)
{
    raiseIf(world, size > INT32_MAX, Msg::kOutOfMemory, -1);
    return static_cast<unsigned char *>(_qor_dec_getmem(world, static_cast<QorLong>(size)));
}

} // namespace qor

// Characters of constrained PER strings: how wide each one goes and whether
// as its own code or as its index in the permitted alphabet, and the runs
// that write and read them. One owner for every string family's alphabet.
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/errors.h"
#include "frame/world.h"
#include "qorprim.h"

namespace qor {

// Descriptor flags.
constexpr QorULong kAlignedWidthMask = 0x7F;
constexpr QorULong kAlignedDirect = 0x80;
constexpr unsigned kUnalignedShift = 8;
constexpr QorULong kUnalignedDirect = 0x8000;
constexpr QorULong kTimeString = 0x10000;
constexpr QorULong kExtensibleSize = 0x20000;
constexpr QorULong kTreeAlphabet = 0x40000;

// Compatibility flags that bend the width.
constexpr QorULong kCompatFullWidthWhenExtended = 0x1000;
constexpr QorULong kCompatTimeFullWidth = 0x2000;

// Lengths at or beyond this aren't size-constrained in PER.
constexpr QorULong kConstrainedLimit = 65536;
constexpr QorULong kFragmentUnit = 16384;

struct CharCoding {
    unsigned width; // bits a character; 0: the alphabet has one character
    bool direct;    // the code itself goes, not the alphabet index
};

// The width as the compatibility flags bend it.
CharCoding bentCoding(const QorGlobal *world, const QorStringDescriptor *desc, bool extended,
                      unsigned fullWidth, CharCoding c);

// The width and mapping of this PER variant; `extended` is the value's
// extension bit; `fullWidth` the width of a character in memory.
inline CharCoding charCoding(const QorGlobal *world, const QorStringDescriptor *desc,
                             bool extended, unsigned fullWidth)
{
    const QorULong flags = desc->flags;
    CharCoding c;
    if (world->perAligned) {
        c.width = flags & kAlignedWidthMask;
        c.direct = (flags & kAlignedDirect) != 0;
    } else {
        c.width = (flags >> kUnalignedShift) & kAlignedWidthMask;
        c.direct = (flags & kUnalignedDirect) != 0;
    }
    if (world->privateArea != nullptr &&
        (world->privateArea->compatFlags & (kCompatFullWidthWhenExtended | kCompatTimeFullWidth)) != 0)
        c = bentCoding(world, desc, extended, fullWidth, c);
    if (c.width >= fullWidth) {
        // Nothing is narrower than its whole character: a copy.
        c.width = fullWidth;
        c.direct = true;
    }
    return c;
}

// Only the top bit of a generated extension mark counts.
inline bool markSet(unsigned char extensionMark) { return (extensionMark & 0x80) != 0; }

// Alignment of the characters: a fixed size aligns from 17 bits on, a
// varying one from 16 (so a 2-character string of 8 bits does only when it
// varies). 64 bits: an upper size near 2^32 times a width would wrap.
inline bool fixedRunAligns(unsigned width, QorULong upperSize)
{
    return uint64_t{width} * upperSize >= 17;
}
inline bool varyingRunAligns(unsigned width, QorULong upperSize, bool extended)
{
    return extended || uint64_t{width} * upperSize >= 16;
}

// Every character of a one-octet string is in the alphabet (message 29 with
// the first that isn't); checked before any is written.
void checkAlphabetChars(QorGlobal *world, const unsigned char *chars, uint64_t count,
                        const QorPermittedAlphabet *alphabet);
inline void checkNarrowAlphabet(QorGlobal *world, const unsigned char *chars, uint64_t count,
                                const QorPermittedAlphabet *alphabet)
{
    if (alphabet != nullptr)
        checkAlphabetChars(world, chars, count, alphabet);
}

// Writes `count` characters at the cursor, without alignment.
void writeNarrowChars(QorGlobal *world, const unsigned char *chars, uint64_t count,
                      CharCoding coding, const QorPermittedAlphabet *alphabet);

// The input has `bits` more bits at the cursor, after `pad` pad bits.
inline void needInput(QorGlobal *world, uint64_t pad, uint64_t bits)
{
    const uint64_t wanted = static_cast<unsigned>(world->bitOffset) + pad + bits;
    raiseIf(world, world->inRoom < 0 || uint64_t(world->inRoom) * 8 < wanted, Msg::kEndOfInput, 0);
}

inline uint64_t padBefore(const QorGlobal *world, bool align)
{
    return align && world->perAligned && world->bitOffset != 0 ? 8 - world->bitOffset : 0;
}

// Reads `count` characters into `out`, first going to an octet boundary when
// `align` (aligned PER). The caller has checked the input holds them
// (`needChars`, or `skipChars` over the same run), as it must before taking
// memory for them; an index beyond the alphabet is message 29. Whole octets
// at a boundary are a copy; anything else is unpacked out of line.
void readPackedChars(QorGlobal *world, unsigned char *out, uint64_t count, CharCoding coding,
                     const QorPermittedAlphabet *alphabet, bool align);
inline void readNarrowChars(QorGlobal *world, unsigned char *out, uint64_t count, CharCoding coding,
                            const QorPermittedAlphabet *alphabet, bool align)
{
    const uint64_t pad = padBefore(world, align);
    if (coding.width != 8 || count == 0 || (world->bitOffset != 0 && pad == 0)) {
        readPackedChars(world, out, count, coding, alphabet, align);
        return;
    }
    const uint64_t skip = pad != 0 ? 1 : 0;
    memcpy(out, world->inPos + skip, count);
    world->inPos += skip + count;
    world->inRoom -= static_cast<QorLong>(skip + count);
    world->bitOffset = 0;
}

// Checks the input holds `count` characters at the cursor, after the pad
// bits that `align` asks for, before memory is taken for them.
inline void needChars(QorGlobal *world, uint64_t count, unsigned width, bool align)
{
    if (count != 0 && width != 0)
        needInput(world, padBefore(world, align), count * width);
}

// Moves the input cursor past `count` characters as `readNarrowChars` would
// read them, with the same end-of-input check, looking at none.
void skipChars(QorGlobal *world, uint64_t count, unsigned width, bool align);

} // namespace qor

// Characters of constrained PER strings: how wide each one goes and whether
// as its own code or as its index in the permitted alphabet, and the runs
// that write and read them. One owner for every string family's alphabet.
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/errors.h"
#include "frame/world.h"
#include "memory/bits.h"
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

// Alphabet trees, for alphabets too wide for tables: 32-bit words, nodes in
// binary-search order. A node is its first character's alphabet index, a
// control word (bits 31-30 the kind: 0 one character, 1 a range, 2 a list;
// bits 28-26 a list's size value s; bit 25 the subtree of smaller
// characters follows at once; bits 15-0 the distance in words from the
// node's start to the subtree of greater ones, 0 none), then the character,
// or a range's lower and upper bounds, or a list's s - 2 characters in
// ascending order followed by one reserved word: 3, 4 or s + 1 words. A
// tree whose first word is 0xFFFFFFFF is compact, for membership only:
// that word stands for its first node's index, the other nodes have none.
constexpr QorULong kNotInAlphabet = 0xFFFFFFFF;
constexpr QorULong kNoCharacter = 0x10FFFD;

// The alphabet index of `ch`, or kNotInAlphabet (always, for a compact tree).
QorULong treeIndexOf(const QorULong *tree, QorULong ch);
// The character of `index`, or kNoCharacter.
QorULong treeCharAt(const QorULong *tree, QorULong index);
bool treeContains(const QorULong *tree, QorULong ch);
// Membership in a compact tree's nodes without the mark, walked from the
// control word at `list`: the range lists of the constraint checker.
bool rangeListContains(const QorULong *list, QorULong ch);

inline const QorULong *treeOf(const QorPermittedAlphabet *alphabet)
{
    return static_cast<const QorULong *>(alphabet->decodeTable);
}

// The index of `ch` in a wide alphabet's tables, which cover the 256
// characters from `base`; kNotInAlphabet if it isn't there. An entry of 255
// is an index only in an alphabet of 256 characters or more.
inline QorULong wideTableIndexOf(const QorPermittedAlphabet *alphabet, QorULong ch)
{
    if (ch < alphabet->base || ch - alphabet->base > 255)
        return kNotInAlphabet;
    const QorULong index = alphabet->encodeTable[ch - alphabet->base];
    return index == 255 && alphabet->count < 256 ? kNotInAlphabet : index;
}

// Whether a string whose descriptor has `flags` may hold `ch`: the lookup
// that encoders and the constraint checker share. `charBytes` is 1 for the
// one-octet strings, 2 or 4 for the wide ones.
inline bool alphabetPermits(const QorPermittedAlphabet *alphabet, QorULong flags, unsigned charBytes,
                            QorULong ch)
{
    if (alphabet == nullptr)
        return true;
    if (charBytes == 1)
        return ch < 0x80 && alphabet->encodeTable[ch] != 0xFF;
    if (flags & kTreeAlphabet)
        return treeContains(treeOf(alphabet), ch);
    return wideTableIndexOf(alphabet, ch) != kNotInAlphabet;
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

// Writes `count` codes of `w` bits (1 to 32) at the cursor, without
// alignment, `codeOf(i)` giving each, a chunk of octets at a time: a call
// a chunk, not one a character. A sizing pass only counts the bits, but
// still asks for each code when `lookEach` (a lookup that may refuse the
// character, so the sizing pass fails as the real one would).
template <class CodeOf>
void packCodes(QorGlobal *world, uint64_t count, unsigned w, bool lookEach, CodeOf codeOf)
{
    constexpr unsigned kChunkOctets = 256;
    unsigned char buf[kChunkOctets];
    const uint64_t perChunk = kChunkOctets * 8 / w;
    const bool sizing = sizingOnly(world);
    const uint64_t mask = (uint64_t{1} << w) - 1;
    for (uint64_t i = 0; i < count;) {
        const uint64_t n = count - i < perChunk ? count - i : perChunk;
        if (sizing) {
            if (lookEach)
                for (uint64_t j = 0; j < n; j++)
                    static_cast<void>(codeOf(i + j));
        } else {
            uint64_t acc = 0;
            unsigned held = 0;
            unsigned o = 0;
            for (uint64_t j = 0; j < n; j++) {
                acc = (acc << w) | (codeOf(i + j) & mask);
                held += w;
                while (held >= 8) {
                    held -= 8;
                    buf[o++] = static_cast<unsigned char>(acc >> held);
                }
                acc &= (uint64_t{1} << held) - 1;
            }
            if (held != 0)
                buf[o] = static_cast<unsigned char>(acc << (8 - held));
        }
        _qor_append(world, buf, static_cast<QorULong>(n * w), 0);
        i += n;
    }
}

// Reads `count` codes of `w` bits (1 to 32), first going to an octet
// boundary when `align` (aligned PER), and hands each to `put(i, code)`.
// The caller has checked the input holds them. A word of input at a time
// while eight octets are left, else each code from the octets it touches,
// so nothing past the input checked is looked at.
template <class Put>
void unpackCodes(QorGlobal *world, uint64_t count, unsigned w, bool align, Put put)
{
    const uint64_t pad = padBefore(world, align);
    const unsigned char *in = world->inPos + (pad != 0 ? 1 : 0);
    const unsigned char *end = world->inPos + world->inRoom;
    uint64_t at = pad != 0 ? 0 : static_cast<unsigned>(world->bitOffset);
    const unsigned perWord = 57 / w;
    for (uint64_t i = 0; i < count;) {
        const unsigned char *p = in + (at >> 3);
        if (end - p >= 8) {
            uint64_t word = loadBig(p) << (at & 7);
            const uint64_t n = count - i < perWord ? count - i : perWord;
            for (uint64_t j = 0; j < n; j++, word <<= w)
                put(i + j, static_cast<QorULong>(word >> (64 - w)));
            i += n;
            at += n * w;
            continue;
        }
        // Near the end: the octets this code reaches, at most five.
        const unsigned shift = at & 7;
        const unsigned reach = (shift + w + 7) / 8;
        uint64_t window = 0;
        for (unsigned k = 0; k < reach; k++)
            window |= uint64_t{p[k]} << (56 - 8 * k);
        put(i, static_cast<QorULong>((window << shift) >> (64 - w)));
        i++;
        at += w;
    }
    const uint64_t moved = (pad != 0 ? 1 : 0) + (at >> 3);
    world->inPos += moved;
    world->inRoom -= static_cast<QorLong>(moved);
    world->bitOffset = static_cast<int>(at & 7);
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

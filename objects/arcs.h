// OBJECT IDENTIFIER contents for every family: arcs packed into contents
// octets and unpacked from them, with the checks on both sides. The first two
// arcs make one subidentifier, 40 * first + second; every other arc is a
// subidentifier of its own, in base 128, most significant group first, with
// bit 8 set on every octet but the last.
//
// Packing writes forwards into the caller's buffer, sized first:
//   first = firstSubidentifier(world, arcs, count);
//   size  = subidentifierSize(first) + subidentifiersSize(arcs + 2, count - 2);
//   end   = packSubidentifiers(putSubidentifier(out, first), arcs + 2, count - 2);
// A writer that goes backwards packs the arcs in pieces, the last first.
#pragma once

#include <cstdint>

#include "frame/world.h"

namespace qor {

// The octets of a 32-bit subidentifier at most.
constexpr int kMaxSubidentifierSize = 5;
// The longest contents a decoder takes, so at most 226 arcs.
constexpr QorLong kMaxIdentifierContents = 225;
constexpr QorLong kMaxIdentifierArcs = kMaxIdentifierContents + 1;

// ---------------------------------------------------------------- packing

[[nodiscard]] int subidentifierSize(uint64_t subid);

// Writes `subid` at `out`; returns the end.
unsigned char *putSubidentifier(unsigned char *out, uint64_t subid);

// The first-pair rules: the first arc is 0, 1 or 2, and under 0 and 1 the
// second is below 40; under 0.0 a third arc, when there is one (`third` not
// null), names a letter of the recommendations, 1 to 26. Returns the index
// of the arc that breaks them, or -1.
[[nodiscard]] int firstPairFault(uint64_t first, uint64_t second, const uint64_t *third);

// The first arc that a first subidentifier holds.
inline unsigned firstArcOf(uint64_t subid) { return subid < 40 ? 0 : subid < 80 ? 1 : 2; }

// The first subidentifier of `first`.`second`, `third` being the third arc
// or null: a break of the first-pair rules is message kBadObjectIdentifier
// with the arc's index, and the sum must fit 32 bits (with 3).
[[nodiscard]] QorULong firstSubidentifier(QorGlobal *world, QorULong first, QorULong second,
                                          const QorULong *third);

// The same for a whole identifier: fewer than two arcs is message
// kBadObjectIdentifier with the count; a null array, kNullInput.
[[nodiscard]] QorULong firstSubidentifier(QorGlobal *world, const uint16_t *arcs, QorLong count);
[[nodiscard]] QorULong firstSubidentifier(QorGlobal *world, const QorULong *arcs, QorLong count);
// `count` is the number of nodes in `list`.
[[nodiscard]] QorULong firstSubidentifier(QorGlobal *world, const QorObjidNodeShort *list,
                                          int64_t count);
[[nodiscard]] QorULong firstSubidentifier(QorGlobal *world, const QorObjidNode *list,
                                          int64_t count);

// Octets of arcs that are each a subidentifier: `count` of an array, or a
// list from `node` to its end.
[[nodiscard]] int64_t subidentifiersSize(const uint16_t *arcs, QorLong count);
[[nodiscard]] int64_t subidentifiersSize(const QorULong *arcs, QorLong count);
[[nodiscard]] int64_t subidentifiersSize(const QorObjidNodeShort *node);
[[nodiscard]] int64_t subidentifiersSize(const QorObjidNode *node);

// Writes those arcs at `out`; returns the end.
unsigned char *packSubidentifiers(unsigned char *out, const uint16_t *arcs, QorLong count);
unsigned char *packSubidentifiers(unsigned char *out, const QorULong *arcs, QorLong count);
unsigned char *packSubidentifiers(unsigned char *out, const QorObjidNodeShort *node);
unsigned char *packSubidentifiers(unsigned char *out, const QorObjidNode *node);

// A list of generated code's own layout: each node's first word links the
// next, and the arc, of 16 or 32 bits (`arcWidth` 2 or 4), lies `offset`
// octets into it.
struct OffsetList {
    const void *head;
    QorULong offset;
    int arcWidth;
};

[[nodiscard]] int64_t listLength(const OffsetList &list);
// Fewer than two nodes is message kBadObjectIdentifier with the count.
[[nodiscard]] QorULong firstSubidentifier(QorGlobal *world, const OffsetList &list, int64_t count);
// The octets of the arcs from the third node on, and their packing.
[[nodiscard]] int64_t subidentifiersSize(const OffsetList &list);
unsigned char *packSubidentifiers(unsigned char *out, const OffsetList &list);

// ---------------------------------------------------------------- unpacking

// Checks contents of `length` octets and returns the number of
// subidentifiers. A subidentifier led by 0x80 is needlessly long
// (kSubidNeedlesslyLong) unless `relaxed`; the last octet must end one
// (kMisencoded).
[[nodiscard]] QorLong countSubidentifiers(QorGlobal *world, const unsigned char *contents,
                                          QorLong length, bool relaxed);

// Arcs of `subids` subidentifiers: the first splits in two; none is none.
inline QorLong arcCount(QorLong subids) { return subids == 0 ? 0 : subids + 1; }

// Reads the arcs of checked contents into `out`, which has room for them. A
// subidentifier too large for the arc's width is kSubidTooLong with its
// index, refused before the shift that would lose its top bits.
void unpackArcs(QorGlobal *world, const unsigned char *contents, QorLong length, uint16_t *out);
void unpackArcs(QorGlobal *world, const unsigned char *contents, QorLong length, QorULong *out);

// ---------------------------------------------------------------- wide arcs

// Arcs of up to 64 bits, as the text conversions take them. The first
// subidentifier then holds up to 2^64 + 79, and a reader takes up to nine
// octets of value bits: `high` holds the bits above the low 64.
struct WideSubid {
    uint64_t low;
    uint8_t high;
};

// The first subidentifier of `first`.`second`, the rules already checked.
[[nodiscard]] WideSubid firstSubidentifier(unsigned first, uint64_t second);

// Takes the next octet of a subidentifier into `subid`; false, with `subid`
// as it was, when its value bits would pass nine octets.
[[nodiscard]] bool takeSubidOctet(WideSubid &subid, unsigned char octet);

// The two arcs that a first subidentifier holds; the second is borrowed
// down across the two halves.
inline unsigned firstArcOf(WideSubid subid)
{
    return subid.high != 0 ? 2 : firstArcOf(subid.low);
}
[[nodiscard]] WideSubid secondArcOf(WideSubid subid);

// At most 11 octets: nine octets of value bits take 72 / 7 groups and a part.
constexpr int kMaxWideSubidSize = 11;
[[nodiscard]] int subidentifierSize(WideSubid subid);
unsigned char *putSubidentifier(unsigned char *out, WideSubid subid);

// Contents of `size` octets built by `pack(out)` and handed to
// `put(out)`: on the frame when they fit `frame`, else in temporary memory.
template <size_t N, class Pack, class Put>
void withContents(QorGlobal *world, unsigned char (&frame)[N], size_t size, Pack pack, Put put)
{
    unsigned char *out = frame;
    void *temp = nullptr;
    if (size > N) {
        temp = _qor_dec_gettempmem(world, static_cast<QorLong>(size));
        out = static_cast<unsigned char *>(temp);
    }
    pack(out);
    put(out);
    if (temp != nullptr)
        _qor_dec_freetempmem(world, temp);
}

} // namespace qor

// The contents of a BER string, primitive or constructed: where its octets
// lie in the input, as a table of fragments that decoders copy out in order.
#pragma once

#include "ber/item.h"

namespace qor {

struct Fragment {
    QorLong length;
    const unsigned char *address;
};

// Lives on the decoder's frame. The first eight fragments stay there; more
// move the table to temporary memory of the call, which `tempMark` releases,
// together with anything a decoder took after it.
struct FragmentTable {
    static constexpr QorLong kInline = 8;
    static constexpr QorULong kMoved = 0x1;

    Fragment *entries;
    QorLong capacity;
    QorLong used;
    QorULong flags;
    int padBits; // BIT STRING: unused bits of the last segment
    void *tempMark;
    Fragment inlineEntries[kInline];
};

void initFragments(FragmentTable *table);

// A constructed encoding whose contents start at *pos: `length` octets, or
// up to the matching end-of-contents octets when negative. Segments must be
// OCTET STRING (tag 4), nested at most `constructedLimit` deep (0: no limit).
// Fills `table`, moves *pos past the encoding, recomputes *room from the end
// of the input, and returns the octets gathered.
QorLong readConstructed(QorGlobal *world, FragmentTable *table, unsigned char **pos,
                           QorLong *room, QorLong length);

// The same for BIT STRING: segments tagged 3, each led by its unused-bits
// octet, which is not gathered; only the last may be non-zero, and it is
// left in `padBits`.
QorLong readConstructedBits(QorGlobal *world, FragmentTable *table, unsigned char **pos,
                               QorLong *room, QorLong length);

// Either form, told apart by `bitOffset` as the tag read left it. A
// primitive encoding becomes one fragment in place.
QorLong readStringContents(QorGlobal *world, FragmentTable *table, unsigned char **pos,
                              QorLong *room, QorLong length);
QorLong readBitContents(QorGlobal *world, FragmentTable *table, unsigned char **pos,
                           QorLong *room, QorLong length);

// A primitive string's contents, in place: moves *pos past them and returns
// where they start. Decoders take this path when `bitOffset` says primitive,
// and skip the fragment table.
inline const unsigned char *takePrimitive(QorGlobal *world, unsigned char **pos, QorLong *room,
                                          QorLong length)
{
    raiseIf(world, length < 0, Msg::kIndefinitePrimitive, 0);
    needInput(world, room, length);
    const unsigned char *at = *pos;
    *pos += length;
    *room -= length;
    return at;
}

// Copies the first `count` gathered octets to `out`.
void copyFragments(const FragmentTable *table, unsigned char *out, QorLong count);

// The gathered octets in one piece: in place when there is at most one
// fragment, else copied to temporary memory that releaseFragments frees.
[[nodiscard]] const unsigned char *contiguous(QorGlobal *world, FragmentTable *table,
                                                 QorLong total);

// Gives back the table's temporary memory and all that is newer.
void releaseFragments(QorGlobal *world, FragmentTable *table);

// Whether NOCONSTRAIN lifts size constraints: the flags of the running
// operation count, as an open type's encoder re-reads encodings with the
// decoders.
inline bool noConstrain(const QorGlobal *world)
{
    QorULong flags =
        world->operation <= QOR_OP_ENCODE ? world->encodingFlags : world->decodingFlags;
    return (flags & NOCONSTRAIN) != 0;
}

} // namespace qor

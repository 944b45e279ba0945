// _qor_not_dflt_ia: whether a component holds its DEFAULT value, for the
// encoders that must leave such a component out (PER, DER and OER). It is
// told the memory layout by a small number, which makes it the one place
// that knows the layouts as a table.
#include <cstring>

#include "common/huge_octets.h"
#include "memory/copy.h"
#include "frame/errors.h"

using namespace qor;

namespace {

enum : unsigned char { kIsDefault = 0, kNotDefault = 1, kUnknownKind = 255 };

unsigned char differs(bool different)
{
    return different ? kNotDefault : kIsDefault;
}

bool sameOctets(const void *a, const void *b, uint64_t n)
{
    return n == 0 || a == b || (a != nullptr && b != nullptr && memcmp(a, b, n) == 0);
}

bool sameBits(const void *a, const void *b, QorULong bits)
{
    return _qor_cmp_membits(static_cast<const unsigned char *>(a),
                            static_cast<const unsigned char *>(b), bits) == 0;
}

// A counter in front of its data: 16 bits wide or 32.
QorULong counterOf(const void *record, bool wide) { return loadCell(record, wide ? 4 : 2); }

const unsigned char *pointerAt(const void *record, QorLong offset)
{
    const unsigned char *p;
    memcpy(&p, static_cast<const unsigned char *>(record) + offset, sizeof p);
    return p;
}

const unsigned char *inlineAt(const void *record, QorLong offset)
{
    return static_cast<const unsigned char *>(record) + offset;
}

// A bit string held in an integer of 1, 2 or 4 octets, as the big-endian
// octets of its value widened with its sign.
void integerBits(const void *cell, QorLong size, unsigned char out[4])
{
    int32_t v;
    if (size == 1) {
        int8_t n;
        memcpy(&n, cell, sizeof n);
        v = n;
    } else if (size == 2) {
        int16_t n;
        memcpy(&n, cell, sizeof n);
        v = n;
    } else {
        memcpy(&v, cell, sizeof v);
    }
    const auto u = static_cast<uint32_t>(v);
    for (int i = 0; i < 4; i++)
        out[i] = static_cast<unsigned char>(u >> (24 - 8 * i));
}

// Counters first, then `scale` octets for each counted unit. Two empty
// values are equal unless `emptyDiffers`.
unsigned char countedOctets(QorULong a, QorULong b, const void *aData, const void *bData,
                            uint64_t scale, bool emptyDiffers)
{
    if (a != b)
        return kNotDefault;
    if (a == 0)
        return differs(emptyDiffers);
    return differs(!sameOctets(aData, bData, uint64_t{a} * scale));
}

bool sameHuge(const unsigned char *a, QorULong aCount, const unsigned char *b, QorULong bCount,
              bool isSigned)
{
    const Trim trim = isSigned ? Trim::kSigned : Trim::kUnsigned;
    if (aCount != 0 && a != nullptr)
        aCount = trimmed(&a, aCount, trim);
    if (bCount != 0 && b != nullptr)
        bCount = trimmed(&b, bCount, trim);
    return aCount == bCount && sameOctets(a, b, aCount);
}

bool sameLinks(const void *a, const void *b, QorLong size, QorLong offset)
{
    struct Link {
        const Link *next;
    };
    const auto *x = static_cast<const Link *>(a);
    const auto *y = static_cast<const Link *>(b);
    for (; x != nullptr && y != nullptr; x = x->next, y = y->next) {
        if (!sameOctets(inlineAt(x, offset), inlineAt(y, offset), static_cast<uint64_t>(size)))
            return false;
    }
    return x == y;
}

bool sameText(const char *a, const char *b)
{
    return a == b || (a != nullptr && b != nullptr && strcmp(a, b) == 0);
}

} // namespace

extern "C" {

unsigned char _qor_not_dflt_ia(QorGlobal *world, const void *value, const void *dflt, QorLong size,
                               QorLong offset, QorLong extra, int kind)
{
    // Only the rules with one encoding of a value leave a DEFAULT out.
    const int rules = world->encRules;
    if (rules != QOR_PER_ALIGNED && rules != QOR_PER_UNALIGNED && rules != QOR_DER &&
        rules != QOR_OER)
        return kNotDefault;
    if (size < 0)
        size = 0;
    if (offset < 0)
        offset = 0;
    const bool wide = size != 2; // the counter's width of the counted layouts
    switch (kind) {
    case 0:
    case 5:
    case 6:
    case 7:
    case 29:
    case 30:
    case 55:
    case 58:
        return differs(!sameOctets(value, dflt, static_cast<uint64_t>(size)));
    case 1: {
        unsigned char a[4];
        unsigned char b[4];
        integerBits(value, size, a);
        integerBits(dflt, size, b);
        const QorULong bits = extra < 0 ? 0 : extra > 32 ? 32 : static_cast<QorULong>(extra);
        return differs(!sameBits(a, b, bits));
    }
    case 2:
        return differs(!sameBits(value, dflt, extra < 0 ? 0 : static_cast<QorULong>(extra)));
    case 3:
    case 4: {
        const QorULong a = counterOf(value, wide);
        if (a != counterOf(dflt, wide))
            return kNotDefault;
        const bool inlineBits = kind == 4;
        return differs(!sameBits(inlineBits ? inlineAt(value, offset) : pointerAt(value, offset),
                                 inlineBits ? inlineAt(dflt, offset) : pointerAt(dflt, offset), a));
    }
    case 10:
    case 20:
    case 25:
    case 53:
    case 54: {
        const uint64_t scale = kind == 53 ? 2 : kind == 54 ? 4 : 1;
        return countedOctets(counterOf(value, wide), counterOf(dflt, wide),
                             pointerAt(value, offset), pointerAt(dflt, offset), scale, false);
    }
    case 9:
    case 21:
    case 23:
        return countedOctets(counterOf(value, wide), counterOf(dflt, wide), inlineAt(value, offset),
                             inlineAt(dflt, offset), 1, false);
    case 62:
        return differs(!sameHuge(pointerAt(value, offset), counterOf(value, wide),
                                 pointerAt(dflt, offset), counterOf(dflt, wide), extra != 0));
    case 8:
        return differs(((*static_cast<const unsigned char *>(value) ^
                         *static_cast<const unsigned char *>(dflt)) &
                        1) != 0);
    case 24:
    case 59:
        return differs(
            !sameText(static_cast<const char *>(value), static_cast<const char *>(dflt)));
    // Two empty values of these kinds count as different: the value is
    // encoded even when the default is empty too.
    case 26:
        return countedOctets(counterOf(value, false), counterOf(dflt, false),
                             inlineAt(value, offset), inlineAt(dflt, offset),
                             static_cast<uint64_t>(size), true);
    case 28:
        return countedOctets(counterOf(value, false), counterOf(dflt, false),
                             pointerAt(value, offset), pointerAt(dflt, offset),
                             static_cast<uint64_t>(size), true);
    case 27:
        return differs(!sameLinks(value, dflt, size, offset));
    case 63:
    case 74: {
        const bool wideCount = size >= 4;
        const bool behindPointer = extra == -1;
        return countedOctets(counterOf(value, wideCount), counterOf(dflt, wideCount),
                             behindPointer ? pointerAt(value, offset) : inlineAt(value, offset),
                             behindPointer ? pointerAt(dflt, offset) : inlineAt(dflt, offset), 1,
                             true);
    }
    default:
        raiseIf(world, rules == QOR_DER, Msg::kNotForDer, kind);
        return kUnknownKind;
    }
}

} // extern "C"

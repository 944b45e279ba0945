// Whole numbers of any size, as arrays of octets, most significant first:
// a general length, then the octets; or, for a constrained range, the offset
// from the lower bound in a field the range's width decides.
#include <cstring>

#include "common/huge_octets.h"
#include "per/per.h"

using namespace qor;

namespace {

// Steps over `octets` whole octets at the cursor, checked against the input.
void skipOctets(QorGlobal *world, QorULong octets)
{
    const uint64_t left = uint64_t(static_cast<QorULong>(world->inRoom)) * 8 - static_cast<unsigned>(world->bitOffset);
    if (uint64_t{octets} * 8 > left) [[unlikely]]
        raise(world, Msg::kEndOfInput, longValue(0));
    world->inPos += octets;
    world->inRoom -= static_cast<QorLong>(octets);
}

// Octet `i` from the end of `p` (`n` octets), extended past its front with
// the sign when `isSigned`, else with zeros.
unsigned octetFromEnd(const unsigned char *p, QorULong n, bool isSigned, QorULong i)
{
    if (i < n)
        return p[n - 1 - i];
    return isSigned && n != 0 && (p[0] & 0x80) != 0 ? 0xFF : 0x00;
}

// `out` (`n` octets, wider than both operands) = a + b, or a - b.
void combine(const unsigned char *a, QorULong na, bool aSigned, const unsigned char *b, QorULong nb,
             bool bSigned, bool subtract, unsigned char *out, QorULong n)
{
    unsigned carry = subtract ? 1 : 0; // a - b is a + ~b + 1
    for (QorULong i = 0; i < n; i++) {
        unsigned y = octetFromEnd(b, nb, bSigned, i);
        if (subtract)
            y = ~y & 0xFF;
        const unsigned sum = octetFromEnd(a, na, aSigned, i) + y + carry;
        out[n - 1 - i] = static_cast<unsigned char>(sum);
        carry = sum >> 8;
    }
}

// A value's octets in a field of `width` bits (256: exactly 256 values, an
// aligned octet), or a length and octets for width 0. A value wider than its
// field would spill into the next one: refused.
void putLimited(QorGlobal *world, const unsigned char *v, QorULong n, unsigned width)
{
    if (width == 0) {
        encodeLength64(world, n, 1, 0, false);
        _qor_append(world, v, n * 8, 1);
        return;
    }
    const unsigned bits = width == 256 ? 8 : width;
    const QorULong octets = (bits + 7) / 8;
    const unsigned top = bits - 8 * static_cast<unsigned>(octets - 1); // bits of the first octet
    raiseIf(world, n > octets || (n == octets && (v[0] >> top) != 0), Msg::kIntegerTooLong,
            static_cast<QorLong>(n));
    if (world->perAligned) {
        if (width == 256) {
            _qor_append_8bit_aligned(world, v[0]);
        } else if (width <= 8) {
            _qor_penc_nonneg_int_l(world, v[0], width);
        } else if (width <= 16) {
            _qor_penc_int16_aligned(world, n == 2 ? QorULong{v[0]} << 8 | v[1] : v[0]);
        } else {
            encodeLength64(world, n, 1, octets, false);
            _qor_append(world, v, n * 8, 1);
        }
        return;
    }
    // Unaligned: exactly `bits` bits, zeros in front of a shorter value.
    if (n == octets) {
        _qor_penc_nonneg_int_l(world, v[0], top);
        _qor_append(world, v + 1, (n - 1) * 8, 0);
    } else {
        _qor_penc_nonneg_int(world, 0, bits - 8 * uint64_t{n});
        _qor_append(world, v, n * 8, 0);
    }
}

// The unconstrained and semi-constrained forms: a general length and octets.
void encodeHuge(QorGlobal *world, const unsigned char *bytes, QorULong count, Trim trim)
{
    raiseIf(world, count == 0 || count > kHugeLimit, Msg::kMisencoded, static_cast<QorLong>(count));
    count = trimmed(&bytes, count, trim);
    putLimited(world, bytes, count, 0);
}

// The general length of a value written whole: 1 to 4096 octets, no fragments.
QorULong readWholeLength(QorGlobal *world)
{
    unsigned char done;
    const QorULong n = _qor_pdec_length(world, 1, 0, &done);
    raiseIf(world, n == 0, Msg::kMisencoded, 0);
    raiseIf(world, n > kHugeLimit || !done, Msg::kIntegerTooLong, static_cast<QorLong>(n));
    return n;
}

// Reads what `putLimited` writes, into `field` (room for `octets` of the
// width); returns the octets read.
QorULong getLimited(QorGlobal *world, unsigned char *field, unsigned width)
{
    if (width == 0) {
        const QorULong n = readWholeLength(world);
        _qor_get_bits(world, field, n * 8, 1);
        return n;
    }
    const unsigned bits = width == 256 ? 8 : width;
    const QorULong octets = (bits + 7) / 8;
    const unsigned top = bits - 8 * static_cast<unsigned>(octets - 1);
    if (world->perAligned) {
        if (width == 256) {
            field[0] = static_cast<unsigned char>(readOctet(world, true));
            return 1;
        }
        if (width <= 8) {
            field[0] = static_cast<unsigned char>(_qor_pdec_nonneg_int_l(world, width));
            return 1;
        }
        if (width <= 16) {
            _qor_get_bits(world, field, 16, 1);
            return 2;
        }
        unsigned char done;
        const QorULong n = _qor_pdec_length(world, 1, static_cast<QorULong>(octets), &done);
        raiseIf(world, n > octets, Msg::kIntegerTooLong, static_cast<QorLong>(n));
        _qor_get_bits(world, field, n * 8, 1);
        return n;
    }
    field[0] = static_cast<unsigned char>(_qor_pdec_nonneg_int_l(world, top));
    _qor_get_bits(world, field + 1, (octets - 1) * 8, 0);
    return octets;
}

// Room for the larger of two operands and a carry: on the stack when small.
constexpr QorULong kLocalOctets = 16;
unsigned char *scratch(QorGlobal *world, unsigned char *local, QorULong n)
{
    return n <= kLocalOctets ? local : static_cast<unsigned char *>(_qor_dec_gettempmem(world, static_cast<QorLong>(n)));
}
void dropScratch(QorGlobal *world, unsigned char *local, unsigned char *p)
{
    if (p != local)
        _qor_dec_freetempmem(world, p);
}

// A copy of `n` octets in decoder memory.
QorULong copyOut(QorGlobal *world, unsigned char **result, const unsigned char *v, QorULong n)
{
    auto *p = static_cast<unsigned char *>(_qor_dec_getmem(world, static_cast<QorLong>(n)));
    memcpy(p, v, n);
    *result = p;
    return n;
}

} // namespace

extern "C" {

void _qor_penc_unconstr_huge_ia(QorGlobal *world, const unsigned char *bytes, QorULong count)
{
    encodeHuge(world, bytes, count, Trim::kSigned);
}

void _qor_penc_semicon_huge_ia(QorGlobal *world, const unsigned char *bytes, QorULong count)
{
    encodeHuge(world, bytes, count, Trim::kPositive);
}

QorULong _qor_pdec_unconstr_huge_ia(QorGlobal *world, unsigned char **result)
{
    unsigned char done;
    const QorULong count = _qor_pdec_length(world, 0, 0, &done);
    raiseIf(world, count == 0 || count > kHugeLimit, Msg::kMisencoded, static_cast<QorLong>(count));
    auto *p = static_cast<unsigned char *>(_qor_dec_getmem(world, static_cast<QorLong>(count)));
    _qor_get_bits(world, p, count * 8, 1);
    *result = p;
    return count;
}

// No limit on purpose: a value in fragments is measured first, with every
// part checked against the input, then read into one piece.
QorULong _qor_pdec_semicon_huge_ia(QorGlobal *world, unsigned char **result)
{
    unsigned char *const startPos = world->inPos;
    const QorLong startRoom = world->inRoom;
    const int startOffset = world->bitOffset;
    unsigned char done = 0;
    QorULong total = 0;
    do {
        const QorULong part = _qor_pdec_length(world, 0, 0, &done);
        skipOctets(world, part);
        total += part; // bounded by the input's size
    } while (!done);
    if (total == 0) {
        *result = nullptr;
        return 0;
    }
    raiseIf(world, total > 0x7FFFFFF8, Msg::kMisencoded, static_cast<QorLong>(total));
    auto *p = static_cast<unsigned char *>(_qor_dec_getmem(world, static_cast<QorLong>(total)));
    world->inPos = startPos;
    world->inRoom = startRoom;
    world->bitOffset = startOffset;
    QorULong at = 0;
    do {
        const QorULong part = _qor_pdec_length(world, 0, 0, &done);
        _qor_get_bits(world, p + at, part * 8, 1);
        at += part;
    } while (!done);
    *result = p;
    return total;
}

void _qor_penc_limited_huge(QorGlobal *world, const unsigned char *bytes, QorULong count,
                            const unsigned char *lbBytes, QorULong lbCount, QorULong flags)
{
    raiseIf(world, count == 0, Msg::kMisencoded, 0);
    const bool isUnsigned = (flags & QOR_HUGE_UNSIGNED) != 0;
    count = trimmed(&bytes, count, isUnsigned ? Trim::kUnsigned : Trim::kSigned);
    raiseIf(world, count > kHugeLimit, Msg::kIntegerTooLong, static_cast<QorLong>(count));
    const bool extensible = (flags & QOR_HUGE_EXTENSIBLE) != 0;
    if ((flags & QOR_HUGE_IN_ROOT) == 0) {
        if (!extensible)
            _qor_unbnd_error(world, isUnsigned ? 23 : 22, bytes, static_cast<QorLong>(count));
        _qor_penc_nonneg_1int(world, 1);
        putLimited(world, bytes, count, 0);
        return;
    }
    if (extensible)
        _qor_penc_nonneg_1int(world, 0);
    const unsigned width = flags & QOR_HUGE_WIDTH;
    if (lbBytes == nullptr) {
        putLimited(world, bytes, count, 0);
        return;
    }
    if (width == 0 && (flags & QOR_HUGE_AS_LENGTH) == 0)
        return; // one value: nothing to say
    // The offset from the bound, never negative within the range.
    const QorULong n = (count > lbCount ? count : lbCount) + 1;
    unsigned char local[kLocalOctets];
    unsigned char *offset = scratch(world, local, n);
    combine(bytes, count, !isUnsigned, lbBytes, lbCount, !isUnsigned, true, offset, n);
    const unsigned char *v = offset;
    const QorULong length = trimmed(&v, n, Trim::kUnsigned);
    putLimited(world, v, length, width);
    dropScratch(world, local, offset);
}

QorULong _qor_pdec_limited_huge(QorGlobal *world, unsigned char **result,
                                const unsigned char *lbBytes, QorULong lbCount, QorULong flags)
{
    const unsigned width = flags & QOR_HUGE_WIDTH;
    const bool asLength = (flags & QOR_HUGE_AS_LENGTH) != 0;
    const bool beyondRoot = (flags & QOR_HUGE_EXTENSIBLE) != 0 && _qor_pdec_nonneg_1int(world) != 0;
    if (beyondRoot || lbBytes == nullptr) {
        // The value itself, after a length.
        const QorULong n = readWholeLength(world);
        auto *p = static_cast<unsigned char *>(_qor_dec_getmem(world, static_cast<QorLong>(n)));
        _qor_get_bits(world, p, n * 8, 1);
        *result = p;
        return n;
    }
    if (width == 0 && !asLength)
        return copyOut(world, result, lbBytes, lbCount);
    const unsigned bits = width == 256 ? 8 : width;
    const QorULong room = width == 0 ? kHugeLimit : (bits + 7) / 8;
    unsigned char local[kLocalOctets];
    unsigned char *field = scratch(world, local, room);
    const QorULong n = getLimited(world, field, width);
    // The bound added back, in one octet more than the wider operand.
    const bool isUnsigned = (flags & QOR_HUGE_UNSIGNED) != 0;
    const QorULong sumLength = (n > lbCount ? n : lbCount) + 1;
    auto *sum = static_cast<unsigned char *>(_qor_dec_getmem(world, static_cast<QorLong>(sumLength)));
    combine(field, n, false, lbBytes, lbCount, !isUnsigned, false, sum, sumLength);
    dropScratch(world, local, field);
    const unsigned char *v = sum;
    const QorULong length = trimmed(&v, sumLength, isUnsigned ? Trim::kUnsigned : Trim::kSigned);
    memmove(sum, v, length);
    *result = sum;
    return length;
}

} // extern "C"

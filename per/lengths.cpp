// PER length determinants: the constrained form, a field as wide as the
// size range, and the general form of one or two octets, or a fragment of up
// to four times 16384 items after which the caller asks again. Also the
// normally small forms.
#include "per/per.h"

using namespace qor;

namespace {

constexpr QorULong kFragment = 16384;

// The constrained form: `length` − `lb` in a field for `range` values.
void putConstrained(QorGlobal *world, uint64_t offset, uint64_t range)
{
    if (range < 2)
        return;
    if (range <= 255)
        _qor_penc_nonneg_int_l(world, static_cast<QorULong>(offset), kBitsForRange.bits[range]);
    else if (range == 256)
        _qor_append_8bit_aligned(world, static_cast<QorULong>(offset));
    else if (world->perAligned)
        _qor_penc_int16_aligned(world, static_cast<QorULong>(offset));
    else
        _qor_penc_nonneg_int(world, offset, bitLength(range - 1));
}

// The general form; returns the items that follow this determinant.
uint64_t putGeneral(QorGlobal *world, uint64_t length)
{
    if (length < 128) {
        _qor_append_8bit_aligned(world, static_cast<QorULong>(length));
        return length;
    }
    if (length < kFragment) {
        _qor_penc_int16_aligned(world, static_cast<QorULong>(length) | 0x8000);
        return length;
    }
    uint64_t m = length >> 14;
    if (m > 4)
        m = 4;
    _qor_append_8bit_aligned(world, 0xC0 | static_cast<QorULong>(m));
    return m * kFragment;
}

bool constrainedLength(uint64_t ub, bool extended) { return ub < 65536 && ub != 0 && !extended; }

} // namespace

namespace qor {

uint64_t encodeLength64(QorGlobal *world, uint64_t length, uint64_t lb, uint64_t ub, bool extended)
{
    const bool constrained = constrainedLength(ub, extended);
    if ((constrained || length < kFragment) && outputHasRoom(world, 3)) {
        putLengthAt(world, length, lb, ub, !constrained);
        return length;
    }
    if (constrained) {
        putConstrained(world, length - lb, ub - lb + 1);
        return length;
    }
    return putGeneral(world, length);
}

QorULong decodeSmallLength(QorGlobal *world, unsigned char *done)
{
    if (_qor_pdec_nonneg_1int(world) == 0) {
        *done = 1;
        return _qor_pdec_nonneg_6int(world) + 1;
    }
    return _qor_pdec_length(world, 0, 0, done);
}

} // namespace qor

extern "C" {

QorULong _qor_penc_length_l(QorGlobal *world, QorULong length, QorULong lb, QorULong ub,
                            unsigned char extended)
{
    return static_cast<QorULong>(encodeLength64(world, length, lb, ub, extended != 0));
}

// The constrained form whatever `ub` is: the caller has chosen it.
QorULong _qor_penc_lrang(QorGlobal *world, QorULong length, QorULong lb, QorULong ub)
{
    putConstrained(world, static_cast<QorULong>(length - lb), uint64_t{static_cast<QorULong>(ub - lb)} + 1);
    return length;
}

QorULong _qor_penc_lfrag(QorGlobal *world, QorULong length)
{
    return static_cast<QorULong>(putGeneral(world, length));
}

QorULong _qor_penc_small_len_l(QorGlobal *world, QorULong value)
{
    if (value - 1 < 64) {
        _qor_append_7bit_unaligned(world, static_cast<unsigned char>((value - 1) << 1));
        return value;
    }
    _qor_penc_nonneg_1int(world, 1);
    return _qor_penc_lfrag(world, value);
}

QorULong _qor_pdec_length(QorGlobal *world, QorULong lb, QorULong ub, unsigned char *done)
{
    if (ub < 65536 && ub != 0) {
        QorULong r = ub - lb;
        QorULong v;
        if (r < 255)
            v = _qor_pdec_nonneg_int_l(world, bitLength(r));
        else if (r == 255)
            v = readOctet(world, true);
        else if (world->perAligned)
            v = static_cast<QorULong>(readOctets(world, 2));
        else
            v = _qor_pdec_nonneg_int_l(world, bitLength(r));
        *done = 1;
        return v + lb;
    }
    QorULong first = readOctet(world, true);
    if ((first & 0x80) == 0) {
        *done = 1;
        return first;
    }
    if ((first & 0x40) == 0) {
        QorULong length = ((first & 0x3F) << 8) | readOctet(world, false);
        raiseIf(world, length < 128 && !relaxed(world), Msg::kMisencoded, static_cast<QorLong>(length));
        *done = 1;
        return length;
    }
    // Bits 3 to 5 are not looked at, and 5 to 7 fragments pass: encoders
    // that wrote them are met in practice.
    QorULong m = first & 7;
    if (m == 0) {
        raiseIf(world, !relaxed(world), Msg::kMisencoded, 0);
        *done = 1;
        return 0;
    }
    *done = 0;
    return m * kFragment;
}

} // extern "C"

// Fixed-width PER fields: whole numbers right-justified in a known number of
// bits, and whole octets at a boundary. Generated code picks the width; the
// cursor's writers take their bits left-justified, so these shift them up.
#include <cstring>

#include "per/per.h"

using namespace qor;

namespace {

using Appender = void (*)(QorGlobal *, unsigned char);
constexpr Appender kAppenders[9] = {
    nullptr, _qor_append_1bit_unaligned, _qor_append_2bit_unaligned, _qor_append_3bit_unaligned,
    _qor_append_4bit_unaligned, _qor_append_5bit_unaligned, _qor_append_6bit_unaligned,
    _qor_append_7bit_unaligned, _qor_append_8bit_unaligned};

template <unsigned N> inline void putField(QorGlobal *world, QorULong value)
{
    kAppenders[N](world, static_cast<unsigned char>(value << (8 - N)));
}

template <unsigned N> inline QorULong getField(QorGlobal *world)
{
    using Getter = QorULong (*)(QorGlobal *);
    constexpr Getter getters[9] = {
        nullptr, _qor_get_1bit_unaligned, _qor_get_2bit_unaligned, _qor_get_3bit_unaligned,
        _qor_get_4bit_unaligned, _qor_get_5bit_unaligned, _qor_get_6bit_unaligned,
        _qor_get_7bit_unaligned, _qor_get_8bit_unaligned};
    return (getters[N](world) & 0xFF) >> (8 - N);
}

// Zero bits in front of a field wider than its value's type.
void putZeroBits(QorGlobal *world, uint64_t bits)
{
    static const unsigned char zeros[64] = {};
    while (bits != 0) {
        uint64_t n = bits < 512 ? bits : 512;
        _qor_append(world, zeros, static_cast<QorULong>(n), 0);
        bits -= n;
    }
}

void skipBits(QorGlobal *world, uint64_t bits)
{
    unsigned char sink[64];
    while (bits != 0) {
        uint64_t n = bits < 512 ? bits : 512;
        _qor_get_bits(world, sink, static_cast<QorULong>(n), 0);
        bits -= n;
    }
}

// `value` in `bits` bits (up to 64), right-justified, at the cursor.
void putBits(QorGlobal *world, uint64_t value, unsigned bits)
{
    if (bits == 0)
        return;
    if (bits <= 8) {
        kAppenders[bits](world, static_cast<unsigned char>(value << (8 - bits)));
        return;
    }
    unsigned char buffer[8];
    uint64_t top = value << (64 - bits);
    for (int i = 0; i < 8; i++)
        buffer[i] = static_cast<unsigned char>(top >> (56 - 8 * i));
    _qor_append(world, buffer, bits, 0);
}

uint64_t getBits(QorGlobal *world, unsigned bits)
{
    if (bits == 0)
        return 0;
    unsigned char buffer[8] = {};
    _qor_get_bits(world, buffer, bits, 0);
    uint64_t v = 0;
    for (int i = 0; i < 8; i++)
        v = (v << 8) | buffer[i];
    return v >> (64 - bits);
}

} // namespace

namespace qor {

uint64_t readOctets(QorGlobal *world, unsigned count)
{
    if (count == 0)
        return 0;
    unsigned char buffer[8];
    _qor_get_bits(world, buffer, count * 8, 1);
    uint64_t v = 0;
    for (unsigned i = 0; i < count; i++)
        v = (v << 8) | buffer[i];
    return v;
}

const unsigned char *takeOctets(QorGlobal *world, QorULong length, unsigned char *frame,
                                size_t frameSize, void **temp)
{
    *temp = nullptr;
    // Off a boundary the octets straddle one more of the input.
    const uint64_t need = uint64_t{length} + (world->bitOffset != 0 ? 1 : 0);
    raiseIf(world, world->inRoom < 0 || uint64_t(world->inRoom) < need, Msg::kEndOfInput, 0);
    if (world->bitOffset == 0) {
        const unsigned char *p = world->inPos;
        world->inPos += length;
        world->inRoom -= static_cast<QorLong>(length);
        return p;
    }
    unsigned char *out = frame;
    if (length > frameSize) {
        *temp = _qor_dec_gettempmem(world, static_cast<QorLong>(length));
        out = static_cast<unsigned char *>(*temp);
    }
    _qor_get_bits(world, out, length * 8, 0);
    return out;
}

void writeOctets(QorGlobal *world, uint64_t value, unsigned count)
{
    unsigned char buffer[8];
    for (unsigned i = 0; i < count; i++)
        buffer[i] = static_cast<unsigned char>(value >> (8 * (count - 1 - i)));
    _qor_append(world, buffer, count * 8, 1);
}

} // namespace qor

extern "C" {

// Generated code writes a presence or choice bit from a flag: any non-zero
// value stands for 1.
void _qor_penc_nonneg_1int(QorGlobal *world, QorULong value) { putField<1>(world, value != 0); }
void _qor_penc_nonneg_2int(QorGlobal *world, QorULong value) { putField<2>(world, value); }
void _qor_penc_nonneg_3int(QorGlobal *world, QorULong value) { putField<3>(world, value); }
void _qor_penc_nonneg_4int(QorGlobal *world, QorULong value) { putField<4>(world, value); }
void _qor_penc_nonneg_5int(QorGlobal *world, QorULong value) { putField<5>(world, value); }
void _qor_penc_nonneg_6int(QorGlobal *world, QorULong value) { putField<6>(world, value); }
void _qor_penc_nonneg_7int(QorGlobal *world, QorULong value) { putField<7>(world, value); }
void _qor_penc_nonneg_8int(QorGlobal *world, QorULong value) { putField<8>(world, value); }

void _qor_penc_nonneg_int_l(QorGlobal *world, QorULong value, QorULong bits)
{
    if (bits > 32) {
        putZeroBits(world, bits - 32);
        bits = 32;
    }
    putBits(world, value, bits);
}

void _qor_penc_nonneg_int(QorGlobal *world, uint64_t value, uint64_t bits)
{
    if (bits > 64) {
        putZeroBits(world, bits - 64);
        bits = 64;
    }
    putBits(world, value, static_cast<unsigned>(bits));
}

void _qor_penc_int16_aligned(QorGlobal *world, QorULong value) { writeOctets(world, value & 0xFFFF, 2); }

QorULong _qor_pdec_nonneg_1int(QorGlobal *world) { return getField<1>(world); }
QorULong _qor_pdec_nonneg_2int(QorGlobal *world) { return getField<2>(world); }
QorULong _qor_pdec_nonneg_3int(QorGlobal *world) { return getField<3>(world); }
QorULong _qor_pdec_nonneg_4int(QorGlobal *world) { return getField<4>(world); }
QorULong _qor_pdec_nonneg_5int(QorGlobal *world) { return getField<5>(world); }
QorULong _qor_pdec_nonneg_6int(QorGlobal *world) { return getField<6>(world); }
QorULong _qor_pdec_nonneg_7int(QorGlobal *world) { return getField<7>(world); }
QorULong _qor_pdec_nonneg_8int(QorGlobal *world) { return getField<8>(world); }

// A field wider than the result: its leading bits are read and dropped.
QorULong _qor_pdec_nonneg_int_l(QorGlobal *world, QorULong bits)
{
    if (bits > 32) {
        skipBits(world, bits - 32);
        bits = 32;
    }
    return static_cast<QorULong>(getBits(world, bits));
}

QorULong _qor_pdec_nonneg_limited_int_l(QorGlobal *world, QorULong bits, QorLong lb, QorLong ub)
{
    QorULong offset = _qor_pdec_nonneg_int_l(world, bits);
    QorULong range = static_cast<QorULong>(ub) - static_cast<QorULong>(lb);
    raiseIf(world, offset > range, Msg::kValueOutOfBounds,
            static_cast<QorLong>(offset + static_cast<QorULong>(lb)));
    return offset;
}

uint64_t _qor_pdec_nonneg_limited_int(QorGlobal *world, uint64_t bits, int64_t lb, int64_t ub)
{
    if (bits > 64) {
        skipBits(world, bits - 64);
        bits = 64;
    }
    uint64_t offset = getBits(world, static_cast<unsigned>(bits));
    if (offset > static_cast<uint64_t>(ub) - static_cast<uint64_t>(lb)) [[unlikely]]
        raise(world, Msg::kValueOutOfBounds,
              {ErrorValue::kLongLong, static_cast<int64_t>(offset + static_cast<uint64_t>(lb)), 0,
               nullptr, 0});
    return offset;
}

} // extern "C"

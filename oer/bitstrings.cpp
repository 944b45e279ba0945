// OER BIT STRING: a length, the count of unused bits in the last octet,
// and the octets, in every memory form: an integer, a byte array of fixed
// size, new memory, the caller's array, a record behind a header. Named-bit
// forms take a longer value whose excess bits are all 0 and cut it to
// their capacity, since trailing zero bits carry nothing for them.
#include <cstring>

#include "oer/oer.h"

using namespace qor;

namespace {

constexpr unsigned kMostUnused = 7;
constexpr uint64_t kShortLength = 127; // octets whose length and unused octet fit one item

inline uint64_t octetsOf(uint64_t bits) { return (bits + 7) / 8; }

// The value's octets, the last one with its unused bits cleared: the
// caller's memory is left as it is.
void putValueOctets(QorGlobal *world, const unsigned char *bits, uint64_t octets, unsigned unused)
{
    if (octets == 0)
        return;
    raiseIf(world, bits == nullptr, Msg::kNullInput, 0);
    oerPut(world, bits, octets - 1);
    _qor_oenc_append_byte(world, static_cast<unsigned char>(bits[octets - 1] & (0xFFu << unused)));
}

void putBits(QorGlobal *world, const unsigned char *bits, QorULong count)
{
    const uint64_t octets = octetsOf(count);
    const unsigned unused = static_cast<unsigned>(-uint64_t{count} & 7);
    if (octets < kShortLength) {
        _qor_oenc_append_2bytes(world, static_cast<unsigned char>(octets + 1),
                                static_cast<unsigned char>(unused));
    } else {
        _qor_oenc_octet_length(world, static_cast<QorULong>(octets + 1));
        _qor_oenc_append_byte(world, static_cast<unsigned char>(unused));
    }
    putValueOctets(world, bits, octets, unused);
}

// A value as it stands in the input.
struct Bits {
    const unsigned char *octets;
    uint64_t count;  // bits
    uint64_t length; // octets
};

Bits takeBits(QorGlobal *world)
{
    const uint64_t length = _qor_odec_length(world);
    raiseIf(world, length == 0, Msg::kMisencoded, 0);
    const unsigned unused = *world->inPos++;
    raiseIf(world, unused > kMostUnused || (length == 1 && unused != 0),
            Msg::kUnusedBitsOutOfRange, static_cast<QorLong>(unused));
    const uint64_t count = (length - 1) * 8 - unused;
    raiseIf(world, count > UINT32_MAX, Msg::kMisencoded, 0);
    return {takeContents(world, length - 1), count, length - 1};
}

// Whether the bits from `capacity` to the value's end are all 0; the unused
// bits of the last octet don't count.
bool excessClear(const Bits &v, uint64_t capacity)
{
    const uint64_t from = capacity / 8;
    const unsigned unused = static_cast<unsigned>(v.length * 8 - v.count);
    for (uint64_t i = from; i < v.length; i++) {
        unsigned octet = v.octets[i];
        if (i == from)
            octet &= 0xFFu >> (capacity % 8);
        if (i == v.length - 1)
            octet &= 0xFFu << unused;
        if ((octet & 0xFF) != 0)
            return false;
    }
    return true;
}

// A value above `capacity` bits is `tooLong`, unless `named` and its excess
// bits are 0: then it is cut to the capacity.
Bits fitted(QorGlobal *world, Bits v, uint64_t capacity, bool named, Msg tooLong)
{
    if (v.count <= capacity)
        return v;
    raiseIf(world, !named || !excessClear(v, capacity), tooLong, static_cast<QorLong>(v.count));
    v.count = capacity;
    v.length = octetsOf(capacity);
    return v;
}

void copyBits(unsigned char *to, const Bits &v)
{
    if (v.length > 0)
        copyOctets(to, v.octets, static_cast<size_t>(v.length));
}

unsigned char *newBits(QorGlobal *world, const Bits &v)
{
    if (v.length == 0)
        return nullptr;
    auto *out = static_cast<unsigned char *>(
        _qor_dec_getmem_internal(world, static_cast<QorLong>(v.length)));
    copyBits(out, v);
    return out;
}

void decodeBigPadded(QorGlobal *world, unsigned char *target, QorULong capacity, bool named)
{
    const Bits v = fitted(world, takeBits(world), capacity, named, Msg::kSizeViolated);
    copyBits(target, v);
    const uint64_t room = octetsOf(capacity);
    if (room > v.length)
        memset(target + v.length, 0, static_cast<size_t>(room - v.length));
}

// One octet is the octet, two a 16-bit value, three the top three octets of
// 32 bits, four the 32-bit value: as an integer of the type's width holds them.
QorULong decodePadded(QorGlobal *world, QorULong capacity, bool named)
{
    const Bits v = fitted(world, takeBits(world), capacity, named, Msg::kSizeViolated);
    const unsigned n = v.length < 4 ? static_cast<unsigned>(v.length) : 4;
    QorULong value = 0;
    for (unsigned i = 0; i < n; i++)
        value = value << 8 | v.octets[i];
    return n == 3 ? value << 8 : value;
}

} // namespace

extern "C" {

void _qor_oenc_bit_padded(QorGlobal *world, const unsigned char *bits, QorULong count)
{
    putBits(world, bits, count);
}

void _qor_oenc_bit_unbounded(QorGlobal *world, const unsigned char *bits, QorULong count)
    __attribute__((alias("_qor_oenc_bit_padded")));

// A size fixed by the type: no length and no unused octet, and zero octets
// up to the size. A longer value would break the fixed layout: message 27.
void _qor_oenc_bit_unbounded_fixed(QorGlobal *world, const unsigned char *bits, QorULong count,
                                   QorULong fixedSize)
{
    raiseIf(world, count > fixedSize, Msg::kSizeViolated, static_cast<QorLong>(count));
    const uint64_t octets = octetsOf(count);
    putValueOctets(world, bits, octets, static_cast<unsigned>(-uint64_t{count} & 7));
    static const unsigned char zeros[32] = {};
    for (uint64_t left = octetsOf(fixedSize) - octets; left > 0;) {
        const uint64_t step = left < sizeof zeros ? left : sizeof zeros;
        oerPut(world, zeros, step);
        left -= step;
    }
}

void _qor_odec_bit_big_padded(QorGlobal *world, unsigned char *target, QorULong capacity)
{
    decodeBigPadded(world, target, capacity, false);
}

void _qor_odec_named_bit_big_padded(QorGlobal *world, unsigned char *target, QorULong capacity)
{
    decodeBigPadded(world, target, capacity, true);
}

QorULong _qor_odec_bit_padded(QorGlobal *world, QorULong capacity)
{
    return decodePadded(world, capacity, false);
}

QorULong _qor_odec_named_bit_padded(QorGlobal *world, QorULong capacity)
{
    return decodePadded(world, capacity, true);
}

QorULong _qor_odec_bit_unbounded(QorGlobal *world, unsigned char **result)
{
    const Bits v = takeBits(world);
    *result = newBits(world, v);
    return static_cast<QorULong>(v.count);
}

// The capacity holds unless it is 0 or the caller turned constraints off.
QorULong _qor_odec_named_bit_unbounded(QorGlobal *world, unsigned char **result,
                                       QorULong capacity)
{
    Bits v = takeBits(world);
    if (capacity != 0 && (world->decodingFlags & NOCONSTRAIN) == 0)
        v = fitted(world, v, capacity, true, Msg::kSizeViolated);
    *result = newBits(world, v);
    return static_cast<QorULong>(v.count);
}

QorULong _qor_odec_named_bit_varying(QorGlobal *world, unsigned char *target, QorULong capacity)
{
    const Bits v = fitted(world, takeBits(world), capacity, true, Msg::kBitStringTooLong);
    copyBits(target, v);
    return static_cast<QorULong>(v.count);
}

QorULong _qor_odec_named_bit_varying_ptr(QorGlobal *world, void **result, QorULong headerSize,
                                         QorULong capacity)
{
    const Bits v = fitted(world, takeBits(world), capacity, true, Msg::kBitStringTooLong);
    auto *record = static_cast<unsigned char *>(
        _qor_dec_getmem(world, static_cast<QorLong>(headerSize + v.length)));
    copyBits(record + headerSize, v);
    *result = record;
    return static_cast<QorULong>(v.count);
}

// Generated code has read the length: `octets` follow the unused octet.
QorULong _qor_odec_bits_by_len(QorGlobal *world, unsigned char *target, QorULong octets)
{
    needInput(world, uint64_t{octets} + 1);
    const unsigned unused = *world->inPos++;
    raiseIf(world, unused > kMostUnused || (octets == 0 && unused != 0),
            Msg::kUnusedBitsOutOfRange, static_cast<QorLong>(unused));
    const Bits v{takeContents(world, octets), uint64_t{octets} * 8 - unused, octets};
    copyBits(target, v);
    return static_cast<QorULong>(v.count);
}

} // extern "C"

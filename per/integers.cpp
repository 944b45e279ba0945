// PER whole numbers of 32 and 64 bits: a count of octets then the octets,
// the count in a small field (indefinite length within a range) or in an
// octet (semi-constrained and unconstrained), and the normally small number.
#include <type_traits>

#include "per/per.h"

using namespace qor;

namespace {

// Octets that hold `v`, at least one.
unsigned octetsOf(uint64_t v)
{
    unsigned n = 1;
    while ((v >>= 8) != 0)
        n++;
    return n;
}

[[noreturn]] __attribute__((cold)) void outOfBounds(QorGlobal *world, uint64_t value, bool wide)
{
    if (wide)
        raise(world, Msg::kValueOutOfBounds,
              {ErrorValue::kLongLong, static_cast<int64_t>(value), 0, nullptr, 0});
    raise(world, Msg::kValueOutOfBounds, longValue(static_cast<QorLong>(value)));
}

// Bounds of a decoded value of `wide` (64) or 32 bits: `min` 0 marks an
// unsigned type, whose sum must not have wrapped past `max`.
template <class T> void checkBounds(QorGlobal *world, T offset, T lb, T min, T max, bool wrapCheck)
{
    using U = std::make_unsigned_t<T>;
    constexpr bool wide = sizeof(T) == 8;
    const U sum = static_cast<U>(static_cast<U>(offset) + static_cast<U>(lb));
    if (min == 0) {
        const bool wrapped = wrapCheck && sum < static_cast<U>(offset);
        if (wrapped || sum > static_cast<U>(max))
            outOfBounds(world, sum, wide);
        return;
    }
    const T value = static_cast<T>(sum);
    if (value < min || value > max)
        outOfBounds(world, sum, wide);
}

// An octet count, aligned, then that many octets; `limit` is what the
// result holds. Non-minimal forms fail unless relaxed.
uint64_t readCounted(QorGlobal *world, unsigned limit, unsigned *count)
{
    const unsigned n = readOctet(world, true);
    raiseIf(world, n > limit, Msg::kIntegerTooLong, static_cast<QorLong>(n));
    *count = n;
    return readOctets(world, n);
}

template <class T> T decodeIndefinite(QorGlobal *world, uint64_t maxOctets, T lb, T min, T max)
{
    const unsigned count = static_cast<unsigned>(_qor_pdec_nonneg_int_l(world, maxOctets <= 4 ? 2 : 3)) + 1;
    raiseIf(world, count > sizeof(T), Msg::kIntegerTooLong, static_cast<QorLong>(count));
    const uint64_t v = readOctets(world, count);
    // A leading zero octet is redundant, whether the value is 0 or not.
    raiseIf(world, count >= 2 && (v >> (8 * (count - 1))) == 0 && !relaxed(world), Msg::kMisencoded,
            static_cast<QorLong>(count));
    checkBounds<T>(world, static_cast<T>(v), lb, min, max, true);
    return static_cast<T>(static_cast<uint64_t>(v) + static_cast<uint64_t>(lb));
}

template <class T> T decodeSemiConstrained(QorGlobal *world, T lb, T min, T max)
{
    unsigned count;
    const uint64_t v = readCounted(world, sizeof(T), &count);
    raiseIf(world, count >= 2 && (v >> (8 * (count - 1))) == 0 && !relaxed(world), Msg::kMisencoded,
            static_cast<QorLong>(count));
    checkBounds<T>(world, static_cast<T>(v), lb, min, max, true);
    return static_cast<T>(static_cast<uint64_t>(v) + static_cast<uint64_t>(lb));
}

template <class T> T decodeUnconstrained(QorGlobal *world, T min, T max)
{
    unsigned count;
    uint64_t v = readCounted(world, sizeof(T), &count);
    // Only a redundant 0x00 is refused: a redundant 0xFF passes, as it
    // always has.
    const unsigned top = count * 8;
    raiseIf(world, count >= 2 && (v >> (top - 8)) == 0 && ((v >> (top - 9)) & 1) == 0 && !relaxed(world),
            Msg::kMisencoded, static_cast<QorLong>(count));
    if (count != 0 && count < 8 && ((v >> (top - 1)) & 1) != 0)
        v |= ~uint64_t{0} << top;
    checkBounds<T>(world, static_cast<T>(v), 0, min, max, false);
    return static_cast<T>(v);
}

void encodeSemiConstrained(QorGlobal *world, uint64_t offset)
{
    const unsigned count = octetsOf(offset);
    _qor_append_8bit_aligned(world, count);
    writeOctets(world, offset, count);
}

void encodeUnconstrained(QorGlobal *world, int64_t value)
{
    uint64_t t = static_cast<uint64_t>(value < 0 ? ~value : value) >> 7;
    unsigned count = 1;
    for (; t != 0; t >>= 8)
        count++;
    _qor_append_8bit_aligned(world, count);
    writeOctets(world, static_cast<uint64_t>(value), count);
}

} // namespace

extern "C" {

void _qor_penc_indeflen_int_l(QorGlobal *world, QorULong value, QorULong maxOctets)
{
    const unsigned count = octetsOf(value);
    _qor_penc_nonneg_int_l(world, count - 1, maxOctets < 5 ? 2 : 3);
    writeOctets(world, value, count);
}

void _qor_penc_indeflen_int(QorGlobal *world, uint64_t value, uint64_t maxOctets)
{
    const unsigned count = octetsOf(value);
    _qor_penc_nonneg_int_l(world, count - 1, maxOctets < 5 ? 2 : 3);
    writeOctets(world, value, count);
}

QorLong _qor_pdec_indeflen_limited_int_l(QorGlobal *world, QorULong maxOctets, QorLong lb, QorLong min,
                                         QorLong max)
{
    return decodeIndefinite<QorLong>(world, maxOctets, lb, min, max);
}

int64_t _qor_pdec_indeflen_limited_int(QorGlobal *world, uint64_t maxOctets, int64_t lb, int64_t min,
                                       int64_t max)
{
    return decodeIndefinite<int64_t>(world, maxOctets, lb, min, max);
}

void _qor_penc_semicon_int_l(QorGlobal *world, QorLong value, QorLong lb)
{
    encodeSemiConstrained(world, static_cast<QorULong>(value) - static_cast<QorULong>(lb));
}
void _qor_penc_semicon_uint_l(QorGlobal *world, QorULong value, QorULong lb)
{
    encodeSemiConstrained(world, value - lb);
}
void _qor_penc_semicon_int(QorGlobal *world, int64_t value, int64_t lb)
{
    encodeSemiConstrained(world, static_cast<uint64_t>(value) - static_cast<uint64_t>(lb));
}
void _qor_penc_semicon_uint(QorGlobal *world, uint64_t value, uint64_t lb)
{
    encodeSemiConstrained(world, value - lb);
}

QorLong _qor_pdec_semicon_limited_int_l(QorGlobal *world, QorLong lb, QorLong min, QorLong max)
{
    return decodeSemiConstrained<QorLong>(world, lb, min, max);
}
int64_t _qor_pdec_semicon_limited_int(QorGlobal *world, int64_t lb, int64_t min, int64_t max)
{
    return decodeSemiConstrained<int64_t>(world, lb, min, max);
}

void _qor_penc_unconstr_int_l(QorGlobal *world, QorLong value) { encodeUnconstrained(world, value); }
void _qor_penc_unconstr_int(QorGlobal *world, int64_t value) { encodeUnconstrained(world, value); }

QorLong _qor_pdec_unconstr_limited_int_l(QorGlobal *world, QorLong min, QorLong max)
{
    return decodeUnconstrained<QorLong>(world, min, max);
}
int64_t _qor_pdec_unconstr_limited_int(QorGlobal *world, int64_t min, int64_t max)
{
    return decodeUnconstrained<int64_t>(world, min, max);
}

void _qor_penc_small_int_l(QorGlobal *world, QorULong value)
{
    if (value < 64) {
        _qor_append_7bit_unaligned(world, static_cast<unsigned char>(value << 1));
        return;
    }
    _qor_penc_nonneg_1int(world, 1);
    encodeSemiConstrained(world, value);
}

QorULong _qor_pdec_small_int_l(QorGlobal *world)
{
    if (_qor_pdec_nonneg_1int(world) == 0)
        return _qor_pdec_nonneg_6int(world);
    return static_cast<QorULong>(_qor_pdec_semicon_limited_int_l(world, 0, 0, -1));
}

} // extern "C"

// BIT STRING and OCTET STRING in PER: the encoders, and the decoders of
// every memory form, with and without a size constraint.
//
// The decoders walk a value's parts as the character string decoders do:
// a value in one part goes straight into its final place, a fragmented one
// is checked whole before memory is taken for it once.
#include <cstdint>
#include <cstring>

#include "frame/errors.h"
#include "memory/bits.h"
#include "memory/blocks.h"
#include "per/alphabet.h"
#include "per/per.h"
#include "per/string_parts.h"

using namespace qor;

namespace {

constexpr uint64_t kKeepAll = UINT64_MAX;
// `lb` of a varying bit string through a pointer whose value is cut to `ub`.
constexpr QorULong kCutToUpper = 0xFFFFFFFF;

inline uint64_t octetsFor(uint64_t items, unsigned unit) { return (items * unit + 7) / 8; }

// The top `n` (at most 56) bits of `src`, the bits below them zero; no
// octet past the value is read.
inline uint64_t topBits(const unsigned char *src, uint64_t n)
{
    uint64_t v = 0;
    for (uint64_t i = 0; i < (n + 7) / 8; i++)
        v |= uint64_t{src[i]} << (56 - 8 * i);
    return v & ~(~uint64_t{0} >> n);
}

// `n` bits of a value, on an octet boundary first when `align` (aligned
// PER). A short value goes straight at the cursor. Nothing, not even the
// pad, for an empty one.
void putValue(QorGlobal *world, const unsigned char *src, uint64_t n, bool align)
{
    if (n == 0)
        return;
    if (n <= 56 && outputHasRoom(world, 8)) {
        if (align)
            alignAt(world);
        putBitsAt(world, topBits(src, n), static_cast<unsigned>(n));
        return;
    }
    _qor_append(world, src, static_cast<QorULong>(n), align ? 1 : 0);
}

// A value whose length has no usable upper bound: general lengths, and
// fragments of whole multiples of 16384 items from 16384 on; `unit` bits
// an item, so a fragment of 65536 bits is 8192 octets. The loop of the
// string writers' `encodeParts` cut down to this one case: it runs for
// every OCTET STRING, so it stays this short.
void putFragmented(QorGlobal *world, const unsigned char *data, QorULong count, unsigned unit)
{
    uint64_t left = count;
    uint64_t last;
    do {
        last = encodeLength64(world, left, 0, 0, true);
        putValue(world, data, last * unit, true);
        data += last * unit / 8;
        left -= last;
    } while (left != 0);
    // A last fragment of whole units needs a zero length after it.
    if (count >= kFragmentUnit && (last & (kFragmentUnit - 1)) == 0)
        _qor_append_8bit_aligned(world, 0);
}

// How a decoder reads one value: the parts, the most items it may have and
// the message for more, and the items it keeps.
struct Shape {
    StringValue parts;
    uint64_t limit;
    Msg limitMsg;
    uint64_t keep; // items stored; any beyond are read past
    unsigned unit() const { return parts.coding.width; }
};

Shape constrained(unsigned unit, QorULong lb, QorULong ub, uint64_t limit, Msg limitMsg)
{
    return {plainValue(unit, lb, ub), limit, limitMsg, kKeepAll};
}

Shape unconstrained(unsigned unit, uint64_t limit, Msg limitMsg)
{
    return {plainValue(unit, 1, 0), limit, limitMsg, kKeepAll};
}

// Reads the part of `n` items at item `offset` of `out`; items past
// `s.keep` are read past, not stored. Every part but the last is whole
// octets, so each starts on an octet of `out`. The caller has checked the
// input.
void readPart(QorGlobal *world, unsigned char *out, uint64_t offset, uint64_t n, const Shape &s,
              bool align)
{
    const uint64_t stored = offset >= s.keep ? 0 : (n < s.keep - offset ? n : s.keep - offset);
    if (stored != 0)
        _qor_get_bits(world, out + offset * s.unit() / 8, static_cast<QorULong>(stored * s.unit()),
                      align ? 1 : 0);
    if (stored < n)
        skipChars(world, n - stored, s.unit(), align && stored == 0);
}

// Decodes a value into memory from `obtain(items)`, which returns where its
// items go; returns the count. Memory is taken only once the input is known
// to hold the whole value.
template <class Obtain> uint64_t decodeInto(QorGlobal *world, const Shape &s, Obtain obtain)
{
    return decodeString(world, s.parts, s.limit, s.limitMsg, obtain,
                        [&](unsigned char *out, uint64_t offset, uint64_t n, bool align) {
                            readPart(world, out, offset, n, s, align);
                        });
}

unsigned char *newMemory(QorGlobal *world, uint64_t size, bool cleared)
{
    raiseIf(world, size > kMaxStringTotal, Msg::kOutOfMemory, -1);
    const auto n = static_cast<QorLong>(size);
    return static_cast<unsigned char *>(cleared ? _qor_dec_getmem(world, n)
                                                : _qor_dec_getmem_internal(world, n));
}

unsigned char *temporaryMemory(QorGlobal *world, uint64_t size)
{
    return static_cast<unsigned char *>(_qor_dec_gettempmem(world, static_cast<QorLong>(size)));
}

// A count and a pointer: the value in new memory, null when empty. Under
// `decodeToTemporary` the memory is temporary, for a value the caller
// consumes at once.
QorULong decodeUnbounded(QorGlobal *world, unsigned char **result, const Shape &s)
{
    unsigned char *out = nullptr;
    const uint64_t total = decodeInto(world, s, [&](uint64_t n) {
        if (n == 0)
            return out;
        const uint64_t size = octetsFor(n, s.unit());
        out = world->decodeToTemporary ? temporaryMemory(world, size)
                                       : newMemory(world, size, false);
        return out;
    });
    *result = out;
    return static_cast<QorULong>(total);
}

// The caller's array, which holds `s.limit` items.
QorULong decodeInline(QorGlobal *world, unsigned char *target, const Shape &s)
{
    return static_cast<QorULong>(decodeInto(world, s, [&](uint64_t) { return target; }));
}

// A new record of `headerSize` octets, which the caller fills, with the
// items behind it; `room` items are allocated when given, else the count.
QorULong decodeRecord(QorGlobal *world, void **result, QorULong headerSize, const Shape &s,
                      uint64_t room = kKeepAll)
{
    unsigned char *record = nullptr;
    const uint64_t total = decodeInto(world, s, [&](uint64_t n) {
        const uint64_t items = room != kKeepAll ? room : n;
        record = newMemory(world, headerSize + octetsFor(items, s.unit()), true);
        return record + headerSize;
    });
    *result = record;
    return static_cast<QorULong>(total < s.keep ? total : s.keep);
}

// A record with nothing behind its header: a size constraint of 0.
QorULong emptyRecord(QorGlobal *world, void **result, QorULong headerSize)
{
    *result = newMemory(world, headerSize, true);
    return 0;
}

// A byte array of `size` octets, cleared before the value goes in: a value
// it can't hold leaves it as it was.
QorULong decodeByteArray(QorGlobal *world, unsigned char *target, QorULong size, Shape s)
{
    if (s.limit > uint64_t{size} * 8)
        s.limit = uint64_t{size} * 8;
    return static_cast<QorULong>(decodeInto(world, s, [&](uint64_t) {
        memset(target, 0, size);
        return target;
    }));
}

// An unsigned integer of `size` octets that holds the bits from its top
// down: the value read into a cleared buffer, the first octet the most
// significant. A count beyond the integer is refused before it is read.
void decodeWord(QorGlobal *world, void *target, QorULong size, const Shape &s)
{
    raiseIf(world, size != 1 && size != 2 && size != 4 && size != 8, Msg::kImpossible,
            static_cast<QorLong>(size));
    unsigned char buffer[8];
    decodeByteArray(world, buffer, size, s);
    uint64_t v = 0;
    for (QorULong i = 0; i < size; i++)
        v = v << 8 | buffer[i];
    if (size == 1) {
        *static_cast<uint8_t *>(target) = static_cast<uint8_t>(v);
    } else if (size == 2) {
        const auto w = static_cast<uint16_t>(v);
        memcpy(target, &w, sizeof w);
    } else if (size == 4) {
        const auto w = static_cast<uint32_t>(v);
        memcpy(target, &w, sizeof w);
    } else {
        memcpy(target, &v, sizeof v);
    }
}

} // namespace

// An unconstrained OCTET STRING in temporary memory: fragments joined.
QorULong qor::readJoinedOctets(QorGlobal *world, unsigned char **result)
{
    unsigned char *out = nullptr;
    const uint64_t total = decodeInto(world, unconstrained(8, kMaxStringTotal, Msg::kSizeTooLong),
                                      [&](uint64_t n) {
                                          if (n != 0)
                                              out = temporaryMemory(world, n);
                                          return out;
                                      });
    *result = out;
    return static_cast<QorULong>(total);
}

extern "C" {

void _qor_penc_fix_bit(QorGlobal *world, const unsigned char *bits, QorULong count)
{
    // Up to 16 bits a fixed value isn't aligned.
    putValue(world, bits, count, count > 16);
}

void _qor_penc_constr_bit_l(QorGlobal *world, unsigned char *bits, QorULong count, QorULong lb,
                            QorULong ub, unsigned char padToSize, QorULong paddedCount)
{
    unsigned char *padded = nullptr;
    if (padToSize) {
        // Named bits whose trailing zeros went come back up to the size:
        // the bits past the value in its last octet are cleared in place,
        // the value copied in front of zeros.
        if (count < paddedCount) {
            if (count % 8 != 0)
                bits[count / 8] &= static_cast<unsigned char>(0xFF00u >> (count % 8));
            const uint64_t size = (uint64_t{paddedCount} + 7) / 8;
            padded = temporaryMemory(world, size);
            memset(padded, 0, size);
            if (count != 0)
                memcpy(padded, bits, (count + 7) / 8);
            bits = padded;
        }
        count = paddedCount;
    }
    if (ub == 0) {
        // SIZE (0): nothing goes.
    } else if (ub >= kConstrainedLimit) {
        putFragmented(world, bits, count, 1);
    } else if (lb != ub) {
        // A count outside the bounds would spill out of its length field.
        raiseIf(world, count < lb || count > ub, Msg::kSizeViolated, static_cast<QorLong>(count));
        encodeLength64(world, count, lb, ub, false);
        putValue(world, bits, count, true);
    } else {
        _qor_penc_fix_bit(world, bits, ub);
    }
    if (padded != nullptr)
        _qor_dec_freetempmem(world, padded);
}

void _qor_penc_uncon_bit(QorGlobal *world, const unsigned char *bits, QorULong count)
{
    putFragmented(world, bits, count, 1);
}

void _qor_penc_uncon_oct(QorGlobal *world, const unsigned char *octets, QorULong count)
{
    putFragmented(world, octets, count, 8);
}

void _qor_penc_unconstr_oct_l(QorGlobal *world, const unsigned char *octets, QorULong count)
    __attribute__((alias("_qor_penc_uncon_oct")));
// A string without a known multiplier goes as these octets do.
void _qor_penc_nkmstr_l(QorGlobal *world, const unsigned char *octets, QorULong count)
    __attribute__((alias("_qor_penc_uncon_oct")));

QorULong _qor_pdec_constr_ubit_ia(QorGlobal *world, unsigned char **result, QorULong lb,
                                  QorULong ub)
{
    if (ub == 0) {
        *result = nullptr;
        return 0;
    }
    return decodeUnbounded(world, result, constrained(1, lb, ub, kMaxStringTotal, Msg::kSizeTooLong));
}

QorULong _qor_pdec_constr_uoct_ia(QorGlobal *world, unsigned char **result, QorULong lb,
                                  QorULong ub)
{
    if (ub == 0) {
        *result = nullptr;
        return 0;
    }
    return decodeUnbounded(world, result, constrained(8, lb, ub, kMaxStringTotal, Msg::kSizeTooLong));
}

QorULong _qor_pdec_constr_vbit_ia(QorGlobal *world, unsigned char *target, QorULong lb, QorULong ub)
{
    if (ub == 0)
        return 0;
    return decodeInline(world, target, constrained(1, lb, ub, ub, Msg::kSizeExceeded));
}

QorULong _qor_pdec_constr_voct_ia(QorGlobal *world, unsigned char *target, QorULong lb, QorULong ub)
{
    if (ub == 0)
        return 0;
    return decodeInline(world, target, constrained(8, lb, ub, ub, Msg::kSizeExceeded));
}

QorULong _qor_pdec_constr_vbit_ptr_ia(QorGlobal *world, void **result, QorULong headerSize,
                                      QorULong lb, QorULong ub)
{
    if (ub == 0)
        return emptyRecord(world, result, headerSize);
    if (lb == kCutToUpper) {
        // Any length; the copy stops at `ub`, the rest is read past.
        Shape s = unconstrained(1, kMaxStringTotal, Msg::kSizeTooLong);
        s.keep = ub;
        return decodeRecord(world, result, headerSize, s, ub);
    }
    return decodeRecord(world, result, headerSize, constrained(1, lb, ub, ub, Msg::kSizeViolated));
}

QorULong _qor_pdec_constr_voct_ptr_ia(QorGlobal *world, void **result, QorULong headerSize,
                                      QorULong lb, QorULong ub)
{
    if (ub == 0)
        return emptyRecord(world, result, headerSize);
    return decodeRecord(world, result, headerSize,
                        constrained(8, lb, ub, kMaxStringTotal, Msg::kSizeTooLong));
}

void _qor_pdec_constr_pbit_l(QorGlobal *world, void *target, QorULong size, QorULong lb,
                             QorULong ub)
{
    decodeWord(world, target, size, ub == 0 ? constrained(1, 0, 0, 0, Msg::kSizeExceeded)
                                            : constrained(1, lb, ub, ub, Msg::kSizeExceeded));
}

QorULong _qor_pdec_constr_bpbit_l(QorGlobal *world, unsigned char *target, QorULong size,
                                  QorULong lb, QorULong ub)
{
    if (ub == 0) {
        memset(target, 0, size);
        return 0;
    }
    return decodeByteArray(world, target, size, constrained(1, lb, ub, ub, Msg::kSizeExceeded));
}

QorULong _qor_pdec_unconstr_ubit_ia(QorGlobal *world, unsigned char **result)
{
    return decodeUnbounded(world, result, unconstrained(1, kMaxStringTotal, Msg::kSizeTooLong));
}

QorULong _qor_pdec_unconstr_uoct_ia(QorGlobal *world, unsigned char **result)
{
    return decodeUnbounded(world, result, unconstrained(8, kMaxStringTotal, Msg::kSizeTooLong));
}

QorULong _qor_pdec_unconstr_vbit_ia(QorGlobal *world, unsigned char *target, QorULong capacity)
{
    return decodeInline(world, target, unconstrained(1, capacity, Msg::kSizeExceeded));
}

QorULong _qor_pdec_unconstr_voct_ia(QorGlobal *world, unsigned char *target, QorULong capacity)
{
    if (capacity == 0)
        return 0;
    return decodeInline(world, target, unconstrained(8, capacity, Msg::kSizeExceeded));
}

QorULong _qor_pdec_unconstr_vbit_ptr_ia(QorGlobal *world, void **result, QorULong headerSize)
{
    return decodeRecord(world, result, headerSize, unconstrained(1, kMaxStringTotal, Msg::kSizeTooLong));
}

QorULong _qor_pdec_unconstr_voct_ptr_ia(QorGlobal *world, void **result, QorULong headerSize)
{
    return decodeRecord(world, result, headerSize, unconstrained(8, kMaxStringTotal, Msg::kSizeTooLong));
}

void _qor_pdec_unconstr_pbit(QorGlobal *world, void *target, QorULong size)
{
    decodeWord(world, target, size, unconstrained(1, kMaxStringTotal, Msg::kSizeExceeded));
}

QorULong _qor_pdec_unconstr_bpbit(QorGlobal *world, unsigned char *target, QorULong size)
{
    return decodeByteArray(world, target, size, unconstrained(1, kMaxStringTotal, Msg::kSizeExceeded));
}

} // extern "C"

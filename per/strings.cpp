// Character strings of one octet a character in memory: known-multiplier
// strings (an alphabet, a width, sizes), the encoder and the decoders of the
// six memory forms, and strings without a known multiplier, octets under
// general lengths.
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

// A narrow read into `out` of a value's characters.
inline auto narrowReader(QorGlobal *world, const StringValue &v)
{
    return [world, &v](unsigned char *base, uint64_t offset, uint64_t count, bool align) {
        readNarrowChars(world, base + offset, count, v.coding, v.desc->alphabet, align);
    };
}

// Decodes into memory from `obtain(total)`; returns the total.
template <class Obtain>
uint64_t decodeInto(QorGlobal *world, const StringValue &v, uint64_t limit, Msg limitMsg,
                    Obtain obtain)
{
    return decodeString(world, v, limit, limitMsg, obtain, narrowReader(world, v));
}

// Characters straight at the cursor, packed a word at a time; the caller
// has checked the room.
void putCharsAt(QorGlobal *world, const unsigned char *chars, QorULong count, CharCoding coding,
                const QorPermittedAlphabet *alphabet)
{
    const unsigned w = coding.width;
    if (w == 0 || count == 0) // an empty value may have no memory
        return;
    if (w == 8 && world->bitOffset == 0) {
        memcpy(world->outPos, chars, count);
        world->outPos += count;
        world->outRoom -= static_cast<QorLong>(count);
        return;
    }
    // Whole characters to a word of at most 56 bits, one store a word.
    const unsigned char *table = !coding.direct && alphabet != nullptr ? alphabet->encodeTable : nullptr;
    const uint64_t mask = (1u << w) - 1;
    const QorULong perWord = 56 / w;
    for (QorULong i = 0; i < count;) {
        const QorULong n = count - i < perWord ? count - i : perWord;
        uint64_t acc = 0;
        if (table != nullptr) {
            for (QorULong j = 0; j < n; j++)
                acc = (acc << w) | (table[chars[i + j] & 0x7F] & mask);
        } else {
            for (QorULong j = 0; j < n; j++)
                acc = (acc << w) | (chars[i + j] & mask);
        }
        const unsigned bits = static_cast<unsigned>(n) * w;
        putBitsAt(world, acc << (64 - bits), bits);
        i += n;
    }
}

// The usual value, with no extension bit or time rules, one part that fits
// the current block: its length and characters straight at the cursor.
inline void putUsual(QorGlobal *world, const unsigned char *text, QorULong count,
                     const QorStringDescriptor *desc)
{
    const QorULong lower = desc->lowerSize;
    const QorULong upper = desc->upperSize;
    const bool sized = lower <= upper;
    if (sized)
        raiseIf(world, count < lower || count > upper, Msg::kSizeViolated, static_cast<QorLong>(count));
    const CharCoding coding = charCoding(world, desc, false, 8);
    checkNarrowAlphabet(world, text, count, desc->alphabet);
    const bool general = !sized || upper >= kConstrainedLimit;
    if (!general && lower == upper) {
        if (fixedRunAligns(coding.width, upper))
            alignAt(world);
    } else {
        putLengthAt(world, count, lower, upper, general);
        if (count != 0 && varyingRunAligns(coding.width, upper, false))
            alignAt(world);
    }
    putCharsAt(world, text, count, coding, desc->alphabet);
}

// Every other value: an extension bit, time strings, fragments, a sizing
// pass or a block too full, through the general writers.
[[gnu::noinline]] void encodeKmstr(QorGlobal *world, const unsigned char *text, QorULong count,
                                   const QorStringDescriptor *desc, unsigned char extensionMark)
{
    const bool extended = markSet(extensionMark);
    const QorULong flags = desc->flags;
    if (!(flags & (kTimeString | kExtensibleSize)))
        checkSize(world, count, desc);
    if (flags & kExtensibleSize)
        _qor_append_1bit_unaligned(world, extended ? 0x80 : 0);
    const CharCoding coding = charCoding(world, desc, extended, 8);
    checkNarrowAlphabet(world, text, count, desc->alphabet);

    encodeParts(world, count, desc->lowerSize, desc->upperSize, extended, coding.width, [&](uint64_t offset, uint64_t n) {
        writeNarrowChars(world, text + offset, n, coding, desc->alphabet);
    });
}

// The memory forms, shared by both kinds: a descriptor, and the limit of
// the caller's array with the message for going past it.

void decodeTerminated(QorGlobal *world, const QorStringDescriptor *desc, unsigned char *out,
                      uint64_t limit, Msg limitMsg)
{
    const StringValue v = startString(world, desc, 8);
    const uint64_t total = decodeInto(world, v, limit, limitMsg, [&](uint64_t) { return out; });
    out[total] = 0;
}

char *decodeTerminatedNew(QorGlobal *world, const QorStringDescriptor *desc)
{
    const StringValue v = startString(world, desc, 8);
    unsigned char *out = nullptr;
    // Decoder memory comes cleared: the terminator is there already.
    decodeInto(world, v, kMaxStringTotal - 1, Msg::kSizeTooLong,
               [&](uint64_t total) { return out = decoderMemory(world, total + 1); });
    return reinterpret_cast<char *>(out);
}

// Into an array of `size` characters, the rest set to `filler`.
void decodePadded(QorGlobal *world, const QorStringDescriptor *desc, unsigned char *out,
                  QorULong size, Msg limitMsg, unsigned char filler)
{
    const StringValue v = startString(world, desc, 8);
    const uint64_t total = decodeInto(world, v, size, limitMsg, [&](uint64_t) { return out; });
    memset(out + total, filler, size - total);
}

// In new memory; an empty value has none.
QorLong decodeCounted(QorGlobal *world, const QorStringDescriptor *desc, unsigned char **result)
{
    const StringValue v = startString(world, desc, 8);
    unsigned char *out = nullptr;
    unsigned char none = 0;
    const uint64_t total = decodeInto(world, v, kMaxStringTotal, Msg::kSizeTooLong, [&](uint64_t n) {
        // Nothing is written through `none`.
        return n == 0 ? &none : (out = decoderMemory(world, n));
    });
    *result = out;
    return static_cast<QorLong>(total);
}

QorLong decodeVarying(QorGlobal *world, const QorStringDescriptor *desc, unsigned char *out,
                      QorULong capacity)
{
    const StringValue v = startString(world, desc, 8);
    return static_cast<QorLong>(
        decodeInto(world, v, capacity, Msg::kSizeExceeded, [&](uint64_t) { return out; }));
}

// Behind a header of `headerSize` octets that the caller fills.
QorLong decodeBehindHeader(QorGlobal *world, const QorStringDescriptor *desc, void **result,
                           QorULong headerSize)
{
    const StringValue v = startString(world, desc, 8);
    unsigned char *record = nullptr;
    const uint64_t limit = headerSize < kMaxStringTotal ? kMaxStringTotal - headerSize : 0;
    const uint64_t total = decodeInto(world, v, limit, Msg::kSizeTooLong, [&](uint64_t n) {
        record = decoderMemory(world, headerSize + n);
        return record + headerSize;
    });
    *result = record;
    return static_cast<QorLong>(total);
}

unsigned char *octets(char *chars) { return reinterpret_cast<unsigned char *>(chars); }

} // namespace

extern "C" {

void _qor_penc_kmstr(QorGlobal *world, const char *chars, QorULong count,
                     const QorStringDescriptor *desc, unsigned char extensionMark)
{
    const auto *text = reinterpret_cast<const unsigned char *>(chars);
    // Pad, two length octets and pad again, then the characters. An
    // extensible size within its root is the same after a 0 bit.
    const QorULong flags = desc->flags;
    if ((flags & kTimeString) == 0 && count < kFragmentUnit && outputHasRoom(world, uint64_t{count} + 4)) {
        if ((flags & kExtensibleSize) == 0) {
            putUsual(world, text, count, desc);
            return;
        }
        if (!markSet(extensionMark) && count >= desc->lowerSize && count <= desc->upperSize) {
            putBitsAt(world, 0, 1);
            putUsual(world, text, count, desc);
            return;
        }
    }
    encodeKmstr(world, text, count, desc, extensionMark);
}

void _qor_pdec_nt_kmstr(QorGlobal *world, char *target, const QorStringDescriptor *desc)
{
    decodeTerminated(world, desc, octets(target), desc->capacity, Msg::kSizeViolated);
}

void _qor_pdec_ntp_kmstr(QorGlobal *world, char **result, const QorStringDescriptor *desc)
{
    *result = decodeTerminatedNew(world, desc);
}

void _qor_pdec_pad_kmstr(QorGlobal *world, char *target, const QorStringDescriptor *desc)
{
    decodePadded(world, desc, octets(target), desc->upperSize, Msg::kSizeExceeded, 0);
}

QorLong _qor_pdec_ub_kmstr(QorGlobal *world, char **result, const QorStringDescriptor *desc)
{
    return decodeCounted(world, desc, reinterpret_cast<unsigned char **>(result));
}

QorLong _qor_pdec_va_kmstr(QorGlobal *world, char *target, const QorStringDescriptor *desc)
{
    return decodeVarying(world, desc, octets(target), desc->upperSize);
}

QorLong _qor_pdec_vap_kmstr(QorGlobal *world, void **result, QorULong headerSize,
                            const QorStringDescriptor *desc)
{
    return decodeBehindHeader(world, desc, result, headerSize);
}

// Strings without a known multiplier: octets under general lengths. The
// encoder is the unconstrained OCTET STRING's.

void _qor_pdec_nt_nkmstr(QorGlobal *world, unsigned char *target, QorULong capacity)
{
    decodeTerminated(world, &kOctetRun, target, capacity, Msg::kSizeViolated);
}

void _qor_pdec_ntp_nkmstr(QorGlobal *world, unsigned char **result)
{
    *result = octets(decodeTerminatedNew(world, &kOctetRun));
}

// Padded with spaces, where the known-multiplier form pads with zeros.
void _qor_pdec_pad_nkmstr(QorGlobal *world, unsigned char *target, QorULong size)
{
    decodePadded(world, &kOctetRun, target, size, Msg::kSizeViolated, ' ');
}

QorLong _qor_pdec_ub_nkmstr_ia(QorGlobal *world, void *record)
{
    return decodeCounted(world, &kOctetRun, static_cast<unsigned char **>(record));
}

QorLong _qor_pdec_va_nkmstr_ia(QorGlobal *world, unsigned char *target, QorULong capacity)
{
    return decodeVarying(world, &kOctetRun, target, capacity);
}

QorLong _qor_pdec_vap_nkmstr_ia(QorGlobal *world, void **result, QorULong headerSize)
{
    return decodeBehindHeader(world, &kOctetRun, result, headerSize);
}

} // extern "C"

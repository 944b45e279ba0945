// Known-multiplier character strings in PER (one octet a character in
// memory): the encoder and the decoders of the six memory forms.
//
// A decoder walks the parts of a value twice: first to check every length
// and bound and to find the total without storing anything, then to read
// the characters into their final place. So no fragment is held aside, the
// input is known to be there before memory is taken, and an alphabet of one
// character (no input per character) can't make it allocate more than the
// total allowed.
#include <cstdint>
#include <cstring>

#include "frame/errors.h"
#include "memory/bits.h"
#include "memory/blocks.h"
#include "per/alphabet.h"
#include "per/per.h"

using namespace qor;

namespace {

// A decoded total is a 32-bit length.
constexpr uint64_t kMaxTotal = INT32_MAX;
constexpr QorULong kGroupedFragment = 65536;

// What the decoders know once the extension bit is read.
struct KmValue {
    const QorStringDescriptor *desc;
    CharCoding coding;
    bool extended;
    bool fixed;       // no length: exactly `upperSize` characters
    QorULong lb, ub;  // bounds for the length decoder
    bool alignRuns;
};

[[gnu::always_inline]] inline KmValue startValue(QorGlobal *world, const QorStringDescriptor *desc)
{
    KmValue v{};
    v.desc = desc;
    if (desc->flags & kExtensibleSize)
        v.extended = _qor_get_1bit_unaligned(world) != 0;
    v.coding = charCoding(world, desc, v.extended, 8);
    const bool sized = desc->lowerSize <= desc->upperSize;
    v.fixed = !v.extended && desc->lowerSize == desc->upperSize &&
              desc->upperSize < kConstrainedLimit;
    v.lb = sized ? desc->lowerSize : 0;
    v.ub = sized && !v.extended ? desc->upperSize : 0;
    v.alignRuns = varyingRunAligns(v.coding.width, desc->upperSize, v.extended);
    return v;
}

// A length, held to the upper bound when its field can say more than that.
inline QorULong readLength(QorGlobal *world, const KmValue &v, unsigned char *done)
{
    const QorULong n = _qor_pdec_length(world, v.lb, v.ub, done);
    if (v.ub != 0 && v.ub < kConstrainedLimit && n > v.ub) [[unlikely]]
        raise(world, Msg::kSizeViolated, longValue(static_cast<QorLong>(n)));
    return n;
}

// The input cursor, kept to come back to.
struct Cursor {
    unsigned char *pos;
    QorLong room;
    int bitOffset;

    explicit Cursor(const QorGlobal *world) : pos(world->inPos), room(world->inRoom), bitOffset(world->bitOffset) {}
    void restore(QorGlobal *world) const
    {
        world->inPos = pos;
        world->inRoom = room;
        world->bitOffset = bitOffset;
    }
};

// Calls `part(count, offset)` for each part of a value with a length, in
// order; `offset` is the characters before it. Returns the total. Every
// length is checked here: fragments of a time string, grouping under strict
// rules, and a total within 32 bits and within `limit` (`limitMsg`).
template <class Part>
uint64_t walkParts(QorGlobal *world, const KmValue &v, uint64_t limit, Msg limitMsg, Part part)
{
    uint64_t total = 0;
    bool havePrevious = false;
    QorULong previous = 0;
    const bool strict = (world->decodingFlags & STRICT_ENCODING_DECODING_RULES) != 0;
    for (;;) {
        unsigned char done = 1;
        const QorULong n = readLength(world, v, &done);
        if (!done) {
            raiseIf(world, (v.desc->flags & kTimeString) != 0, Msg::kTimeFragmented, 0);
            raiseIf(world, strict && havePrevious && previous < kGroupedFragment,
                    Msg::kFragmentsNotGrouped, 0);
        }
        const uint64_t next = total + n;
        raiseIf(world, next > kMaxTotal, Msg::kSizeTooLong, static_cast<QorLong>(total));
        raiseIf(world, next > limit, limitMsg, static_cast<QorLong>(next));
        part(n, total);
        total = next;
        if (done)
            return total;
        havePrevious = true;
        previous = n;
    }
}

// The characters of the value into `out`, which holds `total` of them, as
// the first walk found. The second walk meets the same lengths.
void readParts(QorGlobal *world, const KmValue &v, unsigned char *out)
{
    const QorPermittedAlphabet *alphabet = v.desc->alphabet;
    walkParts(world, v, kMaxTotal, Msg::kSizeTooLong, [&](QorULong n, uint64_t offset) {
        readNarrowChars(world, out + offset, n, v.coding, alphabet, v.alignRuns);
    });
}

// The first walk: bounds and input checked, nothing stored; the cursor
// comes back to the first length.
uint64_t measure(QorGlobal *world, const KmValue &v, uint64_t limit, Msg limitMsg)
{
    const Cursor saved(world);
    const uint64_t total = walkParts(world, v, limit, limitMsg, [&](QorULong n, uint64_t) {
        skipChars(world, n, v.coding.width, v.alignRuns);
    });
    saved.restore(world);
    return total;
}

// Decodes into memory from `obtain(total)`, which returns where the
// characters go; returns the total.
template <class Obtain>
uint64_t decodeInto(QorGlobal *world, const KmValue &v, uint64_t limit, Msg limitMsg,
                    Obtain obtain)
{
    if (v.fixed) {
        const QorULong total = v.desc->upperSize;
        raiseIf(world, total > limit, limitMsg, static_cast<QorLong>(total));
        const bool align = fixedRunAligns(v.coding.width, total);
        needChars(world, total, v.coding.width, align);
        readNarrowChars(world, obtain(total), total, v.coding, v.desc->alphabet, align);
        return total;
    }
    // The usual value is one part: checked, its memory taken and read in
    // one pass. Fragments go back to the first length for the two walks.
    const Cursor saved(world);
    unsigned char done = 1;
    const QorULong n = readLength(world, v, &done);
    if (done) {
        raiseIf(world, n > kMaxTotal, Msg::kSizeTooLong, 0);
        raiseIf(world, n > limit, limitMsg, static_cast<QorLong>(n));
        needChars(world, n, v.coding.width, v.alignRuns);
        unsigned char *out = obtain(n);
        readNarrowChars(world, out, n, v.coding, v.desc->alphabet, v.alignRuns);
        return n;
    }
    saved.restore(world);
    const uint64_t total = measure(world, v, limit, limitMsg);
    readParts(world, v, obtain(total));
    return total;
}

// Characters straight at the cursor, packed a word at a time; the caller
// has checked the room.
void putCharsAt(QorGlobal *world, const unsigned char *chars, QorULong count, CharCoding coding,
                const QorPermittedAlphabet *alphabet)
{
    const unsigned w = coding.width;
    if (w == 0)
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
    const QorULong lower = desc->lowerSize;
    const QorULong upper = desc->upperSize;
    const bool sized = lower <= upper;
    if (!(flags & (kTimeString | kExtensibleSize)) && sized)
        raiseIf(world, count < lower || count > upper, Msg::kSizeViolated,
                static_cast<QorLong>(count));
    if (flags & kExtensibleSize)
        _qor_append_1bit_unaligned(world, extended ? 0x80 : 0);
    const CharCoding coding = charCoding(world, desc, extended, 8);
    checkNarrowAlphabet(world, text, count, desc->alphabet);

    if (lower == upper && upper < kConstrainedLimit && !extended) {
        if (fixedRunAligns(coding.width, upper))
            alignOutput(world); // the pad bits are zero already
        writeNarrowChars(world, text, count, coding, desc->alphabet);
        return;
    }
    // Without a usable size constraint the length is the general form.
    const QorULong lb = sized ? lower : 0;
    const QorULong ub = sized ? upper : 0;
    const bool needsClose = (!sized || upper >= kConstrainedLimit) && count >= kFragmentUnit;
    const unsigned char extendedLength = (!sized || extended || needsClose) ? 1 : 0;
    if (count == 0) {
        _qor_penc_length_l(world, 0, lb, ub, extendedLength);
        return;
    }
    const bool alignRuns = varyingRunAligns(coding.width, upper, extended);
    uint64_t left = count;
    QorULong last = 0;
    while (left > 0) {
        last = _qor_penc_length_l(world, static_cast<QorULong>(left), lb, ub, extendedLength);
        // A length routine that hands out nothing or too much would loop or overrun.
        raiseIf(world, last == 0 || last > left, Msg::kImpossible, static_cast<QorLong>(last));
        if (alignRuns)
            alignOutput(world);
        writeNarrowChars(world, text, last, coding, desc->alphabet);
        text += last;
        left -= last;
    }
    // A last fragment of whole units needs a zero length after it.
    if (needsClose && (last & (kFragmentUnit - 1)) == 0)
        _qor_append_8bit_aligned(world, 0);
}

unsigned char *decoderMemory(QorGlobal *world, uint64_t size)
{
    return static_cast<unsigned char *>(_qor_dec_getmem(world, static_cast<QorLong>(size)));
}

} // namespace

extern "C" {

void _qor_penc_kmstr(QorGlobal *world, const char *chars, QorULong count,
                     const QorStringDescriptor *desc, unsigned char extensionMark)
{
    const auto *text = reinterpret_cast<const unsigned char *>(chars);
    // Pad, two length octets and pad again, then the characters.
    if ((desc->flags & (kTimeString | kExtensibleSize)) == 0 && count < kFragmentUnit &&
        outputHasRoom(world, uint64_t{count} + 4)) {
        putUsual(world, text, count, desc);
        return;
    }
    encodeKmstr(world, text, count, desc, extensionMark);
}

void _qor_pdec_nt_kmstr(QorGlobal *world, char *target, const QorStringDescriptor *desc)
{
    const KmValue v = startValue(world, desc);
    auto *out = reinterpret_cast<unsigned char *>(target);
    const uint64_t total =
        decodeInto(world, v, desc->capacity, Msg::kSizeViolated, [&](uint64_t) { return out; });
    out[total] = 0;
}

void _qor_pdec_ntp_kmstr(QorGlobal *world, char **result, const QorStringDescriptor *desc)
{
    const KmValue v = startValue(world, desc);
    unsigned char *out = nullptr;
    // Decoder memory comes cleared: the terminator is there already.
    decodeInto(world, v, kMaxTotal - 1, Msg::kSizeTooLong, [&](uint64_t total) {
        return out = decoderMemory(world, total + 1);
    });
    *result = reinterpret_cast<char *>(out);
}

void _qor_pdec_pad_kmstr(QorGlobal *world, char *target, const QorStringDescriptor *desc)
{
    const KmValue v = startValue(world, desc);
    auto *out = reinterpret_cast<unsigned char *>(target);
    const uint64_t total =
        decodeInto(world, v, desc->upperSize, Msg::kSizeExceeded, [&](uint64_t) { return out; });
    memset(out + total, 0, desc->upperSize - total);
}

QorLong _qor_pdec_ub_kmstr(QorGlobal *world, char **result, const QorStringDescriptor *desc)
{
    const KmValue v = startValue(world, desc);
    unsigned char *out = nullptr;
    unsigned char none = 0;
    const uint64_t total = decodeInto(world, v, kMaxTotal, Msg::kSizeTooLong, [&](uint64_t n) {
        // An empty value has no memory; nothing is written through `none`.
        return n == 0 ? &none : (out = decoderMemory(world, n));
    });
    *result = reinterpret_cast<char *>(out);
    return static_cast<QorLong>(total);
}

QorLong _qor_pdec_va_kmstr(QorGlobal *world, char *target, const QorStringDescriptor *desc)
{
    const KmValue v = startValue(world, desc);
    auto *out = reinterpret_cast<unsigned char *>(target);
    return static_cast<QorLong>(
        decodeInto(world, v, desc->upperSize, Msg::kSizeExceeded, [&](uint64_t) { return out; }));
}

QorLong _qor_pdec_vap_kmstr(QorGlobal *world, void **result, QorULong headerSize,
                            const QorStringDescriptor *desc)
{
    const KmValue v = startValue(world, desc);
    unsigned char *record = nullptr;
    const uint64_t limit = headerSize < kMaxTotal ? kMaxTotal - headerSize : 0;
    const uint64_t total = decodeInto(world, v, limit, Msg::kSizeTooLong, [&](uint64_t n) {
        record = decoderMemory(world, headerSize + n);
        return record + headerSize;
    });
    *result = record;
    return static_cast<QorLong>(total);
}

} // extern "C"

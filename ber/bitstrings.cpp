// BER BIT STRING contents: the bit writer with its 1000-octet segments, DER's
// trimming of named bits, named-bit lists held in an integer or an array,
// and the decoders of each memory form.
#include "ber/constructed.h"
#include "ber/item.h"
#include "common/utf8.h"

using namespace qor;

namespace {

constexpr QorULong kBitStringTag = 0x03;
constexpr int kNamedBitsFlag = 0x80;

// A long value goes out constructed, in segments of an unused-bits octet
// and 999 data octets: the 1000 contents octets that CER allows.
constexpr QorLong kConstructedFrom = 1000;
constexpr QorLong kSegmentData = 999;

QorLong octetsOf(int64_t bits)
{
    return static_cast<QorLong>(bits / 8 + (bits % 8 != 0));
}

// The bits of the last octet that belong to a value of `bits` bits.
unsigned char lastMask(int64_t bits)
{
    return static_cast<unsigned char>(0xff << ((8 - bits % 8) % 8));
}

// Bits up to and including the last one set: a named-bit list has no
// trailing zero bits in DER.
QorLong trimmed(const unsigned char *data, QorLong bits)
{
    const QorLong octets = octetsOf(bits);
    for (QorLong i = octets - 1; i >= 0; i--) {
        unsigned c = data[i];
        if (i == octets - 1)
            c &= lastMask(bits);
        if (c != 0)
            return static_cast<QorLong>(int64_t{i} * 8 + 8 - __builtin_ctz(c));
    }
    return 0;
}

// One primitive segment of a long value: its unused-bits octet, `n` data
// octets and, in the segment that ends the value, the masked last octet;
// written backwards, so the header goes last.
QorLong writeSegment(QorGlobal *world, unsigned char **pos, QorLong *room,
                     const unsigned char *chunk, QorLong n, const unsigned char *last,
                     unsigned char unused)
{
    QorLong contents = 1 + n;
    if (last != nullptr) {
        writeBytes(world, pos, room, last, 1);
        contents++;
    }
    _qor_write_bytes_d(world, pos, room, chunk, n);
    unsigned char item[kMaxItem];
    unsigned char *end = putLength(putTag(item, kBitStringTag), contents);
    *end++ = unused;
    auto header = static_cast<QorLong>(end - item);
    writeBytes(world, pos, room, item, static_cast<int>(header));
    return header + contents - 1;
}

// The contents of a BIT STRING of `bits` bits at `data`. A value of 1000
// octets or more is written as segments, except under DER, and the result
// is then negative: generated code uses the constructed tag.
QorLong writeBits(QorGlobal *world, unsigned char **pos, QorLong *room, const unsigned char *data,
                  QorLong bits)
{
    raiseIf(world, bits < 0 || (bits > 0 && data == nullptr), Msg::kMisencoded, bits);
    QorLong octets = octetsOf(bits);
    auto unused = static_cast<unsigned char>((8 - bits % 8) % 8);
    if (octets == 0)
        return writeBytes(world, pos, room, &unused, 1);
    auto last = static_cast<unsigned char>(data[octets - 1] & lastMask(bits));
    if (octets < kConstructedFrom || world->encRules == QOR_DER) {
        if (octets < kMaxItem) {
            unsigned char item[kMaxItem];
            item[0] = unused;
            memcpy(item + 1, data, static_cast<size_t>(octets - 1));
            item[octets] = last;
            return writeBytes(world, pos, room, item, static_cast<int>(octets + 1));
        }
        writeBytes(world, pos, room, &last, 1);
        _qor_write_bytes_d(world, pos, room, data, octets - 1);
        writeBytes(world, pos, room, &unused, 1);
        return octets + 1;
    }
    // From the end of the data: the segment that ends it takes what is
    // left over from whole segments, which may be nothing but the last octet.
    QorLong rest = octets - 1;
    QorLong tail = rest % kSegmentData;
    int64_t total = writeSegment(world, pos, room, data + rest - tail, tail, &last, unused);
    for (QorLong at = rest - tail; at > 0; at -= kSegmentData)
        total += writeSegment(world, pos, room, data + at - kSegmentData, kSegmentData, nullptr, 0);
    return static_cast<QorLong>(-total);
}

// Named-bit lists of up to 32 bits are held in an integer of 1, 2 or 4
// octets, as the size asks, with bit 0 at the integer's top; longer ones in
// an array in the encoding's order.
int wordOctets(int64_t bits)
{
    return bits <= 8 ? 1 : bits <= 16 ? 2 : 4;
}

void wordToOctets(QorULong word, int width, unsigned char *out)
{
    for (int i = 0; i < width; i++)
        out[i] = static_cast<unsigned char>(word >> (8 * (width - 1 - i)));
}

QorLong writeNamedList(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                       QorLong bits, bool trim)
{
    raiseIf(world, bits < 0 || (bits > 0 && data == nullptr), Msg::kMisencoded, bits);
    if (bits > 32) {
        const auto *array = static_cast<const unsigned char *>(data);
        return writeBits(world, pos, room, array, trim ? trimmed(array, bits) : bits);
    }
    unsigned char octets[4] = {};
    int width = wordOctets(bits);
    if (bits > 0)
        wordToOctets(charAt(data, 0, width), width, octets);
    return writeBits(world, pos, room, octets, trim ? trimmed(octets, bits) : bits);
}

// The same for a value passed in a word, with its tag and length, in one item.
QorLong writeNamedListItem(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong value,
                           QorULong size, QorULong tag, bool trim)
{
    raiseIf(world, size > 32, Msg::kUnknownSize, static_cast<QorLong>(size));
    unsigned char octets[4];
    wordToOctets(value, wordOctets(size), octets);
    QorLong bits = trim ? trimmed(octets, static_cast<QorLong>(size)) : static_cast<QorLong>(size);
    QorLong n = octetsOf(bits);
    unsigned char item[kMaxItem];
    unsigned char *end = putTag(item, tag);
    *end++ = static_cast<unsigned char>(n + 1);
    *end++ = static_cast<unsigned char>((8 - bits % 8) % 8);
    memcpy(end, octets, static_cast<size_t>(n));
    end += n;
    if (n > 0)
        end[-1] &= lastMask(bits);
    return writeBytes(world, pos, room, item, static_cast<int>(end - item));
}

// ---- decoding

// Reads a BIT STRING, primitive or constructed; returns its size in bits.
QorLong readBits(QorGlobal *world, FragmentTable *table, unsigned char **pos, QorLong *room,
                 QorLong length)
{
    QorLong octets = readBitContents(world, table, pos, room, length);
    int64_t bits = int64_t{octets} * 8 - table->padBits;
    raiseIf(world, bits > INT32_MAX, Msg::kLengthTooLong, octets);
    return static_cast<QorLong>(bits);
}

// Whether bits `from` up to `to` of the gathered value are all zero.
bool bitsClear(const FragmentTable *table, int64_t from, int64_t to)
{
    if (from >= to)
        return true;
    const int64_t first = from / 8;
    const int64_t last = (to - 1) / 8;
    int64_t offset = 0;
    for (QorLong i = 0; i < table->used && offset <= last; i++) {
        const Fragment &f = table->entries[i];
        int64_t begin = first > offset ? first : offset;
        int64_t end = last + 1 < offset + f.length ? last + 1 : offset + f.length;
        for (int64_t k = begin; k < end; k++) {
            unsigned mask = 0xff;
            if (k == first)
                mask &= 0xffu >> (from % 8);
            if (k == last)
                mask &= 0xffu << (7 - (to - 1) % 8);
            if ((f.address[k - offset] & mask) != 0)
                return false;
        }
        offset += f.length;
    }
    return true;
}

// The first `bits` bits in whole octets, the rest of the last one cleared:
// BER leaves the unused bits' values to the sender.
void copyBits(const FragmentTable *table, unsigned char *out, QorLong bits)
{
    QorLong n = octetsOf(bits);
    copyFragments(table, out, n);
    if (bits % 8 != 0)
        out[n - 1] &= lastMask(bits);
}

// Bits beyond what memory holds: a named-bit list may drop them when they
// are all zero, since trailing zero bits carry nothing in such a value.
QorLong keptBits(QorGlobal *world, const FragmentTable *table, QorLong bits, QorLong limit,
                 bool named, Msg message)
{
    raiseIf(world, !named, Msg::kSizeExceeded, bits);
    if (!bitsClear(table, limit, bits))
        raise(world, message, longValue(bits));
    return limit;
}

QorLong decodeToNewMemory(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                          unsigned char **out, QorLong max, bool named)
{
    FragmentTable table;
    initFragments(&table);
    QorLong bits = readBits(world, &table, pos, room, length);
    QorLong kept = bits;
    if (max > 0 && bits > max && !noConstrain(world))
        kept = keptBits(world, &table, bits, max, named, Msg::kSizeExceeded);
    else if (max < 0 && bits > -int64_t{max})
        raise(world, Msg::kLengthTooLong, longValue(bits));
    unsigned char *value = nullptr;
    if (kept > 0) {
        value = static_cast<unsigned char *>(_qor_dec_getmem_internal(world, octetsOf(kept)));
        copyBits(&table, value, kept);
    }
    releaseFragments(world, &table);
    *out = value;
    return kept;
}

} // namespace

extern "C" {

QorLong _qor_encd_ubit_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                          const unsigned char *data, QorLong bits, QorLong max)
{
    raiseIf(world, max > 0 && bits > max && !noConstrain(world), Msg::kSizeExceeded, bits);
    return writeBits(world, pos, room, data, bits);
}

QorLong _qor_encd_vbit_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                          const unsigned char *data, QorLong bits, QorLong maxOctets)
{
    // More bits than the array holds: NOCONSTRAIN cannot make them real.
    raiseIf(world, maxOctets != 0 && bits > int64_t{maxOctets} * 8, Msg::kSizeExceeded, bits);
    return writeBits(world, pos, room, data, bits);
}

QorLong _qor_encd_dubit_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                           const unsigned char *data, QorLong bits, QorLong max, char named)
{
    if (named && world->encRules == QOR_DER && bits > 0 && data != nullptr)
        bits = trimmed(data, bits);
    return _qor_encd_ubit_ia(world, pos, room, data, bits, max);
}

QorLong _qor_encd_dvbit_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                           const unsigned char *data, QorLong bits, QorLong maxOctets, char named)
{
    raiseIf(world, maxOctets != 0 && bits > int64_t{maxOctets} * 8, Msg::kSizeExceeded, bits);
    if (named && world->encRules == QOR_DER && bits > 0 && data != nullptr)
        bits = trimmed(data, bits);
    return writeBits(world, pos, room, data, bits);
}

QorLong _qor_encd_pbit(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                       QorLong bits)
{
    return writeNamedList(world, pos, room, data, bits, true);
}

QorLong _qor_encb_pbit(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                       QorLong bits)
{
    return writeNamedList(world, pos, room, data, bits, false);
}

QorLong _qor_encd_pbit_tl(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong value,
                          QorULong size, QorULong tag)
{
    return writeNamedListItem(world, pos, room, value, size, tag, true);
}

QorLong _qor_encb_pbit_tl(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong value,
                          QorULong size, QorULong tag)
{
    return writeNamedListItem(world, pos, room, value, size, tag, false);
}

QorLong _qor_dec_ubit_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         unsigned char **out, QorLong max, int flags)
{
    return decodeToNewMemory(world, pos, room, length, out, max, (flags & kNamedBitsFlag) != 0);
}

QorLong _qor_dec_vbit_ptr_nz(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                             unsigned char **out, QorLong max, char named)
{
    return decodeToNewMemory(world, pos, room, length, out, max, named != 0);
}

QorLong _qor_dec_vbit_nz(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         unsigned char *out, QorLong max, char named)
{
    FragmentTable table;
    initFragments(&table);
    QorLong bits = readBits(world, &table, pos, room, length);
    QorLong kept = bits;
    // The inline array holds `max` bits, whatever the flags say; one of
    // capacity 0 holds none.
    if (max >= 0 && bits > max)
        kept = keptBits(world, &table, bits, max, named != 0, Msg::kBitStringTooLong);
    else if (max < 0 && bits > -int64_t{max})
        raise(world, Msg::kLengthTooLong, longValue(bits));
    copyBits(&table, out, kept);
    releaseFragments(world, &table);
    return kept;
}

QorLong _qor_dec_pbit(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                      void *out, QorLong bits, char named)
{
    FragmentTable table;
    initFragments(&table);
    QorLong capacity = bits > 0 ? bits : 0;
    QorLong found = readBits(world, &table, pos, room, length);
    QorLong kept = found;
    if (found > capacity)
        kept = keptBits(world, &table, found, capacity, named != 0, Msg::kBitStringTooLong);
    if (bits > 32) {
        auto *array = static_cast<unsigned char *>(out);
        copyBits(&table, array, kept);
        memset(array + octetsOf(kept), 0, static_cast<size_t>(octetsOf(bits) - octetsOf(kept)));
    } else if (bits > 0) {
        unsigned char octets[4] = {};
        copyBits(&table, octets, kept);
        int width = wordOctets(bits);
        QorULong word = 0;
        for (int i = 0; i < width; i++)
            word = (word << 8) | octets[i];
        if (width == 1) {
            *static_cast<unsigned char *>(out) = static_cast<unsigned char>(word);
        } else if (width == 2) {
            auto w = static_cast<uint16_t>(word);
            memcpy(out, &w, 2);
        } else {
            memcpy(out, &word, 4);
        }
    }
    releaseFragments(world, &table);
    return kept;
}

} // extern "C"

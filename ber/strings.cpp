// BER string contents in each memory form: null-terminated, padded,
// unbounded (pointer and length), varying (inline array), 16 and 32-bit
// characters, and UTF-8 from and to wider characters. Encoders write the
// contents only; decoders take primitive and constructed encodings alike.
#include <cstring>

#include "ber/constructed.h"
#include "ber/item.h"
#include "common/utf8.h"
#include "memory/copy.h"

using namespace qor;

namespace {

// `max` on memory the library sizes: above 0 a size constraint that
// NOCONSTRAIN lifts; below 0 the representation's own limit, always kept.
void checkMax(QorGlobal *world, QorLong count, QorLong max, Msg message = Msg::kSizeExceeded)
{
    if (max > 0) {
        if (count > max && !noConstrain(world))
            raise(world, message, longValue(count));
    } else if (max < 0 && count > -int64_t{max}) {
        raise(world, Msg::kLengthTooLong, longValue(count));
    }
}

// `max` on an inline array: the array cannot hold more, whatever the flags.
// An array of capacity 0 holds nothing: 0 is no "unbounded" here.
void checkCapacity(QorGlobal *world, QorLong count, QorLong max, Msg message)
{
    if (max >= 0 && count > max)
        raise(world, message, longValue(count));
    raiseIf(world, max < 0 && count > -int64_t{max}, Msg::kLengthTooLong, count);
}

// Octets that `count` items of `width` octets take, when they fit a length.
QorLong octetsFor(QorGlobal *world, QorLong count, int width, Msg message)
{
    int64_t octets = int64_t{count} * width;
    if (octets > INT32_MAX - 8)
        raise(world, message, longValue(count));
    return static_cast<QorLong>(octets);
}

QorLong writeOctets(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                    QorLong length)
{
    raiseIf(world, length < 0 || (length > 0 && data == nullptr), Msg::kMisencoded, length);
    return writeValueOctets(world, pos, room, data, length);
}

// Characters of 2 or 4 octets, big-endian. Output that spans blocks goes
// through a frame buffer, from the last character back.
QorLong writeWide(QorGlobal *world, unsigned char **pos, QorLong *room, const void *chars,
                  QorLong count, int width)
{
    raiseIf(world, count < 0 || (count > 0 && chars == nullptr), Msg::kMisencoded, count);
    QorLong total = octetsFor(world, count, width, Msg::kSizeTooLong);
    if (sizingOnly(world))
        return _qor_write_bytes_d(world, pos, room, nullptr, total);
    auto put = [width](unsigned char *out, QorULong c) {
        for (int i = width - 1; i >= 0; i--, c >>= 8)
            out[i] = static_cast<unsigned char>(c);
    };
    if (total <= *room) {
        *pos -= total;
        *room -= total;
        for (QorLong i = 0; i < count; i++)
            put(*pos + int64_t{i} * width, charAt(chars, i, width));
        return total;
    }
    unsigned char buffer[512];
    const QorLong perChunk = static_cast<QorLong>(sizeof buffer) / width;
    for (QorLong end = count; end > 0;) {
        QorLong start = end > perChunk ? end - perChunk : 0;
        for (QorLong i = start; i < end; i++)
            put(buffer + (i - start) * width, charAt(chars, i, width));
        _qor_write_bytes_d(world, pos, room, buffer, (end - start) * width);
        end = start;
    }
    return total;
}

// Characters of 2 or 4 octets in UTF-8; one without a UTF-8 form is
// message 87 before anything is written.
QorLong writeUtf8(QorGlobal *world, unsigned char **pos, QorLong *room, const void *chars,
                  QorLong count, QorLong max, int width)
{
    raiseIf(world, count < 0 || (count > 0 && chars == nullptr), Msg::kMisencoded, count);
    checkMax(world, count, max > 0 ? max : 0);
    QorLong total = utf8SizeOf(world, chars, count, width);
    if (sizingOnly(world))
        return _qor_write_bytes_d(world, pos, room, nullptr, total);
    if (total <= *room) {
        encodeUtf8Chars(*pos, chars, count, width);
        *pos -= total;
        *room -= total;
        return total;
    }
    unsigned char buffer[512];
    unsigned char *const bufferEnd = buffer + sizeof buffer;
    unsigned char *at = bufferEnd;
    for (QorLong i = count; i > 0; i--) {
        if (at - buffer < 6) {
            _qor_write_bytes_d(world, pos, room, at, static_cast<QorLong>(bufferEnd - at));
            at = bufferEnd;
        }
        at = encodeUtf8Char(at, charAt(chars, i - 1, width));
    }
    _qor_write_bytes_d(world, pos, room, at, static_cast<QorLong>(bufferEnd - at));
    return total;
}

// ---- decoding

// Gathered contents copied to new decoder memory; null for none.
void *toNewMemory(QorGlobal *world, FragmentTable *table, QorLong count, QorLong extra = 0)
{
    if (count + extra == 0)
        return nullptr;
    auto *out = static_cast<unsigned char *>(_qor_dec_getmem_internal(world, count + extra));
    copyFragments(table, out, count);
    return out;
}

// Gives back the newest piece of alternate decoder memory: in the caller's
// temporary buffer that means restoring the top it had before.
void releaseApart(QorGlobal *world, unsigned char *piece, unsigned char *highBefore)
{
    _qor_tstk_free_altdecmem(world, world->privateArea->tempBufferSize != 0 ? highBefore : piece);
}

// A nested decode of the PER and OER families wants the octets in temporary
// memory. Should the table lie there already, the string would sit above it
// and go with it; so it is built apart first and brought back once the
// table is released.
void *toTemporaryMemory(QorGlobal *world, FragmentTable *table, QorLong count)
{
    if (count == 0) {
        releaseFragments(world, table);
        return nullptr;
    }
    if (table->tempMark == nullptr) {
        auto *out = static_cast<unsigned char *>(_qor_dec_gettempmem(world, count));
        copyFragments(table, out, count);
        return out;
    }
    unsigned char *highBefore = world->tempHigh;
    auto *apart = static_cast<unsigned char *>(_qor_tstk_get_altdecmem(world, count));
    copyFragments(table, apart, count);
    releaseFragments(world, table);
    auto *out = static_cast<unsigned char *>(_qor_dec_gettempmem(world, count));
    memcpy(out, apart, static_cast<size_t>(count));
    releaseApart(world, apart, highBefore);
    return out;
}

// The unbounded forms: pointer and length in new memory.
QorLong decodeUnbounded(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                        void **out, QorLong max, bool temporary)
{
    FragmentTable table;
    initFragments(&table);
    QorLong count = readStringContents(world, &table, pos, room, length);
    checkMax(world, count, max);
    *out = temporary ? toTemporaryMemory(world, &table, count) : toNewMemory(world, &table, count);
    releaseFragments(world, &table);
    return count;
}

// The varying forms: a negative `max` keeps that many octets and passes
// over the rest, rather than failing.
QorLong keptOfVarying(QorLong count, QorLong max)
{
    return max < 0 && count > -int64_t{max} ? -max : count;
}

// Characters of 2 or 4 octets, big-endian in the encoding, host order in memory.
QorLong decodeWide(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length, void **out,
                   QorLong max, int width)
{
    FragmentTable table;
    initFragments(&table);
    QorLong octets = readStringContents(world, &table, pos, room, length);
    raiseIf(world, octets % width != 0, Msg::kNotWholeCharacters, octets);
    QorLong count = octets / width;
    checkMax(world, count, max);
    auto *chars = static_cast<unsigned char *>(toNewMemory(world, &table, octets));
    releaseFragments(world, &table);
    for (QorLong i = 0; i < count; i++) {
        unsigned char *c = chars + int64_t{i} * width;
        if (width == 2) {
            auto v = static_cast<uint16_t>((c[0] << 8) | c[1]);
            memcpy(c, &v, 2);
        } else {
            QorULong v =
                (QorULong{c[0]} << 24) | (QorULong{c[1]} << 16) | (QorULong{c[2]} << 8) | c[3];
            memcpy(c, &v, 4);
        }
    }
    *out = chars;
    return count;
}

// UTF-8 to characters of 2 or 4 octets: counted first, so that `max`
// applies to characters before any memory is taken for them.
QorLong decodeUtf8Wide(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                       void **out, QorLong max, int width)
{
    FragmentTable table;
    initFragments(&table);
    QorLong octets = readStringContents(world, &table, pos, room, length);
    const unsigned char *text = contiguous(world, &table, octets);
    QorLong count = utf8CharCount(world, text, octets);
    checkMax(world, count, max);
    void *chars = nullptr;
    if (count > 0) {
        chars = _qor_dec_getmem_internal(world, octetsFor(world, count, width, Msg::kLengthTooLong));
        decodeUtf8Chars(world, chars, text, octets, width);
    }
    releaseFragments(world, &table);
    *out = chars;
    return count;
}

// A constructed text, gathered from its segments.
__attribute__((noinline)) QorLong decodeSegmentedText(QorGlobal *world, unsigned char **pos,
                                                      QorLong *room, QorLong length, char **out,
                                                      QorLong max)
{
    FragmentTable table;
    initFragments(&table);
    QorLong count = readStringContents(world, &table, pos, room, length);
    checkMax(world, count, max, Msg::kSizeViolated);
    raiseIf(world, count > INT32_MAX - 8, Msg::kLengthTooLong, count);
    auto *text = static_cast<char *>(toNewMemory(world, &table, count, 1));
    releaseFragments(world, &table);
    raiseIf(world, memchr(text, 0, static_cast<size_t>(count)) != nullptr, Msg::kEmbeddedNul, 0);
    text[count] = '\0';
    *out = text;
    return count;
}

} // namespace

extern "C" {

QorLong _qor_encd_nstr(QorGlobal *world, unsigned char **pos, QorLong *room, const char *text,
                       QorLong max)
{
    size_t length = text != nullptr ? strlen(text) : 0;
    raiseIf(world, length > INT32_MAX, Msg::kSizeTooLong, -1);
    // Such a text lives in an array of `max` + 1 octets: a longer one has
    // run past it, which NOCONSTRAIN cannot make right.
    if (max > 0 && static_cast<QorLong>(length) > max)
        raise(world, Msg::kSizeExceeded, longValue(static_cast<QorLong>(length)));
    return writeBytes(world, pos, room, text, static_cast<QorLong>(length));
}

QorLong _qor_encd_pstr(QorGlobal *world, unsigned char **pos, QorLong *room, const char *data,
                       QorLong size)
{
    raiseIf(world, size < 0 || (size > 0 && data == nullptr), Msg::kMisencoded, size);
    // The padding is NUL octets and blanks, in any mix.
    while (size > 0 && (data[size - 1] == '\0' || data[size - 1] == ' '))
        size--;
    return size > 0 ? _qor_write_bytes_d(world, pos, room, data, size) : 0;
}

QorLong _qor_encd_uoct_ia(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                          QorLong length, QorLong max)
{
    checkMax(world, length, max > 0 ? max : 0);
    return writeOctets(world, pos, room, data, length);
}

QorLong _qor_encd_ustr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                          QorLong length, QorLong max) __attribute__((alias("_qor_encd_uoct_ia")));

QorLong _qor_encd_voct_ia(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                          QorLong length, QorLong max)
{
    // The array cannot hold more than `max`, so a longer length is corrupt
    // memory rather than a value NOCONSTRAIN could let through.
    raiseIf(world, max >= 1 && length > max, Msg::kSizeExceeded, length);
    return writeOctets(world, pos, room, data, length);
}

QorLong _qor_encd_vstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                          QorLong length, QorLong max) __attribute__((alias("_qor_encd_voct_ia")));

QorLong _qor_encd_bmpstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                            const uint16_t *data, QorLong count, QorLong max)
{
    checkMax(world, count, max > 0 ? max : 0);
    return writeWide(world, pos, room, data, count, 2);
}

QorLong _qor_encd_unistr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                            const QorULong *data, QorLong count, QorLong max)
{
    checkMax(world, count, max > 0 ? max : 0);
    return writeWide(world, pos, room, data, count, 4);
}

QorLong _qor_encd_utf8unbound_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                 const unsigned char *data, QorLong length, QorLong max)
{
    raiseIf(world, length < 0 || (length > 0 && data == nullptr), Msg::kMisencoded, length);
    if (max > 0 && length > max && !noConstrain(world)) {
        // Characters are the octets that do not continue a sequence.
        QorLong count = 0;
        for (QorLong i = 0; i < length; i++)
            count += (data[i] & 0xc0) != 0x80;
        checkMax(world, count, max);
    }
    return writeOctets(world, pos, room, data, length);
}

QorLong _qor_encd_utf8bmpstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                const uint16_t *data, QorLong count, QorLong max)
{
    return writeUtf8(world, pos, room, data, count, max, 2);
}

QorLong _qor_encd_utf8unistr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                const QorULong *data, QorLong count, QorLong max)
{
    return writeUtf8(world, pos, room, data, count, max, 4);
}

QorLong _qor_dec_ustr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         void **out, QorLong max)
{
    return decodeUnbounded(world, pos, room, length, out, max, false);
}

QorLong _qor_dec_uoct_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         void **out, QorLong max)
{
    return decodeUnbounded(world, pos, room, length, out, max,
                           world->privateArea->lastDecodedFlag != 0);
}

QorLong _qor_dec_voct_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         void *out, QorLong max)
{
    FragmentTable table;
    initFragments(&table);
    QorLong count = readStringContents(world, &table, pos, room, length);
    raiseIf(world, max >= 0 && count > max, Msg::kSizeExceeded, count);
    QorLong kept = keptOfVarying(count, max);
    copyFragments(&table, static_cast<unsigned char *>(out), kept);
    releaseFragments(world, &table);
    return kept;
}

QorLong _qor_dec_vstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         void *out, QorLong max) __attribute__((alias("_qor_dec_voct_ia")));

QorLong _qor_dec_voct_ptr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                             void **out, QorLong max)
{
    FragmentTable table;
    initFragments(&table);
    QorLong count = readStringContents(world, &table, pos, room, length);
    if (max > 0)
        checkMax(world, count, max);
    QorLong kept = keptOfVarying(count, max);
    *out = toNewMemory(world, &table, kept);
    releaseFragments(world, &table);
    return kept;
}

QorLong _qor_dec_vstr_ptr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                             void **out, QorLong max)
    __attribute__((alias("_qor_dec_voct_ptr_ia")));

QorLong _qor_dec_nstr(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                      char *out, QorLong max)
{
    FragmentTable table;
    initFragments(&table);
    QorLong count = readStringContents(world, &table, pos, room, length);
    checkCapacity(world, count, max, Msg::kSizeViolated);
    copyFragments(&table, reinterpret_cast<unsigned char *>(out), count);
    releaseFragments(world, &table);
    // The octets go in as they are: a NUL inside shortens the text, and the
    // count returned still tells the whole length.
    out[count] = '\0';
    return count;
}

QorLong _qor_dec_nstr_ptr(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                          char **out, QorLong max)
{
    if (world->bitOffset != 0)
        return decodeSegmentedText(world, pos, room, length, out, max);
    // Primitive: the contents lie in one piece and are copied once.
    const unsigned char *at = takePrimitive(world, pos, room, length);
    checkMax(world, length, max, Msg::kSizeViolated);
    raiseIf(world, length > INT32_MAX - 8, Msg::kLengthTooLong, length);
    auto *text = static_cast<char *>(_qor_dec_getmem_internal(world, length + 1));
    copyOctets(text, at, static_cast<size_t>(length));
    raiseIf(world, hasZeroOctet(at, static_cast<size_t>(length)), Msg::kEmbeddedNul, 0);
    text[length] = '\0';
    *out = text;
    return length;
}

QorLong _qor_dec_pstr(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                      char *out, QorLong size)
{
    FragmentTable table;
    initFragments(&table);
    QorLong count = readStringContents(world, &table, pos, room, length);
    raiseIf(world, count > (size > 0 ? size : 0), Msg::kSizeExceeded, count);
    copyFragments(&table, reinterpret_cast<unsigned char *>(out), count);
    releaseFragments(world, &table);
    if (size > count)
        memset(out + count, ' ', static_cast<size_t>(size - count));
    return count;
}

QorLong _qor_dec_bmpstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                           uint16_t **out, QorLong max)
{
    return decodeWide(world, pos, room, length, reinterpret_cast<void **>(out), max, 2);
}

QorLong _qor_dec_unistr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                           QorULong **out, QorLong max)
{
    return decodeWide(world, pos, room, length, reinterpret_cast<void **>(out), max, 4);
}

QorLong _qor_dec_utf8unbound_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                QorLong length, unsigned char **out, QorLong max)
{
    FragmentTable table;
    initFragments(&table);
    QorLong octets = readStringContents(world, &table, pos, room, length);
    auto *text = static_cast<unsigned char *>(toNewMemory(world, &table, octets));
    releaseFragments(world, &table);
    // The octets are kept as they came, once every sequence is known good;
    // the limit counts characters, the result octets, as the memory form
    // and its encoder do.
    checkMax(world, utf8CharCount(world, text, octets), max);
    *out = text;
    return octets;
}

QorLong _qor_dec_utf8bmpstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                               uint16_t **out, QorLong max)
{
    return decodeUtf8Wide(world, pos, room, length, reinterpret_cast<void **>(out), max, 2);
}

QorLong _qor_dec_utf8unistr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                               QorULong **out, QorLong max)
{
    return decodeUtf8Wide(world, pos, room, length, reinterpret_cast<void **>(out), max, 4);
}

} // extern "C"

// OER character strings that need more than the byte writers: BMPString
// and UniversalString as big-endian units, UTF8String from and to 16 and
// 32-bit characters, and the decoders of each memory form of a string.
#include <cstring>

#include "common/utf8.h"
#include "oer/oer.h"

using namespace qor;

namespace {

constexpr unsigned char kPad = ' ';
constexpr int kLongestUtf8 = 6;

template <class Char> void putUnits(QorGlobal *world, const Char *chars, QorULong count)
{
    if (count == 0)
        return;
    raiseIf(world, chars == nullptr, Msg::kNullInput, 0);
    if (sizingOnly(world)) {
        world->encLength += static_cast<QorLong>(uint64_t{count} * sizeof(Char));
        return;
    }
    OerStaging out(world);
    for (QorULong i = 0; i < count; i++) {
        storeBigEndian(out.reserve(sizeof(Char)), chars[i], sizeof(Char));
        out.advance(sizeof(Char));
    }
    out.flush();
}

template <class Char> void readUnits(Char *to, const unsigned char *from, uint64_t count)
{
    for (uint64_t i = 0; i < count; i++, from += sizeof(Char)) {
        Char c = 0;
        for (size_t k = 0; k < sizeof(Char); k++)
            c = static_cast<Char>(c << 8 | from[k]);
        to[i] = c;
    }
}

// Characters of `sizeof(Char)` octets behind a length that must hold whole ones.
template <class Char> QorULong decodeUnits(QorGlobal *world, Char **result)
{
    const uint64_t length = _qor_odec_length(world);
    raiseIf(world, length % sizeof(Char) != 0, Msg::kNotWholeCharacters,
            static_cast<QorLong>(length));
    const unsigned char *in = takeContents(world, length);
    const uint64_t count = length / sizeof(Char);
    Char *out = nullptr;
    if (count > 0) {
        out = static_cast<Char *>(_qor_dec_getmem_internal(world, static_cast<QorLong>(length)));
        readUnits(out, in, count);
    }
    *result = out;
    return static_cast<QorULong>(count);
}

// The size that the type fixes: generated code has checked it, the input
// has not been.
template <class Char> void decodeFixedUnits(QorGlobal *world, Char *target, QorULong count)
{
    const uint64_t length = uint64_t{count} * sizeof(Char);
    needInput(world, length);
    readUnits(target, takeContents(world, length), count);
}

template <class Char> void putUtf8(QorGlobal *world, const Char *chars, QorULong count)
{
    raiseIf(world, count > 0 && chars == nullptr, Msg::kNullInput, 0);
    const auto width = static_cast<int>(sizeof(Char));
    const QorLong total = utf8SizeOf(world, chars, static_cast<QorLong>(count), width);
    _qor_oenc_octet_length(world, static_cast<QorULong>(total));
    if (sizingOnly(world)) {
        world->encLength += total;
        return;
    }
    OerStaging out(world);
    for (QorULong i = 0; i < count; i++) {
        unsigned char *at = out.reserve(kLongestUtf8);
        out.advance(static_cast<size_t>(putUtf8Char(at, chars[i]) - at));
    }
    out.flush();
}

// Counted first, so that the characters land in memory of their own size;
// a 16-bit character keeps the low bits of a wider one.
template <class Char> QorULong decodeUtf8(QorGlobal *world, Char **result)
{
    const uint64_t length = _qor_odec_length(world);
    raiseIf(world, length > INT32_MAX, Msg::kBadUtf8Sequence, 0);
    const unsigned char *in = takeContents(world, length);
    const auto n = static_cast<QorLong>(length);
    const QorLong count = utf8CharCount(world, in, n);
    Char *out = nullptr;
    if (count > 0) {
        out = static_cast<Char *>(
            _qor_dec_getmem_internal(world, count * static_cast<QorLong>(sizeof(Char))));
        decodeUtf8Chars(world, out, in, n, static_cast<int>(sizeof(Char)), true);
    }
    *result = out;
    return static_cast<QorULong>(count);
}

} // namespace

extern "C" {

void _qor_oenc_bmpstr(QorGlobal *world, const uint16_t *chars, QorULong count)
{
    putUnits(world, chars, count);
}

void _qor_oenc_unistr(QorGlobal *world, const QorULong *chars, QorULong count)
{
    putUnits(world, chars, count);
}

void _qor_oenc_utf8_string_bmp(QorGlobal *world, const uint16_t *chars, QorULong count)
{
    putUtf8(world, chars, count);
}

void _qor_oenc_utf8_string_universal(QorGlobal *world, const QorULong *chars, QorULong count)
{
    putUtf8(world, chars, count);
}

void _qor_odec_read_octets(QorGlobal *world, void *target, QorULong count)
{
    if (count == 0)
        return;
    needInput(world, count);
    copyOctets(target, takeContents(world, count), count);
}

// A value longer than the array may be padding: trailing spaces down to
// the size are dropped, and the array is filled up with spaces.
void _qor_odec_string_padded(QorGlobal *world, char *target, QorULong size)
{
    const uint64_t length = _qor_odec_length(world);
    const unsigned char *in = takeContents(world, length);
    uint64_t n = length;
    while (n > size && in[n - 1] == kPad)
        n--;
    raiseIf(world, n > size, Msg::kSizeExceeded, static_cast<QorLong>(length));
    if (n > 0)
        copyOctets(target, in, static_cast<size_t>(n));
    if (size > n)
        memset(target + n, kPad, static_cast<size_t>(size - n));
}

QorULong _qor_odec_string_unbounded(QorGlobal *world, unsigned char **result)
{
    const uint64_t length = _qor_odec_length(world);
    unsigned char *out = nullptr;
    if (length > 0) {
        out = static_cast<unsigned char *>(
            _qor_dec_getmem_internal(world, static_cast<QorLong>(length)));
        copyOctets(out, takeContents(world, length), static_cast<size_t>(length));
    }
    *result = out;
    return static_cast<QorULong>(length);
}

QorULong _qor_odec_bmp_string(QorGlobal *world, uint16_t **result)
{
    return decodeUnits(world, result);
}

QorULong _qor_odec_universal_string(QorGlobal *world, QorULong **result)
{
    return decodeUnits(world, result);
}

void _qor_odec_fixed_bmp_string(QorGlobal *world, uint16_t *target, QorULong count)
{
    decodeFixedUnits(world, target, count);
}

void _qor_odec_fixed_universal_string(QorGlobal *world, QorULong *target, QorULong count)
{
    decodeFixedUnits(world, target, count);
}

QorULong _qor_odec_utf8_string_bmp(QorGlobal *world, uint16_t **result)
{
    return decodeUtf8(world, result);
}

QorULong _qor_odec_utf8_string_universal(QorGlobal *world, QorULong **result)
{
    return decodeUtf8(world, result);
}

} // extern "C"

// OER whole numbers: the fixed-size forms that generated code picks for a
// range of 1, 2 or 4 octets (8 go through the byte writers), the
// variable-size form of a count octet and the minimal octets, huge integers
// behind a length, ENUMERATED, and tags.
#include <cstring>

#include "common/huge_octets.h"
#include "oer/oer.h"

using namespace qor;

namespace {

constexpr unsigned kLongForm = 0x80;

// Two's complement of the low `count` octets of `v`, widened.
inline int64_t signExtended(uint64_t v, unsigned count)
{
    const unsigned shift = 64 - 8 * count;
    return static_cast<int64_t>(v << shift) >> shift;
}

uint64_t readFixed(QorGlobal *world, unsigned count)
{
    needInput(world, count);
    return takeBigEndian(world, count);
}

void putFixed(QorGlobal *world, uint64_t v, unsigned count)
{
    unsigned char bytes[kItemRoom];
    storeBigEndian(bytes, v, count);
    oerPutItem(world, bytes, count);
}

void putVariable(QorGlobal *world, uint64_t v, unsigned count)
{
    unsigned char bytes[kItemRoom];
    bytes[0] = static_cast<unsigned char>(count);
    storeBigEndian(bytes + 1, v, count);
    oerPutItem(world, bytes, 1 + count);
}

// The count octet of a variable-size integer is a signed octet from 1 up:
// no long form exists, and a count wider than the result is refused.
uint64_t readVariable(QorGlobal *world, unsigned width, bool isSigned)
{
    needInput(world, 2);
    const int count = static_cast<signed char>(*world->inPos);
    raiseIf(world, count < 1, Msg::kMisencoded, count);
    world->inPos++;
    needInput(world, static_cast<uint64_t>(count));
    raiseIf(world, static_cast<unsigned>(count) > width, Msg::kIntegerTooLong, count);
    const uint64_t v = takeBigEndian(world, static_cast<unsigned>(count));
    return isSigned ? static_cast<uint64_t>(signExtended(v, static_cast<unsigned>(count))) : v;
}

// Values from 0 to 127 are the octet itself; others a count with the top
// bit set and the minimal two's complement octets, a sign octet included
// for the unsigned form.
void putEnumerated(QorGlobal *world, int64_t v)
{
    if (v >= 0 && v < static_cast<int64_t>(kLongForm)) {
        _qor_oenc_append_byte(world, static_cast<unsigned char>(v));
        return;
    }
    unsigned char bytes[kItemRoom];
    const unsigned count = signedOctets(v);
    bytes[0] = static_cast<unsigned char>(kLongForm | count);
    storeBigEndian(bytes + 1, static_cast<uint64_t>(v), count);
    oerPutItem(world, bytes, 1 + count);
}

// A value of the long form's octets: 4 at most, or 5 whose first is the
// sign octet of an unsigned value.
uint64_t readEnumerated(QorGlobal *world, bool isSigned)
{
    needInput(world, 1);
    const unsigned first = *world->inPos++;
    if (first < kLongForm)
        return first;
    const unsigned n = first & 0x7F;
    raiseIf(world, n == 0, Msg::kMisencoded, 0);
    needInput(world, n);
    const bool signOctet = !isSigned && n == 5 && world->inPos[0] == 0;
    raiseIf(world, n > 4 && !signOctet, Msg::kIntegerTooLong, static_cast<QorLong>(n));
    const uint64_t v = takeBigEndian(world, n);
    return isSigned ? static_cast<uint64_t>(signExtended(v, n)) : v;
}

void putHuge(QorGlobal *world, const unsigned char *bytes, QorULong count, Trim trim)
{
    raiseIf(world, count == 0 || count > kHugeLimit, Msg::kMisencoded, static_cast<QorLong>(count));
    count = trimmed(&bytes, count, trim);
    _qor_oenc_octet_length(world, count);
    oerPut(world, bytes, count);
}

// The octets behind a length, into decoder memory; `lead` octets of 0 go
// in front.
QorULong readHuge(QorGlobal *world, unsigned char **result, bool isUnsigned)
{
    const QorULong n = _qor_odec_length(world);
    raiseIf(world, n == 0, Msg::kMisencoded, 0);
    const QorULong lead = isUnsigned && (world->inPos[0] & 0x80) != 0 ? 1 : 0;
    auto *out = static_cast<unsigned char *>(
        _qor_dec_getfixmem(world, static_cast<QorLong>(uint64_t{n} + lead)));
    out[0] = 0;
    memcpy(out + lead, world->inPos, n);
    world->inPos += n;
    *result = out;
    return n + lead;
}

} // namespace

extern "C" {

void _qor_oenc_int_1byte(QorGlobal *world, QorLong value)
{
    raiseIf(world, value < INT8_MIN || value > INT8_MAX, Msg::kRangeViolated, value);
    _qor_oenc_append_byte(world, static_cast<unsigned char>(value));
}

void _qor_oenc_int_2byte(QorGlobal *world, QorLong value)
{
    raiseIf(world, value < INT16_MIN || value > INT16_MAX, Msg::kRangeViolated, value);
    putFixed(world, static_cast<uint64_t>(value), 2);
}

void _qor_oenc_int_4byte(QorGlobal *world, QorLong value)
{
    putFixed(world, static_cast<uint64_t>(value), 4);
}

void _qor_oenc_uint_1byte(QorGlobal *world, QorULong value)
{
    raiseIf(world, value > UINT8_MAX, Msg::kUnsignedRangeViolated, static_cast<QorLong>(value));
    _qor_oenc_append_byte(world, static_cast<unsigned char>(value));
}

void _qor_oenc_uint_2byte(QorGlobal *world, QorULong value)
{
    raiseIf(world, value > UINT16_MAX, Msg::kUnsignedRangeViolated, static_cast<QorLong>(value));
    putFixed(world, value, 2);
}

// Left-justified: tags and extension numbers are kept in the top octets.
void _qor_oenc_uint_3byte(QorGlobal *world, QorULong value) { putFixed(world, value >> 8, 3); }

void _qor_oenc_uint_4byte(QorGlobal *world, QorULong value) { putFixed(world, value, 4); }

void _qor_oenc_int(QorGlobal *world, QorLong value)
{
    putVariable(world, static_cast<uint64_t>(value), signedOctets(value));
}

void _qor_oenc_int_ll(QorGlobal *world, int64_t value)
{
    putVariable(world, static_cast<uint64_t>(value), signedOctets(value));
}

void _qor_oenc_uint(QorGlobal *world, QorULong value)
{
    putVariable(world, value, unsignedOctets(value));
}

void _qor_oenc_uint_ll(QorGlobal *world, uint64_t value)
{
    putVariable(world, value, unsignedOctets(value));
}

void _qor_oenc_int_h(QorGlobal *world, const unsigned char *bytes, QorULong count)
{
    putHuge(world, bytes, count, Trim::kSigned);
}

void _qor_oenc_uint_h(QorGlobal *world, const unsigned char *bytes, QorULong count)
{
    putHuge(world, bytes, count, Trim::kUnsigned);
}

void _qor_oenc_enum(QorGlobal *world, QorLong value) { putEnumerated(world, value); }

void _qor_oenc_uenum(QorGlobal *world, QorULong value) { putEnumerated(world, value); }

QorLong _qor_odec_int_1byte(QorGlobal *world)
{
    return static_cast<QorLong>(signExtended(readFixed(world, 1), 1));
}

QorLong _qor_odec_int_2byte(QorGlobal *world)
{
    return static_cast<QorLong>(signExtended(readFixed(world, 2), 2));
}

QorLong _qor_odec_int_4byte(QorGlobal *world)
{
    return static_cast<QorLong>(signExtended(readFixed(world, 4), 4));
}

QorULong _qor_odec_uint_1byte(QorGlobal *world) { return static_cast<QorULong>(readFixed(world, 1)); }

QorULong _qor_odec_uint_2byte(QorGlobal *world) { return static_cast<QorULong>(readFixed(world, 2)); }

// The three octets go back to the top of the word, where the encoder took them.
QorULong _qor_odec_uint_3byte(QorGlobal *world)
{
    return static_cast<QorULong>(readFixed(world, 3) << 8);
}

QorULong _qor_odec_uint_4byte(QorGlobal *world) { return static_cast<QorULong>(readFixed(world, 4)); }

short _qor_odec_int_s(QorGlobal *world) { return static_cast<short>(readVariable(world, 2, true)); }

QorLong _qor_odec_int(QorGlobal *world) { return static_cast<QorLong>(readVariable(world, 4, true)); }

int64_t _qor_odec_int_ll(QorGlobal *world) { return static_cast<int64_t>(readVariable(world, 8, true)); }

unsigned short _qor_odec_uint_s(QorGlobal *world)
{
    return static_cast<unsigned short>(readVariable(world, 2, false));
}

QorULong _qor_odec_uint(QorGlobal *world) { return static_cast<QorULong>(readVariable(world, 4, false)); }

uint64_t _qor_odec_uint_ll(QorGlobal *world) { return readVariable(world, 8, false); }

QorULong _qor_odec_int_h(QorGlobal *world, unsigned char **result)
{
    return readHuge(world, result, false);
}

QorULong _qor_odec_uint_h(QorGlobal *world, unsigned char **result)
{
    return readHuge(world, result, true);
}

QorLong _qor_odec_enum(QorGlobal *world) { return static_cast<QorLong>(readEnumerated(world, true)); }

QorULong _qor_odec_uenum(QorGlobal *world) { return static_cast<QorULong>(readEnumerated(world, false)); }

// The first octet's low six bits of 63 say that the number follows in one
// or two more octets, seven bits each; the tag stays in its raw form, which
// generated code compares with constants of the same form.
QorULong _qor_odec_tag(QorGlobal *world)
{
    needInput(world, 1);
    const unsigned first = *world->inPos++;
    if ((first & 0x3F) < 0x3F)
        return first;
    needInput(world, 1);
    const unsigned second = *world->inPos++;
    raiseIf(world, second < 31 || second == 0x80, Msg::kTagNeedlesslyLong, 0);
    if (second < 0x80)
        return first << 8 | second;
    needInput(world, 1);
    const unsigned third = *world->inPos++;
    const QorULong tag = first << 16 | second << 8 | third;
    raiseIf(world, third >= 0x80, Msg::kTagTooLong, static_cast<QorLong>(tag));
    return tag;
}

} // extern "C"

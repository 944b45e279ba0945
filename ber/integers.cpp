// BER INTEGER, ENUMERATED and BOOLEAN: the one-write encoders of tag, length
// and value, huge integers, and the decoders with their strictness checks.
#include "ber/item.h"

using namespace qor;

namespace {

// Minimal two's complement octets of `value`, appended high first.
unsigned char *putSigned(unsigned char *out, int64_t value)
{
    uint64_t bits = static_cast<uint64_t>(value < 0 ? ~value : value) >> 7;
    int count = 1;
    while (bits != 0) {
        bits >>= 8;
        count++;
    }
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
        *out++ = static_cast<unsigned char>(static_cast<uint64_t>(value) >> shift);
    return out;
}

// Unsigned: a zero octet in front when the top octet's high bit is set.
unsigned char *putUnsigned(unsigned char *out, uint64_t value)
{
    int count = 1;
    for (uint64_t bits = value >> 8; bits != 0; bits >>= 8)
        count++;
    if ((value >> (8 * (count - 1))) & 0x80)
        *out++ = 0;
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
        *out++ = static_cast<unsigned char>(value >> shift);
    return out;
}

template <class Put, class V>
QorLong writeInteger(QorGlobal *world, unsigned char **pos, QorLong *room, Put put, V value,
                     QorULong tag)
{
    unsigned char item[kMaxItem];
    unsigned char *lengthAt = putTag(item, tag);
    unsigned char *end = put(lengthAt + 1, value);
    *lengthAt = static_cast<unsigned char>(end - lengthAt - 1);
    return writeBytes(world, pos, room, item, static_cast<int>(end - item));
}

// The contents of an integer of `length` octets, taken from the input.
const unsigned char *takeContents(QorGlobal *world, unsigned char **pos, QorLong *room,
                                  QorLong length)
{
    raiseIf(world, length < 1, Msg::kMisencoded, 0);
    needInput(world, room, length);
    const unsigned char *p = *pos;
    *pos += length;
    *room -= length;
    return p;
}

// A leading octet that only repeats the sign of the next one.
bool redundant(const unsigned char *p)
{
    return (p[0] == 0x00 && (p[1] & 0x80) == 0) || (p[0] == 0xff && (p[1] & 0x80) != 0);
}

template <class T, int MaxOctets>
T decodeSigned(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length)
{
    const unsigned char *p = takeContents(world, pos, room, length);
    while (length > 1 && redundant(p)) {
        raiseIf(world, !relaxed(world), Msg::kIntegerNeedlesslyLong, 0);
        p++;
        length--;
    }
    raiseIf(world, length > MaxOctets, Msg::kIntegerTooLong, length);
    uint64_t value = (p[0] & 0x80) != 0 ? ~uint64_t{0} : 0;
    for (QorLong i = 0; i < length; i++)
        value = (value << 8) | p[i];
    return static_cast<T>(static_cast<int64_t>(value));
}

template <class T, int MaxOctets>
T decodeUnsigned(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length)
{
    const unsigned char *p = takeContents(world, pos, room, length);
    QorLong zeros = 0;
    while (zeros < length && p[zeros] == 0)
        zeros++;
    bool lenient = relaxed(world);
    if (zeros == length) {
        raiseIf(world, length > 1 && !lenient, Msg::kIntegerNeedlesslyLong, 0);
        return 0;
    }
    QorLong rest = length - zeros;
    raiseIf(world, rest > MaxOctets, Msg::kIntegerTooLong, rest);
    if (!lenient) {
        bool topBit = (p[zeros] & 0x80) != 0;
        raiseIf(world, topBit && zeros == 0, Msg::kNegativeUnsigned, 0);
        raiseIf(world, zeros > (topBit ? 1 : 0), Msg::kIntegerNeedlesslyLong, 0);
    }
    uint64_t value = 0;
    for (QorLong i = zeros; i < length; i++)
        value = (value << 8) | p[i];
    return static_cast<T>(value);
}

} // namespace

extern "C" {

QorLong _qor_encd_int_tl(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong value,
                         QorULong tag)
{
    return writeInteger(world, pos, room, putSigned, int64_t{value}, tag);
}

QorLong _qor_encd_uint_tl(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong value,
                          QorULong tag)
{
    return writeInteger(world, pos, room, putUnsigned, uint64_t{value}, tag);
}

QorLong _qor_encd_llint_tl(QorGlobal *world, unsigned char **pos, QorLong *room, int64_t value,
                           QorULong tag)
{
    return writeInteger(world, pos, room, putSigned, value, tag);
}

QorLong _qor_encd_ullint_tl(QorGlobal *world, unsigned char **pos, QorLong *room, uint64_t value,
                            QorULong tag)
{
    return writeInteger(world, pos, room, putUnsigned, value, tag);
}

QorLong _qor_encd_bool_tl(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong tag,
                          char value)
{
    unsigned char item[kMaxItem];
    unsigned char *end = putTag(item, tag);
    *end++ = 1;
    *end++ = value != 0 ? 0xff : 0x00;
    return writeBytes(world, pos, room, item, static_cast<int>(end - item));
}

QorLong _qor_encd_huge_int_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                              const unsigned char *data, QorLong length)
{
    raiseIf(world, length <= 0 || data == nullptr, Msg::kMisencoded, 0);
    while (length > 1 && redundant(data)) {
        data++;
        length--;
    }
    return _qor_write_bytes_d(world, pos, room, data, length);
}

QorLong _qor_encd_uhuge_int_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                               const unsigned char *data, QorLong length)
{
    raiseIf(world, length <= 0 || data == nullptr, Msg::kMisencoded, 0);
    while (length > 1 && data[0] == 0 && (data[1] & 0x80) == 0) {
        data++;
        length--;
    }
    QorLong written = _qor_write_bytes_d(world, pos, room, data, length);
    if ((data[0] & 0x80) != 0) {
        static const unsigned char zero = 0;
        written += _qor_write_bytes_d(world, pos, room, &zero, 1);
    }
    return written;
}

char _qor_dec_bool(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length)
{
    raiseIf(world, length != 1, Msg::kMisencoded, 0);
    needInput(world, room, 1);
    --*room;
    return *(*pos)++ != 0 ? 1 : 0;
}

int16_t _qor_dec_sint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length)
{
    return decodeSigned<int16_t, 2>(world, pos, room, length);
}

QorLong _qor_dec_iint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length)
{
    return decodeSigned<QorLong, 4>(world, pos, room, length);
}

int64_t _qor_dec_llint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length)
{
    return decodeSigned<int64_t, 8>(world, pos, room, length);
}

uint16_t _qor_dec_usint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length)
{
    return decodeUnsigned<uint16_t, 2>(world, pos, room, length);
}

QorULong _qor_dec_uiint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length)
{
    return decodeUnsigned<QorULong, 4>(world, pos, room, length);
}

uint64_t _qor_dec_ullint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length)
{
    return decodeUnsigned<uint64_t, 8>(world, pos, room, length);
}

QorLong _qor_dec_hint_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         unsigned char **data)
{
    raiseIf(world, length < 1, Msg::kMisencoded, 0);
    needInput(world, room, length);
    if (length > 1 && redundant(*pos) && !relaxed(world))
        raise(world, Msg::kIntegerNeedlesslyLong, longValue(0));
    auto *copy = static_cast<unsigned char *>(_qor_dec_getmem_internal(world, length));
    memcpy(copy, *pos, static_cast<size_t>(length));
    *pos += length;
    *room -= length;
    *data = copy;
    return length;
}

} // extern "C"

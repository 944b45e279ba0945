// Values kept as their whole encoding: open types, ANY and deferred
// components, which encoders write back as they stand; and the unknown
// extension additions of a SEQUENCE, retained in a chain.
#include <cstring>

#include "ber/item.h"

using namespace qor;

namespace {

// From this release on, generated code passes a length of 0 for an absent
// value of the two-word open type; before it, 0 told nothing.
constexpr uint16_t kAbsentByLength = 26;

// Whether the input at `pos` holds end-of-contents octets: with an enclosing
// value of indefinite length, where an optional value may be missing. Reads
// from a copy of the position.
bool atEndOfContents(QorGlobal *world, unsigned char *pos, QorLong room)
{
    if (_qor_dec_tag(world, &pos, &room) != 0)
        return false;
    raiseIf(world, _qor_dec_length(world, &pos, &room) != 0, Msg::kNonStandardEoc, 0);
    return true;
}

// Copies `size` octets to decoder memory.
unsigned char *keep(QorGlobal *world, const unsigned char *data, QorLong size)
{
    auto *copy = static_cast<unsigned char *>(_qor_dec_getmem_internal(world, size));
    memcpy(copy, data, static_cast<size_t>(size));
    return copy;
}

// The item at *pos, tag and length included, copied whole; *pos moves past
// it. Its extent is read from the input, within *room, in one pass however
// it nests.
QorLong keepItem(QorGlobal *world, unsigned char **pos, QorLong *room, unsigned char **out)
{
    unsigned char *p = *pos;
    QorLong left = *room;
    _qor_dec_tag(world, &p, &left);
    QorLong length = _qor_dec_length(world, &p, &left);
    raiseIf(world, length < 0 && world->bitOffset == 0, Msg::kIndefinitePrimitive, 0);
    _qor_skip_past_item(world, &p, &left, length);
    QorLong size = *room - left;
    *out = keep(world, *pos, size);
    *pos = p;
    *room = left;
    return size;
}

// The tag of a deferred component as _qor_dec_tag gives it, class in bits
// 15-14 and number below, in its octets.
unsigned char *putPackedTag(unsigned char *out, QorULong tag, bool constructed)
{
    auto first = static_cast<unsigned char>(((tag >> 8) & 0xc0) | (constructed ? 0x20 : 0));
    QorULong number = tag & 0x3fff;
    if (number < 31) {
        *out++ = static_cast<unsigned char>(first | number);
        return out;
    }
    *out++ = static_cast<unsigned char>(first | 0x1f);
    if (number >= 0x80)
        *out++ = static_cast<unsigned char>(0x80 | (number >> 7));
    *out++ = static_cast<unsigned char>(number & 0x7f);
    return out;
}

// The contents of a kept encoding: past its tag and length, and short of
// its end-of-contents octets in the indefinite form. The encoding is the
// application's value, so any inconsistency in it is message 106.
const unsigned char *storedContents(QorGlobal *world, const unsigned char *data, QorLong size,
                                    QorLong *contents)
{
    const unsigned char *p = data;
    const unsigned char *end = data + size;
    auto next = [&]() -> unsigned char {
        raiseIf(world, p == end, Msg::kMisencoded, size);
        return *p++;
    };
    if ((next() & 0x1f) == 0x1f) {
        while ((next() & 0x80) != 0) {
        }
    }
    unsigned char first = next();
    QorLong length;
    if (first == 0x80) {
        length = static_cast<QorLong>(end - p) - 2;
        raiseIf(world, length < 0 || p[length] != 0 || p[length + 1] != 0, Msg::kMisencoded, size);
    } else if (first < 0x80) {
        length = first;
    } else {
        int count = first & 0x7f;
        uint64_t value = 0;
        for (int i = 0; i < count; i++) {
            value = (value << 8) | next();
            raiseIf(world, value > INT32_MAX, Msg::kMisencoded, size);
        }
        length = static_cast<QorLong>(value);
    }
    raiseIf(world, length > end - p, Msg::kMisencoded, size);
    *contents = length;
    return p;
}

void checkStoredSize(QorGlobal *world, QorULong length, const unsigned char *data)
{
    raiseIf(world, length > INT32_MAX, Msg::kLengthTooLong, static_cast<QorLong>(length));
    raiseIf(world, data == nullptr, Msg::kNullInput, 0);
}

} // namespace

extern "C" {

// The kept encoding, as it stands. Encoding the `decoded` value itself
// would take a nested encoder; until then a record that asks for it is
// refused rather than written from a stale `encoded`.
QorLong _qor_encd_opentype(QorGlobal *world, unsigned char **pos, QorLong *room, const void *record)
{
    raiseIf(world, record == nullptr, Msg::kNullInput, 0);
    const auto *value = static_cast<const QorOpenType *>(record);
    if (value->decoded != nullptr) {
        if ((world->encodingFlags & AUTOMATIC_ENCDEC) != 0)
            raise(world, value->pduNum == 0 ? Msg::kFlagWithoutPdu : Msg::kNotImplemented, longValue(0));
        raiseIf(world, value->pduNum != 0 && value->length == 0, Msg::kDecodedWithoutFlag, 0);
    }
    raiseIf(world, value->length == 0, Msg::kEmptyOpenType, 0);
    checkStoredSize(world, value->length, value->encoded);
    return _qor_write_bytes_d(world, pos, room, value->encoded, static_cast<QorLong>(value->length));
}

// `length` is that of the enclosing value: 0 when the open type is absent,
// negative when the enclosing value ends with end-of-contents octets, which
// may come where the open type would.
QorLong _qor_dec_opentype(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                          void *record)
{
    auto *value = static_cast<QorOpenType *>(record);
    unsigned char *encoded = nullptr;
    QorLong size = 0;
    if (length != 0 && !(length < 0 && atEndOfContents(world, *pos, *room)))
        size = keepItem(world, pos, room, &encoded);
    else if ((world->decodingFlags & (STRICT_ENCODING_DECODING_RULES | AUTOMATIC_ENCDEC)) != 0)
        raise(world, Msg::kEmptyOpenType, longValue(0));
    value->pduNum = 0;
    value->length = static_cast<QorULong>(size);
    value->encoded = encoded;
    value->decoded = nullptr;
    if ((world->presetDecFlags & QOR_PRESET_OPEN_TYPE_USER_FIELD) != 0)
        static_cast<QorOpenTypeUser *>(record)->userField = world->privateArea->cppPointer;
    return size;
}

// Generated code of an older release passes 0 here whether or not a value
// follows, so for it a value is always read, and end-of-contents where the
// value should be is an empty open type.
QorLong _qor_dec_new_opentype(QorGlobal *world, unsigned char **pos, QorLong *room,
                              QorLong length, QorNewOpenType *record)
{
    const QorXapiEntries *entries = world->privateArea->xapiEntries;
    const bool absentByLength = entries != nullptr && entries->xapiVersion >= kAbsentByLength;
    unsigned char *encoded = nullptr;
    QorLong size = 0;
    if (absentByLength) {
        if (length != 0 && !(length < 0 && atEndOfContents(world, *pos, *room)))
            size = keepItem(world, pos, room, &encoded);
    } else {
        raiseIf(world, length <= 0 && atEndOfContents(world, *pos, *room), Msg::kEmptyOpenType, 0);
        size = keepItem(world, pos, room, &encoded);
    }
    record->length = static_cast<QorULong>(size);
    record->encoded = encoded;
    return size;
}

QorLong _qor_encd_uany(QorGlobal *world, unsigned char **pos, QorLong *room,
                       const unsigned char *data, QorLong length)
{
    raiseIf(world, length < 0, Msg::kMisencoded, length);
    raiseIf(world, length == 0, Msg::kEmptyAny, 0);
    raiseIf(world, data == nullptr, Msg::kNullInput, 0);
    return _qor_write_bytes_d(world, pos, room, data, length);
}

// As an open type, but an ANY is never absent: no value, or end-of-contents
// where it should be, is an empty ANY.
QorLong _qor_dec_uany(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                      unsigned char **out)
{
    if (length == 0 || (length < 0 && atEndOfContents(world, *pos, *room)))
        raise(world, Msg::kEmptyAny, longValue(0));
    return keepItem(world, pos, room, out);
}

// Writes the contents of the kept encoding; generated code writes the tag
// and length.
QorLong _qor_encd_defer(QorGlobal *world, unsigned char **pos, QorLong *room, const void *record)
{
    raiseIf(world, record == nullptr, Msg::kNullInput, 0);
    const auto *value = static_cast<const QorOpenType *>(record);
    raiseIf(world, value->length == 0, Msg::kDeferredWithoutLength, 0);
    checkStoredSize(world, value->length, value->encoded);
    QorLong contents;
    const unsigned char *p =
        storedContents(world, value->encoded, static_cast<QorLong>(value->length), &contents);
    return _qor_write_bytes_d(world, pos, room, p, contents);
}

// With `tag` 0 generated code has read nothing of the component, and the
// whole item at *pos is kept. Otherwise it has read the tag, given here
// packed with `constructed` apart, and the length; the kept encoding is
// that tag and length rebuilt, then the contents, and for the indefinite
// form the end-of-contents octets.
QorLong _qor_dec_defer(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                       void *record, QorULong tag, int constructed)
{
    auto *value = static_cast<QorOpenType *>(record);
    unsigned char *encoded = nullptr;
    QorLong size;
    if (tag == 0) {
        size = keepItem(world, pos, room, &encoded);
    } else {
        raiseIf(world, length < 0 && constructed == 0, Msg::kIndefinitePrimitive, 0);
        unsigned char header[16];
        unsigned char *end = putPackedTag(header, tag, constructed != 0);
        if (length < 0)
            *end++ = 0x80;
        else
            end = putLength(end, length);
        auto headerSize = static_cast<QorLong>(end - header);
        unsigned char *p = *pos;
        QorLong left = *room;
        _qor_skip_past_item(world, &p, &left, length);
        QorLong contents = *room - left;
        raiseIf(world, contents > INT32_MAX - headerSize, Msg::kLengthTooLong, contents);
        size = headerSize + contents;
        encoded = static_cast<unsigned char *>(_qor_dec_getmem_internal(world, size));
        memcpy(encoded, header, static_cast<size_t>(headerSize));
        memcpy(encoded + headerSize, *pos, static_cast<size_t>(contents));
        *pos = p;
        *room = left;
    }
    value->pduNum = 0;
    value->length = static_cast<QorULong>(size);
    value->encoded = encoded;
    value->decoded = nullptr;
    return size;
}

// One unknown extension addition, read whole from where its tag began, into
// the chain's last record; a fresh empty record of temporary memory becomes
// the last. Generated code carries on from after the addition.
void _qor_dec_rsf_ext(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                      QorExtensionAddition **chain, unsigned char **savedPos, QorLong *savedRoom,
                      QorLong *count)
{
    QorExtensionAddition *record = *chain;
    raiseIf(world, record == nullptr, Msg::kNullInput, 0);
    unsigned char *value = nullptr;
    record->length = _qor_dec_uany(world, savedPos, savedRoom, length, &value);
    record->value = value;
    auto *next = static_cast<QorExtensionAddition *>(
        _qor_dec_gettempmem(world, static_cast<QorLong>(sizeof(QorExtensionAddition))));
    memset(next, 0, sizeof *next);
    next->prev = record;
    record->next = next;
    *chain = next;
    ++*count;
    *pos = *savedPos;
    *room = *savedRoom;
}

// Releases `record` and every record after it, newest first, as temporary
// memory goes back; the octets they point at belong to the decoded value.
void _qor_free_rsf_ext(QorGlobal *world, QorExtensionAddition *record)
{
    if (record == nullptr)
        return;
    record->prev = nullptr;
    QorExtensionAddition *last = record;
    while (last->next != nullptr)
        last = last->next;
    while (last != nullptr) {
        QorExtensionAddition *prev = last->prev;
        _qor_dec_freetempmem(world, last);
        last = prev;
    }
}

} // extern "C"

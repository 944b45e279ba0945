/* OerBits, OerTexts and OerLeaves in OER, written as generated code would
 * be: each field by the primitive of its memory form, lengths by the byte
 * writers where a primitive leaves them to the caller. */
#include <stddef.h>
#include <string.h>

#include "testschema.h"

enum { MSG_PDU_RANGE = 3, MSG_SIZE_EXCEEDED = 79, MSG_MISENCODED = 106 };
enum { KIND_TIME = 14, KIND_DATE = 31, KIND_TIME_OF_DAY = 32, KIND_DATE_TIME = 33, KIND_DURATION = 34 };
enum { NAMED_CAPACITY = 8, WORD_BITS = 16, BLOCK_BITS = 20, FIXED_BITS = 12, FLAGS_CAPACITY = 24,
       MASK_CAPACITY = 16, TAIL_CAPACITY = 32, RAW_OCTETS = 4, CODE_SIZE = 5, ID_CAPACITY = 8,
       SHORT_PATH_CAPACITY = 16 };

static unsigned char anyBits[] = {0xA5, 0x5A, 0xC0};
static unsigned char flagBits[] = {0x80, 0x00, 0x40};
static OerBitRecord tailExample = {10, {0x12, 0x40}};
OerBits oerBitsExample = {0xA5, 0xE000, {0xDE, 0xAD, 0xB0}, {0x60}, {0xAB, 0xC0},
                          {18, anyBits}, {18, flagBits}, {3, {0xE0}}, &tailExample,
                          {9, {0xFF, 0x80}}};

static unsigned char noteText[] = "note";
static uint16_t bmpChars[] = {0x41, 0x3A9};
static QorULong uniChars[] = {0x1F600, 0x42};
static uint16_t utf16Chars[] = {0xE9, 0x20AC, 0x7A};
static QorULong utf32Chars[] = {0x10348, 0x41};
OerTexts oerTextsExample = {{'A', 'B', 'C', ' ', ' '}, {'x', 'y', 'z'}, {4, noteText},
                            {2, bmpChars}, {3, utf16Chars}, {2, uniChars}, {2, utf32Chars},
                            {0x3B1, 0x3B2}, {0x10000, 0x61}};

static struct {
    uint16_t count;
    uint16_t value[3];
} shortIdExample = {3, {2, 5, 4}};
static QorObjidNode pathArcs[3] = {{&pathArcs[1], 1}, {&pathArcs[2], 3}, {NULL, 6}};
static QorObjidNodeShort shortPathArcs[2] = {{&shortPathArcs[1], 0}, {NULL, 9}};
static QorULong wideArcs[] = {2, 999, 4294967295u};
static unsigned char relativeOctets[] = {0x81, 0x00, 0x05};
OerLeaves oerLeavesExample = {
    {4, {1, 2, 840, 113549}}, (OerShortOid *)&shortIdExample, pathArcs, shortPathArcs,
    {3, wideArcs}, {3, relativeOctets}, 1.5, -0.25f, " 12,5E-1",
    {1, {.decimal = {NULL, "1E999"}}}, {2001, 2, 3, 4, 5, 6, 500, 0, 1}, {1999, 12, 31, 23, 59, 58, 0, -90, 0},
    "2001-02-03", "04:05:06", "2001-02-03T04:05:06", "P1Y2M", "2001-W05"};

static void encodeBits(QorGlobal *world, const OerBits *v)
{
    const unsigned char word[2] = {(unsigned char)(v->word >> 8), (unsigned char)v->word};
    QorULong named = NAMED_CAPACITY;
    while (named > 0 && (v->named[0] & (0x100 >> named)) == 0)
        named--;
    _qor_oenc_bit_padded(world, &v->byte, 8);
    _qor_oenc_bit_padded(world, word, WORD_BITS);
    _qor_oenc_bit_padded(world, v->block, BLOCK_BITS);
    _qor_oenc_bit_padded(world, v->named, named);
    _qor_oenc_bit_unbounded_fixed(world, v->fixed, FIXED_BITS, FIXED_BITS);
    _qor_oenc_bit_unbounded(world, v->any.value, v->any.count);
    _qor_oenc_bit_unbounded(world, v->flags.value, v->flags.count);
    _qor_oenc_bit_unbounded(world, v->mask.value, v->mask.count);
    _qor_oenc_bit_unbounded(world, v->tail->value, v->tail->count);
    _qor_oenc_bit_unbounded(world, v->raw.value, v->raw.count);
}

static void *decodeBits(QorGlobal *world)
{
    OerBits *v = (OerBits *)_qor_dec_getmem(world, sizeof(OerBits));
    QorULong length;
    v->byte = (unsigned char)_qor_odec_bit_padded(world, 8);
    v->word = (unsigned short)_qor_odec_named_bit_padded(world, WORD_BITS);
    _qor_odec_bit_big_padded(world, v->block, BLOCK_BITS);
    _qor_odec_named_bit_big_padded(world, v->named, NAMED_CAPACITY);
    _qor_odec_read_octets(world, v->fixed, sizeof v->fixed);
    v->any.count = _qor_odec_bit_unbounded(world, &v->any.value);
    v->flags.count = _qor_odec_named_bit_unbounded(world, &v->flags.value, FLAGS_CAPACITY);
    v->mask.count = _qor_odec_named_bit_varying(world, v->mask.value, MASK_CAPACITY);
    {
        void *record = NULL;
        const QorULong count = _qor_odec_named_bit_varying_ptr(world, &record,
                                                               offsetof(OerBitRecord, value),
                                                               TAIL_CAPACITY);
        v->tail = (OerBitRecord *)record;
        v->tail->count = count;
    }
    length = _qor_odec_length(world);
    if (length == 0)
        _qor_enc_error(world, MSG_MISENCODED, 0);
    if (length - 1 > RAW_OCTETS)
        _qor_enc_error(world, MSG_SIZE_EXCEEDED, (QorLong)length);
    v->raw.count = _qor_odec_bits_by_len(world, v->raw.value, length - 1);
    return v;
}

static QorULong trimmed(const char *text, QorULong size)
{
    while (size > 1 && text[size - 1] == ' ')
        size--;
    return size;
}

static void encodeTexts(QorGlobal *world, const OerTexts *v)
{
    const QorULong code = trimmed(v->code, CODE_SIZE);
    _qor_oenc_octet_length(world, code);
    _qor_oenc_append_bytes(world, v->code, code);
    _qor_oenc_append_bytes(world, v->tag, sizeof v->tag);
    _qor_oenc_octet_length(world, v->note.length);
    _qor_oenc_append_bytes(world, v->note.value, v->note.length);
    _qor_oenc_octet_length(world, 2 * v->bmp.count);
    _qor_oenc_bmpstr(world, v->bmp.value, v->bmp.count);
    _qor_oenc_octet_length(world, 4 * v->uni.count);
    _qor_oenc_unistr(world, v->uni.value, v->uni.count);
    _qor_oenc_bmpstr(world, v->pair, 2);
    _qor_oenc_unistr(world, v->quad, 2);
    _qor_oenc_utf8_string_bmp(world, v->utf16.value, v->utf16.count);
    _qor_oenc_utf8_string_universal(world, v->utf32.value, v->utf32.count);
}

static void *decodeTexts(QorGlobal *world)
{
    OerTexts *v = (OerTexts *)_qor_dec_getmem(world, sizeof(OerTexts));
    _qor_odec_string_padded(world, v->code, CODE_SIZE);
    _qor_odec_read_octets(world, v->tag, sizeof v->tag);
    v->note.length = _qor_odec_string_unbounded(world, &v->note.value);
    v->bmp.count = _qor_odec_bmp_string(world, &v->bmp.value);
    v->uni.count = _qor_odec_universal_string(world, &v->uni.value);
    _qor_odec_fixed_bmp_string(world, v->pair, 2);
    _qor_odec_fixed_universal_string(world, v->quad, 2);
    v->utf16.count = _qor_odec_utf8_string_bmp(world, &v->utf16.value);
    v->utf32.count = _qor_odec_utf8_string_universal(world, &v->utf32.value);
    return v;
}

static void encodeLeaves(QorGlobal *world, const OerLeaves *v)
{
    _qor_oenc_oid_array_i(world, v->id.value, v->id.count);
    _qor_oenc_oid_array_s(world, v->shortId->value, v->shortId->count);
    _qor_oenc_oid_linked_i(world, v->path, offsetof(QorObjidNode, value));
    _qor_oenc_oid_linked_s(world, v->shortPath, offsetof(QorObjidNodeShort, value));
    _qor_oenc_oid_unbounded_l(world, v->wide.value, v->wide.count);
    _qor_oenc_octet_length(world, (QorULong)v->relative.length);
    _qor_oenc_append_bytes(world, v->relative.value, (QorULong)v->relative.length);
    _qor_oenc_real(world, v->ratio);
    _qor_oenc_real(world, v->small);
    _qor_oenc_real_decimal(world, v->text);
    if (v->mixed.kind == 0)
        _qor_oenc_real(world, v->mixed.value.binary);
    else
        _qor_oenc_real_decimal(world, v->mixed.value.decimal.text);
    _qor_oenc_gtime(world, &v->when);
    _qor_oenc_utime(world, &v->day);
    _qor_oenc_date_time(world, v->date, KIND_DATE);
    _qor_oenc_date_time(world, v->clock, KIND_TIME_OF_DAY);
    _qor_oenc_date_time(world, v->stamp, KIND_DATE_TIME);
    _qor_oenc_date_time(world, v->span, KIND_DURATION);
    _qor_oenc_date_time(world, v->moment, KIND_TIME);
}

static void *decodeLeaves(QorGlobal *world)
{
    OerLeaves *v = (OerLeaves *)_qor_dec_getmem(world, sizeof(OerLeaves));
    char *text;
    v->id.count = (uint16_t)_qor_odec_oid_array_i(world, v->id.value, ID_CAPACITY);
    v->shortId = (OerShortOid *)_qor_odec_oid_array_s_ptr(world, offsetof(OerShortOid, value));
    _qor_odec_oid_linked_i(world, &v->path, 0);
    _qor_odec_oid_linked_s(world, &v->shortPath, SHORT_PATH_CAPACITY);
    v->wide.count = (uint16_t)_qor_odec_oid_unbounded_l(world, &v->wide.value);
    v->relative.length = _qor_odec_oid_encoded(world, &v->relative.value, 0);
    v->ratio = _qor_odec_real_double(world);
    v->small = _qor_odec_real_float(world);
    v->text = _qor_odec_real_decimal(world);
    _qor_odec_real_mixed(world, &v->mixed);
    _qor_odec_gtime(world, &v->when);
    _qor_odec_utime(world, &v->day);
    _qor_odec_date_time(world, &text, KIND_DATE);
    v->date = text;
    _qor_odec_date_time(world, &text, KIND_TIME_OF_DAY);
    v->clock = text;
    _qor_odec_date_time(world, &text, KIND_DATE_TIME);
    v->stamp = text;
    _qor_odec_date_time(world, &text, KIND_DURATION);
    v->span = text;
    _qor_odec_date_time(world, &text, KIND_TIME);
    v->moment = text;
    return v;
}

void leavesOerEncode(QorGlobal *world, int pdunum, const void *value)
{
    switch (pdunum) {
    case PDU_OerBits:
        encodeBits(world, (const OerBits *)value);
        break;
    case PDU_OerTexts:
        encodeTexts(world, (const OerTexts *)value);
        break;
    case PDU_OerLeaves:
        encodeLeaves(world, (const OerLeaves *)value);
        break;
    default:
        _qor_enc_error(world, MSG_PDU_RANGE, pdunum);
    }
}

void *leavesOerDecode(QorGlobal *world, int pdunum)
{
    switch (pdunum) {
    case PDU_OerBits:
        return decodeBits(world);
    case PDU_OerTexts:
        return decodeTexts(world);
    case PDU_OerLeaves:
        return decodeLeaves(world);
    default:
        _qor_enc_error(world, MSG_PDU_RANGE, pdunum);
    }
}

static void freeList(QorGlobal *world, void *node)
{
    while (node != NULL) {
        void *next = *(void **)node;
        _qor_dec_free(world, node);
        node = next;
    }
}

/* The decoder frees what a failed decode took; a value decoded whole has
 * every pointer set or null. */
void leavesOerFree(QorGlobal *world, int pdunum, void *value)
{
    if (pdunum == PDU_OerBits) {
        OerBits *v = (OerBits *)value;
        _qor_dec_free(world, v->any.value);
        _qor_dec_free(world, v->flags.value);
        _qor_dec_free(world, v->tail);
    } else if (pdunum == PDU_OerTexts) {
        OerTexts *v = (OerTexts *)value;
        _qor_dec_free(world, v->note.value);
        _qor_dec_free(world, v->bmp.value);
        _qor_dec_free(world, v->uni.value);
        _qor_dec_free(world, v->utf16.value);
        _qor_dec_free(world, v->utf32.value);
    } else if (pdunum == PDU_OerLeaves) {
        OerLeaves *v = (OerLeaves *)value;
        _qor_dec_free(world, v->shortId);
        freeList(world, v->path);
        freeList(world, v->shortPath);
        _qor_dec_free(world, v->wide.value);
        _qor_dec_free(world, v->relative.value);
        _qor_dec_free(world, (void *)v->text);
        _qor_dec_free(world, (void *)v->mixed.value.decimal.text);
        _qor_dec_free(world, (void *)v->date);
        _qor_dec_free(world, (void *)v->clock);
        _qor_dec_free(world, (void *)v->stamp);
        _qor_dec_free(world, (void *)v->span);
        _qor_dec_free(world, (void *)v->moment);
    }
    _qor_dec_free(world, value);
}

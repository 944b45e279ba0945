/* Gauges in aligned and unaligned PER, written as generated code would be:
 * each whole number by the form its range picks, the ENUMERATED through its
 * tables, the strings through descriptors, and the list in fragments. */
#include <stdint.h>

#include "testschema.h"

enum {
    MSG_VALUE_OUT_OF_BOUNDS = 10,
    MSG_RANGE_VIOLATED = 22,
    MSG_LIST_SIZE_VIOLATED = 28,
    MSG_END_OF_INPUT = 45
};

/* word: -1000..60000, 61001 values. */
enum { WORD_LB = -1000, WORD_UB = 60000 };
/* offset: -100..MAX. */
enum { OFFSET_LB = -100 };
/* list: SIZE (0..100000). An upper bound from 64K on gives the general
 * length, in fragments from 16K items on; this one lets a list of 70000
 * be a value. */
enum { LIST_MAX = 100000, FRAGMENT_UNIT = 16384 };

/* wide: 0..4294967295, all of QorULong. */
#define WIDE_UB ((QorLong)UINT32_MAX)

/* level ENUMERATED { a, b, c, ..., d, e }: the additions end with the base
 * of values this version doesn't know. */
static const QorLong levelRootValues[] = {GaugeLevel_a, GaugeLevel_b, GaugeLevel_c};
static const QorLong levelAdditionValues[] = {GaugeLevel_d, GaugeLevel_e, -1};
static const QorEnumTable levelRoot = {3, levelRootValues};
static const QorEnumTable levelAdditions = {3, levelAdditionValues};

/* code: IA5String (FROM ("A".."Z")) (SIZE (1..8)). 26 characters need 5
 * bits: aligned PER rounds that to 8 and sends the code, as "Z" fits in
 * 8 bits; unaligned PER sends the index in 5. */
static const char upperChars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
static const unsigned char upperIndexes[128] = {
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255,   0,   1,   2,   3,   4,   5,   6,   7,   8,   9,  10,  11,  12,  13,  14,
     15,  16,  17,  18,  19,  20,  21,  22,  23,  24,  25, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
const QorPermittedAlphabet upperAlphabet = {26, upperChars, upperIndexes, 0};
static const QorStringDescriptor codeString = {&upperAlphabet, 1, 8, 8, 0x88 | (5 << 8)};

/* digits: NumericString (SIZE (1..10)), " 0".."9", the index in 4 bits in both. */
static const char numericChars[] = " 0123456789";
static const unsigned char numericIndexes[128] = {
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
      0, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
      1,   2,   3,   4,   5,   6,   7,   8,   9,  10, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
const QorPermittedAlphabet numericAlphabet = {11, numericChars, numericIndexes, 0};
static const QorStringDescriptor digitsString = {&numericAlphabet, 1, 10, 10, 4 | (4 << 8)};

/* note: VisibleString, the code in 8 bits aligned and 7 unaligned. */
static const QorStringDescriptor noteString = {NULL, 1, 0, 0, 0x88 | (0x87 << 8)};

static unsigned char exampleHuge[9] = {0x01, 0, 0, 0, 0, 0, 0, 0, 0}; /* 2^64 */
static unsigned char exampleList[3] = {0, 127, 255};
static char exampleCode[] = "QOR", exampleDigits[] = "12345", exampleNote[] = "Hi";
Gauges gaugesExample = {Gauges_note_present, 5, 200, 1234, 256, 1000, 128, 8, -2,
                        {9, exampleHuge}, GaugeLevel_d, exampleCode, exampleDigits, exampleNote,
                        {3, exampleList}};

/* Encoding, first component first. */

static void encodeString(QorGlobal *world, const char *text, const QorStringDescriptor *desc)
{
    QorULong count = 0;
    if (text == NULL)
        text = "";
    while (text[count] != '\0')
        count++;
    _qor_penc_kmstr(world, text, count, desc, 0);
}

/* The list's length in parts: a part of whole fragments is followed by
 * another length, a zero one when nothing is left. */
static void encodeList(QorGlobal *world, const Gauges *v)
{
    QorULong written = 0;
    if (v->list.count > LIST_MAX)
        _qor_enc_error(world, MSG_LIST_SIZE_VIOLATED, (QorLong)v->list.count);
    for (;;) {
        QorULong part = _qor_penc_length_l(world, v->list.count - written, 0, LIST_MAX, 0);
        QorULong i;
        for (i = 0; i < part; i++)
            _qor_append_8bit_aligned(world, v->list.value[written + i]);
        written += part;
        if (part < FRAGMENT_UNIT)
            break;
    }
}

void gaugesPerEncode(QorGlobal *world, const Gauges *v)
{
    const int aligned = world->perAligned;
    _qor_penc_nonneg_1int(world, v->bit_mask & Gauges_note_present);

    if (v->tiny > 7)
        _qor_enc_error(world, MSG_RANGE_VIOLATED, v->tiny);
    _qor_penc_nonneg_3int(world, v->tiny);

    _qor_append_8bit_aligned(world, v->octet); /* 256 values: one octet */

    if (v->word < WORD_LB || v->word > WORD_UB)
        _qor_enc_error(world, MSG_RANGE_VIOLATED, v->word);
    if (aligned) /* up to 64K values: two octets; unaligned, as many bits as the range needs */
        _qor_penc_int16_aligned(world, (QorULong)(v->word - WORD_LB));
    else
        _qor_penc_nonneg_int_l(world, (QorULong)(v->word - WORD_LB), 16);

    /* Beyond 64K values: aligned PER counts the octets in two bits, as up to
     * four can follow; unaligned PER writes the range's 32 bits. */
    if (aligned)
        _qor_penc_indeflen_int_l(world, v->wide, 4);
    else
        _qor_penc_nonneg_int(world, v->wide, 32);

    if (v->offset < OFFSET_LB)
        _qor_enc_error(world, MSG_RANGE_VIOLATED, v->offset);
    _qor_penc_semicon_int_l(world, v->offset, OFFSET_LB);

    _qor_penc_unconstr_int_l(world, v->any);

    /* In the root: a 0 bit and three; outside: a 1 bit and the unconstrained form. */
    if (v->ext >= 0 && v->ext <= 7) {
        _qor_penc_nonneg_1int(world, 0);
        _qor_penc_nonneg_3int(world, (QorULong)v->ext);
    } else {
        _qor_penc_nonneg_1int(world, 1);
        _qor_penc_unconstr_int_l(world, v->ext);
    }

    /* The whole of int64_t: 2^64 values, eight octets at most, counted in
     * three bits under aligned PER; 64 bits under unaligned PER. */
    if (aligned)
        _qor_penc_indeflen_int(world, (uint64_t)v->big - (uint64_t)INT64_MIN, 8);
    else
        _qor_penc_nonneg_int(world, (uint64_t)v->big - (uint64_t)INT64_MIN, 64);

    _qor_penc_unconstr_huge_ia(world, v->huge.value, v->huge.length);
    _qor_penc_enum(world, v->level, &levelRoot, &levelAdditions);
    encodeString(world, v->code, &codeString);
    encodeString(world, v->digits, &digitsString);
    if (v->bit_mask & Gauges_note_present)
        encodeString(world, v->note, &noteString);
    encodeList(world, v);
}

/* Decoding. */

/* A field of 256 values: an octet, at a boundary in aligned PER. */
static unsigned char decodeOctet(QorGlobal *world)
{
    unsigned char octet;
    _qor_get_bits(world, &octet, 8, 1);
    return octet;
}

/* A field of 257 to 64K values in aligned PER: two octets at a boundary,
 * then the bound, as no limited reader takes that form. */
static QorLong decodeWord(QorGlobal *world)
{
    unsigned char octets[2];
    QorLong offset;
    if (!world->perAligned)
        return WORD_LB + (QorLong)_qor_pdec_nonneg_limited_int_l(world, 16, WORD_LB, WORD_UB);
    _qor_get_bits(world, octets, 16, 1);
    offset = (QorLong)(octets[0] << 8 | octets[1]);
    if (offset > WORD_UB - WORD_LB)
        _qor_enc_error(world, MSG_VALUE_OUT_OF_BOUNDS, offset + WORD_LB);
    return offset + WORD_LB;
}

/* Memory for each part is taken only when the input holds its items, one
 * octet each. */
static void decodeList(QorGlobal *world, Gauges *v)
{
    void *array = NULL;
    QorULong total = 0;
    unsigned char done = 0;
    while (!done) {
        QorULong part = _qor_pdec_length(world, 0, LIST_MAX, &done);
        uint64_t bitsLeft = world->inRoom > 0 ? (uint64_t)world->inRoom * 8 - world->bitOffset : 0;
        unsigned char *items;
        QorULong i;
        if (total + part > LIST_MAX)
            _qor_enc_error(world, MSG_LIST_SIZE_VIOLATED, (QorLong)(total + part));
        if (part > bitsLeft / 8)
            _qor_enc_error(world, MSG_END_OF_INPUT, 0);
        _qor_pdec_unbnd_frg(world, &array, total + part, total, &done);
        items = (unsigned char *)array;
        for (i = 0; i < part; i++)
            items[total + i] = decodeOctet(world);
        total += part;
    }
    v->list.value = (unsigned char *)array;
    v->list.count = total;
}

void *gaugesPerDecode(QorGlobal *world)
{
    const int aligned = world->perAligned;
    Gauges *v = (Gauges *)_qor_dec_getmem(world, sizeof(Gauges));
    if (_qor_pdec_nonneg_1int(world))
        v->bit_mask |= Gauges_note_present;
    v->tiny = (unsigned char)_qor_pdec_nonneg_limited_int_l(world, 3, 0, 7);
    v->octet = decodeOctet(world);
    v->word = decodeWord(world);
    if (aligned)
        v->wide = (QorULong)_qor_pdec_indeflen_limited_int_l(world, 4, 0, 0, WIDE_UB);
    else
        v->wide = _qor_pdec_nonneg_limited_int_l(world, 32, 0, WIDE_UB);
    v->offset = _qor_pdec_semicon_limited_int_l(world, OFFSET_LB, OFFSET_LB, INT32_MAX);
    v->any = _qor_pdec_unconstr_limited_int_l(world, INT32_MIN, INT32_MAX);
    if (_qor_pdec_nonneg_1int(world) == 0)
        v->ext = (QorLong)_qor_pdec_nonneg_limited_int_l(world, 3, 0, 7);
    else
        v->ext = _qor_pdec_unconstr_limited_int_l(world, INT32_MIN, INT32_MAX);
    if (aligned)
        v->big = _qor_pdec_indeflen_limited_int(world, 8, INT64_MIN, INT64_MIN, INT64_MAX);
    else
        v->big = (int64_t)((uint64_t)INT64_MIN +
                           _qor_pdec_nonneg_limited_int(world, 64, INT64_MIN, INT64_MAX));
    v->huge.length = _qor_pdec_unconstr_huge_ia(world, &v->huge.value);
    v->level = (int)_qor_pdec_enum(world, &levelRoot, &levelAdditions);
    _qor_pdec_ntp_kmstr(world, &v->code, &codeString);
    _qor_pdec_ntp_kmstr(world, &v->digits, &digitsString);
    if (v->bit_mask & Gauges_note_present)
        _qor_pdec_ntp_kmstr(world, &v->note, &noteString);
    decodeList(world, v);
    return v;
}

void gaugesFree(QorGlobal *world, Gauges *v)
{
    _qor_dec_free(world, v->huge.value);
    _qor_dec_free(world, v->code);
    _qor_dec_free(world, v->digits);
    _qor_dec_free(world, v->note);
    _qor_dec_free(world, v->list.value);
    _qor_dec_free(world, v);
}

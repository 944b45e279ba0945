/* Widths, Levels, Extended and Nothing in OER, written as generated code
 * would be: each whole number by the form its range picks, ENUMERATED
 * signed or unsigned by its memory, an extension addition behind its
 * length, and a NULL PDU of no octets. */
#include <stdint.h>
#include <string.h>

#include "testschema.h"

enum {
    MSG_PDU_RANGE = 3,
    MSG_VALUE_OUT_OF_BOUNDS = 10,
    MSG_RANGE_VIOLATED = 22,
    MSG_NOT_AN_ENUMERATOR = 36,
    MSG_MISENCODED = 106
};

enum { SPAN_LB = -1000, SPAN_UB = 60000, STEP_LB = -10, STEP_UB = 10 };
enum { EXTENSIONS_PRESENT = 0x80, EMPTY_ENCODING_ALLOWED = 0x1 };

static unsigned char exampleHuge[9] = {0xFE, 0, 0, 0, 0, 0, 0, 0, 0}; /* -2^65 */
static unsigned char exampleTotal[2] = {0x80, 0x01};                  /* 32769 */
Widths widthsExample = {255, 65535, 4294967295u, UINT64_MAX, -128, -32768, INT32_MIN,
                        INT64_MIN, -1000, 128, -129, INT64_MIN, UINT64_MAX, -300, 8,
                        {9, exampleHuge}, {2, exampleTotal}};
Levels levelsExample = {127, -1, 4294967295u};
Extended extendedExample = {Extended_b_present, 5, 1};

/* The eight-octet forms have no primitive: the byte writers take them. */
static void encodeEight(QorGlobal *world, uint64_t v)
{
    unsigned char octets[8];
    int i;
    for (i = 7; i >= 0; i--) {
        octets[i] = (unsigned char)v;
        v >>= 8;
    }
    _qor_oenc_append_bytes(world, octets, 8);
}

static uint64_t decodeEight(QorGlobal *world)
{
    uint64_t high = _qor_odec_uint_4byte(world);
    return high << 32 | _qor_odec_uint_4byte(world);
}

static void encodeWidths(QorGlobal *world, const Widths *v)
{
    _qor_oenc_uint_1byte(world, v->u8);
    _qor_oenc_uint_2byte(world, v->u16);
    _qor_oenc_uint_4byte(world, v->u32);
    encodeEight(world, v->u64);
    _qor_oenc_int_1byte(world, v->s8);
    _qor_oenc_int_2byte(world, v->s16);
    _qor_oenc_int_4byte(world, v->s32);
    encodeEight(world, (uint64_t)v->s64);
    if (v->span < SPAN_LB || v->span > SPAN_UB)
        _qor_enc_error(world, MSG_RANGE_VIOLATED, v->span);
    _qor_oenc_int_4byte(world, v->span);
    _qor_oenc_uint(world, v->natural);
    _qor_oenc_int(world, v->any);
    _qor_oenc_int_ll(world, v->wide);
    _qor_oenc_uint_ll(world, v->count);
    _qor_oenc_int(world, v->step);
    _qor_oenc_int(world, v->ext);
    _qor_oenc_int_h(world, v->huge.value, v->huge.length);
    _qor_oenc_uint_h(world, v->total.value, v->total.length);
}

static void *decodeWidths(QorGlobal *world)
{
    Widths *v = (Widths *)_qor_dec_getmem(world, sizeof(Widths));
    v->u8 = (unsigned char)_qor_odec_uint_1byte(world);
    v->u16 = (unsigned short)_qor_odec_uint_2byte(world);
    v->u32 = _qor_odec_uint_4byte(world);
    v->u64 = decodeEight(world);
    v->s8 = (signed char)_qor_odec_int_1byte(world);
    v->s16 = (short)_qor_odec_int_2byte(world);
    v->s32 = _qor_odec_int_4byte(world);
    v->s64 = (int64_t)decodeEight(world);
    v->span = _qor_odec_int_4byte(world);
    if (v->span < SPAN_LB || v->span > SPAN_UB)
        _qor_enc_error(world, MSG_VALUE_OUT_OF_BOUNDS, v->span);
    v->natural = _qor_odec_uint(world);
    v->any = _qor_odec_int(world);
    v->wide = _qor_odec_int_ll(world);
    v->count = _qor_odec_uint_ll(world);
    v->step = _qor_odec_int_s(world);
    v->ext = _qor_odec_int(world);
    v->huge.length = _qor_odec_int_h(world, &v->huge.value);
    v->total.length = _qor_odec_uint_h(world, &v->total.value);
    return v;
}

/* size and wide: one of their values; sign: any, being extensible. */
static int sizeKnown(QorLong v) { return v == 0 || v == 1 || v == 127; }
static int wideKnown(QorULong v) { return v == 0 || v == 4294967295u; }

static void encodeLevels(QorGlobal *world, const Levels *v)
{
    if (!sizeKnown(v->size))
        _qor_enc_error(world, MSG_NOT_AN_ENUMERATOR, v->size);
    if (!wideKnown(v->wide))
        _qor_enc_error(world, MSG_NOT_AN_ENUMERATOR, (QorLong)v->wide);
    _qor_oenc_enum(world, v->size);
    _qor_oenc_enum(world, v->sign);
    _qor_oenc_uenum(world, v->wide);
}

static void *decodeLevels(QorGlobal *world)
{
    Levels *v = (Levels *)_qor_dec_getmem(world, sizeof(Levels));
    QorLong size = _qor_odec_enum(world);
    if (!sizeKnown(size))
        _qor_enc_error(world, MSG_NOT_AN_ENUMERATOR, size);
    v->size = (int)size;
    v->sign = _qor_odec_enum(world);
    v->wide = _qor_odec_uenum(world);
    if (!wideKnown(v->wide))
        _qor_enc_error(world, MSG_NOT_AN_ENUMERATOR, (QorLong)v->wide);
    return v;
}

/* The preamble's first bit tells that additions follow: a bit map of one
 * bit a known addition, then each present one behind its length. */
static void encodeExtended(QorGlobal *world, const Extended *v)
{
    const unsigned char additions = v->bit_mask & Extended_b_present;
    _qor_oenc_append_byte(world, additions != 0 ? EXTENSIONS_PRESENT : 0);
    _qor_oenc_uint_1byte(world, v->a);
    if (additions != 0) {
        QorOerPosition at;
        _qor_oenc_rsf_ext_bitmask(world, &additions, 1, NULL, 0);
        _qor_oenc_begin_ext(world, &at);
        _qor_oenc_append_byte(world, v->b ? 0xFF : 0x00);
        _qor_oenc_end_ext(world, &at);
    }
}

static void *decodeExtended(QorGlobal *world)
{
    Extended *v = (Extended *)_qor_dec_getmem(world, sizeof(Extended));
    const QorULong preamble = _qor_odec_uint_1byte(world);
    v->a = (unsigned char)_qor_odec_uint_1byte(world);
    if (preamble & EXTENSIONS_PRESENT) {
        const QorULong octets = _qor_odec_length(world);
        QorULong unused;
        uint64_t bits;
        const unsigned char *map;
        if (octets < 1)
            _qor_enc_error(world, MSG_MISENCODED, 0);
        unused = _qor_odec_uint_1byte(world);
        bits = (uint64_t)(octets - 1) * 8 - unused;
        if (unused > 7 || (octets == 1 && unused != 0) || bits > UINT32_MAX)
            _qor_enc_error(world, MSG_MISENCODED, 0);
        map = world->inPos;
        world->inPos += octets - 1;
        if (bits >= 1 && (map[0] & 0x80) != 0) {
            const QorULong length = _qor_odec_length(world);
            const unsigned char *start = world->inPos;
            v->b = _qor_odec_uint_1byte(world) != 0;
            v->bit_mask |= Extended_b_present;
            _qor_odec_check_bytes(world, start, length);
        }
        _qor_odec_skip_unknown(world, map, 1, (QorULong)bits);
    }
    return v;
}

void numbersOerEncode(QorGlobal *world, int pdunum, const void *value)
{
    switch (pdunum) {
    case PDU_Widths:
        encodeWidths(world, (const Widths *)value);
        break;
    case PDU_Levels:
        encodeLevels(world, (const Levels *)value);
        break;
    case PDU_Extended:
        encodeExtended(world, (const Extended *)value);
        break;
    case PDU_Nothing:
        world->outState |= EMPTY_ENCODING_ALLOWED;
        break;
    default:
        _qor_enc_error(world, MSG_PDU_RANGE, pdunum);
    }
}

void *numbersOerDecode(QorGlobal *world, int pdunum)
{
    switch (pdunum) {
    case PDU_Widths:
        return decodeWidths(world);
    case PDU_Levels:
        return decodeLevels(world);
    case PDU_Extended:
        return decodeExtended(world);
    case PDU_Nothing:
        return _qor_dec_getmem(world, sizeof(Nothing));
    default:
        _qor_enc_error(world, MSG_PDU_RANGE, pdunum);
    }
}

void numbersFree(QorGlobal *world, int pdunum, void *value)
{
    if (pdunum == PDU_Widths) {
        _qor_dec_free(world, ((Widths *)value)->huge.value);
        _qor_dec_free(world, ((Widths *)value)->total.value);
    }
    _qor_dec_free(world, value);
}

/* qorprim.h: the primitives that generated code calls, and their records.
 * Plain C99. A primitive that fails does not return: it reports through the
 * context and leaves by the non-local exit of the running encode or decode. */
#ifndef QORPRIM_H
#define QORPRIM_H

#include "qorcontrol.h"

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define QOR_NORETURN __attribute__((noreturn))
#else
#define QOR_NORETURN
#endif

/* Wiring, called by the generated init entry. */
void qorLinkBer(QorGlobal *world);
void qorLinkPer(QorGlobal *world);
void qorLinkXer(QorGlobal *world);
void qorLinkOerE(QorGlobal *world);
void qorLinkOerD(QorGlobal *world);
/* Also keeps `exerTables` for the EXER encoder; returns the private area, or
 * null for a null context. */
void *qorLink_Exer(QorGlobal *world, void *exerTables);
void qorLinkZlib(QorGlobal *world);
/* Registers the second half of the control table. Returns 0, or 6 for a null
 * context. */
int qorInitXAPIentries(QorGlobal *world, QorXapiEntries *entries);

/* A nested context for an open type's contents: other rules or a separate
 * output in the middle of a call, sharing its exit and message. It lives in
 * temporary memory; `_qor_epop_global` ends it and returns the outer one. */
QorGlobal *_qor_push_global(QorGlobal *world);
QorGlobal *_qor_epop_global(QorGlobal *nested);

/* A PER open type written in place: the push reserves its length where the
 * cursor is, the pop fills it in once the contents are written (moving
 * them on when the length needs more than one octet). Pairs nest. */
void _qor_fast_push_global(QorGlobal *world);
void _qor_fast_pop_global(QorGlobal *world);

/* Debug output around a PDU, by the context's debug flags; silent in a
 * sizing pass. `pos` and `room` are the output as the encode starts;
 * `value` and `length` of the post hook the BER result (other rules
 * gather their own). A non-zero `error` prints the message. */
void _qor_db_e_pre(QorGlobal *world, int pdunum, void *value, QorLong reserved, unsigned char *pos,
                   QorLong room);
void _qor_db_e_post(QorGlobal *world, int error, unsigned char *value, QorLong length);
void _qor_db_d_pre(QorGlobal *world, unsigned char *data, QorLong length);
void _qor_db_d_post(QorGlobal *world, int error, int pdunum, void **output);

/* Generated code refers to this so that a link against another platform's
 * run-time library fails. */
void _qor_run_KROD_on_X86_64_LINUX(void);

/* Raising an error: `message` is a number of the message catalogue (0 to 307);
 * the exit value is the message's return code. None of these returns. */
QOR_NORETURN void _qor_enc_error(QorGlobal *world, int message, QorLong value);
QOR_NORETURN void _qor_enc_llerror(QorGlobal *world, int message, QorLong low, QorLong high);
QOR_NORETURN void _qor_krod_error(QorGlobal *world, int message, const char *value);
QOR_NORETURN void _qor_krod_real_error(QorGlobal *world, int message, double value);
/* `data` is shown as hexadecimal under messages 22 and 23, else as text. */
QOR_NORETURN void _qor_unbnd_error(QorGlobal *world, int message, const void *data, QorLong length);
/* For drivers, before an exit frame exists: makes the message and returns its
 * return code. */
int _qor_krod_api_error(QorGlobal *world, int message, QorLong value);

/* BER output, written backwards: the octets go just below `*pos`. Returns
 * `length`. */
QorLong _qor_write_bytes_d(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                           QorLong length);
/* Gathers the library's output blocks into one buffer from `userMalloc`;
 * `room` is what is left in the newest block. */
void _qor_set_outmem_d(QorGlobal *world, QorLong room, QorLong *lengthOut, unsigned char **valueOut);

/* Decoder output memory: from the caller's buffer, or from `userMalloc` with
 * every piece listed so that a failed decode frees them all. */
void *_qor_dec_getmem(QorGlobal *world, QorLong size);          /* rounded to 8, cleared */
void *_qor_dec_getmem_internal(QorGlobal *world, QorLong size); /* rounded to 8 */
void *_qor_dec_getfixmem(QorGlobal *world, QorLong size);       /* exact size */
void _qor_dec_free(QorGlobal *world, void *p);
void _qor_free_creal(QorGlobal *world, void *p); /* the same function */

/* Forward output (PER, OER, XML): gather the blocks into one buffer, or
 * finish the caller's buffer; `flags` may ask for BACK_ALIGN. */
void _qor_set_outmem_p(QorGlobal *world, QorLong *lengthOut, unsigned char **valueOut);
void _qorSetOutMemQueue(QorGlobal *world, QorLong *lengthOut, unsigned char **valueOut,
                        QorULong flags);

/* SET OF in canonical order (DER and canonical XER): elements are built apart
 * between these calls, then sorted and written. `mask` is ORed into the first
 * octet of each encoding before comparing. */
void _qor_beginBlock(QorGlobal *world, QorLong count, unsigned char **pos, QorLong *room);
void _qor_nextItem(QorGlobal *world, QorLong *room);
void _qor_endBlock(QorGlobal *world, unsigned char **pos, QorLong *room, unsigned char mask);

/* The encoder stack of deferred lengths: frames of a count and 52 words. */
void **_qor_increment_enc_stack(QorGlobal *world);
void **_qor_decrement_enc_stack(QorGlobal *world);
void **_qor_load_enc_stack(QorGlobal *world, int *count);
void _qor_save_enc_stack(QorGlobal *world, int count);

/* Temporary memory of one call, stack-ordered: freeing a piece frees every
 * newer one. */
void *_qor_dec_gettempmem(QorGlobal *world, QorLong size);
void _qor_dec_freetempmem(QorGlobal *world, void *p);

/* Fragment lists for sequences of unknown length, gathered at the end into
 * one piece of decoder memory. */
void *_qor_allocate_memblock(QorGlobal *world, void **current, void **list, QorLong size);
void *_qor_consolidate_memblock_fast(QorGlobal *world, QorLong elemSize, QorLong count,
                                     void *newest, QorLong full, QorLong blocks, QorLong lastCount,
                                     QorLong header);

/* The temporary stack, and alternate decoder memory. */
void _qor_tstk_add_block(QorGlobal *world, QorLong size);
void *_qor_tstk_alloc(QorGlobal *world, QorLong size);
void _qor_tstk_free(QorGlobal *world, void *mark);
void *_qor_tstk_get_altdecmem(QorGlobal *world, QorLong size);
void _qor_tstk_consolidate_altdecmem(QorGlobal *world, void *target, QorLong total, QorLong chunk);
void _qor_tstk_free_altdecmem(QorGlobal *world, void *mark);
/* A text built in fragments under an XML lexer environment (a word of the
 * input, a value's octets): each call gives room for the next `size` octets,
 * the text so far lying right before it, moved whole when it must; the world's
 * `tempMark` marks where the text began. The consolidating form copies `size`
 * octets of the word's text to `target` (the text built in fragments,
 * wherever it moved; with none, the slice of the input at `mark`), gives
 * the stack back to where a built text began and brings the look-ahead tag
 * up to date, as _qor_tlex_free_name does. */
struct QorXmlEnv;
void *_qor_tstk_new_fragment_tag(struct QorXmlEnv *env, QorLong size);
void _qor_tstk_consolidate_array_tag(struct QorXmlEnv *env, void *mark, void *target, QorLong size);

/* BER, DER and CER. Every primitive takes the position and room of the
 * generated code's locals: encoders write below *pos and return the octets
 * written (or counted in sizing mode); decoders read from *pos.
 * Tags: encoders take the tag's octets as a big-endian number, constructed
 * bit included (0x30, 0x9F21); _qor_dec_tag_length expects the octets in
 * stream order from the low byte, without the constructed bit (0x219F for
 * 9F 21); _qor_dec_tag returns the packed form, class in bits 15-14. */
QorLong _qor_encd_tag_length(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                             QorULong tag); /* length -128: the indefinite form, 0x80 */
QorLong _qor_encd_tag_length2(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                              QorULong innerTag, QorULong outerTag);
QorLong _qor_encd_int_tl(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong value,
                         QorULong tag);
QorLong _qor_encd_uint_tl(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong value,
                          QorULong tag);
QorLong _qor_encd_llint_tl(QorGlobal *world, unsigned char **pos, QorLong *room, int64_t value,
                           QorULong tag);
QorLong _qor_encd_ullint_tl(QorGlobal *world, unsigned char **pos, QorLong *room, uint64_t value,
                            QorULong tag);
QorLong _qor_encd_bool_tl(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong tag,
                          char value);
/* A huge integer's contents only, two's complement or unsigned, big-endian. */
QorLong _qor_encd_huge_int_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                              const unsigned char *data, QorLong length);
QorLong _qor_encd_uhuge_int_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                               const unsigned char *data, QorLong length);

QorULong _qor_dec_tag(QorGlobal *world, unsigned char **pos, QorLong *room);
QorLong _qor_dec_length(QorGlobal *world, unsigned char **pos, QorLong *room); /* -1: indefinite */
/* `expected` 0 reads the length alone; returns 0x80 for the indefinite form. */
QorLong _qor_dec_tag_length(QorGlobal *world, unsigned char **pos, QorLong *room,
                            QorULong expected);
/* A negative `length` skips to the matching end-of-contents octets. */
void _qor_skip_past_item(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length);
char _qor_dec_bool(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length);
int16_t _qor_dec_sint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length);
QorLong _qor_dec_iint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length);
int64_t _qor_dec_llint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length);
uint16_t _qor_dec_usint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length);
QorULong _qor_dec_uiint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length);
uint64_t _qor_dec_ullint(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length);
/* A huge integer: its octets in decoder memory through `data`; returns the length. */
QorLong _qor_dec_hint_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         unsigned char **data);

/* REAL in memory: a double, a float, a text ("PLUS_INFINITY",
 * "MINUS_INFINITY", "NOT_A_NUMBER", "-0" or a decimal number), or mixed.
 * Infinities are held as the largest finite values, not-a-number with the
 * sign bit set. */
typedef struct QorMixedReal {
    int kind; /* 0 binary, 1 text */
    union {
        double binary;
        struct {
            void *aligned; /* the word the double stands in */
            const char *text;
        } decimal; /* the text pointer is the union's second word */
    } value;
} QorMixedReal;

QorLong _qor_encd_real(QorGlobal *world, unsigned char **pos, QorLong *room, double value);
QorLong _qor_encd_creal(QorGlobal *world, unsigned char **pos, QorLong *room, const char *text);
QorLong _qor_encd_mreal_ia(QorGlobal *world, unsigned char **pos, QorLong *room, int kind,
                           const void *record);
void _qor_dec_real(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                   double *out);
void _qor_dec_freal(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                    float *out);
void _qor_dec_creal(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                    char **out);
void _qor_dec_mreal_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                       void *record);

/* UTCTime and GeneralizedTime; UTCTime keeps two digits of the year and no
 * fraction. `mindiff` is the offset from UTC in minutes, used without `utc`. */
typedef struct GeneralizedTime {
    int16_t year;
    int16_t month;
    int16_t day;
    int16_t hour;
    int16_t minute;
    int16_t second;
    int16_t millisec;
    int16_t mindiff;
    unsigned char utc;
} GeneralizedTime;

QorLong _qor_encd_utime(QorGlobal *world, unsigned char **pos, QorLong *room,
                        const GeneralizedTime *value);
QorLong _qor_encd_gtime(QorGlobal *world, unsigned char **pos, QorLong *room,
                        const GeneralizedTime *value);
/* Times held as text: `kind` non-zero for UTCTime, 0 for GeneralizedTime (it
 * is the check's `isUTCTime`); `max` above 0 limits the length. */
QorLong _qor_encd_untime(QorGlobal *world, unsigned char **pos, QorLong *room, const char *text,
                         QorLong max, int kind);
void _qor_dec_utime(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                    GeneralizedTime *value);
void _qor_dec_gtime(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                    GeneralizedTime *value);
void _qor_dec_untime(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                     char **out, QorLong max, int kind);
void _qor_check_nullterm_time(QorGlobal *world, const char *text, int isUTCTime);

/* The ASN.1 TIME types (DATE, TIME-OF-DAY, DATE-TIME, DURATION and the
 * general TIME) are held as zero-terminated ISO 8601 text. Generated code
 * and the property checks read the text parsed into a QorDateTimeValue.
 * Each part begins with its `flags`, so that a first byte of 0 tells that the
 * part is absent. */
typedef struct QorDatePart {
    /* 0x80 century, 0x40 year, 0x20 week, 0x10 month, 0x08 day; the low three
     * bits the era: 1 negative (-9999 to -1, century -99 to -1), 2 proleptic
     * (0 to 1581, century 0 to 14), 4 basic (1582 to 9999, century 15 to 99),
     * none for a year or century beyond them. */
    unsigned char flags;
    uint16_t digits; /* written for the year or century, without the sign */
    int32_t year;    /* the year or the century, negative after "-" */
    uint16_t week;
    uint16_t month;
    uint16_t day; /* of the week, of the month, or of the year, by `flags` */
} QorDatePart;

typedef struct QorTimePart {
    /* 0x80 hours, 0x40 minutes, 0x20 seconds, 0x10 a decimal fraction,
     * 0x08 UTC ("Z"), 0x04 a time difference */
    unsigned char flags;
    uint16_t hours;
    uint16_t minutes;
    uint16_t seconds;
    uint16_t fractionDigits;
    uint32_t fraction;
    unsigned char diffFlags; /* 0x80 negative difference, 0x40 its minutes written */
    uint16_t diffHours;
    uint16_t diffMinutes;
} QorTimePart;

typedef struct QorDurationPart {
    /* 0x80 years, 0x40 months, 0x20 weeks, 0x10 days, 0x08 hours,
     * 0x04 minutes, 0x02 seconds, 0x01 a decimal fraction (of the last unit).
     * A unit of value 0 has its bit only when it was the last one read. */
    unsigned char flags;
    unsigned char lastUnit; /* the bit of the last unit read */
    uint32_t years;
    uint32_t months;
    uint32_t weeks;
    uint32_t days;
    uint32_t hours;
    uint32_t minutes;
    uint32_t seconds;
    uint16_t fractionDigits;
    uint32_t fraction;
} QorDurationPart;

/* One element of a TIME value: a time point or a duration, 40 octets. */
typedef union QorTimeElement {
    struct {
        QorDatePart date;
        QorTimePart time;
    } point;
    QorDurationPart duration;
} QorTimeElement;

typedef struct QorDateTimeValue {
    /* 0x80 recurring; 0x40 the first element is a time point, 0x20 the second
     * one is; 0x10 the first is a duration, 0x08 the second one is */
    unsigned char kinds;
    uint16_t recurrenceDigits; /* written after "R" */
    uint32_t recurrences;      /* 0xFFFFFFFF: "R" alone, unlimited */
    QorTimeElement first;
    QorTimeElement second;
} QorDateTimeValue;

/* Parses a TIME text into `value`, which is cleared first. Any fault raises
 * message 72 to 79 or 277 to 279 (code 12), or 147 (code 10) for a number
 * beyond 32 bits, so it runs only inside a call of the library; the two
 * time points of an interval must be in order and alike in composition.
 * Returns 0. */
int _qorGetDateTimeValue(QorGlobal *world, const char *text, QorDateTimeValue *value);
/* Property settings of the TIME types, as bit masks from the compiler, on a
 * parsed value: 0 when it conforms, otherwise 1 with `*message` set to the
 * text that generated code appends to message 270 (an empty or null text
 * adds nothing). `digits` is the year's digit count of Year=L, the
 * fraction's digit count, or the recurrence digits, by the check. */
int _qorChkDateSettings(const QorDateTimeValue *value, unsigned settings, unsigned digits,
                        const char **message);
int _qorChkTimeSettings(const QorDateTimeValue *value, unsigned settings, unsigned digits,
                        const char **message);
int _qorChkDateTimeSettings(const QorDateTimeValue *value, const char **message);
int _qorChkIntervalSettings(const QorDateTimeValue *value, unsigned settings,
                            const char **message);
int _qorChkRecIntervalSettings(const QorDateTimeValue *value, unsigned settings, unsigned digits,
                               const char **message);
int _qorChkNoBasicDateSettings(const QorDateTimeValue *value, unsigned settings, unsigned digits,
                               const char **message);
int _qorChkNoBasicTimeSettings(const QorDateTimeValue *value, unsigned settings, unsigned digits,
                               const char **message);
int _qorChkNoBasicIntervalSettings(const QorDateTimeValue *value, unsigned settings,
                                   unsigned digits, const char **message);
/* The units of a duration (the bits of QorDurationPart's `flags`): 0, or the
 * message index 285 (a required unit missing) or 284 (a forbidden one
 * present) with the unit's word in `*name`. */
int _qorChkDurationComponents(const QorDateTimeValue *value, unsigned required,
                              unsigned forbidden, const char **name);
/* The recurrence digits, not the count, from `lowest` to `highest`; an
 * unlimited value conforms when `highest` is 65535 or more. 1 otherwise, with
 * a null `*message` (or a text of its own for a value that doesn't recur). */
int _qorChkRecurrenceRange(const QorDateTimeValue *value, QorULong lowest, QorULong highest,
                           const char **message);
/* 0 when two parsed values are equal, 1 when not. */
int _qorCmpDTIntervals(const QorDateTimeValue *first, const QorDateTimeValue *second);
/* The order of two single time points or two single durations: -1 the first
 * is earlier or shorter, 0 equal, 1 later or longer; -2 when they can't be
 * compared (other kinds, compositions, time differences or units). */
int _qorDTIntervalsRelation(const QorDateTimeValue *first, const QorDateTimeValue *second);
/* 0 when two TIME texts denote the same value, 1 when not (or when either is
 * no TIME value). Nothing is normalised: "12:00:00.5" differs from
 * "12:00:00.50", and only the units' values count, so "P1Y" equals "P1Y0M". */
int _qor_cmp_date_time(QorGlobal *world, const char *first, const char *second);

/* The TIME types in BER contents. `kind`: 14 TIME and 34 DURATION, written
 * as they stand (DURATION without its leading "P"); 31 DATE, 32 TIME-OF-DAY
 * and 33 DATE-TIME without their "-", ":" and "T". Under DER a TIME or
 * DURATION is first brought to its canonical form: the text parsed as the
 * public conversions (qorStringToTimePoint and kin) parse it and written
 * again as their writers write it under DER; a text they refuse is message
 * 72. Other kinds are message 72, and so is a DATE, TIME-OF-DAY or
 * DATE-TIME of more than 128 octets. The decoder puts back what the encoder
 * took out, into new decoder memory at `*out`: DATE 8 octets, TIME-OF-DAY 6,
 * DATE-TIME 14, else message 72; no octets is message 106. Under DER a TIME
 * or DURATION not in its canonical form is message 276. */
QorLong _qor_encd_date_time(QorGlobal *world, unsigned char **pos, QorLong *room, const char *text,
                            int kind);
void _qor_dec_date_time(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                        char **out, int kind);

/* BER strings, bit strings, object identifiers and open types. Encoders
 * write the contents only and return their octets (a negative count from a
 * bit string tells generated code to use the constructed tag); decoders take
 * the length already read, tell primitive from constructed by `bitOffset`,
 * and return the count in the type's unit. `max` above 0 is a size
 * constraint; below 0 on decoders, the representation's own limit. */
typedef struct QorObjidNode { /* a linked OBJECT IDENTIFIER, 32-bit arcs */
    struct QorObjidNode *next;
    QorULong value;
} QorObjidNode;

typedef struct QorObjidNodeShort { /* the same with 16-bit arcs */
    struct QorObjidNodeShort *next;
    uint16_t value;
} QorObjidNodeShort;

/* A retained unknown extension addition: decoders keep each one, in order, in
 * a chain of these records, whose last record is an empty one. */
typedef struct QorExtensionAddition {
    QorLong length;
    unsigned char *value;
    struct QorExtensionAddition *next;
    struct QorExtensionAddition *prev;
} QorExtensionAddition;

/* The "new" open type: its length and octets; `pduNum` and the decoded value
 * travel as separate arguments. A deferred component uses QorOpenType. */
typedef struct QorNewOpenType {
    QorULong length;
    unsigned char *encoded;
} QorNewOpenType;

QorLong _qor_encd_nstr(QorGlobal *world, unsigned char **pos, QorLong *room, const char *text,
                       QorLong max);
QorLong _qor_encd_pstr(QorGlobal *world, unsigned char **pos, QorLong *room, const char *data,
                       QorLong size);
QorLong _qor_encd_uoct_ia(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                          QorLong length, QorLong max);
QorLong _qor_encd_ustr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                          QorLong length, QorLong max); /* the same function */
QorLong _qor_encd_voct_ia(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                          QorLong length, QorLong max);
QorLong _qor_encd_vstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                          QorLong length, QorLong max); /* the same function */
QorLong _qor_encd_bmpstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                            const uint16_t *data, QorLong count, QorLong max);
QorLong _qor_encd_unistr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                            const QorULong *data, QorLong count, QorLong max);
QorLong _qor_encd_utf8unbound_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                 const unsigned char *data, QorLong length, QorLong max);
QorLong _qor_encd_utf8bmpstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                const uint16_t *data, QorLong count, QorLong max);
QorLong _qor_encd_utf8unistr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                const QorULong *data, QorLong count, QorLong max);
QorLong _qor_encd_ubit_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                          const unsigned char *data, QorLong bits, QorLong max);
QorLong _qor_encd_vbit_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                          const unsigned char *data, QorLong bits, QorLong maxOctets);
QorLong _qor_encd_dubit_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                           const unsigned char *data, QorLong bits, QorLong max, char named);
QorLong _qor_encd_dvbit_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                           const unsigned char *data, QorLong bits, QorLong maxOctets, char named);
/* A named-bit list held from the low end of each octet: up to 32 bits by the
 * address of 1, 2 or 4 octets, more as an array. The `encb` forms keep
 * trailing zero bits. */
QorLong _qor_encd_pbit(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                       QorLong bits);
QorLong _qor_encb_pbit(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                       QorLong bits);
QorLong _qor_encd_pbit_tl(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong value,
                          QorULong size, QorULong tag);
QorLong _qor_encb_pbit_tl(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong value,
                          QorULong size, QorULong tag);
QorLong _qor_encd_eobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                            const unsigned char *data, QorLong length, QorLong max);
QorLong _qor_encd_ereloid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             const unsigned char *data, QorLong length, QorLong max);
QorLong _qor_encd_usobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             const uint16_t *arcs, QorLong count, QorLong max);
QorLong _qor_encd_uiobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             const QorULong *arcs, QorLong count, QorLong max);
QorLong _qor_encd_ulobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             const QorULong *arcs, QorLong count, QorLong max); /* the same */
QorLong _qor_encd_lsobjid(QorGlobal *world, unsigned char **pos, QorLong *room,
                          const QorObjidNodeShort *list, QorLong max);
QorLong _qor_encd_liobjid(QorGlobal *world, unsigned char **pos, QorLong *room,
                          const QorObjidNode *list, QorLong max);
QorLong _qor_encd_llobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             const QorObjidNode *list, QorLong max);
QorLong _qor_encd_opentype(QorGlobal *world, unsigned char **pos, QorLong *room,
                           const void *record);
QorLong _qor_encd_uany(QorGlobal *world, unsigned char **pos, QorLong *room,
                       const unsigned char *data, QorLong length);
QorLong _qor_encd_defer(QorGlobal *world, unsigned char **pos, QorLong *room, const void *record);

QorLong _qor_dec_ustr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         void **out, QorLong max);
QorLong _qor_dec_uoct_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         void **out, QorLong max);
QorLong _qor_dec_vstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         void *out, QorLong max);
QorLong _qor_dec_voct_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         void *out, QorLong max);
QorLong _qor_dec_vstr_ptr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             QorLong length, void **out, QorLong max);
QorLong _qor_dec_voct_ptr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             QorLong length, void **out, QorLong max);
QorLong _qor_dec_nstr(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                      char *out, QorLong max);
QorLong _qor_dec_nstr_ptr(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                          char **out, QorLong max);
QorLong _qor_dec_pstr(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                      char *out, QorLong size);
QorLong _qor_dec_bmpstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                           uint16_t **out, QorLong max);
QorLong _qor_dec_unistr_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                           QorULong **out, QorLong max);
QorLong _qor_dec_utf8unbound_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                QorLong length, unsigned char **out, QorLong max);
QorLong _qor_dec_utf8bmpstr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                               QorLong length, uint16_t **out, QorLong max);
QorLong _qor_dec_utf8unistr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                               QorLong length, QorULong **out, QorLong max);
QorLong _qor_dec_ubit_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         unsigned char **out, QorLong max, int flags);
QorLong _qor_dec_pbit(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                      void *out, QorLong bits, char named);
QorLong _qor_dec_vbit_nz(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         unsigned char *out, QorLong max, char named);
QorLong _qor_dec_vbit_ptr_nz(QorGlobal *world, unsigned char **pos, QorLong *room,
                             QorLong length, unsigned char **out, QorLong max, char named);
/* Encoded object identifiers: `out` is an unsigned char ** when `max` is
 * below 0 (new memory), else the inline array itself. */
QorLong _qor_dec_eobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                           void *out, QorLong max);
QorLong _qor_dec_ereloid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            void *out, QorLong max);
QorLong _qor_dec_uiobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            QorULong **out, QorLong max);
QorLong _qor_dec_ulobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            QorULong **out, QorLong max);
QorLong _qor_dec_usobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            uint16_t **out, QorLong max);
QorLong _qor_dec_aiobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            QorULong *out, QorLong max);
QorLong _qor_dec_alobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            QorULong *out, QorLong max);
QorLong _qor_dec_asobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            uint16_t *out, QorLong max);
QorLong _qor_dec_aiobjid_ptr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                QorLong length, QorULong **out, QorLong max);
QorLong _qor_dec_alobjid_ptr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                QorLong length, QorULong **out, QorLong max);
QorLong _qor_dec_asobjid_ptr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                QorLong length, uint16_t **out, QorLong max);
QorLong _qor_dec_liobjid(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         QorObjidNode **out, QorLong max);
QorLong _qor_dec_lsobjid(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         QorObjidNodeShort **out, QorLong max);
QorLong _qor_dec_llobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            QorObjidNode **out, QorLong max);
/* Open types keep their whole encoding, tag and length included. */
QorLong _qor_dec_opentype(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                          void *record);
QorLong _qor_dec_new_opentype(QorGlobal *world, unsigned char **pos, QorLong *room,
                              QorLong length, QorNewOpenType *record);
QorLong _qor_dec_uany(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                      unsigned char **out);
QorLong _qor_dec_defer(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                       void *record, QorULong tag, int constructed);
void _qor_dec_rsf_ext(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                      QorExtensionAddition **chain, unsigned char **savedPos, QorLong *savedRoom,
                      QorLong *count);
void _qor_free_rsf_ext(QorGlobal *world, QorExtensionAddition *record);

/* Printing primitives. The generated print entry writes names, braces and
 * numbers with qorPrint, new lines with _qor_indent, and one of these for
 * each leaf. Printers cut a leaf at `printChop` characters and mark the cut
 * with "..."; a display string (_qor_getdisp_) is the same text, never cut,
 * in temporary memory that _qor_free_disp gives back. Lengths below 0 count
 * as 0. */
void _qor_indent(QorGlobal *world, int delta); /* a new line; delta 1 after "{", -1 before "}" */
void _qor_prt_bit(QorGlobal *world, const unsigned char *bits, QorLong count); /* '0101 1'B */
/* A bit string held in an unsigned integer of `size` (1, 2, 4 or 8) octets,
 * its first bit the integer's highest. */
void _qor_prt_pbit(QorGlobal *world, const void *value, int size, QorLong count);
void _qor_prt_oct(QorGlobal *world, const unsigned char *data, QorLong length); /* '0AFF'H */
/* Octets in hexadecimal between two texts, either of which may be null. */
void _qor_prt_hex(QorGlobal *world, const char *prefix, const unsigned char *data, QorLong length,
                  const char *suffix);
/* "text", or {"text", {0, 1}} with octets that are not printable as tuples. */
void _qor_prt_char(QorGlobal *world, const char *data, QorLong length);
void _qor_prt_nchar(QorGlobal *world, const char *text);
/* `count` units of `width` octets: 1 UTF-8, 2 and 4 native 16- and 32-bit
 * characters; characters that are not printable ASCII as quadruples. */
void _qor_prt_mbchar(QorGlobal *world, const void *data, QorLong count, int width);
/* { mantissa m, base 2, exponent e } with at most 31 significant bits, or
 * PLUS-INFINITY (at or beyond the largest float), MINUS-INFINITY,
 * NOT-A-NUMBER, -0, 0. */
void _qor_prt_real(QorGlobal *world, double value);
void _qor_prt_creal(QorGlobal *world, const char *text); /* "1.50" as 15E-1; null: NULL */
void _qor_prt_gentime(QorGlobal *world, const GeneralizedTime *value);
void _qor_prt_utctime(QorGlobal *world, const GeneralizedTime *value);
/* One record for each enumerator; the two middle words are the encoders'. */
typedef struct QorEnumeratorName {
    const char *identifier;
    QorLong encoderWords[2];
    QorLong value;
} QorEnumeratorName;
/* The identifier of the 64-bit value (`low`, `high`), or
 * "qor_unknown_enumerator"; only values with `high` 0 are looked up. */
void _qor_prt_enum(QorGlobal *world, QorLong low, QorLong high, const QorEnumeratorName *table,
                   QorLong count);
/* A decoded open type is printed by the print entry with its PDU number
 * negated ("<error>" when that fails); else its encoding in hexadecimal, or
 * "<unknown>". */
void _qor_prt_opentype(QorGlobal *world, const QorOpenType *value);
void _qor_prt_new_opentype(QorGlobal *world, int pduNum, void *decoded,
                           const QorNewOpenType *value);
char *_qor_getdisp_bit(QorGlobal *world, const unsigned char *bits, QorLong count);
char *_qor_getdisp_oct(QorGlobal *world, const unsigned char *data, QorLong length);
char *_qor_getdisp_hex(QorGlobal *world, const char *prefix, const unsigned char *data,
                       QorLong length, const char *suffix);
char *_qor_getdisp_char(QorGlobal *world, const char *data, QorLong length); /* one "string" */
char *_qor_getdisp_nchar(QorGlobal *world, const char *text);
char *_qor_getdisp_mbchar(QorGlobal *world, const void *data, QorLong count, int width);
char *_qor_getdisp_int(QorGlobal *world, int64_t value);
char *_qor_getdisp_uint(QorGlobal *world, uint64_t value);
char *_qor_getdisp_real(QorGlobal *world, double value);
/* Reads the number itself: 314E-2, or {mantissa 314, base 10, exponent -2}
 * under compatibility flag 0x100; PLUS-INFINITY, MINUS-INFINITY, 0, NULL. */
char *_qor_getdisp_creal(QorGlobal *world, const char *text);
char *_qor_getdisp_gentime(QorGlobal *world, const GeneralizedTime *value);
char *_qor_getdisp_utctime(QorGlobal *world, const GeneralizedTime *value);
void _qor_free_disp(QorGlobal *world, void *display);
/* Named-bit strings, first bit in the highest bit of the first octet.
 * _qor_chop_zero_bits: the length without trailing zero bits, but not below
 * `lower`. _qor_nmbit_lfit fits `*length` into the size bounds: below
 * `lower` it becomes `lower`; above, it loses its trailing zero bits down to
 * `lower`, and 0 is returned, `*length` unchanged, if it still exceeds
 * `upper`; else 1. */
QorULong _qor_chop_zero_bits(const unsigned char *bits, QorULong length, QorULong lower);
int _qor_nmbit_lfit(const unsigned char *bits, QorULong *length, QorULong lower, QorULong upper);

/* The PER bit cursor. Writers take their bits left-justified; `align` 1 asks
 * to go to an octet boundary first under aligned PER. Readers raise message
 * 45 at the end of the input. */
void _qor_append(QorGlobal *world, const void *bits, QorULong bitCount, int align);
void _qor_append_1bit_unaligned(QorGlobal *world, unsigned char bits);
void _qor_append_2bit_unaligned(QorGlobal *world, unsigned char bits);
void _qor_append_3bit_unaligned(QorGlobal *world, unsigned char bits);
void _qor_append_4bit_unaligned(QorGlobal *world, unsigned char bits);
void _qor_append_5bit_unaligned(QorGlobal *world, unsigned char bits);
void _qor_append_6bit_unaligned(QorGlobal *world, unsigned char bits);
void _qor_append_7bit_unaligned(QorGlobal *world, unsigned char bits);
void _qor_append_8bit_unaligned(QorGlobal *world, unsigned char bits);
void _qor_append_8bit_aligned(QorGlobal *world, QorULong value);
void _qor_get_bits(QorGlobal *world, void *target, QorULong bitCount, int align);
QorULong _qor_get_octet(QorGlobal *world, int align); /* use the low 8 bits */
QorULong _qor_get_1bit_unaligned(QorGlobal *world);
QorULong _qor_get_2bit_unaligned(QorGlobal *world);
QorULong _qor_get_3bit_unaligned(QorGlobal *world);
QorULong _qor_get_4bit_unaligned(QorGlobal *world);
QorULong _qor_get_5bit_unaligned(QorGlobal *world);
QorULong _qor_get_6bit_unaligned(QorGlobal *world);
QorULong _qor_get_7bit_unaligned(QorGlobal *world);
QorULong _qor_get_8bit_unaligned(QorGlobal *world);

/* PER whole numbers, lengths and ENUMERATED. Encoders take values already
 * offset by the lower bound unless they are given the bound; decoders check
 * bounds because their input is untrusted. Fixed-width values here are
 * right-justified, unlike the cursor's writers. */
typedef struct QorEnumTable {
    QorULong count;
    const QorLong *values; /* in the order of the encoding indexes */
} QorEnumTable;

/* Bits of the flags of the huge constrained integers. */
#define QOR_HUGE_WIDTH 0xFFFF       /* bits of the range; 256: exactly 256 values */
#define QOR_HUGE_UNSIGNED 0x10000
#define QOR_HUGE_AS_LENGTH 0x20000  /* too wide for a fixed field */
#define QOR_HUGE_EXTENSIBLE 0x40000
#define QOR_HUGE_IN_ROOT 0x80000    /* encoder only */

void _qor_penc_nonneg_1int(QorGlobal *world, QorULong value); /* any non-zero value is 1 */
void _qor_penc_nonneg_2int(QorGlobal *world, QorULong value);
void _qor_penc_nonneg_3int(QorGlobal *world, QorULong value);
void _qor_penc_nonneg_4int(QorGlobal *world, QorULong value);
void _qor_penc_nonneg_5int(QorGlobal *world, QorULong value);
void _qor_penc_nonneg_6int(QorGlobal *world, QorULong value);
void _qor_penc_nonneg_7int(QorGlobal *world, QorULong value);
void _qor_penc_nonneg_8int(QorGlobal *world, QorULong value);
void _qor_penc_nonneg_int_l(QorGlobal *world, QorULong value, QorULong bits);
void _qor_penc_nonneg_int(QorGlobal *world, uint64_t value, uint64_t bits);
void _qor_penc_int16_aligned(QorGlobal *world, QorULong value);
void _qor_penc_indeflen_int_l(QorGlobal *world, QorULong value, QorULong maxOctets);
void _qor_penc_indeflen_int(QorGlobal *world, uint64_t value, uint64_t maxOctets);
void _qor_penc_semicon_int_l(QorGlobal *world, QorLong value, QorLong lb);
void _qor_penc_semicon_uint_l(QorGlobal *world, QorULong value, QorULong lb);
void _qor_penc_semicon_int(QorGlobal *world, int64_t value, int64_t lb);
void _qor_penc_semicon_uint(QorGlobal *world, uint64_t value, uint64_t lb);
void _qor_penc_unconstr_int_l(QorGlobal *world, QorLong value);
void _qor_penc_unconstr_int(QorGlobal *world, int64_t value);
void _qor_penc_small_int_l(QorGlobal *world, QorULong value);
QorULong _qor_penc_small_len_l(QorGlobal *world, QorULong value);
/* A length determinant; returns the items the caller writes next: the whole
 * length, or a fragment of a multiple of 16384 after which it calls again.
 * `ub` 0, or 65536 and above, means no upper bound. */
QorULong _qor_penc_length_l(QorGlobal *world, QorULong length, QorULong lb, QorULong ub,
                            unsigned char extended);
QorULong _qor_penc_lrang(QorGlobal *world, QorULong length, QorULong lb, QorULong ub);
QorULong _qor_penc_lfrag(QorGlobal *world, QorULong length);
void _qor_penc_semicon_huge_ia(QorGlobal *world, const unsigned char *bytes, QorULong count);
void _qor_penc_unconstr_huge_ia(QorGlobal *world, const unsigned char *bytes, QorULong count);
void _qor_penc_limited_huge(QorGlobal *world, const unsigned char *bytes, QorULong count,
                            const unsigned char *lbBytes, QorULong lbCount, QorULong flags);
/* `extension` null: not extensible. Its last entry is the base of values
 * unknown to this version of the schema. */
void _qor_penc_enum(QorGlobal *world, QorLong value, const QorEnumTable *root,
                    const QorEnumTable *extension);
void _qor_penc_uenum(QorGlobal *world, QorULong value, const QorEnumTable *root,
                     const QorEnumTable *extension);

QorULong _qor_pdec_nonneg_1int(QorGlobal *world);
QorULong _qor_pdec_nonneg_2int(QorGlobal *world);
QorULong _qor_pdec_nonneg_3int(QorGlobal *world);
QorULong _qor_pdec_nonneg_4int(QorGlobal *world);
QorULong _qor_pdec_nonneg_5int(QorGlobal *world);
QorULong _qor_pdec_nonneg_6int(QorGlobal *world);
QorULong _qor_pdec_nonneg_7int(QorGlobal *world);
QorULong _qor_pdec_nonneg_8int(QorGlobal *world);
QorULong _qor_pdec_nonneg_int_l(QorGlobal *world, QorULong bits);
/* The offset from `lb`. */
QorULong _qor_pdec_nonneg_limited_int_l(QorGlobal *world, QorULong bits, QorLong lb, QorLong ub);
uint64_t _qor_pdec_nonneg_limited_int(QorGlobal *world, uint64_t bits, int64_t lb, int64_t ub);
/* The value, `lb` added. `min` 0 compares the value unsigned with `max`. */
QorLong _qor_pdec_indeflen_limited_int_l(QorGlobal *world, QorULong maxOctets, QorLong lb,
                                         QorLong min, QorLong max);
int64_t _qor_pdec_indeflen_limited_int(QorGlobal *world, uint64_t maxOctets, int64_t lb,
                                       int64_t min, int64_t max);
QorLong _qor_pdec_semicon_limited_int_l(QorGlobal *world, QorLong lb, QorLong min, QorLong max);
int64_t _qor_pdec_semicon_limited_int(QorGlobal *world, int64_t lb, int64_t min, int64_t max);
QorLong _qor_pdec_unconstr_limited_int_l(QorGlobal *world, QorLong min, QorLong max);
int64_t _qor_pdec_unconstr_limited_int(QorGlobal *world, int64_t min, int64_t max);
QorULong _qor_pdec_small_int_l(QorGlobal *world);
/* `*done` 1: the last part of the value; 0: a fragment, more follow. The
 * result isn't compared with `ub`: the caller bounds it. */
QorULong _qor_pdec_length(QorGlobal *world, QorULong lb, QorULong ub, unsigned char *done);
/* The octets in decoder memory; returns their count. */
QorULong _qor_pdec_semicon_huge_ia(QorGlobal *world, unsigned char **result);
QorULong _qor_pdec_unconstr_huge_ia(QorGlobal *world, unsigned char **result);
QorULong _qor_pdec_limited_huge(QorGlobal *world, unsigned char **result,
                                const unsigned char *lbBytes, QorULong lbCount, QorULong flags);
QorLong _qor_pdec_enum(QorGlobal *world, const QorEnumTable *root, const QorEnumTable *extension);
QorULong _qor_pdec_uenum(QorGlobal *world, const QorEnumTable *root,
                         const QorEnumTable *extension);


/* A permitted alphabet: `decodeTable` maps an index to its character,
 * `encodeTable` a character to its index (255: not permitted). For the wide
 * strings both cover the 256 characters from `base`: `decodeTable` holds
 * character - `base` in octets, and an entry of 255 is an index only when
 * `count` is 256 or more. With the tree flag, `decodeTable` points at an
 * alphabet tree of 32-bit words, nodes in binary-search order: the alphabet
 * index of the node's first character; a control word (bits 31-30 the kind:
 * 0 one character, 1 a range, 2 a list; bits 28-26 a list's size value s;
 * bit 25 set when the subtree of smaller characters follows at once; bits
 * 15-0 the distance in words from this node's start to the subtree of
 * greater ones, 0 none); then the character, or a range's lower and upper
 * bounds, or a list's s - 2 characters in ascending order and one reserved
 * word. A node takes 3, 4 or s + 1 words. A first word of 0xFFFFFFFF marks
 * a compact tree, for characters written as their own codes: the mark
 * stands for the first node's index and the other nodes have none. */
typedef struct QorPermittedAlphabet {
    QorULong count;
    const void *decodeTable;
    const unsigned char *encodeTable;
    QorULong base;
} QorPermittedAlphabet;

/* A constrained character string type. `flags`: bits 0-6 the bits per
 * character in aligned PER, 0x80 its code written as it is; bits 8-14 and
 * 0x8000 the same for unaligned PER; 0x10000 a time string; 0x20000 an
 * extensible size; 0x40000 a tree alphabet. `lowerSize` above `upperSize`:
 * no usable size constraint. */
typedef struct QorStringDescriptor {
    const QorPermittedAlphabet *alphabet;
    QorULong lowerSize;
    QorULong upperSize;
    QorULong capacity;
    QorULong flags;
} QorStringDescriptor;

/* Constraint checks, for the generated constraint entry and for encoders
 * under strict checking. Each raises its violation by message index and
 * returns nothing: inside qorCheckConstraints the index becomes a return
 * code and no message is made; elsewhere the message is formatted as for any
 * failure. _qor_chk_uenum is the same function as _qor_chk_enum (message 36
 * when the value isn't among `count` values; a count of 0 refuses all).
 * The alphabet checks raise message 29 with the first character outside:
 * _qor_chk_pac takes 7-bit characters and the alphabet's `encodeTable`;
 * the wide ones take the 256-entry table from `base` (an entry of 255 is
 * outside unless `count` is 256 or more), or, with `count` 0xFFFFFFFF,
 * `decodeTable` as a range list: the nodes of a compact alphabet tree
 * without the leading mark. */
void _qor_chk_enum(QorGlobal *world, QorLong value, const QorEnumTable *record);
void _qor_chk_uenum(QorGlobal *world, QorULong value, const QorEnumTable *record);
void _qor_chk_pac(QorGlobal *world, const char *data, QorULong length,
                  const QorPermittedAlphabet *alphabet);
void _qor_chk_pac2(QorGlobal *world, const uint16_t *data, QorULong count,
                   const QorPermittedAlphabet *alphabet);
void _qor_chk_pac4(QorGlobal *world, const QorULong *data, QorULong count,
                   const QorPermittedAlphabet *alphabet);
/* UTF-8 form, message 135: sequences of 1 to 6 octets, whole, with
 * continuation octets where they belong. Overlong forms and surrogates pass,
 * as do 5- and 6-octet sequences; stricter checking is a later choice. The
 * zero-terminated form takes a null text as valid. */
void _qor_checkUtf8String(QorGlobal *world, const unsigned char *data, QorLong length);
void _qor_checkUtf8String_nlltrm(QorGlobal *world, const char *text);
/* The value inside a CONTAINING BIT or OCTET STRING of `length` (bits for a
 * BIT STRING) took all of it but `read` octets, message 306 otherwise; in
 * `flags` 0x20 a BIT STRING, 0x10 pad bits allowed, the low four bits the
 * unused bits of the last octet (BIT STRING) or a mark of one extra octet at
 * the end (OCTET STRING). Octets left over at `data` may be XML white space. */
void _qor_check_container(QorGlobal *world, QorULong read, QorULong flags,
                          const unsigned char *data, QorULong length);
/* An OID-IRI of `length` octets: bit 0 of `flags` absolute ("/ISO/..."),
 * else relative; bit 1 a value from an encoding, whose message shows the
 * whole value. Message 286 for the value's form, 287 for an arc, with the
 * piece at fault cut to 127 characters. */
void _qor_check_oid_iri(QorGlobal *world, const char *text, QorLong length, QorULong flags);

/* Known-multiplier strings, one octet a character. Only the top bit of
 * `extensionMark` counts: set for a value outside the extension root. */
void _qor_penc_kmstr(QorGlobal *world, const char *chars, QorULong count,
                     const QorStringDescriptor *desc, unsigned char extensionMark);
/* Into the caller's array of `capacity` + 1 characters, zero-ended. */
void _qor_pdec_nt_kmstr(QorGlobal *world, char *target, const QorStringDescriptor *desc);
/* Zero-ended, in new memory. */
void _qor_pdec_ntp_kmstr(QorGlobal *world, char **result, const QorStringDescriptor *desc);
/* Into an array of `upperSize` characters, the rest set to 0. */
void _qor_pdec_pad_kmstr(QorGlobal *world, char *target, const QorStringDescriptor *desc);
/* In new memory; an empty value gives null. Returns the count. */
QorLong _qor_pdec_ub_kmstr(QorGlobal *world, char **result, const QorStringDescriptor *desc);
/* Into an array of `upperSize` characters. Returns the count. */
QorLong _qor_pdec_va_kmstr(QorGlobal *world, char *target, const QorStringDescriptor *desc);
/* In new memory behind a header of `headerSize` octets that the caller fills. */
QorLong _qor_pdec_vap_kmstr(QorGlobal *world, void **result, QorULong headerSize,
                            const QorStringDescriptor *desc);

/* BMPString and UniversalString, 16 and 32-bit characters in host order.
 * The decoders return the count, the characters in new memory (null for an
 * empty value). */
void _qor_penc_bmpstr(QorGlobal *world, const uint16_t *chars, QorULong count,
                      const QorStringDescriptor *desc, unsigned char extensionMark);
void _qor_penc_unistr(QorGlobal *world, const QorULong *chars, QorULong count,
                      const QorStringDescriptor *desc, unsigned char extensionMark);
QorLong _qor_pdec_bmpstr(QorGlobal *world, uint16_t **result, const QorStringDescriptor *desc);
QorLong _qor_pdec_unistr(QorGlobal *world, QorULong **result, const QorStringDescriptor *desc);

/* Strings without a known multiplier: octets under general lengths; the
 * encoder is the same function as _qor_penc_uncon_oct. */
void _qor_penc_nkmstr_l(QorGlobal *world, const unsigned char *bytes, QorULong count);
/* Into the caller's array of `capacity` + 1 octets, zero-ended. */
void _qor_pdec_nt_nkmstr(QorGlobal *world, unsigned char *target, QorULong capacity);
void _qor_pdec_ntp_nkmstr(QorGlobal *world, unsigned char **result);
/* Into an array of `size` octets, the rest set to spaces. */
void _qor_pdec_pad_nkmstr(QorGlobal *world, unsigned char *target, QorULong size);
/* `record` starts with the result pointer; an empty value gives null. */
QorLong _qor_pdec_ub_nkmstr_ia(QorGlobal *world, void *record);
QorLong _qor_pdec_va_nkmstr_ia(QorGlobal *world, unsigned char *target, QorULong capacity);
QorLong _qor_pdec_vap_nkmstr_ia(QorGlobal *world, void **result, QorULong headerSize);

/* UTF8String from and to 16 and 32-bit characters. The decoders return
 * the count of characters, in new memory (null for none). */
void _qor_penc_utf8bmpstr_l(QorGlobal *world, const uint16_t *chars, QorULong count);
void _qor_penc_utf8unistr_l(QorGlobal *world, const QorULong *chars, QorULong count);
QorLong _qor_pdec_utf8bmpstr_ia(QorGlobal *world, uint16_t **result);
QorLong _qor_pdec_utf8unistr_ia(QorGlobal *world, QorULong **result);

/* Open types: a finished encoding as an unconstrained OCTET STRING. An empty
 * one is refused on encoding (message 82), and on decoding under strict
 * rules or automatic decoding; the decoder clears `pduNum` and `decoded`. */
void _qor_penc_opentype(QorGlobal *world, const QorOpenType *value);
void _qor_pdec_opentype(QorGlobal *world, QorOpenType *value);
/* The push makes an open type's contents the input (read in place when in
 * one part, else a joined copy), the pop gives the outer input back and
 * refuses contents left unread (unless relaxed). `expectOpenTypeContent`
 * makes an empty one an error. */
void *_qor_pdec_push(QorGlobal *world);
void _qor_pdec_pop(QorGlobal *world);
/* Extension additions: the presence bit mask (temporary memory) and its
 * count of bits; then, once the known additions are decoded, the rest are
 * stepped over and the mask freed. `_qor_pdec_sot` steps over one open type. */
QorULong _qor_pdec_eap(QorGlobal *world, unsigned char **mask);
void _qor_pdec_eas(QorGlobal *world, unsigned char *mask, QorULong bits, QorULong known);
void _qor_pdec_sot(QorGlobal *world);

/* A fragmented SEQUENCE OF: called before each part's items are decoded,
 * with the array's size in octets with (`newBytes`) and without (`oldBytes`)
 * the part and `done` as the length decoder gave it. Items stand at
 * `headerSize` octets into `*array`. Non-final parts grow the array in
 * temporary memory; the last one moves it to decoder memory. */
void _qor_pdec_array_frg(QorGlobal *world, void **array, QorULong newBytes, QorULong oldBytes,
                         QorULong headerSize, unsigned char *done);
void _qor_pdec_unbnd_frg(QorGlobal *world, void **array, QorULong newBytes, QorULong oldBytes,
                         unsigned char *done);

/* BIT STRING and OCTET STRING in PER. Bits are left-justified: the first
 * bit is the top bit of the first octet. Counts of bit strings are in bits,
 * of octet strings in octets; `lb` and `ub` bound the size in the same unit,
 * and a fixed size below 65536 (`lb` = `ub`) has no length. */
/* Exactly `count` bits; up to 16 go where the cursor is, more aligned. */
void _qor_penc_fix_bit(QorGlobal *world, const unsigned char *bits, QorULong count);
/* `ub` 0 writes nothing; from 65536 on the unconstrained form. With
 * `padToSize`, exactly `paddedCount` bits go: a shorter value (named bits
 * stripped of trailing zeros) has the bits past its count cleared in its
 * last octet, in place, and zeros after it. A count outside `lb`..`ub` of a
 * varying size: message 27. */
void _qor_penc_constr_bit_l(QorGlobal *world, unsigned char *bits, QorULong count, QorULong lb,
                            QorULong ub, unsigned char padToSize, QorULong paddedCount);
/* General lengths, in fragments from 16384 items on. */
void _qor_penc_uncon_bit(QorGlobal *world, const unsigned char *bits, QorULong count);
void _qor_penc_uncon_oct(QorGlobal *world, const unsigned char *octets, QorULong count);
void _qor_penc_unconstr_oct_l(QorGlobal *world, const unsigned char *octets, QorULong count);
/* Decoders; each returns the count. `ubit`, `uoct`: new memory, null when
 * empty (temporary memory while `decodeToTemporary` is set). `vbit`, `voct`:
 * the caller's array of `ub` (or `capacity`) items; a longer value gives
 * message 79 before any of it is read. `_ptr`: a new record of `headerSize`
 * octets, which the caller fills, and the items behind it; `vbit_ptr` refuses
 * a value above `ub` with message 27, or with `lb` 0xFFFFFFFF reads any
 * length and keeps the first `ub` bits. `pbit`: an unsigned integer of `size`
 * (1, 2, 4 or 8) octets, the first bit its highest; `bpbit`: an array of
 * `size` octets, cleared under the value; more bits than either holds:
 * message 79. Input cut short: message 45, with no memory taken; fragments
 * of fewer than 64K items followed by more under
 * STRICT_ENCODING_DECODING_RULES: message 254. */
QorULong _qor_pdec_constr_ubit_ia(QorGlobal *world, unsigned char **result, QorULong lb,
                                  QorULong ub);
QorULong _qor_pdec_constr_uoct_ia(QorGlobal *world, unsigned char **result, QorULong lb,
                                  QorULong ub);
QorULong _qor_pdec_constr_vbit_ia(QorGlobal *world, unsigned char *target, QorULong lb,
                                  QorULong ub);
QorULong _qor_pdec_constr_voct_ia(QorGlobal *world, unsigned char *target, QorULong lb,
                                  QorULong ub);
QorULong _qor_pdec_constr_vbit_ptr_ia(QorGlobal *world, void **result, QorULong headerSize,
                                      QorULong lb, QorULong ub);
QorULong _qor_pdec_constr_voct_ptr_ia(QorGlobal *world, void **result, QorULong headerSize,
                                      QorULong lb, QorULong ub);
void _qor_pdec_constr_pbit_l(QorGlobal *world, void *target, QorULong size, QorULong lb,
                             QorULong ub);
QorULong _qor_pdec_constr_bpbit_l(QorGlobal *world, unsigned char *target, QorULong size,
                                  QorULong lb, QorULong ub);
QorULong _qor_pdec_unconstr_ubit_ia(QorGlobal *world, unsigned char **result);
QorULong _qor_pdec_unconstr_uoct_ia(QorGlobal *world, unsigned char **result);
QorULong _qor_pdec_unconstr_vbit_ia(QorGlobal *world, unsigned char *target, QorULong capacity);
/* A `capacity` of 0 reads nothing. */
QorULong _qor_pdec_unconstr_voct_ia(QorGlobal *world, unsigned char *target, QorULong capacity);
QorULong _qor_pdec_unconstr_vbit_ptr_ia(QorGlobal *world, void **result, QorULong headerSize);
QorULong _qor_pdec_unconstr_voct_ptr_ia(QorGlobal *world, void **result, QorULong headerSize);
void _qor_pdec_unconstr_pbit(QorGlobal *world, void *target, QorULong size);
QorULong _qor_pdec_unconstr_bpbit(QorGlobal *world, unsigned char *target, QorULong size);

/* OBJECT IDENTIFIER and RELATIVE-OID in PER: BER's contents under a general
 * length. Encoders: fewer than 2 arcs, a first arc above 2, a second of 40
 * or more under 0 or 1, a first subidentifier past 32 bits, or under 0.0 a
 * third arc of 0 or above 26: message 70 ("0010S"); a null array: 71.
 * Decoders: an arc too wide for its type, message 97; contents that end
 * inside a subidentifier, 106. The `aobjid` forms fill the caller's array of
 * `capacity` arcs (more: message 79) and its count, which an empty value
 * leaves alone; they return the count. The pointer forms return a record in
 * new memory: `headerSize` octets for the caller, a 16-bit count, then the
 * arcs aligned to their size; 50 arcs or more are message 79. The 32-bit
 * ones give null for an empty value; the 16-bit one, the `uobjid` and the
 * list forms refuse it (message 106) unless relaxed, and refuse contents of
 * more than 225 octets (message 129); `uobjid` allocates the array (null
 * for none), 50 arcs or more again message 79. `_ia` lists hold the arc at
 * byte `offset` of each node, past the link, which comes first. The `e`
 * forms keep the contents octets as they stand (relative identifiers
 * too): the encoder refuses more than a `capacity` of 1 or more (79); the
 * decoder's `target` is the caller's array of `capacity` octets, or with a
 * negative `capacity` where the pointer to new memory goes. */
void _qor_penc_objidi(QorGlobal *world, const QorULong *arcs, QorLong count);
void _qor_penc_objidl(QorGlobal *world, const QorULong *arcs, QorLong count);
void _qor_penc_objids(QorGlobal *world, const uint16_t *arcs, QorLong count);
void _qor_penc_link_objidi(QorGlobal *world, const QorObjidNode *list);
void _qor_penc_link_objids(QorGlobal *world, const QorObjidNodeShort *list);
void _qor_penc_link_objidl_ia(QorGlobal *world, const void *list, QorULong offset);
void _qor_penc_eobjid_ia(QorGlobal *world, const unsigned char *octets, QorULong count,
                         QorULong capacity);
void _qor_penc_ereloid_ia(QorGlobal *world, const unsigned char *octets, QorULong count,
                          QorULong capacity);
QorLong _qor_pdec_aobjidi(QorGlobal *world, QorULong *arcs, uint16_t *count, uint16_t capacity);
QorLong _qor_pdec_aobjidl(QorGlobal *world, QorULong *arcs, uint16_t *count, uint16_t capacity);
QorLong _qor_pdec_aobjids(QorGlobal *world, uint16_t *arcs, uint16_t *count, uint16_t capacity);
void *_qor_pdec_aobjidi_ptr_ia(QorGlobal *world, QorULong headerSize);
void *_qor_pdec_aobjidl_ptr_ia(QorGlobal *world, QorULong headerSize);
void *_qor_pdec_aobjids_ptr_ia(QorGlobal *world, QorULong headerSize);
QorLong _qor_pdec_uobjidi(QorGlobal *world, QorULong **array, uint16_t *count);
QorLong _qor_pdec_uobjidl(QorGlobal *world, QorULong **array, uint16_t *count);
QorLong _qor_pdec_uobjids(QorGlobal *world, uint16_t **array, uint16_t *count);
void _qor_pdec_link_objidi(QorGlobal *world, QorObjidNode **head);
void _qor_pdec_link_objids(QorGlobal *world, QorObjidNodeShort **head);
void *_qor_pdec_link_objidl_ia(QorGlobal *world, QorULong offset);
QorLong _qor_pdec_eobjid_ia(QorGlobal *world, void *target, QorLong capacity);
QorLong _qor_pdec_ereloid_ia(QorGlobal *world, void *target, QorLong capacity);

/* REAL in PER: BER's contents in DER's form under a general length. Text
 * REALs go out canonical ("314159.E-5") unless compatibility flag 0x400 is
 * set. Decoders take base 2 only (else message 106); unless relaxed a
 * needlessly long exponent is message 93, a leading zero or even last
 * mantissa octet 106. An exponent of more than four octets is message 94,
 * a value past the type's range 128, a special value of more than one octet
 * or a reserved one 113. `_qor_pdec_creal` gives new memory: a binary value
 * as "%lg" prints it, six significant digits. `_qor_pdec_mreal_ia` fills
 * the mixed record and returns its kind. */
void _qor_penc_real(QorGlobal *world, double value);
void _qor_penc_creal(QorGlobal *world, const char *text);
void _qor_penc_mreal_ia(QorGlobal *world, int kind, const void *record);
double _qor_pdec_real(QorGlobal *world);
float _qor_pdec_freal(QorGlobal *world);
char *_qor_pdec_creal(QorGlobal *world);
int _qor_pdec_mreal_ia(QorGlobal *world, void *record);

/* UTCTime and GeneralizedTime in PER: the fields checked (messages 73 to 78)
 * unless NOCONSTRAIN, then the text with every field to the seconds, 8 bits
 * a character in aligned PER and 7 in unaligned PER. A decoded text of 32
 * characters or more, or one not of the type's form, is message 106. */
void _qor_penc_utime(QorGlobal *world, const GeneralizedTime *value);
void _qor_penc_gtime(QorGlobal *world, const GeneralizedTime *value);
void _qor_pdec_utime(QorGlobal *world, GeneralizedTime *value);
void _qor_pdec_gtime(QorGlobal *world, GeneralizedTime *value);

/* The TIME types in PER, one routine a field of the ISO 8601 text. An
 * encoder reads its field at `text` and returns the position behind it; a
 * decoder writes the field's text at `out`, with no terminator, and returns
 * the position behind it. A text that doesn't fit its field, a count or an
 * index out of bounds, or decoded digits beyond their room are message 72;
 * a digit run past 32 bits message 147. The time-difference encoder lends
 * an interval's first difference to a second end written without one. The
 * general TIME goes as a 6-bit code of its shape and then its elements'
 * fields; its decoder ends the text with a terminator, and no text it
 * writes, terminator included, is longer than QOR_PER_TIME_TEXT. */
#define QOR_PER_TIME_TEXT 256
const char *_qor_pe_t_century(QorGlobal *world, const char *text);
const char *_qor_pe_t_any_century(QorGlobal *world, const char *text);
const char *_qor_pe_t_year(QorGlobal *world, const char *text);
const char *_qor_pe_t_any_year(QorGlobal *world, const char *text);
const char *_qor_pe_t_month(QorGlobal *world, const char *text);
const char *_qor_pe_t_day_of_month(QorGlobal *world, const char *text);
const char *_qor_pe_t_day_of_year(QorGlobal *world, const char *text);
const char *_qor_pe_t_week(QorGlobal *world, const char *text);
const char *_qor_pe_t_day_of_week(QorGlobal *world, const char *text);
const char *_qor_pe_t_hours(QorGlobal *world, const char *text);
/* `limit`: 59 for minutes, 60 for seconds. */
const char *_qor_pe_t_mins_or_secs(QorGlobal *world, const char *text, int limit);
/* `digits`: the fraction's digits in the text, 1 or more. */
const char *_qor_pe_t_time_fraction(QorGlobal *world, const char *text, int digits);
const char *_qor_pe_t_time_diff(QorGlobal *world, const char *text);
const char *_qor_pe_t_recurrence(QorGlobal *world, const char *text);
const char *_qor_pe_t_duration_interval(QorGlobal *world, const char *text);
void _qor_pe_t_mixed(QorGlobal *world, const char *text);
char *_qor_pd_t_century(QorGlobal *world, char *out);
/* `maxDigits`: the most digits to write; the sign is always written. */
char *_qor_pd_t_any_century(QorGlobal *world, char *out, int maxDigits);
char *_qor_pd_t_year(QorGlobal *world, char *out);
char *_qor_pd_t_any_year(QorGlobal *world, char *out, int maxDigits);
char *_qor_pd_t_month(QorGlobal *world, char *out);
char *_qor_pd_t_day_of_month(QorGlobal *world, char *out);
char *_qor_pd_t_day_of_year(QorGlobal *world, char *out);
char *_qor_pd_t_week(QorGlobal *world, char *out);
char *_qor_pd_t_day_of_week(QorGlobal *world, char *out);
char *_qor_pd_t_hours(QorGlobal *world, char *out);
char *_qor_pd_t_mins_or_secs(QorGlobal *world, char *out, int limit);
/* `digits`: the digits to write, 1 to 20. */
char *_qor_pd_t_time_fraction(QorGlobal *world, char *out, int digits);
char *_qor_pd_t_time_diff(QorGlobal *world, char *out);
char *_qor_pd_t_recurrence(QorGlobal *world, char *out, int maxDigits);
char *_qor_pd_t_duration_interval(QorGlobal *world, char *out);
char *_qor_pd_t_mixed(QorGlobal *world, char *out);

/* OER. Output goes forwards at `outPos` up to `blockStack`, the end of the
 * current block or of the caller's buffer; input is read at `inPos` up to
 * `blockStack`, the end of the input. Multi-octet values are big-endian. */
void _qor_oenc_append_byte(QorGlobal *world, unsigned char byte);
void _qor_oenc_append_2bytes(QorGlobal *world, unsigned char first, unsigned char second);
void _qor_oenc_append_3bytes(QorGlobal *world, unsigned char first, unsigned char second,
                             unsigned char third);
void _qor_oenc_append_bytes(QorGlobal *world, const void *bytes, QorULong count);
/* A length determinant: one octet below 128, else 0x80 | n and n octets. */
void _qor_oenc_octet_length(QorGlobal *world, QorULong length);
/* The long form of `length` in `buffer` (room for 5); 0x80 alone for 0.
 * Returns its size. */
int _qor_oenc_enc_length(QorULong length, unsigned char *buffer);
/* Fixed-size integers: the 1- and 2-octet forms check their range (messages
 * 22 signed, 23 unsigned); the 3-octet form writes the top three octets of
 * `value`, for tags and extension numbers. */
void _qor_oenc_int_1byte(QorGlobal *world, QorLong value);
void _qor_oenc_int_2byte(QorGlobal *world, QorLong value);
void _qor_oenc_int_4byte(QorGlobal *world, QorLong value);
void _qor_oenc_uint_1byte(QorGlobal *world, QorULong value);
void _qor_oenc_uint_2byte(QorGlobal *world, QorULong value);
void _qor_oenc_uint_3byte(QorGlobal *world, QorULong value);
void _qor_oenc_uint_4byte(QorGlobal *world, QorULong value);
/* Variable-size integers: a count octet and the minimal octets. */
void _qor_oenc_int(QorGlobal *world, QorLong value);
void _qor_oenc_int_ll(QorGlobal *world, int64_t value);
void _qor_oenc_uint(QorGlobal *world, QorULong value);
void _qor_oenc_uint_ll(QorGlobal *world, uint64_t value);
/* Huge integers, most significant octet first: 1 to 4096 octets (else
 * message 106); redundant leading octets are dropped. */
void _qor_oenc_int_h(QorGlobal *world, const unsigned char *bytes, QorULong count);
void _qor_oenc_uint_h(QorGlobal *world, const unsigned char *bytes, QorULong count);
void _qor_oenc_enum(QorGlobal *world, QorLong value);
void _qor_oenc_uenum(QorGlobal *world, QorULong value);

/* Where a content of unknown length began, kept by generated code in a
 * local from the start routine to the end one. Sizing mode keeps
 * `encLength` in `blockBytes`. */
typedef struct QorOerPosition {
    unsigned char *address;     /* the octet reserved for the length, or the first content octet */
    QorLong blockBytes;         /* octets from `address` to the end of its block */
    QorMemBlockRecord *page;    /* the block list's record at the start */
    QorLong pageIndex;          /* its count of blocks at the start */
    QorLong mustNotBeEmpty;     /* set by generated code: an empty content is one 0 octet */
} QorOerPosition;

/* An open type or extension addition: one octet is reserved for the
 * length, which `_qor_oenc_end_ext` sets (moving the content when the
 * length needs more octets). Returns the content's size. */
void _qor_oenc_begin_ext(QorGlobal *world, QorOerPosition *position);
QorULong _qor_oenc_end_ext(QorGlobal *world, QorOerPosition *position);
/* A mark without a reserved octet, and the octets written since it. */
void _qor_oenc_store_encpos(QorGlobal *world, QorOerPosition *position);
QorULong _qor_oenc_calc_enclen(QorGlobal *world, QorOerPosition *position);
/* One retained unknown extension: its number in 1, 2 or 3 octets, a length
 * and its octets. */
void _qor_oenc_rsf_ext(QorGlobal *world, QorULong number, QorULong count,
                       const unsigned char *bytes);
/* An extension bit map: the known bits, then the retained ones behind them. */
void _qor_oenc_rsf_ext_bitmask(QorGlobal *world, const unsigned char *known, QorULong knownBits,
                               const unsigned char *retained, QorULong retainedBits);
/* A type outside OER: message 289 with `text`, or 2 for an empty one. */
QOR_NORETURN void _qor_oenc_not_supported(QorGlobal *world, QorLong ignored, const char *text);

/* Decoders: end of input is message 45. A length is known to fit in what is
 * left of the input, so the content can be read without a further test. */
QorULong _qor_odec_length(QorGlobal *world);
/* A tag's one to three octets as one number, class bits included. */
QorULong _qor_odec_tag(QorGlobal *world);
QorLong _qor_odec_int_1byte(QorGlobal *world);
QorLong _qor_odec_int_2byte(QorGlobal *world);
QorLong _qor_odec_int_4byte(QorGlobal *world);
QorULong _qor_odec_uint_1byte(QorGlobal *world);
QorULong _qor_odec_uint_2byte(QorGlobal *world);
QorULong _qor_odec_uint_3byte(QorGlobal *world); /* the octets shifted left by 8 */
QorULong _qor_odec_uint_4byte(QorGlobal *world);
/* Variable-size: wider than the result is message 147. */
short _qor_odec_int_s(QorGlobal *world);
QorLong _qor_odec_int(QorGlobal *world);
int64_t _qor_odec_int_ll(QorGlobal *world);
unsigned short _qor_odec_uint_s(QorGlobal *world);
QorULong _qor_odec_uint(QorGlobal *world);
uint64_t _qor_odec_uint_ll(QorGlobal *world);
/* Huge integers into decoder memory; returns the octet count. The unsigned
 * form puts a 0x00 in front of a set top bit, so that the value reads as
 * two's complement. */
QorULong _qor_odec_int_h(QorGlobal *world, unsigned char **result);
QorULong _qor_odec_uint_h(QorGlobal *world, unsigned char **result);
QorLong _qor_odec_enum(QorGlobal *world);
QorULong _qor_odec_uenum(QorGlobal *world);
/* Steps over the extensions whose bits, from `first` to before `end`, are
 * set in `mask` (bit 0 the top bit of its first octet); 1 if any was. */
int _qor_odec_skip_unknown(QorGlobal *world, const unsigned char *mask, QorULong first,
                           QorULong end);
/* An extension that began at `start` with `length` octets ends there: what
 * this version does not know of it is skipped; having read past it is
 * message 106. */
void _qor_odec_check_bytes(QorGlobal *world, const unsigned char *start, QorULong length);
QOR_NORETURN void _qor_odec_not_supported(QorGlobal *world, QorLong *word, const char *text);

/* OER BIT STRING: a length, the unused bits of the last octet (0 to 7, and
 * 0 when there is no octet: else message 105), the octets; the encoders
 * clear the unused bits on the wire. The `padded` form is an integer whose
 * value the encoder gets as big-endian octets; the decoder gives one octet
 * as it is, two as a 16-bit value, three as the top of 32 bits, four as 32
 * bits. `big_padded`: an array of (`capacity` + 7) / 8 octets, cleared
 * beyond the value. A value over `capacity`: message 27. The named-bit
 * forms take a longer value whose excess bits are 0 and cut it to the
 * capacity; the varying ones refuse one with message 42, and the unbounded
 * one tests only a capacity other than 0, and not under NOCONSTRAIN.
 * Decoders return the count of bits. `_qor_oenc_bit_unbounded_fixed` writes
 * a fixed size: the octets and zeros, no length. `_qor_odec_bits_by_len`
 * reads the unused octet and `octets` octets after a length read by the
 * caller. */
void _qor_oenc_bit_padded(QorGlobal *world, const unsigned char *bits, QorULong count);
void _qor_oenc_bit_unbounded(QorGlobal *world, const unsigned char *bits, QorULong count);
void _qor_oenc_bit_unbounded_fixed(QorGlobal *world, const unsigned char *bits, QorULong count,
                                   QorULong fixedSize);
void _qor_odec_bit_big_padded(QorGlobal *world, unsigned char *target, QorULong capacity);
QorULong _qor_odec_bit_padded(QorGlobal *world, QorULong capacity);
QorULong _qor_odec_bit_unbounded(QorGlobal *world, unsigned char **result);
QorULong _qor_odec_bits_by_len(QorGlobal *world, unsigned char *target, QorULong octets);
void _qor_odec_named_bit_big_padded(QorGlobal *world, unsigned char *target, QorULong capacity);
QorULong _qor_odec_named_bit_padded(QorGlobal *world, QorULong capacity);
QorULong _qor_odec_named_bit_unbounded(QorGlobal *world, unsigned char **result,
                                       QorULong capacity);
QorULong _qor_odec_named_bit_varying(QorGlobal *world, unsigned char *target, QorULong capacity);
QorULong _qor_odec_named_bit_varying_ptr(QorGlobal *world, void **result, QorULong headerSize,
                                         QorULong capacity);

/* OER character strings. One octet a character needs no encoder: the
 * length and the octets go by the byte writers. BMPString and
 * UniversalString go as big-endian units with no length (the caller writes
 * it); UTF8String from 16 or 32-bit characters with its length (message 87
 * for a character without a UTF-8 form). Decoders: `read_octets` a fixed
 * count; `string_padded` an array of `size` filled up with spaces, a longer
 * value only if its excess is spaces (else message 79); new memory for the
 * others (null when empty), whose count they return; a BMP or Universal
 * length not a multiple of the width: message 140; the fixed forms a count
 * the type fixes; bad UTF-8: message 135, and a character above 16 bits
 * keeps its low 16 in the BMP form. */
void _qor_oenc_bmpstr(QorGlobal *world, const uint16_t *chars, QorULong count);
void _qor_oenc_unistr(QorGlobal *world, const QorULong *chars, QorULong count);
void _qor_oenc_utf8_string_bmp(QorGlobal *world, const uint16_t *chars, QorULong count);
void _qor_oenc_utf8_string_universal(QorGlobal *world, const QorULong *chars, QorULong count);
void _qor_odec_read_octets(QorGlobal *world, void *target, QorULong count);
void _qor_odec_string_padded(QorGlobal *world, char *target, QorULong size);
QorULong _qor_odec_string_unbounded(QorGlobal *world, unsigned char **result);
QorULong _qor_odec_bmp_string(QorGlobal *world, uint16_t **result);
QorULong _qor_odec_universal_string(QorGlobal *world, QorULong **result);
void _qor_odec_fixed_bmp_string(QorGlobal *world, uint16_t *target, QorULong count);
void _qor_odec_fixed_universal_string(QorGlobal *world, QorULong *target, QorULong count);
QorULong _qor_odec_utf8_string_bmp(QorGlobal *world, uint16_t **result);
QorULong _qor_odec_utf8_string_universal(QorGlobal *world, QorULong **result);

/* OER OBJECT IDENTIFIER and RELATIVE-OID: BER's contents behind a length.
 * Encoders check before writing: fewer than 2 arcs, a first arc above 2, a
 * second above 39 under 0 or 1 or of 0xFFFFFFB0 or more under 2, under 0.0 a
 * third of 0 or above 26: message 70. `_i` and `_l` are 32-bit arcs, `_s`
 * 16-bit; lists hold the link first and the arc at byte `offset`. Decoders:
 * contents that end inside a subidentifier, or empty unless relaxed:
 * message 106; an arc too wide for its type: 97; more arcs (octets for
 * `encoded`) than a `capacity` other than 0: 79. `array` fills and clears
 * the caller's array; `_ptr` returns a record with the 16-bit count first
 * and the arcs after `headerSize` octets; `linked` makes QorObjidNode or
 * QorObjidNodeShort nodes; `unbounded` a new array (null for none);
 * `encoded` copies the contents, into new memory through `target` when
 * `capacity` is 0. The array forms return the count. */
void _qor_oenc_oid_array_i(QorGlobal *world, const QorULong *arcs, QorLong count);
void _qor_oenc_oid_array_l(QorGlobal *world, const QorULong *arcs, QorLong count);
void _qor_oenc_oid_array_s(QorGlobal *world, const uint16_t *arcs, QorLong count);
void _qor_oenc_oid_unbounded_i(QorGlobal *world, const QorULong *arcs, QorLong count);
void _qor_oenc_oid_unbounded_l(QorGlobal *world, const QorULong *arcs, QorLong count);
void _qor_oenc_oid_unbounded_s(QorGlobal *world, const uint16_t *arcs, QorLong count);
void _qor_oenc_oid_linked_i(QorGlobal *world, const void *list, QorULong offset);
void _qor_oenc_oid_linked_l(QorGlobal *world, const void *list, QorULong offset);
void _qor_oenc_oid_linked_s(QorGlobal *world, const void *list, QorULong offset);
QorLong _qor_odec_oid_array_i(QorGlobal *world, QorULong *target, QorULong capacity);
QorLong _qor_odec_oid_array_l(QorGlobal *world, QorULong *target, QorULong capacity);
QorLong _qor_odec_oid_array_s(QorGlobal *world, uint16_t *target, QorULong capacity);
void *_qor_odec_oid_array_i_ptr(QorGlobal *world, QorULong headerSize);
void *_qor_odec_oid_array_l_ptr(QorGlobal *world, QorULong headerSize);
void *_qor_odec_oid_array_s_ptr(QorGlobal *world, QorULong headerSize);
void _qor_odec_oid_linked_i(QorGlobal *world, QorObjidNode **head, QorULong capacity);
void _qor_odec_oid_linked_l(QorGlobal *world, QorObjidNode **head, QorULong capacity);
void _qor_odec_oid_linked_s(QorGlobal *world, QorObjidNodeShort **head, QorULong capacity);
QorLong _qor_odec_oid_unbounded_i(QorGlobal *world, QorULong **array);
QorLong _qor_odec_oid_unbounded_l(QorGlobal *world, QorULong **array);
QorLong _qor_odec_oid_unbounded_s(QorGlobal *world, uint16_t **array);
QorLong _qor_odec_oid_encoded(QorGlobal *world, void *target, QorULong capacity);

/* OER REAL as decimal text behind a length: a double as "%lg" prints it in
 * no locale, 0.0 as no octets, -0.0 as "-0", the special values as
 * "PLUS-INFINITY", "MINUS-INFINITY", "NOT-A-NUMBER". A text goes out as it
 * stands once checked (messages 83, 107, 108); the names in memory have
 * underscores. Decoders: no octets is 0; bad text message 106, 107 or 108;
 * a value beyond the range saturates to the largest one, or to 0, with no
 * error. The text decoder gives new memory; the mixed one stores the text
 * and returns its kind, 1. */
void _qor_oenc_real(QorGlobal *world, double value);
void _qor_oenc_real_decimal(QorGlobal *world, const char *text);
double _qor_odec_real_double(QorGlobal *world);
float _qor_odec_real_float(QorGlobal *world);
char *_qor_odec_real_decimal(QorGlobal *world);
int _qor_odec_real_mixed(QorGlobal *world, QorMixedReal *value);

/* OER UTCTime and GeneralizedTime: PER's text (every field to the seconds)
 * behind a length, the fields checked unless NOCONSTRAIN (messages 73 to
 * 78). A GeneralizedTime shorter than 4 octets or a UTCTime shorter than 2:
 * message 102; a text not of the type's form, 106. The TIME types as text
 * by `kind`: 14 any TIME as it stands; 31 DATE, 32 TIME-OF-DAY and 33
 * DATE-TIME without their "-", ":" and "T" (8, 6 and 14 octets on the wire);
 * 34 DURATION without its "P". Another kind, another size, or under
 * NOCONSTRAIN a text of more than 128 octets in kinds 31 to 33: message 72;
 * an empty one on decoding, 106. The decoder gives the text zero-terminated
 * in new memory. */
void _qor_oenc_utime(QorGlobal *world, const GeneralizedTime *value);
void _qor_oenc_gtime(QorGlobal *world, const GeneralizedTime *value);
void _qor_odec_utime(QorGlobal *world, GeneralizedTime *value);
void _qor_odec_gtime(QorGlobal *world, GeneralizedTime *value);
void _qor_oenc_date_time(QorGlobal *world, const char *text, int kind);
void _qor_odec_date_time(QorGlobal *world, char **result, int kind);

/* Value copy, for the generated copy entry. Every piece comes from decoder
 * memory, so a copy is freed as a decoded value is. A linked element begins
 * with its next pointer (doubly linked: then its previous one) and is
 * copied whole, `size` octets; a source head is read for its first pointer
 * only. A null target makes a new head or record; in a supplied one only
 * the words named here are written. */
typedef struct QorLinkHead {
    void *first;
    void *more;
} QorLinkHead;
typedef struct QorDLinkPlusHead {
    void *head;
    void *tail;
    QorULong count;
    void *more;
} QorDLinkPlusHead;
void *_qor_cpy_link_obj(QorGlobal *world, const void *source, void *target, QorLong size);
void *_qor_cpy_dlink_obj(QorGlobal *world, const void *source, void *target, QorLong size);
void *_qor_cpy_dlink_plus(QorGlobal *world, const void *source, void *target, QorLong size);
char *_qor_cpy_char_real(QorGlobal *world, const char *text);
/* The encoding and the decoded value in new memory (the latter by the copy
 * entry; one it cannot copy is message 32), unless DONT_DO_ENCODED or
 * DONT_DO_DECODED leaves them out; then the user-field function, if set
 * (a non-zero result is message 33). */
QorOpenType *_qor_cpy_open_type(QorGlobal *world, const QorOpenType *source, QorOpenType *target);
/* A counter of `width` octets (2, else 4) at the record's start and a data
 * pointer at `offset`; `elementSize` below 0 counts bits. */
void *_qor_cpy_unbnd_octet_ia(QorGlobal *world, const void *source, void *target, int width,
                              QorLong elementSize, QorLong offset);
/* The presence bits of the extension additions this schema does not know,
 * from bit `known` to `total`, into new memory at *target from its first
 * bit; their number into `counter` (`width` octets: 1, 2, 4 or 8). Returns
 * how many are set. */
QorULong _qor_copy_preamble(QorGlobal *world, const unsigned char *bits, QorULong total,
                            QorULong known, void *counter, unsigned char **target, int width);
/* The length without trailing zero bits; without trailing zero octets and blanks. */
QorULong _qor_count_bits(const unsigned char *bits, QorULong length);
QorULong _qor_tex_count_bits(const unsigned char *bits, QorULong length);
QorULong _qor_count_chars(const char *text, QorULong length);
QorULong _qor_tex_count_chars(const char *text, QorULong length);
/* The items of an encoded SET OF or SEQUENCE OF from *pos, which stays where
 * it is: `length` octets of them (reading past is message 102), or up to
 * end-of-contents for a negative `length`. */
QorLong _qor_count_setof_items(QorGlobal *world, unsigned char **pos, QorLong *room,
                               QorLong length);

/* Value compare, for the generated compare entry: 0 for equal, 1 for not,
 * unless said otherwise. */
int _qor_cmp_membits(const unsigned char *first, const unsigned char *second, QorULong bits);
/* Trailing zero bits are not looked at. */
int _qor_cmp_arrbits(const unsigned char *first, const unsigned char *second, QorULong firstBits,
                     QorULong secondBits);
/* A head, and the other list's first element; `size` payload octets behind
 * each element's next pointer. */
int _qor_cmp_link_obj(const void *head, const void *otherFirst, QorLong size);
int _qor_cmp_link_objid(const void *first, const void *second, QorLong size);
int _qor_cmp_open_type(QorGlobal *world, const QorOpenType *first, const QorOpenType *second);
int _qor_cmp_unbnd_octet_ia(const void *first, const void *second, int width, QorLong elementSize,
                            QorLong offset);
/* Two huge integers, two's complement when `isSigned`: -1, 0 or 1. */
int _qor_cmp_huge_int_ia(const void *first, const void *second, int width, int isSigned,
                         QorLong offset);
/* 1 when two time texts name the same fields, the UTC mark aside; else 0. */
int _qor_cmp_str2time(const char *first, const char *second, int isUTCTime);
/* Two REAL texts: 0 equal, 2 the first is less, 3 greater, 4 not comparable. */
int compare_char_real(QorGlobal *world, const char *first, const char *second);
/* For PER, DER and OER encoders: 0 when a component of layout `kind` holds
 * its DEFAULT, 1 when not (always 1 under the other rules), 255 for a kind
 * not known (message 64 under DER). */
unsigned char _qor_not_dflt_ia(QorGlobal *world, const void *value, const void *dflt, QorLong size,
                               QorLong offset, QorLong extra, int kind);

/* ---- The XML lexer under EXER decoding ----
 * A pull lexer over one contiguous UTF-8 buffer: generated code asks for the
 * next lexem, tests it, and leaves it in place for the next caller. Every
 * call takes the environment first; a fault leaves through _qor_tdex_error.
 * Its records (attributes, namespace declarations, entities, the lookup
 * tables) live on the temporary stack in strict stack order.
 *
 * Limits of this library, where XML itself sets none:
 * - Inputs nest 8 deep (entities, attribute values, contained documents):
 *   the ninth is message 193 ("0197S"). That stops recursion, not width.
 * - The text that entities push may total at most 64 times the document's
 *   length plus 1 MiB, each push counting one octet more than its text;
 *   beyond it, message 193. Eight levels of 64 references would otherwise
 *   push 64^8 texts.
 * - At most 1024 namespace declarations are in scope at once; the next is
 *   message 193. Prefix searches stay short under deep nesting.
 * - A fault stores the offset it reached in the outer document in `inRoom`
 *   (the decoder's `inPos` is the document's start), so that the message's
 *   line and position point into the document that contains an attribute
 *   value, an entity or a contained document. */

/* Bits of `input_flags`. */
#define QOR_XML_WIDE_REFS 1    /* a reference of 128 and up is lexem 3, a code point */
#define QOR_XML_IN_CDATA 2
#define QOR_XML_IN_ATTR 4      /* an attribute value: whitespace reads as blanks */
#define QOR_XML_ATTR_ENTITY 8  /* an entity reached from an attribute value */
#define QOR_XML_IN_ENTITY 16
#define QOR_XML_AFTER_CR 32    /* a CR read as LF: an LF next is dropped */
#define QOR_XML_DOCUMENT 64    /* the main document or a contained one */

/* Bits of `state` that the reading calls use. */
#define QOR_XML_STORED 2          /* a lexem is stored (store ... restore) */
#define QOR_XML_ATTRS_SEEN 16     /* the open tag's attributes were examined */
#define QOR_XML_DOCUMENT_START 32
#define QOR_XML_EXT_ATTR 0x8000   /* an extension attribute is present */

/* Lexem kinds. */
#define QOR_XML_END 0
#define QOR_XML_TAG 1
#define QOR_XML_CHAR 2       /* UTF-8 octets in `ch` */
#define QOR_XML_CODEPOINT 3  /* a code point in `ch.code` */

/* A tag, always on somebody's frame: `name` points into the input; `kind`
 * 1 start tag, 2 end tag, 3 empty-element tag. `ns_uri` is the canonical
 * pointer of the namespace (URIs compare by pointer), null for none; end
 * tags have none, they are compared by their octets. */
typedef struct QorXmlTag {
    const unsigned char *name;
    uint32_t name_len; /* the whole qualified name */
    uint32_t pos;      /* offset of the name in the outer document */
    int32_t colon;     /* index of the first colon, -1 for none */
    const char *ns_uri;
    void *attrs;       /* the attribute records, newest first */
    void *embed;       /* an embedded-values hook: a record whose first word is a QorXmlEmbedFn */
    void *stack_mark;  /* the temporary stack's top before this tag's records */
    void *attr_mark;   /* its top after the tag's latest namespace declaration */
    uint32_t kind;
} QorXmlTag;

/* One saved input, and the six words of the environment it is saved from. */
typedef struct QorXmlInputFrame {
    const unsigned char *input; /* next unread octet */
    uint32_t input_left;
    uint32_t input_len;
    uint32_t input_base;  /* offset of the input's first octet in the outer document */
    uint32_t input_flags;
    uint32_t depth;       /* element depth */
} QorXmlInputFrame;

#define QOR_XML_INPUT_STACK 8

/* The environment of one EXER decode, on the decoder's frame. */
typedef struct QorXmlEnv {
    QorGlobal *world;
    const void *ns_table; /* rows of QorXmlNsRow */
    uint32_t ns_count;
    const char *xml_uri;  /* the URI bound to the prefix xml */
    const char *ctl_uri;  /* namespace of the type and nil attributes, or null */
    const char *ctl_uri2; /* the second control namespace, or null */
    QorXmlTag *tag;       /* the last tag read; the caller's record */
    QorXmlTag *open_tag;  /* the element whose content is being read */
    void *entities;       /* the internal subset's entities, newest first */
    void *ns_decls;       /* namespace declarations in scope, innermost first */
    QorXmlInputFrame input_stack[QOR_XML_INPUT_STACK];
    /* the current input, laid out as a QorXmlInputFrame */
    const unsigned char *input;
    uint32_t input_left;
    uint32_t input_len;
    uint32_t input_base;
    uint32_t input_flags;
    uint32_t depth;
    union {
        unsigned char bytes[4];
        uint32_t code;
    } ch;                  /* the current character: UTF-8 octets, or a code point for lexem 3 */
    uint8_t ch_len;
    uint32_t tag_left;     /* input_left just after the last tag's less-than sign */
    uint32_t tag_end_left; /* input_left after the greater-than sign of the last end or empty tag */
    uint16_t input_depth;  /* frames in use in input_stack */
    uint32_t lexem;
    uint32_t state;
    void *index;           /* the lexer's own lookup tables; set by _qor_tdex_init_env */
} QorXmlEnv;

/* A whitespace-delimited word of the input. */
typedef struct QorXmlWord {
    const unsigned char *text;
    uint32_t len;
    uint32_t pos;
    int32_t colon;
    const char *ns_uri;
} QorXmlWord;

/* The lexem kept by _qor_tlex_store_input while an attribute is read. */
typedef struct QorXmlInputSave {
    QorXmlTag *tag;
    uint32_t lexem;
    uint32_t tag_left;
    uint32_t tag_end_left;
    unsigned char ch[4];
    uint8_t ch_len;
} QorXmlInputSave;

/* What _qor_tlex_push_input keeps of the outer document while a contained
 * one is read. Its first member is the contained document's tag record. */
typedef struct QorXmlDocumentSave {
    QorXmlTag tag;
    QorXmlTag *saved_tag;
    QorXmlTag *open_tag;
    void *ns_decls;
    void *stack_top;    /* the temporary stack's top */
    unsigned char *word_mark; /* a word of the outer document alive meanwhile */
    uint32_t lexem;
    uint32_t tag_left;
    uint32_t tag_end_left;
    uint32_t state;
    uint32_t ns_floor;  /* where the outer document's declarations end */
    unsigned char ch[4];
    uint8_t ch_len;
    uint8_t reserved;
    uint16_t input_depth;
} QorXmlDocumentSave;

/* The function at the head of an embedded-values hook record. */
typedef void (*QorXmlEmbedFn)(QorXmlEnv *env, void *hook);

/* A row of the EXER namespace table. Bit 0 of `flags`: the prefix was
 * changed by qorSetNamespacePrefix; bit 1: it is fixed; bit 3: not to be
 * reused by URI. */
typedef struct QorXmlNsRow {
    QorULong flags;
    const char *uri;
    const char *prefix; /* null for none */
} QorXmlNsRow;

/* The EXER information record that generated code gives to qorLink_Exer. */
typedef struct QorExerInfo {
    QorULong flags;
    void *reserved1;
    QorULong ns_count;
    const QorXmlNsRow *ns_table;
    const void *uri_names;
    void *reserved2;
    const void *pdu_names;
    void *reserved3;
    const char *gen_prefix;
    uint16_t ctl_ns;  /* row of the control namespace */
    uint16_t char_ns; /* row of the control-character namespace, 65535 for none */
} QorExerInfo;

/* Prepares `env` for the document of `length` octets at `buffer` and reads
 * its prolog and root tag into `env->tag` (the caller's record, which is
 * kept, as is `env->world`). Returns 1 when the root is a start tag, else 0. */
int _qor_tdex_init_env(QorXmlEnv *env, const unsigned char *buffer, QorULong length);
/* Raises catalogue message `code`. `argument` by `kind`: 0 a 32-bit number
 * or null; 1 one octet; 2 a 32-bit number; 4 a 64-bit number; 8 a
 * zero-ended text; 16 and 32 a QorXmlText, validated as a name first
 * (a bad name raises its own message instead) unless 64 is added. Inside
 * a union attempt it leaves at once with the return code alone. */
typedef struct QorXmlText {
    const unsigned char *text;
    uint32_t len;
} QorXmlText;
QOR_NORETURN void _qor_tdex_error(QorXmlEnv *env, int code, const void *argument, int kind);

/* Reading. Lexems: get_lex one; get_tag up to a tag, dropping whitespace
 * (anything else "0214S"); get_lex_collapse up to the first that is not
 * whitespace; skip_ws drops whitespace from a whitespace lexem on. */
void _qor_tlex_get_lex(QorXmlEnv *env);
void _qor_tlex_get_tag(QorXmlEnv *env);
void _qor_tlex_get_lex_collapse(QorXmlEnv *env);
void _qor_tlex_skip_ws(QorXmlEnv *env);
/* As skip_ws, but a character lexem must be whitespace ("0159E"). */
void _qor_tlex_check_ws(QorXmlEnv *env);
/* After whitespace the input must end: "0355S" in a document, "0225S" in an
 * attribute value. */
void _qor_tlex_check_end(QorXmlEnv *env);
/* After whitespace a tag or the end; a character is "0214S". */
void _qor_tlex_check_end_union(QorXmlEnv *env);
/* 0 unless the lexem is a start (1) or empty-element (2) tag named `name`,
 * without a namespace; the qualified form compares `uri` by pointer and the
 * local part. */
int _qor_tlex_match_tag(QorXmlEnv *env, const char *name, QorULong length);
int _qor_tlex_match_qtag(QorXmlEnv *env, const char *uri, const char *name, QorULong length);
/* Closes the open element: its attributes are checked, its end tag read and
 * compared, its records given back; then the next tag is read (or, with an
 * embed hook, the next lexem, and the hook runs). After the root, only
 * whitespace, comments and processing instructions may follow. */
void _qor_tlex_check_close_tag(QorXmlEnv *env);
/* Attribute values: store keeps the lexem, set_attr_input makes the value of
 * `attribute` (a record of `open_tag->attrs`) the input, marks it read and
 * reads its first lexem; restore returns to the stored lexem and checks the
 * open tag's attributes. */
void _qor_tlex_store_input(QorXmlEnv *env, QorXmlInputSave *save);
void _qor_tlex_set_attr_input(QorXmlEnv *env, void *attribute);
void _qor_tlex_restore_input(QorXmlEnv *env, QorXmlInputSave *save);
/* Words. read_word drops whitespace and reads one whitespace-delimited word
 * into `word` (an empty one with a null text when the lexem is no
 * character): a slice of the input when it can, else a copy on the temporary
 * stack, which free_name gives back. A start tag that ended the word is
 * unread meanwhile, and read again by free_name: its attributes and
 * declarations are not to be looked at in between. resolve_prefix checks
 * the word as a qualified name, sets its `colon` and `ns_uri` (the canonical
 * pointer, null for none) and returns the URI's length. */
void _qor_tlex_read_word(QorXmlEnv *env, QorXmlWord *word);
void _qor_tlex_free_name(QorXmlEnv *env);
uint32_t _qor_tlex_resolve_prefix(QorXmlEnv *env, QorXmlWord *word);
/* Skipping: skip_type passes over the open element's content and reads its
 * end tag, which becomes the lexem (with STRICT_ENCODING_DECODING_RULES the
 * content is checked on the way), and drops its attributes unexamined.
 * skip_content passes over elements and text from the lexem on, up to an
 * end tag; state bit 0x400: one element, which must be there, and then a
 * tag; 0x800: one element, and the text after it. */
void _qor_tlex_skip_type(QorXmlEnv *env);
void _qor_tlex_skip_content(QorXmlEnv *env);
/* A contained document of `length` octets at `buffer`: push keeps the
 * lexem, the tags, the declarations and the temporary stack's top in
 * `save`, and reads the root tag into save->tag, which becomes both `tag`
 * and `open_tag` (returned); the buffer must outlive the reading. Pop
 * returns to the outer document as it was. */
QorXmlTag *_qor_tlex_push_input(QorXmlEnv *env, QorXmlDocumentSave *save, const unsigned char *buffer,
                                QorULong length);
void _qor_tlex_pop_input(QorXmlEnv *env, QorXmlDocumentSave *save);

#ifdef __cplusplus
}
#endif

#endif

/* PersonnelRecord in aligned and unaligned PER, written as generated code
 * would be, for two modules that share the value type: one with
 * unconstrained VisibleStrings, one with permitted alphabets and sizes
 * (NameString, Date). A SET goes as a SEQUENCE of its components in
 * canonical tag order; a DEFAULT {} list has a presence bit. */
#include <stdint.h>
#include <string.h>

#include "testschema.h"

enum { MSG_END_OF_INPUT = 45, MSG_SIZE_TOO_LONG = 99 };

/* The strings of one module: a descriptor for each field. */
typedef struct PersonnelStrings {
    const QorStringDescriptor *givenName;
    const QorStringDescriptor *initial;
    const QorStringDescriptor *familyName;
    const QorStringDescriptor *title;
    const QorStringDescriptor *date;
} PersonnelStrings;

/* NameString ::= VisibleString (FROM("a".."z" | "A".."Z" | "-.") ^ SIZE(1..64)) */
static const char nameChars[] = "-.ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
static const unsigned char nameIndexes[128] = {
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,   0,   1, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255,   2,   3,   4,   5,   6,   7,   8,   9,  10,  11,  12,  13,  14,  15,  16,
     17,  18,  19,  20,  21,  22,  23,  24,  25,  26,  27, 255, 255, 255, 255, 255,
    255,  28,  29,  30,  31,  32,  33,  34,  35,  36,  37,  38,  39,  40,  41,  42,
     43,  44,  45,  46,  47,  48,  49,  50,  51,  52,  53, 255, 255, 255, 255, 255};
const QorPermittedAlphabet nameAlphabet = {54, nameChars, nameIndexes, 0};

/* Date ::= VisibleString (FROM("0".."9") ^ SIZE(8)) */
static const char digitChars[] = "0123456789";
static const unsigned char digitIndexes[128] = {
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
      0,   1,   2,   3,   4,   5,   6,   7,   8,   9, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
    255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
const QorPermittedAlphabet digitAlphabet = {10, digitChars, digitIndexes, 0};

/* Aligned: 8 bits a character, its code; unaligned: 7 bits, its code. */
static const QorStringDescriptor visibleString = {NULL, 1, 0, 0, 0x88 | (0x87 << 8)};
/* Aligned: 8 bits, the code; unaligned: 6 bits, the index. */
static const QorStringDescriptor nameString = {&nameAlphabet, 1, 64, 64, 0x88 | (6 << 8)};
static const QorStringDescriptor initialString = {&nameAlphabet, 1, 1, 1, 0x88 | (6 << 8)};
/* 4 bits, the index, in both. */
static const QorStringDescriptor dateString = {&digitAlphabet, 8, 8, 8, 4 | (4 << 8)};

static const PersonnelStrings plainStrings = {&visibleString, &visibleString, &visibleString,
                                              &visibleString, &visibleString};
static const PersonnelStrings constrainedStrings = {&nameString, &initialString, &nameString,
                                                    &visibleString, &dateString};

static const PersonnelStrings *stringsOf(int constrained)
{
    return constrained ? &constrainedStrings : &plainStrings;
}

/* A list longer than this is sent in fragments. */
enum { FRAGMENT_UNIT = 16384 };
/* The fewest bits a ChildInformation takes: four lengths of a byte or
 * more, or as many characters. */
enum { CHILD_MIN_BITS = 24 };

/* Encoding, first component first. */

static void encodeString(QorGlobal *world, const char *text, const QorStringDescriptor *desc)
{
    QorULong count = text != NULL ? (QorULong)strlen(text) : 0;
    _qor_penc_kmstr(world, text != NULL ? text : "", count, desc, 0);
}

static void encodeName(QorGlobal *world, const Name *v, const PersonnelStrings *s)
{
    encodeString(world, v->givenName, s->givenName);
    encodeString(world, v->initial, s->initial);
    encodeString(world, v->familyName, s->familyName);
}

static void encodeChild(QorGlobal *world, const ChildInformation *v, const PersonnelStrings *s)
{
    encodeName(world, &v->name, s);
    encodeString(world, v->dateOfBirth, s->date);
}

void personnelPerEncode(QorGlobal *world, const PersonnelRecord *v, int constrained)
{
    const PersonnelStrings *s = stringsOf(constrained);
    int withChildren = v->children.count > 0; /* DEFAULT {}: an empty list is left out */
    _qor_penc_nonneg_1int(world, (QorULong)withChildren);
    encodeName(world, &v->name, s);
    _qor_penc_unconstr_int_l(world, v->number);
    encodeString(world, v->title, s->title);
    encodeString(world, v->dateOfHire, s->date);
    encodeName(world, &v->nameOfSpouse, s);
    if (withChildren) {
        QorULong written = 0;
        for (;;) {
            QorULong part = _qor_penc_length_l(world, (QorULong)v->children.count - written, 0, 0, 0);
            QorULong i;
            for (i = 0; i < part; i++)
                encodeChild(world, &v->children.value[written + i], s);
            written += part;
            if (part < FRAGMENT_UNIT) /* a fragment is followed by another length */
                break;
        }
    }
}

/* Decoding. */

static char *decodeString(QorGlobal *world, const QorStringDescriptor *desc)
{
    char *text = NULL;
    _qor_pdec_ntp_kmstr(world, &text, desc);
    return text;
}

static void decodeName(QorGlobal *world, Name *v, const PersonnelStrings *s)
{
    v->givenName = decodeString(world, s->givenName);
    v->initial = decodeString(world, s->initial);
    v->familyName = decodeString(world, s->familyName);
}

static void decodeChild(QorGlobal *world, ChildInformation *v, const PersonnelStrings *s)
{
    decodeName(world, &v->name, s);
    v->dateOfBirth = decodeString(world, s->date);
}

/* The list in parts: memory for each part is taken only when the input
 * can hold its children. */
static void decodeChildren(QorGlobal *world, PersonnelRecord *v, const PersonnelStrings *s)
{
    void *array = NULL;
    QorULong total = 0;
    unsigned char done = 0;
    while (!done) {
        QorULong part = _qor_pdec_length(world, 0, 0, &done);
        uint64_t bitsLeft = world->inRoom > 0 ? (uint64_t)world->inRoom * 8 - world->bitOffset : 0;
        QorULong i;
        if (part > bitsLeft / CHILD_MIN_BITS)
            _qor_enc_error(world, MSG_END_OF_INPUT, 0);
        if ((uint64_t)(total + part) * sizeof(ChildInformation) > INT32_MAX)
            _qor_enc_error(world, MSG_SIZE_TOO_LONG, (QorLong)total);
        _qor_pdec_unbnd_frg(world, &array, (total + part) * sizeof(ChildInformation),
                            total * sizeof(ChildInformation), &done);
        for (i = 0; i < part; i++)
            decodeChild(world, (ChildInformation *)array + total + i, s);
        total += part;
    }
    v->children.value = (ChildInformation *)array;
    v->children.count = (QorLong)total;
}

void *personnelPerDecode(QorGlobal *world, int constrained)
{
    const PersonnelStrings *s = stringsOf(constrained);
    PersonnelRecord *v = (PersonnelRecord *)_qor_dec_getmem(world, sizeof(PersonnelRecord));
    QorULong withChildren = _qor_pdec_nonneg_1int(world);
    decodeName(world, &v->name, s);
    v->number = _qor_pdec_unconstr_limited_int_l(world, INT32_MIN, INT32_MAX);
    v->title = decodeString(world, s->title);
    v->dateOfHire = decodeString(world, s->date);
    decodeName(world, &v->nameOfSpouse, s);
    if (withChildren)
        decodeChildren(world, v, s);
    return v;
}

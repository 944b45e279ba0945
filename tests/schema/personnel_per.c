/* PersonnelRecord in aligned and unaligned PER, written as generated code
 * would be, for four modules that share the value type: one with
 * unconstrained VisibleStrings, one with permitted alphabets and sizes
 * (NameString, Date), and the latter made extensible, in two versions. A SET
 * goes as a SEQUENCE of its components in canonical tag order; a DEFAULT {}
 * or OPTIONAL list has a presence bit. An extension addition goes in an open
 * type, written in place by the fast push and pop. */
#include <stdint.h>
#include <string.h>

#include "testschema.h"

enum { MSG_END_OF_INPUT = 45, MSG_SIZE_TOO_LONG = 99, MSG_VALUE_OUT_OF_BOUNDS = 10 };

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

/* The extensible sizes: SIZE(1..64, ...) and SIZE(8, ..., 9..20). */
static const QorStringDescriptor nameStringExt = {&nameAlphabet, 1, 64, 64, 0x88 | (6 << 8) | 0x20000};
static const QorStringDescriptor dateStringExt = {&digitAlphabet, 8, 8, 20, 4 | (4 << 8) | 0x20000};

static const PersonnelStrings plainStrings = {&visibleString, &visibleString, &visibleString,
                                              &visibleString, &visibleString};
static const PersonnelStrings constrainedStrings = {&nameString, &initialString, &nameString,
                                                    &visibleString, &dateString};
static const PersonnelStrings extensibleStrings = {&nameStringExt, &initialString, &nameStringExt,
                                                   &visibleString, &dateStringExt};

static const PersonnelStrings *stringsOf(int module)
{
    if (module == PersonnelPlain)
        return &plainStrings;
    return module == PersonnelConstrained ? &constrainedStrings : &extensibleStrings;
}

static int extensible(int module) { return module >= PersonnelExtensible; }

/* sex ENUMERATED { male(1), female(2), unknown(3) } */
static const QorLong sexValues[] = {1, 2, 3};
static const QorEnumTable sexRoot = {3, sexValues};

/* EmployeeNumber ::= INTEGER (0..9999, ...) in the extensible module. */
enum { NUMBER_UB = 9999, NUMBER_BITS = 14, CHILDREN_ROOT = 2 };

static char ralph[] = "Ralph", t[] = "T", smith[] = "Smith", ralphBorn[] = "19571111";
static char susan[] = "Susan", b[] = "B", jones[] = "Jones", susanBorn[] = "19590717";
static char john[] = "John", p[] = "P", director[] = "Director", hired[] = "19710917";
static char mary[] = "Mary";
static ChildInformation extensibleChildren[2] = {
    {{ralph, t, smith}, ralphBorn, 0, 0},
    {{susan, b, jones}, susanBorn, ChildInformation_sex_present, 2}};
PersonnelRecord personnelExtensibleExample = {
    {john, p, smith}, director, 51, hired, {mary, t, smith}, {2, extensibleChildren}};

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

static void encodeName(QorGlobal *world, const Name *v, int module)
{
    const PersonnelStrings *s = stringsOf(module);
    if (extensible(module))
        _qor_penc_nonneg_1int(world, 0); /* no additions */
    encodeString(world, v->givenName, s->givenName);
    encodeString(world, v->initial, s->initial);
    encodeString(world, v->familyName, s->familyName);
}

static void encodeChild(QorGlobal *world, const ChildInformation *v, int module)
{
    int withSex = module == PersonnelExtensible && (v->bit_mask & ChildInformation_sex_present);
    if (extensible(module))
        _qor_penc_nonneg_1int(world, (QorULong)withSex);
    encodeName(world, &v->name, module);
    encodeString(world, v->dateOfBirth, stringsOf(module)->date);
    if (withSex) {
        _qor_penc_small_len_l(world, 1); /* one addition known */
        _qor_penc_nonneg_1int(world, 1);
        _qor_fast_push_global(world);
        _qor_penc_enum(world, v->sex, &sexRoot, NULL);
        _qor_fast_pop_global(world);
    }
}

static void encodeNumber(QorGlobal *world, QorLong number, int module)
{
    if (!extensible(module)) {
        _qor_penc_unconstr_int_l(world, number);
        return;
    }
    if (number < 0 || number > NUMBER_UB) {
        _qor_penc_nonneg_1int(world, 1);
        _qor_penc_unconstr_int_l(world, number);
        return;
    }
    _qor_penc_nonneg_1int(world, 0);
    if (world->perAligned) /* up to 64K values: two octets */
        _qor_penc_int16_aligned(world, (QorULong)number);
    else
        _qor_penc_nonneg_int_l(world, (QorULong)number, NUMBER_BITS);
}

static void encodeChildren(QorGlobal *world, const PersonnelRecord *v, int module)
{
    QorULong written = 0;
    if (extensible(module)) {
        int inRoot = v->children.count == CHILDREN_ROOT; /* SIZE(2, ...): no length */
        _qor_penc_nonneg_1int(world, (QorULong)!inRoot);
        if (inRoot) {
            encodeChild(world, &v->children.value[0], module);
            encodeChild(world, &v->children.value[1], module);
            return;
        }
    }
    for (;;) {
        QorULong part = _qor_penc_length_l(world, (QorULong)v->children.count - written, 0, 0, 0);
        QorULong i;
        for (i = 0; i < part; i++)
            encodeChild(world, &v->children.value[written + i], module);
        written += part;
        if (part < FRAGMENT_UNIT) /* a fragment is followed by another length */
            break;
    }
}

void personnelPerEncode(QorGlobal *world, const PersonnelRecord *v, int module)
{
    const PersonnelStrings *s = stringsOf(module);
    int withChildren = v->children.count > 0; /* DEFAULT {} or OPTIONAL: an empty list is left out */
    if (extensible(module))
        _qor_penc_nonneg_1int(world, 0);
    _qor_penc_nonneg_1int(world, (QorULong)withChildren);
    encodeName(world, &v->name, module);
    encodeNumber(world, v->number, module);
    encodeString(world, v->title, s->title);
    encodeString(world, v->dateOfHire, s->date);
    encodeName(world, &v->nameOfSpouse, module);
    if (withChildren)
        encodeChildren(world, v, module);
}

/* Decoding. */

static char *decodeString(QorGlobal *world, const QorStringDescriptor *desc)
{
    char *text = NULL;
    _qor_pdec_ntp_kmstr(world, &text, desc);
    return text;
}

/* After an extension bit of 1: the additions' bit mask, and those from
 * `known` on, which this version doesn't know, stepped over. The known
 * ones are read between the two calls. */
static void skipAdditions(QorGlobal *world)
{
    unsigned char *mask = NULL;
    QorULong bits = _qor_pdec_eap(world, &mask);
    _qor_pdec_eas(world, mask, bits, 0);
}

static void decodeName(QorGlobal *world, Name *v, int module)
{
    const PersonnelStrings *s = stringsOf(module);
    int additions = extensible(module) && _qor_pdec_nonneg_1int(world);
    v->givenName = decodeString(world, s->givenName);
    v->initial = decodeString(world, s->initial);
    v->familyName = decodeString(world, s->familyName);
    if (additions)
        skipAdditions(world);
}

static void decodeChild(QorGlobal *world, ChildInformation *v, int module)
{
    int additions = extensible(module) && _qor_pdec_nonneg_1int(world);
    decodeName(world, &v->name, module);
    v->dateOfBirth = decodeString(world, stringsOf(module)->date);
    if (!additions)
        return;
    if (module == PersonnelExtensible) {
        unsigned char *mask = NULL;
        QorULong bits = _qor_pdec_eap(world, &mask);
        if (bits > 0 && (mask[0] & 0x80) != 0) {
            _qor_pdec_push(world);
            v->sex = _qor_pdec_enum(world, &sexRoot, NULL);
            v->bit_mask |= ChildInformation_sex_present;
            _qor_pdec_pop(world);
        }
        _qor_pdec_eas(world, mask, bits, 1);
    } else {
        skipAdditions(world);
    }
}

static QorLong decodeNumber(QorGlobal *world, int module)
{
    unsigned char octets[2];
    QorLong number;
    if (!extensible(module) || _qor_pdec_nonneg_1int(world))
        return _qor_pdec_unconstr_limited_int_l(world, INT32_MIN, INT32_MAX);
    if (!world->perAligned)
        return (QorLong)_qor_pdec_nonneg_limited_int_l(world, NUMBER_BITS, 0, NUMBER_UB);
    _qor_get_bits(world, octets, 16, 1);
    number = (QorLong)(octets[0] << 8 | octets[1]);
    if (number > NUMBER_UB)
        _qor_enc_error(world, MSG_VALUE_OUT_OF_BOUNDS, number);
    return number;
}

/* The list in parts: memory for each part is taken only when the input
 * can hold its children. */
static void decodeChildren(QorGlobal *world, PersonnelRecord *v, int module)
{
    void *array = NULL;
    QorULong total = 0;
    unsigned char done = 0;
    if (extensible(module) && !_qor_pdec_nonneg_1int(world)) {
        ChildInformation *two = (ChildInformation *)_qor_dec_getmem(world, 2 * sizeof(ChildInformation));
        v->children.value = two;
        decodeChild(world, &two[0], module);
        decodeChild(world, &two[1], module);
        v->children.count = CHILDREN_ROOT;
        return;
    }
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
            decodeChild(world, (ChildInformation *)array + total + i, module);
        total += part;
    }
    v->children.value = (ChildInformation *)array;
    v->children.count = (QorLong)total;
}

void *personnelPerDecode(QorGlobal *world, int module)
{
    const PersonnelStrings *s = stringsOf(module);
    PersonnelRecord *v = (PersonnelRecord *)_qor_dec_getmem(world, sizeof(PersonnelRecord));
    int additions = extensible(module) && _qor_pdec_nonneg_1int(world);
    QorULong withChildren = _qor_pdec_nonneg_1int(world);
    decodeName(world, &v->name, module);
    v->number = decodeNumber(world, module);
    v->title = decodeString(world, s->title);
    v->dateOfHire = decodeString(world, s->date);
    decodeName(world, &v->nameOfSpouse, module);
    if (withChildren)
        decodeChildren(world, v, module);
    if (additions)
        skipAdditions(world);
    return v;
}

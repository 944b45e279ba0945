/* The constraint entry of the test schema, written as generated code would
 * be: a check function a type, each raising its violation by message index
 * through the library's error calls and check primitives. */
#include <stdint.h>
#include <string.h>

#include "testschema.h"

enum {
    MSG_RANGE = 22,     /* value range, signed */
    MSG_SIZE = 27,      /* size of a string */
    MSG_LIST_SIZE = 28, /* number of SET OF / SEQUENCE OF components */
    MSG_NULL_INPUT = 71
};

static void checkSize(QorGlobal *world, QorULong size, QorULong lower, QorULong upper)
{
    if (size < lower || size > upper)
        _qor_enc_error(world, MSG_SIZE, (QorLong)size);
}

static void checkRange(QorGlobal *world, QorLong value, QorLong lower, QorLong upper)
{
    if (value < lower || value > upper)
        _qor_enc_error(world, MSG_RANGE, value);
}

/* A zero-terminated VisibleString with a size and a permitted alphabet. */
static void checkText(QorGlobal *world, const char *text, QorULong lower, QorULong upper,
                      const QorPermittedAlphabet *alphabet)
{
    QorULong length;
    if (text == NULL)
        _qor_enc_error(world, MSG_NULL_INPUT, 0);
    length = (QorULong)strlen(text);
    checkSize(world, length, lower, upper);
    _qor_chk_pac(world, text, length, alphabet);
}

/* NameString (SIZE(1..64)), the initial a NameString (SIZE(1)); Date
 * (SIZE(8)) of digits. */
static void checkName(QorGlobal *world, const Name *name)
{
    checkText(world, name->givenName, 1, 64, &nameAlphabet);
    checkText(world, name->initial, 1, 1, &nameAlphabet);
    checkText(world, name->familyName, 1, 64, &nameAlphabet);
}

static void checkPersonnel(QorGlobal *world, const PersonnelRecord *v)
{
    QorLong i;
    checkName(world, &v->name);
    checkText(world, v->dateOfHire, 8, 8, &digitAlphabet);
    checkName(world, &v->nameOfSpouse);
    for (i = 0; i < v->children.count; i++) {
        checkName(world, &v->children.value[i].name);
        checkText(world, v->children.value[i].dateOfBirth, 8, 8, &digitAlphabet);
    }
}

static const QorLong levelValues[] = {Level_low, Level_medium, Level_high};
static const QorEnumTable levelTable = {3, levelValues};

static void checkGauges(QorGlobal *world, const Gauges *v)
{
    checkRange(world, v->tiny, 0, 7);
    checkRange(world, v->word, -1000, 60000);
    checkRange(world, v->offset, -100, INT32_MAX);
    checkText(world, v->code, 1, 8, &upperAlphabet);
    checkText(world, v->digits, 1, 10, &numericAlphabet);
    if (v->list.count > 100000)
        _qor_enc_error(world, MSG_LIST_SIZE, (QorLong)v->list.count);
}

/* symbols: "0".."9" | "a".."z" | the Greek list | the euro sign, as the
 * checker's range list: "a".."z" first, "0".."9" after it as the smaller
 * side, then the list and the euro sign on the greater side. */
#define RANGE_ITEM 0x40000000u
#define LIST_ITEM(s) (0x80000000u | ((QorULong)(s) << 26))
#define SMALLER_FOLLOWS 0x02000000u
/* clang-format off */
static const QorULong symbolsRanges[] = {
    RANGE_ITEM | SMALLER_FOLLOWS | 6, 'a', 'z',
    RANGE_ITEM, '0', '9',
    LIST_ITEM(5) | 5, 0x3B1, 0x3B2, 0x3C9, 0, /* a list ends in a reserved word */
    0, 0x20AC};
/* clang-format on */
static const QorPermittedAlphabet symbolsAlphabet = {0xFFFFFFFFu, symbolsRanges, NULL, 0};

static void checkTexts(QorGlobal *world, const Texts *v)
{
    checkSize(world, v->bmp.length, 1, 4);
    _qor_chk_pac4(world, v->symbols.value, v->symbols.length, &symbolsAlphabet);
    checkSize(world, v->name.count, 0, 10);
}

static void checkBits(QorGlobal *world, const Bits *v)
{
    checkSize(world, v->flags.length, 0, 16);
    checkSize(world, v->octets.length, 1, 8);
}

int testSchemaConstraints(QorGlobal *world, int pdunum, void *value)
{
    switch (pdunum) {
    case PDU_Bag:
        if (((const Bag *)value)->count > 4000)
            _qor_enc_error(world, MSG_LIST_SIZE, ((const Bag *)value)->count);
        break;
    case PDU_Record:
        _qor_chk_enum(world, ((const Record *)value)->level, &levelTable);
        break;
    case PDU_PersonnelConstrained:
        checkPersonnel(world, (const PersonnelRecord *)value);
        break;
    case PDU_Gauges:
        checkGauges(world, (const Gauges *)value);
        break;
    case PDU_Texts:
        checkTexts(world, (const Texts *)value);
        break;
    case PDU_Bits:
        checkBits(world, (const Bits *)value);
        break;
    default:
        break; /* no constraints */
    }
    return 0;
}

/* PersonnelRecord in OER, written as generated code would be, for the two
 * modules that share the value type. A SET goes as a SEQUENCE of its
 * components in canonical tag order; the DEFAULT {} list has a bit of the
 * preamble and a quantity; a string of one fixed size (the constrained
 * module's initial and Date) goes without a length. Alphabets don't change
 * OER. */
#include <stdint.h>
#include <string.h>

#include "testschema.h"

enum { MSG_SIZE_VIOLATED = 27, MSG_END_OF_INPUT = 45, MSG_SIZE_TOO_LONG = 99 };
enum { CHILDREN_PRESENT = 0x80 };

/* The size of a string: `ub` 0 for none; `lb` = `ub` for a fixed one. */
typedef struct TextSize {
    QorULong lb;
    QorULong ub;
} TextSize;

typedef struct PersonnelSizes {
    TextSize name;
    TextSize initial;
    TextSize title;
    TextSize date;
    QorULong childOctets; /* the fewest octets a ChildInformation takes */
} PersonnelSizes;

static const PersonnelSizes plainSizes = {{0, 0}, {0, 0}, {0, 0}, {0, 0}, 4};
static const PersonnelSizes constrainedSizes = {{1, 64}, {1, 1}, {0, 0}, {8, 8}, 13};

static const PersonnelSizes *sizesOf(int constrained)
{
    return constrained ? &constrainedSizes : &plainSizes;
}

static int fixedSize(const TextSize *size) { return size->ub != 0 && size->lb == size->ub; }

/* Encoding. */

static void encodeText(QorGlobal *world, const char *text, const TextSize *size)
{
    QorULong n = text != NULL ? (QorULong)strlen(text) : 0;
    if (size->ub != 0 && (n < size->lb || n > size->ub))
        _qor_enc_error(world, MSG_SIZE_VIOLATED, (QorLong)n);
    if (!fixedSize(size))
        _qor_oenc_octet_length(world, n);
    _qor_oenc_append_bytes(world, text, n);
}

static void encodeName(QorGlobal *world, const Name *v, const PersonnelSizes *s)
{
    encodeText(world, v->givenName, &s->name);
    encodeText(world, v->initial, &s->initial);
    encodeText(world, v->familyName, &s->name);
}

void personnelOerEncode(QorGlobal *world, const PersonnelRecord *v, int constrained)
{
    const PersonnelSizes *s = sizesOf(constrained);
    int withChildren = v->children.count > 0; /* DEFAULT {}: an empty list is left out */
    _qor_oenc_append_byte(world, withChildren ? CHILDREN_PRESENT : 0);
    encodeName(world, &v->name, s);
    _qor_oenc_int(world, v->number);
    encodeText(world, v->title, &s->title);
    encodeText(world, v->dateOfHire, &s->date);
    encodeName(world, &v->nameOfSpouse, s);
    if (withChildren) {
        QorLong i;
        _qor_oenc_uint(world, (QorULong)v->children.count);
        for (i = 0; i < v->children.count; i++) {
            encodeName(world, &v->children.value[i].name, s);
            encodeText(world, v->children.value[i].dateOfBirth, &s->date);
        }
    }
}

/* Decoding: a length is known to fit in the input; a fixed size is tested. */

static QorULong inputLeft(const QorGlobal *world)
{
    return (QorULong)((const unsigned char *)world->blockStack - world->inPos);
}

static char *decodeText(QorGlobal *world, const TextSize *size)
{
    QorULong n;
    char *text;
    if (fixedSize(size)) {
        n = size->lb;
        if (inputLeft(world) < n)
            _qor_enc_error(world, MSG_END_OF_INPUT, 0);
    } else {
        n = _qor_odec_length(world);
        if (size->ub != 0 && (n < size->lb || n > size->ub))
            _qor_enc_error(world, MSG_SIZE_VIOLATED, (QorLong)n);
        if (n >= INT32_MAX)
            _qor_enc_error(world, MSG_SIZE_TOO_LONG, INT32_MAX);
    }
    text = (char *)_qor_dec_getfixmem(world, (QorLong)n + 1);
    memcpy(text, world->inPos, n);
    text[n] = '\0';
    world->inPos += n;
    return text;
}

static void decodeName(QorGlobal *world, Name *v, const PersonnelSizes *s)
{
    v->givenName = decodeText(world, &s->name);
    v->initial = decodeText(world, &s->initial);
    v->familyName = decodeText(world, &s->name);
}

/* Memory for the list is taken only when the input can hold its children. */
static void decodeChildren(QorGlobal *world, PersonnelRecord *v, const PersonnelSizes *s)
{
    QorULong count = _qor_odec_uint(world);
    QorULong i;
    ChildInformation *children;
    if (count > inputLeft(world) / s->childOctets)
        _qor_enc_error(world, MSG_END_OF_INPUT, 0);
    if ((uint64_t)count * sizeof(ChildInformation) > INT32_MAX)
        _qor_enc_error(world, MSG_SIZE_TOO_LONG, (QorLong)count);
    children = (ChildInformation *)_qor_dec_getmem(world, (QorLong)(count * sizeof(ChildInformation)));
    v->children.value = children;
    for (i = 0; i < count; i++) {
        decodeName(world, &children[i].name, s);
        children[i].dateOfBirth = decodeText(world, &s->date);
    }
    v->children.count = (QorLong)count;
}

void *personnelOerDecode(QorGlobal *world, int constrained)
{
    const PersonnelSizes *s = sizesOf(constrained);
    PersonnelRecord *v = (PersonnelRecord *)_qor_dec_getmem(world, sizeof(PersonnelRecord));
    QorULong preamble = _qor_odec_uint_1byte(world);
    decodeName(world, &v->name, s);
    v->number = _qor_odec_int(world);
    v->title = decodeText(world, &s->title);
    v->dateOfHire = decodeText(world, &s->date);
    decodeName(world, &v->nameOfSpouse, s);
    if (preamble & CHILDREN_PRESENT)
        decodeChildren(world, v, s);
    return v;
}

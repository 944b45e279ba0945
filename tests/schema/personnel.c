/* PersonnelRecord, the classic example of the encoding rules, written as
 * generated BER code would be. Encoders put a SET's components in canonical
 * tag order, which every rule accepts and DER requires; decoders take them in
 * any order, with definite or indefinite lengths. */
#include "testschema.h"

#include "extent.h"

enum {
    MSG_TAG_NOT_RECOGNIZED = 115,
    MSG_FIELD_REPEATED = 116,
    MSG_FIELD_OMITTED = 117
};

enum {
    TAG_VISIBLE_STRING = 0x1A,
    TAG_NAME = 0x61,
    TAG_NUMBER = 0x42,
    TAG_DATE = 0x43,
    TAG_PERSONNEL = 0x60,
    TAG_SET = 0x31
};

static char john[] = "John", p[] = "P", smith[] = "Smith", director[] = "Director";
static char hired[] = "19710917", mary[] = "Mary", t[] = "T", ralph[] = "Ralph";
static char ralphBorn[] = "19571111", susan[] = "Susan", b[] = "B", jones[] = "Jones";
static char susanBorn[] = "19590717";
static ChildInformation exampleChildren[2] = {{{ralph, t, smith}, ralphBorn, 0, 0},
                                              {{susan, b, jones}, susanBorn, 0, 0}};
PersonnelRecord personnelExample = {
    {john, p, smith}, director, 51, hired, {mary, t, smith}, {2, exampleChildren}};

/* Encoding, last component first. */

static QorLong encodeVisible(QorGlobal *world, const char *text, QorULong tag, unsigned char **pos,
                             QorLong *room)
{
    QorLong n = _qor_encd_nstr(world, pos, room, text, 0);
    return n + _qor_encd_tag_length(world, pos, room, n, tag);
}

static QorLong encodeName(QorGlobal *world, const Name *v, unsigned char **pos, QorLong *room)
{
    QorLong n = encodeVisible(world, v->familyName, TAG_VISIBLE_STRING, pos, room);
    n += encodeVisible(world, v->initial, TAG_VISIBLE_STRING, pos, room);
    n += encodeVisible(world, v->givenName, TAG_VISIBLE_STRING, pos, room);
    return n + _qor_encd_tag_length(world, pos, room, n, TAG_NAME);
}

/* [n] Date: the explicit tag around the implicitly tagged string. */
static QorLong encodeDate(QorGlobal *world, const char *date, QorULong tag, unsigned char **pos,
                          QorLong *room)
{
    QorLong n = encodeVisible(world, date, TAG_DATE, pos, room);
    return n + _qor_encd_tag_length(world, pos, room, n, tag);
}

static QorLong encodeChild(QorGlobal *world, const ChildInformation *v, unsigned char **pos,
                           QorLong *room)
{
    QorLong n = encodeDate(world, v->dateOfBirth, 0xA0, pos, room);
    n += encodeName(world, &v->name, pos, room);
    return n + _qor_encd_tag_length(world, pos, room, n, TAG_SET);
}

void personnelEncode(QorGlobal *world, const PersonnelRecord *v, unsigned char **pos,
                     QorLong *room)
{
    QorLong n = 0;
    QorLong i;
    if (v->children.count > 0) { /* DEFAULT {}: an empty list is left out */
        QorLong listed = 0;
        for (i = v->children.count - 1; i >= 0; i--)
            listed += encodeChild(world, &v->children.value[i], pos, room);
        n += listed + _qor_encd_tag_length(world, pos, room, listed, 0xA3);
    }
    {
        QorLong spouse = encodeName(world, &v->nameOfSpouse, pos, room);
        n += spouse + _qor_encd_tag_length(world, pos, room, spouse, 0xA2);
    }
    n += encodeDate(world, v->dateOfHire, 0xA1, pos, room);
    {
        QorLong title = encodeVisible(world, v->title, TAG_VISIBLE_STRING, pos, room);
        n += title + _qor_encd_tag_length(world, pos, room, title, 0xA0);
    }
    n += _qor_encd_int_tl(world, pos, room, v->number, TAG_NUMBER);
    n += encodeName(world, &v->name, pos, room);
    _qor_encd_tag_length(world, pos, room, n, TAG_PERSONNEL);
}

/* Decoding. */

static char *decodeVisible(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong tag)
{
    char *text = NULL;
    _qor_dec_nstr_ptr(world, pos, room, header(world, pos, room, tag), &text, 0);
    return text;
}

static void decodeName(QorGlobal *world, unsigned char **pos, QorLong *room, Name *v)
{
    Extent e;
    beginValue(world, pos, room, TAG_NAME & ~0x20, &e);
    v->givenName = decodeVisible(world, pos, room, TAG_VISIBLE_STRING);
    v->initial = decodeVisible(world, pos, room, TAG_VISIBLE_STRING);
    v->familyName = decodeVisible(world, pos, room, TAG_VISIBLE_STRING);
    endValue(world, pos, room, &e);
}

/* A string inside an explicit tag. */
static char *decodeExplicit(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong tag,
                            QorULong inner)
{
    Extent e;
    char *text;
    beginValue(world, pos, room, tag, &e);
    text = decodeVisible(world, pos, room, inner);
    endValue(world, pos, room, &e);
    return text;
}

static void tagNotRecognized(QorGlobal *world, unsigned char tag)
{
    _qor_enc_error(world, MSG_TAG_NOT_RECOGNIZED, packedTag(tag));
}

static void decodeChild(QorGlobal *world, unsigned char **pos, QorLong *room, void *out)
{
    ChildInformation *v = (ChildInformation *)out;
    Extent e;
    int seen = 0;
    beginValue(world, pos, room, TAG_SET & ~0x20, &e);
    while (more(world, pos, room, &e)) {
        unsigned char tag = (*pos)[0];
        int bit = tag == TAG_NAME ? 1 : tag == 0xA0 ? 2 : 0;
        if (bit == 0)
            tagNotRecognized(world, tag);
        if (seen & bit)
            _qor_enc_error(world, MSG_FIELD_REPEATED, 0);
        seen |= bit;
        if (bit == 1)
            decodeName(world, pos, room, &v->name);
        else
            v->dateOfBirth = decodeExplicit(world, pos, room, 0x80, TAG_DATE);
    }
    endValue(world, pos, room, &e);
    if (seen != 3)
        _qor_enc_error(world, MSG_FIELD_OMITTED, 0);
}

enum { CHILDREN_PER_BLOCK = 8 };

void *personnelDecode(QorGlobal *world, unsigned char **pos, QorLong *room)
{
    PersonnelRecord *v = (PersonnelRecord *)_qor_dec_getmem(world, sizeof(PersonnelRecord));
    Extent e;
    int seen = 0;
    beginValue(world, pos, room, TAG_PERSONNEL & ~0x20, &e);
    while (more(world, pos, room, &e)) {
        unsigned char tag = (*pos)[0];
        int bit;
        switch (tag) {
        case TAG_NAME: bit = 0x01; break;
        case 0xA0: bit = 0x02; break;
        case TAG_NUMBER: bit = 0x04; break;
        case 0xA1: bit = 0x08; break;
        case 0xA2: bit = 0x10; break;
        case 0xA3: bit = 0x20; break;
        default: tagNotRecognized(world, tag); return NULL;
        }
        if (seen & bit)
            _qor_enc_error(world, MSG_FIELD_REPEATED, 0);
        seen |= bit;
        switch (bit) {
        case 0x01:
            decodeName(world, pos, room, &v->name);
            break;
        case 0x02:
            v->title = decodeExplicit(world, pos, room, 0x80, TAG_VISIBLE_STRING);
            break;
        case 0x04:
            v->number = _qor_dec_iint(world, pos, room, header(world, pos, room, TAG_NUMBER));
            break;
        case 0x08:
            v->dateOfHire = decodeExplicit(world, pos, room, 0x81, TAG_DATE);
            break;
        case 0x10: {
            Extent spouse;
            beginValue(world, pos, room, 0x82, &spouse);
            decodeName(world, pos, room, &v->nameOfSpouse);
            endValue(world, pos, room, &spouse);
            break;
        }
        default:
            v->children.value = (ChildInformation *)decodeList(
                world, pos, room, 0x83, sizeof(ChildInformation), CHILDREN_PER_BLOCK, decodeChild,
                &v->children.count);
        }
    }
    endValue(world, pos, room, &e);
    if ((seen & 0x1f) != 0x1f)
        _qor_enc_error(world, MSG_FIELD_OMITTED, 0);
    return v;
}

static void freeName(QorGlobal *world, Name *v)
{
    _qor_dec_free(world, v->givenName);
    _qor_dec_free(world, v->initial);
    _qor_dec_free(world, v->familyName);
}

void personnelFree(QorGlobal *world, PersonnelRecord *v)
{
    QorLong i;
    freeName(world, &v->name);
    _qor_dec_free(world, v->title);
    _qor_dec_free(world, v->dateOfHire);
    freeName(world, &v->nameOfSpouse);
    for (i = 0; i < v->children.count; i++) {
        freeName(world, &v->children.value[i].name);
        _qor_dec_free(world, v->children.value[i].dateOfBirth);
    }
    _qor_dec_free(world, v->children.value);
    _qor_dec_free(world, v);
}

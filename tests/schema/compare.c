/* The test schema's compare entry, written as generated compare code is: a
 * switch on the PDU number, components compared in order, optional ones by
 * their presence bits first; bit strings, lists, unbounded values, huge
 * integers, character reals and open types through the library's
 * primitives. 0 for equal, 1 for not. */
#include <string.h>

#include "values.h"

enum { MSG_PDU_RANGE = 3 };

#define POINTER_OFFSET(type, field) ((QorLong)(offsetof(type, field.value) - offsetof(type, field)))

static int sameText(const char *a, const char *b)
{
    return a == b || (a != NULL && b != NULL && strcmp(a, b) == 0);
}

static int sameOctets(const void *a, const void *b, size_t n)
{
    return n == 0 || a == b || (a != NULL && b != NULL && memcmp(a, b, n) == 0);
}

static int sameRaw(const Raw *a, const Raw *b)
{
    return a->length == b->length && sameOctets(a->data, b->data, (size_t)a->length);
}

static int sameBag(const Bag *a, const Bag *b)
{
    QorLong i;
    if (a->count != b->count)
        return 0;
    for (i = 0; i < a->count; i++)
        if (!sameRaw(&a->items[i], &b->items[i]))
            return 0;
    return 1;
}

static int sameTime(const GeneralizedTime *a, const GeneralizedTime *b)
{
    return a->year == b->year && a->month == b->month && a->day == b->day && a->hour == b->hour &&
           a->minute == b->minute && a->second == b->second && a->millisec == b->millisec &&
           a->mindiff == b->mindiff && a->utc == b->utc;
}

static int sameDouble(double a, double b)
{
    return memcmp(&a, &b, sizeof a) == 0;
}

static int sameRecord(const Record *a, const Record *b)
{
    if (a->bit_mask != b->bit_mask || a->id != b->id || (a->active != 0) != (b->active != 0) ||
        a->level != b->level || a->inner.a != b->inner.a ||
        (a->inner.bit_mask & Inner_b_present) != (b->inner.bit_mask & Inner_b_present) ||
        a->pick.choice != b->pick.choice || a->numbers.count != b->numbers.count)
        return 0;
    if ((a->bit_mask & Record_count_present) && a->count != b->count)
        return 0;
    if ((a->inner.bit_mask & Inner_b_present) && a->inner.b != b->inner.b)
        return 0;
    switch (a->pick.choice) {
    case Pick_number_chosen:
        if (a->pick.u.number != b->pick.u.number)
            return 0;
        break;
    case Pick_flag_chosen:
        if ((a->pick.u.flag != 0) != (b->pick.u.flag != 0))
            return 0;
        break;
    default:
        if (a->pick.u.code != b->pick.u.code)
            return 0;
    }
    if (!sameOctets(a->numbers.value, b->numbers.value, (size_t)a->numbers.count * sizeof(QorLong)))
        return 0;
    if ((a->bit_mask & Record_big_present) && a->big != b->big)
        return 0;
    if ((a->bit_mask & Record_ratio_present) && !sameDouble(a->ratio, b->ratio))
        return 0;
    return !(a->bit_mask & Record_when_present) || sameTime(&a->when, &b->when);
}

static int sameName(const Name *a, const Name *b)
{
    return sameText(a->givenName, b->givenName) && sameText(a->initial, b->initial) &&
           sameText(a->familyName, b->familyName);
}

static int samePersonnel(const PersonnelRecord *a, const PersonnelRecord *b)
{
    QorLong i;
    if (!sameName(&a->name, &b->name) || !sameText(a->title, b->title) || a->number != b->number ||
        !sameText(a->dateOfHire, b->dateOfHire) || !sameName(&a->nameOfSpouse, &b->nameOfSpouse) ||
        a->children.count != b->children.count)
        return 0;
    for (i = 0; i < a->children.count; i++) {
        const ChildInformation *x = &a->children.value[i];
        const ChildInformation *y = &b->children.value[i];
        if (!sameName(&x->name, &y->name) || !sameText(x->dateOfBirth, y->dateOfBirth) ||
            x->bit_mask != y->bit_mask ||
            ((x->bit_mask & ChildInformation_sex_present) && x->sex != y->sex))
            return 0;
    }
    return 1;
}

static int sameGauges(const Gauges *a, const Gauges *b)
{
    return a->bit_mask == b->bit_mask && a->tiny == b->tiny && a->octet == b->octet &&
           a->word == b->word && a->wide == b->wide && a->offset == b->offset && a->any == b->any &&
           a->ext == b->ext && a->big == b->big &&
           _qor_cmp_huge_int_ia(&a->huge, &b->huge, 4, 1, POINTER_OFFSET(Gauges, huge)) == 0 &&
           a->level == b->level && sameText(a->code, b->code) && sameText(a->digits, b->digits) &&
           (!(a->bit_mask & Gauges_note_present) || sameText(a->note, b->note)) &&
           _qor_cmp_unbnd_octet_ia(&a->list, &b->list, 4, 1, POINTER_OFFSET(Gauges, list)) == 0;
}

static int sameRun(const TextsRun *a, const TextsRun *b)
{
    if (a == NULL || b == NULL)
        return a == b;
    return a->length == b->length && sameOctets(a->value, b->value, a->length);
}

static int sameTexts(const Texts *a, const Texts *b)
{
    return _qor_cmp_unbnd_octet_ia(&a->bmp, &b->bmp, 4, 2, POINTER_OFFSET(Texts, bmp)) == 0 &&
           _qor_cmp_unbnd_octet_ia(&a->symbols, &b->symbols, 4, 4,
                                   POINTER_OFFSET(Texts, symbols)) == 0 &&
           _qor_cmp_unbnd_octet_ia(&a->label, &b->label, 4, 2, POINTER_OFFSET(Texts, label)) == 0 &&
           _qor_cmp_unbnd_octet_ia(&a->emoji, &b->emoji, 4, 4, POINTER_OFFSET(Texts, emoji)) == 0 &&
           memcmp(a->code, b->code, sizeof a->code) == 0 && a->name.count == b->name.count &&
           memcmp(a->name.value, b->name.value, a->name.count) == 0 && sameRun(a->note, b->note) &&
           sameText((const char *)a->tag, (const char *)b->tag) &&
           sameText((const char *)a->comment, (const char *)b->comment) &&
           memcmp(a->fixed, b->fixed, sizeof a->fixed) == 0 && a->blob.length == b->blob.length &&
           sameOctets(a->blob.value, b->blob.value, a->blob.length) &&
           a->line.count == b->line.count &&
           memcmp(a->line.value, b->line.value, a->line.count) == 0 && sameRun(a->memo, b->memo);
}

/* Named bits: trailing zero bits carry nothing. */
static int sameBits(const Bits *a, const Bits *b)
{
    return a->flags.length == b->flags.length &&
           _qor_cmp_membits(a->flags.value, b->flags.value, a->flags.length) == 0 &&
           _qor_cmp_membits(a->fixed, b->fixed, 20) == 0 &&
           _qor_cmp_arrbits(a->named.value, b->named.value, a->named.length, b->named.length) ==
               0 &&
           a->octets.length == b->octets.length &&
           memcmp(a->octets.value, b->octets.value, a->octets.length) == 0 &&
           _qor_cmp_unbnd_octet_ia(&a->blob, &b->blob, 4, 1, POINTER_OFFSET(Bits, blob)) == 0 &&
           a->word == b->word;
}

static int sameWidths(const Widths *a, const Widths *b)
{
    return a->u8 == b->u8 && a->u16 == b->u16 && a->u32 == b->u32 && a->u64 == b->u64 &&
           a->s8 == b->s8 && a->s16 == b->s16 && a->s32 == b->s32 && a->s64 == b->s64 &&
           a->span == b->span && a->natural == b->natural && a->any == b->any &&
           a->wide == b->wide && a->count == b->count && a->step == b->step && a->ext == b->ext &&
           _qor_cmp_huge_int_ia(&a->huge, &b->huge, 4, 1, POINTER_OFFSET(Widths, huge)) == 0 &&
           _qor_cmp_huge_int_ia(&a->total, &b->total, 4, 0, POINTER_OFFSET(Widths, total)) == 0;
}

static int sameMixed(QorGlobal *world, const QorMixedReal *a, const QorMixedReal *b)
{
    if (a->kind != b->kind)
        return 0;
    if (a->kind == 1)
        return compare_char_real(world, a->value.decimal.text, b->value.decimal.text) == 0;
    return sameDouble(a->value.binary, b->value.binary);
}

/* The path's head is the one pointer of the component; the payload behind
 * each next pointer is the arc. */
static int sameLeaves(QorGlobal *world, const Leaves *a, const Leaves *b)
{
    return _qor_cmp_unbnd_octet_ia(&a->id, &b->id, 2, (QorLong)sizeof(QorULong),
                                   POINTER_OFFSET(Leaves, id)) == 0 &&
           _qor_cmp_link_obj(&a->path, b->path, (QorLong)sizeof(QorULong)) == 0 &&
           _qor_cmp_unbnd_octet_ia(&a->relative, &b->relative, 4, 1,
                                   POINTER_OFFSET(Leaves, relative)) == 0 &&
           sameDouble(a->ratio, b->ratio) && sameMixed(world, &a->mixed, &b->mixed) &&
           sameTime(&a->when, &b->when) && sameTime(&a->day, &b->day) && a->content == b->content;
}

static int same(QorGlobal *world, int pdunum, const void *a, const void *b)
{
    switch (pdunum) {
    case PDU_Raw:
        return sameRaw((const Raw *)a, (const Raw *)b);
    case PDU_Fault:
        testSchemaFaultRaise(world, (const Fault *)a);
        return 0;
    case PDU_Bag:
        return sameBag((const Bag *)a, (const Bag *)b);
    case PDU_Bags: {
        const Bags *x = (const Bags *)a;
        const Bags *y = (const Bags *)b;
        QorLong i;
        if (x->count != y->count)
            return 0;
        for (i = 0; i < x->count; i++)
            if (!sameBag(&x->items[i], &y->items[i]))
                return 0;
        return 1;
    }
    case PDU_Record:
        return sameRecord((const Record *)a, (const Record *)b);
    case PDU_PersonnelRecord:
    case PDU_PersonnelConstrained:
    case PDU_PersonnelExtensible:
    case PDU_PersonnelExtensibleFirst:
        return samePersonnel((const PersonnelRecord *)a, (const PersonnelRecord *)b);
    case PDU_Envelope:
        return ((const Envelope *)a)->kind == ((const Envelope *)b)->kind &&
               _qor_cmp_open_type(world, &((const Envelope *)a)->content,
                                  &((const Envelope *)b)->content) == 0;
    case PDU_Chain:
        return _qor_cmp_link_objid(a, b, (QorLong)sizeof(QorLong)) == 0;
    case PDU_Gauges:
        return sameGauges((const Gauges *)a, (const Gauges *)b);
    case PDU_Texts:
        return sameTexts((const Texts *)a, (const Texts *)b);
    case PDU_Bits:
        return sameBits((const Bits *)a, (const Bits *)b);
    case PDU_Widths:
        return sameWidths((const Widths *)a, (const Widths *)b);
    case PDU_Levels:
        return memcmp(a, b, sizeof(Levels)) == 0;
    case PDU_Extended: {
        const Extended *x = (const Extended *)a;
        const Extended *y = (const Extended *)b;
        return x->bit_mask == y->bit_mask && x->a == y->a &&
               (!(x->bit_mask & Extended_b_present) || (x->b != 0) == (y->b != 0));
    }
    case PDU_Nothing:
        return 1;
    default: /* Leaves */
        return sameLeaves(world, (const Leaves *)a, (const Leaves *)b);
    }
}

int testSchemaCompare(QorGlobal *world, int pdunum, void *first, void *second)
{
    if (pdunum < 1 || pdunum > PDU_COUNT)
        return MSG_PDU_RANGE;
    world->pduNumber = pdunum;
    world->pduNames = testSchemaPduNames[pdunum - 1];
    return same(world, pdunum, first, second) ? 0 : 1;
}

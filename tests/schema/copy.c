/* The test schema's copy entry, written as generated copy code is: a switch
 * on the PDU number, records copied whole into decoder memory and then each
 * pointer replaced by a copy of what it points at; lists, unbounded values,
 * character reals and open types through the library's primitives. */
#include <string.h>

#include "values.h"

enum { MSG_PDU_RANGE = 3 };

/* An address that is never mapped, hidden from the optimiser. */
static volatile uintptr_t unmappedAddress = 16;

void testSchemaFaultRaise(QorGlobal *world, const Fault *f)
{
    switch (f->raiser) {
    case RAISE_SEGV:
        *(volatile char *)unmappedAddress = 1;
        break;
    case RAISE_STRING:
        _qor_krod_error(world, f->message, f->text);
        break;
    default:
        _qor_enc_error(world, f->message, f->number);
    }
}

/* The caller's record, or a new one. */
static void *recordFor(QorGlobal *world, void **target, QorLong size)
{
    if (*target == NULL) /* filled whole by the caller */
        *target = _qor_dec_getmem_internal(world, size);
    return *target;
}

/* Zero-terminated text: the library's copy of a character real serves. */
static char *copyText(QorGlobal *world, const char *text)
{
    return _qor_cpy_char_real(world, text);
}

static unsigned char *copyOctets(QorGlobal *world, const unsigned char *data, QorULong length)
{
    unsigned char *copy;
    if (data == NULL || length == 0)
        return NULL;
    copy = (unsigned char *)_qor_dec_getfixmem(world, (QorLong)length);
    memcpy(copy, data, length);
    return copy;
}

/* An array of records, copied whole; their pointers are the caller's to replace. */
static void *copyRecords(QorGlobal *world, const void *items, QorLong count, size_t size)
{
    void *copy;
    if (items == NULL || count <= 0)
        return NULL;
    copy = _qor_dec_getmem_internal(world, (QorLong)((size_t)count * size));
    memcpy(copy, items, (size_t)count * size);
    return copy;
}

static void copyRaw(QorGlobal *world, Raw *to, const Raw *from)
{
    to->data = copyOctets(world, from->data, (QorULong)from->length);
}

static void copyBag(QorGlobal *world, Bag *to, const Bag *from)
{
    QorLong i;
    to->items = (Raw *)copyRecords(world, from->items, from->count, sizeof(Raw));
    for (i = 0; to->items != NULL && i < from->count; i++)
        copyRaw(world, &to->items[i], &from->items[i]);
}

static void copyName(QorGlobal *world, Name *to, const Name *from)
{
    to->givenName = copyText(world, from->givenName);
    to->initial = copyText(world, from->initial);
    to->familyName = copyText(world, from->familyName);
}

static void copyPersonnel(QorGlobal *world, PersonnelRecord *to, const PersonnelRecord *from)
{
    QorLong i;
    copyName(world, &to->name, &from->name);
    to->title = copyText(world, from->title);
    to->dateOfHire = copyText(world, from->dateOfHire);
    copyName(world, &to->nameOfSpouse, &from->nameOfSpouse);
    to->children.value = (ChildInformation *)copyRecords(
        world, from->children.value, from->children.count, sizeof(ChildInformation));
    for (i = 0; to->children.value != NULL && i < from->children.count; i++) {
        copyName(world, &to->children.value[i].name, &from->children.value[i].name);
        to->children.value[i].dateOfBirth = copyText(world, from->children.value[i].dateOfBirth);
    }
}

/* The offset of an unbounded value's pointer from its counter. */
#define POINTER_OFFSET(type, field) ((QorLong)(offsetof(type, field.value) - offsetof(type, field)))

static void copyGauges(QorGlobal *world, Gauges *to, const Gauges *from)
{
    _qor_cpy_unbnd_octet_ia(world, &from->huge, &to->huge, 4, 1, POINTER_OFFSET(Gauges, huge));
    to->code = copyText(world, from->code);
    to->digits = copyText(world, from->digits);
    to->note = copyText(world, from->note);
    _qor_cpy_unbnd_octet_ia(world, &from->list, &to->list, 4, 1, POINTER_OFFSET(Gauges, list));
}

static TextsRun *copyRun(QorGlobal *world, const TextsRun *from)
{
    TextsRun *to;
    if (from == NULL)
        return NULL;
    to = (TextsRun *)_qor_dec_getmem_internal(world, TEXTS_RUN_HEADER + (QorLong)from->length);
    memcpy(to, from, TEXTS_RUN_HEADER + from->length);
    return to;
}

static void copyTexts(QorGlobal *world, Texts *to, const Texts *from)
{
    _qor_cpy_unbnd_octet_ia(world, &from->bmp, &to->bmp, 4, 2, POINTER_OFFSET(Texts, bmp));
    _qor_cpy_unbnd_octet_ia(world, &from->symbols, &to->symbols, 4, 4,
                            POINTER_OFFSET(Texts, symbols));
    _qor_cpy_unbnd_octet_ia(world, &from->label, &to->label, 4, 2, POINTER_OFFSET(Texts, label));
    _qor_cpy_unbnd_octet_ia(world, &from->emoji, &to->emoji, 4, 4, POINTER_OFFSET(Texts, emoji));
    to->note = copyRun(world, from->note);
    to->comment = (unsigned char *)copyText(world, (const char *)from->comment);
    to->blob.value = copyOctets(world, from->blob.value, from->blob.length);
    to->memo = copyRun(world, from->memo);
}

static void copyBits(QorGlobal *world, Bits *to, const Bits *from)
{
    /* `named` counts bits. */
    _qor_cpy_unbnd_octet_ia(world, &from->named, &to->named, 4, -1, POINTER_OFFSET(Bits, named));
    _qor_cpy_unbnd_octet_ia(world, &from->blob, &to->blob, 4, 1, POINTER_OFFSET(Bits, blob));
}

static void copyWidths(QorGlobal *world, Widths *to, const Widths *from)
{
    _qor_cpy_unbnd_octet_ia(world, &from->huge, &to->huge, 4, 1, POINTER_OFFSET(Widths, huge));
    _qor_cpy_unbnd_octet_ia(world, &from->total, &to->total, 4, 1, POINTER_OFFSET(Widths, total));
}

/* The path's head is the one pointer of the component. */
static void copyLeaves(QorGlobal *world, Leaves *to, const Leaves *from)
{
    _qor_cpy_unbnd_octet_ia(world, &from->id, &to->id, 2, (QorLong)sizeof(QorULong),
                            POINTER_OFFSET(Leaves, id));
    _qor_cpy_link_obj(world, &from->path, &to->path, (QorLong)sizeof(QorObjidNode));
    _qor_cpy_unbnd_octet_ia(world, &from->relative, &to->relative, 4, 1,
                            POINTER_OFFSET(Leaves, relative));
    if (from->mixed.kind == 1)
        to->mixed.value.decimal.text = _qor_cpy_char_real(world, from->mixed.value.decimal.text);
}

/* The first link goes where the caller wants it, the rest behind it. */
static void copyChain(QorGlobal *world, Chain *to, const Chain *from)
{
    _qor_cpy_link_obj(world, &from->next, &to->next, (QorLong)sizeof(Chain));
}

static const QorLong kRecordSizes[PDU_COUNT] = {sizeof(Raw),
                                                sizeof(Fault),
                                                sizeof(Bag),
                                                sizeof(Bags),
                                                sizeof(Record),
                                                sizeof(PersonnelRecord),
                                                sizeof(Envelope),
                                                sizeof(Chain),
                                                sizeof(PersonnelRecord),
                                                sizeof(Gauges),
                                                sizeof(Texts),
                                                sizeof(Bits),
                                                sizeof(PersonnelRecord),
                                                sizeof(PersonnelRecord),
                                                sizeof(Widths),
                                                sizeof(Levels),
                                                sizeof(Extended),
                                                sizeof(Nothing),
                                                sizeof(Leaves)};

int testSchemaCopy(QorGlobal *world, int pdunum, void *source, void **target)
{
    void *to;
    if (pdunum < 1 || pdunum > PDU_COUNT)
        return MSG_PDU_RANGE;
    world->pduNumber = pdunum;
    world->pduNames = testSchemaPduNames[pdunum - 1];
    to = recordFor(world, target, kRecordSizes[pdunum - 1]);
    memcpy(to, source, (size_t)kRecordSizes[pdunum - 1]);
    switch (pdunum) {
    case PDU_Raw:
        copyRaw(world, (Raw *)to, (const Raw *)source);
        break;
    case PDU_Fault:
        testSchemaFaultRaise(world, (const Fault *)source);
        break;
    case PDU_Bag:
        copyBag(world, (Bag *)to, (const Bag *)source);
        break;
    case PDU_Bags: {
        Bags *bags = (Bags *)to;
        const Bags *from = (const Bags *)source;
        QorLong i;
        bags->items = (Bag *)copyRecords(world, from->items, from->count, sizeof(Bag));
        for (i = 0; bags->items != NULL && i < from->count; i++)
            copyBag(world, &bags->items[i], &from->items[i]);
        break;
    }
    case PDU_Record: {
        Record *record = (Record *)to;
        const Record *from = (const Record *)source;
        record->numbers.value = (QorLong *)copyRecords(world, from->numbers.value,
                                                       from->numbers.count, sizeof(QorLong));
        break;
    }
    case PDU_PersonnelRecord:
    case PDU_PersonnelConstrained:
    case PDU_PersonnelExtensible:
    case PDU_PersonnelExtensibleFirst:
        copyPersonnel(world, (PersonnelRecord *)to, (const PersonnelRecord *)source);
        break;
    case PDU_Envelope:
        _qor_cpy_open_type(world, &((const Envelope *)source)->content, &((Envelope *)to)->content);
        break;
    case PDU_Chain:
        copyChain(world, (Chain *)to, (const Chain *)source);
        break;
    case PDU_Gauges:
        copyGauges(world, (Gauges *)to, (const Gauges *)source);
        break;
    case PDU_Texts:
        copyTexts(world, (Texts *)to, (const Texts *)source);
        break;
    case PDU_Bits:
        copyBits(world, (Bits *)to, (const Bits *)source);
        break;
    case PDU_Widths:
        copyWidths(world, (Widths *)to, (const Widths *)source);
        break;
    case PDU_Leaves:
        copyLeaves(world, (Leaves *)to, (const Leaves *)source);
        break;
    default: /* Levels, Extended and Nothing hold no pointer */
        break;
    }
    return 0;
}

/* The test schema's print entry, written as generated print code is: a switch
 * on the PDU number; component names, braces and numbers through qorPrint,
 * new lines through _qor_indent, one primitive for each leaf. */
#include "print.h"

static const QorEnumeratorName levelNames[3] = {
    {"low", {0, 0}, Level_low}, {"medium", {0, 0}, Level_medium}, {"high", {0, 0}, Level_high}};

/* An address that is never mapped, hidden from the optimiser. */
static volatile uintptr_t unmappedAddress = 16;

/* "{" and the first component on a line of its own, one level in.
 * _qor_indent raises the level after its new line, so the first line gets
 * its extra level here; the lines after it get it from _qor_indent. */
static void beginValue(QorGlobal *world)
{
    qorPrint(world, "{");
    _qor_indent(world, 1);
    qorPrint(world, "  ");
}

static void nextComponent(QorGlobal *world)
{
    qorPrint(world, ",");
    _qor_indent(world, 0);
}

static void endValue(QorGlobal *world)
{
    _qor_indent(world, -1);
    qorPrint(world, "}");
}

/* Prints one element of a list. */
typedef void (*ElementPrinter)(QorGlobal *world, const void *element);

/* "{}", or the elements one to a line between braces. */
static void printList(QorGlobal *world, QorLong count, const void *items, QorLong size,
                      ElementPrinter printElement)
{
    QorLong i;
    if (count == 0) {
        qorPrint(world, "{}");
        return;
    }
    beginValue(world);
    for (i = 0; i < count; i++) {
        if (i > 0)
            nextComponent(world);
        printElement(world, (const unsigned char *)items + i * size);
    }
    endValue(world);
}

static void printOctets(QorGlobal *world, const void *value)
{
    const Raw *raw = (const Raw *)value;
    _qor_prt_oct(world, raw->data, raw->length);
}

static void printBag(QorGlobal *world, const void *value)
{
    const Bag *bag = (const Bag *)value;
    printList(world, bag->count, bag->items, sizeof(Raw), printOctets);
}

static void printNumber(QorGlobal *world, const void *value)
{
    qorPrint(world, "%d", (int)*(const QorLong *)value);
}

/* A Fault prints its opening, takes a display string that it never gives
 * back, and then fails as the Fault says: the frame releases the string. */
static void printFault(QorGlobal *world, const Fault *f)
{
    beginValue(world);
    (void)_qor_getdisp_int(world, f->number);
    switch (f->raiser) {
    case RAISE_SEGV:
        *(volatile char *)unmappedAddress = 1;
        break;
    case RAISE_STRING:
        _qor_krod_error(world, f->message, f->text);
    default:
        _qor_enc_error(world, f->message, f->number);
    }
    endValue(world);
}

static void printInner(QorGlobal *world, const Inner *v)
{
    beginValue(world);
    qorPrint(world, "a %d", (int)v->a);
    if (v->bit_mask & Inner_b_present) {
        nextComponent(world);
        qorPrint(world, "b %d", (int)v->b);
    }
    endValue(world);
}

static void printPick(QorGlobal *world, const Pick *v)
{
    switch (v->choice) {
    case Pick_number_chosen:
        qorPrint(world, "number : %d", (int)v->u.number);
        break;
    case Pick_flag_chosen:
        qorPrint(world, "flag : %s", v->u.flag ? "TRUE" : "FALSE");
        break;
    case Pick_code_chosen:
        qorPrint(world, "code : %u", (unsigned)v->u.code);
        break;
    default:
        qorPrint(world, "<unknown>");
    }
}

static void printRecord(QorGlobal *world, const Record *v)
{
    beginValue(world);
    qorPrint(world, "id %d", (int)v->id);
    nextComponent(world);
    qorPrint(world, "active %s", v->active ? "TRUE" : "FALSE");
    if (v->bit_mask & Record_count_present) {
        nextComponent(world);
        qorPrint(world, "count %d", (int)v->count);
    }
    nextComponent(world);
    qorPrint(world, "level ");
    _qor_prt_enum(world, (QorLong)v->level, v->level < 0 ? -1 : 0, levelNames, 3);
    if (v->bit_mask & Record_nothing_present) {
        nextComponent(world);
        qorPrint(world, "nothing NULL");
    }
    nextComponent(world);
    qorPrint(world, "inner ");
    printInner(world, &v->inner);
    nextComponent(world);
    qorPrint(world, "pick ");
    printPick(world, &v->pick);
    nextComponent(world);
    qorPrint(world, "numbers ");
    printList(world, v->numbers.count, v->numbers.value, sizeof(QorLong), printNumber);
    if (v->bit_mask & Record_big_present) {
        nextComponent(world);
        qorPrint(world, "big %lld", (long long)v->big);
    }
    if (v->bit_mask & Record_ratio_present) {
        nextComponent(world);
        qorPrint(world, "ratio ");
        _qor_prt_real(world, v->ratio);
    }
    if (v->bit_mask & Record_when_present) {
        nextComponent(world);
        qorPrint(world, "when ");
        _qor_prt_gentime(world, &v->when);
    }
    endValue(world);
}

static void printName(QorGlobal *world, const Name *v)
{
    beginValue(world);
    qorPrint(world, "givenName ");
    _qor_prt_nchar(world, v->givenName);
    nextComponent(world);
    qorPrint(world, "initial ");
    _qor_prt_nchar(world, v->initial);
    nextComponent(world);
    qorPrint(world, "familyName ");
    _qor_prt_nchar(world, v->familyName);
    endValue(world);
}

static void printChild(QorGlobal *world, const void *value)
{
    const ChildInformation *v = (const ChildInformation *)value;
    beginValue(world);
    qorPrint(world, "name ");
    printName(world, &v->name);
    nextComponent(world);
    qorPrint(world, "dateOfBirth ");
    _qor_prt_nchar(world, v->dateOfBirth);
    if (v->bit_mask & ChildInformation_sex_present) {
        static const char *const sexNames[] = {"male", "female", "unknown"};
        nextComponent(world);
        qorPrint(world, "sex ");
        if (v->sex >= 1 && v->sex <= 3)
            qorPrint(world, "%s", sexNames[v->sex - 1]);
        else
            qorPrint(world, "%ld", (long)v->sex);
    }
    endValue(world);
}

static void printLeaves(QorGlobal *world, const Leaves *v)
{
    const QorObjidNode *node;
    QorLong i;
    beginValue(world);
    qorPrint(world, "id {");
    for (i = 0; i < v->id.count; i++)
        qorPrint(world, " %lu", (unsigned long)v->id.value[i]);
    qorPrint(world, " }");
    nextComponent(world);
    qorPrint(world, "path {");
    for (node = v->path; node != NULL; node = node->next)
        qorPrint(world, " %lu", (unsigned long)node->value);
    qorPrint(world, " }");
    nextComponent(world);
    qorPrint(world, "relative ");
    _qor_prt_oct(world, v->relative.value, v->relative.length);
    nextComponent(world);
    qorPrint(world, "ratio ");
    _qor_prt_real(world, v->ratio);
    nextComponent(world);
    qorPrint(world, "mixed ");
    if (v->mixed.kind == 1)
        _qor_prt_creal(world, v->mixed.value.decimal.text);
    else
        _qor_prt_real(world, v->mixed.value.binary);
    nextComponent(world);
    qorPrint(world, "when ");
    _qor_prt_gentime(world, &v->when);
    nextComponent(world);
    qorPrint(world, "day ");
    _qor_prt_utctime(world, &v->day);
    nextComponent(world);
    qorPrint(world, "content %ld", (long)v->content);
    endValue(world);
}

static void printPersonnel(QorGlobal *world, const PersonnelRecord *v)
{
    beginValue(world);
    qorPrint(world, "name ");
    printName(world, &v->name);
    nextComponent(world);
    qorPrint(world, "title ");
    _qor_prt_nchar(world, v->title);
    nextComponent(world);
    qorPrint(world, "number %d", (int)v->number);
    nextComponent(world);
    qorPrint(world, "dateOfHire ");
    _qor_prt_nchar(world, v->dateOfHire);
    nextComponent(world);
    qorPrint(world, "nameOfSpouse ");
    printName(world, &v->nameOfSpouse);
    nextComponent(world);
    qorPrint(world, "children ");
    printList(world, v->children.count, v->children.value, sizeof(ChildInformation), printChild);
    endValue(world);
}

/* The content is printed by this entry again, as a nested value, when it
 * was decoded; else its encoding shows. */
static void printEnvelope(QorGlobal *world, const Envelope *v)
{
    beginValue(world);
    qorPrint(world, "kind %d", (int)v->kind);
    nextComponent(world);
    qorPrint(world, "content ");
    _qor_prt_opentype(world, &v->content);
    endValue(world);
}

static const QorEnumeratorName gaugeLevelNames[5] = {
    {"a", {0, 0}, GaugeLevel_a}, {"b", {0, 0}, GaugeLevel_b}, {"c", {0, 0}, GaugeLevel_c},
    {"d", {0, 0}, GaugeLevel_d}, {"e", {0, 0}, GaugeLevel_e}};

static void printSmallNumber(QorGlobal *world, const void *value)
{
    qorPrint(world, "%d", (int)*(const unsigned char *)value);
}

/* The huge INTEGER as its octets in hexadecimal. */
static void printGauges(QorGlobal *world, const Gauges *v)
{
    beginValue(world);
    qorPrint(world, "tiny %d", (int)v->tiny);
    nextComponent(world);
    qorPrint(world, "octet %d", (int)v->octet);
    nextComponent(world);
    qorPrint(world, "word %ld", (long)v->word);
    nextComponent(world);
    qorPrint(world, "wide %lu", (unsigned long)v->wide);
    nextComponent(world);
    qorPrint(world, "offset %ld", (long)v->offset);
    nextComponent(world);
    qorPrint(world, "any %ld", (long)v->any);
    nextComponent(world);
    qorPrint(world, "ext %ld", (long)v->ext);
    nextComponent(world);
    qorPrint(world, "big %lld", (long long)v->big);
    nextComponent(world);
    _qor_prt_hex(world, "huge '", v->huge.value, (QorLong)v->huge.length, "'H");
    nextComponent(world);
    qorPrint(world, "level ");
    _qor_prt_enum(world, (QorLong)v->level, v->level < 0 ? -1 : 0, gaugeLevelNames, 5);
    nextComponent(world);
    qorPrint(world, "code ");
    _qor_prt_nchar(world, v->code);
    nextComponent(world);
    qorPrint(world, "digits ");
    _qor_prt_nchar(world, v->digits);
    if (v->bit_mask & Gauges_note_present) {
        nextComponent(world);
        qorPrint(world, "note ");
        _qor_prt_nchar(world, v->note);
    }
    nextComponent(world);
    qorPrint(world, "list ");
    printList(world, (QorLong)v->list.count, v->list.value, 1, printSmallNumber);
    endValue(world);
}

static void printTexts(QorGlobal *world, const Texts *v)
{
    beginValue(world);
    qorPrint(world, "bmp ");
    _qor_prt_mbchar(world, v->bmp.value, (QorLong)v->bmp.length, 2);
    nextComponent(world);
    qorPrint(world, "symbols ");
    _qor_prt_mbchar(world, v->symbols.value, (QorLong)v->symbols.length, 4);
    nextComponent(world);
    qorPrint(world, "label ");
    _qor_prt_mbchar(world, v->label.value, (QorLong)v->label.length, 2);
    nextComponent(world);
    qorPrint(world, "emoji ");
    _qor_prt_mbchar(world, v->emoji.value, (QorLong)v->emoji.length, 4);
    nextComponent(world);
    qorPrint(world, "code ");
    _qor_prt_char(world, v->code, (QorLong)sizeof v->code);
    nextComponent(world);
    qorPrint(world, "name ");
    _qor_prt_char(world, v->name.value, (QorLong)v->name.count);
    nextComponent(world);
    qorPrint(world, "note ");
    _qor_prt_char(world, v->note->value, (QorLong)v->note->length);
    nextComponent(world);
    qorPrint(world, "tag ");
    _qor_prt_nchar(world, (const char *)v->tag);
    nextComponent(world);
    qorPrint(world, "comment ");
    _qor_prt_nchar(world, (const char *)v->comment);
    nextComponent(world);
    qorPrint(world, "fixed ");
    _qor_prt_char(world, (const char *)v->fixed, (QorLong)sizeof v->fixed);
    nextComponent(world);
    qorPrint(world, "blob ");
    _qor_prt_oct(world, v->blob.value, (QorLong)v->blob.length);
    nextComponent(world);
    qorPrint(world, "line ");
    _qor_prt_char(world, (const char *)v->line.value, (QorLong)v->line.count);
    nextComponent(world);
    qorPrint(world, "memo ");
    _qor_prt_char(world, v->memo->value, (QorLong)v->memo->length);
    endValue(world);
}

static void printBits(QorGlobal *world, const Bits *v)
{
    beginValue(world);
    qorPrint(world, "flags ");
    _qor_prt_bit(world, v->flags.value, v->flags.length);
    nextComponent(world);
    qorPrint(world, "fixed ");
    _qor_prt_bit(world, v->fixed, 20);
    nextComponent(world);
    qorPrint(world, "named ");
    _qor_prt_bit(world, v->named.value, (QorLong)v->named.length);
    nextComponent(world);
    qorPrint(world, "octets ");
    _qor_prt_oct(world, v->octets.value, v->octets.length);
    nextComponent(world);
    qorPrint(world, "blob ");
    _qor_prt_oct(world, v->blob.value, (QorLong)v->blob.length);
    nextComponent(world);
    qorPrint(world, "word ");
    _qor_prt_pbit(world, &v->word, 4, 32);
    endValue(world);
}

static void printChain(QorGlobal *world, const Chain *v)
{
    beginValue(world);
    qorPrint(world, "value %d", (int)v->value);
    if (v->next != NULL) {
        nextComponent(world);
        qorPrint(world, "next ");
        printChain(world, v->next);
    }
    endValue(world);
}

int testSchemaPrint(QorGlobal *world, int pdunum, void *value)
{
    int nested = pdunum < 0;
    int pdu = nested ? -pdunum : pdunum;
    if (pdu < 1 || pdu > PDU_COUNT)
        return QOR_PDU_RANGE;
    if (!nested) {
        world->pduNumber = pdu;
        world->pduNames = testSchemaPduNames[pdu - 1];
        qorPrint(world, "value %s ::= ", testSchemaPduNames[pdu - 1][0]);
    }
    switch (pdu) {
    case PDU_Raw:
        printOctets(world, value);
        break;
    case PDU_Fault:
        printFault(world, (const Fault *)value);
        break;
    case PDU_Bag:
        printBag(world, value);
        break;
    case PDU_Bags:
        printList(world, ((const Bags *)value)->count, ((const Bags *)value)->items, sizeof(Bag),
                  printBag);
        break;
    case PDU_Record:
        printRecord(world, (const Record *)value);
        break;
    case PDU_PersonnelRecord:
    case PDU_PersonnelConstrained:
    case PDU_PersonnelExtensible:
    case PDU_PersonnelExtensibleFirst:
        printPersonnel(world, (const PersonnelRecord *)value);
        break;
    case PDU_Envelope:
        printEnvelope(world, (const Envelope *)value);
        break;
    case PDU_Chain:
        printChain(world, (const Chain *)value);
        break;
    case PDU_Gauges:
        printGauges(world, (const Gauges *)value);
        break;
    case PDU_Texts:
        printTexts(world, (const Texts *)value);
        break;
    case PDU_Bits:
        printBits(world, (const Bits *)value);
        break;
    case PDU_Leaves:
        printLeaves(world, (const Leaves *)value);
        break;
    }
    if (!nested)
        qorPrint(world, "\n");
    return 0;
}

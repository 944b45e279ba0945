/* The test schema module, written as generated code would be: one entry per
 * family, each a switch on the PDU number; encoders write backwards. */
#include "testschema.h"

#include "print.h"
#include "values.h"

#include "extent.h"

enum {
    MSG_PDU_RANGE = 3,
    MSG_END_OF_INPUT = 45,
    MSG_PDU_TAG_MISMATCH = 104,
    MSG_SIZE_EXCEEDED = 79,
    MSG_MISENCODED = 106,
    MSG_PDU_TAG_UNKNOWN = 122,
    MSG_NESTING = 181
};

enum {
    TAG_OCTET_STRING = 0x04,
    TAG_SEQUENCE = 0x30,
    TAG_SET = 0x31,
    TAG_PERSONNEL = 0x60,
    TAG_BAGS = 0x61,
    TAG_RECORD = 0x62,
    TAG_ENVELOPE = 0x63,
    TAG_CHAIN = 0x64
};
enum { MSG_CHOICE_RANGE = 7, MSG_ENUM_RANGE = 36, MSG_FIELD_OMITTED = 117 };
enum { BAG_SIZE_LIMIT = 4000 };

const char *const testSchemaPduNames[PDU_COUNT][2] = {
    {"Raw", "OCTET STRING"}, {"Fault", "Fault"},   {"Bag", "Bag"},
    {"Bags", "Bags"},        {"Record", "Record"}, {"PersonnelRecord", "PersonnelRecord"},
    {"Envelope", "Envelope"}, {"Chain", "Chain"}, {"PersonnelRecord", "PersonnelRecord"},
    {"Gauges", "Gauges"}, {"Texts", "Texts"}, {"Bits", "Bits"},
    {"PersonnelRecord", "PersonnelRecord"}, {"PersonnelRecord", "PersonnelRecord"},
    {"Widths", "Widths"}, {"Levels", "Levels"}, {"Extended", "Extended"}, {"Nothing", "NULL"},
    {"Leaves", "Leaves"},
    [PDU_Lexems - 1] = {"Lexems", "Lexems"}, {"Probes", "Probes"},
    [PDU_OerBits - 1] = {"OerBits", "OerBits"}, {"OerTexts", "OerTexts"},
    {"OerLeaves", "OerLeaves"},
    [PDU_Times - 1] = {"Times", "TIME"}};

/* An address that is never mapped, hidden from the optimiser. */
static volatile uintptr_t wildAddress = 16;

static const QorFieldInfo faultInfo = {"Fault", "Fault", 16};
static const QorFieldInfo itemsInfo = {"items", "Items", 10};
static const QorFieldInfo itemInfo = {"", "Item", 16};
static const QorFieldInfo xInfo = {"x", "INTEGER", 2};

/* Writes a tag and a definite length just below *pos; returns their size. */
static QorLong writeHeader(QorGlobal *world, unsigned char **pos, QorLong *room, unsigned char tag,
                        QorLong length)
{
    unsigned char header[6];
    int n = 0;
    header[n++] = tag;
    if (length < 128) {
        header[n++] = (unsigned char)length;
    } else {
        unsigned char octets[4];
        int count = 0;
        QorULong v = (QorULong)length;
        while (v != 0) {
            octets[count++] = (unsigned char)v;
            v >>= 8;
        }
        header[n++] = (unsigned char)(0x80 | count);
        while (count > 0)
            header[n++] = octets[--count];
    }
    return _qor_write_bytes_d(world, pos, room, header, n);
}

static QorLong encodeOctets(QorGlobal *world, const void *value, unsigned char **pos,
                            QorLong *room)
{
    const Raw *raw = (const Raw *)value;
    QorLong n;
    if (raw->length > BAG_SIZE_LIMIT)
        _qor_enc_error(world, MSG_SIZE_EXCEEDED, raw->length);
    n = _qor_encd_uoct_ia(world, pos, room, raw->data, raw->length, 0);
    return n + writeHeader(world, pos, room, TAG_OCTET_STRING, raw->length);
}

/* Encodes one element of a list below *pos; returns its size. */
typedef QorLong (*ElementEncoder)(QorGlobal *world, const void *element, unsigned char **pos,
                                  QorLong *room);

/* SET OF: elements written last first; under DER the library sorts them. */
static QorLong encodeSetOf(QorGlobal *world, QorLong count, const void *items, QorLong size,
                           ElementEncoder encodeElement, unsigned char tag, unsigned char **pos,
                           QorLong *room)
{
    QorLong total = 0;
    QorLong i;
    _qor_beginBlock(world, count, pos, room);
    for (i = count - 1; i >= 0; i--) {
        _qor_nextItem(world, room);
        total += encodeElement(world, (const unsigned char *)items + i * size, pos, room);
    }
    _qor_endBlock(world, pos, room, 0);
    return total + writeHeader(world, pos, room, tag, total);
}

static QorLong encodeBag(QorGlobal *world, const void *value, unsigned char **pos, QorLong *room)
{
    const Bag *bag = (const Bag *)value;
    return encodeSetOf(world, bag->count, bag->items, sizeof(Raw), encodeOctets, TAG_SET, pos, room);
}

static void encodeFault(QorGlobal *world, const Fault *f, unsigned char **pos, QorLong *room)
{
    static const unsigned char filler[64];
    QorFieldRecord root = {NULL, &faultInfo, 0};
    QorFieldRecord items = {&root, &itemsInfo, 0};
    QorFieldRecord item = {&items, &itemInfo, 0};
    QorFieldRecord x = {&item, &xInfo, 0};
    QorLong left = f->written;
    while (left > 0) {
        QorLong n = left < (QorLong)sizeof filler ? left : (QorLong)sizeof filler;
        _qor_write_bytes_d(world, pos, room, filler, n);
        left -= n;
    }
    item.index = f->element;
    world->fieldStack = &x;
    switch (f->raiser) {
    case RAISE_LONGLONG:
        _qor_enc_llerror(world, f->message, f->number, f->high);
    case RAISE_STRING:
        _qor_krod_error(world, f->message, f->text);
    case RAISE_REAL:
        _qor_krod_real_error(world, f->message, f->real);
    case RAISE_UNBOUNDED:
        _qor_unbnd_error(world, f->message, f->text, f->textLength);
    case RAISE_SEGV:
        *(volatile char *)wildAddress = 1;
        break;
    case RAISE_IN_CHECK:
        world->operation = QOR_OP_CHECK;
        _qor_enc_error(world, f->message, f->number);
    case RAISE_NESTED:
        _qor_enc_error(_qor_push_global(world), f->message, f->number);
    default:
        _qor_enc_error(world, f->message, f->number);
    }
    world->fieldStack = root.link; /* leaving the PDU pops its records */
}

/* Record: components last first, DEFAULT values left out. */
static QorLong encodeInner(QorGlobal *world, const Inner *v, unsigned char **pos, QorLong *room)
{
    QorLong n = 0;
    if (v->bit_mask & Inner_b_present)
        n += _qor_encd_int_tl(world, pos, room, v->b, 0x81);
    n += _qor_encd_int_tl(world, pos, room, v->a, 0x80);
    return n + _qor_encd_tag_length(world, pos, room, n, 0xA5);
}

static QorLong encodePick(QorGlobal *world, const Pick *v, unsigned char **pos, QorLong *room)
{
    QorLong n;
    switch (v->choice) {
    case Pick_number_chosen:
        n = _qor_encd_int_tl(world, pos, room, v->u.number, 0x80);
        break;
    case Pick_flag_chosen:
        n = _qor_encd_bool_tl(world, pos, room, 0x81, v->u.flag);
        break;
    case Pick_code_chosen:
        n = _qor_encd_uint_tl(world, pos, room, v->u.code, 0x82);
        break;
    default:
        _qor_enc_error(world, MSG_CHOICE_RANGE, v->choice);
    }
    return n + _qor_encd_tag_length(world, pos, room, n, 0xA6); /* a CHOICE's tag is explicit */
}

static QorLong encodeRecord(QorGlobal *world, const Record *v, unsigned char **pos, QorLong *room)
{
    QorLong n = 0;
    QorLong i;
    QorLong listed = 0;
    if (v->bit_mask & Record_when_present) {
        QorLong t = _qor_encd_gtime(world, pos, room, &v->when);
        n += t + _qor_encd_tag_length(world, pos, room, t, 0x8A);
    }
    if (v->bit_mask & Record_ratio_present) {
        QorLong r = _qor_encd_real(world, pos, room, v->ratio);
        n += r + _qor_encd_tag_length(world, pos, room, r, 0x89);
    }
    if (v->bit_mask & Record_big_present)
        n += _qor_encd_llint_tl(world, pos, room, v->big, 0x88);
    for (i = v->numbers.count - 1; i >= 0; i--)
        listed += _qor_encd_int_tl(world, pos, room, v->numbers.value[i], 0x02);
    n += listed + _qor_encd_tag_length(world, pos, room, listed, 0xA7);
    n += encodePick(world, &v->pick, pos, room);
    n += encodeInner(world, &v->inner, pos, room);
    if (v->bit_mask & Record_nothing_present)
        n += _qor_encd_tag_length(world, pos, room, 0, 0x84);
    if (v->level < Level_low || v->level > Level_high)
        _qor_enc_error(world, MSG_ENUM_RANGE, v->level);
    if (v->level != Level_medium)
        n += _qor_encd_int_tl(world, pos, room, v->level, 0x83);
    if (v->bit_mask & Record_count_present)
        n += _qor_encd_int_tl(world, pos, room, v->count, 0x82);
    if (!v->active)
        n += _qor_encd_bool_tl(world, pos, room, 0x81, v->active);
    n += _qor_encd_int_tl(world, pos, room, v->id, 0x80);
    return n + _qor_encd_tag_length(world, pos, room, n, TAG_RECORD);
}

static int berEncode(QorGlobal *world, int pdunum, void *value);
static int berDecode(QorGlobal *world, int *pdunum, void **output);

/* The open type's contents, encoded on a nested context and written as they
 * stand; the encoding is the outer call's until it is written. */
static QorLong encodeContent(QorGlobal *world, const QorOpenType *content, unsigned char **pos,
                             QorLong *room)
{
    QorGlobal *nested;
    QorOpenType written = *content;
    QorLong n;
    if (!(world->encodingFlags & AUTOMATIC_ENCDEC) || content->decoded == NULL)
        return _qor_encd_opentype(world, pos, room, content);
    nested = _qor_push_global(world);
    berEncode(nested, content->pduNum, content->decoded);
    if (world->encodingFlags & DETERMINE_ENC_LENGTH) {
        n = nested->encLength;
        _qor_epop_global(nested);
        world->encLength += n;
        return n;
    }
    written.encoded = nested->outPos;
    written.length = (QorULong)nested->outRoom;
    written.decoded = NULL;
    written.pduNum = 0;
    world->nestedOutput = written.encoded;
    _qor_epop_global(nested);
    n = _qor_encd_opentype(world, pos, room, &written);
    world->nestedOutput = NULL;
    _qor_dec_free(world, written.encoded);
    return n;
}

static QorLong encodeEnvelope(QorGlobal *world, const Envelope *v, unsigned char **pos,
                              QorLong *room)
{
    QorLong n = encodeContent(world, &v->content, pos, room);
    n += _qor_encd_tag_length(world, pos, room, n, 0xA1);
    n += _qor_encd_int_tl(world, pos, room, v->kind, 0x80);
    return n + _qor_encd_tag_length(world, pos, room, n, TAG_ENVELOPE);
}

/* One more level of SEQUENCE; a limit of 0 means none. */
static void enterSequence(QorGlobal *world, int depth, int limit)
{
    if (limit != 0 && depth > limit)
        _qor_enc_error(world, MSG_NESTING, 0);
}

static QorLong encodeChain(QorGlobal *world, const Chain *v, unsigned char tag, int depth,
                           int limit, unsigned char **pos, QorLong *room)
{
    QorLong n = 0;
    enterSequence(world, depth, limit);
    if (v->next != NULL)
        n += encodeChain(world, v->next, 0xA1, depth + 1, limit, pos, room);
    n += _qor_encd_int_tl(world, pos, room, v->value, 0x80);
    return n + _qor_encd_tag_length(world, pos, room, n, tag);
}

static int berEncode(QorGlobal *world, int pdunum, void *value)
{
    unsigned char *pos = world->outPos != NULL ? world->outPos + world->outRoom : NULL;
    QorLong room = world->outRoom;
    if (pdunum < 1 || pdunum > PDU_COUNT)
        _qor_enc_error(world, MSG_PDU_RANGE, pdunum);
    world->pduNumber = pdunum;
    world->pduNames = testSchemaPduNames[pdunum - 1];
    switch (pdunum) {
    case PDU_Raw: {
        const Raw *raw = (const Raw *)value;
        _qor_encd_uoct_ia(world, &pos, &room, raw->data, raw->length, 0);
        writeHeader(world, &pos, &room, TAG_OCTET_STRING, raw->length);
        break;
    }
    case PDU_Fault:
        encodeFault(world, (const Fault *)value, &pos, &room);
        break;
    case PDU_Bag:
        encodeBag(world, value, &pos, &room);
        break;
    case PDU_Bags:
        encodeSetOf(world, ((const Bags *)value)->count, ((const Bags *)value)->items, sizeof(Bag),
                    encodeBag, TAG_BAGS, &pos, &room);
        break;
    case PDU_Record:
        encodeRecord(world, (const Record *)value, &pos, &room);
        break;
    case PDU_PersonnelRecord:
    case PDU_PersonnelConstrained:
        personnelEncode(world, (const PersonnelRecord *)value, &pos, &room);
        break;
    case PDU_Envelope:
        encodeEnvelope(world, (const Envelope *)value, &pos, &room);
        break;
    case PDU_Chain:
        encodeChain(world, (const Chain *)value, TAG_CHAIN, 1, qorGetSeqSetNestingLimit(world), &pos,
                    &room);
        break;
    default: /* a PDU with PER entries only */
        _qor_enc_error(world, MSG_PDU_RANGE, pdunum);
    }
    if (world->userBuffer) {
        /* The encoding ends the caller's buffer; outRoom was the buffer's size. */
        world->outRoom -= room;
        world->outPos = pos;
    } else {
        _qor_set_outmem_d(world, room, &world->outRoom, &world->outPos);
    }
    return 0;
}

static int pduOfTag(unsigned char tag)
{
    switch (tag) {
    case TAG_OCTET_STRING:
    case TAG_OCTET_STRING | 0x20: /* constructed */
        return PDU_Raw;
    case TAG_SEQUENCE:
        return PDU_Fault;
    case TAG_SET:
        return PDU_Bag;
    case TAG_BAGS:
        return PDU_Bags;
    case TAG_RECORD:
        return PDU_Record;
    case TAG_PERSONNEL:
        return PDU_PersonnelRecord;
    case TAG_ENVELOPE:
        return PDU_Envelope;
    case TAG_CHAIN:
        return PDU_Chain;
    default:
        return 0;
    }
}

/* 0: the PDU has no BER entries. */
static unsigned char tagOfPdu(int pdunum)
{
    static const unsigned char tags[PDU_COUNT] = {
        TAG_OCTET_STRING, TAG_SEQUENCE, TAG_SET,   TAG_BAGS,      TAG_RECORD,
        TAG_PERSONNEL,    TAG_ENVELOPE, TAG_CHAIN, TAG_PERSONNEL, 0,
        0,                0};
    return tags[pdunum - 1];
}

/* Record, decoded with the library's primitives as generated code does. */
enum { NUMBERS_PER_BLOCK = 64 };

static QorLong decodeInt(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong tag)
{
    return _qor_dec_iint(world, pos, room, _qor_dec_tag_length(world, pos, room, tag));
}

static void decodeOctets(QorGlobal *world, unsigned char **pos, QorLong *room, void *out)
{
    Raw *raw = (Raw *)out;
    QorLong length = header(world, pos, room, TAG_OCTET_STRING);
    raw->length = _qor_dec_uoct_ia(world, pos, room, length, (void **)&raw->data, 0);
}

/* SET OF of unknown count. */
enum { ELEMENTS_PER_BLOCK = 32 };

static void decodeBag(QorGlobal *world, unsigned char **pos, QorLong *room, void *out)
{
    Bag *bag = (Bag *)out;
    bag->items = (Raw *)decodeList(world, pos, room, TAG_SET & ~0x20, sizeof(Raw),
                                   ELEMENTS_PER_BLOCK, decodeOctets, &bag->count);
}

static void decodeBags(QorGlobal *world, unsigned char **pos, QorLong *room, Bags *bags)
{
    bags->items = (Bag *)decodeList(world, pos, room, TAG_BAGS & ~0x20, sizeof(Bag),
                                    ELEMENTS_PER_BLOCK, decodeBag, &bags->count);
}

static void decodeInner(QorGlobal *world, unsigned char **pos, QorLong *room, Inner *v)
{
    Extent e;
    beginValue(world, pos, room, 0x85, &e);
    if (!peek(world, pos, room, &e, 0x80))
        _qor_enc_error(world, MSG_FIELD_OMITTED, 0);
    v->a = decodeInt(world, pos, room, 0x80);
    if (peek(world, pos, room, &e, 0x81)) {
        v->b = decodeInt(world, pos, room, 0x81);
        v->bit_mask |= Inner_b_present;
    }
    endValue(world, pos, room, &e);
}

static void decodePick(QorGlobal *world, unsigned char **pos, QorLong *room, Pick *v)
{
    Extent e;
    beginValue(world, pos, room, 0x86, &e);
    if (!more(world, pos, room, &e))
        _qor_enc_error(world, MSG_FIELD_OMITTED, 0);
    switch ((*pos)[0]) {
    case 0x80:
        v->choice = Pick_number_chosen;
        v->u.number = decodeInt(world, pos, room, 0x80);
        break;
    case 0x81:
        v->choice = Pick_flag_chosen;
        v->u.flag = _qor_dec_bool(world, pos, room, _qor_dec_tag_length(world, pos, room, 0x81));
        break;
    case 0x82:
        v->choice = Pick_code_chosen;
        v->u.code = _qor_dec_uiint(world, pos, room, _qor_dec_tag_length(world, pos, room, 0x82));
        break;
    default:
        _qor_enc_error(world, 115, packedTag((*pos)[0]));
    }
    endValue(world, pos, room, &e);
}

static void decodeNumber(QorGlobal *world, unsigned char **pos, QorLong *room, void *out)
{
    *(QorLong *)out = decodeInt(world, pos, room, 0x02);
}

static void decodeRecord(QorGlobal *world, unsigned char **pos, QorLong *room, Record *v)
{
    Extent e;
    beginValue(world, pos, room, TAG_RECORD & ~0x20, &e);
    v->active = 1;
    v->level = Level_medium;
    if (!peek(world, pos, room, &e, 0x80))
        _qor_enc_error(world, MSG_FIELD_OMITTED, 0);
    v->id = decodeInt(world, pos, room, 0x80);
    if (peek(world, pos, room, &e, 0x81))
        v->active = _qor_dec_bool(world, pos, room, _qor_dec_tag_length(world, pos, room, 0x81));
    if (peek(world, pos, room, &e, 0x82)) {
        v->count = decodeInt(world, pos, room, 0x82);
        v->bit_mask |= Record_count_present;
    }
    if (peek(world, pos, room, &e, 0x83)) {
        v->level = (int)decodeInt(world, pos, room, 0x83);
        if (v->level < Level_low || v->level > Level_high)
            _qor_enc_error(world, MSG_ENUM_RANGE, v->level);
    }
    if (peek(world, pos, room, &e, 0x84)) {
        if (_qor_dec_tag_length(world, pos, room, 0x84) != 0)
            _qor_enc_error(world, MSG_MISENCODED, 0);
        v->bit_mask |= Record_nothing_present;
    }
    if (!peek(world, pos, room, &e, 0xA5))
        _qor_enc_error(world, MSG_FIELD_OMITTED, 0);
    decodeInner(world, pos, room, &v->inner);
    if (!peek(world, pos, room, &e, 0xA6))
        _qor_enc_error(world, MSG_FIELD_OMITTED, 0);
    decodePick(world, pos, room, &v->pick);
    if (!peek(world, pos, room, &e, 0xA7))
        _qor_enc_error(world, MSG_FIELD_OMITTED, 0);
    v->numbers.value = (QorLong *)decodeList(world, pos, room, 0x87, sizeof(QorLong),
                                             NUMBERS_PER_BLOCK, decodeNumber, &v->numbers.count);
    if (peek(world, pos, room, &e, 0x88)) {
        v->big = _qor_dec_llint(world, pos, room, _qor_dec_tag_length(world, pos, room, 0x88));
        v->bit_mask |= Record_big_present;
    }
    if (peek(world, pos, room, &e, 0x89)) {
        _qor_dec_real(world, pos, room, _qor_dec_tag_length(world, pos, room, 0x89), &v->ratio);
        v->bit_mask |= Record_ratio_present;
    }
    if (peek(world, pos, room, &e, 0x8A)) {
        _qor_dec_gtime(world, pos, room, _qor_dec_tag_length(world, pos, room, 0x8A), &v->when);
        v->bit_mask |= Record_when_present;
    }
    endValue(world, pos, room, &e);
}

/* With AUTOMATIC_ENCDEC the kept encoding is decoded too, on this context,
 * so that its pieces are the call's like every other. */
static void decodeEnvelope(QorGlobal *world, unsigned char **pos, QorLong *room, Envelope *v)
{
    Extent e, wrapper;
    beginValue(world, pos, room, TAG_ENVELOPE & ~0x20, &e);
    v->kind = decodeInt(world, pos, room, 0x80);
    beginValue(world, pos, room, 0x81, &wrapper);
    _qor_dec_opentype(world, pos, room, wrapper.indefinite ? -1 : (QorLong)(wrapper.end - *pos),
                      &v->content);
    endValue(world, pos, room, &wrapper);
    endValue(world, pos, room, &e);
    if ((world->decodingFlags & AUTOMATIC_ENCDEC) && v->content.encoded != NULL) {
        unsigned char *savedPos = world->inPos;
        QorLong savedRoom = world->inRoom;
        int savedPdu = world->pduNumber;
        const char *const *savedNames = world->pduNames;
        int pdu = 0;
        world->inPos = v->content.encoded;
        world->inRoom = (QorLong)v->content.length;
        berDecode(world, &pdu, &v->content.decoded);
        v->content.pduNum = pdu;
        world->inPos = savedPos;
        world->inRoom = savedRoom;
        world->pduNumber = savedPdu;
        world->pduNames = savedNames;
    }
}

/* The limit is checked before the level is read, so that a value nested
 * past it costs no memory and no stack. */
static Chain *decodeChain(QorGlobal *world, unsigned char **pos, QorLong *room, QorULong tag,
                          int depth, int limit)
{
    Extent e;
    Chain *v;
    enterSequence(world, depth, limit);
    v = (Chain *)_qor_dec_getmem(world, sizeof(Chain));
    v->next = NULL;
    beginValue(world, pos, room, tag, &e);
    v->value = decodeInt(world, pos, room, 0x80);
    if (peek(world, pos, room, &e, 0xA1))
        v->next = decodeChain(world, pos, room, 0x81, depth + 1, limit);
    endValue(world, pos, room, &e);
    return v;
}

static int berDecode(QorGlobal *world, int *pdunum, void **output)
{
    unsigned char *pos = world->inPos;
    QorLong room = world->inRoom;
    unsigned char tag;
    int found;
    void *value = NULL; /* the caller's output is set on success only */
    if (*pdunum < 0 || *pdunum > PDU_COUNT || (*pdunum != 0 && tagOfPdu(*pdunum) == 0))
        _qor_enc_error(world, MSG_PDU_RANGE, *pdunum);
    if (room < 1)
        _qor_enc_error(world, MSG_END_OF_INPUT, 0);
    tag = pos[0];
    found = pduOfTag(tag);
    if (*pdunum == 0) {
        if (found == 0)
            _qor_enc_error(world, MSG_PDU_TAG_UNKNOWN, packedTag(tag));
        *pdunum = found;
    } else if (found != *pdunum &&
               !(found == PDU_PersonnelRecord && *pdunum == PDU_PersonnelConstrained)) {
        _qor_enc_error(world, MSG_PDU_TAG_MISMATCH,
                       (packedTag(tagOfPdu(*pdunum)) << 16) | packedTag(tag));
    }
    world->pduNumber = *pdunum;
    world->pduNames = testSchemaPduNames[*pdunum - 1];
    switch (*pdunum) {
    case PDU_Raw:
        value = _qor_dec_getmem(world, sizeof(Raw));
        decodeOctets(world, &pos, &room, value);
        break;
    case PDU_Bag:
        value = _qor_dec_getmem(world, sizeof(Bag));
        decodeBag(world, &pos, &room, value);
        break;
    case PDU_Bags:
        value = _qor_dec_getmem(world, sizeof(Bags));
        decodeBags(world, &pos, &room, (Bags *)value);
        break;
    case PDU_Record:
        value = _qor_dec_getmem(world, sizeof(Record));
        decodeRecord(world, &pos, &room, (Record *)value);
        break;
    case PDU_PersonnelRecord:
    case PDU_PersonnelConstrained:
        value = personnelDecode(world, &pos, &room);
        break;
    case PDU_Envelope:
        value = _qor_dec_getmem(world, sizeof(Envelope));
        decodeEnvelope(world, &pos, &room, (Envelope *)value);
        break;
    case PDU_Chain:
        value = decodeChain(world, &pos, &room, TAG_CHAIN & ~0x20, 1,
                            qorGetSeqSetNestingLimit(world));
        break;
    case PDU_Fault:
        header(world, &pos, &room, TAG_SEQUENCE & ~0x20);
        (void)_qor_dec_getmem(world, sizeof(Fault));
        (void)_qor_dec_getmem(world, 2000);
        /* Scratch of every kind is left behind for the driver to release. */
        (void)_qor_tstk_alloc(world, 100);
        (void)_qor_dec_gettempmem(world, 50);
        (void)_qor_tstk_get_altdecmem(world, 10);
        world->inPos = pos; /* how far the input was read */
        world->inRoom = room;
        _qor_enc_error(world, MSG_MISENCODED, 0);
    }
    *output = value;
    world->inPos = pos;
    world->inRoom = room;
    return 0;
}

static void freeBag(QorGlobal *world, Bag *bag)
{
    QorLong i;
    for (i = 0; i < bag->count; i++)
        _qor_dec_free(world, bag->items[i].data);
    _qor_dec_free(world, bag->items);
}

static int freeValue(QorGlobal *world, int pdunum, void *value)
{
    switch (pdunum) {
    case PDU_Bag:
        freeBag(world, (Bag *)value);
        _qor_dec_free(world, value);
        return 0;
    case PDU_Bags: {
        Bags *bags = (Bags *)value;
        QorLong i;
        for (i = 0; i < bags->count; i++)
            freeBag(world, &bags->items[i]);
        _qor_dec_free(world, bags->items);
        _qor_dec_free(world, bags);
        return 0;
    }
    case PDU_Raw:
    case PDU_Lexems:
    case PDU_Probes: {
        Raw *raw = (Raw *)value;
        _qor_dec_free(world, raw->data);
        _qor_dec_free(world, raw);
        return 0;
    }
    case PDU_Fault:
    case PDU_Times:
        _qor_dec_free(world, value);
        return 0;
    case PDU_Record:
        _qor_dec_free(world, ((Record *)value)->numbers.value);
        _qor_dec_free(world, value);
        return 0;
    case PDU_PersonnelRecord:
    case PDU_PersonnelConstrained:
    case PDU_PersonnelExtensible:
    case PDU_PersonnelExtensibleFirst:
        personnelFree(world, (PersonnelRecord *)value);
        return 0;
    case PDU_Envelope: {
        Envelope *envelope = (Envelope *)value;
        if (envelope->content.decoded != NULL)
            freeValue(world, envelope->content.pduNum, envelope->content.decoded);
        _qor_dec_free(world, envelope->content.encoded);
        _qor_dec_free(world, envelope);
        return 0;
    }
    case PDU_Gauges:
        gaugesFree(world, (Gauges *)value);
        return 0;
    case PDU_Texts:
        textsFree(world, (Texts *)value);
        return 0;
    case PDU_Bits:
        bitsFree(world, (Bits *)value);
        return 0;
    case PDU_Leaves:
        leavesFree(world, (Leaves *)value);
        return 0;
    case PDU_Widths:
    case PDU_Levels:
    case PDU_Extended:
    case PDU_Nothing:
        numbersFree(world, pdunum, value);
        return 0;
    case PDU_OerBits:
    case PDU_OerTexts:
    case PDU_OerLeaves:
        leavesOerFree(world, pdunum, value);
        return 0;
    case PDU_Chain: {
        Chain *link = (Chain *)value;
        while (link != NULL) {
            Chain *next = link->next;
            _qor_dec_free(world, link);
            link = next;
        }
        return 0;
    }
    default:
        return QOR_PDU_RANGE;
    }
}

/* Aligned and unaligned PER: only the PersonnelRecord PDUs, Gauges, Texts and Bits have
 * entries.
 * The input holds no PDU number, so the caller gives one. */
static int perEncode(QorGlobal *world, int pdunum, void *value)
{
    if (pdunum < 1 || pdunum > PDU_COUNT)
        _qor_enc_error(world, MSG_PDU_RANGE, pdunum);
    world->pduNumber = pdunum;
    world->pduNames = testSchemaPduNames[pdunum - 1];
    world->perAligned = world->encRules == QOR_PER_ALIGNED;
    _qor_db_e_pre(world, pdunum, value, 0, world->outPos, world->outRoom);
    switch (pdunum) {
    case PDU_PersonnelRecord:
        personnelPerEncode(world, (const PersonnelRecord *)value, PersonnelPlain);
        break;
    case PDU_PersonnelConstrained:
        personnelPerEncode(world, (const PersonnelRecord *)value, PersonnelConstrained);
        break;
    case PDU_PersonnelExtensible:
        personnelPerEncode(world, (const PersonnelRecord *)value, PersonnelExtensible);
        break;
    case PDU_PersonnelExtensibleFirst:
        personnelPerEncode(world, (const PersonnelRecord *)value, PersonnelExtensibleFirst);
        break;
    case PDU_Gauges:
        gaugesPerEncode(world, (const Gauges *)value);
        break;
    case PDU_Texts:
        textsPerEncode(world, (const Texts *)value);
        break;
    case PDU_Bits:
        bitsPerEncode(world, (const Bits *)value);
        break;
    case PDU_Leaves:
        leavesPerEncode(world, (const Leaves *)value);
        break;
    case PDU_Times:
        _qor_pe_t_mixed(world, (const char *)value);
        break;
    default:
        _qor_enc_error(world, MSG_PDU_RANGE, pdunum);
    }
    _qor_db_e_post(world, 0, NULL, 0);
    return 0;
}

static int perDecode(QorGlobal *world, int *pdunum, void **output)
{
    void *value = NULL; /* the caller's output is set on success only */
    if (*pdunum < 1 || *pdunum > PDU_COUNT)
        _qor_enc_error(world, MSG_PDU_RANGE, *pdunum);
    world->pduNumber = *pdunum;
    world->pduNames = testSchemaPduNames[*pdunum - 1];
    world->perAligned = world->encRules == QOR_PER_ALIGNED;
    _qor_db_d_pre(world, world->inPos, world->inRoom);
    switch (*pdunum) {
    case PDU_PersonnelRecord:
        value = personnelPerDecode(world, PersonnelPlain);
        break;
    case PDU_PersonnelConstrained:
        value = personnelPerDecode(world, PersonnelConstrained);
        break;
    case PDU_PersonnelExtensible:
        value = personnelPerDecode(world, PersonnelExtensible);
        break;
    case PDU_PersonnelExtensibleFirst:
        value = personnelPerDecode(world, PersonnelExtensibleFirst);
        break;
    case PDU_Gauges:
        value = gaugesPerDecode(world);
        break;
    case PDU_Texts:
        value = textsPerDecode(world);
        break;
    case PDU_Bits:
        value = bitsPerDecode(world);
        break;
    case PDU_Leaves:
        value = leavesPerDecode(world);
        break;
    case PDU_Times:
        value = _qor_dec_getmem(world, QOR_PER_TIME_TEXT);
        _qor_pd_t_mixed(world, (char *)value);
        break;
    default:
        _qor_enc_error(world, MSG_PDU_RANGE, *pdunum);
    }
    *output = value;
    _qor_db_d_post(world, 0, *pdunum, output);
    return 0;
}

/* OER: only the PersonnelRecord PDUs, Widths, Levels, Extended and Nothing
 * have entries. The input holds no PDU number, so the caller gives one. */
static int oerEncode(QorGlobal *world, int pdunum, void *value)
{
    if (pdunum < 1 || pdunum > PDU_COUNT)
        _qor_enc_error(world, MSG_PDU_RANGE, pdunum);
    world->pduNumber = pdunum;
    world->pduNames = testSchemaPduNames[pdunum - 1];
    switch (pdunum) {
    case PDU_PersonnelRecord:
    case PDU_PersonnelConstrained:
        personnelOerEncode(world, (const PersonnelRecord *)value,
                           pdunum == PDU_PersonnelConstrained);
        break;
    case PDU_OerBits:
    case PDU_OerTexts:
    case PDU_OerLeaves:
        leavesOerEncode(world, pdunum, value);
        break;
    default:
        numbersOerEncode(world, pdunum, value);
    }
    return 0;
}

static void *oerDecode(QorGlobal *world, int pdunum)
{
    if (pdunum < 1 || pdunum > PDU_COUNT)
        _qor_enc_error(world, MSG_PDU_RANGE, pdunum);
    world->pduNumber = pdunum;
    world->pduNames = testSchemaPduNames[pdunum - 1];
    switch (pdunum) {
    case PDU_PersonnelRecord:
    case PDU_PersonnelConstrained:
        return personnelOerDecode(world, pdunum == PDU_PersonnelConstrained);
    case PDU_OerBits:
    case PDU_OerTexts:
    case PDU_OerLeaves:
        return leavesOerDecode(world, pdunum);
    default:
        return numbersOerDecode(world, pdunum);
    }
}

/* The rules this table carries: BER (bit 0), aligned (1) and unaligned (2)
 * PER, DER (3), CER (7), EXER (8) and OER (12). */
static QorULong featureBits = 0x118F;

static int initEntry(QorGlobal *world)
{
    qorPrivateSetMoreFlags(world, 13, &featureBits);
    qorLinkBer(world);
    qorLinkPer(world);
    qorLinkOerE(world);
    qorLinkOerD(world);
    qorInitXAPIentries(world, &testSchemaXapi);
    qorLink_Exer(world, (void *)&lexemsExerInfo);
    world->ruleBits |= QOR_RULE_DER_ALLOWED;
    return 0;
}

QorXapiEntries testSchemaXapi = {26, testSchemaCopy, testSchemaCompare, NULL, NULL, 0,
                                  testSchemaConstraints, 0, NULL, lexemsExerDecode, 0, QOR_OER_VERSION,
                                  oerEncode, oerDecode};

QorControlTable testSchemaTable = {initEntry,       berEncode, berDecode, freeValue,
                                   QOR_BER_VERSION, perEncode, perDecode, QOR_PER_VERSION,
                                   {0, 0},          testSchemaPrint};

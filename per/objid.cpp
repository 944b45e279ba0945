// PER OBJECT IDENTIFIER and RELATIVE-OID in each memory form: arrays of 16
// or 32-bit arcs, linked lists, records with a count, and the contents
// octets kept as they stand. The contents are those of BER under a general
// length, octet-aligned in aligned PER; packing, unpacking and the rules'
// checks are the shared arc helpers'. Decoders check the whole contents
// before they store anything.
#include <cstring>

#include "objects/arcs.h"
#include "per/per.h"

using namespace qor;

namespace {

// The pointer forms collect arcs in an array of this many before they
// allocate: 50 arcs or more are refused.
constexpr QorLong kPointerFormArcs = 50;

// Contents up to this size are packed and read on the frame.
constexpr size_t kFrameContents = kMaxIdentifierContents + 31;

// ---------------------------------------------------------------- encoding

// Writes contents of `size` octets that `pack(out)` fills, as an unbounded
// octet string is written: the general length, then the octets, in
// fragments from 16K on.
template <class Pack> void writeContents(QorGlobal *world, int64_t size, Pack pack)
{
    raiseIf(world, size > INT32_MAX, Msg::kLengthTooLong, INT32_MAX);
    unsigned char frame[kFrameContents];
    withContents(world, frame, static_cast<size_t>(size), pack, [&](const unsigned char *out) {
        _qor_penc_uncon_oct(world, out, static_cast<QorULong>(size));
    });
}

template <class Arc> void writeArcArray(QorGlobal *world, const Arc *arcs, QorLong count)
{
    raiseIf(world, arcs == nullptr, Msg::kNullInput, 0);
    const QorULong first = firstSubidentifier(world, arcs, count);
    const Arc *rest = arcs + 2;
    writeContents(world, subidentifierSize(first) + subidentifiersSize(rest, count - 2),
                  [&](unsigned char *out) {
                      packSubidentifiers(putSubidentifier(out, first), rest, count - 2);
                  });
}

template <class Node> void writeArcList(QorGlobal *world, const Node *list)
{
    int64_t count = 0;
    for (const Node *n = list; n != nullptr; n = n->next)
        count++;
    const QorULong first = firstSubidentifier(world, list, count);
    const Node *rest = list->next->next;
    writeContents(world, subidentifierSize(first) + subidentifiersSize(rest),
                  [&](unsigned char *out) { packSubidentifiers(putSubidentifier(out, first), rest); });
}

// A list of generated code's own layout, the 32-bit arc at `offset`.
void writeOffsetList(QorGlobal *world, const void *list, QorULong offset)
{
    const OffsetList l{list, offset, 4};
    const QorULong first = firstSubidentifier(world, l, listLength(l));
    writeContents(world, subidentifierSize(first) + subidentifiersSize(l),
                  [&](unsigned char *out) { packSubidentifiers(putSubidentifier(out, first), l); });
}

// ---------------------------------------------------------------- decoding

// How a form takes its contents. The pointer, array and list forms that
// generated code reads a whole value into are strict: an empty identifier
// is refused unless relaxed, more than 225 octets always, and the input is
// checked before the length is. The inline array forms return at once on
// an empty identifier and have no octet limit, only their capacity.
struct Contents {
    const unsigned char *octets; // null: the identifier is empty
    QorLong length;
    QorLong arcs;
    void *temp;
};

Contents takeIdentifier(QorGlobal *world, bool strict, Msg tooLong, unsigned char *frame)
{
    Contents c{};
    unsigned char done;
    const QorULong length = _qor_pdec_length(world, 0, 0, &done);
    // A fragment is 16K octets at least: past every form's limit.
    raiseIf(world, done == 0, tooLong, static_cast<QorLong>(length));
    if (length == 0) {
        raiseIf(world, strict && !relaxed(world), Msg::kMisencoded, 0);
        return c;
    }
    if (strict) {
        const uint64_t need = uint64_t{length} + (world->bitOffset != 0 ? 1 : 0);
        raiseIf(world, world->inRoom < 0 || uint64_t(world->inRoom) < need, Msg::kEndOfInput, 0);
        raiseIf(world, length > kMaxIdentifierContents, Msg::kTooManySubids,
                static_cast<QorLong>(length));
    }
    c.length = static_cast<QorLong>(length);
    c.octets = takeOctets(world, length, frame, kFrameContents, &c.temp);
    // Any subidentifier is taken as long as its value fits: PER's reader
    // counts significant bits, not octets.
    c.arcs = arcCount(countSubidentifiers(world, c.octets, c.length, true));
    return c;
}

void release(QorGlobal *world, const Contents &c)
{
    if (c.temp != nullptr)
        _qor_dec_freetempmem(world, c.temp);
}

void checkArcs(QorGlobal *world, QorLong arcs, QorLong most)
{
    raiseIf(world, arcs > most, Msg::kSizeExceeded, arcs);
}

// The record of the pointer form: `headerSize` octets for the caller, the
// 16-bit count, then the arcs where a C compiler puts an array of them.
template <class Arc> void *decodeRecord(QorGlobal *world, QorULong headerSize, bool strict)
{
    unsigned char frame[kFrameContents];
    const Contents c = takeIdentifier(world, strict, strict ? Msg::kTooManySubids : Msg::kSizeExceeded, frame);
    if (c.octets == nullptr && !strict)
        return nullptr;
    checkArcs(world, c.arcs, kPointerFormArcs - 1);
    const QorULong countAt = (headerSize + 1) & ~QorULong{1};
    const QorULong arcsAt = (countAt + 2 + sizeof(Arc) - 1) & ~QorULong{sizeof(Arc) - 1};
    auto *record = static_cast<unsigned char *>(
        _qor_dec_getmem(world, static_cast<QorLong>(arcsAt + c.arcs * sizeof(Arc))));
    const auto count = static_cast<uint16_t>(c.arcs);
    memcpy(record + countAt, &count, sizeof count);
    if (c.arcs > 0)
        unpackArcs(world, c.octets, c.length, reinterpret_cast<Arc *>(record + arcsAt));
    release(world, c);
    return record;
}

// The caller's array of `capacity` arcs; the count goes to `*count`, which
// an empty identifier leaves as it was.
template <class Arc>
QorLong decodeInline(QorGlobal *world, Arc *arcs, uint16_t *count, uint16_t capacity)
{
    unsigned char frame[kFrameContents];
    const Contents c = takeIdentifier(world, false, Msg::kSizeExceeded, frame);
    if (c.octets == nullptr)
        return 0;
    checkArcs(world, c.arcs, capacity);
    raiseIf(world, arcs == nullptr || count == nullptr, Msg::kNullInput, 0);
    unpackArcs(world, c.octets, c.length, arcs);
    *count = static_cast<uint16_t>(c.arcs);
    release(world, c);
    return c.arcs;
}

// A new array of as many arcs as the value has, null for none.
template <class Arc> QorLong decodeNewArray(QorGlobal *world, Arc **array, uint16_t *count)
{
    unsigned char frame[kFrameContents];
    const Contents c = takeIdentifier(world, true, Msg::kTooManySubids, frame);
    checkArcs(world, c.arcs, kPointerFormArcs - 1);
    Arc *out = nullptr;
    if (c.arcs > 0) {
        out = static_cast<Arc *>(_qor_dec_getmem_internal(world, c.arcs * QorLong{sizeof(Arc)}));
        unpackArcs(world, c.octets, c.length, out);
    }
    *array = out;
    *count = static_cast<uint16_t>(c.arcs);
    release(world, c);
    return c.arcs;
}

// A node of decoder memory for each arc, since the value is freed node by
// node; the arcs are read on the frame first. `store(node, arc)` sets the
// arc and the link is the node's first word.
template <class Arc, class Store>
void *decodeList(QorGlobal *world, QorULong nodeSize, Store store)
{
    unsigned char frame[kFrameContents];
    const Contents c = takeIdentifier(world, true, Msg::kTooManySubids, frame);
    Arc values[kMaxIdentifierArcs];
    if (c.arcs > 0)
        unpackArcs(world, c.octets, c.length, values);
    void *head = nullptr;
    void **link = &head;
    for (QorLong i = 0; i < c.arcs; i++) {
        void *node = _qor_dec_getmem(world, static_cast<QorLong>(nodeSize));
        store(node, values[i]);
        *link = node;
        link = static_cast<void **>(node);
    }
    release(world, c);
    return head;
}

} // namespace

extern "C" {

void _qor_penc_objidi(QorGlobal *world, const QorULong *arcs, QorLong count)
{
    writeArcArray(world, arcs, count);
}

// A "long" arc is 32 bits too: one function, two names.
void _qor_penc_objidl(QorGlobal *world, const QorULong *arcs, QorLong count)
    __attribute__((alias("_qor_penc_objidi")));

void _qor_penc_objids(QorGlobal *world, const uint16_t *arcs, QorLong count)
{
    writeArcArray(world, arcs, count);
}

void _qor_penc_link_objidi(QorGlobal *world, const QorObjidNode *list)
{
    writeArcList(world, list);
}

void _qor_penc_link_objids(QorGlobal *world, const QorObjidNodeShort *list)
{
    writeArcList(world, list);
}

void _qor_penc_link_objidl_ia(QorGlobal *world, const void *list, QorULong offset)
{
    writeOffsetList(world, list, offset);
}

// The contents as they stand: `capacity` of 1 or more is the octets the
// caller's array holds. A relative identifier's contents are written and
// read as an absolute one's.
void _qor_penc_eobjid_ia(QorGlobal *world, const unsigned char *octets, QorULong count,
                         QorULong capacity)
{
    raiseIf(world, capacity >= 1 && capacity < count, Msg::kSizeExceeded,
            static_cast<QorLong>(count));
    raiseIf(world, count > 0 && octets == nullptr, Msg::kNullInput, 0);
    _qor_penc_uncon_oct(world, octets, count);
}

void _qor_penc_ereloid_ia(QorGlobal *world, const unsigned char *octets, QorULong count,
                          QorULong capacity) __attribute__((alias("_qor_penc_eobjid_ia")));

QorLong _qor_pdec_aobjidi(QorGlobal *world, QorULong *arcs, uint16_t *count, uint16_t capacity)
{
    return decodeInline(world, arcs, count, capacity);
}

QorLong _qor_pdec_aobjidl(QorGlobal *world, QorULong *arcs, uint16_t *count, uint16_t capacity)
    __attribute__((alias("_qor_pdec_aobjidi")));

QorLong _qor_pdec_aobjids(QorGlobal *world, uint16_t *arcs, uint16_t *count, uint16_t capacity)
{
    return decodeInline(world, arcs, count, capacity);
}

void *_qor_pdec_aobjidi_ptr_ia(QorGlobal *world, QorULong headerSize)
{
    return decodeRecord<QorULong>(world, headerSize, false);
}

void *_qor_pdec_aobjidl_ptr_ia(QorGlobal *world, QorULong headerSize)
    __attribute__((alias("_qor_pdec_aobjidi_ptr_ia")));

// Unlike its 32-bit siblings, the 16-bit record refuses an empty identifier
// and long contents, as the array and list forms do.
void *_qor_pdec_aobjids_ptr_ia(QorGlobal *world, QorULong headerSize)
{
    return decodeRecord<uint16_t>(world, headerSize, true);
}

QorLong _qor_pdec_uobjidi(QorGlobal *world, QorULong **array, uint16_t *count)
{
    return decodeNewArray(world, array, count);
}

QorLong _qor_pdec_uobjidl(QorGlobal *world, QorULong **array, uint16_t *count)
    __attribute__((alias("_qor_pdec_uobjidi")));

QorLong _qor_pdec_uobjids(QorGlobal *world, uint16_t **array, uint16_t *count)
{
    return decodeNewArray(world, array, count);
}

void _qor_pdec_link_objidi(QorGlobal *world, QorObjidNode **head)
{
    *head = static_cast<QorObjidNode *>(decodeList<QorULong>(
        world, sizeof(QorObjidNode),
        [](void *node, QorULong arc) { static_cast<QorObjidNode *>(node)->value = arc; }));
}

void _qor_pdec_link_objids(QorGlobal *world, QorObjidNodeShort **head)
{
    *head = static_cast<QorObjidNodeShort *>(decodeList<uint16_t>(
        world, sizeof(QorObjidNodeShort),
        [](void *node, uint16_t arc) { static_cast<QorObjidNodeShort *>(node)->value = arc; }));
}

// Nodes of `offset` octets and the arc; the offset lies past the link.
void *_qor_pdec_link_objidl_ia(QorGlobal *world, QorULong offset)
{
    return decodeList<QorULong>(world, offset + sizeof(QorULong), [offset](void *node, QorULong arc) {
        memcpy(static_cast<unsigned char *>(node) + offset, &arc, sizeof arc);
    });
}

// `target` is the caller's array of `capacity` octets, or with `capacity`
// below 0 where the pointer to new memory goes. The contents are checked to
// end on a subidentifier, nothing more: a relative identifier's are read by
// the same function.
QorLong _qor_pdec_eobjid_ia(QorGlobal *world, void *target, QorLong capacity)
{
    unsigned char done;
    const QorULong length = _qor_pdec_length(world, 0, 0, &done);
    raiseIf(world, done == 0, Msg::kTooManySubids, static_cast<QorLong>(length));
    raiseIf(world, length == 0 && !relaxed(world), Msg::kMisencoded, 0);
    raiseIf(world, length > kMaxIdentifierContents, Msg::kTooManySubids,
            static_cast<QorLong>(length));
    const auto n = static_cast<QorLong>(length);
    raiseIf(world, capacity >= 0 && n > capacity, Msg::kSizeExceeded, n);
    raiseIf(world, target == nullptr && (capacity < 0 || n > 0), Msg::kNullInput, 0);
    unsigned char frame[kFrameContents];
    void *temp;
    const unsigned char *octets = takeOctets(world, length, frame, sizeof frame, &temp);
    (void)countSubidentifiers(world, octets, n, true);
    unsigned char *out = static_cast<unsigned char *>(target);
    if (capacity < 0) {
        out = n > 0 ? static_cast<unsigned char *>(_qor_dec_getmem_internal(world, n)) : nullptr;
        *static_cast<unsigned char **>(target) = out;
    }
    if (n > 0)
        memcpy(out, octets, static_cast<size_t>(n));
    if (temp != nullptr)
        _qor_dec_freetempmem(world, temp);
    return n;
}

QorLong _qor_pdec_ereloid_ia(QorGlobal *world, void *target, QorLong capacity)
    __attribute__((alias("_qor_pdec_eobjid_ia")));

} // extern "C"

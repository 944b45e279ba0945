// OER OBJECT IDENTIFIER and RELATIVE-OID: BER's contents octets behind a
// length, from and to every memory form: arrays of 16 or 32-bit arcs, a
// record with a count, linked nodes, new arrays, the contents as they
// stand. Packing, unpacking and the checks of the first arcs are the shared
// arc helpers'. Decoders count the subidentifiers first, so that the arcs
// land in memory of their size with no growing array, and unlike PER they
// take contents of any length.
#include <cstring>

#include "objects/arcs.h"
#include "oer/oer.h"

using namespace qor;

namespace {

// Contents up to this size are packed, and arcs up to this count unpacked,
// on the frame.
constexpr size_t kFrameContents = 256;
constexpr QorLong kFrameArcs = 64;

// ---------------------------------------------------------------- encoding

// The length and the contents of `size` octets that `pack(out)` fills.
template <class Pack> void writeContents(QorGlobal *world, int64_t size, Pack pack)
{
    raiseIf(world, size > INT32_MAX, Msg::kLengthTooLong, INT32_MAX);
    _qor_oenc_octet_length(world, static_cast<QorULong>(size));
    if (sizingOnly(world)) {
        world->encLength += static_cast<QorLong>(size);
        return;
    }
    unsigned char frame[kFrameContents];
    withContents(world, frame, static_cast<size_t>(size), pack, [&](const unsigned char *out) {
        oerPut(world, out, static_cast<uint64_t>(size));
    });
}

// Every check runs on the arcs before anything is written.
template <class Arc> void writeArcArray(QorGlobal *world, const Arc *arcs, QorLong count)
{
    const QorULong first = firstSubidentifier(world, arcs, count);
    const Arc *rest = arcs + 2;
    writeContents(world, subidentifierSize(first) + subidentifiersSize(rest, count - 2),
                  [&](unsigned char *out) {
                      packSubidentifiers(putSubidentifier(out, first), rest, count - 2);
                  });
}

void writeList(QorGlobal *world, const void *list, QorULong offset, int arcWidth)
{
    const OffsetList l{list, offset, arcWidth};
    const QorULong first = firstSubidentifier(world, l, listLength(l));
    writeContents(world, subidentifierSize(first) + subidentifiersSize(l),
                  [&](unsigned char *out) { packSubidentifiers(putSubidentifier(out, first), l); });
}

// ---------------------------------------------------------------- decoding

struct Identifier {
    const unsigned char *octets;
    QorLong length;
    QorLong arcs; // 0 for an empty identifier, which only relaxed rules take
};

Identifier takeIdentifier(QorGlobal *world)
{
    const uint64_t length = _qor_odec_length(world);
    raiseIf(world, length >= INT32_MAX, Msg::kTooManySubids, INT32_MAX);
    Identifier id{takeContents(world, length), static_cast<QorLong>(length), 0};
    raiseIf(world, length == 0 && !relaxed(world), Msg::kMisencoded, 0);
    if (length > 0)
        id.arcs = arcCount(countSubidentifiers(world, id.octets, id.length, true));
    return id;
}

template <class Arc> void unpack(QorGlobal *world, const Identifier &id, Arc *out)
{
    if (id.arcs > 0)
        unpackArcs(world, id.octets, id.length, out);
}

// The caller's array of `capacity` arcs (0: as many as come), cleared
// after the value.
template <class Arc> QorLong decodeArray(QorGlobal *world, Arc *target, QorULong capacity)
{
    const Identifier id = takeIdentifier(world);
    raiseIf(world, capacity != 0 && static_cast<QorULong>(id.arcs) > capacity,
            Msg::kSizeExceeded, id.arcs);
    raiseIf(world, target == nullptr && (id.arcs > 0 || capacity > 0), Msg::kNullInput, 0);
    unpack(world, id, target);
    if (capacity > static_cast<QorULong>(id.arcs))
        memset(target + id.arcs, 0, (capacity - static_cast<QorULong>(id.arcs)) * sizeof(Arc));
    return id.arcs;
}

// A new record: the 16-bit count at its start, within the header of
// `headerSize` octets, and the arcs behind the header where a C compiler
// puts them. A count that its 16 bits can't hold is refused.
template <class Arc> void *decodeRecord(QorGlobal *world, QorULong headerSize)
{
    const Identifier id = takeIdentifier(world);
    raiseIf(world, id.arcs > UINT16_MAX, Msg::kSizeExceeded, id.arcs);
    const QorULong header = headerSize < sizeof(uint16_t) ? sizeof(uint16_t) : headerSize;
    const QorULong at = (header + sizeof(Arc) - 1) & ~QorULong{sizeof(Arc) - 1};
    auto *record = static_cast<unsigned char *>(
        _qor_dec_getmem(world, static_cast<QorLong>(at + id.arcs * sizeof(Arc))));
    const auto count = static_cast<uint16_t>(id.arcs);
    memcpy(record, &count, sizeof count);
    unpack(world, id, reinterpret_cast<Arc *>(record + at));
    return record;
}

template <class Arc> QorLong decodeNewArray(QorGlobal *world, Arc **array)
{
    const Identifier id = takeIdentifier(world);
    Arc *out = nullptr;
    if (id.arcs > 0) {
        out = static_cast<Arc *>(_qor_dec_getmem_internal(world, id.arcs * QorLong{sizeof(Arc)}));
        unpack(world, id, out);
    }
    *array = out;
    return id.arcs;
}

// A node of `sizeof(Node)` for each arc, since the value is freed node by
// node; the arcs are unpacked first, on the frame when they are few.
template <class Node, class Arc> void decodeList(QorGlobal *world, Node **head, QorULong capacity)
{
    const Identifier id = takeIdentifier(world);
    raiseIf(world, capacity != 0 && static_cast<QorULong>(id.arcs) > capacity,
            Msg::kSizeExceeded, id.arcs);
    Arc frame[kFrameArcs];
    Arc *arcs = frame;
    void *temp = nullptr;
    if (id.arcs > kFrameArcs) {
        temp = _qor_dec_gettempmem(world, id.arcs * QorLong{sizeof(Arc)});
        arcs = static_cast<Arc *>(temp);
    }
    unpack(world, id, arcs);
    Node *first = nullptr;
    Node **link = &first;
    for (QorLong i = 0; i < id.arcs; i++) {
        auto *node = static_cast<Node *>(_qor_dec_getfixmem(world, sizeof(Node)));
        node->next = nullptr;
        node->value = arcs[i];
        *link = node;
        link = &node->next;
    }
    if (temp != nullptr)
        _qor_dec_freetempmem(world, temp);
    *head = first;
}

} // namespace

extern "C" {

// A "long" arc is 32 bits, and an unbounded array is an array: one
// function under four names.
void _qor_oenc_oid_array_i(QorGlobal *world, const QorULong *arcs, QorLong count)
{
    writeArcArray(world, arcs, count);
}

void _qor_oenc_oid_array_l(QorGlobal *world, const QorULong *arcs, QorLong count)
    __attribute__((alias("_qor_oenc_oid_array_i")));
void _qor_oenc_oid_unbounded_i(QorGlobal *world, const QorULong *arcs, QorLong count)
    __attribute__((alias("_qor_oenc_oid_array_i")));
void _qor_oenc_oid_unbounded_l(QorGlobal *world, const QorULong *arcs, QorLong count)
    __attribute__((alias("_qor_oenc_oid_array_i")));

void _qor_oenc_oid_array_s(QorGlobal *world, const uint16_t *arcs, QorLong count)
{
    writeArcArray(world, arcs, count);
}

void _qor_oenc_oid_unbounded_s(QorGlobal *world, const uint16_t *arcs, QorLong count)
    __attribute__((alias("_qor_oenc_oid_array_s")));

// Lists hold the link first and the arc at byte `offset` of each node.
void _qor_oenc_oid_linked_i(QorGlobal *world, const void *list, QorULong offset)
{
    writeList(world, list, offset, sizeof(QorULong));
}

void _qor_oenc_oid_linked_l(QorGlobal *world, const void *list, QorULong offset)
    __attribute__((alias("_qor_oenc_oid_linked_i")));

void _qor_oenc_oid_linked_s(QorGlobal *world, const void *list, QorULong offset)
{
    writeList(world, list, offset, sizeof(uint16_t));
}

QorLong _qor_odec_oid_array_i(QorGlobal *world, QorULong *target, QorULong capacity)
{
    return decodeArray(world, target, capacity);
}

QorLong _qor_odec_oid_array_l(QorGlobal *world, QorULong *target, QorULong capacity)
    __attribute__((alias("_qor_odec_oid_array_i")));

QorLong _qor_odec_oid_array_s(QorGlobal *world, uint16_t *target, QorULong capacity)
{
    return decodeArray(world, target, capacity);
}

void *_qor_odec_oid_array_i_ptr(QorGlobal *world, QorULong headerSize)
{
    return decodeRecord<QorULong>(world, headerSize);
}

void *_qor_odec_oid_array_l_ptr(QorGlobal *world, QorULong headerSize)
    __attribute__((alias("_qor_odec_oid_array_i_ptr")));

void *_qor_odec_oid_array_s_ptr(QorGlobal *world, QorULong headerSize)
{
    return decodeRecord<uint16_t>(world, headerSize);
}

void _qor_odec_oid_linked_i(QorGlobal *world, QorObjidNode **head, QorULong capacity)
{
    decodeList<QorObjidNode, QorULong>(world, head, capacity);
}

void _qor_odec_oid_linked_l(QorGlobal *world, QorObjidNode **head, QorULong capacity)
    __attribute__((alias("_qor_odec_oid_linked_i")));

void _qor_odec_oid_linked_s(QorGlobal *world, QorObjidNodeShort **head, QorULong capacity)
{
    decodeList<QorObjidNodeShort, uint16_t>(world, head, capacity);
}

QorLong _qor_odec_oid_unbounded_i(QorGlobal *world, QorULong **array)
{
    return decodeNewArray(world, array);
}

QorLong _qor_odec_oid_unbounded_l(QorGlobal *world, QorULong **array)
    __attribute__((alias("_qor_odec_oid_unbounded_i")));

QorLong _qor_odec_oid_unbounded_s(QorGlobal *world, uint16_t **array)
{
    return decodeNewArray(world, array);
}

// The contents as they stand, checked to end on a subidentifier: into the
// caller's array of `capacity` octets, or with `capacity` 0 into new
// memory whose pointer goes to `*target`. A relative identifier's too.
QorLong _qor_odec_oid_encoded(QorGlobal *world, void *target, QorULong capacity)
{
    const Identifier id = takeIdentifier(world);
    raiseIf(world, capacity != 0 && static_cast<QorULong>(id.length) > capacity,
            Msg::kSizeExceeded, id.length);
    auto *out = static_cast<unsigned char *>(target);
    if (capacity == 0) {
        out = id.length > 0 ? static_cast<unsigned char *>(_qor_dec_getmem_internal(world, id.length))
                            : nullptr;
        *static_cast<unsigned char **>(target) = out;
    }
    if (id.length > 0)
        copyOctets(out, id.octets, static_cast<size_t>(id.length));
    return id.length;
}

} // extern "C"

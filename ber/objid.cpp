// BER OBJECT IDENTIFIER and RELATIVE-OID contents in each memory form: the
// contents octets kept as they stand, arrays of 16 or 32-bit arcs (inline or
// in new memory), and linked lists of arcs. Encoders write the contents only,
// in pieces from the last arc back; decoders check the whole encoding before
// they store anything, so a hostile one costs one pass over its octets and no
// memory. Packing, unpacking and the rules' checks are the shared arc helpers'.
#include <cstring>

#include "ber/item.h"
#include "objects/arcs.h"

using namespace qor;

namespace {

// ---------------------------------------------------------------- encoding

// Contents go below *pos in pieces, the last piece first, each packed
// forwards on the frame: arcs of any number cost no memory. A piece holds
// this many arcs after the first two, and the first subidentifier.
constexpr QorLong kPieceArcs = 64;

class PieceWriter {
public:
    PieceWriter(QorGlobal *world, unsigned char **pos, QorLong *room)
        : world_(world), pos_(pos), room_(room)
    {
    }

    unsigned char *start() { return piece_; }

    // Writes the piece from its start up to `end`.
    void write(const unsigned char *end)
    {
        const auto used = static_cast<QorLong>(end - piece_);
        total_ += used;
        raiseIf(world_, total_ > INT32_MAX, Msg::kLengthTooLong, INT32_MAX);
        _qor_write_bytes_d(world_, pos_, room_, piece_, used);
    }

    QorLong total() const { return static_cast<QorLong>(total_); }

private:
    QorGlobal *world_;
    unsigned char **pos_;
    QorLong *room_;
    int64_t total_ = 0;
    unsigned char piece_[kMaxSubidentifierSize * (kPieceArcs + 1)];
};

// Sizing: the contents' length alone.
QorLong writeSize(QorGlobal *world, unsigned char **pos, QorLong *room, int64_t octets)
{
    raiseIf(world, octets > INT32_MAX, Msg::kLengthTooLong, INT32_MAX);
    return _qor_write_bytes_d(world, pos, room, nullptr, static_cast<QorLong>(octets));
}

// The arc count against the representation's limit; the rules' own checks
// come with the first subidentifier.
void checkArcMax(QorGlobal *world, int64_t count, QorLong max)
{
    if (max > 0 && count > max)
        raise(world, Msg::kSizeExceeded,
              longValue(static_cast<QorLong>(count > INT32_MAX ? INT32_MAX : count)));
}

template <class Arc>
QorLong writeArcArray(QorGlobal *world, unsigned char **pos, QorLong *room, const Arc *arcs,
                      QorLong count, QorLong max)
{
    checkArcMax(world, count, max);
    QorULong first = firstSubidentifier(world, arcs, count);
    if (sizingOnly(world))
        return writeSize(world, pos, room,
                         subidentifierSize(first) + subidentifiersSize(arcs + 2, count - 2));
    PieceWriter out(world, pos, room);
    QorLong end = count;
    for (; end - 2 > kPieceArcs; end -= kPieceArcs)
        out.write(packSubidentifiers(out.start(), arcs + end - kPieceArcs, kPieceArcs));
    out.write(packSubidentifiers(putSubidentifier(out.start(), first), arcs + 2, end - 2));
    return out.total();
}

// Lists run forwards and output backwards. Up to a piece of arcs after the
// first two, the list is packed in one piece; longer lists are kept on
// frames of the encoder stack of their own, 52 nodes a frame, which the
// driver releases should the write fail, and packed a frame at a time from
// the last.
template <class Node>
QorLong writeArcList(QorGlobal *world, unsigned char **pos, QorLong *room, const Node *list,
                     QorLong max)
{
    int64_t count = 0;
    for (const Node *n = list; n != nullptr; n = n->next)
        count++;
    checkArcMax(world, count, max);
    QorULong first = firstSubidentifier(world, list, count);
    const Node *rest = list->next->next;
    if (sizingOnly(world))
        return writeSize(world, pos, room, subidentifierSize(first) + subidentifiersSize(rest));

    PieceWriter out(world, pos, room);
    if (count - 2 <= kPieceArcs) {
        out.write(packSubidentifiers(putSubidentifier(out.start(), first), rest));
        return out.total();
    }
    void **slots = _qor_increment_enc_stack(world);
    int used = 0;
    int frames = 1;
    for (const Node *p = rest; p != nullptr; p = p->next) {
        if (used == QOR_BLOCK_SLOTS) {
            _qor_save_enc_stack(world, used);
            slots = _qor_increment_enc_stack(world);
            used = 0;
            frames++;
        }
        slots[used++] = const_cast<Node *>(p);
    }
    _qor_save_enc_stack(world, used);
    for (; frames > 0; frames--) {
        slots = _qor_load_enc_stack(world, &used);
        unsigned char *end = out.start();
        for (int i = 0; i < used; i++)
            end = putSubidentifier(end, static_cast<const Node *>(slots[i])->value);
        out.write(end);
        _qor_decrement_enc_stack(world);
    }
    out.write(putSubidentifier(out.start(), first));
    return out.total();
}

// ---------------------------------------------------------------- decoding

// Takes the contents of an identifier from the input, checked whole. An
// empty one passes only under the relaxed rules.
const unsigned char *takeContents(QorGlobal *world, unsigned char **pos, QorLong *room,
                                  QorLong length, QorLong *subids)
{
    raiseIf(world, length < 0 || (length == 0 && !relaxed(world)), Msg::kMisencoded, 0);
    raiseIf(world, length > kMaxIdentifierContents, Msg::kTooManySubids, length);
    needInput(world, room, length);
    const unsigned char *p = *pos;
    *subids = countSubidentifiers(world, p, length, relaxed(world));
    *pos += length;
    *room -= length;
    return p;
}

// `max` against a count of arcs or octets: above 0 the most the
// representation holds; below 0 its own limit; 0 no limit, except for an
// inline array, which then holds nothing.
void checkLimit(QorGlobal *world, QorLong count, QorLong max, bool inlineArray)
{
    if (max < 0) {
        raiseIf(world, count > -int64_t{max}, Msg::kLengthTooLong, count);
    } else if ((max > 0 || inlineArray) && count > max) {
        raise(world, Msg::kSizeExceeded, longValue(count));
    }
}

// Arcs in new memory, stored through `fresh`.
template <class Arc>
QorLong decodeToNewArray(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         Arc **fresh, QorLong max)
{
    QorLong subids;
    const unsigned char *p = takeContents(world, pos, room, length, &subids);
    QorLong arcs = arcCount(subids);
    checkLimit(world, arcs, max, false);
    Arc *out = nullptr;
    if (arcs > 0)
        out = static_cast<Arc *>(_qor_dec_getmem_internal(world, arcs * QorLong{sizeof(Arc)}));
    *fresh = out;
    unpackArcs(world, p, length, out);
    return arcs;
}

// Arcs in the caller's array of `max` arcs.
template <class Arc>
QorLong decodeToInline(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                       Arc *out, QorLong max)
{
    QorLong subids;
    const unsigned char *p = takeContents(world, pos, room, length, &subids);
    QorLong arcs = arcCount(subids);
    checkLimit(world, arcs, max, true);
    raiseIf(world, arcs > 0 && out == nullptr, Msg::kNullInput, 0);
    unpackArcs(world, p, length, out);
    return arcs;
}

// A node of decoder memory for each arc, since the value is freed node by
// node; the arcs are read on the frame first.
template <class Node, class Arc>
QorLong decodeToList(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                     Node **out, QorLong max)
{
    QorLong subids;
    const unsigned char *p = takeContents(world, pos, room, length, &subids);
    QorLong arcs = arcCount(subids);
    checkLimit(world, arcs, max, false);
    Arc values[kMaxIdentifierArcs];
    unpackArcs(world, p, length, values);
    Node *head = nullptr;
    Node **link = &head;
    for (QorLong i = 0; i < arcs; i++) {
        auto *node = static_cast<Node *>(_qor_dec_getmem_internal(world, sizeof(Node)));
        node->next = nullptr;
        node->value = values[i];
        *link = node;
        link = &node->next;
    }
    *out = head;
    return arcs;
}

} // namespace

extern "C" {

// The contents octets as they stand: `max` of 0 or above is the octets the
// caller's inline array holds.
QorLong _qor_encd_eobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                            const unsigned char *data, QorLong length, QorLong max)
{
    raiseIf(world, length < 0, Msg::kMisencoded, length);
    raiseIf(world, max >= 0 && length > max, Msg::kSizeExceeded, length);
    raiseIf(world, length > 0 && data == nullptr, Msg::kNullInput, 0);
    return _qor_write_bytes_d(world, pos, room, data, length);
}

// Kept as they stand, the contents of a relative identifier are written and
// read as those of an absolute one: one function, two names.
QorLong _qor_encd_ereloid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             const unsigned char *data, QorLong length, QorLong max)
    __attribute__((alias("_qor_encd_eobjid_ia")));

QorLong _qor_encd_usobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             const uint16_t *arcs, QorLong count, QorLong max)
{
    return writeArcArray(world, pos, room, arcs, count, max);
}

QorLong _qor_encd_uiobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             const QorULong *arcs, QorLong count, QorLong max)
{
    return writeArcArray(world, pos, room, arcs, count, max);
}

// A "long" arc is 32 bits here too.
QorLong _qor_encd_ulobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             const QorULong *arcs, QorLong count, QorLong max)
    __attribute__((alias("_qor_encd_uiobjid_ia")));

QorLong _qor_encd_lsobjid(QorGlobal *world, unsigned char **pos, QorLong *room,
                          const QorObjidNodeShort *list, QorLong max)
{
    return writeArcList(world, pos, room, list, max);
}

QorLong _qor_encd_liobjid(QorGlobal *world, unsigned char **pos, QorLong *room,
                          const QorObjidNode *list, QorLong max)
{
    return writeArcList(world, pos, room, list, max);
}

QorLong _qor_encd_llobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                             const QorObjidNode *list, QorLong max)
    __attribute__((alias("_qor_encd_liobjid")));

// `out` is the caller's inline array of `max` octets, or with `max` below 0
// where the pointer to new memory goes.
QorLong _qor_dec_eobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                           void *out, QorLong max)
{
    QorLong subids;
    const unsigned char *p = takeContents(world, pos, room, length, &subids);
    checkLimit(world, length, max, true);
    if (max < 0) {
        unsigned char *copy = nullptr;
        if (length > 0) {
            copy = static_cast<unsigned char *>(_qor_dec_getmem_internal(world, length));
            memcpy(copy, p, static_cast<size_t>(length));
        }
        *static_cast<unsigned char **>(out) = copy;
    } else if (length > 0) {
        raiseIf(world, out == nullptr, Msg::kNullInput, 0);
        memcpy(out, p, static_cast<size_t>(length));
    }
    return length;
}

QorLong _qor_dec_ereloid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            void *out, QorLong max) __attribute__((alias("_qor_dec_eobjid_ia")));

QorLong _qor_dec_uiobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            QorULong **out, QorLong max)
{
    return decodeToNewArray(world, pos, room, length, out, max);
}

QorLong _qor_dec_ulobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            QorULong **out, QorLong max) __attribute__((alias("_qor_dec_uiobjid_ia")));

QorLong _qor_dec_usobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            uint16_t **out, QorLong max)
{
    return decodeToNewArray(world, pos, room, length, out, max);
}

QorLong _qor_dec_aiobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            QorULong *out, QorLong max)
{
    return decodeToInline(world, pos, room, length, out, max);
}

QorLong _qor_dec_alobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            QorULong *out, QorLong max) __attribute__((alias("_qor_dec_aiobjid_ia")));

QorLong _qor_dec_asobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            uint16_t *out, QorLong max)
{
    return decodeToInline(world, pos, room, length, out, max);
}

// The array form by pointer: the array in new memory, as many arcs as the
// value has, `max` the most it may hold.
QorLong _qor_dec_aiobjid_ptr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                QorLong length, QorULong **out, QorLong max)
{
    return decodeToNewArray(world, pos, room, length, out, max);
}

QorLong _qor_dec_alobjid_ptr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                QorLong length, QorULong **out, QorLong max)
    __attribute__((alias("_qor_dec_aiobjid_ptr_ia")));

QorLong _qor_dec_asobjid_ptr_ia(QorGlobal *world, unsigned char **pos, QorLong *room,
                                QorLong length, uint16_t **out, QorLong max)
{
    return decodeToNewArray(world, pos, room, length, out, max);
}

// Lists return their arc count, which generated code has no need of.
QorLong _qor_dec_liobjid(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         QorObjidNode **out, QorLong max)
{
    return decodeToList<QorObjidNode, QorULong>(world, pos, room, length, out, max);
}

QorLong _qor_dec_lsobjid(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                         QorObjidNodeShort **out, QorLong max)
{
    return decodeToList<QorObjidNodeShort, uint16_t>(world, pos, room, length, out, max);
}

QorLong _qor_dec_llobjid_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                            QorObjidNode **out, QorLong max) __attribute__((alias("_qor_dec_liobjid")));

} // extern "C"

// BER OBJECT IDENTIFIER and RELATIVE-OID contents in each memory form: the
// contents octets kept as they stand, arrays of 16 or 32-bit arcs (inline or
// in new memory), and linked lists of arcs. Encoders write the contents only,
// from the last arc back; decoders check the whole encoding before they store
// anything, so a hostile one costs one pass over its octets and no memory.
#include <cstring>

#include "ber/item.h"

using namespace qor;

namespace {

// The longest contents a decoder takes; so at most 226 arcs.
constexpr QorLong kMaxContents = 225;
constexpr QorLong kMaxArcs = kMaxContents + 1;

// ---------------------------------------------------------------- encoding

// Subidentifiers gathered on the frame from the last one back, in base 128
// with bit 8 set on all octets but the last of each; the buffer goes below
// *pos whenever it fills, so arcs of any number cost no memory.
class ReverseWriter {
public:
    ReverseWriter(QorGlobal *world, unsigned char **pos, QorLong *room)
        : world_(world), pos_(pos), room_(room)
    {
    }

    void put(QorULong subid)
    {
        if (used_ > kSize - kMaxOctets)
            flush();
        unsigned char *p = buffer_ + kSize - used_;
        *--p = static_cast<unsigned char>(subid & 0x7f);
        while ((subid >>= 7) != 0)
            *--p = static_cast<unsigned char>(0x80 | (subid & 0x7f));
        used_ = static_cast<QorLong>(buffer_ + kSize - p);
    }

    QorLong finish()
    {
        flush();
        return static_cast<QorLong>(total_);
    }

private:
    static constexpr QorLong kSize = 256;
    static constexpr QorLong kMaxOctets = 5; // of a 32-bit subidentifier

    void flush()
    {
        if (used_ == 0)
            return;
        total_ += used_;
        raiseIf(world_, total_ > INT32_MAX, Msg::kLengthTooLong, INT32_MAX);
        _qor_write_bytes_d(world_, pos_, room_, buffer_ + kSize - used_, used_);
        used_ = 0;
    }

    QorGlobal *world_;
    unsigned char **pos_;
    QorLong *room_;
    int64_t total_ = 0;
    QorLong used_ = 0;
    unsigned char buffer_[kSize];
};

QorLong octetsOf(QorULong subid)
{
    QorLong n = 1;
    while ((subid >>= 7) != 0)
        n++;
    return n;
}

// The arc count against the representation's limit, then against the rules.
void checkArcCount(QorGlobal *world, int64_t count, QorLong max)
{
    if (max > 0 && count > max)
        raise(world, Msg::kSizeExceeded, longValue(static_cast<QorLong>(count > INT32_MAX ? INT32_MAX : count)));
    raiseIf(world, count < 2, Msg::kBadObjectIdentifier, static_cast<QorLong>(count));
}

// The first subidentifier carries two arcs: 40 * first + second. The first
// arc is 0, 1 or 2, and under 0 and 1 the second is below 40; under 0.0 a
// third arc names a letter, 1 to 26; and the sum must fit 32 bits.
QorULong firstSubidentifier(QorGlobal *world, QorULong first, QorULong second,
                            const QorULong *third)
{
    if (first > 2 || (first < 2 && second > 39))
        raise(world, Msg::kBadObjectIdentifier, longValue(first < 2 ? 1 : 0));
    if (first == 0 && second == 0 && third != nullptr && (*third == 0 || *third > 26))
        raise(world, Msg::kBadObjectIdentifier, longValue(2));
    raiseIf(world, second > UINT32_MAX - 40 * first, Msg::kBadObjectIdentifier, 3);
    return 40 * first + second;
}

template <class Arc>
QorLong writeArcArray(QorGlobal *world, unsigned char **pos, QorLong *room, const Arc *arcs,
                      QorLong count, QorLong max)
{
    checkArcCount(world, count, max);
    raiseIf(world, arcs == nullptr, Msg::kNullInput, 0);
    QorULong third = count > 2 ? arcs[2] : 0;
    QorULong first = firstSubidentifier(world, arcs[0], arcs[1], count > 2 ? &third : nullptr);
    ReverseWriter out(world, pos, room);
    for (QorLong i = count - 1; i >= 2; i--)
        out.put(arcs[i]);
    out.put(first);
    return out.finish();
}

// Lists run forwards and output backwards. Up to this many arcs after the
// first two, the nodes are reversed in a frame array; longer lists go on
// frames of the encoder stack of their own, 52 nodes a frame, which the
// driver releases should the write fail.
constexpr int kFrameNodes = 64;

template <class Node>
QorLong writeArcList(QorGlobal *world, unsigned char **pos, QorLong *room, const Node *list,
                     QorLong max)
{
    int64_t count = 0;
    int64_t octets = 0;
    for (const Node *n = list; n != nullptr; n = n->next) {
        count++;
        if (count > 2)
            octets += octetsOf(n->value);
    }
    checkArcCount(world, count, max);
    const Node *rest = list->next->next;
    QorULong third = rest != nullptr ? rest->value : 0;
    QorULong first =
        firstSubidentifier(world, list->value, list->next->value, rest != nullptr ? &third : nullptr);
    octets += octetsOf(first);
    if (sizingOnly(world)) {
        raiseIf(world, octets > INT32_MAX, Msg::kLengthTooLong, INT32_MAX);
        return _qor_write_bytes_d(world, pos, room, nullptr, static_cast<QorLong>(octets));
    }

    ReverseWriter out(world, pos, room);
    if (count - 2 <= kFrameNodes) {
        const Node *nodes[kFrameNodes];
        int n = 0;
        for (const Node *p = rest; p != nullptr; p = p->next)
            nodes[n++] = p;
        while (n > 0)
            out.put(nodes[--n]->value);
    } else {
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
            while (used > 0)
                out.put(static_cast<const Node *>(slots[--used])->value);
            _qor_decrement_enc_stack(world);
        }
    }
    out.put(first);
    return out.finish();
}

// ---------------------------------------------------------------- decoding

// Checks contents of `length` octets: a subidentifier led by 0x80 is
// needlessly long unless relaxed, and the last octet must end one. Returns
// the number of subidentifiers.
QorLong countSubidentifiers(QorGlobal *world, const unsigned char *p, QorLong length)
{
    const bool lenient = relaxed(world);
    QorLong count = 0;
    bool atStart = true;
    for (QorLong i = 0; i < length; i++) {
        raiseIf(world, atStart && p[i] == 0x80 && !lenient, Msg::kSubidNeedlesslyLong, 0);
        atStart = (p[i] & 0x80) == 0;
        count += atStart ? 1 : 0;
    }
    raiseIf(world, !atStart, Msg::kMisencoded, 0);
    return count;
}

// Takes the contents of an identifier from the input, checked whole. An
// empty one passes only under the relaxed rules.
const unsigned char *takeContents(QorGlobal *world, unsigned char **pos, QorLong *room,
                                  QorLong length, QorLong *subids)
{
    raiseIf(world, length < 0 || (length == 0 && !relaxed(world)), Msg::kMisencoded, 0);
    raiseIf(world, length > kMaxContents, Msg::kTooManySubids, length);
    needInput(world, room, length);
    const unsigned char *p = *pos;
    *subids = countSubidentifiers(world, p, length);
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

// Reads the arcs of checked contents into `out`. A subidentifier that does
// not fit an arc is refused before the shift that would lose its top bits.
template <class Arc>
void readArcs(QorGlobal *world, const unsigned char *p, QorLong length, Arc *out)
{
    constexpr QorULong kTopSeven = sizeof(Arc) == 2 ? 0xFE00 : 0xFE000000;
    const unsigned char *end = p + length;
    QorLong index = 0;
    while (p < end) {
        QorULong value = 0;
        unsigned char c;
        do {
            c = *p++;
            raiseIf(world, (value & kTopSeven) != 0, Msg::kSubidTooLong, index);
            value = (value << 7) | (c & 0x7f);
        } while ((c & 0x80) != 0);
        if (index == 0) {
            QorULong first = value < 40 ? 0 : value < 80 ? 1 : 2;
            out[0] = static_cast<Arc>(first);
            out[1] = static_cast<Arc>(value - 40 * first);
        } else {
            out[index + 1] = static_cast<Arc>(value);
        }
        index++;
    }
}

QorLong arcCount(QorLong subids) { return subids == 0 ? 0 : subids + 1; }

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
    readArcs(world, p, length, out);
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
    readArcs(world, p, length, out);
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
    Arc values[kMaxArcs];
    readArcs(world, p, length, values);
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

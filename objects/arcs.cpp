// OBJECT IDENTIFIER arcs to contents octets and back.
#include "objects/arcs.h"

#include <cstring>

#include "memory/copy.h"
#include "frame/errors.h"

namespace qor {

namespace {

template <class Arc>
QorULong firstOfArray(QorGlobal *world, const Arc *arcs, QorLong count)
{
    raiseIf(world, count < 2, Msg::kBadObjectIdentifier, count);
    raiseIf(world, arcs == nullptr, Msg::kNullInput, 0);
    QorULong third = count > 2 ? arcs[2] : 0;
    return firstSubidentifier(world, arcs[0], arcs[1], count > 2 ? &third : nullptr);
}

template <class Node>
QorULong firstOfList(QorGlobal *world, const Node *list, int64_t count)
{
    raiseIf(world, count < 2, Msg::kBadObjectIdentifier, static_cast<QorLong>(count));
    const Node *rest = list->next->next;
    QorULong third = rest != nullptr ? rest->value : 0;
    return firstSubidentifier(world, list->value, list->next->value,
                              rest != nullptr ? &third : nullptr);
}

template <class Arc> int64_t arraySize(const Arc *arcs, QorLong count)
{
    int64_t octets = 0;
    for (QorLong i = 0; i < count; i++)
        octets += subidentifierSize(arcs[i]);
    return octets;
}

template <class Node> int64_t listSize(const Node *node)
{
    int64_t octets = 0;
    for (; node != nullptr; node = node->next)
        octets += subidentifierSize(node->value);
    return octets;
}

template <class Arc> unsigned char *packArray(unsigned char *out, const Arc *arcs, QorLong count)
{
    for (QorLong i = 0; i < count; i++)
        out = putSubidentifier(out, arcs[i]);
    return out;
}

template <class Node> unsigned char *packList(unsigned char *out, const Node *node)
{
    for (; node != nullptr; node = node->next)
        out = putSubidentifier(out, node->value);
    return out;
}

template <class Arc>
void unpack(QorGlobal *world, const unsigned char *p, QorLong length, Arc *out)
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
            QorULong first = firstArcOf(value);
            out[0] = static_cast<Arc>(first);
            out[1] = static_cast<Arc>(value - 40 * first);
        } else {
            out[index + 1] = static_cast<Arc>(value);
        }
        index++;
    }
}

} // namespace

int subidentifierSize(uint64_t subid)
{
    int n = 1;
    while ((subid >>= 7) != 0)
        n++;
    return n;
}

unsigned char *putSubidentifier(unsigned char *out, uint64_t subid)
{
    int n = subidentifierSize(subid);
    out[n - 1] = static_cast<unsigned char>(subid & 0x7f);
    for (int i = n - 2; i >= 0; i--) {
        subid >>= 7;
        out[i] = static_cast<unsigned char>(0x80 | (subid & 0x7f));
    }
    return out + n;
}

int firstPairFault(uint64_t first, uint64_t second, const uint64_t *third)
{
    if (first > 2 || (first < 2 && second > 39))
        return first < 2 ? 1 : 0;
    if (first == 0 && second == 0 && third != nullptr && (*third == 0 || *third > 26))
        return 2;
    return -1;
}

QorULong firstSubidentifier(QorGlobal *world, QorULong first, QorULong second,
                            const QorULong *third)
{
    const uint64_t wideThird = third != nullptr ? *third : 0;
    const int fault = firstPairFault(first, second, third != nullptr ? &wideThird : nullptr);
    raiseIf(world, fault >= 0, Msg::kBadObjectIdentifier, fault);
    raiseIf(world, second > UINT32_MAX - 40 * first, Msg::kBadObjectIdentifier, 3);
    return 40 * first + second;
}

QorULong firstSubidentifier(QorGlobal *world, const uint16_t *arcs, QorLong count)
{
    return firstOfArray(world, arcs, count);
}

QorULong firstSubidentifier(QorGlobal *world, const QorULong *arcs, QorLong count)
{
    return firstOfArray(world, arcs, count);
}

QorULong firstSubidentifier(QorGlobal *world, const QorObjidNodeShort *list, int64_t count)
{
    return firstOfList(world, list, count);
}

QorULong firstSubidentifier(QorGlobal *world, const QorObjidNode *list, int64_t count)
{
    return firstOfList(world, list, count);
}

int64_t subidentifiersSize(const uint16_t *arcs, QorLong count) { return arraySize(arcs, count); }
int64_t subidentifiersSize(const QorULong *arcs, QorLong count) { return arraySize(arcs, count); }
int64_t subidentifiersSize(const QorObjidNodeShort *node) { return listSize(node); }
int64_t subidentifiersSize(const QorObjidNode *node) { return listSize(node); }

unsigned char *packSubidentifiers(unsigned char *out, const uint16_t *arcs, QorLong count)
{
    return packArray(out, arcs, count);
}

unsigned char *packSubidentifiers(unsigned char *out, const QorULong *arcs, QorLong count)
{
    return packArray(out, arcs, count);
}

unsigned char *packSubidentifiers(unsigned char *out, const QorObjidNodeShort *node)
{
    return packList(out, node);
}

unsigned char *packSubidentifiers(unsigned char *out, const QorObjidNode *node)
{
    return packList(out, node);
}

namespace {

const void *nextNode(const void *node)
{
    const void *next;
    memcpy(&next, node, sizeof next);
    return next;
}

QorULong arcOf(const OffsetList &list, const void *node)
{
    return loadCell(static_cast<const unsigned char *>(node) + list.offset, static_cast<unsigned>(list.arcWidth));
}

// The node after the first two, or null.
const void *thirdNode(const OffsetList &list)
{
    return nextNode(nextNode(list.head));
}

} // namespace

int64_t listLength(const OffsetList &list)
{
    int64_t count = 0;
    for (const void *n = list.head; n != nullptr; n = nextNode(n))
        count++;
    return count;
}

QorULong firstSubidentifier(QorGlobal *world, const OffsetList &list, int64_t count)
{
    raiseIf(world, count < 2, Msg::kBadObjectIdentifier, static_cast<QorLong>(count));
    const void *rest = thirdNode(list);
    const QorULong third = rest != nullptr ? arcOf(list, rest) : 0;
    return firstSubidentifier(world, arcOf(list, list.head), arcOf(list, nextNode(list.head)),
                              rest != nullptr ? &third : nullptr);
}

int64_t subidentifiersSize(const OffsetList &list)
{
    int64_t octets = 0;
    for (const void *n = thirdNode(list); n != nullptr; n = nextNode(n))
        octets += subidentifierSize(arcOf(list, n));
    return octets;
}

unsigned char *packSubidentifiers(unsigned char *out, const OffsetList &list)
{
    for (const void *n = thirdNode(list); n != nullptr; n = nextNode(n))
        out = putSubidentifier(out, arcOf(list, n));
    return out;
}

QorLong countSubidentifiers(QorGlobal *world, const unsigned char *p, QorLong length, bool relaxed)
{
    QorLong count = 0;
    bool atStart = true;
    for (QorLong i = 0; i < length; i++) {
        raiseIf(world, atStart && p[i] == 0x80 && !relaxed, Msg::kSubidNeedlesslyLong, 0);
        atStart = (p[i] & 0x80) == 0;
        count += atStart ? 1 : 0;
    }
    raiseIf(world, !atStart, Msg::kMisencoded, 0);
    return count;
}

void unpackArcs(QorGlobal *world, const unsigned char *contents, QorLong length, uint16_t *out)
{
    unpack(world, contents, length, out);
}

void unpackArcs(QorGlobal *world, const unsigned char *contents, QorLong length, QorULong *out)
{
    unpack(world, contents, length, out);
}

WideSubid firstSubidentifier(unsigned first, uint64_t second)
{
    const uint64_t low = second + 40 * uint64_t{first};
    return {low, static_cast<uint8_t>(low < second ? 1 : 0)};
}

bool takeSubidOctet(WideSubid &subid, unsigned char octet)
{
    if ((subid.high >> 1) != 0)
        return false;
    subid.high = static_cast<uint8_t>(subid.high << 7 | subid.low >> 57);
    subid.low = subid.low << 7 | (octet & 0x7f);
    return true;
}

WideSubid secondArcOf(WideSubid subid)
{
    const uint64_t less = 40 * uint64_t{firstArcOf(subid)};
    return {subid.low - less, static_cast<uint8_t>(subid.high - (subid.low < less ? 1 : 0))};
}

int subidentifierSize(WideSubid subid)
{
    if (subid.high == 0)
        return subidentifierSize(subid.low);
    int bits = 64;
    for (unsigned high = subid.high; high != 0; high >>= 1)
        bits++;
    return (bits + 6) / 7;
}

unsigned char *putSubidentifier(unsigned char *out, WideSubid subid)
{
    const int n = subidentifierSize(subid);
    for (int i = n - 1; i >= 0; i--) {
        out[i] = static_cast<unsigned char>((subid.low & 0x7f) | (i == n - 1 ? 0 : 0x80));
        subid.low = subid.low >> 7 | uint64_t{subid.high} << 57;
        subid.high = static_cast<uint8_t>(subid.high >> 7);
    }
    return out + n;
}

} // namespace qor

// qorCmpValue, the generated compare entry in the service frame, and the
// compare primitives for the leaves that need more than a byte compare: bit
// strings, linked lists, open types, unbounded values, huge integers and
// character reals. All give 0 for equal, unless they say otherwise.
#include <cstring>

#include "common/decimal.h"
#include "common/huge_octets.h"
#include "frame/errors.h"
#include "value/service.h"

using namespace qor;

namespace {

int compareInFrame(QorGlobal *world, const ServiceCall &call)
{
    return call.entries->compareEntry(world, call.pdunum, call.first, call.second);
}

// A memcmp that takes null for no octets.
bool sameOctets(const void *a, const void *b, size_t n)
{
    return n == 0 || a == b || (a != nullptr && b != nullptr && memcmp(a, b, n) == 0);
}

struct Link {
    const Link *next;
};

// The counter of an unbounded value, 16 bits wide or 32, and its data.
struct Unbounded {
    QorULong count;
    const unsigned char *data;
};

Unbounded unboundedAt(const void *record, int width, QorLong offset)
{
    const auto *r = static_cast<const unsigned char *>(record);
    Unbounded u;
    if (width == 2) {
        uint16_t n;
        memcpy(&n, r, sizeof n);
        u.count = n;
    } else {
        memcpy(&u.count, r, sizeof u.count);
    }
    memcpy(&u.data, r + offset, sizeof u.data);
    return u;
}

int compareNumbers(const unsigned char *a, QorULong aLength, const unsigned char *b,
                   QorULong bLength, bool isSigned)
{
    if (aLength == 0)
        return bLength == 0 ? 0 : -1;
    if (bLength == 0)
        return 1;
    const Trim trim = isSigned ? Trim::kSigned : Trim::kUnsigned;
    aLength = trimmed(&a, aLength, trim);
    bLength = trimmed(&b, bLength, trim);
    const bool aNegative = isSigned && (a[0] & 0x80) != 0;
    const bool bNegative = isSigned && (b[0] & 0x80) != 0;
    if (aNegative != bNegative)
        return aNegative ? -1 : 1;
    if (aLength != bLength) {
        const int longer = aLength > bLength ? 1 : -1;
        return aNegative ? -longer : longer;
    }
    // Equal lengths and signs: two's complement orders as unsigned octets.
    const int order = memcmp(a, b, aLength);
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

} // namespace

extern "C" {

int qorCmpValue(QorGlobal *world, int pdunum, void *first, void *second)
{
    if (world == nullptr || first == nullptr || second == nullptr)
        return QOR_BAD_ARG;
    const QorXapiEntries *entries = xapiEntriesOf(world);
    if (entries == nullptr || entries->compareEntry == nullptr)
        return QOR_NOT_SUPPORTED;
    ServiceCall call = {compareInFrame, entries, pdunum, first, second, nullptr};
    return runService(world, call);
}

int _qor_cmp_membits(const unsigned char *first, const unsigned char *second, QorULong bits)
{
    if (bits == 0 || first == second)
        return 0;
    if (first == nullptr || second == nullptr)
        return 1;
    const size_t whole = bits / 8;
    if (!sameOctets(first, second, whole))
        return 1;
    const unsigned rest = bits % 8;
    if (rest == 0)
        return 0;
    const unsigned mask = (0xFF00u >> rest) & 0xFF;
    return ((first[whole] ^ second[whole]) & mask) != 0 ? 1 : 0;
}

// Trailing zero bits carry nothing: a string equals itself with zeros added.
int _qor_cmp_arrbits(const unsigned char *first, const unsigned char *second, QorULong firstBits,
                     QorULong secondBits)
{
    const QorULong common = firstBits < secondBits ? firstBits : secondBits;
    if (_qor_cmp_membits(first, second, common) != 0)
        return 1;
    if (firstBits == secondBits)
        return 0;
    const unsigned char *longer = firstBits > secondBits ? first : second;
    const QorULong end = firstBits > secondBits ? firstBits : secondBits;
    return _qor_count_bits(longer, end) > common ? 1 : 0;
}

int _qor_cmp_link_objid(const void *first, const void *second, QorLong size)
{
    const auto *a = static_cast<const Link *>(first);
    const auto *b = static_cast<const Link *>(second);
    const size_t payload = size > 0 ? static_cast<size_t>(size) : 0;
    for (; a != nullptr && b != nullptr; a = a->next, b = b->next) {
        if (!sameOctets(a + 1, b + 1, payload))
            return 1;
    }
    return a != b ? 1 : 0; // one list ended before the other
}

// The first is a head, whose first word points at the first element; the
// second is the other list's first element itself.
int _qor_cmp_link_obj(const void *head, const void *otherFirst, QorLong size)
{
    const void *first = head != nullptr ? *static_cast<const void *const *>(head) : nullptr;
    return _qor_cmp_link_objid(first, otherFirst, size);
}

int _qor_cmp_open_type(QorGlobal *world, const QorOpenType *first, const QorOpenType *second)
{
    const QorULong flags = world->encodingFlags | world->decodingFlags;
    bool decodedCompared = false;
    if ((flags & DONT_DO_DECODED) == 0) {
        if (first->decoded == nullptr && second->decoded != nullptr)
            return 1;
        if (first->decoded != nullptr) {
            if (second->decoded == nullptr || first->pduNum != second->pduNum || first->pduNum == 0)
                return 1;
            const QorXapiEntries *entries = xapiEntriesOf(world);
            raiseIf(world, entries == nullptr || entries->compareEntry == nullptr,
                    Msg::kNullFunction, 0);
            if (entries->compareEntry(world, first->pduNum, first->decoded, second->decoded) != 0)
                return 1;
            decodedCompared = true;
        }
    }
    if (!decodedCompared && (flags & DONT_DO_ENCODED) == 0) {
        if (first->encoded == nullptr) {
            if (second->encoded != nullptr)
                return 1;
        } else if (second->encoded == nullptr || first->length != second->length ||
                   memcmp(first->encoded, second->encoded, first->length) != 0) {
            return 1;
        }
    }
    auto userCompare =
        reinterpret_cast<QorUserFieldCompareFn>(world->privateArea->userFieldCompare);
    if (userCompare != nullptr)
        raiseIf(world,
                userCompare(world, reinterpret_cast<const QorOpenTypeUser *>(first),
                            reinterpret_cast<const QorOpenTypeUser *>(second)) != 0,
                Msg::kUserFieldFailed, 0);
    return 0;
}

int _qor_cmp_unbnd_octet_ia(const void *first, const void *second, int width, QorLong elementSize,
                            QorLong offset)
{
    const Unbounded a = unboundedAt(first, width, offset);
    const Unbounded b = unboundedAt(second, width, offset);
    if (a.count != b.count)
        return 1;
    if (elementSize < 0)
        return a.count == 0 ? 0 : _qor_cmp_membits(a.data, b.data, a.count);
    return sameOctets(a.data, b.data, size_t{a.count} * static_cast<size_t>(elementSize)) ? 0 : 1;
}

int _qor_cmp_huge_int_ia(const void *first, const void *second, int width, int isSigned,
                         QorLong offset)
{
    const Unbounded a = unboundedAt(first, width, offset);
    const Unbounded b = unboundedAt(second, width, offset);
    return compareNumbers(a.data, a.data != nullptr ? a.count : 0, b.data,
                          b.data != nullptr ? b.count : 0, isSigned != 0);
}

// 0 equal, 2 first less, 3 first greater, 4 not comparable.
int compare_char_real(QorGlobal *, const char *first, const char *second)
{
    switch (compareDecimal(first, second)) {
    case DecimalOrder::kEqual:
        return 0;
    case DecimalOrder::kLess:
        return 2;
    case DecimalOrder::kGreater:
        return 3;
    default:
        return 4;
    }
}

} // extern "C"

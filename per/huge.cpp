// Whole numbers of any size, as arrays of octets, most significant first:
// a general length, then the octets.
#include "per/per.h"

using namespace qor;

namespace {

constexpr QorULong kHugeLimit = 4096;

// Drops redundant leading octets, keeping at least one. Signed: a 0x00
// before a clear top bit, a 0xFF before a set one. `positiveOnly` keeps a
// value whose top bit is set whole.
QorULong trimmed(const unsigned char **bytes, QorULong count, bool positiveOnly)
{
    const unsigned char *b = *bytes;
    while (count > 1 && ((b[0] == 0x00 && (b[1] & 0x80) == 0) ||
                         (!positiveOnly && b[0] == 0xFF && (b[1] & 0x80) != 0))) {
        b++;
        count--;
    }
    *bytes = b;
    return count;
}

void encodeHuge(QorGlobal *world, const unsigned char *bytes, QorULong count, bool positiveOnly)
{
    raiseIf(world, count == 0 || count > kHugeLimit, Msg::kMisencoded, static_cast<QorLong>(count));
    count = trimmed(&bytes, count, positiveOnly);
    _qor_penc_length_l(world, count, 0, 0, 0);
    _qor_append(world, bytes, count * 8, 1);
}

// Steps over `octets` whole octets at the cursor, checked against the input.
void skipOctets(QorGlobal *world, QorULong octets)
{
    const uint64_t left = uint64_t(static_cast<QorULong>(world->inRoom)) * 8 - static_cast<unsigned>(world->bitOffset);
    if (uint64_t{octets} * 8 > left) [[unlikely]]
        raise(world, Msg::kEndOfInput, longValue(0));
    world->inPos += octets;
    world->inRoom -= static_cast<QorLong>(octets);
}

} // namespace

extern "C" {

void _qor_penc_unconstr_huge_ia(QorGlobal *world, const unsigned char *bytes, QorULong count)
{
    encodeHuge(world, bytes, count, false);
}

void _qor_penc_semicon_huge_ia(QorGlobal *world, const unsigned char *bytes, QorULong count)
{
    encodeHuge(world, bytes, count, true);
}

QorULong _qor_pdec_unconstr_huge_ia(QorGlobal *world, unsigned char **result)
{
    unsigned char done;
    const QorULong count = _qor_pdec_length(world, 0, 0, &done);
    raiseIf(world, count == 0 || count > kHugeLimit, Msg::kMisencoded, static_cast<QorLong>(count));
    auto *p = static_cast<unsigned char *>(_qor_dec_getmem(world, static_cast<QorLong>(count)));
    _qor_get_bits(world, p, count * 8, 1);
    *result = p;
    return count;
}

// No limit on purpose: a value in fragments is measured first, with every
// part checked against the input, then read into one piece.
QorULong _qor_pdec_semicon_huge_ia(QorGlobal *world, unsigned char **result)
{
    unsigned char *const startPos = world->inPos;
    const QorLong startRoom = world->inRoom;
    const int startOffset = world->bitOffset;
    unsigned char done = 0;
    QorULong total = 0;
    do {
        const QorULong part = _qor_pdec_length(world, 0, 0, &done);
        skipOctets(world, part);
        total += part; // bounded by the input's size
    } while (!done);
    if (total == 0) {
        *result = nullptr;
        return 0;
    }
    raiseIf(world, total > 0x7FFFFFF8, Msg::kMisencoded, static_cast<QorLong>(total));
    auto *p = static_cast<unsigned char *>(_qor_dec_getmem(world, static_cast<QorLong>(total)));
    world->inPos = startPos;
    world->inRoom = startRoom;
    world->bitOffset = startOffset;
    QorULong at = 0;
    do {
        const QorULong part = _qor_pdec_length(world, 0, 0, &done);
        _qor_get_bits(world, p + at, part * 8, 1);
        at += part;
    } while (!done);
    *result = p;
    return total;
}

} // extern "C"

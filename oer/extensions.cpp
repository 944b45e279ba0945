// Contents whose length goes in front of them: an open type or extension
// addition is written first behind one reserved octet, and its length put
// there afterwards, moving the content up when the length takes more octets.
// Also the extension bit map, retained unknown extensions, skipping what
// this version of a schema doesn't know, and types outside OER.
#include <cstring>

#include "oer/oer.h"

using namespace qor;

namespace {

constexpr uint64_t kShortLengths = 128;
constexpr unsigned kLongestDeterminant = 5; // 0x84 and four octets

// Octets written since the mark, less `reserved`. In blocks: the octets from
// the mark to the end of its block, whole blocks since, and the current
// block's part; the block records passed on the way hold 52 blocks each.
uint64_t writtenSince(const QorGlobal *world, const QorOerPosition *p, unsigned reserved)
{
    if (world->userBuffer)
        return static_cast<uint64_t>(world->outPos - p->address) - reserved;
    int64_t blocks = -static_cast<int64_t>(p->pageIndex);
    for (const QorMemBlockRecord *r = p->page; r != nullptr; r = r->next) {
        blocks += r->count;
        if (r == world->blockQueueTail)
            break;
    }
    const int64_t room = oerEnd(world) - world->outPos;
    return static_cast<uint64_t>(blocks * QOR_BLOCK_SIZE - room + p->blockBytes) - reserved;
}

// Moves the content behind the mark's reserved octet up by `d` octets
// (fewer than 5), block by block from the first, the octets that fall off
// each block's end carried to the head of the next. The end of the output
// already has `d` octets of room.
class Shift {
public:
    explicit Shift(unsigned d) : d_(d) {}

    void segment(unsigned char *seg, size_t n)
    {
        unsigned char next[kLongestDeterminant];
        if (n >= d_) {
            memcpy(next, seg + n - d_, d_);
            memmove(seg + d_, seg, n - d_);
            memcpy(seg, carry_, d_);
        } else {
            memcpy(next, carry_ + n, d_ - n);
            memcpy(next + d_ - n, seg, n);
            memcpy(seg, carry_, n);
        }
        memcpy(carry_, next, d_);
    }

private:
    unsigned d_;
    unsigned char carry_[kLongestDeterminant] = {};
};

// The block after slot `i` of `*r`, moving `*r` and `i` on.
unsigned char *nextBlock(QorMemBlockRecord **r, int *i)
{
    if (++*i == (*r)->count) {
        *r = (*r)->next;
        *i = 0;
    }
    return static_cast<unsigned char *>((*r)->slot[*i]);
}

void shiftBlocks(QorGlobal *world, const QorOerPosition *p, unsigned d)
{
    Shift shift(d);
    QorMemBlockRecord *r = p->page;
    int i = static_cast<int>(p->pageIndex) - 1;
    auto *block = static_cast<unsigned char *>(r->slot[i]);
    unsigned char *begin = p->address + 1;
    for (;;) {
        const bool last = r == world->blockQueueTail && i == r->count - 1;
        unsigned char *end = last ? world->outPos : block + QOR_BLOCK_SIZE;
        shift.segment(begin, static_cast<size_t>(end - begin));
        if (last)
            return;
        block = nextBlock(&r, &i);
        begin = block;
    }
}

// Puts the long form of `s` at the reserved octet, moving the content up.
void putLongLength(QorGlobal *world, const QorOerPosition *p, uint64_t s)
{
    unsigned char length[kLongestDeterminant];
    const unsigned k = static_cast<unsigned>(_qor_oenc_enc_length(static_cast<QorULong>(s), length));
    const unsigned d = k - 1;
    if (world->userBuffer) {
        raiseIf(world, oerEnd(world) - world->outPos < static_cast<ptrdiff_t>(d), Msg::kBufferTooSmall, world->totalBytes);
        memmove(p->address + k, p->address + 1, static_cast<size_t>(s));
        world->outPos += d;
        memcpy(p->address, length, k);
        return;
    }
    const unsigned char room[kItemRoom] = {};
    oerPutItem(world, room, d);
    shiftBlocks(world, p, d);
    // The length's octets may run on into the head of the next block.
    const unsigned fits = p->blockBytes < static_cast<QorLong>(k) ? static_cast<unsigned>(p->blockBytes) : k;
    memcpy(p->address, length, fits);
    if (fits < k) {
        QorMemBlockRecord *r = p->page;
        int i = static_cast<int>(p->pageIndex) - 1;
        memcpy(nextBlock(&r, &i), length + fits, k - fits);
    }
}

void markPosition(QorGlobal *world, QorOerPosition *p, unsigned char *address)
{
    p->address = address;
    p->blockBytes = static_cast<QorLong>(oerEnd(world) - address);
    p->page = world->blockQueueTail;
    p->pageIndex = world->blockQueueTail->count;
}

} // namespace

extern "C" {

void _qor_oenc_begin_ext(QorGlobal *world, QorOerPosition *position)
{
    position->mustNotBeEmpty = 0;
    if (sizingOnly(world)) {
        position->blockBytes = world->encLength;
        return;
    }
    // A block is taken for the content only when the content comes: the
    // reserved octet may end the caller's buffer.
    _qor_oenc_append_byte(world, 0);
    markPosition(world, position, world->outPos - 1);
}

QorULong _qor_oenc_end_ext(QorGlobal *world, QorOerPosition *position)
{
    const bool sizing = sizingOnly(world);
    const uint64_t s = sizing ? static_cast<uint64_t>(world->encLength - position->blockBytes)
                              : writtenSince(world, position, 1);
    if (s == 0 && position->mustNotBeEmpty != 0) {
        if (sizing)
            world->encLength += 1;
        else
            position->address[0] = 1;
        _qor_oenc_append_byte(world, 0);
        return 1;
    }
    if (sizing) {
        world->encLength += static_cast<QorLong>(s < kShortLengths ? 1 : 1 + unsignedOctets(s));
        return static_cast<QorULong>(s);
    }
    if (s < kShortLengths)
        position->address[0] = static_cast<unsigned char>(s);
    else
        putLongLength(world, position, s);
    return static_cast<QorULong>(s);
}

void _qor_oenc_store_encpos(QorGlobal *world, QorOerPosition *position)
{
    position->mustNotBeEmpty = 0;
    if (sizingOnly(world))
        position->blockBytes = world->encLength;
    else
        markPosition(world, position, world->outPos);
}

// An empty content that must not be empty is one 0 octet; the mark itself
// may lie past its block, so nothing is written there.
QorULong _qor_oenc_calc_enclen(QorGlobal *world, QorOerPosition *position)
{
    const uint64_t s = sizingOnly(world)
                           ? static_cast<uint64_t>(world->encLength - position->blockBytes)
                           : writtenSince(world, position, 0);
    if (s == 0 && position->mustNotBeEmpty != 0) {
        _qor_oenc_append_byte(world, 0);
        return 1;
    }
    return static_cast<QorULong>(s);
}

void _qor_oenc_rsf_ext(QorGlobal *world, QorULong number, QorULong count, const unsigned char *bytes)
{
    if (number < 0x100)
        _qor_oenc_uint_1byte(world, number);
    else if (number < 0x10000)
        _qor_oenc_uint_2byte(world, number);
    else
        _qor_oenc_uint_3byte(world, number << 8);
    _qor_oenc_octet_length(world, count);
    _qor_oenc_append_bytes(world, bytes, count);
}

// A bit string of the known bits and the retained ones behind them, with no
// gap: a length, the count of unused bits in the last octet, the octets.
void _qor_oenc_rsf_ext_bitmask(QorGlobal *world, const unsigned char *known, QorULong knownBits,
                               const unsigned char *retained, QorULong retainedBits)
{
    const uint64_t total = uint64_t{knownBits} + retainedBits;
    const uint64_t octets = (total + 7) / 8;
    raiseIf(world, octets + 1 > UINT32_MAX, Msg::kMisencoded, 0);
    _qor_oenc_octet_length(world, static_cast<QorULong>(octets + 1));
    _qor_oenc_append_byte(world, static_cast<unsigned char>(-total & 7));
    const QorULong whole = knownBits / 8;
    _qor_oenc_append_bytes(world, known, whole);
    unsigned held = knownBits % 8; // bits in `acc`, from its top
    unsigned acc = held != 0 ? known[whole] & (0xFF00u >> held) : 0;
    unsigned char out[64];
    size_t n = 0;
    for (QorULong i = 0; i < retainedBits; i += 8) {
        const unsigned bits = retainedBits - i < 8 ? retainedBits - i : 8;
        const unsigned r = retained[i / 8] & (0xFF00u >> bits) & 0xFF;
        acc |= r >> held;
        if (held + bits >= 8) {
            out[n++] = static_cast<unsigned char>(acc);
            acc = (r << (8 - held)) & 0xFF;
            held = held + bits - 8;
        } else {
            held += bits;
        }
        if (n == sizeof out) {
            oerPut(world, out, n);
            n = 0;
        }
    }
    if (held != 0)
        out[n++] = static_cast<unsigned char>(acc);
    oerPut(world, out, n);
}

int _qor_odec_skip_unknown(QorGlobal *world, const unsigned char *mask, QorULong first, QorULong end)
{
    int skipped = 0;
    for (QorULong i = first; i < end; i++) {
        if ((mask[i / 8] & (0x80 >> (i % 8))) == 0)
            continue;
        const QorULong length = _qor_odec_length(world);
        world->inPos += length;
        skipped = 1;
    }
    return skipped;
}

void _qor_odec_check_bytes(QorGlobal *world, const unsigned char *start, QorULong length)
{
    raiseIf(world, static_cast<uint64_t>(world->inPos - start) > length, Msg::kMisencoded, 0);
    raiseIf(world, static_cast<uint64_t>(oerEnd(world) - start) < length, Msg::kEndOfInput, 0);
    world->inPos = const_cast<unsigned char *>(start) + length;
}

void _qor_oenc_not_supported(QorGlobal *world, QorLong, const char *text)
{
    if (text != nullptr && text[0] != '\0')
        raise(world, Msg::kOerNotSupported, stringValue(text));
    raise(world, Msg::kNotImplemented, longValue(0));
}

void _qor_odec_not_supported(QorGlobal *world, QorLong *word, const char *text)
{
    if (word != nullptr)
        *word = 0;
    _qor_oenc_not_supported(world, 0, text);
}

} // extern "C"

// PER open types and extension additions. An open type is an unconstrained
// OCTET STRING that holds a whole encoding. The decoder reads one in place
// when it comes in one part: the push makes its contents the input, the pop
// gives the outer input back and refuses contents left unread. Fragments
// are joined into one copy first. Extension additions this schema doesn't
// know are open types to step over.
#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"
#include "per/per.h"
#include "per/string_parts.h"

using namespace qor;

namespace {

inline bool strictRules(const QorGlobal *world)
{
    return (world->decodingFlags & STRICT_ENCODING_DECODING_RULES) != 0;
}

// Walks an open type's parts, stepping over each; returns the total.
uint64_t skipParts(QorGlobal *world)
{
    const StringValue octets = plainValue(8, 1, 0);
    return walkParts(world, octets, kMaxStringTotal, Msg::kSizeTooLong, [&](QorULong n, uint64_t) {
        skipChars(world, n, 8, true);
    });
}

} // namespace

extern "C" {

void _qor_penc_opentype(QorGlobal *world, const QorOpenType *value)
{
    raiseIf(world, value->length == 0, Msg::kEmptyOpenType, 0);
    _qor_penc_unconstr_oct_l(world, value->encoded, value->length);
}

void _qor_pdec_opentype(QorGlobal *world, QorOpenType *value)
{
    value->pduNum = 0;
    value->decoded = nullptr;
    value->length = _qor_pdec_unconstr_uoct_ia(world, &value->encoded);
    const QorULong refusing = STRICT_ENCODING_DECODING_RULES | AUTOMATIC_ENCDEC;
    raiseIf(world, value->length == 0 && (world->decodingFlags & refusing) != 0, Msg::kEmptyOpenType, 0);
}

void *_qor_pdec_push(QorGlobal *world)
{
    const bool expectContent = (world->expectOpenTypeContent & 1) != 0;
    world->expectOpenTypeContent = 0;
    const Cursor before(world);
    unsigned char done = 1;
    const QorULong n = _qor_pdec_length(world, 1, 0, &done);
    QorULong marks = n == 1 ? kViewOfOneOctet : 0;
    unsigned char *start = world->inPos;
    QorLong room = n;
    unsigned char *joined = nullptr;
    if (n == 0 && done) {
        raiseIf(world, expectContent, Msg::kEmptyOpenType, 0);
        raiseIf(world, strictRules(world), Msg::kMisencoded, 0);
    }
    if (done) {
        // Read in place. Off an octet boundary (unaligned PER) the contents
        // reach one octet further, which the view must hold.
        if (world->bitOffset != 0 && world->perAligned) {
            start++;
            world->inPos++;
            world->inRoom--;
            world->bitOffset = 0;
        }
        const QorLong extra = world->bitOffset != 0 ? 1 : 0;
        raiseIf(world, int64_t{world->inRoom} < int64_t{n} + extra, Msg::kEndOfInput, 0);
        world->inPos += n;
        world->inRoom -= QorLong(n);
        if (extra != 0) {
            marks |= kViewOffBoundary;
            room += 1;
        }
    } else {
        before.restore(world);
        room = QorLong(readJoinedOctets(world, &joined));
        start = joined;
    }
    QorOpenTypeView *view = world->privateArea->openTypes.push(world);
    view->inPos = world->inPos;
    view->inRoom = world->inRoom;
    view->joined = joined;
    view->savedOffset = QorULong(world->bitOffset) | marks;
    world->inPos = start;
    world->inRoom = room;
    if (joined != nullptr)
        world->bitOffset = 0;
    return view;
}

void _qor_pdec_pop(QorGlobal *world)
{
    QorGlobalPrivate *p = world->privateArea;
    const QorOpenTypeView view = *p->openTypes.top();
    const int offset = int(view.savedOffset & 7);
    if (!relaxed(world)) {
        // Bits of the contents not read: the contents end `offset` bits
        // into the view's extra octet, or at the end of the view.
        const bool offBoundary = (view.savedOffset & kViewOffBoundary) != 0;
        const int64_t room = int64_t{world->inRoom} - (offBoundary ? 1 : 0);
        const int64_t unread = room * 8 + (offBoundary ? offset : 0) - world->bitOffset;
        raiseIf(world, unread < 0, Msg::kEndOfInput, 0);
        raiseIf(world, unread > 7 && (view.savedOffset & kViewOfOneOctet) == 0, Msg::kMisencoded, 0);
    }
    world->inPos = view.inPos;
    world->inRoom = view.inRoom;
    world->bitOffset = offset;
    p->openTypes.pop(world);
    if (view.joined != nullptr)
        _qor_dec_freetempmem(world, view.joined);
}

QorULong _qor_pdec_eap(QorGlobal *world, unsigned char **mask)
{
    unsigned char done = 1;
    const QorULong n = decodeSmallLength(world, &done);
    raiseIf(world, !done, Msg::kMisencoded, 0);
    raiseIf(world, n == 0 && strictRules(world), Msg::kMisencoded, 0);
    // The input must hold the bits before memory is taken for them.
    raiseIf(world, uint64_t{n} > uint64_t(world->inRoom > 0 ? world->inRoom : 0) * 8 - unsigned(world->bitOffset),
            Msg::kEndOfInput, 0);
    *mask = static_cast<unsigned char *>(_qor_dec_gettempmem(world, QorLong((uint64_t{n} + 7) / 8)));
    if (n != 0)
        _qor_get_bits(world, *mask, n, 0);
    if (strictRules(world)) {
        bool any = false;
        for (QorULong i = 0; i < (n + 7) / 8; i++)
            any = any || (*mask)[i] != 0;
        raiseIf(world, !any, Msg::kMisencoded, 0);
    }
    return n;
}

void _qor_pdec_eas(QorGlobal *world, unsigned char *mask, QorULong bits, QorULong known)
{
    for (QorULong i = known; i < bits; i++)
        if ((mask[i >> 3] & (0x80 >> (i & 7))) != 0)
            _qor_pdec_sot(world);
    _qor_dec_freetempmem(world, mask);
}

void _qor_pdec_sot(QorGlobal *world)
{
    const uint64_t total = skipParts(world);
    raiseIf(world, total == 0 && strictRules(world), Msg::kMisencoded, 0);
}

} // extern "C"

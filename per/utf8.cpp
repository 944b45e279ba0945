// UTF8String in PER from 16-bit and 32-bit characters in memory: the octets
// of the UTF-8 form under general lengths, like any string without a known
// multiplier. A character may be split across a fragment boundary.
#include <cstdint>

#include "common/utf8.h"
#include "frame/errors.h"
#include "memory/bits.h"
#include "per/string_parts.h"

using namespace qor;

namespace {

// A short value converts on the stack rather than in temporary memory.
constexpr QorLong kLocalOctets = 256;

template <class Char>
void encodeUtf8(QorGlobal *world, const Char *chars, QorULong count)
{
    raiseIf(world, count > INT32_MAX, Msg::kSizeTooLong, INT32_MAX);
    const auto n = static_cast<QorLong>(count);
    const int width = sizeof(Char);
    const QorLong octets = utf8SizeOf(world, chars, n, width);
    // The usual value: one part that starts on an octet boundary, converted
    // straight into the block.
    if (octets < static_cast<QorLong>(kFragmentUnit) && (world->perAligned || world->bitOffset == 0) &&
        outputHasRoom(world, uint64_t(octets) + 3)) {
        putLengthAt(world, uint64_t(octets), 0, 0, true);
        unsigned char *end = putUtf8Chars(world->outPos, chars, n, width);
        world->outRoom -= static_cast<QorLong>(end - world->outPos);
        world->outPos = end;
        return;
    }
    unsigned char local[kLocalOctets];
    unsigned char *text = local;
    if (sizingOnly(world)) {
        // Only the count matters: a sizing pass reads none of the octets.
        _qor_penc_nkmstr_l(world, local, static_cast<QorULong>(octets));
        return;
    }
    if (octets > kLocalOctets)
        text = static_cast<unsigned char *>(_qor_dec_gettempmem(world, octets));
    putUtf8Chars(text, chars, n, width);
    _qor_penc_nkmstr_l(world, text, static_cast<QorULong>(octets));
    if (text != local)
        _qor_dec_freetempmem(world, text);
}

// The octets are gathered first (on the stack when short), then counted as
// characters, and converted into new memory; an empty value has none.
template <class Char>
QorLong decodeUtf8(QorGlobal *world, Char **result)
{
    const StringValue v = startString(world, &kOctetRun, 8);
    unsigned char local[kLocalOctets];
    unsigned char *gathered = nullptr;
    const uint64_t length = decodeString(
        world, v, kMaxStringTotal, Msg::kSizeTooLong,
        [&](uint64_t total) {
            gathered = total <= kLocalOctets
                           ? local
                           : static_cast<unsigned char *>(_qor_dec_gettempmem(world, static_cast<QorLong>(total)));
            return gathered;
        },
        [&](unsigned char *base, uint64_t offset, uint64_t count, bool align) {
            readNarrowChars(world, base + offset, count, v.coding, nullptr, align);
        });
    const auto octets = static_cast<QorLong>(length);
    const QorLong count = utf8CharCount(world, gathered, octets);
    Char *out = nullptr;
    if (count != 0) {
        out = reinterpret_cast<Char *>(decoderMemory(world, uint64_t(count) * sizeof(Char)));
        decodeUtf8Chars(world, out, gathered, octets, sizeof(Char));
    }
    if (gathered != local)
        _qor_dec_freetempmem(world, gathered);
    *result = out;
    return count;
}

} // namespace

extern "C" {

void _qor_penc_utf8bmpstr_l(QorGlobal *world, const uint16_t *chars, QorULong count)
{
    encodeUtf8(world, chars, count);
}

void _qor_penc_utf8unistr_l(QorGlobal *world, const QorULong *chars, QorULong count)
{
    encodeUtf8(world, chars, count);
}

QorLong _qor_pdec_utf8bmpstr_ia(QorGlobal *world, uint16_t **result)
{
    return decodeUtf8(world, result);
}

QorLong _qor_pdec_utf8unistr_ia(QorGlobal *world, QorULong **result)
{
    return decodeUtf8(world, result);
}

} // extern "C"

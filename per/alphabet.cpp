#include "per/alphabet.h"

#include <cstring>

#include "frame/errors.h"
#include "memory/bits.h"
#include "memory/blocks.h"

namespace qor {
namespace {

// Runs go through the cursor in chunks of this many octets, so a long string
// costs one call per chunk, not one per character.
constexpr unsigned kChunkOctets = 256;
constexpr uint64_t kChunkBits = kChunkOctets * 8;

inline bool mapped(CharCoding coding, const QorPermittedAlphabet *alphabet)
{
    return !coding.direct && alphabet != nullptr;
}

} // namespace

CharCoding bentCoding(const QorGlobal *world, const QorStringDescriptor *desc, bool extended,
                      unsigned fullWidth, CharCoding c)
{
    const QorULong compat = world->privateArea->compatFlags;
    if ((compat & kCompatFullWidthWhenExtended) && extended) {
        // Outside the root the alphabet reduction is off.
        c.width = fullWidth == 8 ? 8 : c.direct ? fullWidth : c.width;
    }
    if ((compat & kCompatTimeFullWidth) && (desc->flags & kTimeString) && !(desc->flags & kExtensibleSize))
        c.width = 8;
    return c;
}

void checkAlphabetChars(QorGlobal *world, const unsigned char *chars, uint64_t count,
                        const QorPermittedAlphabet *alphabet)
{
    const unsigned char *table = alphabet->encodeTable;
    for (uint64_t i = 0; i < count; i++) {
        const unsigned char ch = chars[i];
        // The table covers seven-bit characters only.
        if (ch >= 0x80 || table[ch] == 0xFF) [[unlikely]]
            raise(world, Msg::kBadCharacter, longValue(ch));
    }
}

void writeNarrowChars(QorGlobal *world, const unsigned char *chars, uint64_t count,
                      CharCoding coding, const QorPermittedAlphabet *alphabet)
{
    const unsigned w = coding.width;
    if (w == 0 || count == 0)
        return;
    if (w == 8 || sizingOnly(world)) {
        // Octets as they stand; sizing only counts the bits.
        _qor_append(world, chars, static_cast<QorULong>(count * w), 0);
        return;
    }
    const unsigned char *table = mapped(coding, alphabet) ? alphabet->encodeTable : nullptr;
    const unsigned mask = (1u << w) - 1;
    const uint64_t perChunk = kChunkBits / w;
    unsigned char buf[kChunkOctets];
    while (count > 0) {
        const uint64_t n = count < perChunk ? count : perChunk;
        uint32_t acc = 0;
        unsigned held = 0;
        unsigned o = 0;
        for (uint64_t i = 0; i < n; i++) {
            const unsigned ch = chars[i];
            const unsigned code = table != nullptr ? table[ch & 0x7F] : ch;
            acc = (acc << w) | (code & mask);
            held += w;
            if (held >= 8) {
                held -= 8;
                buf[o++] = static_cast<unsigned char>(acc >> held);
                acc &= (1u << held) - 1;
            }
        }
        if (held != 0)
            buf[o] = static_cast<unsigned char>(acc << (8 - held));
        _qor_append(world, buf, static_cast<QorULong>(n * w), 0);
        chars += n;
        count -= n;
    }
}

void readPackedChars(QorGlobal *world, unsigned char *out, uint64_t count, CharCoding coding,
                     const QorPermittedAlphabet *alphabet, bool align)
{
    const unsigned w = coding.width;
    if (count == 0)
        return;
    if (w == 0) {
        // One character in the alphabet: nothing in the input.
        const auto *decode = alphabet != nullptr
                                 ? static_cast<const unsigned char *>(alphabet->decodeTable)
                                 : nullptr;
        memset(out, decode != nullptr ? decode[0] : 0, count);
        return;
    }
    const uint64_t pad = padBefore(world, align);
    // A word of input at a time while eight octets are left, else each
    // character from the two octets it can touch; the second is read only
    // when the character reaches into it, so nothing past the input checked
    // above is looked at.
    const bool useTable = mapped(coding, alphabet);
    const auto *decode =
        useTable ? static_cast<const unsigned char *>(alphabet->decodeTable) : nullptr;
    const QorULong size = useTable ? alphabet->count : 0;
    const unsigned char *in = world->inPos + (pad != 0 ? 1 : 0);
    const unsigned char *end = world->inPos + world->inRoom;
    uint64_t at = pad != 0 ? 0 : static_cast<unsigned>(world->bitOffset);
    const unsigned perWord = 57 / w;
    auto put = [&](uint64_t i, unsigned code) {
        if (useTable) {
            if (code >= size) [[unlikely]]
                raise(world, Msg::kBadCharacter, longValue('?'));
            out[i] = decode[code];
        } else {
            out[i] = static_cast<unsigned char>(code);
        }
    };
    for (uint64_t i = 0; i < count;) {
        const unsigned char *p = in + (at >> 3);
        if (end - p >= 8) {
            uint64_t word = loadBig(p) << (at & 7);
            const uint64_t n = count - i < perWord ? count - i : perWord;
            for (uint64_t j = 0; j < n; j++, word <<= w)
                put(i + j, static_cast<unsigned>(word >> (64 - w)));
            i += n;
            at += n * w;
            continue;
        }
        const unsigned shift = at & 7;
        unsigned window = unsigned{p[0]} << 8;
        if (shift + w > 8)
            window |= p[1];
        put(i, (window >> (16 - shift - w)) & ((1u << w) - 1));
        i++;
        at += w;
    }
    const uint64_t moved = (pad != 0 ? 1 : 0) + (at >> 3);
    world->inPos += moved;
    world->inRoom -= static_cast<QorLong>(moved);
    world->bitOffset = static_cast<int>(at & 7);
}

void skipChars(QorGlobal *world, uint64_t count, unsigned width, bool align)
{
    if (count == 0 || width == 0)
        return;
    const uint64_t pad = padBefore(world, align);
    needInput(world, pad, count * width);
    const uint64_t end = static_cast<unsigned>(world->bitOffset) + pad + count * width;
    world->inPos += end >> 3;
    world->inRoom -= static_cast<QorLong>(end >> 3);
    world->bitOffset = static_cast<int>(end & 7);
}

} // namespace qor

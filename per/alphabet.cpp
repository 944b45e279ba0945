#include "per/alphabet.h"

#include <cstring>

#include "frame/errors.h"
#include "memory/bits.h"
#include "memory/blocks.h"

namespace qor {
namespace {

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
    packCodes(world, count, w, false, [&](uint64_t i) -> QorULong {
        const unsigned ch = chars[i];
        return table != nullptr ? table[ch & 0x7F] : ch;
    });
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
    const bool useTable = mapped(coding, alphabet);
    const auto *decode =
        useTable ? static_cast<const unsigned char *>(alphabet->decodeTable) : nullptr;
    const QorULong size = useTable ? alphabet->count : 0;
    unpackCodes(world, count, w, align, [&](uint64_t i, QorULong code) {
        if (useTable) {
            if (code >= size) [[unlikely]]
                raise(world, Msg::kBadCharacter, longValue('?'));
            out[i] = decode[code];
        } else {
            out[i] = static_cast<unsigned char>(code);
        }
    });
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

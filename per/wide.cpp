// BMPString and UniversalString in PER, two and four octets a character in
// memory: each character goes as its code or as its alphabet index, in the
// width the PER variant gives; alphabets are tables from a base character
// or, when too wide for that, trees.
#include <cstdint>
#include <cstring>

#include "frame/errors.h"
#include "memory/bits.h"
#include "per/alphabet.h"
#include "per/string_parts.h"

using namespace qor;

namespace {

// How a character becomes the bits that go, and back.
struct WideCoding {
    CharCoding coding;
    const QorPermittedAlphabet *alphabet; // null: none
    bool tree;

    WideCoding(QorGlobal *world, const QorStringDescriptor *desc, bool extended, unsigned fullWidth)
        : coding(charCoding(world, desc, extended, fullWidth)), alphabet(desc->alphabet),
          tree((desc->flags & kTreeAlphabet) != 0 && desc->alphabet != nullptr)
    {
    }
    bool mapped() const { return alphabet != nullptr && !coding.direct; }
};

[[noreturn]] void badCharacter(QorGlobal *world, QorULong ch)
{
    raise(world, Msg::kBadCharacter, longValue(static_cast<QorLong>(ch)));
}

// Table alphabets are checked whole before anything is written.
template <class Char>
void checkTableAlphabet(QorGlobal *world, const Char *chars, uint64_t count,
                        const QorPermittedAlphabet *alphabet)
{
    for (uint64_t i = 0; i < count; i++)
        if (wideTableIndexOf(alphabet, chars[i]) == kNotInAlphabet) [[unlikely]]
            badCharacter(world, chars[i]);
}

// The code or index that goes for `ch`. A tree is looked up here, one
// character at a time: membership for a code, the index otherwise.
inline QorULong codeOf(QorGlobal *world, const WideCoding &c, QorULong ch)
{
    if (c.tree) {
        const QorULong *tree = treeOf(c.alphabet);
        if (c.coding.direct) {
            if (!treeContains(tree, ch)) [[unlikely]]
                badCharacter(world, ch);
            return ch;
        }
        const QorULong index = treeIndexOf(tree, ch);
        if (index == kNotInAlphabet) [[unlikely]]
            badCharacter(world, ch);
        return index;
    }
    return c.mapped() ? c.alphabet->encodeTable[ch - c.alphabet->base] : ch;
}

template <class Char>
void encodeWide(QorGlobal *world, const Char *chars, QorULong count, const QorStringDescriptor *desc,
                unsigned char extensionMark)
{
    const bool extended = markSet(extensionMark);
    if (!(desc->flags & kExtensibleSize))
        checkSize(world, count, desc);
    else
        _qor_append_1bit_unaligned(world, extended ? 0x80 : 0);
    const WideCoding c(world, desc, extended, sizeof(Char) * 8);
    if (c.alphabet != nullptr && !c.tree)
        checkTableAlphabet(world, chars, count, c.alphabet);
    const unsigned w = c.coding.width;
    encodeParts(world, count, desc->lowerSize, desc->upperSize, extended, w, [&](uint64_t offset, uint64_t n) {
        const Char *run = chars + offset;
        if (w == 0) {
            // Nothing goes, but a tree still refuses what it lacks.
            if (c.tree)
                for (uint64_t i = 0; i < n; i++)
                    static_cast<void>(codeOf(world, c, run[i]));
            return;
        }
        packCodes(world, n, w, c.tree, [&](uint64_t i) { return codeOf(world, c, run[i]); });
    });
}

// The character an index or code read stands for; an index beyond the
// alphabet is message 29 with '?'.
inline QorULong charOf(QorGlobal *world, const WideCoding &c, QorULong code)
{
    if (!c.mapped())
        return code;
    if (c.tree) {
        const QorULong ch = treeCharAt(treeOf(c.alphabet), code);
        if (ch == kNoCharacter) [[unlikely]]
            badCharacter(world, '?');
        return ch;
    }
    if (code >= c.alphabet->count) [[unlikely]]
        badCharacter(world, '?');
    return c.alphabet->base + static_cast<const unsigned char *>(c.alphabet->decodeTable)[code];
}

template <class Char>
void readWideChars(QorGlobal *world, Char *out, uint64_t count, const WideCoding &c, bool align)
{
    if (count == 0)
        return;
    const unsigned w = c.coding.width;
    if (w == 0) {
        // One character in the alphabet, nothing in the input. A table's
        // entry is stored as it stands, the base not added.
        Char only = 0;
        if (c.tree)
            only = static_cast<Char>(treeCharAt(treeOf(c.alphabet), 0));
        else if (c.alphabet != nullptr)
            only = static_cast<const unsigned char *>(c.alphabet->decodeTable)[0];
        for (uint64_t i = 0; i < count; i++)
            out[i] = only;
        return;
    }
    unpackCodes(world, count, w, align,
                [&](uint64_t i, QorULong code) { out[i] = static_cast<Char>(charOf(world, c, code)); });
}

// Into new memory, an empty value giving none; returns the count.
template <class Char>
QorLong decodeWide(QorGlobal *world, Char **result, const QorStringDescriptor *desc)
{
    const StringValue v = startString(world, desc, sizeof(Char) * 8);
    const WideCoding c(world, desc, v.extended, sizeof(Char) * 8);
    Char *out = nullptr;
    Char none = 0;
    const uint64_t total = decodeString(
        world, v, kMaxStringTotal / sizeof(Char), Msg::kSizeTooLong,
        [&](uint64_t n) {
            // Nothing is written through `none`.
            return n == 0 ? &none : (out = reinterpret_cast<Char *>(decoderMemory(world, n * sizeof(Char))));
        },
        [&](Char *base, uint64_t offset, uint64_t n, bool align) { readWideChars(world, base + offset, n, c, align); });
    *result = out;
    return static_cast<QorLong>(total);
}

} // namespace

extern "C" {

void _qor_penc_bmpstr(QorGlobal *world, const uint16_t *chars, QorULong count,
                      const QorStringDescriptor *desc, unsigned char extensionMark)
{
    encodeWide(world, chars, count, desc, extensionMark);
}

void _qor_penc_unistr(QorGlobal *world, const QorULong *chars, QorULong count,
                      const QorStringDescriptor *desc, unsigned char extensionMark)
{
    encodeWide(world, chars, count, desc, extensionMark);
}

QorLong _qor_pdec_bmpstr(QorGlobal *world, uint16_t **result, const QorStringDescriptor *desc)
{
    return decodeWide(world, result, desc);
}

QorLong _qor_pdec_unistr(QorGlobal *world, QorULong **result, const QorStringDescriptor *desc)
{
    return decodeWide(world, result, desc);
}

} // extern "C"

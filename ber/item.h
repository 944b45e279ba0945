// Small BER items (tag, length and a short value) are assembled on the frame
// in stream order and then written below *pos in one piece; a write that
// fits the block in hand takes no call.
#pragma once

#include <cstring>

#include "frame/errors.h"
#include "memory/blocks.h"
#include "memory/copy.h"

namespace qor {

// The largest item a primitive assembles: two tags of three octets, two
// lengths of five, and a 64-bit value with its sign octet.
constexpr int kMaxItem = 32;

inline QorLong writeBytes(QorGlobal *world, unsigned char **pos, QorLong *room, const void *data,
                          QorLong n)
{
    if (n > 0 && n <= *room && !sizingOnly(world)) [[likely]] {
        *pos -= n;
        *room -= n;
        copyOctets(*pos, data, static_cast<size_t>(n));
        return n;
    }
    return _qor_write_bytes_d(world, pos, room, data, n);
}

// Appends the tag's octets (at most three; the constant's low byte is the
// tag's last octet) to `out`; returns the new end.
inline unsigned char *putTag(unsigned char *out, QorULong tag)
{
    if (tag >= 0x10000)
        *out++ = static_cast<unsigned char>(tag >> 16);
    if (tag >= 0x100)
        *out++ = static_cast<unsigned char>(tag >> 8);
    *out++ = static_cast<unsigned char>(tag);
    return out;
}

// Appends a definite length; a negative length below 128 is its own low
// octet, so -128 asks for the indefinite form 0x80.
inline unsigned char *putLength(unsigned char *out, QorLong length)
{
    if (length < 128) {
        *out++ = static_cast<unsigned char>(length);
        return out;
    }
    auto v = static_cast<QorULong>(length);
    int count = v < 0x100 ? 1 : v < 0x10000 ? 2 : v < 0x1000000 ? 3 : 4;
    *out++ = static_cast<unsigned char>(0x80 | count);
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
        *out++ = static_cast<unsigned char>(v >> shift);
    return out;
}

// Input checks shared by the decoders.
inline void needInput(QorGlobal *world, const QorLong *room, QorLong n)
{
    if (n > *room) [[unlikely]]
        raise(world, Msg::kEndOfInput, longValue(0));
}

// DER has the definite form alone. The message's text is whole: it shows no
// value, and the field's location follows it.
inline void refuseIndefiniteUnderDer(QorGlobal *world)
{
    raiseIf(world, world->encRules == QOR_DER, Msg::kDerIndefinite, 0);
}

} // namespace qor

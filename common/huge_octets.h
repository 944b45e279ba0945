// The octets of a huge integer, most significant first, as every family
// writes them: without the leading octets that say nothing.
#pragma once

#include "frame/world.h"

namespace qor {

constexpr QorULong kHugeLimit = 4096; // octets of the longest huge integer

// Which leading octets are redundant: a signed value drops a 0x00 before a
// clear top bit and a 0xFF before a set one; a positive one only the 0x00;
// an unsigned one every 0x00.
enum class Trim { kSigned, kPositive, kUnsigned };

// Drops redundant leading octets, keeping at least one.
inline QorULong trimmed(const unsigned char **bytes, QorULong count, Trim trim)
{
    const unsigned char *b = *bytes;
    while (count > 1 && ((b[0] == 0x00 && ((b[1] & 0x80) == 0 || trim == Trim::kUnsigned)) ||
                         (trim == Trim::kSigned && b[0] == 0xFF && (b[1] & 0x80) != 0))) {
        b++;
        count--;
    }
    *bytes = b;
    return count;
}

} // namespace qor

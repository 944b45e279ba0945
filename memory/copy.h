// Copies of the short items that encoders and decoders move by the dozen:
// up to 16 octets go with at most two fixed-size loads and stores instead of
// a call, longer ones through the C library.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qor {

// An unsigned cell of 2 octets (when `width` is 2) or 4, at any alignment.
inline uint32_t loadCell(const void *at, unsigned width)
{
    if (width == 2) {
        uint16_t v;
        memcpy(&v, at, sizeof v);
        return v;
    }
    uint32_t v;
    memcpy(&v, at, sizeof v);
    return v;
}

// The two accesses overlap when `n` is not a power of two.
inline void copyShort(unsigned char *to, const unsigned char *from, size_t n)
{
    if (n >= 8) {
        uint64_t head, tail;
        memcpy(&head, from, 8);
        memcpy(&tail, from + n - 8, 8);
        memcpy(to, &head, 8);
        memcpy(to + n - 8, &tail, 8);
    } else if (n >= 4) {
        uint32_t head, tail;
        memcpy(&head, from, 4);
        memcpy(&tail, from + n - 4, 4);
        memcpy(to, &head, 4);
        memcpy(to + n - 4, &tail, 4);
    } else if (n > 0) {
        to[0] = from[0];
        to[n / 2] = from[n / 2];
        to[n - 1] = from[n - 1];
    }
}

inline void copyOctets(void *to, const void *from, size_t n)
{
    if (n <= 16) [[likely]]
        copyShort(static_cast<unsigned char *>(to), static_cast<const unsigned char *>(from), n);
    else
        memcpy(to, from, n);
}

// Whether any of `n` octets is zero; short runs are tested a word at a time.
inline bool hasZeroOctet(const unsigned char *p, size_t n)
{
    auto zeroIn = [](uint64_t v) {
        return ((v - 0x0101010101010101u) & ~v & 0x8080808080808080u) != 0;
    };
    if (n > 16)
        return memchr(p, 0, n) != nullptr;
    if (n >= 8) {
        uint64_t head, tail;
        memcpy(&head, p, 8);
        memcpy(&tail, p + n - 8, 8);
        return zeroIn(head) || zeroIn(tail);
    }
    if (n >= 4) {
        uint32_t head, tail;
        memcpy(&head, p, 4);
        memcpy(&tail, p + n - 4, 4);
        return zeroIn(uint64_t{head} << 32 | tail);
    }
    return n > 0 && (p[0] == 0 || p[n / 2] == 0 || p[n - 1] == 0);
}

} // namespace qor

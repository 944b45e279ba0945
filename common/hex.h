// Hexadecimal digits, for every reader of hexadecimal text.
#pragma once

namespace qor {

// The value of a hexadecimal digit of either case, or -1.
inline int hexValue(int c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return -1;
}

} // namespace qor

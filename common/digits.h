// Decimal digits by their codes, never through the locale.
#pragma once

namespace qor {

inline bool isDigit(int c) { return c >= '0' && c <= '9'; }

// Exactly `count` digits at `at` into `*value`, `at` moved past them; false,
// and nothing moved, if they are not all digits.
inline bool readDigits(const char *&at, int count, int *value)
{
    int v = 0;
    for (int i = 0; i < count; i++) {
        if (!isDigit(at[i]))
            return false;
        v = v * 10 + (at[i] - '0');
    }
    at += count;
    *value = v;
    return true;
}

} // namespace qor

// UTF-8 conversions, one character and whole strings.
#include "common/utf8.h"

#include <cstring>

#include "frame/errors.h"

namespace qor {

namespace {

// First-octet marks by sequence length; a single octet has none.
constexpr unsigned char kLeadMark[7] = {0, 0, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};

int leadingOnes(unsigned char c)
{
    int n = 0;
    while (n < 8 && (c & (0x80 >> n)) != 0)
        n++;
    return n;
}

// The sequence length of any value below 2^31, with no refusals.
int rawLength(QorULong v)
{
    return v < 0x80        ? 1
           : v < 0x800     ? 2
           : v < 0x10000   ? 3
           : v < 0x200000  ? 4
           : v < 0x4000000 ? 5
                           : 6;
}

// Octets a writer puts down for `value`: none for 0x80000000 and above.
int writtenLength(QorULong v) { return v >= 0x80000000u ? 0 : rawLength(v); }

// The `n` octets of `value` at `at`: the lead octet with its mark, then the
// continuation octets, six bits each, the lowest last.
void putSequence(unsigned char *at, QorULong value, int n)
{
    for (int i = n - 1; i > 0; i--) {
        at[i] = static_cast<unsigned char>(0x80 | (value & 0x3F));
        value >>= 6;
    }
    if (n > 0)
        at[0] = static_cast<unsigned char>(kLeadMark[n] | value);
}

void checkWidth(QorGlobal *world, int width)
{
    raiseIf(world, width != 1 && width != 2 && width != 4, Msg::kUnknownSize, width);
}

// The low bits of `value` that a character of `width` octets holds.
void narrowChar(unsigned char *out, QorULong value, int width)
{
    if (width == 4) {
        memcpy(out, &value, 4);
    } else if (width == 2) {
        const auto c = static_cast<uint16_t>(value);
        memcpy(out, &c, 2);
    } else {
        *out = static_cast<unsigned char>(value);
    }
}

} // namespace

QorULong charAt(const void *chars, QorLong i, int width)
{
    switch (width) {
    case 1:
        return static_cast<const unsigned char *>(chars)[i];
    case 2: {
        uint16_t c;
        memcpy(&c, static_cast<const unsigned char *>(chars) + 2 * static_cast<size_t>(i), 2);
        return c;
    }
    default: {
        QorULong c;
        memcpy(&c, static_cast<const unsigned char *>(chars) + 4 * static_cast<size_t>(i), 4);
        return c;
    }
    }
}

int utf8Length(QorULong value)
{
    if (value >= 0x80000000u || (value >= 0xD800 && value <= 0xDFFF) || value == 0xFFFE ||
        value == 0xFFFF)
        return 0;
    return rawLength(value);
}

unsigned char *encodeUtf8Char(unsigned char *end, QorULong value)
{
    int n = writtenLength(value);
    putSequence(end - n, value, n);
    return end - n;
}

unsigned char *putUtf8Char(unsigned char *out, QorULong value)
{
    int n = writtenLength(value);
    putSequence(out, value, n);
    return out + n;
}

bool decodeUtf8Char(QorGlobal *world, void *out, const unsigned char *in, QorLong inLength,
                       int width, int *used, int longest)
{
    if (inLength < 1) {
        *used = 0;
        return false;
    }
    int ones = leadingOnes(in[0]);
    if (ones == 1 || ones > longest) {
        *used = 0;
        return false;
    }
    int n = ones == 0 ? 1 : ones;
    *used = n;
    if (inLength < n)
        return false;
    QorULong value = ones == 0 ? in[0] : in[0] & (0x7Fu >> ones);
    for (int i = 1; i < n; i++) {
        if ((in[i] & 0xC0) != 0x80)
            return false;
        value = (value << 6) | (in[i] & 0x3Fu);
    }
    switch (width) {
    case 4:
        memcpy(out, &value, 4);
        break;
    case 2: {
        raiseIf(world, value > 0xFFFF, Msg::kSizeTooLong, static_cast<QorLong>(value));
        auto c = static_cast<uint16_t>(value);
        memcpy(out, &c, 2);
        break;
    }
    case 1:
        raiseIf(world, value > 0xFF, Msg::kSizeTooLong, static_cast<QorLong>(value));
        *static_cast<unsigned char *>(out) = static_cast<unsigned char>(value);
        break;
    default:
        raise(world, Msg::kUnknownSize, longValue(width));
    }
    return true;
}

QorLong utf8SizeOf(QorGlobal *world, const void *chars, QorLong count, int width)
{
    checkWidth(world, width);
    int64_t total = 0;
    for (QorLong i = 0; i < count; i++) {
        int n = utf8Length(charAt(chars, i, width));
        raiseIf(world, n == 0, Msg::kNoUtf8Form, i);
        total += n;
    }
    raiseIf(world, total > INT32_MAX, Msg::kSizeTooLong, count);
    return static_cast<QorLong>(total);
}

unsigned char *encodeUtf8Chars(unsigned char *end, const void *chars, QorLong count, int width)
{
    for (QorLong i = count; i > 0; i--)
        end = encodeUtf8Char(end, charAt(chars, i - 1, width));
    return end;
}

unsigned char *putUtf8Chars(unsigned char *out, const void *chars, QorLong count, int width)
{
    for (QorLong i = 0; i < count; i++)
        out = putUtf8Char(out, charAt(chars, i, width));
    return out;
}

QorLong utf8CharCount(QorGlobal *world, const unsigned char *in, QorLong length)
{
    QorLong count = 0;
    for (QorLong at = 0; at < length; count++) {
        QorULong scratch;
        int used;
        if (!decodeUtf8Char(world, &scratch, in + at, length - at, 4, &used))
            raise(world, Msg::kBadUtf8Sequence, longValue(0));
        at += used;
    }
    return count;
}

QorLong decodeUtf8Chars(QorGlobal *world, void *out, const unsigned char *in, QorLong length,
                           int width, bool cut)
{
    checkWidth(world, width);
    auto *target = static_cast<unsigned char *>(out);
    QorLong count = 0;
    for (QorLong at = 0; at < length; count++) {
        int used;
        QorULong wide;
        const bool whole = cut ? decodeUtf8Char(world, &wide, in + at, length - at, 4, &used)
                               : decodeUtf8Char(world, target, in + at, length - at, width, &used);
        if (!whole)
            raise(world, Msg::kBadUtf8Sequence, longValue(0));
        if (cut)
            narrowChar(target, wide, width);
        at += used;
        target += width;
    }
    return count;
}

} // namespace qor

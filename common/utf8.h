// UTF-8 conversions shared by every family that carries UTF8String: one
// character at a time, and whole strings of 8, 16 or 32-bit characters. The
// 31-bit scheme is used, with up to six octets a character. Writers go
// forwards, or backwards for the families that encode from the end.
#pragma once

#include <cstdint>

#include "frame/world.h"

namespace qor {

// Character `i` of an array of 1-, 2- or 4-octet characters in host order.
QorULong charAt(const void *chars, QorLong i, int width);

// Octets that `value` takes in UTF-8, 1 to 6; 0 for a value that has no
// UTF-8 form here: 0x80000000 and above, the surrogates 0xD800 to 0xDFFF,
// 0xFFFE and 0xFFFF.
[[nodiscard]] int utf8Length(QorULong value);

// Writes `value` so that its last octet lies just below `end`; returns its
// first octet. The value is written as it is, surrogates included: refusing
// values is utf8Length's job. A value of 0x80000000 or above writes nothing.
unsigned char *encodeUtf8Char(unsigned char *end, QorULong value);

// The same written forwards from `out`; returns the end.
unsigned char *putUtf8Char(unsigned char *out, QorULong value);

// Reads one character of at most `inLength` octets at `in` into `out`, an
// unsigned character of `width` octets (1, 2 or 4). `used` gets the length of
// the sequence that the first octet announces, 0 for a first octet that is a
// continuation octet or has more than six leading one bits. False for those,
// for a sequence cut short, and for a following octet not of the form
// 10xxxxxx. A character too wide for `width` is message 99; a width other
// than 1, 2 or 4 message 101. `longest` bounds the sequences taken: XML
// knows none beyond 4 octets, so its reader refuses the 5- and 6-octet forms
// that the 31-bit scheme of the ASN.1 types allows.
[[nodiscard]] bool decodeUtf8Char(QorGlobal *world, void *out, const unsigned char *in,
                                     QorLong inLength, int width, int *used, int longest = 6);

// Octets that `count` characters of `width` octets (1, 2 or 4, host order) at
// `chars` take in UTF-8. A character without a UTF-8 form is message 87 with
// its index, counted from 0.
[[nodiscard]] QorLong utf8SizeOf(QorGlobal *world, const void *chars, QorLong count, int width);

// Writes those characters so that the last octet lies just below `end`;
// returns the first octet. The caller has sized the room with utf8SizeOf.
unsigned char *encodeUtf8Chars(unsigned char *end, const void *chars, QorLong count, int width);

// The same written forwards from `out`; returns the end.
unsigned char *putUtf8Chars(unsigned char *out, const void *chars, QorLong count, int width);

// Characters in `length` octets of UTF-8; a bad sequence is message 135.
[[nodiscard]] QorLong utf8CharCount(QorGlobal *world, const unsigned char *in, QorLong length);

// Converts `length` octets of UTF-8 into characters of `width` octets at
// `out`, which has room for utf8CharCount of them; returns their count.
// A bad sequence is message 135, a character too wide message 99; with
// `cut`, a character too wide keeps its low bits instead (OER's BMP form).
QorLong decodeUtf8Chars(QorGlobal *world, void *out, const unsigned char *in, QorLong length,
                           int width, bool cut = false);

} // namespace qor

// REAL values as every encoding family sees them: the decimal text record
// with its parser, formatter and ordering; the reading of decimal contents
// with the library's own exponent steps; the special values a double or float
// holds; the split of a double into an odd binary mantissa and exponent, and
// the binary contents made of them.
// Nothing here looks at the process locale: digits, points and signs are
// tested by their codes, and numbers are printed with std::to_chars.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/messages.h"
#include "frame/world.h"

namespace qor {

// A decimal number read from text. The significant digits lie from `first` to
// `last` in the caller's text, with possibly a "." or "," among them; the
// value is d.ddd x 10^exponent, d being the digit at `first`. A zero has no
// significant digit: `first` and `last` are null.
struct DecimalRecord {
    bool negative;
    const char *first;
    const char *last;
    int32_t exponent;
    uint8_t flags;
};

enum DecimalFlag : uint8_t {
    kDecimalExponentGiven = 0x01, // the text had "E" or "e"
    kDecimalPlain = 0x02,         // output without an exponent: "0.00125", "1200"
    kDecimalZero = 0x04,
    kDecimalNegativeZero = 0x08,  // instead of kDecimalZero
    kDecimalCanonical = 0x80,     // output as X.690 wants it: "125.E-5", "1.E+0"
};

inline bool isZero(const DecimalRecord &r)
{
    return (r.flags & (kDecimalZero | kDecimalNegativeZero)) != 0;
}

// Results of parseDecimal; the REAL encoders turn them into messages.
enum DecimalResult : int {
    kDecimalOk = 0,
    kDecimalEmpty = 1,
    kDecimalNoMantissa = 2,       // an exponent, but no digits before it
    kDecimalNoExponentDigits = 3, // "E" and no digits
    kDecimalBadSyntax = 4,
    kDecimalExponentTooLong = 5,  // the exponent needs more than nine digits
};

// The message of a parseDecimal result other than kDecimalOk.
[[nodiscard]] Msg decimalParseMessage(int result);

// The NR form of a decimal text as an encoder sends it: 1 digits alone, 2
// with a point, 3 with an exponent (point or not); 0 for any other text.
[[nodiscard]] int decimalTextForm(const char *text);

// The largest exponent the record holds; beyond it a text is "too long".
constexpr int32_t kMaxDecimalExponent = 999999999;

// Blanks (spaces), a sign, blanks, digits, "." or ",", digits, blanks, then
// "E" or "e" with a sign and digits, blanks. Fills `record`; returns a
// DecimalResult.
[[nodiscard]] int parseDecimal(const char *text, DecimalRecord &record);

// Octets, the terminating zero included, that formatDecimal needs for
// `record` with its flags as they stand.
[[nodiscard]] size_t decimalFormatSize(const DecimalRecord &record);

// Writes `record` at `buffer`, zero-terminated, and returns its length. The
// default form is one digit, a point, the further digits (or "0"), "E" and
// the exponent: "1.25E-3", "1.0E0". kDecimalPlain and kDecimalCanonical ask
// for the other forms; a zero is "0" or "-0" in every form.
size_t formatDecimal(const DecimalRecord &record, char *buffer);

// Writes `record` in the canonical form, on `frame` (`frameSize` octets)
// when it fits, else in temporary memory, which the caller gives back
// through `*temp` (null when the frame served).
[[nodiscard]] const char *formatCanonical(QorGlobal *world, DecimalRecord &record, char *frame,
                                          size_t frameSize, void **temp);

enum class DecimalOrder : int { kLess = -1, kEqual = 0, kGreater = 1, kUnordered = 2 };

// Orders two REAL texts by value. "MINUS_INFINITY" lies below every number,
// "PLUS_INFINITY" above, "NOT_A_NUMBER" above everything and equal only to
// itself; "-0" is below "0". A null text, or one that is neither a number
// nor a reserved spelling, is unordered against anything but itself.
[[nodiscard]] DecimalOrder compareDecimal(const char *first, const char *second);

// Special values, named by their content octet. In memory infinities are the
// largest finite values, not-a-number has the sign bit set.
enum class SpecialReal : uint8_t {
    kNone = 0,
    kPlusInfinity = 0x40,
    kMinusInfinity = 0x41,
    kNotANumber = 0x42,
    kMinusZero = 0x43,
};

// `value` points at a double (`size` 8) or a float (`size` 4). A value at or
// beyond the type's largest finite value is an infinity; any NaN is
// not-a-number.
[[nodiscard]] SpecialReal specialValueKind(const void *value, size_t size);

inline SpecialReal specialKind(double v) { return specialValueKind(&v, sizeof v); }
inline SpecialReal specialKind(float v) { return specialValueKind(&v, sizeof v); }

// Stores the value of special content octet `octet` (0x40 to 0x43) into the
// double or float at `out`; false, and nothing stored, for any other octet.
[[nodiscard]] bool storeSpecialReal(unsigned char octet, void *out, size_t size);

// The reserved text of a special content octet, or null.
const char *specialRealText(unsigned char octet);

// The range a decoded REAL must fit, and the thresholds of the exponent steps.
struct RealLimits {
    double largest; // beyond it: message 128
    double tenUp;   // multiply by 1e10 while below
    double oneUp;   // then by 10 while below
    double tenDown; // divide by 1e10 while above
    double oneDown; // then by 10 while above
    size_t size;    // of the memory form: 8 or 4
};
extern const RealLimits kDoubleLimits;
extern const RealLimits kFloatLimits;

// What decimal REAL contents (the text after the form octet) hold.
struct DecimalContents {
    bool negative;
    bool point;    // "." or ","
    bool exponent; // "E" or "e"
    bool zero;     // no significant digit
    uint64_t digits; // the first 19 significant digits
    int64_t scale;   // the value is digits x 10^scale; kept within +-2^40
};

// Reads blanks, a sign, digits, "." or ",", digits, "E" or "e", a sign and
// digits from exactly `length` octets. Another character is message
// `rubbish` (106 for contents, 83 where an encoder checks a text), no digit
// in the mantissa 107, an exponent marker without digits 108.
void scanDecimalContents(QorGlobal *world, const unsigned char *text, QorLong length,
                            DecimalContents &contents, Msg rubbish = Msg::kMisencoded);

// Decimal REAL contents, `length` octets from the form octet (0 to 3, else
// message 113) on: their syntax, their form against what the text holds
// (messages 109 to 111), and a zero value (112). With `limits`, the value
// is worked out within them and returned, signed; without, 0 (the text
// forms keep the characters, which may lie beyond any double).
double decimalRealContents(QorGlobal *world, const unsigned char *contents, QorLong length,
                           const RealLimits *limits);

// The magnitude of `contents`, the exponent applied in steps of ten and then
// of one within `limits`. A value that runs out of range downwards becomes
// 0.0; upwards it is message 128, or with `saturate` the largest value
// (OER's decimal REAL, which never fails on range). The sign is the caller's.
[[nodiscard]] double decimalContentsValue(QorGlobal *world, const DecimalContents &contents,
                               const RealLimits &limits, bool saturate = false);

// A finite non-zero double as mantissa x 2^exponent, the mantissa odd.
struct BinaryReal {
    bool negative;
    int32_t exponent;
    uint64_t mantissa;
};

// False for zero, infinities and NaN.
[[nodiscard]] bool splitReal(double value, BinaryReal &parts);

// The contents of a finite non-zero binary REAL at `out`: the first octet
// (base 2, scale 0), the exponent in the fewest octets, with a count octet
// when it needs more than three, and the mantissa. Returns their count.
constexpr size_t kBinaryRealSize = 16;
size_t binaryRealContents(const BinaryReal &parts, unsigned char *out);

// Room for formatShortest's text.
constexpr size_t kShortestRealSize = 40;

// A finite double in the default decimal form, with the fewest digits that
// read back to the same double: 0.1 is "1.0E-1", 1e300 "1.0E300".
size_t formatShortest(double value, char *buffer);

// Room for formatGeneral's text.
constexpr size_t kGeneralRealSize = 24;

// A finite double as "%lg" prints it in the C locale, six significant
// digits: 0.1 is "0.1", 1e10 "1e+10", 1/3 "0.333333".
size_t formatGeneral(double value, char *buffer);

// A decoded REAL's contents, as far as a memory form needs them.
struct RealItem {
    enum Kind : int { kEmpty, kBinary, kSpecial, kDecimal } kind;
    double value;              // kBinary; kDecimal when its value was asked for
    unsigned char octet;       // kSpecial: 0x40 to 0x43
    const unsigned char *text; // kDecimal: the characters after the form octet
    QorLong textLength;
    void *temp;                // contents copied to temporary memory, if they were
};

// A zero-terminated copy of `length` octets in decoder memory.
char *decoderText(QorGlobal *world, const void *data, size_t length);

// The text form of a decoded REAL in decoder memory: "0" when empty, a
// special value's name, decimal characters as they came; a binary value as
// "%lg" prints it when `general`, else its shortest exact form.
char *realItemText(QorGlobal *world, const RealItem &item, bool general);

} // namespace qor

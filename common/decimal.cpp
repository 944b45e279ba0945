// REAL values shared by every encoding family: decimal text, the decoders'
// reading of decimal contents, special values, and the binary split.
#include "common/decimal.h"

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>

#include "common/digits.h"
#include "frame/errors.h"

namespace qor {

namespace {

// Blanks and points by their codes, never through the locale.
inline bool isBlank(int c) { return c == ' '; }
inline bool isPoint(int c) { return c == '.' || c == ','; }

const char *skipBlanks(const char *p)
{
    while (isBlank(*p))
        p++;
    return p;
}

// Significant digits from `first` to `last`, a point among them not counted.
size_t digitCount(const DecimalRecord &r)
{
    if (r.first == nullptr)
        return 0;
    size_t n = 0;
    for (const char *p = r.first; p <= r.last; p++)
        n += isDigit(*p) ? 1 : 0;
    return n;
}

char *putDigits(char *out, const DecimalRecord &r, size_t skip, size_t take)
{
    for (const char *p = r.first; take > 0 && p <= r.last; p++) {
        if (!isDigit(*p))
            continue;
        if (skip > 0) {
            skip--;
            continue;
        }
        *out++ = *p;
        take--;
    }
    return out;
}

char *putRepeated(char *out, char c, int64_t n)
{
    for (; n > 0; n--)
        *out++ = c;
    return out;
}

// An exponent as "E" with "-" and the magnitude; "+0" for zero when asked.
char *putExponent(char *out, int64_t e, bool plusZero)
{
    *out++ = 'E';
    if (e < 0)
        *out++ = '-';
    else if (e == 0 && plusZero)
        *out++ = '+';
    uint64_t magnitude = e < 0 ? 0 - static_cast<uint64_t>(e) : static_cast<uint64_t>(e);
    return std::to_chars(out, out + 24, magnitude).ptr;
}

// The special spellings, in order of their content octets 0x40 to 0x43.
constexpr const char *kSpecialTexts[] = {"PLUS_INFINITY", "MINUS_INFINITY", "NOT_A_NUMBER", "-0"};

// Where a reserved spelling stands among all values: numbers are 0.
int specialRank(const char *text)
{
    if (strcmp(text, "MINUS_INFINITY") == 0)
        return -1;
    if (strcmp(text, "PLUS_INFINITY") == 0)
        return 1;
    if (strcmp(text, "NOT_A_NUMBER") == 0)
        return 2;
    return 0;
}

DecimalOrder inverted(DecimalOrder o)
{
    return o == DecimalOrder::kLess      ? DecimalOrder::kGreater
           : o == DecimalOrder::kGreater ? DecimalOrder::kLess
                                         : o;
}

// Magnitudes of two non-zero numbers: exponent first, then digit by digit;
// the digits that run out first belong to the smaller one.
DecimalOrder compareMagnitude(const DecimalRecord &a, const DecimalRecord &b)
{
    if (a.exponent != b.exponent)
        return a.exponent < b.exponent ? DecimalOrder::kLess : DecimalOrder::kGreater;
    const char *p = a.first;
    const char *q = b.first;
    for (;;) {
        while (p <= a.last && !isDigit(*p))
            p++;
        while (q <= b.last && !isDigit(*q))
            q++;
        bool moreA = p <= a.last;
        bool moreB = q <= b.last;
        if (!moreA || !moreB) {
            if (moreA == moreB)
                return DecimalOrder::kEqual;
            return moreA ? DecimalOrder::kGreater : DecimalOrder::kLess;
        }
        if (*p != *q)
            return *p < *q ? DecimalOrder::kLess : DecimalOrder::kGreater;
        p++;
        q++;
    }
}

constexpr int kKeptDigits = 19; // the most that a uint64_t holds whatever they are
constexpr int64_t kScaleLimit = int64_t{1} << 40;

int64_t clampScale(int64_t v)
{
    return v > kScaleLimit ? kScaleLimit : v < -kScaleLimit ? -kScaleLimit : v;
}

} // namespace

int parseDecimal(const char *text, DecimalRecord &r)
{
    r = DecimalRecord{};
    if (text == nullptr)
        return kDecimalEmpty;
    const char *p = skipBlanks(text);
    if (*p == '\0')
        return kDecimalEmpty;
    if (*p == '+' || *p == '-') {
        r.negative = *p == '-';
        p = skipBlanks(p + 1);
    }

    // The integer part: leading zeros go; the rest are significant.
    bool anyDigit = false;
    int64_t significant = 0;
    for (; isDigit(*p); p++) {
        anyDigit = true;
        if (r.first == nullptr && *p == '0')
            continue;
        if (r.first == nullptr)
            r.first = p;
        r.last = p;
        significant++;
    }
    int64_t exponent = r.first != nullptr ? significant - 1 : -1;

    // The fraction: zeros before the first significant digit lower the exponent.
    if (isPoint(*p)) {
        for (p++; isDigit(*p); p++) {
            anyDigit = true;
            if (r.first == nullptr) {
                if (*p == '0') {
                    if (exponent > -kScaleLimit)
                        exponent--;
                    continue;
                }
                r.first = p;
            }
            r.last = p;
        }
    }

    // Trailing zeros go, and a point passed on the way back with them.
    if (r.first != nullptr) {
        while (r.last > r.first && (*r.last == '0' || isPoint(*r.last)))
            r.last--;
    }

    p = skipBlanks(p);
    if (*p == 'E' || *p == 'e') {
        r.flags |= kDecimalExponentGiven;
        p++;
        bool minus = *p == '-';
        if (*p == '+' || *p == '-')
            p++;
        if (!isDigit(*p))
            return kDecimalNoExponentDigits;
        while (*p == '0')
            p++;
        int64_t given = 0;
        for (int n = 0; isDigit(*p); p++) {
            if (++n > 9)
                return kDecimalExponentTooLong;
            given = given * 10 + (*p - '0');
        }
        exponent += minus ? -given : given;
        p = skipBlanks(p);
    }
    if (*p != '\0')
        return kDecimalBadSyntax;
    if (!anyDigit)
        return (r.flags & kDecimalExponentGiven) != 0 ? kDecimalNoMantissa : kDecimalBadSyntax;

    if (r.first == nullptr) {
        r.flags |= r.negative ? kDecimalNegativeZero : kDecimalZero;
        r.exponent = 0;
        return kDecimalOk;
    }
    if (exponent > kMaxDecimalExponent || exponent < -kMaxDecimalExponent)
        return kDecimalExponentTooLong;
    r.exponent = static_cast<int32_t>(exponent);
    return kDecimalOk;
}

Msg decimalParseMessage(int result)
{
    switch (result) {
    case kDecimalNoMantissa:
        return Msg::kNoMantissaDigits;
    case kDecimalNoExponentDigits:
        return Msg::kNoExponentDigits;
    case kDecimalExponentTooLong:
        return Msg::kExponentTooLong;
    default:
        return Msg::kInvalidDecimal;
    }
}

int decimalTextForm(const char *text)
{
    const char *p = skipBlanks(text);
    if (*p == '+' || *p == '-')
        p++;
    int mantissaDigits = 0;
    for (; isDigit(*p); p++)
        mantissaDigits++;
    const bool point = isPoint(*p);
    if (point)
        for (p++; isDigit(*p); p++)
            mantissaDigits++;
    const bool exponent = *p == 'E' || *p == 'e';
    if (exponent) {
        p++;
        if (*p == '+' || *p == '-')
            p++;
        if (!isDigit(*p))
            return 0;
        while (isDigit(*p))
            p++;
    }
    if (*p != '\0' || mantissaDigits == 0)
        return 0;
    return exponent ? 3 : point ? 2 : 1;
}

size_t decimalFormatSize(const DecimalRecord &r)
{
    // Sign, digits, point, a "0" after it, "E", the exponent's sign and up to
    // 20 digits, the terminating zero; the plain form adds its zeros.
    size_t size = digitCount(r) + 26;
    if ((r.flags & kDecimalPlain) != 0 && !isZero(r))
        size += static_cast<size_t>(r.exponent < 0 ? -static_cast<int64_t>(r.exponent)
                                                   : static_cast<int64_t>(r.exponent)) + 2;
    return size;
}

size_t formatDecimal(const DecimalRecord &r, char *buffer)
{
    char *out = buffer;
    if (isZero(r) || r.first == nullptr) {
        if ((r.flags & kDecimalNegativeZero) != 0)
            *out++ = '-';
        *out++ = '0';
        *out = '\0';
        return static_cast<size_t>(out - buffer);
    }
    if (r.negative)
        *out++ = '-';
    const auto n = static_cast<int64_t>(digitCount(r));
    const int64_t e = r.exponent;
    if ((r.flags & kDecimalPlain) != 0) {
        if (e < 0) {
            *out++ = '0';
            *out++ = '.';
            out = putRepeated(out, '0', -e - 1);
            out = putDigits(out, r, 0, static_cast<size_t>(n));
        } else if (e + 1 >= n) {
            out = putDigits(out, r, 0, static_cast<size_t>(n));
            out = putRepeated(out, '0', e + 1 - n);
        } else {
            out = putDigits(out, r, 0, static_cast<size_t>(e + 1));
            *out++ = '.';
            out = putDigits(out, r, static_cast<size_t>(e + 1), static_cast<size_t>(n - e - 1));
        }
    } else if ((r.flags & kDecimalCanonical) != 0) {
        // The mantissa as an integer: its exponent is that of the last digit.
        out = putDigits(out, r, 0, static_cast<size_t>(n));
        *out++ = '.';
        out = putExponent(out, e - (n - 1), true);
    } else {
        out = putDigits(out, r, 0, 1);
        *out++ = '.';
        if (n > 1)
            out = putDigits(out, r, 1, static_cast<size_t>(n - 1));
        else
            *out++ = '0';
        out = putExponent(out, e, false);
    }
    *out = '\0';
    return static_cast<size_t>(out - buffer);
}

const char *formatCanonical(QorGlobal *world, DecimalRecord &r, char *frame, size_t frameSize,
                            void **temp)
{
    r.flags = static_cast<uint8_t>((r.flags & ~kDecimalPlain) | kDecimalCanonical);
    const size_t size = decimalFormatSize(r);
    char *buffer = frame;
    *temp = nullptr;
    if (size > frameSize) {
        *temp = _qor_dec_gettempmem(world, static_cast<QorLong>(size));
        buffer = static_cast<char *>(*temp);
    }
    formatDecimal(r, buffer);
    return buffer;
}

DecimalOrder compareDecimal(const char *first, const char *second)
{
    if (first == second)
        return DecimalOrder::kEqual;
    if (first == nullptr || second == nullptr)
        return DecimalOrder::kUnordered;
    if (strcmp(first, second) == 0)
        return DecimalOrder::kEqual;
    DecimalRecord a;
    DecimalRecord b;
    bool numberA = parseDecimal(first, a) == kDecimalOk;
    bool numberB = parseDecimal(second, b) == kDecimalOk;
    if (!numberA || !numberB) {
        int rankA = numberA ? 0 : specialRank(first);
        int rankB = numberB ? 0 : specialRank(second);
        if ((!numberA && rankA == 0) || (!numberB && rankB == 0))
            return DecimalOrder::kUnordered;
        if (rankA == rankB) // two of one spelling were caught as equal text
            return DecimalOrder::kEqual;
        return rankA < rankB ? DecimalOrder::kLess : DecimalOrder::kGreater;
    }
    if (a.negative != b.negative)
        return a.negative ? DecimalOrder::kLess : DecimalOrder::kGreater;
    DecimalOrder magnitude;
    if (isZero(a) && isZero(b))
        magnitude = DecimalOrder::kEqual;
    else if (isZero(a))
        magnitude = DecimalOrder::kLess;
    else if (isZero(b))
        magnitude = DecimalOrder::kGreater;
    else
        magnitude = compareMagnitude(a, b);
    return a.negative ? inverted(magnitude) : magnitude;
}

SpecialReal specialValueKind(const void *value, size_t size)
{
    double v;
    double largest;
    if (size == sizeof(float)) {
        float f;
        memcpy(&f, value, sizeof f);
        v = f;
        largest = FLT_MAX;
    } else {
        memcpy(&v, value, sizeof v);
        largest = DBL_MAX;
    }
    if (std::isnan(v))
        return SpecialReal::kNotANumber;
    if (v == 0 && std::signbit(v))
        return SpecialReal::kMinusZero;
    if (v >= largest)
        return SpecialReal::kPlusInfinity;
    if (v <= -largest)
        return SpecialReal::kMinusInfinity;
    return SpecialReal::kNone;
}

bool storeSpecialReal(unsigned char octet, void *out, size_t size)
{
    if (octet < 0x40 || octet > 0x43)
        return false;
    if (size == sizeof(float)) {
        static const uint32_t bits[] = {0x7F7FFFFF, 0xFF7FFFFF, 0xFFC00000, 0x80000000};
        memcpy(out, &bits[octet - 0x40], sizeof(float));
    } else {
        static const uint64_t bits[] = {0x7FEFFFFFFFFFFFFF, 0xFFEFFFFFFFFFFFFF, 0xFFF8000000000000,
                                        0x8000000000000000};
        memcpy(out, &bits[octet - 0x40], sizeof(double));
    }
    return true;
}

const char *specialRealText(unsigned char octet)
{
    return octet >= 0x40 && octet <= 0x43 ? kSpecialTexts[octet - 0x40] : nullptr;
}

const RealLimits kDoubleLimits = {DBL_MAX,
                                  1.7976931348623157e+298,
                                  1.7976931348623158e+307,
                                  2.2250738585072014e-298,
                                  2.2250738585072014e-307,
                                  sizeof(double)};
const RealLimits kFloatLimits = {FLT_MAX,
                                 3.4028234663852886e+28,
                                 3.4028234663852886e+37,
                                 1.1754943508222875e-28,
                                 1.1754943508222875e-37,
                                 sizeof(float)};

void scanDecimalContents(QorGlobal *world, const unsigned char *text, QorLong length,
                            DecimalContents &c, Msg rubbish)
{
    c = DecimalContents{};
    c.zero = true;
    const unsigned char *p = text;
    const unsigned char *end = text + length;
    while (p < end && isBlank(*p))
        p++;
    if (p < end && (*p == '+' || *p == '-')) {
        c.negative = *p == '-';
        p++;
    }
    // Significant digits: the first 19 make the number; later ones of the
    // integer part scale it, later ones of the fraction are dropped.
    bool anyDigit = false;
    int kept = 0;
    for (; p < end && isDigit(*p); p++) {
        anyDigit = true;
        if (c.zero && *p == '0')
            continue;
        c.zero = false;
        if (kept < kKeptDigits) {
            c.digits = c.digits * 10 + static_cast<uint64_t>(*p - '0');
            kept++;
        } else if (c.scale < kScaleLimit) {
            c.scale++;
        }
    }
    if (p < end && isPoint(*p)) {
        c.point = true;
        for (p++; p < end && isDigit(*p); p++) {
            anyDigit = true;
            if (c.zero && *p == '0') {
                if (c.scale > -kScaleLimit)
                    c.scale--;
                continue;
            }
            c.zero = false;
            if (kept < kKeptDigits) {
                c.digits = c.digits * 10 + static_cast<uint64_t>(*p - '0');
                kept++;
                c.scale--;
            }
        }
    }
    bool exponentDigits = false;
    if (p < end && (*p == 'E' || *p == 'e')) {
        c.exponent = true;
        p++;
        bool minus = p < end && *p == '-';
        if (p < end && (*p == '+' || *p == '-'))
            p++;
        int64_t given = 0;
        for (; p < end && isDigit(*p); p++) {
            exponentDigits = true;
            if (given < kScaleLimit)
                given = given * 10 + (*p - '0');
        }
        c.scale = clampScale(c.scale + (minus ? -given : given));
    }
    raiseIf(world, p != end, rubbish, 0);
    raiseIf(world, !anyDigit, Msg::kNoMantissaDigits, 0);
    raiseIf(world, c.exponent && !exponentDigits, Msg::kNoExponentDigits, 0);
}

double decimalRealContents(QorGlobal *world, const unsigned char *contents, QorLong length,
                           const RealLimits *limits)
{
    const unsigned char form = contents[0];
    raiseIf(world, form > 3, Msg::kReservedReal, 0);
    DecimalContents d;
    scanDecimalContents(world, contents + 1, length - 1, d);
    double v = 0;
    if (limits != nullptr) {
        v = decimalContentsValue(world, d, *limits);
        if (d.negative)
            v = -v;
    }
    // NR1 is digits only, NR2 a point and no exponent, NR3 both; relaxed
    // rules let an NR3 without its point pass. A form octet of 0 says nothing.
    raiseIf(world, form == 1 && (d.point || d.exponent), Msg::kBadNr1, 0);
    raiseIf(world, form == 2 && (!d.point || d.exponent), Msg::kBadNr2, 0);
    raiseIf(world, form == 3 && (!d.exponent || (!d.point && !relaxed(world))), Msg::kBadNr3, 0);
    raiseIf(world, d.zero || (limits != nullptr && v == 0), Msg::kZeroWithContents, 0);
    return v;
}

double decimalContentsValue(QorGlobal *world, const DecimalContents &c, const RealLimits &lim,
                            bool saturate)
{
    if (c.zero || c.digits == 0)
        return 0.0;
    auto v = static_cast<double>(c.digits);
    int64_t e = c.scale;
    if (e < 0) {
        for (; e <= -10 && v > lim.tenDown; e += 10)
            v /= 1e10;
        if (e <= -10)
            return 0.0;
        for (; e < 0 && v > lim.oneDown; e++)
            v /= 10;
        if (e < 0)
            return 0.0;
    } else {
        for (; e >= 10 && v < lim.tenUp; e -= 10)
            v *= 1e10;
        for (; e > 0 && v < lim.oneUp; e--)
            v *= 10;
        if (e > 0 && saturate)
            return lim.largest;
        raiseIf(world, e > 0, Msg::kRealTooLarge, 0);
    }
    // The last step by ten may round past the largest value.
    if (!(v <= lim.largest) && saturate)
        return lim.largest;
    raiseIf(world, !(v <= lim.largest), Msg::kRealTooLarge, 0);
    return v;
}

bool splitReal(double value, BinaryReal &parts)
{
    if (!std::isfinite(value) || value == 0)
        return false;
    int exponent;
    double fraction = std::frexp(std::fabs(value), &exponent);
    if (fraction >= 1.0) { // frexp keeps below 1; a mantissa of 1 moves up
        fraction /= 2;
        exponent++;
    }
    // 64 bits of mantissa, less the low zero octets, then the low zero bits.
    auto mantissa = static_cast<uint64_t>(std::ldexp(fraction, 64));
    exponent -= 64;
    while ((mantissa & 0xff) == 0) {
        mantissa >>= 8;
        exponent += 8;
    }
    while ((mantissa & 1) == 0) {
        mantissa >>= 1;
        exponent++;
    }
    parts.negative = std::signbit(value);
    parts.exponent = exponent;
    parts.mantissa = mantissa;
    return true;
}

size_t binaryRealContents(const BinaryReal &parts, unsigned char *out)
{
    int exponentOctets = 1;
    for (int32_t rest = parts.exponent < 0 ? ~parts.exponent : parts.exponent; rest > 127;
         rest >>= 8)
        exponentOctets++;
    int mantissaOctets = 1;
    for (uint64_t rest = parts.mantissa >> 8; rest != 0; rest >>= 8)
        mantissaOctets++;
    unsigned char *p = out;
    const unsigned char first = parts.negative ? 0xC0 : 0x80;
    if (exponentOctets <= 3) {
        *p++ = static_cast<unsigned char>(first | (exponentOctets - 1));
    } else {
        *p++ = static_cast<unsigned char>(first | 3);
        *p++ = static_cast<unsigned char>(exponentOctets);
    }
    const auto exponent = static_cast<uint32_t>(parts.exponent);
    for (int i = exponentOctets - 1; i >= 0; i--)
        *p++ = static_cast<unsigned char>(exponent >> (8 * i));
    for (int i = mantissaOctets - 1; i >= 0; i--)
        *p++ = static_cast<unsigned char>(parts.mantissa >> (8 * i));
    return static_cast<size_t>(p - out);
}

size_t formatShortest(double value, char *buffer)
{
    // std::to_chars gives the shortest digits that read back the same, in
    // "d.ddde+xx" form and in no locale; the record then prints them.
    char digits[kShortestRealSize];
    auto r =
        std::to_chars(digits, digits + sizeof digits - 1, value, std::chars_format::scientific);
    *r.ptr = '\0';
    DecimalRecord record;
    if (parseDecimal(digits, record) != kDecimalOk) { // NaN and infinities
        buffer[0] = '\0';
        return 0;
    }
    return formatDecimal(record, buffer);
}

size_t formatGeneral(double value, char *buffer)
{
    // std::to_chars with a precision is printf's "%.*g" in the C locale.
    auto r = std::to_chars(buffer, buffer + kGeneralRealSize - 1, value,
                           std::chars_format::general, 6);
    *r.ptr = '\0';
    return static_cast<size_t>(r.ptr - buffer);
}

char *decoderText(QorGlobal *world, const void *data, size_t length)
{
    auto *text = static_cast<char *>(_qor_dec_getfixmem(world, static_cast<QorLong>(length + 1)));
    memcpy(text, data, length);
    text[length] = '\0';
    return text;
}

char *realItemText(QorGlobal *world, const RealItem &item, bool general)
{
    switch (item.kind) {
    case RealItem::kEmpty:
        return decoderText(world, "0", 1);
    case RealItem::kSpecial: {
        const char *spelling = specialRealText(item.octet);
        return decoderText(world, spelling, strlen(spelling));
    }
    case RealItem::kDecimal:
        return decoderText(world, item.text, static_cast<size_t>(item.textLength));
    case RealItem::kBinary:
    default: {
        char text[kShortestRealSize > kGeneralRealSize ? kShortestRealSize : kGeneralRealSize];
        const size_t n = general ? formatGeneral(item.value, text) : formatShortest(item.value, text);
        return decoderText(world, text, n);
    }
    }
}

} // namespace qor

// REAL values as the printer shows them: a double as a binary mantissa and
// exponent, and the character form of a REAL normalised to digits and a
// decimal exponent. Nothing here looks at the process locale.
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "common/decimal.h"
#include "value/text_out.h"

namespace qor {

namespace {

// The printed line of a character REAL, of which the mantissa may take all
// but the room that the exponent and the marks of a cut need.
constexpr size_t kRealLine = 80;
constexpr size_t kExponentRoom = 27;
constexpr size_t kLongExponentText = 8;
constexpr size_t kLongExponentRead = 4;
// A display string reads at most this many digits.
constexpr size_t kDisplayDigits = 80;

bool isDigit(char c)
{
    return (_qorCharFlags[static_cast<unsigned char>(c)] & QOR_CHAR_DIGIT) != 0;
}
bool isBlank(char c)
{
    return (_qorCharFlags[static_cast<unsigned char>(c)] & QOR_CHAR_SPACE) != 0;
}

// Blanks, a sign and at most `limit` digits, as atoi reads them.
int64_t leadingInteger(const char *text, size_t limit)
{
    const char *p = text;
    const char *end = text + limit;
    while (p < end && isBlank(*p))
        p++;
    bool negative = false;
    if (p < end && (*p == '-' || *p == '+'))
        negative = *p++ == '-';
    int64_t value = 0;
    for (; p < end && isDigit(*p); p++)
        value = value * 10 + (*p - '0');
    return negative ? -value : value;
}

bool named(const char *text, const char *name)
{
    return strcmp(text, name) == 0;
}

const char *specialText(const char *text)
{
    if (named(text, "PLUS_INFINITY"))
        return "PLUS-INFINITY";
    if (named(text, "MINUS_INFINITY"))
        return "MINUS-INFINITY";
    if (named(text, "NOT_A_NUMBER"))
        return "NOT-A-NUMBER";
    if (named(text, "0") || named(text, "-0"))
        return text;
    return nullptr;
}

// "%.0f" has no decimal point to take from the locale.
void putWhole(TextOut &out, double value)
{
    char digits[400];
    int n = snprintf(digits, sizeof digits, "%.0f", value);
    if (n > 0)
        out.put(digits, static_cast<size_t>(n) < sizeof digits ? static_cast<size_t>(n)
                                                               : sizeof digits - 1);
}

// White space and "--" comments, which end at "--" or the end of the line.
const char *skipNotation(const char *p)
{
    for (;;) {
        while (isBlank(*p))
            p++;
        if (p[0] != '-' || p[1] != '-')
            return p;
        p += 2;
        while (*p != '\0' && *p != '\n' && !(p[0] == '-' && p[1] == '-'))
            p++;
        if (*p == '-')
            p += 2;
    }
}

} // namespace

void realText(TextOut &out, double value)
{
    SpecialReal kind = specialKind(value);
    if (kind == SpecialReal::kNotANumber) {
        out.put("NOT-A-NUMBER");
        return;
    }
    if (kind == SpecialReal::kMinusZero) {
        out.put("-0");
        return;
    }
    // The bounds are those of a float, deliberately: larger doubles print as
    // infinities, as they always have.
    if (value >= FLT_MAX) {
        out.put("PLUS-INFINITY");
        return;
    }
    if (value <= -FLT_MAX) {
        out.put("MINUS-INFINITY");
        return;
    }
    if (value == 0) {
        out.put('0');
        return;
    }
    // Scaled by powers of two into 31 bits; what lies below is dropped.
    bool negative = value < 0;
    double magnitude = std::fabs(value);
    int exponent = 0;
    while (magnitude < 2147483647.0 && exponent > -32000) {
        magnitude *= 2;
        exponent--;
    }
    while (magnitude > 2147483647.0 && exponent < 32000) {
        magnitude /= 2;
        exponent++;
    }
    uint64_t mantissa = static_cast<uint64_t>(magnitude);
    if (mantissa > 0x7FFFFFFF) {
        mantissa >>= 1;
        exponent++;
    }
    if (mantissa == 0) {
        out.put("NOT-A-NUMBER");
        return;
    }
    while ((mantissa & 1) == 0) {
        mantissa >>= 1;
        exponent++;
    }
    out.put("{ mantissa ");
    out.putSigned(negative ? -static_cast<int64_t>(mantissa) : static_cast<int64_t>(mantissa));
    out.put(", base 2, exponent ");
    out.putSigned(exponent);
    out.put(" }");
}

void crealText(TextOut &out, const char *text)
{
    if (text == nullptr) {
        out.put("NULL");
        return;
    }
    if (const char *special = specialText(text)) {
        out.put(special);
        return;
    }
    // Significant digits with the point taken out, and a decimal exponent
    // that the digits after the point lower: "1.50" is 15E-1.
    const char *p = text;
    while (isBlank(*p))
        p++;
    char line[kRealLine];
    size_t used = 0;
    if (*p == '-' || *p == '+') {
        if (*p == '-')
            line[used++] = '-';
        p++;
    }
    const char *mantissaEnd = p;
    while (*mantissaEnd != '\0' && *mantissaEnd != 'E' && *mantissaEnd != 'e')
        mantissaEnd++;
    const char *whole = p;
    while (p < mantissaEnd && isDigit(*p))
        p++;
    const char *wholeEnd = p;
    const char *fraction = p;
    const char *fractionEnd = p;
    if (p < mantissaEnd && (*p == '.' || *p == ',')) {
        fraction = ++p;
        while (p < mantissaEnd && isDigit(*p))
            p++;
        fractionEnd = p;
        while (fractionEnd > fraction && fractionEnd[-1] == '0')
            fractionEnd--;
    }
    size_t fractionKept = static_cast<size_t>(fractionEnd - fraction);

    // Leading zeros go, those after the point included; a mantissa of zeros
    // alone is 0. The digits beyond the room of the line are cut.
    size_t mantissaRoom = kRealLine - kExponentRoom;
    bool cut = false;
    bool leading = true;
    size_t digits = 0;
    auto take = [&](const char *from, const char *to) {
        for (const char *d = from; d < to && !cut; d++) {
            if (leading && *d == '0')
                continue;
            leading = false;
            if (used == mantissaRoom) {
                cut = true;
                break;
            }
            line[used++] = *d;
            digits++;
        }
    };
    take(whole, wholeEnd);
    take(fraction, fractionEnd);
    if (digits == 0)
        line[used++] = '0';
    if (cut)
        memcpy(line + mantissaRoom - 3, "...", 3);
    out.put(line, used);

    int64_t exponent = 0;
    const char *mark = "";
    if (*mantissaEnd != '\0') {
        const char *exponentText = mantissaEnd + 1;
        if (strlen(exponentText) >= kLongExponentText) {
            exponent = leadingInteger(exponentText, kLongExponentRead);
            mark = "...";
        } else {
            exponent = leadingInteger(exponentText, strlen(exponentText)) -
                       static_cast<int64_t>(fractionKept);
        }
    } else {
        exponent = -static_cast<int64_t>(fractionKept);
    }
    out.put('E');
    out.putSigned(exponent);
    out.put(mark);
}

void crealDisplayText(TextOut &out, const char *text, bool valueNotation)
{
    if (text == nullptr) {
        out.put("NULL");
        return;
    }
    if (named(text, "PLUS_INFINITY")) {
        out.put("PLUS-INFINITY");
        return;
    }
    if (named(text, "MINUS_INFINITY")) {
        out.put("MINUS-INFINITY");
        return;
    }
    if (named(text, "0")) {
        out.put('0');
        return;
    }
    const char *p = text;
    if (*p == '{')
        p = skipNotation(p + 1);
    else
        while (isBlank(*p))
            p++;
    // A sign, digits, a point and digits, then "E" or "e" with a sign and
    // digits; nothing else is read.
    bool negative = false;
    if (*p == '-' || *p == '+')
        negative = *p++ == '-';
    char mantissa[kDisplayDigits + 1];
    size_t mantissaDigits = 0;
    size_t fractionDigits = 0;
    size_t kept = 0;
    size_t keptFraction = 0;
    bool point = false;
    for (;; p++) {
        if (isDigit(*p)) {
            mantissaDigits++;
            if (point)
                fractionDigits++;
            if (mantissaDigits >= kDisplayDigits)
                break;
            mantissa[kept++] = *p;
            // Trailing zeros after the point carry nothing.
            if (point && *p != '0')
                keptFraction = fractionDigits;
        } else if (*p == '.' && !point) {
            point = true;
        } else {
            break;
        }
    }
    if (mantissaDigits == 0)
        return;
    if (mantissaDigits >= kDisplayDigits) {
        out.put("<IMPLEMENTATION LIMIT EXCEEDED>");
        return;
    }
    kept -= fractionDigits - keptFraction;
    char exponentText[kDisplayDigits + 2];
    size_t exponentLength = 0;
    size_t exponentDigits = 0;
    if (*p == 'E' || *p == 'e') {
        p++;
        if (*p == '-' || *p == '+')
            exponentText[exponentLength++] = *p++;
        for (; isDigit(*p); p++) {
            if (mantissaDigits + ++exponentDigits >= kDisplayDigits) {
                out.put("<IMPLEMENTATION LIMIT EXCEEDED>");
                return;
            }
            exponentText[exponentLength++] = *p;
        }
    }
    double value = 0;
    std::from_chars(mantissa, mantissa + kept, value);
    double exponent = 0;
    // from_chars takes no "+".
    const char *e = exponentText;
    if (exponentLength > 0 && *e == '+')
        e++;
    if (exponentDigits > 0)
        std::from_chars(e, exponentText + exponentLength, exponent);
    exponent -= static_cast<double>(keptFraction);
    if (negative)
        value = -value;
    if (valueNotation) {
        out.put("{mantissa ");
        putWhole(out, value);
        out.put(", base 10, exponent ");
        putWhole(out, exponent);
        out.put('}');
    } else {
        putWhole(out, value);
        out.put('E');
        putWhole(out, exponent);
    }
}

} // namespace qor

using namespace qor;

extern "C" {

void _qor_prt_real(QorGlobal *world, double value)
{
    TextOut out = TextOut::toRoute(world);
    realText(out, value);
    out.finish();
}

void _qor_prt_creal(QorGlobal *world, const char *text)
{
    TextOut out = TextOut::toRoute(world);
    crealText(out, text);
    out.finish();
}

} // extern "C"

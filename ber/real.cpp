// BER REAL: binary, decimal and special contents, for the three memory forms
// of a REAL (a double or float, a text, a mixed record).
#include <cmath>
#include <cstring>

#include "ber/item.h"
#include "common/decimal.h"

using namespace qor;

namespace {

// compatFlags: DER decimal texts go out as given, not canonicalised.
constexpr QorULong kDecimalAsGiven = 0x400;

// Canonical texts up to this size are built on the frame.
constexpr size_t kFrameText = 64;

QorLong writeOctet(QorGlobal *world, unsigned char **pos, QorLong *room, unsigned char octet)
{
    return writeBytes(world, pos, room, &octet, 1);
}

// Whether the digits before the exponent are all zeros: such a text is zero
// whatever exponent follows, even one too long to parse.
bool mantissaIsZero(const char *text)
{
    const char *p = text;
    bool digits = false;
    for (; *p != '\0' && *p != 'E' && *p != 'e'; p++) {
        if (*p >= '1' && *p <= '9')
            return false;
        digits |= *p == '0';
    }
    return digits;
}

// Binary contents: the first octet, the exponent, the mantissa. Base 8 and 16
// shift the exponent left by 3 and 4 places, that is by the base's own value
// and not by its logarithm; kept so on purpose, as the library has always
// read these forms.
double binaryValue(QorGlobal *world, const unsigned char *contents, QorLong length,
                   const RealLimits &limits)
{
    const unsigned char c = contents[0];
    QorLong at = 1;
    QorLong count = (c & 3) + 1;
    if ((c & 3) == 3) {
        raiseIf(world, length < 2, Msg::kExponentTooLong, 0);
        count = contents[1];
        at = 2;
    }
    raiseIf(world, count > 4 || count > length - at, Msg::kExponentTooLong, count);
    // The exponent is read within its own octets, whatever the room says.
    auto *p = const_cast<unsigned char *>(contents + at);
    QorLong left = count;
    const QorLong given = _qor_dec_iint(world, &p, &left, count);
    int64_t exponent = given;
    at += count;
    switch ((c >> 4) & 3) {
    case 1:
        exponent *= 8;
        break;
    case 2:
        exponent *= 16;
        break;
    case 3:
        raise(world, Msg::kReservedReal, longValue(0));
    default:
        break;
    }
    if (exponent > INT32_MAX || exponent < INT32_MIN)
        raise(world, Msg::kExponentTooLong, longValue(given)); // the shift would lose bits
    exponent += (c >> 2) & 3;
    double mantissa = 0;
    for (; at < length; at++)
        mantissa = mantissa * 256 + contents[at];
    raiseIf(world, exponent > 1024, Msg::kRealTooLarge, 0);
    double v = std::ldexp(mantissa, static_cast<int>(exponent));
    if (!(v <= limits.largest)) // a long mantissa may pass the range on its own
        raise(world, Msg::kRealTooLarge, longValue(0));
    if ((c & 0x40) != 0)
        v = -v;
    raiseIf(world, v == 0, Msg::kZeroWithContents, 0);
    return v;
}

// Reads `length` octets of REAL contents and moves past them. The value of
// decimal contents is worked out only when `decimalValue` asks for it: the
// text forms keep the characters, which may lie beyond any double.
RealItem takeReal(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                  const RealLimits &limits, bool decimalValue)
{
    RealItem item{};
    raiseIf(world, length < 0, Msg::kIndefinitePrimitive, 0);
    needInput(world, room, length);
    if (length == 0) {
        item.kind = RealItem::kEmpty;
        return item;
    }
    const unsigned char *contents = *pos;
    const unsigned char c = contents[0];
    if ((c & 0x80) != 0) {
        item.kind = RealItem::kBinary;
        item.value = binaryValue(world, contents, length, limits);
    } else if ((c & 0x40) != 0) {
        raiseIf(world, length != 1 || c > 0x43, Msg::kReservedReal, 0);
        item.kind = RealItem::kSpecial;
        item.octet = c;
    } else {
        item.kind = RealItem::kDecimal;
        item.value = decimalRealContents(world, contents, length, decimalValue ? &limits : nullptr);
        item.text = contents + 1;
        item.textLength = length - 1;
    }
    *pos += length;
    *room -= length;
    return item;
}


} // namespace

extern "C" {

QorLong _qor_encd_real(QorGlobal *world, unsigned char **pos, QorLong *room, double value)
{
    SpecialReal special = specialKind(value);
    if (special != SpecialReal::kNone)
        return writeOctet(world, pos, room, static_cast<unsigned char>(special));
    if (value == 0)
        return 0; // zero has no contents
    // Base 2, scale 0, odd mantissa: the DER form, under every rule.
    BinaryReal parts;
    raiseIf(world, !splitReal(value, parts), Msg::kInvalidDecimal, 0);
    unsigned char item[kMaxItem];
    const size_t n = binaryRealContents(parts, item);
    return writeBytes(world, pos, room, item, static_cast<int>(n));
}

QorLong _qor_encd_creal(QorGlobal *world, unsigned char **pos, QorLong *room, const char *text)
{
    raiseIf(world, text == nullptr, Msg::kInvalidDecimal, 0);
    for (unsigned char octet = 0x40; octet <= 0x43; octet++)
        if (strcmp(text, specialRealText(octet)) == 0)
            return writeOctet(world, pos, room, octet);

    // DER: the text goes out in the canonical NR3 form, "125.E-5".
    const bool strict =
        world->encRules == QOR_DER && (world->privateArea->compatFlags & kDecimalAsGiven) == 0;
    DecimalRecord record;
    int parsed = parseDecimal(text, record);
    const char *out = text;
    char frame[kFrameText];
    void *temp = nullptr;
    if (strict) {
        if (parsed != kDecimalOk)
            raise(world, decimalParseMessage(parsed), longValue(0));
        if (isZero(record)) // "0" has no contents, and "-0.0" is minus zero
            return (record.flags & kDecimalNegativeZero) != 0 ? writeOctet(world, pos, room, 0x43)
                                                               : 0;
        out = formatCanonical(world, record, frame, sizeof frame, &temp);
    } else if ((parsed == kDecimalOk && isZero(record)) ||
               (parsed == kDecimalExponentTooLong && mantissaIsZero(text))) {
        return 0; // any spelling of zero but "-0" has no contents, whatever its exponent
    }

    int form = decimalTextForm(out);
    raiseIf(world, form == 0, Msg::kInvalidDecimal, 0);
    const QorLong length = static_cast<QorLong>(strlen(out));
    const char *marker = form == 3 ? strpbrk(out, "Ee") : nullptr;
    QorLong written;
    if (marker != nullptr && strpbrk(out, ".,") == nullptr) {
        // NR3 has a point: "1E5" goes out as "1.E5", which every decoder reads.
        const auto digits = static_cast<QorLong>(marker - out);
        written = _qor_write_bytes_d(world, pos, room, marker, length - digits);
        written += writeOctet(world, pos, room, '.');
        written += _qor_write_bytes_d(world, pos, room, out, digits);
    } else {
        written = _qor_write_bytes_d(world, pos, room, out, length);
    }
    written += writeOctet(world, pos, room, static_cast<unsigned char>(form));
    if (temp != nullptr)
        _qor_dec_freetempmem(world, temp);
    return written;
}

QorLong _qor_encd_mreal_ia(QorGlobal *world, unsigned char **pos, QorLong *room, int kind,
                           const void *record)
{
    // `record` is the whole mixed record, the one the decoder fills; `kind`
    // is its kind, passed apart.
    const auto *mixed = static_cast<const QorMixedReal *>(record);
    switch (kind) {
    case 0:
        return _qor_encd_real(world, pos, room, mixed->value.binary);
    case 1:
        return _qor_encd_creal(world, pos, room, mixed->value.decimal.text);
    default:
        raise(world, Msg::kInvalidMixedKind, longValue(kind));
    }
}

void _qor_dec_real(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                   double *out)
{
    RealItem item = takeReal(world, pos, room, length, kDoubleLimits, true);
    if (item.kind == RealItem::kSpecial) {
        if (!storeSpecialReal(item.octet, out, sizeof *out) && !relaxed(world))
            raise(world, Msg::kRealTooLarge, longValue(0));
        return;
    }
    *out = item.kind == RealItem::kEmpty ? 0.0 : item.value;
}

void _qor_dec_freal(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                    float *out)
{
    RealItem item = takeReal(world, pos, room, length, kFloatLimits, true);
    if (item.kind == RealItem::kSpecial) {
        if (!storeSpecialReal(item.octet, out, sizeof *out) && !relaxed(world))
            raise(world, Msg::kRealTooLarge, longValue(0));
        return;
    }
    if (item.kind == RealItem::kEmpty) {
        *out = 0.0f;
        return;
    }
    // Within the float range already; what rounds away to nothing is a zero
    // with contents, as it would be for a double.
    auto f = static_cast<float>(item.value);
    raiseIf(world, f == 0, Msg::kZeroWithContents, 0);
    *out = f;
}

void _qor_dec_creal(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                    char **out)
{
    RealItem item = takeReal(world, pos, room, length, kDoubleLimits, false);
    *out = realItemText(world, item, false);
}

void _qor_dec_mreal_ia(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                       void *record)
{
    auto *mixed = static_cast<QorMixedReal *>(record);
    RealItem item = takeReal(world, pos, room, length, kDoubleLimits, false);
    if (item.kind == RealItem::kBinary || item.kind == RealItem::kEmpty) {
        mixed->kind = 0;
        mixed->value.binary = item.kind == RealItem::kEmpty ? 0.0 : item.value;
        return;
    }
    // Decimal contents keep their text; the special values their spellings.
    mixed->value.decimal.text = realItemText(world, item, false);
    mixed->kind = 1;
}

} // extern "C"

// PER REAL: the binary, decimal and special contents of BER's DER form
// under a general length, octet-aligned in aligned PER, for the three
// memory forms of a REAL (a double or float, a text, a mixed record). The
// conversions are the shared REAL helpers'; the decoders take binary
// contents only in base 2 and, unless relaxed, only DER-normal.
#include <cfloat>
#include <cmath>
#include <cstring>

#include "common/decimal.h"
#include "per/per.h"

using namespace qor;

namespace {

// compatFlags: decimal texts go out as given, not canonicalised.
constexpr QorULong kDecimalAsGiven = 0x400;

// Texts and contents up to this size are built and read on the frame.
constexpr size_t kFrameText = 64;

void writeSpecial(QorGlobal *world, unsigned char octet)
{
    const unsigned char contents[2] = {1, octet};
    _qor_append(world, contents, 16, 1);
}

void writeZero(QorGlobal *world) { _qor_append_8bit_aligned(world, 0); }

// Binary contents: a first octet of base 2 and scale 0, the exponent (at
// most four octets, in the fewest unless relaxed), and an odd mantissa
// without a leading zero octet unless relaxed, as DER has it.
double binaryValue(QorGlobal *world, const unsigned char *contents, QorLong length,
                   const RealLimits &limits)
{
    const unsigned char c = contents[0];
    raiseIf(world, (c & 0x3C) != 0, Msg::kMisencoded, c);
    QorLong at = 1;
    QorLong count = (c & 3) + 1;
    if ((c & 3) == 3) {
        raiseIf(world, length < 2, Msg::kMisencoded, 0);
        count = contents[1];
        at = 2;
    }
    raiseIf(world, count == 0 || count >= length - at, Msg::kMisencoded, count);
    raiseIf(world, count > 4, Msg::kExponentTooLong, count);
    const unsigned char *e = contents + at;
    raiseIf(world, count > 1 && !relaxed(world) &&
                       ((e[0] == 0 && e[1] < 0x80) || (e[0] == 0xFF && e[1] >= 0x80)),
            Msg::kExponentNeedlesslyLong, 0);
    int64_t exponent = (e[0] & 0x80) != 0 ? -1 : 0;
    for (QorLong i = 0; i < count; i++)
        exponent = exponent * 256 + e[i];
    raiseIf(world, exponent > 1024, Msg::kRealTooLarge, 0);
    at += count;
    raiseIf(world, !relaxed(world) && (contents[at] == 0 || (contents[length - 1] & 1) == 0),
            Msg::kMisencoded, 0);
    double mantissa = 0;
    for (; at < length; at++)
        mantissa = mantissa * 256 + contents[at];
    double v = std::ldexp(mantissa, static_cast<int>(exponent));
    raiseIf(world, !(v <= limits.largest), Msg::kRealTooLarge, 0);
    raiseIf(world, v == 0, Msg::kZeroWithContents, 0);
    return (c & 0x40) != 0 ? -v : v;
}

// Reads a REAL's length and contents. The value of decimal contents is
// worked out only with `limits`: the text forms keep the characters. A
// REAL long enough to be fragmented is none this library would send.
RealItem takeReal(QorGlobal *world, const RealLimits *limits, unsigned char *frame)
{
    RealItem item{};
    unsigned char done;
    const QorULong length = _qor_pdec_length(world, 0, 0, &done);
    raiseIf(world, done == 0, Msg::kMisencoded, static_cast<QorLong>(length));
    if (length == 0) {
        item.kind = RealItem::kEmpty;
        return item;
    }
    const unsigned char *contents = takeOctets(world, length, frame, kFrameText, &item.temp);
    const auto n = static_cast<QorLong>(length);
    const unsigned char c = contents[0];
    if ((c & 0x80) != 0) {
        item.kind = RealItem::kBinary;
        item.value = binaryValue(world, contents, n, limits != nullptr ? *limits : kDoubleLimits);
    } else if ((c & 0x40) != 0) {
        raiseIf(world, n != 1 || c > 0x43, Msg::kReservedReal, 0);
        item.kind = RealItem::kSpecial;
        item.octet = c;
    } else {
        item.kind = RealItem::kDecimal;
        item.value = decimalRealContents(world, contents, n, limits);
        item.text = contents + 1;
        item.textLength = n - 1;
    }
    return item;
}

void release(QorGlobal *world, const RealItem &item)
{
    if (item.temp != nullptr)
        _qor_dec_freetempmem(world, item.temp);
}

void storeSpecial(QorGlobal *world, const RealItem &item, void *out, size_t size)
{
    if (!storeSpecialReal(item.octet, out, size) && !relaxed(world))
        raise(world, Msg::kRealTooLarge, longValue(0));
}

} // namespace

extern "C" {

void _qor_penc_real(QorGlobal *world, double value)
{
    const SpecialReal special = specialKind(value);
    if (special != SpecialReal::kNone) {
        writeSpecial(world, static_cast<unsigned char>(special));
        return;
    }
    if (value == 0) {
        writeZero(world);
        return;
    }
    BinaryReal parts;
    raiseIf(world, !splitReal(value, parts), Msg::kInvalidDecimal, 0);
    unsigned char contents[1 + kBinaryRealSize];
    const size_t n = binaryRealContents(parts, contents + 1);
    contents[0] = static_cast<unsigned char>(n);
    _qor_append(world, contents, static_cast<QorULong>(8 * (n + 1)), 1);
}

// Unless the compatibility flag keeps the text as given, it goes out in the
// canonical NR3 form, "314159.E-5", as DER has it.
void _qor_penc_creal(QorGlobal *world, const char *text)
{
    raiseIf(world, text == nullptr, Msg::kInvalidDecimal, 0);
    for (unsigned char octet = 0x40; octet <= 0x43; octet++) {
        if (strcmp(text, specialRealText(octet)) == 0) {
            writeSpecial(world, octet);
            return;
        }
    }
    const char *out = text;
    char frame[kFrameText];
    void *canonical = nullptr;
    if ((world->privateArea->compatFlags & kDecimalAsGiven) == 0) {
        DecimalRecord record;
        const int parsed = parseDecimal(text, record);
        if (parsed != kDecimalOk)
            raise(world, decimalParseMessage(parsed), longValue(0));
        if (isZero(record)) {
            if ((record.flags & kDecimalNegativeZero) != 0)
                writeSpecial(world, 0x43);
            else
                writeZero(world);
            return;
        }
        out = formatCanonical(world, record, frame, sizeof frame, &canonical);
    } else if (strcmp(text, "0") == 0) {
        writeZero(world);
        return;
    }
    const int form = decimalTextForm(out);
    raiseIf(world, form == 0, Msg::kInvalidDecimal, 0);
    // The form octet and the text make the contents, written as an unbounded
    // octet string is: long texts go in fragments.
    const size_t length = strlen(out);
    raiseIf(world, length >= INT32_MAX, Msg::kLengthTooLong, INT32_MAX);
    unsigned char contentsFrame[kFrameText + 1];
    unsigned char *contents = contentsFrame;
    void *temp = nullptr;
    if (length + 1 > sizeof contentsFrame) {
        temp = _qor_dec_gettempmem(world, static_cast<QorLong>(length + 1));
        contents = static_cast<unsigned char *>(temp);
    }
    contents[0] = static_cast<unsigned char>(form);
    memcpy(contents + 1, out, length);
    _qor_penc_uncon_oct(world, contents, static_cast<QorULong>(length + 1));
    if (temp != nullptr)
        _qor_dec_freetempmem(world, temp);
    if (canonical != nullptr)
        _qor_dec_freetempmem(world, canonical);
}

// `record` is the whole mixed record, the one the decoder fills.
void _qor_penc_mreal_ia(QorGlobal *world, int kind, const void *record)
{
    const auto *mixed = static_cast<const QorMixedReal *>(record);
    switch (kind) {
    case 0:
        _qor_penc_real(world, mixed->value.binary);
        return;
    case 1:
        _qor_penc_creal(world, mixed->value.decimal.text);
        return;
    default:
        raise(world, Msg::kInvalidMixedKind, longValue(kind));
    }
}

double _qor_pdec_real(QorGlobal *world)
{
    unsigned char frame[kFrameText];
    const RealItem item = takeReal(world, &kDoubleLimits, frame);
    double v = item.kind == RealItem::kEmpty ? 0.0 : item.value;
    if (item.kind == RealItem::kSpecial)
        storeSpecial(world, item, &v, sizeof v);
    release(world, item);
    return v;
}

float _qor_pdec_freal(QorGlobal *world)
{
    unsigned char frame[kFrameText];
    const RealItem item = takeReal(world, &kFloatLimits, frame);
    float f = 0.0f;
    if (item.kind == RealItem::kSpecial) {
        storeSpecial(world, item, &f, sizeof f);
    } else if (item.kind != RealItem::kEmpty) {
        // Within the float range already; what rounds away to nothing is a
        // zero with contents, as it would be for a double.
        f = static_cast<float>(item.value);
        raiseIf(world, f == 0, Msg::kZeroWithContents, 0);
    }
    release(world, item);
    return f;
}

char *_qor_pdec_creal(QorGlobal *world)
{
    unsigned char frame[kFrameText];
    const RealItem item = takeReal(world, nullptr, frame);
    char *text = realItemText(world, item, true);
    release(world, item);
    return text;
}

int _qor_pdec_mreal_ia(QorGlobal *world, void *record)
{
    auto *mixed = static_cast<QorMixedReal *>(record);
    unsigned char frame[kFrameText];
    const RealItem item = takeReal(world, nullptr, frame);
    if (item.kind == RealItem::kBinary || item.kind == RealItem::kEmpty) {
        mixed->kind = 0;
        mixed->value.binary = item.value;
    } else {
        // Decimal contents keep their text; the special values their spellings.
        mixed->value.decimal.text = realItemText(world, item, true);
        mixed->kind = 1;
    }
    release(world, item);
    return mixed->kind;
}

} // extern "C"

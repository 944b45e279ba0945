// OER REAL, carried as decimal text behind a length: a double goes out as
// "%lg" prints it in the C locale (six significant digits, so the form is
// lossy by design), the special values as their names with hyphens; a text
// goes out as the caller wrote it, once its syntax is checked. In memory
// the names have underscores. Decoders never fail on range: a value beyond
// it saturates.
#include <cfloat>
#include <cmath>
#include <cstring>

#include "common/decimal.h"
#include "oer/oer.h"

using namespace qor;

namespace {

// A text whose first character is at or above 'M' is a special name.
constexpr unsigned char kFirstNameCode = 'M';

// The names on the wire and in memory, by special content octet 0x40 to 0x42.
struct SpecialName {
    const char *wire;
    unsigned char octet;
};
constexpr SpecialName kNames[] = {
    {"PLUS-INFINITY", 0x40},
    {"MINUS-INFINITY", 0x41},
    {"NOT-A-NUMBER", 0x42},
};

void putText(QorGlobal *world, const void *text, size_t length)
{
    _qor_oenc_octet_length(world, static_cast<QorULong>(length));
    oerPut(world, static_cast<const unsigned char *>(text), length);
}

void putSpecial(QorGlobal *world, unsigned char octet)
{
    const char *wire = kNames[octet - 0x40].wire;
    putText(world, wire, strlen(wire));
}

// The octet of the name that `length` octets at `text` spell exactly, the
// hyphens as `mark`; 0 for none.
unsigned char nameOctet(const char *text, size_t length, char mark)
{
    for (const SpecialName &name : kNames) {
        const size_t n = strlen(name.wire);
        if (n != length)
            continue;
        size_t i = 0;
        while (i < n && text[i] == (name.wire[i] == '-' ? mark : name.wire[i]))
            i++;
        if (i == n)
            return name.octet;
    }
    return 0;
}

// A decoded REAL: a special value's octet, or its decimal text checked.
struct RealText {
    const char *text;
    QorLong length;
    unsigned char special;
    DecimalContents contents;
};

RealText takeReal(QorGlobal *world)
{
    const uint64_t length = _qor_odec_length(world);
    raiseIf(world, length > INT32_MAX, Msg::kMisencoded, 0);
    RealText r{};
    r.text = reinterpret_cast<const char *>(takeContents(world, length));
    r.length = static_cast<QorLong>(length);
    if (length == 0) {
        r.contents.zero = true;
    } else if (static_cast<unsigned char>(r.text[0]) >= kFirstNameCode) {
        r.special = nameOctet(r.text, static_cast<size_t>(length), '-');
        raiseIf(world, r.special == 0, Msg::kMisencoded, 0);
    } else {
        scanDecimalContents(world, reinterpret_cast<const unsigned char *>(r.text), r.length,
                            r.contents);
    }
    return r;
}

template <class Real> Real realValue(QorGlobal *world, const RealLimits &limits)
{
    const RealText r = takeReal(world);
    Real v = 0;
    if (r.special != 0) {
        if (!storeSpecialReal(r.special, &v, sizeof v) && !relaxed(world))
            raise(world, Msg::kRealTooLarge, longValue(0));
        return v;
    }
    v = static_cast<Real>(decimalContentsValue(world, r.contents, limits, true));
    return r.contents.negative ? -v : v;
}

} // namespace

extern "C" {

void _qor_oenc_real(QorGlobal *world, double value)
{
    const SpecialReal special = specialKind(value);
    if (special == SpecialReal::kMinusZero) {
        putText(world, "-0", 2);
    } else if (special != SpecialReal::kNone) {
        putSpecial(world, static_cast<unsigned char>(special));
    } else if (value == 0) {
        _qor_oenc_append_byte(world, 0);
    } else {
        char text[kGeneralRealSize];
        putText(world, text, formatGeneral(value, text));
    }
}

// The names take their hyphens; any other text goes out as it stands,
// spaces included, once its syntax holds.
void _qor_oenc_real_decimal(QorGlobal *world, const char *text)
{
    raiseIf(world, text == nullptr, Msg::kInvalidDecimal, 0);
    const size_t length = strlen(text);
    if (static_cast<unsigned char>(text[0]) >= kFirstNameCode) {
        const unsigned char octet = nameOctet(text, length, '_');
        raiseIf(world, octet == 0, Msg::kInvalidDecimal, 0);
        putSpecial(world, octet);
        return;
    }
    size_t at = 0;
    while (text[at] == ' ')
        at++;
    if (strcmp(text + at, "0") == 0) {
        _qor_oenc_append_byte(world, 0);
        return;
    }
    raiseIf(world, length > INT32_MAX, Msg::kInvalidDecimal, 0);
    DecimalContents contents;
    scanDecimalContents(world, reinterpret_cast<const unsigned char *>(text + at),
                        static_cast<QorLong>(length - at), contents, Msg::kInvalidDecimal);
    putText(world, text, length);
}

double _qor_odec_real_double(QorGlobal *world)
{
    return realValue<double>(world, kDoubleLimits);
}

float _qor_odec_real_float(QorGlobal *world)
{
    return realValue<float>(world, kFloatLimits);
}

// The text as it came, in decoder memory; "0" for no octets, a name with
// underscores.
char *_qor_odec_real_decimal(QorGlobal *world)
{
    const RealText r = takeReal(world);
    if (r.length == 0)
        return decoderText(world, "0", 1);
    if (r.special != 0) {
        const char *name = specialRealText(r.special);
        return decoderText(world, name, strlen(name));
    }
    return decoderText(world, r.text, static_cast<size_t>(r.length));
}

// Every OER REAL is text, so the mixed record always holds its text form.
int _qor_odec_real_mixed(QorGlobal *world, QorMixedReal *value)
{
    value->value.decimal.text = _qor_odec_real_decimal(world);
    value->kind = 1;
    return 1;
}

} // extern "C"

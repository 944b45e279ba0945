// The ASN.1 TIME types in PER: the ISO 8601 text of a value is not sent as
// characters but as small numeric fields, one routine a component, and the
// general TIME as a 6-bit code for its shape followed by the fields of each
// element. Encoders read the text and return the position behind what they
// took; decoders write text (no terminator) and return the position behind
// it. Any text that doesn't fit its field is message 72.
#include <cstdint>
#include <cstring>

#include "per/per.h"
#include "time/iso_time.h"

using namespace qor;

namespace {

// The time-difference memo in the private area: the low two bits its state,
// then the sign, 4 bits of hours and 6 of minutes.
constexpr uint32_t kMemoState = 3, kMemoArmed = 1, kMemoHeld = 2;

[[noreturn]] void badTime(QorGlobal *world, QorLong value = 0) { raise(world, Msg::kBadTime, longValue(value)); }

void need(QorGlobal *world, bool ok)
{
    if (!ok)
        badTime(world);
}

// Exactly `n` digits.
unsigned fixedDigits(QorGlobal *world, const char *&p, int n)
{
    unsigned v = 0;
    for (int i = 0; i < n; i++) {
        need(world, isDigit(p[i]));
        v = v * 10 + static_cast<unsigned>(p[i] - '0');
    }
    p += n;
    return v;
}

// A run of at least `least` digits; past 32 bits is message 147.
uint32_t digitRun(QorGlobal *world, const char *&p, int least, int *count = nullptr)
{
    uint64_t v = 0;
    int n = 0;
    for (; isDigit(p[n]); n++) {
        v = v * 10 + static_cast<unsigned>(p[n] - '0');
        raiseIf(world, v > UINT32_MAX, Msg::kIntegerTooLong, n + 1);
    }
    need(world, n >= least);
    p += n;
    if (count != nullptr)
        *count = n;
    return static_cast<uint32_t>(v);
}

void expect(QorGlobal *world, const char *&p, char c)
{
    need(world, *p == c);
    p++;
}

// Decimal digits of `v`, at least `least` of them (zeros in front), no more
// than `most`.
char *putNumber(QorGlobal *world, char *out, uint64_t v, int least, int most = 20)
{
    char digits[20];
    int n = 0;
    do {
        digits[n++] = static_cast<char>('0' + v % 10);
        v /= 10;
    } while (v != 0);
    need(world, n <= most);
    for (int i = n; i < least; i++)
        *out++ = '0';
    while (n > 0)
        *out++ = digits[--n];
    return out;
}

// A field of `bits` holding value - 1 below `limit`, read back as a value.
unsigned readField(QorGlobal *world, unsigned bits, unsigned lowest, unsigned highest)
{
    const unsigned v = static_cast<unsigned>(_qor_pdec_nonneg_int_l(world, bits)) + lowest;
    need(world, v <= highest);
    return v;
}

// A bounded number: a 0 bit and value - lb in `bits`, or a 1 bit and the
// value as an unconstrained integer.
void putBounded(QorGlobal *world, uint32_t v, uint32_t lb, uint32_t ub, unsigned bits)
{
    if (v >= lb && v <= ub) {
        _qor_penc_nonneg_1int(world, 0);
        _qor_penc_nonneg_int_l(world, v - lb, bits);
    } else {
        _qor_penc_nonneg_1int(world, 1);
        _qor_penc_unconstr_int(world, v);
    }
}

uint32_t getBounded(QorGlobal *world, uint32_t lb, uint32_t ub, unsigned bits)
{
    if (_qor_pdec_nonneg_1int(world) == 0) {
        const uint32_t v = static_cast<uint32_t>(_qor_pdec_nonneg_int_l(world, bits)) + lb;
        need(world, v <= ub);
        return v;
    }
    return static_cast<uint32_t>(_qor_pdec_unconstr_limited_int(world, 0, UINT32_MAX));
}

// The thousandths and the like: value - 1 in 16 aligned or 10 unaligned
// bits, or a 1 bit and an unconstrained integer. `lb` is 0 for a time's
// fraction, 1 for a duration's.
void putFraction(QorGlobal *world, uint32_t v, uint32_t lb)
{
    if (v >= lb && v <= 999) {
        _qor_penc_nonneg_1int(world, 0);
        if (world->perAligned)
            _qor_penc_int16_aligned(world, v - lb);
        else
            _qor_penc_nonneg_int_l(world, v - lb, 10);
        return;
    }
    _qor_penc_nonneg_1int(world, 1);
    _qor_penc_unconstr_int(world, v);
}

uint32_t getFraction(QorGlobal *world, uint32_t lb)
{
    if (_qor_pdec_nonneg_1int(world) != 0)
        return static_cast<uint32_t>(_qor_pdec_unconstr_limited_int(world, 0, UINT32_MAX));
    const uint32_t v = static_cast<uint32_t>(world->perAligned ? readOctets(world, 2)
                                                               : _qor_pdec_nonneg_int_l(world, 10)) +
                       lb;
    need(world, v <= 999);
    return v;
}

constexpr QorLong kSigns[2] = {0, 1};
constexpr QorEnumTable kSignTable = {2, kSigns};

void putDifference(QorGlobal *world, unsigned negative, unsigned hours, unsigned minutes)
{
    _qor_penc_nonneg_1int(world, minutes != 0 ? 1 : 0);
    _qor_penc_enum(world, negative, &kSignTable, nullptr);
    _qor_penc_nonneg_4int(world, hours);
    if (minutes != 0)
        _qor_penc_nonneg_6int(world, minutes - 1);
}

// ---- Shapes of the general TIME ----

enum PartKind { kDatePart = 1, kTimePart = 2, kDateTimePart = 3, kDurationPart = 4 };

// The end of the element at `p`: a "/" or the end of the text.
const char *elementEnd(const char *p)
{
    while (*p != '\0' && *p != '/')
        p++;
    return p;
}

int partKind(const char *p)
{
    if (*p == 'P')
        return kDurationPart;
    const char *end = elementEnd(p);
    bool time = false;
    for (const char *q = p; q < end; q++) {
        if (*q == 'T')
            return kDateTimePart;
        const long i = q - p;
        if (*q == ':' || *q == '.' || *q == ',' || (*q == '+' && i > 0) || (*q == '-' && i > 0 && i < 3))
            time = true;
    }
    if (time)
        return kTimePart;
    return end > p && (end[-1] == 'C' || end - p > 3) ? kDatePart : kTimePart;
}

// The date index of the date text at `p`.
int dateIndex(const char *p)
{
    bool wide = *p == '+' || *p == '-';
    const char *q = wide ? p + 1 : p;
    int n = 0;
    while (isDigit(q[n]))
        n++;
    q += n;
    if (*q == 'C')
        return wide || n != 2 ? 1 : 0;
    wide = wide || n != 4;
    int base = 2;
    if (q[0] == '-' && q[1] == 'W')
        base = q[4] == '-' ? 12 : 10;
    else if (q[0] == '-' && isDigit(q[1]) && isDigit(q[2]) && isDigit(q[3]))
        base = 8;
    else if (q[0] == '-')
        base = q[3] == '-' ? 6 : 4;
    return base + (wide ? 1 : 0);
}

// The time index of the time text at `p`, and the count of its fraction's
// digits.
int timeIndex(const char *p, int *fractionDigits)
{
    const char *end = elementEnd(p);
    int colons = 0, zone = 0;
    *fractionDigits = 0;
    bool fraction = false;
    for (const char *q = p; q < end; q++) {
        if (*q == 'Z' || *q == '+' || *q == '-') {
            zone = *q == 'Z' ? 1 : 2;
            break;
        }
        if (*q == ':')
            colons++;
        else if (*q == '.' || *q == ',')
            fraction = true;
        else if (fraction && isDigit(*q))
            ++*fractionDigits;
    }
    return ((fraction ? 3 : 0) + (colons > 2 ? 2 : colons)) * 3 + zone + 14;
}

const char *encodeDateFields(QorGlobal *world, const char *p, int index)
{
    if (index <= 1)
        return index == 0 ? _qor_pe_t_century(world, p) : _qor_pe_t_any_century(world, p);
    p = (index & 1) != 0 ? _qor_pe_t_any_year(world, p) : _qor_pe_t_year(world, p);
    switch (index >> 1) {
    case 2:
        return _qor_pe_t_month(world, p);
    case 3:
        return _qor_pe_t_day_of_month(world, _qor_pe_t_month(world, p));
    case 4:
        return _qor_pe_t_day_of_year(world, p);
    case 5:
        return _qor_pe_t_week(world, p);
    case 6:
        return _qor_pe_t_day_of_week(world, _qor_pe_t_week(world, p));
    default:
        return p;
    }
}

char *decodeDateFields(QorGlobal *world, char *out, int index)
{
    if (index <= 1)
        return index == 0 ? _qor_pd_t_century(world, out) : _qor_pd_t_any_century(world, out, 20);
    out = (index & 1) != 0 ? _qor_pd_t_any_year(world, out, 20) : _qor_pd_t_year(world, out);
    switch (index >> 1) {
    case 2:
        return _qor_pd_t_month(world, out);
    case 3:
        return _qor_pd_t_day_of_month(world, _qor_pd_t_month(world, out));
    case 4:
        return _qor_pd_t_day_of_year(world, out);
    case 5:
        return _qor_pd_t_week(world, out);
    case 6:
        return _qor_pd_t_day_of_week(world, _qor_pd_t_week(world, out));
    default:
        return out;
    }
}

const char *encodeTimeFields(QorGlobal *world, const char *p, int index, int digits)
{
    const int t = index - 14, zone = t % 3, colons = (t / 3) % 3;
    p = _qor_pe_t_hours(world, p);
    if (colons >= 1)
        p = _qor_pe_t_mins_or_secs(world, p, 59);
    if (colons >= 2)
        p = _qor_pe_t_mins_or_secs(world, p, 60);
    if (t >= 9)
        p = _qor_pe_t_time_fraction(world, p, digits);
    if (zone == 1)
        expect(world, p, 'Z');
    else if (zone == 2)
        p = _qor_pe_t_time_diff(world, p);
    return p;
}

char *decodeTimeFields(QorGlobal *world, char *out, int index, int digits)
{
    const int t = index - 14, zone = t % 3, colons = (t / 3) % 3;
    out = _qor_pd_t_hours(world, out);
    if (colons >= 1)
        out = _qor_pd_t_mins_or_secs(world, out, 59);
    if (colons >= 2)
        out = _qor_pd_t_mins_or_secs(world, out, 60);
    if (t >= 9)
        out = _qor_pd_t_time_fraction(world, out, digits);
    if (zone == 1)
        *out++ = 'Z';
    else if (zone == 2)
        out = _qor_pd_t_time_diff(world, out);
    return out;
}

// The indexes that an interval's second end borrows from its first.
struct Shape {
    int date = 0;
    int time = 0;
    int digits = 0;
};

// Time-point fields of `kind`, with a part header unless `bare`.
const char *encodePoint(QorGlobal *world, const char *p, int kind, Shape *shape, bool bare)
{
    if (kind != kTimePart) {
        if (!bare) {
            shape->date = dateIndex(p);
            _qor_penc_nonneg_4int(world, static_cast<QorULong>(shape->date));
        }
        p = encodeDateFields(world, p, shape->date);
        if (kind == kDatePart)
            return p;
        expect(world, p, 'T');
    }
    if (!bare) {
        shape->time = timeIndex(p, &shape->digits);
        if (shape->time <= 22) {
            _qor_penc_nonneg_1int(world, 0);
        } else {
            need(world, shape->digits >= 1 && shape->digits <= 20);
            _qor_penc_nonneg_1int(world, 1);
            _qor_penc_semicon_uint_l(world, static_cast<QorULong>(shape->digits), 1);
        }
        _qor_penc_nonneg_5int(world, static_cast<QorULong>(shape->time - 14));
    }
    return encodeTimeFields(world, p, shape->time, shape->digits);
}

int readDigitCount(QorGlobal *world)
{
    const QorLong n = _qor_pdec_semicon_limited_int_l(world, 1, 1, 0x7FFFFFFF);
    need(world, n >= 1 && n <= 20);
    return static_cast<int>(n);
}

char *decodePoint(QorGlobal *world, char *out, int kind, Shape *shape, bool bare)
{
    if (kind != kTimePart) {
        if (!bare) {
            shape->date = static_cast<int>(_qor_pdec_nonneg_4int(world));
            need(world, shape->date <= 13);
        }
        out = decodeDateFields(world, out, shape->date);
        if (kind == kDatePart)
            return out;
        *out++ = 'T';
    }
    if (!bare) {
        const bool fraction = _qor_pdec_nonneg_1int(world) != 0;
        shape->digits = fraction ? readDigitCount(world) : 0;
        const int t = static_cast<int>(_qor_pdec_nonneg_5int(world));
        need(world, fraction ? t >= 9 && t <= 17 : t <= 8);
        shape->time = t + 14;
    }
    return decodeTimeFields(world, out, shape->time, shape->digits);
}

// One element by the part encoder; the element must end where its fields do.
const char *encodePart(QorGlobal *world, const char *p, int kind, Shape *shape, bool bare)
{
    p = kind == kDurationPart ? _qor_pe_t_duration_interval(world, p) : encodePoint(world, p, kind, shape, bare);
    need(world, *p == '\0' || *p == '/');
    return p;
}

char *decodePart(QorGlobal *world, char *out, int kind, Shape *shape, bool bare)
{
    return kind == kDurationPart ? _qor_pd_t_duration_interval(world, out)
                                 : decodePoint(world, out, kind, shape, bare);
}

// The kinds of the two elements of codes 33 to 42.
void pairKinds(int code, int *first, int *second)
{
    if (code <= 35) {
        *first = *second = code - 32;
    } else if (code <= 39) {
        *first = code - 36;
        *second = kDurationPart;
    } else {
        *first = kDurationPart;
        *second = code - 39;
    }
}

uint32_t &memo(QorGlobal *world) { return world->privateArea->perTimeMemo; }

// Duration flags.
constexpr unsigned char kYears = 0x80, kMonths = 0x40, kWeeks = 0x20, kDays = 0x10, kHourUnit = 0x08,
                        kMinuteUnit = 0x04, kSecondUnit = 0x02, kUnitFraction = 0x01;

// The longest duration text taken; the widest one written is far shorter.
constexpr size_t kLongestDuration = 160;

} // namespace

extern "C" {

const char *_qor_pe_t_century(QorGlobal *world, const char *text)
{
    const unsigned v = fixedDigits(world, text, 2);
    expect(world, text, 'C');
    _qor_penc_nonneg_7int(world, v);
    return text;
}

const char *_qor_pe_t_any_century(QorGlobal *world, const char *text)
{
    const bool negative = *text == '-';
    if (*text == '+' || *text == '-')
        text++;
    const uint32_t v = digitRun(world, text, 2);
    expect(world, text, 'C');
    _qor_penc_unconstr_int(world, negative ? -int64_t{v} : int64_t{v});
    return text;
}

const char *_qor_pe_t_year(QorGlobal *world, const char *text)
{
    const unsigned year = fixedDigits(world, text, 4);
    if (year >= 2005 && year <= 2020) {
        _qor_penc_nonneg_2int(world, 0);
        _qor_penc_nonneg_4int(world, year - 2005);
    } else if (year >= 1749 && year <= 2276) {
        const bool later = year >= 2021;
        _qor_penc_nonneg_2int(world, later ? 1 : 2);
        const unsigned offset = year - (later ? 2021 : 1749);
        if (world->perAligned)
            writeOctets(world, offset, 1);
        else
            _qor_penc_nonneg_8int(world, offset);
    } else {
        _qor_penc_nonneg_2int(world, 3);
        _qor_penc_unconstr_int(world, year);
    }
    return text;
}

const char *_qor_pe_t_any_year(QorGlobal *world, const char *text)
{
    const bool negative = *text == '-';
    if (*text == '+' || *text == '-')
        text++;
    const uint32_t v = digitRun(world, text, 4);
    _qor_penc_unconstr_int(world, negative ? -int64_t{v} : int64_t{v});
    return text;
}

const char *_qor_pe_t_month(QorGlobal *world, const char *text)
{
    expect(world, text, '-');
    const unsigned v = fixedDigits(world, text, 2);
    need(world, v >= 1 && v <= 12);
    _qor_penc_nonneg_4int(world, v - 1);
    return text;
}

const char *_qor_pe_t_day_of_month(QorGlobal *world, const char *text)
{
    expect(world, text, '-');
    const unsigned v = fixedDigits(world, text, 2);
    need(world, v >= 1 && v <= 31);
    _qor_penc_nonneg_5int(world, v - 1);
    return text;
}

const char *_qor_pe_t_day_of_year(QorGlobal *world, const char *text)
{
    expect(world, text, '-');
    const unsigned v = fixedDigits(world, text, 3);
    need(world, v >= 1 && v <= 366);
    if (world->perAligned)
        writeOctets(world, v - 1, 2);
    else
        _qor_penc_nonneg_int_l(world, v - 1, 9);
    return text;
}

const char *_qor_pe_t_week(QorGlobal *world, const char *text)
{
    expect(world, text, '-');
    expect(world, text, 'W');
    const unsigned v = fixedDigits(world, text, 2);
    need(world, v >= 1 && v <= 53);
    _qor_penc_nonneg_6int(world, v - 1);
    return text;
}

const char *_qor_pe_t_day_of_week(QorGlobal *world, const char *text)
{
    expect(world, text, '-');
    const unsigned v = fixedDigits(world, text, 1);
    need(world, v >= 1 && v <= 7);
    _qor_penc_nonneg_3int(world, v - 1);
    return text;
}

const char *_qor_pe_t_hours(QorGlobal *world, const char *text)
{
    const unsigned v = fixedDigits(world, text, 2);
    need(world, v <= 24);
    _qor_penc_nonneg_5int(world, v);
    return text;
}

const char *_qor_pe_t_mins_or_secs(QorGlobal *world, const char *text, int limit)
{
    expect(world, text, ':');
    const unsigned v = fixedDigits(world, text, 2);
    need(world, static_cast<int>(v) <= limit);
    _qor_penc_nonneg_6int(world, v);
    return text;
}

const char *_qor_pe_t_time_fraction(QorGlobal *world, const char *text, int digits)
{
    need(world, (*text == '.' || *text == ',') && digits >= 1);
    text++;
    uint64_t v = 0;
    for (int i = 0; i < digits; i++) {
        need(world, isDigit(text[i]));
        v = v * 10 + static_cast<unsigned>(text[i] - '0');
        raiseIf(world, v > UINT32_MAX, Msg::kIntegerTooLong, i + 1);
    }
    putFraction(world, static_cast<uint32_t>(v), 0);
    return text + digits;
}

const char *_qor_pe_t_time_diff(QorGlobal *world, const char *text)
{
    uint32_t &m = memo(world);
    if (*text == '+' || *text == '-') {
        const unsigned negative = *text == '-' ? 1 : 0;
        text++;
        const unsigned hours = fixedDigits(world, text, 2);
        need(world, hours <= 15);
        unsigned minutes = 0;
        if (*text == ':') {
            text++;
            minutes = fixedDigits(world, text, 2);
            need(world, minutes < 60);
        }
        putDifference(world, negative, hours, minutes);
        if ((m & kMemoState) == kMemoArmed)
            m = (m & ~uint32_t{0x1FFF}) | minutes << 7 | hours << 3 | negative << 2 | kMemoHeld;
        return text;
    }
    need(world, (m & kMemoState) == kMemoHeld);
    putDifference(world, m >> 2 & 1, m >> 3 & 0xF, m >> 7 & 0x3F);
    m &= ~kMemoState;
    return text;
}

const char *_qor_pe_t_recurrence(QorGlobal *world, const char *text)
{
    expect(world, text, 'R');
    int count = 0;
    const uint32_t v = digitRun(world, text, 0, &count);
    need(world, count == 0 || v != 0);
    expect(world, text, '/');
    _qor_penc_nonneg_1int(world, count != 0 ? 1 : 0);
    if (count != 0)
        _qor_penc_unconstr_int(world, v);
    return text;
}

const char *_qor_pe_t_duration_interval(QorGlobal *world, const char *text)
{
    need(world, *text == 'P');
    // The duration alone, parsed by the working record's grammar.
    const char *end = elementEnd(text);
    const size_t length = static_cast<size_t>(end - text);
    need(world, length < kLongestDuration);
    char alone[kLongestDuration];
    memcpy(alone, text, length);
    alone[length] = '\0';
    QorDateTimeValue value;
    _qorGetDateTimeValue(world, alone, &value);
    const QorDurationPart &d = value.first.duration;
    _qor_append_8bit_unaligned(world, d.flags);
    if ((d.flags & kWeeks) != 0) {
        putBounded(world, d.weeks, 0, 63, 6);
    } else {
        if ((d.flags & kYears) != 0)
            putBounded(world, d.years, 0, 31, 5);
        if ((d.flags & kMonths) != 0)
            putBounded(world, d.months, 0, 15, 4);
        if ((d.flags & kDays) != 0)
            putBounded(world, d.days, 0, 31, 5);
        if ((d.flags & kHourUnit) != 0)
            putBounded(world, d.hours, 0, 31, 5);
        if ((d.flags & kMinuteUnit) != 0)
            putBounded(world, d.minutes, 0, 63, 6);
        if ((d.flags & kSecondUnit) != 0)
            putBounded(world, d.seconds, 0, 63, 6);
    }
    if ((d.flags & kUnitFraction) != 0) {
        putBounded(world, d.fractionDigits, 1, 3, 2);
        putFraction(world, d.fraction, 1);
    }
    return end;
}

void _qor_pe_t_mixed(QorGlobal *world, const char *text)
{
    // The whole value is checked by the working record's grammar first, so
    // the field routines see only well-formed elements.
    QorDateTimeValue checked;
    _qorGetDateTimeValue(world, text, &checked);
    const char *p = text;
    const char *recurrence = nullptr;
    if (*p == 'R') {
        recurrence = p;
        p = strchr(p, '/');
        need(world, p != nullptr);
        p++;
    }
    const int first = partKind(p);
    const char *slash = elementEnd(p);
    int code;
    int digits = 0;
    if (*slash == '/') {
        const int second = partKind(slash + 1);
        if (first == kDurationPart) {
            need(world, second != kDurationPart);
            code = 39 + second;
        } else {
            code = second == kDurationPart ? 36 + first : 32 + first;
        }
    } else if (first == kDatePart) {
        code = dateIndex(p);
    } else if (first == kTimePart) {
        code = timeIndex(p, &digits);
        need(world, code <= 22 || (digits >= 1 && digits <= 20));
    } else {
        code = first == kDateTimePart ? 32 : 36;
    }
    // Only a duration or an interval recurs.
    need(world, recurrence == nullptr || code >= 33);
    _qor_penc_nonneg_6int(world, static_cast<QorULong>(code + (recurrence != nullptr ? 10 : 0)));
    if (recurrence != nullptr)
        _qor_pe_t_recurrence(world, recurrence);
    Shape shape;
    if (code <= 13) {
        p = encodeDateFields(world, p, code);
    } else if (code <= 31) {
        if (code > 22)
            _qor_penc_semicon_uint_l(world, static_cast<QorULong>(digits), 1);
        p = encodeTimeFields(world, p, code, digits);
    } else if (code == 32 || code == 36) {
        p = encodePart(world, p, first, &shape, false);
    } else {
        int kind1, kind2;
        pairKinds(code, &kind1, &kind2);
        uint32_t &m = memo(world);
        if (code == 34 || code == 35)
            m = (m & ~kMemoState) | kMemoArmed;
        p = encodePart(world, p, kind1, &shape, false);
        expect(world, p, '/');
        p = encodePart(world, p, kind2, &shape, code <= 35);
        m &= ~kMemoState;
    }
    need(world, *p == '\0');
}

char *_qor_pd_t_century(QorGlobal *world, char *out)
{
    out = putNumber(world, out, readField(world, 7, 0, 99), 2);
    *out++ = 'C';
    return out;
}

char *_qor_pd_t_any_century(QorGlobal *world, char *out, int maxDigits)
{
    const int64_t v = _qor_pdec_unconstr_limited_int(world, -int64_t{UINT32_MAX}, UINT32_MAX);
    *out++ = v < 0 ? '-' : '+';
    out = putNumber(world, out, static_cast<uint64_t>(v < 0 ? -v : v), 2, maxDigits);
    *out++ = 'C';
    return out;
}

char *_qor_pd_t_year(QorGlobal *world, char *out)
{
    int64_t year;
    switch (_qor_pdec_nonneg_2int(world)) {
    case 0:
        year = 2005 + static_cast<int64_t>(_qor_pdec_nonneg_4int(world));
        break;
    case 1:
        year = 2021 + static_cast<int64_t>(readOctet(world, true));
        break;
    case 2:
        year = 1749 + static_cast<int64_t>(readOctet(world, true));
        break;
    default:
        year = _qor_pdec_unconstr_limited_int_l(world, INT32_MIN, INT32_MAX);
        break;
    }
    need(world, year >= 0 && year <= 9999);
    return putNumber(world, out, static_cast<uint64_t>(year), 4);
}

char *_qor_pd_t_any_year(QorGlobal *world, char *out, int maxDigits)
{
    const int64_t v = _qor_pdec_unconstr_limited_int(world, -int64_t{UINT32_MAX}, UINT32_MAX);
    *out++ = v < 0 ? '-' : '+';
    return putNumber(world, out, static_cast<uint64_t>(v < 0 ? -v : v), 4, maxDigits);
}

char *_qor_pd_t_month(QorGlobal *world, char *out)
{
    *out++ = '-';
    return putNumber(world, out, readField(world, 4, 1, 12), 2);
}

char *_qor_pd_t_day_of_month(QorGlobal *world, char *out)
{
    *out++ = '-';
    return putNumber(world, out, readField(world, 5, 1, 31), 2);
}

char *_qor_pd_t_day_of_year(QorGlobal *world, char *out)
{
    const unsigned v = static_cast<unsigned>(world->perAligned ? readOctets(world, 2)
                                                               : _qor_pdec_nonneg_int_l(world, 9)) +
                       1;
    need(world, v <= 366);
    *out++ = '-';
    return putNumber(world, out, v, 3);
}

char *_qor_pd_t_week(QorGlobal *world, char *out)
{
    *out++ = '-';
    *out++ = 'W';
    return putNumber(world, out, readField(world, 6, 1, 53), 2);
}

char *_qor_pd_t_day_of_week(QorGlobal *world, char *out)
{
    *out++ = '-';
    return putNumber(world, out, readField(world, 3, 1, 7), 1);
}

char *_qor_pd_t_hours(QorGlobal *world, char *out)
{
    return putNumber(world, out, readField(world, 5, 0, 24), 2);
}

char *_qor_pd_t_mins_or_secs(QorGlobal *world, char *out, int limit)
{
    *out++ = ':';
    return putNumber(world, out, readField(world, 6, 0, static_cast<unsigned>(limit)), 2);
}

char *_qor_pd_t_time_fraction(QorGlobal *world, char *out, int digits)
{
    need(world, digits >= 1 && digits <= 20);
    const uint32_t v = getFraction(world, 0);
    *out++ = '.';
    return putNumber(world, out, v, digits, digits);
}

char *_qor_pd_t_time_diff(QorGlobal *world, char *out)
{
    const bool minutes = _qor_pdec_nonneg_1int(world) != 0;
    *out++ = _qor_pdec_enum(world, &kSignTable, nullptr) != 0 ? '-' : '+';
    out = putNumber(world, out, _qor_pdec_nonneg_4int(world), 2);
    if (minutes) {
        *out++ = ':';
        out = putNumber(world, out, readField(world, 6, 1, 59), 2);
    }
    return out;
}

char *_qor_pd_t_recurrence(QorGlobal *world, char *out, int maxDigits)
{
    *out++ = 'R';
    if (_qor_pdec_nonneg_1int(world) != 0) {
        const int64_t v = _qor_pdec_unconstr_limited_int(world, 0, UINT32_MAX);
        need(world, v != 0);
        out = putNumber(world, out, static_cast<uint64_t>(v), 1, maxDigits);
    }
    *out++ = '/';
    return out;
}

char *_qor_pd_t_duration_interval(QorGlobal *world, char *out)
{
    const unsigned flags = static_cast<unsigned>(_qor_get_8bit_unaligned(world));
    const unsigned units = flags & 0xFE;
    need(world, units != 0 && ((flags & kWeeks) == 0 || units == kWeeks));
    static constexpr struct {
        unsigned char flag;
        char letter;
        unsigned char bits;
        uint32_t ub;
    } kUnits[7] = {{kYears, 'Y', 5, 31},       {kMonths, 'M', 4, 15},     {kWeeks, 'W', 6, 63},
                   {kDays, 'D', 5, 31},        {kHourUnit, 'H', 5, 31},   {kMinuteUnit, 'M', 6, 63},
                   {kSecondUnit, 'S', 6, 63}};
    uint32_t values[7];
    for (int i = 0; i < 7; i++)
        values[i] = (flags & kUnits[i].flag) != 0 ? getBounded(world, 0, kUnits[i].ub, kUnits[i].bits) : 0;
    uint32_t fractionDigits = 0, fraction = 0;
    if ((flags & kUnitFraction) != 0) {
        fractionDigits = getBounded(world, 1, 3, 2);
        need(world, fractionDigits >= 1 && fractionDigits <= 20);
        fraction = getFraction(world, 1);
    }
    const unsigned last = units & (0u - units); // the lowest unit bit
    *out++ = 'P';
    bool timeSeen = false;
    for (int i = 0; i < 7; i++) {
        if ((flags & kUnits[i].flag) == 0)
            continue;
        if (kUnits[i].flag <= kHourUnit && !timeSeen) {
            *out++ = 'T';
            timeSeen = true;
        }
        out = putNumber(world, out, values[i], 1);
        if (kUnits[i].flag == last && fractionDigits != 0) {
            *out++ = '.';
            out = putNumber(world, out, fraction, static_cast<int>(fractionDigits),
                            static_cast<int>(fractionDigits));
        }
        *out++ = kUnits[i].letter;
    }
    return out;
}

namespace {

char *decodeMixed(QorGlobal *world, char *out)
{
    int code = static_cast<int>(_qor_pdec_nonneg_6int(world));
    need(world, code <= 52);
    if (code >= 43) {
        code -= 10;
        out = _qor_pd_t_recurrence(world, out, 20);
    }
    Shape shape;
    if (code <= 13)
        return decodeDateFields(world, out, code);
    if (code <= 31)
        return decodeTimeFields(world, out, code, code > 22 ? readDigitCount(world) : 0);
    if (code == 32 || code == 36)
        return decodePart(world, out, code == 32 ? kDateTimePart : kDurationPart, &shape, false);
    int kind1, kind2;
    pairKinds(code, &kind1, &kind2);
    out = decodePart(world, out, kind1, &shape, false);
    *out++ = '/';
    return decodePart(world, out, kind2, &shape, code <= 35);
}

} // namespace

char *_qor_pd_t_mixed(QorGlobal *world, char *out)
{
    out = decodeMixed(world, out);
    *out = '\0';
    return out;
}

} // extern "C"

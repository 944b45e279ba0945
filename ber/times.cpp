// BER UTCTime and GeneralizedTime: from and to the time record, and held as
// zero-terminated text, with the check that text gets.
#include <cstring>

#include "ber/item.h"

using namespace qor;

namespace {

// compatFlags: a NUL may end a time held as text; DER time strictness is off
// (and the text check admits "z" for "Z").
constexpr QorULong kTrailingNulAllowed = 0x80;
constexpr QorULong kTimeNotStrict = 0x8000;

// The longest text the encoders build: "YYYYMMDDhhmmss.fff+hhmm".
constexpr int kTimeText = 32;

inline bool isDigit(int c) { return c >= '0' && c <= '9'; }

QorULong compatFlags(const QorGlobal *world) { return world->privateArea->compatFlags; }

bool derOrCer(const QorGlobal *world)
{
    return world->encRules == QOR_DER || world->encRules == QOR_CER;
}

// `value` in exactly `digits` decimal digits; one that does not fit is message 72.
char *putNumber(QorGlobal *world, char *out, int value, int digits)
{
    int limit = 1;
    for (int i = 0; i < digits; i++)
        limit *= 10;
    raiseIf(world, value < 0 || value >= limit, Msg::kBadTime, 0);
    for (int i = digits - 1; i >= 0; i--) {
        out[i] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
    return out + digits;
}

void checkFields(QorGlobal *world, const GeneralizedTime *t, bool utcTime)
{
    raiseIf(world, t->month < 1 || t->month > 12, Msg::kBadMonth, t->month);
    raiseIf(world, t->day < 1 || t->day > 31, Msg::kBadDay, t->day);
    raiseIf(world, t->hour < 0 || t->hour > 23, Msg::kBadHour, t->hour);
    raiseIf(world, t->minute < 0 || t->minute > 59, Msg::kBadMinute, t->minute);
    raiseIf(world, t->second < 0 || t->second > 59, Msg::kBadSecond, t->second);
    if (t->millisec < 0 || t->millisec > 999 || (utcTime && t->millisec != 0))
        raise(world, Msg::kBadMillisecond, longValue(t->millisec));
}

// "+hhmm" or "-hhmm" for an offset in minutes.
char *putOffset(QorGlobal *world, char *out, int mindiff)
{
    *out++ = mindiff < 0 ? '-' : '+';
    int minutes = mindiff < 0 ? -mindiff : mindiff;
    out = putNumber(world, out, minutes / 60, 2);
    return putNumber(world, out, minutes % 60, 2);
}

bool endsWith00(const char *start, const char *end)
{
    return end - start >= 2 && end[-1] == '0' && end[-2] == '0';
}

QorLong encodeTime(QorGlobal *world, unsigned char **pos, QorLong *room, const GeneralizedTime *t,
                   bool utcTime)
{
    if ((world->encodingFlags & NOCONSTRAIN) == 0)
        checkFields(world, t, utcTime);
    char text[kTimeText];
    char *out = text;
    out = utcTime ? putNumber(world, out, t->year % 100, 2) : putNumber(world, out, t->year, 4);
    out = putNumber(world, out, t->month, 2);
    out = putNumber(world, out, t->day, 2);
    out = putNumber(world, out, t->hour, 2);
    char *afterHour = out;
    out = putNumber(world, out, t->minute, 2);
    char *afterMinute = out;
    out = putNumber(world, out, t->second, 2);
    const bool ber = world->encRules == QOR_BER;

    if (utcTime) {
        // BER drops seconds of "00"; the minutes stay, as UTCTime needs them.
        if (ber && endsWith00(afterMinute, out))
            out = afterMinute;
        raiseIf(world, !t->utc && t->mindiff != 0 && derOrCer(world), Msg::kTimeNotUtc, 0);
        if (t->utc || t->mindiff == 0)
            *out++ = 'Z';
        else
            out = putOffset(world, out, t->mindiff);
    } else {
        // The fraction loses its trailing zeros, and its point with them.
        char *fraction = out;
        *out++ = '.';
        out = putNumber(world, out, t->millisec, 3);
        while (out[-1] == '0')
            out--;
        if (out[-1] == '.')
            out--;
        // BER only: seconds, then minutes, of "00" go when they end the text.
        if (ber && out == fraction) {
            if (endsWith00(afterMinute, out))
                out = afterMinute;
            if (out == afterMinute && endsWith00(afterHour, out))
                out = afterHour;
        }
        if (t->utc)
            *out++ = 'Z';
        else if (derOrCer(world))
            raise(world, Msg::kTimeNotUtc, longValue(0));
        else if (t->mindiff != 0)
            out = putOffset(world, out, t->mindiff);
    }
    return _qor_write_bytes_d(world, pos, room, text, static_cast<QorLong>(out - text));
}

// Time contents are read within their own `length` octets.
struct TimeCursor {
    const unsigned char *p;
    const unsigned char *end;
    bool digitAt(QorLong i) const { return p + i < end && isDigit(p[i]); }
};

int takeNumber(QorGlobal *world, TimeCursor &in, int digits)
{
    int value = 0;
    for (int i = 0; i < digits; i++) {
        raiseIf(world, !in.digitAt(0), Msg::kMisencoded, 0);
        value = value * 10 + (*in.p++ - '0');
    }
    return value;
}

// Milliseconds in one unit of the field that a fraction belongs to: the
// day, hour, minute or second, by the count of fields after the year.
constexpr int64_t kUnitMilliseconds[6] = {0, 0, 86400000, 3600000, 60000, 1000};
constexpr int kFractionDigits = 9;

void decodeTime(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                GeneralizedTime *t, bool utcTime)
{
    raiseIf(world, length < 0, Msg::kIndefinitePrimitive, 0);
    needInput(world, room, length);
    TimeCursor in = {*pos, *pos + length};
    const bool strict = world->encRules == QOR_DER && (compatFlags(world) & kTimeNotStrict) == 0;
    memset(t, 0, sizeof *t);

    t->year = static_cast<int16_t>(takeNumber(world, in, utcTime ? 2 : 4));
    int16_t *fields[5] = {&t->month, &t->day, &t->hour, &t->minute, &t->second};
    int present = 0;
    while (present < 5 && in.digitAt(0)) {
        *fields[present] = static_cast<int16_t>(takeNumber(world, in, 2));
        present++;
    }
    raiseIf(world, !utcTime && present < 2, Msg::kMisencoded, 0);
    raiseIf(world, strict && present < 5, Msg::kTimeNotUtc, 0);
    raiseIf(world, strict && in.end[-1] != 'Z', Msg::kTimeNotUtc, 0);

    if (!utcTime && in.p < in.end && (*in.p == '.' || *in.p == ',')) {
        raiseIf(world, strict && *in.p == ',', Msg::kTimeNotUtc, 0);
        in.p++;
        int64_t value = 0;
        int64_t scale = 1;
        int count = 0;
        for (; in.digitAt(0); in.p++, count++) {
            if (count < kFractionDigits) {
                value = value * 10 + (*in.p - '0');
                scale *= 10;
            }
        }
        raiseIf(world, strict && (count == 0 || in.p[-1] == '0'), Msg::kTimeNotUtc, 0);
        // The fraction is of the last field present; it is spread over the
        // fields below it, which are all zero.
        int64_t ms = value * kUnitMilliseconds[present] / scale;
        t->millisec = static_cast<int16_t>(ms % 1000);
        ms /= 1000;
        t->second = static_cast<int16_t>(t->second + ms % 60);
        ms /= 60;
        t->minute = static_cast<int16_t>(t->minute + ms % 60);
        ms /= 60;
        t->hour = static_cast<int16_t>(t->hour + ms);
    }

    if (in.p < in.end && *in.p == 'Z') {
        t->utc = 1;
        in.p++;
    } else if (in.p < in.end && (*in.p == '+' || *in.p == '-')) {
        bool minus = *in.p++ == '-';
        int hours = takeNumber(world, in, 2);
        int minutes = in.digitAt(0) ? takeNumber(world, in, 2) : 0;
        int offset = hours * 60 + minutes;
        t->mindiff = static_cast<int16_t>(minus ? -offset : offset);
    }
    raiseIf(world, in.p != in.end, Msg::kMisencoded, 0);
    *pos += length;
    *room -= length;
}

// Two digits at `p`: false when the first is not a digit (the field is
// absent); message 72 when only the second is missing.
bool twoDigits(QorGlobal *world, const char *&p, int &value)
{
    if (!isDigit(p[0]))
        return false;
    raiseIf(world, !isDigit(p[1]), Msg::kBadTime, 0);
    value = (p[0] - '0') * 10 + (p[1] - '0');
    p += 2;
    return true;
}

int requiredDigits(QorGlobal *world, const char *&p, int digits)
{
    int value = 0;
    for (int i = 0; i < digits; i++, p++) {
        raiseIf(world, !isDigit(*p), Msg::kBadTime, 0);
        value = value * 10 + (*p - '0');
    }
    return value;
}

} // namespace

extern "C" {

QorLong _qor_encd_utime(QorGlobal *world, unsigned char **pos, QorLong *room,
                        const GeneralizedTime *value)
{
    return encodeTime(world, pos, room, value, true);
}

QorLong _qor_encd_gtime(QorGlobal *world, unsigned char **pos, QorLong *room,
                        const GeneralizedTime *value)
{
    return encodeTime(world, pos, room, value, false);
}

void _qor_dec_utime(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                    GeneralizedTime *value)
{
    decodeTime(world, pos, room, length, value, true);
}

void _qor_dec_gtime(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                    GeneralizedTime *value)
{
    decodeTime(world, pos, room, length, value, false);
}

QorLong _qor_encd_untime(QorGlobal *world, unsigned char **pos, QorLong *room, const char *text,
                         QorLong max, int kind)
{
    raiseIf(world, text == nullptr, Msg::kBadTime, 0);
    size_t length = strlen(text);
    if (max > 0 && length > static_cast<size_t>(max))
        raise(world, Msg::kSizeExceeded, longValue(static_cast<QorLong>(length)));
    if ((world->encodingFlags & NOCONSTRAIN) == 0)
        _qor_check_nullterm_time(world, text, kind);
    return _qor_write_bytes_d(world, pos, room, text, static_cast<QorLong>(length));
}

void _qor_dec_untime(QorGlobal *world, unsigned char **pos, QorLong *room, QorLong length,
                     char **out, QorLong max, int kind)
{
    raiseIf(world, length < 0, Msg::kIndefinitePrimitive, 0);
    if (max > 0 && length > max && (world->decodingFlags & NOCONSTRAIN) == 0)
        raise(world, Msg::kSizeExceeded, longValue(length));
    raiseIf(world, max < 0 && length > -static_cast<int64_t>(max), Msg::kLengthTooLong, length);
    needInput(world, room, length);
    if (length > 0 && (*pos)[length - 1] == '\0' &&
        (compatFlags(world) & kTrailingNulAllowed) == 0)
        raise(world, Msg::kEmbeddedNul, longValue(0));
    auto *text = static_cast<char *>(_qor_dec_getfixmem(world, length + 1));
    if (length > 0)
        memcpy(text, *pos, static_cast<size_t>(length));
    text[length] = '\0';
    *pos += length;
    *room -= length;
    *out = text;
    if ((world->decodingFlags & NOCONSTRAIN) == 0)
        _qor_check_nullterm_time(world, text, kind);
}

void _qor_check_nullterm_time(QorGlobal *world, const char *text, int isUTCTime)
{
    raiseIf(world, text == nullptr, Msg::kBadTime, 0);
    const bool strict = derOrCer(world);
    const bool lowerZ = (compatFlags(world) & kTimeNotStrict) != 0;
    const char *p = text;
    requiredDigits(world, p, isUTCTime ? 2 : 4);
    int month = requiredDigits(world, p, 2);
    int day = requiredDigits(world, p, 2);
    int hour = requiredDigits(world, p, 2);
    int minute = 0;
    int second = 0;
    if (!twoDigits(world, p, minute) || !twoDigits(world, p, second)) {
        raiseIf(world, strict, Msg::kTimeNotUtc, 0);
    }
    raiseIf(world, month < 1 || month > 12, Msg::kBadMonth, month);
    raiseIf(world, day < 1 || day > 31, Msg::kBadDay, day);
    raiseIf(world, hour > 23, Msg::kBadHour, hour);
    raiseIf(world, minute > 59, Msg::kBadMinute, minute);
    raiseIf(world, second > 59, Msg::kBadSecond, second);

    if (!isUTCTime && (*p == '.' || *p == ',')) {
        raiseIf(world, strict && *p == ',', Msg::kTimeNotUtc, 0);
        p++;
        bool zeros = false;
        for (; *p == '0'; p++)
            zeros = true;
        int digits = 0;
        for (; isDigit(*p); p++)
            digits++; // nine are read, the rest skipped: none changes the check
        if (!zeros && digits == 0)
            raise(world, strict ? Msg::kTimeNotUtc : Msg::kBadTime, longValue(0));
        raiseIf(world, strict && p[-1] == '0', Msg::kTimeNotUtc, 0);
    }

    // The end: nothing, "Z", or an offset of two or four digits. Strict
    // rules take "Z" alone, or "z" too when the compatibility flag says so.
    const bool z = *p == 'Z' || (lowerZ && *p == 'z');
    raiseIf(world, strict && !z, Msg::kTimeNotUtc, 0);
    if (*p == '\0')
        return;
    if (*p == 'Z' || *p == 'z') {
        raiseIf(world, p[1] != '\0', Msg::kBadTime, 0);
        return;
    }
    if (*p == '+' || *p == '-') {
        p++;
        int offset;
        if (twoDigits(world, p, offset) &&
            (*p == '\0' || (twoDigits(world, p, offset) && *p == '\0')))
            return;
    }
    raise(world, Msg::kBadTime, longValue(0));
}

} // extern "C"

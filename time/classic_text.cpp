// UTCTime and GeneralizedTime text: formatting, parsing and the text check.
#include "time/classic_text.h"

#include <cstdint>
#include <cstring>

#include "common/digits.h"
#include "frame/errors.h"

namespace qor {

namespace {

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

// "+hhmm" or "-hhmm" for an offset in minutes; "+hh" for whole hours when
// `hoursAlone`.
char *putOffset(QorGlobal *world, char *out, int mindiff, bool hoursAlone)
{
    *out++ = mindiff < 0 ? '-' : '+';
    int minutes = mindiff < 0 ? -mindiff : mindiff;
    out = putNumber(world, out, minutes / 60, 2);
    if (hoursAlone && minutes % 60 == 0)
        return out;
    return putNumber(world, out, minutes % 60, 2);
}

bool endsWith00(const char *start, const char *end)
{
    return end - start >= 2 && end[-1] == '0' && end[-2] == '0';
}

// Contents are read within their own `length` octets.
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
// Fraction digits read; the rest are skipped, as they cannot reach a millisecond.
constexpr int kFractionDigits = 9;
// Under the rounded reading, by the same index: the digits that reach a
// millisecond of the field (7 of a day, 6 of an hour, 4 of a minute, 3 of a
// second), and one more to round by.
constexpr int kRoundedDigits[6] = {0, 0, 8, 7, 5, 4};

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
    raiseIf(world, !readDigits(p, digits, &value), Msg::kBadTime, 0);
    return value;
}

} // namespace

void checkTimeFields(QorGlobal *world, const GeneralizedTime *t, bool utcTime)
{
    raiseIf(world, t->month < 1 || t->month > 12, Msg::kBadMonth, t->month);
    raiseIf(world, t->day < 1 || t->day > 31, Msg::kBadDay, t->day);
    raiseIf(world, t->hour < 0 || t->hour > 23, Msg::kBadHour, t->hour);
    raiseIf(world, t->minute < 0 || t->minute > 59, Msg::kBadMinute, t->minute);
    raiseIf(world, t->second < 0 || t->second > 59, Msg::kBadSecond, t->second);
    if (t->millisec < 0 || t->millisec > 999 || (utcTime && t->millisec != 0))
        raise(world, Msg::kBadMillisecond, longValue(t->millisec));
}

size_t formatClassicTime(QorGlobal *world, const GeneralizedTime *t, const ClassicTimeRules &rules,
                         char *text)
{
    const bool utcTime = rules.utcTime;
    if (rules.checkFields)
        checkTimeFields(world, t, utcTime);
    char *out = text;
    out = utcTime ? putNumber(world, out, t->year % 100, 2) : putNumber(world, out, t->year, 4);
    out = putNumber(world, out, t->month, 2);
    out = putNumber(world, out, t->day, 2);
    out = putNumber(world, out, t->hour, 2);
    char *afterHour = out;
    out = putNumber(world, out, t->minute, 2);
    char *afterMinute = out;
    out = putNumber(world, out, t->second, 2);

    if (utcTime) {
        // Seconds of "00" may go; the minutes stay, as UTCTime needs them.
        if (rules.dropZeros && endsWith00(afterMinute, out))
            out = afterMinute;
        raiseIf(world, !t->utc && t->mindiff != 0 && rules.utcOnly, Msg::kTimeNotUtc, 0);
        if (t->utc || t->mindiff == 0)
            *out++ = 'Z';
        else
            out = putOffset(world, out, t->mindiff, false);
    } else {
        // The fraction loses its trailing zeros, and its point with them.
        char *fraction = out;
        *out++ = '.';
        out = putNumber(world, out, t->millisec, 3);
        while (out[-1] == '0')
            out--;
        if (out[-1] == '.')
            out--;
        // Seconds, then minutes, of "00" may go when they end the text.
        if (rules.dropZeros && out == fraction) {
            if (endsWith00(afterMinute, out))
                out = afterMinute;
            if (out == afterMinute && endsWith00(afterHour, out))
                out = afterHour;
        }
        if (t->utc)
            *out++ = 'Z';
        else if (rules.utcOnly)
            raise(world, Msg::kTimeNotUtc, longValue(0));
        else if (t->mindiff != 0)
            out = putOffset(world, out, t->mindiff, rules.shortOffset);
    }
    return static_cast<size_t>(out - text);
}

void parseClassicTime(QorGlobal *world, const unsigned char *text, QorLong length,
                      const ClassicTimeRules &rules, GeneralizedTime *t)
{
    TimeCursor in = {text, text + length};
    const bool utcTime = rules.utcTime;
    const bool strict = rules.canonical;
    memset(t, 0, sizeof *t);

    t->year = static_cast<int16_t>(takeNumber(world, in, utcTime ? 2 : 4));
    int16_t *fields[5] = {&t->month, &t->day, &t->hour, &t->minute, &t->second};
    int present = 0;
    while (present < 5 && in.digitAt(0)) {
        *fields[present] = static_cast<int16_t>(takeNumber(world, in, 2));
        present++;
    }
    // A GeneralizedTime has its month and day; a full UTCTime its minutes too.
    const int needed = utcTime ? (rules.fullUtcTime ? 4 : 0) : 2;
    raiseIf(world, present < needed, Msg::kMisencoded, 0);
    raiseIf(world, strict && present < 5, Msg::kTimeNotUtc, 0);
    raiseIf(world, strict && in.end[-1] != 'Z', Msg::kTimeNotUtc, 0);

    if (!utcTime && in.p < in.end && (*in.p == '.' || *in.p == ',')) {
        raiseIf(world, strict && *in.p == ',', Msg::kTimeNotUtc, 0);
        in.p++;
        int64_t value = 0;
        int64_t scale = 1;
        int count = 0;
        const int kept = rules.roundedFraction ? kRoundedDigits[present] : kFractionDigits;
        for (; in.digitAt(0); in.p++, count++) {
            if (count < kept) {
                value = value * 10 + (*in.p - '0');
                scale *= 10;
            }
        }
        raiseIf(world, strict && (count == 0 || in.p[-1] == '0'), Msg::kTimeNotUtc, 0);
        // The fraction is of the last field present; it is spread over the
        // fields below it, which are all zero.
        const int64_t unit = kUnitMilliseconds[present];
        int64_t ms = rules.roundedFraction ? (2 * value * unit / scale + 1) / 2
                                           : value * unit / scale;
        t->millisec = static_cast<int16_t>(ms % 1000);
        ms /= 1000;
        t->second = static_cast<int16_t>(t->second + ms % 60);
        ms /= 60;
        t->minute = static_cast<int16_t>(t->minute + ms % 60);
        ms /= 60;
        t->hour = static_cast<int16_t>(t->hour + ms);
    }

    if (in.p < in.end && (*in.p == 'Z' || (rules.lowerZ && *in.p == 'z'))) {
        t->utc = 1;
        in.p++;
    } else if (in.p < in.end && (*in.p == '+' || *in.p == '-')) {
        bool minus = *in.p++ == '-';
        int hours = takeNumber(world, in, 2);
        int minutes = in.digitAt(0) ? takeNumber(world, in, 2) : 0;
        int offset = hours * 60 + minutes;
        t->mindiff = static_cast<int16_t>(minus ? -offset : offset);
    } else {
        raiseIf(world, utcTime && rules.fullUtcTime, Msg::kMisencoded, 0);
    }
    raiseIf(world, in.p != in.end, Msg::kMisencoded, 0);
}

void checkClassicTimeText(QorGlobal *world, const char *text, const ClassicTimeRules &rules)
{
    raiseIf(world, text == nullptr, Msg::kBadTime, 0);
    const bool strict = rules.canonical;
    const char *p = text;
    requiredDigits(world, p, rules.utcTime ? 2 : 4);
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

    if (!rules.utcTime && (*p == '.' || *p == ',')) {
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

    // The end: nothing, "Z", or an offset of two or four digits. The
    // canonical form takes "Z" alone, or "z" where that stands for it.
    const bool z = *p == 'Z' || (rules.lowerZ && *p == 'z');
    raiseIf(world, strict && !z, Msg::kTimeNotUtc, 0);
    if (*p == '\0')
        return;
    if (z) {
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

} // namespace qor

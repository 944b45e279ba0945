// The public conversions from TIME text to QorTimePoint and QorDuration
// records, and the kind of a text. Nothing here raises: any fault is a
// result. The grammar is the working record's (value_grammar.cpp) with
// looser edges: a century or year may have leading zeros, any ordinal day up
// to 366 passes, a time difference of 15 hours may have minutes, a recurrence
// of 0 or written with a leading zero stands for an unlimited one, and every
// duration unit written keeps its flag, zero or not.
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "time/iso_time.h"

namespace qor {

namespace {

constexpr uint16_t kCentury = 0x8000, kYear = 0x4000, kWeek = 0x2000, kMonth = 0x1000,
                   kDay = 0x0800, kHours = 0x0400, kMinutes = 0x0200, kSeconds = 0x0100,
                   kUtc = 0x0080, kFraction = 0x0040, kDifference = 0x0020;
constexpr QorULong kYears = 0x80000000, kMonths = 0x40000000, kWeeks = 0x20000000,
                   kDays = 0x10000000, kHourUnit = 0x08000000, kMinuteUnit = 0x04000000,
                   kSecondUnit = 0x02000000, kUnitFraction = 0x01000000;

struct Scanner {
    const char *p;

    // At least `least` and at most `most` digits; false on fewer, or on a
    // value past 32 bits.
    [[nodiscard]] bool number(int least, int most, uint32_t &value, int *count = nullptr)
    {
        uint64_t v = 0;
        int n = 0;
        for (; n < most && isDigit(p[n]); n++) {
            v = v * 10 + static_cast<unsigned>(p[n] - '0');
            if (v > UINT32_MAX)
                return false;
        }
        if (n < least)
            return false;
        p += n;
        value = static_cast<uint32_t>(v);
        if (count != nullptr)
            *count = n;
        return true;
    }

    // Exactly `n` digits, at most `max`.
    [[nodiscard]] bool field(int n, uint32_t max, uint16_t &out)
    {
        uint32_t v = 0;
        if (!number(n, n, v) || v > max)
            return false;
        out = static_cast<uint16_t>(v);
        return true;
    }

    [[nodiscard]] bool take(char c)
    {
        if (*p != c)
            return false;
        p++;
        return true;
    }
};

bool parseTimeOfDay(Scanner &in, QorTimePoint *t)
{
    if (!in.field(2, 24, t->hours))
        return false;
    t->flags |= kHours;
    if (in.take(':')) {
        if (!in.field(2, 59, t->minutes))
            return false;
        t->flags |= kMinutes;
        if (in.take(':')) {
            if (!in.field(2, 60, t->seconds))
                return false;
            t->flags |= kSeconds;
        }
    }
    if (in.take('.') || in.take(',')) {
        int count = 0;
        uint32_t fraction = 0;
        if (!in.number(1, INT32_MAX, fraction, &count))
            return false;
        t->fraction = fraction;
        t->fractionDigits = static_cast<QorULong>(count);
        t->flags |= kFraction;
    }
    if (t->hours == 24 && (t->minutes != 0 || t->seconds != 0 || t->fraction != 0))
        return false;
    if (in.take('Z')) {
        t->flags |= kUtc;
    } else if (*in.p == '+' || *in.p == '-') {
        t->diffNegative = *in.p++ == '-';
        t->flags |= kDifference;
        if (!in.field(2, 15, t->diffHours))
            return false;
        if (in.take(':')) {
            if (!in.field(2, 59, t->diffMinutes))
                return false;
            t->diffMinutesPresent = 0x80;
        }
    }
    return true;
}

// The month or week, and the day, after a year.
bool parseDateRest(Scanner &in, QorTimePoint *t)
{
    if (!in.take('-'))
        return true;
    if (in.take('W')) {
        if (!in.field(2, 53, t->week) || t->week < 1)
            return false;
        t->flags |= kWeek;
    } else {
        uint32_t value = 0;
        int count = 0;
        if (!in.number(2, 3, value, &count) || isDigit(*in.p) || value < 1)
            return false;
        if (count == 3) {
            if (value > 366)
                return false;
            t->day = static_cast<uint16_t>(value);
            t->flags |= kDay;
            return !in.take('-'); // an ordinal day ends the date
        }
        if (value > 12)
            return false;
        t->month = static_cast<uint16_t>(value);
        t->flags |= kMonth;
    }
    if (!in.take('-'))
        return true;
    const bool ofWeek = t->flags & kWeek;
    const uint32_t last = ofWeek ? 7 : static_cast<uint32_t>(monthLength(t->year, t->month));
    if (!in.field(ofWeek ? 1 : 2, last, t->day) || t->day < 1)
        return false;
    t->flags |= kDay;
    return true;
}

bool parsePoint(Scanner &in, QorTimePoint *t)
{
    const char *start = in.p;
    const bool signed_ = *in.p == '-' || *in.p == '+';
    const bool negative = *in.p == '-';
    in.p += signed_;
    uint32_t magnitude = 0;
    int count = 0;
    if (!in.number(0, INT32_MAX, magnitude, &count))
        return false;
    const int64_t value = negative ? -int64_t{magnitude} : int64_t{magnitude};
    if (in.take('C')) {
        if (count < 2 || magnitude > INT32_MAX)
            return false;
        t->century = static_cast<int32_t>(value);
        t->flags = kCentury;
        return true;
    }
    if (count < 4) {
        if (signed_)
            return false;
        in.p = start; // no date: a time-of-day from the start
        return parseTimeOfDay(in, t);
    }
    if (magnitude > INT32_MAX)
        return false;
    t->year = static_cast<int32_t>(value);
    t->flags = kYear;
    if (!parseDateRest(in, t))
        return false;
    if (!in.take('T'))
        return true;
    return (t->flags & kDay) && parseTimeOfDay(in, t);
}

bool parseDuration(Scanner &in, QorDuration *d)
{
    if (!in.take('P'))
        return false;
    bool timeUnits = false;
    QorULong previous = 0; // the last unit read; units go in descending order
    for (;;) {
        if (in.take('T')) {
            if (timeUnits)
                return false;
            timeUnits = true;
            continue;
        }
        if (!isDigit(*in.p))
            return previous != 0;
        const bool leadingZero = *in.p == '0';
        uint32_t value = 0;
        int count = 0;
        if (!in.number(1, INT32_MAX, value, &count) || (count >= 2 && leadingZero))
            return false;
        bool fraction = false;
        if (in.take('.') || in.take(',')) {
            uint32_t digits = 0;
            int fractionCount = 0;
            if (!in.number(1, INT32_MAX, digits, &fractionCount))
                return false;
            d->fraction = digits;
            d->fractionDigits = static_cast<QorULong>(fractionCount);
            d->flags |= kUnitFraction;
            fraction = true;
        }
        QorULong unit = 0;
        QorULong *field = nullptr;
        const char letter = *in.p++;
        if (!timeUnits && letter == 'Y')
            unit = kYears, field = &d->years;
        else if (!timeUnits && letter == 'M')
            unit = kMonths, field = &d->months;
        else if (!timeUnits && letter == 'W')
            unit = kWeeks, field = &d->weeks;
        else if (!timeUnits && letter == 'D')
            unit = kDays, field = &d->days;
        else if (timeUnits && letter == 'H')
            unit = kHourUnit, field = &d->hours;
        else if (timeUnits && letter == 'M')
            unit = kMinuteUnit, field = &d->minutes;
        else if (timeUnits && letter == 'S')
            unit = kSecondUnit, field = &d->seconds;
        if (unit == 0 || (previous != 0 && unit >= previous) || (unit == kWeeks && previous != 0))
            return false;
        *field = value;
        d->flags |= unit;
        previous = unit;
        if (fraction || unit == kSecondUnit || unit == kWeeks)
            return true;
    }
}

// "R", a count and "/". A count of 0, none, or one that begins with "0"
// and goes on is unlimited, -1: after "R0" and a digit nothing more is read
// and "/" must follow at once.
bool parseRecurrence(Scanner &in, QorLong *recurrences)
{
    *recurrences = -1;
    if (!in.take('R'))
        return false;
    if (isDigit(in.p[0]) && !(in.p[0] == '0' && isDigit(in.p[1]))) {
        uint32_t count = 0;
        if (!in.number(1, INT32_MAX, count) || count > INT32_MAX)
            return false;
        if (count != 0)
            *recurrences = static_cast<QorLong>(count);
    }
    return in.take('/');
}

} // namespace

int timeKindOf(const char *text)
{
    if (text == nullptr)
        return kNoTimeKind;
    const char *p = text;
    if (*p == 'R') {
        for (p++; isDigit(*p); p++) {
        }
        if (*p++ != '/')
            return kNoTimeKind;
        if (*p == 'P')
            return strchr(p, '/') != nullptr ? kDurationEnd + kRecurring : kDuration + kRecurring;
        return strchr(p, 'P') != nullptr ? kStartDuration + kRecurring : kStartEnd + kRecurring;
    }
    if (strchr(text, '/') != nullptr) {
        if (*text == 'P')
            return kDurationEnd;
        return strchr(text, 'P') != nullptr ? kStartDuration : kStartEnd;
    }
    if (*text == 'P')
        return kDuration;
    return isDigit(*text) || *text == '-' || *text == '+' ? kTimePoint : kNoTimeKind;
}

bool parseIsoTime(const char *text, int kind, IsoTime *time)
{
    memset(time, 0, sizeof *time);
    time->kind = kind;
    time->recurrences = -1;
    if (text == nullptr || kind < kTimePoint || kind >= kNoTimeKind)
        return false;
    Scanner in{text};
    int plain = kind;
    if (kind > kRecurring) {
        plain = kind - kRecurring;
        if (!parseRecurrence(in, &time->recurrences))
            return false;
    }
    bool ok = false;
    switch (plain) {
    case kTimePoint:
        ok = parsePoint(in, &time->start);
        break;
    case kDuration:
        ok = parseDuration(in, &time->duration);
        break;
    case kStartEnd:
        ok = parsePoint(in, &time->start) && in.take('/') && parsePoint(in, &time->end);
        break;
    case kStartDuration:
        ok = parsePoint(in, &time->start) && in.take('/') && parseDuration(in, &time->duration);
        break;
    case kDurationEnd:
        ok = parseDuration(in, &time->duration) && in.take('/') && parsePoint(in, &time->end);
        break;
    }
    if (!ok || *in.p != '\0')
        return false;
    if (plain != kStartEnd)
        return true;
    // The ends have the same components; only the start may have a time
    // difference that the end takes over.
    uint16_t startFlags = time->start.flags;
    if (!(time->end.flags & kDifference))
        startFlags &= static_cast<uint16_t>(~kDifference);
    return startFlags == time->end.flags;
}

} // namespace qor

using namespace qor;

namespace {

// A text of `kind` into `time`: 0, or 12 for a null argument or a fault.
int fromText(QorGlobal *world, const char *text, int kind, IsoTime &time,
             std::initializer_list<const void *> outputs)
{
    for (const void *out : outputs)
        if (out == nullptr)
            return QOR_BAD_TIME;
    return world != nullptr && parseIsoTime(text, kind, &time) ? 0 : QOR_BAD_TIME;
}

} // namespace

extern "C" {

int qorGetTimeKind(QorGlobal *world, const char *text)
{
    return world != nullptr ? timeKindOf(text) : kNoTimeKind;
}

int qorStringToTimePoint(QorGlobal *world, const char *text, QorTimePoint *point)
{
    IsoTime t;
    const int code = fromText(world, text, kTimePoint, t, {point});
    if (code == 0)
        *point = t.start;
    return code;
}

int qorStringToDurationInterval(QorGlobal *world, const char *text, QorDuration *duration)
{
    IsoTime t;
    const int code = fromText(world, text, kDuration, t, {duration});
    if (code == 0)
        *duration = t.duration;
    return code;
}

int qorStringToStartPointEndPointInterval(QorGlobal *world, const char *text, QorTimePoint *start,
                                          QorTimePoint *end)
{
    IsoTime t;
    const int code = fromText(world, text, kStartEnd, t, {start, end});
    if (code == 0)
        *start = t.start, *end = t.end;
    return code;
}

int qorStringToStartPointDurationInterval(QorGlobal *world, const char *text, QorTimePoint *start,
                                          QorDuration *duration)
{
    IsoTime t;
    const int code = fromText(world, text, kStartDuration, t, {start, duration});
    if (code == 0)
        *start = t.start, *duration = t.duration;
    return code;
}

int qorStringToDurationEndPointInterval(QorGlobal *world, const char *text, QorDuration *duration,
                                        QorTimePoint *end)
{
    IsoTime t;
    const int code = fromText(world, text, kDurationEnd, t, {duration, end});
    if (code == 0)
        *duration = t.duration, *end = t.end;
    return code;
}

int qorStringToDurationRecInterval(QorGlobal *world, const char *text, QorDuration *duration,
                                   QorLong *recurrences)
{
    IsoTime t;
    const int code = fromText(world, text, kDuration + kRecurring, t, {duration, recurrences});
    if (code == 0)
        *duration = t.duration, *recurrences = t.recurrences;
    return code;
}

int qorStringToStartPointEndPointRecInterval(QorGlobal *world, const char *text,
                                             QorTimePoint *start, QorTimePoint *end,
                                             QorLong *recurrences)
{
    IsoTime t;
    const int code = fromText(world, text, kStartEnd + kRecurring, t, {start, end, recurrences});
    if (code == 0)
        *start = t.start, *end = t.end, *recurrences = t.recurrences;
    return code;
}

int qorStringToStartPointDurationRecInterval(QorGlobal *world, const char *text,
                                             QorTimePoint *start, QorDuration *duration,
                                             QorLong *recurrences)
{
    IsoTime t;
    const int code =
        fromText(world, text, kStartDuration + kRecurring, t, {start, duration, recurrences});
    if (code == 0)
        *start = t.start, *duration = t.duration, *recurrences = t.recurrences;
    return code;
}

int qorStringToDurationEndPointRecInterval(QorGlobal *world, const char *text,
                                           QorDuration *duration, QorTimePoint *end,
                                           QorLong *recurrences)
{
    IsoTime t;
    const int code =
        fromText(world, text, kDurationEnd + kRecurring, t, {duration, end, recurrences});
    if (code == 0)
        *duration = t.duration, *end = t.end, *recurrences = t.recurrences;
    return code;
}

} // extern "C"

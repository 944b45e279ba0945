// The TIME text read into the QorDateTimeValue of generated code. This
// grammar raises, so it runs inside a call; it is stricter than the public
// conversions' one at its edges (a recurrence of "R0", an ordinal day 366 of
// a common year, a time difference of 15 hours and some minutes, leading
// zeros of long years and centuries), and it keeps a duration unit of value
// 0 only when it was the last one read.
#include <cstdint>
#include <cstring>

#include "frame/errors.h"
#include "time/iso_time.h"

using namespace qor;

namespace {

constexpr uint32_t kAnyCount = 0xFFFFFFFF;

// Date part flags.
constexpr unsigned char kCentury = 0x80, kYear = 0x40, kWeek = 0x20, kMonth = 0x10, kDay = 0x08;
constexpr unsigned char kNegativeEra = 1, kProlepticEra = 2, kBasicEra = 4;
// Time part flags.
constexpr unsigned char kHours = 0x80, kMinutes = 0x40, kSeconds = 0x20, kFraction = 0x10,
                        kUtc = 0x08, kDifference = 0x04;
constexpr unsigned char kDiffNegative = 0x80, kDiffMinutes = 0x40;
// Duration units, in descending order, and the fraction.
constexpr unsigned char kYears = 0x80, kMonths = 0x40, kWeeks = 0x20, kDays = 0x10,
                        kHourUnit = 0x08, kMinuteUnit = 0x04, kSecondUnit = 0x02,
                        kUnitFraction = 0x01;
// Value kinds.
constexpr unsigned char kRecurringValue = 0x80, kFirstPoint = 0x40, kSecondPoint = 0x20,
                        kFirstDuration = 0x10, kSecondDuration = 0x08;

struct Reader {
    QorGlobal *world;
    const char *p;

    void fail(Msg message, int64_t value = 0) { raise(world, message, longValue(static_cast<QorLong>(value))); }

    // Every number of the text: unsigned decimal digits, at most `most` of
    // them; a value past 32 bits is message 147 with the digits read, fewer
    // than `least` digits message 72.
    uint32_t number(int least, int most, int *count = nullptr)
    {
        uint64_t value = 0;
        int n = 0;
        for (; n < most && isDigit(p[n]); n++) {
            value = value * 10 + static_cast<unsigned>(p[n] - '0');
            if (value > UINT32_MAX)
                fail(Msg::kIntegerTooLong, n + 1);
        }
        if (n < least)
            fail(Msg::kBadTime);
        p += n;
        if (count != nullptr)
            *count = n;
        return static_cast<uint32_t>(value);
    }

    uint32_t digits(int n) { return number(n, n); }
    uint32_t run(int *count) { return number(0, INT32_MAX, count); }
};

unsigned char centuryEra(int64_t century)
{
    if (century >= 15 && century < 100)
        return kBasicEra;
    if (century >= 0 && century <= 14)
        return kProlepticEra;
    return century >= -99 && century <= -1 ? kNegativeEra : 0;
}

unsigned char yearEra(int64_t year)
{
    if (year >= 1582 && year <= 9999)
        return kBasicEra;
    if (year >= 0 && year <= 1581)
        return kProlepticEra;
    return year >= -9999 && year <= -1 ? kNegativeEra : 0;
}

// A date, if one stands: false (and nothing read) for a text that begins
// with a time-of-day.
bool readDate(Reader &in, QorDatePart *date)
{
    const char *start = in.p;
    memset(date, 0, sizeof *date);
    const bool signed_ = *in.p == '-' || *in.p == '+';
    const bool negative = *in.p == '-';
    in.p += signed_;
    const bool leadingZero = *in.p == '0';
    int count = 0;
    const uint32_t magnitude = in.run(&count);
    const int64_t value = negative ? -int64_t{magnitude} : int64_t{magnitude};
    if (*in.p == 'C') {
        in.p++;
        if (count < 2 || magnitude > INT32_MAX || (count > 2 && leadingZero))
            in.fail(Msg::kBadCentury, value);
        date->flags = kCentury | centuryEra(value);
        date->digits = static_cast<uint16_t>(count);
        date->year = static_cast<int32_t>(value);
        return true;
    }
    if (count < 4) {
        if (signed_)
            in.fail(Msg::kBadYear, value);
        in.p = start;
        return false;
    }
    if (magnitude > INT32_MAX || (count >= 5 && leadingZero))
        in.fail(Msg::kBadYear, value);
    date->flags = kYear | yearEra(value);
    date->digits = static_cast<uint16_t>(count);
    date->year = static_cast<int32_t>(value);
    if (*in.p != '-')
        return true;
    in.p++;
    if (*in.p == 'W') {
        in.p++;
        date->week = static_cast<uint16_t>(in.digits(2));
        if (date->week < 1 || date->week > 53)
            in.fail(Msg::kBadWeek, date->week);
        date->flags |= kWeek;
    } else {
        const uint32_t number = in.run(&count);
        if (count == 3) {
            if (number < 1 || number > (isLeapYear(value) ? 366u : 365u))
                in.fail(Msg::kBadDay, number);
            date->day = static_cast<uint16_t>(number);
            date->flags |= kDay;
        } else if (count == 2 && number >= 1 && number <= 12) {
            date->month = static_cast<uint16_t>(number);
            date->flags |= kMonth;
        } else {
            in.fail(Msg::kBadMonth, number);
        }
    }
    if (*in.p != '-')
        return true;
    in.p++;
    if (date->flags & kDay) // an ordinal day ends the date
        in.fail(Msg::kBadTime);
    const bool ofWeek = date->flags & kWeek;
    const uint32_t day = in.digits(ofWeek ? 1 : 2);
    const uint32_t last = ofWeek ? 7 : static_cast<uint32_t>(monthLength(value, date->month));
    if (day < 1 || day > last)
        in.fail(Msg::kBadDay, day);
    date->day = static_cast<uint16_t>(day);
    date->flags |= kDay;
    return true;
}

void readTimeOfDay(Reader &in, QorTimePart *time)
{
    memset(time, 0, sizeof *time);
    time->hours = static_cast<uint16_t>(in.digits(2));
    if (time->hours > 24)
        in.fail(Msg::kBadHour, time->hours);
    time->flags = kHours;
    const bool midnight = time->hours == 24; // the end of a day: nothing after the hour
    if (*in.p == ':') {
        in.p++;
        time->minutes = static_cast<uint16_t>(in.digits(2));
        if (time->minutes > 59 || (midnight && time->minutes != 0))
            in.fail(Msg::kBadMinute, time->minutes);
        time->flags |= kMinutes;
        if (*in.p == ':') {
            in.p++;
            // A leap second may stand at the end of any minute; which ones
            // have one is not known here.
            time->seconds = static_cast<uint16_t>(in.digits(2));
            if (time->seconds > 60 || (midnight && time->seconds != 0))
                in.fail(Msg::kBadSecond, time->seconds);
            time->flags |= kSeconds;
        }
    }
    if (*in.p == '.' || *in.p == ',') {
        in.p++;
        int count = 0;
        time->fraction = in.number(1, INT32_MAX, &count);
        if (count > UINT16_MAX || (midnight && time->fraction != 0))
            in.fail(Msg::kBadTime);
        time->fractionDigits = static_cast<uint16_t>(count);
        time->flags |= kFraction;
    }
    if (*in.p == 'Z') {
        in.p++;
        time->flags |= kUtc;
    } else if (*in.p == '+' || *in.p == '-') {
        const bool negative = *in.p++ == '-';
        time->flags |= kDifference;
        time->diffFlags = negative ? kDiffNegative : 0;
        time->diffHours = static_cast<uint16_t>(in.digits(2));
        if (time->diffHours > 15)
            in.fail(Msg::kBadHour, negative ? -time->diffHours : time->diffHours);
        if (*in.p == ':') {
            in.p++;
            time->diffMinutes = static_cast<uint16_t>(in.digits(2));
            if (time->diffMinutes > 59 || (time->diffHours == 15 && time->diffMinutes != 0))
                in.fail(Msg::kBadMinute, time->diffMinutes);
            time->diffFlags |= kDiffMinutes;
        }
    }
}

void readTimePoint(Reader &in, QorTimeElement *element)
{
    if (!readDate(in, &element->point.date)) {
        readTimeOfDay(in, &element->point.time);
        return;
    }
    memset(&element->point.time, 0, sizeof element->point.time);
    if (*in.p != 'T')
        return;
    if (!(element->point.date.flags & kDay))
        in.fail(Msg::kBadTime);
    in.p++;
    readTimeOfDay(in, &element->point.time);
}

void readDuration(Reader &in, QorDurationPart *d)
{
    memset(d, 0, sizeof *d);
    in.p++; // the "P"
    bool timeUnits = false;
    unsigned char previous = 0xFF; // above every unit
    for (;;) {
        if (*in.p == 'T') {
            if (timeUnits)
                in.fail(Msg::kBadTime);
            timeUnits = true;
            in.p++;
            continue;
        }
        if (!isDigit(*in.p)) {
            if (d->lastUnit == 0)
                in.fail(Msg::kBadTime);
            break;
        }
        const char *start = in.p;
        int count = 0;
        const uint32_t value = in.run(&count);
        if (count >= 2 && *start == '0')
            in.fail(Msg::kBadTime);
        bool fraction = false;
        if (*in.p == '.' || *in.p == ',') {
            in.p++;
            int fractionCount = 0;
            d->fraction = in.number(1, INT32_MAX, &fractionCount);
            if (fractionCount > UINT16_MAX)
                in.fail(Msg::kBadTime);
            d->fractionDigits = static_cast<uint16_t>(fractionCount);
            d->flags |= kUnitFraction;
            fraction = true;
        }
        unsigned char unit = 0;
        uint32_t *field = nullptr;
        // Before the "T" the date units, after it the time units.
        const char letter = *in.p;
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
        if (unit == 0 || unit >= previous || (unit == kWeeks && d->lastUnit != 0))
            in.fail(Msg::kBadTime);
        in.p++;
        *field = value;
        if (value != 0)
            d->flags |= unit;
        d->lastUnit = previous = unit;
        if (fraction || unit == kSecondUnit || unit == kWeeks)
            break;
    }
    d->flags |= d->lastUnit; // the last unit counts even when it is 0
}

void readElement(Reader &in, QorTimeElement *element, bool *duration)
{
    *duration = *in.p == 'P';
    if (*duration)
        readDuration(in, &element->duration);
    else
        readTimePoint(in, element);
}

} // namespace

extern "C" {

int _qorGetDateTimeValue(QorGlobal *world, const char *text, QorDateTimeValue *value)
{
    if (text == nullptr || value == nullptr)
        raise(world, Msg::kBadTime, longValue(0));
    memset(value, 0, sizeof *value);
    Reader in{world, text};
    if (*in.p == 'R') {
        in.p++;
        if (*in.p == '0')
            in.fail(Msg::kBadTime);
        int count = 0;
        const uint32_t recurrences = in.run(&count);
        if (*in.p != '/')
            in.fail(Msg::kBadTime);
        in.p++;
        value->kinds = kRecurringValue;
        value->recurrenceDigits = static_cast<uint16_t>(count);
        value->recurrences = count == 0 ? kAnyCount : recurrences;
    }
    bool duration = false;
    readElement(in, &value->first, &duration);
    value->kinds |= duration ? kFirstDuration : kFirstPoint;
    if (*in.p == '/') {
        in.p++;
        bool secondDuration = false;
        readElement(in, &value->second, &secondDuration);
        if (secondDuration && duration)
            in.fail(Msg::kBadTime);
        value->kinds |= secondDuration ? kSecondDuration : kSecondPoint;
    } else if ((value->kinds & kRecurringValue) && !duration) {
        in.fail(Msg::kBadTime); // a recurrence needs a length
    }
    if (*in.p != '\0')
        in.fail(Msg::kBadTime);
    if ((value->kinds & (kFirstPoint | kSecondPoint)) == (kFirstPoint | kSecondPoint)) {
        // The start may not lie after the end. The ends are compared as
        // written: their time differences are not applied, and don't count
        // in their composition.
        QorDateTimeValue start{}, end{};
        start.kinds = end.kinds = kFirstPoint;
        start.first = value->first;
        end.first = value->second;
        start.first.point.time.flags &= static_cast<unsigned char>(~kDifference);
        end.first.point.time.flags &= static_cast<unsigned char>(~kDifference);
        const int order = _qorDTIntervalsRelation(&start, &end);
        if (order == 1 || order == -2)
            in.fail(Msg::kBadTime);
    }
    return 0;
}

} // extern "C"

// The XML Schema date and time forms (xs:date, xs:time, xs:dateTime,
// xs:gYear and kin, xs:duration) to and from plain integers, for the time
// representations of EXER. They follow XML Schema's lexical rules, not ISO
// 8601's as the TIME types do, so they share only the digit test.
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "frame/world.h"
#include "time/iso_time.h"

namespace {

using qor::isDigit;

constexpr int kBad = QOR_BAD_TIME;
constexpr int kNoZone = 0x7FFFFFFE, kUtcZone = 0x7FFFFFFF;
constexpr int kMaxZone = 14 * 60;

// Writes in two passes: with no buffer it only counts.
struct Writer {
    char *out = nullptr;
    size_t length = 0;

    void put(const char *s, size_t n)
    {
        if (out != nullptr && n > 0)
            memcpy(out + length, s, n);
        length += n;
    }
    void put(const char *s) { put(s, strlen(s)); }
    void put(char c) { put(&c, 1); }
    // `value` (at least 0) in at least `width` digits.
    void number(int64_t value, int width)
    {
        char digits[24];
        int n = 0;
        do {
            digits[n++] = static_cast<char>('0' + value % 10);
            value /= 10;
        } while (value > 0 || n < width);
        while (n > 0)
            put(digits[--n]);
    }
};

bool goodZone(int tz)
{
    return tz == kNoZone || tz == kUtcZone || (tz >= -kMaxZone && tz <= kMaxZone);
}

void putZone(Writer &w, int tz)
{
    if (tz == kNoZone)
        return;
    if (tz == kUtcZone) {
        w.put('Z');
        return;
    }
    const int minutes = tz < 0 ? -tz : tz;
    w.put(tz < 0 ? '-' : '+');
    w.number(minutes / 60, 2);
    w.put(':');
    w.number(minutes % 60, 2);
}

bool goodYear(int64_t year)
{
    return year != 0;
}

void putYear(Writer &w, int64_t year)
{
    if (year < 0)
        w.put('-');
    w.number(year < 0 ? -year : year, 4);
}

bool goodFraction(const char *fraction, int length)
{
    if (length < 0 || (length > 0 && fraction == nullptr))
        return false;
    for (int i = 0; i < length; i++)
        if (!isDigit(fraction[i]))
            return false;
    return true;
}

bool goodTime(int hour, int minute, int second, const char *fraction, int fractionLength)
{
    if (!goodFraction(fraction, fractionLength) || minute < 0 || minute > 59 || second < 0 ||
        second > 60 || hour < 0 || hour > 24)
        return false;
    return hour < 24 || (minute == 0 && second == 0 && fractionLength == 0);
}

void putTime(Writer &w, int hour, int minute, int second, const char *fraction,
             int fractionLength)
{
    w.number(hour, 2);
    w.put(':');
    w.number(minute, 2);
    w.put(':');
    w.number(second, 2);
    if (fractionLength > 0) {
        w.put('.');
        w.put(fraction, static_cast<size_t>(fractionLength));
    }
}

// Runs `compose` once to measure and once to write into `*text`, new memory
// when that is null.
template <class Compose> int writeText(QorGlobal *world, char **text, Compose &&compose)
{
    if (world == nullptr || text == nullptr)
        return kBad;
    Writer measure;
    compose(measure);
    char *out = *text;
    if (out == nullptr) {
        out = static_cast<char *>(qorGetMemory(world, static_cast<QorLong>(measure.length + 1)));
        if (out == nullptr)
            return kBad;
        *text = out;
    }
    Writer w;
    w.out = out;
    compose(w);
    out[w.length] = '\0';
    return 0;
}

// Reading: a cursor that gives up at the first fault.
struct Reader {
    const char *at;

    bool exact(int count, int *value) { return qor::readDigits(at, count, value); }
    bool literal(const char *s)
    {
        const size_t n = strlen(s);
        if (strncmp(at, s, n) != 0)
            return false;
        at += n;
        return true;
    }
    // A run of digits of any length that fits in 32 bits; false if none.
    bool number(int *value)
    {
        if (!isDigit(*at))
            return false;
        int64_t v = 0;
        while (isDigit(*at)) {
            v = v * 10 + (*at++ - '0');
            if (v > INT32_MAX)
                return false;
        }
        *value = static_cast<int>(v);
        return true;
    }
    // An optional "-", at least four digits, not all zero.
    bool year(int *value)
    {
        const bool negative = *at == '-';
        if (negative)
            ++at;
        const char *start = at;
        int v = 0;
        if (!number(&v) || at - start < 4 || v == 0)
            return false;
        *value = negative ? -v : v;
        return true;
    }
    bool month(int *value) { return exact(2, value) && *value >= 1 && *value <= 12; }
    bool day(int *value) { return exact(2, value) && *value >= 1 && *value <= 31; }
    bool time(int *hour, int *minute, int *second, const char **fraction, int *fractionLength)
    {
        if (!exact(2, hour) || !literal(":") || !exact(2, minute) || !literal(":") ||
            !exact(2, second))
            return false;
        const char *digits = nullptr;
        int length = 0;
        if (*at == '.') {
            digits = ++at;
            while (isDigit(*at)) {
                ++at;
                if (++length == INT32_MAX)
                    return false;
            }
            if (length == 0)
                return false;
        }
        if (!goodTime(*hour, *minute, *second, digits, length))
            return false;
        *fraction = digits;
        *fractionLength = length;
        return true;
    }
    // The zone, which ends the text.
    bool zone(int *tz)
    {
        if (*at == '\0') {
            *tz = kNoZone;
            return true;
        }
        if ((*at == 'Z') && at[1] == '\0') {
            *tz = kUtcZone;
            return true;
        }
        if (*at != '+' && *at != '-')
            return false;
        const bool negative = *at++ == '-';
        int hours = 0, minutes = 0;
        if (!exact(2, &hours) || !literal(":") || !exact(2, &minutes) || minutes > 59 ||
            *at != '\0')
            return false;
        const int total = hours * 60 + minutes;
        if (total > kMaxZone)
            return false;
        *tz = negative ? -total : total;
        return true;
    }
};

bool allSet(std::initializer_list<const void *> pointers)
{
    for (const void *p : pointers)
        if (p == nullptr)
            return false;
    return true;
}

} // namespace

extern "C" {

int qorIntsToDate(QorGlobal *world, int year, int month, int day, int tz, char **text)
{
    if (!goodYear(year) || month < 1 || month > 12 || day < 1 || day > 31 || !goodZone(tz))
        return kBad;
    return writeText(world, text, [&](Writer &w) {
        putYear(w, year);
        w.put('-');
        w.number(month, 2);
        w.put('-');
        w.number(day, 2);
        putZone(w, tz);
    });
}

int qorIntsToTime(QorGlobal *world, int hour, int minute, int second, const char *fraction,
                  int fractionLength, int tz, char **text)
{
    if (!goodTime(hour, minute, second, fraction, fractionLength) || !goodZone(tz))
        return kBad;
    return writeText(world, text, [&](Writer &w) {
        putTime(w, hour, minute, second, fraction, fractionLength);
        putZone(w, tz);
    });
}

int qorIntsToDateTime(QorGlobal *world, int year, int month, int day, int hour, int minute,
                      int second, const char *fraction, int fractionLength, int tz, char **text)
{
    if (!goodYear(year) || month < 1 || month > 12 || day < 1 || day > 31 ||
        !goodTime(hour, minute, second, fraction, fractionLength) || !goodZone(tz))
        return kBad;
    return writeText(world, text, [&](Writer &w) {
        putYear(w, year);
        w.put('-');
        w.number(month, 2);
        w.put('-');
        w.number(day, 2);
        w.put('T');
        putTime(w, hour, minute, second, fraction, fractionLength);
        putZone(w, tz);
    });
}

int qorIntsToGYear(QorGlobal *world, int year, int tz, char **text)
{
    if (!goodYear(year) || !goodZone(tz))
        return kBad;
    return writeText(world, text, [&](Writer &w) {
        putYear(w, year);
        putZone(w, tz);
    });
}

int qorIntsToGYearMonth(QorGlobal *world, int year, int month, int tz, char **text)
{
    if (!goodYear(year) || month < 1 || month > 12 || !goodZone(tz))
        return kBad;
    return writeText(world, text, [&](Writer &w) {
        putYear(w, year);
        w.put('-');
        w.number(month, 2);
        putZone(w, tz);
    });
}

int qorIntsToGMonth(QorGlobal *world, int month, int tz, char **text)
{
    if (month < 1 || month > 12 || !goodZone(tz))
        return kBad;
    return writeText(world, text, [&](Writer &w) {
        w.put("--");
        w.number(month, 2);
        putZone(w, tz);
    });
}

int qorIntsToGMonthDay(QorGlobal *world, int month, int day, int tz, char **text)
{
    if (month < 1 || month > 12 || day < 1 || day > 31 || !goodZone(tz))
        return kBad;
    return writeText(world, text, [&](Writer &w) {
        w.put("--");
        w.number(month, 2);
        w.put('-');
        w.number(day, 2);
        putZone(w, tz);
    });
}

int qorIntsToGDay(QorGlobal *world, int day, int tz, char **text)
{
    if (day < 1 || day > 31 || !goodZone(tz))
        return kBad;
    return writeText(world, text, [&](Writer &w) {
        w.put("---");
        w.number(day, 2);
        putZone(w, tz);
    });
}

int qorIntsToDuration(QorGlobal *world, int negative, int years, int months, int days, int hours,
                      int minutes, int seconds, const char *fraction, int fractionLength,
                      char **text)
{
    if (years < 0 || months < 0 || days < 0 || hours < 0 || minutes < 0 || seconds < 0 ||
        !goodFraction(fraction, fractionLength))
        return kBad;
    const bool timePart = hours != 0 || minutes != 0 || seconds != 0 || fractionLength > 0;
    const bool empty = !timePart && years == 0 && months == 0 && days == 0;
    return writeText(world, text, [&](Writer &w) {
        // A zero duration has no sign: "-PT0S" would say nothing more.
        if (empty) {
            w.put("PT0S");
            return;
        }
        if (negative != 0)
            w.put('-');
        w.put('P');
        const struct {
            int value;
            char unit;
        } dateUnits[] = {{years, 'Y'}, {months, 'M'}, {days, 'D'}};
        for (const auto &u : dateUnits)
            if (u.value != 0) {
                w.number(u.value, 1);
                w.put(u.unit);
            }
        if (!timePart)
            return;
        w.put('T');
        if (hours != 0) {
            w.number(hours, 1);
            w.put('H');
        }
        if (minutes != 0) {
            w.number(minutes, 1);
            w.put('M');
        }
        if (seconds != 0 || fractionLength > 0) {
            w.number(seconds, 1);
            if (fractionLength > 0) {
                w.put('.');
                w.put(fraction, static_cast<size_t>(fractionLength));
            }
            w.put('S');
        }
    });
}

int qorDateToInts(QorGlobal *world, const char *text, int *year, int *month, int *day, int *tz)
{
    if (world == nullptr || text == nullptr || !allSet({year, month, day, tz}))
        return kBad;
    Reader r{text};
    int y, mo, d, zone;
    if (!r.year(&y) || !r.literal("-") || !r.month(&mo) || !r.literal("-") || !r.day(&d) ||
        !r.zone(&zone))
        return kBad;
    *year = y;
    *month = mo;
    *day = d;
    *tz = zone;
    return 0;
}

int qorTimeToInts(QorGlobal *world, const char *text, int *hour, int *minute, int *second,
                  const char **fraction, int *fractionLength, int *tz)
{
    if (world == nullptr || text == nullptr ||
        !allSet({hour, minute, second, fraction, fractionLength, tz}))
        return kBad;
    Reader r{text};
    int h, mi, s, length, zone;
    const char *digits;
    if (!r.time(&h, &mi, &s, &digits, &length) || !r.zone(&zone))
        return kBad;
    *hour = h;
    *minute = mi;
    *second = s;
    *fraction = digits;
    *fractionLength = length;
    *tz = zone;
    return 0;
}

int qorDateTimeToInts(QorGlobal *world, const char *text, int *year, int *month, int *day,
                      int *hour, int *minute, int *second, const char **fraction,
                      int *fractionLength, int *tz)
{
    if (world == nullptr || text == nullptr ||
        !allSet({year, month, day, hour, minute, second, fraction, fractionLength, tz}))
        return kBad;
    Reader r{text};
    int y, mo, d, h, mi, s, length, zone;
    const char *digits;
    if (!r.year(&y) || !r.literal("-") || !r.month(&mo) || !r.literal("-") || !r.day(&d) ||
        !r.literal("T") || !r.time(&h, &mi, &s, &digits, &length) || !r.zone(&zone))
        return kBad;
    *year = y;
    *month = mo;
    *day = d;
    *hour = h;
    *minute = mi;
    *second = s;
    *fraction = digits;
    *fractionLength = length;
    *tz = zone;
    return 0;
}

int qorGYearToInts(QorGlobal *world, const char *text, int *year, int *tz)
{
    if (world == nullptr || text == nullptr || !allSet({year, tz}))
        return kBad;
    Reader r{text};
    int y, zone;
    if (!r.year(&y) || !r.zone(&zone))
        return kBad;
    *year = y;
    *tz = zone;
    return 0;
}

int qorGYearMonthToInts(QorGlobal *world, const char *text, int *year, int *month, int *tz)
{
    if (world == nullptr || text == nullptr || !allSet({year, month, tz}))
        return kBad;
    Reader r{text};
    int y, mo, zone;
    if (!r.year(&y) || !r.literal("-") || !r.month(&mo) || !r.zone(&zone))
        return kBad;
    *year = y;
    *month = mo;
    *tz = zone;
    return 0;
}

int qorGMonthToInts(QorGlobal *world, const char *text, int *month, int *tz)
{
    if (world == nullptr || text == nullptr || !allSet({month, tz}))
        return kBad;
    Reader r{text};
    int mo, zone;
    if (!r.literal("--") || !r.month(&mo) || !r.zone(&zone))
        return kBad;
    *month = mo;
    *tz = zone;
    return 0;
}

int qorGMonthDayToInts(QorGlobal *world, const char *text, int *month, int *day, int *tz)
{
    if (world == nullptr || text == nullptr || !allSet({month, day, tz}))
        return kBad;
    Reader r{text};
    int mo, d, zone;
    if (!r.literal("--") || !r.month(&mo) || !r.literal("-") || !r.day(&d) || !r.zone(&zone))
        return kBad;
    *month = mo;
    *day = d;
    *tz = zone;
    return 0;
}

int qorGDayToInts(QorGlobal *world, const char *text, int *day, int *tz)
{
    if (world == nullptr || text == nullptr || !allSet({day, tz}))
        return kBad;
    Reader r{text};
    int d, zone;
    if (!r.literal("---") || !r.day(&d) || !r.zone(&zone))
        return kBad;
    *day = d;
    *tz = zone;
    return 0;
}

int qorDurationToInts(QorGlobal *world, const char *text, int *negative, int *years, int *months,
                      int *days, int *hours, int *minutes, int *seconds, const char **fraction,
                      int *fractionLength)
{
    if (world == nullptr || text == nullptr ||
        !allSet({negative, years, months, days, hours, minutes, seconds, fraction,
                 fractionLength}))
        return kBad;
    Reader r{text};
    const bool minus = r.literal("-");
    if (!r.literal("P") || (!isDigit(*r.at) && *r.at != 'T'))
        return kBad;
    int values[6] = {};
    const char *digits = nullptr;
    int length = 0;
    // A number not followed by the unit in turn waits for the next unit.
    auto unit = [&r](char letter, int *value, bool seconds) {
        Reader ahead = r;
        int v = 0;
        if (!ahead.number(&v) || (*ahead.at != letter && !(seconds && *ahead.at == '.')))
            return true;
        if (!seconds || *ahead.at == letter) {
            r.at = ahead.at + 1;
            *value = v;
        } else {
            r.at = ahead.at;
            *value = v;
        }
        return true;
    };
    unit('Y', &values[0], false);
    unit('M', &values[1], false);
    unit('D', &values[2], false);
    if (r.literal("T")) {
        const char *timeStart = r.at;
        unit('H', &values[3], false);
        unit('M', &values[4], false);
        unit('S', &values[5], true);
        if (*r.at == '.') {
            digits = ++r.at;
            while (isDigit(*r.at)) {
                ++r.at;
                if (++length == INT32_MAX)
                    return kBad;
            }
            if (length == 0 || !r.literal("S"))
                return kBad;
        }
        if (r.at == timeStart)
            return kBad;
    }
    if (*r.at != '\0')
        return kBad;
    *negative = minus ? 1 : 0;
    int *out[6] = {years, months, days, hours, minutes, seconds};
    for (int i = 0; i < 6; i++)
        *out[i] = values[i];
    *fraction = digits;
    *fractionLength = length;
    return 0;
}

} // extern "C"

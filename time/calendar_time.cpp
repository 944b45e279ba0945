// Calendar time, seconds since 1970-01-01T00:00:00Z, to and from UTCTime and
// GeneralizedTime records and text. The count is reckoned in 32 bits, as the
// interfaces it mirrors always did: a step that would wrap is refused, so the
// last instant is 2038-01-19T03:14:07Z on every platform.
#include <cstdint>
#include <cstring>

#include "frame/world.h"
#include "time/classic_text.h"
#include "time/iso_time.h"

namespace {

constexpr int kNull = QOR_BAD_ARG, kBad = QOR_BAD_TIME, kNoMemory = QOR_OUT_OF_MEMORY;

constexpr int kDaysBefore[2][13] = {
    {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365},
    {0, 31, 60, 91, 121, 152, 182, 213, 244, 274, 305, 335, 366},
};

int64_t floorDiv(int64_t a, int64_t b)
{
    return a / b - (a % b != 0 && (a < 0) != (b < 0));
}

// Leap days before year `y`, for any sign.
int64_t leapsBefore(int64_t y)
{
    return floorDiv(y - 1, 4) - floorDiv(y - 1, 100) + floorDiv(y - 1, 400);
}

bool fits32(int64_t v)
{
    return v >= INT32_MIN && v <= INT32_MAX;
}

int toCalendar(int64_t year, int month, int day, int hour, int minute, int second, int mindiff,
               int64_t *calendar)
{
    if (year < 1970 || month < 1 || month > 12 || day < 1 ||
        day > qor::monthLength(year, month) || hour < 0 || hour > 23 || minute < 0 ||
        minute > 59 || second < 0 || second > 59 || mindiff < -1439 || mindiff > 1439)
        return kBad;
    const int64_t days = (year - 1970) * 365 + kDaysBefore[qor::isLeapYear(year)][month - 1] +
                         leapsBefore(year) + day - 478;
    if (!fits32(days))
        return kBad;
    const int64_t hours = days * 24 + hour;
    if (!fits32(hours))
        return kBad;
    const int64_t minutes = hours * 60 - mindiff + minute;
    if (!fits32(minutes))
        return kBad;
    const int64_t seconds = minutes * 60 + second;
    if (!fits32(seconds) || seconds < 0)
        return kBad;
    *calendar = seconds;
    return 0;
}

// The UTCTime window: 50 to 99 are 1950 to 1999, 0 to 49 are 2000 to 2049.
int64_t windowedYear(int year)
{
    return year >= 50 ? 1900 + year : 2000 + year;
}

// Beyond this no GeneralizedTime year (16 bits) can be reached; refusing it
// first keeps the arithmetic below far from 64-bit limits.
constexpr int64_t kCalendarCeiling = INT64_C(1) << 40;

int fromCalendar(int64_t calendar, int mindiff, GeneralizedTime *time)
{
    if (mindiff < -1439 || mindiff > 1439 || calendar < 0 || calendar > kCalendarCeiling)
        return kBad;
    const int64_t total = calendar + mindiff * 60;
    int64_t days = floorDiv(total, 86400);
    const int64_t inDay = total - days * 86400;
    int64_t year = 1970;
    for (;;) {
        const int length = qor::isLeapYear(year) ? 366 : 365;
        if (days >= 0 && days < length)
            break;
        int64_t next = year + floorDiv(days, 365);
        if (next == year)
            next += days < 0 ? -1 : 1;
        days -= (next - year) * 365 + leapsBefore(next) - leapsBefore(year);
        year = next;
    }
    if (year > INT16_MAX)
        return kBad;
    const int *before = kDaysBefore[qor::isLeapYear(year)];
    int month = 12;
    while (before[month - 1] > days)
        --month;
    *time = GeneralizedTime{};
    time->year = static_cast<int16_t>(year);
    time->month = static_cast<int16_t>(month);
    time->day = static_cast<int16_t>(days - before[month - 1] + 1);
    time->hour = static_cast<int16_t>(inDay / 3600);
    time->minute = static_cast<int16_t>(inDay / 60 % 60);
    time->second = static_cast<int16_t>(inDay % 60);
    time->mindiff = static_cast<int16_t>(mindiff);
    time->utc = mindiff == 0;
    return 0;
}

int recordToCalendar(const GeneralizedTime *record, bool utcTime, int64_t *calendar)
{
    int64_t year = record->year;
    if (utcTime) {
        if (year < 0 || year > 99)
            return kBad;
        year = windowedYear(static_cast<int>(year));
    }
    return toCalendar(year, record->month, record->day, record->hour, record->minute,
                      record->second, record->utc ? 0 : record->mindiff, calendar);
}

// Runs a text conversion as under BER, whatever the context's rules.
struct LenientRules {
    QorGlobal *world;
    int saved;
    explicit LenientRules(QorGlobal *w) : world(w), saved(w->encRules) { w->encRules = QOR_BER; }
    ~LenientRules() { world->encRules = saved; }
};

int textToCalendar(QorGlobal *world, const char *text, bool utcTime, int64_t *calendar)
{
    if (world == nullptr || text == nullptr || calendar == nullptr)
        return kNull;
    LenientRules lenient(world);
    int year, month, day, hour, minute, second, fraction, mindiff;
    short precision;
    const int code = utcTime ? qorUTCTimeToInts(world, text, &year, &month, &day, &hour, &minute,
                                                &second, &mindiff)
                             : qorGeneralizedTimeToInts(world, text, &year, &month, &day, &hour,
                                                        &minute, &second, &fraction, &precision,
                                                        &mindiff);
    if (code != 0)
        return kBad;
    return toCalendar(utcTime ? windowedYear(year) : year, month, day, hour, minute, second,
                      mindiff == 1 ? 0 : mindiff, calendar);
}

int calendarToRecord(QorGlobal *world, int64_t calendar, int mindiff, bool utcTime,
                     GeneralizedTime **record)
{
    if (world == nullptr || record == nullptr)
        return kNull;
    GeneralizedTime time;
    int code = fromCalendar(calendar, mindiff, &time);
    if (code == 0 && utcTime) {
        if (time.year < 1950 || time.year > 2049)
            code = kBad;
        time.year = static_cast<int16_t>(time.year % 100);
    }
    if (code != 0)
        return code;
    if (*record == nullptr) {
        *record = static_cast<GeneralizedTime *>(qorGetMemory(world, sizeof(GeneralizedTime)));
        if (*record == nullptr)
            return kNoMemory;
    }
    **record = time;
    return 0;
}

int calendarToText(QorGlobal *world, int64_t calendar, int mindiff, bool utcTime, char **text)
{
    if (world == nullptr || text == nullptr)
        return kNull;
    GeneralizedTime time;
    int code = fromCalendar(calendar, mindiff, &time);
    if (code != 0)
        return code;
    if (utcTime && (time.year < 1950 || time.year > 2049))
        return kBad;
    // The integer forms' GeneralizedTime knows 0 as local time and 1 as UTC,
    // so a difference of one minute east has no text there.
    if (!utcTime && mindiff == 1)
        return kBad;
    char buffer[qor::kClassicTimeText];
    {
        LenientRules lenient(world);
        code = utcTime ? qorIntsToUTCTime(world, time.year % 100, time.month, time.day, time.hour,
                                          time.minute, time.second, mindiff, buffer)
                       : qorIntsToGeneralizedTime(world, time.year, time.month, time.day,
                                                  time.hour, time.minute, time.second, 0, 0,
                                                  mindiff == 0 ? 1 : mindiff, buffer);
    }
    if (code != 0)
        return kBad;
    const size_t length = strlen(buffer) + 1;
    if (*text == nullptr) {
        *text = static_cast<char *>(qorGetMemory(world, static_cast<QorLong>(length)));
        if (*text == nullptr)
            return kNoMemory;
    }
    memcpy(*text, buffer, length);
    return 0;
}

} // namespace

extern "C" {

int qorUTCTimeStructToCalTime(QorGlobal *world, const GeneralizedTime *record, int64_t *calendar)
{
    if (world == nullptr || record == nullptr || calendar == nullptr)
        return kNull;
    return recordToCalendar(record, true, calendar);
}

int qorGenTimeStructToCalTime(QorGlobal *world, const GeneralizedTime *record, int64_t *calendar)
{
    if (world == nullptr || record == nullptr || calendar == nullptr)
        return kNull;
    return recordToCalendar(record, false, calendar);
}

int qorUTCTimeStringToCalTime(QorGlobal *world, const char *text, int64_t *calendar)
{
    return textToCalendar(world, text, true, calendar);
}

int qorGenTimeStringToCalTime(QorGlobal *world, const char *text, int64_t *calendar)
{
    return textToCalendar(world, text, false, calendar);
}

int qorCalTimeToUTCTimeStruct(QorGlobal *world, int64_t calendar, int mindiff,
                              GeneralizedTime **record)
{
    return calendarToRecord(world, calendar, mindiff, true, record);
}

int qorCalTimeToGenTimeStruct(QorGlobal *world, int64_t calendar, int mindiff,
                              GeneralizedTime **record)
{
    return calendarToRecord(world, calendar, mindiff, false, record);
}

int qorCalTimeToUTCTimeString(QorGlobal *world, int64_t calendar, int mindiff, char **text)
{
    return calendarToText(world, calendar, mindiff, true, text);
}

int qorCalTimeToGenTimeString(QorGlobal *world, int64_t calendar, int mindiff, char **text)
{
    return calendarToText(world, calendar, mindiff, false, text);
}

} // extern "C"

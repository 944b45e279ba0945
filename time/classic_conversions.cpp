// UTCTime and GeneralizedTime text to and from plain integers, and both to
// and from calendar time (seconds since 1970). These are the application's
// calls: they give a code and never raise, so they share no code with the
// encoders' time text, which raises and keeps milliseconds rather than a
// fraction of any precision.
#include <cstdint>
#include <cstring>

#include "frame/world.h"
#include "time/classic_text.h"
#include "time/iso_time.h"

namespace {

constexpr int kBad = QOR_BAD_TIME;

bool strictRules(const QorGlobal *world)
{
    return world->encRules == QOR_DER || world->encRules == QOR_CER;
}

using qor::isDigit;
using qor::readDigits;

// Writes `value` (at least 0) in exactly `count` digits; false if it needs more.
bool writeDigits(char *&out, int64_t value, int count)
{
    if (value < 0)
        return false;
    for (int i = count - 1; i >= 0; i--) {
        out[i] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
    out += count;
    return value == 0;
}

bool fieldsInRange(int month, int day, int hour, int minute, int second)
{
    return month >= 1 && month <= 12 && day >= 1 && day <= 31 && hour >= 0 && hour < 24 &&
           minute >= 0 && minute < 60 && second >= 0 && second < 60;
}

// The zone of `mindiff` minutes east as a sign and "hhmm".
bool writeDifference(char *&out, int mindiff)
{
    if (mindiff < -1440 || mindiff > 1440)
        return false;
    *out++ = mindiff < 0 ? '-' : '+';
    const int minutes = mindiff < 0 ? -mindiff : mindiff;
    return writeDigits(out, minutes / 60, 2) && writeDigits(out, minutes % 60, 2);
}

// "Z" or "z" last in the text is 1; a sign, two digits of hours up to 23 and
// perhaps two of minutes is the hours in minutes: the minutes are read but
// not counted, as the classic interface did.
bool readZone(const char *at, int *mindiff)
{
    if ((*at == 'Z' || *at == 'z') && at[1] == '\0') {
        *mindiff = 1;
        return true;
    }
    if (*at != '+' && *at != '-')
        return false;
    const bool negative = *at++ == '-';
    int hours = 0, minutes = 0;
    if (!readDigits(at, 2, &hours) || hours > 23)
        return false;
    if (*at != '\0' && (!readDigits(at, 2, &minutes) || *at != '\0'))
        return false;
    *mindiff = negative ? -hours * 60 : hours * 60;
    return true;
}

// 10^n for n up to 18.
int64_t power10(int n)
{
    int64_t p = 1;
    while (n-- > 0)
        p *= 10;
    return p;
}

// Drops the trailing zeros of a fraction of `*precision` digits.
void trimFraction(int64_t *fraction, int *precision)
{
    if (*fraction == 0)
        *precision = 0;
    while (*precision > 0 && *fraction % 10 == 0) {
        *fraction /= 10;
        --*precision;
    }
}

// The most digits of a fraction whose scale 10^precision still fits in 64
// bits; a fraction of an hour or a minute finer than that is refused, since
// the spread to minutes and seconds reckons with that scale.
constexpr int kMaxSpreadPrecision = 18;
constexpr int kSignificantDigits = 9;

} // namespace

extern "C" {

int qorIntsToGeneralizedTime(QorGlobal *world, int year, int month, int day, int hour,
                                        int minute, int second, int fraction, int precision,
                                        int mindiff, char *text)
{
    if (world == nullptr || text == nullptr || !fieldsInRange(month, day, hour, minute, second))
        return kBad;
    if (precision < 0 || precision > kMaxSpreadPrecision || fraction < 0 ||
        fraction >= power10(precision))
        return kBad;
    const bool strict = strictRules(world);
    if (mindiff != 1 && strict)
        return kBad;
    char buffer[qor::kClassicTimeText + 8];
    char *out = buffer;
    if (!writeDigits(out, year, 4))
        return kBad;
    (void)writeDigits(out, month, 2);
    (void)writeDigits(out, day, 2);
    (void)writeDigits(out, hour, 2);
    (void)writeDigits(out, minute, 2);
    (void)writeDigits(out, second, 2);
    int64_t digits = fraction;
    int kept = precision;
    trimFraction(&digits, &kept);
    if (kept > 0) {
        *out++ = '.';
        (void)writeDigits(out, digits, kept);
    } else if (world->encRules == QOR_BER && second == 0) {
        out -= 2; // BER leaves out a zero second
    }
    if (mindiff == 1)
        *out++ = 'Z';
    else if (mindiff != 0 && !writeDifference(out, mindiff))
        return kBad;
    *out = '\0';
    memcpy(text, buffer, static_cast<size_t>(out - buffer) + 1);
    return 0;
}

int qorGeneralizedTimeToInts(QorGlobal *world, const char *text, int *year, int *month,
                                        int *day, int *hour, int *minute, int *second,
                                        int *fraction, short *precision, int *mindiff)
{
    if (world == nullptr || text == nullptr || year == nullptr || month == nullptr ||
        day == nullptr || hour == nullptr || minute == nullptr || second == nullptr ||
        fraction == nullptr || precision == nullptr || mindiff == nullptr)
        return kBad;
    const bool strict = strictRules(world);
    const char *at = text;
    int y, mo, d, h, mi = 0, s = 0;
    if (!readDigits(at, 4, &y) || !readDigits(at, 2, &mo) || !readDigits(at, 2, &d) ||
        !readDigits(at, 2, &h))
        return kBad;
    // The unit the fraction belongs to: 2 hour, 1 minute, 0 second.
    int unit = 2;
    if (readDigits(at, 2, &mi)) {
        unit = 1;
        if (readDigits(at, 2, &s))
            unit = 0;
    }
    if ((strict && unit != 0) || !fieldsInRange(mo, d, h, mi, s))
        return kBad;
    int64_t value = 0;
    int scale = 0;
    if (*at == '.' || *at == ',') {
        if (strict && *at == ',')
            return kBad;
        ++at;
        int zeros = 0;
        // Leading zeros only scale the fraction, however many there are.
        while (*at == '0') {
            ++at;
            ++zeros;
            if (zeros > 0x7FFF - kSignificantDigits)
                return kBad;
        }
        int read = 0;
        while (read < kSignificantDigits && isDigit(*at)) {
            value = value * 10 + (*at++ - '0');
            ++read;
        }
        if (read == 0 && (strict || zeros == 0))
            return kBad;
        scale = zeros + read;
        while (isDigit(*at))
            ++at;
        if (strict && at[-1] == '0')
            return kBad;
        if (unit > 0) {
            if (scale > kMaxSpreadPrecision)
                return kBad;
            const int64_t whole = power10(scale);
            int64_t rest = value;
            if (unit == 2) {
                mi = static_cast<int>(rest * 60 / whole);
                rest = rest * 60 % whole;
            }
            s = static_cast<int>(rest * 60 / whole);
            value = rest * 60 % whole;
            trimFraction(&value, &scale);
        }
        if (value > INT32_MAX)
            return kBad;
    }
    int zone = 0;
    if (*at != '\0' && !readZone(at, &zone))
        return kBad;
    if (strict && zone != 1)
        return kBad;
    *year = y;
    *month = mo;
    *day = d;
    *hour = h;
    *minute = mi;
    *second = s;
    *fraction = static_cast<int>(value);
    *precision = static_cast<short>(scale);
    *mindiff = zone;
    return 0;
}

int qorIntsToUTCTime(QorGlobal *world, int year, int month, int day, int hour,
                                int minute, int second, int mindiff, char *text)
{
    if (world == nullptr || text == nullptr || !fieldsInRange(month, day, hour, minute, second))
        return kBad;
    if (mindiff != 0 && strictRules(world))
        return kBad;
    char buffer[qor::kClassicTimeText];
    char *out = buffer;
    if (!writeDigits(out, year, 2))
        return kBad;
    (void)writeDigits(out, month, 2);
    (void)writeDigits(out, day, 2);
    (void)writeDigits(out, hour, 2);
    (void)writeDigits(out, minute, 2);
    if (world->encRules != QOR_BER || second != 0)
        (void)writeDigits(out, second, 2);
    // Here 0 is UTC: a UTCTime always names its zone.
    if (mindiff == 0)
        *out++ = 'Z';
    else if (!writeDifference(out, mindiff))
        return kBad;
    *out = '\0';
    memcpy(text, buffer, static_cast<size_t>(out - buffer) + 1);
    return 0;
}

int qorUTCTimeToInts(QorGlobal *world, const char *text, int *year, int *month,
                                int *day, int *hour, int *minute, int *second, int *mindiff)
{
    if (world == nullptr || text == nullptr || year == nullptr || month == nullptr ||
        day == nullptr || hour == nullptr || minute == nullptr || second == nullptr ||
        mindiff == nullptr)
        return kBad;
    const bool strict = strictRules(world);
    const char *at = text;
    int y, mo, d, h, mi, s = 0;
    if (!readDigits(at, 2, &y) || !readDigits(at, 2, &mo) || !readDigits(at, 2, &d) ||
        !readDigits(at, 2, &h) || !readDigits(at, 2, &mi))
        return kBad;
    if (!readDigits(at, 2, &s) && strict)
        return kBad;
    int zone = 0;
    if (!fieldsInRange(mo, d, h, mi, s) || !readZone(at, &zone) || (strict && zone != 1))
        return kBad;
    *year = y;
    *month = mo;
    *day = d;
    *hour = h;
    *minute = mi;
    *second = s;
    *mindiff = zone;
    return 0;
}

int qorGeneralizedTimeToShorts(QorGlobal *world, const char *text, short *year,
                                          short *month, short *day, short *hour, short *minute,
                                          short *second, int *fraction, short *precision,
                                          int *mindiff)
{
    if (year == nullptr || month == nullptr || day == nullptr || hour == nullptr ||
        minute == nullptr || second == nullptr)
        return kBad;
    int cells[6] = {*year, *month, *day, *hour, *minute, *second};
    const int code = qorGeneralizedTimeToInts(world, text, &cells[0], &cells[1], &cells[2],
                                              &cells[3], &cells[4], &cells[5], fraction,
                                              precision, mindiff);
    if (code != 0)
        return code;
    short *out[6] = {year, month, day, hour, minute, second};
    for (int i = 0; i < 6; i++)
        *out[i] = static_cast<short>(cells[i]);
    return 0;
}

int qorUTCTimeToShorts(QorGlobal *world, const char *text, short *year, short *month,
                                  short *day, short *hour, short *minute, short *second,
                                  int *mindiff)
{
    if (year == nullptr || month == nullptr || day == nullptr || hour == nullptr ||
        minute == nullptr || second == nullptr)
        return kBad;
    int cells[6] = {*year, *month, *day, *hour, *minute, *second};
    const int code = qorUTCTimeToInts(world, text, &cells[0], &cells[1], &cells[2], &cells[3],
                                      &cells[4], &cells[5], mindiff);
    if (code != 0)
        return code;
    short *out[6] = {year, month, day, hour, minute, second};
    for (int i = 0; i < 6; i++)
        *out[i] = static_cast<short>(cells[i]);
    return 0;
}

} // extern "C"

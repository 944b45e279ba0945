// _qor_cmp_str2time: two UTCTime or GeneralizedTime values held as text,
// equal when they name the same fields as written. The reader here never
// raises: a text it cannot read makes the two unequal, since a compare
// runs where a broken value is no error of its own.
#include <cstring>

#include "common/digits.h"
#include "frame/world.h"

namespace {

using qor::isDigit;

// Fractions of an hour, a minute and a second: the digits read, and the
// milliseconds of one unit of the first digit is `scale` times ten to the
// power `places` less one.
struct FractionRule {
    int maxDigits;
    uint64_t scale;
    int places;
};
constexpr FractionRule kFractionRules[] = {{8, 36, 5}, {8, 6, 4}, {4, 1, 3}};

uint64_t powerOfTen(int n)
{
    uint64_t p = 1;
    while (n-- > 0)
        p *= 10;
    return p;
}

// Milliseconds of the fraction at `p`, rounded at the last place unless the
// digit before is 9, so that the result stays below one whole unit.
uint64_t fractionMilliseconds(const char *&p, const char *end, const FractionRule &rule)
{
    uint64_t n = 0;
    int digits = 0;
    for (; p < end && isDigit(*p); p++) {
        if (digits < rule.maxDigits) {
            n = n * 10 + static_cast<uint64_t>(*p - '0');
            digits++;
        }
    }
    uint64_t ms = n * rule.scale;
    if (digits <= rule.places)
        return ms * powerOfTen(rule.places - digits);
    const uint64_t unit = powerOfTen(digits - rule.places);
    uint64_t kept = ms / unit;
    if (2 * (ms % unit) >= unit && kept % 10 != 9)
        kept++;
    return kept;
}

bool twoDigits(const char *p, const char *end, int16_t &out)
{
    if (end - p < 2 || !isDigit(p[0]) || !isDigit(p[1]))
        return false;
    out = static_cast<int16_t>((p[0] - '0') * 10 + (p[1] - '0'));
    return true;
}

bool readTime(const char *text, bool utcTime, GeneralizedTime &t)
{
    memset(&t, 0, sizeof t);
    if (text == nullptr)
        return false;
    const char *p = text;
    const char *end = text + strlen(text);
    const int yearDigits = utcTime ? 2 : 4;
    if (end - p < yearDigits)
        return false;
    int year = 0;
    for (int i = 0; i < yearDigits; i++, p++) {
        if (!isDigit(*p))
            return false;
        year = year * 10 + (*p - '0');
    }
    t.year = static_cast<int16_t>(year);
    int16_t *const fields[] = {&t.month, &t.day, &t.hour, &t.minute, &t.second};
    int read = 1; // fields read, the year among them
    for (; read < 6 && p < end && isDigit(*p); read++, p += 2) {
        if (!twoDigits(p, end, *fields[read - 1]))
            return false;
    }
    if (read < (utcTime ? 4 : 3))
        return false;
    if (!utcTime && p < end && (*p == '.' || *p == ',')) {
        // A fraction of the last field present: an hour, a minute or a second.
        if (read < 4 || ++p == end || !isDigit(*p))
            return false;
        const uint64_t ms = fractionMilliseconds(p, end, kFractionRules[read - 4]);
        t.millisec = static_cast<int16_t>(ms % 1000);
        if (read == 4)
            t.minute = static_cast<int16_t>(ms / 60000);
        if (read <= 5)
            t.second = static_cast<int16_t>(ms / 1000 % 60);
    }
    if (p == end)
        return !utcTime; // a GeneralizedTime in local time
    if (*p == 'Z' || *p == 'z') {
        t.utc = 1;
        p++;
    } else if (*p == '+' || *p == '-') {
        int16_t hours;
        int16_t minutes;
        if (!twoDigits(p + 1, end, hours) || !twoDigits(p + 3, end, minutes))
            return false;
        const int difference = hours * 60 + minutes;
        t.mindiff = static_cast<int16_t>(*p == '-' ? -difference : difference);
        p += 5;
    } else {
        return false;
    }
    return p == end;
}

} // namespace

extern "C" {

// 1 for the same time as written, 0 otherwise: the opposite sense of the
// other compare primitives. Whether a time is in UTC is not looked at.
int _qor_cmp_str2time(const char *first, const char *second, int isUTCTime)
{
    GeneralizedTime a;
    GeneralizedTime b;
    if (!readTime(first, isUTCTime != 0, a) || !readTime(second, isUTCTime != 0, b))
        return 0;
    return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
                   a.minute == b.minute && a.second == b.second && a.millisec == b.millisec &&
                   a.mindiff == b.mindiff
               ? 1
               : 0;
}

} // extern "C"

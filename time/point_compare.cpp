// Whether two TIME texts denote the same value, for the compare service. Both
// are read by the public grammar; the records are compared as written, with
// no normalisation: "12:00:00.5" is not "12:00:00.50", nor "+01:00" "+00:60",
// whereas "+00" is "-00". A duration is its units' values, so "P1Y" is
// "P1Y0M".
#include <cstring>

#include "time/iso_time.h"

using namespace qor;

namespace {

constexpr uint16_t kCentury = 0x8000, kYear = 0x4000, kWeek = 0x2000, kMonth = 0x1000,
                   kDay = 0x0800, kHours = 0x0400, kMinutes = 0x0200, kSeconds = 0x0100,
                   kFraction = 0x0040, kDifference = 0x0020;
constexpr QorULong kUnitFraction = 0x01000000;

bool pointsEqual(const QorTimePoint &a, const QorTimePoint &b)
{
    if (a.flags != b.flags)
        return false;
    const uint16_t f = a.flags;
    const bool zeroDifferences =
        a.diffHours == 0 && a.diffMinutes == 0 && b.diffHours == 0 && b.diffMinutes == 0;
    if ((f & kDifference) &&
        (a.diffHours != b.diffHours || a.diffMinutes != b.diffMinutes ||
         (a.diffNegative != b.diffNegative && !zeroDifferences)))
        return false;
    return (!(f & kCentury) || a.century == b.century) && (!(f & kYear) || a.year == b.year) &&
           (!(f & kMonth) || a.month == b.month) && (!(f & kWeek) || a.week == b.week) &&
           (!(f & kDay) || a.day == b.day) && (!(f & kHours) || a.hours == b.hours) &&
           (!(f & kMinutes) || a.minutes == b.minutes) &&
           (!(f & kSeconds) || a.seconds == b.seconds) &&
           (!(f & kFraction) ||
            (a.fractionDigits == b.fractionDigits && a.fraction == b.fraction));
}

bool durationsEqual(const QorDuration &a, const QorDuration &b)
{
    if (a.years != b.years || a.weeks != b.weeks || a.months != b.months || a.days != b.days ||
        a.hours != b.hours || a.minutes != b.minutes || a.seconds != b.seconds)
        return false;
    if ((a.flags & kUnitFraction) != (b.flags & kUnitFraction))
        return false;
    return !(a.flags & kUnitFraction) ||
           (a.fractionDigits == b.fractionDigits && a.fraction == b.fraction);
}

// An end without a time difference has its start's.
void endTakesDifference(IsoTime &t)
{
    if ((t.end.flags & kDifference) || !(t.start.flags & kDifference))
        return;
    t.end.flags |= kDifference;
    t.end.diffHours = t.start.diffHours;
    t.end.diffMinutes = t.start.diffMinutes;
    t.end.diffMinutesPresent = t.start.diffMinutesPresent;
    t.end.diffNegative = t.start.diffNegative;
}

bool sameValue(IsoTime &a, IsoTime &b)
{
    int plain = a.kind;
    if (a.kind > kRecurring) {
        plain -= kRecurring;
        if (a.recurrences != b.recurrences)
            return false;
    }
    switch (plain) {
    case kTimePoint:
        return pointsEqual(a.start, b.start);
    case kDuration:
        return durationsEqual(a.duration, b.duration);
    case kStartEnd:
        endTakesDifference(a);
        endTakesDifference(b);
        return pointsEqual(a.start, b.start) && pointsEqual(a.end, b.end);
    case kStartDuration:
        return pointsEqual(a.start, b.start) && durationsEqual(a.duration, b.duration);
    default:
        return durationsEqual(a.duration, b.duration) && pointsEqual(a.end, b.end);
    }
}

} // namespace

extern "C" int _qor_cmp_date_time(QorGlobal *world, const char *first, const char *second)
{
    if (first == second)
        return 0;
    if (first == nullptr || second == nullptr)
        return 1;
    if (strcmp(first, second) == 0)
        return 0;
    const int kind = qorGetTimeKind(world, first);
    if (kind == kNoTimeKind || kind != qorGetTimeKind(world, second))
        return 1;
    IsoTime a, b;
    if (!parseIsoTime(first, kind, &a) || !parseIsoTime(second, kind, &b))
        return 1;
    return sameValue(a, b) ? 0 : 1;
}

// Equality and order of parsed TIME values, for the single-value and range
// constraints of generated code and for the order of an interval's ends. Only
// like with like is ordered: no unit converts into another, and no time
// difference is applied.
#include <initializer_list>

#include "time/iso_time.h"

namespace {

constexpr unsigned char kCentury = 0x80, kYear = 0x40;
constexpr unsigned char kHours = 0x80, kDifference = 0x04, kDiffNegative = 0x80;
constexpr unsigned char kWeeks = 0x20;
constexpr unsigned char kRecurring = 0x80, kFirstPoint = 0x40, kSecondPoint = 0x20,
                        kFirstDuration = 0x10, kSecondDuration = 0x08;

template <class T> int order(T a, T b) { return a < b ? -1 : a > b ? 1 : 0; }

// The first of `orders` that is not 0.
int firstOf(std::initializer_list<int> orders)
{
    for (int o : orders)
        if (o != 0)
            return o;
    return 0;
}

bool noDifference(const QorTimePart &t) { return t.diffHours == 0 && t.diffMinutes == 0; }

// Two times-of-day of the same composition, fraction digits and difference
// (whose sign counts unless both differences are 0).
bool sameComposition(const QorTimePart &a, const QorTimePart &b)
{
    if (a.flags != b.flags || a.fractionDigits != b.fractionDigits)
        return false;
    if (!(a.flags & kDifference))
        return true;
    return a.diffHours == b.diffHours && a.diffMinutes == b.diffMinutes &&
           ((a.diffFlags & kDiffNegative) == (b.diffFlags & kDiffNegative) ||
            (noDifference(a) && noDifference(b)));
}

int dateOrder(const QorDatePart &a, const QorDatePart &b)
{
    if (a.flags & kCentury)
        return order(a.year, b.year);
    if (!(a.flags & kYear))
        return 0;
    return firstOf({order(a.year, b.year), order(a.week, b.week), order(a.month, b.month),
                    order(a.day, b.day)});
}

int timeOrder(const QorTimePart &a, const QorTimePart &b)
{
    if (!(a.flags & kHours))
        return 0;
    return firstOf({order(a.hours, b.hours), order(a.minutes, b.minutes),
                    order(a.seconds, b.seconds), order(a.fraction, b.fraction)});
}

// -2 when the points differ in composition; the date's order decides first.
int pointOrder(const QorTimeElement &a, const QorTimeElement &b)
{
    if (a.point.date.flags != b.point.date.flags ||
        !sameComposition(a.point.time, b.point.time))
        return -2;
    const int byDate = dateOrder(a.point.date, b.point.date);
    return byDate != 0 ? byDate : timeOrder(a.point.time, b.point.time);
}

int durationOrder(const QorDurationPart &a, const QorDurationPart &b)
{
    if (a.lastUnit != b.lastUnit || a.fractionDigits != b.fractionDigits)
        return -2;
    const int byUnits =
        (a.flags & kWeeks) ? order(a.weeks, b.weeks)
                           : firstOf({order(a.years, b.years), order(a.months, b.months),
                                      order(a.days, b.days), order(a.hours, b.hours),
                                      order(a.minutes, b.minutes), order(a.seconds, b.seconds)});
    return byUnits != 0 ? byUnits : order(a.fraction, b.fraction);
}

bool pointsEqual(const QorTimeElement &a, const QorTimeElement &b)
{
    return pointOrder(a, b) == 0;
}

bool durationsEqual(const QorDurationPart &a, const QorDurationPart &b)
{
    return a.flags == b.flags && a.lastUnit == b.lastUnit && a.fractionDigits == b.fractionDigits &&
           a.years == b.years && a.months == b.months && a.weeks == b.weeks && a.days == b.days &&
           a.hours == b.hours && a.minutes == b.minutes && a.seconds == b.seconds &&
           a.fraction == b.fraction;
}

// An end point as compared: without a time difference of its own, it takes
// the one of its start, if that has one.
QorTimeElement endAsCompared(const QorDateTimeValue &v)
{
    QorTimeElement end = v.second;
    QorTimePart &t = end.point.time;
    const QorTimePart &start = v.first.point.time;
    if (!(t.flags & kDifference) && (start.flags & kDifference)) {
        t.flags |= kDifference;
        t.diffFlags = start.diffFlags;
        t.diffHours = start.diffHours;
        t.diffMinutes = start.diffMinutes;
    }
    return end;
}

} // namespace

extern "C" {

int _qorCmpDTIntervals(const QorDateTimeValue *first, const QorDateTimeValue *second)
{
    if (first == nullptr || second == nullptr)
        return first != second;
    const unsigned char kinds = first->kinds;
    if (kinds != second->kinds ||
        ((kinds & kRecurring) && first->recurrences != second->recurrences))
        return 1;
    if ((kinds & kFirstPoint) && !pointsEqual(first->first, second->first))
        return 1;
    if ((kinds & kFirstDuration) && !durationsEqual(first->first.duration, second->first.duration))
        return 1;
    if ((kinds & kSecondDuration) &&
        !durationsEqual(first->second.duration, second->second.duration))
        return 1;
    if (!(kinds & kSecondPoint))
        return 0;
    const bool firstHas = first->second.point.time.flags & kDifference;
    const bool secondHas = second->second.point.time.flags & kDifference;
    if ((kinds & kFirstPoint) && firstHas != secondHas) {
        // One end is written with its start's difference, the other without:
        // the same end when the dates agree and the times do under it.
        if (first->second.point.date.flags != second->second.point.date.flags ||
            dateOrder(first->second.point.date, second->second.point.date) != 0)
            return 1;
        return !pointsEqual(endAsCompared(*first), endAsCompared(*second));
    }
    return !pointsEqual(first->second, second->second);
}

int _qorDTIntervalsRelation(const QorDateTimeValue *first, const QorDateTimeValue *second)
{
    if (first == nullptr || second == nullptr || first->kinds != second->kinds)
        return -2;
    if (first->kinds == kFirstPoint)
        return pointOrder(first->first, second->first);
    if (first->kinds == kFirstDuration)
        return durationOrder(first->first.duration, second->first.duration);
    return -2;
}

} // extern "C"

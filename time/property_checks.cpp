// The property settings of the TIME types (Basic=Date, Time=HMS,
// Midnight=Start, Interval-type=SE...) checked on a parsed value. The
// compiler hands each type's settings over as bit masks; a check gives 0 or
// 1 with a text that generated code appends to its raise, and raises
// nothing itself.
#include <cstdint>

#include "frame/messages.h"
#include "frame/messages.h"
#include "frame/world.h"

namespace {

using Text = const char **;

// Bits of QorDateTimeValue::kinds.
constexpr unsigned kRecurring = 0x80, kFirstPoint = 0x40, kSecondPoint = 0x20,
                   kFirstDuration = 0x10, kSecondDuration = 0x08,
                   kInterval = kSecondPoint | kFirstDuration | kSecondDuration;

// Bits of QorDatePart::flags and QorTimePart::flags.
constexpr unsigned kCentury = 0x80, kYear = 0x40, kWeek = 0x20, kMonth = 0x10, kDay = 0x08,
                   kEra = 0x07;
constexpr unsigned kHours = 0x80, kMinutes = 0x40, kSeconds = 0x20, kFraction = 0x10,
                   kUtc = 0x08, kDifference = 0x04;

// Date settings.
constexpr unsigned kOnlyCentury = 0x0800, kDateComposition = 0x0080, kNeedMonth = 0x0100,
                   kNeedWeek = 0x0400, kNeedDay = 0x0200, kBasicYear = 0x1000,
                   kProlepticYear = 0x2000, kNegativeYear = 0x4000, kLargeYear = 0x8000;
// Time settings.
constexpr unsigned kTimeComposition = 0x0080, kNeedMinutes = 0x0100, kNeedSeconds = 0x0200,
                   kNeedFraction = 0x0040, kLocalOnly = 0x0400, kUtcOnly = 0x0800,
                   kWithDifference = 0x1000, kMidnightStart = 0x4000, kMidnightEnd = 0x8000,
                   kMidnightAlternatives = 0x10000, kNonMidnightSettings = 0x1FC0;
// Interval settings.
constexpr unsigned kStart = 0x40, kEnd = 0x80, kDuration = 0x100, kEndsDateTime = 0x800,
                   kEndsDate = 0x200, kEndsTime = 0x400, kRecurrenceDigits = 0x1000;

int fail(Text message, const char *text)
{
    *message = text;
    return 1;
}

bool inRange(int32_t v, int32_t low, int32_t high)
{
    return v >= low && v <= high;
}

int checkDate(const QorDatePart &date, unsigned settings, unsigned digits, Text message)
{
    const unsigned flags = date.flags;
    if ((settings & kOnlyCentury) != 0) {
        if ((flags & ~(kCentury | kEra)) != 0)
            return fail(message, "the date shall represent only a century");
    } else if ((settings & kDateComposition) != 0) {
        if ((flags & kYear) == 0)
            return fail(message, "the date shall have a year component");
        static const struct {
            unsigned setting, flag;
            const char *missing, *present;
        } kUnits[] = {
            {kNeedMonth, kMonth, "the date shall have a month component",
             "the date shall not have a month component"},
            {kNeedWeek, kWeek, "the date shall have a week component",
             "the date shall not have a week component"},
            {kNeedDay, kDay, "the date shall have a day component",
             "the date shall not have a day component"},
        };
        for (const auto &unit : kUnits) {
            const bool required = (settings & unit.setting) != 0;
            const bool present = (flags & unit.flag) != 0;
            if (required != present)
                return fail(message, required ? unit.missing : unit.present);
        }
    }
    const bool century = (flags & kCentury) != 0;
    const int32_t y = date.year;
    if ((settings & kBasicYear) != 0) {
        if (century ? !inRange(y, 15, 99) : !inRange(y, 1582, 9999))
            return fail(message,
                        century ? "the century identification shall be a non-proleptic century "
                                  "in the range 15 to 99"
                                : "the year identification shall be a non-proleptic year in the "
                                  "range 1582 to 9999");
    } else if ((settings & kProlepticYear) != 0) {
        if (century ? !inRange(y, 0, 14) : !inRange(y, 0, 1581))
            return fail(message,
                        century ? "the century identification shall be a century in the "
                                  "proleptic Gregorian Calendar in the range 0 to 14"
                                : "the year identification shall be a year in the proleptic "
                                  "Gregorian Calendar in the range 0 to 1581");
    } else if ((settings & kNegativeYear) != 0) {
        if (century ? !inRange(y, -99, -1) : !inRange(y, -9999, -1))
            return fail(message,
                        century ? "the century identification shall be a negative century in "
                                  "the range -99 to -1"
                                : "the year identification shall be a negative year in the "
                                  "range -9999 to -1");
    } else if ((settings & kLargeYear) != 0) {
        if (!century && date.digits != digits)
            return fail(message, "the large year identification has an incorrect number of digits");
        if (century && date.digits + 2u != digits)
            return fail(message,
                        "the large century identification has incorrect number of digits");
    }
    return 0;
}

bool allZero(const QorTimePart &time)
{
    return time.hours == 0 && time.minutes == 0 && time.seconds == 0 && time.fraction == 0;
}

int checkMidnight(const QorTimePart &time, unsigned settings, Text message)
{
    if ((settings & kMidnightAlternatives) != 0) {
        bool ok = true;
        if ((settings & kMidnightStart) != 0)
            ok = allZero(time);
        else if ((settings & kMidnightEnd) != 0)
            ok = time.hours == 24;
        return ok ? 0 : fail(message, "");
    }
    if ((settings & kMidnightStart) != 0) {
        if (time.hours == 24)
            return fail(message, "the time-of-day shall represent midnight at the start of a day");
    } else if ((settings & kMidnightEnd) != 0 && allZero(time)) {
        return fail(message, "the time-of-day shall represent midnight at the end of a day");
    }
    return 0;
}

// The settings' rule of one present unit of a time-of-day: 0, or 1 with the
// message.
int checkUnit(bool required, bool present, Text message, const char *missing,
              const char *forbidden)
{
    if (required == present)
        return 0;
    return fail(message, required ? missing : forbidden);
}

int checkTime(const QorTimePart &time, unsigned settings, unsigned digits, Text message)
{
    int midnight = 0;
    if ((settings & (kMidnightStart | kMidnightEnd)) != 0) {
        midnight = checkMidnight(time, settings, message);
        if (midnight == 0 && (settings & kMidnightAlternatives) != 0)
            return 0;
    }
    const unsigned flags = time.flags;
    if ((settings & kTimeComposition) != 0) {
        if ((flags & kHours) == 0)
            return fail(message, "the time-of-day shall have an hours component");
        const bool minutes = (settings & kNeedMinutes) != 0;
        if (checkUnit(minutes, (flags & kMinutes) != 0, message,
                      "the time-of-day shall have a minutes component",
                      "the time-of-day shall not have a minutes component") != 0)
            return 1;
        // Seconds have a rule of their own only beside required minutes.
        if (minutes && checkUnit((settings & kNeedSeconds) != 0, (flags & kSeconds) != 0, message,
                                 "the time-of-day shall have a seconds component",
                                 "the time-of-day shall not have a seconds component") != 0)
            return 1;
        const bool fraction = (settings & kNeedFraction) != 0;
        if (checkUnit(fraction, (flags & kFraction) != 0, message,
                      "the time-of-day shall have a decimal fraction component",
                      "the time-of-day shall not have a decimal fraction component") != 0)
            return 1;
        if (fraction && time.fractionDigits != digits)
            return fail(message, "the decimal fraction component has incorrect number of digits");
    }
    if ((settings & kLocalOnly) != 0) {
        if ((flags & (kUtc | kDifference)) != 0)
            return fail(message, "the time-of-day shall specify a local time only");
    } else if ((settings & kUtcOnly) != 0) {
        if ((flags & kUtc) == 0)
            return fail(message, "the time-of-day shall specify a UTC time only");
    } else if ((settings & kWithDifference) != 0) {
        if ((flags & kDifference) == 0)
            return fail(message,
                        "the time-of-day shall specify a local time and a time difference "
                        "component");
    }
    if ((settings & kMidnightAlternatives) == 0)
        return midnight;
    // Midnight failed above; the alternatives hold only if other settings do.
    return (settings & kNonMidnightSettings) == 0 ? 1 : 0;
}

int checkInterval(const QorDateTimeValue *value, unsigned settings, unsigned digits,
                  Text message)
{
    const unsigned kinds = value->kinds;
    switch (settings & (kStart | kEnd | kDuration)) {
    case kStart | kEnd:
        if ((kinds & (kFirstPoint | kSecondPoint)) != (kFirstPoint | kSecondPoint))
            return fail(message, "the interval should be specified using a start point and an "
                                 "end point");
        break;
    case kStart | kDuration:
        if ((kinds & kFirstPoint) == 0 || (kinds & kSecondDuration) == 0)
            return fail(message, "the interval should be specified using a start point and a "
                                 "duration");
        break;
    case kEnd:
        if ((kinds & kFirstDuration) == 0 || (kinds & kSecondPoint) == 0)
            return fail(message, "the interval should be specified using a duration and an end "
                                 "point");
        break;
    case kDuration:
        if ((kinds & kFirstDuration) == 0 || (kinds & kSecondPoint) != 0)
            return fail(message, "the interval should be specified using only a duration");
        break;
    default:
        break;
    }
    if ((settings & (kEndsDateTime | kEndsDate | kEndsTime)) != 0) {
        // Only the first time point is looked at, the start if there is one.
        const QorTimeElement *point = (kinds & kFirstPoint) != 0    ? &value->first
                                      : (kinds & kSecondPoint) != 0 ? &value->second
                                                                    : nullptr;
        if (point != nullptr) {
            const bool date = point->point.date.flags != 0, time = point->point.time.flags != 0;
            if ((settings & kEndsDateTime) != 0 && !(date && time))
                return fail(message, "both start and end points of the interval shall be "
                                     "specified using a date and a time-of-day");
            if ((settings & kEndsDate) != 0 && !(date && !time))
                return fail(message, "both start and end points of the interval shall be "
                                     "specified using a date only");
            if ((settings & kEndsTime) != 0 && !(time && !date))
                return fail(message, "both start and end points of the interval shall be "
                                     "specified using a time-of-day only");
        }
    }
    if ((settings & kRecurrenceDigits) != 0 && (kinds & kRecurring) != 0) {
        if (digits != 0 && value->recurrenceDigits != digits)
            return fail(message,
                        "the recurring interval has an incorrect number of recurrence digits");
        if (digits == 0 && value->recurrenceDigits != 0)
            return fail(message, "the recurring interval shall not contain recurrence digits "
                                 "because the \"Recurrence\" property setting is \"Unlimited\"");
    }
    return 0;
}

bool firstIsPoint(const QorDateTimeValue *value)
{
    return (value->kinds & kFirstPoint) != 0;
}

} // namespace

extern "C" {

int _qorChkDateSettings(const QorDateTimeValue *value, unsigned settings, unsigned digits,
                        const char **message)
{
    if (value->kinds != kFirstPoint || value->first.point.date.flags == 0 ||
        value->first.point.time.flags != 0)
        return fail(message, "the value shall be a date only");
    return checkDate(value->first.point.date, settings, digits, message);
}

int _qorChkTimeSettings(const QorDateTimeValue *value, unsigned settings, unsigned digits,
                        const char **message)
{
    if (value->kinds != kFirstPoint || value->first.point.date.flags != 0 ||
        value->first.point.time.flags == 0)
        return fail(message, "the value shall be a time-of-day only");
    return checkTime(value->first.point.time, settings, digits, message);
}

int _qorChkDateTimeSettings(const QorDateTimeValue *value, const char **message)
{
    if (value->kinds != kFirstPoint || value->first.point.date.flags == 0 ||
        value->first.point.time.flags == 0)
        return fail(message, "the value shall be a date and a time-of-day");
    return 0;
}

int _qorChkIntervalSettings(const QorDateTimeValue *value, unsigned settings,
                            const char **message)
{
    if ((value->kinds & kInterval) == 0 || (value->kinds & kRecurring) != 0)
        return fail(message, "the value shall be a time interval");
    return checkInterval(value, settings, 0, message);
}

int _qorChkRecIntervalSettings(const QorDateTimeValue *value, unsigned settings, unsigned digits,
                               const char **message)
{
    if ((value->kinds & kRecurring) == 0)
        return fail(message, "the value shall be a recurring time interval");
    return checkInterval(value, settings, digits, message);
}

int _qorChkNoBasicDateSettings(const QorDateTimeValue *value, unsigned settings, unsigned digits,
                               const char **message)
{
    const QorTimeElement *point = firstIsPoint(value)                ? &value->first
                                  : (value->kinds & kSecondPoint) != 0 ? &value->second
                                                                       : nullptr;
    if (point == nullptr || point->point.date.flags == 0)
        return 0;
    return checkDate(point->point.date, settings, digits, message);
}

int _qorChkNoBasicTimeSettings(const QorDateTimeValue *value, unsigned settings, unsigned digits,
                               const char **message)
{
    const bool hasEnd = (value->kinds & kSecondPoint) != 0;
    const bool alternatives = (settings & kMidnightAlternatives) != 0;
    if (!firstIsPoint(value)) {
        if (hasEnd && value->second.point.time.flags != 0)
            return checkTime(value->second.point.time, settings, digits, message);
        return 0;
    }
    if (value->first.point.time.flags == 0)
        return alternatives ? 1 : 0;
    const int result = checkTime(value->first.point.time, settings, digits, message);
    if (!alternatives) {
        if (result != 0 || !hasEnd)
            return result;
        return checkMidnight(value->second.point.time, settings, message);
    }
    if (result == 0)
        return 0;
    if ((settings & (kMidnightStart | kMidnightEnd)) == 0 || !hasEnd)
        return 1;
    return checkMidnight(value->second.point.time, settings, message);
}

int _qorChkNoBasicIntervalSettings(const QorDateTimeValue *value, unsigned settings,
                                   unsigned digits, const char **message)
{
    if ((value->kinds & kInterval) == 0)
        return 0;
    return checkInterval(value, settings, digits, message);
}

int _qorChkDurationComponents(const QorDateTimeValue *value, unsigned required,
                              unsigned forbidden, const char **name)
{
    static const char *const kUnits[8] = {"years",   "months",  "weeks",   "days",
                                          "hours",   "minutes", "seconds", "fractional-part"};
    const unsigned flags = value->first.duration.flags;
    if ((flags & required) == required && (flags & forbidden) == 0)
        return 0;
    for (int i = 0; i < 8; i++) {
        const unsigned bit = 0x80u >> i;
        if ((required & bit) != 0 && (flags & bit) == 0) {
            *name = kUnits[i];
            return static_cast<int>(qor::Msg::kPresenceOfComponent);
        }
        if ((forbidden & bit) != 0 && (flags & bit) != 0) {
            *name = kUnits[i];
            return static_cast<int>(qor::Msg::kAbsenceOfComponent);
        }
    }
    return 0;
}

int _qorChkRecurrenceRange(const QorDateTimeValue *value, QorULong lowest, QorULong highest,
                           const char **message)
{
    if ((value->kinds & kRecurring) == 0)
        return fail(message, ": expected a recurring time interval");
    // The constraint bounds the digits written, not the count they make.
    const bool ok = value->recurrenceDigits == 0
                        ? highest >= 65535
                        : value->recurrenceDigits >= lowest && value->recurrenceDigits <= highest;
    if (ok)
        return 0;
    *message = nullptr;
    return 1;
}

} // extern "C"

// TIME records written back as ISO 8601 text: the public conversions'
// writers, the canonical form that DER and canonical XER give a TIME value,
// and the layouts of the compact DATE, TIME-OF-DAY and DATE-TIME contents.
// Every text is measured before it is written, so that a record that can't be
// written leaves nothing behind.
#include <cstdint>
#include <cstring>
#include <initializer_list>

#include "time/iso_time.h"

namespace qor {

namespace {

constexpr uint16_t kCentury = 0x8000, kYear = 0x4000, kWeek = 0x2000, kMonth = 0x1000,
                   kDay = 0x0800, kHours = 0x0400, kMinutes = 0x0200, kSeconds = 0x0100,
                   kUtc = 0x0080, kFraction = 0x0040, kDifference = 0x0020;
constexpr uint16_t kDate = kYear | kWeek | kMonth | kDay;
constexpr uint16_t kTimeParts = kMinutes | kSeconds | kUtc | kFraction | kDifference;
constexpr QorULong kWeeks = 0x20000000, kUnitFraction = 0x01000000, kUnits = 0xFE000000;
// The fraction digits of any text the grammars read fit in 16 bits; a record
// that asks for more is refused rather than written out as zeros.
constexpr QorULong kMostFractionDigits = 0xFFFF;

// Stores what falls below `room`, and counts all.
struct Text {
    char *out;
    size_t room;
    size_t length = 0;

    void put(char c)
    {
        if (out != nullptr && length < room)
            out[length] = c;
        length++;
    }
    void put(const char *s)
    {
        while (*s != '\0')
            put(*s++);
    }
    // `value` in at least `width` digits.
    void number(uint64_t value, int width)
    {
        char digits[24];
        int n = 0;
        do {
            digits[n++] = static_cast<char>('0' + value % 10);
            value /= 10;
        } while (value != 0);
        for (; width > n; width--)
            put('0');
        while (n > 0)
            put(digits[--n]);
    }
};

int digitCount(uint64_t value)
{
    int n = 1;
    while (value >= 10)
        value /= 10, n++;
    return n;
}

// "." and the fraction in exactly `digits` digits.
bool writeFraction(Text &text, QorULong digits, QorULong fraction)
{
    if (digits > kMostFractionDigits || digits < static_cast<QorULong>(digitCount(fraction)))
        return false;
    text.put('.');
    text.number(fraction, static_cast<int>(digits));
    return true;
}

bool writeDate(Text &text, const QorTimePoint &t)
{
    if (!(t.flags & kYear) || ((t.flags & kWeek) && (t.flags & kMonth)))
        return false;
    const uint64_t year = t.year < 0 ? -int64_t{t.year} : t.year;
    if (t.year < 0)
        text.put('-');
    else if (year > 9999)
        text.put('+');
    text.number(year, 4);
    if (t.flags & kWeek) {
        if (t.week < 1 || t.week > 53)
            return false;
        text.put("-W");
        text.number(t.week, 2);
    } else if (t.flags & kMonth) {
        if (t.month < 1 || t.month > 12)
            return false;
        text.put('-');
        text.number(t.month, 2);
    }
    if (!(t.flags & kDay))
        return true;
    const int last = (t.flags & kWeek) ? 7 : (t.flags & kMonth) ? 31 : 366;
    if (t.day < 1 || t.day > last)
        return false;
    text.put('-');
    text.number(t.day, (t.flags & kWeek) ? 1 : (t.flags & kMonth) ? 2 : 3);
    return true;
}

bool writeTimeOfDay(Text &text, const QorTimePoint &t)
{
    if (t.hours > 24 || ((t.flags & kUtc) && (t.flags & kDifference)))
        return false;
    text.number(t.hours, 2);
    if (t.flags & kMinutes) {
        if (t.minutes > 59)
            return false;
        text.put(':');
        text.number(t.minutes, 2);
    }
    if (t.flags & kSeconds) {
        if (!(t.flags & kMinutes) || t.seconds > 60)
            return false;
        text.put(':');
        text.number(t.seconds, 2);
    }
    if ((t.flags & kFraction) && !writeFraction(text, t.fractionDigits, t.fraction))
        return false;
    if (t.flags & kUtc)
        text.put('Z');
    if (t.flags & kDifference) {
        // Minutes past 59 carry into the hours.
        const unsigned hours = t.diffHours + t.diffMinutes / 60u;
        if (hours > 15)
            return false;
        text.put(t.diffNegative ? '-' : '+');
        text.number(hours, 2);
        if (t.diffMinutesPresent & 0x80) {
            text.put(':');
            text.number(t.diffMinutes % 60u, 2);
        }
    }
    return true;
}

bool writePoint(Text &text, const QorTimePoint &t)
{
    if (!(t.flags & (kCentury | kDate | kHours)))
        return false; // nothing to write
    if (t.flags & kCentury) {
        if (t.flags != kCentury)
            return false;
        const uint64_t century = t.century < 0 ? -int64_t{t.century} : t.century;
        if (t.century < 0)
            text.put('-');
        else if (century > 99)
            text.put('+');
        text.number(century, 2);
        text.put('C');
        return true;
    }
    const bool date = t.flags & kDate;
    if (date && !writeDate(text, t))
        return false;
    if (!(t.flags & kHours))
        return !(t.flags & kTimeParts);
    if (date)
        text.put('T');
    return writeTimeOfDay(text, t);
}

struct Unit {
    QorULong flag;
    QorULong QorDuration::*value;
    char letter;
};
// In the order they are written; the time units follow a "T".
constexpr Unit kDateUnits[] = {{0x80000000, &QorDuration::years, 'Y'},
                               {0x40000000, &QorDuration::months, 'M'},
                               {0x10000000, &QorDuration::days, 'D'}};
constexpr Unit kTimeUnits[] = {{0x08000000, &QorDuration::hours, 'H'},
                               {0x04000000, &QorDuration::minutes, 'M'},
                               {0x02000000, &QorDuration::seconds, 'S'}};
constexpr Unit kWeekUnit = {kWeeks, &QorDuration::weeks, 'W'};

bool writeDuration(Text &text, const QorDuration &record, bool canonical)
{
    QorDuration d = record;
    QorULong units = d.flags & kUnits;
    // The fraction belongs to the last unit, the lowest flag.
    const QorULong last = units & (~units + 1);
    if (units == 0 || ((units & kWeeks) && units != kWeeks))
        return false;
    if (canonical) {
        // Units of value 0 go while another stays, except the one that
        // carries the fraction.
        for (const Unit *group : {kDateUnits, kTimeUnits})
            for (int i = 0; i < 3; i++) {
                const Unit &u = group[i];
                const bool carriesFraction = u.flag == last && (d.flags & kUnitFraction);
                if ((units & u.flag) && d.*u.value == 0 && (units & ~u.flag) != 0 &&
                    !carriesFraction)
                    units &= ~u.flag;
            }
    }
    bool ok = true;
    auto write = [&](const Unit &u) {
        if (!(units & u.flag))
            return;
        text.number(d.*u.value, 1);
        if (u.flag == last && (d.flags & kUnitFraction))
            ok = ok && writeFraction(text, d.fractionDigits, d.fraction);
        text.put(u.letter);
    };
    text.put('P');
    for (const Unit &u : kDateUnits)
        write(u);
    if (units & (kTimeUnits[0].flag | kTimeUnits[1].flag | kTimeUnits[2].flag))
        text.put('T');
    for (const Unit &u : kTimeUnits)
        write(u);
    write(kWeekUnit);
    return ok;
}

// The two points of an interval have the same components, or the start has a
// time difference beside them. A canonical end leaves out a difference equal
// to the start's.
bool writeEnds(Text &text, const QorTimePoint &start, const QorTimePoint &end, bool canonical)
{
    uint16_t startFlags = start.flags;
    if (!(end.flags & kDifference))
        startFlags &= static_cast<uint16_t>(~kDifference);
    if (startFlags != end.flags)
        return false;
    QorTimePoint shown = end;
    const auto minutes = [](const QorTimePoint &t) { return t.diffHours * 60u + t.diffMinutes; };
    if (canonical && (start.flags & kDifference) && (end.flags & kDifference) &&
        minutes(start) == minutes(end) && start.diffNegative == end.diffNegative)
        shown.flags &= static_cast<uint16_t>(~kDifference);
    if (!writePoint(text, start))
        return false;
    text.put('/');
    return writePoint(text, shown);
}

} // namespace

size_t writeIsoTime(const IsoTime &time, bool canonical, char *out, size_t room)
{
    Text text{out, room};
    int plain = time.kind;
    if (time.kind > kRecurring && time.kind < kNoTimeKind) {
        plain = time.kind - kRecurring;
        text.put('R');
        if (time.recurrences >= 0)
            text.number(static_cast<uint64_t>(time.recurrences), 1);
        text.put('/');
    }
    bool ok = false;
    switch (plain) {
    case kTimePoint:
        ok = writePoint(text, time.start);
        break;
    case kDuration:
        ok = writeDuration(text, time.duration, canonical);
        break;
    case kStartEnd:
        ok = writeEnds(text, time.start, time.end, canonical);
        break;
    case kStartDuration:
        ok = writePoint(text, time.start);
        text.put('/');
        ok = ok && writeDuration(text, time.duration, canonical);
        break;
    case kDurationEnd:
        ok = writeDuration(text, time.duration, canonical);
        text.put('/');
        ok = ok && writePoint(text, time.end);
        break;
    default:
        break;
    }
    return ok ? text.length : 0;
}

size_t canonicalTime(const char *text, char *out, size_t room)
{
    IsoTime time;
    if (!parseIsoTime(text, timeKindOf(text), &time))
        return 0;
    return writeIsoTime(time, true, out, room);
}

const CompactTimeForm *compactTimeForm(int kind)
{
    static constexpr CompactTimeForm kForms[] = {{"-", "dddd-dd-dd", 8},
                                                 {":", "dd:dd:dd", 6},
                                                 {"-:T", "dddd-dd-ddTdd:dd:dd", 14}};
    return kind >= 31 && kind <= 33 ? &kForms[kind - 31] : nullptr;
}

char *timeTextOf(QorGlobal *world, const unsigned char *in, size_t length, int kind)
{
    const CompactTimeForm *form = compactTimeForm(kind);
    const size_t extra = form != nullptr ? strlen(form->pattern) - form->size : kind == kDurationKind;
    auto *text = static_cast<char *>(_qor_dec_getfixmem(world, static_cast<QorLong>(length + extra + 1)));
    if (form != nullptr) {
        for (size_t i = 0; form->pattern[i] != '\0'; i++)
            text[i] = form->pattern[i] == 'd' ? static_cast<char>(*in++) : form->pattern[i];
    } else {
        text[0] = 'P';
        memcpy(text + extra, in, length);
    }
    text[length + extra] = '\0';
    return text;
}

} // namespace qor

using namespace qor;

namespace {

// Writes `time` under the context's rules into `*text`, or into new memory
// when that is null.
int toText(QorGlobal *world, IsoTime &time, char **text,
           std::initializer_list<const void *> inputs)
{
    for (const void *in : inputs)
        if (in == nullptr)
            return QOR_BAD_TIME;
    if (world == nullptr || text == nullptr)
        return QOR_BAD_TIME;
    const bool canonical = canonicalRules(world->encRules);
    const size_t length = writeIsoTime(time, canonical, nullptr, 0);
    if (length == 0)
        return QOR_BAD_TIME;
    char *out = *text;
    if (out == nullptr) {
        out = static_cast<char *>(qorGetMemory(world, static_cast<QorLong>(length + 1)));
        if (out == nullptr)
            return QOR_BAD_TIME;
        *text = out;
    }
    (void)writeIsoTime(time, canonical, out, length);
    out[length] = '\0';
    return 0;
}

IsoTime of(int kind, const QorTimePoint *start, const QorTimePoint *end,
           const QorDuration *duration, QorLong recurrences = -1)
{
    IsoTime t{};
    t.kind = kind;
    t.recurrences = recurrences;
    if (start != nullptr)
        t.start = *start;
    if (end != nullptr)
        t.end = *end;
    if (duration != nullptr)
        t.duration = *duration;
    return t;
}

} // namespace

extern "C" {

int qorTimePointToString(QorGlobal *world, const QorTimePoint *point, char **text)
{
    IsoTime t = of(kTimePoint, point, nullptr, nullptr);
    return toText(world, t, text, {point});
}

int qorDurationIntervalToString(QorGlobal *world, const QorDuration *duration, char **text)
{
    IsoTime t = of(kDuration, nullptr, nullptr, duration);
    return toText(world, t, text, {duration});
}

int qorStartPointEndPointIntervalToString(QorGlobal *world, const QorTimePoint *start,
                                          const QorTimePoint *end, char **text)
{
    IsoTime t = of(kStartEnd, start, end, nullptr);
    return toText(world, t, text, {start, end});
}

int qorStartPointDurationIntervalToString(QorGlobal *world, const QorTimePoint *start,
                                          const QorDuration *duration, char **text)
{
    IsoTime t = of(kStartDuration, start, nullptr, duration);
    return toText(world, t, text, {start, duration});
}

int qorDurationEndPointIntervalToString(QorGlobal *world, const QorDuration *duration,
                                        const QorTimePoint *end, char **text)
{
    IsoTime t = of(kDurationEnd, nullptr, end, duration);
    return toText(world, t, text, {duration, end});
}

int qorDurationRecIntervalToString(QorGlobal *world, const QorDuration *duration,
                                   QorLong recurrences, char **text)
{
    IsoTime t = of(kDuration + kRecurring, nullptr, nullptr, duration, recurrences);
    return toText(world, t, text, {duration});
}

int qorStartPointEndPointRecIntervalToString(QorGlobal *world, const QorTimePoint *start,
                                             const QorTimePoint *end, QorLong recurrences,
                                             char **text)
{
    IsoTime t = of(kStartEnd + kRecurring, start, end, nullptr, recurrences);
    return toText(world, t, text, {start, end});
}

int qorStartPointDurationRecIntervalToString(QorGlobal *world, const QorTimePoint *start,
                                             const QorDuration *duration, QorLong recurrences,
                                             char **text)
{
    IsoTime t = of(kStartDuration + kRecurring, start, nullptr, duration, recurrences);
    return toText(world, t, text, {start, duration});
}

int qorDurationEndPointRecIntervalToString(QorGlobal *world, const QorDuration *duration,
                                           const QorTimePoint *end, QorLong recurrences,
                                           char **text)
{
    IsoTime t = of(kDurationEnd + kRecurring, nullptr, end, duration, recurrences);
    return toText(world, t, text, {duration, end});
}

} // extern "C"

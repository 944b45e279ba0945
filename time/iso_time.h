// The TIME types' ISO 8601 text as the public conversions see it: a text of
// one kind parsed into QorTimePoint and QorDuration records, and records
// written back. The working record of generated code (QorDateTimeValue) has
// a grammar of its own in value_grammar.cpp, whose edge rules differ on
// purpose; the two share only the calendar below.
#pragma once


#include <cstddef>
#include <cstring>

#include "common/digits.h"
#include "frame/world.h"

namespace qor {

// The Gregorian rule, on the signed year for years before 0 too.
inline bool isLeapYear(int64_t year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

inline int monthLength(int64_t year, int month)
{
    static constexpr unsigned char kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

// The kinds of qorGetTimeKind.
enum TimeKind {
    kTimePoint = 0,
    kDuration = 1,
    kStartEnd = 2,
    kStartDuration = 3,
    kDurationEnd = 4,
    kRecurring = 4, // a recurring kind is its plain one plus this
    kNoTimeKind = 9
};

// The kind of a text by its shape, as qorGetTimeKind tells it.
[[nodiscard]] int timeKindOf(const char *text);

// A whole TIME text of one kind, parsed. Which records count follows from the
// kind; `recurrences` is -1 for an unlimited (or unwritten) count.
struct IsoTime {
    int kind;
    QorLong recurrences;
    QorTimePoint start; // the time point of kinds 0, 2 and 3
    QorTimePoint end;   // the end point of kinds 2 and 4
    QorDuration duration;
};

// Parses `text` as a value of `kind` (0 to 8) by the public grammar; false on
// any fault. `time` is cleared first.
[[nodiscard]] bool parseIsoTime(const char *text, int kind, IsoTime *time);

// Writes `time` as text: its length, or 0 for a record that can't be written.
// Only the octets below `room` are stored, so a null `out` only counts.
// `canonical` leaves out zero units beside others in a duration, and an end
// point's time difference equal to the start's.
[[nodiscard]] size_t writeIsoTime(const IsoTime &time, bool canonical, char *out, size_t room);

// The canonical form of a TIME text: parsed as the public conversions parse
// it and written as their writers write it under DER. Its length, or 0 when
// the text is no TIME value; the octets go to `out` as writeIsoTime puts them.
[[nodiscard]] size_t canonicalTime(const char *text, char *out, size_t room);

// Whether a writer under `rules` writes the canonical form.
inline bool canonicalRules(int rules)
{
    return rules == QOR_DER || rules == QOR_CER || rules == QOR_CXER;
}

// The layout of the TIME types whose BER and OER contents leave their
// punctuation out: DATE (31), TIME-OF-DAY (32), DATE-TIME (33).
struct CompactTimeForm {
    const char *removed; // the characters the encoder leaves out
    const char *pattern; // the text, with "d" for each octet of the contents
    size_t size;         // the octets of the contents
};
// The form of `kind`, or null for the other kinds.
const CompactTimeForm *compactTimeForm(int kind);

constexpr int kTimeKind = 14, kDurationKind = 34;

// Whether the contents of `kind` keep the character at `p` of its text:
// DATE, TIME-OF-DAY and DATE-TIME leave their punctuation out, a DURATION
// its first "P" (`pSeen` follows it), the general TIME nothing.
inline bool keptInContents(const CompactTimeForm *form, int kind, const char *p, bool &pSeen)
{
    if (form != nullptr)
        return strchr(form->removed, *p) == nullptr;
    if (kind == kDurationKind && !pSeen && *p == 'P') {
        pSeen = true;
        return false;
    }
    return true;
}

// The text of `kind` from contents of `length` octets, the form's size
// already checked: punctuation or the "P" put back, zero-terminated, in
// decoder memory.
char *timeTextOf(QorGlobal *world, const unsigned char *in, size_t length, int kind);

} // namespace qor

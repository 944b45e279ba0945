// UTCTime and GeneralizedTime as text, for every family that carries them:
// a time record formatted into a buffer, contents parsed into the record,
// and the check of a time held as zero-terminated text. What the encoding
// rules change comes in as ClassicTimeRules; nothing here reads the
// context's rules code or flags.
#pragma once

#include <cstddef>

#include "frame/world.h"

namespace qor {

// Room for the longest text formatClassicTime writes: "YYYYMMDDhhmmss.fff+hhmm".
constexpr size_t kClassicTimeText = 32;

// All false is the lenient BER reading and the full writing of a
// GeneralizedTime.
struct ClassicTimeRules {
    bool utcTime;     // UTCTime: a two-digit year and no fraction
    // Writing.
    bool checkFields; // the fields are range-checked first (checkTimeFields)
    bool dropZeros;   // "00" seconds that end the text go, and in a
                      // GeneralizedTime minutes of "00" after them (BER)
    bool utcOnly;     // a time not in UTC is message kTimeNotUtc (DER, CER)
    bool shortOffset; // a GeneralizedTime offset of whole hours is "+hh"
    // Reading.
    bool canonical;   // only the canonical form: every field, a "." fraction
                      // with no trailing zero, and "Z"; else message kTimeNotUtc
    bool lowerZ;      // "z" stands for "Z"
    bool fullUtcTime; // a UTCTime has its minutes, and "Z" or an offset
    bool roundedFraction; // a fraction keeps the digits that reach a
                          // millisecond and one more, and is rounded by it
};

// The rules of PER and OER: every field down to the seconds, "+hh" for an
// offset of whole hours, "z" read as "Z", a fraction rounded to the
// millisecond.
inline ClassicTimeRules perTimeRules(bool utcTime)
{
    ClassicTimeRules rules{};
    rules.utcTime = utcTime;
    rules.shortOffset = true;
    rules.lowerZ = true;
    rules.fullUtcTime = true;
    rules.roundedFraction = true;
    return rules;
}

// Month 1 to 12, day 1 to 31, hour 0 to 23, minute and second 0 to 59,
// millisecond 0 to 999 (0 in a UTCTime): messages kBadMonth to
// kBadMillisecond with the value.
void checkTimeFields(QorGlobal *world, const GeneralizedTime *time, bool utcTime);

// Writes `time` at `text`, which has kClassicTimeText octets, with no
// terminating zero; returns the length. The fraction is the milliseconds
// without trailing zeros; a UTCTime ends in "Z" when it is in UTC or its
// offset is 0, a GeneralizedTime in "Z" when it is in UTC and in nothing
// for an offset of 0. A field too large for its digits is message kBadTime.
size_t formatClassicTime(QorGlobal *world, const GeneralizedTime *time,
                         const ClassicTimeRules &rules, char *text);

// Reads exactly `length` octets at `text` into `time`, which is cleared
// first. Fields after the year may stop at any pair (a GeneralizedTime has
// at least its month and day); a fraction of the last field present is
// spread over the fields below it, cut to the millisecond (or rounded). Then "Z", or "+"
// or "-" with two or four digits, or nothing. A form broken otherwise is
// message kMisencoded. The fields are not range-checked.
void parseClassicTime(QorGlobal *world, const unsigned char *text, QorLong length,
                      const ClassicTimeRules &rules, GeneralizedTime *time);

// Checks a zero-terminated time text: the year, month, day and hour, then
// minutes and seconds if present, their ranges, a fraction (GeneralizedTime),
// and an end of nothing, "Z" or an offset of two or four digits. A broken
// form is message kBadTime; a form the canonical rules refuse, kTimeNotUtc.
void checkClassicTimeText(QorGlobal *world, const char *text, const ClassicTimeRules &rules);

} // namespace qor

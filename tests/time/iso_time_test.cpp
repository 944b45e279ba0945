// TIME values: the kinds of texts, the working record's grammar that raises,
// the public conversions that give a code, where the two part ways, the
// writers, and the comparisons.
#include <cstring>
#include <string>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

constexpr int kBadTime = QOR_BAD_TIME, kLimited = QOR_LIMITED;

// Records of every kind, filled by the conversion of `kind`.
struct Records {
    QorTimePoint start, end;
    QorDuration duration;
    QorLong recurrences;
};

int fromText(QorGlobal *w, int kind, const char *text, Records &r)
{
    r = Records{};
    switch (kind) {
    case 0: return qorStringToTimePoint(w, text, &r.start);
    case 1: return qorStringToDurationInterval(w, text, &r.duration);
    case 2: return qorStringToStartPointEndPointInterval(w, text, &r.start, &r.end);
    case 3: return qorStringToStartPointDurationInterval(w, text, &r.start, &r.duration);
    case 4: return qorStringToDurationEndPointInterval(w, text, &r.duration, &r.end);
    case 5: return qorStringToDurationRecInterval(w, text, &r.duration, &r.recurrences);
    case 6:
        return qorStringToStartPointEndPointRecInterval(w, text, &r.start, &r.end, &r.recurrences);
    case 7:
        return qorStringToStartPointDurationRecInterval(w, text, &r.start, &r.duration,
                                                        &r.recurrences);
    default:
        return qorStringToDurationEndPointRecInterval(w, text, &r.duration, &r.end,
                                                      &r.recurrences);
    }
}

int toText(QorGlobal *w, int kind, const Records &r, char **text)
{
    switch (kind) {
    case 0: return qorTimePointToString(w, &r.start, text);
    case 1: return qorDurationIntervalToString(w, &r.duration, text);
    case 2: return qorStartPointEndPointIntervalToString(w, &r.start, &r.end, text);
    case 3: return qorStartPointDurationIntervalToString(w, &r.start, &r.duration, text);
    case 4: return qorDurationEndPointIntervalToString(w, &r.duration, &r.end, text);
    case 5: return qorDurationRecIntervalToString(w, &r.duration, r.recurrences, text);
    case 6:
        return qorStartPointEndPointRecIntervalToString(w, &r.start, &r.end, r.recurrences, text);
    case 7:
        return qorStartPointDurationRecIntervalToString(w, &r.start, &r.duration, r.recurrences,
                                                        text);
    default:
        return qorDurationEndPointRecIntervalToString(w, &r.duration, &r.end, r.recurrences,
                                                      text);
    }
}

class IsoTimeTest : public ContextTest {
protected:
    // The working record of `text`: 0, or the code raised.
    int value(const char *text, QorDateTimeValue *v = nullptr)
    {
        QorDateTimeValue local;
        QorDateTimeValue *out = v != nullptr ? v : &local;
        return inFrame(&world, QOR_OP_ENCODE, [&] { _qorGetDateTimeValue(&world, text, out); });
    }

    // The public records of `text` by the call of its kind, written back in
    // new memory under `rules`; "" when either way fails.
    std::string again(const char *text, int rules = QOR_BER)
    {
        Records r;
        const int kind = qorGetTimeKind(&world, text);
        if (fromText(&world, kind, text, r) != 0)
            return "";
        world.encRules = rules;
        char *out = nullptr;
        const int code = toText(&world, kind, r, &out);
        world.encRules = QOR_BER;
        std::string s = code == 0 ? out : "";
        qorFreeBuf(&world, out);
        return s;
    }
};

TEST_F(IsoTimeTest, KindsByShapeAlone)
{
    const struct {
        const char *text;
        int kind;
    } cases[] = {
        {"2000-01-01T10:00Z", 0}, {"-0001", 0}, {"10:00", 0}, {"P1Y", 1}, {"PX", 1},
        {"2000/2001", 2}, {"2000/P1Y", 3}, {"P1Y/2001", 4}, {"R/P1Y", 5}, {"R5/2000/2001", 6},
        {"R5/2000/P1Y", 7}, {"R/P1Y/2001", 8}, {"R5", 9}, {"X", 9}, {"", 9},
    };
    for (const auto &c : cases)
        EXPECT_EQ(qorGetTimeKind(&world, c.text), c.kind) << c.text;
    EXPECT_EQ(qorGetTimeKind(nullptr, "P1Y"), 9);
    EXPECT_EQ(qorGetTimeKind(&world, nullptr), 9);
}

// The working record: kinds, and the first octet of each part of each element
// (a point's date flags over its time flags, or a duration's flags).
TEST_F(IsoTimeTest, WorkingRecord)
{
    const struct {
        const char *text;
        int code;
        const char *message; // when refused
        unsigned kinds, first, second;
    } cases[] = {
        {"R/P1Y", 0, "", 0x90, 0x80, 0},
        {"R3/P1Y", 0, "", 0x90, 0x80, 0},
        {"R0/P1Y", kBadTime, "0012S", 0, 0, 0},
        {"R5/2000-01-01", kBadTime, "0012S", 0, 0, 0},
        {"R12345678901/P1Y", kLimited, "0144E: Integer or enumerated value too long: length = 11", 0, 0, 0},
        {"24:00:00", 0, "", 0x40, 0x00E0, 0},
        {"24:00:00.0", 0, "", 0x40, 0x00F0, 0},
        {"24:00:01", kBadTime, "Second = 1", 0, 0, 0},
        {"24:01", kBadTime, "Minute = 1", 0, 0, 0},
        {"24:00:00.1", kBadTime, "0012S: Out-of-range value in time type", 0, 0, 0},
        {"25:00", kBadTime, "Hour = 25", 0, 0, 0},
        {"23:59:60", 0, "", 0x40, 0x00E0, 0},
        {"12:00:00.12345678901", kLimited, "length = 11", 0, 0, 0},
        {"12:00+15:00", 0, "", 0x40, 0x00C4, 0},
        {"12:00+15:01", kBadTime, "Minute = 1", 0, 0, 0},
        {"12:00+16", kBadTime, "Hour = 16", 0, 0, 0},
        {"12:00-16", kBadTime, "Hour = -16", 0, 0, 0},
        {"1582-10-10", 0, "", 0x40, 0x5C00, 0},
        {"1581-12-31", 0, "", 0x40, 0x5A00, 0},
        {"-0001", 0, "", 0x40, 0x4100, 0},
        {"10000", 0, "", 0x40, 0x4000, 0},
        {"09C", 0, "", 0x40, 0x8200, 0},
        {"-99C", 0, "", 0x40, 0x8100, 0},
        {"100C", 0, "", 0x40, 0x8000, 0},
        {"0099C", kBadTime, "Century = 99", 0, 0, 0},
        {"099C", kBadTime, "Century = 99", 0, 0, 0},
        {"9C", kBadTime, "Century = 9", 0, 0, 0},
        {"01234", kBadTime, "Year = 1234", 0, 0, 0},
        {"+123", kBadTime, "Year = 123", 0, 0, 0},
        {"2000-366", 0, "", 0x40, 0x4C00, 0},
        {"2001-366", kBadTime, "Day = 366", 0, 0, 0},
        {"2000-02-29", 0, "", 0x40, 0x5C00, 0},
        {"1900-02-29", kBadTime, "Day = 29", 0, 0, 0},
        {"2000-13", kBadTime, "Month = 13", 0, 0, 0},
        {"2000-W53-7", 0, "", 0x40, 0x6C00, 0},
        {"2000-W54", kBadTime, "Week = 54", 0, 0, 0},
        {"2000-W01-8", kBadTime, "Day = 8", 0, 0, 0},
        {"2000-01T10:00", kBadTime, "0012S", 0, 0, 0},
        {"P0Y1M", 0, "", 0x10, 0x40, 0},
        {"P1Y0M", 0, "", 0x10, 0xC0, 0},
        {"PT0S", 0, "", 0x10, 0x02, 0},
        {"PT1.5S", 0, "", 0x10, 0x03, 0},
        {"P2W", 0, "", 0x10, 0x20, 0},
        {"P1Y2W", kBadTime, "0012S", 0, 0, 0},
        {"P1M1Y", kBadTime, "0012S", 0, 0, 0},
        {"P01Y", kBadTime, "0012S", 0, 0, 0},
        {"PT", kBadTime, "0012S", 0, 0, 0},
        {"P1Y/P1M", kBadTime, "0012S", 0, 0, 0},
        {"2000-01-01/P1D", 0, "", 0x48, 0x5C00, 0x10},
        {"P1D/2000-01-01", 0, "", 0x30, 0x10, 0x5C00},
        {"2000-01-01/1999-01-01", kBadTime, "0012S", 0, 0, 0},
        {"2000-01/1999", kBadTime, "0012S", 0, 0, 0},
        {"1999-01-01/1999-01-01", 0, "", 0x60, 0x5C00, 0x5C00},
        // The ends as written, their time differences left aside.
        {"2000-01-01T10:00+05/2000-01-01T11:00", 0, "", 0x60, 0x5CC4, 0x5CC0},
        {"2000-01-01T10:00+05/2000-01-01T09:00", kBadTime, "0012S", 0, 0, 0},
        {"2000-01-01T10:00+05/2000-01-01T09:00Z", kBadTime, "0012S", 0, 0, 0},
        {"T10:00+05/T09:00Z", kBadTime, "0012S", 0, 0, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        QorDateTimeValue v;
        ASSERT_EQ(value(c.text, &v), c.code) << world.errMsgBuffer;
        if (c.code != 0) {
            EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
            continue;
        }
        auto octets = [](const QorTimeElement &e, bool duration) {
            return duration ? e.duration.flags
                            : unsigned(e.point.date.flags) << 8 | e.point.time.flags;
        };
        EXPECT_EQ(v.kinds, c.kinds);
        EXPECT_EQ(octets(v.first, v.kinds & 0x10), c.first);
        EXPECT_EQ(octets(v.second, v.kinds & 0x08), c.second);
    }
    QorDateTimeValue v;
    ASSERT_EQ(value("R/P1Y", &v), 0);
    EXPECT_EQ(v.recurrences, 0xFFFFFFFFu);
    EXPECT_EQ(v.recurrenceDigits, 0);
    ASSERT_EQ(value("R3/PT1.25S", &v), 0);
    EXPECT_EQ(v.recurrences, 3u);
    EXPECT_EQ(v.recurrenceDigits, 1);
    EXPECT_EQ(v.first.duration.lastUnit, 0x02);
    EXPECT_EQ(v.first.duration.fraction, 25u);
    EXPECT_EQ(v.first.duration.fractionDigits, 2);
    ASSERT_EQ(value("-12345-W02-3T23:59:60.5-01:30", &v), 0);
    EXPECT_EQ(v.first.point.date.year, -12345);
    EXPECT_EQ(v.first.point.date.digits, 5);
    EXPECT_EQ(v.first.point.time.diffFlags, 0xC0);
    EXPECT_EQ(v.first.point.time.diffMinutes, 30);
}

// Where the two grammars part ways: the working record refuses R0, day 366
// of a common year, an offset of 15:01, "0099C" and "01234" (WorkingRecord),
// which the public records take (RecordsAndBack, and the fields below); the
// public records refuse ends with and without a zone (PublicRefusals), which
// the working record takes.
TEST_F(IsoTimeTest, TheGrammarsPartWays)
{
    EXPECT_EQ(value("10:00/11:00+01"), 0);
    Records r;
    ASSERT_EQ(fromText(&world, 5, "R0/P1Y", r), 0);
    EXPECT_EQ(r.recurrences, -1);
    ASSERT_EQ(fromText(&world, 1, "P0Y1M", r), 0);
    EXPECT_EQ(r.duration.flags, 0xC0000000u); // the working record: months alone
    ASSERT_EQ(fromText(&world, 0, "0099C", r), 0);
    EXPECT_EQ(r.start.century, 99);
    ASSERT_EQ(fromText(&world, 0, "01234", r), 0);
    EXPECT_EQ(r.start.year, 1234);
}

// Text to records and back, for every kind: as it was, or as written under
// the rules given (DER writes the canonical form).
TEST_F(IsoTimeTest, RecordsAndBack)
{
    const struct {
        const char *text;
        const char *written; // nullptr: the text itself
        int rules;
    } cases[] = {
        {"2000-01-01T10:00:00.5Z", nullptr, QOR_BER},
        {"1999-W52-7T24:00:00.000", nullptr, QOR_BER},
        {"2000-366", nullptr, QOR_BER},
        {"2001-366", nullptr, QOR_BER},
        {"-0001-02", nullptr, QOR_BER},
        {"+12345", nullptr, QOR_BER},
        {"12345", "+12345", QOR_BER},
        {"20C", nullptr, QOR_BER},
        {"-05C", nullptr, QOR_BER},
        {"0099C", "99C", QOR_BER},
        {"23:59:60", nullptr, QOR_BER},
        {"12:00+15:01", nullptr, QOR_BER},
        {"12:00,5-05:30", "12:00.5-05:30", QOR_BER},
        {"P1Y2M3DT4H5M6.25S", nullptr, QOR_BER},
        {"P0Y1M", nullptr, QOR_BER},
        {"P0Y1M", "P1M", QOR_DER},
        {"P0Y0M", "P0M", QOR_CER},
        {"P1YT0.5S", nullptr, QOR_DER},
        {"PT0S", nullptr, QOR_DER},
        {"P1.5W", nullptr, QOR_BER},
        {"2000-01-01T10:00+01/2000-01-01T11:00", nullptr, QOR_BER},
        {"2000-01-01T10:00+01/2000-01-01T11:00+01:00", nullptr, QOR_BER},
        {"2000-01-01T10:00+01/2000-01-01T11:00+01:00", "2000-01-01T10:00+01/2000-01-01T11:00",
         QOR_DER},
        {"2000-01-01T10:00+01/2000-01-01T11:00-01", nullptr, QOR_DER},
        {"2000-01-01/P1D", nullptr, QOR_BER},
        {"PT1H/10:00Z", nullptr, QOR_BER},
        {"R/P1Y", nullptr, QOR_BER},
        {"R0/P1Y", "R/P1Y", QOR_BER},
        {"R12/PT1S", nullptr, QOR_BER},
        {"R2/2000/2001", nullptr, QOR_BER},
        {"R3/2000-01-01T00:00Z/P1M", nullptr, QOR_BER},
        {"R/P1D/2000-12-31", nullptr, QOR_BER},
    };
    for (const auto &c : cases)
        EXPECT_EQ(again(c.text, c.rules), c.written != nullptr ? c.written : c.text) << c.text;
}

// Refused by the conversion of the text's kind, with no frame armed: a code,
// never a jump.
TEST_F(IsoTimeTest, PublicRefusalsNeedNoFrame)
{
    const char *const texts[] = {
        "24:00:01", "24:01", "24:00:00.1", "12:00+16", "12:00+15:60", "2000-13", "2000-02-30",
        "1900-02-29", "2000-W54", "2000-W01-8", "2000-367", "2000-01-01-01", "123", "+123",
        "2000-01T10:00", "20C-01", "9C", "10.", "10:00Z+01", "P", "PT", "P1", "PT1.S", "P1M1Y",
        "P1Y1W", "P01Y", "PT1H1H", "PTT1H", "R01/P1Y", "R12345678901/P1Y", "R/2000",
        "2000-01/2001", "10:00Z/11:00", "10:00/11:00+01", "P1Y/P1Y", "P1Y/", "2000/",
        "99999999999", "2147483648C",
    };
    ASSERT_EQ(world.jumpFrame, nullptr);
    for (const char *text : texts) {
        const int kind = qorGetTimeKind(&world, text);
        Records r;
        EXPECT_EQ(fromText(&world, kind < 9 ? kind : 0, text, r), kBadTime) << text;
        for (int other = 0; other < 9; other++)
            EXPECT_EQ(fromText(&world, other, "X", r), kBadTime);
    }
    Records r;
    EXPECT_EQ(fromText(nullptr, 0, "2000", r), kBadTime);
    EXPECT_EQ(fromText(&world, 0, nullptr, r), kBadTime);
    EXPECT_EQ(qorStringToTimePoint(&world, "2000", nullptr), kBadTime);
    EXPECT_EQ(qorStringToDurationRecInterval(&world, "R/P1Y", &r.duration, nullptr), kBadTime);
}

TEST_F(IsoTimeTest, RecordsThatCannotBeWritten)
{
    auto point = [](uint16_t flags) {
        QorTimePoint t{};
        t.flags = flags;
        t.year = 2000, t.month = 1, t.week = 1, t.day = 1, t.hours = 10;
        t.fractionDigits = 1;
        return t;
    };
    QorTimePoint points[] = {point(0), point(0xC000), point(0x7000), point(0x0200),
                             point(0x4400 | 0x00A0), point(0x0400 | 0x0040), point(0x0400 | 0x0100)};
    points[5].fraction = 10; // two digits in one
    QorTimePoint late = point(0x0400 | 0x0200), offset = point(0x0400 | 0x0020);
    late.minutes = 60;
    offset.diffHours = 15, offset.diffMinutes = 60; // carried: 16 hours
    char buffer[] = "untouched";
    for (const QorTimePoint &t : {points[0], points[1], points[2], points[3], points[4],
                                  points[5], points[6], late, offset}) {
        char *text = buffer;
        EXPECT_EQ(qorTimePointToString(&world, &t, &text), kBadTime) << t.flags;
        EXPECT_STREQ(buffer, "untouched");
    }
    QorDuration none{}, weeks{}, fraction{};
    weeks.flags = 0xA0000000;
    fraction.flags = 0x03000000, fraction.fractionDigits = 1, fraction.fraction = 12;
    for (const QorDuration &d : {none, weeks, fraction}) {
        char *text = buffer;
        EXPECT_EQ(qorDurationIntervalToString(&world, &d, &text), kBadTime);
    }
    QorTimePoint start = point(0x4000), end = point(0x5000);
    char *text = nullptr;
    EXPECT_EQ(qorStartPointEndPointIntervalToString(&world, &start, &end, &text), kBadTime);
    EXPECT_EQ(qorTimePointToString(&world, nullptr, &text), kBadTime);
    EXPECT_EQ(qorTimePointToString(&world, &start, nullptr), kBadTime);
    EXPECT_EQ(qorTimePointToString(nullptr, &start, &text), kBadTime);
    EXPECT_EQ(text, nullptr);
    CountingAllocator::failAt = CountingAllocator::calls + 1;
    EXPECT_EQ(qorTimePointToString(&world, &start, &text), kBadTime);
    EXPECT_EQ(text, nullptr);
    // Into the caller's buffer; an unlimited count writes "R/".
    QorDuration year{};
    year.flags = 0x80000000, year.years = 1;
    text = buffer;
    ASSERT_EQ(qorDurationRecIntervalToString(&world, &year, -7, &text), 0);
    EXPECT_STREQ(buffer, "R/P1Y");
}

TEST_F(IsoTimeTest, SameValue)
{
    const struct {
        const char *first, *second;
        int result;
    } cases[] = {
        {"12:00:00.5", "12:00:00.50", 1},
        {"12:00:00,5", "12:00:00.5", 0},
        {"12:00+00", "12:00-00", 0},
        {"12:00+01", "12:00-01", 1},
        {"12:00+01", "12:00+01:00", 0},
        {"12:00+01:00", "11:00Z", 1},
        {"12:00", "12:00Z", 1},
        {"P1Y", "P1Y0M", 0},
        {"PT1H", "PT60M", 1},
        {"PT1.5S", "PT1.50S", 1},
        {"2000-01-01T10:00+01/2000-01-01T11:00", "2000-01-01T10:00+01/2000-01-01T11:00+01", 0},
        {"2000-01-01T10:00+01/2000-01-01T11:00", "2000-01-01T10:00+01/2000-01-01T11:00+02", 1},
        {"R/P1Y", "R0/P1Y", 0},
        {"R2/P1Y", "R3/P1Y", 1},
        {"2000/P1Y", "2000/P1Y0D", 0},
        {"P1D/2000-01-01", "P1D/2000-01-02", 1},
        {"PX", "PX", 0},
        {"PX", "PY", 1},
        {"P1Y", "2000", 1},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(_qor_cmp_date_time(&world, c.first, c.second), c.result)
            << c.first << " " << c.second;
        EXPECT_EQ(_qor_cmp_date_time(&world, c.second, c.first), c.result)
            << c.second << " " << c.first;
    }
    EXPECT_EQ(_qor_cmp_date_time(&world, "P1Y", nullptr), 1);
}

// The order and equality of working records, for range and single-value
// constraints.
TEST_F(IsoTimeTest, RelationsOfWorkingRecords)
{
    const struct {
        const char *first, *second;
        int relation, different;
    } cases[] = {
        {"P1M", "P2M", -1, 1},
        {"P1M", "P1Y", -2, 1},
        {"P1M", "P30D", -2, 1},
        {"P2W", "P1W", 1, 1},
        {"PT1.5S", "PT1.5S", 0, 0},
        {"2000-01-02", "2000-01-01", 1, 1},
        {"1500", "2000", -2, 1}, // the era class is part of the composition
        {"10:00+01", "10:00+01:00", 0, 0},
        {"10:00+00", "10:00-00", 0, 0},
        {"10:00+01", "10:00+02", -2, 1},
        {"10:00:00.5", "10:00:00.50", -2, 1},
        {"2000/2001", "2000/2001", -2, 0},
        {"2000-01-01T10:00+01/2000-01-01T11:00", "2000-01-01T10:00+01/2000-01-01T11:00+01", -2, 0},
        {"2000-01-01T10:00+01/2000-01-01T11:00", "2000-01-01T10:00+01/2000-01-02T11:00+01", -2, 1},
        {"R2/P1Y", "R3/P1Y", -2, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(std::string(c.first) + " " + c.second);
        QorDateTimeValue a, b;
        ASSERT_EQ(value(c.first, &a), 0) << world.errMsgBuffer;
        ASSERT_EQ(value(c.second, &b), 0) << world.errMsgBuffer;
        EXPECT_EQ(_qorDTIntervalsRelation(&a, &b), c.relation);
        EXPECT_EQ(_qorCmpDTIntervals(&a, &b), c.different);
    }
}

} // namespace

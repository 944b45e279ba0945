// Property settings of the TIME types on parsed values: each check's
// results and texts, the midnight alternatives, the interval rules, the
// duration units and recurrence digits.
#include <string>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

enum Check { kDate, kTime, kDateTime, kInterval, kRecInterval, kAnyDate, kAnyTime, kAnyInterval };

class PropertyChecksTest : public ContextTest {
protected:
    QorDateTimeValue parse(const char *text)
    {
        QorDateTimeValue v{};
        QorDateTimeValue *out = &v;
        EXPECT_EQ(inFrame(&world, QOR_OP_ENCODE, [&] { _qorGetDateTimeValue(&world, text, out); }),
                  0)
            << text;
        return v;
    }
};

int run(Check check, const QorDateTimeValue *v, unsigned settings, unsigned digits,
        const char **message)
{
    switch (check) {
    case kDate: return _qorChkDateSettings(v, settings, digits, message);
    case kTime: return _qorChkTimeSettings(v, settings, digits, message);
    case kDateTime: return _qorChkDateTimeSettings(v, message);
    case kInterval: return _qorChkIntervalSettings(v, settings, message);
    case kRecInterval: return _qorChkRecIntervalSettings(v, settings, digits, message);
    case kAnyDate: return _qorChkNoBasicDateSettings(v, settings, digits, message);
    case kAnyTime: return _qorChkNoBasicTimeSettings(v, settings, digits, message);
    default: return _qorChkNoBasicIntervalSettings(v, settings, digits, message);
    }
}

TEST_F(PropertyChecksTest, SettingsWithTheirTexts)
{
    const char *unset = "(unset)";
    const struct {
        Check check;
        const char *text;
        unsigned settings, digits;
        int result;
        const char *message;
    } cases[] = {
        // Forms.
        {kDate, "10:00", 0, 0, 1, "the value shall be a date only"},
        {kTime, "2000-01-01", 0, 0, 1, "the value shall be a time-of-day only"},
        {kDateTime, "2000-01-01", 0, 0, 1, "the value shall be a date and a time-of-day"},
        {kDateTime, "2000-01-01T10:00", 0, 0, 0, nullptr},
        {kInterval, "R2/P1Y", 0, 0, 1, "the value shall be a time interval"},
        {kRecInterval, "P1Y", 0, 0, 1, "the value shall be a recurring time interval"},
        // Dates.
        {kDate, "2000-01", 0x0800, 0, 1, "the date shall represent only a century"},
        {kDate, "20C", 0x0800, 0, 0, nullptr},
        {kDate, "20C", 0x0080, 0, 1, "the date shall have a year component"},
        {kDate, "2000", 0x0180, 0, 1, "the date shall have a month component"},
        {kDate, "2000-W01", 0x0680, 0, 1, "the date shall have a day component"},
        {kDate, "2000-01", 0x0080, 0, 1, "the date shall not have a month component"},
        {kDate, "2000-W01-1", 0x0480, 0, 1, "the date shall not have a day component"},
        {kDate, "2000-01-01", 0x0380, 0, 0, nullptr},
        {kDate, "1582", 0x1000, 0, 0, nullptr},
        {kDate, "1581", 0x1000, 0, 1,
         "the year identification shall be a non-proleptic year in the range 1582 to 9999"},
        {kDate, "1582", 0x2000, 0, 1,
         "the year identification shall be a year in the proleptic Gregorian Calendar in the "
         "range 0 to 1581"},
        {kDate, "15C", 0x1000, 0, 0, nullptr},
        {kDate, "15C", 0x2000, 0, 1,
         "the century identification shall be a century in the proleptic Gregorian Calendar "
         "in the range 0 to 14"},
        {kDate, "14C", 0x1000, 0, 1,
         "the century identification shall be a non-proleptic century in the range 15 to 99"},
        {kDate, "2000", 0x4000, 0, 1,
         "the year identification shall be a negative year in the range -9999 to -1"},
        {kDate, "20C", 0x4000, 0, 1,
         "the century identification shall be a negative century in the range -99 to -1"},
        {kDate, "+12345", 0x8000, 6, 1,
         "the large year identification has an incorrect number of digits"},
        {kDate, "+12345", 0x8000, 5, 0, nullptr},
        {kDate, "+123C", 0x8000, 4, 1,
         "the large century identification has incorrect number of digits"},
        // Only one of the year ranges is checked: the first set.
        {kDate, "1582", 0x1000 | 0x2000, 0, 0, nullptr},
        {kDate, "2000", 0x2000 | 0x8000, 4, 1,
         "the year identification shall be a year in the proleptic Gregorian Calendar in the "
         "range 0 to 1581"},
        // Times.
        {kTime, "24:00:00", 0x4000, 0, 1,
         "the time-of-day shall represent midnight at the start of a day"},
        {kTime, "00:00:00", 0x4000, 0, 0, nullptr},
        {kTime, "00:00:00", 0x8000, 0, 1,
         "the time-of-day shall represent midnight at the end of a day"},
        {kTime, "10:00", 0x0080, 0, 1, "the time-of-day shall not have a minutes component"},
        {kTime, "10", 0x0180, 0, 1, "the time-of-day shall have a minutes component"},
        {kTime, "10:00", 0x0380, 0, 1, "the time-of-day shall have a seconds component"},
        {kTime, "10:00:00", 0x0180, 0, 1, "the time-of-day shall not have a seconds component"},
        // Seconds are left alone when minutes are not required.
        {kTime, "10", 0x0280, 0, 0, nullptr},
        {kTime, "10:00:00", 0x0380, 0, 0, nullptr},
        {kTime, "10:00:00.5", 0x0380, 0, 1,
         "the time-of-day shall not have a decimal fraction component"},
        {kTime, "10:00:00", 0x03C0, 2, 1, "the time-of-day shall have a decimal fraction component"},
        {kTime, "10:00:00.5", 0x03C0, 2, 1,
         "the decimal fraction component has incorrect number of digits"},
        {kTime, "10:00:00.50", 0x03C0, 2, 0, nullptr},
        {kTime, "10:00Z", 0x0400, 0, 1, "the time-of-day shall specify a local time only"},
        {kTime, "10:00+01", 0x0800, 0, 1, "the time-of-day shall specify a UTC time only"},
        {kTime, "10:00Z", 0x1000, 0, 1,
         "the time-of-day shall specify a local time and a time difference component"},
        {kTime, "10:00+01", 0x1000, 0, 0, nullptr},
        // Midnight alternatives: an empty text.
        {kTime, "00:00", 0x14000, 0, 0, nullptr},
        {kTime, "24:00", 0x18000, 0, 0, nullptr},
        {kTime, "10:00", 0x14000, 0, 1, ""},
        {kTime, "10:00", 0x14180, 0, 0, ""},
        {kTime, "10", 0x14180, 0, 1, "the time-of-day shall have a minutes component"},
        // Intervals.
        {kInterval, "P1Y", 0x00C0, 0, 1,
         "the interval should be specified using a start point and an end point"},
        {kInterval, "2000/P1Y", 0x00C0, 0, 1,
         "the interval should be specified using a start point and an end point"},
        {kInterval, "2000/2001", 0x00C0, 0, 0, nullptr},
        {kInterval, "P1Y/2001", 0x0140, 0, 1,
         "the interval should be specified using a start point and a duration"},
        {kInterval, "2000/P1Y", 0x0080, 0, 1,
         "the interval should be specified using a duration and an end point"},
        {kInterval, "P1Y/2001", 0x0100, 0, 1,
         "the interval should be specified using only a duration"},
        {kInterval, "2000/2001", 0x0800, 0, 1,
         "both start and end points of the interval shall be specified using a date and a "
         "time-of-day"},
        {kInterval, "P1Y/2001-01-01T10:00", 0x0200, 0, 1,
         "both start and end points of the interval shall be specified using a date only"},
        {kInterval, "2000/2001", 0x0400, 0, 1,
         "both start and end points of the interval shall be specified using a time-of-day only"},
        {kRecInterval, "R10/P1Y", 0x1100, 3, 1,
         "the recurring interval has an incorrect number of recurrence digits"},
        {kRecInterval, "R10/P1Y", 0x1100, 2, 0, nullptr},
        {kRecInterval, "R10/P1Y", 0x1100, 0, 1,
         "the recurring interval shall not contain recurrence digits because the "
         "\"Recurrence\" property setting is \"Unlimited\""},
        {kRecInterval, "R/P1Y", 0x1100, 0, 0, nullptr},
        // Whatever the value is.
        {kAnyDate, "P1Y", 0x1000, 0, 0, nullptr},
        {kAnyDate, "P1Y/1581", 0x1000, 0, 1,
         "the year identification shall be a non-proleptic year in the range 1582 to 9999"},
        {kAnyTime, "2000-01-01T00:00/2000-01-02T00:00", 0x8000, 0, 1,
         "the time-of-day shall represent midnight at the end of a day"},
        {kAnyTime, "2000-01-01T10:00/2000-01-02T24:00", 0x18000, 0, 0, ""},
        {kAnyTime, "2000-01-01", 0x14000, 0, 1, nullptr},
        {kAnyTime, "P1Y/2001-01-01T10:00Z", 0x0400, 0, 1, "the time-of-day shall specify a local time only"},
        {kAnyTime, "P1Y", 0x0400, 0, 0, nullptr},
        {kAnyInterval, "2000", 0x00C0, 0, 0, nullptr},
        {kAnyInterval, "P1Y", 0x00C0, 0, 1,
         "the interval should be specified using a start point and an end point"},
    };
    for (const auto &c : cases) {
        const QorDateTimeValue v = parse(c.text);
        const char *message = unset;
        EXPECT_EQ(run(c.check, &v, c.settings, c.digits, &message), c.result)
            << c.text << " " << c.settings;
        const std::string expected = c.message == nullptr ? unset : c.message;
        EXPECT_EQ(message, expected) << c.text << " " << c.settings;
    }
}

TEST_F(PropertyChecksTest, DurationUnitsAndRecurrences)
{
    const struct {
        const char *text;
        unsigned required, forbidden;
        int result;
        const char *name;
    } units[] = {
        {"P1M", 0x80, 0, 285, "years"},
        {"P1M", 0x40, 0, 0, ""},
        {"P1Y2M", 0, 0x40, 284, "months"},
        {"PT1.5S", 0x03, 0x01, 284, "fractional-part"},
        {"P2W", 0x20, 0xDF, 0, ""},
    };
    for (const auto &u : units) {
        const QorDateTimeValue v = parse(u.text);
        const char *name = "";
        EXPECT_EQ(_qorChkDurationComponents(&v, u.required, u.forbidden, &name), u.result)
            << u.text;
        EXPECT_STREQ(name, u.name) << u.text;
    }

    const struct {
        const char *text;
        QorULong lowest, highest;
        int result;
        const char *message;
    } ranges[] = {
        {"R10/P1Y", 1, 1, 1, nullptr},
        {"R10/P1Y", 2, 2, 0, "(unset)"},
        {"R/P1Y", 1, 65535, 0, "(unset)"},
        {"R/P1Y", 1, 9, 1, nullptr},
        {"P1Y", 1, 9, 1, ": expected a recurring time interval"},
    };
    for (const auto &r : ranges) {
        const QorDateTimeValue v = parse(r.text);
        const char *message = "(unset)";
        EXPECT_EQ(_qorChkRecurrenceRange(&v, r.lowest, r.highest, &message), r.result) << r.text;
        if (r.message == nullptr)
            EXPECT_EQ(message, nullptr) << r.text;
        else
            EXPECT_STREQ(message, r.message) << r.text;
    }

    // Generated code raises 270 with the text as it is: a cleared one adds nothing.
    const QorDateTimeValue unlimited = parse("R/P1Y");
    const char *cleared = "(unset)";
    ASSERT_EQ(_qorChkRecurrenceRange(&unlimited, 1, 9, &cleared), 1);
    EXPECT_EQ(inFrame(&world, QOR_OP_ENCODE, [&] { _qor_krod_error(&world, 270, cleared); }),
              QOR_CONSTRAINT_VIOLATED);
    EXPECT_TRUE(messageHas("0326S: PropertySettings constraint violated: "));
    EXPECT_FALSE(messageHas("null"));
}

} // namespace

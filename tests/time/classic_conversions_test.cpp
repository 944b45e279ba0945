// UTCTime and GeneralizedTime text and integers, and calendar time: what the
// rules change, the fraction's spread, the 32-bit calendar's edges, and
// hostile text.
#include <string>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

constexpr int kBad = QOR_BAD_TIME;

class ClassicConversionsTest : public ContextTest {
protected:
    // GeneralizedTime integers to text under `rules`; "" on a failure.
    std::string gen(int rules, int y, int mo, int d, int h, int mi, int s, int fraction,
                    int precision, int mindiff)
    {
        world.encRules = rules;
        char text[64] = "";
        const int code = qorIntsToGeneralizedTime(&world, y, mo, d, h, mi, s, fraction,
                                                  precision, mindiff, text);
        world.encRules = QOR_BER;
        return code == 0 ? text : "";
    }

    // The fields of a GeneralizedTime text: year to second, fraction, mindiff.
    int genToInts(const char *text, int (&v)[8], short &precision)
    {
        return qorGeneralizedTimeToInts(&world, text, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5],
                                        &v[6], &precision, &v[7]);
    }
};

TEST_F(ClassicConversionsTest, IntegersToText)
{
    const struct {
        int rules, year, month, day, hour, minute, second, fraction, precision, mindiff;
        const char *text;
    } cases[] = {
        {QOR_BER, 2000, 1, 2, 3, 4, 0, 0, 0, 1, "200001020304Z"},
        {QOR_DER, 2000, 1, 2, 3, 4, 0, 0, 0, 1, "20000102030400Z"},
        {QOR_BER, 2000, 1, 2, 3, 4, 5, 500, 3, 0, "20000102030405.5"},
        {QOR_BER, 2000, 1, 2, 3, 4, 0, 5, 2, -330, "20000102030400.05-0530"},
        {QOR_BER, 2000, 1, 2, 3, 4, 5, 0, 3, 1440, "20000102030405+2400"},
        {QOR_BER, 2000, 1, 2, 3, 4, 5, 0, 0, 1441, ""},
        {QOR_DER, 2000, 1, 2, 3, 4, 5, 0, 0, 0, ""},
        {QOR_CER, 2000, 1, 2, 3, 4, 5, 0, 0, 60, ""},
        {QOR_BER, 10000, 1, 2, 3, 4, 5, 0, 0, 1, ""},
        {QOR_BER, 2000, 13, 2, 3, 4, 5, 0, 0, 1, ""},
        {QOR_BER, 2000, 1, 2, 24, 0, 0, 0, 0, 1, ""},
        {QOR_BER, 2000, 1, 2, 3, 4, 5, 1000, 3, 1, ""},
        {QOR_BER, 2000, 1, 2, 3, 4, 5, 1, 19, 1, ""},
    };
    for (const auto &c : cases)
        EXPECT_EQ(gen(c.rules, c.year, c.month, c.day, c.hour, c.minute, c.second, c.fraction,
                      c.precision, c.mindiff),
                  c.text)
            << c.text;

    const struct {
        int rules, year, month, day, hour, minute, second, mindiff;
        const char *text;
    } utc[] = {
        {QOR_BER, 0, 1, 2, 3, 4, 0, 0, "0001020304Z"},
        {QOR_DER, 0, 1, 2, 3, 4, 0, 0, "000102030400Z"},
        {QOR_BER, 99, 1, 2, 3, 4, 5, 1, "990102030405+0001"},
        {QOR_BER, 99, 1, 2, 3, 4, 5, -61, "990102030405-0101"},
        {QOR_DER, 99, 1, 2, 3, 4, 5, 1, ""},
        {QOR_BER, 100, 1, 2, 3, 4, 5, 0, ""},
        {QOR_BER, 99, 1, 2, 3, 4, 5, -1441, ""},
    };
    for (const auto &c : utc) {
        world.encRules = c.rules;
        char text[64] = "";
        const int code = qorIntsToUTCTime(&world, c.year, c.month, c.day, c.hour, c.minute,
                                          c.second, c.mindiff, text);
        world.encRules = QOR_BER;
        EXPECT_EQ(code == 0 ? std::string(text) : "", c.text) << c.text;
    }
    EXPECT_EQ(qorIntsToUTCTime(&world, 0, 1, 2, 3, 4, 5, 0, nullptr), kBad);
}

TEST_F(ClassicConversionsTest, GeneralizedTimeToIntegers)
{
    const struct {
        int rules;
        const char *text;
        int code, hour, minute, second, fraction, precision, mindiff;
    } cases[] = {
        {QOR_BER, "2000010203.5Z", 0, 3, 30, 0, 0, 0, 1},
        {QOR_BER, "2000010203,25", 0, 3, 15, 0, 0, 0, 0},
        {QOR_BER, "200001020304.0125z", 0, 3, 4, 0, 75, 2, 1},
        {QOR_BER, "20000102030405.250+0530", 0, 3, 4, 5, 250, 3, 300},
        {QOR_BER, "20000102030405.00000000000000000000001-01", 0, 3, 4, 5, 1, 23, -60},
        {QOR_BER, "20000102030405.000", 0, 3, 4, 5, 0, 3, 0},
        {QOR_BER, "2000010203.0000000000000000001", kBad, 0, 0, 0, 0, 0, 0},
        {QOR_BER, "20000102030405.", kBad, 0, 0, 0, 0, 0, 0},
        {QOR_BER, "20000102030405+24", kBad, 0, 0, 0, 0, 0, 0},
        {QOR_BER, "20000102030405+0", kBad, 0, 0, 0, 0, 0, 0},
        {QOR_BER, "20000102030405Zx", kBad, 0, 0, 0, 0, 0, 0},
        {QOR_BER, "20000102036005", kBad, 0, 0, 0, 0, 0, 0},
        {QOR_BER, "20000102235960Z", kBad, 0, 0, 0, 0, 0, 0},
        {QOR_DER, "20000102030405.5Z", 0, 3, 4, 5, 5, 1, 1},
        {QOR_DER, "20000102030405.50Z", kBad, 0, 0, 0, 0, 0, 0},
        {QOR_DER, "20000102030405,5Z", kBad, 0, 0, 0, 0, 0, 0},
        {QOR_DER, "200001020304Z", kBad, 0, 0, 0, 0, 0, 0},
        {QOR_CER, "20000102030405", kBad, 0, 0, 0, 0, 0, 0},
    };
    for (const auto &c : cases) {
        world.encRules = c.rules;
        int v[8] = {};
        short p = 0;
        const int code = genToInts(c.text, v, p);
        world.encRules = QOR_BER;
        EXPECT_EQ(code, c.code) << c.text;
        if (code != 0 || c.code != 0)
            continue;
        EXPECT_EQ(v[0] * 10000 + v[1] * 100 + v[2], 20000102) << c.text;
        const int fields[] = {v[3], v[4], v[5], v[6], p, v[7]};
        const int expected[] = {c.hour, c.minute, c.second, c.fraction, c.precision, c.mindiff};
        for (int i = 0; i < 6; i++)
            EXPECT_EQ(fields[i], expected[i]) << c.text << " field " << i;
    }
}

TEST_F(ClassicConversionsTest, UtcTimeToIntegersAndShorts)
{
    const struct {
        int rules;
        const char *text;
        int code, second, mindiff;
    } cases[] = {
        {QOR_BER, "0001020304Z", 0, 0, 1},
        {QOR_BER, "000102030405z", 0, 5, 1},
        {QOR_BER, "000102030405+0530", 0, 5, 300},
        {QOR_BER, "000102030405-05", 0, 5, -300},
        {QOR_BER, "000102030405", kBad, 0, 0},
        {QOR_BER, "000102030405Z0", kBad, 0, 0},
        {QOR_BER, "000102235960Z", kBad, 0, 0},
        {QOR_DER, "0001020304Z", kBad, 0, 0},
        {QOR_DER, "000102030405+0000", kBad, 0, 0},
    };
    for (const auto &c : cases) {
        world.encRules = c.rules;
        int y, mo, d, h, mi, s = -1, zone = -1;
        const int code = qorUTCTimeToInts(&world, c.text, &y, &mo, &d, &h, &mi, &s, &zone);
        world.encRules = QOR_BER;
        EXPECT_EQ(code, c.code) << c.text;
        if (code == 0 && c.code == 0) {
            EXPECT_EQ(s, c.second) << c.text;
            EXPECT_EQ(zone, c.mindiff) << c.text;
        }
    }
    // The short cells change only on success.
    short cells[6] = {1, 2, 3, 4, 5, 6};
    int zone = 0, fraction = 0;
    short precision = 0;
    EXPECT_EQ(qorUTCTimeToShorts(&world, "0001020304", &cells[0], &cells[1], &cells[2],
                                 &cells[3], &cells[4], &cells[5], &zone),
              kBad);
    EXPECT_EQ(cells[0] + cells[5], 7);
    ASSERT_EQ(qorGeneralizedTimeToShorts(&world, "19991231235958.5Z", &cells[0], &cells[1],
                                         &cells[2], &cells[3], &cells[4], &cells[5], &fraction,
                                         &precision, &zone),
              0);
    EXPECT_EQ(cells[0], 1999);
    EXPECT_EQ(cells[5], 58);
    EXPECT_EQ(fraction, 5);
}

TEST_F(ClassicConversionsTest, CalendarTime)
{
    const struct {
        int16_t year, month, day, hour, minute, second, mindiff;
        int64_t calendar;
        int code;
    } cases[] = {
        {1970, 1, 1, 0, 0, 0, 0, 0, 0},
        {2000, 2, 29, 0, 0, 0, 0, 951782400, 0},
        {2038, 1, 19, 3, 14, 7, 0, 2147483647, 0},
        {2038, 1, 19, 3, 14, 8, 0, 0, kBad},
        {2038, 1, 19, 4, 14, 7, 60, 2147483647, 0},
        {1970, 1, 1, 0, 0, 0, 60, 0, kBad},
        {1969, 12, 31, 23, 59, 59, 0, 0, kBad},
        {2050, 1, 1, 0, 0, 0, 0, 0, kBad},
        {2001, 2, 29, 0, 0, 0, 0, 0, kBad},
        {2000, 1, 1, 23, 59, 60, 0, 0, kBad},
        {2000, 1, 1, 0, 0, 0, 1440, 0, kBad},
    };
    for (const auto &c : cases) {
        GeneralizedTime record{c.year, c.month, c.day, c.hour, c.minute, c.second, 0, c.mindiff, 0};
        int64_t calendar = -1;
        EXPECT_EQ(qorGenTimeStructToCalTime(&world, &record, &calendar), c.code) << c.year;
        if (c.code != 0)
            continue;
        EXPECT_EQ(calendar, c.calendar) << c.year;
        GeneralizedTime *back = nullptr;
        ASSERT_EQ(qorCalTimeToGenTimeStruct(&world, calendar, c.mindiff, &back), 0);
        EXPECT_EQ(back->year * 10000 + back->month * 100 + back->day,
                  c.year * 10000 + c.month * 100 + c.day);
        EXPECT_EQ(back->hour * 3600 + back->minute * 60 + back->second,
                  c.hour * 3600 + c.minute * 60 + c.second);
        EXPECT_EQ(back->utc, c.mindiff == 0);
        qorFreeMemory(&world, back);
    }

    // A UTCTime's window, and its texts' zones.
    GeneralizedTime utc{50, 1, 1, 0, 0, 0, 0, 0, 1};
    int64_t calendar = 0;
    EXPECT_EQ(qorUTCTimeStructToCalTime(&world, &utc, &calendar), kBad);
    utc.year = 38;
    EXPECT_EQ(qorUTCTimeStructToCalTime(&world, &utc, &calendar), 0);
    EXPECT_EQ(calendar, 2145916800);
    utc.year = 100;
    EXPECT_EQ(qorUTCTimeStructToCalTime(&world, &utc, &calendar), kBad);
    EXPECT_EQ(qorUTCTimeStructToCalTime(&world, nullptr, &calendar), QOR_BAD_ARG);
    world.encRules = QOR_DER;
    EXPECT_EQ(qorUTCTimeStringToCalTime(&world, "0002290000+0100", &calendar), 0);
    EXPECT_EQ(world.encRules, QOR_DER);
    world.encRules = QOR_BER;
    EXPECT_EQ(calendar, 951782400 - 3600);
    EXPECT_EQ(qorGenTimeStringToCalTime(&world, "20000229000000.75Z", &calendar), 0);
    EXPECT_EQ(calendar, 951782400);
    EXPECT_EQ(qorGenTimeStringToCalTime(&world, "19691231235959Z", &calendar), kBad);

    const int64_t in2050 = INT64_C(2524608000);
    GeneralizedTime *record = nullptr;
    EXPECT_EQ(qorCalTimeToUTCTimeStruct(&world, in2050, 0, &record), kBad);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(qorCalTimeToGenTimeStruct(&world, -1, 0, &record), kBad);
    EXPECT_EQ(qorCalTimeToGenTimeStruct(&world, 0, 1440, &record), kBad);
    EXPECT_EQ(qorCalTimeToGenTimeStruct(&world, INT64_MAX, 0, &record), kBad);

    const struct {
        bool utcTime;
        int64_t calendar;
        int mindiff;
        const char *text;
    } texts[] = {
        {true, 951782400, 0, "0002290000Z"},
        {true, 951782400, -90, "0002282230-0130"},
        {false, 951782400, 0, "200002290000Z"},
        {false, 0, 1439, "197001012359+2359"},
        {false, 0, -60, "196912312300-0100"},
        {false, 0, 1, ""},
        {true, in2050, 0, ""},
    };
    for (const auto &t : texts) {
        char *text = nullptr;
        const int code = t.utcTime ? qorCalTimeToUTCTimeString(&world, t.calendar, t.mindiff, &text)
                                   : qorCalTimeToGenTimeString(&world, t.calendar, t.mindiff, &text);
        EXPECT_EQ(code == 0 ? std::string(text) : "", t.text) << t.text;
        EXPECT_EQ(code == 0, text != nullptr) << t.text;
        qorFreeMemory(&world, text);
    }
}

// Every cut of valid texts and huge fields: a code, and nothing read past
// the end (the sanitizer build watches).
TEST_F(ClassicConversionsTest, HostileText)
{
    const char *valid[] = {"20000102030405.123+0530", "2000010203.5Z", "000102030405-0130"};
    for (const char *text : valid) {
        const std::string whole = text;
        for (size_t cut = 0; cut <= whole.size(); cut++) {
            const std::string part = whole.substr(0, cut);
            int v[8];
            short p;
            int64_t calendar;
            (void)genToInts(part.c_str(), v, p);
            (void)qorUTCTimeToInts(&world, part.c_str(), &v[0], &v[1], &v[2], &v[3], &v[4],
                                   &v[5], &v[7]);
            (void)qorGenTimeStringToCalTime(&world, part.c_str(), &calendar);
        }
    }
    const std::string zeros = "20000102030405." + std::string(10000, '0') + "1Z";
    const std::string digits = "20000102030405.1" + std::string(10000, '9') + "Z";
    const std::string year = std::string(10000, '2') + "0102030405Z";
    int v[8];
    short p = 0;
    EXPECT_EQ(genToInts(zeros.c_str(), v, p), 0);
    EXPECT_EQ(p, 10001);
    EXPECT_EQ(genToInts(digits.c_str(), v, p), 0);
    EXPECT_EQ(v[6], 199999999);
    EXPECT_EQ(genToInts(year.c_str(), v, p), kBad);
    EXPECT_EQ(genToInts("", v, p), kBad);
}

} // namespace

// XML Schema date and time forms: what each writer gives or refuses, each
// text read back to the same text, and hostile text.
#include <string>

#include "support/roundtrip.h"

using namespace qortest;

namespace {

constexpr int kNone = 0x7FFFFFFE, kZ = 0x7FFFFFFF;

enum Form { kDate, kTime, kDateTime, kYear, kYearMonth, kMonth, kMonthDay, kDay, kDuration };

// The integers of every form in one row: a (year or negative), b (month or
// years), c (day or months), d, e, f, g for the rest; the fraction's digits.
struct Fields {
    int a, b, c, d, e, f, g;
    const char *fraction;
    int tz;
};

int write(QorGlobal *w, Form form, const Fields &v, char **text)
{
    const int n = v.fraction == nullptr ? 0 : static_cast<int>(strlen(v.fraction));
    switch (form) {
    case kDate: return qorIntsToDate(w, v.a, v.b, v.c, v.tz, text);
    case kTime: return qorIntsToTime(w, v.a, v.b, v.c, v.fraction, n, v.tz, text);
    case kDateTime:
        return qorIntsToDateTime(w, v.a, v.b, v.c, v.d, v.e, v.f, v.fraction, n, v.tz, text);
    case kYear: return qorIntsToGYear(w, v.a, v.tz, text);
    case kYearMonth: return qorIntsToGYearMonth(w, v.a, v.b, v.tz, text);
    case kMonth: return qorIntsToGMonth(w, v.a, v.tz, text);
    case kMonthDay: return qorIntsToGMonthDay(w, v.a, v.b, v.tz, text);
    case kDay: return qorIntsToGDay(w, v.a, v.tz, text);
    default: return qorIntsToDuration(w, v.a, v.b, v.c, v.d, v.e, v.f, v.g, v.fraction, n, text);
    }
}

// Reads `text` of `form` and writes it again; "" when either way fails.
std::string again(QorGlobal *w, Form form, const char *text)
{
    Fields v{};
    const char *digits = nullptr;
    int n = 0, code;
    switch (form) {
    case kDate: code = qorDateToInts(w, text, &v.a, &v.b, &v.c, &v.tz); break;
    case kTime: code = qorTimeToInts(w, text, &v.a, &v.b, &v.c, &digits, &n, &v.tz); break;
    case kDateTime:
        code = qorDateTimeToInts(w, text, &v.a, &v.b, &v.c, &v.d, &v.e, &v.f, &digits, &n, &v.tz);
        break;
    case kYear: code = qorGYearToInts(w, text, &v.a, &v.tz); break;
    case kYearMonth: code = qorGYearMonthToInts(w, text, &v.a, &v.b, &v.tz); break;
    case kMonth: code = qorGMonthToInts(w, text, &v.a, &v.tz); break;
    case kMonthDay: code = qorGMonthDayToInts(w, text, &v.a, &v.b, &v.tz); break;
    case kDay: code = qorGDayToInts(w, text, &v.a, &v.tz); break;
    default:
        code = qorDurationToInts(w, text, &v.a, &v.b, &v.c, &v.d, &v.e, &v.f, &v.g, &digits, &n);
    }
    if (code != 0)
        return "";
    const std::string fraction = digits == nullptr ? "" : std::string(digits, size_t(n));
    v.fraction = digits == nullptr ? nullptr : fraction.c_str();
    char *out = nullptr;
    const std::string result = write(w, form, v, &out) == 0 ? out : "";
    qorFreeBuf(w, out);
    return result;
}

class SchemaFormsTest : public ContextTest {};

TEST_F(SchemaFormsTest, Writers)
{
    const struct {
        Form form;
        Fields fields;
        const char *text;
    } cases[] = {
        {kDate, {2000, 2, 29, 0, 0, 0, 0, nullptr, kNone}, "2000-02-29"},
        {kDate, {-45, 3, 15, 0, 0, 0, 0, nullptr, kZ}, "-0045-03-15Z"},
        {kDate, {123456, 1, 1, 0, 0, 0, 0, nullptr, -840}, "123456-01-01-14:00"},
        {kDate, {2000, 1, 1, 0, 0, 0, 0, nullptr, 841}, ""},
        {kDate, {0, 1, 1, 0, 0, 0, 0, nullptr, kNone}, ""},
        {kDate, {2000, 13, 1, 0, 0, 0, 0, nullptr, kNone}, ""},
        {kTime, {24, 0, 0, 0, 0, 0, 0, nullptr, kNone}, "24:00:00"},
        {kTime, {24, 0, 1, 0, 0, 0, 0, nullptr, kNone}, ""},
        {kTime, {24, 0, 0, 0, 0, 0, 0, "0", kNone}, ""},
        {kTime, {23, 59, 60, 0, 0, 0, 0, "125", 330}, "23:59:60.125+05:30"},
        {kTime, {23, 60, 0, 0, 0, 0, 0, nullptr, kNone}, ""},
        {kTime, {23, 0, 0, 0, 0, 0, 0, "1x", kNone}, ""},
        {kDateTime, {2000, 1, 2, 3, 4, 5, 0, "5", kZ}, "2000-01-02T03:04:05.5Z"},
        {kYear, {-10000, 0, 0, 0, 0, 0, 0, nullptr, kNone}, "-10000"},
        {kYear, {0, 0, 0, 0, 0, 0, 0, nullptr, kNone}, ""},
        {kYearMonth, {1999, 12, 0, 0, 0, 0, 0, nullptr, 0}, "1999-12+00:00"},
        {kMonth, {7, 0, 0, 0, 0, 0, 0, nullptr, kNone}, "--07"},
        {kMonthDay, {2, 29, 0, 0, 0, 0, 0, nullptr, kNone}, "--02-29"},
        {kDay, {31, 0, 0, 0, 0, 0, 0, nullptr, kZ}, "---31Z"},
        {kDay, {32, 0, 0, 0, 0, 0, 0, nullptr, kNone}, ""},
        {kDuration, {0, 0, 0, 0, 0, 0, 0, nullptr, 0}, "PT0S"},
        {kDuration, {1, 0, 0, 0, 0, 0, 0, nullptr, 0}, "PT0S"},
        {kDuration, {0, 0, 0, 0, 0, 0, 0, "5", 0}, "PT0.5S"},
        {kDuration, {1, 1, 0, 3, 0, 5, 0, nullptr, 0}, "-P1Y3DT5M"},
        {kDuration, {0, 0, 2, 0, 4, 0, 6, "25", 0}, "P2MT4H6.25S"},
        {kDuration, {0, -1, 0, 0, 0, 0, 0, nullptr, 0}, ""},
    };
    for (const auto &c : cases) {
        char *text = nullptr;
        const int code = write(&world, c.form, c.fields, &text);
        EXPECT_EQ(code == 0 ? std::string(text) : "", c.text) << c.text;
        qorFreeBuf(&world, text);
    }
}

TEST_F(SchemaFormsTest, ReadersAgainstWriters)
{
    const struct {
        Form form;
        const char *text, *again;
    } cases[] = {
        {kDate, "2000-02-29", "2000-02-29"},
        {kDate, "-0045-03-15Z", "-0045-03-15Z"},
        {kDate, "02000-01-01", "2000-01-01"},
        {kDate, "0000-01-01", ""},
        {kDate, "2147483648-01-01", ""},
        {kDate, "999-01-01", ""},
        {kDate, "2000-01-01+14:01", ""},
        {kDate, "2000-01-01+01:00x", ""},
        {kTime, "10:20:30.000-01:30", "10:20:30.000-01:30"},
        {kTime, "10:20:30.", ""},
        {kTime, "10:20:3", ""},
        {kTime, "24:00:00.0", ""},
        {kDateTime, "2000-01-02T03:04:05Z", "2000-01-02T03:04:05Z"},
        {kDateTime, "2000-01-02 03:04:05", ""},
        {kYear, "-2147483647", "-2147483647"},
        {kYearMonth, "2000-00", ""},
        {kMonth, "--12Z", "--12Z"},
        {kMonthDay, "--12-31", "--12-31"},
        {kDay, "---01", "---01"},
        {kDuration, "-P1Y2M3DT4H5M6.7S", "-P1Y2M3DT4H5M6.7S"},
        {kDuration, "P3D", "P3D"},
        {kDuration, "PT6M", "PT6M"},
        {kDuration, "P0Y", "PT0S"},
        {kDuration, "P", ""},
        {kDuration, "PT", ""},
        {kDuration, "P1S", ""},
        {kDuration, "PT1.S", ""},
        {kDuration, "PT1.5", ""},
        {kDuration, "P2147483648D", ""},
    };
    for (const auto &c : cases)
        EXPECT_EQ(again(&world, c.form, c.text), c.again) << c.text;
}

// Every cut, empty text and 10 000-digit fields: a code, in one pass.
TEST_F(SchemaFormsTest, HostileText)
{
    const struct {
        Form form;
        std::string text;
    } cases[] = {
        {kDateTime, "-2000-01-02T03:04:05.678+05:30"},
        {kDuration, "-P1Y2M3DT4H5M6.7S"},
        {kMonthDay, "--12-31Z"},
        {kDay, "---01-01:00"},
        {kYear, std::string(10000, '9')},
        {kTime, "10:20:30." + std::string(10000, '7')},
        {kDuration, "P" + std::string(10000, '1') + "Y"},
    };
    for (const auto &c : cases)
        for (size_t cut = 0; cut <= c.text.size(); cut += c.text.size() > 100 ? 997 : 1)
            (void)again(&world, c.form, c.text.substr(0, cut).c_str());
    const std::string fraction = "10:20:30." + std::string(10000, '7');
    EXPECT_EQ(again(&world, kTime, fraction.c_str()), fraction);
}

} // namespace

// The decimal and binary helpers of REAL that every family shares: parsing,
// formatting, comparing, special values and the split of a double.
#include <cfloat>
#include <cmath>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "common/decimal.h"

namespace {

uint64_t bitsOf(double v)
{
    uint64_t b;
    memcpy(&b, &v, sizeof b);
    return b;
}

namespace dec = qor;
using dec::DecimalOrder;
using dec::DecimalRecord;

std::string formatted(const char *t, uint8_t extraFlags)
{
    DecimalRecord r;
    EXPECT_EQ(dec::parseDecimal(t, r), dec::kDecimalOk) << t;
    r.flags |= extraFlags;
    std::string out(dec::decimalFormatSize(r), '#');
    size_t n = dec::formatDecimal(r, out.data());
    EXPECT_LT(n, out.size());
    EXPECT_EQ(out[n], '\0');
    out.resize(n);
    return out;
}

TEST(DecimalTest, ParseFillsTheRecord)
{
    DecimalRecord r;
    const char *t = "  - 0012.3400E+2 ";
    ASSERT_EQ(dec::parseDecimal(t, r), dec::kDecimalOk);
    EXPECT_TRUE(r.negative);
    EXPECT_EQ(r.first, t + 6);
    EXPECT_EQ(r.last, t + 10); // the trailing zeros went
    EXPECT_EQ(r.exponent, 3);
    EXPECT_EQ(r.flags, dec::kDecimalExponentGiven);

    const char *small = "0.00120";
    ASSERT_EQ(dec::parseDecimal(small, r), dec::kDecimalOk);
    EXPECT_EQ(r.first, small + 4);
    EXPECT_EQ(r.last, small + 5);
    EXPECT_EQ(r.exponent, -3);

    const char *whole = "1200.00";
    ASSERT_EQ(dec::parseDecimal(whole, r), dec::kDecimalOk);
    EXPECT_EQ(r.last, whole + 1); // back over the zeros and the point
    EXPECT_EQ(r.exponent, 3);

    ASSERT_EQ(dec::parseDecimal("0.000", r), dec::kDecimalOk);
    EXPECT_EQ(r.flags, dec::kDecimalZero);
    EXPECT_EQ(r.first, nullptr);
    ASSERT_EQ(dec::parseDecimal("-0e7", r), dec::kDecimalOk);
    EXPECT_EQ(r.flags, dec::kDecimalNegativeZero | dec::kDecimalExponentGiven);
}

TEST(DecimalTest, ParseResults)
{
    struct ParseCase {
        const char *text;
        int result;
    };
    const ParseCase cases[] = {
        {"", 1},         {"   ", 1},     {"E5", 2},     {".E5", 2},
        {"1E", 3},       {"1E+", 3},     {"E", 3},      {"x", 4},
        {"1x", 4},       {"+", 4},       {".", 4},      {"1 2", 4},
        {"1.5 E 3", 3},  {"1E1234567890", 5},           {"1E-1000000000", 5},
        {"1E0000000000005", 0},          {"1.5 E3 ", 0}, {",5", 0},
        {"5.", 0},       {"1E999999999", 0},
    };
    for (const ParseCase &c : cases) {
        DecimalRecord r;
        EXPECT_EQ(dec::parseDecimal(c.text, r), c.result) << '"' << c.text << '"';
    }
    DecimalRecord r;
    EXPECT_EQ(dec::parseDecimal(nullptr, r), 1);
}

TEST(DecimalTest, FormatForms)
{
    struct FormatCase {
        const char *text;
        const char *plain;
        const char *scientific;
        const char *canonical;
    };
    const FormatCase cases[] = {
        {"1", "1", "1.0E0", "1.E+0"},
        {"-1.5", "-1.5", "-1.5E0", "-15.E-1"},
        {"1200", "1200", "1.2E3", "12.E2"},
        {"0.00125", "0.00125", "1.25E-3", "125.E-5"},
        {"123.456", "123.456", "1.23456E2", "123456.E-3"},
        {"12E-1", "1.2", "1.2E0", "12.E-1"},
        {"10", "10", "1.0E1", "1.E1"},
        {"0", "0", "0", "0"},
        {"-0.0", "-0", "-0", "-0"},
        {"+0,5e1", "5", "5.0E0", "5.E+0"},
    };
    for (const FormatCase &c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(formatted(c.text, dec::kDecimalPlain), c.plain);
        EXPECT_EQ(formatted(c.text, 0), c.scientific);
        EXPECT_EQ(formatted(c.text, dec::kDecimalCanonical), c.canonical);
    }
    EXPECT_EQ(formatted("1E-999999999", dec::kDecimalCanonical), "1.E-999999999");
    EXPECT_EQ(formatted("1E20", dec::kDecimalPlain), "100000000000000000000");
    std::string plain = formatted("1E-50", dec::kDecimalPlain);
    EXPECT_EQ(plain, "0." + std::string(49, '0') + "1");
}

TEST(DecimalTest, ShortestDigitsThroughTheRecord)
{
    char buffer[dec::kShortestRealSize];
    struct ShortCase {
        double value;
        const char *text;
    };
    const ShortCase cases[] = {
        {1.0, "1.0E0"},           {0.1, "1.0E-1"},    {-2.5, "-2.5E0"},
        {1e300, "1.0E300"},       {1.0 / 3, "3.333333333333333E-1"},
        {DBL_MAX, "1.7976931348623157E308"},      {5e-324, "5.0E-324"},
        {123456789.0, "1.23456789E8"},
    };
    for (const ShortCase &c : cases) {
        dec::formatShortest(c.value, buffer);
        EXPECT_STREQ(buffer, c.text);
    }
}

TEST(DecimalTest, CompareOrdersByValue)
{
    using O = DecimalOrder;
    struct CompareCase {
        const char *a;
        const char *b;
        O order;
    };
    const CompareCase cases[] = {
        {"1.50", "15E-1", O::kEqual},
        {"0.5", "5E-1", O::kEqual},
        {"1", "2", O::kLess},
        {"10", "9.99", O::kGreater},
        {"-10", "-9.99", O::kLess},
        {"1.25", "1.2", O::kGreater},
        {"1.2", "1,25", O::kLess},
        {"-0", "0", O::kLess},
        {"0", "0.000", O::kEqual},
        {"-0", "-0.0", O::kEqual},
        {"0", "5", O::kLess},
        {"-0", "-5", O::kGreater},
        {"0", "-5", O::kGreater},
        {"MINUS_INFINITY", "-1E999999999", O::kLess},
        {"PLUS_INFINITY", "1E999999999", O::kGreater},
        {"MINUS_INFINITY", "PLUS_INFINITY", O::kLess},
        {"NOT_A_NUMBER", "PLUS_INFINITY", O::kGreater},
        {"NOT_A_NUMBER", "NOT_A_NUMBER", O::kEqual},
        {"PLUS_INFINITY", "PLUS_INFINITY", O::kEqual},
        {"1", "NOT_A_NUMBER", O::kLess},
        {"abc", "1", O::kUnordered},
        {"PLUS_INFINITY", "abc", O::kUnordered},
        {"abc", "abc", O::kEqual},
        {nullptr, "1", O::kUnordered},
    };
    for (const CompareCase &c : cases) {
        EXPECT_EQ(dec::compareDecimal(c.a, c.b), c.order)
            << (c.a ? c.a : "null") << " against " << c.b;
    }
}

TEST(DecimalTest, SpecialKinds)
{
    using S = dec::SpecialReal;
    EXPECT_EQ(dec::specialKind(1.0), S::kNone);
    EXPECT_EQ(dec::specialKind(0.0), S::kNone);
    EXPECT_EQ(dec::specialKind(-0.0), S::kMinusZero);
    EXPECT_EQ(dec::specialKind(DBL_MAX), S::kPlusInfinity);
    EXPECT_EQ(dec::specialKind(-HUGE_VAL), S::kMinusInfinity);
    EXPECT_EQ(dec::specialKind(std::nan("")), S::kNotANumber);
    EXPECT_EQ(dec::specialKind(FLT_MAX), S::kPlusInfinity);  // as a float
    EXPECT_EQ(dec::specialKind(double{FLT_MAX}), S::kNone);  // as a double
    EXPECT_EQ(dec::specialKind(-0.0f), S::kMinusZero);
    double d;
    EXPECT_FALSE(dec::storeSpecialReal(0x44, &d, sizeof d));
    EXPECT_FALSE(dec::storeSpecialReal(0x3F, &d, sizeof d));
    ASSERT_TRUE(dec::storeSpecialReal(0x42, &d, sizeof d));
    EXPECT_EQ(bitsOf(d), 0xFFF8000000000000u);
}

TEST(DecimalTest, SplitGivesAnOddMantissa)
{
    dec::BinaryReal p;
    ASSERT_TRUE(dec::splitReal(-1.5, p));
    EXPECT_TRUE(p.negative);
    EXPECT_EQ(p.mantissa, 3u);
    EXPECT_EQ(p.exponent, -1);
    ASSERT_TRUE(dec::splitReal(DBL_MAX, p));
    EXPECT_EQ(p.mantissa, (uint64_t{1} << 53) - 1);
    EXPECT_EQ(p.exponent, 971);
    EXPECT_FALSE(dec::splitReal(0.0, p));
    EXPECT_FALSE(dec::splitReal(HUGE_VAL, p));
    EXPECT_FALSE(dec::splitReal(std::nan(""), p));
}

} // namespace

// The TIME types in PER: every shape code of the general TIME from text to
// octets and back, the vectors worked out by hand, the decoders' refusals,
// and hostile input.
#include <cstring>

#include "per/per_support.h"

namespace {

using pertest::PerTest;
using qortest::Bytes;

constexpr int kBadTimeCode = 12; // message 72

struct Shape {
    int code;
    const char *text;
    const char *back; // what decoding gives, when it isn't `text`
};

const Shape kShapes[] = {
    {0, "20C", nullptr},
    {1, "-05C", nullptr},
    {2, "2013", nullptr},
    {3, "+12345", nullptr},
    {4, "2013-05", nullptr},
    {5, "-0044-03", nullptr},
    {6, "2020-02-29", nullptr},
    {7, "+10000-01-01", nullptr},
    {8, "2016-366", nullptr},
    {9, "+20000-001", nullptr},
    {10, "2013-W01", nullptr},
    {11, "-0001-W53", nullptr},
    {12, "1748-W52-7", nullptr},
    {13, "+12345-W01-1", nullptr},
    {14, "10", nullptr},
    {15, "10Z", nullptr},
    {16, "10+01", nullptr},
    {17, "10:30", nullptr},
    {18, "10:30Z", nullptr},
    {19, "10:30-05:30", nullptr},
    {20, "24:00:00", nullptr},
    {21, "10:30:60Z", nullptr},
    {22, "10:30:00+15", nullptr},
    {23, "10.5", nullptr},
    {24, "10,25Z", "10.25Z"},
    {25, "10.123456789+01:00", "10.123456789+01"},
    {26, "10:30.5", nullptr},
    {27, "10:30.1234Z", nullptr},
    {28, "10:30.5-01:15", nullptr},
    {29, "10:30:00.000", nullptr},
    {30, "10:00:00.123Z", nullptr},
    {31, "10:00:00.00000000000000000001+01", nullptr},
    {32, "2277-01-01T10:00:00Z", nullptr},
    {33, "2013-01-01/2013-12-31", nullptr},
    {34, "10:00Z/11:00Z", nullptr},
    {35, "2013-01-01T10:00:00+01/2013-01-01T11:00:00", "2013-01-01T10:00:00+01/2013-01-01T11:00:00+01"},
    {36, "P1Y2M10DT2H30M", nullptr},
    {37, "2013-01-01/P1Y", nullptr},
    {38, "10:00Z/PT1H", nullptr},
    {39, "2013-01-01T10:00Z/P0Y1M", "2013-01-01T10:00Z/P1M"},
    {40, "P1W/2013-01-01", nullptr},
    {41, "PT30M/10:00:00", nullptr},
    {42, "P100Y/2013-01-01T10:00:00.5Z", nullptr},
    {43, "R5/2013-01-01/2013-12-31", nullptr},
    {44, "R/10:00/11:00", nullptr},
    {45, "R2/2013-01-01T10:00-02:30/2013-01-01T11:00", "R2/2013-01-01T10:00-02:30/2013-01-01T11:00-02:30"},
    {46, "R/P1Y", nullptr},
    {47, "R1/2013-01-01/P1.5Y", nullptr},
    {48, "R4294967295/10:00/PT1.123S", nullptr},
    {49, "R/2013-01-01T10:00/P1DT0.5S", nullptr},
    {50, "R/PT1M/2013-06-30", nullptr},
    {51, "R/P2W/10:00", nullptr},
    {52, "R/P1Y2M3DT4H5M6.789S/2013-01-01T00:00:00Z", nullptr},
};

class PerTimeTest : public PerTest {
protected:
    int encodeText(bool aligned, const char *text, Bytes *out)
    {
        return encode(aligned, [&] { _qor_pe_t_mixed(&world, text); }, out);
    }

    // Decodes `in` into `text`, which is filled with a mark first so that
    // writing past the stated room shows.
    int decodeText(bool aligned, const Bytes &in, char (&text)[QOR_PER_TIME_TEXT + 8])
    {
        memset(text, 'x', sizeof text);
        const int code = decode(aligned, in, [&] { _qor_pd_t_mixed(&world, text); });
        EXPECT_EQ(memcmp(text + QOR_PER_TIME_TEXT, "xxxxxxxx", 8), 0);
        return code;
    }
};

// Every shape code to octets and back; every cut of those octets is
// refused, and no first octet makes the decoder write past its room.
TEST_F(PerTimeTest, EveryShapeCodeRoundTripsAndSurvivesHostileInput)
{
    char text[QOR_PER_TIME_TEXT + 8];
    for (const Shape &row : kShapes) {
        SCOPED_TRACE(row.text);
        pertest::bothVariants([&](bool aligned) {
            Bytes octets;
            ASSERT_EQ(encodeText(aligned, row.text, &octets), 0) << world.errMsgBuffer;
            ASSERT_FALSE(octets.empty());
            EXPECT_EQ(octets[0] >> 2, row.code);
            ASSERT_EQ(decodeText(aligned, octets, text), 0) << world.errMsgBuffer;
            EXPECT_STREQ(text, row.back != nullptr ? row.back : row.text);
            EXPECT_LT(bitsLeft(), 8);
            for (size_t n = 0; n < octets.size(); n++)
                EXPECT_NE(decodeText(aligned, prefix(octets, n), text), 0) << "cut at " << n;
            for (unsigned first = 0; first < 256; first++) {
                octets[0] = static_cast<unsigned char>(first);
                if (decodeText(aligned, octets, text) == 0) {
                    EXPECT_LT(strlen(text), size_t{QOR_PER_TIME_TEXT});
                }
            }
        });
    }
}

TEST_F(PerTimeTest, ThroughTheDrivers)
{
    pertest::bothVariants([&](bool aligned) {
        ASSERT_EQ(qorSetEncodingRules(&world, aligned ? QOR_PER_ALIGNED : QOR_PER_UNALIGNED), 0);
        for (const Shape &row : kShapes) {
            SCOPED_TRACE(row.text);
            const Bytes octets = qortest::encodePdu(&world, PDU_Times, const_cast<char *>(row.text));
            void *value = nullptr;
            ASSERT_EQ(qortest::decodePdu(&world, octets, PDU_Times, &value), 0) << world.errMsgBuffer;
            EXPECT_STREQ(static_cast<char *>(value), row.back != nullptr ? row.back : row.text);
            EXPECT_EQ(qorFreePDU(&world, PDU_Times, value), 0);
        }
    });
}

TEST_F(PerTimeTest, HandDerivedVectors)
{
    const struct {
        const char *text;
        bool aligned;
        const char *octets;
    } rows[] = {
        {"10:00:00.123Z", true, "78 01 02 50 00 00 00 7B"},
        {"10:00:00.123Z", false, "78 04 09 40 00 1E C0"},
        {"R/P1Y", true, "B9 00 08"},
        {"R5/P1Y", true, "BA 01 05 80 04"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        Bytes octets;
        ASSERT_EQ(encodeText(row.aligned, row.text, &octets), 0) << world.errMsgBuffer;
        EXPECT_EQ(octets, qortest::hex(row.octets));
    }
}

TEST_F(PerTimeTest, FieldEdges)
{
    // The year's selector, in the first two bits.
    const struct {
        const char *year;
        int selector;
    } years[] = {
        {"2020", 0},
        {"2021", 1},
        {"2004", 2},
        {"2277", 3},
        {"1748", 3},
    };
    for (const auto &row : years) {
        Bytes octets;
        ASSERT_EQ(encode(false, [&] { _qor_pe_t_year(&world, row.year); }, &octets), 0);
        EXPECT_EQ(octets[0] >> 6, row.selector) << row.year;
    }
    const struct {
        const char *name;
        std::function<void()> put;
        int code;
    } rows[] = {
        {"hour 24", [&] { _qor_pe_t_hours(&world, "24"); }, 0},
        {"hour 25", [&] { _qor_pe_t_hours(&world, "25"); }, kBadTimeCode},
        {"second 60", [&] { _qor_pe_t_mins_or_secs(&world, ":60", 60); }, 0},
        {"minute 60", [&] { _qor_pe_t_mins_or_secs(&world, ":60", 59); }, kBadTimeCode},
        {"month 13", [&] { _qor_pe_t_month(&world, "-13"); }, kBadTimeCode},
        {"fraction past 32 bits", [&] { _qor_pe_t_time_fraction(&world, ".4294967296", 10); }, 10},
        {"no difference to borrow", [&] { _qor_pe_t_time_diff(&world, "Z"); }, kBadTimeCode},
        {"R0", [&] { _qor_pe_t_mixed(&world, "R0/P1Y"); }, kBadTimeCode},
        {"recurring date", [&] { _qor_pe_t_mixed(&world, "R/2013-01-01"); }, kBadTimeCode},
        {"two durations", [&] { _qor_pe_t_mixed(&world, "P1Y/P1M"); }, kBadTimeCode},
        {"ends of two shapes", [&] { _qor_pe_t_mixed(&world, "10:00/11:00Z"); }, kBadTimeCode},
        {"duration without P", [&] { _qor_pe_t_duration_interval(&world, "1Y"); }, kBadTimeCode},
    };
    for (const auto &row : rows)
        EXPECT_EQ(encode(true, row.put), row.code) << row.name;
}

TEST_F(PerTimeTest, DecodersRefuseWhatNoEncoderSends)
{
    char text[QOR_PER_TIME_TEXT + 8];
    const auto mixed = [&] { _qor_pd_t_mixed(&world, text); };
    const auto duration = [&] { _qor_pd_t_duration_interval(&world, text); };
    const struct {
        const char *name;
        std::function<void()> put;
        std::function<void()> get;
    } rows[] = {
        {"code 53", [&] { _qor_penc_nonneg_6int(&world, 53); }, mixed},
        {"date index 14", [&] { _qor_penc_nonneg_6int(&world, 32); _qor_penc_nonneg_4int(&world, 14); }, mixed},
        {"digit count 21", [&] { _qor_penc_nonneg_6int(&world, 23); _qor_penc_semicon_uint_l(&world, 21, 1); }, mixed},
        {"part digit count 21",
         [&] {
             _qor_penc_nonneg_6int(&world, 32);
             _qor_penc_nonneg_4int(&world, 2);
             _qor_pe_t_year(&world, "2013");
             _qor_penc_nonneg_1int(&world, 1);
             _qor_penc_semicon_uint_l(&world, 21, 1);
         },
         mixed},
        {"time index 9 without a fraction",
         [&] {
             _qor_penc_nonneg_6int(&world, 34);
             _qor_penc_nonneg_1int(&world, 0);
             _qor_penc_nonneg_5int(&world, 9);
         },
         mixed},
        {"fraction digit count 0", [&] { _qor_penc_nonneg_1int(&world, 0); },
         [&] { _qor_pd_t_time_fraction(&world, text, 0); }},
        {"duration fraction of 0 digits",
         [&] {
             _qor_append_8bit_unaligned(&world, 0x81);
             _qor_penc_nonneg_6int(&world, 0);
             _qor_penc_nonneg_1int(&world, 1);
             _qor_penc_unconstr_int_l(&world, 0);
         },
         duration},
        {"duration of no unit", [&] { _qor_append_8bit_unaligned(&world, 0x01); }, duration},
        {"weeks with days", [&] { _qor_append_8bit_unaligned(&world, 0x30); }, duration},
        {"month 13", [&] { _qor_penc_nonneg_4int(&world, 12); }, [&] { _qor_pd_t_month(&world, text); }},
        {"hour 25", [&] { _qor_penc_nonneg_5int(&world, 25); }, [&] { _qor_pd_t_hours(&world, text); }},
        {"day of year 367", [&] { _qor_penc_nonneg_int_l(&world, 366, 9); }, [&] { _qor_pd_t_day_of_year(&world, text); }},
        {"year 10000", [&] { _qor_penc_nonneg_2int(&world, 3); _qor_penc_unconstr_int_l(&world, 10000); },
         [&] { _qor_pd_t_year(&world, text); }},
        {"fraction 1000", [&] { _qor_pe_t_time_fraction(&world, ".1000", 4); },
         [&] { _qor_pd_t_time_fraction(&world, text, 3); }},
        {"recurrence 0", [&] { _qor_penc_nonneg_1int(&world, 1); _qor_penc_unconstr_int_l(&world, 0); },
         [&] { _qor_pd_t_recurrence(&world, text, 20); }},
    };
    for (const auto &row : rows) {
        Bytes octets;
        ASSERT_EQ(encode(false, row.put, &octets), 0) << row.name;
        octets.resize(octets.size() + 4, 0); // room beyond the fields
        EXPECT_EQ(decode(false, octets, row.get), kBadTimeCode) << row.name;
    }
}

TEST_F(PerTimeTest, WidestTextFitsItsRoom)
{
    // Every number at its widest: a 10-digit recurrence and year, the
    // units past their small fields, 20 fraction digits.
    const char *widest = "R4294967295/P4294967295Y4294967295M4294967295DT4294967295H4294967295M"
                         "4294967295.00000000004294967295S/-2147483647-W53-7T24:00:00.00000000000000000000-15";
    char text[QOR_PER_TIME_TEXT + 8];
    pertest::bothVariants([&](bool aligned) {
        Bytes octets;
        ASSERT_EQ(encodeText(aligned, widest, &octets), 0) << world.errMsgBuffer;
        ASSERT_EQ(decodeText(aligned, octets, text), 0) << world.errMsgBuffer;
        EXPECT_STREQ(text, widest);
        EXPECT_LT(strlen(text), size_t{QOR_PER_TIME_TEXT});
    });
}

} // namespace

// BER contents of the TIME types under BER, CER and DER: punctuation left
// out and put back, DER's canonical form on both sides, and hostile contents.
#include <string>

#include "ber/ber_support.h"

using namespace qortest;

namespace {

class DateTimeTest : public BerTest {
protected:
    Write write(const char *text, int kind) { return writer(_qor_encd_date_time, text, kind); }

    // Decodes `contents` of `kind` into `decodedText`; 0 or the code raised.
    int decodeAs(const Bytes &contents, int kind, QorLong length = -1)
    {
        char *out = nullptr;
        const QorLong n = length >= 0 ? length : static_cast<QorLong>(contents.size());
        const int code = decodeExactly(&world, contents, n, [&](unsigned char **p, QorLong *r,
                                                                QorLong l) {
            _qor_dec_date_time(&world, p, r, l, &out, kind);
        });
        decodedText = code == 0 ? out : "";
        releaseBlocks(&world);
        return code;
    }

    std::string decodedText;
};

TEST_F(DateTimeTest, RoundTrips)
{
    const struct {
        int kind;
        const char *text;
        const char *contents;  // under BER and CER
        const char *canonical; // DER's contents, when they differ
    } cases[] = {
        {14, "2000-01-01T10:00:00.5Z", "2000-01-01T10:00:00.5Z", nullptr},
        {14, "2000-01-01T10:00:00,5Z", "2000-01-01T10:00:00,5Z", "2000-01-01T10:00:00.5Z"},
        {14, "R0/P0Y1M/12345", "R0/P0Y1M/12345", "R/P1M/+12345"},
        {14, "2000-01-01T10:00+01/2000-01-01T11:00+01", "2000-01-01T10:00+01/2000-01-01T11:00+01",
         "2000-01-01T10:00+01/2000-01-01T11:00"},
        {34, "P1Y0M", "1Y0M", "1Y"},
        {34, "PT0.5S", "T0.5S", nullptr},
        {31, "2000-01-02", "20000102", nullptr},
        {32, "10:20:30", "102030", nullptr},
        {33, "2000-01-02T10:20:30", "20000102102030", nullptr},
    };
    for (int rules : {QOR_BER, QOR_CER, QOR_DER}) {
        world.encRules = rules;
        for (const auto &c : cases) {
            SCOPED_TRACE(std::string(c.text) + " under " + std::to_string(rules));
            const char *contents = rules == QOR_DER && c.canonical ? c.canonical : c.contents;
            EXPECT_EQ(encodeChecked(write(c.text, c.kind)), text(contents));
            ASSERT_EQ(decodeAs(text(contents), c.kind), 0) << world.errMsgBuffer;
            const std::string back = c.kind == 34 ? std::string("P") + contents : contents;
            EXPECT_EQ(decodedText, c.kind == 14 || c.kind == 34 ? back : c.text);
        }
    }
}

// A canonical form longer than the frame's area goes through temporary memory.
TEST_F(DateTimeTest, LongCanonicalForm)
{
    const std::string fraction(200, '0');
    const std::string written = "10:00:00," + fraction + "1Z";
    const std::string canonical = "10:00:00." + fraction + "1Z";
    world.encRules = QOR_DER;
    EXPECT_EQ(encodeChecked(write(written.c_str(), 14)), text(canonical.c_str()));
    ASSERT_EQ(decodeAs(text(canonical.c_str()), 14), 0) << world.errMsgBuffer;
    EXPECT_EQ(decodedText, canonical);
    EXPECT_EQ(decodeAs(text(written.c_str()), 14), kDataError);
}

TEST_F(DateTimeTest, Refusals)
{
    const std::string longDate(129, '1');
    world.encRules = QOR_DER;
    const struct {
        const char *text;
        int kind;
        int code;
    } encodings[] = {
        {"2000-13", 14, kBadTime},       {"P1Y", 15, kBadTime},
        {nullptr, 14, kBadTime},         {longDate.c_str(), 31, kBadTime},
        {"2000-01-01/1999", 14, kBadTime}, {"PT", 34, kBadTime},
    };
    for (const auto &c : encodings) {
        int code = 0;
        encodeChecked(write(c.text, c.kind), &code);
        EXPECT_EQ(code, c.code) << (c.text != nullptr ? c.text : "null");
    }
    // Not canonical under DER: "0330E" with the text.
    const struct {
        const char *contents;
        int kind;
        int code;
        const char *message;
    } decodings[] = {
        {"10:00,5", 14, kDataError, "0330E: Invalid canonical form of time value: '10:00,5'"},
        {"1Y0M", 34, kDataError, "0330E: Invalid canonical form of time value: 'P1Y0M'"},
        {"2000-13", 14, kDataError, "0330E"},
        {"2000010", 31, kBadTime, "0012S"},
        {"20000102103", 33, kBadTime, "0012S"},
        {"1", 15, kBadTime, "0012S"},
        {"", 14, kDataError, "0037E"},
    };
    for (const auto &c : decodings) {
        SCOPED_TRACE(c.contents);
        EXPECT_EQ(decodeAs(text(c.contents), c.kind), c.code);
        EXPECT_TRUE(messageHas(c.message)) << world.errMsgBuffer;
    }
    // A value cut short at any octet, and an indefinite length.
    const Bytes whole = text("2000-01-01T10:00Z");
    for (size_t n = 0; n < whole.size(); n++)
        EXPECT_EQ(decodeAs(slice(whole, 0, n), 14, static_cast<QorLong>(whole.size())), kMoreInput);
    world.encRules = QOR_BER;
    EXPECT_EQ(decodeAs(text("1Y0M"), 34), 0);
    EXPECT_EQ(decodedText, "P1Y0M");
    char *out = nullptr;
    EXPECT_EQ(decodeExactly(&world, whole, 0,
                            [&](unsigned char **p, QorLong *r, QorLong) {
                                _qor_dec_date_time(&world, p, r, -1, &out, 14);
                            }),
              kDataError);
}

} // namespace

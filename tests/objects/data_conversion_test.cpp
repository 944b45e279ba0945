// Binary, hexadecimal and base64 forms of the same octets: every pair of
// forms against reference texts (Python's binascii and base64 made them),
// the caller's buffer, the refusals with their exact messages, and every
// octet value as input.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/roundtrip.h"

namespace {

using qortest::Bytes;

class DataConversion : public qortest::ContextTest {
protected:
    // Converts `text` from one form to another into new memory; the result
    // in `out` as text.
    int convert(const std::string &text, int from, int to, std::string *out = nullptr)
    {
        Bytes in(text.begin(), text.end());
        in.push_back(0); // something to point at when empty
        QorBuf input = {static_cast<QorLong>(text.size()), in.data()};
        QorBuf output = {0, nullptr};
        const int code = qorConvertData(&world, &input, from, &output, to);
        if (code == 0 && out != nullptr)
            out->assign(reinterpret_cast<char *>(output.value), static_cast<size_t>(output.length));
        if (code == 0 && output.length != 0)
            qorFreeBuf(&world, output.value);
        return code;
    }
};

std::string octets(const Bytes &b) { return std::string(b.begin(), b.end()); }

TEST_F(DataConversion, EveryPairOfForms)
{
    struct Forms {
        const char *binary, *hex, *base64;
    };
    const Forms rows[] = {
        {"", "", ""},
        {"00", "00", "AA=="},
        {"FF 10", "FF10", "/xA="},
        {"4D 61 6E", "4D616E", "TWFu"},
        {"FB FF BF 00", "FBFFBF00", "+/+/AA=="},
        {"52 F2 26 65 A6 0C 12 D2 89 18 5D", "52F22665A60C12D289185D", "UvImZaYMEtKJGF0="},
    };
    for (const Forms &row : rows) {
        const std::string forms[] = {octets(qortest::hex(row.binary)), row.hex, row.base64};
        const int codes[] = {QOR_DATA_BINARY, QOR_DATA_HEX, QOR_DATA_BASE64};
        for (int from = 0; from < 3; from++) {
            for (int to = 0; to < 3; to++) {
                SCOPED_TRACE(std::string(row.hex) + " from " + std::to_string(codes[from]) + " to " +
                             std::to_string(codes[to]));
                std::string got;
                ASSERT_EQ(convert(forms[from], codes[from], codes[to], &got), 0) << world.errMsgBuffer;
                EXPECT_EQ(got, forms[to]);
            }
        }
    }
    std::string got;
    ASSERT_EQ(convert("4d616e", QOR_DATA_HEX, QOR_DATA_BINARY, &got), 0) << "lower-case digits";
    EXPECT_EQ(got, "Man");
    ASSERT_EQ(convert("TW\r\nFu QQ=\n=", QOR_DATA_BASE64, QOR_DATA_HEX, &got), 0) << "breaks skipped";
    EXPECT_EQ(got, "4D616E41");
    ASSERT_EQ(convert("QQ==TWFu", QOR_DATA_BASE64, QOR_DATA_BINARY, &got), 0);
    EXPECT_EQ(got, "A") << "data behind the padding is not taken";
}

TEST_F(DataConversion, Refusals)
{
    struct Refusal {
        const char *text;
        int from, to;
        int code;
        const char *message;
    };
    const Refusal rows[] = {
        {"414", QOR_DATA_HEX, QOR_DATA_BINARY, 5, "Invalid sequence of octets in the input buffer.  Input position 3.\n"},
        {"41G2", QOR_DATA_HEX, QOR_DATA_BASE64, 5, "Invalid sequence of octets in the input buffer.  Input position 2.\n"},
        {"QQ=", QOR_DATA_BASE64, QOR_DATA_BINARY, 5, "Invalid sequence of octets in the input buffer.  Input position 3.\n"},
        {"QQ-A", QOR_DATA_BASE64, QOR_DATA_BINARY, 5, "Invalid sequence of octets in the input buffer.  Input position 2.\n"},
        {"Q===", QOR_DATA_BASE64, QOR_DATA_BINARY, 5, "Invalid sequence of octets in the input buffer.  Input position 1.\n"},
        {"QQ=A", QOR_DATA_BASE64, QOR_DATA_HEX, 5, "Invalid sequence of octets in the input buffer.  Input position 3.\n"},
        {"41", QOR_DATA_HEX, 3, 25, "Unknown data format was requested.\n"},
        {"41", 8, QOR_DATA_HEX, 25, "Unknown data format was requested.\n"},
    };
    for (const Refusal &row : rows) {
        EXPECT_EQ(convert(row.text, row.from, row.to), row.code) << row.text;
        EXPECT_STREQ(qorGetErrMsg(&world), row.message) << row.text;
    }
    // A caller's buffer: exact, and one octet short.
    Bytes in = qortest::hex("01 02 03");
    unsigned char room[4] = {};
    QorBuf input = {3, in.data()};
    QorBuf output = {4, room};
    ASSERT_EQ(qorConvertData(&world, &input, QOR_DATA_BINARY, &output, QOR_DATA_BASE64), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(room), 4), "AQID");
    output = {3, room};
    EXPECT_EQ(qorConvertData(&world, &input, QOR_DATA_BINARY, &output, QOR_DATA_BASE64), 1);
    EXPECT_STREQ(qorGetErrMsg(&world), "Output buffer too small.  Input position 0.\n");
    // A result past 2^31 octets is refused before anything is read or taken.
    input = {0x50000000, in.data()};
    output = {0, nullptr};
    EXPECT_EQ(qorConvertData(&world, &input, QOR_DATA_BINARY, &output, QOR_DATA_HEX), 8);
    EXPECT_EQ(output.value, nullptr);
    // Null arguments; the compressor that isn't there.
    EXPECT_EQ(qorConvertData(&world, nullptr, QOR_DATA_BINARY, &output, QOR_DATA_HEX), QOR_BAD_ARG);
    EXPECT_EQ(qorCompress(&world, &input, &output, -1), QOR_BAD_ARG);
    EXPECT_EQ(qorCompress(&world, &input, &output, 6), QOR_NOT_SUPPORTED);
    EXPECT_EQ(qorUnCompress(&world, &input, &output, 0), QOR_NOT_SUPPORTED);
    EXPECT_EQ(qorUnCompress(&world, nullptr, &output, 0), QOR_BAD_ARG);
}

// Every octet value, alone and behind a valid group, as text of both kinds:
// a result or a refusal, and each result converts back.
TEST_F(DataConversion, EveryOctetValueAsText)
{
    for (int c = 0; c < 256; c++) {
        for (const std::string &prefix : {std::string(), std::string("QUJD")}) {
            const std::string text = prefix + std::string(4, static_cast<char>(c));
            for (int from : {QOR_DATA_HEX, QOR_DATA_BASE64}) {
                std::string octets, back;
                const int code = convert(text, from, QOR_DATA_BINARY, &octets);
                ASSERT_TRUE(code == 0 || code == 5) << c;
                if (code == 0 && !octets.empty()) {
                    ASSERT_EQ(convert(octets, QOR_DATA_BINARY, from, &back), 0);
                    ASSERT_EQ(convert(back, from, QOR_DATA_BINARY, &back), 0);
                    EXPECT_EQ(back, octets) << c;
                }
            }
        }
    }
}

} // namespace

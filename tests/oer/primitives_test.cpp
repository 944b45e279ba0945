// OER primitives called directly: length determinants, whole numbers of
// every form, ENUMERATED and tags, as tables of octets; and what each
// decoder makes of hostile input.
#include <cstdint>

#include "oer_support.h"

namespace {

using oertest::Bytes;
using qortest::hex;

class OerPrimitives : public oertest::OerTest {};

// Each primitive pair, by name, over one 64-bit value.
enum Kind {
    kLength, kInt, kIntLL, kIntS, kUInt, kUIntLL, kUIntS, kInt1, kInt2, kInt4,
    kUInt1, kUInt2, kUInt3, kUInt4, kEnum, kUEnum, kTag, kHuge
};

void put(QorGlobal *w, Kind kind, int64_t v)
{
    const auto u = static_cast<uint64_t>(v);
    switch (kind) {
    case kLength: return _qor_oenc_octet_length(w, static_cast<QorULong>(u));
    case kInt: case kIntS: return _qor_oenc_int(w, static_cast<QorLong>(v));
    case kIntLL: return _qor_oenc_int_ll(w, v);
    case kUInt: case kUIntS: return _qor_oenc_uint(w, static_cast<QorULong>(u));
    case kUIntLL: return _qor_oenc_uint_ll(w, u);
    case kInt1: return _qor_oenc_int_1byte(w, static_cast<QorLong>(v));
    case kInt2: return _qor_oenc_int_2byte(w, static_cast<QorLong>(v));
    case kInt4: return _qor_oenc_int_4byte(w, static_cast<QorLong>(v));
    case kUInt1: return _qor_oenc_uint_1byte(w, static_cast<QorULong>(u));
    case kUInt2: return _qor_oenc_uint_2byte(w, static_cast<QorULong>(u));
    case kUInt3: return _qor_oenc_uint_3byte(w, static_cast<QorULong>(u));
    case kUInt4: return _qor_oenc_uint_4byte(w, static_cast<QorULong>(u));
    case kEnum: return _qor_oenc_enum(w, static_cast<QorLong>(v));
    case kUEnum: return _qor_oenc_uenum(w, static_cast<QorULong>(u));
    case kTag: return; // tags are written by the byte writers
    case kHuge: return; // huge integers have a test of their own
    }
}

int64_t get(QorGlobal *w, Kind kind)
{
    switch (kind) {
    case kLength: return _qor_odec_length(w);
    case kInt: return _qor_odec_int(w);
    case kIntLL: return _qor_odec_int_ll(w);
    case kIntS: return _qor_odec_int_s(w);
    case kUInt: return _qor_odec_uint(w);
    case kUIntLL: return static_cast<int64_t>(_qor_odec_uint_ll(w));
    case kUIntS: return _qor_odec_uint_s(w);
    case kInt1: return _qor_odec_int_1byte(w);
    case kInt2: return _qor_odec_int_2byte(w);
    case kInt4: return _qor_odec_int_4byte(w);
    case kUInt1: return _qor_odec_uint_1byte(w);
    case kUInt2: return _qor_odec_uint_2byte(w);
    case kUInt3: return _qor_odec_uint_3byte(w);
    case kUInt4: return _qor_odec_uint_4byte(w);
    case kEnum: return _qor_odec_enum(w);
    case kUEnum: return _qor_odec_uenum(w);
    case kTag: return _qor_odec_tag(w);
    case kHuge: {
        unsigned char *out = nullptr;
        return static_cast<int64_t>(_qor_odec_uint_h(w, &out));
    }
    }
    return 0;
}

struct Row {
    Kind kind;
    int64_t value;
    const char *octets;
};

// A length's content must follow it for the decoder; 2^32 - 1 octets can't.
TEST_F(OerPrimitives, LengthsAndTheirLongForm)
{
    const Row rows[] = {
        {kLength, 0, "00"},
        {kLength, 127, "7F"},
        {kLength, 128, "81 80"},
        {kLength, 256, "82 01 00"},
        {kLength, 65536, "83 01 00 00"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.value);
        Bytes in = hex(row.octets);
        const size_t header = in.size();
        in.resize(header + static_cast<size_t>(row.value), 0x5A);
        int64_t got = -1;
        expectCoded(hex(row.octets), [&] { put(&world, row.kind, row.value); }, nullptr);
        ASSERT_EQ(decode(in, [&] { got = get(&world, row.kind); }), 0) << world.errMsgBuffer;
        EXPECT_EQ(got, row.value);
        EXPECT_EQ(read, static_cast<long>(header)) << "the content is left to the caller";
    }
    // Long forms need not be minimal.
    int64_t five = 0;
    ASSERT_EQ(decode(hex("82 00 05 01 02 03 04 05"), [&] { five = get(&world, kLength); }), 0);
    EXPECT_EQ(five, 5);
    Bytes got;
    ASSERT_EQ(encode([&] { _qor_oenc_octet_length(&world, UINT32_MAX); }, &got), 0);
    EXPECT_EQ(got, hex("84 FF FF FF FF"));
    // The long form whatever the length, 0 included.
    const struct {
        QorULong length;
        const char *octets;
    } longForms[] = {{0, "80"}, {5, "81 05"}, {128, "81 80"}, {65536, "83 01 00 00"}};
    for (const auto &f : longForms) {
        unsigned char out[5];
        const int n = _qor_oenc_enc_length(f.length, out);
        EXPECT_EQ(Bytes(out, out + n), hex(f.octets)) << f.length;
    }
}

TEST_F(OerPrimitives, NumbersEnumeratedAndTags)
{
    const Row rows[] = {
        {kInt, -1, "01 FF"},
        {kInt, 128, "02 00 80"},
        {kInt, -129, "02 FF 7F"},
        {kInt, INT32_MIN, "04 80 00 00 00"},
        {kIntLL, INT64_MIN, "08 80 00 00 00 00 00 00 00"},
        {kIntLL, INT64_MAX, "08 7F FF FF FF FF FF FF FF"},
        {kIntS, -32768, "02 80 00"},
        {kUInt, 0, "01 00"},
        {kUInt, 128, "01 80"},
        {kUInt, UINT32_MAX, "04 FF FF FF FF"},
        {kUIntLL, -1, "08 FF FF FF FF FF FF FF FF"},
        {kUIntS, 65535, "02 FF FF"},
        {kInt1, -128, "80"},
        {kInt2, -2, "FF FE"},
        {kInt4, INT32_MIN, "80 00 00 00"},
        {kInt4, INT32_MAX, "7F FF FF FF"},
        {kUInt1, 255, "FF"},
        {kUInt2, 65535, "FF FF"},
        {kUInt3, 0x12345600, "12 34 56"}, // the top three octets
        {kUInt4, UINT32_MAX, "FF FF FF FF"},
        {kEnum, 0, "00"},
        {kEnum, 127, "7F"},
        {kEnum, 128, "82 00 80"},
        {kEnum, -1, "81 FF"},
        {kEnum, 1000, "82 03 E8"},
        {kEnum, INT32_MIN, "84 80 00 00 00"},
        {kUEnum, 128, "82 00 80"}, // with its sign octet
        {kUEnum, 0x80000000, "85 00 80 00 00 00"},
        {kUEnum, UINT32_MAX, "85 00 FF FF FF FF"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.kind << ": " << row.value);
        int64_t got = 0;
        expectCoded(hex(row.octets), [&] { put(&world, row.kind, row.value); },
                    [&] { got = get(&world, row.kind); });
        EXPECT_EQ(got, row.value);
    }
    // Tags keep their octets; a number goes up to two octets after the first.
    const Row tags[] = {
        {kTag, 0x41, "41"},
        {kTag, 0xBF40, "BF 40"},
        {kTag, 0x7F1F, "7F 1F"},
        {kTag, 0xBF8100, "BF 81 00"},
    };
    for (const Row &row : tags) {
        int64_t got = 0;
        ASSERT_EQ(decode(hex(row.octets), [&] { got = get(&world, kTag); }), 0) << row.octets;
        EXPECT_EQ(got, row.value);
    }
}

TEST_F(OerPrimitives, EncodersCheckTheirRange)
{
    const Row rows[] = {
        {kInt1, 128, nullptr},
        {kInt1, -129, nullptr},
        {kInt2, 32768, nullptr},
        {kInt2, -32769, nullptr},
        {kUInt1, 256, nullptr},
        {kUInt2, 65536, nullptr},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(encode([&] { put(&world, row.kind, row.value); }), oertest::kRangeCode) << row.value;
        EXPECT_TRUE(messageHas("0062S: Value range constraint violated, value = " +
                               std::to_string(row.value)));
    }
}

// Huge integers lose their redundant leading octets; read back, an unsigned
// one with its top bit set gets a 0x00 in front.
TEST_F(OerPrimitives, HugeIntegers)
{
    const struct {
        bool isUnsigned;
        const char *value, *octets, *readBack;
    } rows[] = {
        {false, "00 00 7F", "01 7F", "7F"},
        {false, "FF FF 80", "01 80", "80"},
        {false, "00 80", "02 00 80", "00 80"},
        {true, "00 00 00", "01 00", "00"},
        {true, "00 FF", "01 FF", "00 FF"},
        {true, "80 00 00 00 00 00 00 00 01", "09 80 00 00 00 00 00 00 00 01",
         "00 80 00 00 00 00 00 00 00 01"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.value);
        const Bytes value = hex(row.value);
        unsigned char *out = nullptr;
        QorULong count = 0;
        expectCoded(
            hex(row.octets),
            [&] {
                (row.isUnsigned ? _qor_oenc_uint_h : _qor_oenc_int_h)(
                    &world, value.data(), static_cast<QorULong>(value.size()));
            },
            [&] { count = (row.isUnsigned ? _qor_odec_uint_h : _qor_odec_int_h)(&world, &out); });
        EXPECT_EQ(Bytes(out, out + count), hex(row.readBack));
    }
    const Bytes big(4097, 1);
    for (QorULong n : {QorULong{0}, QorULong{4097}})
        EXPECT_EQ(encode([&] { _qor_oenc_int_h(&world, big.data(), n); }), oertest::kMisencodedCode);
}

// Every decoder on input that lies: cut short, counts and lengths beyond
// the input or the result, forms the rules don't have. Nothing is taken
// before the input is known to hold the value.
TEST_F(OerPrimitives, HostileInput)
{
    using oertest::kEndOfInputCode, oertest::kMisencodedCode, oertest::kTooLongCode;
    const struct {
        Kind kind;
        const char *octets;
        int code;
        const char *message = ""; // the start of it, where the rows pin it
    } rows[] = {
        {kLength, "", kEndOfInputCode},
        {kLength, "80", kMisencodedCode, "0037E: Value misencoded or length wrong for value"},
        {kLength, "85 00 00 00 00 01", kTooLongCode},
        {kLength, "85 00", kEndOfInputCode},
        {kLength, "82 00", kEndOfInputCode,
         "0081S: End of input reached before message was fully decoded"},
        {kLength, "05 01 02", kEndOfInputCode},
        {kLength, "84 80 00 00 00 01", kEndOfInputCode},
        {kLength, "84 FF FF FF FF 01", kEndOfInputCode},
        {kInt, "05 00 00 00 00 01", kTooLongCode,
         "0144E: Integer or enumerated value too long: length = 5"},
        {kInt, "04 00 00", kEndOfInputCode},
        {kInt, "01", kEndOfInputCode},
        {kInt, "00 01", kMisencodedCode},
        {kInt, "81 01", kMisencodedCode},
        {kIntS, "03 00 00 01", kTooLongCode},
        {kIntLL, "09 00 00 00 00 00 00 00 00 01", kTooLongCode},
        {kUIntLL, "7F 00", kEndOfInputCode},
        {kUInt1, "", kEndOfInputCode},
        {kInt2, "FF", kEndOfInputCode},
        {kUInt3, "00 00", kEndOfInputCode},
        {kInt4, "00 00 00", kEndOfInputCode},
        {kEnum, "85 00 FF FF FF FF", kTooLongCode},
        {kEnum, "80", kMisencodedCode},
        {kEnum, "82 00", kEndOfInputCode},
        {kUEnum, "85 01 00 00 00 00", kTooLongCode},
        {kUEnum, "86 00 00 00 00 00 00", kTooLongCode},
        {kTag, "BF", kEndOfInputCode},
        {kTag, "BF 1E", kMisencodedCode},
        {kTag, "BF 80", kMisencodedCode},
        {kTag, "BF 81", kEndOfInputCode},
        {kTag, "BF 81 80", kTooLongCode, "0019E: Tag too long: "},
        {kHuge, "00", kMisencodedCode},
        {kHuge, "05 01 02", kEndOfInputCode},
        {kHuge, "84 80 00 00 00 01", kEndOfInputCode},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.octets);
        EXPECT_EQ(decode(hex(row.octets), [&] { get(&world, row.kind); }), row.code);
        EXPECT_NE(world.errMsgBuffer[0], '\0');
        EXPECT_TRUE(messageHas(row.message)) << world.errMsgBuffer;
        EXPECT_EQ(qortest::blocksListed(&world), 0);
    }
}

} // namespace

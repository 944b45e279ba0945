// Looking at input between decodes: BER message length, pad octets, the
// compression prefix.
#include "support/roundtrip.h"

using namespace qortest;

namespace {

QorLong messageLength(const char *hexText)
{
    Bytes b = hex(hexText);
    QorBuf in = {static_cast<QorLong>(b.size()), b.data()};
    return qorDetermineMessageLength(nullptr, &in);
}

} // namespace

TEST(MessageLength, ShortLongAndUnknownForms)
{
    EXPECT_EQ(messageLength("04 03 41 42 43"), 5);
    EXPECT_EQ(messageLength("04 03"), 5) << "tells how much more to read";
    EXPECT_EQ(messageLength("04 82 01 00"), 4 + 256);
    EXPECT_EQ(messageLength("1F 81 01 02 00 00"), 4 + 2);
    EXPECT_EQ(messageLength("04 80 00 00"), 0) << "indefinite";
    EXPECT_EQ(messageLength("04"), 0);
    EXPECT_EQ(messageLength("1F 81"), 0);
    EXPECT_EQ(messageLength("04 85 00 00 00 00 01"), 0);
    EXPECT_EQ(messageLength("04 84 00 00"), 0) << "length octets cut";
    EXPECT_EQ(messageLength("04 84 FF FF FF FF"), 0) << "beyond what a length can say";
    EXPECT_EQ(qorDetermineMessageLength(nullptr, nullptr), 0);
}

TEST(SkipPadBytes, SkipsOnlyThePad)
{
    QorGlobal world{};
    Bytes b = hex("00 00 04 01");
    QorBuf in = {4, b.data()};
    EXPECT_EQ(qorSkipPadBytes(nullptr, &in, 0), QOR_BAD_ARG);
    EXPECT_EQ(qorSkipPadBytes(&world, nullptr, 0), QOR_NULL_INPUT);
    EXPECT_EQ(qorSkipPadBytes(&world, &in, 0), 0);
    EXPECT_EQ(in.length, 2);
    EXPECT_EQ(in.value, b.data() + 2);
    Bytes pad = hex("FF FF");
    in = {2, pad.data()};
    EXPECT_EQ(qorSkipPadBytes(&world, &in, 0xFF), QOR_MORE_INPUT);
    in = {0, pad.data()};
    EXPECT_EQ(qorSkipPadBytes(&world, &in, 0xFF), QOR_MORE_INPUT);
}

TEST(CompressionPrefix, TwoNumbersOfSevenBitGroups)
{
    QorGlobal world{};
    Bytes b = hex("81 00 05 AA");
    QorBuf in = {4, b.data()};
    QorLong original = 0, compressed = 0;
    EXPECT_EQ(qorSkipCompressionPrefix(&world, &in, &original, &compressed), 0);
    EXPECT_EQ(original, 128);
    EXPECT_EQ(compressed, 5);
    EXPECT_EQ(in.length, 1);
    EXPECT_EQ(*in.value, 0xAA);

    Bytes tooLong = hex("81 81 81 81 81 01 00");
    in = {7, tooLong.data()};
    EXPECT_EQ(qorSkipCompressionPrefix(&world, &in, nullptr, nullptr), QOR_DATA_ERROR);
    Bytes cut = hex("05 81");
    in = {2, cut.data()};
    EXPECT_EQ(qorSkipCompressionPrefix(&world, &in, nullptr, nullptr), QOR_DATA_ERROR);
    EXPECT_EQ(qorSkipCompressionPrefix(nullptr, &in, nullptr, nullptr), QOR_BAD_ARG);
    in = {0, cut.data()};
    EXPECT_EQ(qorSkipCompressionPrefix(&world, &in, nullptr, nullptr), QOR_BAD_ARG) << "empty";
}

// BER tags and lengths.
#include "ber/ber_support.h"

using namespace qortest;

namespace {

class Tags : public BerTest {};

} // namespace

TEST_F(Tags, HeadersAreWrittenInOnePiece)
{
    struct Case {
        QorLong length;
        QorULong tag;
        const char *bytes;
    } cases[] = {
        {0, 0x05, "05 00"},
        {127, 0x04, "04 7F"},
        {128, 0x04, "04 81 80"},
        {255, 0x30, "30 81 FF"},
        {256, 0x30, "30 82 01 00"},
        {70000, 0x30, "30 83 01 11 70"},
        {0x1000000, 0x30, "30 84 01 00 00 00"},
        {-128, 0x30, "30 80"},
        {3, 0x9F21, "9F 21 03"},
        {3, 0xBF8721, "BF 87 21 03"},
        {3, 0x7FBF8721, "BF 87 21 03"}, // a fourth octet is never written
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(encodeChecked(writer(_qor_encd_tag_length, c.length, c.tag)), hex(c.bytes));
    }
    EXPECT_EQ(encodeChecked(writer(_qor_encd_tag_length2, 200, 0x04, 0xA1)), hex("A1 81 CB 04 81 C8"));
}

TEST_F(Tags, ReadingTagsAndLengths)
{
    QorULong tag = 0;
    QorLong length = 0;
    auto both = [&](unsigned char **pos, QorLong *room) {
        tag = _qor_dec_tag(&world, pos, room);
        length = _qor_dec_length(&world, pos, room);
    };
    EXPECT_EQ(decoded(hex("30 03 00 00 00"), both), 0);
    EXPECT_EQ(tag, 16u);
    EXPECT_EQ(world.bitOffset, 0x20);
    EXPECT_EQ(length, 3);
    EXPECT_EQ(decoded(hex("9F 21 00"), both), 0);
    EXPECT_EQ(tag, 0x8000u | 0x21);
    EXPECT_EQ(world.bitOffset, 0);
    EXPECT_EQ(decoded(hex("5F 81 00 80"), both), 0);
    EXPECT_EQ(tag, 0x4000u | 128);
    EXPECT_EQ(length, -1);
    EXPECT_EQ(decoded(hex("DF FF 7F 00"), both), 0);
    EXPECT_EQ(tag, 0xC000u | 0x3FFF);
    EXPECT_EQ(decoded(hex("04 85 00 00 00 00 01 AA"), both), 0) << "leading zero octets pass";
    EXPECT_EQ(length, 1);

    EXPECT_EQ(decoded(hex("9F 81 80 80 01 00"), both), QOR_LIMITED) << "more than 14 bits";
    EXPECT_EQ(decoded(hex("9F 1E 00"), both), QOR_DATA_ERROR);
    EXPECT_EQ(std::string(world.errMsgBuffer), "D0018E: Tag needlessly long.\n");
    EXPECT_EQ(decoded(hex("9F 80 21 00"), both), QOR_DATA_ERROR) << "a leading zero septet";
    world.ruleBits |= QOR_RULE_RELAXED;
    EXPECT_EQ(decoded(hex("9F 1E 00"), both), 0);
    EXPECT_EQ(tag, 0x8000u | 30);
    world.encRules = QOR_DER;
    EXPECT_EQ(decoded(hex("9F 1E 00"), both), QOR_DATA_ERROR) << "never under DER";
    // DER has definite lengths alone; the message shows no value.
    EXPECT_EQ(decoded(hex("30 80 00 00"), both), QOR_DATA_ERROR);
    EXPECT_EQ(std::string(world.errMsgBuffer),
              "D0117S: Expected definite length, found indefinite length DER encoding.\n");
    EXPECT_EQ(decoded(hex("30 81 80"), both), QOR_MORE_INPUT) << "a definite 128 is no concern";
    world.encRules = QOR_CER;
    EXPECT_EQ(decoded(hex("30 80 00 00"), both), 0);
    EXPECT_EQ(length, -1);
    world.encRules = QOR_BER;
    world.ruleBits &= ~QorULong{QOR_RULE_RELAXED};

    EXPECT_EQ(decoded(hex("04 84 01 00 00 00"), both), QOR_MORE_INPUT);
    EXPECT_EQ(decoded(hex("04 84 FF FF FF FF"), both), QOR_LIMITED);
    EXPECT_EQ(decoded(hex("04 86 01 00 00 00 00 00"), both), QOR_LIMITED);
    EXPECT_EQ(decoded(hex("04 85 01 00 00 00"), both), QOR_LIMITED) << "too long before too short";
    EXPECT_EQ(decoded(hex("04"), both), QOR_MORE_INPUT);
    EXPECT_EQ(decoded(hex("9F 81"), both), QOR_MORE_INPUT);
}

TEST_F(Tags, TheFastPathComparesTheTagAsItStands)
{
    QorLong length = 0;
    auto expect = [&](QorULong expected) {
        return [&, expected](unsigned char **pos, QorLong *room) {
            length = _qor_dec_tag_length(&world, pos, room, expected);
        };
    };
    EXPECT_EQ(decoded(hex("30 02 01 02"), expect(0x10)), 0) << "constructed bit not compared";
    EXPECT_EQ(world.bitOffset, 0x20);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(decoded(hex("9F 21 01 00"), expect(0x219F)), 0);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(decoded(hex("BF 87 21 00"), expect(0x21879F)), 0);
    EXPECT_EQ(decoded(hex("02 01 05"), expect(0x04)), QOR_DATA_ERROR);
    EXPECT_EQ(std::string(world.errMsgBuffer),
              "D0033E: Tag mismatch or tag not expected: [UNIVERSAL 2] (expected tag [UNIVERSAL 4]).\n");
    EXPECT_EQ(decoded(hex("04 80 00 00"), expect(0x04)), 0);
    EXPECT_EQ(length, 0x80) << "the indefinite form reads as 128";
    world.encRules = QOR_DER;
    EXPECT_EQ(decoded(hex("24 80 00 00"), expect(0x04)), QOR_DATA_ERROR);
    EXPECT_TRUE(messageHas("0117S")) << world.errMsgBuffer;
    EXPECT_EQ(decoded(hex("04 81 80"), expect(0x04)), QOR_MORE_INPUT) << "a definite 128";
    world.encRules = QOR_BER;
    EXPECT_EQ(decoded(hex("04 85 00 00 00 00 01 00"), expect(0x04)), 0);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(decoded(hex("04 84 80 00 00 00"), expect(0x04)), QOR_LIMITED);
    EXPECT_EQ(decoded(hex("04 02 00"), expect(0x04)), QOR_MORE_INPUT);
    EXPECT_EQ(decoded(hex("04 82 01"), expect(0x04)), QOR_MORE_INPUT);

    // A right tag written needlessly long passes only when relaxed.
    EXPECT_EQ(decoded(hex("1F 04 00"), expect(0x04)), QOR_DATA_ERROR);
    world.ruleBits |= QOR_RULE_RELAXED;
    EXPECT_EQ(decoded(hex("1F 04 00"), expect(0x04)), 0);
    world.ruleBits &= ~QorULong{QOR_RULE_RELAXED};
    EXPECT_EQ(decoded(hex("04 03 AA"), expect(0)), QOR_MORE_INPUT) << "0: the length alone";
}

TEST_F(Tags, SkippingDefiniteAndIndefiniteItems)
{
    QorLong consumed = 0;
    auto skip = [&](QorLong length) {
        return [&, length](unsigned char **pos, QorLong *room) {
            _qor_skip_past_item(&world, pos, room, length);
        };
    };
    EXPECT_EQ(decoded(hex("01 02 03"), skip(2), &consumed), 0);
    EXPECT_EQ(consumed, 2);
    EXPECT_EQ(decoded(hex("04 01 AA 30 80 02 01 00 00 00 00 00 FF"), skip(-1), &consumed), 0);
    EXPECT_EQ(consumed, 12);
    EXPECT_EQ(decoded(hex("00 01 00"), skip(-1)), QOR_DATA_ERROR);
    EXPECT_EQ(decoded(hex("20 01 00"), skip(-1)), QOR_DATA_ERROR) << "end-of-contents with contents";
    EXPECT_EQ(decoded(hex("30 80 30 80"), skip(-1)), QOR_MORE_INPUT);
    EXPECT_EQ(decoded(hex("01 02"), skip(3)), QOR_MORE_INPUT);
    world.encRules = QOR_DER;
    EXPECT_EQ(decoded(hex("04 01 AA 30 80 02 01 00 00 00 00 00 FF"), skip(-1)), QOR_DATA_ERROR)
        << "an indefinite item inside";
    world.encRules = QOR_BER;
    // Deep nesting costs time linear in the input, and ends cleanly.
    EXPECT_EQ(decoded(repeat("30 80", 100000), skip(-1)), QOR_MORE_INPUT);
}

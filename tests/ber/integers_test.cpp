// BER INTEGER, ENUMERATED and BOOLEAN primitives.
#include <cstring>

#include "ber/ber_support.h"

using namespace qortest;

namespace {

class Integers : public BerTest {};

} // namespace

TEST_F(Integers, SignedValuesTakeTheFewestOctets)
{
    struct Case {
        int64_t value;
        const char *bytes;
    } cases[] = {
        {0, "02 01 00"},
        {-1, "02 01 FF"},
        {127, "02 01 7F"},
        {128, "02 02 00 80"},
        {-128, "02 01 80"},
        {-129, "02 02 FF 7F"},
        {256, "02 02 01 00"},
        {INT32_MAX, "02 04 7F FF FF FF"},
        {INT32_MIN, "02 04 80 00 00 00"},
        {INT64_MAX, "02 08 7F FF FF FF FF FF FF FF"},
        {INT64_MIN, "02 08 80 00 00 00 00 00 00 00"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(encoded([&](unsigned char **pos, QorLong *room) {
                      return _qor_encd_llint_tl(&world, pos, room, c.value, 0x02);
                  }),
                  hex(c.bytes));
        if (c.value >= INT32_MIN && c.value <= INT32_MAX) {
            EXPECT_EQ(encoded([&](unsigned char **pos, QorLong *room) {
                          return _qor_encd_int_tl(&world, pos, room, static_cast<QorLong>(c.value),
                                                  0x02);
                      }),
                      hex(c.bytes));
        }
        int64_t back = 0;
        Bytes contents = hex(c.bytes);
        contents.erase(contents.begin(), contents.begin() + 2);
        EXPECT_EQ(decoded(contents,
                          [&](unsigned char **pos, QorLong *room) {
                              back = _qor_dec_llint(&world, pos, room,
                                                    static_cast<QorLong>(contents.size()));
                          }),
                  0);
        EXPECT_EQ(back, c.value);
    }
    EXPECT_EQ(encoded([&](unsigned char **pos, QorLong *room) {
                  return _qor_encd_int_tl(&world, pos, room, 5, 0x9F21);
              }),
              hex("9F 21 01 05"));
}

TEST_F(Integers, UnsignedValuesGetAZeroOctetBeforeAHighBit)
{
    struct Case {
        uint64_t value;
        const char *bytes;
    } cases[] = {
        {0, "02 01 00"},
        {127, "02 01 7F"},
        {128, "02 02 00 80"},
        {UINT32_MAX, "02 05 00 FF FF FF FF"},
        {UINT64_MAX, "02 09 00 FF FF FF FF FF FF FF FF"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(encoded([&](unsigned char **pos, QorLong *room) {
                      return _qor_encd_ullint_tl(&world, pos, room, c.value, 0x02);
                  }),
                  hex(c.bytes));
        if (c.value <= UINT32_MAX) {
            EXPECT_EQ(encoded([&](unsigned char **pos, QorLong *room) {
                          return _qor_encd_uint_tl(&world, pos, room,
                                                   static_cast<QorULong>(c.value), 0x02);
                      }),
                      hex(c.bytes));
        }
    }
}

TEST_F(Integers, DecodersRefuseNeedlessAndImpossibleForms)
{
    struct Case {
        const char *contents;
        int strict;        // result of _qor_dec_uiint
        QorULong value;    // its value when 0
        int relaxedResult; // under QOR_RELAXED
    } unsignedCases[] = {
        {"00 FF", 0, 255, 0},
        {"00 00 FF", QOR_DATA_ERROR, 0, 0},
        {"FF", QOR_NEGATIVE_UNSIGNED, 0, 0},
        {"00", 0, 0, 0},
        {"00 00", QOR_DATA_ERROR, 0, 0},
        {"01 00 00 00 00", QOR_LIMITED, 0, QOR_LIMITED},
        {"00 FF FF FF FF", 0, UINT32_MAX, 0},
        {"", QOR_DATA_ERROR, 0, QOR_DATA_ERROR},
    };
    for (bool lenient : {false, true}) {
        world.ruleBits = lenient ? (world.ruleBits | QOR_RULE_RELAXED)
                                 : (world.ruleBits & ~QorULong{QOR_RULE_RELAXED});
        for (const Case &c : unsignedCases) {
            SCOPED_TRACE(std::string(c.contents) + (lenient ? " relaxed" : ""));
            Bytes contents = hex(c.contents);
            QorULong value = 1;
            int result = decoded(contents, [&](unsigned char **pos, QorLong *room) {
                value = _qor_dec_uiint(&world, pos, room, static_cast<QorLong>(contents.size()));
            });
            EXPECT_EQ(result, lenient ? c.relaxedResult : c.strict);
            if (result == 0 && !lenient) {
                EXPECT_EQ(value, c.value);
            }
        }
    }
    world.ruleBits &= ~QorULong{QOR_RULE_RELAXED};

    QorLong value = 0;
    auto iint = [&](const char *text) {
        Bytes contents = hex(text);
        return decoded(contents, [&](unsigned char **pos, QorLong *room) {
            value = _qor_dec_iint(&world, pos, room, static_cast<QorLong>(contents.size()));
        });
    };
    EXPECT_EQ(iint("FF 7F"), 0);
    EXPECT_EQ(value, -129);
    EXPECT_EQ(iint("FF FF"), QOR_DATA_ERROR);
    EXPECT_EQ(iint("00 01"), QOR_DATA_ERROR);
    EXPECT_EQ(iint("01 00 00 00 00"), QOR_LIMITED);
    EXPECT_NE(std::string(world.errMsgBuffer).find("0144E: Integer or enumerated value too long: length = 5"),
              std::string::npos);
    world.ruleBits |= QOR_RULE_RELAXED;
    EXPECT_EQ(iint("FF FF FF 80"), 0);
    EXPECT_EQ(value, -128);
    world.encRules = QOR_DER;
    EXPECT_EQ(iint("FF FF"), QOR_DATA_ERROR) << "DER is never relaxed";
    world.encRules = QOR_BER;
    world.ruleBits &= ~QorULong{QOR_RULE_RELAXED};

    int16_t small = 0;
    Bytes two = hex("80 00");
    EXPECT_EQ(decoded(two, [&](unsigned char **pos, QorLong *room) {
                  small = _qor_dec_sint(&world, pos, room, 2);
              }),
              0);
    EXPECT_EQ(small, INT16_MIN);
    Bytes three = hex("00 80 00");
    EXPECT_EQ(decoded(three, [&](unsigned char **pos, QorLong *room) {
                  _qor_dec_sint(&world, pos, room, 3);
              }),
              QOR_LIMITED);
    EXPECT_EQ(decoded(three, [&](unsigned char **pos, QorLong *room) {
                  _qor_dec_usint(&world, pos, room, 4);
              }),
              QOR_MORE_INPUT);
}

TEST_F(Integers, BooleansAndHugeIntegers)
{
    for (char v : {0, 1, 7}) {
        EXPECT_EQ(encoded([&](unsigned char **pos, QorLong *room) {
                      return _qor_encd_bool_tl(&world, pos, room, 0x01, v);
                  }),
                  hex(v != 0 ? "01 01 FF" : "01 01 00"));
    }
    char flag = 0;
    EXPECT_EQ(decoded(hex("01"), [&](unsigned char **pos, QorLong *room) {
                  flag = _qor_dec_bool(&world, pos, room, 1);
              }),
              0);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(decoded(hex("00 00"), [&](unsigned char **pos, QorLong *room) {
                  _qor_dec_bool(&world, pos, room, 2);
              }),
              QOR_DATA_ERROR);

    Bytes huge = hex("00 00 7F FF");
    EXPECT_EQ(encoded([&](unsigned char **pos, QorLong *room) {
                  return _qor_encd_huge_int_ia(&world, pos, room, huge.data(), 4);
              }),
              hex("7F FF"));
    Bytes negative = hex("FF FF 80");
    EXPECT_EQ(encoded([&](unsigned char **pos, QorLong *room) {
                  return _qor_encd_huge_int_ia(&world, pos, room, negative.data(), 3);
              }),
              hex("80"));
    Bytes high = hex("00 00 80");
    EXPECT_EQ(encoded([&](unsigned char **pos, QorLong *room) {
                  return _qor_encd_uhuge_int_ia(&world, pos, room, high.data(), 3);
              }),
              hex("00 80"));
    Bytes bare = hex("80 01");
    EXPECT_EQ(encoded([&](unsigned char **pos, QorLong *room) {
                  return _qor_encd_uhuge_int_ia(&world, pos, room, bare.data(), 2);
              }),
              hex("00 80 01"));

    unsigned char *data = nullptr;
    QorLong length = 0;
    Bytes long_ = Bytes(100, 0x12);
    EXPECT_EQ(decoded(long_, [&](unsigned char **pos, QorLong *room) {
                  length = _qor_dec_hint_ia(&world, pos, room, 100, &data);
                  EXPECT_EQ(memcmp(data, long_.data(), 100), 0);
              }),
              0);
    EXPECT_EQ(length, 100);
    EXPECT_EQ(decoded(hex("00 01"), [&](unsigned char **pos, QorLong *room) {
                  _qor_dec_hint_ia(&world, pos, room, 2, &data);
              }),
              QOR_DATA_ERROR);
    EXPECT_EQ(decoded(hex("00"), [&](unsigned char **pos, QorLong *room) {
                  _qor_dec_hint_ia(&world, pos, room, 0, &data);
              }),
              QOR_DATA_ERROR);
    EXPECT_STREQ(world.errMsgBuffer, "D0037E: Value misencoded or length wrong for value.\n")
        << "a zero-length integer";
}

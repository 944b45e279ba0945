// BER INTEGER, ENUMERATED and BOOLEAN primitives.
#include <cstring>
#include <tuple>

#include "ber/ber_support.h"

using namespace qortest;

namespace {

class Integers : public BerTest {
protected:
    // Reads `contents` with `fn` (the length: all of it unless given); the
    // result goes to `*value`.
    template <class Fn, class T>
    int readAs(Fn fn, const Bytes &contents, T *value, QorLong length = -1)
    {
        if (length < 0)
            length = static_cast<QorLong>(contents.size());
        return decoded(contents, [&](unsigned char **pos, QorLong *room) {
            *value = static_cast<T>(fn(&world, pos, room, length));
        });
    }
};

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
        EXPECT_EQ(encodeChecked(writer(_qor_encd_llint_tl, c.value, 0x02)), hex(c.bytes));
        if (c.value >= INT32_MIN && c.value <= INT32_MAX) {
            EXPECT_EQ(encodeChecked(writer(_qor_encd_int_tl, static_cast<QorLong>(c.value), 0x02)),
                      hex(c.bytes));
        }
        int64_t back = 0;
        EXPECT_EQ(readAs(_qor_dec_llint, after(hex(c.bytes), 2), &back), 0);
        EXPECT_EQ(back, c.value);
    }
    EXPECT_EQ(encodeChecked(writer(_qor_encd_int_tl, 5, 0x9F21)), hex("9F 21 01 05"));
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
        EXPECT_EQ(encodeChecked(writer(_qor_encd_ullint_tl, c.value, 0x02)), hex(c.bytes));
        if (c.value <= UINT32_MAX) {
            EXPECT_EQ(encodeChecked(writer(_qor_encd_uint_tl, static_cast<QorULong>(c.value), 0x02)),
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
        setFlag(world.ruleBits, QOR_RULE_RELAXED, lenient);
        for (const Case &c : unsignedCases) {
            SCOPED_TRACE(std::string(c.contents) + (lenient ? " relaxed" : ""));
            QorULong value = 1;
            int result = readAs(_qor_dec_uiint, hex(c.contents), &value);
            EXPECT_EQ(result, lenient ? c.relaxedResult : c.strict);
            if (result == 0 && !lenient) {
                EXPECT_EQ(value, c.value);
            }
        }
    }
    setFlag(world.ruleBits, QOR_RULE_RELAXED, false);

    QorLong value = 0;
    EXPECT_EQ(readAs(_qor_dec_iint, hex("FF 7F"), &value), 0);
    EXPECT_EQ(value, -129);
    EXPECT_EQ(readAs(_qor_dec_iint, hex("FF FF"), &value), QOR_DATA_ERROR);
    EXPECT_EQ(readAs(_qor_dec_iint, hex("00 01"), &value), QOR_DATA_ERROR);
    EXPECT_EQ(readAs(_qor_dec_iint, hex("01 00 00 00 00"), &value), QOR_LIMITED);
    EXPECT_TRUE(messageHas("0144E: Integer or enumerated value too long: length = 5"));
    world.ruleBits |= QOR_RULE_RELAXED;
    EXPECT_EQ(readAs(_qor_dec_iint, hex("FF FF FF 80"), &value), 0);
    EXPECT_EQ(value, -128);
    world.encRules = QOR_DER;
    EXPECT_EQ(readAs(_qor_dec_iint, hex("FF FF"), &value), QOR_DATA_ERROR) << "never under DER";
    world.encRules = QOR_BER;
    world.ruleBits &= ~QorULong{QOR_RULE_RELAXED};

    int16_t small = 0;
    uint16_t unsignedSmall = 0;
    EXPECT_EQ(readAs(_qor_dec_sint, hex("80 00"), &small), 0);
    EXPECT_EQ(small, INT16_MIN);
    EXPECT_EQ(readAs(_qor_dec_sint, hex("00 80 00"), &small), QOR_LIMITED);
    EXPECT_EQ(readAs(_qor_dec_usint, hex("00 80 00"), &unsignedSmall, 4), QOR_MORE_INPUT);
}

TEST_F(Integers, BooleansAndHugeIntegers)
{
    for (char v : {0, 1, 7})
        EXPECT_EQ(encodeChecked(writer(_qor_encd_bool_tl, 0x01, v)), hex(v != 0 ? "01 01 FF" : "01 01 00"));
    char flag = 0;
    EXPECT_EQ(readAs(_qor_dec_bool, hex("01"), &flag), 0);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(readAs(_qor_dec_bool, hex("00 00"), &flag), QOR_DATA_ERROR);

    // Huge integers drop needless leading octets; the unsigned form keeps a
    // zero octet before a high bit.
    using Huge = QorLong (*)(QorGlobal *, unsigned char **, QorLong *, const unsigned char *, QorLong);
    const std::tuple<Huge, const char *, const char *> huge[] = {
        {_qor_encd_huge_int_ia, "00 00 7F FF", "7F FF"},
        {_qor_encd_huge_int_ia, "FF FF 80", "80"},
        {_qor_encd_uhuge_int_ia, "00 00 80", "00 80"},
        {_qor_encd_uhuge_int_ia, "80 01", "00 80 01"},
    };
    for (const auto &[fn, value, contents] : huge) {
        Bytes v = hex(value);
        EXPECT_EQ(encodeChecked(writer(fn, v.data(), static_cast<QorLong>(v.size()))), hex(contents))
            << value;
    }

    unsigned char *data = nullptr;
    QorLong length = 0;
    Bytes long_ = Bytes(100, 0x12);
    EXPECT_EQ(decoded(long_, [&](unsigned char **pos, QorLong *room) {
                  length = _qor_dec_hint_ia(&world, pos, room, 100, &data);
                  EXPECT_EQ(memcmp(data, long_.data(), 100), 0);
              }),
              0);
    EXPECT_EQ(length, 100);
    // A needless leading octet, and an integer of length 0.
    for (const auto &row : {std::pair{"00 01", 2}, std::pair{"00", 0}}) {
        const char *bad = row.first;
        QorLong n = row.second;
        EXPECT_EQ(decoded(hex(bad), [&](unsigned char **pos, QorLong *room) {
                      _qor_dec_hint_ia(&world, pos, room, n, &data);
                  }),
                  QOR_DATA_ERROR)
            << bad;
    }
    EXPECT_STREQ(world.errMsgBuffer, "D0037E: Value misencoded or length wrong for value.\n")
        << "a zero-length integer";
}

// BER BIT STRING contents: the writer and its segments, DER's trimming of
// named bits, named-bit lists in a word, the decoders of each memory form,
// unused-bits checks, size limits and hostile input.
#include <cstring>
#include <string>

#include "ber/ber_support.h"

using namespace qortest;

namespace {

constexpr int kTableCorrupt = QOR_TABLE_CORRUPT; // message 101

class BitTest : public BerTest {
protected:
    // The unbounded form: bits and octets, or the code raised.
    int bits(const Bytes &input, QorLong *count, Bytes *out, QorLong max = 0, int flags = 0)
    {
        out->clear();
        *count = -1;
        return decode(input, [&](unsigned char **pos, QorLong *room, QorLong length) {
            unsigned char *value = nullptr;
            *count = _qor_dec_ubit_ia(&world, pos, room, length, &value, max, flags);
            if (*count > 0)
                out->assign(value, value + (*count + 7) / 8);
            else
                EXPECT_EQ(value, nullptr);
        });
    }
};

TEST_F(BitTest, WriterMasksUnusedBitsAndCountsThem)
{
    const Bytes forty = pattern(40);
    struct Case {
        Bytes data;
        QorLong bits;
        Bytes contents;
    } cases[] = {
        {{}, 0, hex("00")},
        {hex("FF"), 1, hex("07 80")},
        {hex("AB CF"), 12, hex("04 AB C0")},
        {hex("AB CD"), 16, hex("00 AB CD")},
        {hex("01 FF"), 9, hex("07 01 80")},
        {forty, 318,
         concat({hex("02"), slice(forty, 0, 39), {static_cast<unsigned char>(forty[39] & 0xFC)}})},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.bits);
        const unsigned char *data = c.data.empty() ? nullptr : c.data.data();
        auto octets = static_cast<QorLong>(c.data.size());
        for (const Write &w : {writer(_qor_encd_ubit_ia, data, c.bits, 0),
                               writer(_qor_encd_vbit_ia, data, c.bits, octets),
                               writer(_qor_encd_dubit_ia, data, c.bits, 0, 1),
                               writer(_qor_encd_dvbit_ia, data, c.bits, 0, 0)}) {
            Encoding e = encode(w);
            EXPECT_EQ(e.code, 0) << world.errMsgBuffer;
            EXPECT_EQ(e.bytes, c.contents);
        }
    }
    EXPECT_EQ(encode(writer(_qor_encd_ubit_ia, nullptr, -1, 0)).code, kDataError);
}

TEST_F(BitTest, DerDropsTrailingZeroBitsOfNamedBitLists)
{
    struct Case {
        int rules;
        char named;
        const char *data;
        QorLong bits;
        const char *contents;
        QorLong max = 0; // bits, for the unbounded form
        int code = 0;
    } cases[] = {
        {QOR_DER, 1, "80 00", 16, "07 80"},
        {QOR_BER, 1, "80 00", 16, "00 80 00"},
        {QOR_CER, 1, "80 00", 16, "00 80 00"},
        {QOR_DER, 0, "80 00", 16, "00 80 00"},
        {QOR_DER, 1, "00 00", 16, "00"},
        {QOR_DER, 1, "01 00", 9, "00 01"},
        {QOR_DER, 1, "00 40", 10, "06 00 40"},
        {QOR_DER, 1, "00 7F", 10, "06 00 40"}, // set bits past the size do not count
        {QOR_DER, 1, "FF FF", 16, "00 FF FF"},
        // The size constraint applies to the value trimmed.
        {QOR_DER, 1, "80 00", 16, "07 80", 8},
        {QOR_BER, 1, "80 00", 16, "", 8, kSizeExceeded},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.data) + " rules " + std::to_string(c.rules) +
                     (c.named ? " named" : "") + " max " + std::to_string(c.max));
        world.encRules = c.rules;
        Bytes data = hex(c.data);
        Encoding u = encode(writer(_qor_encd_dubit_ia, data.data(), c.bits, c.max, c.named));
        EXPECT_EQ(u.code, c.code);
        EXPECT_EQ(u.bytes, hex(c.contents));
        if (c.max == 0) {
            EXPECT_EQ(encode(writer(_qor_encd_dvbit_ia, data.data(), c.bits, 2, c.named)).bytes,
                      hex(c.contents));
        }
    }
}

TEST_F(BitTest, NamedBitListsInAWordOrAnArray)
{
    // Bit 0 at the top of an integer of 1, 2 or 4 octets as the size asks;
    // an array beyond 32 bits.
    const uint8_t u8a = 0x05, u8b = 0xA0;
    const uint16_t u16a = 0x8000, u16b = 0xFFFF, u16zero = 0;
    const QorULong u32 = 0x00010000;
    const unsigned char array[5] = {0x80, 0, 0, 0, 0};
    struct Case {
        const char *name;
        const void *data;
        QorLong bits;
        const char *trimmed;
        const char *kept;
    } cases[] = {
        {"u16 bit 0", &u16a, 16, "07 80", "00 80 00"},
        {"u8 bits 5 and 7", &u8a, 8, "00 05", "00 05"},
        {"u8 of 3 bits", &u8b, 3, "05 A0", "05 A0"},
        {"u32", &u32, 32, "00 00 01", "00 00 01 00 00"},
        {"u16 of 10 bits", &u16b, 10, "06 FF C0", "06 FF C0"},
        {"u16 empty", &u16zero, 16, "00", "00 00 00"},
        {"array", array, 40, "07 80", "00 80 00 00 00 00"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(encode(writer(_qor_encd_pbit, c.data, c.bits)).bytes, hex(c.trimmed));
        EXPECT_EQ(encode(writer(_qor_encb_pbit, c.data, c.bits)).bytes, hex(c.kept));
    }

    struct ItemCase {
        QorULong value;
        QorULong size;
        QorULong tag;
        const char *trimmed;
        const char *kept;
    } items[] = {
        {0x8000, 16, 0x03, "03 02 07 80", "03 03 00 80 00"},
        {0, 8, 0x03, "03 01 00", "03 02 00 00"},
        {0xA0, 3, 0x83, "83 02 05 A0", "83 02 05 A0"},
        {0x8000, 16, 0x9F21, "9F 21 02 07 80", "9F 21 03 00 80 00"},
        {0x80000001, 32, 0x03, "03 05 00 80 00 00 01", "03 05 00 80 00 00 01"},
    };
    for (const ItemCase &c : items) {
        SCOPED_TRACE(c.trimmed);
        EXPECT_EQ(encode(writer(_qor_encd_pbit_tl, c.value, c.size, c.tag)).bytes, hex(c.trimmed));
        EXPECT_EQ(encode(writer(_qor_encb_pbit_tl, c.value, c.size, c.tag)).bytes, hex(c.kept));
    }
    EXPECT_EQ(encode(writer(_qor_encd_pbit_tl, 1, 33, 0x03)).code, kTableCorrupt);

    // And back into the word; gives the count of bits the decoder returned.
    auto intoWord = [&](const char *input, void *word, QorLong size, char named) {
        QorLong got = -1;
        EXPECT_EQ(run(hex(input), reader(_qor_dec_pbit, word, size, named), &got), 0) << input;
        return got;
    };
    uint16_t word16 = 0x1234;
    EXPECT_EQ(intoWord("03 02 07 80", &word16, 16, 1), 1);
    EXPECT_EQ(word16, 0x8000);
    uint8_t word8 = 0xFF;
    EXPECT_EQ(intoWord("03 02 05 A0", &word8, 3, 0), 3);
    EXPECT_EQ(word8, 0xA0);
    QorULong word32 = 0xFFFFFFFF;
    EXPECT_EQ(intoWord("03 03 00 00 01", &word32, 32, 1), 16);
    EXPECT_EQ(word32, 0x00010000u);
    unsigned char six[6];
    memset(six, 0xEE, sizeof six);
    EXPECT_EQ(intoWord("03 02 07 80", six, 48, 1), 1);
    EXPECT_EQ(Bytes(six, six + 6), hex("80 00 00 00 00 00"));
}

TEST_F(BitTest, LongValuesAreSegmentedExceptUnderDer)
{
    auto segment = [](const Bytes &data, unsigned char unused) {
        Bytes head = data.size() + 1 >= 128
                         ? hex("03 82 03 E8")
                         : Bytes{0x03, static_cast<unsigned char>(data.size() + 1)};
        return concat({head, {unused}, data});
    };
    struct Case {
        QorLong octets;
        QorLong bits;
    } cases[] = {{1000, 7999}, {1999, 15992}, {2000, 16000}};
    for (const Case &c : cases) {
        SCOPED_TRACE(c.octets);
        Bytes data = pattern(static_cast<size_t>(c.octets));
        auto unused = static_cast<unsigned char>(c.octets * 8 - c.bits);
        Bytes masked = data;
        masked.back() = static_cast<unsigned char>(masked.back() & (0xFF << unused));
        // 999 octets a segment from the start; the last one takes the rest
        // with the final octet.
        Bytes expected;
        size_t whole = static_cast<size_t>(c.octets - 1) / 999;
        for (size_t i = 0; i < whole; i++)
            expected = concat({expected, segment(slice(data, i * 999, i * 999 + 999), 0)});
        expected = concat({expected, segment(slice(masked, whole * 999, masked.size()), unused)});

        // A negative result counts the octets of a constructed form.
        for (int rules : {QOR_BER, QOR_CER}) {
            world.encRules = rules;
            Encoding e = attempt(writer(_qor_encd_ubit_ia, data.data(), c.bits, 0));
            ASSERT_EQ(e.code, 0);
            EXPECT_EQ(e.returned, -static_cast<QorLong>(expected.size()));
            EXPECT_EQ(e.counted, e.returned) << "sizing mode's result";
            EXPECT_TRUE(e.bytes == expected);
        }
        world.encRules = QOR_DER;
        Encoding der = encode(writer(_qor_encd_ubit_ia, data.data(), c.bits, 0));
        EXPECT_EQ(der.returned, c.octets + 1);
        EXPECT_TRUE(der.bytes == concat({{unused}, masked}));
        world.encRules = QOR_BER;

        // Generated code picks the constructed tag from the sign; the
        // decoders take either form back.
        Encoding whole1 = encode([&](unsigned char **p, QorLong *r) {
            QorLong n = _qor_encd_ubit_ia(&world, p, r, data.data(), c.bits, 0);
            QorLong size = n < 0 ? -n : n;
            return size + _qor_encd_tag_length(&world, p, r, size, n < 0 ? 0x23 : 0x03);
        });
        QorLong count = 0;
        Bytes back;
        EXPECT_EQ(bits(whole1.bytes, &count, &back), 0) << world.errMsgBuffer;
        EXPECT_EQ(count, c.bits);
        EXPECT_TRUE(back == masked);
    }

    // Just under the size that is split.
    Bytes data = pattern(999);
    Encoding e = encode(writer(_qor_encd_vbit_ia, data.data(), 999 * 8, 999));
    EXPECT_EQ(e.returned, 1000);
    EXPECT_TRUE(e.bytes == concat({hex("00"), data}));
}

TEST_F(BitTest, DecodersOfEachMemoryForm)
{
    // Each form reads the value, or refuses it alike; a value is cut short
    // at every octet too.
    struct Case {
        const char *input;
        int code;
        QorLong bits;
        const char *value; // or part of the message
    } cases[] = {
        {"03 03 04 AB CF", 0, 12, "AB C0"}, // unused bits cleared in memory
        {"03 02 07 FF", 0, 1, "80"},
        {"03 01 00", 0, 0, ""},
        {"23 80 03 02 00 AB 03 02 04 C0 00 00", 0, 12, "AB C0"},
        {"23 0A 23 04 03 02 00 AB 03 02 04 C0", 0, 12, "AB C0"},
        {"23 0A 03 02 00 AB 23 04 03 02 04 C0", 0, 12, "AB C0"},
        {"23 80 03 00 03 02 00 AB 03 01 00 00 00", 0, 8, "AB"}, // empty segments
        {"23 80 00 00", 0, 0, ""},
        {"03 01 03", kDataError, 0, "0036E"}, // unused bits, no octets
        {"03 02 08 FF", kDataError, 0, "0035E"},
        {"03 00", kDataError, 0, "0051S"},
        {"03 80 00 FF 00 00", kDataError, 0, "0051S"},
        {"23 80 03 02 04 A0 03 02 00 FF 00 00", kDataError, 0, "0036E"}, // unused bits mid-way
        {"23 80 03 01 04 00 00", kDataError, 0, "0036E"},
        {"23 80 03 02 09 00 00 00", kDataError, 0, "0035E"},
        {"23 80 04 02 00 AB 00 00", kDataError, 0, "expected tag [UNIVERSAL 3]"},
        {"23 80 03 80 00 00", kDataError, 0, "0051S"},
        {"23 03 03 02 00 AB", kDataError, 0, "0031S"},
        {"23 80 03 02 00 AB", kMoreInput, 0, "0081S"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.input);
        Bytes input = hex(c.input);
        QorLong count = 0;
        Bytes out;
        expectOutcome(bits(input, &count, &out), out, c.code, c.value);
        unsigned char inline4[4], wide[6];
        uint16_t word = 0;
        if (c.code != 0) {
            EXPECT_EQ(run(input, reader(_qor_dec_pbit, &word, 16, 1)), c.code);
            EXPECT_EQ(run(input, reader(_qor_dec_vbit_nz, inline4, 32, 1)), c.code);
            continue;
        }
        Bytes value = hex(c.value);
        EXPECT_EQ(count, c.bits);
        for (const Bytes &part : prefixes(input))
            EXPECT_EQ(bits(part, &count, &out), kMoreInput) << part.size();

        EXPECT_EQ(decode(input,
                         [&](unsigned char **pos, QorLong *room, QorLong length) {
                             unsigned char *p = nullptr;
                             count = _qor_dec_vbit_ptr_nz(&world, pos, room, length, &p, 0, 0);
                             EXPECT_EQ(Bytes(p, p + (count + 7) / 8), value);
                             if (count > 0) {
                                 EXPECT_EQ(world.blockQueue.slot[0], p) << "decoder memory";
                             }
                         }),
                  0);
        EXPECT_EQ(count, c.bits);

        memset(inline4, 0xEE, sizeof inline4);
        EXPECT_EQ(run(input, reader(_qor_dec_vbit_nz, inline4, 32, 0), &count), 0);
        EXPECT_EQ(count, c.bits);
        EXPECT_EQ(Bytes(inline4, inline4 + value.size()), value);
        // A padded array is cleared past the value.
        memset(wide, 0xEE, sizeof wide);
        EXPECT_EQ(run(input, reader(_qor_dec_pbit, wide, 48, 0), &count), 0);
        EXPECT_EQ(count, c.bits);
        value.resize(6);
        EXPECT_EQ(Bytes(wide, wide + 6), value);
    }
}

TEST_F(BitTest, SizeLimitsNamedTrimmingAndNoconstrain)
{
    const Bytes twelve = hex("03 03 04 AB C0");
    const Bytes zeroTail = hex("03 03 00 AB 00");
    const Bytes setTail = hex("03 03 00 AB 01");
    const Bytes sixteen = hex("03 03 00 AB CD");
    QorLong count = 0;
    Bytes out;
    uint8_t word = 0;
    unsigned char inline2[2] = {};
    unsigned char *value = nullptr;
    auto pbit = [&](const Bytes &in, QorLong size, char named) {
        return run(in, reader(_qor_dec_pbit, &word, size, named), &count);
    };
    auto vbit = [&](const Bytes &in, QorLong max, char named) {
        return run(in, reader(_qor_dec_vbit_nz, inline2, max, named), &count);
    };
    for (bool lifted : {false, true}) {
        SCOPED_TRACE(lifted ? "NOCONSTRAIN" : "constrained");
        setFlag(world.decodingFlags, NOCONSTRAIN, lifted);
        EXPECT_EQ(bits(twelve, &count, &out, 8), lifted ? 0 : kSizeExceeded);
        EXPECT_EQ(bits(twelve, &count, &out, 12), 0);
        // Trailing zero bits of a named-bit list may go to meet the limit.
        EXPECT_EQ(bits(zeroTail, &count, &out, 8, 0x80), 0);
        EXPECT_EQ(count, lifted ? 16 : 8);
        EXPECT_EQ(bits(zeroTail, &count, &out, 8, 0), lifted ? 0 : kSizeExceeded);
        EXPECT_EQ(bits(setTail, &count, &out, 8, 0x80), lifted ? 0 : kSizeExceeded);
        // The representation's own limit holds under every flag.
        EXPECT_EQ(bits(twelve, &count, &out, -8), kLimited);
        EXPECT_EQ(bits(twelve, &count, &out, -12), 0);

        // Inline memory holds what it holds, whatever the flags.
        EXPECT_EQ(pbit(twelve, 8, 0), kSizeExceeded);
        EXPECT_EQ(pbit(twelve, 8, 1), kLimited);
        EXPECT_TRUE(messageHas("0080E")) << world.errMsgBuffer;
        EXPECT_EQ(pbit(zeroTail, 8, 0), kSizeExceeded);
        EXPECT_EQ(pbit(zeroTail, 8, 1), 0);
        EXPECT_EQ(word, 0xAB);
        EXPECT_EQ(count, 8);
        EXPECT_EQ(pbit(hex("03 02 00 A0"), 3, 1), 0);
        EXPECT_EQ(word, 0xA0);
        EXPECT_EQ(pbit(hex("03 02 00 B0"), 3, 1), kLimited); // bit 3 set

        EXPECT_EQ(vbit(sixteen, 12, 0), kSizeExceeded);
        EXPECT_EQ(vbit(sixteen, 12, 1), kLimited);
        EXPECT_EQ(vbit(hex("03 03 00 AB C0"), 12, 1), 0);
        EXPECT_EQ(count, 12);
        EXPECT_EQ(Bytes(inline2, inline2 + 2), hex("AB C0"));
        EXPECT_EQ(vbit(twelve, -8, 0), kLimited);
        // An inline array of capacity 0 holds no bit: 0 is no "unbounded" here.
        EXPECT_EQ(vbit(sixteen, 0, 0), kSizeExceeded);
        EXPECT_EQ(vbit(hex("03 02 00 00"), 0, 1), 0);
        EXPECT_EQ(count, 0);

        EXPECT_EQ(run(sixteen, reader(_qor_dec_vbit_ptr_nz, &value, 12, 1)),
                  lifted ? 0 : kSizeExceeded);
    }
    setFlag(world.decodingFlags, NOCONSTRAIN, false);

    // Encoders: NOCONSTRAIN lifts the constraint of the unbounded form, not
    // the bounds of an inline array.
    Bytes data = hex("AB CD EF");
    for (bool lifted : {false, true}) {
        SCOPED_TRACE(lifted ? "NOCONSTRAIN" : "constrained");
        setFlag(world.encodingFlags, NOCONSTRAIN, lifted);
        EXPECT_EQ(encode(writer(_qor_encd_ubit_ia, data.data(), 12, 8)).code,
                  lifted ? 0 : kSizeExceeded);
        EXPECT_EQ(encode(writer(_qor_encd_vbit_ia, data.data(), 17, 2)).code, kSizeExceeded);
        EXPECT_EQ(encode(writer(_qor_encd_dvbit_ia, data.data(), 17, 2, 1)).code, kSizeExceeded);
        EXPECT_EQ(encode(writer(_qor_encd_vbit_ia, data.data(), 16, 2)).code, 0);
    }
    setFlag(world.encodingFlags, NOCONSTRAIN, false);
}

} // namespace

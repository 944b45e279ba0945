// PER strings of 16 and 32-bit characters (tables from a base, alphabet
// trees and their compact form), strings without a known multiplier, and
// UTF-8 from wide memory: reference encodings both ways, every cut of the
// input, and the refusals.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "per/per_support.h"

namespace {

using qortest::Bytes;
using qortest::hex;

// '0'..'9' (indexes 0-9) < 'a'..'z' (10-35) < {alpha beta omega} (36-38) < euro (39):
// the root a range with its smaller subtree behind it, a list, one character.
constexpr QorULong kRangeNode = 1u << 30, kListNode = 2u << 30, kSmallerFollows = 1u << 25;
constexpr QorULong listOf(QorULong s) { return kListNode | s << 26; }
const QorULong kTree[] = {10, kRangeNode | kSmallerFollows | 8, 'a', 'z',
                          0, kRangeNode, '0', '9',
                          36, listOf(5) | 6, 0x3B1, 0x3B2, 0x3C9, 0,
                          39, 0, 0x20AC};
// The same without indexes, for membership: one word shorter a node.
const QorULong kCompact[] = {0xFFFFFFFF, kRangeNode | kSmallerFollows | 6, 'a', 'z',
                             kRangeNode, '0', '9',
                             listOf(5) | 5, 0x3B1, 0x3B2, 0x3C9, 0,
                             0, 0x20AC};
const QorPermittedAlphabet kTreeAlphabet{40, kTree, nullptr, 0};
const QorPermittedAlphabet kCompactAlphabet{40, kCompact, nullptr, 0};

// Every character from U+0400 on, `count` of them, in tables.
struct Cyrillic {
    unsigned char decode[256], encode[256];
    QorPermittedAlphabet record;
    explicit Cyrillic(QorULong count)
    {
        for (unsigned i = 0; i < 256; i++)
            decode[i] = encode[i] = static_cast<unsigned char>(i);
        record = {count, decode, encode, 0x400};
    }
};
const Cyrillic kCyrillic256(256), kCyrillic255(255);

constexpr QorULong kTreeFlag = 0x40000;
constexpr QorULong widths(QorULong aligned, QorULong unaligned) { return aligned | unaligned << 8; }
const QorStringDescriptor kBmp1to4{nullptr, 1, 4, 4, widths(16, 16)};
// 40 characters: the index in 8 bits aligned, 6 unaligned.
const QorStringDescriptor kTreeMapped{&kTreeAlphabet, 1, 0, 0, widths(8, 6) | kTreeFlag};
// Codes as they stand: all 32 bits aligned, 17 unaligned.
const QorStringDescriptor kCompactDirect{&kCompactAlphabet, 1, 0, 0, widths(0x80 | 32, 0x80 | 17) | kTreeFlag};
const QorStringDescriptor kCyr256Fixed1{&kCyrillic256.record, 1, 1, 1, widths(8, 8)};
const QorStringDescriptor kCyr255Fixed1{&kCyrillic255.record, 1, 1, 1, widths(8, 8)};

using Text = std::u32string;

class WideStringsTest : public pertest::PerTest {
protected:
    // Encodes `text` as 16-bit (`bmp`) or 32-bit characters. The copies in
    // memory's widths are made before the call, which may leave by a jump.
    void putWide(bool bmp, const Text &text, const QorStringDescriptor &desc)
    {
        load(text);
        const auto n = static_cast<QorULong>(text.size());
        if (bmp)
            _qor_penc_bmpstr(&world, units16.data(), n, &desc, 0);
        else
            _qor_penc_unistr(&world, units32.data(), n, &desc, 0);
    }
    Text getWide(bool bmp, const QorStringDescriptor &desc)
    {
        if (bmp) {
            uint16_t *chars = nullptr;
            const QorLong n = _qor_pdec_bmpstr(&world, &chars, &desc);
            if (n == 0) {
                EXPECT_EQ(chars, nullptr) << "an empty value has no memory";
            }
            return Text(chars, chars + n);
        }
        QorULong *chars = nullptr;
        const QorLong n = _qor_pdec_unistr(&world, &chars, &desc);
        return n == 0 ? Text() : Text(chars, chars + n);
    }
    void putUtf8(bool bmp, const Text &text)
    {
        load(text);
        const auto n = static_cast<QorULong>(text.size());
        if (bmp)
            _qor_penc_utf8bmpstr_l(&world, units16.data(), n);
        else
            _qor_penc_utf8unistr_l(&world, units32.data(), n);
    }
    Text getUtf8(bool bmp)
    {
        if (bmp) {
            uint16_t *chars = nullptr;
            const QorLong n = _qor_pdec_utf8bmpstr_ia(&world, &chars);
            return Text(chars, chars + n);
        }
        QorULong *chars = nullptr;
        const QorLong n = _qor_pdec_utf8unistr_ia(&world, &chars);
        return Text(chars, chars + n);
    }
    // Keeps its buffers when `text` is the one loaded last, so nothing is
    // allocated inside a frame after the first call.
    void load(const Text &text)
    {
        if (loaded == text)
            return;
        loaded = text;
        units16.assign(text.begin(), text.end());
        units32.assign(text.begin(), text.end());
    }
    Text loaded;
    std::vector<uint16_t> units16;
    std::vector<QorULong> units32;

    static bool fits16(const Text &text)
    {
        for (char32_t c : text)
            if (c > 0xFFFF)
                return false;
        return true;
    }
};

struct WideRow {
    const char *name;
    const QorStringDescriptor *desc;
    bool aligned;
    Text text;
    const char *expected;
    bool bmp = true; // also from 16-bit memory, where the width allows
};

TEST_F(WideStringsTest, ReferenceEncodingsFromBothWidths)
{
    const WideRow rows[] = {
        {"SIZE (1..4), aligned after the length", &kBmp1to4, true, U"ab", "40 00 61 00 62"},
        {"SIZE (1..4), unaligned", &kBmp1to4, false, U"ab", "40 18 40 18 80"},
        {"tree indexes, every kind of node", &kTreeMapped, true, U"a0\u03B1\u20AC", "04 0A 00 24 27"},
        {"tree indexes in six bits", &kTreeMapped, false, U"z9\u03C9\u20AC", "04 8C 99 A7"},
        {"tree, empty", &kTreeMapped, true, U"", "00"},
        {"compact tree, codes in 17 bits", &kCompactDirect, false, U"a\u20AC", "02 00 30 88 2B 00", false},
        {"compact tree, codes in 32 bits", &kCompactDirect, true, U"\u03B2", "01 00 00 03 B2", false},
        {"a 256-character table's last index", &kCyr256Fixed1, true, U"\u04FF", "FF"},
        {"its first, unaligned", &kCyr256Fixed1, false, U"\u0400", "00"},
    };
    for (const WideRow &row : rows) {
        for (bool bmp : {true, false}) {
            if (bmp && !row.bmp)
                continue;
            SCOPED_TRACE(std::string(row.name) + (bmp ? " (16-bit)" : " (32-bit)"));
            Text got;
            expectCoded(row.aligned, hex(row.expected), [&] { putWide(bmp, row.text, *row.desc); },
                        [&] { got = getWide(bmp, *row.desc); });
            EXPECT_TRUE(got == row.text);
            qortest::releaseBlocks(&world);
        }
    }
}

TEST_F(WideStringsTest, Refusals)
{
    struct Refusal {
        const char *name;
        const QorStringDescriptor *desc;
        Text text;
        const char *message;
    };
    const Refusal rows[] = {
        {"a fifth character", &kBmp1to4, U"abcde", "0063S"},
        {"no index in the tree", &kTreeMapped, U"aB", "0064S"},
        {"between a list's characters", &kTreeMapped, U"\u03B3", "0064S"},
        {"not in the compact tree", &kCompactDirect, U"\u20AD", "0064S"},
        {"255 is no index of 255 characters", &kCyr255Fixed1, U"\u04FF", "0064S"},
        {"below the table's base", &kCyr256Fixed1, U"\u03FF", "0064S"},
        {"beyond its 256 characters", &kCyr256Fixed1, U"\u0500", "0064S"},
    };
    for (const Refusal &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(encode(true, [&] { putWide(false, row.text, *row.desc); }), 17);
        EXPECT_TRUE(messageHas(row.message)) << world.errMsgBuffer;
        // Sizing looks the characters up as well.
        qortest::startWriting(&world, true, true);
        EXPECT_EQ(framed(QOR_OP_ENCODE, [&] { putWide(false, row.text, *row.desc); }), 17);
        world.encodingFlags &= ~QorULong{DETERMINE_ENC_LENGTH};
        qortest::releaseBlocks(&world);
    }

    // Decoding: an index past the alphabet, in a tree and in a table.
    const std::pair<const QorStringDescriptor *, const char *> indexes[] = {
        {&kTreeMapped, "01 28"}, {&kCyr255Fixed1, "FF"}};
    for (const auto &row : indexes) {
        const QorStringDescriptor *desc = row.first;
        const char *input = row.second;
        EXPECT_EQ(decode(true, hex(input), [&] { getWide(true, *desc); }), 17) << input;
        EXPECT_TRUE(messageHas("0064S")) << world.errMsgBuffer;
        qortest::releaseBlocks(&world);
    }
    // Fragment headers with too little behind them take no memory.
    for (const char *input : {"C1 00 41", "C4", "C1", "81 00"}) {
        for (bool bmp : {true, false}) {
            EXPECT_EQ(decode(false, hex(input), [&] { getWide(bmp, kTreeMapped); }), pertest::kEndOfInputCode);
            EXPECT_EQ(qortest::blocksListed(&world), 0) << input;
        }
    }
}

TEST_F(WideStringsTest, Utf8FromWideCharacters)
{
    struct Utf8Row {
        Text text;
        const char *expected;
    };
    const Utf8Row rows[] = {
        {U"gr\u00FC\u00DF", "06 67 72 C3 BC C3 9F"},
        {U"", "00"},
        {U"\U0001F600", "04 F0 9F 98 80"},
    };
    for (const Utf8Row &row : rows) {
        for (bool bmp : {true, false}) {
            if (bmp && !fits16(row.text))
                continue;
            pertest::bothVariants([&](bool aligned) {
                Text got;
                expectCoded(aligned, hex(row.expected), [&] { putUtf8(bmp, row.text); },
                            [&] { got = getUtf8(bmp); });
                EXPECT_TRUE(got == row.text) << row.expected;
                qortest::releaseBlocks(&world);
            });
        }
    }

    // 8192 euro signs, three octets each: a first fragment of 16384 octets
    // ends inside a character, the 8192 left follow under a two-octet length.
    // Unaligned, behind one bit, so nothing is on an octet boundary.
    const Text euros(8192, U'\u20AC');
    for (bool aligned : {true, false}) {
        SCOPED_TRACE(aligned);
        const auto put = [&] {
            _qor_append_1bit_unaligned(&world, 0x80);
            putUtf8(true, euros);
        };
        Bytes out;
        ASSERT_EQ(encode(aligned, put, &out), 0) << world.errMsgBuffer;
        EXPECT_EQ(sized(aligned, put), static_cast<long>(out.size()));
        ASSERT_EQ(out.size(), 1 + 1 + 16384 + 2 + 8192) << "the bit's octet, then C1";
        if (aligned) {
            EXPECT_EQ(out[0], 0x80);
            EXPECT_EQ(out[1], 0xC1);
            EXPECT_EQ(out[2 + 16384], 0xA0);
            EXPECT_EQ(out[3 + 16384], 0x00);
            EXPECT_EQ(out[2 + 16383], 0xE2) << "a character split by the fragment";
        }
        Text got;
        ASSERT_EQ(decode(aligned, out, [&] {
                      EXPECT_NE(_qor_get_1bit_unaligned(&world), 0u);
                      got = getUtf8(true);
                  }),
                  0)
            << world.errMsgBuffer;
        EXPECT_TRUE(got == euros);
        qortest::releaseBlocks(&world);
    }

    // A surrogate has no UTF-8 form; bad or cut sequences and a character
    // too wide for 16 bits are refused.
    const Text surrogate = U"a\xD800";
    EXPECT_EQ(encode(true, [&] { putUtf8(true, surrogate); }), 5);
    EXPECT_TRUE(messageHas("0119S: Error converting character to UTF8 format at position 1")) << world.errMsgBuffer;
    const std::pair<const char *, const char *> bad[] = {
        {"01 80", "0120S"}, {"02 C3 41", "0120S"}, {"01 C3", "0120S"}, {"02 C3", "0081S"}, {"04 F0 9F 98 80", "0027S"}};
    for (const auto &[input, message] : bad) {
        EXPECT_NE(decode(true, hex(input), [&] { getUtf8(true); }), 0) << input;
        EXPECT_TRUE(messageHas(message)) << input << ": " << world.errMsgBuffer;
        qortest::releaseBlocks(&world);
    }
}

TEST_F(WideStringsTest, OctetStringsOfEveryForm)
{
    const Bytes hello = hex("05 68 65 6C 6C 6F");
    // One writer for every run of octets under general lengths.
    qortest::expectOneFunction({{"_qor_penc_nkmstr_l", "_qor_penc_uncon_oct"},
                                {"_qor_penc_unconstr_oct_l", "_qor_penc_uncon_oct"}});
    unsigned char *ptr = nullptr;
    pertest::bothVariants([&](bool aligned) {
        expectCoded(aligned, hello, [&] { _qor_penc_nkmstr_l(&world, reinterpret_cast<const unsigned char *>("hello"), 5); },
                    [&] { _qor_pdec_ntp_nkmstr(&world, &ptr); });
        EXPECT_STREQ(reinterpret_cast<char *>(ptr), "hello");
        // An empty value may come without memory.
        expectCoded(aligned, hex("00"), [&] { _qor_penc_nkmstr_l(&world, nullptr, 0); },
                    [&] { _qor_pdec_ntp_nkmstr(&world, &ptr); });
    });
    unsigned char array[8];
    const auto text = [&](const unsigned char *p, size_t n) { return std::string(reinterpret_cast<const char *>(p), n); };
    memset(array, '#', sizeof array);
    ASSERT_EQ(decode(true, hello, [&] { _qor_pdec_nt_nkmstr(&world, array, 5); }), 0);
    EXPECT_EQ(text(array, 7), std::string("hello\0#", 7));
    EXPECT_EQ(decode(true, hello, [&] { _qor_pdec_nt_nkmstr(&world, array, 4); }), 17);
    EXPECT_TRUE(messageHas("0063S: Size constraint violated, length of value = 5"));
    memset(array, '#', sizeof array);
    ASSERT_EQ(decode(true, hello, [&] { _qor_pdec_pad_nkmstr(&world, array, 7); }), 0);
    EXPECT_EQ(text(array, 8), "hello  #") << "spaces, where known-multiplier strings pad with zeros";
    EXPECT_EQ(decode(true, hello, [&] { _qor_pdec_pad_nkmstr(&world, array, 4); }), 17);
    QorLong count = 0;
    ASSERT_EQ(decode(true, hello, [&] { count = _qor_pdec_va_nkmstr_ia(&world, array, 5); }), 0);
    EXPECT_EQ(text(array, count), "hello");
    EXPECT_EQ(decode(true, hello, [&] { _qor_pdec_va_nkmstr_ia(&world, array, 4); }), 16);
    EXPECT_TRUE(messageHas("0016S"));

    struct {
        unsigned char *data;
        QorLong spare;
    } record{nullptr, 0};
    ASSERT_EQ(decode(true, hello, [&] { count = _qor_pdec_ub_nkmstr_ia(&world, &record); }), 0);
    EXPECT_EQ(text(record.data, count), "hello");
    ASSERT_EQ(decode(true, hex("00"), [&] { count = _qor_pdec_ub_nkmstr_ia(&world, &record); }), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(record.data, nullptr);
    void *behind = nullptr;
    ASSERT_EQ(decode(false, hello, [&] { count = _qor_pdec_vap_nkmstr_ia(&world, &behind, 8); }), 0);
    EXPECT_EQ(text(static_cast<unsigned char *>(behind) + 8, count), "hello");
    qortest::releaseBlocks(&world);
}

// The Texts PDU: every memory form through the public calls, the aligned
// octets worked out by hand.
TEST_F(WideStringsTest, TextsPduInEveryForm)
{
    const Bytes aligned = hex("40 00 61 00 62"                    // bmp: 2 in two bits, to the octet
                              "04 0A 00 24 27"                    // symbols: indexes from the tree
                              "06 67 72 C3 BC C3 9F"              // label
                              "05 F0 9F 98 80 21"                 // emoji
                              "51 52 34 32"                       // code: four, no length
                              "30 41 6E 6E"                       // name: 3 in four bits
                              "01 4E"                             // note
                              "03 74 61 67"                       // tag
                              "0A 6E 6F 20 63 6F 6D 6D 65 6E 74"  // comment
                              "06 41 42 43 44 45 46"              // fixed
                              "03 00 FF 80"                       // blob
                              "04 6C 69 6E 65"                    // line
                              "01 4D");                           // memo
    // The value decoded is the one encoded when it encodes to the same octets.
    const auto sameAs = [&](const Bytes &octets) {
        return [this, want = &octets](void *decoded) {
            EXPECT_EQ(qortest::encodePdu(&world, PDU_Texts, decoded), *want);
        };
    };
    world.encRules = QOR_PER_ALIGNED;
    qortest::expectRoundTrip(&world, PDU_Texts, &textsExample, aligned, sameAs(aligned));
    world.encRules = QOR_PER_UNALIGNED;
    const Bytes unaligned = qortest::encodePdu(&world, PDU_Texts, &textsExample);
    qortest::expectRoundTrip(&world, PDU_Texts, &textsExample, unaligned, sameAs(unaligned));
    // Failed allocations, cuts and mutations: with the other PDUs' sweeps.
}

} // namespace
